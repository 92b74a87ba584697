#include "glass/catalogue_media.h"

#include <cmath>

#include "core/number_text.h"

namespace ovrin {

void CatalogueMedia::ResolveCatalogueMedium(DesignState& d, int surface) {
  const int code = d.MediumCode[surface];
  Catalogue cat;
  if (!CatalogueOfMedium(code, cat)) return;
  NameTable& names = *d.GlassNames(code);
  if (cat == Catalogue::Schott || cat == Catalogue::Ohara) {
    // An entry that is a number above 0 and at most 1000 is a row of an old release.
    const double v = ParseLeadingNumber(names[surface]);
    if (v > 0 && v <= 1000) {
      if (const char* name = OldRowName(cat, static_cast<int>(v))) names[surface] = name;
    }
  }
  RecomputeSurfaceIndices(d, surface, code);
}

void CatalogueMedia::RecomputeSurfaceIndices(DesignState& d, int surface, int code) {
  Catalogue cat;
  if (!CatalogueOfMedium(code, cat)) return;
  // The sign of the space is read before the table is overwritten; a cleared
  // table (0) gives a positive index.
  const bool negative = d.IndexWl[1][surface] < 0;
  lookup.GlassName = (*d.GlassNames(code))[surface];
  for (int k = 1; k <= d.WlCount; ++k) {
    lookup.GlassWl = d.Wavelength[k - 1];
    lookup.Lookup(cat);
    d.IndexWl[k][surface] = negative ? -lookup.GlassIndex : lookup.GlassIndex;
    for (int j = k + 1; j <= 6; ++j) d.IndexWl[j][surface] = 0;
  }
}

void CatalogueMedia::RecomputeForEnvironment(DesignState& d) {
  for (int i = 1; i <= d.SurfCount; ++i) {
    const int code = d.MediumCode[i];
    Catalogue cat;
    if (!CatalogueOfMedium(code, cat)) continue;
    RecomputeSurfaceIndices(d, i, code);
    // The makers' temperature formula is applied to SCHOTT and OHARA glasses;
    // the other catalogues keep their indices as computed.
    if (cat != Catalogue::Schott && cat != Catalogue::Ohara) continue;
    if (lookup.LastRow == nullptr || lookup.GlassName != lookup.LastRow->name) continue;
    const GlassRow& row = *lookup.LastRow;
    for (int k = 1; k <= d.WlCount; ++k) {
      const double n = d.IndexWl[k][i];
      const double lambda = d.Wavelength[k - 1];
      const double moved = IndexAtEnvironment(std::fabs(n), row, lambda, ReferenceTemperature(code),
                                              d.EnvTempActual, d.EnvPressActual);
      d.IndexWl[k][i] = RoundTo(n < 0 ? -moved : moved, 8);
    }
  }
}

}  // namespace ovrin
