#pragma once

#include <cstddef>

#include "TinyVector.h"

namespace quorel {

/// State of the equations of motion of one particle: where it is and how fast it moves, in layout units.
template <class T, std::size_t N>
class PointParticleState {
public:
  TinyVector<T, N> position;
  TinyVector<T, N> velocity;
};

}  // namespace quorel
