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
  struct Case {
    double length;
    Vector colour;
  };
  for (const Case& c : {Case{2.0, {1.0F, 1.0F, 1.0F}}, Case{2.2, {0.8F, 0.7F, 0.7F}}, Case{3.0, {0.5F, 0.0F, 0.0F}},
                        Case{8.0, {1.0F, 0.0F, 0.0F}}, Case{1.8, {0.7F, 0.7F, 1.0F}}, Case{1.0, {0.0F, 0.0F, 1.0F}},
                        Case{0.0, {0.0F, 0.0F, 1.0F}}}) {
    const Vector colour = strainColour(c.length, 2.0);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(colour[i], c.colour[i], 1e-6) << c.length << " component " << i;
  }
}

TEST(StrainColour, theLastGoodMeanHoldsWhereNoEdgeGivesOne) {
  EXPECT_DOUBLE_EQ(meanEdgeLength(6.0, 3, 1.0), 2.0);
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 0, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 2, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(notANumber, 2, 1.5), 1.5);
}

void expectAt(const Wide& point, double x) {
  EXPECT_NEAR(point[0], x, 1e-6);
  EXPECT_NEAR(point[1], 0.0, 1e-9);
  EXPECT_NEAR(point[2], 0.0, 1e-9);
}

/// Along x from 0 to 2, between vertices of radius 0.2 and 0.4.
Arrow arrowAlongX(const ArrowStyle& style) {
  return arrowGeometry({0, 0, 0}, {2, 0, 0}, 1.0, 2.0, style);
}

TEST(Arrow, positionsZeroAndOneStandAgainstTheSurfacesOfTheTwoVertices) {
  const Arrow first = arrowAlongX({.position = 0.0});
  expectAt(first.base, 0.2);
  expectAt(first.tip, 0.3);
  const Arrow last = arrowAlongX({.position = 1.0});
  expectAt(last.base, 1.5);
  expectAt(last.tip, 1.6);
  const Arrow middle = arrowAlongX({});
  expectAt(middle.base, 0.85);
  EXPECT_NEAR(middle.radius, 0.05, 1e-9);
}

TEST(Arrow, neverOverrunsTheFreePartAndKeepsItsProportions) {
  const Arrow arrow = arrowAlongX({.position = 0.3, .length = 100.0, .radius = 0.5});
  expectAt(arrow.base, 0.2);
  expectAt(arrow.tip, 1.6);
  EXPECT_NEAR(arrow.radius, 1.4 * 0.5 * 0.5, 1e-6);
}

TEST(Arrow, reversedIsTheSameConeTheOtherWayRound) {
  const Arrow arrow = arrowAlongX({.position = 0.0, .reverse = true});
  expectAt(arrow.base, 0.3);
  expectAt(arrow.tip, 0.2);
}

TEST(Arrow, betweenOverlappingVerticesFlipsOverAndStaysOnTheLine) {
  const Arrow arrow = arrowGeometry({0, 0, 0}, {0.5F, 0, 0}, 2.0, 2.0, {});
  expectAt(arrow.base, 0.4);
  expectAt(arrow.tip, 0.1);
  EXPECT_NEAR(arrow.radius, 0.15, 1e-6) << "a negative radius would not be drawn at all";
  EXPECT_TRUE(arrow.drawable);
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
  const Wide cross(k[1] * z[2] - k[2] * z[1], k[2] * z[0] - k[0] * z[2], k[0] * z[1] - k[1] * z[0]);
  return std::cos(angle) * z + std::sin(angle) * cross + (1.0 - std::cos(angle)) * dot(k, z) * k;
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
