#include "analysis/wave/diffraction_draw.h"

#include <algorithm>
#include <cmath>

#include "analysis/wave/wavefront.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

constexpr double kPi = 3.14159265358979;

int Clamp255(double v) { return static_cast<int>(std::clamp(v, 0.0, 255.0)); }

// The five bands of width R / 5 above the minimum: the band of p and its lower threshold.
int BandOf(double p, double min, double b, double* lower) {
  int band = 0;
  for (int j = 1; j <= 4; ++j)
    if (p > min + j * b) band = j;
  *lower = min + band * b;
  return band;
}

}  // namespace

Rgb PsfSurfaceColour(double p, const PsfResult& r, const PsfView& v) {
  if (!(r.Range > 0)) return {50, 50, 50};
  if (!v.falseColour) {
    const int g = Clamp255(p / r.Range * 255 + 50);
    return {g, g, g};
  }
  const double b = r.Range / 5;
  double t = 0;
  const int band = BandOf(p, r.Min, b, &t);
  if (band == 0) return {0, 0, Clamp255((p - r.Min) / b * 255 + 50)};
  return BandColor(band, Clamp255(std::fabs((p - t) / b) * 255));
}

Rgb PsfMapColour(double p, const PsfResult& r, const PsfView& v) {
  if (!(r.Range > 0)) return v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
  if (!v.falseColour) {
    const int g = Clamp255(p / r.Range * 255);
    return {g, g, g};
  }
  const double b = r.Range / 5;
  double t = 0;
  const int band = BandOf(p, r.Min, b, &t);
  if (band == 0) {
    const int c = Clamp255(p / b * 255);
    return v.black ? Rgb{0, 0, c} : Rgb{255 - c, 255 - c, 255};
  }
  return BandColor(band, Clamp255((p - t) / b * 255));
}

void DrawPsfSurface(const PsfResult& r, const PsfView& v, Canvas& c) {
  const Rgb back = v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
  c.Clear(back);
  if (!r.ok || r.F == 0) return;
  const double F = r.F;
  const double zoom = v.surfaceZoom > 0 ? v.surfaceZoom : 1;
  // Heights grow upwards: the top of the box is its most negative value.
  c.Window((-F / 8 - 0.18 * F) / zoom, (-F / 8 - 0.15 * F) / zoom, (F / 8 + 0.18 * F) / zoom, 0.15 * F / zoom);
  const double H = v.unaberrated ? F / 4 * r.Strehl : F / 4;
  const double mx = r.Max > 0 ? r.Max : 1;
  const double A = v.rotX * kPi / 180, B = v.rotY * kPi / 180, C = v.rotZ * kPi / 180;
  const double sa = std::sin(A), ca = std::cos(A), sb = std::sin(B), cb = std::cos(B);
  const double sc = std::sin(C), cc = std::cos(C);
  auto corner = [&](int row, int col) {
    const double x = col - F / 2, z = row - F / 2;
    const double y = -(r.At(row, col) / mx) * H;
    const double x1 = x * cc - y * sc;
    const double y1 = y * cc + x * sc;
    const double x2 = z * sb + x1 * cb;
    const double z2 = z * cb - x1 * sb;
    const double y3 = y1 * ca + z2 * sa;
    return PlotPoint{x2, y3};
  };
  const int lo = r.F / 4, hi = 3 * r.F / 4 - 1;
  for (int row = lo; row < hi; ++row)
    for (int col = lo; col < hi; ++col) {
      const Rgb colour = PsfSurfaceColour(r.At(row, col), r, v);
      const std::vector<PlotPoint> quad{corner(row, col), corner(row, col + 1), corner(row + 1, col + 1),
                                        corner(row + 1, col)};
      if (v.transparent) {
        c.Polyline({quad[0], quad[1], quad[2], quad[3], quad[0]}, colour, 1);
      } else {
        c.Polygon(quad, colour);
      }
    }
}

void DrawPsfMap(const PsfResult& r, const PsfView& v, Canvas& c) {
  c.Clear(v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255});
  if (!r.ok || r.F == 0) return;
  const int lo = r.F / 4, n = r.F / 2;
  const double zoom = v.mapZoom > 0 ? v.mapZoom : 1;
  // The box holds the whole array; the central half is drawn.
  const double mid = r.F / 2.0, half = r.F / 2.0 / zoom;
  c.Window(mid - half, mid - half, mid + half, mid + half);
  std::vector<Rgb> pixels(static_cast<size_t>(n) * n);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) pixels[static_cast<size_t>(i) * n + j] = PsfMapColour(r.At(lo + i, lo + j), r, v);
  c.Image(lo, lo, lo + n, lo + n, n, n, pixels);
}

void DrawIntensityScale(Canvas& c) {
  c.Clear({255, 255, 255});
  c.Window(-40, 0, 296, 1);
  std::vector<Rgb> steps(256);
  for (int i = 0; i < 256; ++i) steps[i] = {i, i, i};
  c.Image(0, 0.05, 256, 0.5, 256, 1, steps);
  const Rgb ink{0, 0, 0};
  c.Line(0, 0.05, 256, 0.05, ink, 1);
  c.Line(0, 0.5, 256, 0.5, ink, 1);
  const char* labels[3] = {"0.25", "0.5", "0.75"};
  for (int k = 1; k <= 3; ++k) {
    c.Line(64 * k, 0.5, 64 * k, 0.6, ink, 1);
    c.Text(64 * k - 10, 0.62, labels[k - 1], ink);
  }
  c.Text(100, 0.8, "INTENSITY", ink);
}

std::string MtfFieldTitle(int k) {
  switch (k) {
    case 0: return "MODULATION  at 0\u00b0    (Black=Ideal   Red=Tang.   Blue=Sag.)";
    case 1: return "MODULATION    [0.7  Field]";
    default: return "MODULATION    [Full Field]";
  }
}

namespace {

// The frame of a transfer plot in index units 0..F/2 across and 0..1 up.
void MtfFrame(int F, double cutoff, const char* axis_title, Canvas& c) {
  const double h = F / 2.0;
  c.Window(-0.07 * h, 1.1, 1.07 * h, -0.15);
  const Rgb ink{0, 0, 0}, grid{210, 210, 210};
  c.Line(0, 0, h, 0, ink, 1);
  c.Line(0, 0, 0, 1, ink, 1);
  const char* up[6] = {"0", "0.2", "0.4", "0.6", "0.8", "1"};
  const double tick = F / 120.0;
  for (int k = 0; k <= 5; ++k) {
    const double y = 0.2 * k;
    if (k >= 1 && k <= 4) c.Line(0, y, h, y, grid, 1);
    c.Line(-tick, y, tick, y, ink, 1);
    c.Text(-0.065 * h, y + 0.03, up[k], ink);
  }
  for (int k = 1; k <= 5; ++k) {
    const double x = 0.2 * k * h;
    c.Line(x, -0.015, x, 0.015, ink, 1);
    c.Text(x - 0.03 * h, -0.03, FormatFixed(0.2 * k * cutoff, 1), ink);
  }
  c.Text(0.86 * h, 0.13, axis_title, ink);
}

void MtfLines(const MtfCurve& m, int width, Canvas& c) {
  std::vector<PlotPoint> t, s;
  for (size_t i = 0; i < m.T.size(); ++i) {
    t.push_back({static_cast<double>(i), m.T[i]});
    s.push_back({static_cast<double>(i), m.S[i]});
  }
  c.Polyline(t, kTangColour, width);
  c.Polyline(s, kSagColour, width);
}

void IdealPoints(const std::vector<double>& ideal, double cutoff, int F, Canvas& c) {
  std::vector<PlotPoint> pts;
  for (size_t v = 0; v < ideal.size(); ++v) pts.push_back({F / 2.0 * v / cutoff, ideal[v]});
  c.Points(pts, kIdealColour);
}

}  // namespace

void DrawMtfCurves(const MtfCurve& curve, const std::vector<double>& ideal, double cutoff, int F,
                   const std::string& title, Canvas& c) {
  c.Clear({255, 255, 255});
  if (F < 2) return;
  MtfFrame(F, cutoff, "FREQ. ", c);
  c.Text(0.02 * F / 2, 1.09, title, {0, 0, 0});
  IdealPoints(ideal, cutoff, F, c);
  MtfLines(curve, 1, c);
}

void DrawMtfField(const MtfResult& r, int k, Canvas& c) {
  if (!r.ok) {
    c.Clear({255, 255, 255});
    return;
  }
  DrawMtfCurves(r.fields[k], r.ideal, r.cutoff, r.F, MtfFieldTitle(k), c);
}

void DrawMtfFocus(const MtfFocusResult& r, Canvas& c) {
  c.Clear({255, 255, 255});
  if (!r.ok) return;
  MtfFrame(r.F, r.cutoff, "(Cycles/mm.)", c);
  const double h = r.F / 2.0;
  const Rgb ink{0, 0, 0};
  c.Text(-0.065 * h, 1.09, "MODULATION ", ink);
  IdealPoints(r.ideal, r.cutoff, r.F, c);
  const int widths[3] = {3, 2, 1};
  for (int k = 0; k < 3; ++k) {
    const double y = 1.05 - 0.07 * k;
    c.Text(0.45 * h, y + 0.02, "Defocus " + ShortestText(r.defocus[k]), ink);
    c.Line(0.38 * h, y - 0.01, 0.44 * h, y - 0.01, ink, widths[k]);
    MtfLines(r.runs[k], widths[k], c);
  }
  const char* legend[3] = {"IDEAL", "TANG.", "SAG."};
  const Rgb colours[3] = {kIdealColour, kTangColour, kSagColour};
  for (int k = 0; k < 3; ++k) c.Text(0.85 * h, 1.05 - 0.07 * k + 0.02, legend[k], colours[k]);
}

void DrawZernikeTable(const ZernikeResult& r, Canvas& c) {
  c.Clear({255, 255, 255});
  c.Window(0, 0, 100, 40);
  const Rgb ink{0, 0, 0};
  c.Text(2, 0.5, "Zernike", ink);
  c.Text(15, 0.5, "    Coefficient", ink);
  c.Text(40, 0.5, "    Description", ink);
  if (!r.ok) return;
  for (int t = 0; t < kZernikeTerms; ++t) {
    const double y = 1.5 + t;
    c.Text(2, y, std::to_string(t + 1), ink);
    c.Text(15, y, r.texts[t], ink);
    c.Text(40, y, ZernikeName(t), ink);
  }
}

}  // namespace ovrin
