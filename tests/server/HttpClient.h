#pragma once

#include <cstdint>
#include <string>

namespace quorel {

/// One connection to a web server on this machine, down to the bytes.
/// Threading: none of its own.
class HttpClient {
public:
  explicit HttpClient(std::uint16_t port);
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;
  ~HttpClient();

  void send(const std::string& bytes);

  /// Tells the server that nothing more will come.
  void finish();

  /// The next answer, status line and all; what there is of it if the server closes the connection or is silent for
  /// five seconds.
  std::string receive();

  /// Whether the server closes the connection within five seconds without sending anything more.
  bool closed();

  /// A request for this body, and its answer.
  std::string post(const std::string& body, const std::string& headers = "");

private:
  int fd;
  std::string unread;
};

/// The body of a call; `arguments` as they stand within <params>.
std::string callOf(const std::string& method, const std::string& arguments = "");
std::string argument(int value);
std::string argument(const std::string& value);

/// The integer that an answer carries; INT_MIN if it carries none.
int integerOf(const std::string& answer);

bool isFault(const std::string& answer);

}  // namespace quorel
