#pragma once

namespace quorel {

/// Binds the payload classes of vertices and edges for the graph templates. A list of types, no data.
template <class VertexBaseClass, class EdgeBaseClass>
struct GraphSchema {
  using VertexBase = VertexBaseClass;
  using EdgeBase = EdgeBaseClass;
};

}  // namespace quorel
