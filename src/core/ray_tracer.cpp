#include "core/ray_tracer.h"

#include <cmath>

namespace ovrin {

namespace {

// C++ does not trap floating-point faults: a division by zero, an overflow or an
// invalid operation shows up as an infinity or a NaN, which these checks turn
// into the failure of the ray.
inline bool Finite(double v) { return std::isfinite(v); }
inline void Require(bool ok, int surface, TraceFault why = TraceFault::NonFinite) {
  if (!ok) [[unlikely]]
    throw TraceError(surface, why);
}

inline int Sgn(double v) { return (v > 0) - (v < 0); }

// arcsin as the near-axis operations take it: atan(x / sqrt(1 - x^2)).
inline double ArcSin(double x, int surface) {
  const double r = 1.0 - x * x;
  // negative: no real angle (total reflection); zero: division by zero
  Require(r > 0.0, surface, r < 0.0 ? TraceFault::TotalReflection : TraceFault::NonFinite);
  return std::atan(x / std::sqrt(r));
}

}  // namespace

const char* TraceFaultText(TraceFault f) {
  switch (f) {
    case TraceFault::MissedSurface: return "missed surface";
    case TraceFault::TotalReflection: return "total internal reflection";
    case TraceFault::OutsideConic: return "outside the conic";
    case TraceFault::NonFinite: return "non-finite value";
    case TraceFault::NoConvergence: return "no convergence";
  }
  return "non-finite value";
}

SurfTable PrivateIndexTable(const DesignState& d, int k, IndexWidth width) {
  SurfTable n = d.IndexWl[k];
  n[0] = 1.0;
  if (width == IndexWidth::Single)
    for (double& v : n) v = static_cast<double>(static_cast<float>(v));
  return n;
}

Tracer::Tracer(const DesignState& design) : CurIndexTable(&design.IndexWl[1]), design_(design) {}

// The surface operations proper. They work on a ray held in locals, so that a
// loop over the surfaces keeps it in machine registers from surface to surface;
// the public operations and the loop copy it to and from the ray registers.
namespace {

struct RayVec {
  double x, y, z, cx, cy, cz;
};

// What a surface kernel returns: kPassed, or the fault that ended the ray.
using KernelResult = int;
constexpr KernelResult kPassed = -1;
constexpr KernelResult Fault(TraceFault f) { return static_cast<KernelResult>(f); }

#define OVRIN_HOT inline __attribute__((always_inline))

OVRIN_HOT KernelResult SphereKernel(RayVec& r, double radius, double thick, double n, double np,
                            double& sph_radicand, double& snell_radicand) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double cx = r.cx, cy = r.cy, cz = r.cz;

  // Transfer to the tangent plane of the vertex. The terms are grouped so that
  // the little that depends on the incoming direction comes last: step cy / cz
  // rather than step (cy / cz), and c (cy y0 + cx x0) as (c cy) y0 + (c cx) x0.
  const double step = thick - r.z;
  const double x0 = r.x + (step * cx) / cz;
  const double y0 = r.y + (step * cy) / cz;

  const double ccy = c * cy, ccx = c * cx;
  const double r2 = x0 * x0 + y0 * y0;
  const double h = c * r2;
  const double b = cz - ccy * y0 - ccx * x0;
  const double ch = (c * c) * r2;
  sph_radicand = b * b - ch;
  if (!(sph_radicand >= 0.0)) [[unlikely]]  // the ray misses the surface (or a NaN came in)
    return Fault(sph_radicand < 0.0 ? TraceFault::MissedSurface : TraceFault::NonFinite);

  // Snell's radicand 1 - (1 - A^2) mu^2 is (1 - mu^2) + mu^2 A^2, and A^2 is
  // the radicand just found: both roots can be taken side by side.
  const double mu2 = mu * mu;
  snell_radicand = (1.0 - mu2) + mu2 * sph_radicand;
  const double a = std::sqrt(sph_radicand);

  const double apb = a + b;
  const double d = h / apb;
  const double x = x0 + cx * d;
  const double y = y0 + cy * d;
  const double z = cz * d;
  r.x = x;
  r.y = y;
  r.z = z;

  if (!(snell_radicand >= 0.0)) [[unlikely]]
    return Fault(snell_radicand < 0.0 ? TraceFault::TotalReflection : TraceFault::NonFinite);
  const double g = std::sqrt(snell_radicand) - mu * a;

  // z c, y c and x c come straight from the pieces above rather than from
  // the new position, so that the next surface waits less.
  const double zc = (cz * ch) / apb;
  const double yc = c * y0 + ccy * d;
  const double xc = c * x0 + ccx * d;
  const double ncz = mu * cz - (zc - 1.0) * g;
  const double ncy = mu * cy - yc * g;
  const double ncx = mu * cx - xc * g;
  // An infinity or NaN anywhere (a division by zero, an overflow) reaches this sum.
  if (!Finite(x + y + z + ncx + ncy + ncz)) [[unlikely]]
    return Fault(TraceFault::NonFinite);
  r.cz = ncz;
  r.cy = ncy;
  r.cx = ncx;
  return kPassed;
}

// SphereKernel on a plane (radius 0) between equal indices: the transfer to
// the pupil plane and to a flat image. With c = 0 and mu = 1 the sphere's
// arithmetic reduces, for a ray going forward (cosZ > 0) with finite values,
// to the two divisions of the transfer: d = H / (A + B) is +0 and so is g, the
// root less itself. The products by 0 and sums with 0 that settle the signs of
// zeros are kept as the sphere writes them, so the bits are the sphere's. Any
// other ray takes the sphere's own path.
OVRIN_HOT KernelResult PlaneKernel(RayVec& r, double thick, double n, double np, double& sph_radicand,
                                   double& snell_radicand) {
  const double mu = n / np;
  if (mu == 1.0) {
    const double cx = r.cx, cy = r.cy, cz = r.cz;
    const double step = thick - r.z;
    const double x0 = r.x + (step * cx) / cz;
    const double y0 = r.y + (step * cy) / cz;
    const double r2 = x0 * x0 + y0 * y0;
    if ((cz > 0.0) & Finite(cz * cz) & Finite(r2) & Finite(cx) & Finite(cy)) {
      sph_radicand = cz * cz - 0.0;  // B^2 - c H with B = cosZ and c H = +0
      snell_radicand = 0.0 + sph_radicand;
      const double x = x0 + cx * 0.0;
      const double y = y0 + cy * 0.0;
      const double z = cz * 0.0;
      r.x = x;
      r.y = y;
      r.z = z;
      const double yc = 0.0 * y0 + (0.0 * cy) * 0.0;
      const double xc = 0.0 * x0 + (0.0 * cx) * 0.0;
      const double ncz = cz - (0.0 - 1.0) * 0.0;
      const double ncy = cy - yc * 0.0;
      const double ncx = cx - xc * 0.0;
      if (!Finite(x + y + z + ncx + ncy + ncz)) [[unlikely]]
        return Fault(TraceFault::NonFinite);
      r.cz = ncz;
      r.cy = ncy;
      r.cx = ncx;
      return kPassed;
    }
  }
  return SphereKernel(r, 0.0, thick, n, np, sph_radicand, snell_radicand);
}

OVRIN_HOT KernelResult AsphereKernel(RayVec& r, double radius, double thick, double n, double np,
                             double conic, double a4, double a6, double a8,
                             double& snell_radicand) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double k1 = conic + 1.0;

  // Transfer to the tangent plane of the vertex.
  const double d0 = (r.z - thick) / r.cz;
  double z = 0.0;
  double y = r.y - r.cy * d0;
  double x = r.x - r.cx * d0;
  if (!(Finite(y) & Finite(x))) [[unlikely]] return Fault(TraceFault::NonFinite);
  r.z = z;
  r.y = y;
  r.x = x;

  const double cx = r.cx, cy = r.cy, cz = r.cz;
  double nx, ny, nz;
  // The step along the ray decides when to stop; the pass limit only keeps a
  // ray that never settles from holding the program.
  for (int pass = 1;; ++pass) {
    const double r2 = x * x + y * y;
    const double rad = 1.0 - c * c * k1 * r2;
    if (!(rad >= 0.0)) [[unlikely]]
      return Fault(rad < 0.0 ? TraceFault::OutsideConic : TraceFault::NonFinite);
    const double s = std::sqrt(rad);
    const double r4 = r2 * r2;
    const double e = c + s * (4.0 * a4 * r2 + 6.0 * a6 * r4 + 8.0 * a8 * r4 * r2);
    ny = -y * e;
    nx = -x * e;
    nz = s;
    const double sag = c * r2 / (1.0 + s) + a4 * r4 + a6 * r4 * r2 + a8 * r4 * r4;
    const double t = (sag - z) * s / (cy * ny + cz * nz + cx * nx);
    if (!(Finite(t))) [[unlikely]] return Fault(TraceFault::NonFinite);
    z += t * cz;
    y += t * cy;
    x += t * cx;
    r.z = z;
    r.y = y;
    r.x = x;
    if (!(std::fabs(t) > 1e-8)) break;
    if (pass >= kAsphereMaxPasses) [[unlikely]] return Fault(TraceFault::NoConvergence);
  }

  // The normal of the last pass (taken before its step) refracts the ray.
  const double n2 = ny * ny + nz * nz + nx * nx;
  const double dd = cy * ny + cz * nz + cx * nx;
  snell_radicand = dd * dd * (mu * mu) + (1.0 - mu * mu) * n2;
  if (!(snell_radicand >= 0.0)) [[unlikely]]
    return Fault(snell_radicand < 0.0 ? TraceFault::TotalReflection : TraceFault::NonFinite);
  const double g = (std::sqrt(snell_radicand) - mu * dd) / n2;
  const double ncz = mu * cz + g * nz;
  const double ncy = mu * cy + g * ny;
  const double ncx = mu * cx + g * nx;
  if (!(Finite(ncz) & Finite(ncy) & Finite(ncx))) [[unlikely]] return Fault(TraceFault::NonFinite);
  r.cz = ncz;
  r.cy = ncy;
  r.cx = ncx;
  return kPassed;
}

#define OVRIN_COLD __attribute__((noinline, cold))

// Rotation A, about the X axis through the vertex; thick is CurThick when
// entering a frame and 0 when leaving a mirror's.
inline void RotationA(RayVec& r, double a, double thick) {
  const double z0 = r.z - thick;
  const double sa = std::sin(a), ca = std::cos(a);
  const double y = r.y, cy = r.cy, cz = r.cz;
  r.y = z0 * sa + y * ca;
  r.z = z0 * ca + thick - y * sa;
  r.cy = cy * ca + cz * sa;
  r.cz = cz * ca - cy * sa;
}

// Rotation B, about the Y axis through the vertex.
inline void RotationB(RayVec& r, double b, double thick) {
  const double z0 = r.z - thick;
  const double sb = std::sin(b), cb = std::cos(b);
  const double x = r.x, cx = r.cx, cz = r.cz;
  r.x = -z0 * sb + x * cb;
  r.z = z0 * cb + thick + x * sb;
  r.cx = cx * cb - cz * sb;
  r.cz = cz * cb + cx * sb;
}

// A tilted frame: decenters and rotations in the order the table asks for.
OVRIN_COLD RayVec EnterTiltedFrame(RayVec r, const DesignState& d, int i, double thick) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const double dx = d.DecX[i];
  const double dy = d.DecY[i];
  const float order = d.TiltOrder[i];
  if (order == 1.0f || order == 0.0f) {
    r.x -= dx;
    r.y -= dy;
    if (a != 0.0) RotationA(r, a, thick);
    if (b != 0.0) RotationB(r, b, thick);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationB(r, b, thick);
    if (a != 0.0) RotationA(r, a, thick);
    r.x -= dx;
    r.y -= dy;
  }
  return r;
}

OVRIN_HOT void EnterFrameKernel(RayVec& r, const DesignState& d, int i, double thick) {
  if (d.TiltA[i] == 0.0 && d.TiltB[i] == 0.0) {
    const double dx = d.DecX[i];
    const double dy = d.DecY[i];
    // Subtracting 0 changes nothing; skipping it keeps the common case short.
    if (dx != 0.0 || dy != 0.0) [[unlikely]] {
      r.x -= dx;
      r.y -= dy;
    }
    return;
  }
  r = EnterTiltedFrame(r, d, i, thick);
}

OVRIN_COLD RayVec LeaveMirrorKernel(RayVec r, const DesignState& d, int i) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const float order = d.TiltOrder[i];
  if (order == 1.0f) {
    if (a != 0.0) RotationA(r, a, 0.0);
    if (b != 0.0) RotationB(r, b, 0.0);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationB(r, b, 0.0);
    if (a != 0.0) RotationA(r, a, 0.0);
  }
  return r;
}

}  // namespace

// Runs a kernel on the ray registers; they keep the values of the moment of a failure.
template <typename F>
inline void Tracer::OnRegisters(F&& f) {
  RayVec r{RayX, RayY, RayZ, RayCosX, RayCosY, RayCosZ};
  try {
    f(r);
  } catch (const TraceError&) {
    RayX = r.x, RayY = r.y, RayZ = r.z, RayCosX = r.cx, RayCosY = r.cy, RayCosZ = r.cz;
    throw;
  }
  RayX = r.x, RayY = r.y, RayZ = r.z, RayCosX = r.cx, RayCosY = r.cy, RayCosZ = r.cz;
}

void Tracer::TraceSphere() {
  OnRegisters([&](RayVec& r) {
    const KernelResult k = SphereKernel(r, CurRadius, CurThick, CurN, CurNPrime, SphRadicand, SnellRadicand);
    if (k != kPassed) throw TraceError(CurrentSurface(), static_cast<TraceFault>(k));
  });
}

void Tracer::TraceAsphere() {
  OnRegisters([&](RayVec& r) {
    const KernelResult k = AsphereKernel(r, CurRadius, CurThick, CurN, CurNPrime, CurConic, CurA4,
                                         CurA6, CurA8, SnellRadicandAsph);
    if (k != kPassed) throw TraceError(CurrentSurface(), static_cast<TraceFault>(k));
  });
}

int Tracer::CurrentSurface() const {
  return std::fabs(LoopI) < 1e6 ? static_cast<int>(std::nearbyint(LoopI)) : 0;
}

void Tracer::EnterSurfaceFrame() {
  const int i = static_cast<int>(std::nearbyint(LoopI));
  OnRegisters([&](RayVec& r) { EnterFrameKernel(r, design_, i, CurThick); });
}

void Tracer::LeaveMirrorFrame() {
  const int i = static_cast<int>(std::nearbyint(LoopI));
  OnRegisters([&](RayVec& r) { r = LeaveMirrorKernel(r, design_, i); });
}

void Tracer::EnterImageFrame() {
  LoopI = design_.SurfCount + 1;
  EnterSurfaceFrame();
}

void Tracer::ParaxTraceSphere() {
  ParaxSinI = ParaxY / CurRadius + std::sin(ParaxU);
  ParaxSinIOut = (CurN / CurNPrime) * ParaxSinI;
  const int surface = CurrentSurface();
  Require(Finite(ParaxSinI) & Finite(ParaxSinIOut), surface);
  const double i = ArcSin(ParaxSinI, surface);
  ParaxSinIPrime = ArcSin(ParaxSinIOut, surface);
  const double ip = ParaxSinIPrime;
  ParaxUOut = ip + ParaxU - i;
  ParaxYOut = ParaxY * (std::cos(ip) + std::cos(ParaxUOut)) / (std::cos(i) + std::cos(ParaxU));
  ParaxYNext = ParaxYOut + CurThick * std::sin(ParaxUOut);
  Require(Finite(ParaxYOut) & Finite(ParaxYNext), surface);
  ParaxY = ParaxYNext;
  ParaxU = ParaxUOut;
}

void Tracer::ParaxTraceAsphere() {
  const double c = CurRadius == 0.0 ? 0.0 : 1.0 / CurRadius;
  const double k1 = CurConic + 1.0;
  const double cu = std::cos(ParaxU), su = std::sin(ParaxU);
  const int surface = CurrentSurface();
  double y = ParaxY;
  // Newton on the incidence height; |e| decides, the pass limit only keeps a
  // steep ray that never settles from holding the program.
  for (int pass = 1;; ++pass) {
    const double rad = 1.0 - y * y * c * c * k1;
    Require(rad >= 0.0, surface, rad < 0.0 ? TraceFault::OutsideConic : TraceFault::NonFinite);
    const double s = std::sqrt(rad);
    const double y2 = y * y, y4 = y2 * y2;
    ParaxSag = y2 * c / (1.0 + s) + ParaxA4 * y4 + ParaxA6 * y4 * y2 + ParaxA8 * y4 * y4;
    ParaxSlope = 6.0 * ParaxA6 * y4 * y + 4.0 * ParaxA4 * y2 * y + 8.0 * ParaxA8 * y4 * y2 * y +
                 y * c / s;
    const double e = y * cu - ParaxSag * su - ParaxY;
    y = y - e / (cu - ParaxSlope * su);
    Require(Finite(y) & Finite(ParaxSlope) & Finite(ParaxSag), surface);
    if (std::fabs(e) < 1e-8) break;
    Require(pass < kAsphereMaxPasses, surface, TraceFault::NoConvergence);
  }
  const double i = ParaxU + std::atan(ParaxSlope);
  ParaxSinIOut = (CurN / CurNPrime) * std::sin(i);
  Require(Finite(ParaxSinIOut), surface);
  ParaxSinIPrime = ArcSin(ParaxSinIOut, surface);
  ParaxSagOut = ParaxSag;
  ParaxUOut = ParaxSinIPrime + ParaxU - i;
  ParaxYOut = y * std::cos(ParaxUOut) - ParaxSagOut * std::sin(ParaxUOut);
  ParaxU = ParaxUOut;
  ParaxYNext = ParaxYOut + CurThick * std::sin(ParaxUOut);
  Require(Finite(ParaxYOut) & Finite(ParaxYNext), surface);
  ParaxY = ParaxYNext;
}

void Tracer::StartRay() {
  const DesignState& d = design_;
  RayZ = 0.0;
  if (d.ObjDistance == 0.0) {
    RayCosZ = FieldCosZ;
    RayCosY = FieldCosY;
    RayCosX = FieldCosX;
  } else {
    const double l = d.EntrPupilZ != 0.0 ? d.ObjDistance - d.EntrPupilZ : d.ObjDistance;
    const double dy = RayY - ObjHeight;
    RayDirNorm = std::sqrt(l * l + dy * dy + RayX * RayX);
    RayCosZ = l / RayDirNorm;
    RayCosY = dy / RayDirNorm;
    RayCosX = RayX / RayDirNorm;
    Require(Finite(RayCosZ) & Finite(RayCosY) & Finite(RayCosX), 0);
  }
  if (d.EntrPupilZ != 0.0) {
    // The pupil plane is brought onto the first vertex plane.
    CurThick = d.EntrPupilZ;
    CurN = CurNPrime = 1.0;
    CurRadius = 0.0;
    LoopI = 0;  // a failure here is at the pupil plane
    OnRegisters([&](RayVec& r) {
      const KernelResult k = PlaneKernel(r, CurThick, CurN, CurNPrime, SphRadicand, SnellRadicand);
      if (k != kPassed) throw TraceError(0, static_cast<TraceFault>(k));
    });
  }
}

template <bool kSumPath>
void Tracer::SurfaceLoop(const SurfaceLoopPolicy& policy, const SurfaceVisit* visit) {
  const DesignState& d = design_;
  const SurfTable& index = policy.indexTable ? *policy.indexTable : d.IndexWl[policy.wavelength];
  CurIndexTable = &index;
  RayVignetted = false;
  VignSurf = 0;
  RayPath = 0.0;
  const int n = d.SurfCount;
  const bool test_aperture = policy.testAperture;
  const bool stopped_ends = policy.stoppedRayEnds;
  const bool first_column_mirrors = policy.mirrorTest == MirrorTest::AnyTiltFirstColumn;
  const double margin = policy.apertureMargin;

  // The ray and the current-surface values stay in locals for the whole loop;
  // the registers receive them when the loop ends or a ray fails.
  RayVec r{RayX, RayY, RayZ, RayCosX, RayCosY, RayCosZ};
  double n_before = 1.0;  // row 0 is the object space: index 1, no thickness before surface 1
  double thick = 0.0;
  double path = 0.0;
  double sph_radicand = SphRadicand, snell_radicand = SnellRadicand;
  double snell_radicand_asph = SnellRadicandAsph;
  auto store = [&](int surface) {
    RayX = r.x, RayY = r.y, RayZ = r.z, RayCosX = r.cx, RayCosY = r.cy, RayCosZ = r.cz;
    SphRadicand = sph_radicand;
    SnellRadicand = snell_radicand;
    SnellRadicandAsph = snell_radicand_asph;
    RayPath = path;
    if (surface < 1) return;
    LoopI = surface;
    CurRadius = d.Radius[surface];
    CurThick = surface == 1 ? 0.0 : d.Thickness[surface - 1];
    CurN = surface == 1 ? 1.0 : index[surface - 1];
    CurNPrime = index[surface];
    CurA4 = d.AsphA4[surface];
    CurA6 = d.AsphA6[surface];
    CurA8 = d.AsphA8[surface];
    CurConic = d.Conic[surface];
  };

  for (int i = 1; i <= n; ++i) {
    const double radius = d.Radius[i];
    const double n_after = index[i];
    EnterFrameKernel(r, d, i, thick);
    const double z_before = r.z, cz_before = r.cz;
    const float type = d.SurfType[i];
    KernelResult k = kPassed;
    if (type == 1.0f || type == 4.0f) {
      k = SphereKernel(r, radius, thick, n_before, n_after, sph_radicand, snell_radicand);
    } else if (type == 2.0f || type == 3.0f) {
      k = AsphereKernel(r, radius, thick, n_before, n_after, d.Conic[i], d.AsphA4[i], d.AsphA6[i],
                        d.AsphA8[i], snell_radicand_asph);
    }
    if (k != kPassed) [[unlikely]] {
      store(i);
      throw TraceError(i, static_cast<TraceFault>(k));
    }
    // The optical path from the surface's frame entry to the surface, counted
    // from the vertex plane before it.
    if constexpr (kSumPath) path += n_before * (r.z - z_before + thick) / cz_before;
    const RayVec hit = r;
    // A tilted mirror turns the frame a second time. In the standard test the
    // Y tilt counts only once it rounds to a whole radian (halves to even:
    // |TiltB| above 0.5) and the X tilt at any size; the wavefront test takes
    // any tilt and the sign change of wavelength 1's index.
    bool leave_mirror;
    if (!first_column_mirrors) [[likely]] {
      leave_mirror = Sgn(n_before) != Sgn(n_after) &&
                     (d.TiltA[i] != 0.0 || !(std::fabs(d.TiltB[i]) <= 0.5));
    } else {
      const double w1_before = i == 1 ? 1.0 : d.IndexWl[1][i - 1];
      leave_mirror = Sgn(w1_before) != Sgn(d.IndexWl[1][i]) && (d.TiltA[i] != 0.0 || d.TiltB[i] != 0.0);
    }
    if (leave_mirror) [[unlikely]] r = LeaveMirrorKernel(r, d, i);
    if (test_aperture && !RayVignetted) {
      // Compared in squares: the same verdict as the distance, without a root.
      const double rho2 = r.x * r.x + r.y * r.y;
      const double semi = d.SemiDiam[i];
      bool stopped = false;
      if (type < 4.0f) {
        const double limit = semi + margin;
        stopped = limit < 0.0 || rho2 > limit * limit;
      } else if (type == 4.0f) {
        stopped = semi > 0.0 && rho2 < semi * semi;  // an opaque central disc
      }
      if (stopped) {
        RayVignetted = true;
        VignSurf = i;
        if (stopped_ends) {
          if (visit) visit->at(visit->context, i, hit.x, hit.y, hit.z, true);
          store(i);
          return;
        }
      }
    }
    if (visit) [[unlikely]] visit->at(visit->context, i, hit.x, hit.y, hit.z, RayVignetted);
    n_before = n_after;
    thick = d.Thickness[i];
  }
  store(n);
}

void Tracer::TraceSurfaces(const SurfaceLoopPolicy& policy, const SurfaceVisit* visit) {
  if (policy.sumPath)
    SurfaceLoop<true>(policy, visit);
  else
    SurfaceLoop<false>(policy, visit);
}

void Tracer::TraceToImage(double image_distance, double focal_radius) {
  const DesignState& d = design_;
  const double n_last = (*CurIndexTable)[d.SurfCount];
  CurRadius = focal_radius;
  CurN = CurNPrime = n_last;
  CurThick = image_distance;
  EnterImageFrame();
  if (focal_radius != 0.0) {
    TraceSphere();
    return;
  }
  OnRegisters([&](RayVec& r) {
    const KernelResult k = PlaneKernel(r, CurThick, CurN, CurNPrime, SphRadicand, SnellRadicand);
    if (k != kPassed) throw TraceError(CurrentSurface(), static_cast<TraceFault>(k));
  });
}

void Tracer::TraceRay(double px, double py, const SurfaceLoopPolicy& policy,
                      double image_distance) {
  RayX = px;
  RayY = py;
  RayZ = 0.0;
  StartRay();
  TraceSurfaces(policy);
  if (policy.stoppedRayEnds && RayVignetted) return;
  TraceToImage(image_distance);
}

void Tracer::TraceChiefRay() {
  const DesignState& d = design_;
  RayX = RayY = RayZ = 0.0;
  FieldCosZ = d.ChiefCosZ;
  FieldCosY = d.ChiefCosY;
  FieldCosX = d.ChiefCosX;
  ObjHeight = d.HalfFieldY;
  SurfaceLoopPolicy policy;
  policy.wavelength = 1;
  policy.testAperture = false;
  StartRay();
  TraceSurfaces(policy);
  TraceToImage(d.Bfl);
}

}  // namespace ovrin
