// The OPD engine and the wave front checked against optics that does not lean
// on this code: a paraboloid and a Cartesian oval are perfect on axis, a
// spherical mirror shows the closed-form fourth-order wave front, a shift of
// the reference sphere adds dz (1 - cos theta).
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/wave/opd_engine.h"
#include "analysis/wave/opd_fan.h"
#include "analysis/wave/versus.h"
#include "analysis/wave/wavefront.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kLambdaMm = 0.5461e-3;

// A concave mirror of diameter 200 at f/8 (radius -3200), stop on the mirror.
TestDesign Mirror(double conic, double angle_deg = 0) {
  TestDesign t;
  SurfaceSpec s{101, -3200, 0, SurfaceSpec::AirNegat};
  if (conic != 0) s.type = kConic, s.conic = conic;
  Build(t, {s}, 100, angle_deg);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

WavefrontSettings Axis(const DesignState& d, int div = 32) {
  WavefrontSettings s;
  s.gridDiv = div;
  s.actualBfl = d.Bfl;
  return s;
}

TEST(WaveGrid, RowsFromTheTopNoSampleOnAnAxisAndTheNearZeroRowRule) {
  const WaveGrid g = BuildWaveGrid(100, 32);
  EXPECT_EQ(g.rows, 64);
  EXPECT_EQ(g.cols, 64);
  EXPECT_NEAR(g.rowY[0], 100 - 100.0 / 64, 1e-12);  // the top of the pupil first
  EXPECT_NEAR(g.colX[0], -(100 - 100.0 / 64), 1e-12);
  for (int i = 0; i < g.rows; ++i) EXPECT_GT(std::fabs(g.Y(i)), 0.5);
  // A small pupil whose middle rows fall within 0.005 of the meridian: their Y
  // becomes 5e-07, their X stays.
  const WaveGrid small = BuildWaveGrid(0.08, 16);
  ASSERT_EQ(small.rows, 32);
  EXPECT_NEAR(small.rowY[15], 0.0025, 1e-12);
  EXPECT_EQ(small.Y(15), 5e-07);
  EXPECT_EQ(small.Y(16), 5e-07);
  EXPECT_NEAR(small.Y(14), 0.0075, 1e-12);
  EXPECT_NEAR(small.X(15), -0.0025, 1e-12);
}

TEST(WaveStatistics, MissingSamplesPeakToValleyRmsAndStrehl) {
  // Exactly 0 is no ray, even where a perfect point would give 0.
  const WaveStats s = ComputeWaveStats({0.0, 0.3, -0.1, 0.0, 0.1});
  EXPECT_EQ(s.count, 3);
  EXPECT_DOUBLE_EQ(s.max, 0.3);
  EXPECT_DOUBLE_EQ(s.min, -0.1);
  EXPECT_DOUBLE_EQ(s.PV, 0.4);
  EXPECT_NEAR(s.mean, 0.1, 1e-15);
  EXPECT_NEAR(s.RMS, std::sqrt((0.04 + 0.04 + 0) / 3), 1e-15);  // about the mean
  const WaveStats same_sign = ComputeWaveStats({0.2, 0.5});
  EXPECT_DOUBLE_EQ(same_sign.PV, 0.3);
  EXPECT_THROW(ComputeWaveStats({0.0, 0.0}), TraceError);  // no sample: the run's error path

  EXPECT_DOUBLE_EQ(StrehlOfRms(0), 1.0);
  EXPECT_NEAR(StrehlOfRms(0.1), std::exp(-0.3948), 1e-4);
  EXPECT_NEAR(StrehlOfRms(0.1), 0.674, 5e-4);
}

TEST(WaveColours, FiveBandsFromValleyToPeakAndWhiteForNoRay) {
  EXPECT_EQ(WaveColor(0, -1, 2), (Rgb{255, 255, 255}));
  EXPECT_EQ(WaveColor(-1, -1, 2), (Rgb{0, 0, 0}));        // the valley: dark blue end
  EXPECT_EQ(WaveColor(1, -1, 2), (Rgb{255, 0, 0}));       // the peak: red
  EXPECT_EQ(WaveColor(-0.6, -1, 2), (Rgb{0, 0, 255}));    // top of band 1
  EXPECT_EQ(WaveColor(0.2 - 1e-9, -1, 2), (Rgb{0, 255, 0}));  // T3 from below
  EXPECT_NEAR(WaveColor(0.4, -1, 2).r, 128, 1);                // half way up band 4
}

TEST(OpdEngine, ParaboloidIsPerfectOnAxis) {
  TestDesign t = Mirror(-1);
  const WavefrontResult r = ComputeWavefront(t.d, Axis(t.d));
  ASSERT_TRUE(r.ok);
  EXPECT_GT(r.stats.count, 3000);
  EXPECT_LT(r.stats.RMS, 1e-6);
  EXPECT_NEAR(r.stats.Strehl, 1.0, 1e-9);
}

TEST(OpdEngine, CartesianOvalIsPerfectWithTheImageBeyondThePupil) {
  // A refracting ellipsoid of conic -1/n^2 focuses a parallel beam inside the
  // glass at n R / (n - 1): here the image lies behind the exit pupil, so the
  // other root of the sphere is taken.
  TestDesign t;
  const double n = 1.5;
  SurfaceSpec s{21, 50, 150, SurfaceSpec::Direct, n, kConic, -1 / (n * n)};
  Build(t, {s}, 20);
  ASSERT_TRUE(t.Update().ok);
  ASSERT_NEAR(t.d.Bfl, 150, 1e-3);
  OpdRun run;
  run.actualBfl = t.d.Bfl;
  run.width = IndexWidth::Double;
  OpdEngine e(t.d, run);
  e.ChiefReference();
  EXPECT_LT(e.Zxp, run.actualBfl);
  double worst = 0;
  for (double y : {-20.0, -13.0, -5.0, 7.0, 19.9}) worst = std::max(worst, std::fabs(e.RayOpd(0.3, y)));
  EXPECT_LT(worst, 1e-5);
}

TEST(OpdEngine, SphericalMirrorShowsItsFourthOrderWaveFront) {
  // The sphere departs from the paraboloid by r^4 / (8 R^3); on reflection the
  // wave front carries twice that: 1.397 waves at the rim, PV 1.395 over the
  // grid, RMS of a pure r^4 about its mean sqrt(4/45) of that. The finest
  // grid samples the pupil closely enough for 0.5 %.
  TestDesign t = Mirror(0);
  const WavefrontResult r = ComputeWavefront(t.d, Axis(t.d, 128));
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.stats.PV, 1.395, 1.395 * 0.005);
  EXPECT_NEAR(r.stats.RMS, 0.4158, 0.4158 * 0.005);
  const double rim = std::pow(100.0, 4) / (4 * std::pow(3200.0, 3)) / kLambdaMm;
  EXPECT_NEAR(r.stats.PV, rim, rim * 0.01);

  // Reverse WF: the extremes change sign, RMS and Strehl stay.
  WavefrontSettings rev = Axis(t.d, 128);
  rev.reverse = true;
  const WavefrontResult rr = ComputeWavefront(t.d, rev);
  ASSERT_TRUE(rr.ok);
  EXPECT_NEAR(rr.stats.max, -r.stats.min, 1e-12);
  EXPECT_NEAR(rr.stats.min, -r.stats.max, 1e-12);
  EXPECT_DOUBLE_EQ(rr.stats.RMS, r.stats.RMS);
  EXPECT_DOUBLE_EQ(rr.stats.Strehl, r.stats.Strehl);
  EXPECT_EQ(rr.Label20, r.Label20);
}

TEST(OpdEngine, DefocusAddsTheClosedFormOfAShiftedSphere) {
  // For a perfect focus the sphere centred dz away along the axis differs by
  // dz (1 - cos theta), theta the ray's angle at the focus: on a paraboloid of
  // focal length f, tan theta = y / (f - y^2 / 4f).
  TestDesign t = Mirror(-1);
  const double f = 1600, dz = 0.1;
  OpdRun at, shifted;
  at.actualBfl = t.d.Bfl;
  shifted.actualBfl = t.d.Bfl + dz;
  at.width = shifted.width = IndexWidth::Double;
  OpdEngine e0(t.d, at), e1(t.d, shifted);
  e0.ChiefReference();
  e1.ChiefReference();
  for (double y : {20.0, 50.0, 80.0, 99.0}) {
    const double x = 0.4;
    const double r2 = x * x + y * y;
    const double theta = std::atan(std::sqrt(r2) / (f - r2 / (4 * f)));
    const double expected = dz * (1 - std::cos(theta)) / kLambdaMm;
    const double dw = e1.RayOpd(x, y) - e0.RayOpd(x, y);
    EXPECT_NEAR(std::fabs(dw), expected, expected * 2e-3) << "y " << y;
  }
}

TEST(OpdEngine, OutsideThePupilClippedAndObstructedRaysAreZero) {
  TestDesign t;
  Build(t, {{40, 0, 10, SurfaceSpec::AirPosit, 1, kObsScreen}, {101, -3200, 0, SurfaceSpec::AirNegat}}, 100);
  ASSERT_TRUE(t.Update().ok);
  OpdRun run;
  run.actualBfl = t.d.Bfl;
  OpdEngine e(t.d, run);
  e.ChiefReference();
  EXPECT_EQ(e.RayOpd(0, 20), 0.0);        // behind the central screen
  EXPECT_EQ(e.RayOpd(80, 80), 0.0);       // outside the circle of the pupil
  EXPECT_NE(e.RayOpd(0, 90), 0.0);
}

TEST(OpdEngine, TheExitPupilDoesNotDependOnTheStartSlope) {
  // On axis u(1) = 0 is replaced by 0.001: the near-axis pupil is the same as
  // a field run's, since the near-axis ray is linear in its slope.
  TestDesign t = Mirror(-1, 0.5);
  OpdRun axis, field;
  axis.actualBfl = field.actualBfl = t.d.Bfl;
  field.field = true;
  field.fieldAngleY = 0.5 * M_PI / 180;
  OpdEngine ea(t.d, axis), ef(t.d, field);
  ea.ChiefReference();
  ef.ChiefReference();
  EXPECT_TRUE(std::isfinite(ea.Zxp));
  EXPECT_NEAR(ea.Zxp, ef.Zxp, 1e-9);
  EXPECT_NEAR(ea.Zxp, 0, 1e-9);  // the stop is on the mirror
  // The field run's image point: the chief ray at f tan(angle) off the axis.
  EXPECT_NEAR(std::fabs(ef.Yc), 1600 * std::tan(0.5 * M_PI / 180), 1e-3);
  EXPECT_EQ(ef.Xc, 0.0);
}

TEST(OpdEngine, XFieldImagePointAndTheOnAxisChoiceIgnoringTheFieldBoxes) {
  // An X field angle puts the image point f tan(angle) across; with no image
  // tilt Xc is the chief ray's X on the image plane.
  TestDesign t = Mirror(-1);
  OpdRun field;
  field.actualBfl = t.d.Bfl;
  field.field = true;
  field.fieldAngleX = 0.3 * M_PI / 180;
  OpdEngine e(t.d, field);
  e.ChiefReference();
  EXPECT_NEAR(std::fabs(e.Xc), 1600 * std::tan(0.3 * M_PI / 180), 1e-3);
  EXPECT_NEAR(e.Yc, 0, 1e-9);

  // "On-Axis" takes neither of the design window's angles.
  WavefrontSettings plain = Axis(t.d), angled = Axis(t.d);
  angled.angleYDeg = 0.4;
  angled.angleXDeg = -0.2;
  EXPECT_EQ(ComputeWavefront(t.d, plain).W, ComputeWavefront(t.d, angled).W);
}

TEST(AutoFocusOpd, SphericalMirrorLandsBetweenParaxialAndMarginalFocus) {
  TestDesign t = Mirror(0);
  const float shift = AutoFocusOpd(t.d, 1, t.d.Bfl);
  // The rim ray crosses the axis R / (2 cos a) from the centre, sin a = 100 / R.
  const double a = std::asin(100.0 / 3200);
  const double marginal = -(3200 - 3200 / (2 * std::cos(a)));
  const double focus = t.d.Bfl + shift;
  EXPECT_GT(focus, std::min(t.d.Bfl, marginal));
  EXPECT_LT(focus, std::max(t.d.Bfl, marginal));
  // Taking the defocus out of a r^4 wave front leaves r^4 - r^2: its RMS is a
  // quarter of the paraxial one (sqrt(1/180) against sqrt(4/45)).
  WavefrontSettings s = Axis(t.d);
  const double paraxial_rms = ComputeWavefront(t.d, s).stats.RMS;
  s.actualBfl = focus;
  const double best_rms = ComputeWavefront(t.d, s).stats.RMS;
  EXPECT_NEAR(best_rms / paraxial_rms, 0.25, 0.25 * 0.05);
  // Twice the same command gives the same focus.
  EXPECT_EQ(AutoFocusOpd(t.d, 1, t.d.Bfl), shift);
}

TEST(OpdFan, RowsSignsAndTheRulesOfTheMiddleRays) {
  TestDesign t = Mirror(0, 0.2);
  OpdFanSettings s;
  s.actualBfl = t.d.Bfl;
  s.angleYDeg = 0.2;
  const OpdFanResult r = ComputeOpdFan(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.axis.W[11][1], 1e-07);
  // The fans show the opposite sign to the map.
  OpdRun run = WaveRunOf(t.d, 1, t.d.Bfl, 0, false, 0, 0);
  run.objHeight = 0.001;
  run.width = IndexWidth::Double;
  OpdEngine e(t.d, run);
  e.ChiefReference(r.Zxp);
  EXPECT_NEAR(r.axis.W[1][1], -e.RayOpd(0, 100), 1e-12);
  EXPECT_NEAR(std::fabs(r.axis.W[1][1]), 1.397, 0.01);  // the rim of the sphere
  // Wavelengths not in use: 0 in the table and "0.000000" in the text.
  EXPECT_FALSE(r.axis.used[2]);
  EXPECT_EQ(r.axis.W[1][2], 0.0);
  ASSERT_EQ(r.text[0].size(), 21u);
  EXPECT_EQ(r.text[0][0][0], "100");
  EXPECT_EQ(r.text[0][20][0], "-100");
  EXPECT_EQ(r.text[0][10][1], "0.000000");
  EXPECT_EQ(r.text[0][0][2], "0.000000");
  EXPECT_EQ(r.axis.scaleWl, 1);
  EXPECT_NEAR(r.axis.E, r.axis.S[1] - 1e-07, 1e-15);
}

TEST(OpdFan, AnObstructedCentreStillPlots) {
  TestDesign t;
  Build(t, {{40, 0, 10, SurfaceSpec::AirPosit, 1, kObsScreen}, {101, -3200, 0, SurfaceSpec::AirNegat}}, 100);
  ASSERT_TRUE(t.Update().ok);
  OpdFanSettings s;
  s.actualBfl = t.d.Bfl;
  const OpdFanResult r = ComputeOpdFan(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.full.W[11][1], 1e-07);
  EXPECT_EQ(r.full.W[32][1], 1e-07);
  EXPECT_EQ(r.full.W[10][1], 0.0);  // 10 % of the zone: behind the screen
  EXPECT_NE(r.full.W[1][1], 0.0);
}

TEST(Versus, FocusScanFollowsTheDefocusOfAPerfectMirror) {
  // Defocus dz gives a wave front close to dz r^2 / (8 F^2): its RMS about
  // the mean is that over sqrt(12) at the rim.
  TestDesign t = Mirror(-1);
  VersusSettings s;
  s.scan = VersusScan::Focus;
  s.measure = VersusMeasure::Rms;
  s.actualBfl = t.d.Bfl;
  s.defocus = 0.1;
  const VersusResult r = ComputeVersus(t.d, s);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.rows.size(), 21u);
  EXPECT_EQ(r.text.size(), 22u);
  EXPECT_EQ(r.text[0], "DEFOCUS       RMS");
  EXPECT_LT(r.rows[10].second, 1e-6);
  const double rim = 0.1 / (8 * 64) / kLambdaMm;
  EXPECT_NEAR(r.rows[0].second, rim / std::sqrt(12.0), rim / std::sqrt(12.0) * 0.02);
  EXPECT_NEAR(r.rows[0].second, r.rows[20].second, 1e-3 * r.rows[0].second);
  EXPECT_NEAR(r.rows[0].first, -0.1, 1e-12);
}

TEST(Versus, AMirrorsWaveFrontScalesAsOneOverTheWavelength) {
  TestDesign t = Mirror(0);
  VersusSettings s;
  s.scan = VersusScan::Wavelength;
  s.measure = VersusMeasure::Rms;
  s.actualBfl = t.d.Bfl;
  s.shortWl = 0.4;
  s.longWl = -0.8;  // taken as a magnitude
  const VersusResult r = ComputeVersus(t.d, s);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.rows.size(), 41u);
  EXPECT_NEAR(r.rows[0].first, 0.4, 1e-12);
  EXPECT_NEAR(r.rows[40].first, 0.8, 1e-12);
  for (const auto& [wl, rms] : r.rows) EXPECT_NEAR(rms * wl, r.rows[0].second * 0.4, 1e-6);
}

TEST(Versus, FieldScanStartsOnTheAxisAndGrows) {
  TestDesign t = Mirror(-1, 0.5);
  VersusSettings s;
  s.scan = VersusScan::Field;
  s.measure = VersusMeasure::Strehl;
  s.actualBfl = t.d.Bfl;
  s.angleYDeg = 0.5;
  const VersusResult r = ComputeVersus(t.d, s);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.rows.size(), 21u);
  EXPECT_NEAR(r.rows[0].second, 1.0, 1e-6);
  EXPECT_NEAR(r.rows[20].first, 0.5, 1e-12);
  for (size_t i = 1; i < r.rows.size(); ++i) EXPECT_LT(r.rows[i].second, r.rows[i - 1].second + 1e-12);
}

TEST(Failures, ARayThatMissesClearsTheRun) {
  // A convex mirror smaller than its beam's footprint would be fine; a sphere
  // of radius smaller than the beam makes the rim rays miss.
  TestDesign t;
  Build(t, {{101, -3200, 0, SurfaceSpec::AirNegat}}, 100);
  ASSERT_TRUE(t.Update().ok);
  t.d.Radius[1] = -60;  // the rim rays pass beside the sphere
  const WavefrontResult r = ComputeWavefront(t.d, Axis(t.d));
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(r.W.empty());
  OpdFanSettings s;
  s.actualBfl = t.d.Bfl;
  EXPECT_FALSE(ComputeOpdFan(t.d, s).ok);
}

}  // namespace
}  // namespace ovrin
