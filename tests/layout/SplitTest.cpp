#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <thread>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// How many particles each chunk holds; fails where a particle is in two or in none.
std::vector<int> chunkSizes(Layout& layout, Calculator& calculator, int chunkCount) {
  std::vector<Tree::Iterator> chunks(static_cast<std::size_t>(chunkCount));
  layout.splitSpacetree(calculator, chunks.data(), chunkCount);
  std::map<Layout::Vertex*, int> chunkOf;
  std::vector<int> sizes;
  for (int i = 0; i < chunkCount; ++i) {
    Tree::Iterator walk = chunks[static_cast<std::size_t>(i)];
    int size = 0;
    while (!walk.empty()) {
      const auto position = walk.pop();
      if (!position.isParticle()) {
        Tree::expand(position, walk);
        continue;
      }
      ++size;
      EXPECT_TRUE(chunkOf.insert({position.particle(), i}).second) << "in two chunks";
    }
    sizes.push_back(size);
  }
  EXPECT_EQ(chunkOf.size(), static_cast<std::size_t>(layout.numVertices()));
  return sizes;
}

TEST(Split, putsEveryParticleIntoOneChunkOfAboutEqualSize) {
  std::mt19937 random = seeded(19);
  for (const int n : {0, 1, 7, 39, 40, 41, 50, 100, 1000, 5000}) {
    TestLayout layout;
    fillRandomly(layout, n, random);
    Calculator calculator(layout.vertices.begin(), layout.vertices.end());
    for (const int chunkCount : {1, 2, 3, 7, 15, 60, 200}) {
      SCOPED_TRACE(testing::Message() << n << " vertices, " << chunkCount << " chunks");
      const Captured errors(std::cerr);
      const std::vector<int> sizes = chunkSizes(layout, calculator, chunkCount);
      EXPECT_EQ(errors.text(), "");
      if (n < 40) {
        EXPECT_EQ(sizes[0], n) << "a small graph is one chunk";
      }
      const int low = static_cast<int>(0.95 * n / chunkCount);
      const int high = std::max(static_cast<int>(1.05 * n / chunkCount), 40);
      for (std::size_t i = 0; i + 1 < sizes.size(); ++i) EXPECT_LT(sizes[i], high);
      // All but the last that has anything are full.
      for (std::size_t i = 0; i + 1 < sizes.size() && sizes[i + 1] > 0; ++i) EXPECT_GE(sizes[i], low);
    }
  }
}

TEST(Split, aHundredVerticesInThreeChunks) {
  std::mt19937 random = seeded(23);
  TestLayout layout;
  fillRandomly(layout, 100, random);
  Calculator calculator(layout.vertices.begin(), layout.vertices.end());
  const std::vector<int> sizes = chunkSizes(layout, calculator, 3);
  EXPECT_GE(sizes[0], 31);
  EXPECT_LT(sizes[0], 40);
  EXPECT_GE(sizes[1], 31);
  EXPECT_LT(sizes[1], 40);
}

TEST(Split, reportsTheVerticesThatTheTreeDoesNotHave) {
  TestLayout layout;
  for (int i = 0; i < 10; ++i) layout.add({float(i), 0, 0});
  layout.add({5000, 0, 0});
  const Captured errors(std::cerr);
  Calculator calculator(layout.vertices.begin(), layout.vertices.end());
  Tree::Iterator chunk;
  layout.splitSpacetree(calculator, &chunk, 1);
  EXPECT_EQ(errors.text(),
            "Particle position not finite or outside root box: [5000,0,0]\n@@ totalVertices=10, numVertices()=11\n");
}

TEST(BlockShare, givesEveryBlockToOneJobAndItsOwnChunkFirst) {
  using Range = BlockShare::Range;
  const std::vector<std::vector<Range>> chunks = {{{0, 1}, {5, 500}}, {}, {{500, 20000}}, {{1, 5}, {20000, 20064}}};
  BlockShare alone(chunks);
  Range block{};
  std::uint32_t particles = 0;
  while (alone.take(3, block)) {
    EXPECT_TRUE(particles >= 68 || block.begin < 5 || block.begin >= 20000) << "its own blocks come first";
    EXPECT_LE(block.end - block.begin, BlockShare::blockSize);
    particles += block.end - block.begin;
  }
  EXPECT_EQ(particles, 20064U);
  EXPECT_FALSE(alone.take(0, block));

  BlockShare shared(chunks);
  std::vector<int> taken(20064);
  std::vector<std::thread> workers;
  for (std::size_t chunk = 0; chunk < chunks.size(); ++chunk) {
    workers.emplace_back([&shared, &taken, chunk] {
      Range mine{};
      while (shared.take(chunk, mine)) {
        for (std::uint32_t i = mine.begin; i < mine.end; ++i) ++taken[i];
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(std::ranges::count(taken, 1), 20064);
}

}  // namespace
}  // namespace quorel
