#include "concurrency/Timer.h"

#include <sys/time.h>

namespace quorel {

void Timer::start() {
  state = running;
  cpuStart = processorTime();
  wallStart = wallTime();
}

void Timer::stop() {
  cpuStop = processorTime();
  wallStop = wallTime();
  state = stopped;
}

double Timer::wallSeconds() const {
  return static_cast<double>((state == stopped ? wallStop : wallTime()) - wallStart);
}

double Timer::cpuSeconds() {
  return static_cast<double>((state == stopped ? cpuStop : processorTime()) - cpuStart);
}

long double Timer::processorTime() {
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec);
  const auto microseconds = static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
  return seconds + microseconds / 1000000.0;
}

long double Timer::wallTime() {
  timeval now;
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1000000.0;
}

}  // namespace quorel
