// The multi-analysis sheet: every part lands inside its page, and a part that
// cannot be computed leaves the others standing.
#include <gtest/gtest.h>

#include "../core/test_designs.h"
#include "output/multi_analysis.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

TEST(SubCanvas, MapsEachWindowOntoItsRectangle) {
  RecordingCanvas page;
  page.Window(0, 0, 100, 100);
  SubCanvas sub(page, 50, 10, 90, 30);
  sub.Window(-1, 1, 1, -1);  // y up
  sub.Line(-1, 1, 1, -1, {1, 2, 3}, 2);
  sub.Circle(0, 0, 0.5, {});
  sub.Window(0, 0, 10, 10);  // a second window of the same picture, y down
  sub.Point(10, 10, {});
  sub.Clear({9, 9, 9});
  const auto& items = page.items();
  ASSERT_EQ(items.size(), 5u);
  EXPECT_DOUBLE_EQ(items[1].a, 50);
  EXPECT_DOUBLE_EQ(items[1].b, 10);
  EXPECT_DOUBLE_EQ(items[1].c, 90);
  EXPECT_DOUBLE_EQ(items[1].d, 30);
  EXPECT_DOUBLE_EQ(items[2].a, 70);
  EXPECT_DOUBLE_EQ(items[2].b, 20);
  EXPECT_DOUBLE_EQ(items[2].c, 10);  // half a window's width of 40 units
  EXPECT_DOUBLE_EQ(items[3].a, 90);
  EXPECT_DOUBLE_EQ(items[3].b, 30);
  // Clearing fills only the rectangle.
  EXPECT_EQ(items[4].op, RecordingCanvas::Op::Polygon);
  ASSERT_EQ(items[4].points.size(), 4u);
  EXPECT_DOUBLE_EQ(items[4].points[2].x, 90);
  EXPECT_DOUBLE_EQ(items[4].points[2].y, 30);
}

TestDesign Paraboloid(double angle_deg) {
  TestDesign t;
  SurfaceSpec s{101, -3200, 0, SurfaceSpec::AirNegat};
  s.type = kConic, s.conic = -1;
  Build(t, {s}, 100, angle_deg);
  EXPECT_TRUE(t.Update().ok);
  return t;
}

void ExpectInsideThePage(const RecordingCanvas& page) {
  int drawn = 0;
  for (const auto& i : page.items()) {
    using Op = RecordingCanvas::Op;
    auto inside = [](double x, double y) {
      return x >= -1e-6 && x <= kMultiSheetWidth + 1e-6 && y >= -1e-6 && y <= kMultiSheetHeight + 1e-6;
    };
    switch (i.op) {
      case Op::Line:
        EXPECT_TRUE(inside(i.a, i.b) && inside(i.c, i.d));
        ++drawn;
        break;
      case Op::Text:
        EXPECT_TRUE(inside(i.a, i.b)) << i.text;
        ++drawn;
        break;
      case Op::Polyline:
      case Op::Polygon:
        for (const PlotPoint& p : i.points) EXPECT_TRUE(inside(p.x, p.y)) << p.x << " " << p.y;
        ++drawn;
        break;
      default: break;
    }
  }
  EXPECT_GT(drawn, 50);
}

TEST(MultiAnalysis, AParaboloidFillsEveryPartOfThePage) {
  TestDesign t = Paraboloid(0.5);
  MultiSettings s;
  s.actualBfl = t.d.Bfl;
  s.angleY = "0.5";
  s.title = "paraboloid";
  const MultiResult r = ComputeMultiAnalysis(t.d, s);
  EXPECT_TRUE(r.layoutPart.ok);
  EXPECT_TRUE(r.spotPart[0].ok && r.spotPart[1].ok);
  EXPECT_TRUE(r.mtfPart.ok);
  EXPECT_TRUE(r.wavePart[0].ok && r.wavePart[1].ok);
  // A paraboloid is perfect on axis and comatic off it.
  EXPECT_LT(r.wave[0].stats.RMS, 0.01);
  EXPECT_GT(r.wave[1].stats.RMS, r.wave[0].stats.RMS);
  EXPECT_GT(r.spot[1].RmsRadius, r.spot[0].RmsRadius);
  // Both spots share one scale so that they can be compared.
  EXPECT_EQ(r.spotSettings[0].zoom, r.spotSettings[1].zoom);
  ASSERT_GE(r.text.size(), 6u);
  EXPECT_EQ(r.text[0], "paraboloid");
  RecordingCanvas page;
  DrawMultiAnalysis(r, s, page);
  ExpectInsideThePage(page);
}

TEST(MultiAnalysis, AFailingPartLeavesTheOthers) {
  TestDesign t = Paraboloid(0.5);
  MultiSettings s;
  s.actualBfl = t.d.Bfl;
  s.angleY = "0.5";
  s.wavelength = 4;  // not in use: the wave front and the transfer curves fail
  const MultiResult r = ComputeMultiAnalysis(t.d, s);
  EXPECT_TRUE(r.spotPart[0].ok);
  EXPECT_TRUE(r.layoutPart.ok);
  EXPECT_FALSE(r.wavePart[0].ok);
  RecordingCanvas page;
  DrawMultiAnalysis(r, s, page);
  ExpectInsideThePage(page);
}

}  // namespace
}  // namespace ovrin
