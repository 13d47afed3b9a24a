#pragma once

#include <array>
#include <cstddef>

#include "TinyVector.h"

namespace quorel {

/// An affine map of space with its first two time derivatives.
///
/// A point p maps to m0 p + c0; (m1, c1) are the velocity of the map and (m2, c2) its acceleration. Matrices are
/// row-major: m[row][column]. A plain value, the identity at rest after default construction.
template <class T>
class DynamicFrame {
public:
  using Matrix = std::array<std::array<T, 3>, 3>;
  using Vector = TinyVector<T, 3>;

  DynamicFrame() : m0{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, m1{}, m2{} {}

  /// The composition b(a(p)): b applied after a, derivatives by the product rule.
  DynamicFrame(const DynamicFrame& a, const DynamicFrame& b)
      : m0(product(b.m0, a.m0)),
        m1(sum(product(b.m1, a.m0), product(b.m0, a.m1))),
        m2(sum(sum(product(b.m2, a.m0), scaled(T(2), product(b.m1, a.m1))), product(b.m0, a.m2))),
        c0(product(b.m0, a.c0) + b.c0),
        c1(product(b.m0, a.c1) + product(b.m1, a.c0) + b.c1),
        c2(product(b.m0, a.c2) + T(2) * product(b.m1, a.c1) + product(b.m2, a.c0) + b.c2) {}

  Vector operator()(const Vector& p) const { return product(m0, p) + c0; }

  Matrix m0;
  Matrix m1;
  Matrix m2;
  Vector c0;
  Vector c1;
  Vector c2;

private:
  static Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) {
        for (std::size_t k = 0; k < 3; ++k) result[i][j] += a[i][k] * b[k][j];
      }
    }
    return result;
  }

  static Vector product(const Matrix& a, const Vector& p) {
    Vector result;
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) result[i] += a[i][j] * p[j];
    }
    return result;
  }

  static Matrix sum(Matrix a, const Matrix& b) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) a[i][j] += b[i][j];
    }
    return a;
  }

  static Matrix scaled(T factor, Matrix a) {
    for (auto& row : a) {
      for (T& element : row) element *= factor;
    }
    return a;
  }
};

}  // namespace quorel
