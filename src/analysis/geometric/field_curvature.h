#pragma once
// Frmcodding: astigmatism and field curvature. At eleven field steps the chief
// ray and two neighbours 0.0005 apart are traced as real rays; where they
// cross gives the tangential and the sagittal focus.
#include <array>
#include <string>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

struct FieldCurvSettings {
  int wavelength = 1;          // Option1 .. Option6
  std::string referenceBfl;    // Text1 (" Actual  B.F.L"): 0 or empty means Bfl
  std::string scale = "0";     // TxtScala ("Max. Curv. SCALE"): 0 automatic
  std::string angleY = "0", angleX = "0";  // the design window's half-field boxes
};

struct FieldCurvResult {
  bool failed = false;  // a ray failed: the rows written so far stay, nothing is said
  int rowsDone = 0;     // table rows 1..rowsDone hold values
  bool finite = false;  // finite object: the first column is the object height
  double FieldStep = 0;
  double ReferencePlane = 0;
  std::array<double, 11> ChiefHeight{}, ZTan{}, ZSag{};
  std::array<float, 11> AvgRadius{};                     // steps 1..10
  std::array<std::array<std::string, 5>, 10> rows;       // the five texts of rows 1..10
  double Scale = 0;                                      // the half-range S of the graph
};

FieldCurvResult ComputeFieldCurvature(const DesignState& d, const FieldCurvSettings& s);

// The Tan. and Sag. curves against the field.
void DrawFieldCurvature(const FieldCurvResult& r, Canvas& canvas);
// The table with its heads, as text.
std::string FieldCurvTableText(const FieldCurvResult& r);

}  // namespace ovrin
