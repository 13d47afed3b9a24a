#pragma once

#include "animator/Painter.h"

namespace quorel {

/// Draws nothing: the drawing pass then only measures.
class BlankPainter final : public Painter {
public:
  void begin() override {}
  void setColour(const Vector&) override {}
  void setLineState(int, double) override {}
  void solid(VertexStyleDefns::Shape, double, int) override {}
  void line(const Vector&, const Vector&) override {}
  void arrow(const Arrow&, int) override {}
  void curve(std::span<const Vector, 4>) override {}
  void text(std::string_view, void*, const Vector&, const Vector&) override {}
  void vertexDone() override {}
  void flush() override {}
};

}  // namespace quorel
