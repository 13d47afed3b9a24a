#include "animator/EdgeGeometry.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "animator/VertexGeometry.h"

namespace quorel {

namespace {

constexpr double degreesPerRadian = 57.29577951308232;
/// Length of an arrow of `length` 1, in layout units.
constexpr double arrowUnit = 0.1;

TinyVector<double, 3> widened(const TinyVector<float, 3>& v) {
  return {double{v[0]}, double{v[1]}, double{v[2]}};
}

}  // namespace

TinyVector<float, 3> strainColour(double length, double meanLength) {
  const double strain = length / meanLength - 1.0;
  const double white = std::max(1.0 - 3.0 * std::abs(strain), 0.0);
  const double red = white + std::min(std::max(strain, 0.0), 1.0);
  const double blue = white + std::min(std::max(-3.0 * strain, 0.0), 1.0);
  return {static_cast<float>(red), static_cast<float>(white), static_cast<float>(blue)};
}

double meanEdgeLength(double lengthSum, int edgeCount, double lastMean) {
  const double mean = lengthSum / edgeCount;
  // Also kept away: edges that all have no length, or none that is a number.
  return mean > 0.0 && std::isfinite(mean) ? mean : lastMean;
}

Arrow arrowGeometry(const TinyVector<float, 3>& p, const TinyVector<float, 3>& q, double sourceSize, double targetSize,
                    const ArrowStyle& style) {
  const TinyVector<double, 3> start = widened(p);
  const TinyVector<double, 3> line = widened(q) - start;
  const double lineLength = length(line);
  const double sourceRadius = vertexRadius(sourceSize);
  const double freeLength = lineLength - sourceRadius - vertexRadius(targetSize);
  const double arrowLength = std::min(style.length * arrowUnit, freeLength);
  const double base = (freeLength - arrowLength) * style.position + sourceRadius;
  const TinyVector<double, 3> direction = (1.0 / lineLength) * line;

  Arrow arrow;
  arrow.base = start + base * direction;
  arrow.tip = start + (base + arrowLength) * direction;
  if (style.reverse) std::swap(arrow.base, arrow.tip);
  arrow.radius = std::abs(arrowLength) * style.radius * 0.5;
  arrow.drawable = isFinite(arrow.base) && isFinite(arrow.tip) && arrow.base != arrow.tip;
  return arrow;
}

Turn turnFromZ(const TinyVector<double, 3>& d) {
  const double across = std::hypot(d[0], d[1]);
  // Along -z any axis across will do.
  if (across == 0.0) return {d[2] < 0.0 ? 180.0 : 0.0, {1.0, 0.0, 0.0}};
  return {std::atan2(across, d[2]) * degreesPerRadian, {-d[1] / across, d[0] / across, 0.0}};
}

}  // namespace quorel
