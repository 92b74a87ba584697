#include "output/layout3d.h"

#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "core/design_edit.h"
#include "core/optics_math.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

double Distance(const Vec3& a, const Vec3& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

TEST(Layout3D, CentredSystemStandsOnTheAxis) {
  TestDesign t;
  Build(t, {{25, 100, 8, SurfaceSpec::Direct, 1.5168}, {25, -100, 0, SurfaceSpec::AirPosit}}, 4, 2);
  ASSERT_TRUE(t.Update().ok);
  Layout3DSettings s;
  s.field_deg = 2;
  const Layout3D L = ComputeLayout3D(t.d, s);
  ASSERT_EQ(L.frames.size(), 4u);
  EXPECT_NEAR(L.frames[2].origin.z, 8, 1e-12);
  EXPECT_NEAR(L.frames[3].origin.z, 8 + t.d.Bfl, 1e-12);
  EXPECT_EQ(L.elements, 1);
  // Three fields, each a meridional fan of 5 and a sagittal fan of 4 more.
  EXPECT_EQ(L.rays.size(), 27u);
  // The axial rays of a slow beam meet near the focus (spherical aberration aside).
  for (const auto& r : L.rays)
    if (r.color == Rgb{0, 170, 0}) {
      EXPECT_NEAR(r.points.back().z, 8 + t.d.Bfl, 1e-9);
      EXPECT_LT(std::hypot(r.points.back().x, r.points.back().y), 0.2);
    }
}

TEST(Layout3D, FoldMirrorTurnsTheAxis) {
  // A paraboloid of focal length 500 and a flat at 45 degrees 400 mm in front:
  // the focus comes out at the side, 100 mm from the flat, in the flat's plane
  // across the tube.
  TestDesign t;
  SurfaceSpec primary{50, -1000, -400, SurfaceSpec::AirNegat};
  primary.type = kConic;
  primary.conic = -1;
  SurfaceSpec flat{20, 0, 0, SurfaceSpec::AirPosit};
  Build(t, {primary, flat}, 50);
  TiltEntry tilt;
  tilt.tilt_x_deg = 45;
  WriteTiltEntry(t.d, 2, tilt);
  ASSERT_TRUE(t.Update().ok);
  Layout3DSettings s;
  s.rays = 7;
  const Layout3D L = ComputeLayout3D(t.d, s);
  const Vec3 flat_vertex = L.frames[2].origin;
  EXPECT_NEAR(flat_vertex.z, -400, 1e-9);
  ASSERT_FALSE(L.rays.empty());
  const Vec3 focus = L.rays.front().points.back();
  for (const auto& r : L.rays) {
    ASSERT_GE(r.points.size(), 4u);
    // Every ray of the axial bundle reaches the same point.
    EXPECT_LT(Distance(r.points.back(), focus), 1e-6);
    // A ray keeps its path: the flat's hit point lies in the flat's plane,
    // which contains the x axis and bisects y and z.
    const Vec3 a = r.points[r.points.size() - 2];
    EXPECT_NEAR(a.z - flat_vertex.z, -(a.y - flat_vertex.y), 1e-6);
  }
  EXPECT_NEAR(focus.z, -400, 1e-6);
  EXPECT_NEAR(Distance(focus, flat_vertex), 100, 1e-6);
  EXPECT_NEAR(focus.x, 0, 1e-9);
}

TEST(Layout3D, DecenterMovesTheSurfaceSideways) {
  TestDesign t;
  Build(t, {{25, 100, 8, SurfaceSpec::Direct, 1.5168}, {25, -100, 50, SurfaceSpec::AirPosit}, {10, 0, 0}}, 20);
  TiltEntry dec;
  dec.dec_y = 3;
  dec.dec_x = -2;
  WriteTiltEntry(t.d, 3, dec);
  ASSERT_TRUE(t.Update().ok);
  const std::vector<Frame3> f = SurfaceFrames(t.d);
  EXPECT_NEAR(f[3].origin.y, 3, 1e-6);
  EXPECT_NEAR(f[3].origin.x, -2, 1e-6);
  EXPECT_NEAR(f[3].origin.z, 58, 1e-12);
  // The trace keeps a decentered frame for what follows: the image plane moves with it.
  EXPECT_NEAR(f[4].origin.y, 3, 1e-6);
  EXPECT_NEAR(f[4].origin.z, 58 + t.d.Bfl, 1e-9);
}

TEST(Layout3D, ViewTurnsAsTheSlidersSay) {
  Layout3DSettings s;
  s.rotX = s.rotY = s.rotZ = 0;
  // No rotation: the 2D layout's view, the axis to the right and y up.
  Vec3 v = ViewOf(s, {0, 0, 1});
  EXPECT_NEAR(v.x, 1, 1e-12);
  v = ViewOf(s, {0, 1, 0});
  EXPECT_NEAR(v.y, 1, 1e-12);
  // A quarter turn about the vertical: the axis points at the viewer or away.
  s.rotY = 90;
  v = ViewOf(s, {0, 0, 1});
  EXPECT_NEAR(v.x, 0, 1e-9);
  EXPECT_NEAR(std::fabs(v.z), 1, 1e-9);
  // Rotations keep lengths.
  s.rotX = 33, s.rotZ = -71;
  v = ViewOf(s, {3, -4, 12});
  EXPECT_NEAR(std::hypot(v.x, v.y, v.z), 13, 1e-12);
}

TEST(Layout3D, DrawingFillsItsWindowAndZoomEnlarges) {
  TestDesign t;
  Build(t, {{25, 100, 8, SurfaceSpec::Direct, 1.5168}, {25, -100, 0, SurfaceSpec::AirPosit}}, 20);
  ASSERT_TRUE(t.Update().ok);
  Layout3DSettings s;
  const Layout3D L = ComputeLayout3D(t.d, s);
  RecordingCanvas c1, c2;
  DrawLayout3D(L, s, c1);
  s.zoom = 2;
  DrawLayout3D(L, s, c2);
  ASSERT_EQ(c1.items().front().op, RecordingCanvas::Op::Window);
  EXPECT_NEAR(c1.items().front().b / c2.items().front().b, 2.0, 1e-12);
  // Every shaded face of the lens is painted, within the unzoomed window.
  int polygons = 0;
  const double h = c1.items().front().b, w = c1.items().front().c;
  for (const auto& i : c1.items())
    if (i.op == RecordingCanvas::Op::Polygon) {
      ++polygons;
      for (const PlotPoint& p : i.points) {
        EXPECT_LE(std::fabs(p.x), w);
        EXPECT_LE(std::fabs(p.y), h);
      }
    }
  EXPECT_EQ(static_cast<std::size_t>(polygons), L.faces.size());
}

}  // namespace
}  // namespace ovrin
