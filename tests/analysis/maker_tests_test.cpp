// The bench and sky tests of a mirror against what a telescope maker knows of
// them: the Ronchi bands and Foucault readings of a paraboloid and a sphere
// from the closed forms of the two tests, the fringe count of a defocused
// wave front, and the symmetry of the star test about the focus.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/wave/maker_tests.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

constexpr double kR = 2000;  // radius of curvature of the 200 mm f/5 mirrors
constexpr double kA = 100;   // their half-diameter

TestDesign Mirror(bool paraboloid) {
  TestDesign t;
  SurfaceSpec s{kA, -kR, 0, SurfaceSpec::AirNegat};
  if (paraboloid) s.type = kConic, s.conic = -1;
  Build(t, {s}, kA);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

// ---------------------------------------------------------------------------
// Interferogram

// Dark fringes met along the row through the centre, from the centre to the edge.
int DarkFringesAlongRadius(const InterferogramResult& r) {
  const int mid = r.size / 2;
  int count = 0;
  for (int col = mid + 1; col + 1 < r.size; ++col) {
    const double a = r.intensity[static_cast<size_t>(mid) * r.size + col - 1];
    const double b = r.intensity[static_cast<size_t>(mid) * r.size + col];
    const double c = r.intensity[static_cast<size_t>(mid) * r.size + col + 1];
    if (a < 0 || b < 0 || c < 0) continue;
    if (b < a && b <= c && b < 0.3) ++count;
  }
  return count;
}

TEST(Interferogram, PureDefocusGivesCircularFringesCountedByThePeakToValley) {
  TestDesign t = Mirror(true);
  InterferogramSettings s;
  s.grid = 128;
  s.testMicrons = 0.5461;
  // Half a millimetre from the focus of an f/5 beam: delta (1 - cos u) of path.
  const double shift = 0.5;
  s.actualBfl = t.d.Bfl + shift;
  const InterferogramResult r = ComputeInterferogram(t.d, s);
  ASSERT_TRUE(r.ok);
  const double sin_u = kA / (kR / 2);
  const double pv = shift * (1 - std::sqrt(1 - sin_u * sin_u)) / 0.5461e-3;
  EXPECT_NEAR(r.PV, pv, 0.02 * pv);
  EXPECT_NEAR(r.fringes, r.PV, 1e-9);
  // Every whole wave from the centre to the edge is one dark ring.
  const int dark = DarkFringesAlongRadius(r);
  EXPECT_GE(dark, static_cast<int>(std::floor(pv)));
  EXPECT_LE(dark, static_cast<int>(std::ceil(pv)));
  // Circles: the same brightness at the same radius in four directions.
  const int mid = r.size / 2;
  for (int d : {20, 45, 70, 100}) {
    const auto at = [&](int row, int col) { return r.intensity[static_cast<size_t>(row) * r.size + col]; };
    EXPECT_NEAR(at(mid, mid + d), at(mid + d, mid), 0.05) << d;
    EXPECT_NEAR(at(mid, mid + d), at(mid, mid - d - 1), 0.05) << d;
  }
}

TEST(Interferogram, TiltFringesAreStraightAndTestWavelengthAndPassesScaleTheCount) {
  TestDesign t = Mirror(true);
  InterferogramSettings s;
  s.grid = 64;
  s.actualBfl = t.d.Bfl;
  s.tiltX = 6;
  const InterferogramResult r = ComputeInterferogram(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_LT(r.PV, 0.01);               // the paraboloid itself is perfect
  EXPECT_NEAR(r.fringes, 6, 0.3);      // six fringes across the pupil
  // Vertical bands: each column has one brightness from top to bottom.
  const int mid = r.size / 2;
  for (int col = mid - 60; col <= mid + 60; col += 10)
    EXPECT_NEAR(r.intensity[static_cast<size_t>(mid - 50) * r.size + col],
                r.intensity[static_cast<size_t>(mid + 50) * r.size + col], 0.03);

  // A defocused mirror: a longer test wavelength shows fewer waves, a double pass twice as many.
  s.tiltX = 0;
  s.actualBfl = t.d.Bfl + 0.3;
  s.testMicrons = 0.5461;
  const double own = ComputeInterferogram(t.d, s).PV;
  s.testMicrons = 0.6328;
  EXPECT_NEAR(ComputeInterferogram(t.d, s).PV, own * 0.5461 / 0.6328, 1e-6 * own);
  s.doublePass = true;
  EXPECT_NEAR(ComputeInterferogram(t.d, s).PV, 2 * own * 0.5461 / 0.6328, 1e-6 * own);
  // Added focus of -PV cancels the design's own: almost no fringe is left.
  s.doublePass = false;
  s.testMicrons = 0.5461;
  const InterferogramResult d0 = ComputeInterferogram(t.d, s);
  s.defocus = d0.W[static_cast<size_t>(32) * 64 + 62] > 0 ? -d0.PV : d0.PV;
  EXPECT_LT(ComputeInterferogram(t.d, s).fringes, 0.05 * own);
}

// ---------------------------------------------------------------------------
// Ronchigram

// The columns of the middle pixel row where the picture turns from dark to bright or back.
std::vector<int> Edges(const RonchiResult& r, int row) {
  std::vector<int> out;
  for (int col = 1; col < r.size; ++col) {
    const char a = r.state[static_cast<size_t>(row) * r.size + col - 1];
    const char b = r.state[static_cast<size_t>(row) * r.size + col];
    if (a != 0 && b != 0 && a != b) out.push_back(col);
  }
  return out;
}

// The x at which the rays of a pixel row reach gx = value on the grating.
double CrossingOnRow(const RonchiResult& r, int row, double value) {
  for (int col = r.size / 2; col + 1 < r.size; ++col) {
    const double a = r.GxAt(row, col), b = r.GxAt(row, col + 1);
    if (std::isnan(a) || std::isnan(b)) continue;
    if ((a - value) * (b - value) <= 0 && a != b) return r.X(col) + (value - a) / (b - a) * (r.X(col + 1) - r.X(col));
  }
  return NAN;
}

// Straight bands: every row crosses the same edges, and evenly spaced ones.
void ExpectStraightEvenBands(const RonchiResult& r, int min_edges) {
  const int mid = r.size / 2;
  const std::vector<int> centre = Edges(r, mid);
  ASSERT_GE(static_cast<int>(centre.size()), min_edges);
  for (size_t k = 2; k < centre.size(); ++k)
    EXPECT_NEAR(centre[k] - centre[k - 1], centre[1] - centre[0], 1.5) << k;
  for (int row : {mid - r.size / 5, mid + r.size / 4}) {
    const std::vector<int> e = Edges(r, row);
    // A row off the middle is shorter: it may lose the outermost edges.
    for (int col : e) {
      bool found = false;
      for (int c0 : centre) found = found || std::abs(c0 - col) <= 1;
      EXPECT_TRUE(found) << "row " << row << " edge " << col;
    }
  }
}

TEST(Ronchigram, ParaboloidAtFocusShowsStraightEvenlySpacedBands) {
  TestDesign t = Mirror(true);
  RonchiSettings s;
  s.actualBfl = t.d.Bfl;
  s.offset = 5;
  s.lines = 100;
  s.size = 401;
  const RonchiResult r = ComputeRonchigram(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.period, 0.254, 1e-12);
  // Every ray passes the focus: at 5 mm beyond it the beam is 2 a 5 / f wide.
  EXPECT_NEAR(r.bands, 2 * kA * 5 / (kR / 2) / 0.254, 0.05);
  ExpectStraightEvenBands(r, 3);
  // Inside the focus the beam has not yet crossed: the picture turns over.
  s.offset = -5;
  const RonchiResult inside = ComputeRonchigram(t.d, s);
  ASSERT_TRUE(inside.ok);
  EXPECT_LT(r.GxAt(200, 300) * inside.GxAt(200, 300), 0);
}

TEST(Ronchigram, SphereAtItsCentreShowsStraightBands) {
  TestDesign t = Mirror(false);
  RonchiSettings s;
  s.setup = RonchiSetup::MirrorCentre;
  s.offset = 3;
  s.size = 401;
  const RonchiResult r = ComputeRonchigram(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.surface, 1);
  EXPECT_DOUBLE_EQ(r.radius, kR);
  // Source and grating 3 mm outside the centre: the image 3 mm inside, 2 delta / R.
  EXPECT_NEAR(r.bands, 2 * kA * 2 * 3 / kR / 0.254, 0.05);
  ExpectStraightEvenBands(r, 3);
  // At the centre itself every ray comes back to the source: one band fills the mirror.
  s.offset = 0;
  const RonchiResult at = ComputeRonchigram(t.d, s);
  EXPECT_LT(at.bands, 1e-6);
  EXPECT_TRUE(Edges(at, 200).empty());
}

TEST(Ronchigram, ParaboloidAtItsCentreCurvesItsBandsAsTheClosedForm) {
  TestDesign t = Mirror(true);
  RonchiSettings s;
  s.setup = RonchiSetup::MirrorCentre;
  s.offset = -3;  // 3 mm inside the centre of curvature
  s.size = 401;
  const RonchiResult r = ComputeRonchigram(t.d, s);
  ASSERT_TRUE(r.ok);
  // To the third order a zone's rays cross the axis r^2 / R beyond the
  // source's image, so on the grating x_g = x ((x^2 + y^2) / R - 2 delta) / R:
  // a band is the curve where this is constant.
  const double delta = s.offset;
  const auto closed = [&](double y, double c) {
    double x = 50;  // Newton on x (x^2 + y^2 - 2 delta R) = c R^2
    for (int i = 0; i < 50; ++i) {
      const double f = x * (x * x + y * y - 2 * delta * kR) - c * kR * kR;
      x -= f / (3 * x * x + y * y - 2 * delta * kR);
    }
    return x;
  };
  const int mid = 200, off = 100;  // pixel rows: y = 0 and y = 50 mm
  const double y1 = r.Y(mid - off);
  for (double x0 : {50.0, 70.0, 85.0}) {
    const double c = x0 * (x0 * x0 - 2 * delta * kR) / (kR * kR);
    const double at_mid = CrossingOnRow(r, mid, c), at_y1 = CrossingOnRow(r, mid - off, c);
    const double bow = at_mid - at_y1, expected = closed(0, c) - closed(y1, c);
    EXPECT_GT(expected, 5);
    EXPECT_NEAR(bow, expected, 0.02 * expected) << x0;
  }
  // The bands bow: the same band lies further out on the axis than above it.
  const std::vector<int> e_mid = Edges(r, mid), e_up = Edges(r, mid - off);
  ASSERT_FALSE(e_mid.empty());
  ASSERT_FALSE(e_up.empty());
  EXPECT_GT(e_mid.back(), e_up.back() + 3);
}

// ---------------------------------------------------------------------------
// Foucault

TEST(Foucault, ParaboloidZonesReadSquareOverRadius) {
  TestDesign t = Mirror(true);
  FoucaultSettings s;
  s.zones = 6;
  const FoucaultResult moving = ComputeFoucault(t.d, s);
  ASSERT_TRUE(moving.ok) << moving.message;
  ASSERT_EQ(moving.zones.size(), 6u);
  for (const FoucaultZone& z : moving.zones) {
    // Source and knife together: the zone's normals meet the axis r^2 / 2R further out.
    EXPECT_NEAR(z.ideal, z.centre * z.centre / (2 * kR), 1e-6) << z.centre;
    EXPECT_GT(z.outer, z.inner);
  }
  // Equal areas: the zone edges go as the root of the zone number.
  EXPECT_NEAR(moving.zones[0].outer, kA / std::sqrt(6.0), 1e-9);
  EXPECT_NEAR(moving.zones[5].outer, kA, 1e-9);

  s.movingSource = false;
  const FoucaultResult fixed = ComputeFoucault(t.d, s);
  ASSERT_TRUE(fixed.ok);
  for (const FoucaultZone& z : fixed.zones) {
    // A fixed source: the reflected rays cross twice as far, r^2 / R, to the third order.
    const double h = z.centre;
    EXPECT_NEAR(z.ideal, h * h / kR, 2 * std::pow(h, 4) / std::pow(kR, 3)) << h;
  }
}

TEST(Foucault, SphereReadsNothingAndDarkensEvenlyAtItsCentre) {
  TestDesign t = Mirror(false);
  for (bool moving : {true, false}) {
    FoucaultSettings s;
    s.movingSource = moving;
    const FoucaultResult r = ComputeFoucault(t.d, s);
    ASSERT_TRUE(r.ok);
    for (const FoucaultZone& z : r.zones) EXPECT_NEAR(z.ideal, 0, 1e-9);
    // The knife at the centre cuts every ray's image in half: an even grey.
    int lit = 0;
    for (double v : r.intensity)
      if (v >= 0) {
        EXPECT_NEAR(v, 0.5, 1e-6);
        ++lit;
      }
    EXPECT_GT(lit, r.size * r.size / 2);
  }
}

TEST(Foucault, ParaboloidPictureShowsItsZonesAndItsReadingsReduceToTheWaveFront) {
  TestDesign t = Mirror(true);
  FoucaultSettings s;
  s.zones = 20;
  // The knife at the 70 % zone: that zone is grey, the centre and the edge are not.
  s.knifeOffset = 0.7 * 0.7 * kA * kA / (2 * kR);
  s.size = 201;
  const FoucaultResult pic = ComputeFoucault(t.d, s);
  ASSERT_TRUE(pic.ok);
  const auto at = [&](int col) { return pic.intensity[static_cast<size_t>(100) * 201 + col]; };
  EXPECT_NEAR(at(100 + 70), 0.5, 0.05);
  EXPECT_NEAR(at(100 - 70), 0.5, 0.05);
  // Shades of a doughnut: one side of the edge lit where the other is dark.
  EXPECT_GT(std::fabs(at(100 + 97) - at(100 - 97)), 0.9);

  // The readings of a perfect mirror, taken with another zero: no error.
  std::vector<double> perfect;
  for (const FoucaultZone& z : pic.zones) perfect.push_back(z.ideal + 0.37);
  s.measured = perfect;
  const FoucaultResult good = ComputeFoucault(t.d, s);
  ASSERT_TRUE(good.ok);
  EXPECT_LT(good.PV, 1e-6);
  EXPECT_NEAR(good.Strehl, 1, 1e-9);

  // A sphere offered as the paraboloid (every zone reads the same): the
  // spherical aberration of an f/5 sphere, D / (2048 N^3) at best focus.
  s.measured.assign(20, 1.5);
  const FoucaultResult sphere = ComputeFoucault(t.d, s);
  ASSERT_TRUE(sphere.ok);
  const double pv = 200.0 / (2048 * 125) / (s.microns * 1e-3);
  EXPECT_NEAR(sphere.PV, pv, 0.03 * pv);
  // The residual zone errors have the shape of spherical aberration: the
  // centre and the edge on one side, the 70 % zone on the other.
  EXPECT_LT(sphere.zones[9].wave * sphere.zones[19].wave, 0);
  ASSERT_EQ(sphere.table.size(), 2u + 20 + 1);
}

TEST(Foucault, RefusesWhatIsNotAConcaveMirrorOrAWrongNumberOfReadings) {
  TestDesign lens;
  Build(lens, {{25, 100, 5, SurfaceSpec::Direct, 1.5}, {25, -100, 95}}, 20);
  ASSERT_TRUE(lens.Update().ok);
  EXPECT_FALSE(ComputeFoucault(lens.d, {}).ok);
  EXPECT_EQ(ComputeFoucault(lens.d, {}).message, "The design has no mirror");
  RonchiSettings rs;
  rs.setup = RonchiSetup::MirrorCentre;
  EXPECT_FALSE(ComputeRonchigram(lens.d, rs).ok);

  TestDesign t = Mirror(true);
  FoucaultSettings s;
  s.measured = {1, 2};
  EXPECT_EQ(ComputeFoucault(t.d, s).message, "Give one reading for each zone");
  s.measured.clear();
  s.mirror = 2;
  EXPECT_FALSE(ComputeFoucault(t.d, s).ok);
}

// ---------------------------------------------------------------------------
// Star test

// The share of a disc's light in its outer ring (0.6 .. 1.1 of the geometric radius).
double OuterShare(const StarTestResult& r, const std::vector<double>& P) {
  const double radius = 4 * r.defocus * r.F / r.N;
  double outer = 0, all = 0;
  for (int i = 0; i < r.F; ++i)
    for (int j = 0; j < r.F; ++j) {
      const double d = std::hypot(i - r.F / 2, j - r.F / 2) / radius;
      const double v = P[static_cast<size_t>(i) * r.F + j];
      if (d < 1.3) all += v;
      if (d > 0.6 && d < 1.1) outer += v;
    }
  return outer / all;
}

TEST(StarTest, PerfectSystemLooksTheSameEitherSideOfFocus) {
  TestDesign t = Mirror(true);
  StarTestSettings s;
  s.actualBfl = t.d.Bfl;
  s.defocus = 5;
  const StarTestResult r = ComputeStarTest(t.d, s);
  ASSERT_TRUE(r.ok) << r.message;
  EXPECT_EQ(r.F, 256);
  EXPECT_LT(r.difference, 1e-6);
  EXPECT_GT(r.Strehl, 0.999);
  // A defocused perfect disc: evenly lit, its edge where the geometric cone ends.
  const double radius = 4 * 5 * 4.0;
  const auto at = [&](double rho) { return r.intra[static_cast<size_t>(128) * 256 + 128 + std::lround(rho * radius)]; };
  EXPECT_GT(at(0.5), 0.05);
  EXPECT_LT(at(1.25), 0.02 * at(0.5) + 0.01);
  EXPECT_GE(r.half, static_cast<int>(radius));
}

TEST(StarTest, SphericalAberrationMakesTheTwoSidesDiffer) {
  // An f/8 spherical mirror: a third of a wave of under-correction. Inside
  // focus the light gathers in the outer ring, outside it fades to a soft edge.
  TestDesign t;
  SurfaceSpec s0{100, -3200, 0, SurfaceSpec::AirNegat};
  Build(t, {s0}, 100);
  ASSERT_TRUE(t.Update().ok);
  StarTestSettings s;
  s.defocus = 8;
  s.grid = 128;
  // Half way between the paraxial and the marginal focus, a^2 / 4R apart.
  const double half_la = 100.0 * 100 / (4 * 3200) / 2;
  s.actualBfl = t.d.Bfl - std::copysign(half_la, t.d.Bfl);
  const StarTestResult r = ComputeStarTest(t.d, s);
  ASSERT_TRUE(r.ok) << r.message;
  EXPECT_GT(r.difference, 0.1);
  EXPECT_GT(OuterShare(r, r.intra), OuterShare(r, r.extra));
}

TEST(StarTest, RefusesMoreDefocusThanTheGridCanHold) {
  TestDesign t = Mirror(true);
  StarTestSettings s;
  s.actualBfl = t.d.Bfl;
  s.grid = 32;
  s.defocus = 5;
  const StarTestResult r = ComputeStarTest(t.d, s);
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.message.find("at most 4 waves"), std::string::npos);
  s.grid = 256;
  EXPECT_FALSE(ComputeStarTest(t.d, s).ok);
}

}  // namespace
}  // namespace ovrin
