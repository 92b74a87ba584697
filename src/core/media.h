#pragma once
// The glass side of the core: what the system update and the design file reader
// ask of the catalogues. The core itself knows no catalogue; the program plugs
// the catalogue module in through this interface.
#include "core/design_state.h"

namespace ovrin {

class MediaResolver {
 public:
  virtual ~MediaResolver() = default;

  // Design file reader, for a surface whose medium is a catalogue glass
  // (codes 2, 3 and 5..9): translate an old row number into a name where the
  // catalogue has such rows, and recompute the surface's indices for the
  // current wavelengths.
  virtual void ResolveCatalogueMedium(DesignState& d, int surface) = 0;

  // Every index of a catalogue-glass surface for the wavelengths in use, keeping
  // the sign of the space (a negative IndexWl[1] before the call stays negative).
  virtual void RecomputeSurfaceIndices(DesignState& d, int surface, int medium_code) = 0;

  // First step of the system update on a fresh design: recompute every index
  // for EnvTempActual and EnvPressActual.
  virtual void RecomputeForEnvironment(DesignState& d) = 0;
};

// Keeps the indices stored in the design as they are.
class StoredIndicesResolver final : public MediaResolver {
 public:
  void ResolveCatalogueMedium(DesignState&, int) override {}
  void RecomputeSurfaceIndices(DesignState&, int, int) override {}
  void RecomputeForEnvironment(DesignState&) override {}
};

}  // namespace ovrin
