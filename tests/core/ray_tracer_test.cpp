#include "core/ray_tracer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

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

// The fault a failing operation reports, or nullopt when it passes.
template <typename F>
std::optional<TraceError> FailureOf(F&& f) {
  try {
    f();
  } catch (const TraceError& e) {
    return e;
  }
  return std::nullopt;
}

TEST(TraceSphere, FailuresRaiseTraceError) {
  Bench b;
  b.Ray(0, 150, 0, 0);
  b.Surface(100, 0, 1, 1.5);
  b.t.LoopI = 3;
  auto missed = FailureOf([&] { b.t.TraceSphere(); });
  ASSERT_TRUE(missed);
  EXPECT_EQ(missed->reason, TraceFault::MissedSurface);
  EXPECT_EQ(missed->surface, 3);
  EXPECT_STREQ(missed->what(), "TraceError");
  EXPECT_LT(b.t.SphRadicand, 0);

  Bench tir;  // glass to air at 60 degrees
  tir.Ray(0, 0, 0, std::sin(60 * M_PI / 180));
  tir.Surface(0, 0, 1.5, 1.0);
  auto reflected = FailureOf([&] { tir.t.TraceSphere(); });
  ASSERT_TRUE(reflected);
  EXPECT_EQ(reflected->reason, TraceFault::TotalReflection);
  EXPECT_STREQ(TraceFaultText(reflected->reason), "total internal reflection");
  EXPECT_LT(tir.t.SnellRadicand, 0);
  // The ray stays where the failure found it: on the surface.
  EXPECT_DOUBLE_EQ(tir.t.RayZ, 0.0);

  Bench flat;  // travelling across the axis never reaches the plane
  flat.t.RayX = flat.t.RayY = flat.t.RayZ = 0;
  flat.t.RayCosX = 1;
  flat.t.RayCosY = 0;
  flat.t.RayCosZ = 0;
  flat.Surface(0, 10, 1, 1);
  auto parallel = FailureOf([&] { flat.t.TraceSphere(); });
  ASSERT_TRUE(parallel);
  EXPECT_EQ(parallel->reason, TraceFault::NonFinite);
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
  auto outside = FailureOf([&] { b.t.TraceAsphere(); });
  ASSERT_TRUE(outside);
  EXPECT_EQ(outside->reason, TraceFault::OutsideConic);
}

TEST(TraceAsphere, RayGrazingAParaboloidEndsWithNoConvergenceInsteadOfHanging) {
  // Almost along the surface of a paraboloid, far out: each Newton step lands
  // on the other side of the root and the steps do not shrink.
  Bench b;
  b.Ray(0, 0, 0, 0);
  b.t.RayCosY = -std::cos(1e-9);
  b.t.RayCosZ = std::sin(1e-9);
  b.t.RayY = 1e7;
  b.Surface(-480, 0, 1, -1);
  b.t.CurConic = -1;
  auto f = FailureOf([&] { b.t.TraceAsphere(); });
  ASSERT_TRUE(f);
  EXPECT_TRUE(f->reason == TraceFault::NoConvergence || f->reason == TraceFault::NonFinite)
      << TraceFaultText(f->reason);
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

// --- the choices of the loop ------------------------------------------------

TEST(SurfaceLoop, SummedPathOfAParaboloidIsTheSameForEveryRayOfAnAxialBundle) {
  // Fermat: from the plane wavefront at the vertex plane to the focus, every
  // ray of an axial bundle has the same optical path, the focal length.
  TestDesign t = Paraboloid();
  ASSERT_TRUE(t.Update().ok);
  Tracer tr(t.d);
  SurfaceLoopPolicy p;
  p.sumPath = true;
  for (double h : {0.0, 20.0, 60.0, 99.0}) {
    for (double ang : {0.3, 1.9}) {
      tr.FieldCosZ = 1;
      tr.FieldCosX = tr.FieldCosY = 0;
      tr.RayX = h * std::cos(ang);
      tr.RayY = h * std::sin(ang);
      tr.StartRay();
      tr.TraceSurfaces(p);
      const double to_focus = std::hypot(tr.RayX, tr.RayY, tr.RayZ - t.d.Bfl);
      EXPECT_NEAR(tr.RayPath + to_focus, 1000.0, 1e-9) << h;
    }
  }
  p.sumPath = false;
  tr.RayX = 0;
  tr.RayY = 50;
  tr.StartRay();
  tr.TraceSurfaces(p);
  EXPECT_EQ(tr.RayPath, 0.0);
}

TEST(SurfaceLoop, SummedPathThroughAPlateIsIndexTimesTheSlantThickness) {
  TestDesign t;
  SurfaceSpec front{30, 0, 10}, back{30, 0, 5};
  front.medium = SurfaceSpec::Direct;
  front.direct_index = 1.5;
  Build(t, {front, back}, 10, 20);
  ASSERT_TRUE(t.Update().ok);
  Tracer tr(t.d);
  const double sin_in = std::sin(20 * M_PI / 180);
  tr.FieldCosZ = std::sqrt(1 - sin_in * sin_in);
  tr.FieldCosY = sin_in;
  tr.FieldCosX = 0;
  tr.RayX = 0;
  tr.RayY = 0;
  tr.StartRay();
  SurfaceLoopPolicy p;
  p.sumPath = true;
  p.testAperture = false;
  tr.TraceSurfaces(p);
  const double sin_glass = sin_in / t.d.IndexWl[1][1];
  EXPECT_NEAR(tr.RayPath, t.d.IndexWl[1][1] * 10 / std::sqrt(1 - sin_glass * sin_glass), 1e-10);
}

TEST(SurfaceLoop, AStoppedRayEndsAtItsSurfaceOnlyWhenThePolicySaysSo) {
  TestDesign t;
  SurfaceSpec screen{25, 0, 100}, mirror{100, -2000, 0};
  screen.type = kObsScreen;
  mirror.medium = SurfaceSpec::AirNegat;
  Build(t, {screen, mirror});
  ASSERT_TRUE(t.Update().ok);
  Tracer tr(t.d);
  tr.FieldCosZ = 1;
  tr.FieldCosX = tr.FieldCosY = 0;
  SurfaceLoopPolicy goes_on;
  tr.TraceRay(0, 10, goes_on, t.d.Bfl);  // blocked by the screen, carried to the image
  EXPECT_TRUE(tr.RayVignetted);
  EXPECT_EQ(tr.VignSurf, 1);
  EXPECT_EQ(tr.LoopI, t.d.SurfCount + 1);

  SurfaceLoopPolicy ends;
  ends.stoppedRayEnds = true;
  tr.TraceRay(0, 10, ends, t.d.Bfl);
  EXPECT_TRUE(tr.RayVignetted);
  EXPECT_EQ(tr.LoopI, 1);  // the registers hold the ray at the screen
  EXPECT_DOUBLE_EQ(tr.RayY, 10.0);

  tr.TraceRay(0, 60, ends, t.d.Bfl);  // clear of the screen: to the image as always
  EXPECT_FALSE(tr.RayVignetted);
  EXPECT_EQ(tr.LoopI, t.d.SurfCount + 1);
}

TEST(SurfaceLoop, PrivateIndexCopiesOfBothWidths) {
  TestDesign t;
  SurfaceSpec lens{20, 60, 5}, back{20, -60, 0};
  lens.medium = SurfaceSpec::Direct;
  lens.direct_index = 1.5168123456789;
  Build(t, {lens, back}, 10);
  ASSERT_TRUE(t.Update().ok);
  const SurfTable wide = PrivateIndexTable(t.d, 1, IndexWidth::Double);
  const SurfTable single = PrivateIndexTable(t.d, 1, IndexWidth::Single);
  EXPECT_EQ(wide[0], 1.0);
  EXPECT_EQ(single[0], 1.0);
  EXPECT_EQ(wide[1], t.d.IndexWl[1][1]);
  EXPECT_EQ(single[1], static_cast<double>(static_cast<float>(t.d.IndexWl[1][1])));
  EXPECT_NE(single[1], wide[1]);

  auto image_height = [&](const SurfTable* table) {
    Tracer tr(t.d);
    tr.FieldCosZ = 1;
    tr.FieldCosX = tr.FieldCosY = 0;
    SurfaceLoopPolicy p;
    p.indexTable = table;
    tr.TraceRay(0, 9, p, t.d.Bfl);
    return tr.RayY;
  };
  // The 64-bit copy is the design's own table; the 32-bit one moves the ray
  // by about what a change of the index in the eighth digit does.
  EXPECT_EQ(image_height(&wide), image_height(nullptr));
  const double moved = std::fabs(image_height(&single) - image_height(nullptr));
  EXPECT_GT(moved, 0.0);
  EXPECT_LT(moved, 1e-6);
}

TEST(SurfaceLoop, WavefrontMirrorTestTurnsTheFrameForAnyTilt) {
  // After a mirror tilted about Y by b, the second rotation makes the axis
  // follow the reflected beam: an axial ray leaves along the new axis. The
  // standard test skips that rotation below half a radian, and the ray stays
  // in the mirror's own frame, at b from its axis.
  TestDesign t;
  SurfaceSpec m{50, 0, 0};
  m.medium = SurfaceSpec::AirNegat;
  Build(t, {m}, 10);
  t.d.TiltBInput[1] = 0.2;
  ASSERT_TRUE(t.Update().ok);
  ASSERT_NE(t.d.TiltB[1], 0.0);
  for (MirrorTest test : {MirrorTest::RoundedTilt, MirrorTest::AnyTiltFirstColumn}) {
    Tracer tr(t.d);
    tr.FieldCosZ = 1;
    tr.FieldCosX = tr.FieldCosY = 0;
    tr.RayX = tr.RayY = 0;
    tr.StartRay();
    SurfaceLoopPolicy p;
    p.testAperture = false;
    p.mirrorTest = test;
    tr.TraceSurfaces(p);
    if (test == MirrorTest::AnyTiltFirstColumn)
      EXPECT_NEAR(tr.RayCosX, 0.0, 1e-15);
    else
      EXPECT_NEAR(std::fabs(tr.RayCosX), std::sin(std::fabs(t.d.TiltB[1])), 1e-12);
  }
}

}  // namespace
}  // namespace ovrin
