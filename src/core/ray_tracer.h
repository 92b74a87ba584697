#pragma once
// The ray registers and the operations that carry one ray through one surface.
// Operations take no arguments: they read and change the registers in place.
// A ray that cannot go on raises TraceError.
#include <stdexcept>

#include "core/design_state.h"

namespace ovrin {

class TraceError : public std::runtime_error {
 public:
  TraceError() : std::runtime_error("TraceError") {}
};

// The small choices in which the analyses' surface loops differ.
struct SurfaceLoopPolicy {
  int wavelength = 1;           // which index table, 1..6
  bool testAperture = true;     // mark vignetted and obstructed rays
  double apertureMargin = 0.1;  // mm added to a half-diameter before a ray counts as vignetted
};

// An observer of the surface loop: told, at each surface, where the ray met it
// in the surface's own frame and whether the ray is stopped by then. Only the
// drawings use it; the analyses pass none.
struct SurfaceVisit {
  void (*at)(void* context, int surface, double x, double y, double z, bool stopped);
  void* context;
};

// Passes of the Newton iterations that find where a ray meets an asphere.
// A ray that converges does so in a handful of passes; one that has not after
// this many never will, and fails instead of holding the program.
inline constexpr int kAsphereMaxPasses = 1000;

class Tracer {
 public:
  explicit Tracer(const DesignState& design);

  // --- ray registers ---
  double RayX = 0, RayY = 0, RayZ = 0;
  double RayCosX = 0, RayCosY = 0, RayCosZ = 1;

  // --- current-surface registers ---
  double CurRadius = 0, CurThick = 0, CurN = 1, CurNPrime = 1;
  double CurConic = 0, CurA4 = 0, CurA6 = 0, CurA8 = 0;
  double LoopI = 0;

  // --- radicands, kept for inspection ---
  double SphRadicand = 0, SnellRadicand = 0, SnellRadicandAsph = 0;

  // --- near-axis registers ---
  double ParaxY = 0, ParaxU = 0, ParaxUOut = 0, ParaxYOut = 0, ParaxYNext = 0;
  double ParaxSinI = 0, ParaxSinIOut = 0, ParaxSinIPrime = 0;
  double ParaxSag = 0, ParaxSlope = 0, ParaxSagOut = 0;
  double ParaxA4 = 0, ParaxA6 = 0, ParaxA8 = 0;

  // --- ray aiming: the field in hand ---
  double FieldCosZ = 1, FieldCosY = 0, FieldCosX = 0;
  double ObjHeight = 0;  // object height of a finite object
  double RayDirNorm = 0;

  // --- the vignetting mark of the last ray ---
  bool RayVignetted = false;
  int VignSurf = 0;  // first surface that vignetted or blocked it, 0 if none

  // The index table in use (IndexWl[k] of the design).
  const SurfTable* CurIndexTable;
  void SetWavelength(int k) { CurIndexTable = &design_.IndexWl[k]; }

  // --- operations on one surface ---
  void TraceSphere();
  void TraceAsphere();
  void EnterSurfaceFrame();
  void LeaveMirrorFrame();
  void EnterImageFrame();
  void ParaxTraceSphere();
  void ParaxTraceAsphere();

  // Ray aiming: RayX, RayY hold the pupil point on the entrance pupil plane;
  // starts the ray in the field of FieldCos* (object at infinity) or from the
  // object point at ObjHeight (finite object), and brings it to the first vertex plane.
  void StartRay();

  // The surface loop, surfaces 1..SurfCount, with the aperture test of the policy.
  void TraceSurfaces(const SurfaceLoopPolicy& policy, const SurfaceVisit* visit = nullptr);
  // From the last surface to the focal surface at image_distance: a plane, or a
  // sphere of radius focal_radius (a curved image surface).
  void TraceToImage(double image_distance, double focal_radius = 0.0);

  // Aim at pupil point (px, py) and trace through every surface to the image.
  void TraceRay(double px, double py, const SurfaceLoopPolicy& policy, double image_distance);

  // The ray through the centre of the pupil in the chief direction, wavelength 1,
  // to the image plane at Bfl.
  void TraceChiefRay();

  const DesignState& design() const { return design_; }

 private:
  template <typename F>
  void OnRegisters(F&& f);
  const DesignState& design_;
};

}  // namespace ovrin
