#include "animator/GlyphAtlas.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/freeglut.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace quorel {

namespace {

// Out of sight each character has a cell of its own, in 16 rows of 16.
constexpr int cellsAcross = 16;
constexpr int cellSize = 48;
/// From the cell's corner to the raster position in it.
constexpr int margin = GlyphAtlas::overhang;
constexpr int sheetSize = cellsAcross * cellSize;

/// A framebuffer of our own, bound as long as it lives.
class Sheet {
public:
  Sheet() {
    glGenFramebuffers(1, &framebuffer);
    glGenRenderbuffers(1, &pixels);
    glBindRenderbuffer(GL_RENDERBUFFER, pixels);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, sheetSize, sheetSize);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, pixels);
  }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
  ~Sheet() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteRenderbuffers(1, &pixels);
  }

  bool isComplete() const { return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE; }

private:
  GLuint framebuffer = 0;
  GLuint pixels = 0;
};

/// Draws all characters of a font and returns the dots of the sheet, a byte each.
std::vector<unsigned char> drawSheet(void* font) {
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glDisable(GL_LIGHTING);
  glDisable(GL_DEPTH_TEST);
  glViewport(0, 0, sheetSize, sheetSize);
  glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
  glClear(GL_COLOR_BUFFER_BIT);
  glColor4f(1.0F, 1.0F, 1.0F, 1.0F);
  for (int c = 0; c < cellsAcross * cellsAcross; ++c) {
    glWindowPos2i(c % cellsAcross * cellSize + margin, c / cellsAcross * cellSize + margin);
    glutBitmapCharacter(font, c);
  }
  std::vector<unsigned char> dots(std::size_t{sheetSize} * sheetSize);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, sheetSize, sheetSize, GL_RED, GL_UNSIGNED_BYTE, dots.data());
  glPopAttrib();
  return dots;
}

}  // namespace

const GlyphAtlas::Font* GlyphAtlas::font(void* glutFont) {
  auto known = fonts.find(glutFont);
  if (known == fonts.end()) known = fonts.emplace(glutFont, read(glutFont)).first;
  return known->second ? &*known->second : nullptr;
}

std::optional<GlyphAtlas::Font> GlyphAtlas::read(void* glutFont) {
  std::vector<unsigned char> dots;
  {
    const Sheet sheet;
    if (!sheet.isComplete()) return std::nullopt;
    dots = drawSheet(glutFont);
  }
  if (textureName == 0) makeTexture();
  glBindTexture(GL_TEXTURE_2D, textureName);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  bool allPacked = true;
  Font glyphs;
  for (int c = 1; c < cellsAcross * cellsAcross; ++c) {
    const int corner = (c / cellsAcross * sheetSize + c % cellsAcross) * cellSize;
    glyphs[c].advance = static_cast<float>(glutBitmapWidth(glutFont, c));
    allPacked = pack(&dots[corner], glyphs[c]) && allPacked;
  }
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glBindTexture(GL_TEXTURE_2D, 0);
  if (!allPacked) return std::nullopt;
  return glyphs;
}

/// Finds the dots of a cell of the sheet and gives them a place in the texture.
bool GlyphAtlas::pack(const unsigned char* dots, Glyph& glyph) {
  int left = cellSize;
  int right = 0;
  int bottom = cellSize;
  int top = 0;
  for (int y = 0; y < cellSize; ++y) {
    for (int x = 0; x < cellSize; ++x) {
      if (dots[y * sheetSize + x] == 0) continue;
      left = std::min(left, x);
      right = std::max(right, x + 1);
      bottom = std::min(bottom, y);
      top = std::max(top, y + 1);
    }
  }
  if (right == 0) return true;
  // Dots at the border may go on beyond it.
  if (left == 0 || bottom == 0 || right == cellSize || top == cellSize) return false;

  const int width = right - left;
  const int height = top - bottom;
  if (freeX + width > size) {
    freeX = 0;
    freeY += rowHeight;
    rowHeight = 0;
  }
  if (freeY + height > size) return false;
  glyph = {.x = left - margin,
           .y = bottom - margin,
           .width = width,
           .height = height,
           .textureX = freeX,
           .textureY = freeY,
           .advance = glyph.advance};
  std::vector<unsigned char> opacity;
  for (int y = bottom; y < top; ++y) {
    opacity.insert(opacity.end(), &dots[y * sheetSize + left], &dots[y * sheetSize + right]);
  }
  glTexSubImage2D(GL_TEXTURE_2D, 0, freeX, freeY, width, height, GL_ALPHA, GL_UNSIGNED_BYTE, opacity.data());
  freeX += width;
  rowHeight = std::max(rowHeight, height);
  return true;
}

void GlyphAtlas::makeTexture() {
  glGenTextures(1, &textureName);
  glBindTexture(GL_TEXTURE_2D, textureName);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA8, size, size, 0, GL_ALPHA, GL_UNSIGNED_BYTE, nullptr);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
}

}  // namespace quorel
