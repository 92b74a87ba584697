// The calculators against numbers worked by hand from the textbook formulas,
// the refusals and faults of the windows, and what the frame writes.
#include <gtest/gtest.h>

#include <cmath>

#include "core/number_text.h"
#include "predesign/predesign.h"
#include "predesign/calc_util.h"
#include "quality_util.h"

namespace ovrin::predesign {
namespace {

double Number(const Plan& p, const char* key) {
  const std::string* t = p.Find(key);
  EXPECT_NE(t, nullptr) << key;
  return t ? ParseLeadingNumber(*t) : NAN;
}

Outcome Calc(Kind k, std::map<std::string, std::string> text, const std::string& variant = "",
            GlassChoice glass = {}) {
  Inputs in = DefaultInputs(k);
  for (const auto& [key, v] : text) in.text[key] = v;
  if (!variant.empty()) in.variant = variant;
  if (SpecOf(k).glass == GlassUse::One) in.glass = glass;
  return Calculate(k, in);
}

const std::map<std::string, std::string> kNewton = {
    {"focal", "1000"}, {"diameter", "200"}, {"axis-to-focus", "150"}, {"field", "10"}};
const std::map<std::string, std::string> kCass = {
    {"efl", "2000"}, {"f1", "600"}, {"diameter", "200"}, {"back-focus", "150"}, {"field", "20"}};

TEST(Newtonian, TwoHundredMillimetreFFiveWorkedByHand) {
  const Outcome o = Calc(Kind::Newtonian, kNewton);
  ASSERT_TRUE(o.ok) << o.error;
  const Plan& p = o.plan;
  // N = 5; D2 = 10 + 150/5 - 10*150/1000 = 38.5; D3 = 1.4142 * 38.5;
  // Dx = 38.5 * 161.5 / (4 * 850); sagitta = 100^2 / 4000.
  EXPECT_EQ(*p.Find("Aperture Ratio "), "5.00");
  EXPECT_EQ(*p.Find("D2 (minor axis)"), "38.50");
  EXPECT_EQ(*p.Find("D3 (major axis)"), "54.45");
  EXPECT_EQ(*p.Find("Dx (Sec.Decent.)"), "1.83");
  EXPECT_EQ(*p.Find("Obstruction  (%)"), "19.25");
  EXPECT_EQ(*p.Find("Mirror Sagitta"), "2.5000");
  // The diagonal sized for Df lights exactly Df fully; 75 % reaches further.
  EXPECT_NEAR(Number(p, "100 % illuminated field"), 10.0, 0.01);
  EXPECT_GT(Number(p, "75 % illuminated field"), 20.0);
  // The offset of a diagonal's centre: the middle of the cone's section,
  // (D2/2) s / (1 - s^2) with s = (D1 - Df) / 2F = 0.095.
  EXPECT_NEAR(Number(p, "Diagonal offset toward primary"), 19.25 * 0.095 / (1 - 0.095 * 0.095), 0.006);

  Written w = Write(p);
  ASSERT_TRUE(w.ok) << w.error;
  const DesignState& d = w.d;
  ASSERT_EQ(d.SurfCount, 3);
  EXPECT_EQ(d.SurfType[1], kObsScreen);
  EXPECT_DOUBLE_EQ(d.SemiDiam[1], 19.25);
  EXPECT_DOUBLE_EQ(d.Thickness[1], 19.25 + 850);
  EXPECT_DOUBLE_EQ(d.Radius[2], -2000);
  EXPECT_EQ(d.Conic[2], -1);
  EXPECT_EQ(d.SurfType[2], kConic);
  EXPECT_EQ(d.IndexWl[1][2], -1);
  EXPECT_EQ(d.IndexWl[1][3], 1);
  EXPECT_EQ(w.sheet.Cell(3, 6), "+ 1");
  EXPECT_EQ(w.sheet.Cell(3, 4), "0");
  EXPECT_FLOAT_EQ(d.Wavelength[0], 0.54607f);
  EXPECT_EQ(d.EntrBeamSemiDiam, 100);
  // The paraboloid focuses 1000 mm from its vertex, 150 mm past the diagonal.
  EXPECT_NEAR(std::fabs(d.Efl), 1000, 1e-4);
  EXPECT_NEAR(d.Bfl, 150, 1e-4);
}

TEST(Newtonian, FaultsWriteNothing) {
  // An empty box reads 0: no aperture ratio. E = F: the decentering divides by 0.
  auto no_diameter = kNewton;
  no_diameter["diameter"] = "";
  EXPECT_FALSE(Calc(Kind::Newtonian, no_diameter).ok);
  auto e_is_f = kNewton;
  e_is_f["axis-to-focus"] = "1000";
  const Outcome o = Calc(Kind::Newtonian, e_is_f);
  EXPECT_FALSE(o.ok);
  EXPECT_FALSE(o.error.empty());
  EXPECT_TRUE(o.plan.rows.empty());
  // A negative focal length is taken by its magnitude.
  auto negative = kNewton;
  negative["focal"] = "-1000";
  EXPECT_EQ(*Calc(Kind::Newtonian, negative).plan.Find("D2 (minor axis)"), "38.50");
}

TEST(TwoMirror, CassegrainWorkedByHand) {
  const Outcome o = Calc(Kind::Cassegrain, kCass, "cassegrain");
  ASSERT_TRUE(o.ok) << o.error;
  const Plan& p = o.plan;
  // m = 10/3; d = (2000 - 150) / (13/3); the secondary's conjugates p = F1 - d
  // and s' = b + d give by the mirror equation |R2| = 2 p s' / (s' - p).
  const double m = 2000.0 / 600, d = 1850 / (m + 1), pp = 600 - d, sp = 150 + d;
  EXPECT_EQ(*p.Find("d, mirror separation"), FormatFixed(d, 3));
  EXPECT_NEAR(2 * Number(p, "secondary conjugate c2"), -2 * pp * sp / (sp - pp), 0.002);
  EXPECT_EQ(*p.Find("Ds, secondary diameter"), "61.96");
  EXPECT_EQ(*p.Find("obstruction %"), "30.98");
  EXPECT_EQ(*p.Find("f-ratio"), "10.00");
  EXPECT_EQ(*p.Find("primary radius"), "-1200.000");
  EXPECT_EQ(*p.Find("Primary conic"), "-1.0000");
  EXPECT_NEAR(Number(p, "Secondary conic"), -std::pow((m + 1) / (m - 1), 2), 1e-4);
  // A quarter wave of defocus is 2 lambda N^2 at the focus, (m^2 + 1) times
  // the secondary's move.
  EXPECT_NEAR(Number(p, "Secondary spacing for 1/4 wave"), 2 * 0.00054607 * 100 / (m * m + 1), 1e-4);

  // Ritchey-Chretien in the textbook's form: K1 = -1 - 2 B / (d m^3),
  // K2 = -((m+1)/(m-1))^2 - 2 f / (d (m-1)^3), B = b + d, f = EFL.
  const Plan rc = Calc(Kind::Cassegrain, kCass, "ritchey-chretien").plan;
  const double dr = Number(rc, "d, mirror separation");
  EXPECT_NEAR(Number(rc, "Primary conic"), -1 - 2 * (150 + dr) / (dr * m * m * m), 1e-4);
  EXPECT_NEAR(Number(rc, "Secondary conic"), -std::pow((m + 1) / (m - 1), 2) - 2 * 2000 / (dr * std::pow(m - 1, 3)),
              1e-4);

  Written w = Write(p);
  ASSERT_TRUE(w.ok) << w.error;
  ASSERT_EQ(w.d.SurfCount, 4);
  EXPECT_EQ(w.d.SurfType[1], kObsScreen);
  EXPECT_DOUBLE_EQ(w.d.Thickness[2], -Number(p, "d, mirror separation"));
  EXPECT_EQ(w.d.IndexWl[1][3], 1);
  EXPECT_NEAR(std::fabs(w.d.Efl), 2000, 0.5);
}

TEST(TwoMirror, SphereVariantsWriteTypeOneAndConicZero) {
  const Plan dk = Calc(Kind::Cassegrain, kCass, "dall-kirkham").plan;
  Written w = Write(dk);
  ASSERT_TRUE(w.ok);
  EXPECT_EQ(w.d.SurfType[3], kSphere);
  EXPECT_EQ(w.d.Conic[3], 0);
  EXPECT_EQ(w.sheet.Cell(3, 7), "SPHERE");
  EXPECT_EQ(w.d.SurfType[2], kConic);

  const Plan pc = Calc(Kind::Cassegrain, kCass, "pressmann-camichel").plan;
  Written w2 = Write(pc);
  EXPECT_EQ(w2.d.SurfType[2], kSphere);
  EXPECT_EQ(w2.d.Conic[2], 0);

  // The Gregorian buttons take the rows in the order classic, aplanatic,
  // spherical primary, spherical secondary.
  const Plan gs = Calc(Kind::Gregorian, kCass, "spherical-secondary").plan;
  EXPECT_EQ(*gs.Find("Secondary conic"), "0.0000");
  const Plan gp = Calc(Kind::Gregorian, kCass, "spherical-primary").plan;
  EXPECT_EQ(*gp.Find("Primary conic"), "0.0000");
}

TEST(TwoMirror, GregorianHasAConcaveSecondaryBeyondThePrimaryFocus) {
  const Plan g = Calc(Kind::Gregorian, kCass, "classic").plan;
  // m = -10/3: d = (-2000 - 150) / (-7/3) = 921.429 > F1, and the secondary
  // images the primary focus at distance d - F1 onto b + d.
  EXPECT_EQ(*g.Find("d, mirror separation"), "921.429");
  EXPECT_GT(Number(g, "secondary conjugate c2"), 0);
  Written w = Write(g);
  ASSERT_TRUE(w.ok);
  EXPECT_NEAR(std::fabs(w.d.Efl), 2000, 0.5);
}

TEST(TwoMirror, MagnificationOneFaultsAndLeavesTheDesign) {
  auto equal = kCass;
  equal["efl"] = "600";
  const Outcome o = Calc(Kind::Cassegrain, equal, "ritchey-chretien");
  EXPECT_FALSE(o.ok);
  EXPECT_TRUE(o.plan.rows.empty());
  EXPECT_FALSE(Calc(Kind::Cassegrain, kCass, "no-such-variant").ok);
}

TEST(Frame, RerunningOverwritesEditedRows) {
  const Plan p = Calc(Kind::Cassegrain, kCass, "cassegrain").plan;
  Written w = Write(p);
  ASSERT_TRUE(w.ok);
  w.sheet.Cell(2, 3) = "-999";
  w.sheet.txtnumsup = "6";
  w.d.TiltAInput[2] = 3;
  ASSERT_FALSE(WriteDesign(p, w.d, w.sheet, w.media));
  EXPECT_EQ(w.d.SurfCount, 4);
  EXPECT_EQ(w.sheet.SurfaceRows(), 4);
  EXPECT_DOUBLE_EQ(w.d.Radius[2], -1200);
  EXPECT_EQ(w.d.TiltAInput[2], 0);
}

TEST(Couder, AnastigmaticAtTwiceTheFocalLengthWithARealImage) {
  const std::map<std::string, std::string> in = {
      {"diameter", "200"}, {"efl", "1000"}, {"obstruction", "60"}, {"field", "20"}, {"primary-radius", "-4500"}};
  const Outcome o = Calc(Kind::Couder, in);
  ASSERT_TRUE(o.ok) << o.error;
  EXPECT_EQ(*o.plan.Find("S (primary-sec.  dist.)"), "2000.000");
  // Aplanatic and anastigmatic to third order: S1, S2 and S3 vanish beside
  // the field curvature S4 (the conics are shown, and written, to 4 decimals).
  const detail::SeidelSums z = detail::SeidelOf(o.plan);
  for (int i = 0; i < 3; ++i) EXPECT_LT(std::fabs(z.S[i]), 1e-3 * std::fabs(z.S[3])) << "S" << i + 1;
  // Both mirrors concave, the image between them, in front of the secondary.
  EXPECT_GT(Number(o.plan, "Secondary Curv.Radius"), 0);
  Written w = Write(o.plan);
  ASSERT_TRUE(w.ok);
  EXPECT_GT(w.d.Thickness[3] + w.d.Bfl, 0);
  EXPECT_NEAR(std::fabs(w.d.Efl), 1000, 0.5);
  // A primary faster than twice the focal length gives no real image; a
  // larger obstruction than allowed is refused.
  auto fast = in;
  fast["primary-radius"] = "-3000";
  EXPECT_FALSE(Calc(Kind::Couder, fast).ok);
  auto tight = in;
  tight["obstruction"] = "20";
  EXPECT_FALSE(Calc(Kind::Couder, tight).ok);
}

GlassChoice Direct(const char* n) {
  GlassChoice g;
  g.indexText = {n};
  return g;
}
const std::map<std::string, std::string> kSchmidt = {
    {"focal", "800"}, {"corrector-diameter", "200"}, {"field", "40"}, {"neutral-zone", "0.866"}, {"thickness", "10"}};

TEST(Schmidt, IndexAndNeutralZoneChecks) {
  EXPECT_EQ(Calc(Kind::Schmidt, kSchmidt, "", Direct("0.99")).error, "Invalid Index value!");
  // An index of exactly 1 passes the check and faults at n - 1.
  const Outcome one = Calc(Kind::Schmidt, kSchmidt, "", Direct("1"));
  EXPECT_FALSE(one.ok);
  EXPECT_NE(one.error, "Invalid Index value!");
  auto zone = kSchmidt;
  zone["neutral-zone"] = "0.049";
  EXPECT_EQ(Calc(Kind::Schmidt, zone, "", Direct("1.5")).error, "Min. value of Neutral Zone is 0.05");
  zone["neutral-zone"] = "0.05";
  EXPECT_TRUE(Calc(Kind::Schmidt, zone, "", Direct("1.5")).ok);
  GlassChoice unknown;
  unknown.catalogue = "SCHOTT";
  unknown.glass = "NO-SUCH-GLASS";
  EXPECT_FALSE(Calc(Kind::Schmidt, kSchmidt, "", unknown).ok);
}

TEST(Schmidt, PlateHasNoPowerAtTheNeutralZoneAndTheRowsTheirTypes) {
  GlassChoice bk7;
  bk7.catalogue = "SCHOTT";
  bk7.glass = "N-BK7";
  const Outcome o = Calc(Kind::Schmidt, kSchmidt, "", bk7);
  ASSERT_TRUE(o.ok) << o.error;
  const Plan& p = o.plan;
  EXPECT_EQ(*p.Find("D1 (mirror diam.)"), "280.00");
  EXPECT_EQ(*p.Find("Aperture-Ratio "), "4.00");
  EXPECT_EQ(*p.Find("Corrector-Mirror dist."), "1600.0000");
  EXPECT_EQ(*p.Find("Neutr. Zone  Distance"), "86.60");

  Written w = Write(p);
  ASSERT_TRUE(w.ok) << w.error;
  const DesignState& d = w.d;
  ASSERT_EQ(d.SurfCount, 4);
  EXPECT_EQ(d.SurfType[1], kSphere);
  EXPECT_EQ(d.SurfType[2], kHighOrder);
  EXPECT_EQ(d.Conic[2], -1);
  EXPECT_EQ(d.SurfType[3], kSphere);
  EXPECT_DOUBLE_EQ(d.Radius[3], -1600);
  EXPECT_EQ(d.MediumCode[1], kMediumSchott);
  EXPECT_EQ(w.sheet.Cell(1, 6), "+ N-BK7");
  EXPECT_NEAR(d.IndexWl[1][1], 1.5187, 1e-3);
  // The slope of the back surface, r / R + 4 A4 r^3 + 6 A6 r^5, is 0 at the zone.
  const double r = 86.6;
  EXPECT_NEAR(r / d.Radius[2] + 4 * d.AsphA4[2] * std::pow(r, 3) + 6 * d.AsphA6[2] * std::pow(r, 5), 0, 1e-12);
  // The profile: nothing to remove at the thickest zone, the most at the neutral zone.
  ASSERT_EQ(p.profile.size(), 11u);
  double deepest = 0, deepest_r = 0;
  for (const auto& [zone, depth] : p.profile) {
    EXPECT_GE(depth, 0);
    if (depth > deepest) deepest = depth, deepest_r = zone;
  }
  EXPECT_EQ(p.profile.front().second, 0);
  EXPECT_NEAR(deepest_r, 90, 10.1);
}

TEST(CorrectorFamilies, WhatEachTitlePromises) {
  GlassChoice n;
  n.indexText = {"1.5168"};
  // Wright: the corrector in the focal plane, the mirror the oblate spheroid
  // K = 1, and the medial image surface flat.
  const Plan wright = Calc(Kind::Wright, {{"focal", "500"}}, "", n).plan;
  EXPECT_EQ(*wright.Find("Corrector-Mirror dist."), "500.0000");
  EXPECT_EQ(wright.rows[2].conic, 1);
  EXPECT_GT(std::fabs(Number(wright, "Field radius (medial image surface)")), 50 * 500);
  // Baker: equal mirror radii (no Petzval curvature) and no astigmatism, so a flat field.
  const Plan baker = Calc(Kind::Baker, {}, "", n).plan;
  EXPECT_NEAR(baker.rows[3].radius, baker.rows[4].radius, 0.01);
  EXPECT_GT(std::fabs(Number(baker, "Field radius (medial image surface)")), 20 * 600);
  // Monocentric: both centres of curvature on the corrector's front (the stop), 2 F1
  // in front of the primary.
  const Plan mono = Calc(Kind::Monocentric, {}, "", n).plan;
  const double zp = mono.rows[0].thickness + mono.rows[1].thickness + mono.rows[2].thickness;
  const double zs = zp + mono.rows[3].thickness;
  EXPECT_NEAR(zp + mono.rows[3].radius, 0, 0.01);
  EXPECT_NEAR(zs + mono.rows[4].radius, 0, 0.01);
  EXPECT_EQ(mono.rows[3].type, kSphere);
  EXPECT_EQ(mono.rows[4].type, kSphere);
  // The spherical-mirror Schmidt-Cassegrain puts its corrector where the coma vanishes.
  const Plan sph = Calc(Kind::SchmidtCassegrainSpherical, {}, "", n).plan;
  EXPECT_LT(std::fabs(detail::SeidelOf(sph).S[1]), 1e-3 * std::fabs(detail::SeidelOf(sph).S[3]));
}

TEST(Maksutov, ShapeRadiiAndThreeWavelengths) {
  Inputs in = DefaultInputs(Kind::Maksutov);
  const Outcome o = Calculate(Kind::Maksutov, in);
  ASSERT_TRUE(o.ok) << o.error;
  const Plan& p = o.plan;
  EXPECT_GT(p.makShape, 2);
  // The meniscus is concave to the sky, its back radius the longer one, and
  // the radii are the shown numbers (3 decimals).
  const double r1 = Number(p, "Label22"), r2 = Number(p, "Label25");
  EXPECT_LT(r1, 0);
  EXPECT_LT(r2, r1);
  EXPECT_EQ(*p.Find("Label42"), "-2000.000");
  Written w = Write(p);
  ASSERT_TRUE(w.ok) << w.error;
  EXPECT_EQ(w.d.SurfCount, 3);
  EXPECT_EQ(w.d.WlCount, 3);
  EXPECT_DOUBLE_EQ(w.d.Radius[1], r1);
  EXPECT_EQ(w.d.MediumCode[1], kMediumDirect);
  EXPECT_EQ(w.d.MediumCode[2], kMediumAirPosit);

  // The radius scroll bar: the second radius then shows all its digits.
  in.scroll[0] = 9800;
  const Plan moved = Calculate(Kind::Maksutov, in).plan;
  EXPECT_EQ(moved.makShape, p.makShape);
  EXPECT_NE(*moved.Find("Label25"), FormatFixed(Number(moved, "Label25"), 3));
  EXPECT_NEAR(Number(moved, "Label22") * 0.98, r1 * 0.975, 0.01);

  // The live figures of the written design: three curves of ten zones.
  const MeniscusFigures f = MeniscusAberrations(w.d);
  ASSERT_EQ(f.aberration.size(), 3u);
  EXPECT_EQ(f.aberration[0].size(), 10u);
  EXPECT_LT(std::fabs(f.osc), 0.01);
}

TEST(Seidel, ParaboloidHasNoSphericalAberrationAndASphereHas) {
  // f = 1000 mirror: a sphere's S1 is 1/(4 f^3) per unit height^4 in this
  // normalisation (y = 1), the paraboloid's conic cancels it.
  Plan p;
  p.rows = {{100, -2000, -1000, Row::AirNegat, kConic, -1}};
  p.beamSemi = 100;
  EXPECT_NEAR(detail::SeidelOf(p).S[0], 0, 1e-15);
  p.rows[0].conic = 0;
  EXPECT_NEAR(std::fabs(detail::SeidelOf(p).S[0]), 2.0 / std::pow(2000, 3), 1e-15);
  EXPECT_NEAR(std::fabs(detail::SeidelOf(p).efl), 1000, 1e-9);
}

TEST(Kinds, EveryKindHasItsWindowHelpAndInputs) {
  for (const KindSpec& k : Kinds()) {
    EXPECT_FALSE(k.inputs.empty()) << k.cli;
    EXPECT_GE(k.help.size(), 3u) << k.cli;
    EXPECT_EQ(FindKind(k.cli), &k);
    EXPECT_EQ(FindWindow(k.window), &k);
  }
  EXPECT_EQ(FindKind("no-such-kind"), nullptr);
}

}  // namespace
}  // namespace ovrin::predesign
