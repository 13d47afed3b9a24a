#include "server/GraphProxy.h"

#include <cstddef>
#include <iostream>
#include <mutex>

#include "animator/GraphAnimator.h"
#include "concurrency/Log.h"
#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/Vertex.h"
#include "server/AttributeTables.h"
#include "server/Diagnostics.h"
#include "server/GraphEvents.h"
#include "versioning/EdgeStyle.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexStyle.h"

namespace quorel {

GraphProxy* graphProxy = nullptr;

namespace {

/// Ids below this one never come from the server: they are left to clients who choose their own.
constexpr int firstFreshId = 0x40000000;

template <class Map>
int freshId(RandomNumbers& numbers, const Map& map) {
  for (;;) {
    const int id = firstFreshId + (numbers.next() & 0x3fffffff);
    if (!map.contains(id)) return id;
  }
}

template <class Map>
typename Map::mapped_type find(const Map& map, int id) {
  const auto entry = map.find(id);
  return entry == map.end() ? nullptr : entry->second;
}

/// Whether an id names a style; 0 is the default style of every kind.
template <class Map>
bool isStyle(const Map& styles, int id) {
  return id == 0 || styles.contains(id);
}

template <class Map>
bool knows(MultiLockable& lock, const Map& map, int id) {
  const std::lock_guard<MultiLockable> hold(lock);
  return map.contains(id);
}

template <class Map>
bool knowsStyle(MultiLockable& lock, const Map& styles, int id) {
  return id == 0 || knows(lock, styles, id);
}

EdgeStyle* newStyleBelow(const EdgeStyle& parent) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  return new EdgeStyle(EdgeStyle::below(parent));
}

/// The answer to a client's mistake, given after the locks have been: a log that nobody reads must not hold up others.
template <class Lock, class... Parts>
int refuse(std::unique_lock<Lock>& hold, const Parts&... parts) {
  hold.unlock();
  return quorel::refuse(parts...);
}

}  // namespace

/// The layout and the proxy as one lock. With it held and every queued change carried out, the graph is the one that
/// the clients know.
class GraphProxy::WholeGraph {
public:
  explicit WholeGraph(GraphProxy& owner) : proxy(owner) {}

  void lock() {
    proxy.layoutEntrance.lock();
    proxy.lock();
    proxy.drain();
  }

  void unlock() {
    proxy.unlock();
    proxy.layoutEntrance.unlock();
  }

private:
  GraphProxy& proxy;
};

GraphProxy::GraphProxy(GraphLayout* madeLayout, GraphAnimator* madeAnimator)
    : MultiLockable(5), layout(madeLayout), animator(madeAnimator), layoutEntrance(*madeLayout) {
  if (animator != nullptr) animator->updaters.insert(this);
}

GraphProxy::GraphProxy(int argc, char** argv) : GraphProxy(new GraphLayout, nullptr) {
  animator = new GraphAnimator(argc, argv, *layout);
  writeLine(std::cout, "Using single-level layout.");
  animator->updaters.insert(this);
}

GraphProxy::~GraphProxy() {
  for (GraphEvent* event : events) delete event;
  deleteStyles();
  if (animator != nullptr) animator->updaters.erase(this);
  layout->clear();
  delete layout;
}

void GraphProxy::poll() {
  WholeGraph whole(*this);
  const std::lock_guard hold(whole);
}

void GraphProxy::post(GraphEvent* event) {
  const std::lock_guard<MultiLockable> hold(*this);
  events.push_back(event);
}

void GraphProxy::drain() {
  while (!events.empty()) {
    GraphEvent* event = events.front();
    events.pop_front();
    event->execute(*this);
    delete event;
  }
}

GraphProxy::Vertex* GraphProxy::vertexOf(int id) const {
  return find(vertices, id);
}

GraphProxy::Edge* GraphProxy::edgeOf(int id) const {
  return find(edges, id);
}

VertexStyle* GraphProxy::vertexStyleOf(int id) const {
  return id == 0 ? &layout->defaultVertexStyle : find(vertexStyles, id);
}

EdgeStyle* GraphProxy::edgeStyleOf(int id) const {
  return id == 0 ? &layout->defaultEdgeStyle : find(edgeStyles, id);
}

int GraphProxy::tessarel_new_vertex() {
  const std::lock_guard<MultiLockable> hold(*this);
  const int id = freshId(numbers, vertices);
  vertices.emplace(id, nullptr);
  post(new NewVertex(id));
  return id;
}

int GraphProxy::tessarel_new_vertex_w_id(int id) {
  std::unique_lock<MultiLockable> hold(*this);
  if (!vertices.emplace(id, nullptr).second) {
    return refuse(hold, "tessarel_new_vertex_w_id(", id, ") failed: vertex already exists");
  }
  post(new NewVertex(id));
  return 0;
}

int GraphProxy::tessarel_new_edge(int first, int second) {
  std::unique_lock<MultiLockable> hold(*this);
  for (const int vertex : {first, second}) {
    if (!vertices.contains(vertex)) {
      return refuse(hold, "tessarel_new_edge(", first, ", ", second, "): Invalid vertex id (", vertex, ")");
    }
  }
  if (first == second) {
    return refuse(hold, "tessarel_new_edge(", first, ", ", second,
                  "): Sorry, self-edges not allowed yet.  Submit a feature request?");
  }
  const int id = freshId(numbers, edges);
  edges.emplace(id, nullptr);
  post(new NewEdge(id, first, second));
  return id;
}

int GraphProxy::tessarel_new_edge_w_id(int id, int first, int second) {
  std::unique_lock<MultiLockable> hold(*this);
  for (const int vertex : {first, second}) {
    if (!vertices.contains(vertex)) {
      return refuse(hold, "tessarel_new_edge_w_id(", id, ", ", first, ", ", second, "): Invalid vertex id (", vertex,
                    ")");
    }
  }
  if (edges.contains(id)) {
    return refuse(hold, "tessarel_new_edge_w_id(", id, ", ", first, ", ", second, "): Edge id ", id,
                  " already in use.");
  }
  if (first == second) {
    return refuse(hold, "tessarel_new_edge_w_id(", first, ", ", first,
                  "): Sorry, self-edges not allowed yet.  Submit a feature request?");
  }
  edges.emplace(id, nullptr);
  post(new NewEdge(id, first, second));
  return 0;
}

int GraphProxy::tessarel_remove_vertex(int id) {
  const auto unknown = [id] { return quorel::refuse("tessarel_remove_vertex(", id, "): Invalid vertex id"); };
  if (!knows(*this, vertices, id)) return unknown();
  WholeGraph whole(*this);
  std::unique_lock hold(whole);
  Vertex* vertex = vertexOf(id);
  if (vertex == nullptr) {  // another client was quicker
    hold.unlock();
    return unknown();
  }
  while (!vertex->outEdges.empty()) destroy(*vertex->outEdges.begin());
  while (!vertex->inEdges.empty()) destroy(*vertex->inEdges.begin());
  vertices.erase(id);
  vertexIds.erase(vertex);
  delete vertex;
  return 0;
}

int GraphProxy::tessarel_remove_edge(int id) {
  const auto unknown = [id] { return quorel::refuse("tessarel_remove_edge(", id, "): Invalid edge id"); };
  if (!knows(*this, edges, id)) return unknown();
  WholeGraph whole(*this);
  std::unique_lock hold(whole);
  Edge* edge = edgeOf(id);
  if (edge == nullptr) {
    hold.unlock();
    return unknown();
  }
  destroy(edge);
  return 0;
}

int GraphProxy::tessarel_clear() {
  WholeGraph whole(*this);
  const std::lock_guard hold(whole);
  edges.clear();
  vertices.clear();
  edgeIds.clear();
  vertexIds.clear();
  layout->clear();
  layout->resetDefaultStyles();
  deleteStyles();
  return 0;
}

int GraphProxy::tessarel_set_vertex_attribute(int id, const char* key, const char* value) {
  if (!knows(*this, vertices, id)) {
    return quorel::refuse("tessarel_set_vertex_attribute(", id, ", \"", key, "\", \"", value, "\"):  Unknown vertex (",
                          id, ")");
  }
  if (setVertexAttribute(nullptr, key, value) == -1) return -1;
  post(new SetVertexAttribute(id, key, value));
  return 0;
}

int GraphProxy::tessarel_set_vertex_style_attribute(int id, const char* key, const char* value) {
  if (!knowsStyle(*this, vertexStyles, id)) {
    return quorel::refuse("tessarel_set_vertex_style_attribute(", id, ", ", key, ", ", value, "): Unknown style (", id,
                          ")");
  }
  if (setVertexAttribute(nullptr, key, value) == -1) return -1;
  post(new SetVertexStyleAttribute(id, key, value));
  return 0;
}

int GraphProxy::tessarel_new_vertex_style(int parent) {
  std::unique_lock<MultiLockable> hold(*this);
  if (!isStyle(vertexStyles, parent)) {
    return refuse(hold, "tessarel_new_vertex_style(", parent, "): Unknown vertex style (", parent, ")");
  }
  const int id = freshId(numbers, vertexStyles);
  vertexStyles.emplace(id, nullptr);
  post(new NewVertexStyle(id, parent));
  return id;
}

int GraphProxy::tessarel_new_vertex_style_w_id(int id, int parent) {
  std::unique_lock<MultiLockable> hold(*this);
  if (isStyle(vertexStyles, id)) {
    return refuse(hold, "tessarel_new_vertex_style_w_id(", id, ", ", parent, "): style already exists (", id, ")");
  }
  if (!isStyle(vertexStyles, parent)) {
    return refuse(hold, "tessarel_new_vertex_style_w_id(", id, ", ", parent, "): Unknown vertex style (", parent, ")");
  }
  vertexStyles.emplace(id, nullptr);
  post(new NewVertexStyle(id, parent));
  return 0;
}

int GraphProxy::tessarel_change_vertex_style(int vertex, int style) {
  std::unique_lock<MultiLockable> hold(*this);
  if (!vertices.contains(vertex)) {
    return refuse(hold, "tessarel_change_vertex_style(", vertex, ",", style, "): vertex does not exist (", vertex, ")");
  }
  if (!isStyle(vertexStyles, style)) {
    return refuse(hold, "Warning: tessarel_change_vertex_style(", vertex, ",", style, "): style does not exist (",
                  style, ")");
  }
  post(new ChangeVertexStyle(vertex, style));
  return 0;
}

int GraphProxy::tessarel_set_edge_attribute(int id, const char* key, const char* value) {
  if (!knows(*this, edges, id)) {
    return quorel::refuse("tessarel_set_edge_attribute(", id, ", \"", key, "\", \"", value, "\"):  Unknown edge (", id,
                          ")");
  }
  if (setEdgeAttribute(nullptr, key, value) == -1) return -1;
  post(new SetEdgeAttribute(id, key, value));
  return 0;
}

int GraphProxy::tessarel_set_edge_style_attribute(int id, const char* key, const char* value) {
  if (!knowsStyle(*this, edgeStyles, id)) {
    return quorel::refuse("tessarel_set_edge_style_attribute(", id, ", ", key, ", ", value, "): Unknown style (", id,
                          ")");
  }
  if (setEdgeAttribute(nullptr, key, value) == -1) return -1;
  post(new SetEdgeStyleAttribute(id, key, value));
  return 0;
}

int GraphProxy::tessarel_new_edge_style(int parent) {
  WholeGraph whole(*this);
  std::unique_lock hold(whole);
  const EdgeStyle* above = edgeStyleOf(parent);
  if (above == nullptr) return refuse(hold, "tessarel: Unknown edge style (", parent, ")");
  const int id = freshId(numbers, edgeStyles);
  edgeStyles.emplace(id, newStyleBelow(*above));
  return id;
}

int GraphProxy::tessarel_new_edge_style_w_id(int id, int parent) {
  WholeGraph whole(*this);
  std::unique_lock hold(whole);
  if (isStyle(edgeStyles, id)) {
    return refuse(hold, "tessarel_new_edge_style_w_id(", id, ", ", parent, "): Edge style already exists (", id, ")");
  }
  const EdgeStyle* above = edgeStyleOf(parent);
  if (above == nullptr) {
    return refuse(hold, "tessarel_new_edge_style_w_id(", id, ", ", parent, "): Unknown edge style (", parent, ")");
  }
  edgeStyles.emplace(id, newStyleBelow(*above));
  return 0;
}

int GraphProxy::tessarel_change_edge_style(int edge, int style) {
  std::unique_lock<MultiLockable> hold(*this);
  if (!edges.contains(edge)) {
    return refuse(hold, "tessarel_change_edge_style(", edge, ", ", style, "): Unknown edge (", edge, ")");
  }
  if (!isStyle(edgeStyles, style)) {
    return refuse(hold, "tessarel_change_edge_style(", edge, ", ", style, "): Unknown edge style (", style, ")");
  }
  post(new ChangeEdgeStyle(edge, style));
  return 0;
}

void GraphProxy::destroy(Edge* edge) {
  const auto named = edgeIds.find(edge);
  if (named != edgeIds.end()) {  // the links between a curved edge's knots have no id
    edges.erase(named->second);
    edgeIds.erase(named);
  }
  delete edge;
}

void GraphProxy::deleteStyles() {
  for (const auto& [id, style] : vertexStyles) delete style;
  for (const auto& [id, style] : edgeStyles) delete style;
  vertexStyles.clear();
  edgeStyles.clear();
}

std::string GraphProxy::validate() {
  const std::lock_guard<MultiLockable> holdLayout(*layout);
  const std::lock_guard<MultiLockable> holdProxy(*this);
  std::size_t pending = 0;

  const auto compareMaps = [&pending](const auto& objects, const auto& ids) {
    std::size_t present = 0;
    for (const auto& [id, object] : objects) {
      if (object == nullptr) {
        ++pending;
        continue;
      }
      ++present;
      const auto reverse = ids.find(object);
      if (reverse == ids.end() || reverse->second != id) return "no way back to id " + std::to_string(id);
    }
    return present == ids.size() ? std::string() : std::string("a reverse entry without its id");
  };
  if (std::string fault = compareMaps(vertices, vertexIds); !fault.empty()) return "vertices: " + fault;
  if (std::string fault = compareMaps(edges, edgeIds); !fault.empty()) return "edges: " + fault;

  for (const auto& [vertex, id] : vertexIds) {
    if (!layout->vertices.contains(vertex)) return "vertex " + std::to_string(id) + " is not in the graph";
  }
  // Vertices without an id are the knots of curved edges; edges that touch one are the links between them.
  std::size_t namedEdges = 0;
  for (Vertex* vertex : layout->vertices) {
    if (!vertexIds.contains(vertex)) continue;
    for (Edge* edge : vertex->outEdges) {
      if (edgeIds.contains(edge)) {
        ++namedEdges;
        if (!vertexIds.contains(edge->target)) return "an edge whose target is no client's vertex";
        if (!edge->target->inEdges.contains(edge)) return "an edge that its target does not know";
      } else if (vertexIds.contains(edge->target)) {
        return "an edge between clients' vertices that has no id";
      }
    }
  }
  if (namedEdges != edgeIds.size()) return "an id whose edge is not in the graph";

  if (vertexStyles.contains(0) || edgeStyles.contains(0)) return "style 0 in a map";
  for (const auto& [id, style] : vertexStyles) pending += style == nullptr ? 1 : 0;
  for (const auto& [id, style] : edgeStyles) {
    if (style == nullptr) return "edge style " + std::to_string(id) + " is null";
  }
  if (pending > events.size()) return "more promised objects than events";
  return {};
}

}  // namespace quorel
