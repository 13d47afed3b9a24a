#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>

namespace quorel {

/// Fixed vector of N contiguous elements of T: positions, velocities and colours.
/// Invariants: N elements and nothing else, so that an array of vectors is an array of T.
/// Threading:  a plain value.
/// Cost:       every operation O(N), no allocation.
template <class T, std::size_t N>
class TinyVector {
public:
  constexpr TinyVector() : elements{} {}

  /// One argument an element.
  template <class... Rest>
    requires(sizeof...(Rest) + 1 == N)
  constexpr TinyVector(T first, Rest... rest) : elements{first, static_cast<T>(rest)...} {}

  constexpr T& operator[](std::size_t i) { return elements[i]; }
  constexpr const T& operator[](std::size_t i) const { return elements[i]; }

  constexpr const T* data() const { return elements.data(); }

  constexpr TinyVector& operator+=(const TinyVector& other) {
    for (std::size_t i = 0; i < N; ++i) elements[i] += other[i];
    return *this;
  }

  constexpr TinyVector& operator-=(const TinyVector& other) {
    for (std::size_t i = 0; i < N; ++i) elements[i] -= other[i];
    return *this;
  }

  constexpr TinyVector& operator*=(T factor) {
    for (std::size_t i = 0; i < N; ++i) elements[i] *= factor;
    return *this;
  }

  friend constexpr TinyVector operator+(TinyVector a, const TinyVector& b) { return a += b; }
  friend constexpr TinyVector operator-(TinyVector a, const TinyVector& b) { return a -= b; }
  friend constexpr TinyVector operator-(TinyVector a) { return a *= T(-1); }
  friend constexpr TinyVector operator*(T factor, TinyVector a) { return a *= factor; }
  friend constexpr TinyVector operator*(TinyVector a, T factor) { return a *= factor; }
  friend constexpr bool operator==(const TinyVector& a, const TinyVector& b) = default;

private:
  std::array<T, N> elements;
};

template <class T, std::size_t N>
constexpr T dot(const TinyVector<T, N>& a, const TinyVector<T, N>& b) {
  T sum{};
  for (std::size_t i = 0; i < N; ++i) sum += a[i] * b[i];
  return sum;
}

template <class T, std::size_t N>
T length(const TinyVector<T, N>& a) {
  return std::sqrt(dot(a, a));
}

/// No element is a NaN or an infinity.
template <class T, std::size_t N>
bool isFinite(const TinyVector<T, N>& a) {
  for (std::size_t i = 0; i < N; ++i) {
    if (!(std::abs(a[i]) <= std::numeric_limits<T>::max())) return false;
  }
  return true;
}

/// Written as "[a,b,c]", no blanks, each element as a double in the stream's current format.
template <class T, std::size_t N>
std::ostream& operator<<(std::ostream& out, const TinyVector<T, N>& a) {
  out << '[';
  for (std::size_t i = 0; i < N; ++i) {
    if (i > 0) out << ',';
    out << static_cast<double>(a[i]);
  }
  return out << ']';
}

}  // namespace quorel
