#include "concurrency/LineBuffer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <climits>
#include <string>

namespace quorel {

namespace {

/// The most that Linux gives to a process without privileges, unless it is set up otherwise.
constexpr int pipeBytes = 1 << 20;

/// The same pipe or terminal, opened anew so that writing to it never waits. The descriptor itself cannot be told so: whoever
/// started the program shares it. The same descriptor for all else, and where the system does not allow it.
int withoutWaiting(int given) {
  struct stat about = {};
  if (fstat(given, &about) != 0 || (!S_ISFIFO(about.st_mode) && isatty(given) == 0)) return given;
  const std::string path = "/proc/self/fd/" + std::to_string(given);
  const int own = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  return own >= 0 ? own : given;
}

}  // namespace

LineBuffer::LineBuffer(int fileDescriptor) : given(fileDescriptor), descriptor(withoutWaiting(fileDescriptor)) {
  // Fails on all but pipes, and where the user has too many of them: then it stays as it is.
  fcntl(descriptor, F_SETPIPE_SZ, pipeBytes);
}

LineBuffer::~LineBuffer() {
  if (descriptor != given) close(descriptor);
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize size) {
  assert(size <= PIPE_BUF);
  if (dropped > 0) {
    const std::string notice =
        std::string(cut ? "\n" : "") + "tessarel: " + std::to_string(dropped) + " lines dropped\n";
    if (send(notice.data(), notice.size())) dropped = 0;
  }
  if (dropped > 0 || !send(text, static_cast<std::size_t>(size))) dropped += std::count(text, text + size, '\n');
  return size;
}

LineBuffer::int_type LineBuffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  const char text = traits_type::to_char_type(character);
  xsputn(&text, 1);
  return character;
}

bool LineBuffer::send(const char* text, std::size_t size) {
  // A pipe that says yes has room for PIPE_BUF bytes: the question is of use where the descriptor is the one handed in.
  pollfd room = {.fd = descriptor, .events = POLLOUT, .revents = 0};
  if (poll(&room, 1, 0) != 1 || (room.revents & POLLOUT) == 0) return false;
  const ssize_t sent = write(descriptor, text, size);
  const bool all = sent == static_cast<ssize_t>(size);
  if (sent > 0) cut = !all;
  return all;
}

}  // namespace quorel
