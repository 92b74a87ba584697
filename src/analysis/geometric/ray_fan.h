#pragma once
// FrmRayFan: transverse ray aberration across the pupil, tangential and
// sagittal, on axis, at 70 % and at full field, for every wavelength in use,
// all referred to the chief ray of wavelength 1.
#include <array>
#include <string>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

inline constexpr int kFanPoints = 21;
inline constexpr const char* kFanZeroScale = "Division by zero";
inline constexpr const char* kFanRayError = "Ray-Trace ERROR! ";

using FanTable = std::array<double, kFanPoints>;

struct RayFanSettings {
  double imageDistance = 0;  // Text1, the actual image distance
  double focalRadius = 0;    // Text2, the radius of the focal surface (0 flat)
  std::string angleY = "0", angleX = "0";  // the design window's half-field boxes
};

struct FanField {
  double FanChiefY = 0;  // image height of the chief ray of wavelength 1
  double FanChiefX = 0;
  std::array<FanTable, 6> tangential{}, sagittal{};  // wavelength slots 1..6
  double Scale = 0;      // the largest |entry| of both fans and all wavelengths
  double tangentialMax = 0, sagittalMax = 0;
  bool done = false;     // traced to the end
};

struct RayFanResult {
  // A failed ray, or a graph whose largest value is 0 (a perfect system):
  // the update ends there with this message; fields traced before it stay.
  std::string error;
  std::array<bool, 6> InUse{};
  std::array<FanField, 3> fields;  // on axis, 0.7, full
  std::array<Rgb, 7> colors{};
};

RayFanResult ComputeRayFan(const DesignState& d, const RayFanSettings& s);

// One of the six graphs: field 0..2, tangential or sagittal.
void DrawRayFan(const RayFanResult& r, int field, bool tangential, Canvas& canvas);
// The intercepts as text, field by field.
std::string RayFanText(const RayFanResult& r, double semi_diameter);

}  // namespace ovrin
