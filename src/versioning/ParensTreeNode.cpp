#include "versioning/ParensTreeNode.h"

#include <ostream>

#include "versioning/PTKey.h"
#include "versioning/Version.h"

namespace quorel {

bool ParensTreeNode::isOpen() const {
  return key == key->version->first;
}

bool ParensTreeNode::isClose() const {
  return key == key->version->last;
}

void ParensTreeNode::debug_dump(std::ostream& out, std::set<void*>& visited) {
  if (!visited.insert(this).second) return;
  out << 'v' << this << " [label=\"ParensTreeNode\"]\n";
  const auto edge = [&]<class T>(ShortPointer<T> to, const char* attributes) {
    if (to == nullptr) return;
    out << 'v' << this << " -> v" << to << " [" << attributes << "]\n";
    to->debug_dump(out, visited);
  };
  // The children first: the whole tree is then visited by steps down and up, and the recursion stays as shallow as it.
  edge(child[0], "label=\"0\"");
  edge(child[1], "label=\"1\"");
  edge(up, "label=\"up\",constraint=false");
  edge(key, "label=\"key\",constraint=false");
  if (enclosing != nullptr) edge(enclosing->key, "label=\"enclosing\",constraint=false");
  edge(prev, "label=\"prev\",constraint=false");
  edge(next, "label=\"next\",constraint=false");
}

}  // namespace quorel
