#include "animator/LabelFont.h"

#include <GL/freeglut.h>

namespace quorel {

LabelFont chooseFont(std::string_view family, int size) {
  if (family == "Times Roman") return size < 19 ? LabelFont::timesRoman10 : LabelFont::timesRoman24;
  if (size < 11) return LabelFont::helvetica10;
  return size <= 12 ? LabelFont::helvetica12 : LabelFont::helvetica18;
}

void* glutFont(LabelFont font) {
  switch (font) {
    case LabelFont::timesRoman10:
      return GLUT_BITMAP_TIMES_ROMAN_10;
    case LabelFont::timesRoman24:
      return GLUT_BITMAP_TIMES_ROMAN_24;
    case LabelFont::helvetica10:
      return GLUT_BITMAP_HELVETICA_10;
    case LabelFont::helvetica12:
      return GLUT_BITMAP_HELVETICA_12;
    case LabelFont::helvetica18:
      break;
  }
  return GLUT_BITMAP_HELVETICA_18;
}

}  // namespace quorel
