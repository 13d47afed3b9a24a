#pragma once

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorel {

/// Eigenvalues and eigenvectors of a symmetric 3 by 3 matrix: Householder reduction to tridiagonal form, then implicit
/// QL. After Bowdler, Martin, Reinsch and Wilkinson, Handbook for Automatic Computation II (1971), as in EISPACK.

/// Reduces the symmetric matrix V to tridiagonal form. On return V holds the transformation, d the diagonal and e the
/// subdiagonal in e[1] and e[2].
template <class T>
void tred2(T V[3][3], T d[3], T e[3]) {
  constexpr int n = 3;
  for (int j = 0; j < n; ++j) d[j] = V[n - 1][j];

  for (int i = n - 1; i > 0; --i) {
    // Scaled, so that a tiny row does not underflow.
    T scale = 0;
    T h = 0;
    for (int k = 0; k < i; ++k) scale += std::abs(d[k]);
    if (scale == T(0)) {
      e[i] = d[i - 1];
      for (int j = 0; j < i; ++j) {
        d[j] = V[i - 1][j];
        V[i][j] = 0;
        V[j][i] = 0;
      }
    } else {
      for (int k = 0; k < i; ++k) {
        d[k] /= scale;
        h += d[k] * d[k];
      }
      T f = d[i - 1];
      T g = std::sqrt(h);
      if (f > 0) g = -g;
      e[i] = scale * g;
      h -= f * g;
      d[i - 1] = f - g;
      for (int j = 0; j < i; ++j) e[j] = 0;

      for (int j = 0; j < i; ++j) {
        f = d[j];
        V[j][i] = f;
        g = e[j] + V[j][j] * f;
        for (int k = j + 1; k <= i - 1; ++k) {
          g += V[k][j] * d[k];
          e[k] += V[k][j] * f;
        }
        e[j] = g;
      }
      f = 0;
      for (int j = 0; j < i; ++j) {
        e[j] /= h;
        f += e[j] * d[j];
      }
      const T hh = f / (h + h);
      for (int j = 0; j < i; ++j) e[j] -= hh * d[j];
      for (int j = 0; j < i; ++j) {
        f = d[j];
        g = e[j];
        for (int k = j; k <= i - 1; ++k) V[k][j] -= f * e[k] + g * d[k];
        d[j] = V[i - 1][j];
        V[i][j] = 0;
      }
    }
    d[i] = h;
  }

  for (int i = 0; i < n - 1; ++i) {
    V[n - 1][i] = V[i][i];
    V[i][i] = 1;
    const T h = d[i + 1];
    if (h != T(0)) {
      for (int k = 0; k <= i; ++k) d[k] = V[k][i + 1] / h;
      for (int j = 0; j <= i; ++j) {
        T g = 0;
        for (int k = 0; k <= i; ++k) g += V[k][i + 1] * V[k][j];
        for (int k = 0; k <= i; ++k) V[k][j] -= g * d[k];
      }
    }
    for (int k = 0; k <= i; ++k) V[k][i + 1] = 0;
  }
  for (int j = 0; j < n; ++j) {
    d[j] = V[n - 1][j];
    V[n - 1][j] = 0;
  }
  V[n - 1][n - 1] = 1;
  e[0] = 0;
}

/// Diagonalises what tred2 left: on return d holds the eigenvalues, ascending, and the columns of V the eigenvectors.
/// Not a number anywhere in the input comes out as not a number.
template <class T>
void tql2(T V[3][3], T d[3], T e[3]) {
  constexpr int n = 3;
  for (int i = 1; i < n; ++i) e[i - 1] = e[i];
  e[n - 1] = 0;

  T f = 0;
  T tst1 = 0;
  // 2^-52 whatever T is; in single precision an off-diagonal element has to vanish to end the iteration.
  const T eps = T(2.220446e-16);
  // Three or four turns are usual. The bound is for a matrix whose rounding errors never let go.
  constexpr int maxIterations = 100;
  for (int l = 0; l < n; ++l) {
    tst1 = std::max(tst1, std::abs(d[l]) + std::abs(e[l]));
    int m = l;
    // The last element of e is zero; a NaN stops here as well, instead of running off the end.
    while (m < n - 1 && !(std::abs(e[m]) <= eps * tst1)) ++m;

    if (m > l) {
      int iterations = 0;
      do {
        T g = d[l];
        T p = (d[l + 1] - g) / (T(2) * e[l]);
        T r = std::hypot(p, T(1));
        if (p < 0) r = -r;
        d[l] = e[l] / (p + r);
        d[l + 1] = e[l] * (p + r);
        const T dl1 = d[l + 1];
        T h = g - d[l];
        for (int i = l + 2; i < n; ++i) d[i] -= h;
        f += h;

        p = d[m];
        T c = 1;
        T c2 = c;
        T c3 = c;
        const T el1 = e[l + 1];
        T s = 0;
        T s2 = 0;
        for (int i = m - 1; i >= l; --i) {
          c3 = c2;
          c2 = c;
          s2 = s;
          g = c * e[i];
          h = c * p;
          r = std::hypot(p, e[i]);
          e[i + 1] = s * r;
          s = e[i] / r;
          c = p / r;
          p = c * d[i] - s * g;
          d[i + 1] = h + s * (c * g + s * d[i]);
          for (int k = 0; k < n; ++k) {
            h = V[k][i + 1];
            V[k][i + 1] = s * V[k][i] + c * h;
            V[k][i] = c * V[k][i] - s * h;
          }
        }
        p = -s * s2 * c3 * el1 * e[l] / dl1;
        e[l] = s * p;
        d[l] = c * p;
      } while (std::abs(e[l]) > eps * tst1 && ++iterations < maxIterations);
    }
    d[l] += f;
    e[l] = 0;
  }

  for (int i = 0; i < n - 1; ++i) {
    int k = i;
    for (int j = i + 1; j < n; ++j) {
      if (d[j] < d[k]) k = j;
    }
    if (k != i) {
      std::swap(d[k], d[i]);
      for (int j = 0; j < n; ++j) std::swap(V[j][i], V[j][k]);
    }
  }
}

}  // namespace quorel
