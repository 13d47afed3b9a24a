#include "server/Colour.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace quorel {

namespace {

/// Anything that is no hexadecimal digit counts as 0.
int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 0;
}

float component(const char* pair) {
  return static_cast<float>((16 * digit(pair[0]) + digit(pair[1])) / 255.0);
}

/// Spreads the indices over the palette, so that neighbouring ones differ.
constexpr std::uint32_t paletteFactor = 139931 * 25;

/// Unsigned, so that the one number without a positive counterpart has its place in the palette too.
std::uint32_t absolute(std::uint32_t n) {
  return n >> 31 != 0 ? 0U - n : n;
}

float level(std::uint32_t bits) {
  return static_cast<float>(bits % 15 * 15 / 255.0);
}

}  // namespace

int parseColour(const char* text, TinyVector<float, 3>& colour) {
  if (text[0] == '#' && std::strlen(text) == 7) {
    colour = {component(text + 1), component(text + 3), component(text + 5)};
    return 0;
  }
  if (text[std::strspn(text, "0123456789-")] != '\0') return -1;
  const std::uint32_t h = absolute(absolute(static_cast<std::uint32_t>(std::atoi(text))) * paletteFactor);
  colour = {level(h), level(h / 16), level(h / 256)};
  return 0;
}

}  // namespace quorel
