#pragma once
// Frmabsferica: real meridional rays through 40 pupil zones at every
// wavelength in use give the longitudinal and the transversal spherical
// aberration and the offense against the sine condition (O.S.C.).
#include <array>
#include <string>
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

inline constexpr const char* kZoneError = "ERROR !";
inline constexpr int kZoneCount = 42;  // 0 the near-axis reference, 1..20 above, 22..41 below

using ZoneTable = std::array<double, kZoneCount>;

struct SphericalSettings {
  double referenceBfl = 0;        // Text1, the reference distance R from the last surface
  double maxScale = 0;            // TxtScala ("Max Scale "): 0 automatic, else used as typed
  std::string angleY = "0", angleX = "0";  // the design window's half-field boxes
};

struct SphericalResult {
  std::string error;  // "ERROR !" when a zone failed; the tables keep what was written
  std::array<bool, 6> InUse{};
  // One table per wavelength slot 1..6 (index 0..5).
  std::array<ZoneTable, 6> ZoneLA{}, ZoneTA{}, ZoneOSC{}, ZoneU{}, ZoneBack{};
  std::array<float, kZoneCount> ZoneStopped{};  // of the last wavelength traced
  double LongScale = 0;    // S: the longitudinal half-range
  double TransvScale = 0;  // T: the largest transversal value
  std::array<std::array<std::string, 6>, 10> oscTable;  // rows 10 % .. 100 %
  std::array<float, 6> wavelengths{};
  std::array<Rgb, 7> colors{};
  bool traced = false;  // at least wavelength 1 ran to its end
};

SphericalResult ComputeSpherical(const DesignState& d, const SphericalSettings& s);

// The two graphs.
void DrawLongitudinalSA(const SphericalResult& r, Canvas& canvas);
void DrawTransversalSA(const SphericalResult& r, Canvas& canvas);
// The O.S.C. table with its heads, as text.
std::string OscTableText(const SphericalResult& r);
// "Show TEXT": the data report.
std::string SphericalReport(const SphericalResult& r);

}  // namespace ovrin
