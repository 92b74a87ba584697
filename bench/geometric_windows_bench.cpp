// The four geometric windows' engines, once each, on ten surfaces and three
// wavelengths: what one press of their Update buttons costs.
#include <benchmark/benchmark.h>

#include "analysis/geometric/field_curvature.h"
#include "analysis/geometric/ray_fan.h"
#include "analysis/geometric/seidel.h"
#include "analysis/geometric/spherical_aberration.h"
#include "bench_designs.h"

static void BM_GeometricWindows(benchmark::State& state) {
  const TenSurfaces design(false, 3);
  const DesignState& d = design.d;
  SeidelSettings seidel;
  seidel.angleY = design.sheet.Txtangolo;
  SphericalSettings spherical;
  spherical.referenceBfl = d.Bfl;
  spherical.angleY = design.sheet.Txtangolo;
  FieldCurvSettings curvature;
  curvature.angleY = design.sheet.Txtangolo;
  RayFanSettings fans;
  fans.imageDistance = d.Bfl;
  fans.angleY = design.sheet.Txtangolo;
  for (auto _ : state) {
    const SeidelResult a = ComputeSeidel(d, seidel);
    const SphericalResult b = ComputeSpherical(d, spherical);
    const FieldCurvResult c = ComputeFieldCurvature(d, curvature);
    const RayFanResult e = ComputeRayFan(d, fans);
    if (!a.error.empty() || !b.error.empty() || c.failed || !e.error.empty()) state.SkipWithError("an engine failed");
    benchmark::DoNotOptimize(a.LagrangeH);
    benchmark::DoNotOptimize(b.LongScale);
    benchmark::DoNotOptimize(c.Scale);
    benchmark::DoNotOptimize(e.fields[2].Scale);
  }
}
BENCHMARK(BM_GeometricWindows)->Unit(benchmark::kMillisecond);
