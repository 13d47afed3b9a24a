#include "versioning/PTKey.h"

#include <ostream>

#include "versioning/ParensTreeNode.h"
#include "versioning/ParensTreePath.h"
#include "versioning/Version.h"

namespace quorel {

int compare(const PTKey* a, const PTKey* b) {
  if (a->node == b->node) return 0;
  return compare(ParensTreePath(a->node), ParensTreePath(b->node));
}

void PTKey::debug_dump(std::ostream& out, std::set<void*>& visited) {
  if (!visited.insert(this).second) return;
  out << 'v' << this << " [label=\"PTKey\"]\n";
  out << 'v' << this << " -> v" << version << '\n';
  version->debug_dump(out, visited);
  if (node == nullptr) return;
  out << 'v' << this << " -> v" << node << '\n';
  node->debug_dump(out, visited);
}

}  // namespace quorel
