#include "HttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace quorel {

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

std::string HttpClient::post(const std::string& body) {
  const std::string request = "POST /RPC2 HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nContent-Length: " +
                              std::to_string(body.size()) + "\r\n\r\n" + body;
  for (std::size_t sent = 0; sent < request.size();) {
    const ssize_t size = send(fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
    if (size <= 0) return {};
    sent += static_cast<std::size_t>(size);
  }

  const std::string lengthField = "\r\nContent-length: ";
  std::string answer;
  for (;;) {
    const std::size_t head = answer.find("\r\n\r\n");
    const std::size_t field = answer.find(lengthField);
    if (head != std::string::npos && field < head) {
      const std::size_t size = std::strtoul(answer.c_str() + field + lengthField.size(), nullptr, 10);
      if (answer.size() >= head + 4 + size) return answer;
    }
    char buffer[16384];
    const ssize_t size = recv(fd, buffer, sizeof buffer, 0);
    if (size <= 0) return answer;
    answer.append(buffer, static_cast<std::size_t>(size));
  }
}

}  // namespace quorel
