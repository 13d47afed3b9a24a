#pragma once

#include <array>
#include <map>
#include <optional>

namespace quorel {

/// The characters of the bitmap fonts, packed into one texture that is opaque where a character has a dot.
///
/// GLUT does not hand out its bitmaps: each font is drawn out of sight when it is first asked for, and read back.
/// Threading:  the main thread, outside glBegin and glEnd.
/// Ownership:  the texture stays until the process ends.
class GlyphAtlas {
public:
  /// Where the dots of a character are, relative to the raster position and in the texture. In pixels; a blank has no
  /// width.
  struct Glyph {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int textureX = 0;
    int textureY = 0;
    /// How far the raster position moves on.
    float advance = 0.0F;
  };

  using Font = std::array<Glyph, 256>;

  /// Of the texture, in pixels each way.
  static constexpr int size = 512;

  /// Pixels by which the dots of a character may lie to the left of its raster position, or below, at most.
  static constexpr int overhang = 12;

  /// A font by its name in GLUT. Null where OpenGL cannot draw out of sight or the texture is full.
  const Font* font(void* glutFont);

  unsigned texture() const { return textureName; }

private:
  std::optional<Font> read(void* glutFont);
  bool pack(const unsigned char* dots, Glyph& glyph);
  void makeTexture();

  unsigned textureName = 0;
  std::map<void*, std::optional<Font>> fonts;
  // The next free place in the row of glyphs being filled, and the height of that row.
  int freeX = 0;
  int freeY = 0;
  int rowHeight = 0;
};

}  // namespace quorel
