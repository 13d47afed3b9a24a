#pragma once

#include "TinyVector.h"

namespace quorel {

/// The four stages of the fourth-order Runge-Kutta step, each applied to a vertex after its force evaluation.
/// With the accelerations a1 to a4 a whole step is
///   x += h v + h^2/6 (a1 + a2 + a3),   v += h/6 (a1 + 2 a2 + 2 a3 + a4).
/// The factors are worked out in double and rounded to float once; the vector arithmetic is in float. Each stage
/// leaves `acceleration` set and `force` zero.
namespace detail {

template <class Vertex>
auto takeAcceleration(Vertex& vertex) {
  vertex.acceleration = (1.0F / vertex.mass) * vertex.force;
  vertex.force = {};
  return vertex.acceleration;
}

}  // namespace detail

class RKVisitor1 {
public:
  explicit RKVisitor1(double step) : h(step) {}

  template <class Vertex>
  void operator()(Vertex& vertex) const {
    const auto a = detail::takeAcceleration(vertex);
    const auto& start = vertex.start;
    vertex.next.position = start.position + float(h) * start.velocity + float(h * h / 6) * a;
    vertex.next.velocity = start.velocity + float(h / 6) * a;
    vertex.position = start.position + float(h / 2) * start.velocity + float(h * h / 8) * a;
    vertex.velocity = start.velocity + float(h / 2) * a;
  }

private:
  double h;
};

class RKVisitor2 {
public:
  explicit RKVisitor2(double step) : h(step) {}

  template <class Vertex>
  void operator()(Vertex& vertex) const {
    const auto a = detail::takeAcceleration(vertex);
    vertex.next.position += float(h * h / 6) * a;
    vertex.next.velocity += float(h / 3) * a;
    vertex.velocity = vertex.start.velocity + float(h / 2) * a;
  }

private:
  double h;
};

class RKVisitor3 {
public:
  explicit RKVisitor3(double step) : h(step) {}

  template <class Vertex>
  void operator()(Vertex& vertex) const {
    const auto a = detail::takeAcceleration(vertex);
    const auto& start = vertex.start;
    vertex.next.position += float(h * h / 6) * a;
    vertex.next.velocity += float(h / 3) * a;
    vertex.position = start.position + float(h) * start.velocity + float(h * h / 2) * a;
    vertex.velocity = start.velocity + float(h) * a;
  }

private:
  double h;
};

/// The last stage: the sum becomes the state. Only this one may run no earlier than the picture is drawn.
class RKVisitor4 {
public:
  explicit RKVisitor4(double step) : h(step) {}

  template <class Vertex>
  void operator()(Vertex& vertex) const {
    const auto a = detail::takeAcceleration(vertex);
    vertex.next.velocity += float(h / 6) * a;
    vertex.position = vertex.next.position;
    vertex.velocity = vertex.next.velocity;
    vertex.start.position = vertex.position;
    vertex.start.velocity = vertex.velocity;
    vertex.finishedAcceleration = a;
  }

private:
  double h;
};

/// The whole integration of an Euler step: the new velocity moves the particle.
class EulerVisitor {
public:
  explicit EulerVisitor(double step) : h(step) {}

  template <class Vertex>
  void operator()(Vertex& vertex) const {
    const auto a = detail::takeAcceleration(vertex);
    vertex.velocity += float(h) * a;
    vertex.position += float(h) * vertex.velocity;
    vertex.finishedAcceleration = a;
  }

private:
  double h;
};

}  // namespace quorel
