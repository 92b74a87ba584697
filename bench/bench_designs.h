#pragma once
// The designs the benchmarks run on.
#include <stdexcept>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/number_text.h"
#include "core/system_update.h"

namespace {

using namespace ovrin;

// Five separated singlets: ten refracting surfaces, all SPHERE or all HIGH-ORDER.
struct TenSurfaces {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;

  explicit TenSurfaces(bool high_order, int wavelengths = 1) {
    ClearDesign(d);
    ResetTiltDecenter(d);
    d.WlCount = static_cast<int16_t>(wavelengths);
    const float wl[6] = {0.5461f, 0.4861f, 0.6563f, 0.4358f, 0.5876f, 0.7065f};
    for (int k = 0; k < wavelengths; ++k) d.Wavelength[k] = wl[k];
    sheet.ApplySurfaceCount("10");
    for (int i = 1; i <= 10; ++i) {
      const bool front = i % 2 == 1;
      sheet.Cell(i, 2) = "30";
      sheet.Cell(i, 3) = ShortestText(front ? 400.0 + 20 * i : -600.0 - 20 * i);
      sheet.Cell(i, 4) = front ? "6" : "20";
      if (front) {
        d.MediumCode[i] = kMediumDirect;
        sheet.Cell(i, 5) = "DIRECT";
        // A crown with a little dispersion, one index per wavelength.
        for (int k = 1; k <= wavelengths; ++k) d.IndexWl[k][i] = 1.5168 + 0.004 * (0.5461 / d.Wavelength[k - 1] - 1);
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

}  // namespace
