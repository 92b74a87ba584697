#include "analysis/geometric/geometric_family.h"
#include "analysis/geometric/spot_diagram.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <sstream>

#include "analysis/wave/opd_engine.h"
#include "analysis/wave/versus.h"
#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

namespace {

bool AtInfinity(double d) { return d == 0.0; }

// Aims the tracer at a field point.
void AimField(const DesignState& d, const FamilySettings& s, double field, double field_x, Tracer& t) {
  if (!AtInfinity(d.ObjDistance)) {
    t.ObjHeight = field * s.objectHeight;
    t.FieldCosZ = 1, t.FieldCosY = 0, t.FieldCosX = 0;
    return;
  }
  const FieldDirection f = FieldDirectionOf(field * s.angleYDeg * kDegree, field_x * s.angleYDeg * kDegree);
  t.FieldCosZ = f.cosZ;
  t.FieldCosY = f.cosY;
  t.FieldCosX = f.cosX;
  t.ObjHeight = 0;
}

SurfaceLoopPolicy PolicyOf(const BundleRun& run) {
  SurfaceLoopPolicy p;
  p.wavelength = run.wavelength;
  p.indexTable = run.indexTable;
  p.testAperture = true;
  p.apertureMargin = 0.1;
  p.stoppedRayEnds = true;
  return p;
}

const Rgb kCurveColors[6] = {{0, 0, 200}, {200, 0, 0}, {0, 140, 0}, {200, 120, 0}, {140, 0, 160}, {0, 150, 150}};

Rgb WlColorOr(const DesignState& d, int k) {
  const Rgb c = d.WlColor[k];
  return c.IsZero() ? kCurveColors[(k - 1) % 6] : c;
}

std::string WlName(const DesignState& d, int k) { return FormatFixed(d.Wavelength[k - 1], 4) + " um"; }

// Golden-section search for the minimum of f on [a, b] after a coarse scan.
double MinimiseOn(const std::function<double(double)>& f, double a, double b, double* fmin) {
  constexpr int kScan = 20;
  double best = a, fbest = std::numeric_limits<double>::infinity();
  const double step = (b - a) / kScan;
  for (int i = 0; i <= kScan; ++i) {
    const double x = a + i * step;
    const double v = f(x);
    if (v < fbest) fbest = v, best = x;
  }
  double lo = best - step, hi = best + step;
  constexpr double g = 0.3819660112501051;
  double x1 = lo + g * (hi - lo), x2 = hi - g * (hi - lo);
  double f1 = f(x1), f2 = f(x2);
  for (int it = 0; it < 80 && hi - lo > 1e-7; ++it) {
    if (f1 < f2) {
      hi = x2, x2 = x1, f2 = f1;
      x1 = lo + g * (hi - lo);
      f1 = f(x1);
    } else {
      lo = x1, x1 = x2, f1 = f2;
      x2 = hi - g * (hi - lo);
      f2 = f(x2);
    }
  }
  double x = 0.5 * (lo + hi), fx = f(x);
  if (fbest < fx) x = best, fx = fbest;
  if (fmin) *fmin = fx;
  return x;
}

std::vector<double> Steps(double lo, double hi, int n) {
  std::vector<double> v;
  n = std::max(n, 1);
  for (int i = 0; i <= n; ++i) v.push_back(lo + (hi - lo) * i / n);
  return v;
}

}  // namespace

double ImageDistanceOf(const DesignState& d, const FamilySettings& s) {
  return s.actualBfl != 0 ? s.actualBfl : d.Bfl;
}

std::vector<int> CheckedWavelengths(const DesignState& d, const FamilySettings& s) {
  std::vector<int> k;
  for (int i = 1; i <= 6; ++i)
    if (s.checked[i - 1] && WavelengthInUse(d, i)) k.push_back(i);
  if (k.empty()) k.push_back(1);
  return k;
}

double WorkingFNumber(const DesignState& d) {
  if (d.ObjDistance == 0.0) return d.EntrBeamSemiDiam > 0 ? std::fabs(d.Efl) / (2 * d.EntrBeamSemiDiam) : 0;
  return d.ImageNA > 0 ? 1 / (2.0 * d.ImageNA) : 0;
}

Bundle TraceBundle(const DesignState& d, const FamilySettings& s, const BundleRun& run) {
  Bundle b;
  Tracer t(d);
  AimField(d, s, run.field, run.fieldX, t);
  const SurfaceLoopPolicy policy = PolicyOf(run);
  const double dist = ImageDistanceOf(d, s) + run.focusShift;
  SurfaceLoopPolicy chief = policy;
  chief.testAperture = false;
  t.RayX = t.RayY = 0;
  t.StartRay();
  t.TraceSurfaces(chief);
  t.TraceToImage(dist);
  b.chiefX = t.RayX;
  b.chiefY = t.RayY;

  const double a = d.EntrBeamSemiDiam;
  const int n = std::max(1, s.div);
  const double step = a / n;
  for (int iy = -n; iy <= n; ++iy) {
    for (int ix = -n; ix <= n; ++ix) {
      const double px = ix * step, py = iy * step;
      if (px * px + py * py > a * a * (1 + 1e-9)) continue;
      ++b.traced;
      try {
        t.RayX = px;
        t.RayY = py;
        t.RayZ = 0;
        t.StartRay();
        t.TraceSurfaces(policy);
        if (t.RayVignetted) {
          ++b.stopped;
          continue;
        }
        t.TraceToImage(dist);
      } catch (const TraceError&) {
        ++b.stopped;
        continue;
      }
      if (!std::isfinite(t.RayX) || !std::isfinite(t.RayY)) {
        ++b.stopped;
        continue;
      }
      b.hits.push_back({t.RayX, t.RayY, run.weight, run.wavelength, px, py});
    }
  }
  return b;
}

SpotStats StatsOf(const std::vector<RayHit>& hits) {
  SpotStats st;
  double sx = 0, sy = 0;
  for (const RayHit& h : hits) {
    st.weight += h.weight;
    sx += h.weight * h.x;
    sy += h.weight * h.y;
  }
  if (st.weight <= 0) return st;
  st.cx = sx / st.weight;
  st.cy = sy / st.weight;
  double v = 0;
  for (const RayHit& h : hits) {
    const double dx = h.x - st.cx, dy = h.y - st.cy;
    v += h.weight * (dx * dx + dy * dy);
    st.maxRadius = std::max(st.maxRadius, std::hypot(dx, dy));
  }
  st.rms = std::sqrt(v / st.weight);
  return st;
}

namespace {

// The rays of every checked wavelength at one field and focus, the chief ray
// of the first one as reference.
Bundle PolyBundle(const DesignState& d, const FamilySettings& s, double field, double shift,
                  const std::vector<int>& wls) {
  Bundle all;
  bool first = true;
  for (int k : wls) {
    BundleRun run;
    run.wavelength = k;
    run.field = field;
    run.focusShift = shift;
    run.weight = wls.size() > 1 ? std::max(0.0f, d.WlWeight[k]) : 1.0;
    if (wls.size() > 1 && run.weight == 0) run.weight = 1;
    Bundle b = TraceBundle(d, s, run);
    if (first) all.chiefX = b.chiefX, all.chiefY = b.chiefY, first = false;
    all.traced += b.traced;
    all.stopped += b.stopped;
    all.hits.insert(all.hits.end(), b.hits.begin(), b.hits.end());
  }
  return all;
}

// The rays of a field traced once to the last surface; each focus then
// costs one plane intersection a ray. The scans through focus use it.
class FocusScan {
 public:
  FocusScan(const DesignState& d, const FamilySettings& s, double field) : d_(d), s_(s) {
    const std::vector<int> wls = CheckedWavelengths(d, s);
    Tracer t(d);
    AimField(d, s, field, 0, t);
    const double a = d.EntrBeamSemiDiam;
    const int n = std::max(1, s.div);
    const double step = a / n;
    bool first = true;
    for (int k : wls) {
      BundleRun run;
      run.wavelength = k;
      const SurfaceLoopPolicy policy = PolicyOf(run);
      double w = wls.size() > 1 ? std::max(0.0f, d.WlWeight[k]) : 1.0;
      if (wls.size() > 1 && w == 0) w = 1;
      if (first) {
        SurfaceLoopPolicy chief = policy;
        chief.testAperture = false;
        t.RayX = t.RayY = 0;
        t.StartRay();
        t.TraceSurfaces(chief);
        chief_ = Save(t, 0, 0, 1, k);
        first = false;
      }
      for (int iy = -n; iy <= n; ++iy)
        for (int ix = -n; ix <= n; ++ix) {
          const double px = ix * step, py = iy * step;
          if (px * px + py * py > a * a * (1 + 1e-9)) continue;
          ++traced_;
          try {
            t.RayX = px, t.RayY = py, t.RayZ = 0;
            t.StartRay();
            t.TraceSurfaces(policy);
          } catch (const TraceError&) {
            ++stopped_;
            continue;
          }
          if (t.RayVignetted) {
            ++stopped_;
            continue;
          }
          rays_.push_back(Save(t, px, py, w, k));
        }
    }
  }

  Bundle At(double shift) const {
    Bundle b;
    b.traced = traced_;
    b.stopped = stopped_;
    Tracer t(d_);
    const double dist = ImageDistanceOf(d_, s_) + shift;
    Land(t, chief_, dist);
    b.chiefX = t.RayX, b.chiefY = t.RayY;
    for (const State& r : rays_) {
      try {
        Land(t, r, dist);
      } catch (const TraceError&) {
        ++b.stopped;
        continue;
      }
      if (!std::isfinite(t.RayX) || !std::isfinite(t.RayY)) {
        ++b.stopped;
        continue;
      }
      b.hits.push_back({t.RayX, t.RayY, r.w, r.wl, r.px, r.py});
    }
    return b;
  }

 private:
  struct State {
    double x, y, z, cx, cy, cz, px, py, w;
    int wl;
  };
  static State Save(const Tracer& t, double px, double py, double w, int wl) {
    return {t.RayX, t.RayY, t.RayZ, t.RayCosX, t.RayCosY, t.RayCosZ, px, py, w, wl};
  }
  void Land(Tracer& t, const State& r, double dist) const {
    t.RayX = r.x, t.RayY = r.y, t.RayZ = r.z;
    t.RayCosX = r.cx, t.RayCosY = r.cy, t.RayCosZ = r.cz;
    t.SetWavelength(r.wl);
    t.TraceToImage(dist);
  }
  const DesignState& d_;
  const FamilySettings& s_;
  State chief_{};
  std::vector<State> rays_;
  int traced_ = 0, stopped_ = 0;
};

}  // namespace

double PolychromaticRms(const DesignState& d, const FamilySettings& s, double field, double shift,
                        const SpotStats* out) {
  const Bundle b = PolyBundle(d, s, field, shift, CheckedWavelengths(d, s));
  const SpotStats st = StatsOf(b.hits);
  if (out) *const_cast<SpotStats*>(out) = st;
  if (b.hits.empty()) return std::numeric_limits<double>::infinity();
  return st.rms;
}

// ---------------------------------------------------------------------------
// spot families

SpotFamilyResult ComputeSpotFamily(const DesignState& d, const FamilySettings& s, const SpotFamilySettings& f) {
  SpotFamilyResult r;
  const std::vector<int> wls = CheckedWavelengths(d, s);
  auto cell = [&](double field, double shift, const std::vector<int>& k, std::string title) {
    const Bundle b = PolyBundle(d, s, field, shift, k);
    SpotCell c;
    c.title = std::move(title);
    c.field = field;
    c.focusShift = shift;
    c.wl = k.size() == 1 ? k[0] : 0;
    c.chiefX = b.chiefX;
    c.chiefY = b.chiefY;
    c.hits = b.hits;
    c.stats = StatsOf(b.hits);
    const double lambda = (k.size() == 1 ? d.Wavelength[k[0] - 1] : d.Wavelength[0]) / 1000.0;
    c.airyRadius = 1.22 * lambda * WorkingFNumber(d);
    return c;
  };
  try {
    if (f.family == SpotFamily::Multi) {
      r.rows = 2;
      r.cols = 5;
      for (int i = -2; i <= 2; ++i) {
        const double shift = i * f.focusStep;
        r.cells.push_back(cell(0, shift, wls, "Focus " + FormatFixed(shift, 3)));
      }
      for (double fld : f.fields) r.cells.push_back(cell(fld, 0, wls, "Field " + FormatFixed(fld, 2)));
    } else if (f.family == SpotFamily::Matrix) {
      r.rows = static_cast<int>(f.fields.size());
      r.cols = static_cast<int>(wls.size());
      for (double fld : f.fields)
        for (int k : wls) r.cells.push_back(cell(fld, 0, {k}, "F " + FormatFixed(fld, 2) + "  " + WlName(d, k)));
    } else {
      r.rows = 1;
      r.cols = static_cast<int>(f.fields.size());
      for (double fld : f.fields) r.cells.push_back(cell(fld, 0, wls, "Field " + FormatFixed(fld, 2)));
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    r.cells.clear();
  }
  return r;
}

// ---------------------------------------------------------------------------
// RMS versus

RmsVersusResult ComputeRmsVersus(const DesignState& d, const FamilySettings& s, const RmsVersusSettings& v) {
  RmsVersusResult r;
  const double fno = WorkingFNumber(d);
  try {
    if (v.scan == RmsScan::Focus) {
      const FocusScan scan(d, s, v.field);
      for (double x : Steps(-v.defocus, v.defocus, v.steps)) {
        const Bundle b = scan.At(x);
        r.x.push_back(x);
        r.rms.push_back(b.hits.empty() ? std::numeric_limits<double>::infinity() : StatsOf(b.hits).rms);
        r.airy.push_back(1.22 * d.Wavelength[0] / 1000.0 * fno);
      }
      r.plot.xTitle = "Focus shift (mm)";
    } else if (v.scan == RmsScan::Field) {
      for (double x : Steps(0, 1, v.steps)) {
        r.x.push_back(x);
        r.rms.push_back(PolychromaticRms(d, s, x, 0));
        r.airy.push_back(1.22 * d.Wavelength[0] / 1000.0 * fno);
      }
      r.plot.xTitle = "Field (fraction of full field)";
    } else {
      for (double x : Steps(v.shortWl, v.longWl, v.steps)) {
        const SurfTable n = IndicesAtWavelength(d, 1, x);
        BundleRun run;
        run.indexTable = &n;
        run.field = v.field;
        const Bundle b = TraceBundle(d, s, run);
        r.x.push_back(x);
        r.rms.push_back(b.hits.empty() ? 0 : StatsOf(b.hits).rms);
        r.airy.push_back(1.22 * x / 1000 * fno);
      }
      r.plot.xTitle = "Wavelength (um)";
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.yTitle = "RMS radius (mm)";
  r.plot.curves.push_back({"RMS radius", {0, 0, 200}, r.x, r.rms});
  r.plot.curves.push_back({"Airy radius", {200, 0, 0}, r.x, r.airy});
  r.plot.yMin = 0;
  return r;
}

// ---------------------------------------------------------------------------
// distortion

namespace {

double ChiefHeightAt(const DesignState& d, const FamilySettings& s, double field, double field_x, int k,
                     double* x_out = nullptr) {
  BundleRun run;
  run.wavelength = k;
  run.field = field;
  run.fieldX = field_x;
  Tracer t(d);
  AimField(d, s, field, field_x, t);
  SurfaceLoopPolicy p = PolicyOf(run);
  p.testAperture = false;
  t.RayX = t.RayY = 0;
  t.StartRay();
  t.TraceSurfaces(p);
  t.TraceToImage(ImageDistanceOf(d, s));
  if (x_out) *x_out = t.RayX;
  return t.RayY;
}

// The paraxial image height of a field fraction: f tan(theta) at infinity,
// magnification times object height for a finite object (the magnification
// from a chief ray very near the axis).
double ParaxialHeight(const DesignState& d, const FamilySettings& s, double field, double field_x = 0,
                      double* x_out = nullptr) {
  if (AtInfinity(d.ObjDistance)) {
    // The sign of the image follows the chief ray near the axis.
    const double eps = 1e-5;
    const double sign = ChiefHeightAt(d, s, eps, 0, 1) * std::tan(eps * s.angleYDeg * kDegree) >= 0 ? 1 : -1;
    const double fl = sign * std::fabs(d.Efl);
    if (x_out) *x_out = fl * std::tan(field_x * s.angleYDeg * kDegree);
    return fl * std::tan(field * s.angleYDeg * kDegree);
  }
  const double eps = 1e-5;
  const double m = ChiefHeightAt(d, s, eps, 0, 1) / (eps * s.objectHeight);
  if (x_out) *x_out = 0;
  return m * field * s.objectHeight;
}

}  // namespace

DistortionResult ComputeDistortion(const DesignState& d, const FamilySettings& s, int steps) {
  DistortionResult r;
  try {
    for (double f : Steps(0, 1, steps)) {
      const double real = ChiefHeightAt(d, s, f, 0, 1);
      const double par = ParaxialHeight(d, s, f);
      r.field.push_back(f);
      r.real.push_back(real);
      r.paraxial.push_back(par);
      r.mm.push_back(real - par);
      r.percent.push_back(par != 0 ? (real - par) / par * 100 : 0);
      r.maxPercent = std::max(r.maxPercent, std::fabs(r.percent.back()));
    }
    const int n = r.gridSide;
    const bool infinite = AtInfinity(d.ObjDistance);
    const double full = ParaxialHeight(d, s, 1);
    const double real_full = ChiefHeightAt(d, s, 1, 0, 1);
    for (int iy = 0; iy < n; ++iy) {
      for (int ix = 0; ix < n; ++ix) {
        const double fy = -1 + 2.0 * iy / (n - 1), fx = -1 + 2.0 * ix / (n - 1);
        double px = 0, py = 0, rx = 0, ry = 0;
        if (infinite) {
          py = ParaxialHeight(d, s, fy, fx, &px);
          ry = ChiefHeightAt(d, s, fy, fx, 1, &rx);
        } else {
          // A centred finite system: the radial height at the point's radius.
          const double rad = std::hypot(fx, fy);
          const double h = rad > 0 ? ChiefHeightAt(d, s, rad, 0, 1) / rad : real_full;
          px = fx * full, py = fy * full;
          rx = fx * h, ry = fy * h;
        }
        r.gridParaxial.push_back({px, py});
        r.gridReal.push_back({rx, ry});
      }
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.xTitle = "Field (fraction of full field)";
  r.plot.yTitle = "Distortion (%)";
  r.plot.curves.push_back({"Distortion %", {0, 0, 200}, r.field, r.percent});
  return r;
}

// ---------------------------------------------------------------------------
// lateral colour

LateralColourResult ComputeLateralColour(const DesignState& d, const FamilySettings& s, int steps) {
  LateralColourResult r;
  r.airyRadius = 1.22 * d.Wavelength[0] / 1000.0 * WorkingFNumber(d);
  for (int k : CheckedWavelengths(d, s))
    if (k != 1) r.wavelengths.push_back(k);
  // With nothing to compare, every wavelength in use.
  if (r.wavelengths.empty())
    for (int k = 2; k <= 6; ++k)
      if (WavelengthInUse(d, k)) r.wavelengths.push_back(k);
  try {
    r.field = Steps(0, 1, steps);
    std::vector<double> base;
    for (double f : r.field) base.push_back(ChiefHeightAt(d, s, f, 0, 1));
    for (int k : r.wavelengths) {
      std::vector<double> diff;
      for (std::size_t i = 0; i < r.field.size(); ++i) diff.push_back(ChiefHeightAt(d, s, r.field[i], 0, k) - base[i]);
      r.plot.curves.push_back({WlName(d, k) + " - " + WlName(d, 1), WlColorOr(d, k), r.field, diff});
      r.difference.push_back(std::move(diff));
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.curves.push_back({"+Airy radius", {150, 150, 150}, {0, 1}, {r.airyRadius, r.airyRadius}});
  r.plot.curves.push_back({"-Airy radius", {150, 150, 150}, {0, 1}, {-r.airyRadius, -r.airyRadius}});
  r.plot.xTitle = "Field (fraction of full field)";
  r.plot.yTitle = "Lateral colour (mm)";
  r.plot.yMin = -1.25 * r.airyRadius;
  r.plot.yMax = 1.25 * r.airyRadius;
  return r;
}

// ---------------------------------------------------------------------------
// chromatic focal shift

double ParaxialFocus(const DesignState& d, const SurfTable& index) {
  // A ray very near the axis, carried to two image planes; the focus is where
  // the line through both crosses the axis.
  FamilySettings s;
  Tracer t(d);
  t.FieldCosZ = 1, t.FieldCosY = 0, t.FieldCosX = 0;
  t.ObjHeight = 0;
  SurfaceLoopPolicy p;
  p.indexTable = &index;
  p.testAperture = false;
  const double h = 1e-4 * d.EntrBeamSemiDiam;
  const double d0 = d.Bfl;
  const double step = std::max(1.0, 0.01 * std::fabs(d.Bfl));
  auto height = [&](double dist) {
    t.RayX = 0;
    t.RayY = h;
    t.StartRay();
    t.TraceSurfaces(p);
    t.TraceToImage(dist);
    return t.RayY;
  };
  const double y0 = height(d0), y1 = height(d0 + step);
  if (y1 == y0) throw TraceError(d.SurfCount + 1, TraceFault::NonFinite);
  return d0 - y0 * step / (y1 - y0);
}

FocalShiftResult ComputeFocalShift(const DesignState& d, const FamilySettings& s, const FocalShiftSettings& f) {
  FocalShiftResult r;
  (void)s;
  try {
    r.reference = ParaxialFocus(d, IndicesAtWavelength(d, 1, d.Wavelength[0]));
    double lo = 1e300, hi = -1e300;
    for (double w : Steps(f.shortWl, f.longWl, f.steps)) {
      const double focus = ParaxialFocus(d, IndicesAtWavelength(d, 1, w));
      r.wavelength.push_back(w);
      r.focus.push_back(focus);
      r.shift.push_back(focus - r.reference);
      lo = std::min(lo, focus);
      hi = std::max(hi, focus);
    }
    r.spread = hi - lo;
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.xTitle = "Wavelength (um)";
  r.plot.yTitle = "Focal shift (mm)";
  r.plot.curves.push_back({"Focal shift", {0, 0, 200}, r.wavelength, r.shift});
  return r;
}

std::string CfsText(const FocalShiftResult& r, const std::string& title, double focal_box) {
  std::ostringstream o;
  o.precision(10);
  o << '"' << title << "\"," << r.reference << ',' << std::fabs(focal_box) << "\r\n";
  for (std::size_t i = 0; i < r.wavelength.size(); ++i) o << r.wavelength[i] << ',' << r.shift[i] << "\r\n";
  return o.str();
}

// ---------------------------------------------------------------------------
// encircled energy

double DiffractionEncircled(double r, double lambda_mm, double fnumber) {
  if (r <= 0) return 0;
  const double v = kPi * r / (lambda_mm * fnumber);
  const double j0 = std::cyl_bessel_j(0.0, v), j1 = std::cyl_bessel_j(1.0, v);
  return 1 - j0 * j0 - j1 * j1;
}

double RadiusHolding(const std::vector<RayHit>& hits, double cx, double cy, double q, bool square) {
  std::vector<std::pair<double, double>> rw;
  double total = 0;
  for (const RayHit& h : hits) {
    const double dx = h.x - cx, dy = h.y - cy;
    rw.emplace_back(square ? std::max(std::fabs(dx), std::fabs(dy)) : std::hypot(dx, dy), h.weight);
    total += h.weight;
  }
  std::sort(rw.begin(), rw.end());
  double acc = 0;
  for (const auto& [rad, w] : rw) {
    acc += w;
    if (acc >= q * total - 1e-12 * total) return rad;
  }
  return rw.empty() ? 0 : rw.back().first;
}

EnergyResult ComputeEncircledEnergy(const DesignState& d, const FamilySettings& s, const EnergySettings& e) {
  EnergyResult r;
  Bundle b;
  try {
    b = PolyBundle(d, s, e.field, 0, CheckedWavelengths(d, s));
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  if (b.hits.empty()) {
    r.error = kRayTraceError;
    return r;
  }
  const SpotStats st = StatsOf(b.hits);
  const double lambda = d.Wavelength[0] / 1000.0, fno = WorkingFNumber(d);
  r.airyRadius = 1.22 * lambda * fno;
  const double qs[3] = {0.5, 0.8, 0.9};
  for (int i = 0; i < 3; ++i) {
    r.centroidRadii[i] = RadiusHolding(b.hits, st.cx, st.cy, qs[i]);
    r.chiefRadii[i] = RadiusHolding(b.hits, b.chiefX, b.chiefY, qs[i]);
    r.ensquaredRadii[i] = RadiusHolding(b.hits, st.cx, st.cy, qs[i], true);
  }
  double top = 0;
  for (const RayHit& h : b.hits) top = std::max(top, std::hypot(h.x - b.chiefX, h.y - b.chiefY));
  top = std::max({top, st.maxRadius, 3 * r.airyRadius}) * 1.05;
  std::vector<double> dc, dh, dq;
  for (const RayHit& h : b.hits) {
    dc.push_back(std::hypot(h.x - st.cx, h.y - st.cy));
    dh.push_back(std::hypot(h.x - b.chiefX, h.y - b.chiefY));
    dq.push_back(std::max(std::fabs(h.x - st.cx), std::fabs(h.y - st.cy)));
  }
  for (double rad : Steps(0, top, e.samples)) {
    double wc = 0, wh = 0, wq = 0;
    for (std::size_t i = 0; i < b.hits.size(); ++i) {
      const double w = b.hits[i].weight;
      if (dc[i] <= rad) wc += w;
      if (dh[i] <= rad) wh += w;
      if (dq[i] <= rad) wq += w;
    }
    r.radius.push_back(rad);
    r.centroid.push_back(wc / st.weight);
    r.chief.push_back(wh / st.weight);
    r.ensquared.push_back(wq / st.weight);
    r.diffraction.push_back(DiffractionEncircled(rad, lambda, fno));
  }
  r.plot.xTitle = "Radius (mm)";
  r.plot.yTitle = "Energy fraction";
  r.plot.yMin = 0;
  r.plot.yMax = 1;
  r.plot.curves.push_back({"Encircled (centroid)", {0, 0, 200}, r.radius, r.centroid});
  r.plot.curves.push_back({"Encircled (chief ray)", {0, 140, 0}, r.radius, r.chief});
  r.plot.curves.push_back({"Ensquared (half width)", {200, 120, 0}, r.radius, r.ensquared});
  r.plot.curves.push_back({"Diffraction limit", {200, 0, 0}, r.radius, r.diffraction});
  return r;
}

// ---------------------------------------------------------------------------
// geometric PSF

GeoPsfResult ComputeGeometricPsf(const DesignState& d, const FamilySettings& s, const GeoPsfSettings& p) {
  GeoPsfResult r;
  Bundle b;
  try {
    b = PolyBundle(d, s, p.field, 0, CheckedWavelengths(d, s));
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  if (b.hits.empty()) {
    r.error = kRayTraceError;
    return r;
  }
  const SpotStats st = StatsOf(b.hits);
  r.bins = std::max(3, p.bins);
  r.halfWidth = p.halfWidth > 0 ? p.halfWidth : std::max(1.2 * st.maxRadius, 1e-6);
  r.density.assign(static_cast<std::size_t>(r.bins) * r.bins, 0.0);
  const double cell = 2 * r.halfWidth / r.bins;
  for (const RayHit& h : b.hits) {
    const int c = static_cast<int>(std::floor((h.x - st.cx + r.halfWidth) / cell));
    const int row = static_cast<int>(std::floor((r.halfWidth - (h.y - st.cy)) / cell));
    if (c < 0 || c >= r.bins || row < 0 || row >= r.bins) continue;
    r.density[static_cast<std::size_t>(row) * r.bins + c] += h.weight;
  }
  const double peak = *std::max_element(r.density.begin(), r.density.end());
  if (peak > 0)
    for (double& v : r.density) v /= peak;
  return r;
}

// ---------------------------------------------------------------------------
// geometric MTF

double DiffractionMtf(double nu, double cutoff) {
  if (cutoff <= 0) return 0;
  const double x = std::fabs(nu) / cutoff;
  if (x >= 1) return 0;
  return 2 / kPi * (std::acos(x) - x * std::sqrt(1 - x * x));
}

double GeometricMtfOf(const std::vector<RayHit>& hits, double nu, bool tangential) {
  std::complex<double> sum = 0;
  double w = 0;
  for (const RayHit& h : hits) {
    const double u = tangential ? h.y : h.x;
    sum += h.weight * std::polar(1.0, -2 * kPi * nu * u);
    w += h.weight;
  }
  return w > 0 ? std::abs(sum) / w : 0;
}

namespace {
double Cutoff(const DesignState& d) {
  const double lambda = d.Wavelength[0] / 1000.0, fno = WorkingFNumber(d);
  return lambda > 0 && fno > 0 ? 1 / (lambda * fno) : 0;
}
const char* kFieldNames[3] = {"on axis", "0.7 field", "full field"};
std::string FieldName(double f, std::size_t i) {
  return i < 3 && f == (i == 0 ? 0 : i == 1 ? 0.7 : 1) ? kFieldNames[i] : "field " + FormatFixed(f, 2);
}
}  // namespace

GeoMtfResult ComputeGeometricMtf(const DesignState& d, const FamilySettings& s, const GeoMtfSettings& m) {
  GeoMtfResult r;
  r.cutoff = Cutoff(d);
  r.x = Steps(0, r.cutoff, m.samples);
  for (double nu : r.x) r.diffraction.push_back(DiffractionMtf(nu, r.cutoff));
  try {
    for (std::size_t i = 0; i < m.fields.size(); ++i) {
      const Bundle b = PolyBundle(d, s, m.fields[i], 0, CheckedWavelengths(d, s));
      std::vector<double> t, sg;
      for (std::size_t j = 0; j < r.x.size(); ++j) {
        t.push_back(GeometricMtfOf(b.hits, r.x[j], true) * r.diffraction[j]);
        sg.push_back(GeometricMtfOf(b.hits, r.x[j], false) * r.diffraction[j]);
      }
      r.plot.curves.push_back({"T " + FieldName(m.fields[i], i), kCurveColors[i % 6], r.x, t});
      r.plot.curves.push_back({"S " + FieldName(m.fields[i], i), kCurveColors[(i + 3) % 6], r.x, sg});
      r.tangential.push_back(std::move(t));
      r.sagittal.push_back(std::move(sg));
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.curves.push_back({"Diffraction limit", {0, 0, 0}, r.x, r.diffraction});
  r.plot.xTitle = "Frequency (cycles/mm)";
  r.plot.yTitle = "MTF";
  r.plot.yMin = 0;
  r.plot.yMax = 1;
  return r;
}

GeoMtfResult ComputeGeometricMtfFocus(const DesignState& d, const FamilySettings& s, const GeoMtfSettings& m) {
  GeoMtfResult r;
  r.cutoff = Cutoff(d);
  const double diff = DiffractionMtf(m.frequency, r.cutoff);
  r.x = Steps(-m.defocus, m.defocus, m.focusSteps);
  try {
    for (std::size_t i = 0; i < m.fields.size(); ++i) {
      std::vector<double> t, sg;
      const FocusScan scan(d, s, m.fields[i]);
      for (double shift : r.x) {
        const Bundle b = scan.At(shift);
        t.push_back(GeometricMtfOf(b.hits, m.frequency, true) * diff);
        sg.push_back(GeometricMtfOf(b.hits, m.frequency, false) * diff);
      }
      r.plot.curves.push_back({"T " + FieldName(m.fields[i], i), kCurveColors[i % 6], r.x, t});
      r.plot.curves.push_back({"S " + FieldName(m.fields[i], i), kCurveColors[(i + 3) % 6], r.x, sg});
      r.tangential.push_back(std::move(t));
      r.sagittal.push_back(std::move(sg));
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.xTitle = "Focus shift (mm) at " + FormatFixed(m.frequency, 1) + " cycles/mm";
  r.plot.yTitle = "MTF";
  r.plot.yMin = 0;
  r.plot.yMax = 1;
  return r;
}

// ---------------------------------------------------------------------------
// real rays

RealRayResult ComputeRealRay(const DesignState& d, const FamilySettings& s, const RealRaySettings& rs) {
  RealRayResult r;
  const int k = rs.wavelength >= 1 && rs.wavelength <= 6 ? rs.wavelength : 1;
  const SurfTable& n = d.IndexWl[k];
  DesignState part = d;
  double path_before = 0;
  try {
    for (int i = 1; i <= d.SurfCount + 1; ++i) {
      const bool image = i == d.SurfCount + 1;
      part.SurfCount = static_cast<int16_t>(image ? d.SurfCount : i);
      Tracer t(part);
      AimField(d, s, rs.field, 0, t);
      SurfaceLoopPolicy p;
      p.wavelength = k;
      p.sumPath = true;
      p.testAperture = true;
      t.RayX = rs.pupilX * d.EntrBeamSemiDiam;
      t.RayY = rs.pupilY * d.EntrBeamSemiDiam;
      t.RayZ = 0;
      t.StartRay();
      t.TraceSurfaces(p);
      RealRayRow row;
      row.surface = i;
      row.stopped = t.RayVignetted;
      if (image) {
        const double x0 = t.RayX, y0 = t.RayY, z0 = t.RayZ;
        const double lat = std::hypot(t.RayCosX, t.RayCosY);
        t.TraceToImage(ImageDistanceOf(d, s));
        row.path = lat > 1e-9 ? std::hypot(t.RayX - x0, t.RayY - y0) / lat
                              : std::fabs(ImageDistanceOf(d, s) - z0) / std::max(std::fabs(t.RayCosZ), 1e-300);
      } else {
        const double nb = std::fabs(n[i - 1] == 0 ? 1 : n[i - 1]);
        row.path = std::fabs(t.RayPath - path_before) / (i == 1 ? 1 : nb);
        path_before = t.RayPath;
      }
      row.x = t.RayX, row.y = t.RayY, row.z = t.RayZ;
      row.cosX = t.RayCosX, row.cosY = t.RayCosY, row.cosZ = t.RayCosZ;
      if (!image) {
        // The angle of incidence from the outgoing ray and the surface normal.
        const int type = static_cast<int>(d.SurfType[i]);
        const bool conic = type != kSphere;
        const bool high = type == kHighOrder;
        const double c = d.Radius[i] != 0 ? 1 / d.Radius[i] : 0;
        auto sag = [&](double rad) {
          return SurfaceSag(rad, c, conic ? d.Conic[i] : 0, high ? d.AsphA4[i] : 0, high ? d.AsphA6[i] : 0,
                            high ? d.AsphA8[i] : 0);
        };
        const double rad = std::hypot(row.x, row.y);
        const double h = 1e-6 * std::max(1.0, rad);
        const double slope = (sag(rad + h) - sag(std::max(0.0, rad - h))) / (rad + h - std::max(0.0, rad - h));
        double nx = 0, ny = 0, nz = 1;
        if (rad > 0) nx = -slope * row.x / rad, ny = -slope * row.y / rad;
        const double norm = std::sqrt(nx * nx + ny * ny + nz * nz);
        const double cos_out = std::fabs(row.cosX * nx + row.cosY * ny + row.cosZ * nz) / norm;
        const double out = std::acos(std::min(1.0, cos_out));
        const double n1 = std::fabs(n[i - 1] == 0 ? 1 : n[i - 1]), n2 = std::fabs(n[i]);
        const bool mirror = (n[i - 1] == 0 ? 1 : n[i - 1]) * n[i] < 0;
        double in = out;
        if (!mirror && n1 > 0) in = std::asin(std::min(1.0, n2 / n1 * std::sin(out)));
        row.incidence = in / kDegree;
      }
      r.rows.push_back(row);
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
  }
  std::ostringstream o;
  auto col = [&o](const std::string& v) { o << std::string(v.size() < 12 ? 12 - v.size() : 1, ' ') << v; };
  for (const char* h : {"Surf", "X", "Y", "Z", "cosX", "cosY", "cosZ", "AOI(deg)", "Path"}) col(h);
  o << "\n";
  for (const RealRayRow& row : r.rows) {
    col(row.surface == d.SurfCount + 1 ? std::string("IMA") : FormatFixed(row.surface, 0));
    for (double v : {row.x, row.y, row.z}) col(FormatFixed(v, 6));
    for (double v : {row.cosX, row.cosY, row.cosZ}) col(FormatFixed(v, 7));
    col(FormatFixed(row.incidence, 4));
    col(FormatFixed(row.path, 5));
    if (row.stopped) o << "  vignetted";
    o << "\n";
  }
  r.text = o.str();
  return r;
}

// ---------------------------------------------------------------------------
// vignetting

VignettingResult ComputeVignetting(const DesignState& d, const FamilySettings& s, int steps) {
  VignettingResult r;
  try {
    for (double f : Steps(0, 1, steps)) {
      BundleRun run;
      run.field = f;
      const Bundle b = TraceBundle(d, s, run);
      r.field.push_back(f);
      r.fraction.push_back(b.traced ? static_cast<double>(b.traced - b.stopped) / b.traced : 0);
    }
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.plot.xTitle = "Field (fraction of full field)";
  r.plot.yTitle = "Unvignetted rays (fraction)";
  r.plot.yMin = 0;
  r.plot.yMax = 1.05;
  r.plot.curves.push_back({"Unvignetted", {0, 0, 200}, r.field, r.fraction});
  return r;
}

// ---------------------------------------------------------------------------
// footprint

namespace {
struct FootprintVisit {
  int surface;
  bool hit = false, stopped = false;
  double x = 0, y = 0;
  static void At(void* c, int surface, double x, double y, double, bool stopped) {
    auto* v = static_cast<FootprintVisit*>(c);
    if (surface != v->surface) return;
    v->hit = true;
    v->x = x, v->y = y, v->stopped = stopped;
  }
};
}  // namespace

FootprintResult ComputeFootprint(const DesignState& d, const FamilySettings& s, const FootprintSettings& f) {
  FootprintResult r;
  if (f.surface < 1 || f.surface > d.SurfCount) {
    r.error = kCheckDataError;
    return r;
  }
  r.clearRadius = d.SemiDiam[f.surface];
  const double a = d.EntrBeamSemiDiam;
  const int n = std::max(1, s.div);
  for (double fld : f.fields) {
    std::vector<PlotPoint> pts;
    std::vector<bool> stopped;
    double extent = 0;
    Tracer t(d);
    AimField(d, s, fld, 0, t);
    SurfaceLoopPolicy p;
    p.wavelength = 1;
    p.testAperture = true;
    for (int iy = -n; iy <= n; ++iy) {
      for (int ix = -n; ix <= n; ++ix) {
        const double px = a * ix / n, py = a * iy / n;
        if (px * px + py * py > a * a * (1 + 1e-9)) continue;
        FootprintVisit v{f.surface};
        SurfaceVisit visit{&FootprintVisit::At, &v};
        try {
          t.RayX = px, t.RayY = py, t.RayZ = 0;
          t.StartRay();
          t.TraceSurfaces(p, &visit);
        } catch (const TraceError&) {
        }
        if (!v.hit) continue;
        pts.push_back({v.x, v.y});
        stopped.push_back(v.stopped);
        extent = std::max(extent, std::hypot(v.x, v.y));
      }
    }
    r.points.push_back(std::move(pts));
    r.stopped.push_back(std::move(stopped));
    r.extent.push_back(extent);
  }
  return r;
}

// ---------------------------------------------------------------------------
// best focus

namespace {

double RmsWavefront(const DesignState& d, const FamilySettings& s, double field, double distance) {
  double sum = 0, sum2 = 0, w = 0;
  for (int k : CheckedWavelengths(d, s)) {
    OpdRun run;
    run.wavelength = k;
    run.width = IndexWidth::Double;
    run.actualBfl = distance;
    run.field = field != 0;
    if (AtInfinity(d.ObjDistance)) {
      run.fieldAngleY = field * s.angleYDeg * kDegree;
    } else {
      run.objHeight = field * s.objectHeight;
      if (field == 0) run.objHeight = 0;
    }
    OpdEngine e(d, run);
    e.ChiefReference();
    const double a = d.EntrBeamSemiDiam;
    const int n = 12;
    const double wk = CheckedWavelengths(d, s).size() > 1 ? std::max(1e-6f, d.WlWeight[k]) : 1.0;
    std::vector<double> xs, ys, vs;
    for (int iy = -n; iy <= n; ++iy) {
      xs.clear();
      ys.clear();
      for (int ix = -n; ix <= n; ++ix) {
        const double px = a * (ix + 0.5) / n, py = a * (iy + 0.5) / n;
        if (px * px + py * py > a * a) continue;
        xs.push_back(px);
        ys.push_back(py);
      }
      vs.resize(xs.size());
      e.RayOpds(xs.data(), ys.data(), static_cast<int>(xs.size()), vs.data());
      for (const double v : vs) {
        sum += wk * v;
        sum2 += wk * v * v;
        w += wk;
      }
    }
  }
  if (w == 0) return std::numeric_limits<double>::infinity();
  const double mean = sum / w;
  return std::sqrt(std::max(0.0, sum2 / w - mean * mean));
}

}  // namespace

BestFocusResult ComputeBestFocus(const DesignState& d, const FamilySettings& s, const BestFocusSettings& bf) {
  BestFocusResult r;
  const double base = ImageDistanceOf(d, s);
  r.imageDistance = base;
  double range = bf.range;
  if (range <= 0) range = std::max(0.05, 40 * WorkingFNumber(d) * WorkingFNumber(d) * d.Wavelength[0] / 1000.0);
  std::function<double(double)> merit;
  std::optional<FocusScan> scan;
  if (bf.criterion == FocusCriterion::Spot) {
    merit = [&](double shift) {
      if (!scan) scan.emplace(d, s, bf.field);
      const Bundle b = scan->At(shift);
      return b.hits.empty() ? std::numeric_limits<double>::infinity() : StatsOf(b.hits).rms;
    };
  } else {
    merit = [&](double shift) { return RmsWavefront(d, s, bf.field, base + shift); };
  }
  try {
    r.valueAtStart = merit(0);
    r.shift = MinimiseOn(merit, -range, range, &r.value);
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return r;
  }
  r.imageDistance = base + r.shift;
  return r;
}

void ApplyFocusShift(DesignState& d, DesignSheet& sheet, double shift) {
  const int last = d.SurfCount;
  if (last < 1) return;
  d.Thickness[last] += shift;
  sheet.Cell(last, 4) = ShortestText(d.Thickness[last]);
}

}  // namespace ovrin
