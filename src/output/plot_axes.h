#pragma once
// Axes of the curve plots: a box with ticks at round values, their numbers,
// a light grid and the axis titles, drawn on any canvas. The canvas window is
// set so that the curves drawn afterwards in data units fall inside the box.
#include <string>
#include <vector>

#include "output/canvas.h"

namespace ovrin {

struct PlotAxis {
  double min = 0, max = 1;
  std::string title;  // with its unit, e.g. "Defocus (mm)"
  int ticks = 5;      // about this many ticks
  bool reversed = false;  // x only: values fall from left to right
};

struct AxesStyle {
  Rgb ink{0, 0, 0};
  Rgb grid{205, 205, 205};
  bool grid_lines = true;
};

// Round tick values within [min, max]: a step of 1, 2 or 5 times a power of
// ten, giving about `count` ticks. Values within a hundredth of a step of 0 are 0.
std::vector<double> NiceTicks(double min, double max, int count);

// A tick's number with the decimals its step needs ("0.25", "10", "-0.002").
std::string TickText(double value, double step);

// The data rectangle inside the canvas window that DrawAxes sets.
struct PlotBox {
  double left, top, right, bottom;
};

// Sets the window of `canvas` around the data range of `x` and `y` (an empty
// range is widened), and draws the grid, the box, the ticks, their numbers and
// the titles. Returns the box, in data units.
PlotBox DrawAxes(Canvas& canvas, const PlotAxis& x, const PlotAxis& y, const AxesStyle& style = {});

}  // namespace ovrin
