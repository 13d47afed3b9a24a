#pragma once

#include <functional>
#include <string>
#include <vector>

#include "animator/GraphAnimator.h"

namespace quorel {

/// A colour as the picture has it, 0 to 255.
struct Pixel {
  int red = 0;
  int green = 0;
  int blue = 0;

  bool operator==(const Pixel&) const = default;
  bool isBlack() const { return red + green + blue == 0; }
};

/// What the window shows, row 0 at the bottom.
class Picture {
public:
  Picture(int pictureWidth, int pictureHeight);

  const Pixel& at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }

  /// Pixels for which `wanted` holds, in the whole picture or in the box [x0, x1) by [y0, y1).
  int count(const std::function<bool(Pixel)>& wanted) const;
  int count(int x0, int y0, int x1, int y1, const std::function<bool(Pixel)>& wanted) const;
  int lit() const;

  /// Pixels in which the two differ.
  int differences(const Picture& other) const;

  /// For looking at: a binary PPM.
  void write(const std::string& file) const;

  int width;
  int height;
  std::vector<Pixel> pixels;
};

/// The one window of a test program, with its layout: GLUT makes no second one. Vertices stand where they are put; the
/// viewer looks along -z from a distance that is set, and the centre of the picture is the origin.
class Scene {
public:
  using GraphLayout = quorel::GraphLayout<LayoutSchema>;
  using GraphAnimator = quorel::GraphAnimator<GraphLayout>;
  using Vertex = GraphLayout::Vertex;
  using Edge = GraphLayout::Edge;
  using Vector = TinyVector<float, 3>;

  static constexpr int width = 400;
  static constexpr int height = 300;

  /// The scene, emptied and with every switch as at the start; null where there is no display.
  static Scene* empty();

  Vertex* vertex(float x, float y, float z);
  Edge* edge(Vertex* source, Vertex* target);
  /// A vertex that draws nothing.
  Vertex* hidden(float x, float y, float z);

  /// One picture without a step.
  Picture picture();

  /// Where a point of the plane z = 0 is seen.
  int column(float x) const;
  int row(float y) const;

  GraphLayout& layout;
  GraphAnimator& animator;

private:
  Scene(GraphLayout& madeLayout, GraphAnimator& madeAnimator) : layout(madeLayout), animator(madeAnimator) {}

  static Scene* make();
  void reset();
};

}  // namespace quorel
