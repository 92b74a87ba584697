#pragma once
// The 2D layout: a section of the design along the axis, with its elements
// and a fan of meridional rays, in the coordinates of the picture (z across,
// y up, in mm).
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

struct LayoutSettings {
  double field_deg = 0;         // HScroll4: the field of the blue rays
  double field_fraction = 0;    // the same as a part of the design's field (near objects)
  int rays = 3;                 // HScroll5: rays per fan, 0..61
  bool both_half_fields = false;  // CheckFullField
  bool plot_vignetted = false;    // CheckVIGN
  int background = 0;             // Combo1: 0 White, 1 Black, 2 Grey
};

struct LayoutFrame {
  double left = 0, top = 0, right = 0, bottom = 0;
};

struct Layout {
  std::vector<double> vertexZ;  // 0..SurfCount + 1; the last is the image plane
  double TotalTrack = 0;
  LayoutFrame frame;
  double margin = 0;
  enum class Kind { Plain, Mirror, Screen, Lens };
  struct Surface {
    int index;
    Kind kind;
    std::vector<PlotPoint> profile;  // bottom to top
  };
  std::vector<Surface> surfaces;
  std::vector<std::vector<PlotPoint>> elements;  // closed outlines of refractive elements
  struct Ray {
    std::vector<PlotPoint> points;
    bool axial;
  };
  std::vector<Ray> rays;
};

// The frame of steps: total track and a window about four times as wide as high.
LayoutFrame LayoutFrameOf(const std::vector<double>& vertex_z, double ymax, double ymin, double* total_track,
                          double* margin);

// 201 points of a surface's profile from -SemiDiam to +SemiDiam, through its
// decenter and tilt; the profile stops where the surface's formula does.
std::vector<PlotPoint> SurfaceProfile(const DesignState& d, int i, double vertex_z);

Layout ComputeLayout(const DesignState& d, const LayoutSettings& s);

// Draws the layout into `window` (the frame, or a zoomed part of it).
void DrawLayout(const Layout& layout, const LayoutSettings& s, const LayoutFrame& window, Canvas& canvas);

}  // namespace ovrin
