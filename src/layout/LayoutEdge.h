#pragma once

#include <cstdint>

#include "TinyVector.h"
#include "versioning/EdgeStyle.h"

namespace quorel {

class Version;

/// The root of the edge versions; the handle from which every new edge starts follows it.
inline EdgeStyle globalEdgeStyle;

/// Layout payload of an edge: a style and the attribute values that the force loop reads.
/// Threading: the cached fields are written by the tree build alone, under the layout's lock and globalStyleLock.
class LayoutEdge {
public:
  EdgeStyle style = EdgeStyle::following(globalEdgeStyle);
  /// The edge is drawn through knots: its chain carries the force, and its own spring is switched off.
  bool hasKnots = false;
  bool oriented = false;
  float strength = 1.0F;
  TinyVector<float, 3> orientation{0.0F, 1.0F, 0.0F};
  /// Index in the arrays of the layout; means nothing once the graph has changed.
  std::uint32_t ordinal = 0;
  /// Version at which the cached fields were last read; null before the first time. Only compared, never followed.
  const Version* refreshedVersion = nullptr;
};

}  // namespace quorel
