#pragma once

#include <span>
#include <string_view>

#include "animator/Painter.h"

class GLUnurbs;

namespace quorel {

/// Draws each piece at once, with one GLUT solid a vertex, one begin and end a line, and one bitmap a character. The
/// reference for every other painter, and the one that renders a pick.
class PlainPainter final : public Painter {
public:
  /// The renderer of curves is not owned.
  explicit PlainPainter(GLUnurbs* curveRenderer) : nurbs(curveRenderer) {}

  void begin() override {}
  void setColour(const Vector& colour) override;
  void setLineState(int stroke, double width) override;
  void solid(VertexStyleDefns::Shape shape, double s, int facets) override;
  void line(const Vector& p, const Vector& q) override;
  void arrow(const Arrow& arrow, int facets) override;
  void curve(std::span<const Vector, 4> points) override;
  void text(std::string_view text, void* font, const Vector& colour, const Vector& position) override;
  void vertexDone() override {}
  void flush() override {}

private:
  GLUnurbs* nurbs;
};

}  // namespace quorel
