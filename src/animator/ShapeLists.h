#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "versioning/VertexStyleDefns.h"

namespace quorel {

/// Solids and arrow heads kept as display lists, one for each shape, number of facets and set of measures.
///
/// A list is only as good as its shape comes again. Where every vertex has a size of its own there are more shapes than
/// places; those that find no place are drawn at once, and a list that is in use is not driven out.
/// Threading:  the main thread.
/// Cost:       O(1) a shape.
class ShapeLists {
public:
  /// A new picture: lists that the last two did not use may be replaced.
  void begin() { ++picture; }

  void drawSolid(VertexStyleDefns::Shape shape, double s, int facets);

  /// A capped cone along z, base at the origin. Measures in single precision, so that heads of one length are one
  /// shape.
  void drawHead(float radius, float height, int facets);

private:
  static constexpr int headShape = -1;
  static constexpr std::size_t places = 1024;

  struct Key {
    int shape = 0;
    int facets = 0;
    double size = 0.0;
    double height = 0.0;

    bool operator==(const Key&) const = default;
  };

  struct Entry {
    Key key;
    unsigned list = 0;
    std::uint64_t lastPicture = 0;
  };

  template <class Draw>
  void draw(const Key& key, Draw drawAtOnce);

  std::array<Entry, places> entries;
  std::uint64_t picture = 2;
};

}  // namespace quorel
