#pragma once

#include <span>
#include <string_view>

#include "TinyVector.h"
#include "versioning/VertexStyleDefns.h"

class GLUnurbs;

namespace quorel {

// What OpenGL is asked to draw, piece by piece, in the modelview of the moment. The main thread only.
//
// Everything is lit, lines and text included, and a line has no normal of its own. Each piece sets the normal that it
// needs, so that no piece looks different for what was drawn before it.

/// Puts a normal in force that lights a line with exactly the current colour: the scene's ambient 0.2 and a diffuse
/// 0.8.
void useLineNormal();

/// One segment in the current colour.
void drawLine(const TinyVector<float, 3>& p, const TinyVector<float, 3>& q);

/// A tube, or cone if a radius is 0, from p with radius r0 to q with radius r1; `cap` closes it at p. The GLU objects
/// behind it are made once and kept.
void drawCylinder(const TinyVector<double, 3>& p, const TinyVector<double, 3>& q, double r0, double r1, int slices,
                  int stacks, bool cap);

/// Moves the modelview so that its z axis runs from p toward q. Returns their distance, in single precision so that
/// cylinders of one length are one shape wherever they stand.
float alignWithZ(const TinyVector<double, 3>& p, const TinyVector<double, 3>& q);

/// A cylinder along the z axis from the origin.
void drawCylinderAlongZ(float r0, float r1, float height, int slices, int stacks, bool cap);

/// The solid of a vertex of radius s, about the origin. An unknown shape is a sphere.
void drawSolid(VertexStyleDefns::Shape shape, double s, int detail);

/// A NURBS curve of order 4 through the hull of four points. Not for points that are not finite: the curve is cut into
/// pieces by its length on the screen.
void drawCurve(GLUnurbs* nurbs, std::span<const TinyVector<float, 3>, 4> points);

/// Text at a point of the scene, one character a byte. The colour is the emission alone: the text faces away from the
/// light and its own colour, which is left behind as the current one, is black.
void drawBitmapText(std::string_view text, void* font, const TinyVector<float, 3>& colour,
                    const TinyVector<float, 3>& position);

}  // namespace quorel
