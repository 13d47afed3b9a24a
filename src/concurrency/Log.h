#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

namespace quorel {

// Every line that the program writes goes through here: to `std::clog` a client's mistakes, to `std::cerr` what is wrong
// otherwise, to `std::cout` what the program tells by itself.

/// From now on none of these streams, and none of C's under which libraries write, makes a thread wait for whoever reads
/// it; see `LineBuffer`. Called once, before any other thread exists.
void writeWithoutWaiting();

/// The text as one line with its end. What would end the line early or steer a terminal becomes "?", since text may come
/// from a client; what is too long is cut and ends in "...".
std::string printableLine(std::string_view text);

/// One such line of several parts.
template <class... Parts>
std::string lineOf(const Parts&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  return printableLine(text.view());
}

/// Writes whole lines, two of the longest at most: those of one call stand together, whoever else writes. Any thread, under
/// any lock.
void writeLines(std::ostream& stream, std::string_view lines);

template <class... Parts>
void writeLine(std::ostream& stream, const Parts&... parts) {
  writeLines(stream, lineOf(parts...));
}

}  // namespace quorel
