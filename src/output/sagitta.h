#pragma once
// FrmSagitta: the sag of every surface zone by zone (mode 1), and the
// tolerances that keep this design within a quarter wave of optical path
// difference (mode 2).
#include <optional>
#include <string>
#include <vector>

#include "core/design_state.h"
#include "output/text_page.h"

namespace ovrin {

inline constexpr int kSagZones = 10;  // zones from the centre; the last is the edge

struct SagZone {
  double height = 0;     // from the axis, mm
  double sphere = 0;     // sag of the vertex sphere
  double surface = 0;    // sag of the surface as the tracer sees it
  double departure = 0;  // surface minus its best-fit sphere
};

struct SagSurface {
  int surface = 0;
  std::string type;
  double radius = 0;          // as traced (1e11 for a plane)
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
  bool aspheric = false;
  double bestFitRadius = 0;   // the sphere through the vertex and the edge of the surface
  double maxDeparture = 0;    // the largest |departure| over the zones
  std::vector<SagZone> zones; // heights 0, h/10, ... h
  std::string error;          // a zone the conic does not reach
};

struct SagittaResult {
  std::vector<SagSurface> surfaces;
};

SagittaResult ComputeSagitta(const DesignState& d);
TextPage SagittaPage(const SagittaResult& r);

// The quarter-wave allowances. Lengths in mm, angles in degrees.
struct AllowanceSettings {
  int wavelength = 1;  // 1..6
};

struct Allowances {
  std::string error;
  double wavelength = 0;       // microns
  double fNumber = 0;          // Efl / entrance beam diameter
  double efl = 0;
  double defocus = 0;          // +- focus range, 2 lambda N^2
  double sphericalLong = 0;    // marginal to paraxial focus, 16 lambda N^2 (refocused)
  double sphericalTrans = 0;   // the same at the paraxial focus, 8 lambda N
  double comaTangential = 0;   // tangential coma length, 9/4 lambda N
  double comaSagittal = 0;     // sagittal coma, 3/4 lambda N
  double astigmatism = 0;      // sagittal to tangential focus, 4 lambda N^2
  // Two-mirror designs: the secondary's decenter and tilt that bring a
  // quarter wave of coma; empty when the secondary adds no spherical term
  // (a flat) or the design is not a two-mirror one.
  bool twoMirror = false;
  int secondary = 0;
  std::optional<double> secondaryDecenter, secondaryTilt;
};

Allowances ComputeAllowances(const DesignState& d, const AllowanceSettings& s);
TextPage AllowancesPage(const Allowances& a);

}  // namespace ovrin
