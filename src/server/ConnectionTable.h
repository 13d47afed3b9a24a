#pragma once

#include <netinet/in.h>

#include <chrono>
#include <compare>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace quorel {

/// The connections to a port of this process, and which of them has to go when there is no room for more.
/// A connection is at work while a whole request of it is being answered; otherwise the server waits for its client: for
/// the next request, the rest of one, or until it has taken its answer. The web server keeps its connections to itself, so
/// the table finds them among the descriptors of the process, and tells them apart by their other end.
/// Invariants: (1) a connection at work is not ended, so a call that has arrived whole is carried out and answered;
///             (2) among the others the one goes first whose client has kept the server waiting longest; (3) no more than
///             `mostLong` hold a long request or its answer.
/// Threading:  any thread. The table's own mutex comes after no other lock and before none.
/// Ownership:  none of the connections' descriptors: to end a connection is to shut it down, and whoever reads it closes it.
/// Cost:       `look` asks the system about each descriptor, a tenth of a millisecond with a hundred of them.
class ConnectionTable {
public:
  using Clock = std::chrono::steady_clock;

  /// The other end of a connection.
  struct Peer {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    auto operator<=>(const Peer&) const = default;
  };

  static Peer peerOf(const sockaddr_in& address) { return {address.sin_addr.s_addr, address.sin_port}; }

  ConnectionTable(std::size_t most, std::size_t mostLong);
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;
  ~ConnectionTable();

  /// How many connections there is room for.
  std::size_t room() const { return most; }

  /// Finds out what connections to the port there are, and ends those that have kept the server waiting for longer than
  /// this, and as many more as there are above `most`. Returns how many are left.
  std::size_t look(std::uint16_t port, Clock::duration patience);

  /// A request begins, of which the server has read the header. A long one is held back, its body unread, until there is
  /// room for it. False if the connection was ended meanwhile.
  bool beginRequest(const Peer& peer, bool isLong);

  /// The request is there; it is being answered from `beginWork` to `endWork`.
  void beginWork(const Peer& peer);
  void endWork(const Peer& peer);

private:
  struct Connection {
    Clock::time_point waitingSince = Clock::now();
    int fd = -1;               // as last seen
    std::uint64_t cookie = 0;  // the system's own number of that socket
    bool atWork = false;
    bool isLong = false;
    bool ended = false;  // shut down; whoever reads it is about to notice
    bool seen = false;   // by the look that is going on
  };
  using Entry = std::map<Peer, Connection>::value_type;

  void findAll(std::uint16_t port);
  void end(Entry& entry);

  /// The one that has been waiting longest, of the long ones if asked for; null if there is none.
  Entry* longestWaiting(bool amongLong);

  std::size_t longCount() const;

  const std::size_t most;
  const std::size_t mostLong;
  // Two descriptors held from the start: there must be one when all others are in use.
  const int nothing;
  const int second;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::map<Peer, Connection> connections;
};

}  // namespace quorel
