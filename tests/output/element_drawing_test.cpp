#include "output/element_drawing.h"

#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "core/design_file.h"
#include "core/optics_math.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::SurfaceSpec;
using testing::TestDesign;

double SphereSag(double r, double h) { return r > 0 ? r - std::sqrt(r * r - h * h) : r + std::sqrt(r * r - h * h); }

TEST(ElementDrawing, BiconvexEdgeThicknessFromTheSags) {
  TestDesign t;
  Build(t, {{25, 100, 8, SurfaceSpec::Direct, 1.5168}, {25, -100, 90, SurfaceSpec::AirPosit}}, 20);
  ASSERT_TRUE(t.Update().ok);
  const ElementDrawing e = ComputeElement(t.d, {1, 0});
  ASSERT_TRUE(e.ok) << e.error;
  EXPECT_FALSE(e.ref.mirror);
  EXPECT_EQ(e.ref.first, 1);
  EXPECT_EQ(e.ref.last, 2);
  EXPECT_DOUBLE_EQ(e.centreThickness, 8.0);
  EXPECT_NEAR(e.edgeThickness, 8 - SphereSag(100, 25) + SphereSag(-100, 25), 1e-12);
  EXPECT_NEAR(e.front.edgeSag, SphereSag(100, 25), 1e-12);
  // Asked by its second face, the same lens.
  EXPECT_EQ(ComputeElement(t.d, {2, 0}).ref.first, 1);
  EXPECT_EQ(e.table[0], "Lens, surfaces 1 - 2");
  EXPECT_NE(e.table[1].find("1.51680"), std::string::npos);
}

TEST(ElementDrawing, UnequalFacesHaveAFlatRimAndTheVolumeOfTheSolid) {
  // Plano-convex, the plane back larger than the curved front: the front is
  // carried flat out to the rim at its edge sag.
  TestDesign t;
  Build(t, {{20, 100, 6, SurfaceSpec::Direct, 1.5168}, {24, 0, 90, SurfaceSpec::AirPosit}}, 20);
  ASSERT_TRUE(t.Update().ok);
  const ElementDrawing e = ComputeElement(t.d, {1, 0});
  ASSERT_TRUE(e.ok);
  const double s = SphereSag(100, 20);
  EXPECT_DOUBLE_EQ(e.rimSemiDiam, 24.0);
  EXPECT_NEAR(e.edgeThickness, 6 - s, 1e-12);
  // A disc of radius 24 and thickness 6 - s, with the spherical cap of
  // height s on its front.
  const double cap = kPi * s * s * (3 * 100 - s) / 3;
  EXPECT_NEAR(e.volume, kPi * 24 * 24 * (6 - s) + cap, 0.05);
}

TEST(ElementDrawing, ConcaveMirrorOnItsBlank) {
  TestDesign t;
  SurfaceSpec mirror{100, -1000, 0, SurfaceSpec::AirNegat};
  mirror.type = kConic;
  mirror.conic = -1;
  Build(t, {mirror}, 100);
  ASSERT_TRUE(t.Update().ok);
  const ElementDrawing e = ComputeElement(t.d, {1, 0});
  ASSERT_TRUE(e.ok);
  EXPECT_TRUE(e.ref.mirror);
  // A paraboloid's sag is h^2 / 2R exactly.
  const double sag = 100.0 * 100 / (2 * 1000);
  EXPECT_NEAR(e.front.edgeSag, -sag, 1e-9);
  EXPECT_NEAR(e.centreThickness, 33.3, 1e-12);  // a sixth of 200 mm
  EXPECT_NEAR(e.edgeThickness, 33.3 + sag, 1e-9);
  const ElementDrawing thin = ComputeElement(t.d, {1, 20});
  EXPECT_NEAR(thin.edgeThickness, 20 + sag, 1e-9);
}

TEST(ElementDrawing, EveryExampleElementFitsItsSheet) {
  for (const char* name : {"achromat_80_f12_schott.ovn", "cemented_doublet_100_f10.ovn", "cooke_triplet_50_f4.5.ovn",
                           "newtonian_200_f5.ovn", "ritchey_chretien_200_f8.ovn", "schmidt_camera_200_f3.ovn"}) {
    DesignState d;
    DesignSheet sheet;
    StoredIndicesResolver media;
    ASSERT_TRUE(ReadDesignFile(testing::ExamplePath(name), DesignFormat::Current, d, sheet, media).ok) << name;
    const auto list = ListElements(d);
    ASSERT_FALSE(list.empty()) << name;
    for (const ElementRef& r : list) {
      const ElementDrawing e = ComputeElement(d, {r.first, 0});
      ASSERT_TRUE(e.ok) << name << " " << r.first << ": " << e.error;
      EXPECT_GT(e.centreThickness, 0) << name << " " << r.first;
      EXPECT_GT(e.volume, 0) << name << " " << r.first;
      RecordingCanvas sheet_canvas;
      DrawElement(e, sheet_canvas);
      // The section, drawn to its scale, stays inside the drawing area left of the table.
      for (const auto& item : sheet_canvas.items())
        if (item.op == RecordingCanvas::Op::Polygon && item.points.size() > 3)
          for (const PlotPoint& p : item.points) {
            EXPECT_GT(p.x, 10) << name;
            EXPECT_LT(p.x, 190) << name;
            EXPECT_GT(p.y, 10) << name;
            EXPECT_LT(p.y, 200) << name;
          }
    }
  }
}

TEST(ElementDrawing, AirAndScreensAreNoElements) {
  TestDesign t;
  SurfaceSpec screen{10, 0, 50, SurfaceSpec::AirPosit};
  screen.type = kObsScreen;
  Build(t, {screen, {25, 100, 8, SurfaceSpec::Direct, 1.5168}, {25, -100, 90, SurfaceSpec::AirPosit}}, 20);
  ASSERT_TRUE(t.Update().ok);
  EXPECT_FALSE(ComputeElement(t.d, {1, 0}).ok);
  const auto list = ListElements(t.d);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].first, 2);
}

}  // namespace
}  // namespace ovrin
