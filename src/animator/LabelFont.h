#pragma once

#include <string_view>

namespace quorel {

/// The bitmap fonts of the window, of which each is there in the named sizes only.
enum class LabelFont { timesRoman10, timesRoman24, helvetica10, helvetica12, helvetica18 };

/// The font nearest to what a label asks for; any family but "Times Roman" is Helvetica.
LabelFont chooseFont(std::string_view family, int size);

/// GLUT's name for the font.
void* glutFont(LabelFont font);

}  // namespace quorel
