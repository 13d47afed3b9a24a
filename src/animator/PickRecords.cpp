#include "animator/PickRecords.h"

#include <limits>

namespace quorel {

std::optional<std::uint32_t> chooseHit(std::span<const std::uint32_t> buffer, int hitCount) {
  constexpr std::size_t headWords = 3;
  std::optional<std::uint32_t> chosen;
  std::int32_t greatest = std::numeric_limits<std::int32_t>::min();
  for (int hit = 0; hit < hitCount; ++hit) {
    if (buffer.size() < headWords || buffer.size() - headWords < buffer[0]) break;
    const std::uint32_t nameCount = buffer[0];
    const auto depth = static_cast<std::int32_t>(buffer[1]);
    if (nameCount == 1 && (depth > greatest || !chosen)) {
      greatest = depth;
      chosen = buffer[headWords];
    }
    buffer = buffer.subspan(headWords + nameCount);
  }
  return chosen;
}

}  // namespace quorel
