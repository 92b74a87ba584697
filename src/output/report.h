#pragma once
// FrmReport: the whole design on one page, as a telescope maker files it.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "output/text_page.h"

namespace ovrin {

struct ReportSurface {
  int surface = 0;
  double radius = 0, thickness = 0, semiDiam = 0;
  std::string medium, glass, type;
  std::vector<double> index;  // at each wavelength in use, in their order
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
  bool aspheric = false;
};

struct ReportTilt {
  int surface = 0;  // SurfCount + 1 is the image plane
  double tiltA = 0, tiltB = 0, decY = 0, decX = 0;
};

struct ReportWavelength {
  int number = 0;
  double microns = 0, weight = 0;
};

struct ReportResult {
  std::string title, notes;
  std::vector<ReportSurface> surfaces;
  std::vector<ReportTilt> tilts;
  std::vector<ReportWavelength> wavelengths;
  // Object and field.
  double objDistance = 0, beamSemiDiam = 0, halfFieldY = 0, halfFieldX = 0, objHeight = 0;
  bool infinite = true;
  // First-order data.
  double efl = 0, bfl = 0, fNumber = 0, imageHeight = 0;
  double entrPupilZ = 0, entrPupilDiam = 0;
  std::optional<double> exitPupilZ, exitPupilDiam, petzvalRadius;
  // Seidel sums: SPHERICAL, COMA, ASTIG., DIST., PETZVAL.
  std::optional<std::array<double, 5>> seidel, transversal, longitudinal;
  std::string seidelNote;  // why the sums are missing
};

ReportResult ComputeReport(const DesignState& d, const DesignSheet& sheet);
TextPage ReportPage(const ReportResult& r);

}  // namespace ovrin
