#include "core/design_edit.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/system_update.h"
#include "test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

TEST(NewDesign, CountLimitsAndDefaultRows) {
  TestDesign t;
  EXPECT_FALSE(NewDesign(t.d, t.sheet, "0"));
  EXPECT_FALSE(NewDesign(t.d, t.sheet, "101"));
  EXPECT_FALSE(NewDesign(t.d, t.sheet, "junk"));
  ASSERT_TRUE(NewDesign(t.d, t.sheet, "100"));
  EXPECT_EQ(t.sheet.SurfaceRows(), 100);

  ASSERT_TRUE(NewDesign(t.d, t.sheet, "3"));
  EXPECT_EQ(t.d.SurfCount, 3);
  EXPECT_EQ(t.sheet.SurfaceRows(), 3);
  EXPECT_EQ(t.d.WlCount, 1);
  EXPECT_FLOAT_EQ(t.d.Wavelength[0], 0.54607f);
  for (int r = 1; r <= 3; ++r) {
    EXPECT_EQ(t.sheet.Cell(r, 5), "AIR (Posit)");
    EXPECT_EQ(t.sheet.Cell(r, 6), " 1");
    EXPECT_EQ(t.sheet.Cell(r, 7), "SPHERE");
  }
  EXPECT_EQ(t.sheet.Cell(2, 4), "1");
  EXPECT_EQ(t.sheet.Cell(3, 4), "0");
  EXPECT_EQ(t.sheet.Cell(1, 1), "AS");
  EXPECT_EQ(t.sheet.Text1, "1");
  // Three planes in air: the update runs through and every index is 1.
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.IndexWl[1][3], 1.0);
  EXPECT_EQ(t.d.Radius[2], 1e11);
}

// A Cassegrain-like pair with the stop on the secondary and a tilted image plane.
void TwoMirrors(TestDesign& t) {
  Build(t, {{100, -1600, -500, SurfaceSpec::AirNegat}, {30, -600, 0, SurfaceSpec::AirPosit}}, 0, 0.2);
  t.d.StopSurf = 2;
  MarkStopRow(t.sheet, 2);
  t.d.TiltAInput[3] = 0.01;  // the image plane
  t.d.DecY[2] = 0.5f;
  ASSERT_TRUE(t.Update().ok);
}

TEST(InsertDelete, InsertedPlanesChangeNothingAndDeleteRestores) {
  TestDesign t;
  TwoMirrors(t);
  const double efl = t.d.Efl, bfl = t.d.Bfl;

  ASSERT_TRUE(InsertSurfaces(t.d, t.sheet, 2, 2));  // two planes between the mirrors
  EXPECT_EQ(t.d.SurfCount, 4);
  EXPECT_EQ(t.sheet.txtnumsup, "4");
  EXPECT_EQ(t.sheet.Cell(4, 0), " 4");
  // In the mirror's space the new surfaces are negative air.
  EXPECT_EQ(t.sheet.Cell(2, 5), "AIR (Negat)");
  EXPECT_EQ(t.sheet.Cell(3, 6), "-1");
  // The stop, its grid mark, the decenter and the image tilt moved with their surfaces.
  EXPECT_EQ(t.d.StopSurf, 4);
  EXPECT_EQ(t.sheet.Cell(4, 1), "AS");
  EXPECT_FLOAT_EQ(t.d.DecY[4], 0.5f);
  EXPECT_EQ(t.d.TiltAInput[5], 0.01);
  EXPECT_EQ(t.d.TiltAInput[3], 0.0);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_NEAR(t.d.Efl, efl, 1e-9 * std::fabs(efl));
  EXPECT_NEAR(t.d.Bfl, bfl, 1e-9 * std::fabs(bfl));

  ASSERT_TRUE(DeleteSurfaces(t.d, t.sheet, 3, 2));  // either order
  EXPECT_EQ(t.d.SurfCount, 2);
  EXPECT_EQ(t.d.StopSurf, 2);
  EXPECT_EQ(t.d.Radius[2], -600);
  EXPECT_EQ(t.d.TiltAInput[3], 0.01);
  EXPECT_EQ(t.d.TiltAInput[5], 0.0);
  EXPECT_EQ(t.d.Radius[3], 0.0);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Efl, efl);
}

TEST(InsertDelete, LimitsAndAStopThatIsDeleted) {
  TestDesign t;
  TwoMirrors(t);
  EXPECT_FALSE(InsertSurfaces(t.d, t.sheet, 4, 1));   // beyond the image side
  EXPECT_FALSE(InsertSurfaces(t.d, t.sheet, 1, 99));  // 101 surfaces
  EXPECT_TRUE(InsertSurfaces(t.d, t.sheet, 3, 98));   // 100 fit, at the end
  EXPECT_EQ(t.d.SurfCount, 100);
  EXPECT_EQ(t.d.TiltAInput[101], 0.01);
  EXPECT_FALSE(DeleteSurfaces(t.d, t.sheet, 1, 100));  // one surface must stay
  ASSERT_TRUE(DeleteSurfaces(t.d, t.sheet, 2, 99));
  EXPECT_EQ(t.d.SurfCount, 2);
  // The stop was on a deleted surface: it moves to the one after the gap.
  EXPECT_EQ(t.d.StopSurf, 2);
  EXPECT_EQ(t.sheet.Cell(2, 1), "AS");
  EXPECT_EQ(t.sheet.Cell(1, 1), "");
}

TEST(TiltEntry, DegreesOnScreenRadiansInTheTables) {
  DesignState d;
  WriteTiltEntry(d, 3, {45.0, -1.5, 0.25f, -2.0f, 2});
  EXPECT_DOUBLE_EQ(d.TiltAInput[3], 3.14159265358979 / 4);
  EXPECT_EQ(d.TiltOrder[3], 2.0f);
  const TiltEntry e = ReadTiltEntry(d, 3);
  EXPECT_NEAR(e.tilt_x_deg, 45.0, 1e-12);
  EXPECT_NEAR(e.tilt_y_deg, -1.5, 1e-12);
  EXPECT_EQ(e.dec_x, -2.0f);
  d.TiltOrder[4] = 0;  // a cleared order reads as decenter first
  EXPECT_EQ(ReadTiltEntry(d, 4).order, 1);
}

TEST(ScaleFactors, ZeroMeansNothingAndFocalIsSinglePrecision) {
  EXPECT_FALSE(ScaleFactorOf("0"));
  EXPECT_FALSE(ScaleFactorOf(""));
  EXPECT_EQ(*ScaleFactorOf("-2"), 2.0);
  EXPECT_FALSE(FocalScaleFactorOf("1000", 0));
  const double f = *FocalScaleFactorOf("1000", -3000);
  EXPECT_EQ(f, static_cast<double>(static_cast<float>(1.0 / 3.0)));
  EXPECT_NE(f, 1.0 / 3.0);
}

}  // namespace
}  // namespace ovrin
