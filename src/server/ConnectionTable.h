#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace quorel {

/// The connections of this process's clients, and which of them has to go when there is no room for more.
/// A connection is at work while a whole request of it is being answered; otherwise the server waits for its client: for
/// the next request, the rest of one, or until it has taken its answer.
/// Invariants: (1) a connection at work is not ended, so a call that is being carried out is answered; (2) among the others
///             the one goes first whose client has kept the server waiting longest, and last those of a short request that
///             the server has not come to; (3) of requests that are not short, and their answers, only so many are held as
///             the limits say; (4) no more are open than there is room for in a burst, if `waitForRoom` comes before each
///             that is taken, and `add` after it.
/// Threading:  any thread. The table's own mutex comes after no other lock and before none.
/// Ownership:  none of the connections' descriptors: to end a connection is to shut it down, and whoever reads it closes it.
/// Cost:       `look` asks the system about each connection, less than a tenth of a millisecond with a hundred of them.
class ConnectionTable {
public:
  using Clock = std::chrono::steady_clock;

  /// A connection; the system's own number of the socket, which it gives to no second one.
  using Id = std::uint64_t;

  enum class Size { small, medium, large };

  struct Limits {
    std::size_t most = 0;        // connections
    std::size_t burst = 0;       // so many more until some have gone
    std::size_t mostMedium = 0;  // requests
    std::size_t mostLarge = 0;
  };

  explicit ConnectionTable(const Limits& limits);
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;
  ~ConnectionTable();

  const Limits& limits() const { return bounds; }

  /// Returns when there is room for one more of a burst, and looks until there is.
  void waitForRoom(Clock::duration patience);

  /// A connection has been taken.
  Id add(int fd);

  /// Forgets the connections that have been closed, and ends those that have kept the server waiting for longer than this,
  /// and as many more as there is no lasting room for. Returns how many are left.
  std::size_t look(Clock::duration patience);

  /// Ends every eighth, one at least: the system has refused what another connection needs.
  void endSome();

  /// A request begins, of which the server has read the header. One that is not small is held back, its body unread, until
  /// there is room for it and those before it. False if the connection was ended meanwhile.
  bool beginRequest(Id id, Size size);

  /// The request is there; it is being answered from `beginWork` to `endWork`.
  void beginWork(Id id);
  void endWork(Id id);

private:
  struct Connection {
    int fd = -1;
    Clock::time_point waitingSince = Clock::now();
    Size size = Size::small;    // of the request that is read or answered
    Size wanted = Size::small;  // of the one that is held back
    std::uint64_t turn = 0;     // in which it was
    bool atWork = false;
    bool ended = false;  // shut down; whoever reads it is about to notice
  };
  using Entry = std::map<Id, Connection>::value_type;

  std::size_t lookWhileLocked(Clock::duration patience);
  void forgetClosed();
  void end(Entry& entry);

  /// The one that is to go first, of those at least so large; null if there is none.
  Entry* firstToGo(Size least);

  /// Whether there is room for the request that is held back, and none of its size has waited for longer.
  bool isNext(const Connection& connection) const;

  const Limits bounds;
  // Two descriptors held from the start: there must be one when all others are in use.
  const int nothing;
  const int second;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::map<Id, Connection> connections;
  std::uint64_t lastTurn = 0;
};

}  // namespace quorel
