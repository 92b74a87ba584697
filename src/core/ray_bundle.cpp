#include "core/ray_bundle.h"

#include <cmath>

namespace ovrin {

// Each loop below runs over all the lanes and writes a lane's results back
// only where that lane is live and the step succeeded, so that the compiler
// can turn it into vector code. Every expression is written as the one-ray
// kernels write it (ray_tracer.cpp), with the same grouping: the build keeps
// floating-point contraction off, and without fast-math the compiler does not
// regroup, so each lane rounds exactly as the one-ray tracer does. Change one
// only together with the other; the bit-identity tests hold them together.
namespace {

constexpr int L = kBundleLanes;

#define OVRIN_LANES inline __attribute__((always_inline))

// Finite without a library call, so that the loops stay vector code:
// v - v is 0 for a finite value and NaN for an infinity or a NaN.
OVRIN_LANES bool IsFinite(double v) { return v - v == 0.0; }

constexpr int64_t FaultCode(TraceFault f) { return static_cast<int64_t>(f); }

// The ray of every lane, held in locals for a whole loop.
struct Lanes {
  double x[L], y[L], z[L], cx[L], cy[L], cz[L];
};

struct Marks {
  int64_t* live;
  int64_t* failed;
  int64_t* fail_surface;
  int64_t* fail_reason;
};

// A lane that was live and did not pass fails here, for the given reason.
OVRIN_LANES void Fail(const Marks& m, int l, bool passed, int surface, int64_t reason) {
  const bool fails = m.live[l] != 0 && !passed;
  m.failed[l] = fails ? 1 : m.failed[l];
  m.fail_surface[l] = fails ? surface : m.fail_surface[l];
  m.fail_reason[l] = fails ? reason : m.fail_reason[l];
  m.live[l] = passed ? m.live[l] : 0;
}

OVRIN_LANES bool AnyLive(const int64_t* live) {
  int64_t any = 0;
  for (int l = 0; l < L; ++l) any |= live[l];
  return any != 0;
}

// TraceSphere on every lane.
OVRIN_LANES void SphereLanes(Lanes& r, const Marks& m, int surface, double radius, double thick, double n,
                             double np) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double mu2 = mu * mu;
  for (int l = 0; l < L; ++l) {
    const double cx = r.cx[l], cy = r.cy[l], cz = r.cz[l];
    const double step = thick - r.z[l];
    const double x0 = r.x[l] + (step * cx) / cz;
    const double y0 = r.y[l] + (step * cy) / cz;
    const double ccy = c * cy, ccx = c * cx;
    const double r2 = x0 * x0 + y0 * y0;
    const double h = c * r2;
    const double b = cz - ccy * y0 - ccx * x0;
    const double ch = (c * c) * r2;
    const double sph_radicand = b * b - ch;
    const double snell_radicand = (1.0 - mu2) + mu2 * sph_radicand;
    const double a = std::sqrt(sph_radicand);
    const double apb = a + b;
    const double d = h / apb;
    const double x = x0 + cx * d;
    const double y = y0 + cy * d;
    const double z = cz * d;
    const double g = std::sqrt(snell_radicand) - mu * a;
    const double zc = (cz * ch) / apb;
    const double yc = c * y0 + ccy * d;
    const double xc = c * x0 + ccx * d;
    const double ncz = mu * cz - (zc - 1.0) * g;
    const double ncy = mu * cy - yc * g;
    const double ncx = mu * cx - xc * g;
    const bool met = sph_radicand >= 0.0;
    const bool refracted = snell_radicand >= 0.0;
    const bool passed = met & refracted & IsFinite(x + y + z + ncx + ncy + ncz);
    int64_t why = FaultCode(TraceFault::NonFinite);
    why = snell_radicand < 0.0 ? FaultCode(TraceFault::TotalReflection) : why;
    why = met ? why : (sph_radicand < 0.0 ? FaultCode(TraceFault::MissedSurface) : FaultCode(TraceFault::NonFinite));
    const bool keep = m.live[l] != 0 && passed;
    r.x[l] = keep ? x : r.x[l];
    r.y[l] = keep ? y : r.y[l];
    r.z[l] = keep ? z : r.z[l];
    r.cx[l] = keep ? ncx : r.cx[l];
    r.cy[l] = keep ? ncy : r.cy[l];
    r.cz[l] = keep ? ncz : r.cz[l];
    Fail(m, l, passed, surface, why);
  }
}

// TraceSphere on a plane (radius 0) between equal indices: a pure transfer.
// With c = 0 and mu = 1 the sphere's arithmetic reduces, for a ray going
// forward (cosZ > 0) with finite values, to the two divisions of the transfer
// and a few exact products and sums; those are kept as the sphere writes them
// (a product by 0 and a sum with 0 settle the signs of zeros). A bundle with a
// lane outside those conditions takes the sphere's own path.
OVRIN_LANES void PlaneLanes(Lanes& r, const Marks& m, int surface, double thick, double n, double np) {
  const double mu = n / np;
  if (mu != 1.0) {
    SphereLanes(r, m, surface, 0.0, thick, n, np);
    return;
  }
  double x[L], y[L], z[L], ncx[L], ncy[L], ncz[L];
  int64_t reduced = 1;
  for (int l = 0; l < L; ++l) {
    const double cx = r.cx[l], cy = r.cy[l], cz = r.cz[l];
    const double step = thick - r.z[l];
    const double x0 = r.x[l] + (step * cx) / cz;
    const double y0 = r.y[l] + (step * cy) / cz;
    const double r2 = x0 * x0 + y0 * y0;
    const bool ok = (cz > 0.0) & IsFinite(cz * cz) & IsFinite(r2) & IsFinite(cx) & IsFinite(cy);
    reduced &= (m.live[l] == 0) | ok;
    // d = h / (A + B) is +0 and so is g, the root minus itself.
    x[l] = x0 + cx * 0.0;
    y[l] = y0 + cy * 0.0;
    z[l] = cz * 0.0;
    const double yc = 0.0 * y0 + (0.0 * cy) * 0.0;
    const double xc = 0.0 * x0 + (0.0 * cx) * 0.0;
    ncz[l] = cz - (0.0 - 1.0) * 0.0;
    ncy[l] = cy - yc * 0.0;
    ncx[l] = cx - xc * 0.0;
  }
  if (!reduced) {
    SphereLanes(r, m, surface, 0.0, thick, n, np);
    return;
  }
  for (int l = 0; l < L; ++l) {
    const bool passed = IsFinite(x[l] + y[l] + z[l] + ncx[l] + ncy[l] + ncz[l]);
    const bool keep = m.live[l] != 0 && passed;
    r.x[l] = keep ? x[l] : r.x[l];
    r.y[l] = keep ? y[l] : r.y[l];
    r.z[l] = keep ? z[l] : r.z[l];
    r.cx[l] = keep ? ncx[l] : r.cx[l];
    r.cy[l] = keep ? ncy[l] : r.cy[l];
    r.cz[l] = keep ? ncz[l] : r.cz[l];
    Fail(m, l, passed, surface, FaultCode(TraceFault::NonFinite));
  }
}

// TraceAsphere on every lane; the Newton passes go on while any lane has not
// settled, and a settled lane keeps its values.
OVRIN_LANES void AsphereLanes(Lanes& r, const Marks& m, int surface, double radius, double thick, double n,
                              double np, double conic, double a4, double a6, double a8) {
  const double c = radius == 0.0 ? 0.0 : 1.0 / radius;
  const double mu = n / np;
  const double k1 = conic + 1.0;

  // Transfer to the tangent plane of the vertex.
  double x[L], y[L], z[L];
  int64_t going[L];
  for (int l = 0; l < L; ++l) {
    const double d0 = (r.z[l] - thick) / r.cz[l];
    const double yt = r.y[l] - r.cy[l] * d0;
    const double xt = r.x[l] - r.cx[l] * d0;
    const bool passed = IsFinite(yt) & IsFinite(xt);
    const bool keep = m.live[l] != 0 && passed;
    r.z[l] = keep ? 0.0 : r.z[l];
    r.y[l] = keep ? yt : r.y[l];
    r.x[l] = keep ? xt : r.x[l];
    x[l] = r.x[l];
    y[l] = r.y[l];
    z[l] = r.z[l];
    Fail(m, l, passed, surface, FaultCode(TraceFault::NonFinite));
    going[l] = m.live[l];
  }

  double nx[L] = {}, ny[L] = {}, nz[L] = {};
  for (int pass = 1;; ++pass) {
    int64_t any = 0;
    for (int l = 0; l < L; ++l) {
      const double cx = r.cx[l], cy = r.cy[l], cz = r.cz[l];
      const double r2 = x[l] * x[l] + y[l] * y[l];
      const double rad = 1.0 - c * c * k1 * r2;
      const double s = std::sqrt(rad);
      const double r4 = r2 * r2;
      const double e = c + s * (4.0 * a4 * r2 + 6.0 * a6 * r4 + 8.0 * a8 * r4 * r2);
      const double nyp = -y[l] * e;
      const double nxp = -x[l] * e;
      const double nzp = s;
      const double sag = c * r2 / (1.0 + s) + a4 * r4 + a6 * r4 * r2 + a8 * r4 * r4;
      const double t = (sag - z[l]) * s / (cy * nyp + cz * nzp + cx * nxp);
      const bool inside = rad >= 0.0;
      const bool stepped = inside & IsFinite(t);
      const bool on = going[l] != 0;
      const bool keep = on && stepped;
      ny[l] = keep ? nyp : ny[l];
      nx[l] = keep ? nxp : nx[l];
      nz[l] = keep ? nzp : nz[l];
      z[l] = keep ? z[l] + t * cz : z[l];
      y[l] = keep ? y[l] + t * cy : y[l];
      x[l] = keep ? x[l] + t * cx : x[l];
      const bool settled = !(std::fabs(t) > 1e-8);
      const bool stuck = !settled && pass >= kAsphereMaxPasses;
      int64_t why = inside ? FaultCode(TraceFault::NonFinite)
                           : (rad < 0.0 ? FaultCode(TraceFault::OutsideConic) : FaultCode(TraceFault::NonFinite));
      why = stepped ? FaultCode(TraceFault::NoConvergence) : why;
      const bool fails = on && (!stepped || stuck);
      m.failed[l] = fails ? 1 : m.failed[l];
      m.fail_surface[l] = fails ? surface : m.fail_surface[l];
      m.fail_reason[l] = fails ? why : m.fail_reason[l];
      m.live[l] = fails ? 0 : m.live[l];
      going[l] = keep && !settled && !stuck ? 1 : 0;
      any |= going[l];
    }
    if (!any) break;
  }

  // The normal of the last pass (taken before its step) refracts the ray.
  const double mu2 = mu * mu;
  for (int l = 0; l < L; ++l) {
    const double cx = r.cx[l], cy = r.cy[l], cz = r.cz[l];
    const double n2 = ny[l] * ny[l] + nz[l] * nz[l] + nx[l] * nx[l];
    const double dd = cy * ny[l] + cz * nz[l] + cx * nx[l];
    const double snell_radicand = dd * dd * mu2 + (1.0 - mu2) * n2;
    const double g = (std::sqrt(snell_radicand) - mu * dd) / n2;
    const double ncz = mu * cz + g * nz[l];
    const double ncy = mu * cy + g * ny[l];
    const double ncx = mu * cx + g * nx[l];
    const bool refracted = snell_radicand >= 0.0;
    const bool passed = refracted & IsFinite(ncz) & IsFinite(ncy) & IsFinite(ncx);
    const int64_t why = refracted ? FaultCode(TraceFault::NonFinite)
                                  : (snell_radicand < 0.0 ? FaultCode(TraceFault::TotalReflection)
                                                          : FaultCode(TraceFault::NonFinite));
    const bool live = m.live[l] != 0;
    // The position is the last pass's, whether or not the ray refracts.
    r.z[l] = live ? z[l] : r.z[l];
    r.y[l] = live ? y[l] : r.y[l];
    r.x[l] = live ? x[l] : r.x[l];
    const bool keep = live && passed;
    r.cz[l] = keep ? ncz : r.cz[l];
    r.cy[l] = keep ? ncy : r.cy[l];
    r.cx[l] = keep ? ncx : r.cx[l];
    Fail(m, l, passed, surface, why);
  }
}

// Rotation A, about the X axis through the vertex, on the live lanes.
OVRIN_LANES void RotationALanes(Lanes& r, const int64_t* live, double a, double thick) {
  const double sa = std::sin(a), ca = std::cos(a);
  for (int l = 0; l < L; ++l) {
    const double z0 = r.z[l] - thick;
    const double y = r.y[l], cy = r.cy[l], cz = r.cz[l];
    const bool on = live[l] != 0;
    r.y[l] = on ? z0 * sa + y * ca : y;
    r.z[l] = on ? z0 * ca + thick - y * sa : r.z[l];
    r.cy[l] = on ? cy * ca + cz * sa : cy;
    r.cz[l] = on ? cz * ca - cy * sa : cz;
  }
}

// Rotation B, about the Y axis through the vertex.
OVRIN_LANES void RotationBLanes(Lanes& r, const int64_t* live, double b, double thick) {
  const double sb = std::sin(b), cb = std::cos(b);
  for (int l = 0; l < L; ++l) {
    const double z0 = r.z[l] - thick;
    const double x = r.x[l], cx = r.cx[l], cz = r.cz[l];
    const bool on = live[l] != 0;
    r.x[l] = on ? -z0 * sb + x * cb : x;
    r.z[l] = on ? z0 * cb + thick + x * sb : r.z[l];
    r.cx[l] = on ? cx * cb - cz * sb : cx;
    r.cz[l] = on ? cz * cb + cx * sb : cz;
  }
}

OVRIN_LANES void DecenterLanes(Lanes& r, const int64_t* live, double dx, double dy) {
  for (int l = 0; l < L; ++l) {
    const bool on = live[l] != 0;
    r.x[l] = on ? r.x[l] - dx : r.x[l];
    r.y[l] = on ? r.y[l] - dy : r.y[l];
  }
}

OVRIN_LANES void EnterFrameLanes(Lanes& r, const int64_t* live, const DesignState& d, int i, double thick) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const double dx = d.DecX[i];
  const double dy = d.DecY[i];
  if (a == 0.0 && b == 0.0) {
    if (dx != 0.0 || dy != 0.0) DecenterLanes(r, live, dx, dy);
    return;
  }
  const float order = d.TiltOrder[i];
  if (order == 1.0f || order == 0.0f) {
    DecenterLanes(r, live, dx, dy);
    if (a != 0.0) RotationALanes(r, live, a, thick);
    if (b != 0.0) RotationBLanes(r, live, b, thick);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationBLanes(r, live, b, thick);
    if (a != 0.0) RotationALanes(r, live, a, thick);
    DecenterLanes(r, live, dx, dy);
  }
}

OVRIN_LANES void LeaveMirrorLanes(Lanes& r, const int64_t* live, const DesignState& d, int i) {
  const double a = d.TiltA[i];
  const double b = d.TiltB[i];
  const float order = d.TiltOrder[i];
  if (order == 1.0f) {
    if (a != 0.0) RotationALanes(r, live, a, 0.0);
    if (b != 0.0) RotationBLanes(r, live, b, 0.0);
  } else if (order == 2.0f) {
    if (b != 0.0) RotationBLanes(r, live, b, 0.0);
    if (a != 0.0) RotationALanes(r, live, a, 0.0);
  }
}

inline int Sgn(double v) { return (v > 0) - (v < 0); }

OVRIN_LANES Lanes Load(const BundleTracer& t) {
  Lanes r;
  for (int l = 0; l < L; ++l) {
    r.x[l] = t.X[l], r.y[l] = t.Y[l], r.z[l] = t.Z[l];
    r.cx[l] = t.CosX[l], r.cy[l] = t.CosY[l], r.cz[l] = t.CosZ[l];
  }
  return r;
}

OVRIN_LANES void Store(const Lanes& r, BundleTracer& t) {
  for (int l = 0; l < L; ++l) {
    t.X[l] = r.x[l], t.Y[l] = r.y[l], t.Z[l] = r.z[l];
    t.CosX[l] = r.cx[l], t.CosY[l] = r.cy[l], t.CosZ[l] = r.cz[l];
  }
}

OVRIN_LANES Marks MarksOf(BundleTracer& t) { return Marks{t.Live, t.Failed, t.FailSurface, t.FailReason}; }

// --- the three operations, written once and compiled for each code path ---

OVRIN_LANES void StartImpl(BundleTracer& t) {
  const DesignState& d = t.design();
  Lanes r = Load(t);
  const Marks m = MarksOf(t);
  for (int l = 0; l < L; ++l) r.z[l] = 0.0;
  if (d.ObjDistance == 0.0) {
    for (int l = 0; l < L; ++l) {
      r.cz[l] = t.FieldCosZ;
      r.cy[l] = t.FieldCosY;
      r.cx[l] = t.FieldCosX;
    }
  } else {
    const double len = d.EntrPupilZ != 0.0 ? d.ObjDistance - d.EntrPupilZ : d.ObjDistance;
    for (int l = 0; l < L; ++l) {
      const double dy = r.y[l] - t.ObjHeight;
      const double norm = std::sqrt(len * len + dy * dy + r.x[l] * r.x[l]);
      r.cz[l] = len / norm;
      r.cy[l] = dy / norm;
      r.cx[l] = r.x[l] / norm;
      const bool passed = IsFinite(r.cz[l]) & IsFinite(r.cy[l]) & IsFinite(r.cx[l]);
      Fail(m, l, passed, 0, FaultCode(TraceFault::NonFinite));
    }
  }
  // The pupil plane is brought onto the first vertex plane; a failure here is at surface 0.
  if (d.EntrPupilZ != 0.0) PlaneLanes(r, m, 0, d.EntrPupilZ, 1.0, 1.0);
  Store(r, t);
}

template <bool kSumPath>
OVRIN_LANES void SurfacesImpl(BundleTracer& t, const SurfTable& index, const SurfaceLoopPolicy& policy) {
  const DesignState& d = t.design();
  const int n = d.SurfCount;
  const bool test_aperture = policy.testAperture;
  const bool stopped_ends = policy.stoppedRayEnds;
  const bool first_column_mirrors = policy.mirrorTest == MirrorTest::AnyTiltFirstColumn;
  const double margin = policy.apertureMargin;
  const Marks m = MarksOf(t);
  int64_t* live = t.Live;
  for (int l = 0; l < L; ++l) {
    t.Vignetted[l] = 0;
    t.VignSurf[l] = 0;
    t.Path[l] = 0.0;
  }
  Lanes r = Load(t);
  double path[L] = {};
  double n_before = 1.0;
  double thick = 0.0;
  for (int i = 1; i <= n && AnyLive(live); ++i) {
    const double radius = d.Radius[i];
    const double n_after = index[i];
    EnterFrameLanes(r, live, d, i, thick);
    double z_before[L], cz_before[L];
    for (int l = 0; l < L; ++l) z_before[l] = r.z[l], cz_before[l] = r.cz[l];
    const float type = d.SurfType[i];
    if (type == 1.0f || type == 4.0f) {
      SphereLanes(r, m, i, radius, thick, n_before, n_after);
    } else if (type == 2.0f || type == 3.0f) {
      AsphereLanes(r, m, i, radius, thick, n_before, n_after, d.Conic[i], d.AsphA4[i], d.AsphA6[i], d.AsphA8[i]);
    }
    if constexpr (kSumPath) {
      for (int l = 0; l < L; ++l) {
        const double step = n_before * (r.z[l] - z_before[l] + thick) / cz_before[l];
        path[l] = live[l] != 0 ? path[l] + step : path[l];
      }
    }
    bool leave_mirror;
    if (!first_column_mirrors) {
      leave_mirror = Sgn(n_before) != Sgn(n_after) && (d.TiltA[i] != 0.0 || !(std::fabs(d.TiltB[i]) <= 0.5));
    } else {
      const double w1_before = i == 1 ? 1.0 : d.IndexWl[1][i - 1];
      leave_mirror = Sgn(w1_before) != Sgn(d.IndexWl[1][i]) && (d.TiltA[i] != 0.0 || d.TiltB[i] != 0.0);
    }
    if (leave_mirror) LeaveMirrorLanes(r, live, d, i);
    if (test_aperture) {
      const double semi = d.SemiDiam[i];
      const double limit = semi + margin;
      const bool vignetting = type < 4.0f;
      const bool screen = type == 4.0f;
      for (int l = 0; l < L; ++l) {
        const double rho2 = r.x[l] * r.x[l] + r.y[l] * r.y[l];
        bool stopped = false;
        if (vignetting) stopped = limit < 0.0 || rho2 > limit * limit;
        else if (screen) stopped = semi > 0.0 && rho2 < semi * semi;  // an opaque central disc
        const bool marks = live[l] != 0 && t.Vignetted[l] == 0 && stopped;
        t.Vignetted[l] = marks ? 1 : t.Vignetted[l];
        t.VignSurf[l] = marks ? i : t.VignSurf[l];
        if (stopped_ends) {
          t.Ended[l] = marks ? 1 : t.Ended[l];
          live[l] = marks ? 0 : live[l];
        }
      }
    }
    n_before = n_after;
    thick = d.Thickness[i];
  }
  Store(r, t);
  for (int l = 0; l < L; ++l) t.Path[l] = path[l];
}

OVRIN_LANES void ImageImpl(BundleTracer& t, const SurfTable& index, double image_distance, double focal_radius) {
  const DesignState& d = t.design();
  const int image = d.SurfCount + 1;
  const double n_last = index[d.SurfCount];
  Lanes r = Load(t);
  const Marks m = MarksOf(t);
  EnterFrameLanes(r, t.Live, d, image, image_distance);
  if (focal_radius == 0.0)
    PlaneLanes(r, m, image, image_distance, n_last, n_last);
  else
    SphereLanes(r, m, image, focal_radius, image_distance, n_last, n_last);
  Store(r, t);
}

// The code paths: the same source compiled for the baseline instruction set
// and for the wider vector units, chosen at run time.
#define OVRIN_BUNDLE_PATH(SUFFIX, TARGET)                                                                \
  TARGET void Start##SUFFIX(BundleTracer& t) { StartImpl(t); }                                          \
  TARGET void Surfaces##SUFFIX(BundleTracer& t, const SurfTable& index, const SurfaceLoopPolicy& p) {     \
    if (p.sumPath)                                                                                      \
      SurfacesImpl<true>(t, index, p);                                                                  \
    else                                                                                                \
      SurfacesImpl<false>(t, index, p);                                                                 \
  }                                                                                                     \
  TARGET void Image##SUFFIX(BundleTracer& t, const SurfTable& index, double distance, double radius) {   \
    ImageImpl(t, index, distance, radius);                                                              \
  }

OVRIN_BUNDLE_PATH(Baseline, )
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define OVRIN_BUNDLE_X86 1
OVRIN_BUNDLE_PATH(Avx2, __attribute__((target("avx2"))))
OVRIN_BUNDLE_PATH(Avx512, __attribute__((target("avx512f"))))
#endif

struct PathTable {
  void (*start)(BundleTracer&);
  void (*surfaces)(BundleTracer&, const SurfTable&, const SurfaceLoopPolicy&);
  void (*image)(BundleTracer&, const SurfTable&, double, double);
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
  Current().table.image(*this, *index_, image_distance, focal_radius);
}

void BundleTracer::TraceRays(const double* px, const double* py, int n, const SurfaceLoopPolicy& policy,
                             double image_distance) {
  StartRays(px, py, n);
  TraceSurfaces(policy);
  TraceToImage(image_distance);
}

}  // namespace ovrin
