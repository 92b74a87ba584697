// The all-mirror families: Newtonian, Cassegrain, Gregorian and Couder.
#include <cmath>

#include "predesign/calc_util.h"

namespace ovrin::predesign::detail {

namespace {

constexpr double kPi = 3.14159265358979;
constexpr double kLambdaMm = kLineE / 1000.0;

double Degrees(double rad) { return rad * 180 / kPi; }

// The area common to two circles (radii r1, r2, centres d apart).
double Overlap(double r1, double r2, double d) {
  if (d >= r1 + r2) return 0;
  if (d <= std::fabs(r1 - r2)) return kPi * std::pow(std::min(r1, r2), 2);
  const double a = r1 * r1 * std::acos((d * d + r1 * r1 - r2 * r2) / (2 * d * r1));
  const double b = r2 * r2 * std::acos((d * d + r2 * r2 - r1 * r1) / (2 * d * r2));
  const double c = 0.5 * std::sqrt((-d + r1 + r2) * (d + r1 - r2) * (d - r1 + r2) * (d + r1 + r2));
  return a + b - c;
}

// The field diameter at which a diagonal of minor axis `diag` passes the
// fraction `lit` of the light of the cone (mirror D1, focal F, the diagonal E
// from the focal plane). The diagonal is taken as its circular cross-section
// in the beam.
double IlluminatedField(double D1, double F, double E, double diag, double lit) {
  const double r = D1 * E / (2 * F);  // the cone's radius at the diagonal
  const double a = diag / 2;
  const double scale = (F - E) / F;  // the cone's centre moves by h (F - E) / F
  auto fraction = [&](double h) { return Overlap(r, a, h * scale) / (kPi * r * r); };
  if (fraction(0) < lit) return 0;
  double lo = 0, hi = Div(a + r, scale);
  for (int i = 0; i < 200; ++i) {
    const double mid = (lo + hi) / 2;
    (fraction(mid) >= lit ? lo : hi) = mid;
  }
  return 2 * lo;
}

}  // namespace

Plan Newtonian(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const double F = std::fabs(box("focal"));
  const double D1 = box("diameter");
  const double E = box("axis-to-focus");
  const double Df = box("field");
  const double ratio = Div(F, D1);
  Show(p, "Aperture Ratio ", ratio, 2);
  const double D2 = Show(p, "D2 (minor axis)", Df + Div(E, ratio) - Div(Df * E, F), 2);
  Show(p, "D3 (major axis)", 1.4142 * D2, 2);
  Show(p, "Dx (Sec.Decent.)", Div(D2 * (D1 - D2), 4 * (F - E)), 2);
  Show(p, "Obstruction  (%)", Div(100 * D2, D1), 2);
  Show(p, "Mirror Sagitta", Div(std::pow(D1 / 2, 2), 4 * F), 4);
  if (D2 <= 0 || E >= F) throw Fault();

  // The diagonal's centre lies off the axis toward the primary and away from
  // the focuser by the same amount: the middle of the cone's elliptic section.
  const double s = (D1 - Df) / (2 * F);
  const double offset = Div(D2 / 2 * s, 1 - s * s);
  Extra(p, "Diagonal offset toward primary", offset, 2, " mm");
  Extra(p, "Diagonal offset away from focuser", offset, 2, " mm");
  const double at_hand = box("diagonal") > 0 ? box("diagonal") : D2;
  Extra(p, "Diagonal used (minor axis)", at_hand, 2, " mm");
  Extra(p, "100 % illuminated field", std::max(0.0, Div(at_hand * F - E * D1, F - E)), 2, " mm");
  Extra(p, "75 % illuminated field", IlluminatedField(D1, F, E, at_hand, 0.75), 2, " mm");
  Extra(p, "Diagonal for Df fully lit", D2, 2, " mm");

  p.rows = {
      {D2 / 2, 0, D2 / 2 + F - E, Row::AirPosit, kObsScreen},
      {D1 / 2, -2 * F, -(F - E), Row::AirNegat, kConic, -1},
      {D1 / 2, 0, 0, Row::AirPosit, kSphere, 0},
  };
  p.beamSemi = D1 / 2;
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, F)));
  p.system = "Newtonian " + FormatFixed(D1, 0) + " mm f/" + FormatFixed(ratio, 2) + " (pre-design)";
  // Drawn unfolded from the obstruction plane: the diagonal D2 / 2 behind it,
  // the primary F - E further; the focal plane E above the diagonal.
  const double zd = D2 / 2, zp = D2 / 2 + F - E;
  p.dims = {{"D1", true, zp, zp, D1 / 2},
            {"D2", true, zd, zd, D2 / 2},
            {"F - E", false, zd, zp, -D1 / 2 - 0.1 * D1},
            {"Df", false, zd - Df / 2, zd + Df / 2, E},
            {"E", true, zd, zd, E}};
  return p;
}

Plan TwoMirror(const Inputs& in, bool gregorian) {
  const Boxes box(in);
  Plan p;
  const double EFL = box("efl");
  const double F1 = std::fabs(box("f1"));
  const double D1 = box("diameter");
  const double b = box("back-focus");
  const double Df = box("field");
  const double m = gregorian ? -Div(EFL, F1) : Div(EFL, F1);
  const double d = Show(p, "d, mirror separation", Div(F1 * m - b, m + 1), 3);
  const double c2 = Show(p, "secondary conjugate c2", -Div(b + d, m - 1), 3);
  const double Ds = Show(p, "Ds, secondary diameter", Div((b + d) * D1, EFL) + Div(d * Df, EFL), 2);
  Show(p, "distance secondary to focus", b + d, 3);
  Show(p, "obstruction %", Div(100 * Ds, D1), 2);
  const double N = Show(p, "f-ratio", Div(EFL, D1), 2);
  const double R1 = Show(p, "primary radius", -2 * F1, 3);
  const double R2 = 2 * c2;

  const double q = std::pow(Div(m + 1, m - 1), 2);
  const double z = (1 - Div(d, F1)) * Div(std::pow(m - 1, 3), std::pow(m, 3));
  const double w = Div(d, F1) * Div(std::pow(m - 1, 3), std::pow(m, 3));
  const double v = Div(2, m * m);
  // Cassegrain, Ritchey-Chretien, Pressmann-Camichel, Dall-Kirkham.
  const double pairs[4][2] = {
      {-1, -q}, {-(1 + Div(v * z, w)), -(q + Div(v, w))}, {0, Div(1, z) - q}, {z * q - 1, 0}};
  // The Gregorian buttons use the rows in the order Cassegrain, Ritchey-Chretien,
  // Pressmann-Camichel, Dall-Kirkham; the Cassegrain buttons in the order
  // Cassegrain, Dall-Kirkham, Ritchey-Chretien, Pressmann-Camichel.
  const int cass_order[4] = {0, 3, 1, 2};
  const int greg_order[4] = {0, 1, 2, 3};
  const KindSpec& kind_info = SpecOf(gregorian ? Kind::Gregorian : Kind::Cassegrain);
  int variant = 0;
  for (std::size_t i = 0; i < kind_info.variants.size(); ++i)
    if (in.variant == kind_info.variants[i].key) variant = static_cast<int>(i);
  if (!in.variant.empty() && in.variant != kind_info.variants[variant].key) throw Refusal("Unknown variant " + in.variant);
  const int row = gregorian ? greg_order[variant] : cass_order[variant];
  const double K1 = RoundTo(pairs[row][0], 4), K2 = RoundTo(pairs[row][1], 4);
  p.results.push_back({"Primary conic", "Primary conic", FormatFixed(K1, 4)});
  p.results.push_back({"Secondary conic", "Secondary conic", FormatFixed(K2, 4)});
  for (int i = 0; i < 4; ++i) {
    const int r = gregorian ? greg_order[i] : cass_order[i];
    p.extras.push_back({std::string(kind_info.variants[i].button) + " conics", std::string(kind_info.variants[i].button) + " conics",
                        FormatFixed(pairs[r][0], 4) + " / " + FormatFixed(pairs[r][1], 4)});
  }

  if (!gregorian) {
    // The field estimate: the Petzval curvature of the two mirrors and the
    // field angle; r is the back focus in units of the primary focal length.
    Extra(p, "r = BFL / F1", Div(b, F1), 4);
    Extra(p, "Field angle (deg)", Degrees(2 * std::atan(Div(Df / 2, EFL))), 4);
    Extra(p, "Petzval radius", std::fabs(Div(1, 2 / R1 - 2 / R2)), 1, " mm");
  }
  Extra(p, "Secondary spacing for 1/4 wave", SpacingTolerance(m, N, kLambdaMm), 4, " mm");
  if (Ds <= 0 || d <= 0) throw Fault();

  p.rows = {
      {Ds / 2, 0, d, Row::AirPosit, kObsScreen},
      {D1 / 2, R1, -d, Row::AirNegat, K1 == 0 ? kSphere : kConic, K1},
      {Ds / 2, R2, d + b, Row::AirPosit, K2 == 0 ? kSphere : kConic, K2},
      {Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirPosit, kSphere, 0},
  };
  p.beamSemi = D1 / 2;
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, EFL)));
  p.system = std::string(kind_info.variants[variant].button) + " " + FormatFixed(D1, 0) + " mm f/" + FormatFixed(N, 2) +
             " (pre-design)";
  p.dims = {{"D1", true, d, d, D1 / 2},   {"Ds", true, 0, 0, Ds / 2},
            {"d", false, 0, d, D1 / 2 + 0.1 * D1}, {"BFL", false, d, d + b, -D1 / 2 - 0.1 * D1},
            {"F1", false, d - F1, d, -D1 / 2 - 0.2 * D1}};
  return p;
}

Plan Couder(const Inputs& in) {
  const Boxes box(in);
  Plan p;
  const double D1 = box("diameter");
  const double EFL = std::fabs(box("efl"));
  const double obstruction = box("obstruction");
  const double Df = box("field");
  const double R1 = -std::fabs(box("primary-radius"));
  const double F1 = Div(-R1, 2);
  if (D1 <= 0 || EFL <= 0 || F1 <= 0) throw Fault();

  // With the aplanatic conics of the Ritchey-Chretien pair, the astigmatism
  // (stop on the primary) vanishes when the mirrors stand twice the system's
  // focal length apart. The image is real only with a primary slower than
  // that: then both mirrors are concave and the image lies between them.
  const double m = Div(EFL, F1);
  if (F1 <= 2 * EFL) throw Refusal("The primary focal length must exceed twice the EFL (anastigmatic separation 2 EFL)");
  const double d = RoundTo(2 * EFL, 3);
  const double b = F1 * m - d * (m + 1);
  const double c2 = RoundTo(-(b + d) / (m - 1), 3);
  const double R2 = 2 * c2;
  Show(p, "Secondary Curv.Radius", R2, 3);
  Show(p, "S (primary-sec.  dist.)", d, 3);
  const double Ds = Show(p, "D2 (second.mirr. diam)", std::fabs(Div((b + d) * D1, m * F1)) + std::fabs(Div(d * Df, m * F1)), 2);
  Show(p, "Magnification", m, 4);
  Show(p, "Back Focal Length", b, 3);
  const double obs = Show(p, "Linear Obstruction %", Div(100 * Ds, D1), 2);
  const double N = Show(p, "Aperture Ratio ", Div(EFL, D1), 2);
  if (obstruction > 0 && obs > obstruction)
    throw Refusal("The obstruction of the anastigmatic solution (" + FormatFixed(obs, 2) + " %) exceeds the maximum");

  const double q = std::pow(Div(m + 1, m - 1), 2);
  const double z = (1 - Div(d, F1)) * Div(std::pow(m - 1, 3), std::pow(m, 3));
  const double w = Div(d, F1) * Div(std::pow(m - 1, 3), std::pow(m, 3));
  const double v = Div(2, m * m);
  const double K1 = RoundTo(-(1 + Div(v * z, w)), 4), K2 = RoundTo(-(q + Div(v, w)), 4);
  p.results.push_back({"Primary conic", "Primary conic", FormatFixed(K1, 4)});
  p.results.push_back({"Secondary conic", "Secondary conic", FormatFixed(K2, 4)});
  const double petzval = std::fabs(Div(1, 2 / R1 - 2 / R2));
  Extra(p, "Field radius (curved, anastigmatic)", petzval, 1, " mm");
  Extra(p, "Secondary spacing for 1/4 wave", SpacingTolerance(m, N, kLambdaMm), 4, " mm");

  p.rows = {
      {Ds / 2, 0, d, Row::AirPosit, kObsScreen},
      {D1 / 2, R1, -d, Row::AirNegat, kConic, K1},
      {Ds / 2, R2, d + b, Row::AirPosit, kConic, K2},
      {Df / 2 > 0 ? Df / 2 : 1, 0, 0, Row::AirPosit, kSphere, 0},
  };
  p.beamSemi = D1 / 2;
  p.halfFieldDeg = Degrees(std::atan(Div(Df / 2, EFL)));
  p.system = "Couder anastigmat " + FormatFixed(D1, 0) + " mm f/" + FormatFixed(N, 2) + " (pre-design)";
  p.dims = {{"D1", true, d, d, D1 / 2}, {"D2", true, 0, 0, Ds / 2}, {"S", false, 0, d, D1 / 2 + 0.1 * D1},
            {"BFL", false, d, d + b, -D1 / 2 - 0.1 * D1}};
  return p;
}

}  // namespace ovrin::predesign::detail
