// Zones of real rays against the exact focus of a spherical mirror, the
// paraboloid's perfect axial focus and its offense against the sine condition.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/spherical_aberration.h"
#include "output/canvas.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kR = -1000;
constexpr double kY = 100;  // f/5

TestDesign Mirror(double conic, std::vector<SurfaceSpec> before = {}) {
  TestDesign t;
  SurfaceSpec m{101, kR, 0, SurfaceSpec::AirNegat};
  if (conic != 0) {
    m.type = kConic;
    m.conic = conic;
  }
  before.push_back(m);
  Build(t, before, kY, 0.5);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

SphericalResult Zones(const TestDesign& t, double max_scale = 0) {
  SphericalSettings s;
  s.referenceBfl = t.d.Bfl;
  s.maxScale = max_scale;
  s.angleY = t.sheet.Txtangolo;
  return ComputeSpherical(t.d, s);
}

TEST(SphericalZones, SphereMissesTheFocusByItsExactAmount) {
  const SphericalResult r = Zones(Mirror(0));
  ASSERT_EQ(r.error, "");
  // A ray at height y meets the sphere at angle t (sin t = y/R) to the normal
  // and crosses the axis at R / (2 cos t) from the centre: (|R|/2)(1/cos t - 1)
  // from the paraxial focus.
  const double t = std::asin(kY / std::fabs(kR));
  EXPECT_NEAR(std::fabs(r.ZoneLA[0][20] - r.ZoneLA[0][0]), std::fabs(kR) / 2 * (1 / std::cos(t) - 1), 1e-6);
  // Third order: the shift grows with the square of the zone height.
  EXPECT_NEAR(r.ZoneLA[0][10] / r.ZoneLA[0][20], 0.25, 0.01);
  // The paraxial focus of the reference rays is the mirror's R/2.
  EXPECT_NEAR(std::fabs(r.ZoneBack[0][0]), std::fabs(kR) / 2, 1e-6);
  // Zones below the axis focus where those above do.
  EXPECT_NEAR(r.ZoneLA[0][22 + 9], r.ZoneLA[0][10], 1e-9);
  EXPECT_NEAR(r.ZoneTA[0][22 + 9], -r.ZoneTA[0][10], 1e-9);
  EXPECT_EQ(r.LongScale, std::fabs(r.ZoneLA[0][20]));
}

TEST(SphericalZones, ParaboloidFocusesEveryZoneButBreaksTheSineCondition) {
  const SphericalResult r = Zones(Mirror(-1));
  ASSERT_EQ(r.error, "");
  for (int i = 0; i <= 20; ++i) EXPECT_NEAR(r.ZoneLA[0][i], 0.0, 1e-7) << "zone " << i;
  // A paraboloid's point at height h lies f + h^2/(4f) from the focus, so
  // h / sin U' exceeds the focal length f by that much: O.S.C. = h^2 / (4 f^2).
  const double f = std::fabs(kR) / 2;
  for (int i : {10, 20}) {
    const double h = i * 0.05 * kY;
    EXPECT_NEAR(std::fabs(r.ZoneOSC[0][i]), h * h / (4 * f * f), 1e-6) << "zone " << i;
  }
  EXPECT_EQ(r.oscTable.size(), 10u);
}

TEST(SphericalZones, CentreOfCurvatureIsAnAplanaticPoint) {
  // A point at the centre of a spherical mirror is imaged onto itself by
  // every zone, and the sine condition holds there.
  TestDesign t = Mirror(0);
  t.sheet.SelectOption2();
  t.sheet.Text2 = "1000";
  t.sheet.Text3 = "5";
  ASSERT_TRUE(t.Update().ok);
  const SphericalResult r = Zones(t);
  ASSERT_EQ(r.error, "");
  for (int i : {5, 10, 20, 30, 41}) {
    EXPECT_NEAR(r.ZoneLA[0][i], 0.0, 1e-6) << "zone " << i;
    EXPECT_NEAR(r.ZoneOSC[0][i], 0.0, 1e-6) << "zone " << i;
  }
}

TEST(SphericalZones, CentralObstructionStopsInnerZonesWhichStillCount) {
  // A screen of radius 30 in front of the mirror.
  SurfaceSpec screen{30, 0, 200};
  screen.type = kObsScreen;
  TestDesign t = Mirror(0, {screen});
  const SphericalResult r = Zones(t);
  ASSERT_EQ(r.error, "");
  EXPECT_EQ(r.ZoneStopped[5], 1.0f);   // h = 25
  EXPECT_EQ(r.ZoneStopped[7], 0.0f);   // h = 35
  EXPECT_EQ(r.ZoneStopped[26], 1.0f);
  EXPECT_NE(r.ZoneLA[0][5], 0.0);
  // The stopped zones are greyed in the transversal graph.
  RecordingCanvas c;
  DrawTransversalSA(r, c);
  int grey = 0;
  for (const auto& item : c.items())
    if (item.op == RecordingCanvas::Op::Line && item.color == Rgb{230, 230, 230}) ++grey;
  EXPECT_GT(grey, 0);
}

TEST(SphericalZones, TypedScaleReplacesTheAutomaticOne) {
  const TestDesign t = Mirror(0);
  EXPECT_EQ(Zones(t, -0.5).LongScale, -0.5);
  EXPECT_GT(Zones(t, 0).LongScale, 0.0);
}

TEST(SphericalZones, EveryWavelengthInUseHasItsTables) {
  TestDesign t;
  Build(t, {{101, kR, 0, SurfaceSpec::AirNegat}}, kY, 0.5, {0.5461f, 0.6563f});
  ASSERT_TRUE(t.Update().ok);
  const SphericalResult r = Zones(t);
  EXPECT_TRUE(r.InUse[0] && r.InUse[1]);
  EXPECT_FALSE(r.InUse[2]);
  // A mirror has no colour: both wavelengths alike, unused slots all 0.
  EXPECT_NEAR(r.ZoneLA[1][20], r.ZoneLA[0][20], 1e-12);
  EXPECT_EQ(r.ZoneLA[2][20], 0.0);
  EXPECT_EQ(r.oscTable[0][2], "0.000000");
  EXPECT_NE(SphericalReport(r).find("TRANSVERSAL SPHERICAL ABERRATION"), std::string::npos);
}

TEST(SphericalZones, FailedZoneSaysSo) {
  // Zones far out on a deep sphere of radius 60 turn back past the axis
  // and never reach the focal plane.
  TestDesign t;
  Build(t, {{101, -60, 0, SurfaceSpec::AirNegat}}, kY, 0.5);
  ASSERT_TRUE(t.Update().ok);
  const SphericalResult r = Zones(t);
  EXPECT_EQ(r.error, kZoneError);
  // The zones traced before the failure keep their values.
  EXPECT_NE(r.ZoneLA[0][5], 0.0);
  EXPECT_EQ(r.ZoneLA[0][20], 0.0);
}

}  // namespace
}  // namespace ovrin
