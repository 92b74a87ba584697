#include "core/ray_tracer.h"

#include <cmath>

namespace ovrin {

namespace {

// C++ does not trap floating-point faults: a division by zero, an overflow or an
// invalid operation shows up as an infinity or a NaN, which these checks turn
// into the failure of the ray.
inline bool Finite(double v) { return std::isfinite(v); }
inline void Require(bool ok) {
  if (!ok) [[unlikely]]
    throw TraceError();
}

inline int Sgn(double v) { return (v > 0) - (v < 0); }

// arcsin as the near-axis operations take it: atan(x / sqrt(1 - x^2)).
inline double ArcSin(double x) {
  const double r = 1.0 - x * x;
  Require(r > 0.0);  // negative: no real angle; zero: division by zero
  return std::atan(x / std::sqrt(r));
}

}  // namespace

Tracer::Tracer(const DesignState& design) : CurIndexTable(&design.IndexWl[1]), design_(design) {}

void Tracer::TraceSphere() {
  const double c = CurRadius == 0.0 ? 0.0 : 1.0 / CurRadius;
  const double mu = CurN / CurNPrime;
  const double cx = RayCosX, cy = RayCosY, cz = RayCosZ;

  // Transfer to the tangent plane of the vertex.
  const double step = CurThick - RayZ;
  const double x0 = RayX + step * (cx / cz);
  const double y0 = RayY + step * (cy / cz);

  const double h = c * (x0 * x0 + y0 * y0);
  const double b = cz - c * (cy * y0 + cx * x0);
  SphRadicand = b * b - c * h;
  Require(SphRadicand >= 0.0);  // the ray misses the surface
  const double a = std::sqrt(SphRadicand);

  const double d = h / (a + b);
  const double x = x0 + cx * d;
  const double y = y0 + cy * d;
  const double z = cz * d;
  Require(Finite(x) & Finite(y) & Finite(z) & Finite(mu) & Finite(c));
  RayX = x;
  RayY = y;
  RayZ = z;

  SnellRadicand = 1.0 - (1.0 - a * a) * (mu * mu);
  Require(SnellRadicand >= 0.0);  // total reflection
  const double g = std::sqrt(SnellRadicand) - mu * a;

  const double ncz = mu * cz - (z * c - 1.0) * g;
  const double ncy = mu * cy - c * g * y;
  const double ncx = mu * cx - c * g * x;
  Require(Finite(ncz) & Finite(ncy) & Finite(ncx));
  RayCosZ = ncz;
  RayCosY = ncy;
  RayCosX = ncx;
}

void Tracer::TraceAsphere() {
  const double c = CurRadius == 0.0 ? 0.0 : 1.0 / CurRadius;
  const double mu = CurN / CurNPrime;
  const double k1 = CurConic + 1.0;
  const double a4 = CurA4, a6 = CurA6, a8 = CurA8;

  // Transfer to the tangent plane of the vertex.
  const double d0 = (RayZ - CurThick) / RayCosZ;
  double z = 0.0;
  double y = RayY - RayCosY * d0;
  double x = RayX - RayCosX * d0;
  Require(Finite(y) & Finite(x));
  RayZ = z;
  RayY = y;
  RayX = x;

  const double cx = RayCosX, cy = RayCosY, cz = RayCosZ;
  double nx, ny, nz;
  for (;;) {  // no pass limit: the step along the ray decides
    const double r2 = x * x + y * y;
    const double rad = 1.0 - c * c * k1 * r2;
    Require(rad >= 0.0);  // outside the conic
    const double s = std::sqrt(rad);
    const double r4 = r2 * r2;
    const double e = c + s * (4.0 * a4 * r2 + 6.0 * a6 * r4 + 8.0 * a8 * r4 * r2);
    ny = -y * e;
    nx = -x * e;
    nz = s;
    const double sag = c * r2 / (1.0 + s) + a4 * r4 + a6 * r4 * r2 + a8 * r4 * r4;
    const double t = (sag - z) * s / (cy * ny + cz * nz + cx * nx);
    Require(Finite(t));
    z += t * cz;
    y += t * cy;
    x += t * cx;
    RayZ = z;
    RayY = y;
    RayX = x;
    if (!(std::fabs(t) > 1e-8)) break;
  }

  // The normal of the last pass (taken before its step) refracts the ray.
  const double n2 = ny * ny + nz * nz + nx * nx;
  const double dd = cy * ny + cz * nz + cx * nx;
  SnellRadicandAsph = dd * dd * (mu * mu) + (1.0 - mu * mu) * n2;
  Require(SnellRadicandAsph >= 0.0);
  const double g = (std::sqrt(SnellRadicandAsph) - mu * dd) / n2;
  const double ncz = mu * cz + g * nz;
  const double ncy = mu * cy + g * ny;
  const double ncx = mu * cx + g * nx;
  Require(Finite(ncz) & Finite(ncy) & Finite(ncx));
  RayCosZ = ncz;
  RayCosY = ncy;
  RayCosX = ncx;
}

// Rotation A, about the X axis through the vertex; thick is CurThick when
// entering a frame and 0 when leaving a mirror's.
void Tracer::FrameRotationA(double a, double thick) {
  const double z0 = RayZ - thick;
  const double sa = std::sin(a), ca = std::cos(a);
  const double y = RayY, cy = RayCosY, cz = RayCosZ;
  RayY = z0 * sa + y * ca;
  RayZ = z0 * ca + thick - y * sa;
  RayCosY = cy * ca + cz * sa;
  RayCosZ = cz * ca - cy * sa;
}

// Rotation B, about the Y axis through the vertex.
void Tracer::FrameRotationB(double b, double thick) {
  const double z0 = RayZ - thick;
  const double sb = std::sin(b), cb = std::cos(b);
  const double x = RayX, cx = RayCosX, cz = RayCosZ;
  RayX = -z0 * sb + x * cb;
  RayZ = z0 * cb + thick + x * sb;
  RayCosX = cx * cb - cz * sb;
  RayCosZ = cz * cb + cx * sb;
}

void Tracer::EnterSurfaceFrame() {
  const int i = static_cast<int>(std::nearbyint(LoopI));
  const double a = design_.TiltA[i];
  const double b = design_.TiltB[i];
  const double dx = design_.DecX[i];
  const double dy = design_.DecY[i];
  if (a == 0.0 && b == 0.0) {
    RayX -= dx;
    RayY -= dy;
    return;
  }
  const float order = design_.TiltOrder[i];
  if (order == 1.0f || order == 0.0f) {
    RayX -= dx;
    RayY -= dy;
    if (a != 0.0) FrameRotationA(a, CurThick);
    if (b != 0.0) FrameRotationB(b, CurThick);
  } else if (order == 2.0f) {
    if (b != 0.0) FrameRotationB(b, CurThick);
    if (a != 0.0) FrameRotationA(a, CurThick);
    RayX -= dx;
    RayY -= dy;
  }
}

void Tracer::LeaveMirrorFrame() {
  const int i = static_cast<int>(std::nearbyint(LoopI));
  const double a = design_.TiltA[i];
  const double b = design_.TiltB[i];
  const float order = design_.TiltOrder[i];
  if (order == 1.0f) {
    if (a != 0.0) FrameRotationA(a, 0.0);
    if (b != 0.0) FrameRotationB(b, 0.0);
  } else if (order == 2.0f) {
    if (b != 0.0) FrameRotationB(b, 0.0);
    if (a != 0.0) FrameRotationA(a, 0.0);
  }
}

void Tracer::EnterImageFrame() {
  LoopI = design_.SurfCount + 1;
  EnterSurfaceFrame();
}

void Tracer::ParaxTraceSphere() {
  ParaxSinI = ParaxY / CurRadius + std::sin(ParaxU);
  ParaxSinIOut = (CurN / CurNPrime) * ParaxSinI;
  Require(Finite(ParaxSinI) & Finite(ParaxSinIOut));
  const double i = ArcSin(ParaxSinI);
  ParaxSinIPrime = ArcSin(ParaxSinIOut);
  const double ip = ParaxSinIPrime;
  ParaxUOut = ip + ParaxU - i;
  ParaxYOut = ParaxY * (std::cos(ip) + std::cos(ParaxUOut)) / (std::cos(i) + std::cos(ParaxU));
  ParaxYNext = ParaxYOut + CurThick * std::sin(ParaxUOut);
  Require(Finite(ParaxYOut) & Finite(ParaxYNext));
  ParaxY = ParaxYNext;
  ParaxU = ParaxUOut;
}

void Tracer::ParaxTraceAsphere() {
  const double c = CurRadius == 0.0 ? 0.0 : 1.0 / CurRadius;
  const double k1 = CurConic + 1.0;
  const double cu = std::cos(ParaxU), su = std::sin(ParaxU);
  double y = ParaxY;
  for (;;) {  // Newton on the incidence height, no pass limit
    const double rad = 1.0 - y * y * c * c * k1;
    Require(rad >= 0.0);
    const double s = std::sqrt(rad);
    const double y2 = y * y, y4 = y2 * y2;
    ParaxSag = y2 * c / (1.0 + s) + ParaxA4 * y4 + ParaxA6 * y4 * y2 + ParaxA8 * y4 * y4;
    ParaxSlope = 6.0 * ParaxA6 * y4 * y + 4.0 * ParaxA4 * y2 * y + 8.0 * ParaxA8 * y4 * y2 * y +
                 y * c / s;
    const double e = y * cu - ParaxSag * su - ParaxY;
    y = y - e / (cu - ParaxSlope * su);
    Require(Finite(y) & Finite(ParaxSlope) & Finite(ParaxSag));
    if (std::fabs(e) < 1e-8) break;
  }
  const double i = ParaxU + std::atan(ParaxSlope);
  ParaxSinIOut = (CurN / CurNPrime) * std::sin(i);
  Require(Finite(ParaxSinIOut));
  ParaxSinIPrime = ArcSin(ParaxSinIOut);
  ParaxSagOut = ParaxSag;
  ParaxUOut = ParaxSinIPrime + ParaxU - i;
  ParaxYOut = y * std::cos(ParaxUOut) - ParaxSagOut * std::sin(ParaxUOut);
  ParaxU = ParaxUOut;
  ParaxYNext = ParaxYOut + CurThick * std::sin(ParaxUOut);
  Require(Finite(ParaxYOut) & Finite(ParaxYNext));
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
    Require(Finite(RayCosZ) & Finite(RayCosY) & Finite(RayCosX));
  }
  if (d.EntrPupilZ != 0.0) {
    // The pupil plane is brought onto the first vertex plane.
    CurThick = d.EntrPupilZ;
    CurN = CurNPrime = 1.0;
    CurRadius = 0.0;
    TraceSphere();
  }
}

void Tracer::TraceSurfaces(const SurfaceLoopPolicy& policy) {
  const DesignState& d = design_;
  const SurfTable& index = d.IndexWl[policy.wavelength];
  CurIndexTable = &index;
  RayVignetted = false;
  VignSurf = 0;
  const int n = d.SurfCount;
  for (int i = 1; i <= n; ++i) {
    LoopI = i;
    CurRadius = d.Radius[i];
    // Row 0 is the object space: no thickness before surface 1, index 1.
    CurThick = i == 1 ? 0.0 : d.Thickness[i - 1];
    const double n_before = i == 1 ? 1.0 : index[i - 1];
    CurN = n_before;
    CurNPrime = index[i];
    EnterSurfaceFrame();
    CurA4 = d.AsphA4[i];
    CurA6 = d.AsphA6[i];
    CurA8 = d.AsphA8[i];
    CurConic = d.Conic[i];
    const float type = d.SurfType[i];
    if (type == 1.0f || type == 4.0f) {
      TraceSphere();
    } else if (type == 2.0f || type == 3.0f) {
      TraceAsphere();
    }
    // A tilted mirror turns the frame a second time. The Y tilt counts only
    // once it rounds to a whole radian; the X tilt counts at any size.
    if (Sgn(n_before) != Sgn(index[i]) &&
        (d.TiltA[i] != 0.0 || std::nearbyint(d.TiltB[i]) != 0.0)) {
      LeaveMirrorFrame();
    }
    if (policy.testAperture && !RayVignetted) {
      const double rho = std::sqrt(RayX * RayX + RayY * RayY);
      bool stopped = false;
      if (type < 4.0f) {
        stopped = rho > d.SemiDiam[i] + policy.apertureMargin;
      } else if (type == 4.0f) {
        stopped = rho < d.SemiDiam[i];  // an opaque central disc
      }
      if (stopped) {
        RayVignetted = true;
        VignSurf = i;
      }
    }
  }
}

void Tracer::TraceToImage(double image_distance) {
  const DesignState& d = design_;
  const double n_last = (*CurIndexTable)[d.SurfCount];
  CurRadius = 0.0;
  CurN = CurNPrime = n_last;
  CurThick = image_distance;
  EnterImageFrame();
  TraceSphere();
}

void Tracer::TraceRay(double px, double py, const SurfaceLoopPolicy& policy,
                      double image_distance) {
  RayX = px;
  RayY = py;
  RayZ = 0.0;
  StartRay();
  TraceSurfaces(policy);
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
