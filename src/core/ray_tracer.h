#pragma once
// The ray registers and the operations that carry one ray through one surface.
// Operations take no arguments: they read and change the registers in place.
// A ray that cannot go on raises TraceError.
#include <cstdint>
#include <stdexcept>

#include "core/design_state.h"

namespace ovrin {

// Why a ray could not go on.
enum class TraceFault : uint8_t {
  MissedSurface,    // the ray passes beside the sphere
  TotalReflection,  // no refracted ray
  OutsideConic,     // the ray falls outside the conic's real part
  NonFinite,        // a division by zero, an overflow or an invalid operation
  NoConvergence,    // the asphere intersection did not settle
};
const char* TraceFaultText(TraceFault f);

// The failure of a ray: where (the surface number, 0 for the pupil plane,
// SurfCount + 1 for the image) and why. what() is always "TraceError".
class TraceError : public std::runtime_error {
 public:
  explicit TraceError(int surface = 0, TraceFault reason = TraceFault::NonFinite)
      : std::runtime_error("TraceError"), surface(surface), reason(reason) {}
  int surface;
  TraceFault reason;
};

// Which surfaces turn the frame a second time after a reflection.
enum class MirrorTest : uint8_t {
  // The loop of every analysis: the sign of the index in use changes, and the
  // X tilt is not 0 or the Y tilt rounds to a whole radian.
  RoundedTilt,
  // The path-summing trace of the wavefront analyses: the sign of wavelength
  // 1's index changes and either tilt is not 0.
  AnyTiltFirstColumn,
};

// The small choices in which the analyses' surface loops differ.
struct SurfaceLoopPolicy {
  int wavelength = 1;                      // which of the design's index tables, 1..6
  const SurfTable* indexTable = nullptr;   // a private index copy instead (see PrivateIndexTable)
  bool testAperture = true;                // mark vignetted and obstructed rays
  double apertureMargin = 0.1;             // mm added to a half-diameter before a ray counts as vignetted
  bool stoppedRayEnds = false;             // a marked ray ends at that surface instead of going on
  bool sumPath = false;                    // RayPath gathers n (step along the ray) surface by surface
  MirrorTest mirrorTest = MirrorTest::RoundedTilt;
};

// How wide the numbers of a private index copy are.
enum class IndexWidth : uint8_t { Single, Double };

// A private copy of wavelength k's index table, entry 0 forced to 1; with
// IndexWidth::Single every entry is rounded to a 32-bit float, as the path
// sums of the wavefront map and its focus fit take them.
SurfTable PrivateIndexTable(const DesignState& d, int k, IndexWidth width);

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

  // --- optical path of the last ray, summed when the policy asks for it ---
  double RayPath = 0;

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

  // The surface loop, surfaces 1..SurfCount, with the choices of the policy.
  // A ray that the policy ends at an aperture returns with RayVignetted set and
  // the registers at that surface.
  void TraceSurfaces(const SurfaceLoopPolicy& policy, const SurfaceVisit* visit = nullptr);
  // From the last surface to the focal surface at image_distance: a plane, or a
  // sphere of radius focal_radius (a curved image surface).
  void TraceToImage(double image_distance, double focal_radius = 0.0);

  // Aim at pupil point (px, py) and trace through every surface to the image
  // (not beyond a surface where the policy ends a stopped ray).
  void TraceRay(double px, double py, const SurfaceLoopPolicy& policy, double image_distance);

  // The ray through the centre of the pupil in the chief direction, wavelength 1,
  // to the image plane at Bfl.
  void TraceChiefRay();

  const DesignState& design() const { return design_; }

 private:
  template <typename F>
  void OnRegisters(F&& f);
  template <bool kSumPath>
  void SurfaceLoop(const SurfaceLoopPolicy& policy, const SurfaceVisit* visit);
  // The surface in hand for a failure's report: LoopI rounded.
  int CurrentSurface() const;
  const DesignState& design_;
};

}  // namespace ovrin
