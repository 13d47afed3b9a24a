#include "layout/SlotPool.h"

#include <algorithm>
#include <cassert>
#include <new>

namespace quorel {

namespace {

constexpr std::size_t firstBlockSlots = 256;
constexpr std::size_t slotAlignment = alignof(void*);

/// A block starts on a cache line, and so does each slot whose size is a multiple of one.
constexpr std::align_val_t blockAlignment{64};

}  // namespace

SlotPool::SlotPool(std::size_t bytes)
    : slotBytes((std::max(bytes, sizeof(FreeSlot)) + slotAlignment - 1) / slotAlignment * slotAlignment) {}

SlotPool::~SlotPool() {
  assert(live == 0 && "a pool dies before its objects");
  for (const Block& block : blocks) ::operator delete(block.memory, blockAlignment);
}

void* SlotPool::allocate() {
  const std::lock_guard<std::mutex> guard(mutex);
  ++live;
  if (freeSlots != nullptr) {
    FreeSlot* slot = freeSlots;
    freeSlots = slot->next;
    return slot;
  }
  if (currentBlock < blocks.size() && usedInBlock == blocks[currentBlock].slotCount) {
    ++currentBlock;
    usedInBlock = 0;
  }
  if (currentBlock == blocks.size()) {
    const std::size_t slotCount = blocks.empty() ? firstBlockSlots : 2 * blocks.back().slotCount;
    blocks.push_back({static_cast<std::byte*>(::operator new(slotCount * slotBytes, blockAlignment)), slotCount});
  }
  return blocks[currentBlock].memory + slotBytes * usedInBlock++;
}

void SlotPool::release(void* slot) {
  const std::lock_guard<std::mutex> guard(mutex);
  assert(live > 0);
  if (--live == 0) {
    freeSlots = nullptr;
    currentBlock = 0;
    usedInBlock = 0;
    return;
  }
  auto* freed = static_cast<FreeSlot*>(slot);
  freed->next = freeSlots;
  freeSlots = freed;
}

}  // namespace quorel
