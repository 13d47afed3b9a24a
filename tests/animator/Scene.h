#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "animator/GraphAnimator.h"

namespace quorel {

using Shape = VertexStyleDefns::Shape;

/// A colour as the picture has it, 0 to 255.
struct Pixel {
  int red = 0;
  int green = 0;
  int blue = 0;

  bool operator==(const Pixel&) const = default;
};

inline bool isLit(Pixel p) {
  return p != Pixel();
}

/// The pixels that fit a question, and the box around them; rows are counted from the bottom.
struct Spots {
  int count = 0;
  int left = 0, right = 0, bottom = 0, top = 0;  // right and top are one beyond

  int width() const { return right - left; }
  int height() const { return top - bottom; }
};

/// What the window shows.
class Picture {
public:
  Picture();

  const Pixel& at(int x, int y) const;
  Spots spots(const std::function<bool(Pixel)>& wanted = isLit) const;
  int count(const std::function<bool(Pixel)>& wanted = isLit) const { return spots(wanted).count; }

  /// Pixels in which the two differ.
  int differences(const Picture& other) const;

private:
  std::vector<Pixel> pixels;
};

/// The one window of a test program, with its layout: GLUT makes no second one. Vertices stand where they are put; the
/// viewer looks along -z from a distance of 3, and the centre of the picture is the origin.
class Scene {
public:
  using GraphLayout = quorel::GraphLayout<LayoutSchema>;
  using GraphAnimator = quorel::GraphAnimator<GraphLayout>;
  using Vertex = GraphLayout::Vertex;
  using Edge = GraphLayout::Edge;
  using Vector = TinyVector<float, 3>;

  static constexpr int width = 400;
  static constexpr int height = 300;

  /// The scene, emptied and with every switch as at the start.
  static Scene& empty();

  Vertex* vertex(float x, float y, float z);
  Edge* edge(Vertex* source, Vertex* target);
  /// A vertex that draws nothing.
  Vertex* hidden(float x, float y, float z);
  static void move(Vertex* v, const Vector& position);

  /// One picture without a step.
  Picture picture();

  /// Where a point of the plane z = 0 is seen.
  int column(float x) const;
  int row(float y) const;

  /// Presses the keys one after the other.
  void press(const std::string& keys);

  GraphLayout& layout;
  GraphAnimator& animator;

private:
  static Scene& make();
};

class SceneTest : public testing::Test {
protected:
  Scene& scene = Scene::empty();
  Scene::GraphLayout& layout = scene.layout;
  Scene::GraphAnimator& animator = scene.animator;
};

}  // namespace quorel
