#pragma once

#include "TinyVector.h"

namespace quorel {

// First and second moments of the drawn vertices, and what the camera follows of them. Single precision.

/// The sums of one pass over the vertices. They become mean and covariance in place.
class FrameMoments {
public:
  FrameMoments(float (&covarianceSum)[3][3], TinyVector<float, 3>& meanSum);

  void add(const TinyVector<float, 3>& position);

  /// Turns the sums into the moments; without vertices they stay 0.
  void finish();

  int vertexCount() const { return count; }

private:
  float (&covariance)[3][3];
  TinyVector<float, 3>& mean;
  int count = 0;
};

/// Moves the centroid one frame toward the mean. A mean that is not finite, as from a vertex at no position, leaves it
/// alone: it would never be a number again.
void smoothCentroid(TinyVector<float, 3>& centroid, const TinyVector<float, 3>& mean);

/// Moves axes (one a column) and eigenvalues (ascending) one frame toward those of the covariance. They are left alone
/// if the covariance has none that are numbers.
void smoothAxes(float (&axes)[3][3], TinyVector<float, 3>& eigenvalues, const float (&covariance)[3][3]);

}  // namespace quorel
