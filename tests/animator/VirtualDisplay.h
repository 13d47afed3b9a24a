#pragma once

namespace quorel {

/// Makes sure that there is a display: where DISPLAY is not set, starts a virtual one that ends with this process.
/// False where none can be had.
bool provideDisplay();

}  // namespace quorel
