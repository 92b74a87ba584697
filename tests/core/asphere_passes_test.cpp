// The Newton iterations that find where a ray meets an asphere end within
// their pass limit: a ray that does not converge fails instead of holding the
// program.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>

#include "core/design_file.h"
#include "core/ray_tracer.h"
#include "core/system_update.h"

namespace ovrin {
namespace {

std::string CorpusPath(const std::string& name) { return std::string(OVRIN_CORPUS_DIR) + "/" + name; }

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point t0) {
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

TEST(AsphereIterations, SteepNearAxisRayFailsTheUpdateInsteadOfHanging) {
  // A paraboloid (R -480, K -1) with an object 20 mm in front and a beam of
  // half-diameter 100: the near-axis ray meets the mirror far outside the
  // region where the Newton step converges.
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  const auto t0 = Clock::now();
  const UpdateResult r =
      ReadDesignFile(CorpusPath("paraboloid_near_object.ovn"), DesignFormat::Current, d, sheet, media);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.message, kDataInputError);
  EXPECT_LT(SecondsSince(t0), 5.0);

  // The near-axis operation alone: the registers of that ray, then a TraceError.
  Tracer t(d);
  t.CurRadius = -480;
  t.CurConic = -1;
  t.CurN = 1;
  t.CurNPrime = -1;
  t.ParaxU = std::atan(100.0 / -20.0);
  t.ParaxY = -20.0 * std::sin(t.ParaxU);
  EXPECT_THROW(t.ParaxTraceAsphere(), TraceError);
}

TEST(AsphereIterations, SteepRealRayFailsInsteadOfHanging) {
  // The same paraboloid seen at a field of -89.9 degrees: some rays of the
  // bundle never settle on the surface.
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(
      ReadDesignFile(CorpusPath("steep_field_paraboloid.ovn"), DesignFormat::Current, d, sheet, media).ok);
  Tracer t(d);
  t.FieldCosZ = d.ChiefCosZ;
  t.FieldCosY = d.ChiefCosY;
  t.FieldCosX = d.ChiefCosX;
  const auto t0 = Clock::now();
  int failed = 0, traced = 0;
  for (int iy = -10; iy <= 10; ++iy) {
    for (int ix = -10; ix <= 10; ++ix) {
      try {
        t.TraceRay(ix * 10.0, iy * 10.0, SurfaceLoopPolicy{}, d.Bfl);
        ++traced;
      } catch (const TraceError&) {
        ++failed;
      }
    }
  }
  EXPECT_GT(failed, 0);
  EXPECT_EQ(failed + traced, 21 * 21);
  EXPECT_LT(SecondsSince(t0), 5.0);
}

TEST(AsphereIterations, ConvergingRaysAreUntouchedByTheLimit) {
  // An axial bundle on a paraboloid focuses to a point: the iteration still
  // converges, to the same focus, for rays up to the rim.
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  ASSERT_TRUE(ReadDesignFile(std::string(OVRIN_EXAMPLES_DIR) + "/newtonian_200_f5.ovn", DesignFormat::Current, d,
                             sheet, media)
                  .ok);
  Tracer t(d);
  for (double py : {0.0, 10.0, 50.0, 99.0}) {
    t.TraceRay(0, py, SurfaceLoopPolicy{}, d.Bfl);
    EXPECT_NEAR(t.RayY, 0.0, 1e-6) << py;
  }
}

}  // namespace
}  // namespace ovrin
