#pragma once
// The catalogues plugged into the design core: glass names resolved to indices
// for the reader, the wavelength store and the environment.
#include "core/media.h"
#include "glass/glass_catalogue.h"

namespace ovrin {

class CatalogueMedia final : public MediaResolver {
 public:
  void ResolveCatalogueMedium(DesignState& d, int surface) override;
  void RecomputeSurfaceIndices(DesignState& d, int surface, int medium_code) override;
  void RecomputeForEnvironment(DesignState& d) override;

  // The lookup registers, kept from one lookup to the next.
  GlassLookup lookup;
};

}  // namespace ovrin
