#pragma once

#include <cstddef>
#include <ios>
#include <streambuf>

namespace quorel {

/// Hands lines to a file descriptor at once, and drops and counts them where that would mean waiting: nobody may read the
/// other end. How many were dropped is told by a line of its own, before the next that gets through.
/// Invariants: (1) what one `sputn` hands over goes out in one piece or not at all; a terminal may take a part, which then
///                 stands on a line by itself and counts as dropped;
///             (2) the calling thread never waits for a reader.
/// Threading:  no lock of its own; `writeLines` has one for all streams.
/// Ownership:  the descriptor handed in is not closed.
/// Cost:       two system calls a line.
class LineBuffer final : public std::streambuf {
public:
  /// A pipe is widened to what the system allows, 1 MiB mostly: so much may be unread before lines are dropped.
  explicit LineBuffer(int fileDescriptor);
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;
  ~LineBuffer() override;

protected:
  /// At most `PIPE_BUF` bytes; only these go into a pipe in one piece. What is dropped counts as written, or the stream
  /// would be bad from then on.
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int_type overflow(int_type character) override;

private:
  /// Whether all of it went out.
  bool send(const char* text, std::size_t size);

  int given;
  int descriptor;
  long dropped = 0;  // since a line got through
  bool cut = false;  // the last that went out was a part of a line
};

}  // namespace quorel
