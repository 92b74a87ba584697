#include "analysis/geometric/spot_diagram.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_bundle.h"

namespace ovrin {

namespace {

constexpr int kGridClear = 15600;  // entries cleared before a grid is built
constexpr int kLastIndex = kPupilArraySize - 1;

const Rgb kBlack{0, 0, 0};

Rgb Background(int index) { return PlotBackground(index); }

struct GridFault {};

}  // namespace

const std::array<RaysEntry, 8> kRaysPerColor = {{{"128", 6},
                                                 {"340", 10},
                                                 {"558", 13},
                                                 {"832", 16},
                                                 {"1300", 20},
                                                 {"2346", 27},
                                                 {"3478", 33},
                                                 {"5100", 40}}};

int16_t PupilGridDivOf(const std::string& text) {
  if (text.empty()) return 10;
  for (const RaysEntry& e : kRaysPerColor)
    if (text == e.text) return e.div;
  return 0;
}

bool BuildPupilGrid(const DesignState& d, int16_t div, PupilGrid& g, int last_index) {
  if (static_cast<int>(g.PupilY.size()) <= last_index) {
    g.PupilY.resize(static_cast<std::size_t>(last_index) + 1);
    g.PupilX.resize(static_cast<std::size_t>(last_index) + 1);
  }
  for (int i = 0; i <= kGridClear; ++i) g.PupilY[i] = g.PupilX[i] = 0.0;
  g.PupilRadius = static_cast<float>(d.EntrBeamSemiDiam);
  const double radius = g.PupilRadius;
  if (div <= 0 || !(radius > 0) || !std::isfinite(radius)) return false;
  // The step is a 32-bit quotient of the 32-bit radius and the 16-bit divisor.
  const float step = g.PupilRadius / static_cast<float>(div);
  const double limit2 = radius * radius + 0.1;  // an absolute tolerance, not scaled with the pupil
  int counter = 1;
  // The loops advance as counted loops do: by adding the step to the running value.
  for (double y = d.EntrBeamSemiDiam; y >= -radius - 0.1; y -= step) {
    for (double x = 0.0; x <= radius + 0.1; x += step) {
      if (counter > last_index) return false;
      const double ys = std::fabs(y) < 0.05 ? 0.05 : y;
      g.PupilY[counter] = ys;
      g.PupilX[counter] = x;
      if (ys * ys + x * x <= limit2) ++counter;
    }
  }
  int count = counter - 1;
  if (d.UncenteredFlag != 0) {
    // The other half; k = 0 puts the chief ray over the last grid point.
    if (2 * count > last_index) return false;
    for (int k = 0; k <= count; ++k) {
      g.PupilY[count + k] = g.PupilY[k];
      g.PupilX[count + k] = -g.PupilX[k];
    }
    count *= 2;
  }
  g.PupilRayCount = static_cast<float>(count);
  return true;
}

SpotScale SpotScaleOf(const std::string& zoom_text) {
  double zoom = ParseLeadingNumber(zoom_text);
  if (zoom_text.empty() || zoom == 0 || !std::isfinite(zoom)) zoom = 1;
  SpotScale sc;
  sc.ZoomFactor = static_cast<float>(1.0 / std::fabs(zoom));
  sc.MmPerPlotUnit = sc.ZoomFactor / 500.0f;
  return sc;
}

SpotResult::SpotResult()
    : SpotY(kPupilArraySize),
      SpotX(kPupilArraySize),
      SpotWeight(kPupilArraySize),
      SpotWl(kPupilArraySize),
      SpotDY(kPupilArraySize),
      SpotDX(kPupilArraySize) {}

namespace {

// The values of the window's boxes the trace runs on.
struct SpotRun {
  double focal_radius = 0;
  double actual_bfl = 0;
  double angle_y = 0, angle_x = 0;  // radians
  bool raise_flag = false;          // an X angle was typed
};

SpotRun RunOf(const SpotSettings& s) {
  SpotRun run;
  if (s.field == 1) {
    run.angle_y = kPi / 180 * ParseLeadingNumber(s.angleY);
    const double typed_x = ParseLeadingNumber(s.angleX);
    run.angle_x = kPi / 180 * typed_x;
    run.raise_flag = typed_x != 0;
  }
  run.focal_radius = ParseLeadingNumber(s.focalRadius);
  run.actual_bfl = ParseLeadingNumber(s.actualBfl);
  return run;
}

// The standard trace of the pupil list for wavelength k: counts, stores and
// lists the rays to plot. The rays go through the surfaces a bundle at a
// time and are then taken in the order of the list; the first that failed
// ends the drawing where the one-ray loop would have stopped.
void TraceSpotBundle(const DesignState& d, BundleTracer& b, int k, const SpotRun& run, bool keep_stopped,
                     SpotResult& r) {
  SurfaceLoopPolicy policy;
  policy.wavelength = k;
  policy.testAperture = true;
  policy.apertureMargin = 0.1;
  // The weight table is read at the wavelength's own number.
  const float weight = d.WlWeight[k];
  const int last = static_cast<int>(r.grid.PupilRayCount);
  for (int first = 0; first <= last; first += kBundleLanes) {
    const int lanes = std::min(kBundleLanes, last + 1 - first);
    b.StartRays(&r.grid.PupilX[first], &r.grid.PupilY[first], lanes);
    b.TraceSurfaces(policy);
    b.TraceToImage(run.actual_bfl, run.focal_radius);
    for (int l = 0; l < lanes; ++l) {
      // A ray that failed before the image plane is not counted; one that
      // failed on it already was.
      const bool failed = b.Failed[l] != 0;
      if (failed && b.FailSurface[l] <= d.SurfCount) throw b.ErrorOf(l);
      const bool stopped = b.Vignetted[l] != 0;
      if (stopped) {
        r.VignRays += 1;
      } else {
        r.GoodRays += 1;
      }
      if (failed) throw b.ErrorOf(l);
      const double x = b.X[l], y = b.Y[l];
      r.RayCounter += 1;
      if (r.RayCounter == 1) {
        r.SpotY[0] = y;
        r.SpotX[0] = x;
      }
      if (!stopped) {
        const int at = static_cast<int>(r.GoodRays);
        if (at > kLastIndex) throw TraceError();
        r.SpotY[at] = y;
        r.SpotX[at] = x;
        r.SpotWeight[at] = weight;
        r.SpotWl[at] = static_cast<int8_t>(k);
      }
      if (!stopped || keep_stopped)
        r.plotted.push_back({x - r.SpotX[0], y - r.SpotY[0], static_cast<int8_t>(k), stopped});
    }
  }
}

// The trace and the statistics onto a result whose grid is built; its
// `mirrored` says whether the system counts as centred in this drawing.
void TraceAndMeasure(const DesignState& d, const SpotSettings& s, const SpotRun& run, SpotResult& r) {
  // Only the entries the last trace wrote are cleared: it stored rays up to
  // GoodRays (the mirrored half included), and a new result is all zeros.
  const auto used = static_cast<std::ptrdiff_t>(std::min(static_cast<double>(r.GoodRays), double{kLastIndex})) + 1;
  std::fill(r.SpotY.begin(), r.SpotY.begin() + used, 0.0);
  std::fill(r.SpotX.begin(), r.SpotX.begin() + used, 0.0);
  r.plotted.clear();
  const int checked = static_cast<int>(std::count(s.checked.begin(), s.checked.end(), true));
  r.plotted.reserve(static_cast<std::size_t>(checked) * (static_cast<std::size_t>(r.grid.PupilRayCount) + 1));
  r.drawn = false;
  r.error.clear();
  const double ay = run.angle_y, ax = run.angle_x;
  const FieldDirection field = FieldDirectionOf(ay, ax);
  BundleTracer t(d);
  t.FieldCosZ = field.cosZ;
  t.FieldCosY = field.cosY;
  t.FieldCosX = field.cosX;
  t.ObjHeight = d.HalfFieldY;

  r.RayCounter = r.VignRays = r.GoodRays = 0;
  try {
    for (int k = 1; k <= 6; ++k)
      if (s.checked[k - 1]) TraceSpotBundle(d, t, k, run, s.plotVignetted, r);
  } catch (const TraceError&) {
    r.error = kRayTraceError;
    return;
  }
  if (r.GoodRays == 0) return;

  int good = static_cast<int>(r.GoodRays);
  if (r.mirrored) {
    // The mirror image of the half pupil; k = 0 puts the chief ray, weight 0,
    // over the last stored ray.
    if (2 * good > kLastIndex) {
      r.error = kRayTraceError;
      return;
    }
    for (int k = 0; k <= good; ++k) {
      r.SpotY[good + k] = r.SpotY[k];
      r.SpotX[good + k] = -r.SpotX[k];
      r.SpotWeight[good + k] = r.SpotWeight[k];
      r.SpotWl[good + k] = r.SpotWl[k];
    }
    r.GoodRays *= 2;
    r.VignRays *= 2;
    good *= 2;
  }

  double ymax = -100000, ymin = 100000, xmax = -100000, xmin = 100000;
  for (int i = 0; i <= good; ++i) {
    ymax = std::max(ymax, r.SpotY[i]);
    ymin = std::min(ymin, r.SpotY[i]);
    xmax = std::max(xmax, r.SpotX[i]);
    xmin = std::min(xmin, r.SpotX[i]);
  }
  const double dy = std::fabs(ymax - ymin), dx = std::fabs(xmax - xmin);
  r.SpotDiameter = s.previousSpotDiameter;
  if (dy < dx) r.SpotDiameter = dx;
  else if (dy > dx) r.SpotDiameter = dy;

  double sw = 0, swy = 0, swx = 0;
  for (int i = 0; i <= good; ++i) {
    r.SpotDY[i] = r.SpotY[i] - r.SpotY[0];
    r.SpotDX[i] = r.SpotX[i] - r.SpotX[0];
    const double w = r.SpotWeight[i];
    sw += w;
    swy += w * r.SpotDY[i];
    swx += w * r.SpotDX[i];
  }
  const double cy = swy / sw, cx = swx / sw;
  double vy = 0, vx = 0;
  for (int i = 0; i <= good; ++i) {
    const double w = r.SpotWeight[i];
    vy += w * (r.SpotDY[i] - cy) * (r.SpotDY[i] - cy);
    vx += w * (r.SpotDX[i] - cx) * (r.SpotDX[i] - cx);
  }
  r.RmsRadius = std::sqrt(vy / sw + vx / sw);
  r.ChiefHeight = std::sqrt(r.SpotY[0] * r.SpotY[0] + r.SpotX[0] * r.SpotX[0]);
  if (r.SpotY[0] < 0) r.ChiefHeight = -r.ChiefHeight;
  r.VignPercent = r.VignRays / (r.GoodRays + r.VignRays) * 100.0;
  r.drawn = true;
}

void FillLabels(SpotResult& r) {
  SpotLabels& l = r.labels;
  l.lbldiamspot = FormatFixed(r.SpotDiameter, 5);
  l.lbldiamrms = FormatFixed(r.RmsRadius, 5);
  l.lblaltezza = FormatFixed(r.ChiefHeight, 3);
  l.Lblpercentvig = FormatFixed(r.VignPercent, 2);
  auto count = [](double v) { return std::to_string(static_cast<long long>(v)); };
  if (r.mirrored) {
    // The doubled counters, and a total of twice their sum.
    l.Lblraggitot = count(2 * (static_cast<double>(r.GoodRays) + r.VignRays));
    l.Lblragginonvig = count(r.GoodRays);
  } else {
    l.Lblraggitot = count(static_cast<double>(r.GoodRays) + r.VignRays + 1);
    l.Lblragginonvig = count(static_cast<double>(r.GoodRays) + 1);
  }
  l.Lblraggivig = count(r.VignRays);
}

}  // namespace

SpotResult ComputeSpot(const DesignState& d, const SpotSettings& s) {
  SpotResult r;
  r.AiryRadius = d.AiryRadius;
  for (int k = 1; k <= 6; ++k) r.colors[k] = d.WlColor[k];
  r.SpotDiameter = s.previousSpotDiameter;
  if (!BuildPupilGrid(d, PupilGridDivOf(s.rays), r.grid)) {
    r.error = kCheckDataError;
    return r;
  }
  const SpotScale sc = SpotScaleOf(s.zoom);
  r.ZoomFactor = sc.ZoomFactor;
  r.MmPerPlotUnit = sc.MmPerPlotUnit;
  r.labels.scale = FormatFixed(static_cast<double>(r.MmPerPlotUnit * 190.0f), 3);
  r.labels.Lbldiamairy = FormatFixed(2 * d.AiryRadius, 6);

  const SpotRun run = RunOf(s);
  // The grid was built before this: a first X-field drawing has half a pupil.
  r.raiseUncenteredFlag = run.raise_flag;
  r.mirrored = d.UncenteredFlag == 0 && !run.raise_flag;
  r.gridBuilt = true;
  TraceAndMeasure(d, s, run, r);
  if (r.drawn) FillLabels(r);
  return r;
}

void DrawSpot(const SpotResult& r, const SpotSettings& s, Canvas& canvas) {
  canvas.Window(-190, 144, 190, -124);
  canvas.Clear(Background(s.background));
  if (!r.gridBuilt) return;
  const SpotScale sc = SpotScaleOf(s.zoom);
  const Rgb ink = PlotInk(s.background);
  canvas.Line(-175, -90, -175, 100, ink, 2);
  canvas.Text(-185, -93, FormatFixed(static_cast<double>(sc.MmPerPlotUnit * 190.0f), 3) + " mm", ink);
  canvas.Circle(170, -100, r.AiryRadius / sc.MmPerPlotUnit, ink);
  // Stopped rays are black whatever the background.
  for (const SpotResult::Plotted& p : r.plotted) {
    const double px = p.dx / sc.MmPerPlotUnit;
    const double py = p.dy / sc.MmPerPlotUnit;
    const Rgb color = p.stopped ? kBlack : r.colors[p.wl];
    canvas.Point(px, py, color);
    if (r.mirrored) canvas.Point(-px, py, color);
  }
}

// ---------------------------------------------------------------------------
// autofocus

namespace {

// The on-axis RMS radius at a focus shift from Bfl. The grid is built once;
// each step traces it again at the new focus.
class FocusMerit {
 public:
  FocusMerit(const DesignState& d, const SpotSettings& s) : d_(d), s_(s) {
    s_.field = 0;
    run_ = RunOf(s_);
    ok_ = BuildPupilGrid(d_, PupilGridDivOf(s_.rays), r_.grid);
    r_.mirrored = d_.UncenteredFlag == 0;
  }
  double operator()(double shift) {
    if (!ok_) throw TraceError();
    run_.actual_bfl = d_.Bfl + shift;
    TraceAndMeasure(d_, s_, run_, r_);
    if (!r_.error.empty()) throw TraceError();
    if (!r_.drawn) return std::numeric_limits<double>::infinity();
    return r_.RmsRadius;
  }

 private:
  const DesignState& d_;
  SpotSettings s_;
  SpotRun run_;
  SpotResult r_;
  bool ok_ = false;
};

}  // namespace

double AutoFocus(const DesignState& d, const SpotSettings& s) {
  FocusMerit f(d, s);
  constexpr double kGold = 1.618033988749895;
  constexpr double kCGold = 0.3819660112501051;
  constexpr double kTol = 1e-6;

  // Bracket the minimum, starting from the paraxial focus with a step that
  // follows the size of the system.
  double a = 0.0;
  double b = std::max(1e-3, 1e-3 * std::fabs(d.Bfl));
  double fa = f(a), fb = f(b);
  if (fb > fa) {
    std::swap(a, b);
    std::swap(fa, fb);
  }
  double c = b + kGold * (b - a);
  double fc = f(c);
  for (int n = 0; fc < fb && n < 200; ++n) {
    a = b, fa = fb;
    b = c, fb = fc;
    c = b + kGold * (b - a);
    fc = f(c);
  }
  if (a > c) std::swap(a, c);

  // Brent's method on [a, c] around b.
  double x = b, w = b, v = b, fx = fb, fw = fb, fv = fb;
  double e = 0, dstep = 0;
  for (int iter = 0; iter < 200; ++iter) {
    const double m = 0.5 * (a + c);
    const double tol1 = kTol * 0.5 + 1e-12 * std::fabs(x);
    const double tol2 = 2 * tol1;
    if (std::fabs(x - m) <= tol2 - 0.5 * (c - a)) break;
    bool golden = true;
    if (std::fabs(e) > tol1) {
      double r = (x - w) * (fx - fv);
      double q = (x - v) * (fx - fw);
      double p = (x - v) * q - (x - w) * r;
      q = 2 * (q - r);
      if (q > 0) p = -p;
      q = std::fabs(q);
      const double etemp = e;
      e = dstep;
      if (!(std::fabs(p) >= std::fabs(0.5 * q * etemp) || p <= q * (a - x) || p >= q * (c - x))) {
        dstep = p / q;
        const double u = x + dstep;
        if (u - a < tol2 || c - u < tol2) dstep = m >= x ? tol1 : -tol1;
        golden = false;
      }
    }
    if (golden) {
      e = x >= m ? a - x : c - x;
      dstep = kCGold * e;
    }
    const double u = std::fabs(dstep) >= tol1 ? x + dstep : x + (dstep >= 0 ? tol1 : -tol1);
    const double fu = f(u);
    if (fu <= fx) {
      if (u >= x) a = x;
      else c = x;
      v = w, fv = fw;
      w = x, fw = fx;
      x = u, fx = fu;
    } else {
      if (u < x) a = u;
      else c = u;
      if (fu <= fw || w == x) {
        v = w, fv = fw;
        w = u, fw = fu;
      } else if (fu <= fv || v == x || v == w) {
        v = u, fv = fu;
      }
    }
  }
  return x;
}

}  // namespace ovrin
