#pragma once

namespace quorel {

// The camera's motion from frame to frame, without a window. Distances in layout units, negative in front of the
// viewer; angles in degrees.

/// One frame of the zoom glide: a velocity v moves the camera by about v before it has died away.
void glideZoom(double& cameraDist, double& zoomVelocity);

/// One frame of the spin. A spin about y turns twice as fast as one about z.
void spinView(double& angleY, double& angleZ, double spinY, double spinZ, double seconds);

/// The next autozoom distance. The exponent makes the approach take the same time at any frame rate; a rate of 0 takes
/// the target at once. Nothing changes if the eigenvalue, the square of the graph's largest extent, is not a number.
double approachAutozoom(double autozoomDist, double fps, double largestEigenvalue);

/// The depth at which the camera stands.
float cameraDepth(double cameraDist, double autozoomDist);

/// A drag of (dx, dy) pixels, dy upward: across the whole viewport it turns the view once.
void dragView(double& angleX, double& angleY, int dx, int dy, int viewportWidth, int viewportHeight);

/// A key press toward one side: the first one against a spin to the other side stops it, further ones build up.
/// `direction` is -1 or 1.
double pressSpin(double spin, int direction);

}  // namespace quorel
