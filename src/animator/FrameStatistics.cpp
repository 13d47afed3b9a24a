#include "animator/FrameStatistics.h"

#include <cmath>

#include "layout/SymmetricEigen.h"

namespace quorel {

FrameMoments::FrameMoments(float (&covarianceSum)[3][3], TinyVector<float, 3>& meanSum)
    : covariance(covarianceSum), mean(meanSum) {
  for (auto& row : covariance) {
    for (float& element : row) element = 0.0F;
  }
  mean = TinyVector<float, 3>();
}

void FrameMoments::add(const TinyVector<float, 3>& position) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) covariance[i][j] += position[i] * position[j];
  }
  mean += position;
  ++count;
}

void FrameMoments::finish() {
  if (count == 0) return;
  const float reciprocal = 1.0F / static_cast<float>(count);
  mean *= reciprocal;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) covariance[i][j] = covariance[i][j] * reciprocal - mean[i] * mean[j];
  }
}

void smoothCentroid(TinyVector<float, 3>& centroid, const TinyVector<float, 3>& mean) {
  if (isFinite(mean)) centroid = 0.99F * centroid + 0.01F * mean;
}

void smoothAxes(float (&axes)[3][3], TinyVector<float, 3>& eigenvalues, const float (&covariance)[3][3]) {
  float vectors[3][3];
  float values[3];
  float scratch[3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) vectors[i][j] = covariance[i][j];
  }
  tred2(vectors, values, scratch);
  tql2(vectors, values, scratch);
  for (int i = 0; i < 3; ++i) {
    if (!std::isfinite(values[i])) return;
    for (int j = 0; j < 3; ++j) {
      if (std::isnan(vectors[i][j])) return;
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) axes[i][j] = 0.95F * axes[i][j] + 0.05F * vectors[i][j];
    eigenvalues[i] = 0.95F * eigenvalues[i] + 0.05F * values[i];
  }
}

}  // namespace quorel
