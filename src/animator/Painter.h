#pragma once

#include <span>
#include <string_view>

#include "TinyVector.h"
#include "animator/EdgeGeometry.h"
#include "versioning/VertexStyleDefns.h"

namespace quorel {

/// Takes the pieces of a picture, in the order in which they would be drawn one by one.
///
/// Whatever a painter does with them, the picture in the end is the one that drawing each at once would have left. A
/// piece stands in the modelview of the moment; lines, arrows and curves stand in that of the last `begin`.
/// Invariants: (1) after `flush` everything handed over is drawn, and the line state of OpenGL is solid and of width 1;
///             (2) no piece depends on current colour or normal as another piece has left them.
/// Threading:  the main thread.
class Painter {
public:
  using Vector = TinyVector<float, 3>;

  static constexpr int solidStroke = 0xffff;

  Painter() = default;
  Painter(const Painter&) = delete;
  Painter& operator=(const Painter&) = delete;
  virtual ~Painter() = default;

  /// The modelview is now that of the lines to come.
  virtual void begin() = 0;

  /// Colour of the solids, lines, arrows and curves to come.
  virtual void setColour(const Vector& colour) = 0;

  /// Stipple pattern and width of the lines and curves to come.
  virtual void setLineState(int stroke, double width) = 0;

  /// The solid of a vertex of radius s.
  virtual void solid(VertexStyleDefns::Shape shape, double s, int facets) = 0;
  virtual void line(const Vector& p, const Vector& q) = 0;
  virtual void arrow(const Arrow& arrow, int facets) = 0;
  /// A NURBS curve of order 4 through four control points.
  virtual void curve(std::span<const Vector, 4> points) = 0;
  /// The font is GLUT's.
  virtual void text(std::string_view text, void* font, const Vector& colour, const Vector& position) = 0;

  /// A vertex with all its edges has been handed over; the modelview is that of `begin`.
  virtual void vertexDone() = 0;
  virtual void flush() = 0;
};

}  // namespace quorel
