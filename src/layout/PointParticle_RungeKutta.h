#pragma once

#include <cstddef>

#include "layout/PointParticle.h"

namespace quorel {

/// A particle with the two further states of the fourth-order Runge-Kutta step.
/// Invariant: between steps `start` equals `position` and `velocity`, as long as the layout's `startStateValid` holds.
/// In a step, `position` and `velocity` are the trial state of the stage and only `start` is a finished state.
template <class T, std::size_t N>
class PointParticle_RungeKutta : public PointParticle<T, N> {
public:
  PointParticleState<T, N> start;
  /// The sum that becomes the state at the end of the step.
  PointParticleState<T, N> next;
};

}  // namespace quorel
