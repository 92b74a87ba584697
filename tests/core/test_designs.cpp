#include "test_designs.h"

#include "core/number_text.h"

namespace ovrin::testing {

void Build(TestDesign& t, const std::vector<SurfaceSpec>& surfaces, double beam, double angle_deg,
           std::vector<float> wavelengths) {
  DesignState& d = t.d;
  DesignSheet& s = t.sheet;
  ClearDesign(d);
  ResetTiltDecenter(d);
  d.WlCount = static_cast<int16_t>(wavelengths.size());
  for (std::size_t k = 0; k < wavelengths.size(); ++k) d.Wavelength[k] = wavelengths[k];
  const int n = static_cast<int>(surfaces.size());
  s.ApplySurfaceCount(std::to_string(n));
  for (int i = 1; i <= n; ++i) {
    const SurfaceSpec& sp = surfaces[i - 1];
    s.Cell(i, 2) = ShortestText(sp.semi_diam);
    s.Cell(i, 3) = ShortestText(sp.radius);
    s.Cell(i, 4) = ShortestText(sp.thickness);
    if (sp.medium == SurfaceSpec::Direct) {
      d.MediumCode[i] = kMediumDirect;
      s.Cell(i, 5) = "DIRECT";
      s.Cell(i, 6) = ShortestText(sp.direct_index);
      for (int k = 1; k <= 6; ++k) d.IndexWl[k][i] = k <= d.WlCount ? sp.direct_index : 0;
    } else {
      PickAir(d, s, i, sp.medium == SurfaceSpec::AirNegat);
    }
    if (sp.type == kConic || sp.type == kHighOrder) {
      SetSurfaceCoefficients(d, s, i, sp.type == kHighOrder, sp.conic, sp.a4, sp.a6, sp.a8);
    } else {
      PickSurfaceType(d, s, i, sp.type);
    }
  }
  s.Text1 = ShortestText(beam);
  s.Txtangolo = ShortestText(angle_deg);
  s.cmdupdateVisible = true;
}

std::string ExamplePath(const std::string& name) { return std::string(OVRIN_EXAMPLES_DIR) + "/" + name; }

}  // namespace ovrin::testing
