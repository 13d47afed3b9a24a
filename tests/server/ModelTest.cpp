#include <atomic>
#include <cstdlib>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "AttributeExamples.h"
#include "ProxyFixture.h"
#include "concurrency/Log.h"
#include "concurrency/Platform.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {
namespace {

/// The attribute values of a style or object, and the scope that shows through where it has none.
struct Scope {
  const Scope* above = nullptr;
  std::map<std::string, std::string> own = {};

  const std::string& inForce(const std::string& attribute) const {
    const auto found = own.find(attribute);
    return found == own.end() ? above->inForce(attribute) : found->second;
  }
};

/// The one attribute behind two spellings.
std::string attributeOf(std::string key) {
  if (key.ends_with("colour")) key.erase(key.size() - 2, 1);
  return key;
}

struct Object {
  Scope* scope;
  bool shared = true;
  int first = 0;
  int second = 0;
};

/// What a client knows of one kind of object, and its calls for that kind.
template <class Style>
struct Kind {
  const std::vector<AttributeExamples<Style>>& examples;
  std::string refusal;  // of any value, followed by the key and a quote
  int (GraphProxy::*newStyle)(int parent);
  int (GraphProxy::*newStyleWithId)(int id, int parent);
  int (GraphProxy::*changeStyle)(int id, int style);
  int (GraphProxy::*set)(int id, const char* key, const char* value);
  int (GraphProxy::*setStyle)(int id, const char* key, const char* value);
  std::map<int, Scope*> styles = {};  // 0 is the default style
  std::map<int, Object> objects = {};
};

/// Makes calls at random, many of them mistakes, and compares each answer and every state with a model in the plainest
/// form: every scope keeps all its values, and a value in force is looked up from the object upwards.
class Walk {
public:
  /// Not `alone` where others do the same to the same objects meanwhile.
  Walk(GraphProxy& walked, unsigned seed, bool isAlone) : proxy(walked), random(seed), alone(isAlone) {
    if (alone) log.emplace(std::clog);
    forget();
  }

  void step() {
    const int what = pick(1000);
    const bool ofVertex = pick(2) == 0;
    if (what < 1) {
      expect(proxy.tessarel_clear() == 0);
      forget();
    } else if (what < 120) {
      newVertex();
    } else if (what < 280) {
      newEdge();
    } else if (what < 300) {
      const int id = anyId(vertices.objects);
      expect(proxy.tessarel_remove_vertex(id) == (vertices.objects.erase(id) != 0 ? 0 : -1));
      std::erase_if(edges.objects, [id](const auto& e) { return e.second.first == id || e.second.second == id; });
    } else if (what < 340) {
      const int id = anyId(edges.objects);
      expect(proxy.tessarel_remove_edge(id) == (edges.objects.erase(id) != 0 ? 0 : -1));
    } else if (what < 420) {
      ofVertex ? newStyle(vertices) : newStyle(edges);
    } else if (what < 540) {
      ofVertex ? changeStyle(vertices) : changeStyle(edges);
    } else if (what < 960) {
      ofVertex ? setAttribute(vertices) : setAttribute(edges);
    } else if (alone) {
      proxy.poll();
      proxy.layout->updateSplines();
    }
  }

  /// Every connection, and the value in force of every attribute of every object and style.
  void compare() const {
    for (const auto& [id, object] : vertices.objects) {
      ASSERT_NE(proxy.vertexOf(id), nullptr) << id;
      compareValues(vertices, proxy.vertexOf(id)->style, *object.scope, id);
    }
    for (const auto& [id, object] : edges.objects) {
      const GraphProxy::Edge* edge = proxy.edgeOf(id);
      ASSERT_NE(edge, nullptr) << id;
      ASSERT_EQ(edge->source, proxy.vertexOf(object.first));
      ASSERT_EQ(edge->target, proxy.vertexOf(object.second));
      compareValues(edges, edge->style, *object.scope, id);
    }
    for (const auto& [id, scope] : vertices.styles) compareValues(vertices, *proxy.vertexStyleOf(id), *scope, id);
    for (const auto& [id, scope] : edges.styles) compareValues(edges, *proxy.edgeStyleOf(id), *scope, id);
  }

  std::size_t curveCount() const {
    std::size_t curves = 0;
    for (const auto& [id, object] : edges.objects) curves += object.scope->inForce("spline") == "4" ? 1 : 0;
    return curves;
  }

  using P = GraphProxy;
  Kind<VertexStyle> vertices{vertexExamples,
                             "tessarel: error setting vertex style attribute \"",
                             &P::tessarel_new_vertex_style,
                             &P::tessarel_new_vertex_style_w_id,
                             &P::tessarel_change_vertex_style,
                             &P::tessarel_set_vertex_attribute,
                             &P::tessarel_set_vertex_style_attribute};
  Kind<EdgeStyle> edges{edgeExamples,
                        "tessarel: error setting edge attribute \"",
                        &P::tessarel_new_edge_style,
                        &P::tessarel_new_edge_style_w_id,
                        &P::tessarel_change_edge_style,
                        &P::tessarel_set_edge_attribute,
                        &P::tessarel_set_edge_style_attribute};

private:
  void forget() {
    scopes.clear();
    forget(vertices, VertexStyle());
    forget(edges, EdgeStyle());
  }

  template <class Style>
  void forget(Kind<Style>& kind, const Style& initial) {
    const std::lock_guard<MultiLockable> held(globalStyleLock);
    kind.objects.clear();
    kind.styles = {{0, &scopes.emplace_back()}};
    for (const auto& e : kind.examples) kind.styles[0]->own[attributeOf(e.key)] = e.inForce(initial);
  }

  template <class Style>
  static void compareValues(const Kind<Style>& kind, const Style& style, const Scope& scope, int id) {
    for (const auto& e : kind.examples) {
      ASSERT_EQ(e.inForce(style), scope.inForce(attributeOf(e.key))) << e.key << " of " << id;
    }
  }

  int pick(std::size_t below) { return static_cast<int>(random() % below); }

  template <class Container>
  auto& any(const Container& container) {
    return *std::next(container.begin(), pick(container.size()));
  }

  /// An id that is mostly known, and otherwise from a small range in which some are.
  template <class Map>
  int anyId(const Map& known) {
    return known.empty() || pick(10) == 0 ? pick(60) - 10 : any(known).first;
  }

  /// Where others do the same to the same objects, any answer may be right.
  void expect(bool right) const { ASSERT_TRUE(right || !alone); }

  /// The id of a new object if `fits`, made with an id of the client's choice or of the server's.
  template <class Map, class Fresh, class WithId>
  std::optional<int> made(const Map& known, bool fits, Fresh fresh, WithId withId) {
    int id = pick(40);
    if (pick(2) == 0) {
      id = fresh();
      expect(fits ? id >= 1 << 30 && !known.contains(id) : id == -1);
    } else {
      fits = fits && !known.contains(id);
      expect(withId(id) == (fits ? 0 : -1));
    }
    return fits ? std::optional(id) : std::nullopt;
  }

  void newVertex() {
    const auto id = made(
        vertices.objects, true, [this] { return proxy.tessarel_new_vertex(); },
        [this](int chosen) { return proxy.tessarel_new_vertex_w_id(chosen); });
    if (id) vertices.objects[*id] = {vertices.styles[0]};
  }

  void newEdge() {
    const int first = anyId(vertices.objects);
    const int second = anyId(vertices.objects);
    const bool fits = vertices.objects.contains(first) && vertices.objects.contains(second) && first != second;
    const auto id = made(
        edges.objects, fits, [&] { return proxy.tessarel_new_edge(first, second); },
        [&](int chosen) { return proxy.tessarel_new_edge_w_id(chosen, first, second); });
    if (id) edges.objects[*id] = {edges.styles[0], true, first, second};
  }

  template <class Style>
  void newStyle(Kind<Style>& kind) {
    const int parent = anyId(kind.styles);
    const auto above = kind.styles.find(parent);
    const auto id = made(
        kind.styles, above != kind.styles.end(), [&] { return (proxy.*kind.newStyle)(parent); },
        [&](int chosen) { return (proxy.*kind.newStyleWithId)(chosen, parent); });
    if (id) kind.styles[*id] = &scopes.emplace_back(Scope{above->second});
  }

  template <class Style>
  void changeStyle(Kind<Style>& kind) {
    const int id = anyId(kind.objects);
    const int style = anyId(kind.styles);
    const bool fits = kind.objects.contains(id) && kind.styles.contains(style);
    expect((proxy.*kind.changeStyle)(id, style) == (fits ? 0 : -1));
    if (!fits) return;
    kind.objects[id].scope = kind.styles[style];
    kind.objects[id].shared = true;
  }

  template <class Style>
  void setAttribute(Kind<Style>& kind) {
    const bool onStyle = pick(3) == 0;
    const int id = onStyle ? anyId(kind.styles) : anyId(kind.objects);
    const auto& e = any(kind.examples);
    const auto& taken = any(e.taken);
    const bool good = e.refused.empty() || pick(3) != 0;
    const std::string value = good ? taken.first : any(e.refused);
    const bool known = onStyle ? kind.styles.contains(id) : kind.objects.contains(id);
    const auto setter = onStyle ? kind.setStyle : kind.set;
    if (log) log->take();
    expect((proxy.*setter)(id, e.key.c_str(), value.c_str()) == (known && good ? 0 : -1));
    if (!known) return;
    if (log) {
      std::string line = e.line;
      if (!line.empty()) line = printableLine(line.replace(line.find('%'), 1, value));
      ASSERT_EQ(log->take(), good ? "" : line + kind.refusal + e.key + "\"\n");
      const std::string unknown = any(std::vector{"", "Label", "wdith", "note", "labeloffset", "manifold", "knots"});
      ASSERT_EQ((proxy.*setter)(id, unknown.c_str(), "1"), -1);
      ASSERT_EQ(log->take(), kind.refusal + unknown + "\"\n");
    }
    if (!good) return;
    Scope*& scope = onStyle ? kind.styles[id] : kind.objects[id].scope;
    if (!onStyle && kind.objects[id].shared) {
      scope = &scopes.emplace_back(Scope{scope});
      kind.objects[id].shared = false;
    }
    scope->own[attributeOf(e.key)] = taken.second;
  }

  GraphProxy& proxy;
  std::mt19937 random;
  bool alone;
  std::deque<Scope> scopes;
  std::optional<Captured> log;
};

long fromEnvironment(const char* name, long otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atol(text);
}

using ModelTest = ProxyTest;

// TESSAREL_MODEL_STEPS and TESSAREL_MODEL_SEED make it a longer or another walk.
TEST_F(ModelTest, anySequenceOfCallsLeavesWhatTheModelHas) {
  const long steps = fromEnvironment("TESSAREL_MODEL_STEPS", 20000);
  const auto seed = static_cast<unsigned>(fromEnvironment("TESSAREL_MODEL_SEED", 20738));
  std::cout << "seed " << seed << ", " << steps << " steps\n";
  Walk walk(proxy, seed, true);
  for (long i = 0; i < steps; ++i) {
    walk.step();
    if (i % 250 == 0 || i + 1 == steps) {
      proxy.poll();
      proxy.layout->updateSplines();
      ASSERT_EQ(proxy.validate(), "");
      walk.compare();
      ASSERT_EQ(proxy.vertices.size(), walk.vertices.objects.size());
      ASSERT_EQ(proxy.edges.size(), walk.edges.objects.size());
      ASSERT_EQ(proxy.vertexStyles.size() + 1, walk.vertices.styles.size());
      ASSERT_EQ(proxy.edgeStyles.size() + 1, walk.edges.styles.size());
      // A curve has two knots, and no knot outlives its curve.
      ASSERT_EQ(proxy.layout->vertices.size(), walk.vertices.objects.size() + 2 * walk.curveCount());
    }
    ASSERT_FALSE(HasFatalFailure()) << "at step " << i << " of seed " << seed;
  }
}

// While they make their calls, this thread makes frames: a poll, then a step and a picture under their locks.
TEST_F(ModelTest, clientsWhoTakeOneAnothersObjectsAwayLeaveTheMapsAndTheGraphInAgreementAndWholeLines) {
  constexpr int callsOfClient = 1500;
  Captured log(std::clog);
  std::atomic<int> running = 16;
  std::vector<std::thread> clients;
  for (int number = running; number > 0; --number) {
    clients.emplace_back([&, number] {
      Walk walk(proxy, static_cast<unsigned>(number), false);
      for (int i = 0; i < callsOfClient; ++i) walk.step();
      --running;
    });
  }
  while (running > 0) {
    proxy.poll();
    const std::lock_guard<MultiLockable> step(*proxy.layout);
    const std::lock_guard<MultiLockable> picture(globalStyleLock);
    proxy.layout->updateSplines();
    sleepMilliseconds(1);
  }
  for (std::thread& client : clients) client.join();
  proxy.poll();
  EXPECT_TRUE(proxy.events.empty());
  std::istringstream lines(log.take());
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const std::size_t start = line.starts_with("Warning: ") ? 9 : 0;
    ASSERT_TRUE(line.find("tessarel") == start && line.rfind("tessarel") == start) << line;
  }
  EXPECT_GT(count, callsOfClient);
}

}  // namespace
}  // namespace quorel
