#pragma once

#include <GL/freeglut.h>

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <optional>
#include <string_view>

#include "animator/Camera.h"
#include "animator/GraphAnimator.h"
#include "animator/PickRecords.h"
#include "concurrency/Log.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexCallback.h"

namespace quorel {

// The three tables below are the manual of the window; docs/controls.md tells the same in sentences.

template <class GraphLayout>
struct GraphAnimator<GraphLayout>::Key {
  /// All characters that have the effect.
  std::string_view characters;
  void (*effect)(GraphAnimator& a, unsigned char key);
  /// The simulation then runs until the graph has been still for long once more.
  bool settlesAnew = false;
};

template <class GraphLayout>
struct GraphAnimator<GraphLayout>::SpecialKey {
  int key;
  void (*effect)(GraphAnimator& a);
};

/// The place in the table is the value that the menu hands over.
template <class GraphLayout>
struct GraphAnimator<GraphLayout>::MenuEntry {
  const char* text;
  void (*effect)(GraphAnimator& a);
};

template <class GraphLayout>
auto GraphAnimator<GraphLayout>::keys() -> std::span<const Key> {
  using A = GraphAnimator;
  using K = unsigned char;
  constexpr bool settlesAnew = true;
  static constexpr Key table[] = {
      {"\033", [](A& a, K) { a.escape(); }},
      {" ", [](A& a, K) { toggle(a.paused); }},
      {"!", [](A& a, K) { a.zoom_velocity = -10.0; }},
      {"@", [](A& a, K) { a.zoom_velocity = 10.0; }},
      {"%", [](A& a, K) { toggle(a.drawing); }},
      {"+", [](A& a, K) { a.multiplyTimeStep(1.25F); }},
      {"-", [](A& a, K) { a.divideTimeStep(1.25F); }},
      {"123456789", [](A& a, K key) { a.jostleLayouts(key - '0'); }, settlesAnew},
      {"Aa", [](A& a, K) { toggle(a.show_forces); }},
      {"Dd", [](A& a, K) { a.spin_z = pressSpin(a.spin_z, -1); }},
      {"Uu", [](A& a, K) { a.spin_z = pressSpin(a.spin_z, 1); }},
      {"F", [](A& a, K) { a.multiplyFriction(2.0F); }, settlesAnew},
      {"f", [](A& a, K) { a.multiplyFriction(0.5F); }, settlesAnew},
      {"GgQq", [](A&, K) {}, settlesAnew},
      {"Hh", [](A& a, K) { a.toggleIntegrator(); }},
      {"Ll", [](A& a, K) { toggle(a.show_labels); }},
      {"Pp", [](A& a, K) { a.toggleParallel(); }},
      {"Rr", [](A& a, K) { a.resetLayouts(); }, settlesAnew},
      {"S", [](A& a, K) { toggle(a.show_status); }},
      {"Tt", [](A& a, K) { toggle(a.show_spacetree); }},
      {"Vv", [](A& a, K) { toggle(a.show_vertices); }},
      {"x", [](A& a, K) { a.axes_hidden = a.axes_hidden == 0 ? -1 : 0; }},
      {"~", [](A& a, K) { a.printCamera(); }},
      {"Eesb", [](A&, K) {}},
  };
  return table;
}

template <class GraphLayout>
auto GraphAnimator<GraphLayout>::specialKeys() -> std::span<const SpecialKey> {
  using A = GraphAnimator;
  static constexpr SpecialKey table[] = {
      {GLUT_KEY_LEFT, [](A& a) { a.spin_y = pressSpin(a.spin_y, -1); }},
      {GLUT_KEY_RIGHT, [](A& a) { a.spin_y = pressSpin(a.spin_y, 1); }},
      {GLUT_KEY_UP, [](A& a) { a.zoom_velocity = 1.0; }},
      {GLUT_KEY_DOWN, [](A& a) { a.zoom_velocity = -1.0; }},
  };
  return table;
}

template <class GraphLayout>
auto GraphAnimator<GraphLayout>::menuEntries() -> std::span<const MenuEntry> {
  using A = GraphAnimator;
  static constexpr MenuEntry table[] = {
      {"Reset layout", [](A& a) { a.resetLayouts(), a.settle_timer.start(); }},
      {"Toggle fullscreen", [](A& a) { a.toggleFullScreen(); }},
      {"Toggle autozoom", [](A& a) { toggle(a.autozoom); }},
      {"Toggle parallel", [](A& a) { a.toggleParallel(); }},
      {"Toggle labels", [](A& a) { toggle(a.show_labels); }},
      {"Exit", [](A&) { std::exit(0); }},
  };
  return table;
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::KeyPressFunc(unsigned char key, int, int) {
  input_timer.start();
  for (const Key& bound : keys()) {
    if (bound.characters.find(static_cast<char>(key)) == std::string_view::npos) continue;
    bound.effect(*this, key);
    if (bound.settlesAnew) settle_timer.start();
    return;
  }
  forEachLayout([key](GraphLayout& layout) { layout.keyPressed(key); });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::SpecialKeyFunc(int key, int, int) {
  input_timer.start();
  for (const SpecialKey& bound : specialKeys()) {
    if (bound.key == key) bound.effect(*this);
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::MouseFunc(int button, int state, int x, int y) {
  input_timer.start();
  // GLUT reports a turn of the wheel as a press of a button beyond the third; a drag goes on as it was.
  if (button > GLUT_RIGHT_BUTTON) return;
  mouse_x = x;
  mouse_y = y;
  mouse_button = button;
  if (button != GLUT_LEFT_BUTTON || state != GLUT_DOWN) return;
  constexpr double doubleClickSeconds = 0.25;
  if (click_timer.wallSeconds() < doubleClickSeconds) pick(x, y);
  click_timer.start();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::MotionFunc(int x, int y) {
  input_timer.start();
  const int dx = x - mouse_x;
  const int dy = mouse_y - y;
  if (mouse_button == GLUT_LEFT_BUTTON) {
    dragView(angle_x, angle_y, dx, dy, viewport_w, viewport_h);
  } else {
    viewport_x += dx;
    viewport_y += dy;
    glViewport(viewport_x, viewport_y, viewport_w, viewport_h);
  }
  mouse_x = x;
  mouse_y = y;
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::ReshapeFunc(int w, int h) {
  input_timer.start();
  Animator::ReshapeFunc(w, h);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::CreateMenuEntries() {
  int value = 0;
  for (const MenuEntry& entry : menuEntries()) glutAddMenuEntry(entry.text, value++);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::MenuFunc(int entry) {
  const std::span<const MenuEntry> entries = menuEntries();
  if (entry >= 0 && static_cast<std::size_t>(entry) < entries.size()) entries[entry].effect(*this);
}

/// Each layout is held meanwhile: a client's `clear` writes to some of the same fields.
template <class GraphLayout>
template <class Action>
void GraphAnimator<GraphLayout>::forEachLayout(Action action) {
  for (LayoutEntry& entry : layouts) {
    const std::lock_guard held(*entry.layout);
    action(*entry.layout);
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::multiplyTimeStep(float factor) {
  forEachLayout([factor](GraphLayout& layout) { layout.time_step *= factor; });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::divideTimeStep(float divisor) {
  forEachLayout([divisor](GraphLayout& layout) { layout.time_step /= divisor; });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::jostleLayouts(int digit) {
  const double share = digit / 9.0;
  const auto frequency = static_cast<float>(share * share);
  forEachLayout([frequency](GraphLayout& layout) { layout.jostle(frequency); });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::multiplyFriction(float factor) {
  forEachLayout([factor](GraphLayout& layout) {
    layout.friction *= factor;
    writeLine(std::cout, "Friction = ", layout.friction);
  });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::toggleIntegrator() {
  forEachLayout([](GraphLayout& layout) {
    toggle(layout.use_runge_kutta);
    layout.startStateValid = false;
  });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::toggleParallel() {
  forEachLayout([](GraphLayout& layout) { toggle(layout.parallel); });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::resetLayouts() {
  forEachLayout([](GraphLayout& layout) { layout.resetLayout(); });
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::printCamera() {
  GraphLayout& layout = *layouts.front().layout;
  const std::lock_guard held(layout);
  writeLine(std::cerr, "camera_dist=", camera_dist, "  autozoom_dist=", autozoom_dist,
            "  eigenvalues=", layout.eigenvalues);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::escape() {
  static bool warned = false;
  if (fullscreen) {
    leaveFullScreen();
  } else if (!warned) {
    warned = true;
    writeLines(std::cerr, "Use ESC to exit full-screen mode.  To exit Tessarel, use the \nright-mouse button menu.\n");
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::toggleFullScreen() {
  if (fullscreen) {
    leaveFullScreen();
    return;
  }
  windowed_w = window_w;
  windowed_h = window_h;
  glutFullScreen();
  fullscreen = true;
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::leaveFullScreen() {
  glutReshapeWindow(windowed_w, windowed_h);
  fullscreen = false;
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::pick(int x, int y) {
  // A client may remove the vertex between the picture and the call otherwise.
  for (LayoutEntry& entry : layouts) entry.layout->lock();

  selecting = true;
  pick_x = x;
  pick_y = y;
  glRenderMode(GL_SELECT);
  Display(false);
  const int hits = glRenderMode(GL_RENDER);
  const std::optional<std::uint32_t> name = chooseHit(select_buffer, hits);
  if (name && *name < pick_vertices.size()) callBack(pick_vertices[*name]);
  selecting = false;
  pick_vertices.clear();

  for (auto entry = layouts.rbegin(); entry != layouts.rend(); ++entry) entry->layout->unlock();
  glutPostRedisplay();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::callBack(Vertex* v) {
  globalStyleLock.lock();
  const boost::shared_ptr<VertexCallback> callback = v->style.get_callback();
  globalStyleLock.unlock();
  if (callback) {
    (*callback)(v);
  } else {
    writeLine(std::cout, "No callback registered for vertex ", static_cast<const void*>(v));
  }
}

}  // namespace quorel
