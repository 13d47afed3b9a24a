#pragma once

#include <cstdint>
#include <string>

namespace quorel {

/// A socket that listens on a port of this machine that was free, and takes connections only when asked to.
class ListeningSocket {
public:
  ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  ~ListeningSocket();

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port); }

  /// Waits for the next connection; -1 once the socket is shut down.
  int accept() const;
  void shutDown();

private:
  int fd;
  std::uint16_t port;
};

/// One end of a connection within this machine, down to the bytes.
class Connection {
public:
  /// To a server.
  explicit Connection(std::uint16_t port);
  /// From a client.
  explicit Connection(int accepted) : fd(accepted) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  void send(const std::string& bytes) const;

  /// Tells the other side that nothing more will come.
  void finish() const;

  /// What comes up to the end of `mark`; what there is if the other side closes the connection or is silent for five
  /// seconds.
  std::string receiveUntil(const std::string& mark);

  /// A request for this body, and its answer.
  std::string post(const std::string& body);

private:
  int fd;
  std::string unread;
};

}  // namespace quorel
