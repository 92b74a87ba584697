// Ray-intercept curves: the symmetry of an axial bundle, lateral colour seen
// against wavelength 1's chief ray, and the perfect system that ends the update.
#include <gtest/gtest.h>

#include <cmath>

#include "../core/test_designs.h"
#include "analysis/geometric/ray_fan.h"
#include "core/design_file.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

struct Loaded {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
};

RayFanResult Fans(const DesignState& d, const DesignSheet& sheet) {
  RayFanSettings s;
  s.imageDistance = d.Bfl;
  s.angleY = sheet.Txtangolo;
  s.angleX = sheet.TxtangoloX;
  return ComputeRayFan(d, s);
}

TEST(RayFan, OnAxisTangentialAndSagittalAgree) {
  Loaded l;
  ASSERT_TRUE(ReadDesignFile(ExamplePath("achromat_80_f12_schott.ovn"), DesignFormat::Current, l.d, l.sheet, l.media).ok);
  const RayFanResult r = Fans(l.d, l.sheet);
  ASSERT_EQ(r.error, "");
  const FanField& axis = r.fields[0];
  for (int k = 0; k < 6; ++k) {
    if (!r.InUse[k]) continue;
    for (int j = 0; j < kFanPoints; ++j)
      EXPECT_NEAR(axis.tangential[k][j], axis.sagittal[k][j], 1e-7) << "wl " << k + 1 << " point " << j;
    // Odd in the pupil: the ray at -y lands opposite the ray at +y.
    for (int j = 0; j < 10; ++j) EXPECT_NEAR(axis.tangential[k][j], -axis.tangential[k][20 - j], 1e-7);
  }
  for (int f = 0; f < 3; ++f) EXPECT_TRUE(r.fields[f].done);
  // The scale is the largest value of both fans.
  double m = 0;
  for (int k = 0; k < 6; ++k)
    if (r.InUse[k])
      for (int j = 0; j < kFanPoints; ++j)
        m = std::max({m, std::fabs(r.fields[2].tangential[k][j]), std::fabs(r.fields[2].sagittal[k][j])});
  EXPECT_EQ(r.fields[2].Scale, m);
}

TEST(RayFan, OtherWavelengthsAreReferredToWavelengthOne) {
  // A single glass lens off axis: blue and red images stand apart, so their
  // curves do not pass through 0 at the pupil centre, while wavelength 1's does.
  TestDesign t;
  Build(t, {{25, 100, 6, SurfaceSpec::Direct, 1.5}, {25, 0, 0}}, 20, 3, {0.5461f, 0.4861f});
  t.d.IndexWl[2][1] = 1.52;
  ASSERT_TRUE(t.Update().ok);
  const RayFanResult r = Fans(t.d, t.sheet);
  ASSERT_EQ(r.error, "");
  const FanField& full = r.fields[2];
  EXPECT_NEAR(full.tangential[0][10], 0.0, 1e-7);
  EXPECT_GT(std::fabs(full.tangential[1][10]), 1e-3);
  EXPECT_NEAR(full.FanChiefY, t.d.ImageHeight, 0.05 * std::fabs(t.d.ImageHeight));
}

TEST(RayFan, NearObjectFieldsAreObjectHeights) {
  // A concave mirror of radius 1000 images an object 2000 mm away at
  // 2000 / 3 mm with magnification -1/3: the chief rays of the three fields
  // land at 0, -0.7 H / 3 and -H / 3.
  TestDesign t;
  Build(t, {{101, -1000, 0, SurfaceSpec::AirNegat}}, 50, 0);
  t.sheet.SelectOption2();
  t.sheet.Text2 = "2000";
  t.sheet.Text3 = "40";
  ASSERT_TRUE(t.Update().ok);
  ASSERT_NEAR(std::fabs(t.d.Bfl), 2000.0 / 3, 1e-6);
  const RayFanResult r = Fans(t.d, t.sheet);
  ASSERT_EQ(r.error, "");
  EXPECT_NEAR(r.fields[0].FanChiefY, 0.0, 1e-6);
  EXPECT_NEAR(r.fields[1].FanChiefY, -0.7 * 40 / 3, 0.01);
  EXPECT_NEAR(r.fields[2].FanChiefY, -40.0 / 3, 0.01);
}

TEST(RayFan, GraphWithoutAnyAberrationEndsTheUpdate) {
  // A beam of no width: every sagittal ray is the chief ray itself, and the
  // graph would divide by its largest value, 0.
  TestDesign t;
  Build(t, {{101, -1000, 0, SurfaceSpec::AirNegat}}, 100, 1);
  ASSERT_TRUE(t.Update().ok);
  t.d.EntrBeamSemiDiam = 0;
  const RayFanResult r = Fans(t.d, t.sheet);
  EXPECT_EQ(r.error, kFanZeroScale);
  EXPECT_FALSE(r.fields[0].done);
}

}  // namespace
}  // namespace ovrin
