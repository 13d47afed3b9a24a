#pragma once

#include <cstdint>
#include <cstdlib>
#include <limits>

#include "versioning/Version.h"
#include "versioning/VersionTable.h"

namespace quorel {

/// Remembers what its owner resolved for each version that was asked about. Each change of a value empties it; it then
/// bypasses itself for a while if it was not worth its keep.
/// An entry holds where the owner keeps the value, not a copy. Emptying is the start of a new epoch: entries of earlier
/// ones are not in the cache any more and their next read is a miss, but as long as no version has come between them
/// and their holder since they were made, the miss finds its answer in them.
/// When the epochs run out, all is forgotten once. `Owner` offers `std::uint32_t resolve(Version*)`, which is asked
/// where no answer is known.
/// Invariants: (1) an entry is in the cache exactly if its epoch is the present one;
///             (2) an entry is true exactly if its epoch is not before `trueSince`.
/// Threading:  as the owner.
/// Cost:       a hit and `flush` O(1); 8 bytes a version asked about, by neighbourhoods.
template <class Owner, class Epoch = std::uint32_t>
class AbstractCache {
public:
  /// Misses since the last flush that bring about the next.
  static constexpr std::int32_t flushMisses = 0xffff1;
  /// The random factor on a surplus of misses lies below this.
  static constexpr std::int32_t bypassFactors = 16;
  /// The misses that one hit makes good.
  static constexpr std::int32_t hitWeight = 2;

  explicit AbstractCache(Owner& servedOwner) : owner(servedOwner) {}

  /// The owner's answer for `version`.
  std::uint32_t get(Version* version) {
    if (bypass > 0) [[unlikely]] {
      --bypass;
      return knownEntry(version).answer;
    }
    const CacheEntry entry = entries.read(version->index);
    if (entry.epoch == epoch) [[likely]] {
      // A graph drawn for hours without a change would run over.
      if (hits < std::numeric_limits<std::int32_t>::max()) ++hits;
      return entry.answer;
    }
    return miss(version);
  }

  /// Empties the cache and decides how many reads go past it. What was resolved stays known.
  void flush();

  /// Everything that was resolved may be wrong from now on. Call before the flush that the change brings about.
  void forget() { trueSince = epoch + 1; }

  /// Whether the answer for a version is known, though a read of it may count as a miss.
  bool recall(const Version* version, std::uint32_t& answer) const {
    const CacheEntry entry = entries.read(version->index);
    answer = entry.answer;
    return entry.epoch >= trueSince;
  }

  /// Makes the answer for a version known, without placing it in the cache.
  void remember(const Version* version, std::uint32_t answer) {
    CacheEntry& entry = entries.write(version->index);
    // A version that is in the cache stays there.
    if (entry.epoch != epoch) entry.epoch = epoch - 1;
    entry.answer = answer;
  }

  std::int32_t hitCount() const { return hits; }
  std::int32_t missCount() const { return misses; }
  std::int32_t bypassCount() const { return bypass; }

private:
  struct CacheEntry {
    Epoch epoch = 0;
    std::uint32_t answer = 0;
  };

  /// An entry that is true; not in the cache if it was not.
  CacheEntry& knownEntry(Version* version);

  std::uint32_t miss(Version* version);

  Owner& owner;
  VersionTable<CacheEntry> entries;
  // Epochs go by twos: the odd number before the present one marks what is known but not in the cache.
  Epoch epoch = 2;
  Epoch trueSince = 1;
  std::int32_t hits = 0;
  std::int32_t misses = 0;
  std::int32_t bypass = 0;
};

template <class Owner, class Epoch>
void AbstractCache<Owner, Epoch>::flush() {
  if (epoch >= std::numeric_limits<Epoch>::max() - 3) {
    entries.clear();
    epoch = 0;
    trueSince = 1;
  }
  epoch += 2;
  // The draw is made whether the factor matters or not.
  const std::int64_t factor = std::rand() % bypassFactors;
  const std::int64_t surplus = misses - std::int64_t{hitWeight} * hits;
  bypass = surplus > 0 ? static_cast<std::int32_t>(surplus * factor) : 0;
  hits = 0;
  misses = 0;
}

template <class Owner, class Epoch>
auto AbstractCache<Owner, Epoch>::knownEntry(Version* version) -> CacheEntry& {
  CacheEntry& entry = entries.write(version->index);
  if (entry.epoch < trueSince) entry = {static_cast<Epoch>(epoch - 1), owner.resolve(version)};
  return entry;
}

template <class Owner, class Epoch>
std::uint32_t AbstractCache<Owner, Epoch>::miss(Version* version) {
  CacheEntry& entry = knownEntry(version);
  const std::uint32_t answer = entry.answer;
  entry.epoch = epoch;
  if (++misses == flushMisses) flush();
  return answer;
}

}  // namespace quorel
