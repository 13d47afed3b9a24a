#include "versioning/VersionTree.h"

#include "versioning/Arena.h"

namespace quorel {

VersionTree::VersionTree() {
  root = makeForEver<Version>(nullptr, versionCount++);
  tree.init(root);
}

Version* VersionTree::newVersion(Version* parent) {
  if (parent == nullptr) parent = root;
  auto* const version = makeForEver<Version>(parent, versionCount++);
  tree.insertAfter(parent->first->node, version->first);
  tree.insertAfter(version->first->node, version->last);
  return version;
}

}  // namespace quorel
