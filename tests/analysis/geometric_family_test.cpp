// The geometric window family against closed forms and textbook cases:
// a paraboloid with its stop at the mirror, a thin singlet, a defocused
// perfect mirror whose spot is a uniform disc.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "../core/test_designs.h"
#include "analysis/geometric/geometric_family.h"
#include "analysis/wave/versus.h"
#include "core/design_file.h"
#include "core/optics_math.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

// A paraboloid mirror 200 mm, f = 1000 mm, the stop on the mirror, a flat
// image plane at its focus.
void Paraboloid(TestDesign& t, double angle_deg = 0.5) {
  SurfaceSpec m{100, -2000, 0, SurfaceSpec::AirNegat};
  m.type = kConic;
  m.conic = -1;
  Build(t, {m}, 100, angle_deg);
  ASSERT_TRUE(t.Update().ok);
}

FamilySettings SettingsOf(const TestDesign& t) {
  FamilySettings s;
  s.angleYDeg = std::stod(t.sheet.Txtangolo);
  s.objectHeight = t.d.HalfFieldY;
  return s;
}

TEST(Distortion, ParaboloidWithStopAtMirrorHasNone) {
  TestDesign t;
  Paraboloid(t);
  const FamilySettings s = SettingsOf(t);
  const DistortionResult r = ComputeDistortion(t.d, s, 5);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.field.size(), 6u);
  EXPECT_LT(r.maxPercent, 1e-4);
  // The paraxial height is f tan(theta) at full field, in size.
  EXPECT_NEAR(std::fabs(r.paraxial.back()), 1000 * std::tan(0.5 * kDegree), 1e-6);
  // The grid picture puts the real corner on the paraxial one.
  const PlotPoint a = r.gridReal.front(), b = r.gridParaxial.front();
  EXPECT_NEAR(a.x, b.x, 1e-5);
  EXPECT_NEAR(a.y, b.y, 1e-5);
}

TEST(Distortion, SingletHasSomeAndItsSignFollowsTheTable) {
  // A thick lens with the stop on its front face shows distortion well above
  // the paraboloid's, and the mm column is real minus paraxial height.
  TestDesign t;
  Build(t, {{25, 60, 12, SurfaceSpec::Direct, 1.7}, {25, -300, 0}}, 20, 10);
  ASSERT_TRUE(t.Update().ok);
  const DistortionResult r = ComputeDistortion(t.d, SettingsOf(t), 4);
  ASSERT_EQ(r.error, "");
  EXPECT_GT(r.maxPercent, 1e-3);
  for (std::size_t i = 0; i < r.field.size(); ++i) EXPECT_NEAR(r.mm[i], r.real[i] - r.paraxial[i], 1e-12);
}

// A thin N-BK7 singlet behind a stop 50 mm in front of it, its index columns
// at d, F and C taken from the catalogue.
void Singlet(TestDesign& t) {
  Build(t, {{10, 0, 50}, {20, 100, 2, SurfaceSpec::Direct, 1.5168}, {20, -100, 0}}, 10, 1,
        {0.5876f, 0.4861f, 0.6563f});
  t.d.MediumCode[2] = kMediumSchott;
  t.d.GlassSchott[2] = "N-BK7";
  ASSERT_TRUE(t.Update().ok);
  for (int k = 1; k <= 3; ++k) t.d.IndexWl[k][2] = IndicesAtWavelength(t.d, 1, t.d.Wavelength[k - 1])[2];
}

TEST(ChromaticFocalShift, ThinSingletMatchesFocalLengthOverAbbeNumber) {
  TestDesign t;
  Singlet(t);
  const SurfTable nd = IndicesAtWavelength(t.d, 1, 0.5876), nf = IndicesAtWavelength(t.d, 1, 0.4861),
                  nc = IndicesAtWavelength(t.d, 1, 0.6563);
  const double v = (nd[2] - 1) / (nf[2] - nc[2]);
  ASSERT_GT(v, 60);
  ASSERT_LT(v, 66);
  const double fC = ParaxialFocus(t.d, nc), fF = ParaxialFocus(t.d, nf);
  // Thin-lens focal length at d from the lensmaker's formula.
  const double f = 1 / ((nd[2] - 1) * (2.0 / 100));
  EXPECT_NEAR((fC - fF) / (f / v), 1.0, 0.02);

  FocalShiftSettings fs;
  const FocalShiftResult r = ComputeFocalShift(t.d, SettingsOf(t), fs);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.wavelength.size(), 41u);
  EXPECT_DOUBLE_EQ(r.wavelength.front(), 0.4);
  EXPECT_DOUBLE_EQ(r.wavelength.back(), 0.8);
  // A positive singlet focuses blue nearer: the shift grows with wavelength.
  for (std::size_t i = 1; i < r.shift.size(); ++i) EXPECT_GT(r.shift[i], r.shift[i - 1]);
  EXPECT_NEAR(r.spread, r.focus.back() - r.focus.front(), 1e-12);
}

TEST(ChromaticFocalShift, MirrorFileHasEveryShiftZero) {
  TestDesign t;
  Paraboloid(t);
  const FocalShiftResult r = ComputeFocalShift(t.d, SettingsOf(t), FocalShiftSettings{});
  ASSERT_EQ(r.error, "");
  for (double s : r.shift) EXPECT_EQ(s, 0);
  const std::string text = CfsText(r, "Mirror", -1000);
  std::istringstream in(text);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line.rfind("\"Mirror\",", 0), 0u);
  EXPECT_NE(line.find(",1000"), std::string::npos);
  int lines = 0;
  while (std::getline(in, line)) {
    ++lines;
    EXPECT_EQ(line.substr(line.find(',') + 1), "0\r");
  }
  EXPECT_EQ(lines, 41);
}

TEST(LateralColour, ZeroOnAxisAndGrowsOffAxisForASinglet) {
  TestDesign t;
  Singlet(t);
  FamilySettings s = SettingsOf(t);
  s.checked = {true, true, true, false, false, false};
  const LateralColourResult r = ComputeLateralColour(t.d, s, 4);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.wavelengths.size(), 2u);
  for (const auto& diff : r.difference) {
    EXPECT_EQ(diff.front(), 0);
    EXPECT_GT(std::fabs(diff.back()), 1e-6);
  }
  // Blue and red stand on opposite sides of wavelength 1.
  EXPECT_LT(r.difference[0].back() * r.difference[1].back(), 0);
}

TEST(EncircledEnergy, UniformDiscReachesAllAndItsEightyPercentRadius) {
  // A perfect mirror 2 mm out of focus: every ray lands on a disc of radius
  // 2 * 100 / 1000, uniformly filled as the pupil is.
  TestDesign t;
  Paraboloid(t, 0);
  FamilySettings s = SettingsOf(t);
  s.div = 30;
  s.actualBfl = t.d.Bfl + 2;
  const EnergyResult r = ComputeEncircledEnergy(t.d, s, EnergySettings{});
  ASSERT_EQ(r.error, "");
  EXPECT_DOUBLE_EQ(r.centroid.back(), 1.0);
  EXPECT_DOUBLE_EQ(r.chief.back(), 1.0);
  EXPECT_DOUBLE_EQ(r.ensquared.back(), 1.0);
  const double R = 0.2;
  EXPECT_NEAR(r.centroidRadii[1], R * std::sqrt(0.8), 0.03 * R);
  EXPECT_NEAR(r.centroidRadii[0], R * std::sqrt(0.5), 0.03 * R);
  // On axis the chief ray is the centroid.
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(r.chiefRadii[i], r.centroidRadii[i], 1e-9);
  // Curves never fall.
  for (std::size_t i = 1; i < r.centroid.size(); ++i) EXPECT_GE(r.centroid[i], r.centroid[i - 1]);
}

TEST(EncircledEnergy, DiffractionCurveOfACircularPupil) {
  // The first dark ring holds 83.8 % of the energy.
  const double lambda = 0.00055, n = 8;
  EXPECT_NEAR(DiffractionEncircled(1.2197 * lambda * n, lambda, n), 0.838, 0.002);
  EXPECT_EQ(DiffractionEncircled(0, lambda, n), 0);
  EXPECT_NEAR(DiffractionEncircled(100 * lambda * n, lambda, n), 1, 0.01);
}

TEST(GeometricMtf, PerfectSystemGivesTheDiffractionLimit) {
  TestDesign t;
  Paraboloid(t, 0);
  GeoMtfSettings m;
  m.fields = {0};
  const GeoMtfResult r = ComputeGeometricMtf(t.d, SettingsOf(t), m);
  ASSERT_EQ(r.error, "");
  // Cut-off 1 / (lambda N) for the f/5 mirror.
  EXPECT_NEAR(r.cutoff, 1 / (0.0005461 * 5), 1);
  for (std::size_t i = 0; i < r.x.size(); ++i) {
    EXPECT_NEAR(r.tangential[0][i], r.diffraction[i], 1e-6);
    EXPECT_NEAR(r.sagittal[0][i], r.diffraction[i], 1e-6);
  }
  EXPECT_NEAR(DiffractionMtf(0.5, 1), 0.391, 0.001);
}

TEST(GeometricMtf, UniformDiscFollowsItsBesselTransform) {
  // A uniform disc of radius R has the MTF 2 J1(2 pi nu R) / (2 pi nu R).
  TestDesign t;
  Paraboloid(t, 0);
  FamilySettings s = SettingsOf(t);
  s.div = 40;
  s.actualBfl = t.d.Bfl + 1;
  const Bundle b = TraceBundle(t.d, s, BundleRun{});
  const double R = 0.1, nu = 5;
  const double x = 2 * kPi * nu * R;
  EXPECT_NEAR(GeometricMtfOf(b.hits, nu, true), 2 * std::cyl_bessel_j(1.0, x) / x, 0.01);
}

TEST(RealRays, DirectionCosinesAreUnitOnEverySurface) {
  TestDesign t;
  ASSERT_TRUE(ReadDesignFile(ExamplePath("cemented_doublet_100_f10.ovn"), DesignFormat::Current, t.d, t.sheet,
                             t.media)
                  .ok);
  FamilySettings s = SettingsOf(t);
  s.angleYDeg = 1;
  RealRaySettings rs;
  rs.pupilX = 0.3;
  rs.pupilY = 0.7;
  const RealRayResult r = ComputeRealRay(t.d, s, rs);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(static_cast<int>(r.rows.size()), t.d.SurfCount + 1);
  for (const RealRayRow& row : r.rows) {
    EXPECT_NEAR(row.cosX * row.cosX + row.cosY * row.cosY + row.cosZ * row.cosZ, 1, 1e-12);
    EXPECT_GT(row.path, 0);
  }
}

TEST(RealRays, MarginalRayOnAMirrorMeetsTheSagAndReflectsAtTheNormalAngle) {
  TestDesign t;
  Paraboloid(t, 0);
  RealRaySettings rs;
  rs.field = 0;
  const RealRayResult r = ComputeRealRay(t.d, SettingsOf(t), rs);
  ASSERT_EQ(r.error, "");
  const RealRayRow& m = r.rows[0];
  EXPECT_NEAR(m.y, 100, 1e-9);
  EXPECT_NEAR(std::fabs(m.z), 100.0 * 100 / 4000, 1e-9);
  // The normal of the paraboloid at h makes atan(h / 2f) with the axis.
  EXPECT_NEAR(m.incidence, std::atan(100.0 / 2000) / kDegree, 1e-6);
  // The reflected marginal ray reaches the focus: image height 0.
  EXPECT_NEAR(r.rows[1].y, 0, 1e-9);
}

TEST(Vignetting, AllRaysPassInsideTheApertureAndSomeAreLostOutside) {
  // A lens whose rear aperture is smaller than the off-axis beam needs.
  TestDesign t;
  Build(t, {{20, 100, 2, SurfaceSpec::Direct, 1.5}, {20, -100, 40}, {12, 0, 0}}, 10, 10);
  ASSERT_TRUE(t.Update().ok);
  const VignettingResult r = ComputeVignetting(t.d, SettingsOf(t), 5);
  ASSERT_EQ(r.error, "");
  EXPECT_DOUBLE_EQ(r.fraction.front(), 1.0);
  EXPECT_LT(r.fraction.back(), 1.0);
  EXPECT_GT(r.fraction.back(), 0.0);
}

TEST(Footprint, OnAxisBeamFillsTheStopMirror) {
  TestDesign t;
  Paraboloid(t);
  FootprintSettings f;
  const FootprintResult r = ComputeFootprint(t.d, SettingsOf(t), f);
  ASSERT_EQ(r.error, "");
  EXPECT_DOUBLE_EQ(r.clearRadius, 100);
  EXPECT_NEAR(r.extent[0], 100, 1e-6);
  f.surface = 2;
  EXPECT_NE(ComputeFootprint(t.d, SettingsOf(t), f).error, "");
}

TEST(BestFocus, FindsTheShiftOfAMovedImagePlane) {
  // The image plane set 0.5 mm too far: both criteria bring it back.
  TestDesign t;
  Paraboloid(t, 0);
  FamilySettings s = SettingsOf(t);
  s.actualBfl = t.d.Bfl - 0.5;
  BestFocusSettings b;
  b.range = 2;
  const BestFocusResult spot = ComputeBestFocus(t.d, s, b);
  ASSERT_EQ(spot.error, "");
  EXPECT_NEAR(spot.shift, 0.5, 1e-4);
  EXPECT_LT(spot.value, 1e-6);
  b.criterion = FocusCriterion::Wavefront;
  const BestFocusResult wave = ComputeBestFocus(t.d, s, b);
  ASSERT_EQ(wave.error, "");
  EXPECT_NEAR(wave.shift, 0.5, 1e-3);
}

TEST(SpotFamilies, ShapesAndRmsThroughFocus) {
  TestDesign t;
  Paraboloid(t);
  FamilySettings s = SettingsOf(t);
  SpotFamilySettings f;
  f.focusStep = 0.5;
  const SpotFamilyResult multi = ComputeSpotFamily(t.d, s, f);
  ASSERT_EQ(multi.error, "");
  ASSERT_EQ(multi.cells.size(), 8u);
  // Through focus the RMS of a perfect on-axis mirror grows as |shift| R / (f sqrt 2).
  for (int i = 0; i < 5; ++i) {
    const double shift = (i - 2) * 0.5;
    EXPECT_NEAR(multi.cells[i].stats.rms, std::fabs(shift) * 0.1 / std::sqrt(2.0), 0.02 * 0.1 + 1e-9);
  }
  // Off axis a paraboloid has coma: the full-field spot is the largest.
  EXPECT_GT(multi.cells[7].stats.rms, multi.cells[6].stats.rms);
  f.family = SpotFamily::Matrix;
  s.checked = {true, false, false, false, false, false};
  const SpotFamilyResult matrix = ComputeSpotFamily(t.d, s, f);
  EXPECT_EQ(matrix.rows, 3);
  EXPECT_EQ(matrix.cols, 1);
  f.family = SpotFamily::TotalField;
  const SpotFamilyResult total = ComputeSpotFamily(t.d, s, f);
  ASSERT_EQ(total.cells.size(), 3u);
  EXPECT_NEAR(std::fabs(total.cells[2].chiefY), 1000 * std::tan(0.5 * kDegree), 1e-6);
}

TEST(RmsVersus, FocusScanIsSmallestAtBestFocusAndWavelengthScanOfAMirrorIsFlat) {
  TestDesign t;
  Paraboloid(t, 0);
  FamilySettings s = SettingsOf(t);
  RmsVersusSettings v;
  v.steps = 10;
  const RmsVersusResult f = ComputeRmsVersus(t.d, s, v);
  ASSERT_EQ(f.error, "");
  EXPECT_NEAR(f.rms[5], 0, 1e-9);
  EXPECT_GT(f.rms[0], f.rms[4]);
  v.scan = RmsScan::Wavelength;
  const RmsVersusResult w = ComputeRmsVersus(t.d, s, v);
  ASSERT_EQ(w.error, "");
  for (double r : w.rms) EXPECT_NEAR(r, 0, 1e-9);
  // The diffraction limit grows with wavelength.
  EXPECT_GT(w.airy.back(), w.airy.front());
}

TEST(GeometricPsf, DensityPeaksAtOneAndHoldsEveryRay) {
  TestDesign t;
  Paraboloid(t);
  GeoPsfSettings p;
  p.field = 1;
  const GeoPsfResult r = ComputeGeometricPsf(t.d, SettingsOf(t), p);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.density.size(), 41u * 41u);
  double peak = 0;
  for (double v : r.density) peak = std::max(peak, v);
  EXPECT_DOUBLE_EQ(peak, 1.0);
}


TEST(FocusScans, LandingOneTraceMatchesTracingAnewAndPeaksAtFocus) {
  // The focus scan carries one trace to each image plane: its RMS must be the
  // one of a bundle traced from the start at that focus, for a field point
  // with coma and astigmatism.
  TestDesign t;
  Paraboloid(t, 0.5);
  FamilySettings s = SettingsOf(t);
  RmsVersusSettings v;
  v.field = 1;
  v.defocus = 0.3;
  v.steps = 6;
  const RmsVersusResult r = ComputeRmsVersus(t.d, s, v);
  ASSERT_EQ(r.error, "");
  for (std::size_t i = 0; i < r.x.size(); ++i)
    EXPECT_NEAR(r.rms[i], PolychromaticRms(t.d, s, 1, r.x[i]), 1e-12) << r.x[i];
  // On axis the geometric MTF through focus is the diffraction value at focus.
  GeoMtfSettings m;
  m.fields = {0};
  m.frequency = 50;
  m.defocus = 0.2;
  m.focusSteps = 4;
  const GeoMtfResult f = ComputeGeometricMtfFocus(t.d, s, m);
  ASSERT_EQ(f.error, "");
  EXPECT_NEAR(f.tangential[0][2], DiffractionMtf(50, f.cutoff), 1e-9);
  EXPECT_LT(f.tangential[0][0], f.tangential[0][2]);
  EXPECT_LT(f.tangential[0][4], f.tangential[0][2]);
}

TEST(LateralColour, OnlyWavelengthOneCheckedComparesEveryOneInUse) {
  TestDesign t;
  Singlet(t);
  FamilySettings s = SettingsOf(t);  // only wavelength 1 checked
  const LateralColourResult r = ComputeLateralColour(t.d, s, 2);
  EXPECT_EQ(r.wavelengths, (std::vector<int>{2, 3}));
}

}  // namespace
}  // namespace ovrin
