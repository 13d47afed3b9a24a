#pragma once

#include "TinyVector.h"

namespace quorel {

// How an edge looks, from a few numbers and without a window.

/// White at the mean length, toward red where stretched, and three times as fast toward blue where compressed.
TinyVector<float, 3> strainColour(double length, double meanLength);

/// The mean length of the edges of a pass that show strain. Where no edge did, the last good mean holds.
double meanEdgeLength(double lengthSum, int edgeCount, double lastMean);

struct ArrowStyle {
  double position = 0.5;  ///< 0 is against the source vertex, 1 against the target
  double length = 1.0;
  double radius = 1.0;
  bool reverse = false;
};

/// A cone on the line of its edge.
struct Arrow {
  TinyVector<double, 3> base;
  TinyVector<double, 3> tip;
  double radius = 0.0;
  /// False where the line has no direction, or none that is a number: nothing can be drawn then.
  bool drawable = false;
};

/// The arrow of an edge from p to q between vertices of these sizes. It keeps to the part of the line outside the two
/// vertices; where they overlap that part is negative, and the cone lies in the overlap and points back.
Arrow arrowGeometry(const TinyVector<float, 3>& p, const TinyVector<float, 3>& q, double sourceSize, double targetSize,
                    const ArrowStyle& style);

/// A turn by `degrees` about `axis`, a unit vector.
struct Turn {
  double degrees = 0.0;
  TinyVector<double, 3> axis{0.0, 1.0, 0.0};
};

/// The turn that takes the z axis, along which GLU builds its cylinders, to direction d of length > 0.
Turn turnFromZ(const TinyVector<double, 3>& d);

}  // namespace quorel
