// The diffraction analyses on a 10-surface design: the point spread function
// of a 256 x 256 pupil grid, the transfer curves of three fields at the
// 256 transform, and the Zernike fit.
#include <benchmark/benchmark.h>

#include "analysis/wave/diffraction.h"
#include "analysis/wave/zernike.h"
#include "bench_designs.h"

namespace {

void BM_DiffractionPSF_256(benchmark::State& state) {
  TenSurfaces design(false);
  PsfSettings s;
  s.grid = 256;
  s.actualBfl = design.d.Bfl;
  s.fullField = true;
  s.angleYDeg = 1;
  for (auto _ : state) {
    const PsfResult r = ComputePsf(design.d, s);
    if (!r.ok) state.SkipWithError("the point spread function failed");
    benchmark::DoNotOptimize(r.Max);
  }
}
BENCHMARK(BM_DiffractionPSF_256)->Unit(benchmark::kMillisecond);

void BM_DiffractionMTF_3Fields_256(benchmark::State& state) {
  TenSurfaces design(false);
  MtfSettings s;
  s.sampling = 256;
  s.actualBfl = design.d.Bfl;
  s.angleYDeg = 1;
  for (auto _ : state) {
    const MtfResult r = ComputeMtf(design.d, s);
    if (!r.ok) state.SkipWithError("the transfer function failed");
    benchmark::DoNotOptimize(r.fields[2].T[10]);
  }
}
BENCHMARK(BM_DiffractionMTF_3Fields_256)->Unit(benchmark::kMillisecond);

void BM_Zernike(benchmark::State& state) {
  TenSurfaces design(false);
  ZernikeSettings s;
  s.actualBfl = design.d.Bfl;
  s.angleYDeg = 1;
  for (auto _ : state) {
    const ZernikeResult r = ComputeZernike(design.d, s);
    if (!r.ok) state.SkipWithError("the fit failed");
    benchmark::DoNotOptimize(r.c[8]);
  }
}
BENCHMARK(BM_Zernike)->Unit(benchmark::kMillisecond);

}  // namespace
