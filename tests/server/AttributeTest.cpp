#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include "ProxyFixture.h"
#include "server/AttributeTables.h"
#include "server/Colour.h"
#include "versioning/EdgeStyle.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << std::boolalpha << value;
  return out.str();
}

const std::map<std::string, std::function<std::string(const EdgeStyle&)>> edgeValues = {
    {"arrow", [](const EdgeStyle& s) { return text(s.get_arrow()); }},
    {"arrow_position", [](const EdgeStyle& s) { return text(s.get_arrow_position()); }},
    {"arrow_length", [](const EdgeStyle& s) { return text(s.get_arrow_length()); }},
    {"arrow_radius", [](const EdgeStyle& s) { return text(s.get_arrow_radius()); }},
    {"arrow_reverse", [](const EdgeStyle& s) { return text(s.get_arrow_reverse()); }},
    {"color", [](const EdgeStyle& s) { return text(s.get_color()); }},
    {"colour", [](const EdgeStyle& s) { return text(s.get_color()); }},
    {"fontcolor", [](const EdgeStyle& s) { return text(s.get_fontcolor()); }},
    {"fontcolour", [](const EdgeStyle& s) { return text(s.get_fontcolor()); }},
    {"fontfamily", [](const EdgeStyle& s) { return s.get_fontfamily(); }},
    {"fontsize", [](const EdgeStyle& s) { return text(s.get_fontsize()); }},
    {"label", [](const EdgeStyle& s) { return s.get_label(); }},
    {"length", [](const EdgeStyle& s) { return text(s.get_length()); }},
    {"oriented", [](const EdgeStyle& s) { return text(s.get_oriented()); }},
    {"showstrain", [](const EdgeStyle& s) { return text(s.get_showstrain()); }},
    {"strength", [](const EdgeStyle& s) { return text(s.get_strength()); }},
    {"spline", [](const EdgeStyle& s) { return text(s.get_knots()); }},
    {"stroke", [](const EdgeStyle& s) { return text(s.get_stroke()); }},
    {"visible", [](const EdgeStyle& s) { return text(s.get_visible()); }},
    {"width", [](const EdgeStyle& s) { return text(s.get_width()); }},
};

const std::map<std::string, std::function<std::string(const VertexStyle&)>> vertexValues = {
    {"color", [](const VertexStyle& s) { return text(s.get_color()); }},
    {"colour", [](const VertexStyle& s) { return text(s.get_color()); }},
    {"charge", [](const VertexStyle& s) { return text(s.get_charge()); }},
    {"callback_left_doubleclick", [](const VertexStyle& s) { return text(s.get_callback() != nullptr); }},
    {"fontcolor", [](const VertexStyle& s) { return text(s.get_fontcolor()); }},
    {"fontcolour", [](const VertexStyle& s) { return text(s.get_fontcolor()); }},
    {"fontfamily", [](const VertexStyle& s) { return s.get_fontfamily(); }},
    {"fontsize", [](const VertexStyle& s) { return text(s.get_fontsize()); }},
    {"label", [](const VertexStyle& s) { return s.get_label(); }},
    {"shape", [](const VertexStyle& s) { return text(static_cast<int>(s.get_shape())); }},
    {"shapedetail", [](const VertexStyle& s) { return text(s.get_shapedetail()); }},
    {"size", [](const VertexStyle& s) { return text(s.get_size()); }},
    {"visible", [](const VertexStyle& s) { return text(s.get_visible()); }},
};

struct Accepted {
  std::string key;
  std::string value;
  std::string stored;
};

struct Refused {
  std::string key;
  std::string value;
  std::string line;  // the setter's own, without the general one behind it
};

const std::string longLabel(4096, 'x');

// Ordered so that a key's next value differs from the one before and from the default.
const std::vector<Accepted> edgeAccepted = {
    {"arrow", "true", "true"},
    {"arrow", "false", "false"},
    {"arrow", "True", "true"},
    {"arrow", "False", "false"},
    {"arrow", "1", "true"},
    {"arrow_position", "0", "0"},
    {"arrow_position", "1", "1"},
    {"arrow_position", "0.25 of it", "0.25"},
    {"arrow_position", "", "0"},
    {"arrow_position", "nan", "nan"},
    {"arrow_length", "0", "0"},
    {"arrow_length", "2e1", "20"},
    {"arrow_radius", "inf", "inf"},
    {"arrow_radius", "-0.0", "-0"},
    {"arrow_reverse", "true", "true"},
    {"color", "#FF0000", "[1,0,0]"},
    {"colour", "#0000ff", "[0,0,1]"},
    {"fontcolor", "0", "[0,0,0]"},
    {"fontcolour", "#00Ff00", "[0,1,0]"},
    {"fontfamily", "", ""},
    {"fontfamily", "Anything at all", "Anything at all"},
    {"fontsize", "1", "1"},
    {"fontsize", "12.7", "12"},
    {"label", longLabel, longLabel},
    {"label", "", ""},
    {"length", "0", "0"},
    {"length", "3", "3"},
    {"oriented", "true", "true"},
    {"showstrain", "true", "true"},
    {"strength", "0", "0"},
    {"strength", "2.5", "2.5"},
    {"strength", "abc", "0"},
    {"spline", "true", "4"},
    {"spline", "false", "2"},
    {"stroke", "none", "0"},
    {"stroke", "dashed", "61680"},
    {"stroke", "dotted", "13107"},
    {"stroke", "solid", "65535"},
    {"visible", "false", "false"},
    {"width", "7", "7"},
    {"width", "NaN", "nan"},
};

const std::vector<Refused> edgeRefused = {
    {"arrow", "0", "tessarel: expected true or false, got \"0\"\n"},
    {"oriented", "TRUE", "tessarel: expected true or false, got \"TRUE\"\n"},
    {"arrow_reverse", "", "tessarel: expected true or false, got \"\"\n"},
    {"showstrain", "true ", "tessarel: expected true or false, got \"true \"\n"},
    {"visible", "0", "tessarel: expected true or false, got \"0\"\n"},
    {"spline", "4", "tessarel: expected true or false, got \"4\"\n"},
    {"arrow_position", "1.5", "tessarel: Invalid arrow position (\"1.5\")\n"},
    {"arrow_position", "-0.1", "tessarel: Invalid arrow position (\"-0.1\")\n"},
    {"arrow_length", "-1", "tessarel: Invalid arrow length (\"-1\")\n"},
    {"arrow_radius", "-1", "tessarel: Invalid arrow radius (\"-1\")\n"},
    {"length", "-1e-9", "tessarel: Invalid length (\"-1e-9\")\n"},
    {"strength", "-1", "tessarel: Invalid strength (\"-1\")\n"},
    {"width", "-inf", "tessarel: Invalid width (\"-inf\")\n"},
    {"fontsize", "0", "tessarel: Invalid fontsize \"0\"\n"},
    {"fontsize", "big", "tessarel: Invalid fontsize \"big\"\n"},
    {"stroke", "Solid", "tessarel: unknown stroke (\"Solid\")\n"},
    {"stroke", "", "tessarel: unknown stroke (\"\")\n"},
    {"color", "#FF00", "tessarel: invalid palette index \"#FF00\"\n"},
    {"colour", "red", "tessarel: invalid palette index \"red\"\n"},
    {"fontcolor", "+1", "tessarel: invalid palette index \"+1\"\n"},
    {"fontcolour", "1 ", "tessarel: invalid palette index \"1 \"\n"},
    {"label", longLabel + "x", ""},
    {"Label", "x", ""},
    {"shape", "cube", ""},
};

const std::vector<Accepted> vertexAccepted = {
    {"color", "#FF0000", "[1,0,0]"},
    {"colour", "#0000ff", "[0,0,1]"},
    {"charge", "1e-3", "0.001"},
    {"charge", "nan", "nan"},
    {"callback_left_doubleclick", "http://", "true"},
    {"callback_left_doubleclick", "http://x/y/", "true"},
    {"fontcolor", "0", "[0,0,0]"},
    {"fontcolour", "#00Ff00", "[0,1,0]"},
    {"fontfamily", "Times", "Times"},
    {"fontsize", "24", "24"},
    {"label", longLabel, longLabel},
    {"shape", "none", "0"},
    {"shape", "sphere", "1"},
    {"shape", "CONE", "2"},
    {"shape", "Torus", "3"},
    {"shape", "tetrahedron", "4"},
    {"shape", "CuBe", "5"},
    {"shape", "octahedron", "6"},
    {"shape", "dodecahedron", "7"},
    {"shape", "icosahedron", "8"},
    {"shapedetail", "1", "1"},
    {"shapedetail", "40", "40"},
    {"size", "0.1", "0.1"},
    {"size", "nan", "nan"},
    {"visible", "false", "false"},
};

const std::vector<Refused> vertexRefused = {
    {"size", "0", "tessarel: Invalid size \"0\"\n"},
    {"size", "abc", "tessarel: Invalid size \"abc\"\n"},
    {"size", "-1", "tessarel: Invalid size \"-1\"\n"},
    {"charge", "0", "tessarel: Invalid charge \"0\"\n"},
    {"charge", "abc", "tessarel: Invalid charge \"abc\"\n"},
    {"shapedetail", "0", "tessarel: Invalid shapedetail \"0\"\n"},
    {"fontsize", "-3", "tessarel: Invalid fontsize \"-3\"\n"},
    {"shape", "Cubes", "tessarel: Invalid shape \"Cubes\"\n"},
    {"shape", "5", "tessarel: Invalid shape \"5\"\n"},
    {"shape", "", "tessarel: Invalid shape \"\"\n"},
    {"visible", "0", "tessarel: expected true or false, got \"0\"\n"},
    {"color", "#FF00", "tessarel: invalid palette index \"#FF00\"\n"},
    {"color", "#FF00001", "tessarel: invalid palette index \"#FF00001\"\n"},
    {"callback_left_doubleclick", "ftp://x/y", "tessarel: unsupported callback type \"ftp://x/y\"\n"},
    {"callback_left_doubleclick", "https://x/y", "tessarel: unsupported callback type \"https://x/y\"\n"},
    {"callback_left_doubleclick", "HTTP://x/y", "tessarel: unsupported callback type \"HTTP://x/y\"\n"},
    {"callback_left_doubleclick", "x/y", "tessarel: unsupported callback type \"x/y\"\n"},
    {"label", longLabel + "x", ""},
    {"width", "1", ""},
};

/// Vertices 1 and 2 with edge 10; styles 20 and 30. The second of each kind follows the style.
class AttributeTest : public ProxyTest {
protected:
  AttributeTest() {
    proxy.tessarel_new_vertex_w_id(1);
    proxy.tessarel_new_vertex_w_id(2);
    proxy.tessarel_new_vertex_style_w_id(20, 0);
    proxy.tessarel_change_vertex_style(2, 20);
    proxy.tessarel_new_edge_w_id(10, 1, 2);
    proxy.tessarel_new_edge_w_id(11, 2, 1);
    proxy.tessarel_new_edge_style_w_id(30, 0);
    proxy.tessarel_change_edge_style(11, 30);
    proxy.poll();
  }

  /// Whether the four calls, on an object and on a style, store what is accepted where it belongs and nowhere else.
  template <class Values, class OnObject, class OnStyle, class ObjectStyle, class FollowerStyle, class Default>
  void expectAccepted(const std::vector<Accepted>& table, const Values& values, OnObject onObject, OnStyle onStyle,
                      ObjectStyle object, FollowerStyle follower, Default byDefault) {
    for (const Accepted& entry : table) {
      SCOPED_TRACE(entry.key + " " + entry.value.substr(0, 40));
      const auto& value = values.at(entry.key);
      const std::string initial = value(byDefault());
      EXPECT_EQ(onObject(entry.key.c_str(), entry.value.c_str()), 0);
      proxy.poll();
      EXPECT_EQ(value(object()), entry.stored);
      EXPECT_EQ(onStyle(entry.key.c_str(), entry.value.c_str()), 0);
      proxy.poll();
      EXPECT_EQ(value(follower()), entry.stored);
      EXPECT_EQ(value(byDefault()), initial);
    }
    EXPECT_EQ(log.take(), "");
  }

  template <class OnObject, class OnStyle>
  void expectRefused(const std::vector<Refused>& table, const std::string& general, OnObject onObject,
                     OnStyle onStyle) {
    for (const Refused& entry : table) {
      SCOPED_TRACE(entry.key + " " + entry.value.substr(0, 40));
      const std::string lines = entry.line + general + entry.key + "\"\n";
      EXPECT_EQ(onObject(entry.key.c_str(), entry.value.c_str()), -1);
      EXPECT_EQ(log.take(), lines);
      EXPECT_EQ(onStyle(entry.key.c_str(), entry.value.c_str()), -1);
      EXPECT_EQ(log.take(), lines);
      EXPECT_TRUE(proxy.events.empty());
    }
  }

  Captured log{std::clog};
};

TEST_F(AttributeTest, edgesTakeWhatIsAccepted) {
  expectAccepted(
      edgeAccepted, edgeValues,
      [&](const char* key, const char* value) { return proxy.tessarel_set_edge_attribute(10, key, value); },
      [&](const char* key, const char* value) { return proxy.tessarel_set_edge_style_attribute(30, key, value); },
      [&] { return proxy.edgeOf(10)->style; }, [&] { return proxy.edgeOf(11)->style; },
      [&] { return proxy.layout->defaultEdgeStyle; });
  for (const auto& [key, value] : edgeValues) {
    EXPECT_TRUE(std::any_of(edgeAccepted.begin(), edgeAccepted.end(), [&](const Accepted& e) { return e.key == key; }))
        << key;
  }
}

TEST_F(AttributeTest, verticesTakeWhatIsAccepted) {
  expectAccepted(
      vertexAccepted, vertexValues,
      [&](const char* key, const char* value) { return proxy.tessarel_set_vertex_attribute(1, key, value); },
      [&](const char* key, const char* value) { return proxy.tessarel_set_vertex_style_attribute(20, key, value); },
      [&] { return proxy.vertexOf(1)->style; }, [&] { return proxy.vertexOf(2)->style; },
      [&] { return proxy.layout->defaultVertexStyle; });
}

TEST_F(AttributeTest, edgesRefuseTheRest) {
  expectRefused(
      edgeRefused, "tessarel: error setting edge attribute \"",
      [&](const char* key, const char* value) { return proxy.tessarel_set_edge_attribute(10, key, value); },
      [&](const char* key, const char* value) { return proxy.tessarel_set_edge_style_attribute(30, key, value); });
}

TEST_F(AttributeTest, verticesRefuseTheRest) {
  expectRefused(
      vertexRefused, "tessarel: error setting vertex style attribute \"",
      [&](const char* key, const char* value) { return proxy.tessarel_set_vertex_attribute(1, key, value); },
      [&](const char* key, const char* value) { return proxy.tessarel_set_vertex_style_attribute(20, key, value); });
}

TEST_F(AttributeTest, anObjectsFirstOwnValueForksItsVersionAndTheStyleShowsThrough) {
  const Version* of = proxy.edgeOf(11)->style.version;
  EXPECT_TRUE(proxy.edgeOf(11)->style.shared);
  proxy.tessarel_set_edge_style_attribute(30, "width", "2");
  proxy.poll();
  EXPECT_EQ(proxy.edgeOf(11)->style.version, of);
  proxy.tessarel_set_edge_attribute(11, "width", "3");
  proxy.tessarel_set_edge_attribute(11, "label", "own");
  proxy.tessarel_set_edge_style_attribute(30, "width", "4");
  proxy.tessarel_set_edge_style_attribute(30, "color", "#FFFFFF");
  proxy.poll();
  EXPECT_FALSE(proxy.edgeOf(11)->style.shared);
  EXPECT_EQ(proxy.edgeOf(11)->style.version->parent, of);
  EXPECT_EQ(proxy.edgeOf(11)->style.get_width(), 3.0);
  EXPECT_EQ(text(proxy.edgeOf(11)->style.get_color()), "[1,1,1]");
}

TEST_F(AttributeTest, validationWaitsForNoPicture) {
  const std::lock_guard<MultiLockable> drawing(globalStyleLock);
  int results = 0;
  std::thread client([&] {
    results += proxy.tessarel_set_vertex_attribute(1, "size", "2");
    results += proxy.tessarel_set_edge_style_attribute(30, "width", "2");
    results += proxy.tessarel_set_edge_style_attribute(30, "width", "-2");
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
  for (long index = -5000; index <= 5000; ++index) {
    TinyVector<float, 3> colour;
    TinyVector<float, 3> opposite;
    ASSERT_EQ(parseColour(std::to_string(index).c_str(), colour), 0);
    ASSERT_EQ(parseColour(std::to_string(-index).c_str(), opposite), 0);
    for (int i = 0; i < 3; ++i) {
      const float level = colour[i] * 17.0F;
      EXPECT_NEAR(level, std::round(level), 1e-4);
      EXPECT_TRUE(level >= 0.0F && level < 14.5F) << index;
      EXPECT_EQ(colour[i], opposite[i]);
    }
  }
  TinyVector<float, 3> extreme;
  for (const char* index : {"-2147483648", "2147483647", "2147483648", "99999999999999999999"}) {
    ASSERT_EQ(parseColour(index, extreme), 0);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(extreme[i] >= 0.0F && extreme[i] < 0.83F) << index;
  }
}

}  // namespace
}  // namespace quorel
