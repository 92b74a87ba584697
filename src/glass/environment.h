#pragma once
// The environmental analysis: what a change of temperature and pressure does
// to the design. The indices of the glasses are computed at the design's own
// conditions and at the actual ones, exactly as the Environmental Conditions
// dialog would set them; the lenses grow with their glass, the mirrors and the
// air spaces with the expansion the user gives for the mirror blanks and the
// tube; and the first-order data are compared by a paraxial trace.
#include <string>
#include <vector>

#include "core/design_state.h"

namespace ovrin {

struct EnvironmentSettings {
  double temperature = 20;  // actual conditions, degrees C
  double pressure = 1;      // atm
  bool glassExpansion = true;   // lens radii and thicknesses grow with their glass
  double mirrorExpansion = 0;   // 1e-6/K of the mirror blanks (0: they keep their shape)
  double tubeExpansion = 0;     // 1e-6/K of the tube that holds the air spaces
};

// The index of one glass space at one wavelength.
struct EnvironmentIndexLine {
  int surface = 0;
  int wl = 0;  // 1..6
  double wavelength = 0;
  std::string catalogue, glass;
  double nDesign = 0, nActual = 0;
  bool thermalData = false;  // false: the index stays as the catalogue gives it
  double expansion = 0;      // 1e-6/K of the glass, 0 where not known
};

// First-order data at one wavelength; the distances from the last surface.
struct EnvironmentFirstOrder {
  int wl = 0;
  double wavelength = 0;
  double eflDesign = 0, eflActual = 0;
  double bflDesign = 0, bflActual = 0;
  double FocusShift() const { return bflActual - bflDesign; }
};

struct EnvironmentResult {
  double tDesign = 20, pDesign = 1, tActual = 20, pActual = 1;
  double airDesign = 1, airActual = 1;  // the index of air at wavelength 1
  std::vector<EnvironmentIndexLine> indices;
  std::vector<EnvironmentFirstOrder> firstOrder;
  // Radius and thickness of each surface 1..SurfCount at the actual
  // temperature (index 0 unused).
  std::vector<double> radius, thickness;
  std::string error;  // the message when the computation failed
};

// The design's own conditions: those it was computed for, or the standard 20
// degrees and 1 atm of a design that never had any.
void DesignConditions(const DesignState& d, double& t, double& p);

EnvironmentResult ComputeEnvironment(const DesignState& d, const EnvironmentSettings& s);
// The result as the window's table.
std::string EnvironmentText(const EnvironmentResult& r);

}  // namespace ovrin
