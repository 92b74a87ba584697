#include "glass/glass_diagram.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "core/number_text.h"

namespace ovrin {

namespace {

double IndexAt(const GlassRow& row, double lambda) { return RowIndex(row.formula, row.coef, lambda); }

bool ContainsNoCase(std::string_view hay, std::string_view needle) {
  auto eq = [](char a, char b) {
    return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b));
  };
  return std::search(hay.begin(), hay.end(), needle.begin(), needle.end(), eq) != hay.end();
}

// A range around [lo, hi] with a margin, its ends on multiples of `step`.
void RoundRange(double lo, double hi, double step, double& out_lo, double& out_hi) {
  const double margin = 0.02 * (hi - lo);
  out_lo = std::floor((lo - margin) / step) * step;
  out_hi = std::ceil((hi + margin) / step) * step;
  if (out_hi - out_lo < step) out_hi = out_lo + step;
}

constexpr Rgb kNormalLineColor{120, 120, 120};

}  // namespace

GlassDispersion DispersionOf(const GlassRow& row) {
  if (!row.HasCoefficients()) throw GlassRangeError();
  GlassDispersion g;
  g.nd = IndexAt(row, kLineD);
  g.ne = IndexAt(row, kLineE);
  g.nF = IndexAt(row, kLineF);
  g.nC = IndexAt(row, kLineC);
  g.ng = IndexAt(row, kLineG);
  const double dFC = g.nF - g.nC;
  // A medium without dispersion (vacuum) has no place on these diagrams.
  if (!(dFC > 0)) throw GlassRangeError();
  g.vd = (g.nd - 1) / dFC;
  g.pgF = (g.ng - g.nF) / dFC;
  // The t line lies in the near infrared, where some fits end.
  try {
    g.nt = IndexAt(row, kLineT);
    g.pCt = (g.nC - g.nt) / dFC;
  } catch (const GlassRangeError&) {
    g.nt = g.pCt = std::numeric_limits<double>::quiet_NaN();
  }
  return g;
}

Rgb CatalogueColor(Catalogue c) {
  switch (c) {
    case Catalogue::Schott: return {0, 70, 200};
    case Catalogue::Ohara: return {200, 0, 0};
    case Catalogue::Corning: return {0, 140, 0};
    case Catalogue::Hoya: return {200, 110, 0};
    case Catalogue::Lzos: return {140, 0, 160};
    case Catalogue::Special: return {0, 150, 150};
    case Catalogue::Chengdu: return {110, 80, 40};
  }
  return {0, 0, 0};
}

GlassDiagramResult ComputeGlassDiagram(const GlassDiagramSettings& s) {
  GlassDiagramResult r;
  for (int ci = 0; ci < kCatalogueCount; ++ci) {
    if (!s.catalogues[static_cast<std::size_t>(ci)]) continue;
    const auto cat = static_cast<Catalogue>(ci);
    for (const GlassRow& row : CatalogueRows(cat)) {
      GlassMark m{cat, &row, {}, 0, 0};
      try {
        m.disp = DispersionOf(row);
      } catch (const GlassRangeError&) {
        r.left_out.push_back(std::string(CatalogueName(cat)) + " " + row.name);
        continue;
      }
      switch (s.kind) {
        case GlassDiagramKind::NdVd: m.x = m.disp.vd, m.y = m.disp.nd; break;
        case GlassDiagramKind::PgF: m.x = m.disp.vd, m.y = m.disp.pgF; break;
        case GlassDiagramKind::PP: m.x = m.disp.pCt, m.y = m.disp.pgF; break;
      }
      if (!std::isfinite(m.x) || !std::isfinite(m.y)) {
        r.left_out.push_back(std::string(CatalogueName(cat)) + " " + row.name);
        continue;
      }
      r.glasses.push_back(m);
    }
  }

  double xlo = 1e300, xhi = -1e300, ylo = 1e300, yhi = -1e300, vlo = 1e300, vhi = -1e300;
  for (const GlassMark& m : r.glasses) {
    xlo = std::min(xlo, m.x), xhi = std::max(xhi, m.x);
    ylo = std::min(ylo, m.y), yhi = std::max(yhi, m.y);
    vlo = std::min(vlo, m.disp.vd), vhi = std::max(vhi, m.disp.vd);
  }
  if (r.glasses.empty()) {
    // An empty diagram keeps the usual frame of its kind.
    xlo = 20, xhi = 90, vlo = 20, vhi = 90;
    ylo = s.kind == GlassDiagramKind::NdVd ? 1.45 : 0.50;
    yhi = s.kind == GlassDiagramKind::NdVd ? 2.0 : 0.65;
    if (s.kind == GlassDiagramKind::PP) xlo = 0.6, xhi = 1.0;
  }

  switch (s.kind) {
    case GlassDiagramKind::NdVd:
      RoundRange(xlo, xhi, 5, r.x.min, r.x.max);
      RoundRange(ylo, yhi, 0.05, r.y.min, r.y.max);
      r.x.title = "Abbe number vd";
      r.y.title = "Index nd";
      r.x.reversed = true;
      break;
    case GlassDiagramKind::PgF:
      RoundRange(xlo, xhi, 5, r.x.min, r.x.max);
      RoundRange(ylo, yhi, 0.01, r.y.min, r.y.max);
      r.x.title = "Abbe number vd";
      r.y.title = "Relative partial dispersion P g,F";
      r.x.reversed = true;
      for (double v : {r.x.min, r.x.max}) r.normal_line.push_back({v, NormalPgF(v)});
      break;
    case GlassDiagramKind::PP:
      RoundRange(xlo, xhi, 0.01, r.x.min, r.x.max);
      RoundRange(ylo, yhi, 0.01, r.y.min, r.y.max);
      r.x.title = "Relative partial dispersion P C,t";
      r.y.title = "Relative partial dispersion P g,F";
      // The two normal lines give one line here, run over the glasses' vd.
      for (double v : {vlo, vhi}) r.normal_line.push_back({NormalPCt(v), NormalPgF(v)});
      break;
  }
  r.x.ticks = 8;
  r.y.ticks = 8;
  return r;
}

void DrawGlassDiagram(const GlassDiagramResult& r, const GlassDiagramSettings& s, Canvas& c) {
  const Rgb back = PlotBackground(s.background), ink = PlotInk(s.background);
  c.Clear(back);
  AxesStyle style;
  style.ink = ink;
  style.grid = s.background == 1 ? Rgb{70, 70, 70} : Rgb{215, 215, 215};
  const PlotBox box = DrawAxes(c, r.x, r.y, style);
  const double w = box.right - box.left, h = box.top - box.bottom;

  // Only the part of the normal line inside the box.
  if (r.normal_line.size() == 2) {
    PlotPoint a = r.normal_line[0], b = r.normal_line[1];
    const double t_lo = 0, t_hi = 1;
    std::vector<PlotPoint> inside;
    const int n = 200;
    for (int k = 0; k <= n; ++k) {
      const double t = t_lo + (t_hi - t_lo) * k / n;
      const PlotPoint p{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
      if (p.y >= std::min(box.top, box.bottom) && p.y <= std::max(box.top, box.bottom)) inside.push_back(p);
    }
    if (inside.size() >= 2) c.Polyline({inside.front(), inside.back()}, kNormalLineColor, 1);
  }

  // A small cross per glass, in its catalogue's colour.
  const double dx = 0.006 * w, dy = 0.006 * h * (760.0 / 536.0);
  for (const GlassMark& m : r.glasses) {
    const Rgb col = CatalogueColor(m.catalogue);
    c.Line(m.x - dx, m.y, m.x + dx, m.y, col, 1);
    c.Line(m.x, m.y - dy, m.x, m.y + dy, col, 1);
    if (s.names) c.Text(m.x + 1.3 * dx, m.y + 2.2 * dy, m.row->name, col);
  }
  if (s.selected >= 0 && s.selected < static_cast<int>(r.glasses.size())) {
    const GlassMark& m = r.glasses[static_cast<std::size_t>(s.selected)];
    c.Circle(m.x, m.y, 2.5 * std::fabs(dx), ink);
    c.Text(m.x + 3 * dx, m.y - 1.5 * dy, m.row->name, ink);
  }

  // The legend: one line per catalogue shown, at the upper right, on its own ground.
  int shown = r.normal_line.empty() ? 0 : 1;
  for (bool on : s.catalogues) shown += on ? 1 : 0;
  if (shown > 0) {
    const double l = box.right - 0.175 * w, r = box.right - 0.005 * w;
    const double t = box.top - 0.005 * h, b = box.top - (0.02 + 0.045 * shown) * h;
    c.Polygon({{l, t}, {r, t}, {r, b}, {l, b}}, back);
    c.Polyline({{l, t}, {r, t}, {r, b}, {l, b}, {l, t}}, style.grid, 1);
  }
  double ly = box.top - 0.03 * h;
  for (int ci = 0; ci < kCatalogueCount; ++ci) {
    if (!s.catalogues[static_cast<std::size_t>(ci)]) continue;
    const auto cat = static_cast<Catalogue>(ci);
    const double lx = box.right - 0.16 * w;
    c.Line(lx, ly - 0.012 * h, lx + 0.03 * w, ly - 0.012 * h, CatalogueColor(cat), 2);
    c.Text(lx + 0.04 * w, ly, CatalogueName(cat), CatalogueColor(cat));
    ly -= 0.045 * h;
  }
  if (!r.normal_line.empty()) {
    const double lx = box.right - 0.16 * w;
    c.Line(lx, ly - 0.012 * h, lx + 0.03 * w, ly - 0.012 * h, kNormalLineColor, 1);
    c.Text(lx + 0.04 * w, ly, "normal line", kNormalLineColor);
  }
}

int GlassNear(const GlassDiagramResult& r, double x, double y, double x_tol, double y_tol) {
  if (!(x_tol > 0) || !(y_tol > 0)) return -1;
  int best = -1;
  double best_d = 1.0;  // within the tolerance ellipse
  for (std::size_t i = 0; i < r.glasses.size(); ++i) {
    const double u = (r.glasses[i].x - x) / x_tol, v = (r.glasses[i].y - y) / y_tol;
    const double d = u * u + v * v;
    if (d <= best_d) best_d = d, best = static_cast<int>(i);
  }
  return best;
}

std::string GlassReadout(const GlassMark& m) {
  std::string s = std::string(CatalogueName(m.catalogue)) + " " + m.row->name + "  nd " + FormatFixed(m.disp.nd, 5) +
                  "  vd " + FormatFixed(m.disp.vd, 2) + "  P g,F " + FormatFixed(m.disp.pgF, 4);
  if (std::isfinite(m.disp.pCt)) s += "  P C,t " + FormatFixed(m.disp.pCt, 4);
  return s;
}

const char* FormulaName(GlassFormula f) { return f == GlassFormula::Sellmeier ? "Sellmeier" : "Schott"; }

std::string GlassDataText(Catalogue c, const GlassRow& row, double wavelength) {
  std::ostringstream o;
  o << CatalogueName(c) << " " << row.name << "\n";
  if (!row.HasCoefficients()) {
    o << "No dispersion formula is published for this glass.\n";
    return o.str();
  }
  o << "Formula: " << FormulaName(row.formula) << "\n";
  static const char* const sellmeier[] = {"B1", "B2", "B3", "C1", "C2", "C3"};
  static const char* const power[] = {"A0", "A2", "A4", "A1", "A3", "A5"};
  for (int k = 0; k < 6; ++k) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "  %s = %.9g\n", row.formula == GlassFormula::Sellmeier ? sellmeier[k] : power[k],
                  row.coef[k]);
    o << buf;
  }
  try {
    const GlassDispersion g = DispersionOf(row);
    o << "nd = " << FormatFixed(g.nd, 6) << "   ne = " << FormatFixed(g.ne, 6) << "\n";
    o << "nF = " << FormatFixed(g.nF, 6) << "   nC = " << FormatFixed(g.nC, 6) << "   ng = " << FormatFixed(g.ng, 6)
      << "\n";
    o << "vd = " << FormatFixed(g.vd, 2) << "   nF - nC = " << FormatFixed(g.nF - g.nC, 6) << "\n";
    o << "P g,F = " << FormatFixed(g.pgF, 4) << "   off the normal line " << FormatFixed(g.pgF - NormalPgF(g.vd), 4)
      << "\n";
    if (std::isfinite(g.pCt))
      o << "P C,t = " << FormatFixed(g.pCt, 4) << "   off the normal line " << FormatFixed(g.pCt - NormalPCt(g.vd), 4)
        << "\n";
  } catch (const GlassRangeError&) {
    o << "The formula does not hold at the visible lines.\n";
  }
  try {
    o << "n at " << FormatFixed(wavelength, 4) << " um = " << FormatFixed(IndexAt(row, wavelength), 6) << "\n";
  } catch (const GlassRangeError&) {
    o << "n at " << FormatFixed(wavelength, 4) << " um: outside the formula's range\n";
  }
  if (!std::isnan(row.density)) o << "Density = " << FormatFixed(row.density, 2) << " g/cm3\n";
  if (!std::isnan(row.alpha)) o << "Expansion = " << FormatFixed(row.alpha, 2) << " 1e-6/K\n";
  if (row.HasThermalConstants()) {
    char buf[200];
    std::snprintf(buf, sizeof buf, "dn/dT: D0 = %.3g  D1 = %.3g  D2 = %.3g  E0 = %.3g  E1 = %.3g  lambda tk = %.3g\n",
                  row.D0, row.D1, row.D2, row.E0, row.E1, row.lambda_tk);
    o << buf;
  }
  return o.str();
}

std::vector<GlassTableRow> GlassTable(Catalogue c, std::string_view filter, double wavelength) {
  std::vector<GlassTableRow> out;
  for (const GlassRow& row : CatalogueRows(c)) {
    if (!filter.empty() && !ContainsNoCase(row.name, filter)) continue;
    GlassTableRow t{&row, row.HasCoefficients(), {}, 0};
    if (t.available) {
      try {
        t.disp = DispersionOf(row);
      } catch (const GlassRangeError&) {
        t.disp = {};
        try {
          t.disp.nd = IndexAt(row, kLineD);  // a medium that does not disperse still has an index
        } catch (const GlassRangeError&) {
        }
      }
      try {
        t.index = IndexAt(row, wavelength);
      } catch (const GlassRangeError&) {
        t.index = 0;
      }
    }
    out.push_back(t);
  }
  return out;
}

}  // namespace ovrin
