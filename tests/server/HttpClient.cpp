#include "HttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <utility>

namespace quorel {

namespace {

/// More bytes of the connection, or nothing at its end or after five seconds.
std::string more(int fd) {
  pollfd wait = {.fd = fd, .events = POLLIN, .revents = 0};
  char buffer[16384];
  if (poll(&wait, 1, 5000) <= 0) return {};
  const ssize_t size = recv(fd, buffer, sizeof buffer, 0);
  return size > 0 ? std::string(buffer, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace

HttpClient::HttpClient(std::uint16_t port) : fd(socket(AF_INET, SOCK_STREAM, 0)) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) std::abort();
}

HttpClient::~HttpClient() {
  close(fd);
}

void HttpClient::send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t size = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (size <= 0) return;
    sent += static_cast<std::size_t>(size);
  }
}

void HttpClient::finish() {
  shutdown(fd, SHUT_WR);
}

std::string HttpClient::receive() {
  const std::string lengthField = "\r\nContent-length: ";
  for (;;) {
    const std::size_t head = unread.find("\r\n\r\n");
    if (head != std::string::npos) {
      const std::size_t field = unread.find(lengthField);
      if (field < head) {
        const std::size_t size = std::strtoul(unread.c_str() + field + lengthField.size(), nullptr, 10);
        if (unread.size() >= head + 4 + size) {
          const std::string answer = unread.substr(0, head + 4 + size);
          unread.erase(0, answer.size());
          return answer;
        }
      }
    }
    const std::string next = more(fd);
    if (next.empty()) return std::exchange(unread, {});
    unread += next;
  }
}

bool HttpClient::closed() {
  pollfd wait = {.fd = fd, .events = POLLIN, .revents = 0};
  char byte;
  return unread.empty() && poll(&wait, 1, 5000) == 1 && recv(fd, &byte, 1, 0) <= 0;
}

std::string HttpClient::post(const std::string& body, const std::string& headers) {
  send("POST /RPC2 HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n" + headers +
       "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  return receive();
}

std::string callOf(const std::string& method, const std::string& arguments) {
  return "<?xml version=\"1.0\"?><methodCall><methodName>" + method + "</methodName><params>" + arguments +
         "</params></methodCall>";
}

std::string argument(int value) {
  return "<param><value><int>" + std::to_string(value) + "</int></value></param>";
}

std::string argument(const std::string& value) {
  return "<param><value><string>" + value + "</string></value></param>";
}

int integerOf(const std::string& answer) {
  const std::string tag = "<i4>";
  const std::size_t at = answer.find(tag);
  if (at == std::string::npos || isFault(answer)) return INT_MIN;
  return std::atoi(answer.c_str() + at + tag.size());
}

bool isFault(const std::string& answer) {
  return answer.find("<fault>") != std::string::npos;
}

}  // namespace quorel
