#include "concurrency/RandomNumbers.h"

#include <cstdint>
#include <mutex>

namespace quorel {

RandomNumbers::RandomNumbers() {
  initstate_r(1, state, sizeof state, &data);
}

int RandomNumbers::next() {
  const std::lock_guard<Lockable> hold(lock);
  std::int32_t number = 0;
  random_r(&data, &number);
  return number;
}

}  // namespace quorel
