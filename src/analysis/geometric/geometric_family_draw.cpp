// The pictures of the geometric family: spot grids, curve plots, the grid
// distortion, the PSF map and relief, and the footprint.
#include <algorithm>
#include <cmath>

#include "analysis/geometric/geometric_family.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "output/plot_axes.h"

namespace ovrin {

namespace {

Rgb RayColor(const DesignState* d, int wl) {
  static const Rgb kColors[7] = {{0, 0, 0}, {0, 0, 220}, {0, 150, 0}, {220, 0, 0},
                                 {200, 120, 0}, {150, 0, 170}, {0, 150, 150}};
  (void)d;
  return kColors[std::clamp(wl, 0, 6)];
}

}  // namespace

void DrawSpotFamily(const SpotFamilyResult& r, const FamilySettings& s, const SpotFamilySettings& f, Canvas& c) {
  const Rgb ink = PlotInk(s.background);
  if (f.family == SpotFamily::TotalField) {
    // The image plane to scale: every spot at its true place, its rays
    // spread about the chief ray by the zoom (1 is the true size).
    const double zoom = std::max(f.zoom, 1e-9);
    double lo = 1e300, hi = -1e300, xr = 0;
    for (const SpotCell& cell : r.cells)
      for (const RayHit& h : cell.hits) {
        const double y = cell.chiefY + (h.y - cell.chiefY) * zoom, x = cell.chiefX + (h.x - cell.chiefX) * zoom;
        lo = std::min(lo, y), hi = std::max(hi, y), xr = std::max(xr, std::fabs(x));
      }
    if (r.cells.empty() || lo > hi) {
      c.Window(-1, 1, 1, -1);
      c.Clear(PlotBackground(s.background));
      return;
    }
    const double half = std::max({(hi - lo) / 2, xr, 1e-3}) * 1.15;
    const double mid = (hi + lo) / 2;
    c.Window(-half * 1.3, mid + half, half * 1.3, mid - half);
    c.Clear(PlotBackground(s.background));
    c.Line(-half * 1.3, 0, half * 1.3, 0, {160, 160, 160}, 1);
    c.Line(0, mid - half, 0, mid + half, {160, 160, 160}, 1);
    for (const SpotCell& cell : r.cells) {
      for (const RayHit& h : cell.hits)
        c.Point(cell.chiefX + (h.x - cell.chiefX) * zoom, cell.chiefY + (h.y - cell.chiefY) * zoom,
                RayColor(nullptr, h.wl));
      c.Text(-half * 1.25, cell.chiefY + half * 0.03, cell.title + "  y " + FormatFixed(cell.chiefY, 3) + " mm", ink);
      c.Text(-half * 1.25, cell.chiefY - half * 0.05, "RMS " + FormatFixed(cell.stats.rms * 1000, 2) + " um", ink);
    }
    const double bar = NiceTicks(0, half, 3).back();
    c.Line(half * 0.5, mid - half * 0.9, half * 0.5 + bar, mid - half * 0.9, ink, 2);
    c.Text(half * 0.5, mid - half * 0.8, FormatFixed(bar, 3) + " mm" + (zoom != 1 ? "  (spots x" + FormatFixed(zoom, 0) + ")" : ""), ink);
    return;
  }
  // A grid of cells 100 units wide; one scale for all of them.
  const int rows = std::max(1, r.rows), cols = std::max(1, r.cols);
  // Square cells whatever the picture's proportions: the grid is padded.
  double w = cols * 100.0, h = rows * 110.0 + 14;
  double left = 0, top = 0;
  if (f.aspect > 0 && w / h < f.aspect) {
    left = -(f.aspect * h - w) / 2;
    w = f.aspect * h;
  } else if (f.aspect > 0) {
    top = (w / f.aspect - h) / 2;
    h = w / f.aspect;
  }
  c.Window(left, top, left + w, top - h);
  c.Clear(PlotBackground(s.background));
  double biggest = 0;
  for (const SpotCell& cell : r.cells) biggest = std::max({biggest, cell.stats.maxRadius, cell.airyRadius});
  if (biggest <= 0) biggest = 1e-3;
  const double units_per_mm = 40 / biggest * std::max(f.zoom, 1e-9);
  for (std::size_t i = 0; i < r.cells.size(); ++i) {
    const SpotCell& cell = r.cells[i];
    int row = static_cast<int>(i) / cols, col = static_cast<int>(i) % cols;
    if (f.family == SpotFamily::Multi && i >= 5) row = 1, col = static_cast<int>(i) - 5 + 1;
    const double cx = col * 100.0 + 50, cy = -row * 110.0 - 60;
    c.Text(col * 100.0 + 4, -row * 110.0 - 4, cell.title, ink);
    c.Text(col * 100.0 + 4, -row * 110.0 - 100, "RMS " + FormatFixed(cell.stats.rms * 1000, 2) + " um", ink);
    c.Circle(cx, cy, cell.airyRadius * units_per_mm, {150, 150, 150});
    for (const RayHit& h : cell.hits) {
      const double x = cx + (h.x - cell.stats.cx) * units_per_mm, y = cy + (h.y - cell.stats.cy) * units_per_mm;
      if (std::fabs(x - cx) < 50 && std::fabs(y - cy) < 45) c.Point(x, y, RayColor(nullptr, h.wl));
    }
  }
  c.Text(cols * 100.0 - 98, -rows * 110.0 - 3, "Cell " + FormatFixed(100 / units_per_mm, 4) + " mm", ink);
}

void DrawCurvePlot(const CurvePlot& p, int background, Canvas& c) {
  c.Window(0, 1, 1, 0);
  c.Clear(PlotBackground(background));
  double x0 = 1e300, x1 = -1e300, y0 = 1e300, y1 = -1e300;
  for (const Curve& cv : p.curves)
    for (std::size_t i = 0; i < cv.x.size() && i < cv.y.size(); ++i) {
      if (!std::isfinite(cv.y[i])) continue;
      x0 = std::min(x0, cv.x[i]), x1 = std::max(x1, cv.x[i]);
      y0 = std::min(y0, cv.y[i]), y1 = std::max(y1, cv.y[i]);
    }
  if (x0 > x1) x0 = 0, x1 = 1, y0 = 0, y1 = 1;
  if (p.yMin) y0 = std::min(y0, *p.yMin);
  if (p.yMax) y1 = std::max(y1, *p.yMax);
  if (y1 - y0 < 1e-12) y0 -= 1e-6, y1 += 1e-6;
  AxesStyle style;
  style.ink = PlotInk(background);
  const PlotBox box = DrawAxes(c, {x0, x1, p.xTitle}, {y0, y1, p.yTitle}, style);
  const double lh = (box.top - box.bottom) / 18;
  double ly = box.top - lh;
  for (const Curve& cv : p.curves) {
    std::vector<PlotPoint> pts;
    for (std::size_t i = 0; i < cv.x.size() && i < cv.y.size(); ++i)
      if (std::isfinite(cv.y[i])) pts.push_back({cv.x[i], cv.y[i]});
    c.Polyline(pts, cv.color, 2);
    c.Text(box.left + (box.right - box.left) * 0.55, ly, cv.name, cv.color);
    ly -= lh;
  }
}

void DrawDistortionGrid(const DistortionResult& r, int background, Canvas& c) {
  double half = 0;
  for (const PlotPoint& p : r.gridParaxial) half = std::max({half, std::fabs(p.x), std::fabs(p.y)});
  for (const PlotPoint& p : r.gridReal) half = std::max({half, std::fabs(p.x), std::fabs(p.y)});
  if (half <= 0) half = 1;
  half *= 1.15;
  c.Window(-half, half, half, -half);
  c.Clear(PlotBackground(background));
  const int n = r.gridSide;
  if (static_cast<int>(r.gridReal.size()) < n * n) return;
  const Rgb par{170, 170, 170}, real{0, 0, 200};
  for (int i = 0; i < n; ++i) {
    std::vector<PlotPoint> prow, pcol, rrow, rcol;
    for (int j = 0; j < n; ++j) {
      prow.push_back(r.gridParaxial[i * n + j]);
      pcol.push_back(r.gridParaxial[j * n + i]);
      rrow.push_back(r.gridReal[i * n + j]);
      rcol.push_back(r.gridReal[j * n + i]);
    }
    c.Polyline(prow, par, 1);
    c.Polyline(pcol, par, 1);
    c.Polyline(rrow, real, 1);
    c.Polyline(rcol, real, 1);
  }
  c.Text(-half * 0.95, half * 0.95, "Max distortion " + FormatFixed(r.maxPercent, 4) + " %", PlotInk(background));
}

void DrawGeoPsfMap(const GeoPsfResult& r, Canvas& c) {
  c.Window(-1, 1, 1, -1.15);
  c.Clear({0, 0, 0});
  if (r.bins <= 0) return;
  std::vector<Rgb> px;
  for (double v : r.density) {
    const int g = static_cast<int>(std::lround(255 * std::sqrt(std::clamp(v, 0.0, 1.0))));
    px.push_back({g, g, g});
  }
  c.Image(-1, 1, 1, -1, r.bins, r.bins, px);
  c.Text(-0.95, -1.03, "Width " + FormatFixed(2 * r.halfWidth * 1000, 2) + " um", {255, 255, 255});
}

void DrawGeoPsfRelief(const GeoPsfResult& r, const GeoPsfSettings& p, Canvas& c) {
  c.Window(-1.6, 1.6, 1.6, -1.2);
  c.Clear({255, 255, 255});
  if (r.bins <= 0) return;
  const double a = p.viewAngle * kDegree;
  const double ca = std::cos(a), sa = std::sin(a);
  auto project = [&](int row, int col) {
    const double x = -1 + 2.0 * col / (r.bins - 1), y = 1 - 2.0 * row / (r.bins - 1);
    const double v = r.density[static_cast<std::size_t>(row) * r.bins + col];
    return PlotPoint{x * 0.8 + y * 0.5, y * sa * 0.6 + v * ca * 0.9 - 0.3};
  };
  for (int row = 0; row < r.bins; ++row) {
    std::vector<PlotPoint> line;
    for (int col = 0; col < r.bins; ++col) line.push_back(project(row, col));
    c.Polyline(line, {0, 0, 160}, 1);
  }
  for (int col = 0; col < r.bins; ++col) {
    std::vector<PlotPoint> line;
    for (int row = 0; row < r.bins; ++row) line.push_back(project(row, col));
    c.Polyline(line, {120, 120, 200}, 1);
  }
}

void DrawFootprint(const FootprintResult& r, int background, Canvas& c) {
  double half = r.clearRadius;
  for (double e : r.extent) half = std::max(half, e);
  if (half <= 0) half = 1;
  half *= 1.1;
  c.Window(-half, half, half, -half);
  c.Clear(PlotBackground(background));
  const Rgb colors[3] = {{0, 0, 220}, {0, 150, 0}, {220, 0, 0}};
  c.Circle(0, 0, r.clearRadius, PlotInk(background));
  for (std::size_t f = 0; f < r.points.size(); ++f)
    for (std::size_t i = 0; i < r.points[f].size(); ++i)
      c.Circle(r.points[f][i].x, r.points[f][i].y, half * 0.005,
               r.stopped[f][i] ? Rgb{150, 150, 150} : colors[f % 3]);
  c.Text(-half * 0.95, half * 0.95, "Clear aperture radius " + FormatFixed(r.clearRadius, 3) + " mm",
         PlotInk(background));
}

}  // namespace ovrin
