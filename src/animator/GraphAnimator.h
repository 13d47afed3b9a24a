#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "TinyVector.h"
#include "animator/Animator.h"
#include "animator/BatchPainter.h"
#include "animator/BlankPainter.h"
#include "animator/GraphUpdater.h"
#include "animator/PlainPainter.h"
#include "concurrency/Timer.h"
#include "layout/GraphLayout.h"
#include "layout/LayoutSchema.h"
#include "layout/LayoutStream.h"

class GLUnurbs;

namespace quorel {

template <class T>
class DynamicFrame;
class FrameMoments;

/// The window that shows layouts: owns the frame loop, decides each frame whether the simulation steps, polls the
/// updaters, renders, and paces the frames.
/// Invariants: (1) `layouts` is never empty, and its first entry feeds the autozoom;
///             (2) the line state of OpenGL is solid and of width 1 between two edges;
///             (3) `pick_vertices` is empty but for the time of a pick.
/// Threading:  the main thread only, except for `stillness`. While the workers of a parallel step run, drawing reads of
///             a vertex only what `GraphLayout::drawnState` gives and `finishedAcceleration`.
/// Ownership:  neither the layouts nor the updaters are owned; the animator itself is never destroyed.
/// Units:      angles in degrees, times in seconds, speeds in layout units a time unit of the layout.
template <class GraphLayout>
class GraphAnimator final : public Animator {
public:
  using Vertex = typename GraphLayout::Vertex;
  using Edge = typename GraphLayout::Edge;
  using Vector = TinyVector<float, 3>;

  /// Opens the window on `layout`.
  GraphAnimator(int argc, char** argv, GraphLayout& layout);

  void DisplayFunc() override;
  void HiddenFunc() override;
  void KeyPressFunc(unsigned char key, int x, int y) override;
  void SpecialKeyFunc(int key, int x, int y) override;
  void MouseFunc(int button, int state, int x, int y) override;
  void MotionFunc(int x, int y) override;
  void ReshapeFunc(int w, int h) override;
  void CreateMenuEntries() override;
  void MenuFunc(int entry) override;

  /// Renders one picture and, if `step`, advances the simulation once.
  void Display(bool step);

  void pollUpdaters();
  /// Takes the changes since the last call from every layout, and counts the vertices.
  void countGraphChanges();
  void updateIdleStatistics();

  /// One pass over the layout that draws it and measures it. The caller holds the layout's lock.
  void drawGraph(GraphLayout* layout);
  /// `size` is the radius.
  void drawVertex(Vertex* v, double size);
  void drawLabel(Vertex* v, double size);
  /// One byte, one character; `position` is a point of the scene, the characters keep their size in pixels.
  void drawText(const std::string& text, void* font, const Vector& colour, const Vector& position);
  void setColourForVertex(Vertex* v);
  void drawEdges(GraphLayout* layout, Vertex* v);
  void drawEdge(GraphLayout* layout, Edge* e);
  void drawEdgeLabel(GraphLayout* layout, Edge* e);
  void drawSpline(GraphLayout* layout, Edge* e);
  void drawAxes();
  /// The boxes of a tree built afresh over the drawn positions.
  void drawSpacetree(GraphLayout* layout);
  /// Overlays of multi-level layouts: the moving frame of a layout, and all coarser layouts in theirs.
  void drawFrame(const DynamicFrame<float>* frame);
  void drawCoarserGraphs(GraphLayout* coarser, const DynamicFrame<float>& frame);
  void drawStatusLine();

  /// Selects what lies under the window position and calls the callback of the vertex found, if any.
  void pick(int x, int y);

  /// The one object; null before it is made.
  static inline GraphAnimator* instance = nullptr;

  struct LayoutEntry {
    GraphLayout* layout;
    Vector offset{};
    bool stepping = true;
  };

  std::set<GraphUpdater*> updaters;
  std::list<LayoutEntry> layouts;
  LayoutStream layoutStream;
  bool show_vertices = true;
  bool show_frame = false;
  bool show_coarser = false;
  bool show_spacetree = false;
  bool show_forces = false;
  bool show_status = false;
  bool show_labels = true;
  bool drawing = true;
  bool paused = false;
  bool idle = false;
  double camera_dist = -3.0;
  double zoom_velocity = 0.0;
  double autozoom_dist = 0.0;
  double angle_x = 0.0;
  double angle_y = 0.0;
  double angle_z = 0.0;
  double spin_y = 0.0;
  double spin_z = 0.0;
  /// Non-zero hides the axes.
  std::int32_t axes_hidden = -1;
  /// Moving average of the frame rate, 5 to 40: facets of a round solid.
  double detail = 10.0;
  std::int32_t processors = 0;
  /// Vertices over all layouts.
  std::int32_t vertex_count = 0;
  double fps = 0.0;
  double vps = 0.0;
  double max_speed = 10.0;
  /// Filtered signal that nothing moves, 0 to 1. The attribute setters of the server put it to 0 from their own
  /// threads.
  std::atomic<double> stillness = 0.0;
  std::int32_t changes = 0;
  Timer input_timer;
  Timer settle_timer;
  Timer frame_timer;
  Timer spin_timer;
  Timer click_timer;
  /// A drawn edge and its chain of knots disagree.
  bool needs_spline_update = false;
  bool autozoom = true;
  bool fullscreen = false;
  std::uint32_t select_buffer[32] = {};
  bool selecting = false;
  std::int32_t pick_x = 0;
  std::int32_t pick_y = 0;
  /// Name index to vertex during a pick.
  std::vector<Vertex*> pick_vertices;
  GLUnurbs* nurbs = nullptr;
  std::int32_t mouse_x = 0;
  std::int32_t mouse_y = 0;
  std::int32_t mouse_button = 0;
  /// Of the edges that show strain, in the last pass that drew any.
  double mean_edge_length = 1.0;
  double edge_length_sum = 0.0;
  std::int32_t edge_length_count = 0;
  /// Draws in batches; off, piece by piece. The picture is the same.
  bool batching = true;

private:
  class RenderTask;
  struct Key;
  struct SpecialKey;
  struct MenuEntry;

  static std::span<const Key> keys();
  static std::span<const SpecialKey> specialKeys();
  static std::span<const MenuEntry> menuEntries();

  // The frame.
  void frame();
  void autozoomCamera();
  void paceFrame(bool step);
  void yieldToClients();
  void setProjection();
  void setCamera();
  int displayLayout(LayoutEntry& entry, bool step);
  void stepAndDraw(GraphLayout* layout);

  // The drawing pass.
  Painter& painter();
  void drawVerticesAndEdges(GraphLayout* layout, FrameMoments& moments);
  void drawForce(const Vector& position, const Vector& acceleration);
  void drawArrow(const Vector& p, const Vector& q, Edge* e);
  Vector edgeColour(Edge* e, const Vector& p, const Vector& q);

  // Input.
  template <class Action>
  void forEachLayout(Action action);
  static void toggle(bool& flag) { flag = !flag; }
  void escape();
  void toggleFullScreen();
  void leaveFullScreen();
  void multiplyTimeStep(float factor);
  void divideTimeStep(float divisor);
  void jostleLayouts(int digit);
  void multiplyFriction(float factor);
  void toggleIntegrator();
  void toggleParallel();
  void resetLayouts();
  void printCamera();
  void callBack(Vertex* v);

  /// The size to go back to from full screen: the window system reports the full screen's own through `ReshapeFunc`.
  std::int32_t windowed_w = 0;
  std::int32_t windowed_h = 0;
  /// Nothing of the window can be seen.
  bool hidden = false;
  BlankPainter blankPainter;
  std::unique_ptr<PlainPainter> plainPainter;
  std::unique_ptr<BatchPainter> batchPainter;
};

extern template class GraphAnimator<GraphLayout<LayoutSchema>>;

}  // namespace quorel
