#include "animator/PickRecords.h"

#include <cstddef>

namespace quorel {

std::optional<std::uint32_t> chooseHit(std::span<const std::uint32_t> buffer, int hitCount) {
  constexpr std::size_t headWords = 3;
  std::optional<std::uint32_t> chosen;
  std::uint32_t nearest = 0;
  for (int hit = 0; hit < hitCount; ++hit) {
    if (buffer.size() < headWords || buffer.size() - headWords < buffer[0]) break;
    const std::uint32_t nameCount = buffer[0];
    const std::uint32_t depth = buffer[1];
    if (nameCount == 1 && (!chosen || depth < nearest)) {
      nearest = depth;
      chosen = buffer[headWords];
    }
    buffer = buffer.subspan(headWords + nameCount);
  }
  return chosen;
}

}  // namespace quorel
