// Spot diagrams checked against the physics they must show: an object at a
// finite distance imaged by a mirror and by a lens, and the sign of a curved
// focal surface.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/spot_diagram.h"
#include "core/design_file.h"
#include "core/number_text.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

struct Spot {
  double rms = 0;
  double chief_height = 0;
};

// One drawing without a canvas, the focus `bfl` mm behind the last surface.
Spot Draw(DesignState& d, double bfl, const char* rays = "1300", int field = 0,
          const std::string& angle_y = "0", const std::string& focal_radius = "0") {
  SpotSettings s;
  s.rays = rays;
  s.field = field;
  s.angleY = angle_y;
  s.focalRadius = focal_radius;
  s.actualBfl = PlainDecimal(bfl);
  const SpotResult spot = ComputeSpot(d, s);
  EXPECT_EQ(spot.error, "");
  EXPECT_GT(spot.GoodRays, 0.0f);
  return {spot.RmsRadius, spot.ChiefHeight};
}

// The object at a finite distance: the design window's "Finite" option with
// the distance and height typed into its boxes.
void Finite(TestDesign& t, double distance, double height) {
  t.sheet.SelectOption2();
  t.sheet.Text2 = ShortestText(distance);
  t.sheet.Text3 = ShortestText(height);
  ASSERT_TRUE(t.Update().ok);
  ASSERT_EQ(t.d.ObjDistance, distance);
}

// A concave spherical mirror of radius 1000 at f/5.
TestDesign SphericalMirror() {
  TestDesign t;
  Build(t, {{101, -1000, 0, SurfaceSpec::AirNegat}}, 100);
  return t;
}

TEST(SpotWithFiniteObject, SphericalMirrorImagesItsCentreOfCurvatureOntoItself) {
  // Every ray from the centre of curvature meets the sphere along its normal and
  // comes straight back: a point, at the full aperture of f/5.
  TestDesign at_centre = SphericalMirror();
  Finite(at_centre, 1000, 0);
  EXPECT_NEAR(at_centre.d.Bfl, -1000, 1e-6);
  const Spot point = Draw(at_centre.d, -1000);
  EXPECT_LT(point.rms, 1e-9);

  // The same mirror with the object at twice that distance: the mirror equation
  // 1/s + 1/s' = 2/R puts the image at 2000/3, and the sphere now shows its
  // spherical aberration, many orders of magnitude above the point.
  TestDesign beyond = SphericalMirror();
  Finite(beyond, 2000, 0);
  EXPECT_NEAR(beyond.d.Bfl, -2000.0 / 3, 1e-4);
  const Spot blurred = Draw(beyond.d, beyond.d.Bfl);
  EXPECT_GT(blurred.rms, 1e-3);

  // Off the centre by h in the plane of the centre, the image is the point
  // reflected through the centre: height -h.
  TestDesign off = SphericalMirror();
  Finite(off, 1000, 2);
  const Spot reflected = Draw(off.d, -1000);
  EXPECT_NEAR(reflected.chief_height, -2, 1e-4);
  EXPECT_LT(reflected.rms, 1e-3);
}

// A biconvex lens of about 100 mm focal length, index 1.5, 3 mm thick.
TestDesign ThinishLens(double beam) {
  TestDesign t;
  Build(t, {{16, 100, 3, SurfaceSpec::Direct, 1.5}, {16, -100, 0}}, beam);
  return t;
}

// Gaussian optics of the same lens from the textbook y-nu trace: the image
// distance from the last vertex and the magnification for an object at s.
struct Gauss {
  double image_distance, magnification, image_slope;
};
Gauss ParaxialImage(double s, double beam) {
  const double n = 1.5, c1 = 1 / 100.0, c2 = -1 / 100.0, t = 3;
  // Marginal ray from the axial object point to the rim of the first surface.
  double y = beam, nu = beam / s;
  nu -= y * (n - 1) * c1;  // refraction: n'u' = nu - y (n' - n) c, slopes positive upward
  y += t * nu / n;
  nu -= y * (1 - n) * c2;
  const double image = -y / nu;
  // Magnification: n u / (n' u') with the object and image slopes.
  return {image, (beam / s) / nu, nu};
}

TEST(SpotWithFiniteObject, ThinishLensObeysTheConjugateEquation) {
  const double s = 300;
  const Gauss g = ParaxialImage(s, 1.0);
  ASSERT_GT(g.image_distance, 140);  // about 1/(1/100 - 1/300) = 150 for a thin lens
  ASSERT_LT(g.image_distance, 160);

  TestDesign axial = ThinishLens(3);
  Finite(axial, s, 0);
  EXPECT_NEAR(axial.d.Bfl, g.image_distance, 1e-6 * g.image_distance);

  // At the Gaussian image the spot is only the lens' spherical aberration:
  // third order, its transverse size grows as the cube of the aperture.
  const double at_3 = Draw(axial.d, g.image_distance, "5100").rms;
  TestDesign wider = ThinishLens(6);
  Finite(wider, s, 0);
  const double at_6 = Draw(wider.d, g.image_distance, "5100").rms;
  EXPECT_NEAR(at_6 / at_3, 8.0, 0.4);

  // Third order, a ray from pupil height rho (0..1) lands at a rho^3 + b rho,
  // with a the marginal ray's aberration and b = defocus times the image-side
  // slope u'. Over the filled pupil the RMS radius is then
  // sqrt(a^2/4 + 2ab/3 + b^2/2): a/2 at the Gaussian image, which gives a.
  const double a = 2 * at_6;
  const double slope = std::fabs(ParaxialImage(s, 6).image_slope);
  auto third_order_rms = [&](double defocus) {
    const double b = defocus * slope;
    return std::sqrt(a * a / 4 + 2 * a * b / 3 + b * b / 2);
  };
  // 2 mm further out, the cone of light has spread into a disc about four
  // times the aberration.
  const double out = Draw(wider.d, g.image_distance + 2, "5100").rms;
  EXPECT_NEAR(out, third_order_rms(2), 0.02 * out);
  // The smallest spot lies 2a/(3u') towards the lens, a third of the size of
  // the spot at the Gaussian image.
  const double best = -2 * a / (3 * slope);
  const double at_best = Draw(wider.d, g.image_distance + best, "5100").rms;
  EXPECT_NEAR(at_best, at_6 / 3, 0.05 * at_6 / 3);
  EXPECT_LT(at_best, Draw(wider.d, g.image_distance + 1.2 * best, "5100").rms);
  EXPECT_LT(at_best, Draw(wider.d, g.image_distance + 0.8 * best, "5100").rms);

  // An object point 5 mm off the axis is imaged at the Gaussian magnification,
  // up to the lens' distortion (a fraction of a percent here).
  TestDesign field = ThinishLens(3);
  Finite(field, s, 5);
  const Spot off = Draw(field.d, g.image_distance);
  EXPECT_NEAR(off.chief_height, 5 * g.magnification, 2e-3 * std::fabs(5 * g.magnification));
  EXPECT_LT(g.magnification, 0);  // a real image is inverted
}

// The Schmidt camera's field is curved: its focal surface is concentric with
// the mirror, a sphere of half the mirror's radius about the same centre, which
// in the mirror's image space is a focal radius of -600. Its full-field spot is
// sharp there; the opposite sign bends the surface the wrong way and blurs it,
// and a flat surface lies in between.
TEST(SpotFocalSurface, SchmidtIsSharpOnItsCurvedFieldOnly) {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(ReadDesignFile(ExamplePath("schmidt_camera_200_f3.ovn"), DesignFormat::Current, d,
                             sheet, media).ok);
  ASSERT_NE(sheet.Txtangolo, "0");
  const Spot sharp = Draw(d, d.Bfl, "1300", 1, sheet.Txtangolo, "-600");
  const Spot flat = Draw(d, d.Bfl, "1300", 1, sheet.Txtangolo, "0");
  const Spot wrong = Draw(d, d.Bfl, "1300", 1, sheet.Txtangolo, "600");
  EXPECT_LT(sharp.rms, 0.02 * flat.rms);
  EXPECT_LT(flat.rms, 0.7 * wrong.rms);
  // On the curved surface the full field is nearly as good as the axis.
  const Spot axis = Draw(d, d.Bfl, "1300", 0, "0", "-600");
  EXPECT_LT(sharp.rms, 1.5 * axis.rms);
}

}  // namespace
}  // namespace ovrin
