#pragma once

#include <cstdint>

#include "versioning/PTKey.h"
#include "versioning/ShortPointer.h"

namespace quorel {

/// One word that all pairs directly inside one version of a subset tree share: the open parenthesis of that version.
/// One write to it moves them all.
/// Threading:  under globalStyleLock.
/// Ownership:  made by its tree, never freed.
class ParensTreeCell {
public:
  explicit ParensTreeCell(PTKey* enclosingKey) : key(enclosingKey) {}

  ShortPointer<PTKey> key;
  std::uint32_t number = 0;
};

}  // namespace quorel
