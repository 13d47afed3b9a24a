#pragma once

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <mutex>

#include "animator/Camera.h"
#include "animator/FrameDecisions.h"
#include "animator/GraphAnimator.h"
#include "animator/LabelFont.h"
#include "concurrency/Log.h"
#include "concurrency/Platform.h"
#include "layout/LayoutTask.h"

namespace quorel {

/// The drawing of a frame as a part of the layout's step. It is never queued: the thread that holds the layout, and
/// OpenGL with it, runs it directly while the workers compute forces.
template <class GraphLayout>
class GraphAnimator<GraphLayout>::RenderTask final : public GraphLayout::GraphLayoutTask {
public:
  RenderTask(ThreadPool<Job>* layoutPool, GraphAnimator* drawer, GraphLayout* drawnLayout)
      : GraphLayout::GraphLayoutTask(layoutPool), animator(drawer), layout(drawnLayout) {}

  void run() override { animator->drawGraph(layout); }

private:
  GraphAnimator* animator;
  GraphLayout* layout;
};

template <class GraphLayout>
GraphAnimator<GraphLayout>::GraphAnimator(int argc, char** argv, GraphLayout& layout) : Animator(argc, argv) {
  instance = this;
  for (Timer* timer : {&input_timer, &frame_timer, &settle_timer, &spin_timer, &click_timer}) timer->start();
  createMenu();
  nurbs = gluNewNurbsRenderer();
  plainPainter = std::make_unique<PlainPainter>(nurbs);
  batchPainter = std::make_unique<BatchPainter>(nurbs);
  glEnable(GL_MAP1_VERTEX_3);
  glEnable(GL_LINE_STIPPLE);
  glSelectBuffer(static_cast<GLsizei>(std::size(select_buffer)), select_buffer);
  processors = numProcessors();
  writeLine(std::cout, processors, " processors");
  layouts.push_back({.layout = &layout});
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::DisplayFunc() {
  hidden = false;
  frame();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::HiddenFunc() {
  hidden = true;
  frame();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::frame() {
  pollUpdaters();
  countGraphChanges();
  updateIdleStatistics();
  const bool step = decideStep(paused, settle_timer.wallSeconds(), vertex_count);

  glideZoom(camera_dist, zoom_velocity);
  spinView(angle_y, angle_z, spin_y, spin_z, spin_timer.wallSeconds());
  spin_timer.start();
  autozoomCamera();

  Display(step);
  paceFrame(step);
  if (!hidden) glutSwapBuffers();
  fps = 1.0 / frame_timer.wallSeconds();
  frame_timer.start();

  constexpr int idleMilliseconds = 100;
  if (idle) sleepMilliseconds(idleMilliseconds);
  yieldToClients();
  glutPostRedisplay();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::pollUpdaters() {
  for (GraphUpdater* updater : updaters) updater->poll();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::countGraphChanges() {
  changes = 0;
  vertex_count = 0;
  for (const LayoutEntry& entry : layouts) {
    const std::lock_guard held(*entry.layout);
    changes += entry.layout->changeCount;
    entry.layout->changeCount = 0;
    vertex_count += entry.layout->numVertices();
  }
  if (changes >= 1) stillness = 0.0;
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::updateIdleStatistics() {
  double filtered = stillness;
  // Where a client's change puts it to 0 in this very moment, the 0 stands.
  double expected = filtered;
  filtered = filterStillness(filtered, max_speed);
  if (!stillness.compare_exchange_strong(expected, filtered)) filtered = expected;
  if (!isStill(filtered)) settle_timer.start();
  const bool longStill = isLongStill(settle_timer.wallSeconds(), vertex_count);
  idle = decideIdle(spin_y, spin_z, zoom_velocity, input_timer.wallSeconds(), longStill);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::autozoomCamera() {
  if (!autozoom) return;
  GraphLayout& layout = *layouts.front().layout;
  // A client's `clear` resets the statistics.
  const std::lock_guard held(layout);
  if (layout.numVertices() == 0) return;
  autozoom_dist = approachAutozoom(autozoom_dist, fps, layout.eigenvalues[2]);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::paceFrame(bool step) {
  const int milliseconds = pacingMilliseconds(step, 1000.0 * frame_timer.wallSeconds());
  if (milliseconds > 0) sleepMilliseconds(milliseconds);
}

/// On a small machine the server's threads get the processor while clients are sending.
template <class GraphLayout>
void GraphAnimator<GraphLayout>::yieldToClients() {
  constexpr int smallMachine = 2;
  constexpr int mostYields = 10;
  constexpr int yieldMilliseconds = 30;
  if (processors > smallMachine) return;
  for (int i = 0; i < mostYields && changes >= 1; ++i) {
    sleepMilliseconds(yieldMilliseconds);
    countGraphChanges();
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::Display(bool step) {
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  Timer timer;
  timer.start();

  setProjection();
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glTranslatef(0.0F, 0.0F, -1.0F);
  drawStatusLine();
  painter().flush();
  glTranslatef(0.0F, 0.0F, 1.0F);

  setCamera();
  InitLights();
  drawAxes();

  int total = 0;
  for (LayoutEntry& entry : layouts) total += displayLayout(entry, step);
  vps = total / timer.wallSeconds();
  glFlush();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::setProjection() {
  constexpr double nearPlane = 1.0;
  constexpr double farPlane = 500.0;
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  if (selecting) {
    constexpr double pickPixels = 10.0;
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    gluPickMatrix(pick_x, viewport[3] - pick_y, pickPixels, pickPixels, viewport);
  }
  glFrustum(-aspect, aspect, -1.0, 1.0, nearPlane, farPlane);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::setCamera() {
  glTranslatef(0.0F, 0.0F, cameraDepth(camera_dist, autozoom_dist));
  glRotated(angle_x, 1.0, 0.0, 0.0);
  glRotated(angle_y, 0.0, 1.0, 0.0);
  glRotated(angle_z, 0.0, 0.0, 1.0);
}

/// Draws one layout in its place and steps it. Returns the number of its vertices. The layout is held throughout: a
/// client's `clear` would otherwise change step size and centroid under our hands.
template <class GraphLayout>
int GraphAnimator<GraphLayout>::displayLayout(LayoutEntry& entry, bool step) {
  GraphLayout* layout = entry.layout;
  const std::lock_guard held(*layout);
  const Vector centroid = layout->centroid;
  glPushMatrix();
  glTranslatef(entry.offset[0], entry.offset[1], entry.offset[2]);
  glTranslatef(-centroid[0], -centroid[1], -centroid[2]);
  if (layout->parallel && step) {
    stepAndDraw(layout);
  } else {
    if (entry.stepping && step) layout->step();
    if (drawing) drawGraph(layout);
  }
  const int vertexCount = layout->numVertices();
  glPopMatrix();
  if (needs_spline_update) layout->updateSplines();
  return vertexCount;
}

/// The parallel step: the workers compute while this thread draws.
template <class GraphLayout>
void GraphAnimator<GraphLayout>::stepAndDraw(GraphLayout* layout) {
  RenderTask task(layout->threadPool, this, layout);
  RenderTask* renderJob = drawing ? &task : nullptr;
  layout->overshoot = false;
  const float dt = layout->time_step * layout->step_scale;
  if (layout->use_runge_kutta) {
    layout->template parallelStep2<typename GraphLayout::LayoutTask_RungeKutta>(dt, renderJob);
  } else {
    layout->template parallelStep2<typename GraphLayout::LayoutTask_Euler>(dt, renderJob);
  }
  layout->adaptStepScale();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawStatusLine() {
  constexpr double readingSeconds = 0.3;
  static double track_fps = 0.0;
  static double track_vps = 0.0;
  static Timer timer = [] {
    Timer started;
    started.start();
    return started;
  }();
  if (timer.wallSeconds() > readingSeconds) {
    timer.start();
    track_fps = fps;
    track_vps = vps;
  }
  detail = filterDetail(detail, fps);
  if (!show_status && drawing && !paused) return;

  char line[128];
  std::snprintf(line, sizeof line, "%5d vertices  %4.1f fps  %5.1f vps", vertex_count, track_fps, track_vps);
  drawText(line, glutFont(LabelFont::helvetica10), Vector(1.0F, 1.0F, 1.0F), Vector(-0.4F, -2.6F, -2.25F));
}

}  // namespace quorel
