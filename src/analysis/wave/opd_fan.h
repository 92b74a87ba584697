#pragma once
// The OPD fans: the tangential and sagittal fans of 21 rays each, on axis and
// at the full field, for every wavelength in use, their graphs and their text.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"
#include "output/canvas.h"

namespace ovrin {

inline constexpr int kFanRays = 42;  // rays 1..21 tangential, 22..42 sagittal

// What FrmOPDfan's controls hold when "OPD Fans Plot" is pressed.
struct OpdFanSettings {
  double actualBfl = 0;                 // Text1
  double focalRadius = 0;               // Text2
  double angleYDeg = 0, angleXDeg = 0;  // the design window's field angles
};

// One row of graphs: W(ray, wavelength) as stored (negated, rays 11 and 32 at
// 1e-07 as the rule says), rays 0..42, wavelengths 0..6 (0 unused).
struct OpdFanRow {
  std::array<std::array<double, 7>, kFanRays + 1> W{};
  std::array<bool, 7> used{};
  std::array<double, 7> S{};  // scale of each wavelength
  int scaleWl = 1;            // the wavelength whose scale the graphs take
  double E = 1e-06;           // half-height of the graphs
};

struct OpdFanResult {
  bool ok = false;
  std::optional<TraceError> error;  // why the run failed
  double Zxp = 0;
  double a = 0;  // entrance beam half-diameter
  std::array<double, kFanRays + 1> PupilY{}, PupilX{};
  OpdFanRow axis, full;  // the graphs' rows
  OpdFanRow axisText;    // the on-axis text blocks' row (object height 0)
  // What the run writes into the design state; the caller applies it.
  double EntrPupilY = 0;
  float UncenteredFlag = 0;
  // The four text blocks, 21 rows each: %Zone and six cells.
  std::array<std::vector<std::array<std::string, 7>>, 4> text;
};

inline constexpr const char* kFanTextTitles[4] = {"TANGENTIAL OPD (On Axis)", "SAGITTAL OPD (On Axis)",
                                                  "TANGENTIAL OPD (Full Field)", "SAGITTAL OPD (Full Field)"};

OpdFanResult ComputeOpdFan(const DesignState& d, const OpdFanSettings& s);

// One of the four graphs (Picture1..4) in the box (left, top) - (right, bottom)
// of a canvas whose window the caller has set; `full` chooses the row and
// `tangential` the fan.
void DrawOpdFanGraph(const OpdFanResult& r, const DesignState& d, bool full, bool tangential, Canvas& c,
                     double left, double top, double right, double bottom);
// All four graphs in one picture (on-axis row on top), for files.
void DrawOpdFans(const OpdFanResult& r, const DesignState& d, Canvas& c);

}  // namespace ovrin
