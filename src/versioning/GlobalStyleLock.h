#pragma once

#include "concurrency/MultiLockable.h"

namespace quorel {

/// Guards every version, every attribute value and every cache of values, for reading too. It is the last in the lock
/// order, can be taken by static initialisers and outlives every thread.
extern MultiLockable& globalStyleLock;

}  // namespace quorel
