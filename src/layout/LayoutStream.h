#pragma once

#include <list>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "concurrency/MultiLockable.h"
#include "layout/LayoutSnapshot.h"

namespace quorel {

/// The snapshots of a layout, oldest first. Nothing in the program takes snapshots yet: the list stays empty.
/// Threading: `snapshots` is used under this object's own lock.
class LayoutStream : public MultiLockable {
public:
  LayoutStream() : MultiLockable(0) {}

  std::list<boost::intrusive_ptr<LayoutSnapshot>> snapshots;
};

}  // namespace quorel
