#include <functional>
#include <vector>

#include "ProxyFixture.h"

namespace quorel {
namespace {

/// Vertices 1 to 3, edges 10 (1, 2) and 11 (2, 3), vertex styles 20 and 21 (below 20), edge styles 30 and 31 (below
/// 30), none of them carried out yet.
class MessageTest : public ProxyTest {
protected:
  MessageTest() {
    for (const int id : {1, 2, 3}) EXPECT_EQ(proxy.tessarel_new_vertex_w_id(id), 0);
    EXPECT_EQ(proxy.tessarel_new_edge_w_id(10, 1, 2), 0);
    EXPECT_EQ(proxy.tessarel_new_edge_w_id(11, 2, 3), 0);
    EXPECT_EQ(proxy.tessarel_new_vertex_style_w_id(20, 0), 0);
    EXPECT_EQ(proxy.tessarel_new_vertex_style_w_id(21, 20), 0);
    EXPECT_EQ(proxy.tessarel_new_edge_style_w_id(30, 0), 0);
    EXPECT_EQ(proxy.tessarel_new_edge_style_w_id(31, 30), 0);
  }

  Captured log{std::clog};
};

struct Refusal {
  std::function<int(GraphProxy&)> call;
  std::string lines;
};

#define CALL(expression) [](GraphProxy& p) { return p.expression; }

const std::vector<Refusal> refusals = {
    {CALL(tessarel_new_vertex_w_id(1)), "tessarel_new_vertex_w_id(1) failed: vertex already exists\n"},

    {CALL(tessarel_new_edge(7, 8)), "tessarel_new_edge(7, 8): Invalid vertex id (7)\n"},
    {CALL(tessarel_new_edge(1, -8)), "tessarel_new_edge(1, -8): Invalid vertex id (-8)\n"},
    {CALL(tessarel_new_edge(7, 7)), "tessarel_new_edge(7, 7): Invalid vertex id (7)\n"},
    {CALL(tessarel_new_edge(1, 1)),
     "tessarel_new_edge(1, 1): Sorry, self-edges not allowed yet.  Submit a feature request?\n"},

    {CALL(tessarel_new_edge_w_id(5, 7, 8)), "tessarel_new_edge_w_id(5, 7, 8): Invalid vertex id (7)\n"},
    {CALL(tessarel_new_edge_w_id(10, 1, 8)), "tessarel_new_edge_w_id(10, 1, 8): Invalid vertex id (8)\n"},
    {CALL(tessarel_new_edge_w_id(10, 1, 3)), "tessarel_new_edge_w_id(10, 1, 3): Edge id 10 already in use.\n"},
    {CALL(tessarel_new_edge_w_id(10, 1, 1)), "tessarel_new_edge_w_id(10, 1, 1): Edge id 10 already in use.\n"},
    {CALL(tessarel_new_edge_w_id(5, 2, 2)),
     "tessarel_new_edge_w_id(2, 2): Sorry, self-edges not allowed yet.  Submit a feature request?\n"},

    {CALL(tessarel_remove_vertex(4)), "tessarel_remove_vertex(4): Invalid vertex id\n"},
    {CALL(tessarel_remove_edge(1)), "tessarel_remove_edge(1): Invalid edge id\n"},

    {CALL(tessarel_new_vertex_style(9)), "tessarel_new_vertex_style(9): Unknown vertex style (9)\n"},
    {CALL(tessarel_new_vertex_style_w_id(20, 0)), "tessarel_new_vertex_style_w_id(20, 0): style already exists (20)\n"},
    {CALL(tessarel_new_vertex_style_w_id(0, 0)), "tessarel_new_vertex_style_w_id(0, 0): style already exists (0)\n"},
    {CALL(tessarel_new_vertex_style_w_id(20, 9)), "tessarel_new_vertex_style_w_id(20, 9): style already exists (20)\n"},
    {CALL(tessarel_new_vertex_style_w_id(22, 9)), "tessarel_new_vertex_style_w_id(22, 9): Unknown vertex style (9)\n"},
    {CALL(tessarel_new_vertex_style_w_id(22, 30)),
     "tessarel_new_vertex_style_w_id(22, 30): Unknown vertex style (30)\n"},

    {CALL(tessarel_change_vertex_style(4, 20)), "tessarel_change_vertex_style(4,20): vertex does not exist (4)\n"},
    {CALL(tessarel_change_vertex_style(4, 9)), "tessarel_change_vertex_style(4,9): vertex does not exist (4)\n"},
    {CALL(tessarel_change_vertex_style(1, 30)),
     "Warning: tessarel_change_vertex_style(1,30): style does not exist (30)\n"},

    {CALL(tessarel_new_edge_style(20)), "tessarel: Unknown edge style (20)\n"},
    {CALL(tessarel_new_edge_style_w_id(30, 9)),
     "tessarel_new_edge_style_w_id(30, 9): Edge style already exists (30)\n"},
    {CALL(tessarel_new_edge_style_w_id(0, 0)), "tessarel_new_edge_style_w_id(0, 0): Edge style already exists (0)\n"},
    {CALL(tessarel_new_edge_style_w_id(32, 9)), "tessarel_new_edge_style_w_id(32, 9): Unknown edge style (9)\n"},

    {CALL(tessarel_change_edge_style(1, 30)), "tessarel_change_edge_style(1, 30): Unknown edge (1)\n"},
    {CALL(tessarel_change_edge_style(1, 9)), "tessarel_change_edge_style(1, 9): Unknown edge (1)\n"},
    {CALL(tessarel_change_edge_style(10, 9)), "tessarel_change_edge_style(10, 9): Unknown edge style (9)\n"},

    {CALL(tessarel_set_vertex_attribute(4, "size", "2")),
     "tessarel_set_vertex_attribute(4, \"size\", \"2\"):  Unknown vertex (4)\n"},
    {CALL(tessarel_set_vertex_attribute(10, "sise", "-2")),
     "tessarel_set_vertex_attribute(10, \"sise\", \"-2\"):  Unknown vertex (10)\n"},
    {CALL(tessarel_set_vertex_style_attribute(9, "size", "2")),
     "tessarel_set_vertex_style_attribute(9, size, 2): Unknown style (9)\n"},
    {CALL(tessarel_set_edge_attribute(1, "width", "2")),
     "tessarel_set_edge_attribute(1, \"width\", \"2\"):  Unknown edge (1)\n"},
    {CALL(tessarel_set_edge_style_attribute(20, "width", "2")),
     "tessarel_set_edge_style_attribute(20, width, 2): Unknown style (20)\n"},

    {CALL(tessarel_set_vertex_attribute(1, "sise", "2")), "tessarel: error setting vertex style attribute \"sise\"\n"},
    {CALL(tessarel_set_vertex_style_attribute(0, "Size", "2")),
     "tessarel: error setting vertex style attribute \"Size\"\n"},
    {CALL(tessarel_set_edge_attribute(10, "wdith", "2")), "tessarel: error setting edge attribute \"wdith\"\n"},
    {CALL(tessarel_set_edge_style_attribute(30, "", "2")), "tessarel: error setting edge attribute \"\"\n"},
    {CALL(tessarel_set_edge_attribute(10, "width", "-1")),
     "tessarel: Invalid width (\"-1\")\ntessarel: error setting edge attribute \"width\"\n"},
    {CALL(tessarel_set_vertex_style_attribute(21, "size", "0")),
     "tessarel: Invalid size \"0\"\ntessarel: error setting vertex style attribute \"size\"\n"},
};

std::size_t entries(const GraphProxy& p) {
  return p.vertices.size() + p.edges.size() + p.vertexStyles.size() + p.edgeStyles.size();
}

TEST_F(MessageTest, everyMistakeIsAnsweredWithItsLineAndChangesNothing) {
  for (const bool carriedOut : {false, true}) {
    if (carriedOut) proxy.poll();
    const std::size_t before = entries(proxy);
    const std::size_t queued = proxy.events.size();
    for (const Refusal& refusal : refusals) {
      SCOPED_TRACE(refusal.lines);
      EXPECT_EQ(refusal.call(proxy), -1);
      EXPECT_EQ(log.take(), refusal.lines);
      EXPECT_EQ(entries(proxy), before);
      EXPECT_EQ(proxy.events.size(), queued);
    }
  }
}

TEST_F(MessageTest, aQuietServerStillRefuses) {
  verbose = false;
  for (const Refusal& refusal : refusals) EXPECT_EQ(refusal.call(proxy), -1) << refusal.lines;
  verbose = true;
  EXPECT_EQ(log.take(), "");
}

TEST_F(MessageTest, whatIsRightIsAnsweredWithoutALine) {
  const std::vector<std::function<int(GraphProxy&)>> fresh = {
      CALL(tessarel_new_vertex()),        CALL(tessarel_new_edge(1, 2)),       CALL(tessarel_new_edge(2, 1)),
      CALL(tessarel_new_vertex_style(0)), CALL(tessarel_new_vertex_style(21)), CALL(tessarel_new_edge_style(0)),
      CALL(tessarel_new_edge_style(31))};
  for (const auto& call : fresh) EXPECT_GE(call(proxy), 1 << 30);

  const std::vector<std::function<int(GraphProxy&)>> zero = {
      CALL(tessarel_new_vertex_w_id(0)),
      CALL(tessarel_new_vertex_w_id(-7)),
      CALL(tessarel_new_vertex_w_id(2000000000)),
      CALL(tessarel_new_edge_w_id(0, 0, -7)),
      CALL(tessarel_new_vertex_style_w_id(-1, 21)),
      CALL(tessarel_new_edge_style_w_id(-1, 31)),
      CALL(tessarel_change_vertex_style(1, 21)),
      CALL(tessarel_change_vertex_style(1, 0)),
      CALL(tessarel_change_edge_style(10, 31)),
      CALL(tessarel_change_edge_style(10, 0)),
      CALL(tessarel_set_vertex_attribute(1, "size", "2")),
      CALL(tessarel_set_vertex_style_attribute(0, "size", "2")),
      CALL(tessarel_set_edge_attribute(10, "width", "2")),
      CALL(tessarel_set_edge_style_attribute(0, "width", "2")),
      CALL(tessarel_remove_edge(11)),
      CALL(tessarel_remove_vertex(-7)),
      CALL(tessarel_clear()),
      CALL(tessarel_clear()),
  };
  for (const auto& call : zero) EXPECT_EQ(call(proxy), 0);
  EXPECT_EQ(log.take(), "");
}

}  // namespace
}  // namespace quorel
