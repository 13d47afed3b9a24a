#include "concurrency/Log.h"

#include <gtest/gtest.h>
#include <poll.h>
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

  void SetUp() override {
    ASSERT_EQ(pipe(ends), 0);
    stream.rdbuf(&buffer.emplace(ends[1]));
  }

  void closeWriter() {
    buffer.reset();
    close(std::exchange(ends[1], -1));
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

TEST_F(LogStream, whoNeverReadsAnyMoreDoesNotMakeTheStreamBad) {
  std::signal(SIGPIPE, SIG_IGN);
  close(std::exchange(ends[0], -1));
  writeLine(stream, "into nothing");
  EXPECT_TRUE(stream.good());
}

TEST_F(LogStream, ofManyThreadsEachPairOfLinesIsWholeAndInOrderOrCountedThoughNobodyReadsForLong) {
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
  pollfd room = {.fd = ends[1], .events = POLLOUT, .revents = 0};
  poll(&room, 1, -1);
  writeLine(stream, "the end");  // with it comes what was dropped last
  closeWriter();
  reader.join();

  const std::vector<std::string> lines = linesOf(text);
  ASSERT_EQ(lines.back(), "the end");
  int next[threads] = {};
  int told = 0;
  std::size_t firstLoss = 0;
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    told += droppedBy(lines[i]);
    if (droppedBy(lines[i]) > 0) {
      if (firstLoss == 0) firstLoss = i;
      continue;
    }
    int t = 0;
    int number = 0;
    ASSERT_EQ(std::sscanf(lines[i].c_str(), "line %d %d", &t, &number), 2) << lines[i];
    ASSERT_EQ(lines[i + 1], "twin" + lines[i].substr(4));
    ASSERT_TRUE(firstLoss == 0 ? number == next[t] : number >= next[t]) << lines[i];
    next[t] = number + 1;
    told += 2;
    ++i;
  }
  EXPECT_GT(firstLoss, 1000U) << "the first lines stay";
  EXPECT_EQ(told, 2 * threads * pairs);
}

}  // namespace
}  // namespace quorel
