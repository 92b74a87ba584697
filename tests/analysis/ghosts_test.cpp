// Ghosts of two reflections against the near-axis closed forms of a plate in
// a converging beam and of a plano-convex lens, and their count and order.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/ghosts.h"
#include "core/design_file.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

SurfaceSpec Glass(double semi, double radius, double thickness, double n) {
  SurfaceSpec s{semi, radius, thickness, SurfaceSpec::Direct};
  s.direct_index = n;
  return s;
}

TEST(Ghosts, FresnelReflectance) {
  EXPECT_NEAR(FresnelReflectance(1, 1.5), 0.04, 1e-12);
  EXPECT_NEAR(FresnelReflectance(1.5, 1), 0.04, 1e-12);
  EXPECT_EQ(FresnelReflectance(1.5, 1.5), 0);
  EXPECT_NEAR(FresnelReflectance(-1, -1.5), 0.04, 1e-12);
}

TEST(Ghosts, PlateInAConvergingBeamFocusesTwiceItsReducedThicknessEarlier) {
  // A lens, then a plate of thickness 10 and index 1.6 in its converging
  // beam: the light of the plate's ghost crosses the plate twice more, 2 t / n
  // of extra reduced path, so it focuses that much before the image, and the
  // cone of the image (half-width a / EFL) makes its disc 2 (2 t / n) a / EFL wide.
  TestDesign t;
  const double t_plate = 10, n = 1.6, a = 20;
  Build(t, {Glass(25, 300, 6, 1.5), {25, -300, 100}, Glass(25, 0, t_plate, n), {25, 0, 0}}, a);
  ASSERT_TRUE(t.Update().ok);
  GhostSettings s;
  s.actualBfl = t.d.Bfl;
  const GhostResult r = ComputeGhosts(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.refracting, 4);
  ASSERT_EQ(r.ghosts.size(), 6u);
  const Ghost* plate = nullptr;
  for (const Ghost& g : r.ghosts)
    if (g.first == 3 && g.second == 4) plate = &g;
  ASSERT_NE(plate, nullptr);
  EXPECT_NEAR(plate->focusShift, -2 * t_plate / n, 1e-6);
  EXPECT_NEAR(plate->blurDiam, 2 * (2 * t_plate / n) * a / t.d.Efl, 1e-6);
  EXPECT_NEAR(plate->energy, FresnelReflectance(1, n) * FresnelReflectance(1, n), 1e-12);
  // Brightest first.
  for (size_t k = 1; k < r.ghosts.size(); ++k) EXPECT_GE(r.ghosts[k - 1].brightness, r.ghosts[k].brightness);
}

TEST(Ghosts, PlanoConvexLensAgainstItsClosedForm) {
  // Plane front, rear radius R2 < 0, thickness t, index n, beam a. Inside the
  // glass the rear face is a concave mirror: slope -2 a c2 after it, height
  // a (1 + 2 c2 t) back on the plane face, a (1 + 4 c2 t) on the rear face
  // again with slope 2 a c2, then the refraction into air.
  const double n = 1.5168, R2 = -200, t_lens = 12, a = 25, c2 = 1 / R2;
  TestDesign t;
  Build(t, {Glass(30, 0, t_lens, n), {30, R2, 0}}, a);
  ASSERT_TRUE(t.Update().ok);
  GhostSettings s;
  s.actualBfl = t.d.Bfl;
  const GhostResult r = ComputeGhosts(t.d, s);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.ghosts.size(), 1u);
  const double y = a * (1 + 4 * c2 * t_lens);
  const double u = n * 2 * a * c2 - y * (1 - n) * c2;
  const double bfl = 1 / ((1 - n) * c2);
  EXPECT_NEAR(t.d.Bfl, bfl, 1e-3);
  const Ghost& g = r.ghosts[0];
  EXPECT_EQ(g.first, 1);
  EXPECT_EQ(g.second, 2);
  EXPECT_NEAR(g.focusFromLast, -y / u, 1e-6);
  EXPECT_NEAR(g.focusShift, -y / u - t.d.Bfl, 1e-6);
  EXPECT_NEAR(g.blurDiam, 2 * std::fabs(y + t.d.Bfl * u), 1e-6);
}

TEST(Ghosts, MirrorsMakeNoneAndACoatingSetsTheEnergy) {
  // A Newtonian: mirrors only.
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(
      ReadDesignFile(testing::ExamplePath("newtonian_200_f5.ovn"), DesignFormat::Current, d, sheet, media).ok);
  GhostSettings s;
  s.actualBfl = d.Bfl;
  const GhostResult none = ComputeGhosts(d, s);
  ASSERT_TRUE(none.ok);
  EXPECT_EQ(none.refracting, 0);
  EXPECT_TRUE(none.ghosts.empty());
  // A cemented doublet: three refracting faces, three pairs.
  TestDesign t;
  Build(t, {Glass(30, 60, 8, 1.52), Glass(30, -45, 4, 1.62), {30, -200, 0}}, 25);
  ASSERT_TRUE(t.Update().ok);
  s.actualBfl = t.d.Bfl;
  s.reflectance = 0.01;
  const GhostResult r = ComputeGhosts(t.d, s);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.refracting, 3);
  ASSERT_EQ(r.ghosts.size(), 3u);
  for (const Ghost& g : r.ghosts) EXPECT_NEAR(g.energy, 1e-4, 1e-15);
  EXPECT_EQ(r.text.size(), 3u + 3u);
}

}  // namespace
}  // namespace ovrin
