#include "server/ConnectionTable.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace quorel {

namespace {

/// A long request or its answer is on the wire for a while; only one that takes longer than this makes room for another.
constexpr std::chrono::seconds graceOfLong{5};

/// Those that have been ended are closed as soon as their threads come to it.
constexpr std::chrono::milliseconds pauseForRoom{5};

/// 0 for a descriptor that is no socket.
ConnectionTable::Id idOf(int fd) {
  ConnectionTable::Id id = 0;
  socklen_t size = sizeof id;
  return getsockopt(fd, SOL_SOCKET, SO_COOKIE, &id, &size) == 0 ? id : 0;
}

/// Whether there is something from the client that the server has not come to yet.
bool hasUnread(int fd) {
  int bytes = 0;
  return ioctl(fd, FIONREAD, &bytes) == 0 && bytes > 0;
}

}  // namespace

ConnectionTable::ConnectionTable(const Limits& limits)
    : bounds(limits), nothing(open("/dev/null", O_RDONLY | O_CLOEXEC)), second(fcntl(nothing, F_DUPFD_CLOEXEC, 0)) {}

ConnectionTable::~ConnectionTable() {
  close(second);
  close(nothing);
}

void ConnectionTable::waitForRoom(Clock::duration patience) {
  std::unique_lock hold(mutex);
  const auto isFull = [&] { return connections.size() >= bounds.most + bounds.burst; };
  while (isFull()) {
    lookWhileLocked(patience);
    if (isFull()) changed.wait_for(hold, pauseForRoom);
  }
}

ConnectionTable::Id ConnectionTable::add(int fd) {
  const std::lock_guard hold(mutex);
  const Id id = idOf(fd);
  connections[id].fd = fd;
  return id;
}

std::size_t ConnectionTable::look(Clock::duration patience) {
  const std::lock_guard hold(mutex);
  return lookWhileLocked(patience);
}

void ConnectionTable::endSome() {
  const std::lock_guard hold(mutex);
  forgetClosed();
  for (std::size_t i = 0; i <= connections.size() / 8; ++i) {
    Entry* const entry = firstToGo(Size::small);
    if (entry != nullptr) end(*entry);
  }
}

bool ConnectionTable::beginRequest(Id id, Size size) {
  std::unique_lock hold(mutex);
  // The entry stays where it is: nobody closes the descriptor before this thread has answered.
  Connection& connection = connections[id];
  connection.size = Size::small;
  connection.wanted = size;
  connection.turn = ++lastTurn;
  while (!connection.ended && !isNext(connection)) {
    Entry* const entry = firstToGo(size);
    if (entry != nullptr && Clock::now() - entry->second.waitingSince >= graceOfLong) {
      end(*entry);
    } else {
      // Room is told of when a request comes to its end, but not when a client has gone away.
      changed.wait_for(hold, std::chrono::seconds(1));
    }
  }
  connection.size = size;
  connection.wanted = Size::small;
  changed.notify_all();
  return !connection.ended;
}

void ConnectionTable::beginWork(Id id) {
  const std::lock_guard hold(mutex);
  connections[id].atWork = true;
}

void ConnectionTable::endWork(Id id) {
  const std::lock_guard hold(mutex);
  Connection& connection = connections[id];
  connection.atWork = false;
  connection.waitingSince = Clock::now();
}

std::size_t ConnectionTable::lookWhileLocked(Clock::duration patience) {
  forgetClosed();
  std::size_t left = 0;
  for (Entry& entry : connections) {
    const Connection& connection = entry.second;
    if (!connection.atWork && Clock::now() - connection.waitingSince > patience) end(entry);
    left += !connection.ended;
  }
  while (left > bounds.most) {
    Entry* const entry = firstToGo(Size::small);
    if (entry == nullptr) break;
    end(*entry);
    --left;
  }
  return left;
}

void ConnectionTable::forgetClosed() {
  std::erase_if(connections, [](const Entry& entry) { return idOf(entry.second.fd) != entry.first; });
}

void ConnectionTable::end(Entry& entry) {
  if (entry.second.ended) return;
  // The web server may close the connection at this moment, and its descriptor become another's: a second descriptor of
  // whatever is there stays what it is while it is looked at.
  if (dup2(entry.second.fd, second) >= 0) {
    if (idOf(second) == entry.first) shutdown(second, SHUT_RDWR);
    dup2(nothing, second);
  }
  entry.second.ended = true;
  changed.notify_all();
}

auto ConnectionTable::firstToGo(Size least) -> Entry* {
  Entry* first = nullptr;
  std::pair<bool, Clock::time_point> turnOfFirst;
  for (Entry& entry : connections) {
    const Connection& connection = entry.second;
    if (connection.ended || connection.atWork || connection.size < least) continue;
    // Most are told apart by their time alone, without a question to the system.
    if (first != nullptr && !turnOfFirst.first && connection.waitingSince >= turnOfFirst.second) continue;
    const bool isShort = connection.size == Size::small && connection.wanted == Size::small;
    const std::pair turn(isShort && hasUnread(connection.fd), connection.waitingSince);
    if (first != nullptr && turn >= turnOfFirst) continue;
    first = &entry;
    turnOfFirst = turn;
  }
  return first;
}

bool ConnectionTable::isNext(const Connection& connection) const {
  if (connection.wanted == Size::small) return true;
  std::size_t held = 0;
  for (const auto& [id, other] : connections) {
    if (other.ended) continue;
    if (other.wanted == connection.wanted && other.turn < connection.turn) return false;
    held += other.size == connection.wanted;
  }
  return held < (connection.wanted == Size::medium ? bounds.mostMedium : bounds.mostLarge);
}

}  // namespace quorel
