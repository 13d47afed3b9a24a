#pragma once

#include <array>
#include <cstdint>

namespace quorel {

/// The Hilbert curve through the octants of a cube, for walks down an octree. Cells that follow each other on it are
/// neighbours in space, which the octant order does not give.
///
/// An octant is 4 bx + 2 by + bz. A state is the pose of the curve in a cell. After Hamilton and Rau-Chaplin, Compact
/// Hilbert indices: space-filling curves for domains with unequal side lengths (2008).
struct HilbertCurve {
  static constexpr int stateCount = 24;

  /// The octants of a cell in the order of the curve.
  std::array<std::array<std::uint8_t, 8>, stateCount> order{};
  /// The state in each of them, in the same order.
  std::array<std::array<std::uint8_t, 8>, stateCount> next{};

  constexpr HilbertCurve() {
    for (unsigned entry = 0; entry < 8; ++entry) {
      for (unsigned direction = 0; direction < 3; ++direction) {
        const unsigned state = 3 * entry + direction;
        for (unsigned w = 0; w < 8; ++w) {
          order[state][w] = static_cast<std::uint8_t>(rotate(gray(w), direction + 1) ^ entry);
          const unsigned nextEntry = entry ^ rotate(entryOf(w), direction + 1);
          const unsigned nextDirection = (direction + directionOf(w) + 1) % 3;
          next[state][w] = static_cast<std::uint8_t>(3 * nextEntry + nextDirection);
        }
      }
    }
  }

private:
  static constexpr unsigned gray(unsigned w) { return w ^ (w >> 1); }

  static constexpr unsigned rotate(unsigned bits, unsigned by) {
    by %= 3;
    return ((bits << by) | (bits >> (3 - by))) & 7;
  }

  static constexpr unsigned entryOf(unsigned w) { return w == 0 ? 0 : gray(2 * ((w - 1) / 2)); }

  static constexpr unsigned trailingOnes(unsigned w) {
    unsigned count = 0;
    for (; (w & 1) != 0; w >>= 1) ++count;
    return count;
  }

  static constexpr unsigned directionOf(unsigned w) {
    if (w == 0) return 0;
    return trailingOnes(w % 2 == 0 ? w - 1 : w) % 3;
  }
};

inline constexpr HilbertCurve hilbertCurve;

}  // namespace quorel
