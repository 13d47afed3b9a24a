#include "animator/Primitives.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <cmath>

#include "animator/EdgeGeometry.h"

namespace quorel {

namespace {

using Shape = VertexStyleDefns::Shape;

void drawScaled(double factor, void (*draw)()) {
  const auto f = static_cast<float>(factor);
  glPushMatrix();
  glScalef(f, f, f);
  draw();
  glPopMatrix();
}

void setEmission(float red, float green, float blue) {
  const float emission[4] = {red, green, blue, 1.0F};
  glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, emission);
}

}  // namespace

void useLineNormal() {
  // At acos(0.8) from the light's direction (1, 1, 1), turned toward +y: the view from which such a line gleams lies
  // nearly overhead, where a spinning camera does not come by.
  static const TinyVector<float, 3> normal = [] {
    const double toLight = 0.8 / std::sqrt(3.0);
    const double across = 0.6 / std::sqrt(6.0);
    return TinyVector<float, 3>(static_cast<float>(toLight - across), static_cast<float>(toLight + 2.0 * across),
                                static_cast<float>(toLight - across));
  }();
  glNormal3fv(normal.data());
}

void drawLine(const TinyVector<float, 3>& p, const TinyVector<float, 3>& q) {
  useLineNormal();
  glBegin(GL_LINES);
  glVertex3fv(p.data());
  glVertex3fv(q.data());
  glEnd();
}

void drawCylinder(const TinyVector<double, 3>& p, const TinyVector<double, 3>& q, double r0, double r1, int slices,
                  int stacks, bool cap) {
  glPushMatrix();
  const float height = alignWithZ(p, q);
  drawCylinderAlongZ(static_cast<float>(r0), static_cast<float>(r1), height, slices, stacks, cap);
  glPopMatrix();
}

float alignWithZ(const TinyVector<double, 3>& p, const TinyVector<double, 3>& q) {
  const TinyVector<double, 3> d = q - p;
  const Turn turn = turnFromZ(d);
  glTranslated(p[0], p[1], p[2]);
  glRotated(turn.degrees, turn.axis[0], turn.axis[1], turn.axis[2]);
  return static_cast<float>(length(d));
}

void drawCylinderAlongZ(float r0, float r1, float height, int slices, int stacks, bool cap) {
  static GLUquadric* const tube = gluNewQuadric();
  static GLUquadric* const disk = gluNewQuadric();
  gluCylinder(tube, r0, r1, height, slices, stacks);
  if (cap) gluDisk(disk, 0.0, r0, slices, 1);
}

void drawSolid(VertexStyleDefns::Shape shape, double s, int detail) {
  switch (shape) {
    case Shape::none:
      break;
    case Shape::cone:
      glutSolidCone(s, s, detail, detail);
      break;
    case Shape::torus:
      glutSolidTorus(0.3 * s, 0.5 * s, detail, detail);
      break;
    case Shape::tetrahedron:
      drawScaled(s / std::sqrt(3.0), glutSolidTetrahedron);
      break;
    case Shape::cube:
      glutSolidCube(s);
      break;
    case Shape::octahedron:
      drawScaled(s, glutSolidOctahedron);
      break;
    case Shape::dodecahedron:
      drawScaled(s / std::sqrt(3.0), glutSolidDodecahedron);
      break;
    case Shape::icosahedron:
      drawScaled(s, glutSolidIcosahedron);
      break;
    case Shape::sphere:
    default:
      glutSolidSphere(s, detail, detail);
      break;
  }
}

void drawCurve(GLUnurbs* nurbs, std::span<const TinyVector<float, 3>, 4> points) {
  constexpr int order = 4;
  float knots[2 * order] = {0.0F, 0.0F, 0.0F, 0.0F, 1.0F, 1.0F, 1.0F, 1.0F};
  float coordinates[order][3];
  for (int i = 0; i < order; ++i) {
    for (int j = 0; j < 3; ++j) coordinates[i][j] = points[i][j];
  }
  useLineNormal();
  gluBeginCurve(nurbs);
  gluNurbsCurve(nurbs, 2 * order, knots, 3, coordinates[0], order, GL_MAP1_VERTEX_3);
  gluEndCurve(nurbs);
}

void drawBitmapText(std::string_view text, void* font, const TinyVector<float, 3>& colour,
                    const TinyVector<float, 3>& position) {
  static const float mat_noemit[4] = {0.0F, 0.0F, 0.0F, 0.0F};
  glColor3f(0.0F, 0.0F, 0.0F);
  glNormal3f(-1.0F, -1.0F, -1.0F);
  setEmission(colour[0], colour[1], colour[2]);
  glRasterPos3f(position[0], position[1], position[2]);
  for (const char c : text) glutBitmapCharacter(font, static_cast<unsigned char>(c));
  glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, mat_noemit);
}

}  // namespace quorel
