// Tangential and sagittal foci of close rays against a concentric mirror's
// curved, astigmatism-free field and the axial focus of any design.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/field_curvature.h"
#include "core/design_file.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kR = -1000;

// A spherical mirror with the stop at its centre of curvature: every chief
// ray runs along a normal, so there is no coma and no astigmatism, and the
// image lies on a sphere of radius R/2 about the same centre.
TestDesign Concentric() {
  TestDesign t;
  SurfaceSpec stop{20, 0, -kR};
  Build(t, {stop, {200, kR, 0, SurfaceSpec::AirNegat}}, 20, 5);
  t.sheet.Cell(1, 1) = "AS";
  EXPECT_TRUE(t.Update().ok);
  return t;
}

FieldCurvResult Curv(const TestDesign& t, const std::string& scale = "0") {
  FieldCurvSettings s;
  s.wavelength = 1;
  s.referenceBfl = "0";
  s.scale = scale;
  s.angleY = t.sheet.Txtangolo;
  s.angleX = t.sheet.TxtangoloX;
  return ComputeFieldCurvature(t.d, s);
}

TEST(FieldCurvature, ConcentricMirrorHasNoAstigmatismAndItsPetzvalField) {
  const TestDesign t = Concentric();
  const FieldCurvResult r = Curv(t);
  ASSERT_FALSE(r.failed);
  ASSERT_EQ(r.rowsDone, 10);
  const double f = std::fabs(kR) / 2;
  // The chief ray runs through the centre C, f beyond the focal sphere to the
  // reference plane: at height h there, the field angle is atan(h / f) and
  // the focal sphere has left the plane by f (1 - cos) of it.
  auto sag = [&](int k) { return f * (1 - std::cos(std::atan(r.ChiefHeight[k] / f))); };
  for (int k = 1; k <= 10; ++k) {
    EXPECT_NEAR(std::fabs(r.ZTan[k] - r.ZTan[0]), sag(k) - sag(0), 1e-4 * sag(k)) << "step " << k;
    // The sagittal angles are taken as arcsines of the X cosine alone, which
    // lengthens the sagittal distance by 1 / cos of the field angle.
    const double field = std::atan(r.ChiefHeight[k] / f);
    EXPECT_NEAR(r.ZSag[k] * std::cos(field), r.ZTan[k], 1e-4 * std::fabs(r.ZTan[k])) << "step " << k;
    // The axial reference is the step of a tenth of the first angle, whose
    // sag shortens the first rows' depth by 1 / (100 k^2).
    EXPECT_NEAR(std::fabs(r.AvgRadius[k]), f, 0.012 * f) << "step " << k;
  }
  EXPECT_EQ(r.rows[9][0], "5.00");  // the full field, in degrees
  EXPECT_NE(FieldCurvTableText(r).find("Average Field  Radius"), std::string::npos);
}

TEST(FieldCurvature, FlattenedFieldHasItsFociOnThePlane) {
  // The concentric mirror with a field lens near its focus whose Petzval
  // term cancels the mirror's: (n' - n) / (n n' R) sums to 0 with a glass of
  // index 1.5 and a front radius of R_mirror / 6. The stop at the centre
  // keeps astigmatism away, and the lens 3 mm before the image adds little.
  TestDesign t;
  SurfaceSpec stop{20, 0, -kR};
  SurfaceSpec lens{60, kR / 6, -3, SurfaceSpec::Direct, -1.5};
  Build(t, {stop, {200, kR, -494, SurfaceSpec::AirNegat}, lens, {60, 0, 0, SurfaceSpec::AirNegat}}, 20, 5);
  t.sheet.Cell(1, 1) = "AS";
  ASSERT_TRUE(t.Update().ok);
  const FieldCurvResult flat = Curv(t);
  const FieldCurvResult curved = Curv(Concentric());
  ASSERT_FALSE(flat.failed);
  for (int k = 1; k <= 10; ++k) {
    const double tan = flat.ZTan[k] - flat.ZTan[0], sag = flat.ZSag[k] - flat.ZSag[0];
    const double uncorrected = std::fabs(curved.ZTan[k] - curved.ZTan[0]);
    EXPECT_LT(std::fabs(sag), 0.02 * uncorrected) << "step " << k;
    EXPECT_LT(std::fabs(tan), 0.06 * uncorrected) << "step " << k;
    // The astigmatism the lens adds leaves the Petzval surface on the plane:
    // it lies half the tangential-sagittal gap beyond the sagittal focus,
    // at (3 S - T) / 2.
    EXPECT_LT(std::fabs(3 * sag - tan) / 2, 0.015 * uncorrected) << "step " << k;
  }
}

TEST(FieldCurvature, NearAxisFociLieOnTheParaxialFocus) {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(ReadDesignFile(ExamplePath("cemented_doublet_100_f10.ovn"), DesignFormat::Current, d, sheet, media).ok);
  FieldCurvSettings s;
  s.angleY = sheet.Txtangolo;
  s.angleX = sheet.TxtangoloX;
  const FieldCurvResult r = ComputeFieldCurvature(d, s);
  ASSERT_FALSE(r.failed);
  EXPECT_EQ(r.ReferencePlane, d.Bfl);
  EXPECT_NEAR(r.ZTan[0], 0.0, 1e-4 * d.Bfl);
  EXPECT_NEAR(r.ZSag[0], 0.0, 1e-4 * d.Bfl);
  // A typed scale is used as it is.
  s.scale = "-0.3";
  EXPECT_EQ(ComputeFieldCurvature(d, s).Scale, -0.3);
}

TEST(FieldCurvature, NearObjectStepsByObjectHeight) {
  // A flat object through the centre of curvature of a concave mirror: the
  // steps are object heights, and the near-axis step focuses on the
  // paraxial image, within the small curvature of the image at 0.2 mm.
  TestDesign t;
  Build(t, {{101, kR, 0, SurfaceSpec::AirNegat}}, 50, 0);
  t.sheet.SelectOption2();
  t.sheet.Text2 = "1000";
  t.sheet.Text3 = "20";
  ASSERT_TRUE(t.Update().ok);
  const FieldCurvResult r = Curv(t);
  ASSERT_FALSE(r.failed);
  EXPECT_TRUE(r.finite);
  EXPECT_EQ(r.rows[4][0], "10.00");
  EXPECT_NE(FieldCurvTableText(r).find("Obj.Height"), std::string::npos);
  // The image of a point at height H is inverted at height -H.
  EXPECT_NEAR(r.ChiefHeight[10], -20, 0.05);
  EXPECT_NEAR(r.ZTan[0], 0.0, 1e-3);
  EXPECT_NEAR(r.ZSag[0], 0.0, 1e-3);
}

TEST(FieldCurvature, ZeroFieldStillGivesTenRows) {
  TestDesign t;
  Build(t, {{101, kR, 0, SurfaceSpec::AirNegat}}, 100, 0);
  ASSERT_TRUE(t.Update().ok);
  const FieldCurvResult r = Curv(t);
  EXPECT_NEAR(r.FieldStep, 0.1 * 3.14159265358979 / 180 / 10, 1e-18);
  EXPECT_EQ(r.rowsDone, 10);
  EXPECT_EQ(r.rows[9][0], "0.10");
}

TEST(FieldCurvature, FailureEndsWithoutRows) {
  // A stop 100 mm before a sphere of radius 10: field rays pass beside it.
  TestDesign t;
  Build(t, {{2, 0, 100}, {5, -10, 0, SurfaceSpec::AirNegat}}, 2, 0);
  ASSERT_TRUE(t.Update().ok);
  FieldCurvSettings s;
  s.angleY = "80";
  const FieldCurvResult r = ComputeFieldCurvature(t.d, s);
  EXPECT_TRUE(r.failed);
  EXPECT_EQ(r.rowsDone, 0);
}

}  // namespace
}  // namespace ovrin
