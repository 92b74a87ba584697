#pragma once
// Designs built the way a user enters them: text in the grid and boxes, media
// picked per row, then the system update.
#include <string>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/media.h"
#include "core/system_update.h"

namespace ovrin::testing {

struct SurfaceSpec {
  double semi_diam = 0;
  double radius = 0;  // 0 is a plane
  double thickness = 0;
  enum Medium { AirPosit, AirNegat, Direct } medium = AirPosit;
  double direct_index = 1;  // for Direct; its sign follows the space
  int type = kSphere;
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
};

struct TestDesign {
  DesignState d;
  DesignSheet sheet;
  StoredIndicesResolver media;
  UpdateResult Update() { return cmdupdate(d, sheet, media); }
};

// Fills the sheet and tables from the specs, one wavelength 0.5461 unless
// given, beam half-diameter `beam` (0: from surface 1), field angle `angle_deg`.
void Build(TestDesign& t, const std::vector<SurfaceSpec>& surfaces, double beam = 0,
           double angle_deg = 0, std::vector<float> wavelengths = {0.5461f});

// The examples folder of the source tree.
std::string ExamplePath(const std::string& name);

}  // namespace ovrin::testing
