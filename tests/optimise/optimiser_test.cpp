#include "optimise/optimiser.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <random>

#include "core/number_text.h"
#include "optimise_designs.h"

namespace ovrin {
namespace {

using testing::BuildParaboloid;
using testing::BuildTriplet;
using testing::TestDesign;
using testing::WindowOn;

double N(const std::string& s) { return ParseLeadingNumber(s); }

// --- the solve ----------------------------------------------------------------------------

TEST(DampedStep, AgreesWithAPivotingSolveAndScalesTheDiagonal) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int n : {1, 3, 6, 12}) {
    Eigen::MatrixXd j(n + 5, n);
    for (int r = 0; r < j.rows(); ++r)
      for (int c = 0; c < n; ++c) j(r, c) = u(rng);
    const Eigen::MatrixXd a = j.transpose() * j;
    Eigen::VectorXd g(n);
    for (int c = 0; c < n; ++c) g(c) = u(rng);
    for (double damping : {0.0, 1e-5, 0.3, 50.0}) {
      Eigen::MatrixXd b = a;
      for (int i = 0; i < n; ++i) b(i, i) *= damping + 1;  // multiplied, not added
      const Eigen::VectorXd expect = -b.partialPivLu().solve(g);
      std::vector<double> av(a.data(), a.data() + n * n), gv(g.data(), g.data() + n);
      const std::vector<double> x = DampedStep(av, gv, n, damping);
      for (int i = 0; i < n; ++i) EXPECT_NEAR(x[i], expect(i), 1e-9 * (1 + std::fabs(expect(i)))) << n;
    }
  }
}

TEST(DampedStep, AZeroPivotIsNotSearchedAround) {
  // Invertible, but its first pivot is 0: without a pivot search the result is not finite.
  const std::vector<double> a = {0, 1, 1, 0};
  const std::vector<double> x = DampedStep(a, {1, 1}, 2, 0.0);
  EXPECT_FALSE(std::isfinite(x[0]) && std::isfinite(x[1]));
}

// --- runs --------------------------------------------------------------------------------------

struct RunSetup {
  TestDesign t;
  OptimiseSheet opt;
  PickupTables pick;
};

void MarkAllCurvatures(OptimiseSheet& s, int n) {
  for (int i = 1; i <= n; ++i) s.Cell(i, 3) = "V";
}

TEST(OptimiseRun, NoVariablesMoveNothingAndAnEqualErrorAtTheLimitGoesOn) {
  RunSetup r;
  BuildTriplet(r.t);
  ASSERT_TRUE(r.t.Update().ok);
  const DesignState before = r.t.d;
  r.opt = WindowOn(r.t);
  r.opt.Text1 = "3";
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  run.RunAll();
  EXPECT_EQ(run.stop(), RunStop::Iterations);
  EXPECT_EQ(run.iteration(), 3);
  EXPECT_EQ(run.varCount(), 0);
  ASSERT_EQ(run.log().size(), 5u);
  EXPECT_EQ(run.log()[1].substr(0, 12), "1           ");
  EXPECT_EQ(run.log()[1].substr(run.log()[1].size() - 6), "0.0000");
  EXPECT_EQ(run.log()[4], "");
  for (int i = 1; i <= 6; ++i) {
    EXPECT_EQ(r.t.d.Radius[i], before.Radius[i]);
    EXPECT_EQ(r.t.d.Thickness[i], before.Thickness[i]);
  }
  EXPECT_EQ(run.errors().size(), 4u);
  EXPECT_EQ(run.errors()[3], run.errors()[0]);
}

TEST(OptimiseRun, AnIterationCountOfZeroOrJunkMeansTen) {
  for (const char* text : {"0", "abc", ""}) {
    RunSetup r;
    BuildTriplet(r.t);
    ASSERT_TRUE(r.t.Update().ok);
    r.opt = WindowOn(r.t);
    r.opt.Text1 = text;
    OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
    EXPECT_EQ(run.maxIterations(), 10) << text;
  }
}

TEST(OptimiseRun, LowersTheMeritOfASpoiledTripletWithItsSixCurvatures) {
  RunSetup r;
  BuildTriplet(r.t, -120.0, 160.0);
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t);
  MarkAllCurvatures(r.opt, 6);
  const double efl = r.t.d.Efl;
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  run.RunAll();
  EXPECT_EQ(run.stop(), RunStop::Iterations) << run.message();
  EXPECT_EQ(run.iteration(), 10);
  const std::vector<double>& e = run.errors();
  ASSERT_EQ(e.size(), 11u);
  EXPECT_LT(e.back(), 0.3 * e.front());
  for (std::size_t k = 1; k < e.size(); ++k) EXPECT_LE(e[k], e[k - 1] * (1 + 1e-12)) << k;
  // Written back at 4 decimals, and the focal length held near its target.
  for (int i = 1; i <= 6; ++i) {
    const std::string& cell = r.t.sheet.Cell(i, 3);
    ASSERT_GT(cell.size(), 5u);
    EXPECT_EQ(cell[cell.size() - 5], '.') << cell;
    EXPECT_EQ(r.t.d.Radius[i], N(cell));
  }
  EXPECT_NEAR(r.t.d.Efl, efl, 0.05 * efl);
  // The merit of the design the run left is the last error, but for the rounding.
  const MeritResult m = ComputeMerit(r.t.d, r.opt, r.pick);
  EXPECT_NEAR(m.ErrorBase, e.back(), 0.05 * e.back());
}

TEST(OptimiseRun, TheWavefrontModeAndTheBestFocusRunToo) {
  for (int variant = 0; variant < 2; ++variant) {
    RunSetup r;
    BuildTriplet(r.t, -120.0, 160.0);
    ASSERT_TRUE(r.t.Update().ok);
    r.opt = WindowOn(r.t);
    MarkAllCurvatures(r.opt, 6);
    r.opt.Text1 = "4";
    if (variant == 0) {
      r.opt.Option1 = false;
      r.opt.Option2 = true;
    } else {
      r.opt.OptionParaxial = false;
      r.opt.OptionBestFocal = true;
      r.opt.OptionGaussian = false;
      r.opt.OptionSquare = true;
    }
    OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
    run.RunAll();
    EXPECT_EQ(run.stop(), RunStop::Iterations) << variant << " " << run.message();
    EXPECT_EQ(run.focusMessage(), "");
    EXPECT_LT(run.errors().back(), 0.8 * run.errors().front()) << variant;
  }
}

TEST(OptimiseRun, ADesignAtItsOptimumDoesNotGetWorse) {
  RunSetup r;
  BuildParaboloid(r.t, -1.0);
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t, true);
  r.opt.Cell(1, 7) = "V";
  const MeritResult before = ComputeMerit(r.t.d, r.opt, r.pick);
  ASSERT_TRUE(before.error.empty());
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  run.RunAll();
  EXPECT_NE(run.stop(), RunStop::Fault) << run.message();
  EXPECT_NEAR(r.t.d.Conic[1], -1.0, 1e-8);
  const MeritResult after = ComputeMerit(r.t.d, r.opt, r.pick);
  EXPECT_LE(after.ErrorBase, before.ErrorBase * (1 + 1e-9) + 1e-20);
  for (std::size_t k = 1; k < run.errors().size(); ++k) EXPECT_LE(run.errors()[k], run.errors()[0]);
}

TEST(OptimiseRun, PickupsKeepTheirRelationInEveryIteration) {
  RunSetup r;
  BuildTriplet(r.t);
  r.t.sheet.Cell(6, 3) = "-21.25";  // surface 6 mirrors surface 1
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t);
  r.opt.Cell(1, 3) = "V";
  r.opt.Cell(2, 3) = "V";
  r.opt.Cell(6, 3) = "P-";
  r.pick.curvMinus[6] = 1;
  r.opt.Cell(2, 5) = "V";
  r.opt.Cell(4, 5) = "P+";
  r.pick.thickPlus[4] = 2;
  r.pick.thickScale[4] = 1;
  r.pick.thickAdd[4] = -0.3;  // 4.6 = 4.9 - 0.3 as the design stands
  r.opt.Text1 = "6";
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  EXPECT_EQ(run.varCount(), 0);  // built with the first iteration
  const double r1 = r.t.d.Radius[1], t2 = r.t.d.Thickness[2];
  while (!run.finished()) {
    run.Next();
    if (run.stop() == RunStop::Fault) break;
    EXPECT_EQ(run.varCount(), 3);
    EXPECT_NEAR(r.t.d.Radius[6], -r.t.d.Radius[1], 1e-12) << run.iteration();
    EXPECT_NEAR(r.t.d.Thickness[4], r.t.d.Thickness[2] - 0.3, 1e-9) << run.iteration();
  }
  EXPECT_EQ(run.stop(), RunStop::Iterations) << run.message();
  EXPECT_TRUE(r.t.d.Radius[1] != r1 || r.t.d.Thickness[2] != t2);
  EXPECT_LT(run.errors().back(), run.errors().front());
}

TEST(OptimiseRun, TheJacobianAgreesWithACentralDifference) {
  RunSetup r;
  BuildTriplet(r.t);
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t);
  r.opt.Cell(1, 3) = "V";
  r.opt.Cell(3, 5) = "V";
  r.opt.Text1 = "1";
  const DesignState base = r.t.d;
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  run.Next();
  const int nv = run.varCount();
  ASSERT_EQ(nv, 2);
  const std::vector<double>& jac = run.jacobian();
  const int rows = static_cast<int>(jac.size()) / nv;
  ASSERT_EQ(rows, 36 + 2);
  for (int j = 0; j < nv; ++j) {
    const double h = j == 0 ? 1e-5 : 1e-3;
    auto merit = [&](double step) {
      DesignState d = base;
      if (j == 0) {
        d.Radius[1] = 1 / (1 / base.Radius[1] + step);
      } else {
        d.Thickness[3] = base.Thickness[3] + step;
      }
      return ComputeMerit(d, r.opt, r.pick);
    };
    const MeritResult plus = merit(h), minus = merit(-h);
    ASSERT_TRUE(plus.error.empty() && minus.error.empty());
    double scale = 0;
    for (int i = 0; i < rows; ++i) scale = std::max(scale, std::fabs(plus.residuals[i] - minus.residuals[i]) / (2 * h));
    ASSERT_GT(scale, 0);
    for (int i = 0; i < rows; ++i) {
      const double central = (plus.residuals[i] - minus.residuals[i]) / (2 * h);
      EXPECT_NEAR(jac[static_cast<std::size_t>(i) * nv + j], central, 1e-3 * scale) << "row " << i + 1 << " var " << j;
    }
  }
}

TEST(OptimiseRun, ARayThatMissesASurfaceEndsTheRunWithItsMessage) {
  RunSetup r;
  auto glass = [](double semi, double rad, double th, double n) {
    return testing::SurfaceSpec{semi, rad, th, testing::SurfaceSpec::Direct, n};
  };
  testing::Build(r.t, {glass(12, 4, 3, 1.5), {12, -50, 0}}, 5.5, 0);
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t, true);
  r.opt.Cell(2, 3) = "V";
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  EXPECT_FALSE(run.Next());
  EXPECT_EQ(run.stop(), RunStop::Fault);
  EXPECT_EQ(run.message(), kMissedSurfaceMessage);
  EXPECT_TRUE(run.log().empty());
}

TEST(OptimiseRun, TotalReflectionAndOtherFaultsHaveTheirMessages) {
  {
    RunSetup r;
    auto glass = [](double semi, double rad, double th, double n) {
      return testing::SurfaceSpec{semi, rad, th, testing::SurfaceSpec::Direct, n};
    };
    testing::Build(r.t, {glass(12, 0, 5, 1.8), {12, 6, 0}}, 5, 0);
    ASSERT_TRUE(r.t.Update().ok);
    r.opt = WindowOn(r.t, true);
    OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
    run.RunAll();
    EXPECT_EQ(run.stop(), RunStop::Fault);
    EXPECT_EQ(run.message(), kTotalReflectionMessage);
  }
  {
    RunSetup r;
    BuildTriplet(r.t);
    ASSERT_TRUE(r.t.Update().ok);
    r.opt = WindowOn(r.t);
    SetWavelengthChecked(r.opt, 0, false);
    OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
    run.RunAll();
    EXPECT_EQ(run.stop(), RunStop::Fault);
    EXPECT_EQ(run.message(), kRunErrorMessage);
  }
}

TEST(OptimiseRun, AcceptedIterationsStayAndRestoreBringsBackTheDesign) {
  RunSetup r;
  BuildTriplet(r.t, -120.0, 160.0);
  ASSERT_TRUE(r.t.Update().ok);
  r.opt = WindowOn(r.t);
  MarkAllCurvatures(r.opt, 6);
  const DesignSnapshot before{r.t.d, r.t.sheet};
  OptimiseRun run(r.t.d, r.t.sheet, r.t.media, r.opt, r.pick);
  ASSERT_TRUE(run.Next());
  ASSERT_TRUE(run.Next());
  run.Cancel();  // the user's Stop after the iteration in hand
  EXPECT_FALSE(run.Next());
  EXPECT_EQ(run.stop(), RunStop::User);
  EXPECT_EQ(run.iteration(), 2);
  EXPECT_NE(r.t.d.Radius[2], before.design.Radius[2]);
  ASSERT_TRUE(RestoreDesign(before, r.t.d, r.t.sheet, r.t.media).ok);
  for (int i = 1; i <= 6; ++i) EXPECT_EQ(r.t.d.Radius[i], before.design.Radius[i]);
  EXPECT_EQ(r.t.sheet.Cell(2, 3), before.sheet.Cell(2, 3));
  EXPECT_EQ(r.t.d.Efl, before.design.Efl);
}

TEST(ComputeMerit, TheFocalLengthAndBackFocalLengthTerms) {
  TestDesign t;
  BuildTriplet(t);
  ASSERT_TRUE(t.Update().ok);
  OptimiseSheet s = WindowOn(t);
  PickupTables p;
  s.Text2 = "60";
  MeritResult m = ComputeMerit(t.d, s, p);
  ASSERT_EQ(m.M, 36);
  ASSERT_EQ(m.residuals.size(), 38u);
  EXPECT_NEAR(m.residuals[36], (t.d.Efl - 60) * 0.01, 1e-12);
  // The back focal length cell holds the present one: a fixed mark holds it.
  EXPECT_NEAR(m.residuals[37], t.d.Bfl - RoundTo(t.d.Bfl, 4), 1e-12);
  // Weight 0 frees the focal length.
  s.Text9 = "0";
  m = ComputeMerit(t.d, s, p);
  EXPECT_EQ(m.residuals[36], 0.0);
  // A back focal length picked up from a thickness plus an addend, with its weight.
  s.Cell(6, 5) = "P+";
  p.BflPickSourcePlus = 2;
  p.BflPickAdd = 30;
  p.WeightBfl = 2;
  m = ComputeMerit(t.d, s, p);
  EXPECT_NEAR(m.residuals[37], (m.FocusBfl - 34.9) * 2, 1e-9);
  double sum = 0;
  for (double v : m.residuals) sum += v * v;
  EXPECT_DOUBLE_EQ(m.ErrorBase, sum);
}

}  // namespace
}  // namespace ovrin
