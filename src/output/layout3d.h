#pragma once
// The 3D layout: every surface as a shaded shell in its true place (tilts and
// decenters followed from frame to frame, folds included), the lenses closed
// by their rims, and rays of three fields, seen from any direction.
#include <array>
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

struct Vec3 {
  double x = 0, y = 0, z = 0;
};

struct Layout3DSettings {
  double rotX = 25, rotY = -35, rotZ = 0;  // the view, degrees about the picture's axes
  double zoom = 1;                         // 1 shows the whole design
  double field_deg = 0;                    // the design's half-field angle (object at infinity)
  int rays = 5;                            // rays per fan, 0..31
  bool sagittal = true;                    // a sagittal fan beside the meridional one
  int background = 0;                      // 0 White, 1 Black, 2 Grey
  double aspect = 1.6;                     // width / height of the picture
};

// A point of a surface's frame and its place in the design's frame.
struct Frame3 {
  std::array<std::array<double, 3>, 3> m{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};  // local -> global
  Vec3 origin;
  Vec3 ToGlobal(double x, double y, double z) const;
};

struct Layout3D {
  // The frame of each surface 0..SurfCount + 1 (the last is the image plane)
  // as the rays meet it; after a tilted mirror the next frames are turned.
  std::vector<Frame3> frames;
  struct Face {
    std::array<Vec3, 4> p;
    Rgb color;
  };
  std::vector<Face> faces;  // the shells of surfaces and the rims of lenses
  struct Line {
    std::vector<Vec3> points;
    Rgb color;
    int width = 1;
  };
  std::vector<Line> outlines;  // surface rims and the image plane
  std::vector<Line> rays;
  int elements = 0;            // lenses and mirrors drawn shaded
  Vec3 centre;                 // of the sphere that holds the whole drawing
  double radius = 1;
};

// The frames of the surfaces, in the order the trace enters them.
std::vector<Frame3> SurfaceFrames(const DesignState& d);

Layout3D ComputeLayout3D(const DesignState& d, const Layout3DSettings& s);

// The view: the design turned by the settings' angles, seen along the
// picture's depth; at no rotation the axis runs left to right and y is up, as
// in the 2D layout. Faces are painted far to near, lit from the viewer's side.
void DrawLayout3D(const Layout3D& layout, const Layout3DSettings& s, Canvas& canvas);

// A global point on the picture (x right, y up) and its depth (towards the viewer).
Vec3 ViewOf(const Layout3DSettings& s, const Vec3& p);

}  // namespace ovrin
