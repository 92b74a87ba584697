#pragma once
// Ghost images of two reflections: light reflected back by one refracting
// surface and forward again by an earlier one reaches the image as a second,
// fainter and usually out-of-focus image. Every pair of refracting surfaces
// is followed with the near-axis ray, and the ghosts are ranked by how much
// they brighten the image where they land.
#include <string>
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

struct GhostSettings {
  int wavelength = 1;          // the index column, 1..6
  double actualBfl = 0;        // last surface to the image plane
  double reflectance = 0;      // per surface, 0..1; 0: the bare surface's Fresnel reflectance
};

struct Ghost {
  int first = 0, second = 0;   // reflected back at `second`, then forward again at `first` (first < second)
  double reflFirst = 0, reflSecond = 0;
  double energy = 0;           // part of the light in the ghost: the product of the two reflectances
  bool afocal = false;         // the ghost leaves the last surface parallel to the axis
  double focusFromLast = 0;    // its near-axis focus, from the last surface
  double focusShift = 0;       // the same from the image plane, positive beyond it
  double blurDiam = 0;         // diameter of the ghost's disc on the image plane
  // The ghost's light per unit area against that of the star's image (the
  // light of a perfect image spread over the Airy disc): energy x (Airy / blur)^2,
  // at most the energy itself when the ghost is as sharp as the image.
  double brightness = 0;
};

struct GhostResult {
  bool ok = false;
  std::string error;
  double airyDiam = 0;
  int refracting = 0;            // refracting surfaces found
  std::vector<Ghost> ghosts;     // brightest first
  std::vector<std::string> text;
};

// The reflectance of a bare surface at normal incidence between two media.
double FresnelReflectance(double n1, double n2);

GhostResult ComputeGhosts(const DesignState& d, const GhostSettings& s);
// Each ghost as a point: focus shift across, log10 of its brightness up, labelled by its pair.
void DrawGhosts(const GhostResult& r, Canvas& c, int background = 0);

}  // namespace ovrin
