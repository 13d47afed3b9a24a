#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace quorel {

/// Bytes of requests that may be worked on at a time, handed out in the order of arrival. One that is larger than the whole
/// budget is worked on alone.
/// Threading: any thread; nobody asks for more while holding some.
class ByteBudget {
public:
  explicit ByteBudget(std::size_t total) : left(total), full(total) {}

  /// Holds its share as long as it lives.
  class Share {
  public:
    Share(ByteBudget& from, std::size_t wanted);
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share();

  private:
    ByteBudget& budget;
    std::size_t bytes;
  };

private:
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::size_t left;
  const std::size_t full;
  std::uint64_t nextTicket = 0;
  std::uint64_t serving = 0;
};

}  // namespace quorel
