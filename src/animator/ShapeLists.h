#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "versioning/VertexStyleDefns.h"

namespace quorel {

/// Solids and arrow heads kept as display lists, one for each shape, number of facets and set of measures that comes
/// often enough in one picture. Where every vertex has a size of its own, each is drawn at once.
///
/// A list is rarely given up: some drivers never get its memory back. It goes only if no picture has used it for a while
/// and another shape needs its place.
/// Threading:  the main thread.
/// Cost:       O(1) a shape.
class ShapeLists {
public:
  /// A new picture.
  void begin() { ++picture; }

  void drawSolid(VertexStyleDefns::Shape shape, double s, int facets);

  /// A capped cone along z, base at the origin. Measures in single precision, so that heads of one length are one
  /// shape.
  void drawHead(float radius, float height, int facets);

private:
  static constexpr int headShape = -1;
  static constexpr std::size_t places = 1024;
  /// Times that a shape has to come in one picture. A higher number leaves more shapes to be drawn at once.
  static constexpr int usesForAList = 4;
  /// Pictures without use after which a list may be given up.
  static constexpr std::uint64_t staleness = 1000;

  struct Key {
    int shape = 0;
    int facets = 0;
    double size = 0.0;
    double height = 0.0;

    bool operator==(const Key&) const = default;
  };

  struct Place {
    Key key;
    unsigned list = 0;
    std::uint64_t lastPicture = 0;
    // A shape that asks for the place, and how often it came in that picture.
    Key candidate;
    std::uint64_t candidatePicture = 0;
    int candidateUses = 0;
  };

  Place& placeOf(const Key& key);
  bool deservesList(Place& place, const Key& key);
  template <class Draw>
  void draw(const Key& key, Draw drawAtOnce);

  std::array<Place, places> table;
  std::uint64_t picture = 0;
};

}  // namespace quorel
