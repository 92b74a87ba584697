#pragma once
// The few formulas every part of the program writes the same way: its value
// of pi, the direction of a field given by two angles, and the sag of a surface.
#include <cmath>

namespace ovrin {

// Pi to the fifteen digits the program has always used; angles typed in
// degrees become radians with it.
inline constexpr double kPi = 3.14159265358979;
inline constexpr double kDegree = kPi / 180.0;

// The direction cosines of a field point at angle `a` in Y and `b` in X
// (radians, object at infinity): the tangents of the two angles are the
// ratios cY/cZ and cX/cZ. `norm` is the root that scales them.
struct FieldDirection {
  double cosZ, cosY, cosX, norm;
};
inline FieldDirection FieldDirectionOf(double a, double b) {
  const double ca = std::cos(a), sa = std::sin(a), cb = std::cos(b), sb = std::sin(b);
  const double norm = std::sqrt(ca * ca + cb * cb * sa * sa);
  return {ca * cb / norm, sa * cb / norm, ca * sb / norm, norm};
}

// Sag of a surface of curvature c (1/radius, 0 for a plane), conic constant
// `conic` and high-order terms at r^4, r^6, r^8, at height r. NaN where the
// conic has no real point.
inline double SurfaceSag(double r, double c, double conic, double a4, double a6, double a8) {
  const double r2 = r * r, r4 = r2 * r2;
  const double s = std::sqrt(1.0 - c * c * (conic + 1.0) * r2);
  return c * r2 / (1.0 + s) + a4 * r4 + a6 * r4 * r2 + a8 * r4 * r4;
}

}  // namespace ovrin
