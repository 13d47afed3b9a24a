#include "animator/PlainPainter.h"

#include <GL/gl.h>

#include "animator/Primitives.h"

namespace quorel {

void PlainPainter::setColour(const Vector& colour) {
  glColor3fv(colour.data());
}

void PlainPainter::setLineState(int stroke, double width) {
  glLineStipple(1, static_cast<GLushort>(stroke & solidStroke));
  glLineWidth(static_cast<float>(width));
}

void PlainPainter::solid(VertexStyleDefns::Shape shape, double s, int facets) {
  drawSolid(shape, s, facets);
}

void PlainPainter::line(const Vector& p, const Vector& q) {
  drawLine(p, q);
}

void PlainPainter::arrow(const Arrow& arrow, int facets) {
  drawCylinder(arrow.base, arrow.tip, arrow.radius, 0.0, facets, facets, true);
}

void PlainPainter::curve(std::span<const Vector, 4> points) {
  drawCurve(nurbs, points);
}

void PlainPainter::text(std::string_view text, void* font, const Vector& colour, const Vector& position) {
  drawBitmapText(text, font, colour, position);
}

}  // namespace quorel
