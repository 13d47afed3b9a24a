#include <cmath>
#include <thread>

#include "AttributeExamples.h"
#include "ProxyFixture.h"
#include "server/Colour.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {
namespace {

using Setter = int (GraphProxy::*)(int id, const char* key, const char* value);

/// Two vertices and two edges, of which the second follows style 20.
class AttributeTest : public ProxyTest {
protected:
  AttributeTest() {
    proxy.tessarel_new_vertex_w_id(1);
    proxy.tessarel_new_vertex_w_id(2);
    proxy.tessarel_new_edge_w_id(1, 1, 2);
    proxy.tessarel_new_edge_w_id(2, 2, 1);
    proxy.tessarel_new_vertex_style_w_id(20, 0);
    proxy.tessarel_new_edge_style_w_id(20, 0);
    proxy.tessarel_change_vertex_style(2, 20);
    proxy.tessarel_change_edge_style(2, 20);
    proxy.poll();
    log.take();
  }

  void expectRefused(Setter onObject, Setter onStyle, const std::string& key, const std::string& value,
                     const std::string& lines) {
    for (const auto& [setter, id] : {std::pair(onObject, 1), {onStyle, 20}}) {
      EXPECT_EQ((proxy.*setter)(id, key.c_str(), value.c_str()), -1) << key << ' ' << value;
      EXPECT_EQ(log.take(), lines) << key << ' ' << value;
    }
    EXPECT_TRUE(proxy.events.empty());
  }

  /// `first`, `follower` and `byDefault` are styles; `general` is the line of a key whose value is refused.
  template <class Style>
  void expectTakenOrRefused(const std::vector<AttributeExamples<Style>>& all, Setter onObject, Setter onStyle,
                            const Style& first, const Style& follower, const Style& byDefault,
                            const std::string& general) {
    for (const auto& [key, inForce, taken, refused, line] : all) {
      const std::string initial = inForce(byDefault);
      for (const auto& [value, stored] : taken) {
        EXPECT_EQ((proxy.*onObject)(1, key.c_str(), value.c_str()), 0) << key << ' ' << value;
        EXPECT_EQ((proxy.*onStyle)(20, key.c_str(), value.c_str()), 0) << key << ' ' << value;
        proxy.poll();
        EXPECT_EQ(inForce(first), stored) << key;
        EXPECT_EQ(inForce(follower), stored) << key;
      }
      EXPECT_EQ(inForce(byDefault), initial) << key;
      EXPECT_EQ(log.take(), "") << key;
      for (const std::string& value : refused) {
        std::string own = line.empty() ? "" : line + "\n";
        if (!own.empty()) own.replace(own.find('%'), 1, value);
        expectRefused(onObject, onStyle, key, value, own + general + key + "\"\n");
      }
    }
    for (const char* key : {"", "Label", "wdith", "note", "labeloffset", "orientation", "manifold", "knots"}) {
      expectRefused(onObject, onStyle, key, "1", general + key + "\"\n");
    }
  }

  Captured log{std::clog};
};

TEST_F(AttributeTest, edgesTakeOrRefuseEachValueWithItsLines) {
  expectTakenOrRefused(edgeExamples, &GraphProxy::tessarel_set_edge_attribute,
                       &GraphProxy::tessarel_set_edge_style_attribute, proxy.edgeOf(1)->style, proxy.edgeOf(2)->style,
                       proxy.layout->defaultEdgeStyle, "tessarel: error setting edge attribute \"");
}

TEST_F(AttributeTest, verticesTakeOrRefuseEachValueWithItsLines) {
  expectTakenOrRefused(vertexExamples, &GraphProxy::tessarel_set_vertex_attribute,
                       &GraphProxy::tessarel_set_vertex_style_attribute, proxy.vertexOf(1)->style,
                       proxy.vertexOf(2)->style, proxy.layout->defaultVertexStyle,
                       "tessarel: error setting vertex style attribute \"");
}

TEST_F(AttributeTest, validationWaitsForNoPicture) {
  const std::lock_guard<MultiLockable> drawing(globalStyleLock);
  int results = 0;
  std::thread client([&] {
    results += proxy.tessarel_set_vertex_attribute(1, "size", "2");
    results += proxy.tessarel_set_edge_style_attribute(20, "width", "-2");
  });
  client.join();  // hangs, if a client waits for whoever draws
  EXPECT_EQ(results, -1);
}

TEST(ColourTest, readsHexadecimalDigitsAndPaletteIndices) {
  const struct {
    const char* text;
    int levels[3];  // of 255
  } cases[] = {
      {"#FF0000", {255, 0, 0}}, {"#ff8001", {255, 128, 1}}, {"#GG00zz", {0, 0, 0}}, {"#-1- 9A", {1, 0, 154}},
      {"", {0, 0, 0}},          {"0", {0, 0, 0}},           {"1", {75, 30, 0}},     {"-1", {75, 30, 0}},
      {"1-2", {75, 30, 0}},     {"--1", {0, 0, 0}},         {"-", {0, 0, 0}},       {"0000001", {75, 30, 0}},
      {"2", {150, 60, 0}},
  };
  for (const auto& [text, levels] : cases) {
    TinyVector<float, 3> colour;
    EXPECT_EQ(parseColour(text, colour), 0) << text;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(colour[i], static_cast<float>(levels[i] / 255.0)) << text << " " << i;
  }
  for (const char* text : {"#", "#12345", "#12345678", "red", " 1", "1.0", "0x1"}) {
    TinyVector<float, 3> colour{9.0F, 9.0F, 9.0F};
    EXPECT_EQ(parseColour(text, colour), -1) << text;
    EXPECT_EQ(colour[0], 9.0F);
  }
}

TEST(ColourTest, everyIndexGivesThreeOfFifteenLevelsWhateverItsSign) {
  std::vector<std::string> indices = {"2147483648", "2147483647", "99999999999999999999"};
  for (int index = 0; index <= 5000; ++index) indices.push_back(std::to_string(index));
  for (const std::string& index : indices) {
    TinyVector<float, 3> colour;
    TinyVector<float, 3> opposite;
    ASSERT_EQ(parseColour(index.c_str(), colour), 0);
    ASSERT_EQ(parseColour(("-" + index).c_str(), opposite), 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(colour[i] * 17.0F, std::round(colour[i] * 17.0F), 1e-4);
      EXPECT_TRUE(colour[i] >= 0.0F && colour[i] < 14.5F / 17.0F) << index;
      EXPECT_TRUE(colour[i] == opposite[i] || index.size() > 9) << index;
    }
  }
}

}  // namespace
}  // namespace quorel
