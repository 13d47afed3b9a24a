#pragma once

#include <cstdint>
#include <iosfwd>
#include <set>

namespace quorel {

class PTKey;

/// A point in a tree of attribute scopes: what is set at a version holds for all below it that set nothing themselves.
/// Threading:  written once; the keys' nodes stand under globalStyleLock.
/// Ownership:  the VersionTree's, for as long as that lives.
class Version {
public:
  Version(Version* above, PTKey& open, PTKey& close, std::uint32_t serial);

  /// Nothing is below it so far.
  bool isLeaf() const;

  /// Writes what can be reached from here as Graphviz statements, one a line; `visited` stops repetition.
  void debug_dump(std::ostream& out, std::set<void*>& visited);

  Version* const parent;      // null for the root
  PTKey* const first;         // open parenthesis
  PTKey* const last;          // close parenthesis
  const std::uint32_t index;  // counts the versions of one tree from 0, for tables indexed by version
};

}  // namespace quorel
