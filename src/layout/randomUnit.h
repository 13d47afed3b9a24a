#pragma once

#include <cstdlib>

namespace quorel {

/// A random number from 0 to 1, both included, from the process-wide generator.
inline float randomUnit() {
  constexpr float scale = 0x1p-31F;
  return static_cast<float>(std::rand()) * scale;
}

}  // namespace quorel
