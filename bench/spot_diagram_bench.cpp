// A full spot diagram: 5100 rays per colour at six wavelengths, full field,
// through a 10-surface design; the computation only, no picture.
#include <benchmark/benchmark.h>

#include "analysis/geometric/spot_diagram.h"
#include "bench_designs.h"

namespace {

void BM_SpotDiagram_5100x6(benchmark::State& state) {
  TenSurfaces design(false, 6);
  SpotSettings s;
  s.rays = "5100";
  s.field = 1;
  s.angleY = design.sheet.Txtangolo;
  s.checked.fill(true);
  s.actualBfl = FormatFixed(design.d.Bfl, 3);
  SpotResult spot;
  for (auto _ : state) {
    spot = ComputeSpot(design.d, s);
    if (!spot.error.empty() || !spot.drawn) state.SkipWithError("the spot failed");
    benchmark::DoNotOptimize(spot.RmsRadius);
  }
  state.counters["rays"] = static_cast<double>(spot.RayCounter);
}
BENCHMARK(BM_SpotDiagram_5100x6)->Unit(benchmark::kMillisecond);

}  // namespace
