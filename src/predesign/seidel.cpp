// Third-order sums by a marginal and a chief near-axis ray; the designs that
// balance several aberrations at once solve for their aspheric terms with them.
#include <cmath>

#include "predesign/calc_util.h"

namespace ovrin::predesign::detail {

namespace {

struct Trace {
  std::vector<double> y, u;  // height at each surface, slope before it
  double u_out = 0;          // slope after the last surface
};

Trace Paraxial(const std::vector<SeidelSurface>& s, double y0, double u0) {
  Trace r;
  double y = y0, u = u0, n = 1;
  for (std::size_t i = 0; i < s.size(); ++i) {
    r.y.push_back(y);
    r.u.push_back(u);
    const double n1 = s[i].n;
    const double u1 = Div(n * u - y * s[i].c * (n1 - n), n1);
    y += u1 * s[i].t;
    n = n1;
    u = u1;
  }
  r.u_out = u;
  return r;
}

}  // namespace

SeidelSums Seidel(const std::vector<SeidelSurface>& s, int stop) {
  SeidelSums out;
  const Trace m = Paraxial(s, 1, 0);
  // The chief ray crosses the axis at the stop: a mix of two rays.
  const Trace a = Paraxial(s, 0, 1), b = Paraxial(s, 1, 0);
  const double mix = -Div(a.y[stop], b.y[stop]);
  const Trace c = Paraxial(s, mix, 1);
  double n = 1;
  const double H = n * (c.u[0] * m.y[0] - m.u[0] * c.y[0]);
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double n1 = s[i].n;
    const double y = m.y[i], u = m.u[i], yb = c.y[i], ub = c.u[i];
    const double u1 = i + 1 < s.size() ? m.u[i + 1] : m.u_out;
    const double A = n * (u + y * s[i].c), Ab = n * (ub + yb * s[i].c);
    const double delta = u1 / n1 - u / n;
    out.S[0] += -A * A * y * delta;
    out.S[1] += -A * Ab * y * delta;
    out.S[2] += -Ab * Ab * y * delta;
    out.S[3] += -H * H * s[i].c * (1 / n1 - 1 / n);
    const double e = y == 0 ? 0.0 : yb / y;
    const double unit = 8 * (n1 - n) * std::pow(y, 4);
    out.unit.push_back({unit, unit * e, unit * e * e});
    out.S[0] += unit * s[i].a4;
    out.S[1] += unit * e * s[i].a4;
    out.S[2] += unit * e * e * s[i].a4;
    n = n1;
  }
  out.efl = -Div(1, m.u_out);
  out.H = H;
  out.u_out = m.u_out;
  out.n_out = n;
  out.bfl = -Div(m.y.back(), m.u_out);
  return out;
}

SeidelSums SeidelOf(const Plan& p) {
  std::vector<SeidelSurface> s;
  double n = 1;
  for (const Row& r : p.rows) {
    SeidelSurface x;
    x.c = r.radius == 0 ? 0.0 : Div(1, r.radius);
    x.t = r.thickness;
    double n1 = 1.0;
    if (r.medium == Row::Glass) {
      if (!p.lensIndex.empty() && r.lens >= 0 && r.lens < static_cast<int>(p.lensIndex.size()))
        n1 = p.lensIndex[r.lens].front();
      else
        n1 = p.index.empty() ? 1.5 : p.index.front();
    }
    if (r.medium == Row::AirNegat || (r.medium == Row::Glass && n < 0)) n1 = -n1;
    x.n = n1;
    if (r.type == kConic || r.type == kHighOrder) x.a4 = r.conic * std::pow(x.c, 3) / 8;
    if (r.type == kHighOrder) x.a4 += r.a4;
    s.push_back(x);
    n = n1;
  }
  return Seidel(s, 0);
}

double MedialFieldRadius(const Plan& p) {
  const SeidelSums z = SeidelOf(p);
  const double shift = -(2 * z.S[2] + z.S[3]) / (2 * z.n_out * z.u_out * z.u_out);
  const double height = Div(z.H, z.n_out * z.u_out);
  if (std::fabs(shift) < 1e-15 * height * height) return 0;
  return Fin(height * height / (2 * shift));
}

std::vector<double> SolveLinear(std::vector<std::vector<double>> a, std::vector<double> b) {
  const std::size_t n = b.size();
  for (std::size_t col = 0; col < n; ++col) {
    std::size_t pivot = col;
    for (std::size_t r = col + 1; r < n; ++r)
      if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
    if (std::fabs(a[pivot][col]) < 1e-300) throw Fault();
    std::swap(a[pivot], a[col]);
    std::swap(b[pivot], b[col]);
    for (std::size_t r = 0; r < n; ++r) {
      if (r == col) continue;
      const double f = a[r][col] / a[col][col];
      for (std::size_t k = col; k < n; ++k) a[r][k] -= f * a[col][k];
      b[r] -= f * b[col];
    }
  }
  std::vector<double> x(n);
  for (std::size_t i = 0; i < n; ++i) x[i] = Fin(b[i] / a[i][i]);
  return x;
}

}  // namespace ovrin::predesign::detail
