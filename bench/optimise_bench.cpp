// The optimiser on a Cooke triplet with its six curvatures variable, spot
// mode, GAUSSIAN rays, three wavelengths and the two field points: one
// iteration (the Jacobian, the damping loops, the write-back and the update),
// and a whole ten-iteration run without the spot pictures.
#include <benchmark/benchmark.h>

#include "core/design_sheet.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "optimise/optimiser.h"

namespace {

using namespace ovrin;

struct Triplet {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;

  Triplet() {
    ClearDesign(d);
    ResetTiltDecenter(d);
    d.WlCount = 3;
    const float wl[3] = {0.5461f, 0.4861f, 0.6563f};
    for (int k = 0; k < 3; ++k) d.Wavelength[k] = wl[k];
    sheet.ApplySurfaceCount("6");
    const double radius[6] = {21.25, -160, -21, 19.8, 120, -17.5};
    const double thick[6] = {2.9, 4.9, 1, 4.6, 3, 0};
    // Crown, flint, crown: an index per wavelength with the glasses' dispersion.
    const double nd[6] = {1.6204, 0, 1.6200, 0, 1.6204, 0};
    const double dn[6] = {0.0103, 0, 0.0171, 0, 0.0103, 0};
    for (int i = 1; i <= 6; ++i) {
      sheet.Cell(i, 2) = "12";
      sheet.Cell(i, 3) = ShortestText(radius[i - 1]);
      sheet.Cell(i, 4) = ShortestText(thick[i - 1]);
      if (nd[i - 1] != 0) {
        d.MediumCode[i] = kMediumDirect;
        sheet.Cell(i, 5) = "DIRECT";
        const double spread[3] = {0, 0.6, -0.4};  // F above e above C
        for (int k = 1; k <= 3; ++k) d.IndexWl[k][i] = nd[i - 1] + dn[i - 1] * spread[k - 1];
      } else {
        PickAir(d, sheet, i, false);
      }
      PickSurfaceType(d, sheet, i, kSphere);
    }
    MarkStopRow(sheet, 4);
    d.StopSurf = 4;
    sheet.Text1 = "5.5";
    sheet.Txtangolo = "15";
    if (!cmdupdate(d, sheet, media).ok) throw std::runtime_error("bench triplet failed to update");
  }

  OptimiseSheet Window(const char* iterations) const {
    OptimiseSheet s;
    LoadOptimiseSheet(s, d);
    s.angleY = sheet.Txtangolo;
    s.OptionGaussian = true;
    s.Text1 = iterations;
    for (int i = 1; i <= 6; ++i) s.Cell(i, 3) = "V";
    return s;
  }
};

void BM_OptimiseIteration_Triplet6(benchmark::State& state) {
  const Triplet start;
  for (auto _ : state) {
    state.PauseTiming();
    Triplet t = start;
    OptimiseSheet opt = t.Window("1");
    PickupTables pick;
    state.ResumeTiming();
    OptimiseRun run(t.d, t.sheet, t.media, opt, pick);
    run.Next();
    if (run.stop() != RunStop::Iterations) state.SkipWithError("the iteration did not end normally");
    benchmark::DoNotOptimize(run.errors().back());
  }
}
BENCHMARK(BM_OptimiseIteration_Triplet6)->Unit(benchmark::kMillisecond);

void BM_Optimise_Triplet10(benchmark::State& state) {
  const Triplet start;
  for (auto _ : state) {
    state.PauseTiming();
    Triplet t = start;
    OptimiseSheet opt = t.Window("10");
    PickupTables pick;
    state.ResumeTiming();
    OptimiseRun run(t.d, t.sheet, t.media, opt, pick);
    run.context().keepPictures = false;
    run.RunAll();
    if (run.stop() != RunStop::Iterations) state.SkipWithError("the run did not end normally");
    benchmark::DoNotOptimize(run.errors().back());
  }
}
BENCHMARK(BM_Optimise_Triplet10)->Unit(benchmark::kMillisecond);

}  // namespace
