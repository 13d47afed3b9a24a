#pragma once

#include <cstddef>

#include "layout/PointParticleState.h"

namespace quorel {

/// A particle that forces act on.
/// Invariant: `force` is zero between steps, since every stage of a step uses it up.
template <class T, std::size_t N>
class PointParticle : public PointParticleState<T, N> {
public:
  /// Force divided by mass at the last stage. The step itself never reads it.
  TinyVector<T, N> acceleration;
  /// Accumulator of the force evaluation in progress.
  TinyVector<T, N> force;
  T mass = T(1);
};

}  // namespace quorel
