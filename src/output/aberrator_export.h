#pragma once
// FrmExportAberrator: the wave front of one wavelength on the spot diagram's
// pupil grid, written as an .OPD text file for an outside wavefront viewer.
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "core/design_state.h"

namespace ovrin {

inline constexpr const char* kOpdFileFilter = "file (*.OPD)|*.OPD";
inline constexpr const char* kExportError = "ERROR!";
inline constexpr const char* kExportWarning =
    "Warning :Usually file creation  requires  long computation  time.If you select 401x401grid ,then the file "
    "size will be about 4.5MB.";
// The grid options and the colours of the wavelength numbers 1..6.
inline constexpr std::array<const char*, 4> kExportGridText = {"101x101 Grid", "201x201  Grid", "301x301  Grid",
                                                              "401x401 Grid"};
inline constexpr std::array<int, 4> kExportGridSize = {101, 201, 301, 401};
inline constexpr std::array<int, 6> kExportWlColor = {10, 4, 12, 9, 13, 3};

struct OpdExportSettings {
  int grid = 101;          // N: an N x N grid, PupilGridDiv = (N - 1) / 2
  int wavelength = 1;      // 1..6
  double actualBfl = 0;    // last surface to the image
  double focalRadius = 0;  // 0: a flat image surface
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
};

struct OpdSample {
  int column = 0, row = 0;
  double waves = 0;  // OPD in waves, rounded to 20 decimals
};

struct OpdExport {
  std::string error;        // kExportError on any fault
  int wavelengthNumber = 0;
  int wavelengthColor = 0;  // the colour code of the number
  double wavelengthNm = 0;
  double beamDiameter = 0;  // 2 EntrBeamSemiDiam
  int gridDiv = 0;
  double step = 0;          // EntrBeamSemiDiam / PupilGridDiv
  // The offset added to every OPD before it becomes waves (mm). Ovrin writes
  // the path difference from the chief ray as it is: the offset is 0, so the
  // centre of the pupil reads 0 and a sample no ray reached reads exactly 0.
  double offset = 0;
  int pupilRayCount = 0;
  std::vector<OpdSample> samples;  // 0..PupilRayCount
};

using ExportProgress = std::function<void(int)>;  // percent

// The OPD of every sample of the pupil grid, `progress` following.
OpdExport ComputeOpdExport(const DesignState& d, const OpdExportSettings& s, const ExportProgress& progress = {});

// The file's text: the head, a data line per sample, MASK, a mask line per sample.
std::string OpdFileText(const OpdExport& e, const ExportProgress& progress = {});
// Writes the file; false when it cannot be written.
bool WriteOpdFile(const OpdExport& e, const std::string& path, const ExportProgress& progress = {});

}  // namespace ovrin
