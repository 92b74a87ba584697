// Throughput of the surface loop through a 10-surface design: one ray at a
// time, and a bundle of rays side by side.
#include <benchmark/benchmark.h>

#include <cmath>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/number_text.h"
#include "core/ray_bundle.h"
#include "core/ray_tracer.h"
#include "core/system_update.h"
#include "bench_designs.h"

namespace {

using namespace ovrin;

void RunLoop(benchmark::State& state, bool high_order) {
  TenSurfaces design(high_order);
  Tracer t(design.d);
  t.FieldCosZ = design.d.ChiefCosZ;
  t.FieldCosY = design.d.ChiefCosY;
  t.FieldCosX = design.d.ChiefCosX;
  SurfaceLoopPolicy policy;
  // A ring of pupil points, cycled so that no two consecutive rays are alike.
  constexpr int kPoints = 64;
  double px[kPoints], py[kPoints];
  for (int k = 0; k < kPoints; ++k) {
    const double r = 24.0 * std::sqrt((k + 0.5) / kPoints);
    px[k] = r * std::cos(2.399963 * k);
    py[k] = r * std::sin(2.399963 * k);
  }
  int k = 0;
  int64_t rays = 0;
  for (auto _ : state) {
    t.RayX = px[k];
    t.RayY = py[k];
    t.StartRay();
    t.TraceSurfaces(policy);
    benchmark::DoNotOptimize(t.RayY);
    k = (k + 1) & (kPoints - 1);
    ++rays;
  }
  state.counters["ray_surfaces_per_second"] =
      benchmark::Counter(static_cast<double>(rays * 10), benchmark::Counter::kIsRate);
}

void BM_SurfaceLoop_Sphere(benchmark::State& state) { RunLoop(state, false); }
void BM_SurfaceLoop_HighOrder(benchmark::State& state) { RunLoop(state, true); }

BENCHMARK(BM_SurfaceLoop_Sphere);
BENCHMARK(BM_SurfaceLoop_HighOrder);

// The same rays, kBundleLanes at a time through the bundle tracer.
void RunBundle(benchmark::State& state, bool high_order) {
  TenSurfaces design(high_order);
  BundleTracer b(design.d);
  b.FieldCosZ = design.d.ChiefCosZ;
  b.FieldCosY = design.d.ChiefCosY;
  b.FieldCosX = design.d.ChiefCosX;
  SurfaceLoopPolicy policy;
  constexpr int kPoints = 64;
  double px[kPoints], py[kPoints];
  for (int k = 0; k < kPoints; ++k) {
    const double r = 24.0 * std::sqrt((k + 0.5) / kPoints);
    px[k] = r * std::cos(2.399963 * k);
    py[k] = r * std::sin(2.399963 * k);
  }
  int k = 0;
  int64_t rays = 0;
  for (auto _ : state) {
    b.StartRays(px + k, py + k, kBundleLanes);
    b.TraceSurfaces(policy);
    benchmark::DoNotOptimize(b.Y[0]);
    k = (k + kBundleLanes) & (kPoints - 1);
    rays += kBundleLanes;
  }
  state.counters["ray_surfaces_per_second"] =
      benchmark::Counter(static_cast<double>(rays * 10), benchmark::Counter::kIsRate);
  state.SetLabel(BundleIsaName(BundleIsaInUse()));
}

void BM_SurfaceLoop_Bundle(benchmark::State& state) { RunBundle(state, false); }
void BM_SurfaceLoop_Bundle_HighOrder(benchmark::State& state) { RunBundle(state, true); }

BENCHMARK(BM_SurfaceLoop_Bundle);
BENCHMARK(BM_SurfaceLoop_Bundle_HighOrder);

}  // namespace

BENCHMARK_MAIN();
