#include <cstdlib>
#include <set>
#include <thread>
#include <vector>

#include "ProxyFixture.h"
#include "concurrency/Platform.h"
#include "server/GraphEvents.h"
#include "server/Turnstile.h"
#include "server/XMLRPC.h"
#include "server/XMLRPC_VertexCallback.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {
namespace {

using QueueTest = ProxyTest;

TEST_F(QueueTest, anEventWhoseObjectHasGoneDoesNothing) {
  Captured log(std::clog);
  proxy.tessarel_new_vertex_w_id(1);
  proxy.poll();
  proxy.post(new SetVertexAttribute(7, "size", "2"));
  proxy.post(new SetVertexStyleAttribute(7, "size", "2"));
  proxy.post(new SetEdgeAttribute(7, "width", "2"));
  proxy.post(new SetEdgeStyleAttribute(7, "width", "2"));
  proxy.post(new ChangeVertexStyle(7, 0));
  proxy.post(new ChangeVertexStyle(1, 7));
  proxy.post(new ChangeEdgeStyle(7, 0));
  proxy.edges.emplace(7, nullptr);
  proxy.post(new NewEdge(7, 1, 2));
  proxy.vertexStyles.emplace(7, nullptr);
  proxy.post(new NewVertexStyle(7, 8));
  proxy.poll();
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_TRUE(proxy.edges.empty());
  EXPECT_TRUE(proxy.vertexStyles.empty());
  EXPECT_EQ(log.take(), "");
}

TEST_F(QueueTest, aCallBackAboutAVertexThatNoClientNamedIsNotMade) {
  XMLRPC_VertexCallback("http://127.0.0.1:1/m")(proxy.layout->newVertex());
  EXPECT_EQ(xmlrpc().pool, nullptr);
}

TEST_F(QueueTest, validationWaitsForNoPicture) {
  proxy.tessarel_new_vertex_w_id(1);
  const std::lock_guard<MultiLockable> drawing(globalStyleLock);
  int results = 0;
  std::thread client([&] {
    results += proxy.tessarel_set_vertex_attribute(1, "size", "2");
    results += proxy.tessarel_set_edge_style_attribute(0, "width", "-2");
  });
  client.join();  // hangs, if a client waits for whoever draws
  EXPECT_EQ(results, -1);
}

// The parser of the requests seeds the process-wide generator with the time.
TEST_F(QueueTest, idsAreTheSameInEveryRunAndNoTwoVerticesCoincideWhoeverSeedsTheProcess) {
  std::vector<int> ids;
  std::set<float> places;
  for (int i = 0; i < 100; ++i) {
    srandom(99);
    ids.push_back(proxy.tessarel_new_vertex());
    proxy.poll();
    places.insert(proxy.vertexOf(ids.back())->position[0]);
  }
  EXPECT_EQ(ids[0], 0x40000000 + (1804289383 & 0x3fffffff));
  EXPECT_EQ(ids[1], 0x40000000 + (846930886 & 0x3fffffff));
  EXPECT_EQ(places.size(), 100U);
}

TEST(TurnstileTest, letsInThoseWhoCameDuringAStepInTheirOrderBeforeTheNextFrame) {
  MultiLockable lock(0);
  Turnstile entrance(lock);
  for (int frame = 0; frame < 10; ++frame) {
    std::vector<std::size_t> order;
    std::vector<std::thread> clients;
    lock.lock();  // the step, past the turnstile
    for (std::size_t i = 0; i < 8; ++i) {
      clients.emplace_back([&, i] {
        entrance.lock();
        order.push_back(i);
        entrance.unlock();
      });
      while (entrance.queueLength() != i + 1) sleepMilliseconds(1);
    }
    lock.unlock();
    entrance.lock();  // the next frame's poll
    EXPECT_EQ(order, std::vector<std::size_t>({0, 1, 2, 3, 4, 5, 6, 7})) << "frame " << frame;
    entrance.unlock();
    for (std::thread& client : clients) client.join();
  }
}

}  // namespace
}  // namespace quorel
