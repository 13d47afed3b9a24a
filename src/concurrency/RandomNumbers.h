#pragma once

#include <cstdlib>

#include "concurrency/Lockable.h"

namespace quorel {

/// The sequence of the C library's unseeded random(), in a state of its own. The process-wide one is no use where
/// numbers must not repeat: the XML parser seeds it anew with the time of day in every request.
/// Threading:  any thread.
class RandomNumbers {
public:
  RandomNumbers();

  /// From 0 to 2^31 - 1, both included.
  int next();

private:
  Lockable lock;
  char state[128];  // the size that the C library itself starts with, and so its sequence
  random_data data = {};
};

}  // namespace quorel
