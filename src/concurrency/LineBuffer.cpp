#include "concurrency/LineBuffer.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <climits>
#include <string>

namespace quorel {

namespace {

/// The most that Linux gives to a process without privileges, unless it is set up otherwise.
constexpr int pipeBytes = 1 << 20;

}  // namespace

LineBuffer::LineBuffer(int fileDescriptor) : descriptor(fileDescriptor) {
  // Fails on all but pipes, and where the user has too many of them: then it stays as it is.
  fcntl(descriptor, F_SETPIPE_SZ, pipeBytes);
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize size) {
  assert(size <= PIPE_BUF);
  if (dropped > 0) {
    const std::string notice = "tessarel: " + std::to_string(dropped) + " lines dropped\n";
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

bool LineBuffer::send(const char* text, std::size_t size) const {
  // The descriptor may be shared with whoever started the program, so it is asked each time and not made non-blocking. A
  // pipe that says yes has room for PIPE_BUF bytes.
  pollfd room = {.fd = descriptor, .events = POLLOUT, .revents = 0};
  if (poll(&room, 1, 0) != 1 || (room.revents & POLLOUT) == 0) return false;
  return write(descriptor, text, size) == static_cast<ssize_t>(size);
}

}  // namespace quorel
