#include "analysis/geometric/spot_diagram.h"

#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "core/number_text.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

// A concave mirror of radius 2000 (f/10 at a beam of 50), the image in its negative space.
TestDesign Mirror(int type, double conic = 0, double beam = 50) {
  TestDesign t;
  SurfaceSpec m{beam + 1, -2000, 0, SurfaceSpec::AirNegat};
  m.type = type;
  m.conic = conic;
  Build(t, {m}, beam);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

SpotSettings AtFocus(const TestDesign& t, const char* rays = "558") {
  SpotSettings s;
  s.rays = rays;
  s.actualBfl = FormatFixed(t.d.Bfl, 3);  // as the window shows it
  return s;
}

TEST(PupilGrid, RaysPerColourAtRadius50And5) {
  // What the ray counts show for each list entry: the half grid with its chief
  // ray, doubled. The tolerances are absolute, so a small pupil takes in more.
  const int at50[8] = {128, 340, 558, 832, 1300, 2346, 3478, 5108};
  const int at5[8] = {128, 340, 558, 840, 1308, 2362, 3502, 5132};
  for (double radius : {50.0, 5.0}) {
    DesignState d;
    d.EntrBeamSemiDiam = radius;
    PupilGrid g;
    for (int e = 0; e < 8; ++e) {
      ASSERT_TRUE(BuildPupilGrid(d, kRaysPerColor[e].div, g));
      EXPECT_EQ(2 * (static_cast<int>(g.PupilRayCount) + 1), radius == 50 ? at50[e] : at5[e])
          << kRaysPerColor[e].text << " at " << radius;
    }
  }
  DesignState d;
  d.EntrBeamSemiDiam = 50;
  d.UncenteredFlag = 1;
  PupilGrid g;
  ASSERT_TRUE(BuildPupilGrid(d, 6, g));
  EXPECT_EQ(g.PupilRayCount, 126.0f);
  // The mirroring's first step leaves chief-ray copies at the seam.
  EXPECT_EQ(g.PupilY[63], 0.0);
  EXPECT_EQ(g.PupilX[63], 0.0);
  EXPECT_EQ(g.PupilY[126], g.PupilY[63 + 63]);
  EXPECT_EQ(PupilGridDivOf(""), 10);
  d.EntrBeamSemiDiam = 0;
  EXPECT_FALSE(BuildPupilGrid(d, 6, g));
}

TEST(PupilGrid, StepIsASinglePrecisionQuotient) {
  // A radius whose step differs between single and double precision: the
  // points of a row lie at whole multiples of the 32-bit step.
  DesignState d;
  d.EntrBeamSemiDiam = 1.1;
  const float step32 = 1.1f / 13.0f;
  const double step64 = static_cast<double>(1.1f) / 13.0;
  ASSERT_NE(static_cast<double>(step32), step64);
  PupilGrid g;
  ASSERT_TRUE(BuildPupilGrid(d, 13, g));
  // Entry 1 is the top of the pupil on the axis, entry 2 the next point of that row.
  EXPECT_EQ(g.PupilY[1], d.EntrBeamSemiDiam);
  EXPECT_EQ(g.PupilX[1], 0.0);
  EXPECT_EQ(g.PupilX[2], static_cast<double>(step32));
  EXPECT_EQ(g.PupilX[3], static_cast<double>(step32) + static_cast<double>(step32));
}

TEST(SpotDiagram, CountsCentredAndUncentered) {
  TestDesign t = Mirror(kConic, -1);
  SpotResult spot;
  spot = ComputeSpot(t.d, AtFocus(t, "128"));
  ASSERT_EQ(spot.error, "");
  EXPECT_EQ(spot.labels.Lblragginonvig, "128");
  EXPECT_EQ(spot.labels.Lblraggitot, "256");  // twice the sum, by design
  EXPECT_EQ(spot.labels.Lblraggivig, "0");
  EXPECT_EQ(spot.labels.Lblpercentvig, "0.00");

  t.d.DecY[2] = 0.5f;  // a decentered image plane makes the system uncentered
  ASSERT_TRUE(t.Update().ok);
  ASSERT_EQ(t.d.UncenteredFlag, 1.0f);
  spot = ComputeSpot(t.d, AtFocus(t, "128"));
  ASSERT_EQ(spot.error, "");
  EXPECT_EQ(spot.labels.Lblragginonvig, "128");
  EXPECT_EQ(spot.labels.Lblraggitot, "128");
}

TEST(SpotDiagram, ParaboloidFocusesAndSphereFollowsThirdOrder) {
  TestDesign para = Mirror(kConic, -1);
  SpotResult spot;
  spot = ComputeSpot(para.d, AtFocus(para));
  ASSERT_EQ(spot.error, "");
  EXPECT_LT(spot.RmsRadius, 1e-3);  // the 3-decimal focus leaves only defocus of 0.0005 mm

  // A sphere at the paraxial focus: transverse aberration h^3/(2R^2) at the rim
  // grows as the cube of the pupil radius, so the RMS over a filled disc is half of it.
  TestDesign sphere = Mirror(kSphere);
  SpotSettings s = AtFocus(sphere, "5100");
  s.actualBfl = PlainDecimal(sphere.d.Bfl);
  spot = ComputeSpot(sphere.d, s);
  ASSERT_EQ(spot.error, "");
  const double tsa = 50.0 * 50.0 * 50.0 / (2 * 2000.0 * 2000.0);
  EXPECT_NEAR(spot.RmsRadius, tsa / 2, 0.1 * tsa / 2);
  EXPECT_EQ(spot.labels.lbldiamrms, FormatFixed(spot.RmsRadius, 5));
  EXPECT_EQ(spot.labels.Lbldiamairy, FormatFixed(2 * sphere.d.AiryRadius, 6));
}

TEST(SpotDiagram, AutofocusOfASphereLiesBetweenParaxialAndMarginalFocus) {
  TestDesign t = Mirror(kSphere);
  SpotSettings s = AtFocus(t);
  const double shift = AutoFocus(t.d, s);
  EXPECT_EQ(AutoFocus(t.d, s), shift);  // pressing it twice gives the same value

  // Where the marginal ray crosses the axis, from its heights at two image distances.
  Tracer tr(t.d);
  SurfaceLoopPolicy p;
  tr.TraceRay(0, 50, p, t.d.Bfl);
  const double y1 = tr.RayY;
  tr.TraceRay(0, 50, p, t.d.Bfl + 1);
  const double marginal = -y1 / (tr.RayY - y1);  // shift of the marginal focus
  ASSERT_NE(marginal, 0.0);
  EXPECT_GT(shift / marginal, 0.05);
  EXPECT_LT(shift / marginal, 0.95);
  // And it is a minimum: a little either side is worse.
  SpotResult spot;
  auto rms = [&](double x) {
    s.actualBfl = PlainDecimal(t.d.Bfl + x);
    spot = ComputeSpot(t.d, s);
    return spot.RmsRadius;
  };
  EXPECT_LT(rms(shift), rms(shift + 0.01));
  EXPECT_LT(rms(shift), rms(shift - 0.01));
}

TEST(SpotDiagram, ObstructedChiefRayStillAnchorsThePlot) {
  TestDesign t;
  SurfaceSpec screen{20, 0, 1500}, mirror{101, -4000, 0, SurfaceSpec::AirNegat};
  screen.type = kObsScreen;
  mirror.type = kConic;
  mirror.conic = -1;
  Build(t, {screen, mirror}, 100);
  ASSERT_TRUE(t.Update().ok);
  SpotResult spot;
  spot = ComputeSpot(t.d, AtFocus(t, "128"));
  ASSERT_EQ(spot.error, "");
  EXPECT_GT(spot.VignRays, 0.0f);
  EXPECT_EQ(static_cast<int>(spot.VignRays) % 2, 0);  // doubled with the mirror image
  // The chief ray was stopped but its image is the reference and is in the spreads.
  EXPECT_EQ(spot.SpotDX[0], 0.0);
  EXPECT_EQ(spot.labels.Lblraggivig, std::to_string(static_cast<int>(spot.VignRays)));
}

TEST(SpotDiagram, ZoomEqualSpreadsAndFailures) {
  // A plane in air with a beam of 2.5: the grid step is exactly 0.25 and the
  // spot is the pupil itself, 5 mm across in both directions (the bottom row
  // keeps a point besides the one the chief ray replaces).
  TestDesign t;
  Build(t, {{3, 0, 0}}, 2.5);
  ASSERT_TRUE(t.Update().ok);
  SpotSettings s = AtFocus(t, "340");
  s.previousSpotDiameter = 123;
  s.actualBfl = "10";
  s.zoom = "-2";
  RecordingCanvas canvas;
  SpotResult spot = ComputeSpot(t.d, s);
  ASSERT_EQ(spot.error, "");
  DrawSpot(spot, s, canvas);
  EXPECT_EQ(spot.SpotDiameter, 123.0);  // equal spreads keep the previous value
  EXPECT_EQ(spot.labels.lbldiamspot, "123.00000");
  EXPECT_EQ(spot.MmPerPlotUnit, 0.5f / 500.0f);  // a negative zoom draws as its magnitude
  EXPECT_EQ(spot.labels.scale, "0.190");
  int points = 0;
  for (const auto& item : canvas.items()) points += item.op == RecordingCanvas::Op::Point;
  // The half grid with its chief ray and the mirror image, plotted as traced.
  EXPECT_EQ(points, 2 * (static_cast<int>(spot.grid.PupilRayCount) + 1));

  // A ray that cannot reach the focal surface ends the drawing with no new
  // numbers (the window keeps the old labels) but with what was plotted so far.
  s.focalRadius = "1";  // a focal sphere smaller than the spot
  const SpotResult failed = ComputeSpot(t.d, s);
  EXPECT_EQ(failed.error, kRayTraceError);
  EXPECT_FALSE(failed.drawn);
  EXPECT_EQ(failed.SpotDiameter, 123.0);
  EXPECT_LT(failed.plotted.size(), static_cast<std::size_t>(spot.grid.PupilRayCount + 1));
  s.rays = "999";
  EXPECT_EQ(ComputeSpot(t.d, s).error, kCheckDataError);
}

TEST(SpotDiagram, FirstXFieldDrawingIsAHalfPupil) {
  TestDesign t = Mirror(kConic, -1);
  SpotSettings s = AtFocus(t, "128");
  s.field = 1;
  s.angleY = "0";
  s.angleX = "0.1";
  SpotResult spot;
  ASSERT_EQ(t.d.UncenteredFlag, 0.0f);
  spot = ComputeSpot(t.d, s);
  ASSERT_EQ(spot.error, "");
  EXPECT_EQ(t.d.UncenteredFlag, 0.0f);  // the design is only read: the caller raises the flag
  ASSERT_TRUE(spot.raiseUncenteredFlag);
  t.d.UncenteredFlag = 1;
  EXPECT_EQ(spot.GoodRays, 64.0f);  // built as half, not mirrored
  spot = ComputeSpot(t.d, s);
  ASSERT_EQ(spot.error, "");
  EXPECT_EQ(spot.GoodRays, 127.0f);  // the flag stays raised: a whole pupil
}

TEST(SpotDiagram, ColoursShareTheFirstCheckedChiefRay) {
  TestDesign t;
  Build(t, {{30, 200, 8, SurfaceSpec::Direct, 1.52}, {30, -200, 0}}, 25, 1.0, {0.55f, 0.48f});
  t.d.IndexWl[2][1] = 1.53;  // a more refracted second colour
  ASSERT_TRUE(t.Update().ok);
  SpotSettings s = AtFocus(t);
  s.field = 1;
  s.angleY = "1";
  s.checked = {true, true, false, false, false, false};
  SpotResult spot;
  spot = ComputeSpot(t.d, s);
  ASSERT_EQ(spot.error, "");
  const int good = static_cast<int>(spot.GoodRays);
  double mean_dy[3] = {0, 0, 0};
  int n[3] = {0, 0, 0};
  for (int i = 1; i <= good; ++i) {
    mean_dy[spot.SpotWl[i]] += spot.SpotDY[i];
    ++n[spot.SpotWl[i]];
  }
  ASSERT_GT(n[1], 0);
  ASSERT_GT(n[2], 0);
  // Lateral colour: the second colour's spot sits off the first one's chief ray.
  EXPECT_GT(std::fabs(mean_dy[2] / n[2] - mean_dy[1] / n[1]), 1e-3);
}

}  // namespace
}  // namespace ovrin
