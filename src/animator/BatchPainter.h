#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "animator/GlyphAtlas.h"
#include "animator/Painter.h"
#include "animator/ShapeLists.h"

class GLUnurbs;

namespace quorel {

/// Draws solids at once from display lists, keeps lines, arrows and text, and draws them in as few batches as their
/// states allow when flushed: first the lines, then the arrows, then the text, each in the order of arrival.
///
/// The depth test makes that the picture of drawing all in order, but where two pieces lie at exactly equal depth:
/// there the first one stands. A stray pixel of that kind needs a coincidence of one in ten million. It is no
/// coincidence where a line runs parallel to the picture, as in a flat graph seen from the front, since text does so
/// always: such lines, and curves, draw everything that came before them first.
/// Threading:  the main thread.
/// Cost:       O(1) a piece, and a few changes of state a batch; a text costs what of it lies in the window.
class BatchPainter final : public Painter {
public:
  /// The renderer of curves is not owned.
  explicit BatchPainter(GLUnurbs* curveRenderer) : nurbs(curveRenderer) {}

  void begin() override;
  void setColour(const Vector& colour) override;
  void setLineState(int stroke, double width) override;
  void solid(VertexStyleDefns::Shape shape, double s, int facets) override;
  void line(const Vector& p, const Vector& q) override;
  void arrow(const Arrow& arrow, int facets) override;
  void curve(std::span<const Vector, 4> points) override;
  void text(std::string_view text, void* font, const Vector& colour, const Vector& position) override;
  void vertexDone() override;
  void flush() override;

private:
  struct LineState {
    int stroke = solidStroke;
    float width = 1.0F;

    bool operator==(const LineState&) const = default;
    void apply() const;
  };

  /// As OpenGL takes arrays of them.
  struct LineEnd {
    Vector colour;
    Vector position;
  };

  /// Lines of one state, up to the next run or the end.
  struct Run {
    LineState state;
    std::size_t firstEnd;
  };

  struct Head {
    Arrow arrow;
    Vector colour;
    int facets;
  };

  /// As OpenGL takes arrays of them, in pixels of the texture and the window.
  struct GlyphCorner {
    float s, t;
    Vector colour;
    Vector position;
  };

  void drawLines();
  void drawHeads();
  void drawTexts();
  void findEdgesOfWindow();
  bool isParallelToPicture(const Vector& p, const Vector& q) const;

  /// Pieces after which a vertex ends a batch. Fewer keep closer to the order of arrival and let the driver begin
  /// earlier; more cost fewer changes of state.
  static constexpr int piecesAtOnce = 2000;

  GLUnurbs* nurbs;
  ShapeLists lists;
  GlyphAtlas atlas;
  /// Since the last flush.
  int pieces = 0;
  Vector colour;
  LineState lineState;
  /// Third row of the modelview of lines: the depth of a point.
  Vector depthRow;
  float depthOffset = 0.0F;
  /// Of the window, in pixels from its lower left corner: what lies beyond is not seen.
  float rightEdge = 0.0F;
  float topEdge = 0.0F;
  std::vector<LineEnd> lineEnds;
  std::vector<Run> runs;
  std::vector<Head> heads;
  std::vector<GlyphCorner> glyphCorners;
};

}  // namespace quorel
