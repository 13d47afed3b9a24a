#include "animator/BatchPainter.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cmath>

#include "animator/Primitives.h"

namespace quorel {

void BatchPainter::LineState::apply() const {
  glLineStipple(1, static_cast<GLushort>(stroke & solidStroke));
  glLineWidth(width);
}

void BatchPainter::begin() {
  lists.begin();
  float modelview[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
  depthRow = Vector(modelview[2], modelview[6], modelview[10]);
  depthOffset = modelview[14];
  findEdgesOfWindow();
}

/// A viewport that is slid aside leaves part of the window out, but a bitmap that begins in the one goes on in the other.
void BatchPainter::findEdgesOfWindow() {
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  rightEdge = static_cast<float>(std::max(glutGet(GLUT_WINDOW_WIDTH), viewport[0] + viewport[2]));
  topEdge = static_cast<float>(std::max(glutGet(GLUT_WINDOW_HEIGHT), viewport[1] + viewport[3]));
}

void BatchPainter::setColour(const Vector& newColour) {
  colour = newColour;
  glColor3fv(colour.data());
}

void BatchPainter::setLineState(int stroke, double width) {
  lineState = {stroke, static_cast<float>(width)};
}

void BatchPainter::solid(VertexStyleDefns::Shape shape, double s, int facets) {
  lists.drawSolid(shape, s, facets);
  ++pieces;
}

void BatchPainter::line(const Vector& p, const Vector& q) {
  const bool atOnce = isParallelToPicture(p, q);
  if (atOnce) flush();
  if (runs.empty() || runs.back().state != lineState) runs.push_back({lineState, lineEnds.size()});
  lineEnds.push_back({colour, p});
  lineEnds.push_back({colour, q});
  ++pieces;
  if (atOnce) flush();
}

/// Whether a line can lie at the depth of a text over more than a stray pixel: its ends differ by less than some
/// hundred steps of a depth buffer of 24 bits.
bool BatchPainter::isParallelToPicture(const Vector& p, const Vector& q) const {
  constexpr float depthSteps = 1e-5F;
  const float nearest = std::max(std::abs(dot(depthRow, p) + depthOffset), 1.0F);
  return std::abs(dot(depthRow, q - p)) < depthSteps * nearest * nearest;
}

void BatchPainter::arrow(const Arrow& arrow, int facets) {
  heads.push_back({arrow, colour, facets});
  ++pieces;
}

void BatchPainter::curve(std::span<const Vector, 4> points) {
  if (!glyphCorners.empty()) flush();
  glColor3fv(colour.data());
  lineState.apply();
  drawCurve(nurbs, points);
  LineState().apply();
}

void BatchPainter::text(std::string_view text, void* font, const Vector& textColour, const Vector& position) {
  const GlyphAtlas::Font* glyphs = atlas.font(font);
  if (glyphs == nullptr) {
    flush();
    drawBitmapText(text, font, textColour, position);
    return;
  }
  // OpenGL itself says where the text stands: computed here it could differ in the last bit, and then by a pixel.
  glRasterPos3f(position[0], position[1], position[2]);
  GLboolean valid = GL_FALSE;
  glGetBooleanv(GL_CURRENT_RASTER_POSITION_VALID, &valid);
  if (valid == GL_FALSE) return;
  float raster[4];
  glGetFloatv(GL_CURRENT_RASTER_POSITION, raster);

  // A bitmap goes to the pixel that its position lies in; the driver forgives a last bit below a whole number.
  constexpr float forgiven = 1e-4F;
  const float bottom = std::floor(raster[1] + forgiven);
  const float depth = 2.0F * raster[2] - 1.0F;
  ++pieces;
  for (const char c : text) {
    if (raster[0] > rightEdge + GlyphAtlas::overhang) break;  // nor does anything behind it reach back into the window
    const GlyphAtlas::Glyph& glyph = (*glyphs)[static_cast<unsigned char>(c)];
    const float x = std::floor(raster[0] + forgiven) + static_cast<float>(glyph.x);
    const float y = bottom + static_cast<float>(glyph.y);
    const auto w = static_cast<float>(glyph.width);
    const auto h = static_cast<float>(glyph.height);
    if (w > 0.0F && x < rightEdge && x + w > 0.0F && y < topEdge && y + h > 0.0F) {
      const auto s = static_cast<float>(glyph.textureX);
      const auto t = static_cast<float>(glyph.textureY);
      glyphCorners.push_back({s, t, textColour, {x, y, depth}});
      glyphCorners.push_back({s + w, t, textColour, {x + w, y, depth}});
      glyphCorners.push_back({s + w, t + h, textColour, {x + w, y + h, depth}});
      glyphCorners.push_back({s, t + h, textColour, {x, y + h, depth}});
    }
    raster[0] += glyph.advance;
  }
}

void BatchPainter::vertexDone() {
  if (pieces < piecesAtOnce) return;
  flush();
  // A renderer in software fills the pixels on threads of its own; they need not wait for the rest of the picture.
  glFlush();
}

void BatchPainter::flush() {
  pieces = 0;
  drawLines();
  drawHeads();
  drawTexts();
}

void BatchPainter::drawLines() {
  if (lineEnds.empty()) return;
  useLineNormal();
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(LineEnd), lineEnds.front().position.data());
  glColorPointer(3, GL_FLOAT, sizeof(LineEnd), lineEnds.front().colour.data());
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const std::size_t end = i + 1 < runs.size() ? runs[i + 1].firstEnd : lineEnds.size();
    if (runs[i].state != LineState()) runs[i].state.apply();
    glDrawArrays(GL_LINES, static_cast<GLint>(runs[i].firstEnd), static_cast<GLsizei>(end - runs[i].firstEnd));
    if (runs[i].state != LineState()) LineState().apply();
  }
  glDisableClientState(GL_COLOR_ARRAY);
  glDisableClientState(GL_VERTEX_ARRAY);
  lineEnds.clear();
  runs.clear();
}

void BatchPainter::drawHeads() {
  for (const Head& head : heads) {
    glColor3fv(head.colour.data());
    glPushMatrix();
    const float height = alignWithZ(head.arrow.base, head.arrow.tip);
    lists.drawHead(static_cast<float>(head.arrow.radius), height, head.facets);
    glPopMatrix();
  }
  heads.clear();
}

/// One textured rectangle a character, in window coordinates. The viewport reaches from the window's corner over any
/// window there is: a bitmap that begins inside the viewport may go on outside. Its size is a power of two, so that
/// pixels stay whole numbers.
void BatchPainter::drawTexts() {
  if (glyphCorners.empty()) return;
  constexpr int reach = 8192;
  glPushAttrib(GL_ENABLE_BIT | GL_VIEWPORT_BIT | GL_TRANSFORM_BIT | GL_TEXTURE_BIT | GL_COLOR_BUFFER_BIT);
  glMatrixMode(GL_TEXTURE);
  glPushMatrix();
  glLoadIdentity();
  glScalef(1.0F / GlyphAtlas::size, 1.0F / GlyphAtlas::size, 1.0F);
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  glTranslatef(-1.0F, -1.0F, 0.0F);
  glScalef(2.0F / reach, 2.0F / reach, 1.0F);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glViewport(0, 0, reach, reach);
  glDisable(GL_LIGHTING);
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, atlas.texture());
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glEnable(GL_ALPHA_TEST);
  glAlphaFunc(GL_GREATER, 0.5F);

  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GlyphCorner), glyphCorners.front().position.data());
  glColorPointer(3, GL_FLOAT, sizeof(GlyphCorner), glyphCorners.front().colour.data());
  glTexCoordPointer(2, GL_FLOAT, sizeof(GlyphCorner), &glyphCorners.front().s);
  glDrawArrays(GL_QUADS, 0, static_cast<GLsizei>(glyphCorners.size()));
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
  glDisableClientState(GL_VERTEX_ARRAY);

  glPopMatrix();
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_TEXTURE);
  glPopMatrix();
  glPopAttrib();
  glyphCorners.clear();
}

}  // namespace quorel
