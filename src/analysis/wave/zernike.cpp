#include "analysis/wave/zernike.h"

#include <Eigen/Dense>
#include <cmath>

#include "analysis/wave/diffraction.h"
#include "analysis/wave/wavefront.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

const char* const kNames[kZernikeTerms] = {
    "  Piston (Bias) ",
    "  Tilt about X axis ",
    "  Tilt about Y axis ",
    "  Power ",
    "  Astigmatism X axis",
    "  Astigmatism Y axis",
    "  Primary Coma along X axis",
    "  Primary Coma along Y axis",
    "  Primary Spherical Aberration",
    "  Triangular Astig.( Trefoil X )",
    "  Triangular Astig.( Trefoil Y )",
    "  Secondary Astig. X",
    "  Secondary Astig. Y",
    "  Secondary Coma X",
    "  Secondary Coma Y",
    "  Secondary Spherical",
    "  Ashtray Astig.( Tetrafoil X )",
    "  Ashtray Astig.( Tetrafoil Y )",
    "  Secondary Trefoil X",
    "  Secondary Trefoil Y",
    "  Tertiary Astig.X",
    "  Tertiary Astig.Y",
    "  Tertiary Coma X",
    "  Tertiary Coma Y",
    "  Tertiary Spherical",
    "  Pentafoil X",
    "  Pentafoil Y",
    "  Secondary Tetrafoil X",
    "  Secondary Tetrafoil Y",
    "  Tertiary Trefoil X ",
    "  Tertiary Trefoil Y",
    "  Quaternary Astig.X",
    "  Quaternary Astig.Y",
    "  Quaternary Coma X",
    "  Quaternary Coma Y",
    "  Quaternary Spherical",
    "  Eleventh-order Spherical",
};

}  // namespace

const char* ZernikeName(int t) { return t >= 0 && t < kZernikeTerms ? kNames[t] : ""; }

double ZernikeTerm(int t, double x, double y) {
  const double x2 = x * x, y2 = y * y;
  const double r2 = x2 + y2, r4 = r2 * r2, r6 = r4 * r2, r8 = r4 * r4;
  // r^n cos(n t) and r^n sin(n t) for n = 2, 3, 4.
  const double c2 = x2 - y2, s2 = 2 * x * y;
  const double c3 = x * x2 - 3 * x * y2, s3 = 3 * x2 * y - y * y2;
  const double c4 = x2 * x2 - 6 * x2 * y2 + y2 * y2, s4 = 4 * x * x2 * y - 4 * x * y * y2;
  switch (t) {
    case 0: return 1;
    case 1: return x;
    case 2: return y;
    case 3: return 2 * r2 - 1;
    case 4: return c2;
    case 5: return s2;
    case 6: return 3 * x * r2 - 2 * x;
    case 7: return 3 * y * r2 - 2 * y;
    case 8: return 6 * r4 - 6 * r2 + 1;
    case 9: return c3;
    case 10: return s3;
    case 11: return 4 * c2 * r2 - 3 * c2;
    case 12: return 8 * x * y * r2 - 6 * x * y;
    case 13: return 10 * x * r4 - 12 * x * r2 + 3 * x;
    case 14: return 10 * y * r4 - 12 * y * r2 + 3 * y;
    case 15: return 20 * r6 - 30 * r4 + 12 * r2 - 1;
    case 16: return c4;
    case 17: return s4;
    case 18: return 5 * c3 * r2 - 4 * c3;
    case 19: return 5 * s3 * r2 - 4 * s3;
    case 20: return 15 * c2 * r4 - 20 * c2 * r2 + 6 * c2;
    case 21: return 30 * x * y * r4 - 40 * x * y * r2 + 12 * x * y;
    case 22: return 35 * x * r6 - 60 * x * r4 + 30 * x * r2 - 4 * x;
    case 23: return 35 * y * r6 - 60 * y * r4 + 30 * y * r2 - 4 * y;
    case 24: return 70 * r8 - 140 * r6 + 90 * r4 - 20 * r2 + 1;
    case 25: return x * x2 * x2 - 10 * x * x2 * y2 + 5 * x * y2 * y2;
    case 26: return 5 * x2 * x2 * y - 10 * x2 * y * y2 + y * y2 * y2;
    // (6 r^6 - 5 r^4) cos 4t = (6 r^2 - 5) r^4 cos 4t, and so on.
    case 27: return (6 * r2 - 5) * c4;
    case 28: return (6 * r2 - 5) * s4;
    case 29: return (21 * r4 - 30 * r2 + 10) * c3;
    case 30: return (21 * r4 - 30 * r2 + 10) * s3;
    case 31: return (56 * r6 - 105 * r4 + 60 * r2 - 10) * c2;
    case 32: return (56 * r6 - 105 * r4 + 60 * r2 - 10) * s2;
    case 33: return 126 * x * r8 - 280 * x * r6 + 210 * x * r4 - 60 * x * r2 + 5 * x;
    case 34: return 126 * y * r8 - 280 * y * r6 + 210 * y * r4 - 60 * y * r2 + 5 * y;
    case 35: return 252 * r8 * r2 - 630 * r8 + 560 * r6 - 210 * r4 + 30 * r2 - 1;
    case 36: return 924 * r6 * r6 - 2772 * r8 * r2 + 3150 * r8 - 1680 * r6 + 420 * r4 - 42 * r2 + 1;
    default: return 0;
  }
}

std::array<double, kZernikeTerms> FitZernike(const std::vector<ZernikeSample>& samples) {
  constexpr int n = kZernikeTerms;
  Eigen::Matrix<double, n, n> M = Eigen::Matrix<double, n, n>::Zero();
  Eigen::Matrix<double, n, 1> v = Eigen::Matrix<double, n, 1>::Zero();
  double z[n];
  for (const ZernikeSample& s : samples) {
    for (int t = 0; t < n; ++t) z[t] = ZernikeTerm(t, s.x, s.y);
    for (int i = 0; i < n; ++i) {
      v(i) += z[i] * s.W;
      for (int j = 0; j < n; ++j) M(i, j) += z[i] * z[j];
    }
  }
  // Full pivoting, as the hand elimination; a singular matrix fails the run.
  Eigen::FullPivLU<Eigen::Matrix<double, n, n>> lu(M);
  if (!lu.isInvertible()) throw TraceError(0, TraceFault::NonFinite);
  const Eigen::Matrix<double, n, 1> c = lu.solve(v);
  std::array<double, n> out{};
  for (int t = 0; t < n; ++t) {
    if (!std::isfinite(c(t))) throw TraceError(0, TraceFault::NonFinite);
    out[t] = c(t);
  }
  return out;
}

ZernikeResult ComputeZernike(const DesignState& d, const ZernikeSettings& s, const Progress& progress) {
  ZernikeResult r;
  try {
    if (s.wavelength < 1 || s.wavelength > 6) throw TraceError(0, TraceFault::NonFinite);
    const OpdRun run = WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, true, s.angleYDeg, s.angleXDeg);
    const PupilSamples p = TracePupil(d, run, 16, std::nullopt, progress);
    const double a = d.EntrBeamSemiDiam;
    std::vector<ZernikeSample> samples;
    // Only the pupil edge filters the list: a vignetted sample keeps its W of 0.
    for (int i = 0; i < p.grid.rows; ++i)
      for (int j = 0; j < p.grid.cols; ++j) {
        const double x = p.grid.X(j), y = p.grid.Y(i);
        if (a * a < x * x + y * y) continue;
        samples.push_back({x / a, y / a, p.At(i, j)});
      }
    r.samples = static_cast<int>(samples.size());
    r.c = FitZernike(samples);
  } catch (const TraceError& e) {
    ZernikeResult failed;
    failed.error = e;
    return failed;
  }
  for (int t = 0; t < kZernikeTerms; ++t) r.texts[t] = FormatFixed(r.c[t] / 1, 6);
  r.ok = true;
  return r;
}

}  // namespace ovrin
