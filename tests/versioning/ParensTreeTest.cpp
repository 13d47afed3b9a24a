#include "versioning/ParensTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "versioning/ParensTreePath.h"
#include "versioning/VersionTree.h"

namespace quorel {
namespace {

/// How a random tree grows: which of the versions made so far becomes the next one's parent.
using Shape = std::size_t (*)(std::size_t versionCount, std::mt19937& random);

const Shape shapes[] = {
    [](std::size_t, std::mt19937&) -> std::size_t { return 0; },  // a star
    [](std::size_t count, std::mt19937&) { return count - 1; },   // a chain
    [](std::size_t count, std::mt19937& random) { return random() % count; },
    // Few styles with many members.
    [](std::size_t count, std::mt19937& random) { return random() % std::min<std::size_t>(count, 5); },
};

class ParensTreeOfShape : public testing::TestWithParam<std::tuple<int, unsigned>> {};

INSTANTIATE_TEST_SUITE_P(ShapesAndSeeds, ParensTreeOfShape,
                         testing::Combine(testing::Range(0, 4), testing::Range(1U, 4U)));

TEST_P(ParensTreeOfShape, agreesWithTheWrittenStringAndWithAWalkUpward) {
  const auto [shape, seed] = GetParam();
  std::mt19937 random(seed);
  std::srand(seed);
  VersionTree tree;
  // The string of parentheses that the tree stands for.
  std::vector<PTKey*> order = {tree.root->first, tree.root->last};
  std::vector<Version*> all = {tree.root};
  ParensTree subset(false);
  subset.init(tree.root);
  std::set<Version*> members = {tree.root};
  // First a tree whose inner versions come into the subset late, around members that are already there; then both grow.
  for (int step = 0; step < 210; ++step) {
    if (step < 60 || random() % 3 == 0) {
      Version* const parent = all[shapes[shape](all.size(), random)];
      all.push_back(tree.newVersion(parent));
      order.insert(std::ranges::find(order, parent->first) + 1, {all.back()->first, all.back()->last});
      ASSERT_EQ(tree.tree.validate(), "") << "step " << step;
    } else {
      Version* const member = all[random() % all.size()];
      subset.insert(member);
      members.insert(member);
    }
    ASSERT_EQ(subset.validate(), "") << "step " << step;
    for (Version* version : all) {
      Version* nearest = version;
      while (!members.contains(nearest)) nearest = nearest->parent;
      ASSERT_EQ(subset.findEnclosing(version), nearest) << "step " << step;
    }
  }
  for (std::size_t i = 0; i < order.size(); ++i) {
    for (std::size_t j = 0; j < order.size(); ++j) ASSERT_EQ(compare(order[i], order[j]), (i > j) - (i < j));
  }
}

/// A path of the given number of nodes, each hanging on the given side of the one before.
std::vector<ParensTreeNode*> degenerateTree(NumberedStore<ParensTreeNode>& store, std::size_t size, int side) {
  std::vector<ParensTreeNode*> nodes = {&store.make(nullptr)};
  while (nodes.size() < size) {
    ParensTreeNode& node = store.make(nullptr);
    node.up = nodes.back();
    nodes.back()->child[side] = &node;
    nodes.push_back(&node);
  }
  return nodes;
}

TEST(ParensTreePath, ordersNodesAtAnyDepth) {
  for (const int side : {0, 1}) {
    NumberedStore<ParensTreeNode> store;
    const std::vector<ParensTreeNode*> nodes = degenerateTree(store, 400, side);
    // A fork far below the reach of the record, on the other side of the node that it hangs from and so of all below.
    ParensTreeNode& fork = store.make(nullptr);
    fork.up = nodes[300];
    nodes[300]->child[1 - side] = &fork;
    const int later = side == 1 ? 1 : -1;
    for (int i = 0; i < 400; i += 6) {
      for (int j = 0; j < 400; j += 6) {
        ASSERT_EQ(compare(ParensTreePath(nodes[i]), ParensTreePath(nodes[j])), later * ((i > j) - (i < j)));
      }
      ASSERT_EQ(compare(ParensTreePath(&fork), ParensTreePath(nodes[i])), i < 300 ? later : -later) << i;
    }
  }
}

TEST(ParensTreePath, reportsANodeThatItsParentDoesNotKnow) {
  NumberedStore<ParensTreeNode> store;
  const std::vector<ParensTreeNode*> nodes = degenerateTree(store, 3, 1);
  nodes[0]->child[0] = nodes[2];
  nodes[0]->child[1] = nullptr;
  testing::internal::CaptureStderr();
  // The step that is given up is missing, those below it count.
  EXPECT_EQ(compare(ParensTreePath(nodes[2]), ParensTreePath(nodes[0])), 1);
  std::ostringstream expected;
  expected << "ParensTreeNode: this=" << nodes[1] << "\n                parent=" << nodes[0]
           << "\n                parent->left=" << nodes[2] << "\n                parent->right=0\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected.str());
}

TEST(ParensTree, dumpNamesEveryObjectOnceAndEveryLinkOfIt) {
  VersionTree tree;
  ParensTree subset(false);
  subset.init(tree.root);
  Version* const style = tree.newVersion(nullptr);
  tree.newVersion(style);
  subset.insert(style);
  std::ostringstream out;
  std::set<void*> visited;
  subset.debug_dump(out, visited);

  std::set<std::string> lines;
  std::map<std::string, int> labels;
  std::istringstream in(out.str());
  for (std::string line; std::getline(in, line);) {
    EXPECT_TRUE(lines.insert(line).second) << line;
    const auto found = line.find(" [label=\"");
    const std::string rest = found == std::string::npos ? "" : line.substr(found + 9);
    const std::string label = rest.substr(0, rest.find('"'));
    // Which child hangs on which side is up to the addresses.
    ++labels[label == "0" || label == "1" ? "child" : label];
  }
  // Three versions with six keys and six master nodes, two of them in the subset with four nodes.
  const std::map<std::string, int> expected = {
      {"ParensTree", 1}, {"Version", 3}, {"PTKey", 6}, {"ParensTreeNode", 10}, {"root", 1}, {"child", 8},
      {"up", 8},         {"next", 8},    {"prev", 8},  {"enclosing", 2},       {"key", 10}, {"parent", 2},
      {"first", 6},      {"", 12}};
  EXPECT_EQ(labels, expected);
}

}  // namespace
}  // namespace quorel
