#include "concurrency/Log.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "concurrency/LineBuffer.h"

namespace quorel {
namespace {

TEST(Log, noTextEndsItsLineEarlyOrSteersATerminal) {
  const std::pair<std::string, std::string> cases[] = {
      {"plain, with \"quotes\" and a\ttab", "plain, with \"quotes\" and a\ttab\n"},
      {"size\ntessarel: out of memory\r", "size?tessarel: out of memory?\n"},
      {"\033[2J and \x7f and \xc2\x9b"
       "2J",
       "?[2J and ? and ?2J\n"},
      {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80 \xc2\xa0",
       "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80 \xc2\xa0\n"},
      {"ends in \xc2", "ends in \xc2\n"},
      {"", "\n"},
  };
  for (const auto& [text, line] : cases) EXPECT_EQ(printableLine(text), line);
}

TEST(Log, aLongTextIsCutBetweenTwoCharacters) {
  const std::size_t longest = printableLine(std::string(100000, 'x')).size();
  for (const std::size_t before : {0, 1, 2}) {  // wherever the characters of three bytes come to stand
    std::string text(before, 'x');
    while (text.size() <= longest) text += "\xe2\x82\xac";
    const std::string line = printableLine(text);
    EXPECT_LE(line.size(), longest);
    EXPECT_GT(line.size(), longest - 3);
    EXPECT_EQ((line.size() - before - 4) % 3, 0U) << before;
    EXPECT_EQ(line.substr(line.size() - 4), "...\n");
  }
  const std::string fits(longest - 1, 'x');
  EXPECT_EQ(printableLine(fits), fits + '\n');
}

/// A stream that writes as the program's own do, and the other end.
class LogStream : public testing::Test {
protected:
  ~LogStream() override {
    close(ends[0]);
    closeWriter();
  }

  void openPipe() {
    ASSERT_EQ(pipe(ends), 0);
    stream.rdbuf(&buffer.emplace(ends[1]));
  }

  void openTerminal() {
    termios raw = {};
    cfmakeraw(&raw);
    ASSERT_EQ(openpty(&ends[0], &ends[1], nullptr, &raw, nullptr), 0);
    stream.rdbuf(&buffer.emplace(ends[1]));
  }

  void closeWriter() {
    buffer.reset();
    close(std::exchange(ends[1], -1));
  }

  /// All that has been written.
  std::string readNow() const {
    constexpr int quietMilliseconds = 50;  // a terminal hands over with a delay
    std::string text;
    pollfd more = {.fd = ends[0], .events = POLLIN, .revents = 0};
    while (poll(&more, 1, quietMilliseconds) == 1) text += read(1 << 16);
    return text;
  }

  int unread() const {
    int bytes = 0;
    ioctl(ends[0], FIONREAD, &bytes);
    return bytes;
  }

  /// The next bytes, waiting for them; none if there is no writer any more.
  std::string read(std::size_t most) const {
    std::string bytes(most, '\0');
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(::read(ends[0], bytes.data(), most), 0)));
    return bytes;
  }

  static std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream from(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(from, line);) lines.push_back(line);
    return lines;
  }

  /// The number in "tessarel: ... lines dropped", 0 for any other line.
  static int droppedBy(const std::string& line) {
    int count = 0;
    int end = 0;
    std::sscanf(line.c_str(), "tessarel: %d lines dropped%n", &count, &end);
    return end > 0 ? count : 0;
  }

  int ends[2] = {-1, -1};
  std::optional<LineBuffer> buffer;
  std::ostream stream{nullptr};
};

TEST_F(LogStream, whatNobodyReadsIsDroppedAndCountedAndTheFirstLinesStay) {
  openPipe();
  constexpr int written = 100000;  // hangs, if a line waits for a reader
  for (int i = 0; i < written; i += 2) writeLines(stream, lineOf("line ", i) + lineOf("line ", i + 1));
  const std::vector<std::string> kept = linesOf(readNow());
  ASSERT_GT(kept.size(), 1000U);
  for (std::size_t i = 0; i < kept.size(); ++i) ASSERT_EQ(kept[i], "line " + std::to_string(i));
  for (const char* const line : {"room again", "and on"}) writeLine(stream, line);
  const std::string notice = "tessarel: " + std::to_string(written - kept.size()) + " lines dropped\n";
  EXPECT_EQ(readNow(), notice + "room again\nand on\n");
}

TEST_F(LogStream, aTerminalThatStandsStillHoldsUpNobody) {
  openTerminal();
  for (int i = 0; i < 100000; ++i) writeLine(stream, "line ", i);
  EXPECT_EQ(readNow().substr(0, 14), "line 0\nline 1\n");
  writeLine(stream, "room again");
  // The system fetches lines from a terminal while others are written, so there may be more than one loss by now.
  const std::vector<std::string> lines = linesOf(readNow());
  ASSERT_GE(lines.size(), 2U);
  EXPECT_GT(droppedBy(lines[lines.size() - 2]), 0);
  EXPECT_EQ(lines.back(), "room again");
}

TEST_F(LogStream, whoNeverReadsAnyMoreDoesNotMakeTheStreamBad) {
  openPipe();
  std::signal(SIGPIPE, SIG_IGN);
  close(std::exchange(ends[0], -1));
  writeLine(stream, "into nothing");
  EXPECT_TRUE(stream.good());
}

TEST_F(LogStream, ofManyThreadsWithASlowReaderEachPairOfLinesIsWholeAndInOrderOrCounted) {
  openPipe();
  constexpr int threads = 4;
  constexpr int pairs = 45000;  // more than a pipe takes, of each thread
  std::atomic<bool> full = false;
  std::string text;
  std::thread reader([this, &text, &full] {
    full.wait(false);
    for (std::string more = read(5000); !more.empty(); more = read(5000)) {
      text += more;
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
  });
  std::vector<std::thread> writers;
  for (int t = 0; t < threads; ++t) {
    writers.emplace_back([this, t, &full] {
      for (int i = 0; i < pairs; ++i) {
        writeLines(stream, lineOf("line ", t, ' ', i) + lineOf("twin ", t, ' ', i));
      }
      full = true;
      full.notify_one();
    });
  }
  for (std::thread& writer : writers) writer.join();
  while (unread() > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  writeLine(stream, "the end");  // with it comes what was dropped last
  closeWriter();
  reader.join();

  const std::vector<std::string> lines = linesOf(text);
  ASSERT_EQ(lines.back(), "the end");
  int next[threads] = {};
  int told = 0;
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    told += droppedBy(lines[i]);
    if (droppedBy(lines[i]) > 0) continue;
    int t = 0;
    int number = 0;
    ASSERT_EQ(std::sscanf(lines[i].c_str(), "line %d %d", &t, &number), 2) << lines[i];
    ASSERT_EQ(lines[i + 1], "twin" + lines[i].substr(4));
    ++i;
    ASSERT_GE(number, std::exchange(next[t], number + 1));
    told += 2;
  }
  EXPECT_LT(lines.size(), 2 * threads * pairs) << "the reader was not too slow";
  EXPECT_EQ(told, 2 * threads * pairs);
}

}  // namespace
}  // namespace quorel
