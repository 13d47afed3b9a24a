#include "versioning/Version.h"

#include <ostream>

#include "versioning/PTKey.h"
#include "versioning/ParensTreeNode.h"

namespace quorel {

Version::Version(Version* above, PTKey& open, PTKey& close, std::uint32_t serial)
    : parent(above), first(&open), last(&close), index(serial) {
  open.version = this;
  close.version = this;
}

bool Version::isLeaf() const {
  return first->node->next == last->node;
}

void Version::debug_dump(std::ostream& out, std::set<void*>& visited) {
  if (!visited.insert(this).second) return;
  out << 'v' << this << " [label=\"Version\"]\n";
  if (parent != nullptr) {
    out << 'v' << parent << " -> v" << this << " [label=\"parent\",dir=\"back\"]\n";
    parent->debug_dump(out, visited);
  }
  for (PTKey* key : {first, last}) {
    out << 'v' << this << " -> v" << key << " [label=\"first\",constraint=false]\n";
    key->debug_dump(out, visited);
  }
}

}  // namespace quorel
