#include "server/ConnectionTable.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace quorel {

namespace {

/// A long request or its answer is on the wire for a while; only one that takes longer than this makes room for another.
constexpr std::chrono::seconds graceOfLong{5};

/// One end of a connected socket of the internet, by getsockname or getpeername; false for any other descriptor.
template <class Ask>
bool askFor(sockaddr_in& address, int fd, Ask ask) {
  socklen_t size = sizeof address;
  return ask(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 && address.sin_family == AF_INET;
}

int mostDescriptors() {
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 1 << 16));
}

}  // namespace

ConnectionTable::ConnectionTable(std::size_t mostConnections, std::size_t mostLongOnes)
    : most(mostConnections),
      mostLong(mostLongOnes),
      nothing(open("/dev/null", O_RDONLY | O_CLOEXEC)),
      second(fcntl(nothing, F_DUPFD_CLOEXEC, 0)) {}

ConnectionTable::~ConnectionTable() {
  close(second);
  close(nothing);
}

std::size_t ConnectionTable::look(std::uint16_t port, Clock::duration patience) {
  const std::lock_guard hold(mutex);
  findAll(port);
  std::size_t left = 0;
  for (Entry& entry : connections) {
    Connection& connection = entry.second;
    if (!connection.atWork && Clock::now() - connection.waitingSince > patience) end(entry);
    left += !connection.ended;
  }
  while (left > most) {
    Entry* entry = longestWaiting(false);
    if (entry == nullptr) break;
    end(*entry);
    --left;
  }
  return left;
}

bool ConnectionTable::beginRequest(const Peer& peer, bool isLong) {
  std::unique_lock hold(mutex);
  connections[peer].isLong = false;
  while (isLong && longCount() >= mostLong && !connections[peer].ended) {
    Entry* entry = longestWaiting(true);
    if (entry != nullptr && Clock::now() - entry->second.waitingSince >= graceOfLong) end(*entry);
    // Room is told of when a request comes to its end, but not when a client has gone away.
    changed.wait_for(hold, std::chrono::seconds(1));
  }
  connections[peer].isLong = isLong;
  changed.notify_all();
  return !connections[peer].ended;
}

void ConnectionTable::beginWork(const Peer& peer) {
  const std::lock_guard hold(mutex);
  connections[peer].atWork = true;
}

void ConnectionTable::endWork(const Peer& peer) {
  const std::lock_guard hold(mutex);
  Connection& connection = connections[peer];
  connection.atWork = false;
  connection.waitingSince = Clock::now();
}

void ConnectionTable::findAll(std::uint16_t port) {
  for (Entry& entry : connections) entry.second.seen = false;
  for (int fd = 0, end = mostDescriptors(); fd < end; ++fd) {
    sockaddr_in address;
    if (!askFor(address, fd, getsockname) || ntohs(address.sin_port) != port) continue;
    if (!askFor(address, fd, getpeername)) continue;
    std::uint64_t cookie = 0;
    socklen_t size = sizeof cookie;
    if (getsockopt(fd, SOL_SOCKET, SO_COOKIE, &cookie, &size) != 0) continue;
    Connection& connection = connections[peerOf(address)];
    // A client may come again from the same port.
    if (connection.fd >= 0 && connection.cookie != cookie) connection = Connection{};
    connection.cookie = cookie;
    connection.fd = fd;
    connection.seen = true;
  }
  // One that is at work but was not seen has lost its client; its thread tells when it is through.
  std::erase_if(connections, [](const Entry& entry) { return !entry.second.seen && !entry.second.atWork; });
}

void ConnectionTable::end(Entry& entry) {
  if (entry.second.ended) return;
  // The web server may close the connection at this moment, and its descriptor become another's: a second descriptor of
  // whatever is there stays what it is while it is looked at.
  if (dup2(entry.second.fd, second) < 0) return;
  sockaddr_in address;
  if (askFor(address, second, getpeername) && peerOf(address) == entry.first) shutdown(second, SHUT_RDWR);
  dup2(nothing, second);
  entry.second.ended = true;
}

auto ConnectionTable::longestWaiting(bool amongLong) -> Entry* {
  Entry* longest = nullptr;
  for (Entry& entry : connections) {
    const Connection& connection = entry.second;
    if (connection.ended || connection.atWork || (amongLong && !connection.isLong)) continue;
    if (longest == nullptr || connection.waitingSince < longest->second.waitingSince) longest = &entry;
  }
  return longest;
}

std::size_t ConnectionTable::longCount() const {
  return static_cast<std::size_t>(std::count_if(connections.begin(), connections.end(), [](const Entry& entry) {
    return entry.second.isLong && !entry.second.ended;
  }));
}

}  // namespace quorel
