#pragma once

namespace quorel {

/// Radius of a vertex of this `size`, whatever its shape. A size of 1 has radius 0.2.
inline double vertexRadius(double size) {
  return size * static_cast<double>(0.2F);
}

/// Slices and stacks of a solid. A fixed `shapedetail` above 0 overrides the moving average of the frame rate; a still
/// picture can afford the most.
inline int solidDetail(int shapedetail, bool idle, double detail) {
  constexpr int least = 5;
  constexpr int most = 40;
  const int wanted = shapedetail != 0 ? shapedetail : idle ? most : static_cast<int>(0.5 + detail);
  return wanted < least ? least : wanted > most ? most : wanted;
}

}  // namespace quorel
