#pragma once

#include <iostream>

#include "concurrency/Log.h"

namespace quorel {

/// Whether a client's mistakes are told on the log stream. Only the command line clears it, before any other thread
/// exists.
extern bool verbose;

/// Writes one whole line to the log stream if `verbose` is set.
template <class... Parts>
void logLine(const Parts&... parts) {
  if (verbose) writeLine(std::clog, parts...);
}

/// The answer to a client's mistake: the line, and -1.
template <class... Parts>
int refuse(const Parts&... parts) {
  logLine(parts...);
  return -1;
}

}  // namespace quorel
