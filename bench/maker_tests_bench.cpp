// The maker's tests: the interferogram, the Ronchigram at the focus and the
// star test on the 10-surface design, the Ronchigram and the Foucault test of
// a paraboloid at its centre of curvature.
#include <benchmark/benchmark.h>

#include "analysis/wave/maker_tests.h"
#include "bench_designs.h"

namespace {

// A 200 mm f/5 paraboloid, the stop on the mirror.
struct Paraboloid {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  Paraboloid() {
    ClearDesign(d);
    ResetTiltDecenter(d);
    d.WlCount = 1;
    d.Wavelength[0] = 0.5461f;
    sheet.ApplySurfaceCount("1");
    sheet.Cell(1, 2) = "100";
    sheet.Cell(1, 3) = "-2000";
    sheet.Cell(1, 4) = "0";
    PickAir(d, sheet, 1, true);
    SetSurfaceCoefficients(d, sheet, 1, false, -1, 0, 0, 0);
    sheet.Text1 = "100";
    sheet.Txtangolo = "0";
    if (!cmdupdate(d, sheet, media).ok) throw std::runtime_error("bench mirror failed to update");
  }
};

void BM_WorkshopTests_Interferogram_64(benchmark::State& state) {
  TenSurfaces design(false);
  InterferogramSettings s;
  s.actualBfl = design.d.Bfl;
  s.tiltX = 5;
  for (auto _ : state) {
    const InterferogramResult r = ComputeInterferogram(design.d, s);
    if (!r.ok) state.SkipWithError("the interferogram failed");
    benchmark::DoNotOptimize(r.fringes);
  }
}
BENCHMARK(BM_WorkshopTests_Interferogram_64)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_RonchiFocus(benchmark::State& state) {
  TenSurfaces design(false);
  RonchiSettings s;
  s.actualBfl = design.d.Bfl;
  s.offset = 2;
  for (auto _ : state) {
    const RonchiResult r = ComputeRonchigram(design.d, s);
    if (!r.ok) state.SkipWithError("the Ronchigram failed");
    benchmark::DoNotOptimize(r.bands);
  }
}
BENCHMARK(BM_WorkshopTests_RonchiFocus)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_RonchiCentre(benchmark::State& state) {
  Paraboloid mirror;
  RonchiSettings s;
  s.setup = RonchiSetup::MirrorCentre;
  s.offset = -3;
  for (auto _ : state) {
    const RonchiResult r = ComputeRonchigram(mirror.d, s);
    if (!r.ok) state.SkipWithError("the Ronchigram failed");
    benchmark::DoNotOptimize(r.bands);
  }
}
BENCHMARK(BM_WorkshopTests_RonchiCentre)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_Foucault(benchmark::State& state) {
  Paraboloid mirror;
  FoucaultSettings s;
  s.zones = 10;
  s.measured.assign(10, 0.0);
  s.knifeOffset = 1.2;
  for (auto _ : state) {
    const FoucaultResult r = ComputeFoucault(mirror.d, s);
    if (!r.ok) state.SkipWithError("the Foucault test failed");
    benchmark::DoNotOptimize(r.PV);
  }
}
BENCHMARK(BM_WorkshopTests_Foucault)->Unit(benchmark::kMillisecond);

void BM_WorkshopTests_StarTest_64(benchmark::State& state) {
  TenSurfaces design(false);
  StarTestSettings s;
  s.actualBfl = design.d.Bfl;
  for (auto _ : state) {
    const StarTestResult r = ComputeStarTest(design.d, s);
    if (!r.ok) state.SkipWithError("the star test failed");
    benchmark::DoNotOptimize(r.difference);
  }
}
BENCHMARK(BM_WorkshopTests_StarTest_64)->Unit(benchmark::kMillisecond);

}  // namespace
