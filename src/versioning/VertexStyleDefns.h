#pragma once

namespace quorel {

class VertexStyleDefns {
public:
  enum Shape { none, sphere, cone, torus, tetrahedron, cube, octahedron, dodecahedron, icosahedron };
};

}  // namespace quorel
