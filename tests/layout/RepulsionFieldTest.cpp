#include "layout/RepulsionField.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <optional>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// Place and weight of a source by their bits, so that two that are not numbers compare as well.
using Source = std::array<std::uint32_t, 4>;
using Sources = std::vector<Source>;

Source bitsOf(const Vector& position, float weight) {
  const float values[4] = {position[0], position[1], position[2], weight};
  Source bits;
  std::memcpy(bits.data(), values, sizeof(values));
  return bits;
}

/// What a walk of its own finds for one vertex.
Sources plainSources(const Calculator& calculator, const Layout::Vertex& v) {
  Sources found;
  Tree::Iterator iterator;
  iterator.push(calculator.tree.rootPosition());
  while (!iterator.empty()) {
    const auto position = iterator.pop();
    if (position.isParticle()) {
      const auto* other = position.particle();
      if (other != &v) found.push_back(bitsOf(other->position, -Layout::forceConstant * other->charge));
      continue;
    }
    const auto& node = *position.node;
    const Vector e = v.position - node.centre;
    if (node.diagonal * node.diagonal / dot(e, e) < 0.9025F) {
      found.push_back(bitsOf(node.centre, -Layout::forceConstant * node.charge));
    } else {
      Tree::expand(position, iterator);
    }
  }
  std::ranges::sort(found);
  return found;
}

struct Scene {
  const char* name;
  std::function<void(TestLayout&, std::mt19937&)> fill;
  /// Whether particles move away from where the tree has them.
  bool late = false;
};

void fillClumps(TestLayout& layout, std::mt19937& random) {
  for (int clump = 0; clump < 12; ++clump) {
    const Vector centre = randomVector(random, 200);
    const float extent = std::pow(10.0F, 2 - clump % 6);
    for (int i = 0; i < 60; ++i) layout.add(centre + randomVector(random, extent));
  }
}

const Scene scenes[] = {
    {"one",
     [](TestLayout& layout, std::mt19937&) {
       layout.add({1, 2, 3});
     }},
    {"aLeaf", [](TestLayout& layout, std::mt19937& random) { fillRandomly(layout, 8, random); }},
    {"aGroupAndOne", [](TestLayout& layout, std::mt19937& random) { fillRandomly(layout, 17, random); }},
    {"aBall", [](TestLayout& layout, std::mt19937& random) { fillRandomly(layout, 2500, random); }},
    {"aBallInMotion", [](TestLayout& layout, std::mt19937& random) { fillRandomly(layout, 2500, random); }, true},
    {"clumps", fillClumps},
    {"clumpsInMotion", fillClumps, true},
    {"charges",
     [](TestLayout& layout, std::mt19937& random) {
       fillRandomly(layout, 900, random);
       for (auto* vertex : layout.vertices) {
         // Cells whose charges cancel out are never accepted, and some have their centre outside.
         const double charges[] = {0, 1, -1, 1e-30, 2.5, std::numeric_limits<double>::infinity()};
         vertex->style.set_charge(charges[random() % (random() % 50 == 0 ? 6 : 5)]);
       }
       layout.buildTree();
     }},
    {"coincident",
     [](TestLayout& layout, std::mt19937& random) {
       fillRandomly(layout, 200, random);
       for (int i = 0; i < 30; ++i) layout.add({1, 1, 1});
       for (int i = 0; i < 5; ++i) layout.add({-1, 1, 1});
     }},
    {"outside",
     [](TestLayout& layout, std::mt19937& random) {
       fillRandomly(layout, 100, random);
       layout.add({5000, 0, 0});
       layout.add({std::numeric_limits<float>::quiet_NaN(), 0, 0});
     }},
};

class EveryScene : public testing::TestWithParam<Scene> {
protected:
  void SetUp() override {
    std::mt19937 random = seeded(61);
    const Captured errors(std::cerr);
    GetParam().fill(layout, random);
    calculator.emplace(layout.buildTree());
    auto& lent = *calculator->memory;
    if (GetParam().late) {
      for (std::uint32_t place = 0; place < lent.field.particleCount(); ++place) {
        auto* vertex = lent.leafOrder[place];
        vertex->position += randomVector(random, 2.0F);
        if (random() % 100 == 0) vertex->position = 1e20F * randomVector(random, 2.0F);
        lent.field.moveParticle(place, vertex->position);
      }
    }
  }

  TestLayout layout;
  std::optional<Calculator> calculator;
};

INSTANTIATE_TEST_SUITE_P(Scenes, EveryScene, testing::ValuesIn(scenes),
                         [](const auto& about) { return std::string(about.param.name); });

TEST_P(EveryScene, eachVertexInteractsWithWhatItsOwnWalkFinds) {
  const auto& field = calculator->memory->field;
  RepulsionField::Scratch scratch(field);
  std::size_t pairs = 0;
  for (std::uint32_t begin = 0; begin < field.particleCount(); begin += RepulsionField::groupSize) {
    const std::uint32_t end = std::min(begin + RepulsionField::groupSize, field.particleCount());
    std::vector<Sources> found(RepulsionField::groupSize);
    for (const auto& interaction : field.interactions({begin, end}, scratch)) {
      const auto& s = field.source(interaction.source);
      for (std::uint32_t lane = 0; lane < RepulsionField::groupSize; ++lane) {
        if ((interaction.members >> lane & 1) != 0) found[lane].push_back(bitsOf({s.x, s.y, s.z}, s.weight));
      }
    }
    for (std::uint32_t place = begin; place < end; ++place) {
      std::ranges::sort(found[place - begin]);
      const Sources expected = plainSources(*calculator, *calculator->memory->leafOrder[place]);
      ASSERT_EQ(found[place - begin], expected) << "particle " << place;
      pairs += expected.size();
    }
  }
  std::cout << pairs << " pairs of " << field.particleCount() << " vertices\n";
}

TEST_P(EveryScene, everyInstructionSetSumsUpTheSameBits) {
  const auto& field = calculator->memory->field;
  std::map<std::string, std::vector<Vector>> results;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    std::vector<Vector>& forces = results[hwy::TargetName(target)];
    forces.resize(field.particleCount());
    RepulsionField::Scratch scratch(field);
    field.repel({0, field.particleCount()}, scratch, forces.data());
  }
  hwy::SetSupportedTargetsForTest(0);
  const std::vector<Vector>& first = results.begin()->second;
  for (const auto& [name, forces] : results) {
    std::cout << name << ' ';
    for (std::size_t i = 0; i < first.size(); ++i) {
      ASSERT_EQ(bitsOf(forces[i], 0), bitsOf(first[i], 0)) << name << " and " << results.begin()->first << " at " << i;
    }
  }
  std::cout << '\n';
  EXPECT_GE(results.size(), 2U) << "one alone proves nothing";
}

TEST(RepulsionField, theFastForcesAreThePlainOnesButForTheOrderOfTheSum) {
  std::mt19937 random = seeded(67);
  TestLayout layout;
  const auto vertices = fillRandomly(layout, 4000, random);
  for (auto* vertex : vertices) {
    vertex->style.set_charge(static_cast<double>(random() % 300) / 100);
    for (auto* edge : vertex->outEdges) {
      edge->style.set_oriented(random() % 8 == 0);
      if (random() % 8 == 0) edge->style.set_knots(4);
    }
  }
  // Twice, so that the tree has the charges.
  layout.buildTree();
  const Calculator calculator = layout.buildTree();
  layout.springConstant = 0.0208333F;

  Tree::Iterator iterator;
  std::map<Layout::Vertex*, Vector> plain;
  for (auto* vertex : vertices) {
    iterator.push(calculator.tree.rootPosition());
    layout.calculateForcesOnVertex(vertex, iterator);
    plain[vertex] = vertex->force;
    vertex->force = {};
  }
  RepulsionField::Scratch scratch(calculator.memory->field);
  layout.calculateForces(calculator, {0, calculator.memory->field.particleCount()}, scratch);
  float worst = 0;
  for (auto* vertex : vertices) {
    const float unit = std::numeric_limits<float>::epsilon() * length(plain[vertex]);
    worst = std::max(worst, length(vertex->force - plain[vertex]) / unit);
  }
  std::cout << "largest difference " << worst << " units in the last place of the force\n";
  EXPECT_LT(worst, 300.0F) << "a few hundred terms, which partly cancel, summed up in another order";
}

}  // namespace
}  // namespace quorel
