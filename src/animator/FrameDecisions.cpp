#include "animator/FrameDecisions.h"

#include <algorithm>

namespace quorel {

namespace {

/// Speed, in layout units a unit of layout time, below which a vertex counts as still.
constexpr double stillSpeed = 0.05;
/// Reached three still frames after a reset. A higher one makes a graph step longer after a short twitch.
constexpr double stillThreshold = 0.1;
constexpr double emptySettleSeconds = 1.0;
constexpr double inputSecondsBeforeIdle = 2.0;
/// On the sum of the squared camera speeds.
constexpr double glideThreshold = 0.0001;
/// A frame that does not step takes this long: at most 50 a second.
constexpr double frameMillisecondsWithoutStep = 20.0;

}  // namespace

bool decideStep(bool paused, double settledSeconds, int vertexCount) {
  return !paused && settledSeconds < settleSeconds && vertexCount > 0;
}

double filterStillness(double stillness, double maxSpeed) {
  return 0.95 * stillness + (maxSpeed < stillSpeed ? 0.05 : 0.0);
}

bool isStill(double stillness) {
  return stillness > stillThreshold;
}

bool isLongStill(double settledSeconds, int vertexCount) {
  return settledSeconds > settleSeconds || (vertexCount == 0 && settledSeconds > emptySettleSeconds);
}

bool decideIdle(double spinY, double spinZ, double zoomVelocity, double inputSeconds, bool longStill) {
  const double glide = spinY * spinY + spinZ * spinZ + zoomVelocity * zoomVelocity;
  return glide <= glideThreshold && inputSeconds > inputSecondsBeforeIdle && longStill;
}

double filterDetail(double detail, double fps) {
  const double gain = fps < 5.0 ? 0.05 : fps > 40.0 ? 0.4 : fps * 0.01;
  return 0.99 * detail + gain;
}

int pacingMilliseconds(bool step, double frameMilliseconds) {
  // A clock that is set back makes a frame take less than no time.
  const double left = std::clamp(frameMillisecondsWithoutStep - frameMilliseconds, 0.0, frameMillisecondsWithoutStep);
  return step ? 0 : static_cast<int>(left);
}

}  // namespace quorel
