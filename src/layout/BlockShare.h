#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "layout/RepulsionField.h"

namespace quorel {

/// The force evaluations of one phase, cut into blocks that the jobs of the phase take one by one: each first those of
/// its own chunk, then what others have left, so that all end together though their chunks differ in size and density.
/// Which job evaluates a block makes no difference to the forces.
/// Threading: `take` from any number of threads; every block is given out once. The barriers around the phase order the
///            work on a block with that before and after.
class BlockShare {
public:
  using Range = RepulsionField::Range;

  /// Particles in a block: a few microseconds of work, and a multiple of the group size, so that groups stay full.
  static constexpr std::uint32_t blockSize = 2 * RepulsionField::groupSize;

  /// `chunks` holds the runs of particles of each chunk.
  explicit BlockShare(const std::vector<std::vector<Range>>& chunks) : cursors(chunks.size()) {
    for (std::size_t chunk = 0; chunk < chunks.size(); ++chunk) {
      cursors[chunk].next.store(blocks.size(), std::memory_order_relaxed);
      for (const Range& run : chunks[chunk]) {
        for (std::uint32_t begin = run.begin; begin < run.end; begin += blockSize) {
          blocks.push_back({begin, std::min(begin + blockSize, run.end)});
        }
      }
      cursors[chunk].end = blocks.size();
    }
  }

  /// The next block for the job of `chunk`; false when all are given out.
  bool take(std::size_t chunk, Range& block) {
    for (std::size_t i = 0; i < cursors.size(); ++i) {
      Cursor& cursor = cursors[(chunk + i) % cursors.size()];
      if (cursor.next.load(std::memory_order_relaxed) >= cursor.end) continue;
      const std::size_t taken = cursor.next.fetch_add(1, std::memory_order_relaxed);
      if (taken < cursor.end) {
        block = blocks[taken];
        return true;
      }
    }
    return false;
  }

private:
  /// On a cache line of its own: its chunk's job writes it all the time.
  struct alignas(64) Cursor {
    std::atomic<std::size_t> next{0};
    std::size_t end = 0;
  };

  std::vector<Range> blocks;
  std::vector<Cursor> cursors;
};

}  // namespace quorel
