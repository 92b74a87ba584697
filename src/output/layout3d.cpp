#include "output/layout3d.h"

#include <algorithm>
#include <cmath>

#include "core/edge_contact.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {

using Mat = std::array<std::array<double, 3>, 3>;

Mat Mul(const Mat& a, const Mat& b) {
  Mat c{};
  for (int r = 0; r < 3; ++r)
    for (int k = 0; k < 3; ++k) c[r][k] = a[r][0] * b[0][k] + a[r][1] * b[1][k] + a[r][2] * b[2][k];
  return c;
}
Mat Transpose(const Mat& a) {
  Mat t{};
  for (int r = 0; r < 3; ++r)
    for (int k = 0; k < 3; ++k) t[r][k] = a[k][r];
  return t;
}
Vec3 Apply(const Mat& m, const Vec3& p) {
  return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z, m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z,
          m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z};
}
Vec3 Add(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec3 Sub(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

// The trace's rotations of a point about the vertex, as matrices on (x, y, z).
Mat RotA(double a) {
  const double c = std::cos(a), s = std::sin(a);
  return Mat{{{1, 0, 0}, {0, c, s}, {0, -s, c}}};
}
Mat RotB(double b) {
  const double c = std::cos(b), s = std::sin(b);
  return Mat{{{c, 0, -s}, {0, 1, 0}, {s, 0, c}}};
}

// The frame followed by one step that maps the new local point to the old one: p_old = R p_new + w.
void Then(Frame3& f, const Mat& r, const Vec3& w) {
  f.origin = Add(f.origin, Apply(f.m, w));
  f.m = Mul(f.m, r);
}
const Mat kIdentity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
void Shift(Frame3& f, const Vec3& w) { Then(f, kIdentity, w); }
// The inverse of a rotation about the point (0, 0, t).
void Unrotate(Frame3& f, const Mat& r, double t) {
  const Mat rt = Transpose(r);
  const Vec3 T{0, 0, t};
  Then(f, rt, Sub(T, Apply(rt, T)));
}

// Enters surface i from the frame before it, the steps of the trace undone in reverse.
Frame3 EnterFrame(const Frame3& before, const DesignState& d, int i, double thick) {
  Frame3 f = before;
  const double a = d.TiltA[i], b = d.TiltB[i];
  const Vec3 dec{d.DecX[i], d.DecY[i], 0};
  const float order = d.TiltOrder[i];
  if (a == 0 && b == 0) {
    Shift(f, dec);
  } else if (order == 2.0f) {
    if (b != 0) Unrotate(f, RotB(b), thick);
    if (a != 0) Unrotate(f, RotA(a), thick);
    Shift(f, dec);
  } else if (order == 1.0f || order == 0.0f) {
    Shift(f, dec);
    if (a != 0) Unrotate(f, RotA(a), thick);
    if (b != 0) Unrotate(f, RotB(b), thick);
  }
  Shift(f, {0, 0, thick});
  return f;
}

// After a tilted mirror the trace turns the frame once more about the vertex.
Frame3 LeaveMirror(const Frame3& at, const DesignState& d, int i) {
  const double a = d.TiltA[i], b = d.TiltB[i];
  const float order = d.TiltOrder[i];
  Mat l = kIdentity;  // local_out = l * local
  if (order == 1.0f) {
    if (a != 0) l = Mul(RotA(a), l);
    if (b != 0) l = Mul(RotB(b), l);
  } else if (order == 2.0f) {
    if (b != 0) l = Mul(RotB(b), l);
    if (a != 0) l = Mul(RotA(a), l);
  }
  Frame3 f = at;
  Then(f, Transpose(l), {0, 0, 0});
  return f;
}

bool TurnsAtMirror(const DesignState& d, int i) {
  const double before = i == 1 ? 1.0 : d.IndexWl[1][i - 1], after = d.IndexWl[1][i];
  const bool sign_change = (before < 0) != (after < 0);
  return sign_change && (d.TiltA[i] != 0.0 || !(std::fabs(d.TiltB[i]) <= 0.5));
}

bool IsGlass(double n) { return n != 0 && std::fabs(n) != 1.0; }

double Reach(const DesignState& d, int i, double h) {
  if (std::isfinite(SurfaceSagAt(d, i, h))) return h;
  double lo = 0, hi = h;
  for (int k = 0; k < 60; ++k) {
    const double mid = (lo + hi) / 2;
    (std::isfinite(SurfaceSagAt(d, i, mid)) ? lo : hi) = mid;
  }
  return lo;
}

constexpr int kRings = 6, kSectors = 36;
const Rgb kLens{150, 200, 240}, kMirror{190, 190, 200}, kScreen{210, 70, 70}, kPlain{140, 140, 140};
const Rgb kImage{120, 120, 120};
const Rgb kFieldColors[3] = {{0, 170, 0}, {0, 0, 255}, {220, 0, 0}};

struct RayRecorder {
  const std::vector<Frame3>* frames;
  std::vector<Vec3>* points;
  bool ended = false;
  static void At(void* self, int surface, double x, double y, double z, bool stopped) {
    auto* r = static_cast<RayRecorder*>(self);
    if (r->ended) return;
    r->points->push_back((*r->frames)[surface].ToGlobal(x, y, z));
    if (stopped) r->ended = true;
  }
};

}  // namespace

Vec3 Frame3::ToGlobal(double x, double y, double z) const { return Add(origin, Apply(m, {x, y, z})); }

std::vector<Frame3> SurfaceFrames(const DesignState& d) {
  const int n = d.SurfCount;
  std::vector<Frame3> frames(n + 2);
  Frame3 out;  // the frame the next surface is entered from
  for (int i = 1; i <= n + 1; ++i) {
    const double thick = i == 1 ? 0.0 : i == n + 1 ? d.Bfl : d.Thickness[i - 1];
    frames[i] = EnterFrame(out, d, i, thick);
    out = i <= n && TurnsAtMirror(d, i) ? LeaveMirror(frames[i], d, i) : frames[i];
  }
  return frames;
}

Layout3D ComputeLayout3D(const DesignState& d, const Layout3DSettings& s) {
  Layout3D L;
  const int n = d.SurfCount;
  L.frames = SurfaceFrames(d);
  auto point = [&](int i, double r, double phi, double z) {
    return L.frames[i].ToGlobal(r * std::cos(phi), r * std::sin(phi), z);
  };
  auto sag = [&](int i, double r) { return SurfaceSagAt(d, i, r); };
  // A shell of surface i from the axis to height h, ring by ring.
  auto shell = [&](int i, double h, Rgb color) {
    for (int ring = 0; ring < kRings; ++ring) {
      const double r0 = h * ring / kRings, r1 = h * (ring + 1) / kRings;
      const double z0 = sag(i, r0), z1 = sag(i, r1);
      for (int k = 0; k < kSectors; ++k) {
        const double p0 = 2 * kPi * k / kSectors, p1 = 2 * kPi * (k + 1) / kSectors;
        L.faces.push_back({{point(i, r0, p0, z0), point(i, r1, p0, z1), point(i, r1, p1, z1), point(i, r0, p1, z0)},
                           color});
      }
    }
  };
  auto rim_line = [&](int i, double h, double z, Rgb color) {
    Layout3D::Line line{{}, color, 1};
    for (int k = 0; k <= kSectors; ++k) line.points.push_back(point(i, h, 2 * kPi * k / kSectors, z));
    L.outlines.push_back(line);
  };

  std::vector<bool> in_lens(n + 2, false);
  for (int i = 1; i < n; ++i) {
    if (!IsGlass(d.IndexWl[1][i]) || d.SurfType[i] == 4.0f || d.SurfType[i + 1] == 4.0f) continue;
    const int j = i + 1;
    const double ha = Reach(d, i, std::fabs(d.SemiDiam[i])), hb = Reach(d, j, std::fabs(d.SemiDiam[j]));
    if (ha <= 0 || hb <= 0) continue;
    in_lens[i] = in_lens[j] = true;
    ++L.elements;
    shell(i, ha, kLens);
    shell(j, hb, kLens);
    // The smaller face is carried flat out to the rim, and the rim closes the lens.
    const double rim = std::max(ha, hb);
    const double za = sag(i, ha), zb = sag(j, hb);
    for (int k = 0; k < kSectors; ++k) {
      const double p0 = 2 * kPi * k / kSectors, p1 = 2 * kPi * (k + 1) / kSectors;
      if (ha < rim)
        L.faces.push_back({{point(i, ha, p0, za), point(i, rim, p0, za), point(i, rim, p1, za), point(i, ha, p1, za)}, kLens});
      if (hb < rim)
        L.faces.push_back({{point(j, hb, p0, zb), point(j, rim, p0, zb), point(j, rim, p1, zb), point(j, hb, p1, zb)}, kLens});
      L.faces.push_back({{point(i, rim, p0, za), point(j, rim, p0, zb), point(j, rim, p1, zb), point(i, rim, p1, za)}, kLens});
    }
    rim_line(i, rim, za, {0, 60, 200});
    rim_line(j, rim, zb, {0, 60, 200});
  }
  for (int i = 1; i <= n; ++i) {
    if (in_lens[i]) continue;
    const double h = Reach(d, i, std::fabs(d.SemiDiam[i]));
    if (h <= 0) continue;
    const double before = i == 1 ? 1.0 : d.IndexWl[1][i - 1], after = d.IndexWl[1][i];
    if (d.SurfType[i] == 4.0f) {
      shell(i, h, kScreen);
      ++L.elements;
    } else if (before != 0 && after != 0 && (before < 0) != (after < 0)) {
      shell(i, h, kMirror);
      rim_line(i, h, sag(i, h), {0, 0, 0});
      ++L.elements;
    } else {
      rim_line(i, h, sag(i, h), kPlain);
    }
  }

  // Rays of wavelength 1 at three fields: on axis, 0.7 and the full field.
  const int count = std::clamp(s.rays, 0, 31);
  std::vector<Vec3> all;  // where rays reach the image plane
  if (count > 0) {
    Tracer t(d);
    SurfaceLoopPolicy policy;
    policy.wavelength = 1;
    const double pupil = d.EntrBeamSemiDiam;
    const bool finite = d.ObjDistance != 0;
    const bool has_field = finite ? d.HalfFieldY != 0 : s.field_deg != 0;
    const double fractions[3] = {0, 0.7, 1};
    for (int f = 0; f < (has_field ? 3 : 1); ++f) {
      const double a = s.field_deg * fractions[f] * kDegree;
      t.FieldCosZ = std::cos(a);
      t.FieldCosY = std::sin(a);
      t.FieldCosX = 0;
      t.ObjHeight = finite ? d.HalfFieldY * fractions[f] : 0.0;
      std::vector<std::pair<double, double>> pupil_points;
      for (int k = 0; k < count; ++k) {
        const double u = count == 1 ? 0.0 : -pupil + 2 * pupil * k / (count - 1);
        pupil_points.push_back({0, u});
        if (s.sagittal && u != 0) pupil_points.push_back({u, 0});
      }
      for (const auto& [px, py] : pupil_points) {
        Layout3D::Line ray{{}, kFieldColors[f], 1};
        RayRecorder rec{&L.frames, &ray.points};
        SurfaceVisit visit{&RayRecorder::At, &rec};
        try {
          t.RayX = px;
          t.RayY = py;
          t.RayZ = 0;
          t.StartRay();
          // The ray comes in over a tenth of the track before the first surface.
          const double lead = std::max(1.0, 0.1 * std::fabs(L.frames[n + 1].origin.z));
          const Vec3 start = L.frames[0].ToGlobal(t.RayX, t.RayY, 0);
          ray.points.push_back({start.x - lead * t.RayCosX / t.RayCosZ, start.y - lead * t.RayCosY / t.RayCosZ,
                                start.z - lead});
          ray.points.push_back(start);
          t.TraceSurfaces(policy, &visit);
          if (!rec.ended) {
            t.TraceToImage(d.Bfl);
            ray.points.push_back(L.frames[n + 1].ToGlobal(t.RayX, t.RayY, t.RayZ));
            all.push_back(ray.points.back());
          }
        } catch (const TraceError&) {
          // A failed ray ends where it got to.
        }
        if (ray.points.size() > 1) L.rays.push_back(std::move(ray));
      }
    }
  }
  // The image plane: a square as large as the image the rays that reach it make.
  double image = std::fabs(d.ImageHeight);
  for (const Vec3& p : all) {
    const Vec3 q = Sub(p, L.frames[n + 1].origin);
    image = std::max(image, std::hypot(q.x, q.y) * 1.1);
  }
  if (image == 0) image = 1;
  Layout3D::Line square{{}, kImage, 1};
  for (auto [x, y] : {std::pair{-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {-1, -1}})
    square.points.push_back(L.frames[n + 1].ToGlobal(x * image, y * image, 0));
  L.outlines.push_back(square);

  // The sphere that holds it all.
  std::vector<Vec3> pts;
  for (const auto& f : L.faces) pts.insert(pts.end(), f.p.begin(), f.p.end());
  for (const auto& l : L.outlines) pts.insert(pts.end(), l.points.begin(), l.points.end());
  for (const auto& l : L.rays) pts.insert(pts.end(), l.points.begin(), l.points.end());
  if (!pts.empty()) {
    Vec3 lo = pts.front(), hi = pts.front();
    for (const Vec3& p : pts) {
      lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
      hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
    }
    L.centre = {(lo.x + hi.x) / 2, (lo.y + hi.y) / 2, (lo.z + hi.z) / 2};
    L.radius = 0;
    for (const Vec3& p : pts) {
      const Vec3 q = Sub(p, L.centre);
      L.radius = std::max(L.radius, std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z));
    }
    if (!(L.radius > 0)) L.radius = 1;
  }
  return L;
}

Vec3 ViewOf(const Layout3DSettings& s, const Vec3& p) {
  // At no rotation: the axis (z) to the right, y up, x towards the viewer's back.
  Vec3 q{p.z, p.y, -p.x};
  const double ax = s.rotX * kDegree, ay = s.rotY * kDegree, az = s.rotZ * kDegree;
  // Turn about the vertical, then tilt about the horizontal, then roll in the picture.
  q = {q.x * std::cos(ay) + q.z * std::sin(ay), q.y, -q.x * std::sin(ay) + q.z * std::cos(ay)};
  q = {q.x, q.y * std::cos(ax) - q.z * std::sin(ax), q.y * std::sin(ax) + q.z * std::cos(ax)};
  q = {q.x * std::cos(az) - q.y * std::sin(az), q.x * std::sin(az) + q.y * std::cos(az), q.z};
  return q;
}

void DrawLayout3D(const Layout3D& L, const Layout3DSettings& s, Canvas& c) {
  const Rgb back = PlotBackground(s.background), ink = PlotInk(s.background);
  const double zoom = s.zoom > 0 ? s.zoom : 1;
  const double h = 1.05 * L.radius / zoom, w = h * s.aspect;
  c.Window(-w, h, w, -h);
  c.Clear(back);
  auto view = [&](const Vec3& p) { return ViewOf(s, Sub(p, L.centre)); };

  struct Painted {
    double depth;
    std::vector<PlotPoint> points;
    Rgb color;
  };
  std::vector<Painted> faces;
  faces.reserve(L.faces.size());
  // A light over the viewer's left shoulder.
  const double lx = -0.35, ly = 0.45, lz = 0.82;
  for (const auto& f : L.faces) {
    Vec3 v[4];
    double depth = 0;
    for (int k = 0; k < 4; ++k) {
      v[k] = view(f.p[k]);
      depth += v[k].z / 4;
    }
    const Vec3 a = Sub(v[2], v[0]), b = Sub(v[3], v[1]);
    const Vec3 nrm{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    const double len = std::sqrt(nrm.x * nrm.x + nrm.y * nrm.y + nrm.z * nrm.z);
    const double lit = len > 0 ? std::fabs(nrm.x * lx + nrm.y * ly + nrm.z * lz) / len : 0.5;
    const double k = 0.4 + 0.6 * lit;
    const Rgb color{static_cast<int>(f.color.r * k), static_cast<int>(f.color.g * k), static_cast<int>(f.color.b * k)};
    faces.push_back({depth, {{v[0].x, v[0].y}, {v[1].x, v[1].y}, {v[2].x, v[2].y}, {v[3].x, v[3].y}}, color});
  }
  std::stable_sort(faces.begin(), faces.end(), [](const Painted& a, const Painted& b) { return a.depth < b.depth; });
  for (const Painted& f : faces) c.Polygon(f.points, f.color);
  auto polyline = [&](const Layout3D::Line& l, Rgb color) {
    std::vector<PlotPoint> pts;
    for (const Vec3& p : l.points) {
      const Vec3 v = view(p);
      pts.push_back({v.x, v.y});
    }
    if (pts.size() > 1) c.Polyline(pts, color, l.width);
  };
  for (const auto& l : L.outlines) polyline(l, s.background == 1 && l.color == Rgb{0, 0, 0} ? ink : l.color);
  for (const auto& l : L.rays) polyline(l, l.color);

  // The axes of the design at the lower left: which way x, y and z point.
  const double len = 0.12 * h;
  const PlotPoint o{-w + 0.18 * h, -h + 0.18 * h};
  const char* names[3] = {"X", "Y", "Z"};
  const Vec3 dirs[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (int k = 0; k < 3; ++k) {
    const Vec3 v = ViewOf(s, dirs[k]);
    c.Line(o.x, o.y, o.x + len * v.x, o.y + len * v.y, ink, 1);
    c.Text(o.x + 1.15 * len * v.x, o.y + 1.15 * len * v.y + 0.03 * h, names[k], ink);
  }
}

}  // namespace ovrin
