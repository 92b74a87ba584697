#include "analysis/wave/diffraction_energy.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "analysis/wave/wavefront.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "output/plot_axes.h"

namespace ovrin {

namespace {

// The first zero of J1 over pi.
constexpr double kDarkRing = 3.8317059702075125 / 3.141592653589793;

// The radius where a rising curve first reaches `level`, linearly between samples; 0 if never.
double RadiusAt(const std::vector<double>& r, const std::vector<double>& e, double level) {
  for (size_t k = 1; k < e.size(); ++k)
    if (e[k] >= level && e[k - 1] < level) return r[k - 1] + (level - e[k - 1]) / (e[k] - e[k - 1]) * (r[k] - r[k - 1]);
  return 0;
}

}  // namespace

double PerfectEncircledEnergy(double v) {
  if (v <= 0) return 0;
  const double j0 = std::cyl_bessel_j(0.0, v), j1 = std::cyl_bessel_j(1.0, v);
  return 1 - j0 * j0 - j1 * j1;
}

double FirstDarkRing(double wave_len_mm, double focal_ratio) { return kDarkRing * wave_len_mm * focal_ratio; }

double PsfSampleSpacing(double wave_len_mm, double focal_ratio, int N, int F) {
  return wave_len_mm * focal_ratio * N / F;
}

std::vector<double> EncircledFromArray(const std::vector<double>& P, int F, const std::vector<double>& radii) {
  std::vector<double> out(radii.size(), 0.0);
  if (F < 2 || P.size() < static_cast<size_t>(F) * F) return out;
  // The zero order to the origin, then the transform.
  const int h = F / 2;
  std::vector<Complex> field(static_cast<size_t>(F) * F);
  for (int i = 0; i < F; ++i)
    for (int j = 0; j < F; ++j)
      field[static_cast<size_t>(i) * F + j] = Complex(P[static_cast<size_t>((i + h) % F) * F + (j + h) % F], 0);
  Fourier2d(field.data(), F);
  const double total = field[0].real();
  if (!(total > 0)) return out;
  // The disc's kernel depends on the frequency's length only: the real parts
  // are gathered per squared length, which leaves a few thousand terms.
  std::vector<double> rings(static_cast<size_t>(2 * h * h) + 1, 0.0);
  for (int a = 0; a < F; ++a)
    for (int b = 0; b < F; ++b) {
      const int ka = a < h ? a : a - F, kb = b < h ? b : b - F;
      rings[static_cast<size_t>(ka * ka + kb * kb)] += field[static_cast<size_t>(a) * F + b].real();
    }
  std::vector<std::pair<double, double>> terms;  // (cycles per sample, summed real part)
  for (size_t q2 = 1; q2 < rings.size(); ++q2)
    if (std::fabs(rings[q2]) > total * 1e-12) terms.emplace_back(std::sqrt(static_cast<double>(q2)) / F, rings[q2]);
  for (size_t n = 0; n < radii.size(); ++n) {
    const double r = radii[n];
    if (!(r > 0)) continue;
    double sum = rings[0] * kPi * r * r;
    for (const auto& [q, re] : terms) sum += re * r * std::cyl_bessel_j(1.0, 2 * kPi * r * q) / q;
    out[n] = sum / (static_cast<double>(F) * F) / total;
  }
  return out;
}

PsfResult PsfOfEveryRay(const DesignState& d, const PsfSettings& s, const Progress& progress) {
  if (s.wavelength < 1 || s.wavelength > 6) throw TraceError(0, TraceFault::NonFinite);
  const int div = std::clamp(s.grid, 32, 256) / 2;
  const OpdRun run = WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg);
  PupilSamples p = TracePupil(d, run, div, std::nullopt, progress);
  bool exact = false;
  for (int i = 0; i < p.grid.rows && !exact; ++i)
    for (int j = 0; j < p.grid.cols && !exact; ++j) {
      const double x = p.grid.X(j), y = p.grid.Y(i);
      exact = x * x + y * y <= p.a * p.a && p.At(i, j) == 0;
    }
  if (exact) {
    OpdRun nudged = run;
    nudged.actualBfl += 1e-6;
    const PupilSamples q = TracePupil(d, nudged, div);
    for (size_t k = 0; k < p.W.size() && k < q.W.size(); ++k)
      if (p.W[k] == 0 && q.W[k] != 0) p.W[k] = 1e-12;
  }
  const float strehl = static_cast<float>(ComputeWaveStats(p.W).Strehl);
  PsfResult r = PsfOfPupil(p, PsfTransformSize(2 * div));
  r.Strehl = strehl;
  return r;
}

DiffEnergyResult ComputeDiffractionEnergy(const DesignState& d, const DiffEnergySettings& s, const Progress& progress) {
  DiffEnergyResult r;
  PsfSettings p;
  p.wavelength = s.wavelength;
  p.grid = std::clamp(s.grid, 32, 128);
  p.actualBfl = s.actualBfl;
  p.focalRadius = s.focalRadius;
  p.fullField = s.fullField;
  p.angleYDeg = s.angleYDeg;
  p.angleXDeg = s.angleXDeg;
  PsfResult psf;
  try {
    psf = PsfOfEveryRay(d, p, progress);
  } catch (const TraceError& e) {
    r.error = e;
    return r;
  }
  r.F = psf.F;
  r.N = psf.N;
  r.Strehl = psf.Strehl;
  r.waveLenMm = d.Wavelength[s.wavelength - 1] / 1000.0;
  r.focalRatio = std::fabs(d.FRatio);
  r.sampleMm = PsfSampleSpacing(r.waveLenMm, r.focalRatio, r.N, r.F);
  r.darkRingMm = FirstDarkRing(r.waveLenMm, r.focalRatio);
  if (!(r.sampleMm > 0) || !std::isfinite(r.sampleMm)) {
    r.error = TraceError(0, TraceFault::NonFinite);
    return r;
  }
  const int points = std::max(s.points, 2);
  // Never beyond a quarter of the array: the rest belongs to the next period.
  const double reach = std::min(std::max(s.rangeRings, 0.5) * r.darkRingMm, r.F / 4.0 * r.sampleMm);
  std::vector<double> samples(points + 2);
  r.radiusMm.resize(points + 1);
  for (int k = 0; k <= points; ++k) {
    r.radiusMm[k] = reach * k / points;
    samples[k] = r.radiusMm[k] / r.sampleMm;
  }
  samples[points + 1] = r.darkRingMm / r.sampleMm;
  r.energy = EncircledFromArray(psf.P, r.F, samples);
  r.atDarkRing = r.energy.back();
  r.energy.pop_back();
  r.perfect.resize(points + 1);
  const double v_per_mm = kPi / (r.waveLenMm * r.focalRatio);
  for (int k = 0; k <= points; ++k) r.perfect[k] = PerfectEncircledEnergy(v_per_mm * r.radiusMm[k]);
  r.perfectAtDarkRing = PerfectEncircledEnergy(v_per_mm * r.darkRingMm);
  r.radius50Mm = RadiusAt(r.radiusMm, r.energy, 0.5);
  r.radius80Mm = RadiusAt(r.radiusMm, r.energy, 0.8);
  r.radius90Mm = RadiusAt(r.radiusMm, r.energy, 0.9);
  auto microns = [](double mm) { return mm > 0 ? FormatFixed(mm * 1000, 2) : std::string("beyond the curve"); };
  r.text.push_back("Wavelength " + FormatFixed(r.waveLenMm * 1000, 4) + " micron, pupil " + std::to_string(r.N) + " x " +
                   std::to_string(r.N) + ", transform " + std::to_string(r.F));
  r.text.push_back("First dark ring (perfect aperture): " + FormatFixed(r.darkRingMm * 1000, 2) + " micron");
  r.text.push_back("Energy within it: design " + FormatFixed(100 * r.atDarkRing, 1) + " %, perfect " +
                   FormatFixed(100 * r.perfectAtDarkRing, 1) + " %");
  r.text.push_back("Strehl " + FormatFixed(r.Strehl, 3));
  r.text.push_back("Radius of 50 %: " + microns(r.radius50Mm) + ", 80 %: " + microns(r.radius80Mm) +
                   ", 90 %: " + microns(r.radius90Mm));
  r.text.push_back("RADIUS (micron)\tDESIGN\tPERFECT");
  for (int k = 0; k <= points; ++k)
    r.text.push_back(FormatFixed(r.radiusMm[k] * 1000, 2) + "\t" + FormatFixed(r.energy[k], 4) + "\t" + FormatFixed(r.perfect[k], 4));
  r.ok = true;
  return r;
}

void DrawDiffractionEnergy(const DiffEnergyResult& r, Canvas& c, int background) {
  c.Clear(PlotBackground(background));
  if (!r.ok || r.radiusMm.empty()) return;
  AxesStyle style;
  style.ink = PlotInk(background);
  const double xmax = r.radiusMm.back() * 1000;
  DrawAxes(c, {0, xmax, "Radius (micron)", 8}, {0, 1, "Encircled energy", 5}, style);
  std::vector<PlotPoint> design, perfect;
  for (size_t k = 0; k < r.radiusMm.size(); ++k) {
    design.push_back({r.radiusMm[k] * 1000, r.energy[k]});
    perfect.push_back({r.radiusMm[k] * 1000, r.perfect[k]});
  }
  const Rgb ink = PlotInk(background);
  c.Polyline(perfect, ink, 1);
  c.Polyline(design, {255, 0, 0}, 2);
  // The first dark ring.
  const double ring = r.darkRingMm * 1000;
  c.Line(ring, 0, ring, 1, {0, 0, 255}, 1);
  c.Text(ring, 0.12, "1st dark ring " + FormatFixed(100 * r.perfectAtDarkRing, 1) + " %", {0, 0, 255});
  c.Text(xmax * 0.45, 0.3, "Red: design   " + FormatFixed(100 * r.atDarkRing, 1) + " % in the ring", {255, 0, 0});
  c.Text(xmax * 0.45, 0.2, "Black: perfect aperture", ink);
}

}  // namespace ovrin
