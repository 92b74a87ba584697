#include "optimise/error_function.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "core/number_text.h"
#include "optimise/optimiser.h"
#include "optimise_designs.h"

namespace ovrin {
namespace {

using testing::BuildParaboloid;
using testing::BuildTriplet;
using testing::TestDesign;
using testing::WindowOn;

// --- ray sets ---------------------------------------------------------------------------

TEST(RaySets, SquareWeightsTheLowerHalfZoneTwiceAndLeavesTheUpperOneOut) {
  const RaySet s = BuildRaySet(RaySetKind::Square, 10);
  ASSERT_EQ(s.RayCount, 13);
  EXPECT_EQ(s.PupilY[8], s.PupilY[6]);
  EXPECT_EQ(s.PupilX[8], s.PupilX[6]);
  EXPECT_EQ(s.PupilY[6], -5.0);
  int lower = 0;
  for (int i = 1; i <= 13; ++i) {
    EXPECT_FALSE(s.PupilY[i] == 5.0 && s.PupilX[i] == 0.0) << "ray " << i;
    if (s.PupilY[i] == -5.0 && s.PupilX[i] == 0.0) ++lower;
    EXPECT_EQ(s.RayWeight[i], 1.0f / 13.0f);
  }
  EXPECT_EQ(lower, 2);
}

TEST(RaySets, RingSetsKeepTheirRadiiAndTheirTabledWeights) {
  const RaySet g = BuildRaySet(RaySetKind::Gaussian, 2);
  ASSERT_EQ(g.RayCount, 18);
  const double radii[3] = {0.3357, 0.7071, 0.942};
  for (int i = 1; i <= 18; ++i) {
    const double r = std::hypot(g.PupilY[i], g.PupilX[i]);
    EXPECT_NEAR(r, 2 * radii[(i - 1) % 3], 1e-12) << i;
  }
  EXPECT_EQ(g.RayWeight[4], 0.0463f);  // block 2, inner ring
  EXPECT_EQ(g.RayWeight[5], 0.07407f);
  EXPECT_EQ(g.PupilY[4], 0.0);
  EXPECT_GT(g.PupilX[4], 0.0);
  EXPECT_LT(g.PupilX[13], 0.0);

  const RaySet r = BuildRaySet(RaySetKind::Radau, 1);
  ASSERT_EQ(r.RayCount, 20);
  EXPECT_EQ(r.PupilY[1], 0.0);
  EXPECT_EQ(r.PupilX[20], 0.0);
  EXPECT_EQ(r.RayWeight[20], 0.0313f);
  double sum = 0;
  for (int i = 1; i <= 20; ++i) sum += r.RayWeight[i];
  // The table's weights as they are, not normalised to 1.
  EXPECT_NEAR(sum, 2 * 0.0313 + 6 * (0.0548 + 0.0647 + 0.03674), 1e-6);
  EXPECT_NEAR(std::hypot(r.PupilY[19], r.PupilX[19]), 0.9546, 1e-12);
}

// --- the window's model ----------------------------------------------------------------------

TEST(OptimiseWindowModel, DefaultsWavelengthBoxesAndTheGrid) {
  TestDesign t;
  BuildTriplet(t);
  t.d.Wavelength[1] = 0.4861f;  // a second wavelength in use, the rest 0
  t.sheet.Cell(2, 3) = "0";     // a plane: radius 1e11
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t);
  EXPECT_EQ(s.TxtDamping, "0.00001");
  EXPECT_EQ(s.Text9, "0.01");
  EXPECT_EQ(s.Text11, "0.8");
  EXPECT_EQ(s.Text13, "0.7");
  EXPECT_EQ(s.Cell(0, 2), " Curv.Radius");
  EXPECT_EQ(s.Cell(7, 0), "Img");
  EXPECT_EQ(s.Cell(2, 2), "0.0000");  // above 11111111: shown as a plane
  EXPECT_EQ(s.Cell(1, 2), "21.2500");
  EXPECT_EQ(s.checkCaption[1], "0.4861");
  // The back focal length cell holds the present one until a target is typed,
  // which a refresh keeps.
  EXPECT_EQ(s.Cell(6, 4), FormatFixed(t.d.Bfl, 4));
  s.Cell(6, 4) = "40";
  RefreshOptimiseSheet(s, t.d);
  EXPECT_EQ(s.Cell(6, 4), "40");
  EXPECT_EQ(s.Cell(5, 4), "3.0000");
  // A wavelength of value 0 cannot be chosen.
  EXPECT_FALSE(s.checkVisible[2]);
  s.checked[2] = true;
  RefreshOptimiseSheet(s, t.d);
  EXPECT_FALSE(s.checked[2]);
  EXPECT_FALSE(s.weightEnabled[2]);
  // Unchecked and checked again: the weight is "1".
  s.weights[1] = "3";
  SetWavelengthChecked(s, 1, false);
  SetWavelengthChecked(s, 1, true);
  EXPECT_EQ(s.weights[1], "1");
  EXPECT_TRUE(s.weightEnabled[1]);
  // 101 iterations are refused at the keystroke.
  s.Text1 = "101";
  EXPECT_EQ(CheckIterationText(s), kMaxIterationsMessage);
  EXPECT_EQ(s.Text1, "100");
  s.Text1 = "100";
  EXPECT_EQ(CheckIterationText(s), "");
}

// --- focus -------------------------------------------------------------------------------------

TEST(ComputeFocus, ParaxialFocusIsTheUpdatesFocus) {
  TestDesign t;
  BuildTriplet(t);
  ASSERT_TRUE(t.Update().ok);
  ErrorContext c(t.d);
  c.Configure(WindowOn(t));
  ComputeFocus(c);
  EXPECT_NEAR(c.FocusEfl, t.d.Efl, 1e-9);
  // The update takes the 1e-7 floor for a zero slope and this one 1e-6; a
  // real system never has either.
  EXPECT_NEAR(c.FocusBfl, t.d.Bfl, 1e-9);
}

TEST(ComputeFocus, SpotBestFocusOfASphericalMirrorLiesInsideTheCaustic) {
  TestDesign t;
  BuildParaboloid(t, 0.0);  // a sphere: the margin focuses short of the paraxial focus
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t, true);
  s.OptionParaxial = false;
  s.OptionBestFocal = true;
  ErrorContext c(t.d);
  c.Configure(s);
  ComputeFocus(c);
  const double paraxial = t.d.Bfl;
  // Longitudinal spherical aberration of the margin, h^2 / (4 R) for a mirror.
  const double margin = 50.0 * 50.0 / (4 * 2000.0);
  ASSERT_LT(paraxial, 0);
  const double shift = c.FocusBfl - paraxial;
  EXPECT_GT(shift, 0.2 * margin);  // towards the mirror (the distances are negative)
  EXPECT_LT(shift, 0.9 * margin);
  // And the spread of the evaluation rays is smaller there.
  c.keepPictures = false;
  EvaluateSpot(c, paraxial);
  double at_paraxial = 0;
  for (int i = 1; i <= c.M; ++i) at_paraxial += c.residual[i] * c.residual[i];
  EvaluateSpot(c, c.FocusBfl);
  double at_best = 0;
  for (int i = 1; i <= c.M; ++i) at_best += c.residual[i] * c.residual[i];
  EXPECT_LT(at_best, 0.5 * at_paraxial);
}

TEST(ComputeFocus, WavefrontBestFocusFallsBackToTheParaxialFocus) {
  TestDesign t;
  BuildParaboloid(t, 0.0);
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t, true);
  s.Option1 = false;
  s.Option2 = true;
  s.OptionParaxial = false;
  s.OptionBestFocal = true;
  ErrorContext c(t.d);
  c.Configure(s);
  ComputeFocus(c);
  EXPECT_EQ(c.FocusBfl, t.d.Bfl);
  EXPECT_EQ(c.focusMessage, "");
  // Without the reference wavelength the box comes first.
  c.checked[0] = false;
  ComputeFocus(c);
  EXPECT_EQ(c.focusMessage, kReferenceWlMessage);
  EXPECT_EQ(c.FocusBfl, t.d.Bfl);
}

// --- residuals --------------------------------------------------------------------------------------

TEST(EvaluateSpot, APerfectMirrorOnAxisHasNoResiduals) {
  TestDesign t;
  BuildParaboloid(t);
  ASSERT_TRUE(t.Update().ok);
  for (RaySetKind kind : {RaySetKind::Square, RaySetKind::Gaussian, RaySetKind::Radau}) {
    ErrorContext c(t.d);
    c.Configure(WindowOn(t, true));
    c.rays = BuildRaySet(kind, t.d.EntrBeamSemiDiam);
    ComputeFocus(c);
    EvaluateSpot(c, c.FocusBfl);
    EXPECT_EQ(c.M, 2 * c.rays.RayCount);
    for (int i = 1; i <= c.M; ++i) EXPECT_LT(c.residual[i], 1e-9) << i;
    EvaluateWavefront(c, c.FocusBfl);
    EXPECT_EQ(c.M, 2 * c.rays.RayCount);
    for (int i = 1; i <= c.M; ++i) EXPECT_LT(c.residual[i], 1e-9) << i;
  }
}

TEST(EvaluateSpot, AFieldOfWeightZeroIsTracedAndDrawnButCountsNothing) {
  TestDesign t;
  BuildTriplet(t);
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t);
  s.Text13 = "0";
  ErrorContext c(t.d);
  c.Configure(s);
  ComputeFocus(c);
  EvaluateSpot(c, c.FocusBfl);
  ASSERT_EQ(c.M, 36);
  for (int i = 19; i <= 36; ++i) EXPECT_EQ(c.residual[i], 0.0);
  double field1 = 0;
  for (int i = 1; i <= 18; ++i) field1 += c.residual[i];
  EXPECT_GT(field1, 0);
  EXPECT_EQ(c.pictures[1].size(), 19u);
}

TEST(EvaluateSpot, ResidualsAreWeightedDistancesFromTheCentroid) {
  TestDesign t;
  BuildTriplet(t);
  ASSERT_TRUE(t.Update().ok);
  ErrorContext c(t.d);
  OptimiseSheet s = WindowOn(t);
  c.Configure(s);
  ComputeFocus(c);
  EvaluateSpot(c, c.FocusBfl);
  const std::vector<double> base(c.residual.begin(), c.residual.begin() + c.M + 1);
  // Four times the field weight doubles that field's residuals and leaves the other.
  s.Text13 = "2.8";
  c.Configure(s);
  EvaluateSpot(c, c.FocusBfl);
  for (int i = 1; i <= 18; ++i) EXPECT_DOUBLE_EQ(c.residual[i], base[i]);
  for (int i = 19; i <= 36; ++i) EXPECT_NEAR(c.residual[i], 2 * base[i], 1e-15);
  // The spot of the off-axis field is larger than the axial one.
  double axial = 0, off = 0;
  for (int i = 1; i <= 18; ++i) axial += base[i] * base[i];
  for (int i = 19; i <= 36; ++i) off += base[i] * base[i] / 0.7;
  EXPECT_GT(off, axial);
}

TEST(EvaluateSpot, NoWavelengthCheckedDividesByZero) {
  TestDesign t;
  BuildTriplet(t);
  ASSERT_TRUE(t.Update().ok);
  ErrorContext c(t.d);
  OptimiseSheet s = WindowOn(t);
  s.checked[0] = false;
  c.Configure(s);
  EXPECT_THROW(EvaluateSpot(c, t.d.Bfl), NumericFault);
  s.checked[0] = true;
  s.weights[0] = "0";  // a typed weight of 0 on the only wavelength
  c.Configure(s);
  EXPECT_THROW(EvaluateSpot(c, t.d.Bfl), NumericFault);
}

TEST(EvaluateWavefront, DefocusGivesAQuadraticWavefrontProportionalToTheShift) {
  TestDesign t;
  BuildParaboloid(t);
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t, true);
  s.Option1 = false;
  s.Option2 = true;
  ErrorContext c(t.d);
  c.Configure(s);
  ComputeFocus(c);
  EvaluateWavefront(c, c.FocusBfl + 0.1);
  const std::vector<double> one(c.residual.begin(), c.residual.begin() + c.M + 1);
  EvaluateWavefront(c, c.FocusBfl + 0.2);
  for (int i = 1; i <= 18; ++i) EXPECT_NEAR(c.residual[i], 2 * one[i], 0.01 * one[i]) << i;
  // The three rays of a ring agree; the rings differ.
  EXPECT_NEAR(one[1], one[4], 1e-12);
  EXPECT_NEAR(one[2], one[17], 1e-12);
  EXPECT_GT(std::fabs(one[1] - one[2]), 1e-9);
  // Size: a focus shift dz gives the path difference dz (1 - cos u) for a ray
  // at angle u to the axis; the outer ring against the weighted mean.
  const double f = 1000, h = 50;
  auto opd = [&](double r) { return 0.1 * (1 - std::cos(std::atan(r * h / f))); };
  const double mean = (2 * 0.0463 * (opd(0.3357) + opd(0.942)) + 2 * 0.07407 * opd(0.7071)) /
                      (2 * 0.0463 * 2 + 2 * 0.07407);
  EXPECT_NEAR(one[3], std::fabs(opd(0.942) - mean) * std::sqrt(0.0463f), 0.02 * one[3]);
}

}  // namespace
}  // namespace ovrin
