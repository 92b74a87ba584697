#include "analysis/geometric/field_curvature.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "analysis/geometric/geometric_text.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {

double ArcSin(double c) { return std::atan(c / std::sqrt(1 - c * c)); }

void RequireFinite(double v) {
  if (!std::isfinite(v)) throw TraceError();
}

}  // namespace

FieldCurvResult ComputeFieldCurvature(const DesignState& d, const FieldCurvSettings& s) {
  FieldCurvResult r;
  r.finite = d.ObjDistance != 0;
  const double a = std::fabs(ParseLeadingNumber(s.angleY)), b = std::fabs(ParseLeadingNumber(s.angleX));
  double field = std::max(a, b);
  if (field == 0) field = 0.1;
  r.FieldStep = field * kPi / 180 / 10;
  r.ReferencePlane = ParseLeadingNumber(s.referenceBfl);
  if (r.ReferencePlane == 0) r.ReferencePlane = d.Bfl;

  const int k = s.wavelength >= 1 && s.wavelength <= 6 ? s.wavelength : 1;
  const SurfTable index = PrivateIndexTable(d, k, IndexWidth::Double);
  SurfaceLoopPolicy policy;
  policy.indexTable = &index;
  policy.testAperture = false;  // the close rays pass every aperture
  Tracer t(d);

  struct Exit {
    double x, y, ay, ax;
  };
  // From the registers as started, through the surfaces to the reference plane.
  auto trace = [&]() {
    t.TraceSurfaces(policy);
    t.TraceToImage(r.ReferencePlane);
    return Exit{t.RayX, t.RayY, ArcSin(t.RayCosY), ArcSin(t.RayCosX)};
  };
  // A neighbour starts on the first vertex plane.
  auto start = [&](double x, double y, double cz, double cy, double cx) {
    t.RayX = x, t.RayY = y, t.RayZ = 0;
    t.RayCosZ = cz, t.RayCosY = cy, t.RayCosX = cx;
  };

  try {
    for (int step = 0; step <= 10; ++step) {
      double pupil_y = 0, cz = 1, cy = 0, cx = 0, h = 0;
      if (!r.finite) {
        const double angle = step == 0 ? r.FieldStep / 10 : step * r.FieldStep;
        pupil_y = std::tan(angle) * d.EntrPupilZ;
        cz = std::cos(angle), cy = std::sin(angle), cx = 0;
        start(0, pupil_y, cz, cy, cx);
      } else {
        // The chief ray leaves the pupil centre toward the object point's image.
        h = step == 0 ? d.HalfFieldY / 100 : d.HalfFieldY / 10 * step;
        t.RayX = t.RayY = t.RayZ = 0;
        t.ObjHeight = h;
        t.StartRay();
        pupil_y = t.RayY;
      }
      const Exit chief = trace();
      r.ChiefHeight[step] = chief.y;

      auto aimed = [&](double x, double y) {
        if (!r.finite) {
          start(x, y, cz, cy, cx);
          return;
        }
        // Aimed from the object point, without the pupil distance.
        const double l = d.ObjDistance, dy = y - h;
        const double norm = std::sqrt(l * l + dy * dy + x * x);
        start(x, y, l / norm, dy / norm, x / norm);
      };
      aimed(0, pupil_y + 0.0005);
      const Exit tan_ray = trace();
      aimed(0.0005, pupil_y);
      const Exit sag_ray = trace();
      r.ZTan[step] = (chief.y - tan_ray.y) / (std::tan(tan_ray.ay) - std::tan(chief.ay));
      r.ZSag[step] = (chief.x - sag_ray.x) / (std::tan(sag_ray.ax) - std::tan(chief.ax));
      RequireFinite(r.ZTan[step]);
      RequireFinite(r.ZSag[step]);
    }
    for (int row = 1; row <= 10; ++row) {
      const double m = ((r.ZSag[row] - r.ZSag[0]) + (r.ZTan[row] - r.ZTan[0])) / 2;
      const double radius = r.ChiefHeight[row] * r.ChiefHeight[row] / (2 * m);
      RequireFinite(radius);
      r.AvgRadius[row] = static_cast<float>(radius);
      const double first = r.finite ? d.HalfFieldY / 10 * row : row * r.FieldStep * 180 / kPi;
      r.rows[row - 1] = {FormatFixed(first, 2), FormatFixed(r.ChiefHeight[row], 3), FormatFixed(r.ZSag[row], 4),
                         FormatFixed(r.ZTan[row], 4), SingleText(r.AvgRadius[row])};
      r.rowsDone = row;
    }
  } catch (const TraceError&) {
    r.failed = true;
  }

  const double typed = ParseLeadingNumber(s.scale);
  if (typed != 0) {
    r.Scale = typed;
  } else {
    for (int i = 0; i <= 10; ++i) r.Scale = std::max({r.Scale, std::fabs(r.ZSag[i]), std::fabs(r.ZTan[i])});
  }
  return r;
}

void DrawFieldCurvature(const FieldCurvResult& r, Canvas& c) {
  c.Window(-320, 90, 320, -12);
  c.Clear({255, 255, 255});
  const Rgb axes{128, 128, 128}, black{0, 0, 0}, tan_color{255, 0, 0}, sag_color{0, 0, 255};
  c.Line(-250, 0, 250, 0, axes, 1);
  c.Line(0, 0, 0, 80, axes, 1);
  for (int x : {-250, -125, 125, 250}) c.Line(x, -1.5, x, 1.5, axes, 1);
  const double unit = r.Scale == 0 ? 0.01 / 250 : r.Scale / 250;
  c.Text(-262, -3, FormatFixed(-r.Scale, 4), black);
  c.Text(238, -3, FormatFixed(r.Scale, 4), black);
  c.Text(270, 4, "[ Z ]", black);
  const int last = r.failed ? -1 : 10;
  if (last < 0) return;
  std::vector<PlotPoint> tan_pts, sag_pts;
  for (int i = 0; i <= last; ++i) {
    tan_pts.push_back({r.ZTan[i] / unit, 8.0 * i});
    sag_pts.push_back({r.ZSag[i] / unit, 8.0 * i});
  }
  c.Polyline(tan_pts, tan_color, 2);
  c.Polyline(sag_pts, sag_color, 2);
  c.Text(tan_pts.back().x, 88, "Tan.", tan_color);
  c.Text(sag_pts.back().x, 84, "Sag.", sag_color);
}

std::string FieldCurvTableText(const FieldCurvResult& r) {
  std::string t;
  char buf[160];
  std::snprintf(buf, sizeof buf, "%-12s%18s%14s%14s%24s\n", r.finite ? "Obj.Height" : "ANGLE", "From AXIS dist.",
                "Z sagittal", "Z tangential", "Average Field  Radius");
  t += buf;
  for (int row = 0; row < r.rowsDone; ++row) {
    const auto& c = r.rows[row];
    std::snprintf(buf, sizeof buf, "%-12s%18s%14s%14s%24s\n", c[0].c_str(), c[1].c_str(), c[2].c_str(),
                  c[3].c_str(), c[4].c_str());
    t += buf;
  }
  return t;
}

}  // namespace ovrin
