#pragma once

#include "versioning/ChunkedVector.h"
#include "versioning/NumberedStore.h"
#include "versioning/PTKey.h"
#include "versioning/ParensTree.h"
#include "versioning/Version.h"

namespace quorel {

/// All versions of one kind of object. Versions of different trees are never mixed.
/// Threading:  under globalStyleLock.
/// Ownership:  a version, once made, stays as long as the tree; the program's own trees are never destroyed.
/// Cost:       a new version is two insertions into a treap.
class VersionTree {
public:
  VersionTree();

  /// Makes a child of `parent`; null means the root. Among siblings the later one comes first in the order.
  Version* newVersion(Version* parent);

  Version* root = nullptr;
  ParensTree tree{true};

private:
  Version* makeVersion(Version* parent);

  ChunkedVector<Version> versions;
  NumberedStore<PTKey> keys;
};

}  // namespace quorel
