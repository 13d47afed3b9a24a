#pragma once

#include "concurrency/Immortal.h"
#include "concurrency/RandomNumbers.h"

namespace quorel {

/// A random number from 0 to 1, both included, from one sequence for all layouts; the same in every run.
inline float randomUnit() {
  static Immortal<RandomNumbers> numbers;
  constexpr float scale = 0x1p-31F;
  return static_cast<float>(numbers.object.next()) * scale;
}

}  // namespace quorel
