#include "core/system_update.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/number_text.h"
#include "core/ray_tracer.h"
#include "test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

SurfaceSpec Mirror(double semi, double radius) {
  SurfaceSpec m{semi, radius, 0};
  m.medium = SurfaceSpec::AirNegat;
  return m;
}

TEST(SystemUpdate, SingleMirrorFirstOrderDataAndLabels) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 0.5);
  UpdateResult r = t.Update();
  ASSERT_TRUE(r.ok) << r.message;
  // A mirror's focal length is half its radius.
  EXPECT_NEAR(t.d.Efl, -1000, 1e-5);
  EXPECT_NEAR(t.d.Bfl, -1000, 1e-5);
  EXPECT_EQ(t.d.FRatio, 5.0);
  EXPECT_EQ(t.d.EntrBeamDiam, 200.0);
  // 5 * 0.5461 * 2.44 / 1000 = 0.006662...: 0.00666 at five decimals, then 0.0067;
  // the radius 0.00335 rounds half away to 0.0034.
  EXPECT_EQ(t.d.AiryDiam, 0.0067);
  EXPECT_EQ(t.d.AiryRadius, 0.0034);
  EXPECT_EQ(t.sheet.Lblfocale, "-1000.000");
  EXPECT_EQ(t.sheet.Lblbfl, "-1000.000");
  EXPECT_EQ(t.sheet.Lblrappfoc, "5.000");
  EXPECT_EQ(t.sheet.Label15, "Apert. Ratio");
  // The chief ray at 0.5 degrees lands at f * tan(field), on the side the mirror sends it.
  EXPECT_NEAR(std::fabs(t.d.ImageHeight), 1000 * std::tan(0.5 * M_PI / 180), 1e-3);
  EXPECT_EQ(t.sheet.LblImage, (t.d.ImageHeight < 0 ? "-" : "") + std::string("8.727"));
  EXPECT_TRUE(t.sheet.designCommandsEnabled);
}

TEST(SystemUpdate, IsIdempotent) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 0.5);
  ASSERT_TRUE(t.Update().ok);
  DesignState first = t.d;
  DesignSheet first_sheet = t.sheet;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Bfl, first.Bfl);
  EXPECT_EQ(t.d.ImageHeight, first.ImageHeight);
  EXPECT_EQ(t.d.Radius, first.Radius);
  EXPECT_EQ(t.d.IndexWl, first.IndexWl);
  EXPECT_EQ(t.sheet.cells, first_sheet.cells);
}

TEST(SystemUpdate, ZeroRadiusIsAPlaneInTheTableButStaysZeroOnScreen) {
  TestDesign t;
  SurfaceSpec lens{20, 0, 5}, back{20, -100, 0};
  lens.medium = SurfaceSpec::Direct;
  lens.direct_index = 1.5;
  Build(t, {lens, back}, 10);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Radius[1], 1e11);
  EXPECT_EQ(t.sheet.Cell(1, 3), "0");
  // Plano-convex, n = 1.5, R = 100: f = R / (n - 1).
  EXPECT_NEAR(t.d.Efl, 200, 1e-4);
}

TEST(SystemUpdate, LastThicknessIsForcedToZero) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100);
  t.sheet.Cell(1, 4) = "123";
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.sheet.Cell(1, 4), "0");
  EXPECT_EQ(t.d.Thickness[1], 0.0);
}

TEST(SystemUpdate, AnEditInProgressIsCommittedFirst) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100);
  ASSERT_TRUE(t.sheet.BeginCellEdit(1, 3));
  t.sheet.txtDataEntry = "-3000";
  ASSERT_TRUE(t.Update().ok);
  EXPECT_FALSE(t.sheet.txtDataEntryVisible);
  EXPECT_EQ(t.sheet.Cell(1, 3), "-3000");
  EXPECT_NEAR(t.d.Efl, -1500, 1e-5);
}

TEST(SystemUpdate, BeamFallsBackOnTheFirstHalfDiameter) {
  TestDesign t;
  Build(t, {Mirror(80, -2000)}, 0);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.EntrBeamSemiDiam, 80.0);
  EXPECT_EQ(t.sheet.Text1, "80");
}

TEST(SystemUpdate, NoBeamAtAllIsADataErrorThatKeepsTheOldLabels) {
  TestDesign t;
  Build(t, {Mirror(80, -2000)}, 0);
  ASSERT_TRUE(t.Update().ok);
  const std::string old_label = t.sheet.Lblfocale;
  const double old_image = t.d.ImageHeight;
  t.sheet.Cell(1, 2) = "0";
  t.sheet.Text1 = "0";
  t.sheet.Cell(1, 3) = "-3000";
  UpdateResult r = t.Update();
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.message, " Data Input ERROR ! ");
  EXPECT_EQ(t.sheet.Lblfocale, old_label);
  // What was computed before the fault stays: the new focal length is in the state.
  EXPECT_NEAR(t.d.Efl, -1500, 1e-5);
  EXPECT_EQ(t.d.ImageHeight, old_image);
}

TEST(SystemUpdate, ObjectBeyondHundredMillionIsInfinityButTheBoxKeepsItsText) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100);
  t.sheet.SelectOption2();
  t.sheet.Text2 = "200000000";
  t.sheet.Text3 = "";
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.ObjDistance, 0.0);
  EXPECT_EQ(t.sheet.Text2, "200000000");
  EXPECT_EQ(t.d.HalfFieldY, 0.001);  // an empty object height
}

TEST(SystemUpdate, FiniteObjectGivesPositiveImageNAThroughAMirror) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100);
  t.sheet.SelectOption2();
  t.sheet.Text2 = "4000";
  t.sheet.Text3 = "10";
  ASSERT_TRUE(t.Update().ok);
  EXPECT_GT(t.d.ImageNA, 0.0f);
  EXPECT_EQ(t.sheet.Label15, "Image NA");
  // Object at 2R images at 4R/3 from a mirror of focal length R/2... here f = 1000, s = 4000:
  // s' = s f / (s - f) = 1333.33, on the mirror's side.
  EXPECT_NEAR(std::fabs(t.d.Bfl), 4000.0 / 3.0, 1e-3);
  // The marginal ray leaves at about 100 / 1333 rad, in index -1.
  EXPECT_NEAR(t.d.ImageNA, 100.0 / (4000.0 / 3.0), 2e-3);
  EXPECT_EQ(t.sheet.Lblrappfoc.size(), 7u);  // five decimals
  // Efl is always that of the ray from infinity.
  EXPECT_NEAR(t.d.Efl, -1000, 1e-5);
}

TEST(SystemUpdate, NearlyAfocalSystemShowsNoDecimals) {
  TestDesign t;
  SurfaceSpec weak{20, 2e6, 5}, back{20, 0, 0};
  weak.medium = SurfaceSpec::Direct;
  weak.direct_index = 1.5;
  Build(t, {weak, back}, 10);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_GT(std::fabs(t.d.Efl), 999999);
  EXPECT_EQ(t.sheet.Lblfocale.find('.'), std::string::npos);
  EXPECT_EQ(t.sheet.Lblrappfoc.find('.'), std::string::npos);
}

TEST(SystemUpdate, NoPowerAtAllGivesTheSmallestAngle) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100);
  ASSERT_TRUE(t.Update().ok);
  t.d.SurfType[1] = 5;  // a type that no trace acts on: the near-axis ray leaves parallel
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Efl, -0.01 / std::tan(1e-7));
}

TEST(SystemUpdate, StopOnSurfaceOneHasNoPupilShift) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 1.0);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.EntrPupilZ, 0.0);
  EXPECT_EQ(t.d.EntrPupilY, 0.0);
  Tracer tr(t.d);
  tr.FieldCosZ = t.d.ChiefCosZ;
  tr.FieldCosY = t.d.ChiefCosY;
  tr.RayX = tr.RayY = 0;
  tr.StartRay();
  EXPECT_EQ(tr.RayY, 0.0);
}

TEST(SystemUpdate, PupilOfAStopBehindEmptySpaceLiesAtTheStop) {
  // Newtonian: the diagonal's screen 870 mm ahead of the primary, the stop on the primary.
  TestDesign t;
  SurfaceSpec screen{25, 0, 870};
  screen.type = kObsScreen;
  Build(t, {screen, Mirror(100, -2000)}, 100, 0.5);
  t.d.StopSurf = 2;
  MarkStopRow(t.sheet, 2);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_NEAR(t.d.EntrPupilZ, -870, 1e-9);
  EXPECT_NEAR(t.d.EntrPupilY, -870 * std::tan(0.5 * M_PI / 180), 1e-9);
  // The chief ray crosses the axis at the primary.
  Tracer tr(t.d);
  tr.FieldCosZ = t.d.ChiefCosZ;
  tr.FieldCosY = t.d.ChiefCosY;
  tr.FieldCosX = t.d.ChiefCosX;
  tr.RayX = tr.RayY = 0;
  tr.StartRay();
  SurfaceLoopPolicy p;
  p.testAperture = false;
  tr.TraceSurfaces(p);
  EXPECT_NEAR(tr.RayY, 0, 1e-9);
}

TEST(SystemUpdate, TiltsMoveTheChiefRayButNotTheFirstOrderData) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 0.5);
  ASSERT_TRUE(t.Update().ok);
  const double efl = t.d.Efl, bfl = t.d.Bfl, fr = t.d.FRatio, h = t.d.ImageHeight;

  // Tilted about X, the mirror turns the frame twice: the image plane follows
  // the reflected beam, and the chief ray through the vertex lands where it did.
  t.d.TiltAInput[1] = 0.01;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.TiltA[1], -0.01);
  EXPECT_EQ(t.d.Efl, efl);
  EXPECT_EQ(t.d.Bfl, bfl);
  EXPECT_EQ(t.d.FRatio, fr);
  EXPECT_NEAR(t.d.ImageHeight, h, 1e-9);

  // Tilted about Y by less than half a radian it gets no second turn: the image
  // plane stays square to the mirror's axis, from which the reflected beam
  // departs by the tilt, so the image walks off by 0.01 * f in X.
  t.d.TiltAInput[1] = 0;
  t.d.TiltBInput[1] = 0.01;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Efl, efl);
  EXPECT_NEAR(std::fabs(t.d.ImageHeight), std::hypot(10.0, h), 0.01);
}

TEST(SystemUpdate, ChiefDirectionFromBothAngles) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 1.0);
  t.sheet.TxtangoloX = "2";
  ASSERT_TRUE(t.Update().ok);
  EXPECT_NEAR(t.d.ChiefCosZ * t.d.ChiefCosZ + t.d.ChiefCosY * t.d.ChiefCosY +
                  t.d.ChiefCosX * t.d.ChiefCosX,
              1.0, 1e-15);
  EXPECT_NEAR(t.d.ChiefCosY / t.d.ChiefCosZ, std::tan(M_PI / 180), 1e-12);
  EXPECT_NEAR(t.d.ChiefCosX / t.d.ChiefCosZ, std::tan(2 * M_PI / 180), 1e-12);
}

TEST(SystemUpdate, WavelengthDefaultsAndAirIndices) {
  TestDesign t;
  Build(t, {Mirror(100, -2000)}, 100, 0, {0.5461f, 0.4861f, 0.6563f});
  t.d.WlCount = 0;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.WlCount, 1);
  EXPECT_EQ(t.d.WlColor[1], (Rgb{0, 255, 0}));
  EXPECT_EQ(t.d.WlColor[6], (Rgb{128, 0, 200}));
  EXPECT_EQ(t.d.IndexWl[1][1], -1.0);
  EXPECT_EQ(t.d.IndexWl[2][1], 0.0);  // wavelengths not in use have no index

  t.d.WlColorsSet = "SI";
  t.d.WlColor[2] = Rgb{};
  ASSERT_TRUE(t.Update().ok);
  EXPECT_TRUE(t.d.WlColor[2].IsZero());
}

TEST(SystemUpdate, SurfaceTypeCleanUp) {
  TestDesign t;
  SurfaceSpec s{20, -200, 0};
  Build(t, {s}, 10);
  t.d.SurfType[1] = 0;
  t.d.Conic[1] = -1;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.SurfType[1], 1.0f);
  EXPECT_EQ(t.d.Conic[1], 0.0);
  t.d.SurfType[1] = 2;
  t.d.Conic[1] = -1;
  t.d.AsphA4[1] = 1e-9;
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.AsphA4[1], 0.0);
  EXPECT_EQ(t.d.Conic[1], -1.0);
}

TEST(DesignSheet, SurfaceCountRulesAndStopDefault) {
  DesignSheet s;
  EXPECT_EQ(s.Cell(1, 1), "AS");  // surface 1 holds the stop before anyone clicks
  EXPECT_TRUE(s.ApplySurfaceCount("-3"));
  EXPECT_EQ(s.SurfaceRows(), 3);
  EXPECT_EQ(s.Cell(3, 0), " 3");
  EXPECT_TRUE(s.ApplySurfaceCount("100"));
  EXPECT_FALSE(s.ApplySurfaceCount("101"));
  EXPECT_FALSE(s.cmdupdateEnabled);
  EXPECT_FALSE(s.ApplySurfaceCount("0"));
  EXPECT_TRUE(s.ApplySurfaceCount("2"));
  EXPECT_TRUE(s.cmdupdateEnabled);
}

TEST(DesignSheet, KeyFilterAndOptions) {
  EXPECT_TRUE(IsNumericEntryKey('7'));
  EXPECT_TRUE(IsNumericEntryKey('-'));
  EXPECT_TRUE(IsNumericEntryKey('.'));
  EXPECT_TRUE(IsNumericEntryKey(8));
  EXPECT_FALSE(IsNumericEntryKey('e'));
  EXPECT_FALSE(IsNumericEntryKey(','));
  EXPECT_FALSE(IsNumericEntryKey('+'));

  DesignState d;
  DesignSheet s;
  s.SelectOption2();
  EXPECT_TRUE(s.Text2Enabled);
  EXPECT_FALSE(s.TxtangoloEnabled);
  EXPECT_EQ(s.Label15, "Image NA");
  s.Text2 = "500";
  d.ObjDistance = 500;
  s.SelectOption1(d);
  EXPECT_EQ(d.ObjDistance, 0.0);
  EXPECT_EQ(s.Text2, "0");
  EXPECT_EQ(s.Label15, "Aperture Ratio");
  s.Txtangolo = "1.5";
  s.SetCheck1(false);
  EXPECT_EQ(s.Txtangolo, "0");
}

TEST(DesignSheet, ScaleSystemScalesTablesAndText) {
  TestDesign t;
  SurfaceSpec lens{20, 100, 5}, back{20, 0, 0};
  lens.medium = SurfaceSpec::Direct;
  lens.direct_index = 1.5;
  Build(t, {lens, back}, 10);
  ASSERT_TRUE(t.Update().ok);
  const double efl = t.d.Efl;
  ScaleSystem(t.d, t.sheet, 2.0);
  EXPECT_EQ(t.sheet.Cell(1, 3), "200");
  EXPECT_EQ(t.sheet.Cell(2, 3), "0");  // a plane stays a plane
  EXPECT_EQ(t.sheet.Text1, "20");
  ASSERT_TRUE(t.Update().ok);
  // The near-axis ray keeps its 0.01 mm height, so the scaled system is not exactly similar.
  EXPECT_NEAR(t.d.Efl, 2 * efl, 1e-8 * std::fabs(efl));
  EXPECT_EQ(t.d.FRatio, RoundTo(std::fabs(efl / 20), 2));
}

}  // namespace
}  // namespace ovrin
