#include "Sockets.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace quorel {

ListeningSocket::ListeningSocket() : fd(socket(AF_INET, SOCK_STREAM, 0)) {
  listen(fd, 8);  // which takes a free port
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  port = ntohs(address.sin_port);
}

ListeningSocket::~ListeningSocket() {
  close(fd);
}

int ListeningSocket::accept() const {
  return ::accept(fd, nullptr, nullptr);
}

void ListeningSocket::shutDown() {
  shutdown(fd, SHUT_RDWR);
}

Connection::Connection(std::uint16_t port) : fd(socket(AF_INET, SOCK_STREAM, 0)) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) std::abort();
}

Connection::~Connection() {
  close(fd);
}

void Connection::send(const std::string& bytes) const {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t size = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (size <= 0) return;
    sent += static_cast<std::size_t>(size);
  }
}

void Connection::finish() const {
  shutdown(fd, SHUT_WR);
}

std::string Connection::receiveUntil(const std::string& mark) {
  for (;;) {
    const std::size_t found = unread.find(mark);
    if (found != std::string::npos) {
      const std::string rest = unread.substr(found + mark.size());
      unread.resize(found + mark.size());
      return std::exchange(unread, rest);
    }
    pollfd wait = {.fd = fd, .events = POLLIN, .revents = 0};
    char buffer[16384];
    const ssize_t size = poll(&wait, 1, 5000) == 1 ? recv(fd, buffer, sizeof buffer, 0) : 0;
    if (size <= 0) return std::exchange(unread, {});
    unread.append(buffer, static_cast<std::size_t>(size));
  }
}

std::string Connection::post(const std::string& body) {
  send("POST /RPC2 HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nContent-Length: " +
       std::to_string(body.size()) + "\r\n\r\n" + body);
  return receiveUntil("</methodResponse>\r\n");
}

}  // namespace quorel
