#include "versioning/GlobalStyleLock.h"

#include "concurrency/Immortal.h"

namespace quorel {

namespace {

constinit Immortal<MultiLockable> lockRoom(10);

}  // namespace

constinit MultiLockable& globalStyleLock = lockRoom.object;

}  // namespace quorel
