#include "analysis/wave/wavefront.h"

#include <algorithm>
#include <cmath>

#include "core/number_text.h"

namespace ovrin {

namespace {
constexpr double kPi = 3.14159265358979;
int Sgn(double v) { return (v > 0) - (v < 0); }
}  // namespace

double StrehlOfRms(double rms) {
  const double t = 6.28318530717958 * rms;
  return std::pow(2.71828182845905, -(t * t));
}

WaveStats ComputeWaveStats(const std::vector<double>& w) {
  WaveStats s;
  double sum = 0;
  for (double v : w) {
    if (v == 0) continue;
    ++s.count;
    sum += v;
    if (v > s.max) s.max = v;
    if (v < s.min) s.min = v;
  }
  if (s.count == 0) throw TraceError(0, TraceFault::NonFinite);  // no sample: the mean has no count
  s.PV = Sgn(s.max) == Sgn(s.min) ? s.max - s.min : std::fabs(s.min) + s.max;
  s.mean = sum / s.count;
  double sq = 0;
  for (double v : w)
    if (v != 0) sq += (v - s.mean) * (v - s.mean);
  s.RMS = std::sqrt(sq / s.count);
  s.Strehl = StrehlOfRms(s.RMS);
  return s;
}

Rgb BandColor(int band, int v) {
  switch (band) {
    case 0: return {0, 0, v};
    case 1: return {0, v, 255};
    case 2: return {0, 255, 255 - v};
    case 3: return {v, 255, 0};
    default: return {255, 255 - v, 0};
  }
}

Rgb WaveColor(double w, double min, double pv) {
  if (w == 0) return {255, 255, 255};
  const double b = pv / 5;
  int band = 0;
  for (int j = 1; j <= 4; ++j)
    if (w > min + j * b) band = j;
  if (!(b > 0)) return BandColor(0, 0);
  const double t = min + band * b;
  const double v = std::min(std::fabs((w - t) / b) * 255, 255.0);
  return BandColor(band, static_cast<int>(std::lround(v)));
}

OpdRun WaveRunOf(const DesignState& d, int k, double actual_bfl, double focal_radius, bool full_field,
                 double angle_y_deg, double angle_x_deg) {
  OpdRun run;
  run.wavelength = k;
  run.width = IndexWidth::Single;
  run.actualBfl = actual_bfl;
  run.focalRadius = focal_radius;
  run.field = full_field;
  if (full_field) {
    run.fieldAngleY = angle_y_deg * kPi / 180;
    run.fieldAngleX = angle_x_deg * kPi / 180;
    run.objHeight = d.HalfFieldY;
  } else {
    run.objHeight = 0.01;
  }
  return run;
}

WavefrontResult ComputeWavefront(const DesignState& d, const WavefrontSettings& s, const Progress& progress) {
  WavefrontResult r;
  if (s.wavelength < 1 || s.wavelength > 6) return r;
  try {
    const OpdRun run = WaveRunOf(d, s.wavelength, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg);
    OpdEngine e(d, run);
    e.ChiefReference();
    const WaveGrid g = BuildWaveGrid(d.EntrBeamSemiDiam, s.gridDiv);
    r.div = s.gridDiv;
    r.N = 2 * s.gridDiv;
    r.rows = g.rows;
    r.cols = g.cols;
    r.W.assign(static_cast<size_t>(g.rows) * g.cols, 0.0);
    const int total = g.rows * g.cols;
    int done = 0, last_percent = -1;
    std::vector<double> xs(g.colX), ys(g.cols), row(g.cols);
    for (int i = 0; i < g.rows; ++i) {
      std::fill(ys.begin(), ys.end(), g.Y(i));
      e.RayOpds(xs.data(), ys.data(), g.cols, row.data());
      for (int j = 0; j < g.cols; ++j) {
        double w = row[j];
        if (s.reverse) w = -w;
        r.W[static_cast<size_t>(i) * g.cols + j] = w;
        ++done;
        if (progress) {
          const int percent = std::min(done * 100 / total, 100);
          if (percent != last_percent) progress(last_percent = percent);
        }
      }
    }
    r.stats = ComputeWaveStats(r.W);
    r.Zxp = e.Zxp, r.Xc = e.Xc, r.Yc = e.Yc, r.Zc0 = e.Zc0, r.Pc = e.Pc, r.Lc = e.Lc;
  } catch (const TraceError& e) {
    WavefrontResult failed;
    failed.error = e;
    return failed;
  }
  const WaveStats& st = r.stats;
  r.Label19 = FormatFixed(st.PV, 4);
  r.Label20 = FormatFixed(st.RMS, 4);
  r.Label21 = FormatFixed(st.Strehl, 4);
  r.Label22 = FormatFixed(st.max, 4);
  r.Label23 = FormatFixed(st.min, 4);
  r.Label26 = FormatFixed(st.min + 0.333 * st.PV, 4);
  r.Label27 = FormatFixed(st.min + 0.666 * st.PV, 4);
  r.ok = true;
  return r;
}

// The range the pictures spread their colours and relief over: the wave
// front's own, but never below the labels' last digit, so that a perfect
// wave front is drawn flat instead of as the noise of the arithmetic.
struct ShownRange {
  double min, pv;
};
ShownRange Shown(const WaveStats& st) {
  constexpr double kFloor = 1e-4;  // waves
  if (st.PV >= kFloor) return {st.min, st.PV};
  return {st.min - (kFloor - st.PV) / 2, kFloor};
}

void PaintCells(Canvas& c, int rows, int cols, const std::vector<Rgb>& colors) {
  c.Image(0, 0, cols, rows, cols, rows, colors);
}

void DrawWavefrontMap(const WavefrontResult& r, Canvas& c) {
  c.Clear({255, 255, 255});
  if (!r.ok) return;
  c.Window(0, 0, r.N - 1, r.N - 1);
  std::vector<Rgb> colors(r.W.size());
  const ShownRange shown = Shown(r.stats);
  for (size_t i = 0; i < r.W.size(); ++i) colors[i] = WaveColor(r.W[i], shown.min, shown.pv);
  PaintCells(c, r.rows, r.cols, colors);
}

void DrawColourBar(const WavefrontResult& r, Canvas& c) {
  c.Clear({255, 255, 255});
  if (!r.ok) return;
  c.Window(-280, 0, 1560, 1);
  for (int band = 0; band < 5; ++band)
    for (int v = 0; v < 256; ++v) {
      const double x = band * 256 + v;
      c.Polygon({{x, 0.05}, {x + 1, 0.05}, {x + 1, 0.6}, {x, 0.6}}, BandColor(band, v));
    }
  c.Text(-270, 0.15, "VALLEY", {0, 0, 0});
  c.Text(1290, 0.15, "PEAK", {0, 0, 0});
  c.Text(0, 0.65, r.Label23, {0, 0, 0});
  c.Text(1280 * 0.333 - 60, 0.65, r.Label26, {0, 0, 0});
  c.Text(1280 * 0.666 - 60, 0.65, r.Label27, {0, 0, 0});
  c.Text(1280 - 120, 0.65, r.Label22, {0, 0, 0});
}

void DrawWavefrontSurface(const WavefrontResult& r, const ReliefView& v, Canvas& c) {
  const Rgb back = v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
  c.Clear(back);
  if (!r.ok) return;
  const double n = r.N;
  const double zoom = v.zoom > 0 ? v.zoom : 1;
  c.Window((-n / 2 - 0.05 * n) / zoom, (n / 2 + 0.005 * n) / zoom, (n / 2 + 0.03 * n) / zoom,
           (-n / 2 - 0.02 * n) / zoom);
  const double A = v.rotX * kPi / 180, B = v.rotY * kPi / 180, C = v.rotZ * kPi / 180;
  const double sa = std::sin(A), ca = std::cos(A), sb = std::sin(B), cb = std::cos(B);
  const double sc = std::sin(C), cc = std::cos(C);
  const double relief = v.relief != 0 ? v.relief : 1;
  const ShownRange shown = Shown(r.stats);
  const double pv = shown.pv;
  // W beyond the last row and column is 0, as in a zero-filled array with a margin.
  auto w_at = [&](int row, int col) { return row < r.rows && col < r.cols ? r.At(row, col) : 0.0; };
  auto corner = [&](int row, int col) {
    const double x = col - n / 2, z = row - n / 2;
    const double y = -(w_at(row, col) / pv) * r.div / relief;
    const double x1 = x * cc - y * sc;
    const double y1 = y * cc + x * sc;
    const double x2 = z * sb + x1 * cb;
    const double z2 = z * cb - x1 * sb;
    const double y3 = y1 * ca + z2 * sa;
    return PlotPoint{x2, y3};
  };
  const bool outline = !v.black && r.N <= 64;
  const Rgb edge{70, 70, 70};
  for (int row = 0; row < r.rows; ++row) {
    for (int col = 0; col < r.cols; ++col) {
      const bool z1 = w_at(row, col) == 0, z2 = w_at(row + 1, col + 1) == 0;
      if (z1 && z2) continue;
      const Rgb fill = z1 != z2 ? Rgb{210, 210, 210} : WaveColor(r.At(row, col), shown.min, shown.pv);
      const PlotPoint p[4] = {corner(row, col), corner(row, col + 1), corner(row + 1, col + 1), corner(row + 1, col)};
      c.Polygon({p[0], p[1], p[2], p[3]}, fill);
      if (outline)
        for (int k = 0; k < 4; ++k) c.Line(p[k].x, p[k].y, p[(k + 1) % 4].x, p[(k + 1) % 4].y, edge, 1);
    }
  }
}

}  // namespace ovrin
