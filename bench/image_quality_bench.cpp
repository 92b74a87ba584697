// The diffraction energy, the colour image of three wavelengths, the
// multi-analysis sheet and the ghosts on a 10-surface design.
#include <benchmark/benchmark.h>

#include "analysis/geometric/ghosts.h"
#include "analysis/wave/colour_image.h"
#include "analysis/wave/diffraction_energy.h"
#include "bench_designs.h"
#include "output/multi_analysis.h"

namespace {

void BM_WorkshopTests_DiffractionEnergy(benchmark::State& state) {
  TenSurfaces design(false);
  DiffEnergySettings s;
  s.actualBfl = design.d.Bfl;
  for (auto _ : state) {
    const DiffEnergyResult r = ComputeDiffractionEnergy(design.d, s);
    if (!r.ok) state.SkipWithError("the energy failed");
    benchmark::DoNotOptimize(r.atDarkRing);
  }
}
BENCHMARK(BM_WorkshopTests_DiffractionEnergy)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_ColourImage(benchmark::State& state) {
  TenSurfaces design(false, 3);
  ColourImageSettings s;
  s.actualBfl = design.d.Bfl;
  for (auto _ : state) {
    const ColourImageResult r = ComputeColourImage(design.d, s);
    if (!r.ok) state.SkipWithError("the colour image failed");
    benchmark::DoNotOptimize(r.image[0]);
  }
}
BENCHMARK(BM_WorkshopTests_ColourImage)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_MultiAnalysis(benchmark::State& state) {
  TenSurfaces design(false);
  MultiSettings s;
  s.actualBfl = design.d.Bfl;
  s.angleY = "1";
  for (auto _ : state) {
    const MultiResult r = ComputeMultiAnalysis(design.d, s);
    benchmark::DoNotOptimize(r.text.size());
  }
}
BENCHMARK(BM_WorkshopTests_MultiAnalysis)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_Ghosts(benchmark::State& state) {
  TenSurfaces design(false);
  GhostSettings s;
  s.actualBfl = design.d.Bfl;
  for (auto _ : state) {
    const GhostResult r = ComputeGhosts(design.d, s);
    benchmark::DoNotOptimize(r.ghosts.size());
  }
}
BENCHMARK(BM_WorkshopTests_Ghosts)->Unit(benchmark::kMillisecond);

}  // namespace
