#include "animator/Scene.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "animator/VirtualDisplay.h"

#if defined(__SANITIZE_ADDRESS__)
#include <gtest/gtest.h>
#include <sanitizer/lsan_interface.h>
#endif

#if defined(__SANITIZE_THREAD__)
/// The software renderer's own threads synchronise by means that the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions() {
  return "race:swrast_dri.so\n";
}
#endif

namespace quorel {

#if defined(__SANITIZE_ADDRESS__)
namespace {

/// Looks for leaks while the graphics driver is still loaded. It unloads itself at exit, and what it then leaves behind
/// has no name that a suppression could match.
class LeakCheck final : public testing::Environment {
public:
  void TearDown() override { __lsan_do_leak_check(); }
};

[[maybe_unused]] const auto* const leakCheck = testing::AddGlobalTestEnvironment(new LeakCheck);

}  // namespace
#endif

Picture::Picture(int pictureWidth, int pictureHeight) : width(pictureWidth), height(pictureHeight) {
  std::vector<unsigned char> bytes(3 * static_cast<std::size_t>(width) * height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, bytes.data());
  for (std::size_t i = 0; i < bytes.size(); i += 3) pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2]});
}

int Picture::count(const std::function<bool(Pixel)>& wanted) const {
  return count(0, 0, width, height, wanted);
}

int Picture::count(int x0, int y0, int x1, int y1, const std::function<bool(Pixel)>& wanted) const {
  int found = 0;
  for (int y = std::max(y0, 0); y < std::min(y1, height); ++y) {
    for (int x = std::max(x0, 0); x < std::min(x1, width); ++x) found += wanted(at(x, y)) ? 1 : 0;
  }
  return found;
}

int Picture::lit() const {
  return count([](Pixel p) { return !p.isBlack(); });
}

int Picture::differences(const Picture& other) const {
  int different = 0;
  for (std::size_t i = 0; i < pixels.size(); ++i) different += pixels[i] == other.pixels[i] ? 0 : 1;
  return different;
}

void Picture::write(const std::string& file) const {
  std::ofstream out(file, std::ios::binary);
  out << "P6\n" << width << ' ' << height << "\n255\n";
  for (int y = height - 1; y >= 0; --y) {
    for (int x = 0; x < width; ++x) {
      const Pixel& p = at(x, y);
      out.put(static_cast<char>(p.red)).put(static_cast<char>(p.green)).put(static_cast<char>(p.blue));
    }
  }
}

Scene* Scene::make() {
  if (!provideDisplay()) return nullptr;
  static char name[] = "scene";
  char* arguments[] = {name, nullptr};
  // As in the program, neither is ever destroyed.
  auto* layout = new GraphLayout;
  auto* animator = new GraphAnimator(1, arguments, *layout);
  return new Scene(*layout, *animator);
}

Scene* Scene::empty() {
  static Scene* const scene = make();
  if (scene != nullptr) scene->reset();
  return scene;
}

void Scene::reset() {
  layout.clear();
  layout.resetDefaultStyles();
  layout.parallel = true;
  layout.use_runge_kutta = true;
  layout.friction = 0.25F;

  GraphAnimator& a = animator;
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
}

Scene::Vertex* Scene::vertex(float x, float y, float z) {
  Vertex* v = layout.newVertex();
  v->position = v->start.position = Vector(x, y, z);
  return v;
}

Scene::Vertex* Scene::hidden(float x, float y, float z) {
  Vertex* v = vertex(x, y, z);
  v->style.set_visible(false);
  return v;
}

Scene::Edge* Scene::edge(Vertex* source, Vertex* target) {
  const Vector positions[] = {source->position, target->position};
  Edge* e = layout.newEdge(source, target);
  source->position = source->start.position = positions[0];
  target->position = target->start.position = positions[1];
  return e;
}

Picture Scene::picture() {
  layout.centroid = Vector();
  animator.Display(false);
  return {width, height};
}

int Scene::column(float x) const {
  const double depth = -(animator.camera_dist + animator.autozoom_dist);
  return static_cast<int>(std::floor(width * (0.5 + 0.5 * x / (depth * animator.aspect))));
}

int Scene::row(float y) const {
  const double depth = -(animator.camera_dist + animator.autozoom_dist);
  return static_cast<int>(std::floor(height * (0.5 + 0.5 * y / depth)));
}

}  // namespace quorel
