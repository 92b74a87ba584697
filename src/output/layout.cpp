#include "output/layout.h"

#include <algorithm>
#include <cmath>

#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {

constexpr int kProfilePoints = 201;

const Rgb kLensFill{190, 225, 250}, kLensLine{0, 60, 200}, kMirror{0, 0, 0}, kScreen{230, 0, 0};
const Rgb kPlain{120, 120, 120}, kAxialRay{0, 170, 0}, kFieldRay{0, 0, 255};

// A point of surface i's own frame (sag z, height y) in the picture: the tilt
// about X turned back about the vertex, and the decenter added, in the order
// the table gives.
PlotPoint ToPicture(const DesignState& d, int i, double vertex_z, double z, double y) {
  const double a = d.TiltA[i];  // the trace's sign
  const double ca = std::cos(a), sa = std::sin(a);
  auto unrotate = [&](double& zz, double& yy) {
    const double z0 = zz * ca + yy * sa;
    const double y0 = -zz * sa + yy * ca;
    zz = z0, yy = y0;
  };
  if (d.TiltOrder[i] == 2.0f) {
    y += d.DecY[i];
    unrotate(z, y);
  } else {
    unrotate(z, y);
    y += d.DecY[i];
  }
  return {vertex_z + z, y};
}

// The sag of surface i at height y; false beyond the surface's formula.
bool Sag(const DesignState& d, int i, double y, double& z) {
  const double r = d.Radius[i];
  const float type = d.SurfType[i];
  const bool plane = r == 0 || std::fabs(r) >= 1e10;
  const bool conic = type == 2.0f || type == 3.0f, high_order = type == 3.0f;
  z = SurfaceSag(y, plane ? 0.0 : 1 / r, conic ? d.Conic[i] : 0.0, high_order ? d.AsphA4[i] : 0.0,
                 high_order ? d.AsphA6[i] : 0.0, high_order ? d.AsphA8[i] : 0.0);
  return std::isfinite(z);
}

struct RayRecorder {
  const DesignState* d;
  const std::vector<double>* vz;
  std::vector<PlotPoint>* points;
  bool keep_vignetted;
  bool ended = false;
  static void At(void* self, int surface, double, double y, double z, bool stopped) {
    auto* r = static_cast<RayRecorder*>(self);
    if (r->ended) return;
    r->points->push_back(ToPicture(*r->d, surface, (*r->vz)[surface], z, y));
    if (stopped && !r->keep_vignetted) r->ended = true;
  }
};

}  // namespace

LayoutFrame LayoutFrameOf(const std::vector<double>& vz, double ymax, double ymin, double* total_track,
                          double* margin) {
  double zmax = 0, zmin = 0;
  for (double z : vz) {
    zmax = std::max(zmax, z);
    zmin = std::min(zmin, z);
  }
  const double t = std::fabs(zmin) + std::fabs(zmax);
  const double h = std::max(std::fabs(ymax), std::fabs(ymin));
  LayoutFrame f;
  double m;
  if (h <= t / 4) {
    m = 0.1 * t;
    f.left = zmin - m;
    f.top = t / 4 + m / 2;
    f.right = zmax + m;
  } else {
    m = 0.1 * 4 * h;
    f.left = zmin - m;
    f.top = h + m / 2;
    f.right = zmin + 4 * h + m;
  }
  f.bottom = -f.top;
  if (total_track) *total_track = t;
  if (margin) *margin = m;
  return f;
}

std::vector<PlotPoint> SurfaceProfile(const DesignState& d, int i, double vertex_z) {
  std::vector<PlotPoint> pts;
  const double h = std::fabs(d.SemiDiam[i]);
  for (int k = 0; k < kProfilePoints; ++k) {
    const double y = -h + 2 * h * k / (kProfilePoints - 1);
    double z;
    if (!Sag(d, i, y, z)) continue;  // beyond the surface: only where it reaches is drawn
    pts.push_back(ToPicture(d, i, vertex_z, z, y));
  }
  return pts;
}

Layout ComputeLayout(const DesignState& d, const LayoutSettings& s) {
  Layout L;
  const int n = d.SurfCount;
  L.vertexZ.assign(n + 2, 0.0);
  for (int i = 1; i <= n; ++i) L.vertexZ[i] = L.vertexZ[i - 1] + d.Thickness[i - 1];
  L.vertexZ[n + 1] = L.vertexZ[n] + d.Bfl;  // the image plane
  double ymax = 0, ymin = 999999999;
  for (int i = 1; i <= n; ++i) {
    ymax = std::max(ymax, d.SemiDiam[i]);
    ymin = std::min(ymin, -d.SemiDiam[i]);
  }
  L.frame = LayoutFrameOf(L.vertexZ, ymax, ymin, &L.TotalTrack, &L.margin);

  // Surfaces and the elements between them.
  for (int i = 1; i <= n; ++i) {
    const double before = i == 1 ? 1.0 : d.IndexWl[1][i - 1];
    const double after = d.IndexWl[1][i];
    Layout::Kind kind = Layout::Kind::Plain;
    if (d.SurfType[i] == 4.0f) kind = Layout::Kind::Screen;
    else if ((before < 0) != (after < 0)) kind = Layout::Kind::Mirror;
    L.surfaces.push_back({i, kind, SurfaceProfile(d, i, L.vertexZ[i])});
  }
  for (int i = 1; i < n; ++i) {
    const double medium = d.IndexWl[1][i];
    if (std::fabs(medium) == 1.0 || medium == 0) continue;
    std::vector<PlotPoint> a = L.surfaces[i - 1].profile, b = L.surfaces[i].profile;
    if (a.empty() || b.empty()) continue;
    L.surfaces[i - 1].kind = L.surfaces[i - 1].kind == Layout::Kind::Plain ? Layout::Kind::Lens : L.surfaces[i - 1].kind;
    L.surfaces[i].kind = L.surfaces[i].kind == Layout::Kind::Plain ? Layout::Kind::Lens : L.surfaces[i].kind;
    // The smaller surface is carried out to the larger one's rim at its edge sag: a flat rim.
    const double ha = std::fabs(d.SemiDiam[i]), hb = std::fabs(d.SemiDiam[i + 1]);
    std::vector<PlotPoint>& small = ha < hb ? a : b;
    const std::vector<PlotPoint>& large = ha < hb ? b : a;
    if (ha != hb) {
      small.insert(small.begin(), {small.front().x, large.front().y});
      small.push_back({small.back().x, large.back().y});
    }
    std::vector<PlotPoint> outline = a;
    outline.insert(outline.end(), b.rbegin(), b.rend());
    L.elements.push_back(outline);
  }

  // The fans of rays of wavelength 1: field 0 and the chosen field (and its opposite).
  const int count = std::clamp(s.rays, 0, 61);
  if (count == 0) return L;
  const double pupil = d.EntrBeamSemiDiam;
  struct Fan {
    double angle_deg, object_height;
    bool axial;
  };
  std::vector<Fan> fans{{0, 0, true}};
  const double height = d.HalfFieldY * s.field_fraction;
  if (s.field_deg != 0 || (d.ObjDistance != 0 && height != 0)) {
    fans.push_back({s.field_deg, height, false});
    if (s.both_half_fields) fans.push_back({-s.field_deg, -height, false});
  }
  Tracer t(d);
  SurfaceLoopPolicy policy;
  policy.wavelength = 1;
  for (const Fan& fan : fans) {
    const double a = fan.angle_deg * kPi / 180;
    t.FieldCosZ = std::cos(a);
    t.FieldCosY = std::sin(a);
    t.FieldCosX = 0;
    t.ObjHeight = fan.object_height;
    for (int j = 0; j < count; ++j) {
      const double py = count == 1 ? 0.0 : -pupil + 2 * pupil * j / (count - 1);
      Layout::Ray ray{{}, fan.axial};
      RayRecorder rec{&d, &L.vertexZ, &ray.points, s.plot_vignetted};
      SurfaceVisit visit{&RayRecorder::At, &rec};
      try {
        t.RayX = 0;
        t.RayY = py;
        t.RayZ = 0;
        t.StartRay();
        // The ray comes in over the length of the left margin.
        const double lead = L.margin;
        const double slope = t.RayCosZ != 0 ? t.RayCosY / t.RayCosZ : 0;
        ray.points.push_back({L.vertexZ[0] - lead, t.RayY - lead * slope});
        ray.points.push_back({L.vertexZ[0], t.RayY});
        t.TraceSurfaces(policy, &visit);
        if (!rec.ended) {
          t.TraceToImage(d.Bfl);
          ray.points.push_back(ToPicture(d, n + 1, L.vertexZ[n + 1], t.RayZ, t.RayY));
        }
      } catch (const TraceError&) {
        // A failed ray ends where it got to.
      }
      if (ray.points.size() > 1) L.rays.push_back(std::move(ray));
    }
  }
  return L;
}

namespace {

// A round length near a fifth of the window's width: 1, 2 or 5 times a power of ten.
double ScaleLength(double width) {
  const double target = width / 5;
  const double p = std::pow(10.0, std::floor(std::log10(target)));
  for (double m : {5.0, 2.0, 1.0})
    if (m * p <= target) return m * p;
  return p;
}

}  // namespace

void DrawLayout(const Layout& L, const LayoutSettings& s, const LayoutFrame& w, Canvas& c) {
  const Rgb back = PlotBackground(s.background);
  const Rgb ink = PlotInk(s.background);
  const Rgb mirror = s.background == 1 ? Rgb{255, 255, 255} : kMirror;
  c.Window(w.left, w.top, w.right, w.bottom);
  c.Clear(back);

  // The scale bar at the top right, with its length below it.
  const double width = w.right - w.left, height = w.top - w.bottom;
  const double len = ScaleLength(std::fabs(width));
  const double y = w.top - 0.15 * height;
  const double x2 = w.right - width / 30;
  c.Line(x2 - len, y, x2, y, ink, 3);
  c.Text(x2 - len, y - 0.02 * height, ShortestText(len) + " mm", ink);

  for (const auto& e : L.elements) c.Polygon(e, kLensFill);
  for (const auto& e : L.elements) {
    if (e.empty()) continue;
    std::vector<PlotPoint> outline = e;
    outline.push_back(e.front());
    c.Polyline(outline, kLensLine, 1);
  }
  for (const auto& sfc : L.surfaces) {
    if (sfc.kind == Layout::Kind::Lens) continue;  // drawn with its element
    const Rgb color = sfc.kind == Layout::Kind::Mirror ? mirror : sfc.kind == Layout::Kind::Screen ? kScreen : kPlain;
    const int pen = sfc.kind == Layout::Kind::Plain ? 1 : 2;
    if (sfc.profile.size() > 1) c.Polyline(sfc.profile, color, pen);
  }
  for (const auto& ray : L.rays)
    if (ray.points.size() > 1) c.Polyline(ray.points, ray.axial ? kAxialRay : kFieldRay, 1);
}

}  // namespace ovrin
