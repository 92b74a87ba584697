#include "analysis/geometric/ray_fan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

RayFanResult ComputeRayFan(const DesignState& d, const RayFanSettings& s) {
  RayFanResult out;
  for (int k = 1; k <= 6; ++k) {
    out.InUse[k - 1] = d.IndexWl[k][1] != 0;
    out.colors[k] = d.WlColor[k];
  }
  Tracer t(d);
  const double a = d.EntrBeamSemiDiam;
  const double angle_y = ParseLeadingNumber(s.angleY), angle_x = ParseLeadingNumber(s.angleX);
  const bool infinite = d.ObjDistance == 0;

  static constexpr double kFactors[3] = {0, 0.7, 1};
  int f = 0;
  try {
    for (f = 0; f < 3; ++f) {
      FanField& field = out.fields[f];
      if (infinite) {
        const FieldDirection dir =
            FieldDirectionOf(kFactors[f] * angle_y * kPi / 180, kFactors[f] * angle_x * kPi / 180);
        t.FieldCosZ = dir.cosZ, t.FieldCosY = dir.cosY, t.FieldCosX = dir.cosX;
      } else {
        t.ObjHeight = d.HalfFieldY * kFactors[f];
      }
      for (int k = 1; k <= 6; ++k) {
        if (k > 1 && !out.InUse[k - 1]) continue;
        const SurfTable index = PrivateIndexTable(d, k, IndexWidth::Double);
        SurfaceLoopPolicy policy;
        policy.indexTable = &index;
        policy.testAperture = false;
        auto trace = [&](double px, double py) {
          t.RayX = px, t.RayY = py, t.RayZ = 0;
          t.StartRay();
          t.TraceSurfaces(policy);
          t.TraceToImage(s.imageDistance, s.focalRadius);
          if (!std::isfinite(t.RayX) || !std::isfinite(t.RayY)) throw TraceError(d.SurfCount + 1);
        };
        for (bool tangential : {true, false}) {
          // The chief ray: wavelength 1's is the reference of every wavelength.
          trace(0, 1e-8);
          if (k == 1) {
            field.FanChiefY = t.RayY;
            field.FanChiefX = t.RayX;
          }
          trace(0, 0.0001);
          FanTable& table = tangential ? field.tangential[k - 1] : field.sagittal[k - 1];
          for (int j = 1; j <= kFanPoints; ++j) {
            const double p = a * (1 - (j - 1) / 10.0);
            if (tangential) {
              trace(0, p);
              table[j - 1] = t.RayY - field.FanChiefY;
            } else {
              trace(p, 0);
              table[j - 1] = t.RayX - field.FanChiefX;
            }
          }
        }
      }
      for (int k = 0; k < 6; ++k) {
        if (!out.InUse[k] && k > 0) continue;
        for (int j = 0; j < kFanPoints; ++j) {
          field.tangentialMax = std::max(field.tangentialMax, std::fabs(field.tangential[k][j]));
          field.sagittalMax = std::max(field.sagittalMax, std::fabs(field.sagittal[k][j]));
        }
      }
      field.Scale = std::max(field.tangentialMax, field.sagittalMax);
      // Each graph divides by its own largest value.
      if (field.tangentialMax == 0 || field.sagittalMax == 0) {
        out.error = kFanZeroScale;
        return out;
      }
      field.done = true;
    }
  } catch (const TraceError&) {
    out.error = kFanRayError;
  }
  return out;
}

void DrawRayFan(const RayFanResult& r, int field, bool tangential, Canvas& c) {
  c.Window(-310, 110, 310, -110);
  c.Clear({255, 255, 255});
  const Rgb grey{192, 192, 192}, red{255, 0, 0}, black{0, 0, 0};
  c.Line(-300, 0, 300, 0, grey, 1);
  c.Line(0, -100, 0, 100, grey, 1);
  c.Line(-300, 100, 300, 100, grey, 1);
  c.Line(-300, -100, 300, -100, grey, 1);
  c.Line(-300, -100, -300, 100, grey, 1);
  c.Line(300, -100, 300, 100, grey, 1);
  for (int y : {70, 100, -70, -100}) c.Line(-3, y, 3, y, red, 1);
  for (int x : {-150, -300, 150, 300}) c.Line(x, -2, x, 2, red, 1);
  const FanField& f = r.fields[field];
  const double m = tangential ? f.tangentialMax : f.sagittalMax;
  c.Text(4, 108, "100", black);
  c.Text(4, 78, "70", black);
  c.Text(-306, -102, FormatFixed(-f.Scale, 5), black);
  c.Text(236, -102, FormatFixed(f.Scale, 5), black);
  c.Text(260, 30, tangential ? "%Y" : "%X", black);
  if (!f.done || m == 0) return;
  // The largest value of all wavelengths reaches the edge of the box; a
  // scale below the printed figures' last digit (1e-5 mm) is drawn at that
  // digit, so an aberration-free fan is a straight line, not arithmetic noise.
  const double factor = 300 / std::max(f.Scale, 1e-5);
  for (int k = 0; k < 6; ++k) {
    if (k > 0 && !r.InUse[k]) continue;
    const FanTable& table = tangential ? f.tangential[k] : f.sagittal[k];
    std::vector<PlotPoint> pts;
    for (int j = 0; j < kFanPoints; ++j) pts.push_back({table[j] * factor, 100.0 * (1 - j / 10.0)});
    c.Polyline(pts, r.colors[k + 1], 2);
  }
}

std::string RayFanText(const RayFanResult& r, double semi_diameter) {
  static const char* kNames[3] = {"ON AXIS", "0.7 FIELD", "FULL FIELD"};
  std::string t;
  char buf[64];
  for (int f = 0; f < 3; ++f) {
    const FanField& field = r.fields[f];
    if (!field.done) continue;
    t += std::string(kNames[f]) + "   chief ray height " + FormatFixed(field.FanChiefY, 6) + "   scale " +
         FormatFixed(field.Scale, 5) + "\n";
    for (bool tangential : {true, false}) {
      t += tangential ? "  TANGENTIAL\n  Pupil Y   " : "  SAGITTAL\n  Pupil X   ";
      for (int k = 0; k < 6; ++k)
        if (k == 0 || r.InUse[k]) {
          std::snprintf(buf, sizeof buf, "%14s", ("WL-" + std::to_string(k + 1)).c_str());
          t += buf;
        }
      t += "\n";
      for (int j = 0; j < kFanPoints; ++j) {
        std::snprintf(buf, sizeof buf, "  %-10s", FormatFixed(semi_diameter * (1 - j / 10.0), 3).c_str());
        t += buf;
        for (int k = 0; k < 6; ++k)
          if (k == 0 || r.InUse[k]) {
            const FanTable& table = tangential ? field.tangential[k] : field.sagittal[k];
            std::snprintf(buf, sizeof buf, "%14s", FormatFixed(table[j], 6).c_str());
            t += buf;
          }
        t += "\n";
      }
    }
    t += "\n";
  }
  return t;
}

}  // namespace ovrin
