#pragma once
// The designs of the optimiser's tests.
#include "../core/test_designs.h"
#include "optimise/error_function.h"

namespace ovrin::testing {

// A Cooke triplet of about 50 mm focal length at f/4.5, 15 degrees of field,
// stop on surface 4, in one wavelength (DIRECT indices).
inline void BuildTriplet(TestDesign& t, double r2 = -160.0, double r5 = 120.0) {
  auto glass = [](double semi, double r, double th, double n) {
    return SurfaceSpec{semi, r, th, SurfaceSpec::Direct, n};
  };
  Build(t,
        {glass(12, 21.25, 2.9, 1.6204), {12, r2, 4.9}, glass(10, -21.0, 1.0, 1.6200), {10, 19.8, 4.6},
         glass(11, r5, 3.0, 1.6204), {11, -17.5, 0}},
        5.5, 15);
  MarkStopRow(t.sheet, 4);
  t.d.StopSurf = 4;
}

// A paraboloid mirror of 1000 mm focal length, 100 mm aperture, on axis.
inline void BuildParaboloid(TestDesign& t, double conic = -1.0) {
  SurfaceSpec m{60, -2000, 0, SurfaceSpec::AirNegat, 1, kConic, conic};
  Build(t, {m}, 50, 0);
}

// The optimisation window opened on the design, both field points on axis
// when `on_axis`.
inline OptimiseSheet WindowOn(const TestDesign& t, bool on_axis = false) {
  OptimiseSheet s;
  LoadOptimiseSheet(s, t.d);
  s.angleY = t.sheet.Txtangolo;
  s.angleX = t.sheet.TxtangoloX;
  if (on_axis) s.Text11 = "0";
  return s;
}

}  // namespace ovrin::testing
