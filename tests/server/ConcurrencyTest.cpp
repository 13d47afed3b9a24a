#include <atomic>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "ProxyFixture.h"
#include "concurrency/Platform.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

constexpr int threadCount = 16;
constexpr int callsPerThread = 1500;

/// Clients on threads of their own while this thread makes frames: a poll, then a step and a picture under the locks
/// that they are made under.
class ConcurrencyTest : public ProxyTest {
protected:
  ConcurrencyTest() { verbose = false; }
  ~ConcurrencyTest() override { verbose = true; }

  template <class Client>
  void run(Client client) {
    std::atomic<int> running = threadCount;
    std::vector<std::thread> clients;
    for (int t = 0; t < threadCount; ++t) {
      clients.emplace_back([&, t] {
        client(t);
        --running;
      });
    }
    while (running > 0) {
      proxy.poll();
      const std::lock_guard<MultiLockable> step(*proxy.layout);
      const std::lock_guard<MultiLockable> picture(globalStyleLock);
      sleepMilliseconds(1);
    }
    for (std::thread& thread : clients) thread.join();
    proxy.poll();
  }
};

/// What one client has made and not removed.
struct Own {
  std::map<int, std::string> vertices;  // id and label
  std::map<int, std::pair<int, int>> edges;
  std::set<int> styles;
  int wonRaces = 0;
};

class OneClient {
public:
  OneClient(GraphProxy& served, int number) : proxy(served), base(1000 * (number + 1)), random(unsigned(number)) {}

  Own run() {
    for (int i = 0; i < callsPerThread; ++i) call();
    return own;
  }

private:
  int pick(std::size_t below) { return static_cast<int>(random() % below); }

  template <class Map>
  int any(const Map& map) {
    return std::next(map.begin(), pick(map.size()))->first;
  }

  void call() {
    const int what = pick(20);
    if (what < 4 || own.vertices.size() < 2) {
      const int id = base + pick(50);
      EXPECT_EQ(proxy.tessarel_new_vertex_w_id(id), own.vertices.contains(id) ? -1 : 0);
      own.vertices.emplace(id, "");
    } else if (what == 4) {
      EXPECT_TRUE(own.vertices.emplace(proxy.tessarel_new_vertex(), "").second);
    } else if (what < 8) {
      const int first = any(own.vertices);
      const int second = any(own.vertices);
      const int id = proxy.tessarel_new_edge(first, second);
      EXPECT_EQ(id == -1, first == second);
      if (id != -1) own.edges[id] = {first, second};
    } else if (what == 8) {
      const int id = any(own.vertices);
      EXPECT_EQ(proxy.tessarel_remove_vertex(id), 0);
      EXPECT_EQ(proxy.tessarel_remove_vertex(id), -1);
      own.vertices.erase(id);
      std::erase_if(own.edges, [id](const auto& e) { return e.second.first == id || e.second.second == id; });
    } else if (what == 9 && !own.edges.empty()) {
      const int id = any(own.edges);
      EXPECT_EQ(proxy.tessarel_remove_edge(id), 0);
      own.edges.erase(id);
    } else if (what == 10) {
      own.styles.insert(proxy.tessarel_new_edge_style(0));
    } else if (what == 11) {
      EXPECT_EQ(proxy.tessarel_set_vertex_attribute(any(own.vertices), "size", "-1"), -1);
      EXPECT_EQ(proxy.tessarel_new_edge(any(own.vertices), 999), -1);
    } else if (what == 12) {  // an id that all of them want
      own.wonRaces += proxy.tessarel_new_vertex_w_id(pick(200)) == 0 ? 1 : 0;
    } else {
      const int id = any(own.vertices);
      own.vertices[id] = std::to_string(pick(1000));
      EXPECT_EQ(proxy.tessarel_set_vertex_attribute(id, "label", own.vertices[id].c_str()), 0);
    }
  }

  GraphProxy& proxy;
  int base;
  std::mt19937 random;
  Own own;
};

TEST_F(ConcurrencyTest, sixteenClientsLoseNothingOfTheirOwn) {
  std::vector<Own> made(threadCount);
  run([&](int t) { made[static_cast<std::size_t>(t)] = OneClient(proxy, t).run(); });

  std::size_t vertices = 0;
  std::size_t edges = 0;
  std::size_t styles = 0;
  for (const Own& own : made) {
    vertices += own.vertices.size() + static_cast<std::size_t>(own.wonRaces);
    edges += own.edges.size();
    styles += own.styles.size();
    for (const auto& [id, label] : own.vertices) {
      ASSERT_NE(proxy.vertexOf(id), nullptr) << id;
      EXPECT_EQ(proxy.vertexOf(id)->style.get_label(), label);
    }
    for (const auto& [id, ends] : own.edges) {
      ASSERT_NE(proxy.edgeOf(id), nullptr) << id;
      EXPECT_EQ(proxy.edgeOf(id)->source, proxy.vertexOf(ends.first));
      EXPECT_EQ(proxy.edgeOf(id)->target, proxy.vertexOf(ends.second));
    }
  }
  EXPECT_EQ(proxy.vertices.size(), vertices);
  EXPECT_EQ(proxy.edges.size(), edges);
  EXPECT_EQ(proxy.edgeStyles.size(), styles);
  EXPECT_EQ(proxy.validate(), "");
}

TEST_F(ConcurrencyTest, clientsWhoTakeOneAnothersObjectsAwayLeaveTheMapsAndTheGraphInAgreement) {
  std::atomic<int> lost = 0;
  run([&](int t) {
    std::mt19937 random(static_cast<unsigned>(t));
    for (int i = 0; i < callsPerThread; ++i) {
      const int id = static_cast<int>(random() % 20);
      const int other = static_cast<int>(random() % 20);
      int answer = 0;
      switch (random() % 12) {
        case 0:
          answer = proxy.tessarel_new_vertex_w_id(id);
          break;
        case 1:
          answer = proxy.tessarel_remove_vertex(id);
          break;
        case 2:
          answer = proxy.tessarel_new_edge_w_id(id, other, (other + 1) % 20);
          break;
        case 3:
          answer = proxy.tessarel_remove_edge(id);
          break;
        case 4:
          answer = proxy.tessarel_new_vertex_style_w_id(id, other);
          break;
        case 5:
          answer = proxy.tessarel_new_edge_style_w_id(id, other);
          break;
        case 6:
          answer = proxy.tessarel_change_vertex_style(id, other);
          break;
        case 7:
          answer = proxy.tessarel_change_edge_style(id, other);
          break;
        case 8:
          answer = proxy.tessarel_set_vertex_attribute(id, "size", "2");
          break;
        case 9:
          answer = proxy.tessarel_set_vertex_style_attribute(id, "size", "3");
          break;
        case 10:
          answer = proxy.tessarel_set_edge_attribute(id, "strength", "2");
          break;
        default:
          answer = random() % 20 == 0 ? proxy.tessarel_clear() : proxy.tessarel_new_vertex_w_id(id);
          break;
      }
      if (answer != 0 && answer != -1) ++lost;
    }
  });
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_TRUE(proxy.events.empty());
}

TEST_F(ConcurrencyTest, linesOfSeveralThreadsStayWhole) {
  verbose = true;
  Captured log(std::clog);
  run([this](int t) {
    for (int i = 0; i < 200; ++i) proxy.tessarel_new_edge_w_id(t, 1000 + t, i);
  });
  std::istringstream lines(log.take());
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    ++count;
    EXPECT_TRUE(line.starts_with("tessarel_new_edge_w_id(") && line.ends_with(")")) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), 'I'), 1) << line;
  }
  EXPECT_EQ(count, threadCount * 200);
}

}  // namespace
}  // namespace quorel
