#include "server/Diagnostics.h"

namespace quorel {

bool verbose = true;

}  // namespace quorel
