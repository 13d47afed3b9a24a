#pragma once

#include <pthread.h>

#include <cstddef>

namespace quorel {

/// Reads a named value of the system into `value`; `*size` is the room there and becomes the size of what was
/// written. Known names: "hw.ncpu", an int, the processors that this process may run on. There is nothing that can be
/// set: `newValue` must be null. Returns 0, or -1 with `errno` set and nothing changed.
int sysctlbyname(const char* name, void* value, std::size_t* size, const void* newValue, std::size_t newSize);

/// The number of processors, 0 if the system does not tell.
int numProcessors();

/// Sets the scheduling priority of a thread under the policy it has. Returns 0 or an error number of
/// pthread_setschedparam: the time-sharing policy of Linux knows no priority but 0 and refuses the others.
int setThreadPriority(pthread_t thread, int priority);
int setCurrentThreadPriority(int priority);

/// Sleeps at least this long, less if a signal arrives.
void sleepMilliseconds(int milliseconds);

}  // namespace quorel
