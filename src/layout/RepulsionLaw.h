#pragma once

#include <bit>
#include <cstdint>

namespace quorel {

/// The softened inverse-square repulsion between two charges: of magnitude F q1 q2 r / (r^2 + epsilon)^(3/2), pushing
/// apart. What the plain walk and the vector form must agree on.
struct RepulsionLaw {
  /// F. A larger one blows all layouts up.
  static constexpr float forceConstant = 0.01F;
  /// Softens at short range; in units of the squared distance.
  static constexpr float epsilon = 0.05F;
  /// A node of the tree acts as one charge where its squared diagonal is below this part of its squared distance: 0.95
  /// squared.
  static constexpr float openingThreshold = 0.9025F;

  /// Where the bits of a float, halved and taken from this, are about those of one over its root.
  static constexpr std::int32_t rootSeed = 0x5f3759df;

  /// One over the root of r to about one part in 600: the seed, and one Newton step.
  static float reciprocalRoot(float r) {
    const float y = std::bit_cast<float>(static_cast<std::uint32_t>(rootSeed) - (std::bit_cast<std::uint32_t>(r) >> 1));
    return y * (1.5F - 0.5F * r * y * y);
  }
};

}  // namespace quorel
