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

  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
};

/// Both ends of a connection, of which the server's stays open until the client is gone.
class Client {
public:
  explicit Client(const Listener& listener) {
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&listener.address), sizeof listener.address), 0);
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

class ConnectionTableTest : public testing::Test {
protected:
  std::size_t look(ConnectionTable::Clock::duration patience) {
    return table.look(ntohs(listener.address.sin_port), patience);
  }

  const Listener listener, other;
  ConnectionTable table{2, 1};
};

TEST_F(ConnectionTableTest, theSlowAreEndedAndThenWhoeverKeepsTheServerWaitingLongestMakesRoom) {
  const Client atWork(listener), slow(listener), elsewhere(other);
  EXPECT_EQ(look(1h), 2U);
  table.beginWork(atWork.peer);
  std::this_thread::sleep_for(300ms);
  const Client early(listener);
  EXPECT_EQ(look(200ms), 2U);
  EXPECT_TRUE(slow.isEnded());
  EXPECT_FALSE(early.isEnded());
  const Client late(listener);
  EXPECT_EQ(look(1h), 2U);
  EXPECT_TRUE(early.isEnded());
  EXPECT_FALSE(late.isEnded());
  table.endWork(atWork.peer);  // so `late` has now been silent for longer
  const Client last(listener);
  EXPECT_EQ(look(1h), 2U);
  EXPECT_TRUE(late.isEnded());
  EXPECT_FALSE(last.isEnded() || atWork.isEnded() || elsewhere.isEnded());
}

TEST_F(ConnectionTableTest, aLongRequestWaitsForThePlaceOfAnother) {
  const Client first(listener), second(listener);
  look(1h);
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
  look(0s);
  EXPECT_EQ(ended.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(ended.get());
}

TEST(ByteBudgetTest, isNeverExceededAndServesAll) {
  ByteBudget budget(100);
  std::atomic<int> inWork = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&, bytes = i == 0 ? 250 : 10 * i] {  // one is larger than all there is, and comes alone
      for (int round = 0; round < 50; ++round) {
        const ByteBudget::Share share(budget, bytes);
        EXPECT_LE(inWork += std::min(bytes, 100), 100);
        std::this_thread::yield();
        inWork -= std::min(bytes, 100);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace quorel
