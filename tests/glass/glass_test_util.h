#pragma once
// The catalogue index of a glass at a wavelength, as the lookup gives it.
#include <string>

#include "glass/glass_catalogue.h"

namespace ovrin::testing {

inline double CatalogueIndex(Catalogue c, const std::string& name, double wl) {
  GlassLookup g;
  g.GlassName = name;
  g.GlassWl = static_cast<float>(wl);
  g.Lookup(c);
  return g.GlassIndex;
}

}  // namespace ovrin::testing
