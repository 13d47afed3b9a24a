#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quorel {

/// Chooses a hit among the `hitCount` records that OpenGL has left in the selection buffer: number of names, nearest
/// and farthest depth, names. Of the records with exactly one name, the one nearest to the eye; the earlier one on a
/// tie. No name for no such record, for a count of 0 or below (the buffer ran over), and for a record that would reach
/// past the buffer.
std::optional<std::uint32_t> chooseHit(std::span<const std::uint32_t> buffer, int hitCount);

}  // namespace quorel
