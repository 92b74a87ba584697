#include "core/ray_tracer.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

// A design with nothing but the tilt tables in their reset state.
struct Bench {
  DesignState d;
  Tracer t{d};
  Bench() {
    ResetTiltDecenter(d);
    d.SurfCount = 1;
  }
  void Ray(double x, double y, double cx, double cy) {
    t.RayX = x;
    t.RayY = y;
    t.RayZ = 0;
    t.RayCosX = cx;
    t.RayCosY = cy;
    t.RayCosZ = std::sqrt(1 - cx * cx - cy * cy);
  }
  void Surface(double radius, double thick, double n, double np) {
    t.CurRadius = radius;
    t.CurThick = thick;
    t.CurN = n;
    t.CurNPrime = np;
    t.CurConic = t.CurA4 = t.CurA6 = t.CurA8 = 0;
    t.LoopI = 1;
  }
};

TEST(TraceSphere, PlaneRefractsBySnellsLaw) {
  Bench b;
  const double sin_in = 0.3;
  b.Ray(0, 2, 0, sin_in);
  b.Surface(0, 10, 1.0, 1.5);
  b.t.TraceSphere();
  EXPECT_DOUBLE_EQ(b.t.RayZ, 0.0);
  EXPECT_NEAR(b.t.RayY, 2 + 10 * sin_in / std::sqrt(1 - sin_in * sin_in), 1e-12);
  EXPECT_NEAR(b.t.RayCosY, sin_in / 1.5, 1e-15);
  EXPECT_NEAR(b.t.RayCosZ * b.t.RayCosZ + b.t.RayCosY * b.t.RayCosY, 1.0, 1e-15);
}

TEST(TraceSphere, EqualIndicesKeepTheDirectionAndLandOnTheSurface) {
  Bench b;
  b.Ray(1, 3, 0.05, -0.1);
  const double cx = b.t.RayCosX, cy = b.t.RayCosY, cz = b.t.RayCosZ;
  const double r = 50;
  b.Surface(r, 5, 1.6, 1.6);
  b.t.TraceSphere();
  EXPECT_NEAR(b.t.RayCosX, cx, 1e-15);
  EXPECT_NEAR(b.t.RayCosY, cy, 1e-15);
  EXPECT_NEAR(b.t.RayCosZ, cz, 1e-15);
  // On the sphere of radius r through the vertex: (z - r)^2 + x^2 + y^2 = r^2.
  const double x = b.t.RayX, y = b.t.RayY, z = b.t.RayZ;
  EXPECT_NEAR((z - r) * (z - r) + x * x + y * y, r * r, 1e-9);
}

TEST(TraceSphere, MirrorAtNormalIncidenceKeepsPositiveCosineAndNegativeThicknessMovesBack) {
  Bench b;
  const double slope = 0.1;
  b.Ray(0, 5, 0, slope);
  b.Surface(0, 0, 1, -1);
  b.t.TraceSphere();
  // Stored cosines are the negative of the travel direction after a mirror.
  EXPECT_NEAR(b.t.RayCosZ, std::sqrt(1 - slope * slope), 1e-15);
  EXPECT_NEAR(b.t.RayCosY, -slope, 1e-15);
  // 100 mm back towards the incoming light: the ray keeps climbing in Y.
  b.Surface(0, -100, -1, -1);
  b.t.TraceSphere();
  EXPECT_NEAR(b.t.RayY, 5 + 100 * slope / std::sqrt(1 - slope * slope), 1e-12);

  Bench n;
  n.Ray(0, 0, 0, 0);
  n.Surface(-500, 0, 1, -1);
  n.t.TraceSphere();
  EXPECT_EQ(n.t.RayCosZ, 1.0);
}

TEST(TraceSphere, FailuresRaiseTraceError) {
  Bench b;
  b.Ray(0, 150, 0, 0);
  b.Surface(100, 0, 1, 1.5);
  EXPECT_THROW(b.t.TraceSphere(), TraceError);  // misses the sphere
  EXPECT_LT(b.t.SphRadicand, 0);

  Bench tir;  // glass to air at 60 degrees
  tir.Ray(0, 0, 0, std::sin(60 * M_PI / 180));
  tir.Surface(0, 0, 1.5, 1.0);
  EXPECT_THROW(tir.t.TraceSphere(), TraceError);
  EXPECT_LT(tir.t.SnellRadicand, 0);
  // The ray stays where the failure found it: on the surface.
  EXPECT_DOUBLE_EQ(tir.t.RayZ, 0.0);

  Bench flat;  // travelling across the axis never reaches the plane
  flat.t.RayX = flat.t.RayY = flat.t.RayZ = 0;
  flat.t.RayCosX = 1;
  flat.t.RayCosY = 0;
  flat.t.RayCosZ = 0;
  flat.Surface(0, 10, 1, 1);
  EXPECT_THROW(flat.t.TraceSphere(), TraceError);
}

TEST(TraceAsphere, ZeroConicAgreesWithTheClosedSphereFormula) {
  for (double y : {0.0, 5.0, 20.0, 35.0}) {
    Bench s, a;
    s.Ray(1, y, 0.02, -0.03);
    a.Ray(1, y, 0.02, -0.03);
    s.Surface(-80, 3, 1.0, 1.5);
    a.Surface(-80, 3, 1.0, 1.5);
    s.t.TraceSphere();
    a.t.TraceAsphere();
    EXPECT_NEAR(a.t.RayX, s.t.RayX, 1e-9);
    EXPECT_NEAR(a.t.RayY, s.t.RayY, 1e-9);
    EXPECT_NEAR(a.t.RayZ, s.t.RayZ, 1e-9);
    EXPECT_NEAR(a.t.RayCosY, s.t.RayCosY, 1e-12);
    EXPECT_NEAR(a.t.RayCosZ, s.t.RayCosZ, 1e-12);
  }
}

TEST(TraceAsphere, HighOrderTermPlacesTheRayOnItsSag) {
  Bench b;
  b.Ray(0, 10, 0, 0);
  b.Surface(0, 0, 1, 1);
  b.t.CurA4 = 1e-5;
  b.t.TraceAsphere();
  EXPECT_NEAR(b.t.RayZ, 1e-5 * 1e4, 1e-8);
  EXPECT_NEAR(b.t.RayY, 10, 1e-12);
}

TEST(TraceAsphere, RayOutsideTheConicFails) {
  Bench b;
  b.Ray(0, 60, 0, 0);
  b.Surface(50, 0, 1, 1.5);
  b.t.CurConic = 0;  // a sphere of radius 50 ends at height 50
  EXPECT_THROW(b.t.TraceAsphere(), TraceError);
}

TEST(ParaxTraceSphere, PlaneRadiusZeroFails) {
  Bench b;
  b.t.ParaxY = 0.01;
  b.t.ParaxU = 0;
  b.Surface(0, 10, 1, 1.5);
  EXPECT_THROW(b.t.ParaxTraceSphere(), TraceError);
}

// --- frames ---

TEST(EnterSurfaceFrame, TiltOrderZeroActsAsOneButLeaveMirrorFrameDoesNothing) {
  Bench one, zero;
  for (Bench* b : {&one, &zero}) {
    b->d.TiltA[1] = 0.2;
    b->d.DecY[1] = 1.5f;
    b->Ray(0, 4, 0, 0.05);
    b->Surface(0, 20, 1, 1);
  }
  one.d.TiltOrder[1] = 1;
  zero.d.TiltOrder[1] = 0;
  one.t.EnterSurfaceFrame();
  zero.t.EnterSurfaceFrame();
  EXPECT_EQ(one.t.RayY, zero.t.RayY);
  EXPECT_EQ(one.t.RayZ, zero.t.RayZ);
  EXPECT_EQ(one.t.RayCosY, zero.t.RayCosY);
  EXPECT_NE(one.t.RayCosY, 0.05);  // it did rotate

  const double y = zero.t.RayY, cy = zero.t.RayCosY;
  zero.t.LeaveMirrorFrame();
  EXPECT_EQ(zero.t.RayY, y);
  EXPECT_EQ(zero.t.RayCosY, cy);
  one.t.LeaveMirrorFrame();
  EXPECT_NE(one.t.RayCosY, cy);
}

TEST(EnterSurfaceFrame, DecenterOrderMattersOnlyWithATilt) {
  Bench dec_first, tilt_first;
  for (Bench* b : {&dec_first, &tilt_first}) {
    b->d.TiltA[1] = 0.3;
    b->d.DecY[1] = 2.0f;
    b->Ray(0, 0, 0, 0);
    b->Surface(0, 0, 1, 1);
  }
  dec_first.d.TiltOrder[1] = 1;
  tilt_first.d.TiltOrder[1] = 2;
  dec_first.t.EnterSurfaceFrame();
  tilt_first.t.EnterSurfaceFrame();
  // Decenter then tilt: the offset is turned with the frame; tilt then decenter: it is not.
  EXPECT_NEAR(dec_first.t.RayY, -2.0 * std::cos(0.3), 1e-12);
  EXPECT_NEAR(tilt_first.t.RayY, -2.0, 1e-12);

  Bench other;
  other.d.TiltA[1] = 0.3;
  other.d.DecY[1] = 2.0f;
  other.d.TiltOrder[1] = 3;  // no such order: nothing moves
  other.Ray(0, 1, 0, 0);
  other.Surface(0, 0, 1, 1);
  other.t.EnterSurfaceFrame();
  EXPECT_EQ(other.t.RayY, 1.0);
}

// --- the whole loop ---

TestDesign Paraboloid() {
  TestDesign t;
  SurfaceSpec m;
  m.semi_diam = 100;
  m.radius = -2000;
  m.medium = SurfaceSpec::AirNegat;
  m.type = kConic;
  m.conic = -1;
  Build(t, {m});
  return t;
}

TEST(SurfaceLoop, ParaboloidImagesAnAxialPointToAPoint) {
  TestDesign t = Paraboloid();
  ASSERT_TRUE(t.Update().ok);
  EXPECT_NEAR(t.d.Bfl, -1000, 1e-6);
  Tracer tr(t.d);
  SurfaceLoopPolicy p;
  for (double h : {10.0, 50.0, 99.0}) {
    for (double ang : {0.0, 0.7, 2.1}) {
      tr.FieldCosZ = 1;
      tr.FieldCosX = tr.FieldCosY = 0;
      tr.TraceRay(h * std::cos(ang), h * std::sin(ang), p, t.d.Bfl);
      EXPECT_NEAR(tr.RayX, 0, 1e-9) << h;
      EXPECT_NEAR(tr.RayY, 0, 1e-9) << h;
      EXPECT_FALSE(tr.RayVignetted);
    }
  }
}

TEST(SurfaceLoop, SphericalMirrorShowsUndercorrectedSphericalAberration) {
  TestDesign t = Paraboloid();
  t.d.SurfType[1] = kSphere;
  t.sheet.Cell(1, 7) = "SPHERE";
  ASSERT_TRUE(t.Update().ok);
  Tracer tr(t.d);
  SurfaceLoopPolicy p;
  tr.TraceRay(0, 100, p, t.d.Bfl);
  // Third order: the marginal ray crosses the axis h^2/(4R) ahead of the paraxial focus;
  // its height at the paraxial focus is that shift times the ray slope h/f.
  const double shift = 100.0 * 100.0 / (4 * 2000.0);
  EXPECT_NEAR(std::fabs(tr.RayY), shift * 100.0 / 1000.0, 0.03 * shift * 0.1);
}

TEST(SurfaceLoop, VignettingAndObstructionBoundaries) {
  TestDesign t;
  SurfaceSpec screen{25, 0, 100}, mirror{100, -2000, 0};
  screen.type = kObsScreen;
  mirror.medium = SurfaceSpec::AirNegat;
  Build(t, {screen, mirror}, 100);
  ASSERT_TRUE(t.Update().ok);
  Tracer tr(t.d);
  tr.FieldCosZ = 1;
  tr.FieldCosX = tr.FieldCosY = 0;
  SurfaceLoopPolicy p;
  auto vignetted = [&](double y) {
    tr.TraceRay(0, y, p, t.d.Bfl);
    return tr.RayVignetted;
  };
  EXPECT_FALSE(vignetted(25.0));          // exactly on the screen's edge: passes
  EXPECT_TRUE(vignetted(24.999));         // inside the disc: blocked
  EXPECT_EQ(tr.VignSurf, 1);
  EXPECT_FALSE(vignetted(100.0 + 0.1));   // at the margin of the mirror: passes
  EXPECT_TRUE(vignetted(100.0 + 0.1001));
  EXPECT_EQ(tr.VignSurf, 2);

  t.sheet.Cell(1, 2) = "0";  // a screen of no size blocks nothing
  ASSERT_TRUE(t.Update().ok);
  EXPECT_FALSE(vignetted(0.0));
}

TEST(SurfaceLoop, SurfaceOfUnknownTypeIsSkippedAfterItsFrame) {
  TestDesign t;
  SurfaceSpec glass{20, 50, 5}, back{20, 0, 10};
  glass.medium = SurfaceSpec::Direct;
  glass.direct_index = 1.5;
  Build(t, {glass, back}, 10);
  ASSERT_TRUE(t.Update().ok);
  t.d.SurfType[1] = 7;
  t.d.DecY[1] = 0.25f;
  Tracer tr(t.d);
  tr.FieldCosZ = 1;
  tr.FieldCosX = tr.FieldCosY = 0;
  tr.RayX = 0;
  tr.RayY = 3;
  tr.StartRay();
  SurfaceLoopPolicy p;
  p.testAperture = false;
  t.d.SurfCount = 1;  // only the skipped surface
  tr.TraceSurfaces(p);
  EXPECT_EQ(tr.RayZ, 0.0);
  EXPECT_EQ(tr.RayCosZ, 1.0);
  EXPECT_EQ(tr.RayY, 3 - 0.25);  // the decenter of its frame did apply
}

TEST(SurfaceLoop, TiltedRefractingSurfaceLeavesTheFollowingSurfacesTilted) {
  TestDesign t;
  SurfaceSpec a{20, 0, 10}, b{20, 0, 10};
  Build(t, {a, b}, 10);
  t.d.TiltAInput[1] = -0.1;  // the trace turns opposite to the input
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.UncenteredFlag, 1.0f);
  EXPECT_TRUE(t.sheet.Label4Visible);
  Tracer tr(t.d);
  tr.FieldCosZ = 1;
  tr.FieldCosX = tr.FieldCosY = 0;
  SurfaceLoopPolicy p;
  p.testAperture = false;
  tr.TraceRay(0, 0, p, 0);
  // Nothing turns the frame back: the axial ray stays at the tilt's angle in it.
  EXPECT_NEAR(tr.RayCosY, std::sin(0.1), 1e-15);
}

TEST(SurfaceLoop, MirrorTiltAboutYCountsForTheSecondRotationOnlyFromHalfARadian) {
  for (double tilt : {0.4, 0.6}) {
    TestDesign t;
    SurfaceSpec m{50, 0, 0};
    m.medium = SurfaceSpec::AirNegat;
    Build(t, {m}, 10);
    t.d.TiltBInput[1] = -tilt;
    ASSERT_TRUE(t.Update().ok);
    Tracer loop(t.d), manual(t.d);
    for (Tracer* tr : {&loop, &manual}) {
      tr->FieldCosZ = 1;
      tr->FieldCosX = tr->FieldCosY = 0;
      tr->RayX = tr->RayY = 0;
      tr->StartRay();
    }
    SurfaceLoopPolicy p;
    p.testAperture = false;
    loop.TraceSurfaces(p);
    manual.LoopI = 1;
    manual.CurRadius = t.d.Radius[1];
    manual.CurThick = 0;
    manual.CurN = 1;
    manual.CurNPrime = -1;
    manual.EnterSurfaceFrame();
    manual.TraceSphere();
    const double cx_without = manual.RayCosX;
    manual.LeaveMirrorFrame();
    const double cx_with = manual.RayCosX;
    ASSERT_NE(cx_with, cx_without);
    EXPECT_EQ(loop.RayCosX, tilt < 0.5 ? cx_without : cx_with) << tilt;
  }
}

}  // namespace
}  // namespace ovrin
