#pragma once
// What the glass pickers and the direct-index window do to a surface, without
// a window: the list a picker shows, and the choice written into the design.
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "glass/catalogue_media.h"
#include "glass/glass_catalogue.h"

namespace ovrin {

struct GlassListEntry {
  const GlassRow* row;
  bool available;  // false: the catalogue publishes no dispersion formula for it
};

// The glasses of a catalogue in catalogue order whose name contains `filter`
// (any case; an empty filter lists all).
std::vector<GlassListEntry> GlassList(Catalogue c, std::string_view filter);

// The window name of a catalogue's picker ("FrmSchott", "FrmOh", ...).
const char* PickerWindowName(Catalogue c);
// Medium code of a catalogue (2, 3, 5..9).
int MediumCodeOf(Catalogue c);

// A catalogue glass chosen for surface `row`: columns 5 and 6, the medium
// code, the name and all six index tables, the sign of the space kept.
// Returns false (and changes nothing) when the catalogue has no such glass
// or no formula for it.
bool PickCatalogueGlass(DesignState& d, DesignSheet& sheet, CatalogueMedia& media, int row,
                        Catalogue c, std::string_view name);

// Indices typed for a DIRECT medium, one per wavelength in use (magnitudes;
// the sign of the space is kept). Returns false when one of them is 0.
bool PickDirectIndices(DesignState& d, DesignSheet& sheet, int row,
                       const std::array<double, kMaxWavelengths>& indices);

}  // namespace ovrin
