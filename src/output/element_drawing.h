#pragma once
// The workshop drawing of one element: a lens (two faces with glass between
// them) or a mirror (its face on a blank with a flat back), in section, to a
// standard scale on an A4 landscape sheet, with the dimensions a maker needs
// at the bench: diameter, centre and edge thickness, radii, conic and
// high-order terms, the sag of each face at its edge, and the glass.
#include <string>
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

// The sheet, in millimetres of paper.
inline constexpr double kElementSheetWidth = 297, kElementSheetHeight = 210;

struct ElementSettings {
  int surface = 1;         // any face of the element (the first face of a lens wins)
  double mirrorBlank = 0;  // a mirror blank's thickness at its centre; 0 takes about a sixth of the diameter
};

// One element of the design: its first and last surface (equal for a mirror).
struct ElementRef {
  int first = 0, last = 0;
  bool mirror = false;
};
std::vector<ElementRef> ListElements(const DesignState& d);

struct ElementFace {
  int surface = 0;       // 0 for the flat back of a mirror blank
  double radius = 0;     // as in the table (0 for a plane)
  double semiDiam = 0;   // clear half-diameter of the face
  int type = kSphere;
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
  double edgeSag = 0;    // sag at semiDiam, towards the light's direction in the element
};

struct ElementDrawing {
  bool ok = false;
  std::string error;
  ElementRef ref;
  std::string title;        // the design file's name, for the title block
  std::string glass;        // the catalogue and glass name, or the index typed
  ElementFace front, back;  // in the order of the light
  double rimSemiDiam = 0;   // the outer half-diameter of the part
  double centreThickness = 0;
  double edgeThickness = 0;
  double volume = 0;        // mm^3
  double scale = 1;         // paper mm per mm of the part
  std::string scaleText;    // "1:2", "2:1"
  // The section, closed, in the part's own axes: z along the axis from the
  // front vertex in the light's direction, y across.
  std::vector<PlotPoint> section;
  // The data table of the sheet, line by line.
  std::vector<std::string> table;
};

ElementDrawing ComputeElement(const DesignState& d, const ElementSettings& s);

// The sheet: frame, section to scale with the axis and dimension lines, the
// data table and the title block; the canvas window is the sheet in mm.
void DrawElement(const ElementDrawing& e, Canvas& canvas);

}  // namespace ovrin
