#include "animator/ShapeLists.h"

#include <GL/gl.h>

#include <functional>

#include "animator/Primitives.h"

namespace quorel {

ShapeLists::Place& ShapeLists::placeOf(const Key& key) {
  std::size_t hash = std::hash<double>()(key.size);
  hash = hash * 31 + std::hash<double>()(key.height);
  hash = (hash * 31 + static_cast<std::size_t>(key.facets)) * 31 + static_cast<std::size_t>(key.shape);
  // The last bits of a measure are often all zero.
  hash *= 0x9e3779b97f4a7c15U;
  return table[(hash >> 40) % places];
}

bool ShapeLists::deservesList(Place& place, const Key& key) {
  if (place.candidate != key || place.candidatePicture != picture) {
    place.candidate = key;
    place.candidatePicture = picture;
    place.candidateUses = 0;
  }
  ++place.candidateUses;
  return place.candidateUses >= usesForAList && (place.list == 0 || place.lastPicture + staleness < picture);
}

template <class Draw>
void ShapeLists::draw(const Key& key, Draw drawAtOnce) {
  Place& place = placeOf(key);
  if (place.list == 0 || place.key != key) {
    if (!deservesList(place, key)) {
      drawAtOnce();
      return;
    }
    if (place.list == 0) place.list = glGenLists(1);
    place.key = key;
    glNewList(place.list, GL_COMPILE);
    drawAtOnce();
    glEndList();
  }
  place.lastPicture = picture;
  glCallList(place.list);
}

void ShapeLists::drawSolid(VertexStyleDefns::Shape shape, double s, int facets) {
  using Shape = VertexStyleDefns::Shape;
  if (shape == Shape::none) return;
  const bool isFlat = shape >= Shape::tetrahedron && shape <= Shape::icosahedron;
  draw({shape, isFlat ? 0 : facets, s, 0.0}, [&] { quorel::drawSolid(shape, s, facets); });
}

void ShapeLists::drawHead(float radius, float height, int facets) {
  draw({headShape, facets, radius, height}, [&] { drawCylinderAlongZ(radius, 0.0F, height, facets, facets, true); });
}

}  // namespace quorel
