// The analyses that trace their rays a bundle at a time give the numbers of
// a ray-by-ray loop: the spot diagram's stored rays, counts and plotted list,
// and the OPD grid of the wave front and diffraction analyses, failures and
// what was done before them included.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "analysis/geometric/spot_diagram.h"
#include "analysis/wave/opd_engine.h"
#include "analysis/wave/wavefront.h"
#include "core/design_file.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"
#include "../core/test_designs.h"
#include "../optimise/optimise_designs.h"
#include "optimise/error_function.h"

namespace ovrin {
namespace {

using testing::ExamplePath;

uint64_t Bits(double v) { return std::bit_cast<uint64_t>(v); }

const char* const kExamples[] = {"achromat_80_f12_schott.ovn", "cemented_doublet_100_f10.ovn",
                                 "cooke_triplet_50_f4.5.ovn",  "newtonian_200_f5.ovn",
                                 "ritchey_chretien_200_f8.ovn", "schmidt_camera_200_f3.ovn"};

struct Loaded {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  explicit Loaded(const std::string& file) {
    EXPECT_TRUE(ReadDesignFile(ExamplePath(file), DesignFormat::Current, d, sheet, media).ok) << file;
  }
};

// Two glass surfaces whose high rays miss the first sphere and whose middle
// rays reflect totally inside the second: rays fail part way through a grid.
DesignState FailingDesign() {
  DesignState d;
  ClearDesign(d);
  ResetTiltDecenter(d);
  d.SurfCount = 2;
  d.WlCount = 1;
  d.Wavelength[0] = 0.5461f;
  d.WlWeight[1] = 1;
  d.IndexWl[1][0] = 1;
  d.Radius[1] = 50, d.Thickness[1] = 5, d.IndexWl[1][1] = 1.5, d.SurfType[1] = 1, d.SemiDiam[1] = 60;
  d.Radius[2] = 30, d.Thickness[2] = 50, d.IndexWl[1][2] = 1, d.SurfType[2] = 1, d.SemiDiam[2] = 60;
  d.Bfl = 50;
  d.EntrBeamSemiDiam = 55;
  d.ChiefCosZ = 1;
  return d;
}

// The spot's stored rays, counted and listed ray by ray with the one-ray tracer.
struct OneRaySpot {
  float good = 0, vign = 0, counter = 0;
  std::vector<double> x, y;
  std::vector<SpotResult::Plotted> plotted;
  bool failed = false;
};

OneRaySpot TraceOneByOne(const DesignState& d, const SpotSettings& s, const PupilGrid& grid) {
  OneRaySpot o;
  o.x.assign(kPupilArraySize, 0.0);
  o.y.assign(kPupilArraySize, 0.0);
  Tracer t(d);
  const bool full = s.field == 1;
  const FieldDirection f = FieldDirectionOf(full ? kPi / 180 * std::stod(s.angleY) : 0.0, 0.0);
  t.FieldCosZ = f.cosZ, t.FieldCosY = f.cosY, t.FieldCosX = f.cosX;
  t.ObjHeight = d.HalfFieldY;
  SurfaceLoopPolicy policy;
  const double bfl = std::stod(s.actualBfl);
  try {
    for (int k = 1; k <= 6; ++k) {
      if (!s.checked[k - 1]) continue;
      policy.wavelength = k;
      for (int i = 0; i <= static_cast<int>(grid.PupilRayCount); ++i) {
        t.RayX = grid.PupilX[i], t.RayY = grid.PupilY[i], t.RayZ = 0;
        t.StartRay();
        t.TraceSurfaces(policy);
        const bool stopped = t.RayVignetted;
        (stopped ? o.vign : o.good) += 1;
        t.TraceToImage(bfl);
        o.counter += 1;
        if (o.counter == 1) o.x[0] = t.RayX, o.y[0] = t.RayY;
        if (!stopped) {
          o.x[static_cast<int>(o.good)] = t.RayX;
          o.y[static_cast<int>(o.good)] = t.RayY;
        }
        if (!stopped || s.plotVignetted)
          o.plotted.push_back({t.RayX - o.x[0], t.RayY - o.y[0], static_cast<int8_t>(k), stopped});
      }
    }
  } catch (const TraceError&) {
    o.failed = true;
  }
  return o;
}

void ExpectSameSpot(const DesignState& d, const SpotSettings& s) {
  const SpotResult r = ComputeSpot(d, s);
  ASSERT_TRUE(r.gridBuilt);
  const OneRaySpot o = TraceOneByOne(d, s, r.grid);
  EXPECT_EQ(o.failed, !r.error.empty());
  const float factor = r.drawn && r.mirrored ? 2.0f : 1.0f;
  EXPECT_EQ(o.good * factor, r.GoodRays);
  EXPECT_EQ(o.vign * factor, r.VignRays);
  EXPECT_EQ(o.counter, r.RayCounter);
  const int good = static_cast<int>(o.good);
  for (int i = 0; i <= good; ++i) {
    ASSERT_EQ(Bits(o.x[i]), Bits(r.SpotX[i])) << i;
    ASSERT_EQ(Bits(o.y[i]), Bits(r.SpotY[i])) << i;
  }
  ASSERT_EQ(o.plotted.size(), r.plotted.size());
  for (size_t i = 0; i < o.plotted.size(); ++i) {
    ASSERT_EQ(Bits(o.plotted[i].dx), Bits(r.plotted[i].dx)) << i;
    ASSERT_EQ(Bits(o.plotted[i].dy), Bits(r.plotted[i].dy)) << i;
    ASSERT_EQ(o.plotted[i].stopped, r.plotted[i].stopped) << i;
    ASSERT_EQ(o.plotted[i].wl, r.plotted[i].wl) << i;
  }
}

TEST(BundleAnalyses, SpotDiagramsKeepTheRayByRayNumbers) {
  for (const char* file : kExamples) {
    SCOPED_TRACE(file);
    Loaded l(file);
    SpotSettings s;
    s.rays = "1300";
    s.field = 1;
    s.angleY = "0.3";
    s.checked.fill(true);
    s.plotVignetted = true;
    s.actualBfl = FormatFixed(l.d.Bfl, 3);
    ExpectSameSpot(l.d, s);
  }
  // A ray that fails part way through the pupil list ends the drawing with
  // the counts and rays of those before it.
  const DesignState d = FailingDesign();
  SpotSettings s;
  s.rays = "340";
  s.actualBfl = "50";
  const SpotResult r = ComputeSpot(d, s);
  EXPECT_EQ(r.error, kRayTraceError);
  EXPECT_GT(r.RayCounter, 0);
  ExpectSameSpot(d, s);
}

// RayOpds against RayOpd point by point: values bit for bit, and the same
// failure at the same point. True when the points met a failure.
bool ExpectSameOpds(const DesignState& d, const OpdRun& run, const std::vector<double>& xs,
                    const std::vector<double>& ys) {
  OpdEngine one(d, run), bundle(d, run);
  one.ChiefReference();
  bundle.ChiefReference();
  const int n = static_cast<int>(xs.size());
  std::vector<double> w(n, -1.0);
  std::optional<TraceError> bundle_error;
  try {
    bundle.RayOpds(xs.data(), ys.data(), n, w.data());
  } catch (const TraceError& e) {
    bundle_error = e;
  }
  for (int j = 0; j < n; ++j) {
    double v = 0;
    try {
      v = one.RayOpd(xs[j], ys[j]);
    } catch (const TraceError& e) {
      EXPECT_TRUE(bundle_error) << "point " << j;
      if (!bundle_error) return true;
      EXPECT_EQ(bundle_error->surface, e.surface);
      EXPECT_EQ(bundle_error->reason, e.reason);
      return true;
    }
    EXPECT_EQ(Bits(v), Bits(w[j])) << "point " << j << ": " << v << " against " << w[j];
    if (Bits(v) != Bits(w[j])) return false;
  }
  EXPECT_FALSE(bundle_error);
  return false;
}

TEST(BundleAnalyses, OpdGridsKeepTheRayByRayNumbers) {
  std::mt19937_64 rng(4);
  for (const char* file : kExamples) {
    SCOPED_TRACE(file);
    Loaded l(file);
    const DesignState& d = l.d;
    std::uniform_real_distribution<double> u(-1.05 * d.EntrBeamSemiDiam, 1.05 * d.EntrBeamSemiDiam);
    std::vector<double> xs(3000), ys(3000);
    for (size_t j = 0; j < xs.size(); ++j) xs[j] = u(rng), ys[j] = u(rng);
    for (int full = 0; full <= 1; ++full) {
      const OpdRun run = WaveRunOf(d, 1, d.Bfl, full ? -2 * d.Bfl : 0.0, full == 1, 0.4, full ? 0.1 : 0.0);
      ExpectSameOpds(d, run, xs, ys);
    }
  }
  // Rays that fail part way along: the first failure is the one the loop meets.
  const DesignState d = FailingDesign();
  OpdRun run;
  run.actualBfl = 50;
  std::vector<double> xs, ys;
  for (int k = 0; k < 40; ++k) xs.push_back(0.1 * k), ys.push_back(1.35 * k + 0.1);
  EXPECT_TRUE(ExpectSameOpds(d, run, xs, ys));
}


// The optimiser's evaluations: residuals, pictures and the tracer's registers
// as the ray-by-ray evaluation leaves them.
TEST(BundleAnalyses, OptimiserEvaluationsKeepTheRayByRayNumbers) {
  testing::TestDesign triplet, mirror;
  testing::BuildTriplet(triplet);
  testing::BuildParaboloid(mirror, -0.8);
  for (testing::TestDesign* t : {&triplet, &mirror}) {
    ASSERT_TRUE(t->Update().ok);
    for (RaySetKind kind : {RaySetKind::Square, RaySetKind::Gaussian, RaySetKind::Radau}) {
      for (int wave = 0; wave <= 1; ++wave) {
        ErrorContext one(t->d), bundle(t->d);
        one.rayByRay = true;
        for (ErrorContext* c : {&one, &bundle}) {
          c->Configure(testing::WindowOn(*t));
          c->rays = BuildRaySet(kind, t->d.EntrBeamSemiDiam);
          ComputeFocus(*c);
          if (wave)
            EvaluateWavefront(*c, c->FocusBfl);
          else
            EvaluateSpot(*c, c->FocusBfl);
        }
        ASSERT_EQ(one.M, bundle.M);
        ASSERT_GT(one.M, 10);
        for (int i = 0; i <= one.M; ++i) ASSERT_EQ(Bits(one.residual[i]), Bits(bundle.residual[i])) << i;
        for (int f = 0; f < 2; ++f) {
          ASSERT_EQ(one.pictures[f].size(), bundle.pictures[f].size());
          for (size_t i = 0; i < one.pictures[f].size(); ++i) {
            ASSERT_EQ(Bits(one.pictures[f][i].dy), Bits(bundle.pictures[f][i].dy));
            ASSERT_EQ(Bits(one.pictures[f][i].dx), Bits(bundle.pictures[f][i].dx));
          }
        }
        const Tracer &a = one.tracer, &b = bundle.tracer;
        const double ra[] = {a.RayX, a.RayY, a.RayZ, a.RayCosZ, a.RayPath, a.SphRadicand, a.SnellRadicand,
                             a.SnellRadicandAsph};
        const double rb[] = {b.RayX, b.RayY, b.RayZ, b.RayCosZ, b.RayPath, b.SphRadicand, b.SnellRadicand,
                             b.SnellRadicandAsph};
        for (int k = 0; k < 8; ++k) EXPECT_EQ(Bits(ra[k]), Bits(rb[k])) << "register " << k;
      }
    }
  }
}

}  // namespace
}  // namespace ovrin
