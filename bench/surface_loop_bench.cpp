// Throughput of the surface loop: one ray at a time through a 10-surface design.
#include <benchmark/benchmark.h>

#include <cmath>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/number_text.h"
#include "core/ray_tracer.h"
#include "core/system_update.h"

namespace {

using namespace ovrin;

// Five separated singlets: ten refracting surfaces, all SPHERE or all HIGH-ORDER.
struct TenSurfaces {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;

  explicit TenSurfaces(bool high_order) {
    ClearDesign(d);
    ResetTiltDecenter(d);
    d.WlCount = 1;
    d.Wavelength[0] = 0.5461f;
    sheet.ApplySurfaceCount("10");
    for (int i = 1; i <= 10; ++i) {
      const bool front = i % 2 == 1;
      sheet.Cell(i, 2) = "30";
      sheet.Cell(i, 3) = ShortestText(front ? 400.0 + 20 * i : -600.0 - 20 * i);
      sheet.Cell(i, 4) = front ? "6" : "20";
      if (front) {
        d.MediumCode[i] = kMediumDirect;
        sheet.Cell(i, 5) = "DIRECT";
        d.IndexWl[1][i] = 1.5168;
      } else {
        PickAir(d, sheet, i, false);
      }
      if (high_order) {
        SetSurfaceCoefficients(d, sheet, i, true, -0.5, 1e-8, -1e-12, 1e-16);
      } else {
        PickSurfaceType(d, sheet, i, kSphere);
      }
    }
    sheet.Text1 = "25";
    sheet.Txtangolo = "1";
    UpdateResult r = cmdupdate(d, sheet, media);
    if (!r.ok) throw std::runtime_error("bench design failed to update");
  }
};

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

}  // namespace

BENCHMARK_MAIN();
