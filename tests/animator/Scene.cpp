#include "animator/Scene.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#if defined(__SANITIZE_THREAD__)
/// The software renderer's own threads synchronise by means that the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions() {
  return "race:swrast_dri.so\n";
}
#endif

namespace quorel {

namespace {

#if defined(__SANITIZE_ADDRESS__)
/// Looks for leaks while the graphics driver is still loaded. It unloads itself at exit, and what it then leaves behind
/// has no name that a suppression could match.
class LeakCheck final : public testing::Environment {
public:
  void TearDown() override { __lsan_do_leak_check(); }
};

[[maybe_unused]] const auto* const leakCheck = testing::AddGlobalTestEnvironment(new LeakCheck);
#endif

/// Where DISPLAY is not set, starts a virtual one, which ends with its only client.
void provideDisplay() {
  if (std::getenv("DISPLAY") != nullptr) return;
  static FILE* const server =
      popen("exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -terminate 2>/dev/null", "r");
  int number = 0;
  if (std::fscanf(server, "%d", &number) == 1) setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
}

}  // namespace

Picture::Picture() : pixels(Scene::width * Scene::height) {
  std::vector<unsigned char> bytes(3 * pixels.size());
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, Scene::width, Scene::height, GL_RGB, GL_UNSIGNED_BYTE, bytes.data());
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = {bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]};
}

const Pixel& Picture::at(int x, int y) const {
  return pixels[static_cast<std::size_t>(y * Scene::width + x)];
}

Spots Picture::spots(const std::function<bool(Pixel)>& wanted) const {
  Spots spots = {.left = Scene::width, .bottom = Scene::height};
  for (int y = 0; y < Scene::height; ++y) {
    for (int x = 0; x < Scene::width; ++x) {
      if (!wanted(at(x, y))) continue;
      ++spots.count;
      spots.left = std::min(spots.left, x);
      spots.right = std::max(spots.right, x + 1);
      spots.bottom = std::min(spots.bottom, y);
      spots.top = std::max(spots.top, y + 1);
    }
  }
  return spots;
}

int Picture::differences(const Picture& other) const {
  int different = 0;
  for (std::size_t i = 0; i < pixels.size(); ++i) different += pixels[i] == other.pixels[i] ? 0 : 1;
  return different;
}

Scene& Scene::make() {
  provideDisplay();
  static char name[] = "scene";
  char* arguments[] = {name, nullptr};
  // As in the program, neither is ever destroyed.
  auto* layout = new GraphLayout;
  auto* scene = new Scene{*layout, *new GraphAnimator(1, arguments, *layout)};
  // What is beyond the edges of the picture is beyond those of the window.
  glutReshapeWindow(width, height);
  while (glutGet(GLUT_WINDOW_WIDTH) != width || glutGet(GLUT_WINDOW_HEIGHT) != height) glutMainLoopEvent();
  return *scene;
}

Scene& Scene::empty() {
  static Scene& scene = make();
  scene.layout.clear();
  scene.layout.resetDefaultStyles();
  scene.layout.parallel = true;
  scene.layout.use_runge_kutta = true;
  scene.layout.friction = 0.25F;

  GraphAnimator& a = scene.animator;
  a.show_vertices = a.show_labels = a.drawing = a.autozoom = true;
  a.show_frame = a.show_coarser = a.show_spacetree = a.show_forces = a.show_status = false;
  a.paused = a.idle = a.fullscreen = a.selecting = false;
  a.camera_dist = -3.0;
  a.zoom_velocity = a.autozoom_dist = a.angle_x = a.angle_y = a.angle_z = a.spin_y = a.spin_z = 0.0;
  a.axes_hidden = -1;
  a.detail = 10.0;
  a.mean_edge_length = 1.0;
  a.viewport_x = a.viewport_y = 0;
  a.ReshapeFunc(width, height);
  return scene;
}

Scene::Vertex* Scene::vertex(float x, float y, float z) {
  Vertex* v = layout.newVertex();
  move(v, {x, y, z});
  return v;
}

Scene::Vertex* Scene::hidden(float x, float y, float z) {
  Vertex* v = vertex(x, y, z);
  v->style.set_visible(false);
  return v;
}

void Scene::move(Vertex* v, const Vector& position) {
  v->position = v->start.position = position;
}

Scene::Edge* Scene::edge(Vertex* source, Vertex* target) {
  const Vector positions[] = {source->position, target->position};
  Edge* e = layout.newEdge(source, target);
  move(source, positions[0]);
  move(target, positions[1]);
  return e;
}

Picture Scene::picture() {
  layout.centroid = Vector();
  animator.Display(false);
  return {};
}

int Scene::column(float x) const {
  const double depth = -(animator.camera_dist + animator.autozoom_dist);
  return static_cast<int>(std::floor(width * (0.5 + 0.5 * x / (depth * animator.aspect))));
}

int Scene::row(float y) const {
  const double depth = -(animator.camera_dist + animator.autozoom_dist);
  return static_cast<int>(std::floor(height * (0.5 + 0.5 * y / depth)));
}

void Scene::press(const std::string& keys) {
  for (const char key : keys) animator.KeyPressFunc(static_cast<unsigned char>(key), 0, 0);
}

}  // namespace quorel
