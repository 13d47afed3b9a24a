#include "animator/EdgeGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace quorel {
namespace {

using Vector = TinyVector<float, 3>;
using Wide = TinyVector<double, 3>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(StrainColour, isWhiteAtTheMeanRedWhereStretchedAndBlueThreeTimesAsFastWhereCompressed) {
  for (const auto& [length, expected] : {std::pair<double, Vector>{2.0, {1.0F, 1.0F, 1.0F}},
                                         {2.2, {0.8F, 0.7F, 0.7F}},
                                         {3.0, {0.5F, 0.0F, 0.0F}},
                                         {8.0, {1.0F, 0.0F, 0.0F}},
                                         {1.8, {0.7F, 0.7F, 1.0F}},
                                         {1.0, {0.0F, 0.0F, 1.0F}},
                                         {0.0, {0.0F, 0.0F, 1.0F}}}) {
    const Vector colour = strainColour(length, 2.0);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(colour[i], expected[i], 1e-6) << length << " component " << i;
  }
}

TEST(StrainColour, theLastGoodMeanHoldsWhereNoEdgeGivesOne) {
  EXPECT_DOUBLE_EQ(meanEdgeLength(6.0, 3, 1.0), 2.0);
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 0, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 2, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(notANumber, 2, 1.5), 1.5);
}

TEST(Arrow, standsOnTheFreePartOfItsLineWithTheMeasuresOfItsStyle) {
  // Along x, between vertices of radius 0.2 and 0.4.
  const struct {
    float length;
    ArrowStyle style;
    double base, tip, radius;
  } cases[] = {
      {2.0F, {}, 0.85, 0.95, 0.05},
      {2.0F, {.position = 0.0}, 0.2, 0.3, 0.05},
      {2.0F, {.position = 1.0}, 1.5, 1.6, 0.05},
      {2.0F, {.position = 0.0, .reverse = true}, 0.3, 0.2, 0.05},
      {2.0F, {.position = 0.3, .length = 100.0, .radius = 0.5}, 0.2, 1.6, 0.35},
      // The vertices overlap, and so it flips over. A negative radius would not be drawn at all.
      {0.4F, {}, 0.2, 0.0, 0.1},
  };
  for (const auto& [length, style, base, tip, radius] : cases) {
    const Arrow arrow = arrowGeometry({0, 0, 0}, {length, 0, 0}, 1.0, 2.0, style);
    EXPECT_LT(quorel::length(arrow.base - Wide(base, 0, 0)), 1e-6) << arrow.base << " and not " << base;
    EXPECT_LT(quorel::length(arrow.tip - Wide(tip, 0, 0)), 1e-6) << arrow.tip << " and not " << tip;
    EXPECT_NEAR(arrow.radius, radius, 1e-6);
    EXPECT_TRUE(arrow.drawable);
  }
}

TEST(Arrow, hasNoPlaceOnALineWithoutDirectionOrNumbers) {
  EXPECT_FALSE(arrowGeometry({1, 1, 1}, {1, 1, 1}, 1.0, 1.0, {}).drawable);
  EXPECT_FALSE(arrowGeometry({0, 0, 0}, {static_cast<float>(notANumber), 0, 0}, 1.0, 1.0, {}).drawable);
  EXPECT_FALSE(arrowGeometry({0, 0, 0}, {1, 0, 0}, notANumber, 1.0, {}).drawable);
  EXPECT_FALSE(arrowGeometry({0, 0, 0}, {1, 0, 0}, 1.0, 1.0, {.length = 0.0}).drawable);
}

/// Rodrigues' formula on the z axis.
Wide turned(const Turn& turn) {
  const double angle = turn.degrees * 3.14159265358979323846 / 180.0;
  const Wide z(0.0, 0.0, 1.0);
  const Wide& k = turn.axis;
  return std::cos(angle) * z + std::sin(angle) * Wide(k[1], -k[0], 0.0) + (1.0 - std::cos(angle)) * k[2] * k;
}

TEST(Turn, takesTheZAxisToAnyDirection) {
  std::vector<Wide> directions = {{1, 0, 0},     {0, -1, 0},     {0, 0, 1},           {0, 0, -1},
                                  {1, 1, 0},     {-1, 2, 1e-12}, {1e-9, 0, 1},        {1e-9, -1e-9, -1},
                                  {3, 0, -4e-5}, {0, 5, 5},      {0.001, 0.001, 1e-6}};
  constexpr unsigned seed = 5;
  std::mt19937 random(seed);
  std::normal_distribution<double> coordinate;
  for (int i = 0; i < 200; ++i) directions.emplace_back(coordinate(random), coordinate(random), coordinate(random));
  for (const Wide& d : directions) {
    const Turn turn = turnFromZ(d);
    EXPECT_NEAR(length(turn.axis), 1.0, 1e-9) << d << " seed " << seed;
    EXPECT_NEAR(length(turned(turn) - (1.0 / length(d)) * d), 0.0, 1e-6) << d << " seed " << seed;
  }
}

}  // namespace
}  // namespace quorel
