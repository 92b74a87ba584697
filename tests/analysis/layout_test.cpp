#include "output/layout.h"

#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

TEST(LayoutFrame, LongTelescopeAndWideLens) {
  // Long: a 1000 mm track, 100 mm high: the track sets the frame.
  double t = 0, m = 0;
  LayoutFrame f = LayoutFrameOf({0, 0, 1000, -200}, 100, -100, &t, &m);
  EXPECT_EQ(t, 1200.0);
  EXPECT_DOUBLE_EQ(m, 120.0);
  EXPECT_DOUBLE_EQ(f.left, -320.0);
  EXPECT_DOUBLE_EQ(f.right, 1120.0);
  EXPECT_DOUBLE_EQ(f.top, 300.0 + 60.0);
  EXPECT_EQ(f.bottom, -f.top);
  // Wide: 40 mm of track, 50 mm high: the height sets it, four heights wide.
  f = LayoutFrameOf({0, 0, 10, 40}, 50, -50, &t, &m);
  EXPECT_EQ(t, 40.0);
  EXPECT_DOUBLE_EQ(m, 20.0);
  EXPECT_DOUBLE_EQ(f.left, -20.0);
  EXPECT_DOUBLE_EQ(f.right, 200.0 + 20.0);
  EXPECT_DOUBLE_EQ(f.top, 60.0);
  // One surface: no track at all, the frame comes from the height.
  f = LayoutFrameOf({0, 0, 0}, 30, -30, &t, &m);
  EXPECT_EQ(t, 0.0);
  EXPECT_GT(f.top, 30.0);
}

TEST(Layout, OneMirrorIsALineAndALensIsAClosedElement) {
  TestDesign mirror;
  SurfaceSpec para{100, -2000, 0, SurfaceSpec::AirNegat};
  para.type = kConic;
  para.conic = -1;
  Build(mirror, {para}, 100);
  ASSERT_TRUE(mirror.Update().ok);
  LayoutSettings s;
  Layout L = ComputeLayout(mirror.d, s);
  EXPECT_TRUE(L.elements.empty());
  ASSERT_EQ(L.surfaces.size(), 1u);
  EXPECT_EQ(L.surfaces[0].kind, Layout::Kind::Mirror);
  EXPECT_EQ(L.surfaces[0].profile.size(), 201u);
  // The image plane stands Bfl behind the mirror, in its negative space.
  EXPECT_DOUBLE_EQ(L.vertexZ[2], mirror.d.Bfl);
  EXPECT_EQ(L.TotalTrack, std::fabs(mirror.d.Bfl));
  // Three rays of field 0, all meeting at the focus of the paraboloid.
  ASSERT_EQ(L.rays.size(), 3u);
  for (const auto& r : L.rays) {
    EXPECT_NEAR(r.points.back().y, 0.0, 1e-6);
    EXPECT_NEAR(r.points.back().x, mirror.d.Bfl, 1e-6);
  }

  TestDesign lens;
  Build(lens, {{20, 100, 6, SurfaceSpec::Direct, 1.5}, {15, -100, 0}}, 12);
  ASSERT_TRUE(lens.Update().ok);
  L = ComputeLayout(lens.d, s);
  ASSERT_EQ(L.elements.size(), 1u);
  // The smaller back surface is carried out to the front's rim: a flat rim at y = +-20.
  const auto& e = L.elements[0];
  double top = -1e9;
  for (const auto& p : e) top = std::max(top, p.y);
  EXPECT_DOUBLE_EQ(top, 20.0);
  EXPECT_EQ(e.size(), 201u + 203u);
  s.rays = 0;
  EXPECT_TRUE(ComputeLayout(lens.d, s).rays.empty());  // 0 rays: the elements alone
}

TEST(Layout, ProfilesStopWhereTheSurfaceEndsAndTurnWithATilt) {
  TestDesign t;
  Build(t, {{30, 20, 5}, {10, -50, 0}}, 5);
  DesignState& d = t.d;
  d.Radius[1] = 20;
  d.SemiDiam[1] = 30;  // wider than its sphere
  const auto p = SurfaceProfile(d, 1, 0);
  ASSERT_FALSE(p.empty());
  EXPECT_LT(p.size(), 201u);
  for (const auto& pt : p) EXPECT_LE(std::fabs(pt.y), 20.0);

  // A plane mirror tilted 45 degrees about X: its ends lie on the diagonal.
  TestDesign fold;
  Build(fold, {{10, 0, 0, SurfaceSpec::AirNegat}}, 5);
  fold.d.TiltAInput[1] = 3.14159265358979 / 4;
  ASSERT_TRUE(fold.Update().ok);
  const auto q = SurfaceProfile(fold.d, 1, 100);
  ASSERT_EQ(q.size(), 201u);
  EXPECT_NEAR(q.front().x - 100, -(q.front().y), 1e-9 * 10);
  EXPECT_NEAR(std::hypot(q.back().x - 100, q.back().y), 10.0, 1e-9);
  EXPECT_NEAR(std::fabs(q.back().x - 100), std::fabs(q.back().y), 1e-9);
  EXPECT_GT(std::fabs(q.back().x - 100), 7.0);  // drawn tilted, not upright
}

}  // namespace
}  // namespace ovrin
