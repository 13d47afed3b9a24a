#include "animator/ShapeLists.h"

#include <GL/gl.h>

#include "animator/Primitives.h"

namespace quorel {

template <class Draw>
void ShapeLists::draw(const Key& key, Draw drawAtOnce) {
  std::size_t hash = std::hash<double>()(key.size);
  hash = hash * 31 + std::hash<double>()(key.height);
  hash = (hash * 31 + static_cast<std::size_t>(key.facets)) * 31 + static_cast<std::size_t>(key.shape);
  // The last bits of a measure are often all zero.
  hash *= 0x9e3779b97f4a7c15U;
  Entry& entry = entries[(hash >> 40) % places];

  if (entry.list == 0 || entry.key != key) {
    if (entry.lastPicture + 1 >= picture) {
      drawAtOnce();
      return;
    }
    if (entry.list == 0) entry.list = glGenLists(1);
    entry.key = key;
    glNewList(entry.list, GL_COMPILE);
    drawAtOnce();
    glEndList();
  }
  entry.lastPicture = picture;
  glCallList(entry.list);
}

void ShapeLists::drawSolid(VertexStyleDefns::Shape shape, double s, int facets) {
  if (shape == VertexStyleDefns::none) return;
  draw({shape, facets, s, 0.0}, [&] { quorel::drawSolid(shape, s, facets); });
}

void ShapeLists::drawHead(float radius, float height, int facets) {
  draw({headShape, facets, radius, height}, [&] { drawCylinderAlongZ(radius, 0.0F, height, facets, facets, true); });
}

}  // namespace quorel
