#pragma once
// The wavelength window without a window: up to six wavelengths with their
// weights and pen colours, the presets, and the store that recomputes every
// index of the design for them.
#include <array>
#include <string>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"
#include "core/system_update.h"

namespace ovrin {

// The list of each wavelength box: value text and, where it has one, the line.
struct WavelengthListEntry {
  const char* value;
  const char* line;  // empty when the list shows no line name
};
extern const std::array<WavelengthListEntry, 24> kWavelengthList;

inline constexpr const char* kInvalidWavelength = " Invalid wavelenght value! ";
inline constexpr const char* kDirectNeedsThree =
    "Warning: Min. 3 wavelengths are needed for computing dispersion coefficients!\n"
    "Please select (at least) three wavelengths then open the\n"
    "DIRECT INDEX window  and enter refraction index for 3 wavelengths !";

enum class WavelengthPreset { None, Visible, Scotopic, Photopic };

struct WavelengthForm {
  struct Row {
    std::string ComboWL;    // wavelength text, microns
    std::string Text1 = "1";  // weight text
    Rgb color;
  };
  std::array<Row, 6> rows;
  int count = 1;  // Option1..Option6: rows in use
  WavelengthPreset preset_label = WavelengthPreset::None;

  // Fills the rows from the design. Opening the window marks the colours as chosen.
  void Open(DesignState& d);
  void ApplyPreset(WavelengthPreset p);
  // Pen colours sampled from the spectrum strip of the given width, at half its height.
  void AutoPenColors(int picture_width);
};

// Colour of the spectrum strip (0.38 micron at x = 0, 0.72 at x = width) at column x.
Rgb SpectrumColorAt(double x, int width);
// Column of the strip where a wavelength's pen colour is sampled.
double SpectrumColumn(double wavelength, int width);

struct WavelengthStoreResult {
  bool ok = true;          // false: refused, nothing changed
  std::string message;     // the refusal
  std::string warning;     // shown, but the store went on
  UpdateResult update;     // the system update that closes the store
};

// CmdOK: checks, stores and recomputes the indices of every surface, then updates.
WavelengthStoreResult StoreWavelengths(const WavelengthForm& form, DesignState& d,
                                       DesignSheet& sheet, MediaResolver& media);

// Index interpolation for a DIRECT medium: the typed indices at the old
// wavelengths are fitted by Cauchy's three-term dispersion formula
// n = A + B / L^2 + C / L^4 (exactly through three points, least squares
// through more) and evaluated at the new ones.
struct DispersionFit {
  double A = 0, B = 0, C = 0;
  bool ok = false;
  double At(double lambda) const { return A + B / (lambda * lambda) + C / (lambda * lambda * lambda * lambda); }
};
DispersionFit FitDirectIndices(const double* lambda, const double* n, int count);

}  // namespace ovrin
