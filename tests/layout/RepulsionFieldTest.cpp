#include "layout/RepulsionField.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// By their bits, so that numbers that are none compare as well.
using Bits = std::array<std::uint32_t, 4>;

Bits bitsOf(const Vector& position, float weight = 0) {
  return std::bit_cast<Bits>(std::array{position[0], position[1], position[2], weight});
}

/// Place and weight of what a walk of its own finds for one vertex.
std::vector<Bits> plainSources(const Calculator& calculator, const Layout::Vertex& v) {
  std::vector<Bits> found;
  Tree::Iterator iterator;
  iterator.push(calculator.tree.rootPosition());
  while (!iterator.empty()) {
    const auto position = iterator.pop();
    if (position.isParticle()) {
      const auto* other = position.particle();
      if (other != &v) found.push_back(bitsOf(other->position, -0.01F * other->charge));
      continue;
    }
    const auto& node = *position.node;
    const Vector e = v.position - node.centre;
    if (node.diagonal * node.diagonal / dot(e, e) < 0.9025F) {
      found.push_back(bitsOf(node.centre, -0.01F * node.charge));
    } else {
      Tree::expand(position, iterator);
    }
  }
  std::ranges::sort(found);
  return found;
}

void ball(TestLayout& layout, std::mt19937& random, int count) {
  fillRandomly(layout, count, random);
}

void clumps(TestLayout& layout, std::mt19937& random, int count) {
  for (int i = 0; i < count; ++i) {
    const int clump = i % 12;
    layout.add(Vector(16 * clump - 96, 5 * clump, clump) + randomVector(random, std::pow(10.0F, 2 - clump % 6)));
  }
}

void charges(TestLayout& layout, std::mt19937& random, int count) {
  for (auto* vertex : fillRandomly(layout, count, random)) {
    // Cells whose charges cancel out are never accepted, and some have their centre outside.
    const double kinds[] = {0, 1, -1, 1e-30, 2.5, std::numeric_limits<double>::infinity()};
    vertex->style.set_charge(kinds[random() % (random() % 50 == 0 ? 6 : 5)]);
  }
}

void coincidentAndOutside(TestLayout& layout, std::mt19937& random, int count) {
  fillRandomly(layout, count, random);
  for (int i = 0; i < 35; ++i) layout.add({i < 30 ? 1.0F : -1.0F, 1, 1});
  layout.add({5000, 0, 0});
  layout.add({NAN, 0, 0});
}

/// Every instruction set finds for each vertex what a walk of its own finds, and sums up the same bits.
void expectTheSameOfAll(const Calculator& calculator) {
  const auto& field = calculator.memory->field;
  RepulsionField::Scratch scratch(field);
  std::vector<std::vector<Bits>> expected;
  for (std::uint32_t place = 0; place < field.particleCount(); ++place) {
    expected.push_back(plainSources(calculator, *calculator.memory->leafOrder[place]));
  }
  std::vector<Vector> expectedForces;
  const auto targets = hwy::SupportedAndGeneratedTargets();
  EXPECT_GE(targets.size(), 2U) << "one alone proves nothing";
  for (const std::int64_t target : targets) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    std::vector<std::vector<Bits>> found(field.particleCount());
    for (std::uint32_t begin = 0; begin < found.size(); begin += RepulsionField::groupSize) {
      const std::uint32_t end = std::min(begin + RepulsionField::groupSize, field.particleCount());
      for (const auto& interaction : field.interactions({begin, end}, scratch)) {
        const auto& s = field.source(interaction.source);
        for (std::uint32_t place = begin; place < end; ++place) {
          if ((interaction.members >> (place - begin) & 1) != 0)
            found[place].push_back(bitsOf({s.x, s.y, s.z}, s.weight));
        }
      }
    }
    std::vector<Vector> forces(field.particleCount());
    field.repel({0, field.particleCount()}, scratch, forces.data());
    if (expectedForces.empty()) expectedForces = forces;
    for (std::uint32_t place = 0; place < found.size(); ++place) {
      std::ranges::sort(found[place]);
      ASSERT_EQ(found[place], expected[place]) << place;
      ASSERT_EQ(bitsOf(forces[place]), bitsOf(expectedForces[place])) << place;
    }
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(RepulsionField, everyInstructionSetActsOnEachVertexByWhatItsOwnWalkFindsAtRestAndInMotion) {
  std::mt19937 random = seeded(61);
  const std::pair<void (*)(TestLayout&, std::mt19937&, int), int> scenes[] = {
      {ball, 1}, {ball, 8}, {ball, 17}, {ball, 1500}, {clumps, 720}, {charges, 900}, {coincidentAndOutside, 200}};
  for (const auto& [fill, count] : scenes) {
    SCOPED_TRACE(count);
    TestLayout layout;
    fill(layout, random, count);
    layout.buildTree();  // reads the charges
    const Calculator calculator = layout.buildTree();
    expectTheSameOfAll(calculator);
    // In a step the particles move away from where the tree has them.
    auto& lent = *calculator.memory;
    for (std::uint32_t place = 0; place < lent.field.particleCount(); ++place) {
      Vector& position = lent.leafOrder[place]->position;
      position += randomVector(random, 2.0F);
      if (random() % 100 == 0) position = 1e20F * randomVector(random, 2.0F);
      lent.field.moveParticle(place, position);
    }
    expectTheSameOfAll(calculator);
  }
}

TEST(RepulsionField, knowsTheLeastDistanceThatPassesTheOpeningTest) {
  for (float diagonal = 2048 * std::sqrt(3.0F); diagonal > 1e-9F; diagonal /= 2) {
    const float least = RepulsionField::acceptedFrom(diagonal);
    EXPECT_LT(diagonal * diagonal / least, 0.9025F);
    EXPECT_GE(diagonal * diagonal / std::nextafter(least, 0.0F), 0.9025F);
  }
}

}  // namespace
}  // namespace quorel
