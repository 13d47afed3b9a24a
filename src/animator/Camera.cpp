#include "animator/Camera.h"

#include <algorithm>
#include <cmath>

namespace quorel {

namespace {

/// What a press of a spin key adds, degrees a second.
constexpr double spinStep = 0.5;
/// Distance over the root of the largest eigenvalue. A larger one shows the graph smaller.
constexpr double autozoomFactor = 2.5;

}  // namespace

void glideZoom(double& cameraDist, double& zoomVelocity) {
  cameraDist += zoomVelocity / 10.0;
  zoomVelocity *= 0.9;
}

void spinView(double& angleY, double& angleZ, double spinY, double spinZ, double seconds) {
  angleY += 2.0 * seconds * spinY;
  angleZ += seconds * spinZ;
}

double approachAutozoom(double autozoomDist, double fps, double largestEigenvalue) {
  if (std::isnan(largestEigenvalue)) return autozoomDist;
  // Rounding can leave the eigenvalue of a graph in one point slightly below zero.
  const double target = -autozoomFactor * std::sqrt(std::max(largestEigenvalue, 0.0));
  const double kept = std::pow(0.95, 20.0 / fps);
  return kept * autozoomDist + (1.0 - kept) * target;
}

float cameraDepth(double cameraDist, double autozoomDist) {
  return static_cast<float>(cameraDist + autozoomDist);
}

void dragView(double& angleX, double& angleY, int dx, int dy, int viewportWidth, int viewportHeight) {
  // A window can be as narrow as nothing.
  const float width = static_cast<float>(std::max(viewportWidth, 1));
  const float height = static_cast<float>(std::max(viewportHeight, 1));
  angleY -= static_cast<float>(dx) / width * 360.0F;
  angleX += static_cast<float>(dy) / height * 360.0F;
}

double pressSpin(double spin, int direction) {
  return spin * direction < 0.0 ? 0.0 : spin + direction * spinStep;
}

}  // namespace quorel
