#include "server/Colour.h"

#include <gtest/gtest.h>

namespace quorel {
namespace {

TEST(ColourTest, readsHexadecimalDigitsAndPaletteIndices) {
  const struct {
    const char* text;
    int levels[3];  // of 255
  } cases[] = {
      {"#FF0000", {255, 0, 0}}, {"#ff8001", {255, 128, 1}},
      {"#GG00zz", {0, 0, 0}},   {"#-1- 9A", {1, 0, 154}},
      {"", {0, 0, 0}},          {"0", {0, 0, 0}},
      {"1", {75, 30, 0}},       {"-1", {75, 30, 0}},
      {"1-2", {75, 30, 0}},     {"--1", {0, 0, 0}},
      {"-", {0, 0, 0}},         {"0000001", {75, 30, 0}},
      {"2", {150, 60, 0}},      {"-2147483648", {120, 120, 120}},
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

}  // namespace
}  // namespace quorel
