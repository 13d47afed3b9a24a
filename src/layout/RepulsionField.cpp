#include "layout/RepulsionField.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "layout/RepulsionLaw.h"

// The kernels are compiled once for each instruction set; the best that the processor has is chosen as the program
// runs.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "layout/RepulsionField.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quorel {

#ifndef QUOREL_REPULSION_GROUP
#define QUOREL_REPULSION_GROUP

/// Members of a group, one a lane. Lanes beyond the last member, and members whose position is not finite, repeat
/// another one and are not in `members`.
struct RepulsionGroup {
  alignas(64) float x[RepulsionField::groupSize];
  alignas(64) float y[RepulsionField::groupSize];
  alignas(64) float z[RepulsionField::groupSize];
  alignas(64) float charge[RepulsionField::groupSize];
  alignas(64) float forceX[RepulsionField::groupSize];
  alignas(64) float forceY[RepulsionField::groupSize];
  alignas(64) float forceZ[RepulsionField::groupSize];
  std::uint32_t members;
  RepulsionField::Range range;
};

#endif

namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Scratch = RepulsionField::Scratch;

constexpr std::size_t groupSize = RepulsionField::groupSize;

using FloatTag = hn::CappedTag<float, groupSize>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using IntTag = hn::RebindToSigned<FloatTag>;

using EntryTag = hn::CappedTag<std::uint64_t, 8>;

/// A run of at most this many entries is written whole, whatever its length: the end of the list moves by the length.
constexpr std::size_t longestRun = 8;

/// A place in the field in the low half, a set of members in the high half: a run of them is one sum.
HWY_INLINE std::uint64_t entry(std::uint32_t place, std::uint32_t members) {
  return static_cast<std::uint64_t>(members) << 32 | place;
}
HWY_INLINE std::uint32_t placeOf(std::uint64_t entry) {
  return static_cast<std::uint32_t>(entry);
}
HWY_INLINE std::uint32_t membersOf(std::uint64_t entry) {
  return static_cast<std::uint32_t>(entry >> 32);
}

alignas(64) constexpr std::uint64_t countByOne[longestRun] = {0, 1, 2, 3, 4, 5, 6, 7};
alignas(64) constexpr std::uint64_t countByTwo[longestRun] = {0, 2, 4, 6, 8, 10, 12, 14};
static_assert(RepulsionField::placesOfNode == 2);

alignas(64) constexpr std::uint32_t counting[longestRun] = {0, 1, 2, 3, 4, 5, 6, 7};

HWY_INLINE void writeRun(std::uint32_t* list, std::uint32_t first) {
  const hn::CappedTag<std::uint32_t, longestRun> d;
  for (std::size_t i = 0; i < longestRun; i += hn::Lanes(d)) {
    hn::StoreU(hn::Add(hn::Set(d, first), hn::Load(d, counting + i)), d, list + i);
  }
}

HWY_INLINE void writeRun(std::uint64_t* list, std::uint64_t first, const std::uint64_t* steps) {
  const EntryTag d;
  for (std::size_t i = 0; i < longestRun; i += hn::Lanes(d)) {
    hn::StoreU(hn::Add(hn::Set(d, first), hn::Load(d, steps + i)), d, list + i);
  }
}

/// The set of lanes in a mask, from bit `shift` on.
template <class Mask>
HWY_INLINE std::uint32_t lanesOf(Mask mask, std::size_t shift) {
  const FloatTag d;
  alignas(8) std::uint8_t bits[8];
  hn::StoreMaskBits(d, mask, bits);
  std::uint16_t lanes = bits[0];
  if (hn::MaxLanes(d) > 8) std::memcpy(&lanes, bits, sizeof(lanes));
  return static_cast<std::uint32_t>(lanes) << shift;
}

/// The members that take a node for one particle.
HWY_INLINE std::uint32_t accepting(const RepulsionGroup& group, const RepulsionField::Node& node) {
  const FloatTag d;
  const auto nearest = hn::Set(d, node.acceptedFrom);
  std::uint32_t lanes = 0;
  for (std::size_t part = 0; part < groupSize; part += hn::Lanes(d)) {
    const auto x = hn::Sub(hn::Load(d, group.x + part), hn::Set(d, node.source.x));
    const auto y = hn::Sub(hn::Load(d, group.y + part), hn::Set(d, node.source.y));
    const auto z = hn::Sub(hn::Load(d, group.z + part), hn::Set(d, node.source.z));
    const auto distance = hn::Add(hn::Add(hn::Mul(x, x), hn::Mul(y, y)), hn::Mul(z, z));
    lanes |= lanesOf(hn::Ge(distance, nearest), part);
  }
  return lanes;
}

/// Walks the tree with all members of the group at once and fills the lists of the scratch.
void walk(const RepulsionField::Place* field, std::uint32_t root, const RepulsionGroup& group, Scratch& scratch) {
  const std::uint32_t all = group.members;
  std::uint64_t* leafEnd = scratch.leaves.get();
  std::uint32_t* sharedEnd = scratch.shared.get();
  std::uint64_t* partialEnd = scratch.partial.get();

  std::uint64_t* level = scratch.level.get();
  std::uint64_t* below = scratch.below.get();
  std::uint64_t* levelEnd = level;
  *levelEnd++ = entry(root, all);
  // Level by level: what a level writes is not read before it is complete, so that no load waits for a store.
  while (levelEnd != level) {
    std::uint64_t* belowEnd = below;
    // No branch depends on the outcome of a test: every list gets its entry, and the ends of those that should have it
    // move on.
    for (const std::uint64_t* here = level; here != levelEnd; ++here) {
      const std::uint32_t place = placeOf(*here);
      const std::uint32_t members = membersOf(*here);
      const RepulsionField::Node& node = RepulsionField::nodeAt(field, place);
      const std::uint32_t accept = accepting(group, node) & members;
      const std::uint32_t open = members & ~accept;

      *sharedEnd = place;
      sharedEnd += accept == all;
      *partialEnd = entry(place, accept);
      partialEnd += accept - 1U < all - 1U;  // some, but not all

      // All ones if anybody opens the node; a comparison would become a jump.
      const auto opened = static_cast<std::uint32_t>(-static_cast<std::int32_t>(open) >> 31);
      *leafEnd = entry(place, open);
      leafEnd += node.isLeaf & opened;
      writeRun(belowEnd, entry(node.first, open), countByTwo);
      belowEnd += node.childCount & opened;
    }
    std::swap(level, below);
    levelEnd = belowEnd;
  }

  for (const std::uint64_t* here = scratch.leaves.get(); here != leafEnd; ++here) {
    const RepulsionField::Node& leaf = RepulsionField::nodeAt(field, placeOf(*here));
    const std::uint32_t open = membersOf(*here);
    const std::uint32_t first = leaf.first;
    const std::uint32_t count = leaf.particleCount;
    if (HWY_UNLIKELY(first < group.range.end && first + count > group.range.begin)) {
      // No member repels itself.
      for (std::uint32_t particle = first; particle < first + count; ++particle) {
        const std::uint32_t self = particle - group.range.begin;
        const std::uint32_t others = self < groupSize ? open & ~(1U << self) : open;
        *partialEnd = entry(particle, others);
        partialEnd += others != 0;
      }
      continue;
    }
    const auto byAll = static_cast<std::uint32_t>((static_cast<std::int32_t>(open ^ all) - 1) >> 31);
    writeRun(sharedEnd, first);
    sharedEnd += count & byAll;
    writeRun(partialEnd, entry(first, open), countByOne);
    partialEnd += count & ~byAll;
  }
  scratch.sharedCount = static_cast<std::size_t>(sharedEnd - scratch.shared.get());
  scratch.partialCount = static_cast<std::size_t>(partialEnd - scratch.partial.get());
}

/// The force of one source on the members of a register, as a factor of the distance vector.
template <class V>
struct Pull {
  V x;
  V y;
  V z;
  V factor;
};

template <class V>
HWY_INLINE Pull<V> pull(const RepulsionField::Source& source, V x, V y, V z, V charge) {
  const FloatTag d;
  const IntTag di;
  const auto dx = hn::Sub(hn::Set(d, source.x), x);
  const auto dy = hn::Sub(hn::Set(d, source.y), y);
  const auto dz = hn::Sub(hn::Set(d, source.z), z);
  const auto r =
      hn::Add(hn::Add(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy)), hn::Mul(dz, dz)), hn::Set(d, RepulsionLaw::epsilon));
  const WordTag du;
  // As RepulsionLaw::reciprocalRoot, operation by operation.
  const auto bits =
      hn::Sub(hn::Set(di, RepulsionLaw::rootSeed), hn::BitCast(di, hn::ShiftRight<1>(hn::BitCast(du, r))));
  auto root = hn::BitCast(d, bits);
  root = hn::Mul(root, hn::Sub(hn::Set(d, 1.5F), hn::Mul(hn::Mul(hn::Mul(hn::Set(d, 0.5F), r), root), root)));
  const auto cube = hn::Mul(hn::Mul(root, root), root);
  return {dx, dy, dz, hn::Mul(hn::Mul(charge, hn::Set(d, source.weight)), cube)};
}

/// Sums up what the walk has found.
void sum(const RepulsionField::Place* field, RepulsionGroup& group, const Scratch& scratch) {
  const FloatTag d;
  const WordTag du;
  for (std::size_t part = 0; part < groupSize; part += hn::Lanes(d)) {
    const auto x = hn::Load(d, group.x + part);
    const auto y = hn::Load(d, group.y + part);
    const auto z = hn::Load(d, group.z + part);
    const auto charge = hn::Load(d, group.charge + part);
    auto forceX = hn::Zero(d);
    auto forceY = hn::Zero(d);
    auto forceZ = hn::Zero(d);
    for (std::size_t i = 0; i < scratch.sharedCount; ++i) {
      const auto p = pull(RepulsionField::sourceAt(field, scratch.shared[i]), x, y, z, charge);
      forceX = hn::Add(forceX, hn::Mul(p.factor, p.x));
      forceY = hn::Add(forceY, hn::Mul(p.factor, p.y));
      forceZ = hn::Add(forceZ, hn::Mul(p.factor, p.z));
    }
    const auto lane = hn::Shl(hn::Set(du, 1), hn::Iota(du, static_cast<std::uint32_t>(part)));
    for (std::size_t i = 0; i < scratch.partialCount; ++i) {
      const std::uint64_t interaction = scratch.partial[i];
      const auto p = pull(RepulsionField::sourceAt(field, placeOf(interaction)), x, y, z, charge);
      const auto concerned = hn::RebindMask(d, hn::TestBit(hn::Set(du, membersOf(interaction)), lane));
      forceX = hn::IfThenElse(concerned, hn::Add(forceX, hn::Mul(p.factor, p.x)), forceX);
      forceY = hn::IfThenElse(concerned, hn::Add(forceY, hn::Mul(p.factor, p.y)), forceY);
      forceZ = hn::IfThenElse(concerned, hn::Add(forceZ, hn::Mul(p.factor, p.z)), forceZ);
    }
    hn::Store(forceX, d, group.forceX + part);
    hn::Store(forceY, d, group.forceY + part);
    hn::Store(forceZ, d, group.forceZ + part);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace quorel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quorel {

namespace {

HWY_EXPORT(walk);
HWY_EXPORT(sum);

/// Room behind each list for a run that is written whole.
constexpr std::size_t slack = 16;

template <class T>
std::unique_ptr<T[]> uninitialized(std::size_t size) {
  return std::make_unique_for_overwrite<T[]>(size + slack);
}

}  // namespace

RepulsionField::Scratch::Scratch(const RepulsionField& field)
    : level(uninitialized<std::uint64_t>(field.nodeCount)),
      below(uninitialized<std::uint64_t>(field.nodeCount)),
      leaves(uninitialized<std::uint64_t>(field.nodeCount)),
      shared(uninitialized<std::uint32_t>(field.nodeCount + field.particles)),
      partial(uninitialized<std::uint64_t>(field.nodeCount + field.particles)) {}

struct RepulsionKernels {
  static void gather(const RepulsionField& field, RepulsionField::Range range, RepulsionGroup& group) {
    const std::uint32_t size = range.end - range.begin;
    assert(size >= 1 && size <= RepulsionField::groupSize && range.end <= field.particles);
    group.members = 0;
    group.range = range;
    for (std::uint32_t i = 0; i < RepulsionField::groupSize; ++i) {
      const std::uint32_t index = range.begin + std::min(i, size - 1);
      const RepulsionField::Source& source = field.source(index);
      const bool finite = std::isfinite(source.x) && std::isfinite(source.y) && std::isfinite(source.z);
      group.x[i] = finite ? source.x : 0.0F;
      group.y[i] = finite ? source.y : 0.0F;
      group.z[i] = finite ? source.z : 0.0F;
      group.charge[i] = field.charges[index];
      if (i < size && finite) group.members |= 1U << i;
    }
  }
};

void RepulsionField::reserve(std::size_t placeCount) {
  if (placeCount <= capacity) return;
  capacity = placeCount + placeCount / 4;
  places.reset();
  places.reset(static_cast<Place*>(::operator new(capacity * sizeof(Place), placeAlignment)));
}

float RepulsionField::acceptedFrom(float diagonal) {
  constexpr float threshold = RepulsionLaw::openingThreshold;
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const float squared = diagonal * diagonal;
  float distance = squared / threshold;
  // The quotient falls as the distance grows, so there is one least distance; the first guess is a rounding away.
  while (squared / distance < threshold) distance = std::nextafter(distance, 0.0F);
  while (!(squared / distance < threshold)) distance = std::nextafter(distance, infinity);
  return distance;
}

RepulsionField::Range RepulsionField::rangeBelow(std::uint32_t node) const {
  const auto at = [this](std::uint32_t place) -> const Node& { return nodeAt(places.get(), place); };
  std::uint32_t first = node;
  while (at(first).childCount > 0) first = at(first).first;
  std::uint32_t last = node;
  while (at(last).childCount > 0) last = at(last).first + placesOfNode * (at(last).childCount - 1);
  return {at(first).first, at(last).first + at(last).particleCount};
}

void RepulsionField::repel(Range range, Scratch& scratch, TinyVector<float, 3>* forces) const {
  RepulsionGroup group;
  for (std::uint32_t begin = range.begin; begin < range.end; begin += groupSize) {
    RepulsionKernels::gather(*this, {begin, std::min(begin + groupSize, range.end)}, group);
    HWY_DYNAMIC_DISPATCH(walk)(places.get(), root, group, scratch);
    HWY_DYNAMIC_DISPATCH(sum)(places.get(), group, scratch);
    for (std::uint32_t i = 0; begin + i < group.range.end; ++i) {
      *forces++ = {group.forceX[i], group.forceY[i], group.forceZ[i]};
    }
  }
}

std::vector<RepulsionField::Interaction> RepulsionField::interactions(Range range, Scratch& scratch) const {
  RepulsionGroup group;
  RepulsionKernels::gather(*this, range, group);
  HWY_DYNAMIC_DISPATCH(walk)(places.get(), root, group, scratch);
  std::vector<Interaction> found;
  for (std::size_t i = 0; i < scratch.sharedCount; ++i) found.push_back({scratch.shared[i], group.members});
  for (std::size_t i = 0; i < scratch.partialCount; ++i) {
    const std::uint64_t partial = scratch.partial[i];
    found.push_back({static_cast<std::uint32_t>(partial), static_cast<std::uint32_t>(partial >> 32)});
  }
  return found;
}

}  // namespace quorel
#endif
