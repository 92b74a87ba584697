// The bundle tracer against the one-ray tracer, bit for bit: the same rays,
// through the examples and through random designs of every surface kind with
// tilts, decenters, mirrors and finite objects, must end with the same bits in
// every register, the same vignetting marks, and the same failures (surface
// and reason), on every code path this processor can run.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <vector>

#include "core/design_file.h"
#include "core/ray_bundle.h"
#include "core/ray_tracer.h"
#include "test_designs.h"

namespace ovrin {
namespace {

using testing::ExamplePath;

uint64_t Bits(double v) { return std::bit_cast<uint64_t>(v); }

std::vector<BundleIsa> Paths() {
  std::vector<BundleIsa> paths;
  for (BundleIsa isa : {BundleIsa::Baseline, BundleIsa::Avx2, BundleIsa::Avx512})
    if (BundleIsaAvailable(isa)) paths.push_back(isa);
  return paths;
}

// Puts the best path back when a test is done with the others.
struct PathGuard {
  BundleIsa saved = BundleIsaInUse();
  ~PathGuard() { UseBundleIsa(saved); }
};

struct Field {
  double cosZ = 1, cosY = 0, cosX = 0, objHeight = 0;
};

struct Trace {
  SurfaceLoopPolicy policy;
  double imageDistance = 0;
  double focalRadius = 0;
  Field field;
};

// What the comparisons met, so that a test can tell that its rays reached the
// cases it is about.
struct Tally {
  int rays = 0, failed = 0, vignetted = 0, ended = 0;
  int mixedBundles = 0;  // lanes failing at two surfaces or more beside lanes that pass
  std::set<int> reasons;
  int mismatches = 0;
  std::string first;
};

// One ray through the one-ray tracer, as the analyses run it.
struct OneRay {
  bool failed = false;
  int surface = 0;
  TraceFault reason = TraceFault::NonFinite;
  bool vignetted = false, ended = false;
  int vignSurf = 0;
  double v[7] = {};
};

OneRay TraceOne(Tracer& t, double px, double py, const Trace& run) {
  OneRay o;
  try {
    t.RayX = px;
    t.RayY = py;
    t.RayZ = 0;
    t.StartRay();
    t.TraceSurfaces(run.policy);
    o.vignetted = t.RayVignetted;
    o.vignSurf = t.VignSurf;
    o.ended = run.policy.stoppedRayEnds && t.RayVignetted;
    if (!o.ended) t.TraceToImage(run.imageDistance, run.focalRadius);
  } catch (const TraceError& e) {
    o.failed = true;
    o.surface = e.surface;
    o.reason = e.reason;
  }
  const double v[7] = {t.RayX, t.RayY, t.RayZ, t.RayCosX, t.RayCosY, t.RayCosZ, t.RayPath};
  std::copy(v, v + 7, o.v);
  return o;
}

void Compare(const DesignState& d, const Trace& run, const std::vector<double>& px, const std::vector<double>& py,
             Tally& tally) {
  Tracer t(d);
  BundleTracer b(d);
  t.FieldCosZ = b.FieldCosZ = run.field.cosZ;
  t.FieldCosY = b.FieldCosY = run.field.cosY;
  t.FieldCosX = b.FieldCosX = run.field.cosX;
  t.ObjHeight = b.ObjHeight = run.field.objHeight;
  const int n = static_cast<int>(px.size());
  for (int start = 0; start < n; start += kBundleLanes) {
    const int m = std::min(kBundleLanes, n - start);
    b.StartRays(&px[start], &py[start], m);
    b.TraceSurfaces(run.policy);
    b.TraceToImage(run.imageDistance, run.focalRadius);
    std::set<int> fail_surfaces;
    bool some_pass = false;
    for (int l = 0; l < m; ++l) {
      const OneRay o = TraceOne(t, px[start + l], py[start + l], run);
      ++tally.rays;
      std::ostringstream why;
      const bool failed = b.Failed[l] != 0;
      if (o.failed != failed) {
        why << "failure " << o.failed << " against " << failed;
      } else if (o.failed) {
        ++tally.failed;
        tally.reasons.insert(static_cast<int>(o.reason));
        fail_surfaces.insert(o.surface);
        if (o.surface != b.FailSurface[l] || static_cast<int64_t>(o.reason) != b.FailReason[l])
          why << "failed at " << o.surface << " (" << TraceFaultText(o.reason) << ") against "
              << b.FailSurface[l] << " (" << TraceFaultText(static_cast<TraceFault>(b.FailReason[l])) << ")";
      } else {
        some_pass = true;
        tally.vignetted += o.vignetted;
        tally.ended += o.ended;
        const double v[7] = {b.X[l], b.Y[l], b.Z[l], b.CosX[l], b.CosY[l], b.CosZ[l], b.Path[l]};
        if (o.vignetted != (b.Vignetted[l] != 0) || o.vignSurf != b.VignSurf[l] || o.ended != (b.Ended[l] != 0))
          why << "marks " << o.vignetted << "/" << o.vignSurf << "/" << o.ended << " against " << b.Vignetted[l]
              << "/" << b.VignSurf[l] << "/" << b.Ended[l];
        for (int k = 0; k < 7; ++k)
          if (Bits(o.v[k]) != Bits(v[k])) {
            why.precision(17);
            why << "register " << k << ": " << o.v[k] << " against " << v[k];
            break;
          }
      }
      if (!why.str().empty()) {
        if (tally.mismatches++ == 0)
          tally.first = "ray (" + std::to_string(px[start + l]) + ", " + std::to_string(py[start + l]) +
                        "), path " + BundleIsaName(BundleIsaInUse()) + ": " + why.str();
      }
    }
    if (fail_surfaces.size() >= 2 && some_pass) ++tally.mixedBundles;
  }
}

// Points spread over a square a little wider than the beam, so that some
// rays are vignetted or miss.
void RandomPoints(std::mt19937_64& rng, double half, int n, std::vector<double>& px, std::vector<double>& py) {
  std::uniform_real_distribution<double> u(-half, half);
  px.resize(n);
  py.resize(n);
  for (int i = 0; i < n; ++i) px[i] = u(rng), py[i] = u(rng);
}

TEST(BundleTracer, EveryExampleGivesTheOneRayBits) {
  const char* files[] = {"achromat_80_f12_schott.ovn", "cemented_doublet_100_f10.ovn", "cooke_triplet_50_f4.5.ovn",
                         "newtonian_200_f5.ovn",       "ritchey_chretien_200_f8.ovn",  "schmidt_camera_200_f3.ovn"};
  PathGuard guard;
  std::mt19937_64 rng(21);
  std::vector<double> px, py;
  for (BundleIsa isa : Paths()) {
    ASSERT_TRUE(UseBundleIsa(isa));
    Tally tally;
    for (const char* file : files) {
      SCOPED_TRACE(file);
      DesignState d;
      DesignSheet sheet;
      StoredIndicesResolver media;
      ASSERT_TRUE(ReadDesignFile(ExamplePath(file), DesignFormat::Current, d, sheet, media).ok);
      const double half = 1.2 * d.EntrBeamSemiDiam;
      for (int k = 1; k <= d.WlCount; ++k) {
        for (int full = 0; full <= 1; ++full) {
          Trace spot;
          spot.policy.wavelength = k;
          spot.imageDistance = d.Bfl;
          if (full) spot.field = Field{d.ChiefCosZ, d.ChiefCosY, d.ChiefCosX, d.HalfFieldY};
          RandomPoints(rng, half, 2000, px, py);
          Compare(d, spot, px, py, tally);
          // The wave front's loop: a private 32-bit index copy, the optical
          // path, its mirror test, stopped rays ended, a curved image.
          Trace wave = spot;
          const SurfTable index = PrivateIndexTable(d, k, IndexWidth::Single);
          wave.policy.indexTable = &index;
          wave.policy.sumPath = true;
          wave.policy.stoppedRayEnds = true;
          wave.policy.mirrorTest = MirrorTest::AnyTiltFirstColumn;
          wave.focalRadius = -0.5 * d.Bfl;
          RandomPoints(rng, half, 2000, px, py);
          Compare(d, wave, px, py, tally);
        }
      }
    }
    EXPECT_EQ(tally.mismatches, 0) << tally.first;
    EXPECT_GE(tally.rays, 50000);
    EXPECT_GT(tally.vignetted, 0);
    EXPECT_GT(tally.ended, 0);
  }
}

// A design drawn at random: spheres, conics, high-order surfaces, screens,
// skipped rows and planes; glass, air and mirrors; tilts and decenters in
// every order, the image plane's included; an object at infinity or near.
struct RandomDesign {
  DesignState d;
  explicit RandomDesign(std::mt19937_64& rng) {
    std::uniform_real_distribution<double> u(0, 1);
    auto in = [&](double a, double b) { return a + (b - a) * u(rng); };
    ClearDesign(d);
    ResetTiltDecenter(d);
    const int n = 2 + static_cast<int>(u(rng) * 7);
    d.SurfCount = static_cast<int16_t>(n);
    d.WlCount = 2;
    double sign = 1, medium = 1;
    for (int k = 1; k <= 2; ++k) d.IndexWl[k][0] = 1;
    for (int i = 1; i <= n; ++i) {
      const double kind = u(rng);
      d.SurfType[i] = kind < 0.35 ? 1.0f : kind < 0.55 ? 2.0f : kind < 0.8 ? 3.0f : kind < 0.93 ? 4.0f : 0.0f;
      d.Radius[i] = u(rng) < 0.15 ? 0.0 : (u(rng) < 0.5 ? -1 : 1) * in(15, 300);
      d.Conic[i] = d.SurfType[i] >= 2.0f ? in(-3, 1.5) : 0.0;
      if (d.SurfType[i] == 3.0f) {
        d.AsphA4[i] = in(-2e-6, 2e-6);
        d.AsphA6[i] = in(-1e-9, 1e-9);
        d.AsphA8[i] = in(-1e-13, 1e-13);
      }
      d.SemiDiam[i] = d.SurfType[i] == 4.0f ? in(0, 6) : in(8, 30);
      const double medium_pick = u(rng);
      if (medium_pick < 0.15) {
        sign = -sign;  // a mirror: the same medium, the other way
      } else {
        medium = medium_pick < 0.55 ? 1.0 : in(1.45, 1.9);
      }
      d.IndexWl[1][i] = sign * medium;
      d.IndexWl[2][i] = sign * (medium == 1.0 ? 1.0 : medium + 0.01);
      d.Thickness[i] = sign * in(1, 40);
      if (u(rng) < 0.25) {
        d.TiltA[i] = u(rng) < 0.7 ? in(-0.15, 0.15) : 0.0;
        d.TiltB[i] = u(rng) < 0.7 ? in(-0.8, 0.8) : 0.0;
        d.DecX[i] = static_cast<float>(in(-1, 1));
        d.DecY[i] = static_cast<float>(in(-1, 1));
        d.TiltOrder[i] = static_cast<float>(static_cast<int>(u(rng) * 4));  // 0..3
      } else if (u(rng) < 0.1) {
        d.DecY[i] = static_cast<float>(in(-2, 2));
      }
    }
    if (u(rng) < 0.2) {
      d.TiltA[n + 1] = in(-0.05, 0.05);
      d.TiltB[n + 1] = in(-0.05, 0.05);
    }
    if (u(rng) < 0.3) d.ObjDistance = in(150, 3000);
    if (u(rng) < 0.5) d.EntrPupilZ = in(-30, 30);
    d.EntrBeamSemiDiam = 20;
  }
};

TEST(BundleTracer, RandomDesignsOfEverySurfaceKindGiveTheOneRayBits) {
  PathGuard guard;
  for (BundleIsa isa : Paths()) {
    ASSERT_TRUE(UseBundleIsa(isa));
    std::mt19937_64 rng(2121);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<double> px, py;
    Tally tally;
    for (int design = 0; design < 200; ++design) {
      RandomDesign r(rng);
      const DesignState& d = r.d;
      Trace run;
      run.policy.wavelength = u(rng) < 0.7 ? 1 : 2;
      run.policy.testAperture = u(rng) < 0.8;
      run.policy.stoppedRayEnds = u(rng) < 0.4;
      run.policy.sumPath = u(rng) < 0.5;
      run.policy.mirrorTest = u(rng) < 0.5 ? MirrorTest::RoundedTilt : MirrorTest::AnyTiltFirstColumn;
      run.imageDistance = (d.IndexWl[1][d.SurfCount] < 0 ? -1 : 1) * (20 + 200 * u(rng));
      run.focalRadius = u(rng) < 0.6 ? 0.0 : (u(rng) < 0.5 ? -1 : 1) * (50 + 400 * u(rng));
      const double ay = 0.1 * u(rng), ax = u(rng) < 0.3 ? 0.05 * u(rng) : 0.0;
      const double norm = std::sqrt(1 + std::tan(ay) * std::tan(ay) + std::tan(ax) * std::tan(ax));
      run.field = Field{1 / norm, std::tan(ay) / norm, std::tan(ax) / norm, 40 * u(rng) - 20};
      RandomPoints(rng, 28, 500, px, py);
      Compare(d, run, px, py, tally);
    }
    EXPECT_EQ(tally.mismatches, 0) << tally.first;
    EXPECT_EQ(tally.rays, 100000);
    // The rays reached the cases the bundle must mask lane by lane.
    EXPECT_GT(tally.failed, 1000);
    EXPECT_GT(tally.mixedBundles, 20);
    EXPECT_TRUE(tally.reasons.count(static_cast<int>(TraceFault::MissedSurface)));
    EXPECT_TRUE(tally.reasons.count(static_cast<int>(TraceFault::TotalReflection)));
    EXPECT_TRUE(tally.reasons.count(static_cast<int>(TraceFault::OutsideConic)));
    EXPECT_GT(tally.ended, 0);
  }
}

// Lanes of one bundle that fail at different surfaces: the high rays miss the
// first sphere, the middle ones reflect totally inside the second, and the
// rest pass; each lane reports its own surface and reason.
TEST(BundleTracer, LanesFailAtTheirOwnSurfacesWhileTheOthersGoOn) {
  DesignState d;
  ClearDesign(d);
  ResetTiltDecenter(d);
  d.SurfCount = 2;
  d.IndexWl[1][0] = 1;
  d.Radius[1] = 50, d.Thickness[1] = 5, d.IndexWl[1][1] = 1.5, d.SurfType[1] = 1;
  d.Radius[2] = 30, d.Thickness[2] = 50, d.IndexWl[1][2] = 1, d.SurfType[2] = 1;
  d.Bfl = 50;
  const double py[kBundleLanes] = {0, 52, 5, 27, 10, 55, 29, 15};
  const double px[kBundleLanes] = {};
  PathGuard guard;
  for (BundleIsa isa : Paths()) {
    ASSERT_TRUE(UseBundleIsa(isa));
    BundleTracer b(d);
    SurfaceLoopPolicy policy;
    policy.testAperture = false;
    b.TraceRays(px, py, kBundleLanes, policy, d.Bfl);
    Tracer one(d);
    for (int l = 0; l < kBundleLanes; ++l) {
      SCOPED_TRACE(py[l]);
      try {
        one.TraceRay(px[l], py[l], policy, d.Bfl);
        ASSERT_EQ(b.Failed[l], 0);
        EXPECT_EQ(Bits(b.Y[l]), Bits(one.RayY));
        EXPECT_EQ(Bits(b.CosY[l]), Bits(one.RayCosY));
      } catch (const TraceError& e) {
        ASSERT_EQ(b.Failed[l], 1);
        EXPECT_EQ(b.ErrorOf(l).surface, e.surface);
        EXPECT_EQ(b.ErrorOf(l).reason, e.reason);
      }
    }
    EXPECT_EQ(b.ErrorOf(1).surface, 1);
    EXPECT_EQ(b.ErrorOf(1).reason, TraceFault::MissedSurface);
    EXPECT_EQ(b.ErrorOf(3).surface, 2);
    EXPECT_EQ(b.ErrorOf(3).reason, TraceFault::TotalReflection);
    for (int l : {0, 2, 4, 7}) EXPECT_EQ(b.Failed[l], 0) << py[l];
  }
}

// The transfers to the pupil plane and to a flat image take a short path of
// their own; it must give the bits of the sphere operation on a plane, signs
// of zeros and failures included, for ordinary rays and awkward ones alike.
TEST(BundleTracer, PlaneTransfersGiveTheSphereOperationsBits) {
  DesignState d;
  ClearDesign(d);
  ResetTiltDecenter(d);
  d.SurfCount = 1;
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const double odd[] = {0.0, -0.0, 1e-300, -1e-300, 1e-160, 1e200, -1e200, inf, -inf, nan, 1.0, -1.0};
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> u(-1, 1);
  auto pick = [&](double ordinary) { return u(rng) < -0.6 ? odd[static_cast<size_t>((u(rng) + 1) * 6) % 12] : ordinary; };
  PathGuard guard;
  int compared = 0, failures = 0;
  for (BundleIsa isa : Paths()) {
    ASSERT_TRUE(UseBundleIsa(isa));
    for (int trial = 0; trial < 4000; ++trial) {
      const double n_last = trial % 5 == 0 ? pick(1.5) : (trial % 2 ? 1.0 : -1.0);
      d.IndexWl[1][1] = n_last;
      const double dist = pick(100 * u(rng));
      double ray[kBundleLanes][6];
      for (auto& r : ray) {
        r[0] = pick(30 * u(rng)), r[1] = pick(30 * u(rng)), r[2] = pick(u(rng));
        r[3] = pick(0.2 * u(rng)), r[4] = pick(0.2 * u(rng)), r[5] = pick(std::sqrt(1 - r[3] * r[3] - r[4] * r[4]));
        if (u(rng) < -0.8) r[5] = -r[5];
      }
      BundleTracer b(d);
      const double zero[kBundleLanes] = {};
      b.StartRays(zero, zero, kBundleLanes);
      for (int l = 0; l < kBundleLanes; ++l) {
        b.X[l] = ray[l][0], b.Y[l] = ray[l][1], b.Z[l] = ray[l][2];
        b.CosX[l] = ray[l][3], b.CosY[l] = ray[l][4], b.CosZ[l] = ray[l][5];
      }
      b.TraceToImage(dist);
      for (int l = 0; l < kBundleLanes; ++l) {
        Tracer plane(d), sphere(d);
        for (Tracer* t : {&plane, &sphere}) {
          t->RayX = ray[l][0], t->RayY = ray[l][1], t->RayZ = ray[l][2];
          t->RayCosX = ray[l][3], t->RayCosY = ray[l][4], t->RayCosZ = ray[l][5];
        }
        int plane_fault = -1, sphere_fault = -1;
        try {
          plane.TraceToImage(dist);
        } catch (const TraceError& e) {
          plane_fault = static_cast<int>(e.reason);
        }
        try {
          sphere.CurRadius = 0;
          sphere.CurN = sphere.CurNPrime = n_last;
          sphere.CurThick = dist;
          sphere.EnterImageFrame();
          sphere.TraceSphere();
        } catch (const TraceError& e) {
          sphere_fault = static_cast<int>(e.reason);
        }
        ++compared;
        failures += sphere_fault >= 0;
        ASSERT_EQ(plane_fault, sphere_fault) << trial;
        ASSERT_EQ(b.Failed[l] ? static_cast<int>(b.FailReason[l]) : -1, sphere_fault) << trial;
        if (sphere_fault >= 0) continue;
        const double one[] = {sphere.RayX, sphere.RayY, sphere.RayZ, sphere.RayCosX, sphere.RayCosY,
                              sphere.RayCosZ, sphere.SphRadicand, sphere.SnellRadicand};
        const double short_path[] = {plane.RayX, plane.RayY, plane.RayZ, plane.RayCosX, plane.RayCosY,
                                     plane.RayCosZ, plane.SphRadicand, plane.SnellRadicand};
        const double lanes[] = {b.X[l], b.Y[l], b.Z[l], b.CosX[l], b.CosY[l], b.CosZ[l]};
        for (int k = 0; k < 8; ++k) ASSERT_EQ(Bits(short_path[k]), Bits(one[k])) << trial << " register " << k;
        for (int k = 0; k < 6; ++k) ASSERT_EQ(Bits(lanes[k]), Bits(one[k])) << trial << " lane register " << k;
      }
    }
  }
  EXPECT_GT(failures, 100);
  EXPECT_GT(compared - failures, 1000);
}

}  // namespace
}  // namespace ovrin
