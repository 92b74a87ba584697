#include "output/plot_axes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ovrin {
namespace {

TEST(PlotAxes, TicksAreRoundEvenlySpacedAndInsideTheRange) {
  struct Case {
    double min, max;
    int count;
  };
  for (const Case& c : {Case{0, 1, 5}, Case{-0.0031, 0.0047, 5}, Case{-250, 1000, 6}, Case{3.2, 3.9, 4},
                        Case{-1e-6, 1e-6, 5}, Case{17, 17.0004, 5}}) {
    const std::vector<double> t = NiceTicks(c.min, c.max, c.count);
    ASSERT_GE(t.size(), 2u) << c.min << " " << c.max;
    EXPECT_LE(t.size(), static_cast<std::size_t>(2 * c.count + 1));
    const double step = t[1] - t[0];
    // 1, 2 or 5 times a power of ten.
    const double mantissa = step / std::pow(10.0, std::floor(std::log10(step) + 1e-9));
    EXPECT_TRUE(std::fabs(mantissa - 1) < 1e-6 || std::fabs(mantissa - 2) < 1e-6 || std::fabs(mantissa - 5) < 1e-6)
        << step;
    for (std::size_t k = 0; k < t.size(); ++k) {
      EXPECT_GE(t[k], c.min - 1e-9 * step);
      EXPECT_LE(t[k], c.max + 1e-9 * step);
      if (k > 0) {
        EXPECT_NEAR(t[k] - t[k - 1], step, 1e-9 * step);
      }
    }
  }
  // A range across zero has a tick exactly at zero, not at a rounding residue.
  const std::vector<double> t = NiceTicks(-0.3, 0.7, 10);
  EXPECT_NE(std::find(t.begin(), t.end(), 0.0), t.end());
  // An empty or reversed range still gives ticks.
  EXPECT_GE(NiceTicks(5, 5, 5).size(), 2u);
  EXPECT_EQ(NiceTicks(1, 0, 5), NiceTicks(0, 1, 5));
}

TEST(PlotAxes, TickTextsHaveTheDecimalsOfTheStep) {
  EXPECT_EQ(TickText(0.25, 0.05), "0.25");
  EXPECT_EQ(TickText(-0.002, 0.001), "-0.002");
  EXPECT_EQ(TickText(200, 100), "200");
  EXPECT_EQ(TickText(1.5, 0.5), "1.5");
}

TEST(PlotAxes, TheDataFitsTheBoxAndTheTextTheWindow) {
  RecordingCanvas c;
  const PlotBox box = DrawAxes(c, {-0.02, 0.06, "Defocus (mm)"}, {0, 1, "MTF"});
  ASSERT_FALSE(c.items().empty());
  const auto& w = c.items().front();
  ASSERT_EQ(w.op, RecordingCanvas::Op::Window);
  EXPECT_EQ(box.left, -0.02);
  EXPECT_EQ(box.right, 0.06);
  EXPECT_EQ(box.top, 1.0);
  EXPECT_EQ(box.bottom, 0.0);
  // The box lies inside the window with room on every side.
  EXPECT_LT(w.a, box.left);
  EXPECT_GT(w.c, box.right);
  EXPECT_GT(w.b, box.top);
  EXPECT_LT(w.d, box.bottom);
  int texts = 0, grid = 0;
  for (const auto& i : c.items()) {
    if (i.op == RecordingCanvas::Op::Text) {
      ++texts;
      EXPECT_GE(i.a, w.a) << i.text;
      EXPECT_LE(i.b, w.b) << i.text;
      EXPECT_GE(i.b, w.d) << i.text;
    }
    if (i.op == RecordingCanvas::Op::Line && i.color == AxesStyle{}.grid) ++grid;
  }
  const std::size_t xt = NiceTicks(-0.02, 0.06, 5).size(), yt = NiceTicks(0, 1, 5).size();
  EXPECT_EQ(texts, static_cast<int>(xt + yt + 2));  // the numbers and the two titles
  EXPECT_EQ(grid, static_cast<int>(xt + yt));
}

}  // namespace
}  // namespace ovrin
