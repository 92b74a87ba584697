// The paraxial and third-order tables against closed forms of a spherical and
// a parabolic mirror, and the cases that close the window or guard a division.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/geometric_text.h"
#include "analysis/geometric/seidel.h"
#include "core/number_text.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kR = -1000;  // concave toward the light
constexpr double kY = 50;     // beam half-diameter

TestDesign Mirror(int type = kSphere, double conic = 0, double a4 = 0, double angle = 1) {
  TestDesign t;
  SurfaceSpec s{101, kR, 0, SurfaceSpec::AirNegat};
  s.type = type;
  s.conic = conic;
  s.a4 = a4;
  Build(t, {s}, kY, angle);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

SeidelResult Seidel(const TestDesign& t) {
  SeidelSettings s;
  s.angleY = t.sheet.Txtangolo;
  s.angleX = t.sheet.TxtangoloX;
  s.objectHeight = t.sheet.Text3;
  return ComputeSeidel(t.d, s);
}

TEST(SeidelMirror, SphericalAberrationOfASphereIsItsClosedForm) {
  TestDesign t = Mirror();
  const SeidelResult r = Seidel(t);
  ASSERT_EQ(r.error, "");
  // Third-order coefficient of a mirror with the stop on it: 2 y^4 / |R|^3.
  EXPECT_NEAR(std::fabs(r.seidel.rows[0][0]), 2 * std::pow(kY, 4) / std::pow(std::fabs(kR), 3), 1e-12);
  // As a focus shift it is y^2 / (4 |R|): the marginal focus of a sphere
  // lies that much nearer the mirror than the paraxial one.
  EXPECT_NEAR(std::fabs(r.longitudinal.rows[0][0]), kY * kY / (4 * std::fabs(kR)), 1e-9);
  EXPECT_NE(r.seidel.rows[0][4], 0.0);  // PETZVAL
  EXPECT_FALSE(r.seidel.asph[0].has_value());
  // Surface row, then the sum row.
  ASSERT_EQ(r.seidel.text.size(), 2u);
  EXPECT_EQ(r.seidel.text[0].size(), 5u);
}

TEST(SeidelMirror, ParaboloidAsphericTermCancelsTheSphere) {
  TestDesign t = Mirror(kConic, -1);
  const SeidelResult r = Seidel(t);
  ASSERT_EQ(r.error, "");
  ASSERT_TRUE(r.seidel.asph[0].has_value());
  EXPECT_NEAR((*r.seidel.asph[0])[0], -r.seidel.rows[0][0], 1e-15);
  EXPECT_NEAR(r.seidel.sum[0], 0.0, 1e-15);
  EXPECT_NEAR(r.longitudinal.sum[0], 0.0, 1e-12);
  // Rows: surface, "[Asph.Contr.]" with four cells, sum.
  ASSERT_EQ(r.seidel.text.size(), 3u);
  EXPECT_EQ(r.seidel.text[1].size(), 4u);
  const std::string text = SeidelTableText(r, SeidelTable::Seidel);
  EXPECT_NE(text.find("[Asph.Contr.]"), std::string::npos);
  EXPECT_NE(text.find("[ SUM ] "), std::string::npos);
  // The stop is on the mirror: the chief ray meets it on the axis, so the
  // aspheric terms of coma, astigmatism and distortion vanish.
  EXPECT_EQ(r.ChiefY[1], 0.0);
  EXPECT_EQ((*r.seidel.asph[0])[1], 0.0);
  EXPECT_EQ((*r.seidel.asph[0])[2], 0.0);
  EXPECT_EQ((*r.seidel.asph[0])[3], 0.0);
}

TEST(SeidelMirror, PetzvalRadiusIsHalfTheMirrorRadius) {
  const SeidelResult r = Seidel(Mirror());
  ASSERT_EQ(r.error, "");
  const SetupLine* petzval = nullptr;
  const SetupLine* efl = nullptr;
  for (const SetupLine& l : r.setup) {
    if (std::string(l.key) == "PetzvalRadius") petzval = &l;
    if (std::string(l.key) == "EffectiveFocalLength") efl = &l;
  }
  ASSERT_TRUE(petzval && efl);
  EXPECT_NEAR(std::fabs(petzval->value), std::fabs(kR) / 2, 1e-6);
  EXPECT_NEAR(std::fabs(efl->value), std::fabs(kR) / 2, 1e-6);
  EXPECT_NE(SeidelTableText(r, SeidelTable::Setup).find("INFINITY"), std::string::npos);
}

TEST(SeidelMirror, HighOrderSurfaceIgnoresItsConic) {
  // A conic on a HIGH-ORDER surface takes no part: with no A4 the aspheric
  // row is empty, while the same conic on a CONIC surface is not.
  const SeidelResult high = Seidel(Mirror(kHighOrder, -1, 0));
  ASSERT_EQ(high.error, "");
  ASSERT_TRUE(high.seidel.asph[0].has_value());
  EXPECT_EQ((*high.seidel.asph[0])[0], 0.0);
  // A sphere's sag has c^3 r^4 / 8 in fourth order, a paraboloid's none: an
  // A4 of -c^3 / 8 makes the sphere a paraboloid to third order.
  const double c = 1 / kR;
  const SeidelResult a4 = Seidel(Mirror(kHighOrder, 0, -c * c * c / 8));
  EXPECT_NEAR(a4.seidel.sum[0], 0.0, 1e-15);
}

TEST(SeidelMirror, UncenteredSystemWarnsInRed) {
  TestDesign t = Mirror();
  t.d.UncenteredFlag = 1;
  const auto lines = SeidelTableLines(Seidel(t), SeidelTable::RayTrace);
  ASSERT_FALSE(lines.empty());
  EXPECT_TRUE(lines.back().red);
  EXPECT_EQ(lines.back().Text(), "Uncentered system: calculation based on paraxial raytrace may be invalid");
}

TEST(SeidelMirror, CentreOfCurvatureImagesWithoutSphericalAberration) {
  // Rays from the centre of curvature meet a sphere along its normals: no
  // spherical aberration and no coma, at unit magnification reversed.
  TestDesign t = Mirror();
  t.sheet.SelectOption2();
  t.sheet.Text2 = ShortestText(std::fabs(kR));
  t.sheet.Text3 = "5";
  ASSERT_TRUE(t.Update().ok);
  const SeidelResult r = Seidel(t);
  ASSERT_EQ(r.error, "");
  EXPECT_FALSE(r.infinite);
  EXPECT_NEAR(r.seidel.sum[0], 0.0, 1e-15);
  EXPECT_NEAR(r.seidel.sum[1], 0.0, 1e-15);
  double magnification = 0;
  for (const SetupLine& l : r.setup)
    if (std::string(l.key) == "LateralMagnification") magnification = l.value;
  EXPECT_NEAR(std::fabs(magnification), 1.0, 1e-9);
  EXPECT_NE(SeidelTableText(r, SeidelTable::Setup).find("OBJECT HEIGHT"), std::string::npos);
}

TEST(SeidelInput, MissingFieldClosesTheWindow) {
  TestDesign t = Mirror(kSphere, 0, 0, 0);
  SeidelResult r = Seidel(t);
  EXPECT_EQ(r.error, kEnterHalfField);
  EXPECT_TRUE(r.closeWindow);
  EXPECT_TRUE(r.MargY.empty());

  t.sheet.SelectOption2();
  t.sheet.Text2 = "5000";
  t.sheet.Text3 = "";
  ASSERT_TRUE(t.Update().ok);
  ASSERT_NE(t.d.HalfFieldY, 0.0);  // the update made it 0.001
  r = Seidel(t);
  EXPECT_EQ(r.error, kEnterObjectHeight);
  EXPECT_TRUE(r.closeWindow);

  // The larger X angle is the field, even with no Y angle.
  t = Mirror(kSphere, 0, 0, 0);
  t.sheet.TxtangoloX = "-2";
  r = Seidel(t);
  EXPECT_EQ(r.error, "");
  EXPECT_NEAR(r.ChiefU[1], std::tan(-2 * 3.14159265358979 / 180), 1e-15);
}

TEST(SeidelInput, AfocalSystemGuardsTheLastSlope) {
  // Two confocal mirrors (focal lengths 100 and 50): a parallel beam leaves parallel.
  TestDesign t;
  Build(t, {{60, -200, -50, SurfaceSpec::AirNegat}, {30, -100, 0, SurfaceSpec::AirPosit}}, 40, 0.5);
  ASSERT_TRUE(t.Update().ok);
  const SeidelResult r = Seidel(t);
  ASSERT_EQ(r.error, "");
  EXPECT_LT(std::fabs(r.MargU[3]), 1e-7);
  EXPECT_NE(r.MargU[3], 0.0);
  EXPECT_GT(std::fabs(r.longitudinal.sum[4]), 1e3);
}

TEST(SeidelText, PrintedNumbers) {
  EXPECT_EQ(SignedFixed(-0.0, 6), "0.000000");
  EXPECT_EQ(SignedFixed(-1e-9, 6), "-0.000000");
  EXPECT_EQ(SignedFixed(1.5, 6), "1.500000");
  EXPECT_EQ(AsItStands(22.5), "22.5");
  EXPECT_EQ(AsItStands(0.1), "0.1");
  EXPECT_EQ(SingleText(-1234.5678f), "-1234.568");
  EXPECT_EQ(SingleText(12345678.f), "1.234568E+07");
  EXPECT_EQ(SingleText(0.5f), "0.5");
  EXPECT_EQ(SingleText(2.5e-6f), "2.5E-06");
  EXPECT_EQ(SingleText(250.f), "250");
}

}  // namespace
}  // namespace ovrin
