#include "output/aberrator_export.h"

#include <cmath>
#include <fstream>

#include "analysis/geometric/spot_diagram.h"
#include "analysis/wave/opd_engine.h"
#include "analysis/wave/wavefront.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

// The largest grid (401 x 401 on a full pupil) needs more entries than the
// spot diagram's arrays hold.
constexpr int kExportLastIndex = 140000;

}  // namespace

OpdExport ComputeOpdExport(const DesignState& d, const OpdExportSettings& s, const ExportProgress& progress) {
  OpdExport e;
  const int k = s.wavelength;
  if (k < 1 || k > kMaxWavelengths || d.Wavelength[k - 1] <= 0 || !WavelengthInUse(d, k)) {
    e.error = kExportError;
    return e;
  }
  e.wavelengthNumber = k;
  e.wavelengthColor = kExportWlColor[k - 1];
  const double microns = ParseLeadingNumber(ShortestText(d.Wavelength[k - 1]));
  e.wavelengthNm = RoundTo(microns * 1000, 10);
  e.beamDiameter = 2 * d.EntrBeamSemiDiam;
  e.gridDiv = (s.grid - 1) / 2;
  PupilGrid grid;
  if (e.gridDiv <= 0 || !BuildPupilGrid(d, static_cast<int16_t>(e.gridDiv), grid, kExportLastIndex)) {
    e.error = kExportError;
    return e;
  }
  e.step = d.EntrBeamSemiDiam / e.gridDiv;
  e.pupilRayCount = static_cast<int>(grid.PupilRayCount);
  const double wave_mm = microns / 1000;
  try {
    OpdEngine engine(d, WaveRunOf(d, k, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg));
    engine.ChiefReference();
    e.samples.reserve(static_cast<std::size_t>(e.pupilRayCount) + 1);
    int shown = -1;
    for (int i = 0; i <= e.pupilRayCount; ++i) {
      const double x = grid.PupilX[i], y = grid.PupilY[i];
      const double mm = engine.RayOpdMm(x, y);
      if (!std::isfinite(mm)) throw TraceError();
      OpdSample sample;
      sample.column = static_cast<int>(std::lround(x / e.step));
      sample.row = static_cast<int>(std::lround(y / e.step));
      sample.waves = RoundTo((mm + e.offset) / wave_mm, 20);
      e.samples.push_back(sample);
      const int percent = e.pupilRayCount > 0 ? 100 * i / e.pupilRayCount : 100;
      if (progress && percent != shown) progress(shown = percent);
    }
  } catch (const std::exception&) {
    e.samples.clear();
    e.error = kExportError;
  }
  return e;
}

std::string OpdFileText(const OpdExport& e, const ExportProgress& progress) {
  std::string out;
  out.reserve(e.samples.size() * 40);
  out += ShortestText(e.wavelengthNm) + "," + ShortestText(e.beamDiameter) + "\n";
  const int last = static_cast<int>(e.samples.size()) - 1;
  int shown = -1;
  for (int i = 0; i <= last; ++i) {
    const OpdSample& s = e.samples[i];
    out += std::to_string(s.column) + "," + std::to_string(s.row) + "," + PlainDecimal(s.waves) + "\n";
    const int percent = last > 0 ? 100 * i / last : 100;
    if (progress && percent != shown) progress(shown = percent);
  }
  out += "MASK\n";
  for (const OpdSample& s : e.samples) out += std::to_string(s.column) + "," + std::to_string(s.row) + ",1\n";
  return out;
}

bool WriteOpdFile(const OpdExport& e, const std::string& path, const ExportProgress& progress) {
  if (!e.error.empty()) return false;
  const std::string text = OpdFileText(e, progress);
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  if (!f) return false;
  f << text;
  return static_cast<bool>(f.flush());
}

}  // namespace ovrin
