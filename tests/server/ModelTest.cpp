#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "ProxyFixture.h"
#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

/// The attributes that the model follows, one of each type of value, as texts.
struct Attribute {
  const char* key;
  const char* initial;
  std::vector<const char*> values;
  std::vector<const char*> bad;
};

const std::vector<Attribute> vertexAttributes = {
    {"size", "1", {"2", "0.5", "12"}, {"0", "-1", "big"}},
    {"color", "[0.5,0.66,1]", {"[1,0,0]", "[0,0,1]"}, {"blue", "#12"}},
    {"label", "", {"a", "b", "some longer label"}, {}},
    {"shape", "5", {"1", "3", "8"}, {"ball"}},
    {"visible", "1", {"0", "1"}, {"0"}},
    {"charge", "1", {"3", "0.25"}, {"0"}},
};

const std::vector<Attribute> edgeAttributes = {
    {"width", "1", {"0", "2", "7"}, {"-1"}},
    {"color", "[1,1,1]", {"[1,0,0]", "[0,0,1]"}, {"blue"}},
    {"label", "", {"a", "b"}, {}},
    {"spline", "2", {"4", "2"}, {"4"}},
    {"stroke", "65535", {"0", "13107"}, {"Solid"}},
    {"strength", "1", {"0", "2.5"}, {"-1"}},
};

/// What a client sends for a value that reads back as `value`.
std::string sent(const std::string& key, const std::string& value) {
  static const std::map<std::string, std::string> texts = {
      {"color[1,0,0]", "#FF0000"}, {"color[0,0,1]", "#0000FF"}, {"shape1", "Sphere"},     {"shape3", "TORUS"},
      {"shape8", "icosahedron"},   {"visible0", "false"},       {"visible1", "True"},     {"spline4", "1"},
      {"spline2", "False"},        {"stroke0", "none"},         {"stroke13107", "dotted"}};
  const auto text = texts.find(key + value);
  return text == texts.end() ? value : text->second;
}

std::vector<std::string> inForce(const VertexStyle& style) {
  std::ostringstream colour;
  colour << style.get_color();
  const auto number = [](double value) { return (std::ostringstream() << value).str(); };
  return {number(style.get_size()),    colour.str(),
          style.get_label(),           number(style.get_shape()),
          number(style.get_visible()), number(style.get_charge())};
}

std::vector<std::string> inForce(const EdgeStyle& style) {
  std::ostringstream colour;
  colour << style.get_color();
  const auto number = [](double value) { return (std::ostringstream() << value).str(); };
  return {number(style.get_width()),  colour.str(),
          style.get_label(),          number(style.get_knots()),
          number(style.get_stroke()), number(style.get_strength())};
}

/// A scope of attribute values, and the scope that shows through where it has none.
struct Scope {
  Scope* above = nullptr;
  std::map<std::size_t, std::string> own;
};

/// The whole state that clients can know of, in the plainest form: every scope keeps all its values, and a value in
/// force is looked up from the object upwards.
class Model {
public:
  struct Object {
    Scope* scope;
    bool shared = true;
    int first = 0;
    int second = 0;
  };
  struct Kind {
    explicit Kind(const std::vector<Attribute>& followed) : attributes(&followed) {}

    const std::vector<Attribute>* attributes;
    Scope* byDefault = nullptr;
    std::map<int, Scope*> styles;
    std::map<int, Object> objects;
  };

  Model() { clear(); }

  Scope* newScope(Scope* above) {
    scopes.push_back(std::make_unique<Scope>());
    scopes.back()->above = above;
    return scopes.back().get();
  }

  void clear() {
    scopes.clear();
    for (Kind* kind : {&vertices, &edges}) {
      kind->styles.clear();
      kind->objects.clear();
      kind->byDefault = newScope(nullptr);
    }
  }

  static Scope* style(Kind& kind, int id) {
    if (id == 0) return kind.byDefault;
    const auto entry = kind.styles.find(id);
    return entry == kind.styles.end() ? nullptr : entry->second;
  }

  void set(Object& object, std::size_t attribute, const std::string& value) {
    if (object.shared) {
      object.scope = newScope(object.scope);
      object.shared = false;
    }
    object.scope->own[attribute] = value;
  }

  static std::vector<std::string> inForce(const Kind& kind, const Scope* scope) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < kind.attributes->size(); ++i) {
      std::string value = (*kind.attributes)[i].initial;
      for (const Scope* at = scope; at != nullptr; at = at->above) {
        const auto own = at->own.find(i);
        if (own == at->own.end()) continue;
        value = own->second;
        break;
      }
      values.push_back(value);
    }
    return values;
  }

  void removeVertex(int id) {
    vertices.objects.erase(id);
    std::erase_if(edges.objects,
                  [id](const auto& entry) { return entry.second.first == id || entry.second.second == id; });
  }

  Kind vertices{vertexAttributes};
  Kind edges{edgeAttributes};

private:
  std::vector<std::unique_ptr<Scope>> scopes;
};

/// Makes calls at random, many of them mistakes, and compares each answer and every state with the model.
class Walk {
public:
  Walk(GraphProxy& walked, unsigned seed) : proxy(walked), random(seed) {}

  void step() {
    const int what = pick(1000);
    if (what < 1) {
      expect(proxy.tessarel_clear(), 0);
      model.clear();
    } else if (what < 120) {
      newVertex();
    } else if (what < 280) {
      newEdge();
    } else if (what < 300) {
      const int id = anyId(model.vertices.objects);
      const bool known = model.vertices.objects.contains(id);
      expect(proxy.tessarel_remove_vertex(id), known ? 0 : -1);
      model.removeVertex(id);
    } else if (what < 340) {
      const int id = anyId(model.edges.objects);
      expect(proxy.tessarel_remove_edge(id), model.edges.objects.erase(id) != 0 ? 0 : -1);
    } else if (what < 380) {
      newStyle(
          model.vertices, [this](int parent) { return proxy.tessarel_new_vertex_style(parent); },
          [this](int id, int parent) { return proxy.tessarel_new_vertex_style_w_id(id, parent); });
    } else if (what < 420) {
      newStyle(
          model.edges, [this](int parent) { return proxy.tessarel_new_edge_style(parent); },
          [this](int id, int parent) { return proxy.tessarel_new_edge_style_w_id(id, parent); });
    } else if (what < 500) {
      changeStyle(model.vertices, [this](int id, int style) { return proxy.tessarel_change_vertex_style(id, style); });
    } else if (what < 580) {
      changeStyle(model.edges, [this](int id, int style) { return proxy.tessarel_change_edge_style(id, style); });
    } else if (what < 960) {
      setAttribute();
    } else {
      proxy.poll();
    }
  }

  /// Every id, every connection, the value in force of every attribute of every object and style.
  void compare() {
    proxy.poll();
    ASSERT_EQ(proxy.validate(), "");
    ASSERT_EQ(proxy.vertices.size(), model.vertices.objects.size());
    ASSERT_EQ(proxy.edges.size(), model.edges.objects.size());
    ASSERT_EQ(proxy.vertexStyles.size(), model.vertices.styles.size());
    ASSERT_EQ(proxy.edgeStyles.size(), model.edges.styles.size());
    for (const auto& [id, object] : model.vertices.objects) {
      ASSERT_NE(proxy.vertexOf(id), nullptr) << id;
      ASSERT_EQ(inForce(proxy.vertexOf(id)->style), Model::inForce(model.vertices, object.scope)) << "vertex " << id;
    }
    for (const auto& [id, object] : model.edges.objects) {
      const GraphProxy::Edge* edge = proxy.edgeOf(id);
      ASSERT_NE(edge, nullptr) << id;
      ASSERT_EQ(edge->source, proxy.vertexOf(object.first));
      ASSERT_EQ(edge->target, proxy.vertexOf(object.second));
      ASSERT_EQ(inForce(edge->style), Model::inForce(model.edges, object.scope)) << "edge " << id;
    }
    for (const auto& [id, scope] : model.vertices.styles) {
      ASSERT_NE(proxy.vertexStyleOf(id), nullptr) << id;
      ASSERT_EQ(inForce(*proxy.vertexStyleOf(id)), Model::inForce(model.vertices, scope)) << "vertex style " << id;
    }
    for (const auto& [id, scope] : model.edges.styles) {
      ASSERT_NE(proxy.edgeStyleOf(id), nullptr) << id;
      ASSERT_EQ(inForce(*proxy.edgeStyleOf(id)), Model::inForce(model.edges, scope)) << "edge style " << id;
    }
    ASSERT_EQ(inForce(*proxy.vertexStyleOf(0)), Model::inForce(model.vertices, model.vertices.byDefault));
    ASSERT_EQ(inForce(*proxy.edgeStyleOf(0)), Model::inForce(model.edges, model.edges.byDefault));
  }

private:
  int pick(int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); }

  static void expect(int answer, int expected) { ASSERT_EQ(answer, expected); }

  /// An id that is mostly known, and otherwise from a small range in which some are.
  template <class Map>
  int anyId(const Map& known) {
    if (known.empty() || pick(10) == 0) return pick(60) - 10;
    return std::next(known.begin(), pick(static_cast<int>(known.size())))->first;
  }

  int anyStyle(const Model::Kind& kind) { return pick(5) == 0 ? 0 : anyId(kind.styles); }

  template <class Map>
  void expectFresh(int id, const Map& known) {
    ASSERT_GE(id, 1 << 30);
    ASSERT_FALSE(known.contains(id));
  }

  void newVertex() {
    int id = pick(40);
    if (pick(2) == 0) {
      id = proxy.tessarel_new_vertex();
      expectFresh(id, model.vertices.objects);
    } else if (model.vertices.objects.contains(id)) {
      return expect(proxy.tessarel_new_vertex_w_id(id), -1);
    } else {
      expect(proxy.tessarel_new_vertex_w_id(id), 0);
    }
    model.vertices.objects[id] = {model.vertices.byDefault};
  }

  void newEdge() {
    const int first = anyId(model.vertices.objects);
    const int second = anyId(model.vertices.objects);
    const bool fits =
        model.vertices.objects.contains(first) && model.vertices.objects.contains(second) && first != second;
    int id = pick(40);
    if (pick(2) == 0) {
      id = proxy.tessarel_new_edge(first, second);
      if (!fits) return expect(id, -1);
      expectFresh(id, model.edges.objects);
    } else {
      const int answer = proxy.tessarel_new_edge_w_id(id, first, second);
      if (!fits || model.edges.objects.contains(id)) return expect(answer, -1);
      expect(answer, 0);
    }
    model.edges.objects[id] = {model.edges.byDefault, true, first, second};
  }

  template <class Fresh, class WithId>
  void newStyle(Model::Kind& kind, Fresh fresh, WithId withId) {
    const int parent = anyStyle(kind);
    Scope* above = Model::style(kind, parent);
    int id = pick(20);
    if (pick(2) == 0) {
      id = fresh(parent);
      if (above == nullptr) return expect(id, -1);
      expectFresh(id, kind.styles);
    } else {
      const int answer = withId(id, parent);
      if (above == nullptr || Model::style(kind, id) != nullptr) return expect(answer, -1);
      expect(answer, 0);
    }
    kind.styles[id] = model.newScope(above);
  }

  template <class Change>
  void changeStyle(Model::Kind& kind, Change change) {
    const int id = anyId(kind.objects);
    const int style = anyStyle(kind);
    const auto object = kind.objects.find(id);
    Scope* scope = Model::style(kind, style);
    const int answer = change(id, style);
    if (object == kind.objects.end() || scope == nullptr) return expect(answer, -1);
    expect(answer, 0);
    object->second.scope = scope;
    object->second.shared = true;
  }

  void setAttribute() {
    const bool ofVertex = pick(2) == 0;
    Model::Kind& kind = ofVertex ? model.vertices : model.edges;
    const std::size_t index = static_cast<std::size_t>(pick(static_cast<int>(kind.attributes->size())));
    const Attribute& attribute = (*kind.attributes)[index];
    const bool good = attribute.bad.empty() || pick(8) != 0;
    const std::vector<const char*>& values = good ? attribute.values : attribute.bad;
    const std::string value = values[static_cast<std::size_t>(pick(static_cast<int>(values.size())))];
    const std::string text = good ? sent(attribute.key, value) : value;
    const char* key = pick(20) == 0 ? "no such key" : attribute.key;
    const bool fits = good && key == attribute.key;

    if (pick(3) != 0) {
      const int id = anyId(kind.objects);
      const auto object = kind.objects.find(id);
      expect(ofVertex ? proxy.tessarel_set_vertex_attribute(id, key, text.c_str())
                      : proxy.tessarel_set_edge_attribute(id, key, text.c_str()),
             object != kind.objects.end() && fits ? 0 : -1);
      if (object != kind.objects.end() && fits) model.set(object->second, index, value);
    } else {
      const int id = anyStyle(kind);
      Scope* scope = Model::style(kind, id);
      expect(ofVertex ? proxy.tessarel_set_vertex_style_attribute(id, key, text.c_str())
                      : proxy.tessarel_set_edge_style_attribute(id, key, text.c_str()),
             scope != nullptr && fits ? 0 : -1);
      if (scope != nullptr && fits) scope->own[index] = value;
    }
  }

  GraphProxy& proxy;
  Model model;
  std::mt19937 random;
};

long fromEnvironment(const char* name, long otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atol(text);
}

using ModelTest = ProxyTest;

// TESSAREL_MODEL_STEPS and TESSAREL_MODEL_SEED make it a longer or another walk.
TEST_F(ModelTest, anySequenceOfCallsLeavesWhatTheModelHas) {
  const long steps = fromEnvironment("TESSAREL_MODEL_STEPS", 20000);
  const unsigned seed = static_cast<unsigned>(fromEnvironment("TESSAREL_MODEL_SEED", 20738));
  std::cout << "seed " << seed << ", " << steps << " steps\n";
  RecordProperty("seed", std::to_string(seed));
  verbose = false;
  Walk walk(proxy, seed);
  for (long i = 0; i < steps && !HasFatalFailure(); ++i) {
    walk.step();
    if (i % 100 == 0 || i + 1 == steps) walk.compare();
    ASSERT_FALSE(HasFatalFailure()) << "at step " << i << " of seed " << seed;
  }
  verbose = true;
}

}  // namespace
}  // namespace quorel
