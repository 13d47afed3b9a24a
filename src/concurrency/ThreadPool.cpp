#include "concurrency/ThreadPool.h"

#include "concurrency/Job.h"

namespace quorel {

template class ThreadPool<Job>;

}  // namespace quorel
