// The designs with lenses: the Houghton correctors (two lenses of one glass
// with no net power in front of one or two spherical mirrors), the aplanatic
// doublet and the apochromatic triplet. Their shapes are the roots of the
// third-order sums of the thick system: a coarse scan of one bending finds the
// roots, Newton's method with a numerical Jacobian polishes them together with
// the condition that holds the power (no power for a corrector, the focal
// length for an objective). The objectives then trade the third-order
// spherical aberration for a real ray of the 0.85 zone that meets the
// near-axis focus, which balances the higher orders of their steep surfaces.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <sstream>

#include "glass/glass_catalogue.h"
#include "predesign/calc_util.h"

namespace ovrin::predesign {

std::vector<double> LensIndices(const std::string& typed, const std::string& glass,
                                const std::vector<float>& wavelengths, GlassChoice* choice) {
  using detail::Refusal;
  GlassChoice g;
  g.wavelengths = wavelengths;
  if (!typed.empty()) {
    g.catalogue = "DIRECT";
    g.indexText.clear();
    std::stringstream ss(typed);
    std::string item;
    while (std::getline(ss, item, ',')) g.indexText.push_back(item);
    if (g.indexText.size() != wavelengths.size()) throw Refusal("Type one index per design wavelength: n1,n2,n3");
  } else {
    const auto colon = glass.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == glass.size())
      throw Refusal("Give the glass as CAT:NAME or its indices n1,n2,n3");
    g.catalogue = glass.substr(0, colon);
    for (char& ch : g.catalogue) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    g.glass = glass.substr(colon + 1);
  }
  std::vector<double> n = detail::CorrectorIndices(g);
  if (choice) *choice = g;
  return n;
}

namespace detail {
namespace {

double Sag(double c, double h) {
  const double x = c * c * h * h;
  if (x >= 1) throw Refusal("A lens surface is steeper than a hemisphere at its clear aperture");
  return c * h * h / (1 + std::sqrt(1 - x));
}

}  // namespace
}  // namespace detail

double LensCentreThickness(double c1, double c2, double h, double at_least) {
  const double edge = std::max(1.0, 0.1 * std::fabs(h));
  const double t = std::max({edge, at_least, edge + detail::Sag(c1, h) - detail::Sag(c2, h)});
  return t;
}

namespace detail {
namespace {

constexpr double kPi = 3.14159265358979323846;
double Degrees(double rad) { return rad * 180 / kPi; }

using Vec = std::vector<double>;
using System = std::function<Vec(const Vec&)>;  // parameters -> residuals

// Newton's method on a square system, the Jacobian by central differences.
// Fault when it does not settle.
Vec Newton(const System& f, Vec x) {
  for (int it = 0; it < 60; ++it) {
    const Vec r = f(x);
    double worst = 0;
    for (double v : r) worst = std::max(worst, std::fabs(v));
    if (worst < 1e-13) return x;
    std::vector<Vec> J(r.size(), Vec(x.size()));
    for (std::size_t j = 0; j < x.size(); ++j) {
      const double h = 1e-6 * std::max(1.0, std::fabs(x[j]));
      Vec a = x, b = x;
      a[j] += h;
      b[j] -= h;
      const Vec ra = f(a), rb = f(b);
      for (std::size_t i = 0; i < r.size(); ++i) J[i][j] = (ra[i] - rb[i]) / (2 * h);
    }
    Vec neg(r.size());
    for (std::size_t i = 0; i < r.size(); ++i) neg[i] = -r[i];
    const Vec dx = SolveLinear(J, neg);
    // Damped: the step is halved until the residual shrinks (or the system
    // can be built at all).
    auto norm = [&](const Vec& y) {
      try {
        double q = 0;
        for (double v : f(y)) q = std::max(q, std::fabs(v));
        return std::isfinite(q) ? q : static_cast<double>(INFINITY);
      } catch (const std::exception&) {
        return static_cast<double>(INFINITY);
      }
    };
    double lambda = 1;
    Vec y = x;
    for (int half = 0; half < 30; ++half, lambda /= 2) {
      for (std::size_t j = 0; j < x.size(); ++j) y[j] = x[j] + lambda * dx[j];
      if (norm(y) < worst) break;
    }
    double step = 0;
    for (std::size_t j = 0; j < x.size(); ++j) step = std::max(step, std::fabs(y[j] - x[j]));
    x = y;
    if (step < 1e-12) break;
  }
  double last = 0;
  for (double v : f(x)) last = std::max(last, std::fabs(v));
  if (!(last < 1e-8)) throw Refusal("No aplanatic solution for these inputs");
  return x;
}

// The pairs (a, b) where S1 = S2 = 0, weakest first: the local minima of the
// scaled residual on an 81 by 81 grid over the two ranges, each polished by
// Newton's method. Scaled by the largest sums met on the grid, so both count
// alike.
using Sums12 = std::function<std::array<double, 2>(double, double)>;
struct Candidates {
  std::vector<std::array<double, 2>> roots;
  double scale1 = 1, scale2 = 1;
};
struct Range {
  double lo, hi;
};
Candidates Roots(const Sums12& s12, Range ra, Range rb) {
  Candidates c;
  const int n = 81;
  const double sa = (ra.hi - ra.lo) / (n - 1), sb = (rb.hi - rb.lo) / (n - 1);
  std::vector<std::array<double, 2>> grid(static_cast<std::size_t>(n * n), {NAN, NAN});
  auto eval = [&](double a, double b) -> std::array<double, 2> {
    try {
      return s12(a, b);
    } catch (const std::exception&) {
      return {NAN, NAN};
    }
  };
  double m1 = 0, m2 = 0;
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      const auto v = eval(ra.lo + i * sa, rb.lo + j * sb);
      grid[i * n + j] = v;
      if (std::isfinite(v[0]) && std::isfinite(v[1])) {
        m1 = std::max(m1, std::fabs(v[0]));
        m2 = std::max(m2, std::fabs(v[1]));
      }
    }
  if (m1 == 0 || m2 == 0) throw Refusal("No aplanatic solution for these inputs");
  c.scale1 = m1;
  c.scale2 = m2;
  auto r = [&](int i, int j) {
    const auto& v = grid[i * n + j];
    if (!std::isfinite(v[0]) || !std::isfinite(v[1])) return static_cast<double>(INFINITY);
    return std::hypot(v[0] / m1, v[1] / m2);
  };
  std::vector<std::pair<double, std::array<double, 2>>> minima;
  for (int i = 1; i + 1 < n; ++i)
    for (int j = 1; j + 1 < n; ++j) {
      const double x = r(i, j);
      bool least = std::isfinite(x);
      for (int di = -1; di <= 1 && least; ++di)
        for (int dj = -1; dj <= 1 && least; ++dj)
          if ((di || dj) && r(i + di, j + dj) < x) least = false;
      if (least) minima.push_back({x, {ra.lo + i * sa, rb.lo + j * sb}});
    }
  std::sort(minima.begin(), minima.end(), [](const auto& x, const auto& y) { return x.first < y.first; });
  if (minima.size() > 40) minima.resize(40);
  for (const auto& [res, ab] : minima) {
    try {
      const Vec x = Newton(
          [&](const Vec& v) {
            const auto s = s12(v[0], v[1]);
            return Vec{s[0] / m1, s[1] / m2};
          },
          {ab[0], ab[1]});
      bool seen = false;
      for (const auto& q : c.roots) seen = seen || (std::fabs(q[0] - x[0]) + std::fabs(q[1] - x[1]) < 1e-6);
      if (!seen && std::fabs(x[0]) <= 2 * std::max(std::fabs(ra.lo), std::fabs(ra.hi)) &&
          std::fabs(x[1]) <= 2 * std::max(std::fabs(rb.lo), std::fabs(rb.hi)))
        c.roots.push_back({x[0], x[1]});
    } catch (const std::exception&) {
    }
  }
  std::sort(c.roots.begin(), c.roots.end(), [](const auto& x, const auto& y) {
    return std::max(std::fabs(x[0]), std::fabs(x[1])) < std::max(std::fabs(y[0]), std::fabs(y[1]));
  });
  if (c.roots.empty()) throw Refusal("No aplanatic solution for these inputs");
  return c;
}

// Of the candidates whose polish with the power and colour conditions
// succeeds, the one of the weakest surfaces (the least sum of squared
// curvatures), which keeps the orders above the third small.
template <class Polish>
Vec Weakest(const Candidates& c, Polish polish) {
  Vec best;
  double cost = INFINITY;
  for (const auto& r : c.roots) {
    try {
      const Vec x = polish(r);
      double q = 0;
      for (double v : x) q += v * v;
      if (q < cost) {
        cost = q;
        best = x;
      }
    } catch (const std::exception&) {
    }
  }
  if (best.empty()) throw Refusal("No aplanatic solution for these inputs");
  return best;
}

// The near-axis focus behind the last row of a lens plan at wavelength k (0-based).
double FocusAt(const Plan& q, std::size_t k) {
  Plan c = q;
  for (auto& n : c.lensIndex) n[0] = n[k];
  return SeidelOf(c).bfl;
}

// The transverse error, at the near-axis focus, of the real ray parallel to
// the axis at `zone` of the semi-diameter, wavelength 1, through the spherical
// surfaces of a lens plan. Its zero at the 0.85 zone balances the third order
// against the higher ones for the smallest spot.
double ZoneError(const Plan& q, double h, double zone) {
  double z = 0, y = zone * h, L = 1, M = 0, n = 1;
  for (std::size_t i = 0; i < q.rows.size(); ++i) {
    const Row& r = q.rows[i];
    const double c = r.radius == 0 ? 0.0 : 1 / r.radius;
    // Meet the sphere c (z^2 + y^2) - 2 z = 0 from the point (z, y).
    const double b = L - c * (z * L + y * M);
    const double f = c * (z * z + y * y) - 2 * z;
    const double disc = b * b - c * f;
    if (disc < 0) throw Fault();
    const double t = Div(f, b + std::sqrt(disc));
    z += t * L;
    y += t * M;
    const double n1 = r.medium == Row::Glass ? q.lensIndex[r.lens][0] : 1.0;
    const double nz = 1 - c * z, ny = -c * y;  // the unit normal
    const double mu = n / n1, cosi = nz * L + ny * M;
    const double root = 1 - mu * mu * (1 - cosi * cosi);
    if (root < 0) throw Fault();
    const double g = std::sqrt(root) - mu * cosi;
    L = mu * L + g * nz;
    M = mu * M + g * ny;
    n = n1;
    z -= r.thickness;  // to the next vertex
  }
  // The last row's thickness is the back focus: z is now measured from the focus.
  return y - Div(z * M, L);
}

// The rows as the maker reads them: radii to 3 decimals (as shown), the
// lenses' and spaces' thicknesses up to the next 0.01 mm.
void Tidy(Plan& p) {
  for (std::size_t i = 0; i < p.rows.size(); ++i) {
    Row& r = p.rows[i];
    r.radius = RoundTo(r.radius, 3);
    if (r.medium != Row::AirNegat && r.thickness > 0) r.thickness = std::ceil(r.thickness * 100 - 1e-6) / 100;
  }
}

double RadiusOf(double c) { return std::fabs(c) < 1e-12 ? 0.0 : 1 / c; }

std::vector<float> DesignWavelengths(const std::string& text) {
  std::vector<float> wl;
  std::stringstream ss(text);
  std::string item;
  while (std::getline(ss, item, ',')) wl.push_back(static_cast<float>(ParseLeadingNumber(item)));
  if (wl.size() != 3) throw Refusal("Three design wavelengths are needed: w1,w2,w3");
  for (float w : wl)
    if (!(w > 0.2f && w < 3.0f)) throw Refusal("Invalid wavelength");
  return wl;
}

std::string Text(const Inputs& in, const char* key) {
  const auto it = in.text.find(key);
  return it == in.text.end() ? std::string() : it->second;
}

// Abbe-like number and partial dispersion of a lens from its three indices.
double Abbe(const std::vector<double>& n) { return Div(n[0] - 1, n[2] - n[1]); }
double Partial(const std::vector<double>& n) { return Div(n[0] - n[1], n[2] - n[1]); }

void ShowG(Plan& p, const char* lens, double n) {
  Extra(p, std::string("G1 lens ") + lens, n * n * (n - 1) / 2, 5);
  Extra(p, std::string("G2 lens ") + lens, (2 * n + 1) * (n - 1) / 2, 5);
  Extra(p, std::string("G3 lens ") + lens, (3 * n + 1) * (n - 1) / 2, 5);
  Extra(p, std::string("G4 lens ") + lens, (n - 1) * (n + 2) / (2 * n), 5);
}

// The lens objective: curvatures of its surfaces (times F), the gaps and the
// lens of each glass surface; thicknesses from the edge rule.
struct Objective {
  double F = 0, h = 0;
  std::vector<std::vector<double>> n;  // per lens
  std::vector<double> gapMin;          // air space between lens i and i+1 at the axis (0: cemented)
  bool cemented = false;

  Plan Build(const Vec& k) const {
    Plan p;
    const std::size_t lenses = n.size();
    p.lensIndex = n;
    for (std::size_t i = 0; i < lenses; ++i) {
      const double c1 = k[2 * i] / F, c2 = k[2 * i + 1] / F;
      const double t = LensCentreThickness(c1, c2, h);
      p.rows.push_back({h, RadiusOf(c1), t, Row::Glass, kSphere});
      p.rows.back().lens = static_cast<int>(i);
      double gap = 0;
      if (i + 1 < lenses) {
        const double c3 = k[2 * i + 2] / F;
        // Air spaces keep the lenses apart at the edge as well.
        gap = cemented && gapMin[i] == 0 ? 0.0 : gapMin[i] + std::max(0.0, Sag(c2, h) - Sag(c3, h));
      }
      p.rows.push_back({h, RadiusOf(c2), gap, Row::AirPosit, kSphere});
    }
    return p;
  }
};

}  // namespace

// The aplanatic doublet: the powers split for achromatism between the first
// and the other two wavelengths, the shapes from zero spherical aberration and
// zero coma (cemented: zero spherical aberration with the least coma).
Plan Doublet(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const double F = box.NonZero("focal");
  const double h = std::fabs(box.NonZero("semi-diameter"));
  const std::vector<float> wl = DesignWavelengths(Text(in, "wl"));
  GlassChoice ga, gb;
  const std::vector<double> na = LensIndices(Text(in, "index-a"), Text(in, "glass-a"), wl, &ga);
  const std::vector<double> nb = LensIndices(Text(in, "index-b"), Text(in, "glass-b"), wl, &gb);
  const bool air = box("air-spaced") != 0;
  p.results.push_back({"SurfCount", "SurfCount", "4"});
  const double VA = Show(p, "VA", Abbe(na), 4, "VA (Abbe-like number of lens A)");
  const double VB = Show(p, "VB", Abbe(nb), 4, "VB (Abbe-like number of lens B)");
  p.numbers = {{"VA", VA}, {"VB", VB}};
  const double power = Div(1, F);
  const double fA = Show(p, "Focal length lens A", Div(1, power * Div(VA, VA - VB)), 2);
  const double fB = Show(p, "Focal length lens B", Div(1, power * Div(VB, VB - VA)), 2);
  ShowG(p, "A", na[0]);
  ShowG(p, "B", nb[0]);
  const double kA = Div(F, fA * (na[0] - 1)), kB = Div(F, fB * (nb[0] - 1));  // c1 - c2 of each lens, times F

  Objective o;
  o.F = F;
  o.h = h;
  o.n = {na, nb};
  o.cemented = !air;
  o.gapMin = {air ? std::max(0.5, 0.01 * h) : 0.0};
  // k = (c1, c2, c3, c4) F.
  auto sums = [&](const Vec& k) { return SeidelOf(o.Build(k)); };
  // The thick lenses keep the foci of wavelengths 2 and 3 together.
  auto colour = [&](const Vec& k) { return (FocusAt(o.Build(k), 1) - FocusAt(o.Build(k), 2)) / F; };
  // The spherical aberration condition: third order first, then the real
  // ray of the 0.85 zone from the third-order solution.
  bool real = false;
  auto spherical = [&](const Vec& k, double third) {
    if (!real) return third;
    Plan q = o.Build(k);
    q.rows.back().thickness = SeidelOf(q).bfl;
    return ZoneError(q, h, 0.85) * F / (h * h);
  };
  auto Balanced = [&](const Vec& third, const auto& solve) {
    real = true;
    try {
      const Vec x = solve(third);
      real = false;
      return x;
    } catch (const std::exception&) {
      real = false;
      return third;
    }
  };
  Vec k;
  if (air) {
    auto at = [&](double a, double b) { return Vec{a, a - kA, b, b - kB}; };
    const Candidates cand = Roots(
        [&](double a, double b) {
          const SeidelSums s = sums(at(a, b));
          return std::array<double, 2>{s.S[0], s.S[1]};
        },
        {-6, 6}, {-6, 6});
    auto solve = [&](const Vec& start) {
      return Newton(
          [&](const Vec& v) {
            const SeidelSums s = sums(v);
            return Vec{spherical(v, s.S[0] / cand.scale1), s.S[1] / cand.scale2, s.efl / F - 1, colour(v)};
          },
          start);
    };
    k = Weakest(cand, [&](const std::array<double, 2>& root) { return solve(at(root[0], root[1])); });
    k = Balanced(k, solve);
  } else {
    auto at = [&](double a) { return Vec{a, a - kA, a - kA, a - kA - kB}; };
    // The roots of the spherical aberration along the bending; of two, the one with less coma.
    double best = std::nan(""), coma = 0;
    double pa = -6, pv = sums(at(pa)).S[0];
    double least = std::fabs(pv), least_at = pa;
    for (double a = -6 + 0.02; a <= 6; a += 0.02) {
      const SeidelSums s = sums(at(a));
      if (std::fabs(s.S[0]) < least) {
        least = std::fabs(s.S[0]);
        least_at = a;
      }
      if ((s.S[0] > 0) != (pv > 0)) {
        double x0 = pa, x1 = a, v0 = pv;
        for (int i = 0; i < 60; ++i) {
          const double xm = 0.5 * (x0 + x1), vm = sums(at(xm)).S[0];
          if ((vm > 0) == (v0 > 0)) {
            x0 = xm;
            v0 = vm;
          } else {
            x1 = xm;
          }
        }
        const double r = 0.5 * (x0 + x1), c = std::fabs(sums(at(r)).S[1]);
        if (std::isnan(best) || c < coma) {
          best = r;
          coma = c;
        }
      }
      pa = a;
      pv = s.S[0];
    }
    const double scale = std::fabs(sums(at(-6)).S[0]) + std::fabs(sums(at(6)).S[0]);
    if (std::isnan(best)) {
      // No bending corrects the spherical aberration: the least of it.
      best = least_at;
      const Vec s = at(best);
      const Vec x = Newton(
          [&](const Vec& v) {
            const Vec q{s[0], v[0], v[0], v[1]};
            return Vec{sums(q).efl / F - 1, colour(q)};
          },
          {s[1], s[3]});
      k = {s[0], x[0], x[0], x[1]};
    } else {
      const Vec s = at(best);
      auto solve = [&](const Vec& start) {
        return Newton(
            [&](const Vec& v) {
              const Vec q{v[0], v[1], v[1], v[2]};
              return Vec{spherical(q, sums(q).S[0] / scale), sums(q).efl / F - 1, colour(q)};
            },
            start);
      };
      const Vec x = Balanced(solve({s[0], s[1], s[3]}), solve);
      k = {x[0], x[1], x[1], x[2]};
    }
  }
  p.lensIndex = o.n;
  // The radii as shown, read back.
  Vec c(4);
  const char* names[4] = {"R1", "R2", "R3", "R4"};
  for (int i = 0; i < 4; ++i) {
    const double r = RadiusOf(k[i] / F);
    const double shown = Show(p, names[i], r, 3);
    c[i] = shown == 0 ? 0.0 : F / shown;
  }
  p.rows = o.Build(c).rows;
  Tidy(p);
  const SeidelSums z = SeidelOf(p);
  p.rows[3].thickness = RoundTo(z.bfl, 3);  // the update derives it again from the written rows
  Show(p, "Thickness lens A", p.rows[0].thickness, 2);
  Show(p, "Air space", p.rows[1].thickness, 2);
  Show(p, "Thickness lens B", p.rows[2].thickness, 2);
  Show(p, "Back focus", z.bfl, 3);
  Extra(p, "Spherical aberration sum S1", z.S[0], 8);
  Extra(p, "Coma sum S2", z.S[1], 8);
  p.lenses = {ga, gb};
  p.wavelengths = wl;
  p.beamSemi = h;
  p.halfFieldDeg = 0.5;
  p.system = std::string(air ? "Air-spaced" : "Cemented") + " doublet " + FormatFixed(2 * h, 0) + " mm f/" +
             FormatFixed(Div(F, 2 * h), 2) + " (pre-design)";
  const double len = p.rows[0].thickness + p.rows[1].thickness + p.rows[2].thickness;
  p.dims = {{"D", true, 0, 0, h}, {"F", false, len, len + z.bfl, -1.3 * h}};
  return p;
}

// The apochromatic triplet: three powers that bring the three wavelengths to
// one focus (the primary and secondary colour sums, from the Abbe-like
// numbers and the partial dispersions); lenses A and B cemented, lens C
// behind the second air space; the bendings of lens A and lens C from zero
// spherical aberration and coma. The scroll bars correct by hand: the power
// of lens B (the other two then keep the primary colour only), R5 against its
// aplanatic value (the coma then left as it falls), the second air space.
Plan Triplet(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const double F = box.NonZero("focal");
  const double h = std::fabs(box.NonZero("semi-diameter"));
  const std::vector<float> wl = DesignWavelengths(Text(in, "wl"));
  GlassChoice g[3];
  const std::vector<double> na = LensIndices(Text(in, "index-a"), Text(in, "glass-a"), wl, &g[0]);
  const std::vector<double> nb = LensIndices(Text(in, "index-b"), Text(in, "glass-b"), wl, &g[1]);
  const std::vector<double> nc = LensIndices(Text(in, "index-c"), Text(in, "glass-c"), wl, &g[2]);
  auto scroll = [&](int i) { return i < static_cast<int>(in.scroll.size()) ? in.scroll[i] / 10000.0 : 1.0; };
  const double VA = Show(p, "VA", Abbe(na), 4), VB = Show(p, "VB", Abbe(nb), 4), VC = Show(p, "VC", Abbe(nc), 4);
  const double PA = Show(p, "PA", Partial(na), 4), PB = Show(p, "PB", Partial(nb), 4),
               PC = Show(p, "PC", Partial(nc), 4);
  p.numbers = {{"VA", VA}, {"VB", VB}, {"VC", VC}};
  const double power = Div(1, F);
  const Vec phi = SolveLinear({{1, 1, 1}, {1 / VA, 1 / VB, 1 / VC}, {PA / VA, PB / VB, PC / VC}}, {power, 0, 0});
  double pB = phi[1] * scroll(0), pA = phi[0], pC = phi[2];
  const bool apo = scroll(0) == 1.0;
  if (scroll(0) != 1.0) {
    const Vec ac = SolveLinear({{1, 1}, {1 / VA, 1 / VC}}, {power - pB, -pB / VB});
    pA = ac[0];
    pC = ac[1];
  }
  const double fA = Show(p, "Focal length lens A", Div(1, pA), 2);
  const double fB = Show(p, "Focal length lens B", Div(1, pB), 2);
  const double fC = Show(p, "Focal length lens C", Div(1, pC), 2);
  ShowG(p, "A", na[0]);
  ShowG(p, "B", nb[0]);
  ShowG(p, "C", nc[0]);
  const double kA = Div(F, fA * (na[0] - 1)), kB = Div(F, fB * (nb[0] - 1)), kC = Div(F, fC * (nc[0] - 1));
  const double ratio = scroll(1);
  if (ratio <= 0) throw Fault();
  Objective o;
  o.F = F;
  o.h = h;
  o.n = {na, nb, nc};
  o.cemented = true;
  o.gapMin = {0.0, 1.0 * scroll(2)};
  if (o.gapMin[1] < 0) throw Fault();
  auto sums = [&](const Vec& k) { return SeidelOf(o.Build(k)); };
  bool real = false;
  auto spherical = [&](const Vec& k, double third) {
    if (!real) return third;
    Plan q = o.Build(k);
    q.rows.back().thickness = SeidelOf(q).bfl;
    return ZoneError(q, h, 0.85) * F / (h * h);
  };
  auto Balanced = [&](const Vec& third, const auto& solve) {
    real = true;
    try {
      const Vec x = solve(third);
      real = false;
      return x;
    } catch (const std::exception&) {
      real = false;
      return third;
    }
  };
  // Lenses A and B cemented; a: lens A's first curvature, b: lens C's.
  auto at = [&](double a, double b) { return Vec{a, a - kA, a - kA, a - kA - kB, b, b - kC}; };
  const Candidates cand = Roots(
      [&](double a, double b) {
        const SeidelSums s = sums(at(a, b));
        return std::array<double, 2>{s.S[0], s.S[1]};
      },
      {-6, 6}, {-6, 6});
  // The thick lenses: the three foci together (or, with lens B's power set
  // by hand, those of wavelengths 2 and 3), the focal length kept; with R5
  // held (the R5/R4 bar moved) the coma is left as it falls.
  auto polish = [&](const Vec& start, bool hold5) {
    auto full = [&](const Vec& v) {
      std::size_t i = 0;
      Vec q(6);
      q[0] = v[i++];
      q[1] = q[2] = v[i++];
      q[3] = apo ? v[i++] : q[2] - kB;
      q[4] = hold5 ? start[4] : v[i++];
      q[5] = v[i++];
      return q;
    };
    Vec v0{start[0], start[1]};
    if (apo) v0.push_back(start[3]);
    if (!hold5) v0.push_back(start[4]);
    v0.push_back(start[5]);
    return full(Newton(
        [&](const Vec& v) {
          const Plan pl = o.Build(full(v));
          const SeidelSums s = SeidelOf(pl);
          Vec r{spherical(full(v), s.S[0] / cand.scale1)};
          if (!hold5) r.push_back(s.S[1] / cand.scale2);
          r.push_back(s.efl / F - 1);
          r.push_back((FocusAt(pl, 1) - FocusAt(pl, 2)) / F);
          if (apo) r.push_back((FocusAt(pl, 0) - FocusAt(pl, 1)) / F);
          return r;
        },
        v0));
  };
  Vec x = Weakest(cand, [&](const std::array<double, 2>& root) { return polish(at(root[0], root[1]), false); });
  x = Balanced(x, [&](const Vec& start) { return polish(start, false); });
  Show(p, "R5/R4 (aplanatic)", Div(x[3], x[4]), 4);
  if (ratio != 1.0) {
    x[4] = Div(x[4], ratio);  // R5 = ratio times the aplanatic R5
    x = Balanced(polish(x, true), [&](const Vec& start) { return polish(start, true); });
  }
  const Vec k = x;
  p.lensIndex = o.n;
  Vec c(6);
  const char* names[6] = {"R1", "R2", "R3", "R4", "R5", "R6"};
  for (int i = 0; i < 6; ++i) {
    const double shown = Show(p, names[i], RadiusOf(k[i] / F), 3);
    c[i] = shown == 0 ? 0.0 : F / shown;
  }
  p.rows = o.Build(c).rows;
  Tidy(p);
  const SeidelSums z = SeidelOf(p);
  p.rows.back().thickness = RoundTo(z.bfl, 3);  // the update derives it again from the written rows
  Show(p, "Thickness lens A", p.rows[0].thickness, 2);
  Show(p, "Thickness lens B", p.rows[2].thickness, 2);
  Show(p, "Air space 2", p.rows[3].thickness, 2);
  Show(p, "Thickness lens C", p.rows[4].thickness, 2);
  Show(p, "Back focus", z.bfl, 3);
  Extra(p, "Spherical aberration sum S1", z.S[0], 8);
  Extra(p, "Coma sum S2", z.S[1], 8);
  p.lenses = {g[0], g[1], g[2]};
  p.wavelengths = wl;
  p.beamSemi = h;
  p.halfFieldDeg = 0.5;
  p.system = "Apochromatic triplet " + FormatFixed(2 * h, 0) + " mm f/" + FormatFixed(Div(F, 2 * h), 2) +
             " (pre-design)";
  double len = 0;
  for (int i = 0; i < 5; ++i) len += p.rows[i].thickness;
  p.dims = {{"D", true, 0, 0, h}, {"F", false, len, len + z.bfl, -1.3 * h}};
  return p;
}

// The Houghton family. The corrector: lens A (thickness as typed), a small
// air space, lens B (thickness from the edge rule), lens B the negative of
// lens A (R3 = -R1, R4 = -R2), so that the pair has no power at the design
// wavelength in the thin-lens sense. The bending and the power of lens A are
// found so that the whole system has no third-order spherical aberration and
// coma. The aspheric variants make R2 and R4 plane and give the last mirror
// the conic in place of the bending.
Plan Houghton(const Inputs& in, Kind kind) {
  const Boxes box(in);
  Plan p;
  const bool cass = kind == Kind::HoughtonCassegrain || kind == Kind::HoughtonCassegrainAspheric;
  const bool aspheric = kind == Kind::HoughtonAspheric || kind == Kind::HoughtonCassegrainAspheric;
  const std::vector<double> index = CorrectorIndices(in.glass);
  const double n = index.front();
  if (n <= 1) throw Fault();
  const double DC = box.NonZero("corrector-diameter");
  const double DP = box.NonZero("corrector-distance");
  const double Df = box("field");
  const double tA = box.NonZero("thickness");
  if (DC <= 0 || DP <= 0 || tA <= 0) throw Fault();
  double F = 0, F1 = 0, D1 = 0, d = 0, b = 0, Rs = 0, Ds = 0, E = 0;
  if (cass) {
    F = box.NonZero("efl");
    F1 = std::fabs(box.NonZero("f1"));
    D1 = box.NonZero("diameter");
    b = box("back-focus");
    const double m = Div(F, F1);
    d = Show(p, "d, mirror separation", Div(F1 * m - b, m + 1), 3);
    const double c2 = RoundTo(-Div(b + d, m - 1), 3);
    Rs = Show(p, "Secondary radius", 2 * c2, 3);
    Ds = Show(p, "Ds, secondary diameter", Div((b + d) * DC, F) + Div(d * Df, F), 2);
    if (d <= 0 || Ds <= 0) throw Fault();
    if (DP <= d) throw Refusal("The corrector must stand in front of the secondary: DP greater than d");
  } else {
    F = std::fabs(box.NonZero("focal"));
    F1 = F;
    E = box("axis-to-focus");
    D1 = DC + Div(DP * Df, F);
    // The diagonal stands F - E in front of the mirror, inside the tube.
    if (DP <= F - E) throw Refusal("The corrector must stand in front of the diagonal: DP greater than F - E");
  }
  Show(p, "Aperture Ratio ", Div(F, DC), 2);
  const double h = DC / 2;
  const double Rm = -2 * F1;
  const double gap = std::max(1.0, 0.005 * DC);

  // k = (c1, c2) times F1 (c3 = -c1, c4 = -c2), and the conic of the last mirror.
  auto build = [&](double k1, double k2, double K) {
    const double c1 = k1 / F1, c2 = k2 / F1, c3 = -c1, c4 = -c2;
    const double ta = LensCentreThickness(c1, c2, h, tA);
    const double tb = LensCentreThickness(c3, c4, h);
    const double g = gap + std::max(0.0, Sag(c2, h) - Sag(c3, h));  // apart at the edge too
    Plan q;
    q.index = index;
    q.rows = {{h, RadiusOf(c1), ta, Row::Glass, kSphere},
              {h, RadiusOf(c2), g, Row::AirPosit, kSphere},
              {h, RadiusOf(c3), tb, Row::Glass, kSphere},
              {h, RadiusOf(c4), DP, Row::AirPosit, kSphere}};
    const int type = K == 0 ? kSphere : kConic;
    if (cass) {
      q.rows.push_back({D1 / 2, Rm, -d, Row::AirNegat, kSphere});
      q.rows.push_back({Ds / 2, Rs, d + b, Row::AirPosit, type, K});
      q.rows.push_back({Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirPosit, kSphere});
    } else {
      q.rows.push_back({D1 / 2, Rm, -F, Row::AirNegat, type, K});
      q.rows.push_back({Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirNegat, kSphere});
    }
    return q;
  };
  Vec x;  // (k1, k2, K)
  if (!aspheric) {
    // a: the inner curvature, b: lens A's curvature difference (its power).
    auto at = [&](double a, double b1) { return build(a + b1, a, 0); };
    const Candidates cand = Roots(
        [&](double a, double b1) {
          const SeidelSums s = SeidelOf(at(a, b1));
          return std::array<double, 2>{s.S[0], s.S[1]};
        },
        {-6, 6}, {-1, 1});
    const auto& root = cand.roots.front();
    x = {root[0] + root[1], root[0], 0};
  } else {
    // a: lens A's curvature, R2 and R4 plane.
    auto at = [&](double a, double K) { return build(a, 0, K); };
    const Candidates cand = Roots(
        [&](double a, double K) {
          const SeidelSums s = SeidelOf(at(a, K));
          return std::array<double, 2>{s.S[0], s.S[1]};
        },
        {-1, 1}, {-20, 20});
    const auto& root = cand.roots.front();
    x = {root[0], 0, root[1]};
  }
  // The radii and the conic as shown, read back.
  const double R1 = Show(p, "R1 (First curv.radius)", RadiusOf(x[0] / F1), 3);
  const double R2 = Show(p, "R2 (Sec. curv.radius)", RadiusOf(x[1] / F1), 3);
  Show(p, "R3 (Third curv. radius)", -R1, 3);
  Show(p, "R4 (Fourth curv. radius)", -R2, 3);
  const double K = aspheric ? Show(p, cass ? "Secondary conic" : "Mirror conic", x[2], 4) : 0.0;
  auto k_of = [&](double r) { return r == 0 ? 0.0 : F1 / r; };
  p = [&] {
    Plan q = build(k_of(R1), k_of(R2), K);
    q.results = p.results;
    Tidy(q);
    return q;
  }();
  Show(p, "Lens A Center Thick.", p.rows[0].thickness, 2);
  Show(p, "Lens B Center Thick.", p.rows[2].thickness, 2);
  Show(p, "Air space", p.rows[1].thickness, 2);
  Show(p, "Corrector lenses diam.", DC, 2);
  Show(p, cass ? "D1 (primary diam.)" : "D1 (mirror diam.)", D1, 2);
  Show(p, "Mirror radius", Rm, 3);
  if (!cass) Show(p, "D2 (diagonal minor axis)", Df + Div(E, Div(F, DC)) - Div(Df * E, F), 2);
  // The image row at the near-axis focus.
  {
    const SeidelSums z = SeidelOf(p);
    Row& last_mirror = p.rows[p.rows.size() - 2];
    last_mirror.thickness = RoundTo(last_mirror.thickness + z.bfl, 3);
    Extra(p, "System focal length", z.efl, 2, " mm");
    Extra(p, "Spherical aberration sum S1", z.S[0], 8);
    Extra(p, "Coma sum S2", z.S[1], 8);
  }
  p.glass = in.glass;
  p.index = index;
  p.wavelengths = in.glass.wavelengths;
  p.beamSemi = DC / 2;
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, F)));
  const char* name = cass ? (aspheric ? "Houghton-Cassegrain, aspheric secondary " : "Houghton-Cassegrain ")
                          : (aspheric ? "Lurie-Houghton, aspheric mirror " : "Lurie-Houghton ");
  p.system = std::string(name) + FormatFixed(DC, 0) + " mm f/" + FormatFixed(Div(F, DC), 2) + " (pre-design)";
  const double zc = p.rows[0].thickness + p.rows[1].thickness + p.rows[2].thickness;
  const double zm = zc + DP;
  p.dims = {{"DC", true, 0, 0, DC / 2}, {"D1", true, zm, zm, D1 / 2}, {"DP", false, zc, zm, D1 / 2 + 0.1 * D1}};
  if (cass) p.dims.push_back({"Ds", true, zm - d, zm - d, Ds / 2});
  return p;
}

}  // namespace detail
}  // namespace ovrin::predesign
