#include "server/ConnectionTable.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "server/ByteBudget.h"

namespace quorel {
namespace {

using namespace std::chrono_literals;

class Listener {
public:
  Listener() {
    EXPECT_EQ(listen(fd, 16), 0);
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  }
  ~Listener() { close(fd); }
  std::uint16_t port() const { return ntohs(address.sin_port); }

  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
};

/// Both ends of a connection, of which the server's stays open until the client is gone.
class Client {
public:
  explicit Client(const Listener& listener) {
    sockaddr_in there = listener.address;
    there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&there), sizeof there), 0);
    sockaddr_in here;
    socklen_t size = sizeof here;
    atServer = accept(listener.fd, reinterpret_cast<sockaddr*>(&here), &size);
    peer = ConnectionTable::peerOf(here);
  }
  ~Client() {
    close(fd);
    close(atServer);
  }

  bool isEnded() const {
    pollfd state = {.fd = atServer, .events = POLLIN, .revents = 0};
    return poll(&state, 1, 20) == 1;
  }

  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  int atServer = -1;
  ConnectionTable::Peer peer;
};

TEST(ConnectionTableTest, whoeverKeepsTheServerWaitingLongestMakesRoom) {
  const Listener listener;
  ConnectionTable table(2, 1);
  const Client atWork(listener);
  const Client silent(listener);
  EXPECT_EQ(table.look(listener.port(), 1h), 2U);
  table.beginWork(atWork.peer);
  std::this_thread::sleep_for(2ms);
  const Client lately(listener);
  EXPECT_EQ(table.look(listener.port(), 1h), 2U);
  EXPECT_TRUE(silent.isEnded());
  EXPECT_FALSE(lately.isEnded());
  table.endWork(atWork.peer);  // so `lately` has now been silent for longer
  const Client another(listener);
  EXPECT_EQ(table.look(listener.port(), 1h), 2U);
  EXPECT_TRUE(lately.isEnded());
  EXPECT_FALSE(another.isEnded() || atWork.isEnded());
}

TEST(ConnectionTableTest, theSlowAreEndedAndTheBusyAreNot) {
  const Listener listener, other;
  ConnectionTable table(10, 1);
  const Client busy(listener), slow(listener), elsewhere(other);
  EXPECT_EQ(table.look(listener.port(), 1h), 2U);
  table.beginWork(busy.peer);
  std::this_thread::sleep_for(300ms);
  const Client fresh(listener);
  EXPECT_EQ(table.look(listener.port(), 200ms), 2U);
  EXPECT_TRUE(slow.isEnded());
  EXPECT_FALSE(busy.isEnded() || fresh.isEnded() || elsewhere.isEnded());
}

TEST(ConnectionTableTest, aLongRequestWaitsForThePlaceOfAnother) {
  const Listener listener;
  ConnectionTable table(10, 1);
  const Client first(listener);
  const Client second(listener);
  table.look(listener.port(), 1h);
  EXPECT_TRUE(table.beginRequest(first.peer, true));
  const auto waits = [&](const Client& client) {
    return std::async(std::launch::async, [&] { return table.beginRequest(client.peer, true); });
  };
  auto waiting = waits(second);
  EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
  EXPECT_TRUE(table.beginRequest(first.peer, false));  // the next request on that connection is short
  EXPECT_EQ(waiting.wait_for(5s), std::future_status::ready);
  EXPECT_TRUE(waiting.get());
  // One that is ended while it waits is told so.
  auto ended = waits(first);
  EXPECT_EQ(ended.wait_for(50ms), std::future_status::timeout);
  table.look(listener.port(), 0s);
  EXPECT_EQ(ended.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(ended.get());
}

TEST(ByteBudgetTest, isNeverExceededAndServesAll) {
  ByteBudget budget(100);
  std::atomic<int> inWork = 0;
  std::atomic<int> most = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 50; ++round) {
        const int bytes = i == 0 ? 250 : 10 * i;  // one is larger than all there is, and comes alone
        const ByteBudget::Share share(budget, bytes);
        const int counted = std::min(bytes, 100);
        const int now = inWork += counted;
        for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
        std::this_thread::yield();
        inWork -= counted;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LE(most, 100);
}

}  // namespace
}  // namespace quorel
