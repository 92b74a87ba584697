// Each engine of the geometric window family once, on ten surfaces and three
// wavelengths, with the windows' default settings: the cost of one Update.
#include <benchmark/benchmark.h>

#include "analysis/geometric/geometric_family.h"
#include "bench_designs.h"

namespace {

FamilySettings BenchSettings(const TenSurfaces& t) {
  FamilySettings s;
  s.angleYDeg = 1;
  s.objectHeight = t.d.HalfFieldY;
  s.checked = {true, true, true, false, false, false};
  return s;
}

template <typename F>
void Run(benchmark::State& state, F&& f) {
  const TenSurfaces t(false, 3);
  const FamilySettings s = BenchSettings(t);
  for (auto _ : state) {
    const std::string error = f(t.d, s);
    if (!error.empty()) state.SkipWithError(error.c_str());
  }
}

}  // namespace

static void BM_GeometricFamily_MultiSpot(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeSpotFamily(d, s, {}).error; });
}
static void BM_GeometricFamily_MatrixSpot(benchmark::State& st) {
  SpotFamilySettings f;
  f.family = SpotFamily::Matrix;
  Run(st, [&](const DesignState& d, const FamilySettings& s) { return ComputeSpotFamily(d, s, f).error; });
}
static void BM_GeometricFamily_TotalFieldSpot(benchmark::State& st) {
  SpotFamilySettings f;
  f.family = SpotFamily::TotalField;
  Run(st, [&](const DesignState& d, const FamilySettings& s) { return ComputeSpotFamily(d, s, f).error; });
}
static void BM_GeometricFamily_RmsVersusFocus(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeRmsVersus(d, s, {}).error; });
}
static void BM_GeometricFamily_RmsVersusWavelength(benchmark::State& st) {
  RmsVersusSettings v;
  v.scan = RmsScan::Wavelength;
  Run(st, [&](const DesignState& d, const FamilySettings& s) { return ComputeRmsVersus(d, s, v).error; });
}
static void BM_GeometricFamily_Distortion(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeDistortion(d, s).error; });
}
static void BM_GeometricFamily_LateralColour(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeLateralColour(d, s).error; });
}
static void BM_GeometricFamily_FocalShift(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeFocalShift(d, s, {}).error; });
}
static void BM_GeometricFamily_EncircledEnergy(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeEncircledEnergy(d, s, {}).error; });
}
static void BM_GeometricFamily_GeometricPsf(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeGeometricPsf(d, s, {}).error; });
}
static void BM_GeometricFamily_GeometricMtf(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeGeometricMtf(d, s, {}).error; });
}
static void BM_GeometricFamily_GeometricMtfFocus(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeGeometricMtfFocus(d, s, {}).error; });
}
static void BM_GeometricFamily_RealRays(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeRealRay(d, s, {}).error; });
}
static void BM_GeometricFamily_Vignetting(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeVignetting(d, s).error; });
}
static void BM_GeometricFamily_Footprint(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeFootprint(d, s, {}).error; });
}
static void BM_GeometricFamily_BestFocusSpot(benchmark::State& st) {
  Run(st, [](const DesignState& d, const FamilySettings& s) { return ComputeBestFocus(d, s, {}).error; });
}
static void BM_GeometricFamily_BestFocusWavefront(benchmark::State& st) {
  BestFocusSettings b;
  b.criterion = FocusCriterion::Wavefront;
  Run(st, [&](const DesignState& d, const FamilySettings& s) { return ComputeBestFocus(d, s, b).error; });
}
BENCHMARK(BM_GeometricFamily_MultiSpot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_MatrixSpot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_TotalFieldSpot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_RmsVersusFocus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_RmsVersusWavelength)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_Distortion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_LateralColour)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_FocalShift)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_EncircledEnergy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_GeometricPsf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_GeometricMtf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_GeometricMtfFocus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_RealRays)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_Vignetting)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_Footprint)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_BestFocusSpot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GeometricFamily_BestFocusWavefront)->Unit(benchmark::kMillisecond);
