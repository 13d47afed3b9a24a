#include "animator/EdgeGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace quorel {
namespace {

using Wide = TinyVector<double, 3>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(StrainColour, theLastGoodMeanHoldsWhereNoEdgeGivesOne) {
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 0, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(0.0, 2, 1.5), 1.5);
  EXPECT_DOUBLE_EQ(meanEdgeLength(notANumber, 2, 1.5), 1.5);
}

TEST(Arrow, standsOnTheFreePartOfItsLineWithTheMeasuresOfItsStyleAndNowhereWithoutDirectionOrNumbers) {
  // Along x, between vertices of radius 0.2 and 0.4.
  const struct {
    float length;
    ArrowStyle style;
    double base, tip, radius;
  } cases[] = {
      {2.0F, {}, 0.85, 0.95, 0.05},
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
  EXPECT_FALSE(arrowGeometry({1, 1, 1}, {1, 1, 1}, 1.0, 1.0, {}).drawable);
  EXPECT_FALSE(arrowGeometry({0, 0, 0}, {1, 0, 0}, notANumber, 1.0, {}).drawable);
  EXPECT_FALSE(arrowGeometry({0, 0, 0}, {1, 0, 0}, 1.0, 1.0, {.length = 0.0}).drawable);
}

TEST(Turn, takesTheZAxisToAnyDirection) {
  const double coordinates[] = {-1.0, -4e-5, 0.0, 1e-9, 0.4};
  for (int i = 0; i < 125; ++i) {
    const Wide d(coordinates[i % 5], coordinates[i / 5 % 5], coordinates[i / 25]);
    if (length(d) == 0.0) continue;
    const auto [degrees, k] = turnFromZ(d);
    const double angle = degrees * std::numbers::pi / 180.0;
    // Rodrigues' formula on the z axis.
    const Wide turned =
        std::cos(angle) * Wide(0, 0, 1) + std::sin(angle) * Wide(k[1], -k[0], 0.0) + (1.0 - std::cos(angle)) * k[2] * k;
    EXPECT_NEAR(length(k), 1.0, 1e-9) << d;
    EXPECT_NEAR(length(turned - (1.0 / length(d)) * d), 0.0, 1e-6) << d;
  }
}

}  // namespace
}  // namespace quorel
