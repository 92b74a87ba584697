// The catadioptric families: the Schmidt camera and the Wright camera, the
// Schmidt-Cassegrains (aspheric mirrors, spherical mirrors, flat-field Baker
// type, monocentric) and the Maksutov meniscus camera.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/ray_tracer.h"
#include "predesign/calc_util.h"

namespace ovrin::predesign::detail {

namespace {

constexpr double kPi = 3.14159265358979;

double Degrees(double rad) { return rad * 180 / kPi; }

std::string Sci(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.6E", v);
  return buf;
}

// A plate whose back surface has the sag a2 r^2 + a4 r^4 + a6 r^6.
struct Plate {
  double a2 = 0, a4 = 0, a6 = 0;
  double Sag(double r) const { return a2 * r * r + a4 * std::pow(r, 4) + a6 * std::pow(r, 6); }
  // The curvature term that puts the plate's zero slope (no power) at zone rn.
  void NeutralAt(double rn) { a2 = -(2 * a4 * rn * rn + 3 * a6 * std::pow(rn, 4)); }
  double Radius() const { return Div(1, 2 * a2); }
};

// The profile to grind: depth below the plate's highest zone, in eleven zones.
std::vector<std::pair<double, double>> Profile(const Plate& p, double semi) {
  std::vector<std::pair<double, double>> out;
  double top = -1e300;
  for (int i = 0; i <= 100; ++i) top = std::max(top, p.Sag(semi * i / 100.0));
  for (int i = 0; i <= 10; ++i) {
    const double r = semi * i / 10.0;
    out.push_back({RoundTo(r, 2), RoundTo(top - p.Sag(r), 5)});
  }
  return out;
}

void ShowPlate(Plan& p, const Plate& plate, double rn, double edge) {
  p.results.push_back({"Curv.Rad.", "Curv.Rad.", FormatFixed(plate.Radius(), 3)});
  p.results.push_back({"A4 coeff.", "A4 coeff.", Sci(plate.a4)});
  p.results.push_back({"A6 coeff.", "A6 coeff.", Sci(plate.a6)});
  Show(p, " Neutral  Zone Sagitta", plate.Sag(rn), 5);
  Show(p, "Edge Sagitta ", plate.Sag(edge), 5);
  p.profile = Profile(plate, edge);
}

// The plate's fourth- and sixth-order terms finished on real rays: the
// marginal ray and the ray of the 0.7 zone meet the axis at the near-axis
// focus. The third-order values are the start; the neutral zone stays.
void FinishPlate(Plan& p, Plate& plate, std::size_t row, double rn) {
  auto apply = [&](const Plate& x) {
    Row& r = p.rows[row];
    r.radius = x.Radius();
    r.a4 = x.a4;
    r.a6 = x.a6;
  };
  auto residual = [&](const Plate& x, double out[2]) {
    apply(x);
    DesignState d;
    DesignSheet sheet;
    CatalogueMedia media;
    if (WriteDesign(p, d, sheet, media)) throw Fault();
    Tracer t(d);
    SurfaceLoopPolicy policy;
    policy.testAperture = false;
    const double h[2] = {p.beamSemi, 0.7 * p.beamSemi};
    for (int i = 0; i < 2; ++i) {
      try {
        t.TraceRay(0, h[i], policy, d.Bfl);
      } catch (const TraceError&) {
        throw Fault();
      }
      out[i] = t.RayY;
    }
  };
  Plate x = plate;
  for (int iter = 0; iter < 8; ++iter) {
    double f[2];
    residual(x, f);
    if (std::fabs(f[0]) < 1e-8 && std::fabs(f[1]) < 1e-8) break;
    const double d4 = 1e-3 * std::fabs(x.a4) + 1e-16;
    const double d6 = d4 / (p.beamSemi * p.beamSemi);
    Plate x4 = x, x6 = x;
    x4.a4 += d4;
    x4.NeutralAt(rn);
    x6.a6 += d6;
    x6.NeutralAt(rn);
    double f4[2], f6[2];
    residual(x4, f4);
    residual(x6, f6);
    const std::vector<double> step =
        SolveLinear({{(f4[0] - f[0]) / d4, (f6[0] - f[0]) / d6}, {(f4[1] - f[1]) / d4, (f6[1] - f[1]) / d6}},
                    {-f[0], -f[1]});
    x.a4 += step[0];
    x.a6 += step[1];
    x.NeutralAt(rn);
  }
  plate = x;
  apply(plate);
}

void TakeGlass(Plan& p, const Inputs& in, const std::vector<double>& n) {
  p.glass = in.glass;
  p.index = n;
  p.wavelengths = in.glass.wavelengths;
}

}  // namespace

Plan Schmidt(const Inputs& in, bool wright) {
  const Boxes box(in);
  Plan p;
  const std::vector<double> index = CorrectorIndices(in.glass);
  const double n = index.front();
  const double F1 = std::fabs(box("focal"));
  const double DC = box("corrector-diameter");
  const double Df = box("field");
  const double z = box("neutral-zone");
  const double t = box("thickness");
  if (std::fabs(z) < 0.05) throw Refusal("Min. value of Neutral Zone is 0.05");

  const double D1 = Show(p, "D1 (mirror diam.)", DC + 2 * Df, 2, "D1 (mirror diam.)");
  const double ratio = Show(p, "Aperture-Ratio ", Div(F1, DC), 2);
  const double dist = Show(p, "Corrector-Mirror dist.", wright ? F1 : 2 * F1, 4);
  const double rn = Show(p, "Neutr. Zone  Distance", z * DC / 2, 2);
  if (F1 <= 0 || DC <= 0) throw Fault();

  // The sphere departs from the paraboloid by (1+K) h^4 / (8 |R|^3) +
  // (1+K)^2 h^6 / (16 |R|^5); reflected, twice that. The plate gives back the
  // same path through (n - 1) times its sag. A Wright mirror is the oblate
  // spheroid K = 1 that, with the plate in its focal plane, has no coma.
  const double R = -2 * F1;
  const double K = wright ? 1.0 : 0.0;
  Plate plate;
  plate.a4 = Div(1 + K, 4 * (n - 1) * std::pow(std::fabs(R), 3));
  plate.a6 = Div(std::pow(1 + K, 2), 8 * (n - 1) * std::pow(std::fabs(R), 5));
  plate.NeutralAt(rn);

  TakeGlass(p, in, index);
  p.rows = {
      {DC / 2, 0, t, Row::Glass, kSphere},
      {DC / 2, plate.Radius(), dist, Row::AirPosit, kHighOrder, -1, plate.a4, plate.a6},
      {D1 / 2, R, -F1, Row::AirNegat, wright ? kConic : kSphere, K},
      {Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirNegat, kSphere},
  };
  p.beamSemi = DC / 2;
  FinishPlate(p, plate, 1, rn);
  ShowPlate(p, plate, rn, DC / 2);
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, F1)));
  p.system = std::string(wright ? "Wright camera " : "Schmidt camera ") + FormatFixed(DC, 0) + " mm f/" +
             FormatFixed(ratio, 2) + " (pre-design)";
  const double zm = dist + t;
  p.dims = {{"DC", true, 0, 0, DC / 2},        {"D1", true, zm, zm, D1 / 2},
            {"F1", false, zm - F1, zm, -D1 / 2 - 0.1 * D1}, {"Df", true, zm - F1, zm - F1, Df / 2},
            {"Lp", false, 0, zm, D1 / 2 + 0.1 * D1}};
  return p;
}

Plan SchmidtCassegrain(const Inputs& in, Kind kind) {
  const Boxes box(in);
  Plan p;
  const std::vector<double> index = CorrectorIndices(in.glass);
  const double n = index.front();
  const double EFL = box("efl");
  const double F1 = std::fabs(box("f1"));
  const double D1 = box("diameter");
  const double Df = box("field");
  const double t = box("thickness");
  const double m = Div(EFL, F1);
  if (D1 <= 0 || F1 <= 0 || t < 0) throw Fault();
  double d = 0, b = box("back-focus");
  if (kind == Kind::Baker) {
    // Equal radii: no Petzval curvature. The separation and back focus follow.
    d = Div(F1, m);
    b = F1 * (m - 1) - d;
  } else if (kind == Kind::Monocentric) {
    // Both centres of curvature at one point, 2 F1 in front of the primary.
    const double pp = F1 * Div(m - 1, m + 1);
    d = Div(2 * F1, m + 1);
    b = m * pp - d;
  } else {
    d = Div(F1 * m - b, m + 1);
  }
  d = Show(p, "d, mirror separation", d, 3);
  const double c2 = Show(p, "secondary conjugate c2", -Div(b + d, m - 1), 3);
  const double R1 = -2 * F1, R2 = 2 * c2;
  Show(p, "Back Focal Length", b, 3);
  const double Ds = Show(p, "Ds, secondary diameter", Div((b + d) * D1, EFL) + Div(d * Df, EFL), 2);
  Show(p, "obstruction %", Div(100 * Ds, D1), 2);
  const double N = Show(p, "f-ratio", Div(EFL, D1), 2);
  Show(p, "primary radius", R1, 3);
  Show(p, "secondary radius", R2, 3);
  if (d <= 0 || Ds <= 0 || b + d <= 0) throw Fault();

  // The third-order sums with the corrector on the stop; its aspheric term and
  // the mirrors' conics solved for the aberrations the variant removes.
  enum Free { PlateA4, PrimaryK, SecondaryK };
  std::vector<Free> free{PlateA4};
  std::string variant;
  if (kind == Kind::SchmidtCassegrain) {
    const KindSpec& kind_info = SpecOf(kind);
    variant = in.variant.empty() ? kind_info.variants.front().key : in.variant;
    if (variant == "aspheric-primary") free.push_back(PrimaryK);
    else if (variant == "aspheric-secondary") free.push_back(SecondaryK);
    else if (variant == "aspheric-both") free = {PlateA4, PrimaryK, SecondaryK};
    else throw Refusal("Unknown variant " + in.variant);
  } else if (kind == Kind::Baker) {
    free = {PlateA4, PrimaryK, SecondaryK};
  }
  // The plate's own curvature (its neutral zone) takes part in the sums; it
  // follows the aspheric term it is solved with, so the two settle together.
  const double rn = 0.866 * D1 / 2;
  double plate_c = 0;
  auto solve = [&](double lc, std::vector<double>& x) {
    const std::vector<SeidelSurface> s = {
        {0, t, n, 0}, {plate_c, lc, 1, 0}, {Div(1, R1), -d, -1, 0}, {Div(1, R2), d + b, 1, 0}};
    const SeidelSums base = Seidel(s, 0);
    auto unit = [&](Free f, int row) {
      switch (f) {
        case PlateA4: return base.unit[1][row];
        case PrimaryK: return base.unit[2][row] * std::pow(Div(1, R1), 3) / 8;
        case SecondaryK: return base.unit[3][row] * std::pow(Div(1, R2), 3) / 8;
      }
      return 0.0;
    };
    const std::size_t k = free.size();
    std::vector<std::vector<double>> a(k, std::vector<double>(k));
    std::vector<double> rhs(k);
    for (std::size_t r = 0; r < k; ++r) {
      for (std::size_t c = 0; c < k; ++c) a[r][c] = unit(free[c], static_cast<int>(r));
      rhs[r] = -base.S[r];
    }
    x = SolveLinear(a, rhs);
    // What is left of the coma (for the spherical-mirror design's corrector place).
    double coma = base.S[1];
    for (std::size_t c = 0; c < k; ++c) coma += x[c] * unit(free[c], 1);
    return coma;
  };

  double lc = d;  // the corrector carries the secondary
  // The monocentric corrector has its front, the stop, at the common centre.
  if (kind == Kind::Monocentric) lc = 2 * F1 - t;
  std::vector<double> x;
  if (kind == Kind::SchmidtCassegrainSpherical) {
    // Spherical mirrors: the corrector's place is the one free of coma.
    double lo = 0.05 * F1, hi = 6 * F1, flo = solve(lo, x);
    const int steps = 600;
    bool found = false;
    for (int i = 1; i <= steps && !found; ++i) {
      const double z = 0.05 * F1 + (6 - 0.05) * F1 * i / steps;
      const double fz = solve(z, x);
      if ((fz < 0) != (flo < 0)) {
        hi = z;
        for (int j = 0; j < 80; ++j) {
          const double mid = (lo + hi) / 2;
          const double fm = solve(mid, x);
          if ((fm < 0) == (flo < 0)) {
            lo = mid;
            flo = fm;
          } else {
            hi = mid;
          }
        }
        found = true;
      } else {
        lo = z;
        flo = fz;
      }
    }
    if (!found) throw Refusal("No coma-free corrector position for these inputs");
    lc = RoundTo((lo + hi) / 2, 3);
  }
  if (lc < d) throw Refusal("The corrector would stand behind the secondary");
  TakeGlass(p, in, index);
  p.beamSemi = D1 / 2;
  Plate plate;
  double K1 = 0, K2 = 0;
  // The conics are solved with the plate's curvature as it comes out of the
  // real-ray finish; two rounds settle them.
  for (int round = 0; round < 3; ++round) {
    solve(lc, x);
    for (std::size_t i = 0; i < free.size(); ++i) {
      if (free[i] == PlateA4 && round == 0) plate.a4 = x[i];
      if (free[i] == PrimaryK) K1 = RoundTo(x[i], 4);
      if (free[i] == SecondaryK) K2 = RoundTo(x[i], 4);
    }
    plate.NeutralAt(rn);
    // The corrector's back surface lies lc in front of the primary; the
    // secondary is d in front of it, its obstruction drawn where it stands.
    p.rows = {
        {D1 / 2, 0, t, Row::Glass, kSphere},
        {D1 / 2, plate.Radius(), lc - d, Row::AirPosit, kHighOrder, -1, plate.a4, plate.a6},
        {Ds / 2, 0, d, Row::AirPosit, kObsScreen},
        {D1 / 2 + Df / 4, R1, -d, Row::AirNegat, K1 == 0 ? kSphere : kConic, K1},
        {Ds / 2, R2, d + b, Row::AirPosit, K2 == 0 ? kSphere : kConic, K2},
        {Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirPosit, kSphere},
    };
    FinishPlate(p, plate, 1, rn);
    plate_c = 2 * plate.a2;
  }
  Show(p, "Corrector-Primary dist.", lc, 3);
  p.results.push_back({"Primary conic", "Primary conic", FormatFixed(K1, 4)});
  p.results.push_back({"Secondary conic", "Secondary conic", FormatFixed(K2, 4)});
  Extra(p, "Secondary spacing for 1/4 wave", SpacingTolerance(m, N, kLineE / 1000.0), 4, " mm");
  ShowPlate(p, plate, rn, D1 / 2);
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, EFL)));
  const char* names[] = {"Schmidt-Cassegrain", "Schmidt-Cassegrain (spherical mirrors)", "Baker-Schmidt",
                         "Monocentric Schmidt-Cassegrain"};
  const int which = kind == Kind::SchmidtCassegrain ? 0 : kind == Kind::SchmidtCassegrainSpherical ? 1
                    : kind == Kind::Baker                                                      ? 2
                                                                                               : 3;
  p.system = std::string(names[which]) + (variant.empty() ? "" : " " + variant) + " " + FormatFixed(D1, 0) + " mm f/" +
             FormatFixed(N, 2) + " (pre-design)";
  const double zp = t + lc;
  p.dims = {{"DC", true, 0, 0, D1 / 2}, {"Ds", true, zp - d, zp - d, Ds / 2},
            {"Lp", false, 0, zp, D1 / 2 + 0.1 * D1}, {"d", false, zp - d, zp, -D1 / 2 - 0.1 * D1},
            {"BFL", false, zp, zp + b, -D1 / 2 - 0.2 * D1}};
  return p;
}

Plan Maksutov(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const std::vector<double> index = CorrectorIndices(in.glass);
  const double n = index.front();
  const double F = std::fabs(box("focal"));
  const double D = box("diameter");
  const double DC = box("corrector-diameter");
  const double DP0 = box("corrector-distance");
  const double Df = box("field");
  if (n <= 1 || F <= 0 || D <= 0 || DC <= 0) throw Fault();
  const auto scroll = [&](int i) { return i < static_cast<int>(in.scroll.size()) ? in.scroll[i] / 10000.0 : 1.0; };
  const double A = Div(F, D);
  Show(p, "Aperture-Ratio ", A, 2);
  const double B = MeniscusShape(A, n);
  p.makShape = B;
  const double M = Div(-4 * A * n * n, (B * B - 1) * (n + 1) * F);
  const double s = scroll(0);
  if (s <= 0) throw Fault();
  const bool moved = in.scroll.empty() || in.scroll[0] != 9750;
  double R1 = Div(2 * (n - 1), s * (B + 1) * M);
  double R2 = Div(2 * (n - 1), s * (B - 1) * M);
  if (!moved) {
    R1 = RoundTo(R1, 3);
    R2 = RoundTo(R2, 3);
  }
  p.results.push_back({"Label22", "Meniscus  Rad. 1", FormatFixed(R1, 3)});
  p.results.push_back({"Label25", "Meniscus  Rad. 2", moved ? ShortestText(R2) : FormatFixed(R2, 3)});
  const double R3 = -2 * F * scroll(3);
  Show(p, "Label42", R3, 3, "Mirror Rad.");
  // The thickness that makes the meniscus' power free of the first-order
  // colour: |R2| - |R1| = t (n^2 - 1) / n^2.
  const double tc = Show(p, "Label27", (std::fabs(R2) - std::fabs(R1)) * Div(n * n, n * n - 1) * scroll(1), 3,
                         "Corrector thickness");
  if (tc <= 0) throw Fault();
  const double DP = DP0 * scroll(2);
  // The mirror must take the whole field's beams from the corrector.
  Show(p, "Label21", DC + Div(DP * Df, F), 2, "Mirror diam. for full field");

  TakeGlass(p, in, index);
  {
    p.rows = {
        {DC / 2, R1, tc, Row::Glass, kSphere},
        {DC / 2, R2, DP, Row::AirPosit, kSphere},
        {D / 2, R3, 0, Row::AirNegat, kSphere},
    };
    p.system = "Maksutov camera " + FormatFixed(DC, 0) + " mm f/" + FormatFixed(Div(F, DC), 2) + " (pre-design)";
    p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, F)));
  }
  p.beamSemi = DC / 2;
  {
    const double zm = tc + DP;
    p.dims = {{"DC", true, 0, 0, DC / 2}, {"D1", true, zm, zm, D / 2}, {"DP", false, tc, zm, D / 2 + 0.1 * D},
              {"F1", false, zm - F, zm, -D / 2 - 0.1 * D}};
  }
  return p;
}

}  // namespace ovrin::predesign::detail

namespace ovrin::predesign::detail {

namespace {

// The near-axis focus behind the last row at the corrector's index k.
double ParaxialFocus(const Plan& p, std::size_t k) {
  double y = p.beamSemi, u = 0, n = 1;
  for (std::size_t i = 0; i < p.rows.size(); ++i) {
    const Row& r = p.rows[i];
    double n1 = r.medium == Row::Glass ? p.index[k] : 1.0;
    if (r.medium == Row::AirNegat) n1 = -1;
    const double c = r.radius == 0 ? 0.0 : Div(1, r.radius);
    u = Div(n * u - y * c * (n1 - n), n1);
    if (i + 1 < p.rows.size()) y += u * r.thickness;
    n = n1;
  }
  return -Div(y, u);
}

}  // namespace

// The Maksutov-Cassegrain: the secondary is an aluminised spot on the
// meniscus' back surface. Four numbers, the meniscus' radii and thickness and
// its distance from the primary, are found together so that the system has the
// focal length and the back focus asked for, the ray of the 0.85 zone meets
// the near-axis focus (the balance of the third and higher orders that gives
// the smallest spot), and the F and C foci coincide. The start is the Cassegrain
// of the same inputs with a meniscus of the camera's shape.
Plan MaksutovCassegrain(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const std::vector<double> index = CorrectorIndices(in.glass);
  const double n = index.front();
  const double EFL = box("efl");
  const double F1 = std::fabs(box("f1")) > 0 ? std::fabs(box("f1")) : std::fabs(box("focal"));
  const double D = box("diameter");
  const double DC = box("corrector-diameter");
  const double Df = box("field");
  const double b = box("back-focus");
  if (n <= 1 || F1 <= 0 || D <= 0 || DC <= 0 || EFL <= 0) throw Fault();
  const double m = Div(EFL, F1);
  const double d0 = Div(F1 * m - b, m + 1);
  if (d0 <= 0 || m <= 1) throw Fault();
  const double R3 = -2 * F1;
  TakeGlass(p, in, index);
  if (index.size() < 3) p.index = {n, n, n};
  p.beamSemi = DC / 2;
  const double Ds = Div((b + d0) * D, EFL) + Div(d0 * Df, EFL);

  auto build = [&](const double x[4]) {
    const double R1 = x[0], R2 = x[1], tc = x[2], d = x[3];
    p.rows = {
        {DC / 2, R1, tc, Row::Glass, kSphere},
        {DC / 2, R2, 0, Row::AirPosit, kSphere},
        {Ds / 2, 0, d, Row::AirPosit, kObsScreen},
        {D / 2, R3, -d, Row::AirNegat, kSphere},
        {Ds / 2, R2, d + b, Row::AirPosit, kSphere},
        {Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirPosit, kSphere},
    };
  };
  auto residual = [&](const double x[4], double r[4]) {
    if (x[2] <= 0 || x[3] <= 0 || x[0] >= 0 || x[1] >= 0) throw Fault();
    build(x);
    DesignState ds;
    DesignSheet sheet;
    CatalogueMedia media;
    if (WriteDesign(p, ds, sheet, media)) throw Fault();
    Tracer t(ds);
    SurfaceLoopPolicy policy;
    policy.testAperture = false;
    try {
      t.TraceRay(0, 0.85 * p.beamSemi, policy, ds.Bfl);
    } catch (const TraceError&) {
      throw Fault();
    }
    r[0] = (std::fabs(ds.Efl) - EFL) / EFL;
    r[1] = ds.Bfl / EFL;
    r[2] = t.RayY / DC;
    r[3] = (ParaxialFocus(p, 1) - ParaxialFocus(p, 2)) / EFL;
  };
  const double R2_0 = -2 * (b + d0) / (m - 1);
  double x[4] = {R2_0 * 0.95, R2_0, 0, d0};
  x[2] = (std::fabs(x[1]) - std::fabs(x[0])) * Div(n * n, n * n - 1);
  double r[4];
  residual(x, r);
  for (int iter = 0; iter < 40; ++iter) {
    double worst = 0;
    for (double v : r) worst = std::max(worst, std::fabs(v));
    if (worst < 1e-11) break;
    std::vector<std::vector<double>> J(4, std::vector<double>(4));
    for (int j = 0; j < 4; ++j) {
      double xs[4] = {x[0], x[1], x[2], x[3]};
      const double h = 1e-6 * std::max(1.0, std::fabs(x[j]));
      xs[j] += h;
      double rs[4];
      residual(xs, rs);
      for (int i = 0; i < 4; ++i) J[i][j] = (rs[i] - r[i]) / h;
    }
    const std::vector<double> step = SolveLinear(J, {-r[0], -r[1], -r[2], -r[3]});
    // Halve the step until the residual falls.
    double scale = 1;
    for (int tries = 0; tries < 20; ++tries, scale /= 2) {
      double xn[4], rn[4];
      for (int j = 0; j < 4; ++j) xn[j] = x[j] + scale * step[j];
      try {
        residual(xn, rn);
      } catch (const Fault&) {
        continue;
      }
      double before = 0, after = 0;
      for (int i = 0; i < 4; ++i) before += r[i] * r[i], after += rn[i] * rn[i];
      if (after < before) {
        std::copy(xn, xn + 4, x);
        std::copy(rn, rn + 4, r);
        break;
      }
    }
  }
  double worst = 0;
  for (double v : r) worst = std::max(worst, std::fabs(v));
  if (worst > 1e-6) throw Refusal("No corrected meniscus for these inputs");
  x[0] = RoundTo(x[0], 3);
  x[1] = RoundTo(x[1], 3);
  x[2] = RoundTo(x[2], 3);
  x[3] = RoundTo(x[3], 3);
  build(x);
  Show(p, "Aperture-Ratio ", Div(EFL, DC), 2);
  p.results.push_back({"Label22", "Meniscus  Rad. 1", FormatFixed(x[0], 3)});
  p.results.push_back({"Label25", "Meniscus  Rad. 2 (spot secondary)", FormatFixed(x[1], 3)});
  Show(p, "Label42", R3, 3, "Mirror Rad.");
  Show(p, "Label27", x[2], 3, "Corrector thickness");
  Show(p, "Label21", DC + Div(x[3] * Df, F1), 2, "Mirror diam. for full field");
  Show(p, "d, mirror separation", x[3], 3, "DP (corr. dist. = mirror separation)");
  Show(p, "Ds, spot diameter", Ds, 2);
  Show(p, "obstruction %", Div(100 * Ds, D), 2);
  Extra(p, "Secondary spacing for 1/4 wave", SpacingTolerance(m, Div(EFL, DC), kLineE / 1000.0), 4, " mm");
  p.system = "Maksutov-Cassegrain " + FormatFixed(DC, 0) + " mm f/" + FormatFixed(Div(EFL, DC), 2) + " (pre-design)";
  p.halfFieldDeg = std::atan(Div(Df / 2, EFL)) * 180 / 3.14159265358979;
  const double tc = x[2], d = x[3];
  p.dims = {{"DC", true, 0, 0, DC / 2}, {"D1", true, tc + d, tc + d, D / 2}, {"DP", false, tc, tc + d, D / 2 + 0.1 * D},
            {"Ds", true, tc, tc, Ds / 2}, {"BFL", false, tc + d, tc + 2 * d + b, -D / 2 - 0.1 * D}};
  return p;
}

}  // namespace ovrin::predesign::detail
