#pragma once

namespace quorel {

// What the frame loop decides from a few numbers, without a window.

/// Seconds after its last motion at which a graph stops stepping.
inline constexpr double settleSeconds = 10.0;

/// Whether this frame advances the simulation.
bool decideStep(bool paused, double settledSeconds, int vertexCount);

/// The next value of the filtered signal that nothing moves.
double filterStillness(double stillness, double maxSpeed);

/// Whether a stillness is high enough to let the settle timer run on.
bool isStill(double stillness);

/// Whether the graph has been still for long; an empty one need not wait.
bool isLongStill(double settledSeconds, int vertexCount);

/// Whether the frames may slow down: no glide of the camera, no input for a while, and nothing has moved for long.
bool decideIdle(double spinY, double spinZ, double zoomVelocity, double inputSeconds, bool longStill);

/// The next value of the moving average of the frame rate, clamped to 5 to 40, that sets the facets of round solids.
double filterDetail(double detail, double fps);

/// Whole milliseconds to sleep at the end of a frame of this age. A frame that steps is never held back.
int pacingMilliseconds(bool step, double frameMilliseconds);

}  // namespace quorel
