// The wave front family on a 10-surface design: the 256 x 256 map, the OPD
// fans of six wavelengths, and the 21-step field scan.
#include <benchmark/benchmark.h>

#include "analysis/wave/opd_fan.h"
#include "analysis/wave/versus.h"
#include "analysis/wave/wavefront.h"
#include "bench_designs.h"

namespace {

void BM_Wavefront_256(benchmark::State& state) {
  TenSurfaces design(false);
  WavefrontSettings s;
  s.gridDiv = 128;
  s.actualBfl = design.d.Bfl;
  s.fullField = true;
  s.angleYDeg = 1;
  WavefrontResult r;
  for (auto _ : state) {
    r = ComputeWavefront(design.d, s);
    if (!r.ok) state.SkipWithError("the wave front failed");
    benchmark::DoNotOptimize(r.stats.RMS);
  }
  state.counters["samples"] = r.stats.count;
}
BENCHMARK(BM_Wavefront_256)->Unit(benchmark::kMillisecond);

void BM_OpdFan(benchmark::State& state) {
  TenSurfaces design(false, 6);
  OpdFanSettings s;
  s.actualBfl = design.d.Bfl;
  s.angleYDeg = 1;
  for (auto _ : state) {
    const OpdFanResult r = ComputeOpdFan(design.d, s);
    if (!r.ok) state.SkipWithError("the fans failed");
    benchmark::DoNotOptimize(r.full.E);
  }
}
BENCHMARK(BM_OpdFan)->Unit(benchmark::kMicrosecond);

void BM_VersusField(benchmark::State& state) {
  TenSurfaces design(false);
  VersusSettings s;
  s.scan = VersusScan::Field;
  s.actualBfl = design.d.Bfl;
  s.angleYDeg = 1;
  for (auto _ : state) {
    const VersusResult r = ComputeVersus(design.d, s);
    if (!r.ok) state.SkipWithError("the scan failed");
    benchmark::DoNotOptimize(r.rows.back().second);
  }
}
BENCHMARK(BM_VersusField)->Unit(benchmark::kMillisecond);

}  // namespace
