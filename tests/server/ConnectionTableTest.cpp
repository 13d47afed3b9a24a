#include "server/ConnectionTable.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
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
  Client(const Listener& listener, ConnectionTable& table) {
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&listener.address), sizeof listener.address), 0);
    atServer = accept4(listener.fd, nullptr, nullptr, 0);
    id = table.add(atServer);
  }
  ~Client() {
    close(fd);
    close(atServer);
  }

  bool isEnded(int waitMilliseconds = 20) const {
    pollfd state = {.fd = atServer, .events = POLLIN, .revents = 0};
    return poll(&state, 1, waitMilliseconds) == 1;
  }

  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  int atServer = -1;
  ConnectionTable::Id id = 0;
};

using enum ConnectionTable::Size;

class ConnectionTableTest : public testing::Test {
protected:
  const Listener listener;
  ConnectionTable table{{.most = 2, .burst = 1, .mostMedium = 1, .mostLarge = 1}};
};

TEST_F(ConnectionTableTest, theSlowAreEndedAndThenWhoeverKeepsTheServerWaitingLongestMakesRoom) {
  const Client atWork(listener, table), slow(listener, table);
  EXPECT_EQ(table.look(1h), 2U);
  table.beginWork(atWork.id);
  std::this_thread::sleep_for(300ms);
  const Client early(listener, table);
  EXPECT_EQ(table.look(200ms), 2U);
  EXPECT_TRUE(slow.isEnded());
  EXPECT_FALSE(early.isEnded());
  const Client late(listener, table);
  EXPECT_EQ(table.look(1h), 2U);
  EXPECT_TRUE(early.isEnded());
  EXPECT_FALSE(late.isEnded());
  table.endWork(atWork.id);  // so `late` has now been silent for longer
  const Client last(listener, table);
  EXPECT_EQ(table.look(1h), 2U);
  EXPECT_TRUE(late.isEnded());
  EXPECT_FALSE(last.isEnded() || atWork.isEnded());
  // The server has not come to what `atWork` says, so the younger one goes.
  EXPECT_EQ(send(atWork.fd, "x", 1, 0), 1);
  const Client youngest(listener, table);
  EXPECT_EQ(table.look(1h), 2U);
  EXPECT_TRUE(last.isEnded());
  table.endSome();
  EXPECT_TRUE(youngest.isEnded());
}

TEST_F(ConnectionTableTest, theNextIsTakenWhenOneOfABurstHasGone) {
  auto first = std::make_unique<Client>(listener, table);
  const Client second(listener, table);
  table.waitForRoom(1h);
  const Client third(listener, table);
  auto taking = std::async(std::launch::async, [&] { table.waitForRoom(1h); });
  EXPECT_TRUE(first->isEnded(5000));
  EXPECT_EQ(taking.wait_for(50ms), std::future_status::timeout);
  EXPECT_EQ(table.look(1h), 2U);
  first.reset();
  EXPECT_EQ(taking.wait_for(5s), std::future_status::ready);
}

TEST_F(ConnectionTableTest, aLongRequestWaitsForThePlaceOfAnotherInTheOrderOfArrival) {
  const Client first(listener, table), second(listener, table);
  EXPECT_TRUE(table.beginRequest(first.id, large));
  const auto waits = [&](const Client& client, ConnectionTable::Size size) {
    return std::async(std::launch::async, [&, size] { return table.beginRequest(client.id, size); });
  };
  auto waiting = waits(second, large);
  EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
  const Client third(listener, table);
  auto behind = waits(third, large);
  EXPECT_EQ(behind.wait_for(50ms), std::future_status::timeout);
  EXPECT_TRUE(table.beginRequest(first.id, small));  // the next request on that connection is short
  EXPECT_EQ(waiting.wait_for(5s), std::future_status::ready);
  EXPECT_TRUE(waiting.get());
  EXPECT_EQ(behind.wait_for(50ms), std::future_status::timeout);
  EXPECT_TRUE(table.beginRequest(first.id, medium));  // of which there may be one beside
  // One that is ended while it waits is told so, though its client has gone.
  shutdown(third.fd, SHUT_RDWR);
  table.look(0s);
  EXPECT_EQ(behind.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(behind.get());
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
