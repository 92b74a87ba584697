// Diffraction encircled energy and the colour image of a star against closed
// forms: the Airy pattern's energy, a Gaussian spot, and the growth of the
// Airy disc with the wavelength.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/wave/colour_image.h"
#include "analysis/wave/diffraction_energy.h"
#include "core/design_file.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

// A concave paraboloid of diameter 200 at f/8, at the wavelengths given.
TestDesign Paraboloid(std::vector<float> wavelengths = {0.5461f}) {
  TestDesign t;
  SurfaceSpec s{101, -3200, 0, SurfaceSpec::AirNegat};
  s.type = kConic, s.conic = -1;
  Build(t, {s}, 100, 0, wavelengths);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

TEST(PerfectEnergy, TheAiryPatternsRings) {
  // The textbook figures: 83.8 % within the first dark ring, 91.0 % within
  // the second, 93.8 % within the third.
  EXPECT_NEAR(PerfectEncircledEnergy(3.831706), 0.838, 0.001);
  EXPECT_NEAR(PerfectEncircledEnergy(7.015587), 0.910, 0.001);
  EXPECT_NEAR(PerfectEncircledEnergy(10.173468), 0.938, 0.001);
  EXPECT_EQ(PerfectEncircledEnergy(0), 0);
  // Small circles hold the central intensity times the area: v^2 / 4.
  EXPECT_NEAR(PerfectEncircledEnergy(0.01), 0.01 * 0.01 / 4, 1e-9);
  double last = 0;
  for (double v = 0.1; v < 30; v += 0.1) {
    const double e = PerfectEncircledEnergy(v);
    EXPECT_GE(e, last - 1e-12) << v;
    last = e;
  }
  EXPECT_NEAR(FirstDarkRing(0.0005, 8), 1.21967 * 0.004, 1e-8);
}

TEST(EncircledFromArray, GaussianSpotOfAFewSamples) {
  // A round Gaussian of sigma 2.5 samples: 1 - exp(-r^2 / 2 sigma^2) within r,
  // also for circles smaller than a sample.
  const int F = 64;
  const double sigma = 2.5;
  std::vector<double> P(F * F);
  for (int i = 0; i < F; ++i)
    for (int j = 0; j < F; ++j) {
      const double y = i - F / 2, x = j - F / 2;
      P[i * F + j] = std::exp(-(x * x + y * y) / (2 * sigma * sigma));
    }
  const std::vector<double> radii{0.4, 1, 2.5, 4, 7, 12};
  const std::vector<double> e = EncircledFromArray(P, F, radii);
  for (size_t k = 0; k < radii.size(); ++k)
    EXPECT_NEAR(e[k], 1 - std::exp(-radii[k] * radii[k] / (2 * sigma * sigma)), 1e-6) << radii[k];
}

TEST(EncircledFromArray, EmptyOrShortArraysGiveNothing) {
  EXPECT_EQ(EncircledFromArray(std::vector<double>(16, 0.0), 4, {1.0})[0], 0);
  EXPECT_EQ(EncircledFromArray(std::vector<double>(3, 1.0), 4, {1.0})[0], 0);
}

TEST(DiffractionEnergy, PerfectPupilHolds838PercentAtTheFirstDarkRing) {
  TestDesign t = Paraboloid();
  for (int grid : {32, 64, 128}) {
    DiffEnergySettings s;
    s.grid = grid;
    s.actualBfl = t.d.Bfl + 0.002;  // a hundredth of a wave: no sample is exactly 0
    const DiffEnergyResult r = ComputeDiffractionEnergy(t.d, s);
    ASSERT_TRUE(r.ok) << grid;
    EXPECT_NEAR(r.darkRingMm, 1.21967 * 0.0005461 * 8, 1e-7);
    EXPECT_NEAR(r.atDarkRing, 0.838, 0.00838) << grid;
    EXPECT_NEAR(r.perfectAtDarkRing, 0.838, 0.001);
    // The whole curve follows the perfect aperture's.
    for (size_t k = 0; k < r.energy.size(); ++k) EXPECT_NEAR(r.energy[k], r.perfect[k], 0.02) << grid << " " << k;
    EXPECT_GT(r.radius50Mm, 0);
    EXPECT_LT(r.radius50Mm, r.darkRingMm);
    EXPECT_GT(r.radius90Mm, r.darkRingMm);
  }
}

TEST(DiffractionEnergy, RaysThatMeetTheReferenceSphereExactlyStillCarryLight) {
  // At the exact focus of a paraboloid many samples have W exactly 0; they
  // are light, not holes in the pupil.
  TestDesign t = Paraboloid();
  DiffEnergySettings s;
  s.actualBfl = t.d.Bfl;
  const DiffEnergyResult r = ComputeDiffractionEnergy(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.atDarkRing, 0.838, 0.00838);
  EXPECT_GT(r.Strehl, 0.999f);
}

// The energy of a perfect annular aperture (obstruction e of the diameter)
// within v: [1 - J0(v)^2 - J1(v)^2 + e^2 (1 - J0(ev)^2 - J1(ev)^2)
// - 4 e Int_0^v J1(t) J1(et) / t dt] / (1 - e^2).
double AnnulusEnergy(double v, double e) {
  auto j = [](int n, double x) { return std::cyl_bessel_j(static_cast<double>(n), x); };
  const int steps = 2000;  // Simpson's rule; the integrand tends to e t / 4 at 0
  const double h = v / steps;
  double sum = 0;
  for (int k = 0; k <= steps; ++k) {
    const double t = k * h;
    const double f = t == 0 ? 0 : j(1, t) * j(1, e * t) / t;
    sum += f * (k == 0 || k == steps ? 1 : (k % 2 ? 4 : 2));
  }
  const double integral = sum * h / 3;
  return (1 - j(0, v) * j(0, v) - j(1, v) * j(1, v) +
          e * e * (1 - j(0, e * v) * j(0, e * v) - j(1, e * v) * j(1, e * v)) - 4 * e * integral) /
         (1 - e * e);
}

TEST(DiffractionEnergy, ObstructedNewtonianAgainstTheAnnulusClosedForm) {
  // The example Newtonian: a paraboloid of 200 mm behind a screen of 50 mm.
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(ReadDesignFile(testing::ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  EXPECT_NEAR(AnnulusEnergy(3.831706, 0), 0.838, 0.001);
  DiffEnergySettings s;
  s.grid = 128;
  s.actualBfl = d.Bfl;
  s.points = 12;
  const DiffEnergyResult r = ComputeDiffractionEnergy(d, s);
  ASSERT_TRUE(r.ok);
  const double v_per_mm = 3.141592653589793 / (r.waveLenMm * r.focalRatio);
  for (size_t k = 1; k < r.radiusMm.size(); ++k)
    EXPECT_NEAR(r.energy[k], AnnulusEnergy(v_per_mm * r.radiusMm[k], 0.25), 0.01) << k;
}

TEST(DiffractionEnergy, DefocusSpreadsTheLight) {
  TestDesign t = Paraboloid();
  // Half a wave of defocus at f/8: dz = 8 lambda N^2 x 0.5.
  DiffEnergySettings s;
  s.actualBfl = t.d.Bfl + 4 * 0.0005461 * 64;
  const DiffEnergyResult r = ComputeDiffractionEnergy(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_LT(r.atDarkRing, 0.6);
  EXPECT_LT(r.Strehl, 0.5f);
  EXPECT_GT(r.radius80Mm, r.darkRingMm);
}

TEST(DiffractionEnergy, AFailedRayIsReported) {
  TestDesign t = Paraboloid();
  DiffEnergySettings s;
  s.wavelength = 3;  // not in use
  s.actualBfl = t.d.Bfl;
  const DiffEnergyResult r = ComputeDiffractionEnergy(t.d, s);
  EXPECT_FALSE(r.ok);
}

TEST(ColourImage, SpectrumColours) {
  const Rgb blue = SpectrumColour(0.45), green = SpectrumColour(0.53), red = SpectrumColour(0.656);
  EXPECT_GT(blue.b, blue.r + blue.g);
  EXPECT_GT(green.g, green.r);
  EXPECT_GT(green.g, green.b);
  EXPECT_EQ(red.r, 255);
  EXPECT_EQ(red.b, 0);
  EXPECT_TRUE(SpectrumColour(0.30).IsZero());
  EXPECT_TRUE(SpectrumColour(1.01).IsZero());
}

TEST(ColourImage, RedDiscIsWiderThanTheBlue) {
  TestDesign t = Paraboloid({0.4861f, 0.5461f, 0.6563f});
  ColourImageSettings s;
  s.actualBfl = t.d.Bfl + 0.002;
  s.pixels = 121;
  const ColourImageResult r = ComputeColourImage(t.d, s);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.layers.size(), 3u);
  const int n = r.pixels, c = n / 2;
  auto at = [&](int row, int col) { return r.image[static_cast<size_t>(row) * n + col]; };
  // A star on axis is brightest in the middle and round.
  int peak = 0;
  for (const Rgb& p : r.image) peak = std::max(peak, p.r + p.g + p.b);
  EXPECT_EQ(at(c, c).r + at(c, c).g + at(c, c).b, peak);
  for (int k = 1; k < 20; ++k) {
    EXPECT_NEAR(at(c, c + k).g, at(c, c - k).g, 2) << k;
    EXPECT_NEAR(at(c + k, c).g, at(c, c + k).g, 2) << k;
  }
  // At the blue light's first dark ring the red light is still bright.
  const double ring_mm = FirstDarkRing(0.0004861, 8);
  const int k = static_cast<int>(std::lround(ring_mm / (r.widthMm / n)));
  EXPECT_GT(at(c, c + k).r, at(c, c + k).b + 20);
  // The sky beyond the rings is black.
  EXPECT_LT(at(0, 0).r + at(0, 0).g + at(0, 0).b, 60);
}

TEST(ColourImage, NoWavelengthChosenFails) {
  TestDesign t = Paraboloid();
  ColourImageSettings s;
  s.checked = {false, false, false, false, false, false};
  s.actualBfl = t.d.Bfl;
  EXPECT_FALSE(ComputeColourImage(t.d, s).ok);
}

}  // namespace
}  // namespace ovrin
