// The schematic of a pre-designed system and the meniscus windows' plots.
#include <algorithm>
#include <cmath>

#include "core/number_text.h"
#include "predesign/predesign.h"

namespace ovrin::predesign {

namespace {

const Rgb kInk{0, 0, 0}, kAxis{150, 150, 150}, kRay{220, 0, 0}, kGlass{190, 225, 250}, kDim{0, 0, 200};

double RowSag(const Row& r, double y) {
  if (r.radius == 0) return r.a4 * std::pow(y, 4) + r.a6 * std::pow(y, 6);
  const double c = 1 / r.radius;
  const double k = r.type == kConic || r.type == kHighOrder ? r.conic : 0.0;
  const double root = 1 - (1 + k) * c * c * y * y;
  const double base = c * y * y / (1 + std::sqrt(std::max(0.0, root)));
  const double asph = r.type == kHighOrder ? r.a4 * std::pow(y, 4) + r.a6 * std::pow(y, 6) : 0.0;
  return base + asph;
}

std::vector<PlotPoint> Profile(const Row& r, double z) {
  std::vector<PlotPoint> pts;
  for (int i = 0; i <= 40; ++i) {
    const double y = -r.semi + 2 * r.semi * i / 40.0;
    pts.push_back({z + RowSag(r, y), y});
  }
  return pts;
}

void Polyline(Canvas& c, const std::vector<PlotPoint>& pts, Rgb ink, int width) {
  for (std::size_t i = 1; i < pts.size(); ++i) c.Line(pts[i - 1].x, pts[i - 1].y, pts[i].x, pts[i].y, ink, width);
}

}  // namespace

void DrawSchematic(const Plan& p, Canvas& c, double width, double height) {
  if (p.rows.empty() || width <= 0 || height <= 0) return;
  const bool folded = p.system.rfind("Newtonian", 0) == 0;
  std::vector<double> z;
  double zc = 0;
  for (const Row& r : p.rows) {
    z.push_back(zc);
    zc += r.thickness;
  }
  // The marginal ray by near-axis steps, to the paraxial focus.
  std::vector<double> ys;
  double y = p.beamSemi, u = 0, n = 1;
  for (std::size_t i = 0; i < p.rows.size(); ++i) {
    const Row& r = p.rows[i];
    ys.push_back(y);
    double n1 = r.medium == Row::Glass ? (p.index.empty() ? 1.5 : p.index.front()) : 1.0;
    if (r.medium == Row::AirNegat) n1 = -1;
    if (r.medium == Row::Glass && n < 0) n1 = -n1;
    const double cv = r.radius == 0 ? 0.0 : 1 / r.radius;
    u = (n * u - y * cv * (n1 - n)) / n1;
    if (i + 1 < p.rows.size()) y += u * r.thickness;
    n = n1;
  }
  const double bfl = u != 0 ? -ys.back() / u : 0.0;
  const double z_focus = z.back() + bfl;

  double zmin = std::min(0.0, z_focus), zmax = std::max(0.0, z_focus), ymax = p.beamSemi;
  for (std::size_t i = 0; i < z.size(); ++i) {
    zmin = std::min(zmin, z[i]);
    zmax = std::max(zmax, z[i]);
    ymax = std::max(ymax, p.rows[i].semi);
  }
  for (const Dimension& d : p.dims) {
    zmin = std::min({zmin, d.z1, d.z2});
    zmax = std::max({zmax, d.z1, d.z2});
    ymax = std::max(ymax, std::fabs(d.y));
  }
  const double lead = 0.12 * (zmax - zmin + 1);
  zmin -= lead;
  zmax += 0.08 * (zmax - zmin);
  ymax *= 1.25;
  double fold_e = 0, fold_half = 0;
  for (const Dimension& d : p.dims) {
    if (d.label == "E") fold_e = d.y;
    if (d.label == "Df") fold_half = (d.z2 - d.z1) / 2;
  }
  if (folded) ymax = std::max(ymax, fold_e * 1.3);
  // Equal scales on both axes.
  double w = zmax - zmin, h = 2 * ymax;
  if (w / h < width / height) {
    const double extra = h * width / height - w;
    zmin -= extra / 2;
    zmax += extra / 2;
  } else {
    ymax = w * height / width / 2;
  }
  c.Window(zmin, ymax, zmax, -ymax);
  c.Clear({255, 255, 255});
  c.Line(zmin, 0, zmax, 0, kAxis, 1);

  // Glass between a glass row and the next surface.
  for (std::size_t i = 0; i + 1 < p.rows.size(); ++i) {
    if (p.rows[i].medium != Row::Glass) continue;
    std::vector<PlotPoint> a = Profile(p.rows[i], z[i]);
    std::vector<PlotPoint> b = Profile(p.rows[i + 1], z[i + 1]);
    std::reverse(b.begin(), b.end());
    a.insert(a.end(), b.begin(), b.end());
    c.Polygon(a, kGlass);
  }
  // The marginal rays.
  const double z_start = zmin + lead * 0.3;
  for (double sgn : {1.0, -1.0}) {
    c.Line(z_start, sgn * p.beamSemi, z.front(), sgn * ys.front(), kRay, 1);
    for (std::size_t i = 0; i + 1 < z.size(); ++i) c.Line(z[i], sgn * ys[i], z[i + 1], sgn * ys[i + 1], kRay, 1);
    if (!folded) c.Line(z.back(), sgn * ys.back(), z_focus, 0, kRay, 1);
  }
  // The surfaces.
  for (std::size_t i = 0; i < p.rows.size(); ++i) {
    const Row& r = p.rows[i];
    if (r.type == kObsScreen) {
      c.Line(z[i], -r.semi, z[i], r.semi, kInk, 4);
      continue;
    }
    if (folded && i + 1 == p.rows.size()) {
      // The diagonal at 45 degrees sends the cone up to the focal plane.
      const double half = p.rows[0].semi;
      c.Line(z[i] - half, -half, z[i] + half, half, kInk, 3);
      for (double sgn : {1.0, -1.0}) c.Line(z[i] + sgn * ys.back(), sgn * ys.back(), z[i], fold_e, kRay, 1);
      c.Line(z[i] - std::max(fold_half, 0.01 * w), fold_e, z[i] + std::max(fold_half, 0.01 * w), fold_e, kInk, 2);
      continue;
    }
    const bool last_image = i + 1 == p.rows.size() && r.radius == 0;
    Polyline(c, Profile(r, z[i]), last_image ? kDim : kInk, last_image ? 1 : 2);
  }
  // The dimensions.
  const double tick = 0.015 * (zmax - zmin);
  for (const Dimension& d : p.dims) {
    if (folded && d.label == "E") {
      // From the axis up to the focal plane, beside the diagonal.
      const double zl = d.z1 + 0.04 * (zmax - zmin);
      c.Line(zl, 0, zl, d.y, kDim, 1);
      c.Line(zl - tick, d.y, zl + tick, d.y, kDim, 1);
      c.Text(zl + tick, d.y * 0.6, d.label, kDim);
    } else if (d.vertical) {
      c.Line(d.z1, -d.y, d.z1, d.y, kDim, 1);
      c.Line(d.z1 - tick, d.y, d.z1 + tick, d.y, kDim, 1);
      c.Line(d.z1 - tick, -d.y, d.z1 + tick, -d.y, kDim, 1);
      c.Text(d.z1 + tick, d.y * 0.5, d.label, kDim);
    } else {
      c.Line(d.z1, d.y, d.z2, d.y, kDim, 1);
      c.Line(d.z1, d.y - tick, d.z1, d.y + tick, kDim, 1);
      c.Line(d.z2, d.y - tick, d.z2, d.y + tick, kDim, 1);
      c.Text((d.z1 + d.z2) / 2, d.y + (d.y > 0 ? 3 * tick : -tick), d.label, kDim);
    }
  }
}

void DrawAberrationCurves(const MeniscusFigures& f, Canvas& c, double width, double height) {
  (void)width;
  (void)height;
  double span = 1e-3;
  for (const auto& curve : f.aberration)
    for (const auto& [zone, la] : curve) span = std::max(span, std::fabs(la));
  span *= 1.2;
  c.Window(-span, 1.15, span, -0.1);
  c.Clear({255, 255, 255});
  c.Line(-span, 0, span, 0, kAxis, 1);
  c.Line(0, 0, 0, 1.05, kAxis, 1);
  const Rgb colors[3] = {{0, 160, 0}, {0, 0, 255}, {255, 0, 0}};
  for (std::size_t k = 0; k < f.aberration.size(); ++k) {
    const auto& curve = f.aberration[k];
    for (std::size_t i = 1; i < curve.size(); ++i)
      c.Line(curve[i - 1].second, curve[i - 1].first, curve[i].second, curve[i].first, colors[k % 3], 2);
  }
  c.Text(-span * 0.95, 1.12, "LA  +-" + FormatFixed(span, 4) + " mm", kInk);
}

}  // namespace ovrin::predesign
