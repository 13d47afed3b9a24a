#pragma once

#include <cstdint>

#include "TinyVector.h"
#include "versioning/VertexStyle.h"

namespace quorel {

class Version;

/// Layout payload of a vertex: a particle, a style and the attribute values that the force loop reads.
/// Threading: `charge` is written by the tree build alone, under the layout's lock and globalStyleLock; the workers of
///            a step read it freely. `finishedAcceleration` is written by the last phase of a step alone, so that a
///            picture drawn beside the earlier phases may read it.
template <class Particle>
class Layoutable : public Particle {
public:
  /// Index in the arrays of the layout; means nothing once the graph has changed.
  std::uint32_t ordinal = 0;
  /// Version at which `charge` was last read; null before the first time. Only compared, never followed.
  const Version* refreshedVersion = nullptr;
  VertexStyle style = globalDefaultStyle;
  /// Cached `charge` attribute; refreshed at each tree build.
  float charge = 1.0F;
  /// `acceleration` at the end of the last finished step.
  TinyVector<float, 3> finishedAcceleration;

  /// The root of the vertex versions, and the handle from which every new vertex starts.
  static inline VertexStyle globalOriginalStyle;
  static inline VertexStyle globalDefaultStyle = VertexStyle::following(VertexStyle());
};

}  // namespace quorel
