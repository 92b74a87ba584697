#include "analysis/wave/maker_tests.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "analysis/wave/diffraction.h"
#include "analysis/wave/wavefront.h"
#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A value read from a pupil grid at a point between its samples: bilinear,
// over the lit ones of the four neighbours; false when none of them is lit.
bool SampleBetween(const std::vector<double>& w, const std::vector<char>& lit, int rows, int cols, double fr,
                   double fc, double* out) {
  const int r0 = static_cast<int>(std::floor(fr)), c0 = static_cast<int>(std::floor(fc));
  const double tr = fr - r0, tc = fc - c0;
  double sum = 0, weight = 0;
  for (int dr = 0; dr <= 1; ++dr)
    for (int dc = 0; dc <= 1; ++dc) {
      const int r = r0 + dr, c = c0 + dc;
      if (r < 0 || c < 0 || r >= rows || c >= cols || !lit[static_cast<size_t>(r) * cols + c]) continue;
      const double k = (dr ? tr : 1 - tr) * (dc ? tc : 1 - tc);
      sum += k * w[static_cast<size_t>(r) * cols + c];
      weight += k;
    }
  if (!(weight > 1e-9)) return false;
  *out = sum / weight;
  return true;
}

// The picture of a pupil-shaped result: a grey level per pixel, darker than
// black (a negative value) off the pupil.
void PaintGrey(Canvas& c, int size, const std::vector<double>& level, Rgb off) {
  std::vector<Rgb> px(level.size());
  for (size_t k = 0; k < level.size(); ++k) {
    if (level[k] < 0) {
      px[k] = off;
    } else {
      const int g = static_cast<int>(std::lround(std::clamp(level[k], 0.0, 1.0) * 255));
      px[k] = {g, g, g};
    }
  }
  c.Image(0, 0, size, size, size, size, px);
}

// The samples of the pupil that light reaches. The engine's W is exactly 0
// both where no ray arrives and where a perfect wave front has no error at
// all; a ray traced through the apertures tells the two apart.
std::vector<char> LitSamples(const DesignState& d, const OpdRun& run, const PupilSamples& p) {
  const WaveGrid& g = p.grid;
  std::vector<char> lit(static_cast<size_t>(g.rows) * g.cols, 0);
  Tracer t(d);
  if (run.field) {
    const FieldDirection f = FieldDirectionOf(run.fieldAngleY, run.fieldAngleX);
    t.FieldCosZ = f.cosZ, t.FieldCosY = f.cosY, t.FieldCosX = f.cosX;
  }
  t.ObjHeight = run.objHeight;
  SurfaceLoopPolicy policy;
  policy.wavelength = run.wavelength;
  policy.testAperture = true;
  policy.apertureMargin = 0.1;
  policy.stoppedRayEnds = true;
  for (int i = 0; i < g.rows; ++i)
    for (int j = 0; j < g.cols; ++j) {
      const double x = g.X(j), y = g.Y(i);
      if (x * x + y * y > p.a * p.a) continue;
      char& at = lit[static_cast<size_t>(i) * g.cols + j];
      if (p.At(i, j) != 0) {
        at = 1;
        continue;
      }
      t.RayX = x, t.RayY = y, t.RayZ = 0;
      t.StartRay();
      t.TraceSurfaces(policy);
      at = t.RayVignetted ? 0 : 1;
    }
  return lit;
}

std::string Fixed(double v, int decimals) { return FormatFixed(v, decimals); }

}  // namespace

// ---------------------------------------------------------------------------
// Interferogram

InterferogramResult ComputeInterferogram(const DesignState& d, const InterferogramSettings& s,
                                         const Progress& progress) {
  InterferogramResult r;
  const int k = std::clamp(s.wavelength, 1, 6);
  const double design_microns = d.Wavelength[k - 1];
  if (!(s.testMicrons > 0) || !(design_microns > 0)) return r;
  try {
    const OpdRun run = WaveRunOf(d, k, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg);
    const PupilSamples p = TracePupil(d, run, std::max(s.grid, 2) / 2, std::nullopt, progress);
    const WaveGrid& g = p.grid;
    r.N = 2 * g.div;
    r.a = p.a;
    const double scale = design_microns / s.testMicrons * (s.doublePass ? 2 : 1);
    const size_t n = static_cast<size_t>(g.rows) * g.cols;
    r.W.assign(n, 0);
    r.lit.assign(n, 0);
    const std::vector<char> lit = LitSamples(d, run, p);
    double lo = 1e300, hi = -1e300, own_lo = 1e300, own_hi = -1e300, sum = 0, sum2 = 0;
    int count = 0;
    for (int i = 0; i < g.rows; ++i)
      for (int j = 0; j < g.cols; ++j) {
        if (!lit[static_cast<size_t>(i) * g.cols + j]) continue;
        const size_t at = static_cast<size_t>(i) * g.cols + j;
        const double x = g.X(j) / p.a, y = g.rowY[i] / p.a;
        const double own = p.W[at] * scale;
        const double w = own + s.tiltX * x / 2 + s.tiltY * y / 2 + s.defocus * (x * x + y * y);
        r.W[at] = w;
        r.lit[at] = 1;
        lo = std::min(lo, w), hi = std::max(hi, w);
        own_lo = std::min(own_lo, own), own_hi = std::max(own_hi, own);
        sum += own, sum2 += own * own, ++count;
      }
    if (count == 0) throw TraceError(d.SurfCount + 1);
    const double mean = sum / count;
    r.PV = own_hi - own_lo;
    r.RMS = std::sqrt(std::max(sum2 / count - mean * mean, 0.0));
    r.fringes = hi - lo;

    // A finer picture than the grid, so that the fringes are smooth bands.
    r.size = std::max(256, r.N);
    r.intensity.assign(static_cast<size_t>(r.size) * r.size, -1);
    const double step = g.cols > 1 ? g.colX[1] - g.colX[0] : 1;
    for (int row = 0; row < r.size; ++row)
      for (int col = 0; col < r.size; ++col) {
        const double x = -p.a + 2 * p.a * (col + 0.5) / r.size;
        const double y = p.a - 2 * p.a * (row + 0.5) / r.size;
        if (x * x + y * y > p.a * p.a) continue;
        const double fc = (x - g.colX[0]) / step, fr = (g.rowY[0] - y) / step;
        double w = 0;
        if (!SampleBetween(r.W, r.lit, g.rows, g.cols, fr, fc, &w)) continue;
        r.intensity[static_cast<size_t>(row) * r.size + col] = 0.5 * (1 + std::cos(2 * kPi * w));
      }
    r.ok = true;
  } catch (const TraceError& e) {
    r.error = e;
  }
  return r;
}

void DrawInterferogram(const InterferogramResult& r, Canvas& c) {
  c.Window(0, 0, 1, 1);
  c.Clear({0, 0, 0});
  if (!r.ok) return;
  c.Window(0, 0, r.size, r.size);
  PaintGrey(c, r.size, r.intensity, {0, 0, 0});
  c.Text(4, r.size - 14, "PV " + Fixed(r.PV, 3) + "  fringes " + Fixed(r.fringes, 1), {255, 200, 0});
}

// ---------------------------------------------------------------------------
// The mirror on the bench

double BenchMirror::Sag(double r) const {
  const double c = 1 / radius;
  if (sphere) return c * r * r / (1 + std::sqrt(1 - c * c * r * r));
  // The design's own sag, turned so that the mirror is concave towards +z.
  return sign * SurfaceSag(r, sign / radius, conic, a4, a6, a8);
}

double BenchMirror::Slope(double r) const {
  const double c = 1 / radius;
  if (sphere) return c * r / std::sqrt(1 - c * c * r * r);
  const double cd = sign / radius;
  const double r2 = r * r;
  return sign * (cd * r / std::sqrt(1 - (1 + conic) * cd * cd * r2) + 4 * a4 * r * r2 + 6 * a6 * r * r2 * r2 +
                 8 * a8 * r * r2 * r2 * r2);
}

std::vector<int> MirrorSurfaces(const DesignState& d) {
  std::vector<int> out;
  const SurfTable& n = d.IndexWl[1];
  for (int i = 1; i <= d.SurfCount; ++i) {
    const double before = i == 1 || n[i - 1] == 0 ? 1.0 : n[i - 1];
    if (n[i] != 0 && (before > 0) != (n[i] > 0)) out.push_back(i);
  }
  return out;
}

BenchMirror BenchMirrorOf(const DesignState& d, int surface) {
  const std::vector<int> mirrors = MirrorSurfaces(d);
  if (mirrors.empty()) throw std::invalid_argument("The design has no mirror");
  if (surface == 0) surface = mirrors.front();
  if (std::find(mirrors.begin(), mirrors.end(), surface) == mirrors.end())
    throw std::invalid_argument("Surface " + std::to_string(surface) + " is not a mirror");
  const SurfTable& n = d.IndexWl[1];
  const double before = surface == 1 || n[surface - 1] == 0 ? 1.0 : n[surface - 1];
  const double radius = d.Radius[surface];
  // Concave towards the light that arrives: the centre lies on its side.
  if (radius == 0 || std::fabs(radius) >= 1e10 || radius * before >= 0)
    throw std::invalid_argument("Surface " + std::to_string(surface) + " is not a concave mirror");
  BenchMirror m;
  m.surface = surface;
  m.radius = std::fabs(radius);
  m.sign = radius < 0 ? -1 : 1;
  const float type = d.SurfType[surface];
  m.sphere = !(type == 2.0f || type == 3.0f);
  m.conic = d.Conic[surface];
  m.a4 = d.AsphA4[surface], m.a6 = d.AsphA6[surface], m.a8 = d.AsphA8[surface];
  m.semiDiam = d.SemiDiam[surface];
  if (!(m.semiDiam > 0)) throw std::invalid_argument("Surface " + std::to_string(surface) + " has no diameter");
  return m;
}

bool ReflectToPlane(const BenchMirror& m, double source_z, double plane_z, double x, double y, double* gx,
                    double* gy) {
  const double r = std::hypot(x, y);
  const double z = m.Sag(r), slope = m.Slope(r);
  if (!std::isfinite(z) || !std::isfinite(slope)) return false;
  // The unit normal, towards the source side.
  double nx = 0, ny = 0;
  if (r > 0) nx = -slope * x / r, ny = -slope * y / r;
  const double nn = std::sqrt(nx * nx + ny * ny + 1);
  nx /= nn, ny /= nn;
  const double nz = 1 / nn;
  // From the source to the mirror, then reflected.
  double dx = x, dy = y, dz = z - source_z;
  const double dd = std::sqrt(dx * dx + dy * dy + dz * dz);
  dx /= dd, dy /= dd, dz /= dd;
  const double dot = dx * nx + dy * ny + dz * nz;
  const double rx = dx - 2 * dot * nx, ry = dy - 2 * dot * ny, rz = dz - 2 * dot * nz;
  if (!(rz > 0)) return false;
  const double t = (plane_z - z) / rz;
  *gx = x + t * rx;
  *gy = y + t * ry;
  return std::isfinite(*gx) && std::isfinite(*gy);
}

// ---------------------------------------------------------------------------
// Ronchigram

RonchiResult ComputeRonchigram(const DesignState& d, const RonchiSettings& s) {
  RonchiResult r;
  r.size = std::clamp(s.size, 16, 1024);
  if (!(s.lines > 0)) {
    r.message = "The grating needs a number of lines";
    return r;
  }
  r.period = (s.perInch ? 25.4 : 1.0) / s.lines;
  const size_t n = static_cast<size_t>(r.size) * r.size;
  r.gx.assign(n, kNaN);
  r.state.assign(n, 0);

  if (s.setup == RonchiSetup::MirrorCentre) {
    BenchMirror m;
    try {
      m = BenchMirrorOf(d, s.mirror);
    } catch (const std::invalid_argument& e) {
      r.message = e.what();
      return r;
    }
    r.surface = m.surface;
    r.radius = m.radius;
    r.a = m.semiDiam;
    // The grating covers the source as well: both stand at the same place.
    const double z = m.radius + s.offset;
    for (int row = 0; row < r.size; ++row)
      for (int col = 0; col < r.size; ++col) {
        const double x = r.X(col), y = r.Y(row);
        double gx = 0, gy = 0;
        if (x * x + y * y <= r.a * r.a && ReflectToPlane(m, z, z, x, y, &gx, &gy))
          r.gx[static_cast<size_t>(row) * r.size + col] = gx;
      }
  } else {
    r.a = d.EntrBeamSemiDiam;
    const int k = std::clamp(s.wavelength, 1, 6);
    // Outside the focus is further along the light.
    const double dir = s.actualBfl < 0 ? -1 : 1;
    const double plane = s.actualBfl + dir * s.offset;
    try {
      Tracer t(d);
      t.FieldCosZ = 1, t.FieldCosY = 0, t.FieldCosX = 0;
      t.ObjHeight = 0;
      SurfaceLoopPolicy open;
      open.wavelength = k;
      open.testAperture = false;
      t.RayX = 0, t.RayY = 0, t.RayZ = 0;
      t.StartRay();
      t.TraceSurfaces(open);
      t.TraceToImage(plane);
      const double x0 = t.RayX;
      SurfaceLoopPolicy policy = open;
      policy.testAperture = true;
      policy.apertureMargin = 0.1;
      policy.stoppedRayEnds = true;
      for (int row = 0; row < r.size; ++row)
        for (int col = 0; col < r.size; ++col) {
          const double x = r.X(col), y = r.Y(row);
          if (x * x + y * y > r.a * r.a) continue;
          t.RayX = x, t.RayY = y, t.RayZ = 0;
          t.StartRay();
          t.TraceSurfaces(policy);
          if (t.RayVignetted) continue;
          t.TraceToImage(plane);
          r.gx[static_cast<size_t>(row) * r.size + col] = t.RayX - x0;
        }
    } catch (const TraceError& e) {
      r.error = e;
      return r;
    }
  }
  // A slit centred on the axis: light passes where the ray falls in it.
  for (size_t i = 0; i < n; ++i) {
    if (std::isnan(r.gx[i])) continue;
    const double u = r.gx[i] / r.period + 0.25;
    r.state[i] = u - std::floor(u) < 0.5 ? 2 : 1;
  }
  // The bands across the middle row: the span of the rays in periods.
  const int mid = r.size / 2;
  double lo = 1e300, hi = -1e300;
  for (int col = 0; col < r.size; ++col) {
    const double v = r.GxAt(mid, col);
    if (std::isnan(v)) continue;
    lo = std::min(lo, v), hi = std::max(hi, v);
  }
  r.bands = hi >= lo ? (hi - lo) / r.period : 0;
  r.ok = true;
  return r;
}

void DrawRonchigram(const RonchiResult& r, Canvas& c) {
  c.Window(0, 0, 1, 1);
  c.Clear({0, 0, 0});
  if (!r.ok) return;
  c.Window(0, 0, r.size, r.size);
  std::vector<double> level(r.state.size());
  for (size_t i = 0; i < level.size(); ++i) level[i] = r.state[i] == 0 ? -1 : r.state[i] == 2 ? 0.95 : 0.08;
  PaintGrey(c, r.size, level, {40, 40, 60});
}

// ---------------------------------------------------------------------------
// Foucault test

FoucaultResult ComputeFoucault(const DesignState& d, const FoucaultSettings& s) {
  FoucaultResult r;
  BenchMirror m;
  try {
    m = BenchMirrorOf(d, s.mirror);
  } catch (const std::invalid_argument& e) {
    r.message = e.what();
    return r;
  }
  if (s.zones < 1 || s.zones > 50) {
    r.message = "The mask has 1 to 50 zones";
    return r;
  }
  if (!s.measured.empty() && static_cast<int>(s.measured.size()) != s.zones) {
    r.message = "Give one reading for each zone";
    return r;
  }
  r.surface = m.surface;
  r.radius = m.radius;
  r.a = m.semiDiam;
  const double R = m.radius, a = m.semiDiam;

  // Equal-area zones; each is read at the radius that halves its area.
  r.hasMeasured = !s.measured.empty();
  for (int k = 0; k < s.zones; ++k) {
    FoucaultZone z;
    z.inner = a * std::sqrt(static_cast<double>(k) / s.zones);
    z.outer = a * std::sqrt(static_cast<double>(k + 1) / s.zones);
    z.centre = std::sqrt((z.inner * z.inner + z.outer * z.outer) / 2);
    const double h = z.centre;
    if (s.movingSource) {
      // Source and knife together: the zone goes dark where its normals meet the axis.
      z.ideal = m.Sag(h) + h / m.Slope(h) - R;
    } else {
      // A fixed source at the centre of curvature: where the zone's reflected rays cross the axis.
      double gx = 0, gy = 0;
      const double probe = R + 1;
      if (!ReflectToPlane(m, R, probe, h, 0, &gx, &gy)) {
        r.message = "The rays of a zone do not come back";
        return r;
      }
      const double zc = m.Sag(h);
      // The line from the mirror point through (gx, probe) meets the axis.
      z.ideal = zc + (probe - zc) * h / (h - gx) - R;
    }
    if (r.hasMeasured) {
      z.measured = s.measured[static_cast<size_t>(k)];
      z.difference = z.measured - z.ideal;
    }
    r.zones.push_back(z);
  }

  if (r.hasMeasured) {
    // A reading too long means the zone's surface slopes less than it should
    // (for a fixed source the reading moves twice as far). The slope errors,
    // added up from the centre outwards, give the surface, and the wave front
    // of a mirror is twice its surface. Focus is then taken out by the least
    // squares over the area, so the zero of the readings does not matter.
    const double per = s.movingSource ? 1.0 : 0.5;
    const double lambda = s.microns * 1e-3;
    // The slope error is known at the zone centres and is 0 at the centre of
    // the mirror; between them it is taken as straight lines, and beyond the
    // last centre as the last line carried on.
    std::vector<double> kh = {0}, ke = {0};
    for (const FoucaultZone& z : r.zones) {
      kh.push_back(z.centre);
      ke.push_back(-z.centre * z.difference * per / (R * R));
    }
    auto slope_error = [&](double x) {
      size_t k = 1;
      while (k + 1 < kh.size() && x > kh[k]) ++k;
      const double t = (x - kh[k - 1]) / (kh[k] - kh[k - 1]);
      return ke[k - 1] + t * (ke[k] - ke[k - 1]);
    };
    const int samples = 2000;
    std::vector<double> h(samples + 1), w(samples + 1);
    double e = 0, prev = 0;
    for (int j = 0; j <= samples; ++j) {
      const double x = a * j / samples;
      const double se = slope_error(x);
      if (j > 0) e += (prev + se) / 2 * (a / samples);
      prev = se;
      h[static_cast<size_t>(j)] = x;
      w[static_cast<size_t>(j)] = 2 * e / lambda;
    }
    // Area weights: x dx.
    double s0 = 0, s1 = 0, s2 = 0, t0 = 0, t1 = 0;
    for (int j = 0; j <= samples; ++j) {
      const double x = h[static_cast<size_t>(j)], v = w[static_cast<size_t>(j)], q = x * x;
      const double wt = x * (j == 0 || j == samples ? 0.5 : 1);
      s0 += wt, s1 += wt * q, s2 += wt * q * q, t0 += wt * v, t1 += wt * q * v;
    }
    const double det = s0 * s2 - s1 * s1;
    const double B = det != 0 ? (s0 * t1 - s1 * t0) / det : 0;
    const double A = (t0 - B * s1) / s0;
    auto residual = [&](int j) { return w[static_cast<size_t>(j)] - A - B * h[static_cast<size_t>(j)] * h[static_cast<size_t>(j)]; };
    double lo = 1e300, hi = -1e300, sum2 = 0;
    for (int j = 0; j <= samples; ++j) {
      const double v = residual(j);
      lo = std::min(lo, v), hi = std::max(hi, v);
      sum2 += h[static_cast<size_t>(j)] * (j == 0 || j == samples ? 0.5 : 1) * v * v;
    }
    r.PV = hi - lo;
    r.RMS = std::sqrt(sum2 / s0);
    r.Strehl = StrehlOfRms(r.RMS);
    auto wave_at = [&](double x) {
      const int j = std::clamp(static_cast<int>(std::lround(x / a * samples)), 0, samples);
      return residual(j);
    };
    for (FoucaultZone& z : r.zones) z.wave = wave_at(z.centre);
  }

  // The picture: the mirror seen past the knife. A slit of finite width
  // shades each point by how much of the slit's image the edge lets by.
  r.size = std::clamp(s.size, 16, 1024);
  r.intensity.assign(static_cast<size_t>(r.size) * r.size, -1);
  const double knife = R + s.knifeOffset;
  const double source = s.movingSource ? knife : R;
  const double width = s.sourceWidth > 0 ? s.sourceWidth : 1e-6;
  for (int row = 0; row < r.size; ++row)
    for (int col = 0; col < r.size; ++col) {
      const double x = -a + 2 * a * (col + 0.5) / r.size, y = a - 2 * a * (row + 0.5) / r.size;
      double gx = 0, gy = 0;
      if (x * x + y * y > a * a || !ReflectToPlane(m, source, knife, x, y, &gx, &gy)) continue;
      r.intensity[static_cast<size_t>(row) * r.size + col] = std::clamp(0.5 + (gx - s.knifeX) / width, 0.0, 1.0);
    }

  r.table.push_back("Surface " + std::to_string(r.surface) + "   R " + Fixed(R, 3) + "   " +
                    (s.movingSource ? "moving source" : "fixed source"));
  r.table.push_back("Zone\tFrom\tTo\tAt\tIdeal\tMeasured\tDiff.\tWave");
  for (size_t k = 0; k < r.zones.size(); ++k) {
    const FoucaultZone& z = r.zones[k];
    std::string line = std::to_string(k + 1) + "\t" + Fixed(z.inner, 2) + "\t" + Fixed(z.outer, 2) + "\t" +
                       Fixed(z.centre, 2) + "\t" + Fixed(z.ideal, 4);
    if (r.hasMeasured)
      line += "\t" + Fixed(z.measured, 4) + "\t" + Fixed(z.difference, 4) + "\t" + Fixed(z.wave, 4);
    r.table.push_back(line);
  }
  if (r.hasMeasured)
    r.table.push_back("Wave front (" + Fixed(s.microns, 4) + " micron): PV " + Fixed(r.PV, 3) + "  RMS " +
                      Fixed(r.RMS, 3) + "  Strehl " + Fixed(r.Strehl, 3));
  r.ok = true;
  return r;
}

void DrawFoucault(const FoucaultResult& r, Canvas& c) {
  c.Window(0, 0, 1, 1);
  c.Clear({0, 0, 0});
  if (!r.ok) return;
  c.Window(0, 0, r.size, r.size);
  PaintGrey(c, r.size, r.intensity, {40, 40, 60});
}

// ---------------------------------------------------------------------------
// Star test

StarTestResult ComputeStarTest(const DesignState& d, const StarTestSettings& s, const Progress& progress) {
  StarTestResult r;
  const int N = s.grid;
  if (N != 32 && N != 64 && N != 128) {
    r.message = "The pupil grid is 32, 64 or 128";
    return r;
  }
  // The defocused pupil must change by less than half a wave from one sample
  // to the next, or the rings fold back into the picture.
  if (!(s.defocus >= 0) || s.defocus > N / 8.0) {
    r.message = "Too much defocus for the pupil grid: at most " + Fixed(N / 8.0, 0) + " waves with " +
                std::to_string(N) + " samples";
    return r;
  }
  const int k = std::clamp(s.wavelength, 1, 6);
  try {
    const OpdRun run = WaveRunOf(d, k, s.actualBfl, s.focalRadius, s.fullField, s.angleYDeg, s.angleXDeg);
    PupilSamples p = TracePupil(d, run, N / 2, std::nullopt, progress);
    r.N = N;
    r.F = PsfTransformSize(N);
    r.defocus = s.defocus;
    const std::vector<char> lit = LitSamples(d, run, p);
    std::vector<double> own;
    for (int i = 0; i < p.grid.rows; ++i)
      for (int j = 0; j < p.grid.cols; ++j)
        if (lit[static_cast<size_t>(i) * p.grid.cols + j]) own.push_back(p.At(i, j));
    if (own.empty()) throw TraceError(d.SurfCount + 1);
    double mean = 0, sq = 0;
    for (double v : own) mean += v, sq += v * v;
    mean /= own.size();
    r.Strehl = StrehlOfRms(std::sqrt(std::max(sq / own.size() - mean * mean, 0.0)));

    // The wave front seen from a plane nearer to the optics converges less:
    // the engine's path differences then grow towards the edge by -d rho^2.
    auto image = [&](double sign) {
      PupilSamples q = p;
      for (int i = 0; i < q.grid.rows; ++i)
        for (int j = 0; j < q.grid.cols; ++j) {
          if (!lit[static_cast<size_t>(i) * q.grid.cols + j]) continue;
          const double x = q.grid.X(j) / q.a, y = q.grid.rowY[i] / q.a;
          double& w = q.W[static_cast<size_t>(i) * q.grid.cols + j];
          w += sign * s.defocus * (x * x + y * y);
          if (w == 0) w = 1e-12;  // exactly 0 would read as a sample without light
        }
      return PsfOfPupil(q, r.F).P;
    };
    r.intra = image(-1);
    r.extra = image(+1);
    double peak = 0;
    for (size_t i = 0; i < r.intra.size(); ++i) peak = std::max({peak, r.intra[i], r.extra[i]});
    double diff = 0, total = 0;
    for (size_t i = 0; i < r.intra.size(); ++i) {
      r.intra[i] /= peak, r.extra[i] /= peak;
      diff += std::fabs(r.intra[i] - r.extra[i]);
      total += r.intra[i] + r.extra[i];
    }
    r.difference = total > 0 ? diff / total : 0;
    // The geometric blur's radius is 4 d cycles per pupil diameter, F/N samples
    // each; a few Airy rings more frame it.
    const double scale = static_cast<double>(r.F) / N;
    r.half = std::min(r.F / 2 - 1, static_cast<int>(std::ceil((4 * s.defocus + 4) * scale)));
    r.ok = true;
  } catch (const TraceError& e) {
    r.error = e;
  }
  return r;
}

void DrawStarTest(const StarTestResult& r, Canvas& c) {
  c.Window(0, 0, 1, 1);
  c.Clear({0, 0, 0});
  if (!r.ok) return;
  const int side = 2 * r.half + 1;
  const double gap = side * 0.08;
  const double width = 2 * side + gap, height = side * 1.12;
  c.Window(0, 0, width, height);
  c.Polygon({{0, 0}, {width, 0}, {width, height}, {0, height}}, {0, 0, 0});
  auto paint = [&](const std::vector<double>& P, double left) {
    std::vector<Rgb> px(static_cast<size_t>(side) * side);
    const int o = r.F / 2 - r.half;
    for (int i = 0; i < side; ++i)
      for (int j = 0; j < side; ++j) {
        // Rings are faint beside the centre: the square root brings them out.
        const double v = std::sqrt(std::max(P[static_cast<size_t>(o + i) * r.F + (o + j)], 0.0));
        const int g = static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
        px[static_cast<size_t>(i) * side + j] = {g, g, g};
      }
    c.Image(left, 0, left + side, side, side, side, px);
  };
  paint(r.intra, 0);
  paint(r.extra, side + gap);
  const Rgb label{255, 200, 0};
  c.Text(side * 0.02, side * 1.01, "Intra-focal  -" + Fixed(r.defocus, 1) + " waves", label);
  c.Text(side + gap + side * 0.02, side * 1.01, "Extra-focal  +" + Fixed(r.defocus, 1) + " waves", label);
}

}  // namespace ovrin
