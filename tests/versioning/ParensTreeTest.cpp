#include "versioning/ParensTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "versioning/ParensTreePath.h"
#include "versioning/VersionTree.h"

namespace quorel {
namespace {

/// The version tree written out as the string of parentheses that it stands for, and ancestry by walking up.
class NaiveVersions {
public:
  explicit NaiveVersions(VersionTree& versionTree) : tree(versionTree), all{tree.root} {
    order = {tree.root->first, tree.root->last};
  }

  Version* add(Version* parent) {
    Version* const made = tree.newVersion(parent);
    const auto open = std::find(order.begin(), order.end(), parent->first);
    order.insert(open + 1, {made->first, made->last});
    all.push_back(made);
    return made;
  }

  std::ptrdiff_t position(const PTKey* key) const { return std::find(order.begin(), order.end(), key) - order.begin(); }

  static Version* nearest(Version* version, const std::set<Version*>& subset) {
    while (!subset.contains(version)) version = version->parent;
    return version;
  }

  VersionTree& tree;
  std::vector<Version*> all;
  std::vector<PTKey*> order;
};

/// How a random tree grows: which of the versions made so far becomes the next one's parent.
struct Shape {
  const char* name;
  std::size_t (*parent)(std::size_t versionCount, std::mt19937& random);
};

std::size_t below(std::size_t limit, std::mt19937& random) {
  return random() % limit;
}

const Shape shapes[] = {
    {"star", [](std::size_t, std::mt19937&) -> std::size_t { return 0; }},
    {"chain", [](std::size_t count, std::mt19937&) { return count - 1; }},
    {"random", [](std::size_t count, std::mt19937& random) { return below(count, random); }},
    {"few styles with many members",
     [](std::size_t count, std::mt19937& random) { return below(std::min<std::size_t>(count, 5), random); }},
};

class ParensTreeOfShape : public testing::TestWithParam<std::tuple<Shape, unsigned>> {
protected:
  const Shape shape = std::get<0>(GetParam());
  const unsigned seed = std::get<1>(GetParam());
  std::mt19937 random{seed};

  void SetUp() override {
    std::cout << shape.name << ", seed " << seed << '\n';
    std::srand(seed);
  }
};

INSTANTIATE_TEST_SUITE_P(Shapes, ParensTreeOfShape,
                         testing::Combine(testing::ValuesIn(shapes), testing::Values(1u, 2u, 3u)));

TEST_P(ParensTreeOfShape, masterOrderIsThatOfTheWrittenString) {
  VersionTree tree;
  NaiveVersions naive(tree);
  while (naive.all.size() < 120) {
    naive.add(naive.all[shape.parent(naive.all.size(), random)]);
    ASSERT_EQ(tree.tree.validate(), "");
  }
  for (const PTKey* a : naive.order) {
    for (const PTKey* b : naive.order) {
      const auto difference = naive.position(a) - naive.position(b);
      ASSERT_EQ(compare(a, b), (difference > 0) - (difference < 0));
    }
  }
}

TEST_P(ParensTreeOfShape, subsetFindsTheNearestEnclosingVersionWhileBothTreesGrow) {
  VersionTree tree;
  NaiveVersions naive(tree);
  ParensTree subset(false);
  subset.init(tree.root);
  std::set<Version*> members = {tree.root};
  // First a tree whose inner versions come in late, around members that are already there; then both at once.
  while (naive.all.size() < 60) naive.add(naive.all[shape.parent(naive.all.size(), random)]);
  for (int step = 0; step < 150; ++step) {
    if (random() % 3 == 0) {
      naive.add(naive.all[shape.parent(naive.all.size(), random)]);
    } else {
      Version* const member = naive.all[below(naive.all.size(), random)];
      subset.insert(member);
      members.insert(member);
    }
    ASSERT_EQ(subset.validate(), "") << "step " << step;
    for (Version* version : naive.all) {
      ASSERT_EQ(subset.findEnclosing(version), NaiveVersions::nearest(version, members)) << "step " << step;
    }
  }
}

TEST(ParensTree, aVersionThatIsAlreadyInChangesNothingAndDrawsNothing) {
  VersionTree tree;
  ParensTree subset(false);
  subset.init(tree.root);
  std::vector<Version*> versions;
  for (int i = 0; i < 20; ++i) versions.push_back(tree.newVersion(i < 10 ? nullptr : versions[i - 10]));
  for (Version* version : versions) subset.insert(version);
  const auto written = [&] {
    std::ostringstream out;
    std::set<void*> visited;
    subset.debug_dump(out, visited);
    return out.str();
  };
  const std::string before = written();
  std::srand(7);
  for (Version* version : versions) subset.insert(version);
  const int drawn = std::rand();
  std::srand(7);
  EXPECT_EQ(drawn, std::rand());
  EXPECT_EQ(written(), before);
}

TEST(ParensTree, aLargeTreeStaysShallowEnoughForOnePathRecord) {
  VersionTree tree;
  Version* style = tree.newVersion(nullptr);
  for (int i = 0; i < 100'000; ++i) {
    Version* const made = tree.newVersion(i % 3 == 0 ? nullptr : style);
    if (i % 1000 == 0) style = made;
  }
  ASSERT_EQ(tree.tree.validate(), "");
  int deepest = 0;
  for (const ParensTreeNode* node = tree.root->first->node; node != nullptr; node = node->next) {
    int depth = 0;
    for (const ParensTreeNode* at = node; at->up != nullptr; at = at->up) ++depth;
    deepest = std::max(deepest, depth);
  }
  EXPECT_LT(deepest, 100);
}

/// A path of the given number of nodes, each hanging on the given side of the one before.
std::vector<ParensTreeNode*> degenerateTree(NumberedStore<ParensTreeNode>& store, int size, int side) {
  std::vector<ParensTreeNode*> nodes = {&store.make(nullptr)};
  while (static_cast<int>(nodes.size()) < size) {
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
    // A fork far below the reach of the record.
    ParensTreeNode& fork = store.make(nullptr);
    fork.up = nodes[300];
    nodes[300]->child[1 - side] = &fork;
    const int later = side == 1 ? 1 : -1;
    for (int i = 0; i < 400; i += 6) {
      for (int j = 0; j < 400; j += 6) {
        const int expected = i == j ? 0 : i < j ? -later : later;
        ASSERT_EQ(compare(ParensTreePath(nodes[i]), ParensTreePath(nodes[j])), expected) << i << ' ' << j;
      }
      // The fork stands on the other side of the node that it hangs from, and so on that side of all below.
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
  const ParensTreePath damaged(nodes[2]);
  std::ostringstream expected;
  expected << "ParensTreeNode: this=" << nodes[1] << "\n                parent=" << nodes[0]
           << "\n                parent->left=" << nodes[2] << "\n                parent->right=0\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected.str());
  // The step that is given up is missing, those below it count.
  EXPECT_EQ(compare(damaged, ParensTreePath(nodes[0])), 1);
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
    const auto from = line.find(" [");
    ++labels[from == std::string::npos ? "none" : line.substr(from)];
  }
  // Three versions with six keys and six master nodes, two of them in the subset with four nodes.
  EXPECT_EQ(labels[" [label=\"ParensTree\"]"], 1);
  EXPECT_EQ(labels[" [label=\"Version\"]"], 3);
  EXPECT_EQ(labels[" [label=\"PTKey\"]"], 6);
  EXPECT_EQ(labels[" [label=\"ParensTreeNode\"]"], 10);
  EXPECT_EQ(labels[" [label=\"root\"]"], 1);
  EXPECT_EQ(labels[" [label=\"0\"]"] + labels[" [label=\"1\"]"], 8);
  EXPECT_EQ(labels[" [label=\"up\",constraint=false]"], 8);
  EXPECT_EQ(labels[" [label=\"next\",constraint=false]"], 8);
  EXPECT_EQ(labels[" [label=\"prev\",constraint=false]"], 8);
  EXPECT_EQ(labels[" [label=\"key\",constraint=false]"], 10);
  EXPECT_EQ(labels[" [label=\"enclosing\",constraint=false]"], 2);
  EXPECT_EQ(labels[" [label=\"parent\",dir=\"back\"]"], 2);
  EXPECT_EQ(labels[" [label=\"first\",constraint=false]"], 6);
  EXPECT_EQ(labels["none"], 12);
}

}  // namespace
}  // namespace quorel
