#pragma once
// A least-squares fit of the 37 Fringe Zernike polynomials to the wave front
// of the design's full field, on a 32 x 32 pupil grid, in waves.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"

namespace ovrin {

constexpr int kZernikeTerms = 37;

// Term t (0..36) at the point (x, y) of the unit circle, without normalisation.
double ZernikeTerm(int t, double x, double y);
// The description column of term t.
const char* ZernikeName(int t);

struct ZernikeSample {
  double x = 0, y = 0;  // normalised entrance pupil coordinates
  double W = 0;         // waves
};
// The solution of the normal equations of the 37 terms over the samples.
// Throws TraceError when they are singular.
std::array<double, kZernikeTerms> FitZernike(const std::vector<ZernikeSample>& samples);

struct ZernikeSettings {
  int wavelength = 1;
  double actualBfl = 0;
  double focalRadius = 0;
  double angleYDeg = 0, angleXDeg = 0;  // the design's field
};

struct ZernikeResult {
  bool ok = false;
  std::optional<TraceError> error;
  int samples = 0;
  std::array<double, kZernikeTerms> c{};
  std::array<std::string, kZernikeTerms> texts;  // the coefficients as the grid shows them
};
ZernikeResult ComputeZernike(const DesignState& d, const ZernikeSettings& s, const Progress& progress = {});

}  // namespace ovrin
