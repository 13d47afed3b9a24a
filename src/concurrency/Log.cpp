#include "concurrency/Log.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <mutex>

#include "concurrency/Immortal.h"
#include "concurrency/LineBuffer.h"

namespace quorel {

namespace {

/// Bytes, the line end included. Two lines go into a pipe in one piece.
constexpr std::size_t longestLine = PIPE_BUF / 2;

/// One for all streams: they may lead to the same pipe.
constinit Immortal<std::mutex> linesLock;

/// C0 controls but the tab, and DEL.
bool isControl(unsigned char c) {
  return (c < 0x20 && c != '\t') || c == 0x7f;
}

/// C1 controls, as UTF-8 has them in two bytes.
bool isLateControl(unsigned char first, unsigned char second) {
  return first == 0xc2 && second >= 0x80 && second < 0xa0;
}

bool continuesCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

/// What a library has written to a stream of C, a line mostly. It is not ours to make printable.
ssize_t passOn(void* stream, const char* text, std::size_t size) {
  for (std::size_t begin = 0; begin < size; begin += longestLine) {
    writeLines(*static_cast<std::ostream*>(stream), {text + begin, std::min(longestLine, size - begin)});
  }
  return static_cast<ssize_t>(size);
}

/// A stream of C that ends in one of C++. A thread that waited for a reader would hold the stream's lock, and so stop all
/// others that write to it, and the end of the process.
FILE* streamInto(std::ostream& stream) {
  FILE* const made = fopencookie(&stream, "w", {.read = nullptr, .write = passOn, .seek = nullptr, .close = nullptr});
  if (made != nullptr) setvbuf(made, nullptr, _IOLBF, 0);
  return made;
}

}  // namespace

std::string printableLine(std::string_view text) {
  constexpr std::string_view cut = "...";
  std::string line;
  for (std::size_t i = 0; i < text.size() && line.size() <= longestLine; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (isLateControl(c, next)) ++i;
    line += isControl(c) || isLateControl(c, next) ? '?' : text[i];
  }
  if (line.size() >= longestLine) {
    std::size_t kept = longestLine - cut.size() - 1;
    while (kept > 0 && continuesCharacter(line[kept])) --kept;
    line.resize(kept);
    line += cut;
  }
  return line += '\n';
}

void writeLines(std::ostream& stream, std::string_view lines) {
  const std::lock_guard hold(linesLock.object);
  stream.write(lines.data(), static_cast<std::streamsize>(lines.size()));
  stream.flush();
}

void writeWithoutWaiting() {
  // A reader that has gone, or a file that may not grow, makes a write fail and no more.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // Never destroyed: the streams are still written to while the process ends.
  std::cout.rdbuf(new LineBuffer(STDOUT_FILENO));
  auto* const errors = new LineBuffer(STDERR_FILENO);
  std::cerr.rdbuf(errors);
  std::clog.rdbuf(errors);
  if (FILE* const made = streamInto(std::cout); made != nullptr) stdout = made;
  if (FILE* const made = streamInto(std::cerr); made != nullptr) stderr = made;
}

}  // namespace quorel
