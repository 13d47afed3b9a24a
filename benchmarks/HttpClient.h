#pragma once

#include <cstdint>
#include <string>

namespace quorel {

/// One connection to a web server on this machine that costs as little as can be, so that a benchmark measures the server.
/// Threading: none of its own.
class HttpClient {
public:
  explicit HttpClient(std::uint16_t port);
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;
  ~HttpClient();

  /// Posts a body and returns the answer, head and all; what there is of it if the server closes the connection.
  std::string post(const std::string& body);

private:
  int fd;
};

}  // namespace quorel
