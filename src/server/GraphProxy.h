#pragma once

#include <deque>
#include <map>
#include <string>

#include "animator/GraphUpdater.h"
#include "concurrency/MultiLockable.h"
#include "concurrency/RandomNumbers.h"
#include "layout/LayoutSchema.h"
#include "layout/SlotPool.h"
#include "server/Turnstile.h"

namespace quorel {

template <class Schema>
class Vertex;
template <class Schema>
class Edge;
template <class Schema>
class GraphLayout;
template <class GraphLayout>
class GraphAnimator;
class EdgeStyle;
class GraphEvent;
class VertexStyle;

/// Stands between the threads that serve clients and the graph, which may change only when it is not stepping: keeps
/// the identifiers, so that a client has its id at once, and the queue of changes that the main thread carries out
/// later.
///
/// Invariants: (1) an id is a key of its map from the moment its call returns, with a null pointer until its event has
///             run; (2) `vertexIds` and `edgeIds` are the reverse of the non-null entries; (3) the entry of a new
///             object and its event are made under one hold of the lock, so that events stand in the queue in the order
///             in which their ids became known; (4) style id 0 is the layout's default style of its kind and is no key.
/// Threading:  any thread may call the interface functions, with none of the program's locks held. The proxy's lock
///             guards the maps and the queue. New objects, style changes and attributes are checked in the calling
///             thread and wait for nothing but that lock. Removals, `clear` and new edge styles take the layout's lock
///             through the turnstile, so that each waits for at most the step in progress and the poll after it.
/// Ownership:  owns the layout, the animator, the named styles and the queued events. On a normal run it is never
///             destroyed.
/// Cost:       O(log n) a call; removing a vertex adds its degree, `clear` the size of the graph.
class GraphProxy : public MultiLockable, public GraphUpdater {
public:
  using Vertex = quorel::Vertex<LayoutSchema>;
  using Edge = quorel::Edge<LayoutSchema>;
  using GraphLayout = quorel::GraphLayout<LayoutSchema>;
  using GraphAnimator = quorel::GraphAnimator<GraphLayout>;

  /// Makes the layout, then the window.
  GraphProxy(int argc, char** argv);

  /// Takes over a layout and, unless it is null, an animator.
  GraphProxy(GraphLayout* madeLayout, GraphAnimator* madeAnimator);

  GraphProxy(const GraphProxy&) = delete;
  GraphProxy& operator=(const GraphProxy&) = delete;
  ~GraphProxy() override;

  /// Carries out what is queued. Called once a frame on the main thread.
  void poll() override;

  // The functions behind the methods of the same name. Each returns 0 or the new id, or -1 with a line on the log; a
  // refused call has changed nothing.

  int tessarel_new_vertex();
  int tessarel_new_vertex_w_id(int id);
  int tessarel_new_edge(int first, int second);
  int tessarel_new_edge_w_id(int id, int first, int second);
  int tessarel_remove_vertex(int id);
  int tessarel_remove_edge(int id);
  int tessarel_clear();
  int tessarel_set_vertex_attribute(int id, const char* key, const char* value);
  int tessarel_set_vertex_style_attribute(int id, const char* key, const char* value);
  int tessarel_new_vertex_style(int parent);
  int tessarel_new_vertex_style_w_id(int id, int parent);
  int tessarel_change_vertex_style(int vertex, int style);
  int tessarel_set_edge_attribute(int id, const char* key, const char* value);
  int tessarel_set_edge_style_attribute(int id, const char* key, const char* value);
  int tessarel_new_edge_style(int parent);
  int tessarel_new_edge_style_w_id(int id, int parent);
  int tessarel_change_edge_style(int edge, int style);

  /// Appends to the queue, which takes the event over.
  void post(GraphEvent* event);

  /// Executes the events in order until none is left. The caller holds the layout's and the proxy's lock.
  void drain();

  /// The object or style of that id; null if there is none or its event has not run. The caller holds the proxy's lock.
  Vertex* vertexOf(int id) const;
  Edge* edgeOf(int id) const;
  VertexStyle* vertexStyleOf(int id) const;
  EdgeStyle* edgeStyleOf(int id) const;

  /// Compares the maps with one another and with the graph. Returns the first disagreement in words, empty if there is
  /// none. The caller holds no lock.
  std::string validate();

  PooledMap<int, Vertex*> vertices;
  PooledMap<Vertex*, int> vertexIds;
  PooledMap<int, Edge*> edges;
  PooledMap<Edge*, int> edgeIds;
  std::map<int, VertexStyle*> vertexStyles;
  std::map<int, EdgeStyle*> edgeStyles;
  GraphLayout* layout;
  GraphAnimator* animator;
  std::deque<GraphEvent*> events;  // oldest first

private:
  class WholeGraph;

  /// Forgets the edge and deletes it. The caller holds the layout's and the proxy's lock.
  void destroy(Edge* edge);

  void deleteStyles();

  Turnstile layoutEntrance;
  RandomNumbers numbers;  // where fresh ids come from; guarded by the proxy's lock
};

/// The one proxy, written once before the server thread starts.
extern GraphProxy* graphProxy;

}  // namespace quorel
