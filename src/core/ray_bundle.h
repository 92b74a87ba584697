#pragma once
// A bundle of rays carried side by side through the surface loop. Every lane
// goes through the same operations, in the same order and with the same
// roundings, as the one-ray Tracer, so each lane ends with exactly the numbers
// Tracer gives the same ray. The lanes only let the processor work on several
// rays at once: its dividers and square-root units are pipelined, and one ray
// alone keeps them waiting on each other.
//
// A lane that fails keeps the surface and the reason, and takes no further
// part; the other lanes go on. Apertures mark lanes as the one-ray loop marks
// rays.
#include <cstdint>

#include "core/design_state.h"
#include "core/ray_tracer.h"

namespace ovrin {

inline constexpr int kBundleLanes = 8;

// The machine code the bundle runs on, chosen once from what the processor
// offers.
enum class BundleIsa : uint8_t { Baseline, Avx2, Avx512 };
const char* BundleIsaName(BundleIsa isa);
// The code path in use.
BundleIsa BundleIsaInUse();
// Whether this processor can run the given path.
bool BundleIsaAvailable(BundleIsa isa);
// Runs the bundles on `isa` from now on (for the tests that hold every path
// to the same numbers); false, and no change, when the processor lacks it.
bool UseBundleIsa(BundleIsa isa);

class BundleTracer {
 public:
  explicit BundleTracer(const DesignState& design);

  // --- the field in hand, as Tracer's registers of the same names ---
  double FieldCosZ = 1, FieldCosY = 0, FieldCosX = 0;
  double ObjHeight = 0;

  // --- the lanes ---
  int count = 0;  // lanes in use, from lane 0
  alignas(64) double X[kBundleLanes] = {};
  alignas(64) double Y[kBundleLanes] = {};
  alignas(64) double Z[kBundleLanes] = {};
  alignas(64) double CosX[kBundleLanes] = {};
  alignas(64) double CosY[kBundleLanes] = {};
  alignas(64) double CosZ[kBundleLanes] = {};
  alignas(64) double Path[kBundleLanes] = {};  // RayPath of each lane, when the policy sums it
  // Tracer's RayVignetted and VignSurf, per lane.
  alignas(64) int64_t Vignetted[kBundleLanes] = {};
  alignas(64) int64_t VignSurf[kBundleLanes] = {};
  // A lane that stopped at an aperture under a policy that ends stopped rays:
  // it keeps the values it had there and is not carried to the image.
  alignas(64) int64_t Ended[kBundleLanes] = {};
  // A lane that failed: 1, with the surface and the reason of its TraceError.
  alignas(64) int64_t Failed[kBundleLanes] = {};
  alignas(64) int64_t FailSurface[kBundleLanes] = {};
  alignas(64) int64_t FailReason[kBundleLanes] = {};
  // The lanes still going on (not failed, not ended, in use): 1, else 0.
  alignas(64) int64_t Live[kBundleLanes] = {};

  // Starts n (1..kBundleLanes) rays at the entrance pupil points (px, py), as
  // Tracer::StartRay does, and clears every mark.
  void StartRays(const double* px, const double* py, int n);
  // The surface loop, surfaces 1..SurfCount, as Tracer::TraceSurfaces (no observer).
  void TraceSurfaces(const SurfaceLoopPolicy& policy);
  // As Tracer::TraceToImage, in the index table of the last TraceSurfaces;
  // lanes that ended at an aperture stay where they are.
  void TraceToImage(double image_distance, double focal_radius = 0.0);
  // The same with the index on both sides of the image surface given.
  void TraceToImageIn(double n_last, double image_distance, double focal_radius);
  // StartRays, TraceSurfaces and TraceToImage, as Tracer::TraceRay.
  void TraceRays(const double* px, const double* py, int n, const SurfaceLoopPolicy& policy,
                 double image_distance);

  // The failure of a lane, as the one-ray trace throws it.
  TraceError ErrorOf(int lane) const {
    return TraceError(static_cast<int>(FailSurface[lane]), static_cast<TraceFault>(FailReason[lane]));
  }

  const DesignState& design() const { return design_; }

 private:
  const DesignState& design_;
  const SurfTable* index_;  // the index table of the last surface loop
};

}  // namespace ovrin
