#include "analysis/geometric/ghosts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/number_text.h"
#include "output/plot_axes.h"

namespace ovrin {

namespace {

std::string Sci(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.2e", v);
  return buf;
}

// The near-axis ray: height and slope, in a medium of signed index n.
struct Ray {
  double y = 0, u = 0;
};

// Refraction or reflection at a surface of curvature c from index n to n2
// (a reflection turns the sign of the index).
void Bend(Ray& r, double c, double n, double n2) { r.u = (n * r.u - r.y * (n2 - n) * c) / n2; }
void Move(Ray& r, double t) { r.y += t * r.u; }

double Curvature(const DesignState& d, int i) {
  const double R = d.Radius[i];
  return R == 0 || std::fabs(R) >= 1e10 ? 0.0 : 1 / R;
}

}  // namespace

double FresnelReflectance(double n1, double n2) {
  const double a = std::fabs(n1), b = std::fabs(n2);
  if (!(a + b > 0)) return 0;
  const double q = (a - b) / (a + b);
  return q * q;
}

GhostResult ComputeGhosts(const DesignState& d, const GhostSettings& s) {
  GhostResult out;
  const int m = d.SurfCount;
  const int k = std::clamp(s.wavelength, 1, 6);
  if (m < 1) {
    out.error = "No surfaces";
    return out;
  }
  SurfTable n = d.Index(k);
  n[0] = 1;
  for (int i = 0; i <= m; ++i)
    if (n[i] == 0 || !std::isfinite(n[i])) {
      out.error = "Wavelength " + std::to_string(k) + " has no index on surface " + std::to_string(i);
      return out;
    }
  const double wave_mm = d.Wavelength[k - 1] / 1000.0;
  out.airyDiam = 2.44 * wave_mm * std::fabs(d.FRatio);
  // A surface makes ghosts when it refracts: the same side of the light on
  // both sides, a change of index, and not an obstruction.
  std::vector<int> refr;
  for (int i = 1; i <= m; ++i) {
    const bool mirror = (n[i] < 0) != (n[i - 1] < 0);
    if (!mirror && std::fabs(n[i]) != std::fabs(n[i - 1]) && static_cast<int>(d.SurfType[i]) != kObsScreen)
      refr.push_back(i);
  }
  out.refracting = static_cast<int>(refr.size());
  auto reflectance = [&](int i) { return s.reflectance > 0 ? s.reflectance : FresnelReflectance(n[i - 1], n[i]); };
  const double a = d.EntrBeamSemiDiam;
  for (size_t p = 0; p < refr.size(); ++p)
    for (size_t q = p + 1; q < refr.size(); ++q) {
      const int i = refr[p], j = refr[q];
      // The marginal ray of the axial point.
      Ray r{a, d.ObjDistance != 0 ? a / d.ObjDistance : 0};
      for (int s1 = 1; s1 < j; ++s1) {
        Bend(r, Curvature(d, s1), n[s1 - 1], n[s1]);
        Move(r, d.Thickness[s1]);
      }
      // Back from j: the medium before it, travelled the other way.
      Bend(r, Curvature(d, j), n[j - 1], -n[j - 1]);
      Move(r, -d.Thickness[j - 1]);
      for (int s2 = j - 1; s2 > i; --s2) {
        Bend(r, Curvature(d, s2), -n[s2], -n[s2 - 1]);
        Move(r, -d.Thickness[s2 - 1]);
      }
      // Forward again from i to the last surface.
      Bend(r, Curvature(d, i), -n[i], n[i]);
      Move(r, d.Thickness[i]);
      for (int s3 = i + 1; s3 <= m; ++s3) {
        Bend(r, Curvature(d, s3), n[s3 - 1], n[s3]);
        if (s3 < m) Move(r, d.Thickness[s3]);
      }
      if (!std::isfinite(r.y) || !std::isfinite(r.u)) continue;
      Ghost g;
      g.first = i, g.second = j;
      g.reflFirst = reflectance(i), g.reflSecond = reflectance(j);
      g.energy = g.reflFirst * g.reflSecond;
      g.afocal = std::fabs(r.u) < 1e-12;
      if (!g.afocal) {
        g.focusFromLast = -r.y / r.u;
        g.focusShift = g.focusFromLast - s.actualBfl;
        // Positive beyond the image, whichever way the light runs there.
        if (n[m] < 0) g.focusShift = -g.focusShift;
      }
      g.blurDiam = 2 * std::fabs(r.y + s.actualBfl * r.u);
      g.brightness = g.blurDiam > out.airyDiam && g.blurDiam > 0
                         ? g.energy * (out.airyDiam / g.blurDiam) * (out.airyDiam / g.blurDiam)
                         : g.energy;
      out.ghosts.push_back(g);
    }
  std::stable_sort(out.ghosts.begin(), out.ghosts.end(),
                   [](const Ghost& x, const Ghost& y) { return x.brightness > y.brightness; });
  out.text.push_back("Ghosts of two reflections, wavelength " + FormatFixed(d.Wavelength[k - 1], 4) + " micron");
  out.text.push_back(std::to_string(out.refracting) + " refracting surfaces, " + std::to_string(out.ghosts.size()) +
                     " ghosts; Airy disc " + FormatFixed(out.airyDiam * 1000, 2) + " micron");
  char line[160];
  std::snprintf(line, sizeof line, "%-9s%-9s%-9s%-11s%-14s%-13s%s", "SURF.", "REFL.1", "REFL.2", "ENERGY",
                "FOCUS (mm)", "BLUR (mm)", "BRIGHTNESS");
  out.text.push_back(line);
  for (const Ghost& g : out.ghosts) {
    const std::string pair = std::to_string(g.second) + "-" + std::to_string(g.first);
    const std::string focus = g.afocal ? std::string("afocal") : FormatFixed(g.focusShift, 3);
    std::snprintf(line, sizeof line, "%-9s%-9s%-9s%-11s%-14s%-13s%s", pair.c_str(), FormatFixed(g.reflFirst, 4).c_str(),
                  FormatFixed(g.reflSecond, 4).c_str(), Sci(g.energy).c_str(), focus.c_str(), FormatFixed(g.blurDiam, 4).c_str(),
                  Sci(g.brightness).c_str());
    out.text.push_back(line);
  }
  out.ok = true;
  return out;
}

void DrawGhosts(const GhostResult& r, Canvas& c, int background) {
  c.Clear(PlotBackground(background));
  const Rgb ink = PlotInk(background);
  if (!r.ok) return;
  if (r.ghosts.empty()) {
    c.Window(0, 0, 1, 1);
    c.Text(0.1, 0.45, "No ghosts: fewer than two refracting surfaces", ink);
    return;
  }
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
  bool first = true;
  for (const Ghost& g : r.ghosts) {
    const double x = g.afocal ? 0 : g.focusShift;
    const double y = std::log10(std::max(g.brightness, 1e-12));
    if (first) xmin = xmax = x, ymin = ymax = y, first = false;
    xmin = std::min(xmin, x), xmax = std::max(xmax, x);
    ymin = std::min(ymin, y), ymax = std::max(ymax, y);
  }
  xmin = std::min(xmin, 0.0), xmax = std::max(xmax, 0.0);
  const double dx = std::max(xmax - xmin, 1e-3) * 0.1, dy = std::max(ymax - ymin, 0.5) * 0.1;
  AxesStyle style;
  style.ink = ink;
  DrawAxes(c, {xmin - dx, xmax + dx, "Ghost focus from the image (mm)", 6},
           {std::floor(ymin - dy), std::ceil(ymax + dy), "log10 brightness", 5}, style);
  c.Line(0, std::floor(ymin - dy), 0, std::ceil(ymax + dy), {0, 0, 255}, 1);
  for (const Ghost& g : r.ghosts) {
    const double x = g.afocal ? 0 : g.focusShift;
    const double y = std::log10(std::max(g.brightness, 1e-12));
    c.Polygon({{x - dx * 0.08, y}, {x, y + dy * 0.25}, {x + dx * 0.08, y}, {x, y - dy * 0.25}}, {255, 0, 0});
    c.Text(x, y, std::to_string(g.second) + "-" + std::to_string(g.first), ink);
  }
}

}  // namespace ovrin
