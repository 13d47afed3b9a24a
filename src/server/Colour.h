#pragma once

#include "TinyVector.h"

namespace quorel {

/// Reads "#RRGGBB" or a palette index into red, green and blue, each 0 to 1. Returns 0, or -1 with `colour` unchanged
/// if the text is neither.
int parseColour(const char* text, TinyVector<float, 3>& colour);

}  // namespace quorel
