#pragma once
// Edits of the whole design that the windows of the Edit and Tools menus make:
// a new design, inserting and deleting surfaces, tilts in degrees, scaling
// and the environment. Each edit moves the tables and the grid together.
#include <optional>
#include <string>
#include <string_view>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"

namespace ovrin {

inline constexpr const char* kInvalidEntry = "Invalid Entry";

// The new-design dialog's OK: n surfaces of air, plane, 1 mm apart, half-diameter 1,
// one wavelength (the mercury e line). Returns false for n below 1 or above 100;
// the caller then shows "Invalid Entry" and resets the box to "1".
// The caller runs the system update afterwards.
bool NewDesign(DesignState& d, DesignSheet& sheet, std::string_view count_text);

// Inserts `count` surfaces before surface `before` (1..SurfCount + 1). A new
// surface is a plane without thickness in the medium of the space it is put
// in, so the optics are unchanged until the user edits it. The stop stays on
// the same surface. Returns false when the design would exceed 100 surfaces
// or `before` is out of range.
bool InsertSurfaces(DesignState& d, DesignSheet& sheet, int before, int count);

// Deletes surfaces first..last (inclusive). At least one surface stays.
// A stop on a deleted surface moves to the surface that follows the gap
// (or the new last surface). Returns false when the range is invalid.
bool DeleteSurfaces(DesignState& d, DesignSheet& sheet, int first, int last);

// One row of the tilt window: angles in degrees as the user sees them.
struct TiltEntry {
  double tilt_x_deg = 0;  // about X (TiltAInput)
  double tilt_y_deg = 0;  // about Y (TiltBInput)
  float dec_y = 0;
  float dec_x = 0;
  int order = 1;  // 1 Dec. + Tilt, 2 Tilt + Dec.
};
TiltEntry ReadTiltEntry(const DesignState& d, int index);
void WriteTiltEntry(DesignState& d, int index, const TiltEntry& e);

// "Scale System": the factor typed (its magnitude); nullopt when it is 0.
std::optional<double> ScaleFactorOf(std::string_view typed);
// "Make Focal": abs(typed) / abs(Efl) held as a 32-bit float; nullopt when 0
// or when the design has no focal length.
std::optional<double> FocalScaleFactorOf(std::string_view typed, double efl);

// The environment window's OK: the design is recomputed for temperature t (C)
// and pressure p (atm), and is from then on valid at those conditions.
void ApplyEnvironment(DesignState& d, MediaResolver& media, float t, float p);

}  // namespace ovrin
