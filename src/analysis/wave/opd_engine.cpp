#include "analysis/wave/opd_engine.h"

#include <cmath>

namespace ovrin {

namespace {

inline void RequireFinite(double v, int surface) {
  if (!std::isfinite(v)) throw TraceError(surface, TraceFault::NonFinite);
}

}  // namespace

double WaveGrid::Y(int row) const {
  const double y = rowY[row];
  return std::fabs(y) < 0.005 ? 5e-07 : y;
}

WaveGrid BuildWaveGrid(double a, int div) {
  WaveGrid g;
  g.div = div;
  const double s = std::fabs(a / div);
  if (!(s > 0) || !std::isfinite(s)) return g;
  // Rows from the top of the pupil down, columns from the left; the small
  // allowances keep the last row and column against rounding of the steps.
  for (double y = a - s / 2; y >= -a - 1e-05; y -= s) g.rowY.push_back(y);
  const double x0 = -(a - s / 2);
  const double span = std::fabs(2 * (a - s / 2)) + 1e-05;
  for (double x = x0; x - x0 <= span; x += s) g.colX.push_back(x);
  g.rows = static_cast<int>(g.rowY.size());
  g.cols = static_cast<int>(g.colX.size());
  return g;
}

double ParaxialExitPupil(const DesignState& d, const SurfTable& index, double y1, double u1) {
  const int m = d.SurfCount;
  double y = y1, u = u1;
  double y_last = y1;
  for (int i = 1; i <= m; ++i) {
    const double n0 = i == 1 ? 1.0 : index[i - 1];
    const double n1 = index[i];
    y_last = y;
    u = n0 * u / n1 - (n1 - n0) * y / (n1 * d.Radius[i]);
    y = y + d.Thickness[i] * u;
    RequireFinite(u, i);
  }
  const double zxp = -y_last / u;
  RequireFinite(zxp, m);
  return zxp;
}

bool WavelengthInUse(const DesignState& d, int k) { return k == 1 || (k >= 2 && k <= 6 && d.IndexWl[k][1] != 0); }

OpdEngine::OpdEngine(const DesignState& d, const OpdRun& run)
    : design_(d), run_(run), tracer_(d), bundle_(d), a_(d.EntrBeamSemiDiam) {
  const int k = run.wavelength >= 1 && run.wavelength <= 6 ? run.wavelength : 1;
  if (run.indexTable) {
    n_ = *run.indexTable;
    n_[0] = 1.0;
    if (run.width == IndexWidth::Single)
      for (double& v : n_) v = static_cast<double>(static_cast<float>(v));
  } else {
    n_ = PrivateIndexTable(d, k, run.width);
  }
  const double microns = run.wavelengthMicrons ? *run.wavelengthMicrons : static_cast<double>(d.Wavelength[k - 1]);
  WaveLenMm = microns / 1000;

  chiefPolicy_.indexTable = &n_;
  chiefPolicy_.testAperture = false;
  chiefPolicy_.sumPath = true;
  chiefPolicy_.mirrorTest = MirrorTest::AnyTiltFirstColumn;
  rayPolicy_ = chiefPolicy_;
  rayPolicy_.testAperture = true;
  rayPolicy_.apertureMargin = 0.1;
  rayPolicy_.stoppedRayEnds = true;
}

double OpdEngine::Start(double x, double y) {
  const DesignState& d = design_;
  tracer_.RayX = x;
  tracer_.RayY = y;
  tracer_.RayZ = 0;
  tracer_.StartRay();
  if (d.ObjDistance == 0) return 0;
  const double dy = tracer_.RayY - tracer_.ObjHeight;
  return std::sqrt(tracer_.RayX * tracer_.RayX + dy * dy + d.ObjDistance * d.ObjDistance);
}

double OpdEngine::ToSphere() {
  const Tracer& t = tracer_;
  const double ray[6] = {t.RayX, t.RayY, t.RayZ, t.RayCosX, t.RayCosY, t.RayCosZ};
  return ToSphereOf(ray, true);
}

void OpdEngine::SphereDistances(const BundleTracer& b, double* len, int64_t* miss) const {
  // ToSphereOf on every lane side by side, without its checks: miss is 1
  // where it finds no root, 2 where L is not finite.
  const double zs = Zs();
  const bool plus = run_.actualBfl < Zxp;
  for (int l = 0; l < kBundleLanes; ++l) {
    const double z_last = b.Z[l], cz_last = b.CosZ[l];
    const double cx = b.CosX[l], cy = b.CosY[l], cz = b.CosZ[l];
    const double x = b.X[l] + (cx / cz) * (Zxp - z_last);
    const double y = b.Y[l] + (cy / cz) * (Zxp - z_last);
    const double qa = cx * cx + cy * cy + cz * cz;
    const double qb = 2 * cx * (x - Xc) + 2 * cy * (y - Yc) - 2 * cz * zs;
    const double qc = x * x + y * y - 2 * Yc * y - 2 * Xc * x;
    const double disc = qb * qb - 4 * qa * qc;
    const double root = std::sqrt(disc);
    const double s = plus ? (-qb + root) / (2 * qa) : (-qb - root) / (2 * qa);
    const double l_ray = (Zxp - z_last) / cz_last + s;
    len[l] = l_ray;
    miss[l] = disc < 0 ? 1 : (l_ray - l_ray == 0.0 ? 0 : 2);
  }
}

double OpdEngine::ToSphereOf(const double ray[6], bool keep) {
  const double z_last = ray[2], cz_last = ray[5];
  const double cx = ray[3], cy = ray[4], cz = ray[5];
  const double x = ray[0] + (cx / cz) * (Zxp - z_last);
  const double y = ray[1] + (cy / cz) * (Zxp - z_last);
  const double zs = Zs();
  const double qa = cx * cx + cy * cy + cz * cz;
  const double qb = 2 * cx * (x - Xc) + 2 * cy * (y - Yc) - 2 * cz * zs;
  const double qc = x * x + y * y - 2 * Yc * y - 2 * Xc * x;
  const double disc = qb * qb - 4 * qa * qc;
  const int image = design_.SurfCount + 1;
  if (disc < 0) throw TraceError(image, TraceFault::MissedSurface);
  // The image side of the pupil plane picks the root.
  const double s = run_.actualBfl < Zxp ? (-qb + std::sqrt(disc)) / (2 * qa) : (-qb - std::sqrt(disc)) / (2 * qa);
  const double l = (Zxp - z_last) / cz_last + s;
  RequireFinite(l, image);
  if (keep) {
    lastX = x, lastY = y, lastZ = z_last;
    lastCosX = cx, lastCosY = cy, lastCosZ = cz;
    lastS = s;
  }
  return l;
}

void OpdEngine::ChiefReference(std::optional<double> fixed_zxp) {
  const DesignState& d = design_;
  const bool infinite = d.ObjDistance == 0;
  const double A = run_.field ? run_.fieldAngleY : 0.0;
  const double B = run_.field ? run_.fieldAngleX : 0.0;
  if (!run_.field && infinite) {
    cZ = 1, cY = 0, cX = 0;
  } else {
    const double D = std::sqrt(std::cos(A) * std::cos(A) + std::cos(B) * std::cos(B) * std::sin(A) * std::sin(A));
    cZ = std::cos(A) * std::cos(B) / D;
    cY = std::sin(A) * std::cos(B) / D;
    cX = std::cos(A) * std::sin(B) / D;
  }
  const double h = run_.objHeight;

  // The paraxial exit pupil of the run's wavelength.
  if (fixed_zxp) {
    Zxp = *fixed_zxp;
  } else {
    const double entr_y = run_.field ? run_.entrPupilY.value_or(d.EntrPupilY) : 0.0;
    double y1 = 0, u1 = 0;
    if (infinite) {
      y1 = d.EntrPupilZ == 0 ? 0.0 : entr_y;
      const bool take_x = run_.yAngleOnTie ? std::fabs(B) > std::fabs(A) : std::fabs(B) >= std::fabs(A);
      u1 = std::tan(take_x ? B : A);
    } else if (d.EntrPupilZ == 0) {
      y1 = 0;
      u1 = h / (-d.ObjDistance);
    } else {
      y1 = entr_y;
      u1 = (y1 - h) / d.ObjDistance;
    }
    if (u1 == 0) u1 = run_.zeroSlope;
    Zxp = ParaxialExitPupil(d, n_, y1, u1);
  }

  // The chief ray with its path, then on to the image surface.
  tracer_.FieldCosZ = cZ, tracer_.FieldCosY = cY, tracer_.FieldCosX = cX;
  tracer_.ObjHeight = h;
  Dc = Start(0, 0);
  tracer_.TraceSurfaces(chiefPolicy_);
  Pc = tracer_.RayPath;
  Tracer& t = tracer_;
  const double at_last[6] = {t.RayX, t.RayY, t.RayZ, t.RayCosX, t.RayCosY, t.RayCosZ};
  tracer_.TraceToImage(run_.actualBfl, run_.focalRadius);
  const double T = d.TiltA[d.SurfCount + 1];
  const double U = d.TiltB[d.SurfCount + 1];
  Zc0 = tracer_.RayY * std::sin(T) + tracer_.RayZ;
  Yc = tracer_.RayY * std::cos(T);
  Xc = tracer_.RayX * std::cos(U);
  t.RayX = at_last[0], t.RayY = at_last[1], t.RayZ = at_last[2];
  t.RayCosX = at_last[3], t.RayCosY = at_last[4], t.RayCosZ = at_last[5];
  Lc = ToSphere();
}

double OpdEngine::RayOpdMm(double xg, double yg) {
  const DesignState& d = design_;
  if (xg * xg + yg * yg > a_ * a_ + 0.0001) return 0;
  const double dist = Start(xg, yg);
  tracer_.TraceSurfaces(rayPolicy_);
  if (tracer_.RayVignetted) return 0;
  const double p = tracer_.RayPath;
  const double l = ToSphere();
  double opd = (Pc - p) + n_[d.SurfCount] * (Lc - l);
  if (d.ObjDistance == 0) {
    if (run_.field) opd = opd - std::sin(run_.fieldAngleY) * yg - std::sin(run_.fieldAngleX) * xg;
  } else {
    opd = opd + (Dc - dist);
  }
  RequireFinite(opd, d.SurfCount + 1);
  return opd;
}

double OpdEngine::RayOpd(double xg, double yg) { return RayOpdMm(xg, yg) / WaveLenMm; }

void OpdEngine::RayOpds(const double* xg, const double* yg, int n, double* w) {
  const DesignState& d = design_;
  BundleTracer& b = bundle_;
  b.FieldCosZ = tracer_.FieldCosZ, b.FieldCosY = tracer_.FieldCosY, b.FieldCosX = tracer_.FieldCosX;
  b.ObjHeight = tracer_.ObjHeight;
  const double limit = a_ * a_ + 0.0001;
  // The tilt of the field's plane wave, the same for every point.
  const double sin_y = std::sin(run_.fieldAngleY), sin_x = std::sin(run_.fieldAngleX);
  double px[kBundleLanes], py[kBundleLanes], dist[kBundleLanes], len[kBundleLanes];
  int64_t miss[kBundleLanes];
  int j = 0;
  while (j < n) {
    // The next points inside the pupil, one to a lane; those outside are 0.
    int lanes = 0, end = j;
    for (; end < n && lanes < kBundleLanes; ++end) {
      if (xg[end] * xg[end] + yg[end] * yg[end] > limit) continue;
      px[lanes] = xg[end];
      py[lanes] = yg[end];
      ++lanes;
    }
    if (lanes > 0) {
      b.StartRays(px, py, lanes);
      for (int l = 0; l < lanes; ++l) {
        // As Start: from the object point to where the ray starts on the first vertex plane.
        const double dy = b.Y[l] - b.ObjHeight;
        dist[l] = d.ObjDistance == 0 ? 0.0 : std::sqrt(b.X[l] * b.X[l] + dy * dy + d.ObjDistance * d.ObjDistance);
      }
      b.TraceSurfaces(rayPolicy_);
      SphereDistances(b, len, miss);
    }
    for (int l = 0; j < end; ++j) {
      if (xg[j] * xg[j] + yg[j] * yg[j] > limit) {
        w[j] = 0;
        continue;
      }
      const int lane = l++;
      if (b.Failed[lane]) throw b.ErrorOf(lane);
      if (b.Vignetted[lane]) {
        w[j] = 0;
        continue;
      }
      const double p = b.Path[lane];
      if (miss[lane] != 0) {
        // As ToSphere: the ray misses the reference sphere, or a value overflows.
        throw TraceError(d.SurfCount + 1, miss[lane] == 1 ? TraceFault::MissedSurface : TraceFault::NonFinite);
      }
      double opd = (Pc - p) + n_[d.SurfCount] * (Lc - len[lane]);
      if (d.ObjDistance == 0) {
        if (run_.field) opd = opd - sin_y * yg[j] - sin_x * xg[j];
      } else {
        opd = opd + (Dc - dist[lane]);
      }
      RequireFinite(opd, d.SurfCount + 1);
      w[j] = opd / WaveLenMm;
    }
  }
}

float AutoFocusOpd(const DesignState& d, int k, double bfl) {
  OpdRun run;
  run.wavelength = k;
  run.width = IndexWidth::Single;
  run.actualBfl = bfl;
  run.focalRadius = 0;
  run.field = false;
  run.objHeight = 0.01;
  run.zeroSlope = 0.1;
  OpdEngine e(d, run);
  e.ChiefReference();
  const WaveGrid g = BuildWaveGrid(d.EntrBeamSemiDiam, 16);
  std::vector<double> xs, ys;
  xs.reserve(g.rows * g.cols);
  ys.reserve(g.rows * g.cols);
  const double zs = e.Zs();
  const double n_last = e.lastIndex();
  for (int r = 0; r < g.rows; ++r) {
    for (int c = 0; c < g.cols; ++c) {
      const double y = e.RayOpdMm(g.X(c), g.Y(r));
      if (y == 0) continue;
      // How the path to the sphere changes as its centre moves along the axis.
      const double x = -(n_last * e.lastCosZ * e.lastS) /
                       (e.lastCosY * e.lastY + e.lastCosX * e.lastX + (e.lastZ - zs) * e.lastCosZ);
      xs.push_back(x);
      ys.push_back(y);
    }
  }
  const double count = static_cast<double>(xs.size());
  double mx = 0, my = 0;
  for (size_t i = 0; i < xs.size(); ++i) mx += xs[i], my += ys[i];
  mx /= count, my /= count;
  double sxx = 0, sxy = 0;
  for (size_t i = 0; i < xs.size(); ++i) {
    sxx += (xs[i] - mx) * (xs[i] - mx);
    sxy += (xs[i] - mx) * (ys[i] - my);
  }
  const double shift = -sxy / sxx;
  RequireFinite(shift, 0);
  return static_cast<float>(shift);
}

}  // namespace ovrin
