// The Houghton family, the aplanatic doublet and the apochromatic triplet:
// the calculators' refusals, the power split worked by hand, the lens rules,
// and the traced quality of the written designs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "predesign/calc_util.h"
#include "quality_util.h"

namespace ovrin::predesign {
namespace {

Inputs With(Kind k, std::map<std::string, std::string> text) {
  Inputs in = DefaultInputs(k);
  for (const auto& [key, v] : text) in.text[key] = v;
  return in;
}

double Num(const Plan& p, const char* key) {
  const std::string* t = p.Find(key);
  EXPECT_NE(t, nullptr) << key;
  return t ? ParseLeadingNumber(*t) : NAN;
}

// The near-axis focus behind the last surface at wavelength k (1-based).
double ParaxialFocus(const DesignState& d, int k) {
  double y = 1, u = 0, n = 1;
  for (int s = 1; s <= d.SurfCount; ++s) {
    const double n1 = d.IndexWl[k][s];
    const double c = std::fabs(d.Radius[s]) >= 1e10 || d.Radius[s] == 0 ? 0.0 : 1 / d.Radius[s];
    u = (n * u - y * c * (n1 - n)) / n1;
    if (s < d.SurfCount) y += u * d.Thickness[s];
    n = n1;
  }
  return -y / u;
}

double FocusSpread(const DesignState& d) {
  double lo = 1e30, hi = -1e30;
  for (int k = 1; k <= d.WlCount; ++k) {
    const double f = ParaxialFocus(d, k);
    lo = std::min(lo, f);
    hi = std::max(hi, f);
  }
  return hi - lo;
}

// The polychromatic RMS radius at its best focus, searched in 0.01 mm steps
// around the focus of wavelength 1.
double PolychromaticRms(const DesignState& d) {
  double best = 1e9;
  for (int i = -60; i <= 60; ++i) {
    SpotSettings s;
    s.rays = "558";
    s.checked = {true, true, true, false, false, false};
    s.actualBfl = FormatFixed(d.Bfl + 0.01 * i, 3);
    const SpotResult spot = ComputeSpot(d, s);
    if (spot.error.empty() && spot.GoodRays > 0) best = std::min(best, spot.RmsRadius);
  }
  return best;
}

// Every lens of a written design keeps an edge of max(1 mm, 5 % of the diameter).
void ExpectEdges(const DesignState& d) {
  for (int s = 1; s < d.SurfCount; ++s) {
    if (std::fabs(d.IndexWl[1][s]) <= 1.0001) continue;
    const double h = d.SemiDiam[s];
    auto sag = [&](double r) {
      if (std::fabs(r) >= 1e10 || r == 0) return 0.0;
      const double c = 1 / r;
      return c * h * h / (1 + std::sqrt(1 - c * c * h * h));
    };
    const double edge = d.Thickness[s] - sag(d.Radius[s]) + sag(d.Radius[s + 1]);
    EXPECT_GE(edge, std::max(1.0, 0.1 * h) - 1e-3) << "surface " << s;
  }
}

TEST(Doublet, PowerSplitAgainstAHandWorkedCase) {
  // VA = 0.5 / (1.495 - 1.505) = -50, VB = 0.6 / (1.59 - 1.61) = -30;
  // pA = 0.001 * -50 / -20 = 0.0025 (400 mm), pB = 0.001 * -30 / 20 (-666.67 mm).
  const Outcome o = Calculate(Kind::Doublet, With(Kind::Doublet, {{"focal", "1000"},
                                                                  {"semi-diameter", "40"},
                                                                  {"index-a", "1.5,1.505,1.495"},
                                                                  {"index-b", "1.6,1.61,1.59"}}));
  ASSERT_TRUE(o.ok) << o.error;
  EXPECT_EQ(*o.plan.Find("Focal length lens A"), "400.00");
  EXPECT_EQ(*o.plan.Find("Focal length lens B"), "-666.67");
  EXPECT_DOUBLE_EQ(Num(o.plan, "VA"), -50);
  EXPECT_DOUBLE_EQ(Num(o.plan, "VB"), -30);
  EXPECT_EQ(*o.plan.Find("SurfCount"), "4");
  EXPECT_EQ(*o.plan.Find("G1 lens A"), "0.56250");  // n^2 (n - 1) / 2 at n = 1.5
  // Cemented: the inner radii are one, with no space between.
  EXPECT_EQ(*o.plan.Find("R2"), *o.plan.Find("R3"));
  EXPECT_EQ(o.plan.rows[1].thickness, 0);
}

TEST(Doublet, RefusesWhatCannotBeDesigned) {
  auto error = [](std::map<std::string, std::string> t) {
    return Calculate(Kind::Doublet, With(Kind::Doublet, std::move(t))).error;
  };
  // One glass twice: VA = VB divides by zero.
  EXPECT_FALSE(error({{"index-a", "1.5,1.505,1.495"}, {"index-b", "1.5,1.505,1.495"}}).empty());
  EXPECT_EQ(error({{"index-a", "1.5,1.505"}}), "Type one index per design wavelength: n1,n2,n3");
  EXPECT_EQ(error({{"index-a", "0.9,1.505,1.495"}}), "Invalid Index value!");
  EXPECT_EQ(error({{"glass-a", "N-BK7"}}), "Give the glass as CAT:NAME or its indices n1,n2,n3");
  EXPECT_NE(error({{"glass-a", "SCHOTT:NO-SUCH"}}).find("No glass"), std::string::npos);
  EXPECT_EQ(error({{"wl", "0.546,0.48"}}), "Three design wavelengths are needed: w1,w2,w3");
  EXPECT_FALSE(error({{"focal", "0"}}).empty());
  EXPECT_FALSE(error({{"semi-diameter", ""}}).empty());
}

TEST(Doublet, CementedAndAirSpacedAreCorrectedAtTheMainWavelength) {
  for (const char* air : {"0", "1"}) {
    const Outcome o = Calculate(Kind::Doublet, With(Kind::Doublet, {{"air-spaced", air}}));
    ASSERT_TRUE(o.ok) << o.error;
    const detail::SeidelSums z = detail::SeidelOf(o.plan);
    if (std::string(air) == "1") {
      EXPECT_GT(o.plan.rows[1].thickness, 0);
      EXPECT_LT(std::fabs(z.S[1]), 1e-6);  // no coma
    } else {
      EXPECT_EQ(o.plan.rows[1].thickness, 0);
    }
    Written w = Write(o.plan);
    ASSERT_TRUE(w.ok) << w.error;
    // The spherical aberration balanced on the real ray of the 0.85 zone: at
    // the e line the spot is a small part of the Airy disc, at the paraxial
    // focus and at a quarter of the field.
    const double airy = 1.22 * 0.54607e-3 * 1000 / 100;
    EXPECT_LT(OnAxisRms(w.d, 0), 0.15 * airy) << air;
    EXPECT_EQ(w.d.SurfCount, 4);
    EXPECT_NEAR(std::fabs(w.d.Efl), 1000, 1);
    EXPECT_EQ(w.d.IndexWl[1][2], 1);
    EXPECT_EQ(w.d.IndexWl[3][2], 1);
    ExpectEdges(w.d);
  }
}

TEST(Doublet, HundredMillimetreFTenInCrownAndFlint) {
  const Outcome o =
      Calculate(Kind::Doublet, With(Kind::Doublet, {{"focal", "1000"}, {"semi-diameter", "50"}}));
  ASSERT_TRUE(o.ok) << o.error;
  Written w = Write(o.plan);
  ASSERT_TRUE(w.ok) << w.error;
  const double airy = 1.22 * 0.54607e-3 * 10;
  const double rms = PolychromaticRms(w.d);
  const double spread = FocusSpread(w.d);
  std::printf("doublet 100 f/10: polychromatic RMS %.5f mm, Airy radius %.5f mm, focus spread %.4f mm (F/%.0f)\n",
              rms, airy, spread, 1000 / spread);
  // The secondary spectrum of crown and flint: the e focus apart from the
  // joined F' and C' foci by about F/2000, which at f/10 is a blur of about
  // two Airy radii at the best focus.
  EXPECT_LT(rms, 2.2 * airy);
  EXPECT_GT(spread, 1000.0 / 4000);
  EXPECT_LT(spread, 1000.0 / 1000);
  EXPECT_LT(OnAxisRms(w.d, 0), 0.25 * airy);  // at the e line alone it is a perfect lens
}

TEST(Triplet, SmallerSecondarySpectrumThanTheDoubletOfTheSameFocalLength) {
  const Outcome t = Calculate(Kind::Triplet, With(Kind::Triplet, {{"focal", "900"}, {"semi-diameter", "60"}}));
  ASSERT_TRUE(t.ok) << t.error;
  const Outcome d = Calculate(Kind::Doublet, With(Kind::Doublet, {{"focal", "900"}, {"semi-diameter", "60"}}));
  ASSERT_TRUE(d.ok) << d.error;
  Written wt = Write(t.plan), wd = Write(d.plan);
  ASSERT_TRUE(wt.ok && wd.ok) << wt.error << wd.error;
  const double st = FocusSpread(wt.d), sd = FocusSpread(wd.d);
  const double airy = 1.22 * 0.54607e-3 * 7.5;
  std::printf("120 f/7.5: focus spread triplet %.4f mm, doublet %.4f mm; RMS triplet %.5f, doublet %.5f, Airy %.5f\n",
              st, sd, PolychromaticRms(wt.d), PolychromaticRms(wd.d), airy);
  EXPECT_LT(st, 0.2 * sd);
  EXPECT_LT(PolychromaticRms(wt.d), PolychromaticRms(wd.d));
  EXPECT_NEAR(std::fabs(wt.d.Efl), 900, 1);
  ExpectEdges(wt.d);
}

TEST(Triplet, ScrollBarsChangeTheDesignAndRestoreIt) {
  Inputs in = DefaultInputs(Kind::Triplet);
  const Outcome base = Calculate(Kind::Triplet, in);
  ASSERT_TRUE(base.ok) << base.error;
  in.scroll = {10500, 10000, 10000};
  const Outcome more = Calculate(Kind::Triplet, in);
  ASSERT_TRUE(more.ok) << more.error;
  EXPECT_NEAR(Num(more.plan, "Focal length lens B"), Num(base.plan, "Focal length lens B") / 1.05, 0.02);
  in.scroll = {10000, 10000, 30000};
  const Outcome wide = Calculate(Kind::Triplet, in);
  ASSERT_TRUE(wide.ok) << wide.error;
  // The space at the axis: as set, plus what keeps the lenses apart at the edge.
  EXPECT_NEAR(wide.plan.rows[3].thickness - base.plan.rows[3].thickness, 2.0, 0.5);
  in.scroll = {10000, 10000, 10000};
  const Outcome back = Calculate(Kind::Triplet, in);
  for (const Result& r : base.plan.results) EXPECT_EQ(*back.plan.Find(r.key), r.text) << r.key;
}

TEST(Houghton, LurieHoughtonTwoFiftyFFiveIsDiffractionLimited) {
  for (Kind k : {Kind::Houghton, Kind::HoughtonAspheric}) {
    const Outcome o = Calculate(k, DefaultInputs(k));
    ASSERT_TRUE(o.ok) << o.error;
    // The corrector: lens B the negative of lens A.
    EXPECT_DOUBLE_EQ(o.plan.rows[2].radius, -o.plan.rows[0].radius);
    EXPECT_DOUBLE_EQ(o.plan.rows[3].radius, -o.plan.rows[1].radius);
    Written w = Write(o.plan);
    ASSERT_TRUE(w.ok) << w.error;
    const double airy = 1.22 * 0.54607e-3 * std::fabs(w.d.Efl) / 250;
    const double rms = OnAxisRms(w.d, 0);
    std::printf("%s: RMS %.5f mm, Airy radius %.5f mm, EFL %.2f\n", SpecOf(k).cli, rms, airy, w.d.Efl);
    EXPECT_LT(rms, airy);
    EXPECT_NEAR(std::fabs(w.d.Efl), 1250, 0.05 * 1250);  // the corrector adds little power
    ExpectEdges(w.d);
  }
}

TEST(Houghton, CassegrainKeepsItsFocalLength) {
  for (Kind k : {Kind::HoughtonCassegrain, Kind::HoughtonCassegrainAspheric}) {
    const Outcome o = Calculate(k, DefaultInputs(k));
    ASSERT_TRUE(o.ok) << o.error;
    Written w = Write(o.plan);
    ASSERT_TRUE(w.ok) << w.error;
    EXPECT_NEAR(std::fabs(w.d.Efl), 2500, 0.05 * 2500);
    const double airy = 1.22 * 0.54607e-3 * std::fabs(w.d.Efl) / 250;
    EXPECT_LT(OnAxisRms(w.d, 0), airy) << SpecOf(k).cli;
    EXPECT_EQ(o.plan.Find("Secondary conic") != nullptr, k == Kind::HoughtonCassegrainAspheric);
  }
}

TEST(Houghton, Refusals) {
  Inputs in = DefaultInputs(Kind::HoughtonCassegrain);
  in.text["corrector-distance"] = "300";  // behind the secondary
  EXPECT_EQ(Calculate(Kind::HoughtonCassegrain, in).error,
            "The corrector must stand in front of the secondary: DP greater than d");
  in = DefaultInputs(Kind::Houghton);
  in.glass.indexText = {"1"};
  EXPECT_FALSE(Calculate(Kind::Houghton, in).ok);
  in.glass.indexText = {"0.8"};
  EXPECT_EQ(Calculate(Kind::Houghton, in).error, "Invalid Index value!");
  in = DefaultInputs(Kind::Houghton);
  in.text["corrector-distance"] = "1050";  // F - E: on the diagonal
  EXPECT_EQ(Calculate(Kind::Houghton, in).error,
            "The corrector must stand in front of the diagonal: DP greater than F - E");
  in = DefaultInputs(Kind::Houghton);
  in.text["thickness"] = "";
  EXPECT_FALSE(Calculate(Kind::Houghton, in).ok);
}

TEST(LensRules, CentreThicknessKeepsTheEdge) {
  // A plano-convex lens R = 100 at h = 20: sag 2.0204, edge 2 mm (10 % of h).
  EXPECT_NEAR(LensCentreThickness(0.01, 0, 20), 2 + (100 - std::sqrt(100.0 * 100 - 400)), 1e-9);
  // A small lens: the edge is at least 1 mm.
  EXPECT_NEAR(LensCentreThickness(0, 0, 3), 1, 1e-12);
  // A negative lens: its centre alone is held, thicker when asked.
  EXPECT_NEAR(LensCentreThickness(-0.01, 0.01, 20), 2, 1e-12);
  EXPECT_NEAR(LensCentreThickness(-0.01, 0.01, 20, 7), 7, 1e-12);
}

}  // namespace
}  // namespace ovrin::predesign
