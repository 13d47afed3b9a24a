#include "server/GraphEvents.h"

#include <mutex>

#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/Vertex.h"
#include "server/AttributeTables.h"
#include "server/GraphProxy.h"
#include "versioning/EdgeStyle.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexStyle.h"

namespace quorel {

void NewVertex::execute(GraphProxy& proxy) {
  GraphProxy::Vertex* vertex = proxy.layout->newVertex();
  proxy.vertices[id] = vertex;
  proxy.vertexIds[vertex] = id;
}

void NewEdge::execute(GraphProxy& proxy) {
  GraphProxy::Vertex* source = proxy.vertexOf(first);
  GraphProxy::Vertex* target = proxy.vertexOf(second);
  if (source == nullptr || target == nullptr) {
    proxy.edges.erase(id);
    return;
  }
  GraphProxy::Edge* edge = proxy.layout->newEdge(source, target);
  proxy.edges[id] = edge;
  proxy.edgeIds[edge] = id;
}

void NewVertexStyle::execute(GraphProxy& proxy) {
  const VertexStyle* above = proxy.vertexStyleOf(parent);
  if (above == nullptr) {
    proxy.vertexStyles.erase(id);
    return;
  }
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  proxy.vertexStyles[id] = new VertexStyle(VertexStyle::below(*above));
}

void ChangeVertexStyle::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  GraphProxy::Vertex* changed = proxy.vertexOf(vertex);
  const VertexStyle* followed = proxy.vertexStyleOf(style);
  if (changed != nullptr && followed != nullptr) changed->style = VertexStyle::following(*followed);
}

void ChangeEdgeStyle::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  GraphProxy::Edge* changed = proxy.edgeOf(edge);
  const EdgeStyle* followed = proxy.edgeStyleOf(style);
  if (changed != nullptr && followed != nullptr) changed->style = EdgeStyle::following(*followed);
}

// The call that posted the event has validated key and value, so that what is left to fail is the object.

void SetVertexAttribute::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  GraphProxy::Vertex* changed = proxy.vertexOf(vertex);
  if (changed != nullptr) setVertexAttribute(&changed->style, key.c_str(), value.c_str());
}

void SetVertexStyleAttribute::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  VertexStyle* changed = proxy.vertexStyleOf(style);
  if (changed != nullptr) setVertexAttribute(changed, key.c_str(), value.c_str());
}

void SetEdgeAttribute::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  GraphProxy::Edge* changed = proxy.edgeOf(edge);
  if (changed != nullptr) setEdgeAttribute(&changed->style, key.c_str(), value.c_str());
}

void SetEdgeStyleAttribute::execute(GraphProxy& proxy) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  EdgeStyle* changed = proxy.edgeStyleOf(style);
  if (changed != nullptr) setEdgeAttribute(changed, key.c_str(), value.c_str());
}

}  // namespace quorel
