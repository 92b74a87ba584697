#pragma once
// "Solve for Edge Contact": the thickness after a surface that brings the rim
// of that surface and the rim of the next one together, so that two lenses
// rest on each other at their edges or a cemented pair meets at its rim.
#include <string>

#include "core/design_sheet.h"
#include "core/design_state.h"

namespace ovrin {

struct EdgeContactSettings {
  int surface = 1;          // the first surface of the pair; the thickness after it is solved
  double semiDiam1 = 0;     // the contact half-diameter on `surface`; 0 takes its SemiDiam
  double semiDiam2 = 0;     // the same on `surface` + 1
};

struct EdgeContact {
  bool ok = false;
  std::string error;        // why there is no answer
  int surface = 0;
  double h1 = 0, h2 = 0;    // the half-diameters used
  double sag1 = 0, sag2 = 0;  // the sag of each surface at its half-diameter
  double oldThickness = 0;
  double thickness = 0;     // the vertex distance that makes the rims touch
  // The least gap, along the direction of the light in that space, between
  // the two faces inside the smaller half-diameter; below 0 the faces cross
  // before the rims meet, and the answer is not a contact the parts can take.
  double leastGap = 0;
  double leastGapHeight = 0;
  bool facesCross = false;
};

// The sag of surface i at height h as the ray trace sees the surface (sphere,
// conic or high-order terms); NaN where the surface does not reach.
double SurfaceSagAt(const DesignState& d, int i, double h);

EdgeContact SolveEdgeContact(const DesignState& d, const EdgeContactSettings& s);

// Writes the solved thickness (to 4 decimals, as the table holds lengths)
// into the grid and the table; the caller runs the system update after it.
void ApplyEdgeContact(DesignState& d, DesignSheet& sheet, const EdgeContact& c);

}  // namespace ovrin
