// Randomised checks of the two surface operations against the geometry they
// must obey, for spheres, conics and high-order surfaces: the hit point lies on
// the surface, the vector law of refraction holds with signed indices, the
// direction stays a unit vector, and a ray sent back along its way retraces it.
//
// The surface normal is not taken from the tracer: it is the gradient of
// z - sag(r), with the slope of the sag found by differentiating the sag
// formula automatically (dual numbers, long double).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <sstream>
#include <string>

#include "core/design_state.h"
#include "core/ray_tracer.h"

namespace ovrin {
namespace {

using Real = long double;

// A value with its derivative, enough arithmetic for the sag formula.
struct Dual {
  Real v, d;
};
Dual operator+(Dual a, Dual b) { return {a.v + b.v, a.d + b.d}; }
Dual operator+(Real a, Dual b) { return {a + b.v, b.d}; }
Dual operator-(Real a, Dual b) { return {a - b.v, -b.d}; }
Dual operator*(Dual a, Dual b) { return {a.v * b.v, a.d * b.v + a.v * b.d}; }
Dual operator*(Real a, Dual b) { return {a * b.v, a * b.d}; }
Dual operator/(Dual a, Dual b) { return {a.v / b.v, (a.d * b.v - a.v * b.d) / (b.v * b.v)}; }
Dual Sqrt(Dual a) {
  const Real s = std::sqrt(a.v);
  return {s, a.d / (2 * s)};
}
Real Sqrt(Real a) { return std::sqrt(a); }

struct Profile {
  const char* name;
  double radius;  // 0: a plane
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
  double aperture = 10;  // the hit points are drawn inside this half-diameter

  Real Curvature() const { return radius == 0 ? 0 : 1.0L / radius; }

  // z(r) = c r^2 / (1 + sqrt(1 - (1 + K) c^2 r^2)) + A4 r^4 + A6 r^6 + A8 r^8
  template <typename T>
  T Sag(T r) const {
    const Real c = Curvature();
    const T r2 = r * r;
    const T r4 = r2 * r2;
    const T s = Sqrt(1.0L - ((1.0L + conic) * c * c) * r2);
    return (c * r2) / (1.0L + s) + Real(a4) * r4 + Real(a6) * (r4 * r2) + Real(a8) * (r4 * r4);
  }
  Real SagAt(Real x, Real y) const { return Sag<Real>(std::hypot(x, y)); }

  // The largest curvature of the profile over the aperture, tangential
  // (second derivative) or sagittal (slope over height), sampled.
  Real MaxCurvature() const {
    Real most = std::fabs(Curvature());
    const Real h = aperture * 1e-4L;
    for (int k = 1; k <= 200; ++k) {
      const Real r = aperture * k / 200;
      const Real slope = Sag(Dual{r, 1}).d;
      const Real bend = (Sag(Dual{r + h, 1}).d - Sag(Dual{r - h, 1}).d) / (2 * h);
      most = std::max({most, std::fabs(slope / r), std::fabs(bend)});
    }
    return most;
  }

  // Unit normal at (x, y), pointing towards +z.
  std::array<Real, 3> Normal(Real x, Real y) const {
    const Real r = std::hypot(x, y);
    if (r == 0) return {0, 0, 1};
    const Real slope = Sag(Dual{r, 1}).d;
    std::array<Real, 3> n{-slope * x / r, -slope * y / r, 1};
    const Real len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (Real& v : n) v /= len;
    return n;
  }
};

using Vec = std::array<Real, 3>;
Vec Cross(const Vec& a, const Vec& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Real Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Real Norm(const Vec& a) { return std::sqrt(Dot(a, a)); }

enum class Kernel { Sphere, Asphere };

// Index pairs before and after the surface. A negative index is a space the
// light crosses backwards (after a mirror): (1, -1) and (-1, 1) are mirrors.
struct Media {
  double n, np;
};
constexpr std::array<Media, 6> kMedia{{{1.0, 1.5168}, {1.7, 1.0}, {1.62, 1.52}, {1.0, -1.0},
                                       {-1.0, 1.0}, {1.33, 1.33}}};

struct Worst {
  double value = 0;
  std::string where;
  void See(double v, const std::string& w) {
    if (v > value) value = v, where = w;
  }
};

struct Stats {
  Worst on_surface, at_target, snell, unit, retrace_pos, retrace_dir;
  int refracted = 0, total_reflections = 0, wrong_outcome = 0, retraced = 0;
  std::string wrong_where;
};

// A bench that holds one surface in the current-surface registers.
struct Bench {
  DesignState d;
  Tracer t{d};
  Bench() {
    ResetTiltDecenter(d);
    d.SurfCount = 1;
    t.LoopI = 1;
  }
  void Load(const Profile& p, double thick, double n, double np) {
    t.CurRadius = p.radius;
    t.CurThick = thick;
    t.CurN = n;
    t.CurNPrime = np;
    t.CurConic = p.conic;
    t.CurA4 = p.a4;
    t.CurA6 = p.a6;
    t.CurA8 = p.a8;
  }
  void Ray(const Vec& pos, const Vec& dir) {
    t.RayX = double(pos[0]), t.RayY = double(pos[1]), t.RayZ = double(pos[2]);
    t.RayCosX = double(dir[0]), t.RayCosY = double(dir[1]), t.RayCosZ = double(dir[2]);
  }
  void Run(Kernel k) { k == Kernel::Sphere ? t.TraceSphere() : t.TraceAsphere(); }
  Vec Pos() const { return {t.RayX, t.RayY, t.RayZ}; }
  Vec Dir() const { return {t.RayCosX, t.RayCosY, t.RayCosZ}; }
};

// Traces `rays` random rays at each of the index pairs through surface `p`.
// Each ray is aimed at a chosen point of the surface from a start plane a random
// distance ahead, with a random RayZ, in a cone of 25 degrees about the axis.
Stats Explore(const Profile& p, Kernel kernel, std::uint64_t seed, int rays) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u01(0.0, 1.0);
  const double kPi = std::acos(-1.0);
  const double cos_max = std::cos(25.0 * kPi / 180.0);
  Stats st;
  for (const Media& m : kMedia) {
    for (int i = 0; i < rays; ++i) {
      // The target point on the surface, uniform over the disc.
      const double rho = p.aperture * std::sqrt(u01(rng));
      const double phi = 2 * kPi * u01(rng);
      const Vec target{rho * std::cos(phi), rho * std::sin(phi),
                       p.SagAt(rho * std::cos(phi), rho * std::sin(phi))};
      const double cz = cos_max + (1 - cos_max) * u01(rng);
      const double sz = std::sqrt(1 - cz * cz), az = 2 * kPi * u01(rng);
      const Vec s{sz * std::cos(az), sz * std::sin(az), cz};
      const double thick = 2 + 40 * u01(rng);
      const double ray_z = -3 + 6 * u01(rng);
      // Back along the line to the start plane z = ray_z - thick of the surface frame.
      const Real back = (Real(ray_z) - thick - target[2]) / s[2];
      const Vec start{target[0] + back * s[0], target[1] + back * s[1], Real(ray_z)};

      std::ostringstream where;
      where.precision(17);
      where << p.name << " n=" << m.n << " n'=" << m.np << " seed=" << seed << " ray=" << i
            << " target=(" << double(target[0]) << ", " << double(target[1]) << ")";

      // Will the ray be reflected totally? Decided from the test's own normal;
      // rays too close to the critical angle to call are left out.
      const Vec n_t = p.Normal(target[0], target[1]);
      const Real cos_i = Dot(s, n_t);
      const Real tir_margin = Real(m.np) * m.np - Real(m.n) * m.n * (1 - cos_i * cos_i);
      if (std::fabs(tir_margin) < 1e-6) continue;

      Bench b;
      b.Load(p, thick, m.n, m.np);
      b.Ray(start, s);
      bool threw = false;
      try {
        b.Run(kernel);
      } catch (const TraceError&) {
        threw = true;
      }
      if (threw != (tir_margin < 0)) {
        ++st.wrong_outcome;
        st.wrong_where = where.str() + (threw ? " failed" : " passed a total reflection");
        continue;
      }
      if (threw) {
        ++st.total_reflections;
        continue;
      }
      ++st.refracted;

      const Vec hit = b.Pos();
      const Real scale = std::max<Real>({1, std::fabs(hit[0]), std::fabs(hit[1]), std::fabs(hit[2])});
      st.on_surface.See(double(std::fabs(hit[2] - p.SagAt(hit[0], hit[1])) / scale), where.str());
      const Vec miss{hit[0] - target[0], hit[1] - target[1], hit[2] - target[2]};
      st.at_target.See(double(Norm(miss) / scale), where.str());

      // n' (s' x N) = n (s x N), and s' goes on to the same side of the surface as s.
      const Vec out = b.Dir();
      const Vec nrm = p.Normal(hit[0], hit[1]);
      const Vec lhs = Cross(out, nrm), rhs = Cross(s, nrm);
      Real snell = 0;
      for (int k = 0; k < 3; ++k) snell = std::max(snell, std::fabs(m.np * lhs[k] - m.n * rhs[k]));
      if ((Dot(out, nrm) > 0) != (Dot(s, nrm) > 0)) snell = 1;  // turned back through the surface
      st.snell.See(double(snell / std::max(std::fabs(m.n), std::fabs(m.np))), where.str());
      st.unit.See(double(std::fabs(Norm(out) - 1)), where.str());

      // Back the way it came: from a point further along the outgoing line, with
      // the same stored cosines, through the indices negated and swapped (the
      // light now crosses each space the other way). Only for outgoing rays that
      // leave within 45 degrees of the axis and cross the vertex plane inside the
      // aperture: a steep line can meet the surface twice, and the search from
      // the vertex plane may then rightly find the other point.
      const Real on_plane = hit[2] / out[2];
      if (out[2] < std::sqrt(0.5L) ||
          std::hypot(hit[0] - on_plane * out[0], hit[1] - on_plane * out[1]) > p.aperture)
        continue;
      ++st.retraced;
      const double thick2 = 5 + 30 * u01(rng);
      const Real along = (-thick2 - hit[2]) / out[2];
      const Vec back_start{hit[0] + along * out[0], hit[1] + along * out[1], 0};
      Bench r;
      r.Load(p, thick2, -m.np, -m.n);
      r.Ray(back_start, out);
      try {
        r.Run(kernel);
      } catch (const TraceError&) {
        st.retrace_pos.See(1e9, where.str() + " failed on the way back");
        continue;
      }
      const Vec rhit = r.Pos(), rdir = r.Dir();
      const Vec dpos{rhit[0] - hit[0], rhit[1] - hit[1], rhit[2] - hit[2]};
      const Vec ddir{rdir[0] - s[0], rdir[1] - s[1], rdir[2] - s[2]};
      st.retrace_pos.See(double(Norm(dpos) / scale), where.str());
      st.retrace_dir.See(double(Norm(ddir)), where.str());
    }
  }
  return st;
}

// How closely each property must hold. The sphere is a closed formula. The
// iterated surface stops when its step along the ray is at most 1e-8 mm and
// refracts with the normal of the point before that step, so its direction may
// be off by that step times the surface's curvature (twice that for a mirror,
// and twice again there and back).
struct Tolerances {
  double on_surface, at_target, snell, unit, retrace_pos, retrace_dir;
};
Tolerances For(const Profile& p, Kernel kernel) {
  if (kernel == Kernel::Sphere) return {1e-12, 1e-13, 1e-14, 1e-14, 1e-13, 1e-14};
  const double kappa = double(p.MaxCurvature());
  return {1e-12, 1e-13, 1e-14 + 2e-8 * kappa, 1e-14, 1e-13, 1e-14 + 4e-8 * kappa};
}

void Check(const Profile& p, Kernel kernel, int seeds = 6, int rays = 100) {
  const Tolerances tol = For(p, kernel);
  int refracted = 0, retraced = 0;
  for (int seed = 1; seed <= seeds; ++seed) {
    const Stats st = Explore(p, kernel, 0x5eed0000u + 977u * seed, rays);
    EXPECT_EQ(st.wrong_outcome, 0) << st.wrong_where;
    EXPECT_LE(st.on_surface.value, tol.on_surface) << "off the surface: " << st.on_surface.where;
    EXPECT_LE(st.at_target.value, tol.at_target) << "not at the aimed point: " << st.at_target.where;
    EXPECT_LE(st.snell.value, tol.snell) << "law of refraction: " << st.snell.where;
    EXPECT_LE(st.unit.value, tol.unit) << "not a unit vector: " << st.unit.where;
    EXPECT_LE(st.retrace_pos.value, tol.retrace_pos) << "retrace, position: " << st.retrace_pos.where;
    EXPECT_LE(st.retrace_dir.value, tol.retrace_dir) << "retrace, direction: " << st.retrace_dir.where;
    refracted += st.refracted;
    retraced += st.retraced;
  }
  // Nearly all rays went through; the dense-to-rare pair reflects a few totally.
  EXPECT_GT(refracted, seeds * rays * int(kMedia.size()) * 9 / 10) << p.name;
  EXPECT_GT(retraced, refracted / 2) << p.name;
}

TEST(SurfaceKernelProperties, SpheresAndPlanesByBothOperations) {
  const Profile spheres[] = {
      {"convex 50", 50, 0, 0, 0, 0, 35},     {"concave 50", -50, 0, 0, 0, 0, 35},
      {"convex 200", 200, 0, 0, 0, 0, 90},   {"concave 1000", -1000, 0, 0, 0, 0, 150},
      {"plane", 0, 0, 0, 0, 0, 50},          {"steep 12", 12, 0, 0, 0, 0, 9},
  };
  for (const Profile& p : spheres) {
    SCOPED_TRACE(p.name);
    Check(p, Kernel::Sphere);
    Check(p, Kernel::Asphere);
  }
}

TEST(SurfaceKernelProperties, Conics) {
  const Profile conics[] = {
      {"paraboloid", -400, -1, 0, 0, 0, 120},
      {"prolate ellipsoid", 300, -0.6, 0, 0, 0, 110},
      {"oblate ellipsoid", -200, 0.8, 0, 0, 0, 100},
      {"hyperboloid", 250, -3.5, 0, 0, 0, 100},
      {"fast hyperboloid", -60, -2, 0, 0, 0, 40},
  };
  for (const Profile& p : conics) {
    SCOPED_TRACE(p.name);
    Check(p, Kernel::Asphere);
  }
}

TEST(SurfaceKernelProperties, HighOrderSurfacesRefractThroughTheirTerms) {
  const Profile high[] = {
      // A corrector-like plate: all of its power is in the high-order terms.
      {"plate A4 A6 A8", 0, 0, 2e-8, -5e-13, 3e-17, 100},
      {"paraboloid with A4 A6 A8", -500, -1, 5e-9, 1e-13, -2e-17, 100},
      {"strong ellipsoid with A4 A6 A8", 80, -0.5, -3e-7, 2e-10, -5e-14, 30},
      {"oblate with A4 only", -150, 0.4, 4e-8, 0, 0, 60},
  };
  for (const Profile& p : high) {
    SCOPED_TRACE(p.name);
    Check(p, Kernel::Asphere);
  }
}

// The high-order terms really act: leaving any one of them out of the test's
// normal breaks the law of refraction by far more than the tolerance, so the
// checks above would see a coefficient the tracer drops or mis-weights.
TEST(SurfaceKernelProperties, EachHighOrderTermBendsTheRay) {
  const Profile p{"strong ellipsoid with A4 A6 A8", 80, -0.5, -3e-7, 2e-10, -5e-14, 30};
  for (int drop = 0; drop < 3; ++drop) {
    Profile without = p;
    (drop == 0 ? without.a4 : drop == 1 ? without.a6 : without.a8) = 0;
    Bench b;
    b.Load(p, 10, 1.0, 1.5);
    const Vec start{0, 25, 0}, s{0, 0, 1};
    b.Ray(start, s);
    b.t.TraceAsphere();
    const Vec hit = b.Pos(), out = b.Dir();
    const Vec nrm = without.Normal(hit[0], hit[1]);
    const Vec lhs = Cross(out, nrm), rhs = Cross(s, nrm);
    EXPECT_GT(std::fabs(1.5 * lhs[0] - rhs[0]), 1e-4) << "dropped term " << drop;
  }
}

}  // namespace
}  // namespace ovrin
