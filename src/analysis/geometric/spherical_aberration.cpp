#include "analysis/geometric/spherical_aberration.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "analysis/geometric/geometric_text.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {

// Arcsine as the program takes it, through the arctangent.
double ArcSin(double c) { return std::atan(c / std::sqrt(1 - c * c)); }

void RequireFinite(double v) {
  if (!std::isfinite(v)) throw TraceError();
}

// The zones of one wavelength. The reference height of wavelength 1 is kept
// in `ya` for the others.
class ZoneTrace {
 public:
  ZoneTrace(const DesignState& d, double reference) : d_(d), t_(d), r_(reference) {}

  // Exit pupil distance from the last surface, always with wavelength 1.
  double ExitPupil(const SphericalSettings& s) const {
    const double a = ParseLeadingNumber(s.angleY), b = ParseLeadingNumber(s.angleX);
    double f = std::fabs(b) > std::fabs(a) ? b : a;
    if (f == 0) f = 0.1;
    const SurfTable& n = d_.IndexWl[1];
    double y = d_.EntrPupilZ != 0 ? d_.EntrPupilY : 0.0;
    double u = d_.ObjDistance == 0 ? std::tan(kPi / 180 * f) : (y - 0.01) / d_.ObjDistance;
    for (int i = 1; i <= d_.SurfCount; ++i) {
      const double n0 = i == 1 ? 1.0 : n[i - 1], n1 = n[i];
      u = u * n0 / n1 - (n1 - n0) * y / (d_.Radius[i] * n1);
      y = y + d_.Thickness[i] * u;
    }
    return -y / u;
  }

  struct Ray {
    double y;       // height in the reference plane
    double exit;    // exit angle
    double object;  // object-side angle
    bool stopped;
  };

  // One meridional ray from height h through every surface to the reference plane.
  Ray Trace(const SurfTable& index, double h, bool aperture) {
    SurfaceLoopPolicy policy;
    policy.indexTable = &index;
    policy.testAperture = aperture;
    policy.apertureMargin = 0.5;  // wider than the spot diagram's 0.1
    policy.stoppedRayEnds = false;
    t_.FieldCosZ = 1;
    t_.FieldCosY = t_.FieldCosX = 0;
    t_.ObjHeight = 0;
    t_.RayX = 0;
    t_.RayY = h;
    t_.RayZ = 0;
    t_.StartRay();
    const double object = ArcSin(t_.RayCosY);
    t_.TraceSurfaces(policy);
    Ray ray;
    ray.stopped = t_.RayVignetted;
    ray.exit = ArcSin(t_.RayCosY);
    t_.TraceToImage(r_);
    ray.y = t_.RayY;
    ray.object = object;
    return ray;
  }

 private:
  const DesignState& d_;
  Tracer t_;
  double r_;
};

}  // namespace

SphericalResult ComputeSpherical(const DesignState& d, const SphericalSettings& s) {
  SphericalResult out;
  for (int k = 0; k < 6; ++k) {
    out.wavelengths[k] = d.Wavelength[k];
    out.colors[k + 1] = d.WlColor[k + 1];
    out.InUse[k] = d.IndexWl[k + 1][1] != 0;
  }
  const double R = s.referenceBfl;
  ZoneTrace zt(d, R);
  double ya = 0;  // the reference height of wavelength 1
  try {
    const double P = zt.ExitPupil(s);
    RequireFinite(P);
    const bool infinite = d.ObjDistance == 0;
    const double step = 0.05 * static_cast<double>(d.PupilRadius);
    for (int k = 1; k <= 6; ++k) {
      if (k > 1 && !out.InUse[k - 1]) continue;
      const SurfTable index = PrivateIndexTable(d, k, IndexWidth::Double);
      // Written zone by zone: a failure leaves what was traced before it.
      ZoneTable &la = out.ZoneLA[k - 1], &ta = out.ZoneTA[k - 1], &osc = out.ZoneOSC[k - 1];
      ZoneTable &u = out.ZoneU[k - 1], &back = out.ZoneBack[k - 1];
      // Reference ray A, on the axis.
      const auto a = zt.Trace(index, 1e-9, false);
      const double ua = a.exit;
      const double yak = a.y;
      if (k == 1) ya = a.y;
      // Reference ray B, near the axis.
      const auto b = zt.Trace(index, 0.001, false);
      const double ub = b.exit - ua;
      const double bfl_raw = -(b.y - yak) / std::tan(ub);
      const double b0 = bfl_raw + R;
      const double u0 = b.exit;
      const double v0 = b.object;
      la[0] = bfl_raw;
      ta[0] = -(b.y - ya);
      back[0] = b0;
      RequireFinite(bfl_raw);
      auto zone = [&](int i, double h) {
        const auto z = zt.Trace(index, h, true);
        out.ZoneStopped[i] = z.stopped ? 1.0f : 0.0f;
        const double uz = z.exit - ua;
        la[i] = -(z.y - yak) / std::tan(uz);
        if (infinite)
          osc[i] = (h / 0.001) * (u0 / std::sin(uz)) * (b0 - P) / (R + la[i] - P) - 1;
        else
          osc[i] = (std::sin(z.object) / std::sin(uz)) * (u0 / v0) * (b0 - P) / (R + la[i] - P) - 1;
        ta[i] = -(z.y - ya);
        u[i] = uz;
        back[i] = la[i] + R;
        RequireFinite(la[i]);
        RequireFinite(osc[i]);
      };
      // The heights accumulate step by step.
      double h = 0;
      for (int i = 1; i <= 20; ++i) {
        h += step;
        zone(i, h);
      }
      h = 0;
      for (int i = 22; i <= 41; ++i) {
        h -= step;
        zone(i, h);
      }
      if (k == 1) out.traced = true;
    }
  } catch (const TraceError&) {
    out.error = kZoneError;
  }

  for (int k = 0; k < 6; ++k) {
    for (int i = 0; i <= 20; ++i) out.LongScale = std::max(out.LongScale, std::fabs(out.ZoneLA[k][i]));
    for (int i = 0; i < kZoneCount; ++i) out.TransvScale = std::max(out.TransvScale, std::fabs(out.ZoneTA[k][i]));
  }
  if (s.maxScale != 0) out.LongScale = s.maxScale;
  for (int row = 0; row < 10; ++row)
    for (int k = 0; k < 6; ++k) out.oscTable[row][k] = SignedFixed(-out.ZoneOSC[k][(row + 1) * 2], 6);
  return out;
}

namespace {

const Rgb kGrid{140, 140, 140};
const Rgb kBlack{0, 0, 0};
const Rgb kRed{255, 0, 0};
const Rgb kStoppedGrey{230, 230, 230};

}  // namespace

void DrawLongitudinalSA(const SphericalResult& r, Canvas& c) {
  double S = r.LongScale;
  if (S == 0 || !std::isfinite(S)) S = 0.0001;
  c.Window(-1.1 * S, 21, 1.3 * S, -1);
  c.Clear({255, 255, 255});
  const double lo = std::min(-S, S), hi = std::max(-S, S);
  // Grid: every 10 % of the pupil across, and S/2 steps along.
  for (int z = 0; z <= 20; z += 2) c.Line(lo, z, hi, z, kGrid, 1);
  for (int q = -2; q <= 2; ++q) c.Line(q * S / 2, 0, q * S / 2, 20, kGrid, 1);
  c.Line(0, 0, 0, 20, kBlack, 1);
  c.Text(-0.92 * S, 21, "% Pupil Radius", kBlack);
  for (int z = 4; z <= 20; z += 4) c.Text(-1.08 * S, z + 0.4, std::to_string(z * 5), kBlack);
  c.Text(-S, -0.05, FormatFixed(-S, 5), kBlack);
  c.Text(-S / 2, -0.05, FormatFixed(-S / 2, 5), kBlack);
  c.Text(S / 2, -0.05, FormatFixed(S / 2, 5), kBlack);
  c.Text(S, -0.05, FormatFixed(S, 5), kBlack);
  int legend = 0;
  for (int k = 0; k < 6; ++k) {
    if (!r.InUse[k]) continue;
    std::vector<PlotPoint> pts;
    for (int i = 0; i <= 20; ++i) pts.push_back({r.ZoneLA[k][i], static_cast<double>(i)});
    c.Polyline(pts, r.colors[k + 1], 2);
    const double y = 19 - 1.5 * legend++;
    c.Line(1.03 * S, y, 1.07 * S, y, r.colors[k + 1], 2);
    c.Text(1.08 * S, y + 0.4, FormatFixed(r.wavelengths[k], 4), kBlack);
  }
}

void DrawTransversalSA(const SphericalResult& r, Canvas& c) {
  c.Window(-310, 100, 300, -100);
  c.Clear({255, 255, 255});
  const double unit = r.TransvScale == 0 ? 0.0001 : r.TransvScale / 100;
  c.Line(-300, 0, 300, 0, kGrid, 1);
  c.Line(0, -100, 0, 100, kGrid, 1);
  c.Line(-300, 100, 300, 100, kGrid, 1);
  c.Line(-300, -100, 300, -100, kGrid, 1);
  c.Line(-300, -100, -300, 100, kGrid, 1);
  c.Line(300, -100, 300, 100, kGrid, 1);
  c.Line(-4, 70, 4, 70, kRed, 1);
  c.Line(-4, -70, 4, -70, kRed, 1);
  c.Text(-296, 98, FormatFixed(r.TransvScale, 5), kBlack);
  c.Text(-296, 68, FormatFixed(0.7 * r.TransvScale, 5), kBlack);
  c.Text(272, -2, "100", kBlack);
  c.Text(206, -2, "70", kBlack);
  c.Line(210, -3, 210, 3, kRed, 1);
  c.Line(-210, -3, -210, 3, kRed, 1);
  c.Text(240, 20, "%Zone", kBlack);
  // Zone i stands 15 units from the centre, above and below the axis.
  auto x_of = [](int i) { return i <= 20 ? 15.0 * i : -15.0 * (i - 21); };
  for (int k = 0; k < 6; ++k) {
    if (!r.InUse[k]) continue;
    for (int side = 0; side < 2; ++side) {
      int prev = 0;
      for (int n = 1; n <= 20; ++n) {
        const int i = side == 0 ? n : n + 21;
        const Rgb color = r.ZoneStopped[i] != 0 ? kStoppedGrey : r.colors[k + 1];
        c.Line(x_of(prev), r.ZoneTA[k][prev] / unit, x_of(i), r.ZoneTA[k][i] / unit, color, 2);
        prev = i;
      }
    }
  }
}

std::string OscTableText(const SphericalResult& r) {
  std::string text = "COMA [ O.S.C.]\n";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%-8s", "% Zone");
  text += buf;
  for (int k = 1; k <= 6; ++k) {
    std::snprintf(buf, sizeof buf, "%14s", ("WL-" + std::to_string(k)).c_str());
    text += buf;
  }
  text += "\n";
  for (int row = 0; row < 10; ++row) {
    std::snprintf(buf, sizeof buf, "%-8d", (row + 1) * 10);
    text += buf;
    for (int k = 0; k < 6; ++k) {
      std::snprintf(buf, sizeof buf, "%14s", r.oscTable[row][k].c_str());
      text += buf;
    }
    text += "\n";
  }
  return text;
}

std::string SphericalReport(const SphericalResult& r) {
  std::string t = "Sperical Aberration Data Report\n\n";
  char buf[64];
  auto cell = [&](const std::string& s) {
    std::snprintf(buf, sizeof buf, "%12s", s.c_str());
    t += buf;
  };
  auto head = [&](const char* title) {
    t += title;
    t += "\n  WaveLength ";
    for (int k = 0; k < 6; ++k) cell(FormatFixed(r.wavelengths[k], 4));
    t += "\n  % Zone\n";
  };
  head("LONGITUDINAL SPHERICAL ABERRATION");
  for (int i = 20; i >= 0; --i) {
    std::snprintf(buf, sizeof buf, "%-13d", i * 5);
    t += buf;
    for (int k = 0; k < 6; ++k) cell(FormatFixed(r.ZoneLA[k][i], 4));
    t += "\n";
  }
  t += "\n";
  head("TRANSVERSAL SPHERICAL ABERRATION");
  for (int i = 41; i >= 0; --i) {
    if (i == 21) {
      t += "\n";  // the zones below the axis are set apart
      continue;
    }
    const int pct = i > 21 ? -(i - 21) * 5 : i * 5;
    std::snprintf(buf, sizeof buf, "%-13d", pct);
    t += buf;
    for (int k = 0; k < 6; ++k) cell(FormatFixed(r.ZoneTA[k][i], 4));
    t += "\n";
  }
  return t;
}

}  // namespace ovrin
