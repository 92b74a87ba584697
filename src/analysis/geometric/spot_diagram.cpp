#include "analysis/geometric/spot_diagram.h"

#include <cmath>
#include <limits>

#include "core/number_text.h"

namespace ovrin {

namespace {

constexpr double kPi = 3.14159265358979;
constexpr int kGridClear = 15600;  // entries cleared before a grid is built
constexpr int kLastIndex = kPupilArraySize - 1;

const Rgb kBlack{0, 0, 0};
const Rgb kWhite{255, 255, 255};

Rgb Background(int index) {
  switch (index) {
    case 1: return kBlack;
    case 2: return {230, 230, 230};
    default: return kWhite;
  }
}

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

bool BuildPupilGrid(const DesignState& d, int16_t div, PupilGrid& g) {
  for (int i = 0; i <= kGridClear; ++i) g.PupilY[i] = g.PupilX[i] = 0.0;
  g.PupilRadius = static_cast<float>(d.EntrBeamSemiDiam);
  const double radius = g.PupilRadius;
  if (div <= 0 || !(radius > 0) || !std::isfinite(radius)) return false;
  const double step = radius / div;
  const double limit2 = radius * radius + 0.1;  // an absolute tolerance, not scaled with the pupil
  int counter = 1;
  // The loops advance as counted loops do: by adding the step to the running value.
  for (double y = d.EntrBeamSemiDiam; y >= -radius - 0.1; y -= step) {
    for (double x = 0.0; x <= radius + 0.1; x += step) {
      if (counter > kLastIndex) return false;
      const double ys = std::fabs(y) < 0.05 ? 0.05 : y;
      g.PupilY[counter] = ys;
      g.PupilX[counter] = x;
      if (ys * ys + x * x <= limit2) ++counter;
    }
  }
  int count = counter - 1;
  if (d.UncenteredFlag != 0) {
    // The other half; k = 0 puts the chief ray over the last grid point.
    if (2 * count > kLastIndex) return false;
    for (int k = 0; k <= count; ++k) {
      g.PupilY[count + k] = g.PupilY[k];
      g.PupilX[count + k] = -g.PupilX[k];
    }
    count *= 2;
  }
  g.PupilRayCount = static_cast<float>(count);
  return true;
}

SpotDiagram::SpotDiagram()
    : SpotY(kPupilArraySize),
      SpotX(kPupilArraySize),
      SpotWeight(kPupilArraySize),
      SpotWl(kPupilArraySize),
      SpotDY(kPupilArraySize),
      SpotDX(kPupilArraySize) {}

void SpotDiagram::TraceSpotBundle(const DesignState& d, Tracer& t, int k, double focal_radius,
                                  double actual_bfl, const SpotSettings& s, Canvas* canvas, Rgb vign_ink) {
  SurfaceLoopPolicy policy;
  policy.wavelength = k;
  policy.testAperture = true;
  policy.apertureMargin = 0.1;
  const Rgb color = d.WlColor[k];
  // The weight table is read at the wavelength's own number.
  const float weight = d.WlWeight[k];
  const bool centred = d.UncenteredFlag == 0;
  const int last = static_cast<int>(grid.PupilRayCount);
  for (int i = 0; i <= last; ++i) {
    t.RayX = grid.PupilX[i];
    t.RayY = grid.PupilY[i];
    t.RayZ = 0.0;
    t.StartRay();
    t.TraceSurfaces(policy);
    const bool stopped = t.RayVignetted;
    if (stopped) {
      VignRays += 1;
    } else {
      GoodRays += 1;
    }
    t.TraceToImage(actual_bfl, focal_radius);
    RayCounter += 1;
    if (RayCounter == 1) {
      SpotY[0] = t.RayY;
      SpotX[0] = t.RayX;
    }
    if (!stopped) {
      const int at = static_cast<int>(GoodRays);
      if (at > kLastIndex) throw TraceError();
      SpotY[at] = t.RayY;
      SpotX[at] = t.RayX;
      SpotWeight[at] = weight;
      SpotWl[at] = static_cast<int8_t>(k);
    }
    if (canvas && (!stopped || s.plotVignetted)) {
      const double px = (t.RayX - SpotX[0]) / MmPerPlotUnit;
      const double py = (t.RayY - SpotY[0]) / MmPerPlotUnit;
      const Rgb ink = stopped ? vign_ink : color;
      canvas->Point(px, py, ink);
      if (centred) canvas->Point(-px, py, ink);
    }
  }
}

std::string SpotDiagram::Draw(DesignState& d, const SpotSettings& s, Canvas* canvas) {
  drawn = false;
  const Rgb back = Background(s.background);
  if (canvas) {
    canvas->Window(-190, 144, 190, -124);
    canvas->Clear(back);
  }
  std::fill(SpotY.begin(), SpotY.end(), 0.0);
  std::fill(SpotX.begin(), SpotX.end(), 0.0);
  if (!BuildPupilGrid(d, PupilGridDivOf(s.rays), grid)) return kCheckDataError;

  double zoom = ParseLeadingNumber(s.zoom);
  if (s.zoom.empty() || zoom == 0 || !std::isfinite(zoom)) zoom = 1;
  ZoomFactor = static_cast<float>(1.0 / std::fabs(zoom));
  MmPerPlotUnit = ZoomFactor / 500.0f;

  double ay = 0, ax = 0, typed_x = 0;
  if (s.field == 1) {
    ay = kPi / 180 * ParseLeadingNumber(s.angleY);
    typed_x = ParseLeadingNumber(s.angleX);
    ax = kPi / 180 * typed_x;
  }
  const double norm = std::sqrt(std::cos(ay) * std::cos(ay) + std::cos(ax) * std::cos(ax) * std::sin(ay) * std::sin(ay));
  Tracer t(d);
  t.FieldCosZ = std::cos(ax) * std::cos(ay) / norm;
  t.FieldCosY = std::cos(ax) * std::sin(ay) / norm;
  t.FieldCosX = std::sin(ax) * std::cos(ay) / norm;
  t.ObjHeight = d.HalfFieldY;
  // The grid was built before this: a first X-field drawing has half a pupil.
  if (typed_x != 0) d.UncenteredFlag = 1;
  const double focal_radius = ParseLeadingNumber(s.focalRadius);
  const double actual_bfl = ParseLeadingNumber(s.actualBfl);

  const Rgb ink = s.background == 1 ? kWhite : kBlack;
  labels.scale = FormatFixed(static_cast<double>(MmPerPlotUnit * 190.0f), 3);
  labels.Lbldiamairy = FormatFixed(2 * d.AiryRadius, 6);
  if (canvas) {
    canvas->Line(-175, -90, -175, 100, ink, 2);
    canvas->Text(-185, -93, labels.scale, ink);
    canvas->Circle(170, -100, d.AiryRadius / MmPerPlotUnit, ink);
  }

  RayCounter = VignRays = GoodRays = 0;
  try {
    for (int k = 1; k <= 6; ++k)
      if (s.checked[k - 1]) TraceSpotBundle(d, t, k, focal_radius, actual_bfl, s, canvas, kBlack);
  } catch (const TraceError&) {
    return kRayTraceError;
  }
  if (GoodRays == 0) return {};

  int good = static_cast<int>(GoodRays);
  if (d.UncenteredFlag == 0) {
    // The mirror image of the half pupil; k = 0 puts the chief ray, weight 0,
    // over the last stored ray.
    if (2 * good > kLastIndex) return kRayTraceError;
    for (int k = 0; k <= good; ++k) {
      SpotY[good + k] = SpotY[k];
      SpotX[good + k] = -SpotX[k];
      SpotWeight[good + k] = SpotWeight[k];
      SpotWl[good + k] = SpotWl[k];
    }
    GoodRays *= 2;
    VignRays *= 2;
    good *= 2;
  }

  double ymax = -100000, ymin = 100000, xmax = -100000, xmin = 100000;
  for (int i = 0; i <= good; ++i) {
    ymax = std::max(ymax, SpotY[i]);
    ymin = std::min(ymin, SpotY[i]);
    xmax = std::max(xmax, SpotX[i]);
    xmin = std::min(xmin, SpotX[i]);
  }
  const double dy = std::fabs(ymax - ymin), dx = std::fabs(xmax - xmin);
  if (dy < dx) SpotDiameter = dx;
  else if (dy > dx) SpotDiameter = dy;

  double sw = 0, swy = 0, swx = 0;
  for (int i = 0; i <= good; ++i) {
    SpotDY[i] = SpotY[i] - SpotY[0];
    SpotDX[i] = SpotX[i] - SpotX[0];
    const double w = SpotWeight[i];
    sw += w;
    swy += w * SpotDY[i];
    swx += w * SpotDX[i];
  }
  const double cy = swy / sw, cx = swx / sw;
  double vy = 0, vx = 0;
  for (int i = 0; i <= good; ++i) {
    const double w = SpotWeight[i];
    vy += w * (SpotDY[i] - cy) * (SpotDY[i] - cy);
    vx += w * (SpotDX[i] - cx) * (SpotDX[i] - cx);
  }
  RmsRadius = std::sqrt(vy / sw + vx / sw);
  ChiefHeight = std::sqrt(SpotY[0] * SpotY[0] + SpotX[0] * SpotX[0]);
  if (SpotY[0] < 0) ChiefHeight = -ChiefHeight;
  VignPercent = VignRays / (GoodRays + VignRays) * 100.0;

  labels.lbldiamspot = FormatFixed(SpotDiameter, 5);
  labels.lbldiamrms = FormatFixed(RmsRadius, 5);
  labels.lblaltezza = FormatFixed(ChiefHeight, 3);
  labels.Lblpercentvig = FormatFixed(VignPercent, 2);
  auto count = [](double v) { return std::to_string(static_cast<long long>(v)); };
  if (d.UncenteredFlag == 0) {
    // The doubled counters, and a total of twice their sum.
    labels.Lblraggitot = count(2 * (static_cast<double>(GoodRays) + VignRays));
    labels.Lblragginonvig = count(GoodRays);
  } else {
    labels.Lblraggitot = count(static_cast<double>(GoodRays) + VignRays + 1);
    labels.Lblragginonvig = count(static_cast<double>(GoodRays) + 1);
  }
  labels.Lblraggivig = count(VignRays);
  drawn = true;
  return {};
}

// ---------------------------------------------------------------------------
// autofocus

namespace {

// The on-axis RMS radius at a focus shift from Bfl.
class FocusMerit {
 public:
  FocusMerit(const DesignState& d, const SpotSettings& s) : d_(d), s_(s) {
    s_.field = 0;
  }
  double operator()(double shift) {
    s_.actualBfl = PlainDecimal(d_.Bfl + shift);
    const std::string error = spot_.Draw(d_, s_, nullptr);
    if (!error.empty()) throw TraceError();
    if (!spot_.drawn) return std::numeric_limits<double>::infinity();
    return spot_.RmsRadius;
  }

 private:
  DesignState d_;  // a copy: the search leaves the design alone
  SpotSettings s_;
  SpotDiagram spot_;
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
