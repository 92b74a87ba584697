#include "core/edge_contact.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/number_text.h"
#include "test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

// The sag of a sphere of radius R at height h, written from the circle.
double SphereSag(double r, double h) { return r > 0 ? r - std::sqrt(r * r - h * h) : r + std::sqrt(r * r - h * h); }

// A crown and a flint with an air space between surfaces 2 and 3.
void AirSpaced(TestDesign& t, double r2, double r3, double h2, double h3) {
  Build(t,
        {{h2, 300, 8, SurfaceSpec::Direct, 1.5168},
         {h2, r2, 1.0, SurfaceSpec::AirPosit},
         {h3, r3, 4, SurfaceSpec::Direct, 1.6200},
         {h3, -500, 0, SurfaceSpec::AirPosit}},
        20);
  ASSERT_TRUE(t.Update().ok);
}

TEST(EdgeContact, TwoSpheresMeetAtTheirRims) {
  TestDesign t;
  AirSpaced(t, -200, -150, 30, 30);
  const EdgeContact c = SolveEdgeContact(t.d, {2, 0, 0});
  ASSERT_TRUE(c.ok) << c.error;
  EXPECT_EQ(c.h1, 30.0);
  EXPECT_NEAR(c.thickness, SphereSag(-200, 30) - SphereSag(-150, 30), 1e-12);
  EXPECT_GT(c.thickness, 0.0);
  // The steeper concave flint leaves air in the middle: the least gap is the rim's, zero.
  EXPECT_FALSE(c.facesCross);
  EXPECT_NEAR(c.leastGap, 0.0, 1e-12);
  EXPECT_NEAR(c.leastGapHeight, 30.0, 1e-12);
  EXPECT_EQ(c.oldThickness, 1.0);

  // Contact at half-diameters of the user's own: each face at its own height.
  const EdgeContact d = SolveEdgeContact(t.d, {2, 28, 22});
  ASSERT_TRUE(d.ok);
  EXPECT_NEAR(d.thickness, SphereSag(-200, 28) - SphereSag(-150, 22), 1e-12);
}

TEST(EdgeContact, FacesBulgingTowardsEachOtherCross) {
  TestDesign t;
  AirSpaced(t, -200, 150, 30, 30);
  const EdgeContact c = SolveEdgeContact(t.d, {2, 0, 0});
  ASSERT_TRUE(c.ok);
  EXPECT_NEAR(c.thickness, SphereSag(-200, 30) - SphereSag(150, 30), 1e-12);
  EXPECT_LT(c.thickness, 0.0);
  // Touching rims would put the vertices through each other.
  EXPECT_TRUE(c.facesCross);
  EXPECT_NEAR(c.leastGapHeight, 0.0, 1e-12);
  EXPECT_NEAR(c.leastGap, c.thickness, 1e-12);
}

TEST(EdgeContact, WrittenThroughTheGridSurvivesTheUpdate) {
  TestDesign t;
  AirSpaced(t, -200, -150, 30, 30);
  const EdgeContact c = SolveEdgeContact(t.d, {2, 0, 0});
  ApplyEdgeContact(t.d, t.sheet, c);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_EQ(t.d.Thickness[2], RoundTo(c.thickness, 4));
  EXPECT_EQ(t.sheet.Cell(2, 4), ShortestText(RoundTo(c.thickness, 4)));
  // Solved again, the space is already at contact (to the rounding of the table).
  const EdgeContact again = SolveEdgeContact(t.d, {2, 0, 0});
  EXPECT_NEAR(again.thickness, t.d.Thickness[2], 5e-5);
}

TEST(EdgeContact, RefusesWhatHasNoAnswer) {
  TestDesign t;
  AirSpaced(t, -200, -150, 30, 30);
  EXPECT_FALSE(SolveEdgeContact(t.d, {4, 0, 0}).ok);  // the last surface has no next one
  EXPECT_FALSE(SolveEdgeContact(t.d, {0, 0, 0}).ok);
  // A sphere of radius 150 has no point at height 160.
  const EdgeContact c = SolveEdgeContact(t.d, {2, 0, 160});
  EXPECT_FALSE(c.ok);
  EXPECT_FALSE(c.error.empty());
  // Nothing is written for a failed solve.
  const double before = t.d.Thickness[2];
  ApplyEdgeContact(t.d, t.sheet, c);
  EXPECT_EQ(t.d.Thickness[2], before);
}

TEST(EdgeContact, SpaceAfterAMirrorRunsBackwards) {
  // A concave primary and a convex secondary: the space between them is negative.
  TestDesign t;
  SurfaceSpec primary{100, -1600, -500, SurfaceSpec::AirNegat};
  SurfaceSpec secondary{30, -600, 0, SurfaceSpec::AirPosit};
  Build(t, {primary, secondary}, 100);
  ASSERT_TRUE(t.Update().ok);
  const EdgeContact c = SolveEdgeContact(t.d, {1, 0, 0});
  ASSERT_TRUE(c.ok);
  EXPECT_NEAR(c.thickness, SphereSag(-1600, 100) - SphereSag(-600, 30), 1e-12);
  // Measured along the reflected light, the secondary's vertex stands behind the primary's rim plane.
  EXPECT_FALSE(c.facesCross);
}

}  // namespace
}  // namespace ovrin
