#include "core/ray_bundle.h"

#include <cmath>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define OVRIN_BUNDLE_X86 1
#endif

namespace ovrin {

// The lane vectors never cross a function boundary that is not inlined, so
// the compiler's note on their calling convention does not apply.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

// Each step below works on all the lanes at once and writes a lane's results
// back only where that lane is live and the step succeeded. Every expression is written as the one-ray kernels write it
// (ray_tracer.cpp), with the same grouping: the build keeps floating-point
// contraction off, and without fast-math the compiler does not regroup, so
// each lane rounds exactly as the one-ray tracer does. Change one only
// together with the other; the bit-identity tests hold them together.
namespace {

constexpr int L = kBundleLanes;
constexpr int K = L / 4;  // vectors of four lanes in a bundle
static_assert(L % 4 == 0, "a bundle is whole vectors of four lanes");

#define OVRIN_LANES [[maybe_unused]] inline __attribute__((always_inline))

// Four lanes of one register as one vector value. The operations act lane by
// lane with IEEE rounding, exactly as on one double. Masks are -1 (true) or 0.
typedef double V4 __attribute__((vector_size(4 * sizeof(double))));
typedef int64_t M4 __attribute__((vector_size(4 * sizeof(int64_t))));

// The bundle as K such vectors. Every operation is written out on all of them
// next to each other, so that their chains of divisions and roots run side by
// side.
struct D8 {
  V4 v[K];
};
struct I8 {
  M4 v[K];
};

#define OVRIN_EACH(EXPR)            \
  {                                 \
    for (int k = 0; k < K; ++k) EXPR; \
    return o;                       \
  }
#define OVRIN_ARITHMETIC(OP)                                                                          \
  OVRIN_LANES D8 operator OP(D8 x, D8 y) { D8 o; OVRIN_EACH(o.v[k] = x.v[k] OP y.v[k]) }              \
  OVRIN_LANES D8 operator OP(D8 x, double y) { D8 o; OVRIN_EACH(o.v[k] = x.v[k] OP y) }               \
  OVRIN_LANES D8 operator OP(double x, D8 y) { D8 o; OVRIN_EACH(o.v[k] = x OP y.v[k]) }
OVRIN_ARITHMETIC(+)
OVRIN_ARITHMETIC(-)
OVRIN_ARITHMETIC(*)
OVRIN_ARITHMETIC(/)
#undef OVRIN_ARITHMETIC
OVRIN_LANES D8 operator-(D8 x) { D8 o; OVRIN_EACH(o.v[k] = -x.v[k]) }

#define OVRIN_COMPARISON(OP)                                                                          \
  OVRIN_LANES I8 operator OP(D8 x, D8 y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] OP y.v[k]) }              \
  OVRIN_LANES I8 operator OP(D8 x, double y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] OP y) }
OVRIN_COMPARISON(>=)
OVRIN_COMPARISON(>)
OVRIN_COMPARISON(<)
OVRIN_COMPARISON(==)
#undef OVRIN_COMPARISON

OVRIN_LANES I8 operator&(I8 x, I8 y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] & y.v[k]) }
OVRIN_LANES I8 operator|(I8 x, I8 y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] | y.v[k]) }
OVRIN_LANES I8 operator~(I8 x) { I8 o; OVRIN_EACH(o.v[k] = ~x.v[k]) }
OVRIN_LANES I8 operator&(I8 x, int64_t y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] & y) }
OVRIN_LANES I8 operator!=(I8 x, int64_t y) { I8 o; OVRIN_EACH(o.v[k] = x.v[k] != y) }
OVRIN_LANES I8& operator&=(I8& x, I8 y) { return x = x & y; }
OVRIN_LANES I8& operator|=(I8& x, I8 y) { return x = x | y; }

OVRIN_LANES D8 Splat(double v) { D8 o; OVRIN_EACH((o.v[k] = V4{v, v, v, v})) }
OVRIN_LANES I8 Splat(int64_t v) { I8 o; OVRIN_EACH((o.v[k] = M4{v, v, v, v})) }
OVRIN_LANES I8 Mask(bool b) { return Splat(int64_t{b ? -1 : 0}); }

// Lane by lane a where the mask is set, else b: bits, not arithmetic.
OVRIN_LANES M4 Select(M4 m, M4 a, M4 b) { return (a & m) | (b & ~m); }
OVRIN_LANES V4 Select(M4 m, V4 a, V4 b) { return (V4)(((M4)a & m) | ((M4)b & ~m)); }
OVRIN_LANES I8 Select(I8 m, I8 x, I8 y) { I8 o; OVRIN_EACH(o.v[k] = Select(m.v[k], x.v[k], y.v[k])) }
OVRIN_LANES D8 Select(I8 m, D8 x, D8 y) { D8 o; OVRIN_EACH(o.v[k] = Select(m.v[k], x.v[k], y.v[k])) }

// The square root lane by lane; the compiler makes one vector instruction of
// each vector.
OVRIN_LANES V4 Sqrt(V4 v) { return V4{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])}; }
OVRIN_LANES D8 Sqrt(D8 x) { D8 o; OVRIN_EACH(o.v[k] = Sqrt(x.v[k])) }
#undef OVRIN_EACH

// Finite: v - v is 0 for a finite value and NaN for an infinity or a NaN.
OVRIN_LANES I8 IsFinite(D8 v) { return (v - v) == 0.0; }

OVRIN_LANES bool Any(I8 m) {
  M4 all = m.v[0];
  for (int k = 1; k < K; ++k) all |= m.v[k];
  return (all[0] | all[1] | all[2] | all[3]) != 0;
}

constexpr int64_t FaultCode(TraceFault f) { return static_cast<int64_t>(f); }
OVRIN_LANES I8 Code(TraceFault f) { return Splat(FaultCode(f)); }

// The ray and the marks of every lane, held in locals for a whole loop.
struct Lanes {
  D8 x, y, z, cx, cy, cz;
  I8 live, failed;  // masks
  I8 fail_surface, fail_reason;
};

// The live lanes that did not pass fail here, for the reasons given.
OVRIN_LANES void Fail(Lanes& r, I8 passed, int surface, I8 why) {
  const I8 fails = r.live & ~passed;
  r.failed |= fails;
  r.fail_surface = Select(fails, Splat(int64_t{surface}), r.fail_surface);
  r.fail_reason = Select(fails, why, r.fail_reason);
  r.live &= passed;
}

// TraceSphere on every lane.
OVRIN_LANES void SphereLanes(Lanes& r, int surface, double radius, double thick, double n, double np) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double mu2 = mu * mu;
  const D8 cx = r.cx, cy = r.cy, cz = r.cz;
  const D8 step = thick - r.z;
  const D8 x0 = r.x + (step * cx) / cz;
  const D8 y0 = r.y + (step * cy) / cz;
  const D8 ccy = c * cy, ccx = c * cx;
  const D8 r2 = x0 * x0 + y0 * y0;
  const D8 h = c * r2;
  const D8 b = cz - ccy * y0 - ccx * x0;
  const D8 ch = (c * c) * r2;
  const D8 sph_radicand = b * b - ch;
  const D8 snell_radicand = (1.0 - mu2) + mu2 * sph_radicand;
  const D8 a = Sqrt(sph_radicand);
  const D8 apb = a + b;
  const D8 d = h / apb;
  const D8 x = x0 + cx * d;
  const D8 y = y0 + cy * d;
  const D8 z = cz * d;
  const D8 g = Sqrt(snell_radicand) - mu * a;
  const D8 zc = (cz * ch) / apb;
  const D8 yc = c * y0 + ccy * d;
  const D8 xc = c * x0 + ccx * d;
  const D8 ncz = mu * cz - (zc - 1.0) * g;
  const D8 ncy = mu * cy - yc * g;
  const D8 ncx = mu * cx - xc * g;
  const I8 met = sph_radicand >= 0.0;
  const I8 refracted = snell_radicand >= 0.0;
  const I8 passed = met & refracted & IsFinite(x + y + z + ncx + ncy + ncz);
  I8 why = Code(TraceFault::NonFinite);
  why = Select(snell_radicand < 0.0, Code(TraceFault::TotalReflection), why);
  why = Select(met, why, Select(sph_radicand < 0.0, Code(TraceFault::MissedSurface), Code(TraceFault::NonFinite)));
  const I8 keep = r.live & passed;
  r.x = Select(keep, x, r.x);
  r.y = Select(keep, y, r.y);
  r.z = Select(keep, z, r.z);
  r.cx = Select(keep, ncx, r.cx);
  r.cy = Select(keep, ncy, r.cy);
  r.cz = Select(keep, ncz, r.cz);
  Fail(r, passed, surface, why);
}

// TraceSphere on a plane (radius 0) between equal indices: a pure transfer.
// With c = 0 and mu = 1 the sphere's arithmetic reduces, for a ray going
// forward (cosZ > 0) with finite values, to the two divisions of the transfer
// and a few exact products and sums; those are kept as the sphere writes them
// (a product by 0 and a sum with 0 settle the signs of zeros). Lanes outside
// those conditions take the sphere's own path.
OVRIN_LANES void PlaneLanes(Lanes& r, int surface, double thick, double n, double np) {
  const double mu = n / np;
  if (mu != 1.0) {
    SphereLanes(r, surface, 0.0, thick, n, np);
    return;
  }
  const D8 cx = r.cx, cy = r.cy, cz = r.cz;
  const D8 step = thick - r.z;
  const D8 x0 = r.x + (step * cx) / cz;
  const D8 y0 = r.y + (step * cy) / cz;
  const D8 r2 = x0 * x0 + y0 * y0;
  const I8 ok = (cz > 0.0) & IsFinite(cz * cz) & IsFinite(r2) & IsFinite(cx) & IsFinite(cy);
  if (Any(r.live & ~ok)) {
    SphereLanes(r, surface, 0.0, thick, n, np);
    return;
  }
  // d = H / (A + B) is +0 and so is g, the root less itself.
  const D8 x = x0 + cx * 0.0;
  const D8 y = y0 + cy * 0.0;
  const D8 z = cz * 0.0;
  const D8 yc = 0.0 * y0 + (0.0 * cy) * 0.0;
  const D8 xc = 0.0 * x0 + (0.0 * cx) * 0.0;
  const D8 ncz = cz - (0.0 - 1.0) * 0.0;
  const D8 ncy = cy - yc * 0.0;
  const D8 ncx = cx - xc * 0.0;
  const I8 passed = IsFinite(x + y + z + ncx + ncy + ncz);
  const I8 keep = r.live & passed;
  r.x = Select(keep, x, r.x);
  r.y = Select(keep, y, r.y);
  r.z = Select(keep, z, r.z);
  r.cx = Select(keep, ncx, r.cx);
  r.cy = Select(keep, ncy, r.cy);
  r.cz = Select(keep, ncz, r.cz);
  Fail(r, passed, surface, Code(TraceFault::NonFinite));
}

// TraceAsphere on every lane; the Newton passes go on while any lane has not
// settled, and a settled lane keeps its values.
OVRIN_LANES void AsphereLanes(Lanes& r, int surface, double radius, double thick, double n, double np, double conic,
                              double a4, double a6, double a8) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double k1 = conic + 1.0;

  // Transfer to the tangent plane of the vertex.
  {
    const D8 d0 = (r.z - thick) / r.cz;
    const D8 yt = r.y - r.cy * d0;
    const D8 xt = r.x - r.cx * d0;
    const I8 passed = IsFinite(yt) & IsFinite(xt);
    const I8 keep = r.live & passed;
    r.z = Select(keep, Splat(0.0), r.z);
    r.y = Select(keep, yt, r.y);
    r.x = Select(keep, xt, r.x);
    Fail(r, passed, surface, Code(TraceFault::NonFinite));
  }

  const D8 cx = r.cx, cy = r.cy, cz = r.cz;
  D8 x = r.x, y = r.y, z = r.z;
  D8 nx = Splat(0.0), ny = Splat(0.0), nz = Splat(0.0);
  I8 going = r.live;
  for (int pass = 1; Any(going); ++pass) {
    const D8 r2 = x * x + y * y;
    const D8 rad = 1.0 - c * c * k1 * r2;
    const D8 s = Sqrt(rad);
    const D8 r4 = r2 * r2;
    const D8 e = c + s * (4.0 * a4 * r2 + 6.0 * a6 * r4 + 8.0 * a8 * r4 * r2);
    const D8 nyp = -y * e;
    const D8 nxp = -x * e;
    const D8 nzp = s;
    const D8 sag = c * r2 / (1.0 + s) + a4 * r4 + a6 * r4 * r2 + a8 * r4 * r4;
    const D8 t = (sag - z) * s / (cy * nyp + cz * nzp + cx * nxp);
    const I8 inside = rad >= 0.0;
    const I8 stepped = inside & IsFinite(t);
    const I8 keep = going & stepped;
    ny = Select(keep, nyp, ny);
    nx = Select(keep, nxp, nx);
    nz = Select(keep, nzp, nz);
    z = Select(keep, z + t * cz, z);
    y = Select(keep, y + t * cy, y);
    x = Select(keep, x + t * cx, x);
    // |t| > 1e-8, lane by lane (a NaN is not greater either way)
    const I8 settled = ~((t > 1e-8) | (t < -1e-8));
    const I8 stuck = ~settled & Mask(pass >= kAsphereMaxPasses);
    I8 why = Select(inside, Code(TraceFault::NonFinite),
                    Select(rad < 0.0, Code(TraceFault::OutsideConic), Code(TraceFault::NonFinite)));
    why = Select(stepped, Code(TraceFault::NoConvergence), why);
    const I8 fails = going & (~stepped | stuck);
    r.failed |= fails;
    r.fail_surface = Select(fails, Splat(int64_t{surface}), r.fail_surface);
    r.fail_reason = Select(fails, why, r.fail_reason);
    r.live &= ~fails;
    going = keep & ~settled & ~stuck;
  }

  // The normal of the last pass (taken before its step) refracts the ray.
  const double mu2 = mu * mu;
  const D8 n2 = ny * ny + nz * nz + nx * nx;
  const D8 dd = cy * ny + cz * nz + cx * nx;
  const D8 snell_radicand = dd * dd * mu2 + (1.0 - mu2) * n2;
  const D8 g = (Sqrt(snell_radicand) - mu * dd) / n2;
  const D8 ncz = mu * cz + g * nz;
  const D8 ncy = mu * cy + g * ny;
  const D8 ncx = mu * cx + g * nx;
  const I8 refracted = snell_radicand >= 0.0;
  const I8 passed = refracted & IsFinite(ncz) & IsFinite(ncy) & IsFinite(ncx);
  const I8 why = Select(refracted, Code(TraceFault::NonFinite),
                        Select(snell_radicand < 0.0, Code(TraceFault::TotalReflection), Code(TraceFault::NonFinite)));
  // The position is the last pass's, whether or not the ray refracts.
  r.z = Select(r.live, z, r.z);
  r.y = Select(r.live, y, r.y);
  r.x = Select(r.live, x, r.x);
  const I8 keep = r.live & passed;
  r.cz = Select(keep, ncz, r.cz);
  r.cy = Select(keep, ncy, r.cy);
  r.cx = Select(keep, ncx, r.cx);
  Fail(r, passed, surface, why);
}

// Rotation A, about the X axis through the vertex, on the live lanes.
OVRIN_LANES void RotationALanes(Lanes& r, double a, double thick) {
  const double sa = std::sin(a), ca = std::cos(a);
  const D8 z0 = r.z - thick;
  const D8 y = r.y, cy = r.cy, cz = r.cz;
  r.y = Select(r.live, z0 * sa + y * ca, y);
  r.z = Select(r.live, z0 * ca + thick - y * sa, r.z);
  r.cy = Select(r.live, cy * ca + cz * sa, cy);
  r.cz = Select(r.live, cz * ca - cy * sa, cz);
}

// Rotation B, about the Y axis through the vertex.
OVRIN_LANES void RotationBLanes(Lanes& r, double b, double thick) {
  const double sb = std::sin(b), cb = std::cos(b);
  const D8 z0 = r.z - thick;
  const D8 x = r.x, cx = r.cx, cz = r.cz;
  r.x = Select(r.live, -z0 * sb + x * cb, x);
  r.z = Select(r.live, z0 * cb + thick + x * sb, r.z);
  r.cx = Select(r.live, cx * cb - cz * sb, cx);
  r.cz = Select(r.live, cz * cb + cx * sb, cz);
}

OVRIN_LANES void DecenterLanes(Lanes& r, double dx, double dy) {
  r.x = Select(r.live, r.x - dx, r.x);
  r.y = Select(r.live, r.y - dy, r.y);
}

OVRIN_LANES void EnterFrameLanes(Lanes& r, const DesignState& d, int i, double thick) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const double dx = d.DecX[i];
  const double dy = d.DecY[i];
  if (a == 0.0 && b == 0.0) {
    if (dx != 0.0 || dy != 0.0) DecenterLanes(r, dx, dy);
    return;
  }
  const float order = d.TiltOrder[i];
  if (order == 1.0f || order == 0.0f) {
    DecenterLanes(r, dx, dy);
    if (a != 0.0) RotationALanes(r, a, thick);
    if (b != 0.0) RotationBLanes(r, b, thick);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationBLanes(r, b, thick);
    if (a != 0.0) RotationALanes(r, a, thick);
    DecenterLanes(r, dx, dy);
  }
}

OVRIN_LANES void LeaveMirrorLanes(Lanes& r, const DesignState& d, int i) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const float order = d.TiltOrder[i];
  if (order == 1.0f) {
    if (a != 0.0) RotationALanes(r, a, 0.0);
    if (b != 0.0) RotationBLanes(r, b, 0.0);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationBLanes(r, b, 0.0);
    if (a != 0.0) RotationALanes(r, a, 0.0);
  }
}

inline int Sgn(double v) { return (v > 0) - (v < 0); }

OVRIN_LANES D8 LoadD(const double* v) {
  D8 o;
  for (int k = 0; k < K; ++k) o.v[k] = V4{v[4 * k], v[4 * k + 1], v[4 * k + 2], v[4 * k + 3]};
  return o;
}
OVRIN_LANES I8 LoadI(const int64_t* v) {
  I8 o;
  for (int k = 0; k < K; ++k) o.v[k] = M4{v[4 * k], v[4 * k + 1], v[4 * k + 2], v[4 * k + 3]};
  return o;
}
OVRIN_LANES void StoreD(D8 r, double* v) {
  for (int k = 0; k < K; ++k)
    for (int l = 0; l < 4; ++l) v[4 * k + l] = r.v[k][l];
}
OVRIN_LANES void StoreI(I8 r, int64_t* v) {
  for (int k = 0; k < K; ++k)
    for (int l = 0; l < 4; ++l) v[4 * k + l] = r.v[k][l];
}

OVRIN_LANES Lanes Load(const BundleTracer& t) {
  Lanes r;
  r.x = LoadD(t.X), r.y = LoadD(t.Y), r.z = LoadD(t.Z);
  r.cx = LoadD(t.CosX), r.cy = LoadD(t.CosY), r.cz = LoadD(t.CosZ);
  r.live = LoadI(t.Live) != 0;
  r.failed = LoadI(t.Failed) != 0;
  r.fail_surface = LoadI(t.FailSurface), r.fail_reason = LoadI(t.FailReason);
  return r;
}

OVRIN_LANES void Store(const Lanes& r, BundleTracer& t) {
  StoreD(r.x, t.X), StoreD(r.y, t.Y), StoreD(r.z, t.Z);
  StoreD(r.cx, t.CosX), StoreD(r.cy, t.CosY), StoreD(r.cz, t.CosZ);
  StoreI(r.live & 1, t.Live), StoreI(r.failed & 1, t.Failed);
  StoreI(r.fail_surface, t.FailSurface), StoreI(r.fail_reason, t.FailReason);
}

// --- the three operations, written once and compiled for each code path ---

OVRIN_LANES void StartImpl(BundleTracer& t) {
  const DesignState& d = t.design();
  Lanes r = Load(t);
  r.z = Splat(0.0);
  if (d.ObjDistance == 0.0) {
    r.cz = Splat(t.FieldCosZ);
    r.cy = Splat(t.FieldCosY);
    r.cx = Splat(t.FieldCosX);
  } else {
    const double len = d.EntrPupilZ != 0.0 ? d.ObjDistance - d.EntrPupilZ : d.ObjDistance;
    const D8 dy = r.y - t.ObjHeight;
    const D8 norm = Sqrt(len * len + dy * dy + r.x * r.x);
    r.cz = len / norm;
    r.cy = dy / norm;
    r.cx = r.x / norm;
    const I8 passed = IsFinite(r.cz) & IsFinite(r.cy) & IsFinite(r.cx);
    Fail(r, passed, 0, Code(TraceFault::NonFinite));
  }
  // The pupil plane is brought onto the first vertex plane; a failure here is at surface 0.
  if (d.EntrPupilZ != 0.0) PlaneLanes(r, 0, d.EntrPupilZ, 1.0, 1.0);
  Store(r, t);
}

template <bool kSumPath>
OVRIN_LANES void SurfacesImpl(BundleTracer& t, const SurfTable& index, const SurfaceLoopPolicy& policy) {
  const DesignState& d = t.design();
  const int n = d.SurfCount;
  const bool test_aperture = policy.testAperture;
  const I8 stopped_ends = Mask(policy.stoppedRayEnds);
  const bool first_column_mirrors = policy.mirrorTest == MirrorTest::AnyTiltFirstColumn;
  const double margin = policy.apertureMargin;
  Lanes r = Load(t);
  I8 vignetted = Splat(int64_t{0}), vign_surf = Splat(int64_t{0});
  I8 ended = LoadI(t.Ended) != 0;
  D8 path = Splat(0.0);
  double n_before = 1.0;
  double thick = 0.0;
  for (int i = 1; i <= n && Any(r.live); ++i) {
    const double radius = d.Radius[i];
    const double n_after = index[i];
    EnterFrameLanes(r, d, i, thick);
    const D8 z_before = r.z, cz_before = r.cz;
    const float type = d.SurfType[i];
    if (type == 1.0f || type == 4.0f) {
      SphereLanes(r, i, radius, thick, n_before, n_after);
    } else if (type == 2.0f || type == 3.0f) {
      AsphereLanes(r, i, radius, thick, n_before, n_after, d.Conic[i], d.AsphA4[i], d.AsphA6[i], d.AsphA8[i]);
    }
    // The optical path from the surface's frame entry to the surface, counted
    // from the vertex plane before it.
    if constexpr (kSumPath) path = Select(r.live, path + n_before * (r.z - z_before + thick) / cz_before, path);
    bool leave_mirror;
    if (!first_column_mirrors) {
      leave_mirror = Sgn(n_before) != Sgn(n_after) && (d.TiltA[i] != 0.0 || !(std::fabs(d.TiltB[i]) <= 0.5));
    } else {
      const double w1_before = i == 1 ? 1.0 : d.IndexWl[1][i - 1];
      leave_mirror = Sgn(w1_before) != Sgn(d.IndexWl[1][i]) && (d.TiltA[i] != 0.0 || d.TiltB[i] != 0.0);
    }
    if (leave_mirror) LeaveMirrorLanes(r, d, i);
    if (test_aperture) {
      const double semi = d.SemiDiam[i];
      const D8 rho2 = r.x * r.x + r.y * r.y;
      I8 stopped = Splat(int64_t{0});
      if (type < 4.0f) {
        const double limit = semi + margin;
        stopped = Mask(limit < 0.0) | (rho2 > limit * limit);
      } else if (type == 4.0f) {
        stopped = Mask(semi > 0.0) & (rho2 < semi * semi);  // an opaque central disc
      }
      const I8 marks = r.live & ~vignetted & stopped;
      vignetted |= marks;
      vign_surf = Select(marks, Splat(int64_t{i}), vign_surf);
      const I8 ends = marks & stopped_ends;
      ended |= ends;
      r.live &= ~ends;
    }
    n_before = n_after;
    thick = d.Thickness[i];
  }
  Store(r, t);
  StoreD(path, t.Path);
  StoreI(vignetted & 1, t.Vignetted);
  StoreI(vign_surf, t.VignSurf);
  StoreI(ended & 1, t.Ended);
}

OVRIN_LANES void ImageImpl(BundleTracer& t, double n_last, double image_distance, double focal_radius) {
  const DesignState& d = t.design();
  const int image = d.SurfCount + 1;
  Lanes r = Load(t);
  EnterFrameLanes(r, d, image, image_distance);
  if (focal_radius == 0.0)
    PlaneLanes(r, image, image_distance, n_last, n_last);
  else
    SphereLanes(r, image, focal_radius, image_distance, n_last, n_last);
  Store(r, t);
}

// The code paths: the same source compiled for the baseline instruction set
// and for the wider vector units, chosen at run time.
#define OVRIN_BUNDLE_PATH(SUFFIX, TARGET)                                                       \
  TARGET void Start##SUFFIX(BundleTracer& t) { StartImpl(t); }                                 \
  TARGET void Surfaces##SUFFIX(BundleTracer& t, const SurfTable& index, const SurfaceLoopPolicy& p) { \
    if (p.sumPath)                                                                             \
      SurfacesImpl<true>(t, index, p);                                                         \
    else                                                                                       \
      SurfacesImpl<false>(t, index, p);                                                        \
  }                                                                                            \
  TARGET void Image##SUFFIX(BundleTracer& t, double n_last, double distance, double radius) {  \
    ImageImpl(t, n_last, distance, radius);                                                    \
  }

OVRIN_BUNDLE_PATH(Baseline, )
#ifdef OVRIN_BUNDLE_X86
OVRIN_BUNDLE_PATH(Avx2, __attribute__((target("avx2"))))
OVRIN_BUNDLE_PATH(Avx512, __attribute__((target("avx512f"))))
#endif

struct PathTable {
  void (*start)(BundleTracer&);
  void (*surfaces)(BundleTracer&, const SurfTable&, const SurfaceLoopPolicy&);
  void (*image)(BundleTracer&, double, double, double);
};

PathTable TableOf(BundleIsa isa) {
  switch (isa) {
#ifdef OVRIN_BUNDLE_X86
    case BundleIsa::Avx2: return {StartAvx2, SurfacesAvx2, ImageAvx2};
    case BundleIsa::Avx512: return {StartAvx512, SurfacesAvx512, ImageAvx512};
#endif
    default: return {StartBaseline, SurfacesBaseline, ImageBaseline};
  }
}

BundleIsa BestIsa() {
#ifdef OVRIN_BUNDLE_X86
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) return BundleIsa::Avx512;
  if (__builtin_cpu_supports("avx2")) return BundleIsa::Avx2;
#endif
  return BundleIsa::Baseline;
}

struct Dispatch {
  BundleIsa isa;
  PathTable table;
};

Dispatch& Current() {
  static Dispatch current{BestIsa(), TableOf(BestIsa())};
  return current;
}

}  // namespace

const char* BundleIsaName(BundleIsa isa) {
  switch (isa) {
    case BundleIsa::Baseline: return "x86-64";
    case BundleIsa::Avx2: return "AVX2";
    case BundleIsa::Avx512: return "AVX-512";
  }
  return "x86-64";
}

BundleIsa BundleIsaInUse() { return Current().isa; }

bool BundleIsaAvailable(BundleIsa isa) {
  if (isa == BundleIsa::Baseline) return true;
#ifdef OVRIN_BUNDLE_X86
  __builtin_cpu_init();
  if (isa == BundleIsa::Avx2) return __builtin_cpu_supports("avx2");
  if (isa == BundleIsa::Avx512) return __builtin_cpu_supports("avx512f");
#endif
  return false;
}

bool UseBundleIsa(BundleIsa isa) {
  if (!BundleIsaAvailable(isa)) return false;
  Current() = Dispatch{isa, TableOf(isa)};
  return true;
}

BundleTracer::BundleTracer(const DesignState& design) : design_(design), index_(&design.IndexWl[1]) {}

void BundleTracer::StartRays(const double* px, const double* py, int n) {
  count = n < 0 ? 0 : (n > L ? L : n);
  for (int l = 0; l < L; ++l) {
    const bool used = l < count;
    // Lanes not in use carry a harmless copy of a plain ray and stay dead.
    X[l] = used ? px[l] : 0.0;
    Y[l] = used ? py[l] : 0.0;
    Z[l] = 0.0;
    CosX[l] = CosY[l] = 0.0;
    CosZ[l] = 1.0;
    Path[l] = 0.0;
    Vignetted[l] = VignSurf[l] = Ended[l] = 0;
    Failed[l] = FailSurface[l] = FailReason[l] = 0;
    Live[l] = used ? 1 : 0;
  }
  Current().table.start(*this);
}

void BundleTracer::TraceSurfaces(const SurfaceLoopPolicy& policy) {
  index_ = policy.indexTable ? policy.indexTable : &design_.IndexWl[policy.wavelength];
  Current().table.surfaces(*this, *index_, policy);
}

void BundleTracer::TraceToImage(double image_distance, double focal_radius) {
  Current().table.image(*this, (*index_)[design_.SurfCount], image_distance, focal_radius);
}

void BundleTracer::TraceToImageIn(double n_last, double image_distance, double focal_radius) {
  Current().table.image(*this, n_last, image_distance, focal_radius);
}

void BundleTracer::TraceRays(const double* px, const double* py, int n, const SurfaceLoopPolicy& policy,
                             double image_distance) {
  StartRays(px, py, n);
  TraceSurfaces(policy);
  TraceToImage(image_distance);
}

}  // namespace ovrin
