#pragma once

#include <sys/resource.h>

namespace quorel {

/// Stop watch for wall-clock time and for the processor time of the whole process.
/// Threading:  none of its own; an object belongs to one thread.
/// Units:      seconds.
class Timer {
public:
  void start();
  void stop();

  /// Wall-clock seconds from the start to the stop, or to now while it has not been stopped.
  double wallSeconds() const;

  /// Processor seconds, user plus system, over the same time.
  double cpuSeconds();

private:
  enum State { neverStarted, running, stopped };

  long double processorTime();
  static long double wallTime();

  int state = neverStarted;
  struct rusage usage = {};  // scratch space of a reading
  long double cpuStart = 0;
  long double cpuStop = 0;
  long double wallStart = 0;
  long double wallStop = 0;
};

}  // namespace quorel
