#include "versioning/VersionTree.h"

namespace quorel {

VersionTree::VersionTree() {
  root = makeVersion(nullptr);
  tree.init(root);
}

Version* VersionTree::newVersion(Version* parent) {
  if (parent == nullptr) parent = root;
  Version* const version = makeVersion(parent);
  tree.insertAfter(parent->first->node, version->first);
  tree.insertAfter(version->first->node, version->last);
  return version;
}

Version* VersionTree::makeVersion(Version* parent) {
  PTKey& open = keys.make();
  PTKey& close = keys.make();
  return &versions.emplace_back(parent, open, close, versions.size());
}

}  // namespace quorel
