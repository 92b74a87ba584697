// Whole designs traced twice: by the tracer's surface loop and by a small
// reference tracer written here from the textbook vector equations, in long
// double, in one global frame with the true direction of travel. The reference
// shares no code with the tracer: it meets a sphere by the quadratic of the
// line and the sphere through the vertex, any other surface by Newton's method
// on the distance along the ray (with the sag's slope from dual numbers), and
// turns the ray by the vector law of refraction, or of reflection where the
// index changes sign.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>
#include <vector>

#include "core/design_file.h"
#include "core/ray_tracer.h"
#include "test_designs.h"

namespace ovrin {
namespace {

using testing::Build;
using testing::ExamplePath;
using testing::SurfaceSpec;
using testing::TestDesign;

using Real = long double;
using Vec = std::array<Real, 3>;

Real Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec Scaled(const Vec& a, Real k) { return {a[0] * k, a[1] * k, a[2] * k}; }
Vec Plus(const Vec& a, const Vec& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vec Unit(const Vec& a) { return Scaled(a, 1 / std::sqrt(Dot(a, a))); }

struct Dual {
  Real v, d;
};
Dual operator+(Dual a, Dual b) { return {a.v + b.v, a.d + b.d}; }
Dual operator*(Dual a, Dual b) { return {a.v * b.v, a.d * b.v + a.v * b.d}; }
Dual operator*(Real k, Dual a) { return {k * a.v, k * a.d}; }
Dual operator/(Dual a, Dual b) { return {a.v / b.v, (a.d * b.v - a.v * b.d) / (b.v * b.v)}; }
Dual Sqrt(Dual a) {
  const Real s = std::sqrt(a.v);
  return {s, a.d / (2 * s)};
}

// One surface of the reference: where its vertex lies on the axis, its shape,
// and the signed index after it.
struct RefSurface {
  Real vertex_z;
  Real c;  // curvature
  Real k, a4, a6, a8;
  bool closed_sphere;
  Real n_after;

  // The sag and its slope at height r.
  Dual Sag(Real r) const {
    const Dual x{r, 1};
    const Dual r2 = x * x;
    const Dual r4 = r2 * r2;
    const Dual s = Sqrt(Dual{1, 0} + (-(1 + k) * c * c) * r2);
    return (c * r2) / (Dual{1, 0} + s) + a4 * r4 + a6 * (r4 * r2) + a8 * (r4 * r4);
  }

  // Distance along the unit direction d from p to the surface.
  Real Meet(const Vec& p, const Vec& d) const {
    const Vec q{p[0], p[1], p[2] - vertex_z};  // from the vertex
    if (closed_sphere) {
      // c |q + t d|^2 - 2 (q + t d)_z = 0:  c t^2 + 2 b t + e = 0.
      const Real b = c * Dot(q, d) - d[2];
      const Real e = c * Dot(q, q) - 2 * q[2];
      const Real disc = b * b - c * e;
      if (disc < 0) throw TraceError();
      // The root that stays finite as c goes to 0: the sheet through the vertex.
      return -e / (b + std::copysign(std::sqrt(disc), b));
    }
    Real t = -q[2] / d[2];  // start on the vertex plane
    for (int pass = 0; pass < 60; ++pass) {
      const Real x = q[0] + t * d[0], y = q[1] + t * d[1], z = q[2] + t * d[2];
      const Real r = std::hypot(x, y);
      const Dual f = Sag(r);
      const Real radial = r == 0 ? 0 : (x * d[0] + y * d[1]) / r;
      const Real g = z - f.v, dg = d[2] - f.d * radial;
      const Real step = g / dg;
      t -= step;
      if (std::fabs(step) < 1e-16L) return t;
    }
    throw TraceError();
  }

  // Unit normal at a point of the surface, towards +z.
  Vec Normal(const Vec& p) const {
    const Real x = p[0], y = p[1], z = p[2] - vertex_z;
    if (closed_sphere) return Unit({-c * x, -c * y, 1 - c * z});
    const Real r = std::hypot(x, y);
    if (r == 0) return {0, 0, 1};
    const Real slope = Sag(r).d;
    return Unit({-slope * x / r, -slope * y / r, 1});
  }
};

struct RefRay {
  Vec p, d;  // position and true direction of travel
};

class Reference {
 public:
  // The surfaces of a centred design at wavelength k, from its tables.
  Reference(const DesignState& ds, int k) {
    Real z = 0;
    for (int i = 1; i <= ds.SurfCount; ++i) {
      RefSurface s;
      s.vertex_z = z;
      s.c = ds.Radius[i] == 0 ? 0 : 1.0L / ds.Radius[i];
      const bool asph = ds.SurfType[i] == 2.0f || ds.SurfType[i] == 3.0f;  // CONIC, HIGH-ORDER
      s.closed_sphere = !asph;
      s.k = asph ? ds.Conic[i] : 0;
      s.a4 = asph ? ds.AsphA4[i] : 0;
      s.a6 = asph ? ds.AsphA6[i] : 0;
      s.a8 = asph ? ds.AsphA8[i] : 0;
      s.n_after = ds.IndexWl[k][i];
      surfaces_.push_back(s);
      z += ds.Thickness[i];
    }
    last_vertex_z_ = z - ds.Thickness[ds.SurfCount];
  }

  // Traces the ray through every surface; hits[i] is where it met surface i + 1
  // (relative to that vertex). Ends on the plane at image_distance from the last vertex.
  RefRay Trace(RefRay ray, Real image_distance, std::vector<Vec>* hits) const {
    Real n = 1;
    for (const RefSurface& s : surfaces_) {
      ray.p = Plus(ray.p, Scaled(ray.d, s.Meet(ray.p, ray.d)));
      if (hits) hits->push_back({ray.p[0], ray.p[1], ray.p[2] - s.vertex_z});
      Vec nrm = s.Normal(ray.p);
      Real cos_i = Dot(ray.d, nrm);
      if (cos_i < 0) nrm = Scaled(nrm, -1), cos_i = -cos_i;
      if ((n > 0) != (s.n_after > 0)) {
        ray.d = Plus(ray.d, Scaled(nrm, -2 * cos_i));  // reflection
      } else {
        const Real mu = std::fabs(n) / std::fabs(s.n_after);
        const Real rad = 1 - mu * mu * (1 - cos_i * cos_i);
        if (rad < 0) throw TraceError();
        ray.d = Plus(Scaled(ray.d, mu), Scaled(nrm, std::sqrt(rad) - mu * cos_i));
      }
      n = s.n_after;
    }
    const Real to_image = (last_vertex_z_ + image_distance - ray.p[2]) / ray.d[2];
    ray.p = Plus(ray.p, Scaled(ray.d, to_image));
    return ray;
  }

 private:
  std::vector<RefSurface> surfaces_;
  Real last_vertex_z_ = 0;
};

// The tracer's hits, surface by surface, through the loop's observer.
struct Hits {
  std::vector<Vec> at;
  static void Record(void* self, int, double x, double y, double z, bool) {
    static_cast<Hits*>(self)->at.push_back({x, y, z});
  }
};

struct Agreement {
  double position = 0, direction = 0;
  int rays = 0;
  std::string worst;
};

// Aims rays at a polar grid of the pupil for each field, by the tracer's own
// ray start, and compares every surface hit, the image point and the final
// direction with the reference.
Agreement Compare(const DesignState& d, const std::vector<std::array<double, 2>>& fields_deg,
                  int wavelength = 1) {
  Agreement a;
  const Reference ref(d, wavelength);
  const Real n_image = d.IndexWl[wavelength][d.SurfCount];
  const double kPi = std::acos(-1.0);
  for (const auto& field : fields_deg) {
    const double ay = field[0] * kPi / 180, ax = field[1] * kPi / 180;
    for (double ring : {0.0, 0.3, 0.6, 0.85, 1.0}) {
      for (int az = 0; az < (ring == 0 ? 1 : 12); ++az) {
        const double px = ring * d.EntrBeamSemiDiam * std::sin(az * kPi / 6);
        const double py = ring * d.EntrBeamSemiDiam * std::cos(az * kPi / 6);

        Tracer t(d);
        // A direction with the given tangents' angles, normalised.
        const Vec dir = Unit({std::tan(ax), std::tan(ay), 1});
        t.FieldCosX = double(dir[0]);
        t.FieldCosY = double(dir[1]);
        t.FieldCosZ = double(dir[2]);
        t.ObjHeight = d.HalfFieldY;
        t.RayX = px;
        t.RayY = py;
        t.RayZ = 0;
        SurfaceLoopPolicy policy;
        policy.wavelength = wavelength;
        policy.testAperture = false;
        Hits hits;
        const SurfaceVisit visit{&Hits::Record, &hits};
        t.StartRay();
        t.TraceSurfaces(policy, &visit);
        t.TraceToImage(d.Bfl);

        // The same ray for the reference: from the pupil point on the pupil
        // plane, which lies EntrPupilZ ahead of the first vertex.
        RefRay start;
        start.p = {px, py, -Real(d.EntrPupilZ)};
        if (d.ObjDistance == 0) {
          start.d = {t.FieldCosX, t.FieldCosY, t.FieldCosZ};
          start.d = Unit(start.d);
        } else {
          const Vec object{0, Real(d.HalfFieldY), -Real(d.ObjDistance)};
          start.d = Unit({start.p[0] - object[0], start.p[1] - object[1], start.p[2] - object[2]});
        }
        std::vector<Vec> ref_hits;
        const RefRay end = ref.Trace(start, d.Bfl, &ref_hits);

        std::ostringstream where;
        where << "field (" << field[0] << ", " << field[1] << ") pupil (" << px << ", " << py << ")";
        auto see_pos = [&](Real diff, const std::string& what) {
          if (double(std::fabs(diff)) > a.position) {
            a.position = double(std::fabs(diff));
            a.worst = where.str() + " " + what;
          }
        };
        EXPECT_EQ(hits.at.size(), ref_hits.size());
        for (std::size_t i = 0; i < std::min(hits.at.size(), ref_hits.size()); ++i)
          for (int k = 0; k < 3; ++k)
            see_pos(hits.at[i][k] - ref_hits[i][k], "surface " + std::to_string(i + 1));
        see_pos(t.RayX - end.p[0], "image x");
        see_pos(t.RayY - end.p[1], "image y");
        // The tracer keeps cosines signed by the index of the space.
        const Real sign = n_image < 0 ? -1 : 1;
        const Vec cos_ref = Scaled(end.d, sign);
        const Vec cos_tr{t.RayCosX, t.RayCosY, t.RayCosZ};
        for (int k = 0; k < 3; ++k)
          a.direction = std::max(a.direction, double(std::fabs(cos_tr[k] - cos_ref[k])));
        ++a.rays;
      }
    }
  }
  return a;
}

// A Cooke triplet of about 50 mm focal length at f/4.5, with its stop on the
// rear face of the middle element: every ray is skew to some surface.
TestDesign Triplet() {
  TestDesign t;
  auto glass = [](double semi, double r, double th, double n) {
    SurfaceSpec s{semi, r, th, SurfaceSpec::Direct, n};
    return s;
  };
  Build(t,
        {glass(12, 21.25, 2.9, 1.6204), {12, -160.0, 4.9}, glass(10, -21.0, 1.0, 1.6200),
         {10, 19.8, 4.6}, glass(11, 120.0, 3.0, 1.6204), {11, -17.5, 0}},
        5.5, 20);
  t.d.StopSurf = 4;
  t.sheet.Cell(1, 1).clear();
  EXPECT_TRUE(t.Update().ok);
  return t;
}

// Both tracers are exact up to rounding, so they agree far inside a nanometre.
TEST(ReferenceTrace, CookeTripletAgreesWellInsideANanometre) {
  TestDesign t = Triplet();
  ASSERT_GT(t.d.Efl, 40);
  ASSERT_LT(t.d.Efl, 60);
  ASSERT_NE(t.d.EntrPupilZ, 0.0);  // the rays start on a pupil plane ahead of the lens
  const Agreement a = Compare(t.d, {{0, 0}, {7, 0}, {14, 0}, {20, 0}, {-12, 9}, {0, 15}});
  EXPECT_EQ(a.rays, 6 * 49);
  EXPECT_LT(a.position, 1e-11) << a.worst;
  EXPECT_LT(a.direction, 1e-13);
}

TEST(ReferenceTrace, CookeTripletWithAFiniteObject) {
  TestDesign t = Triplet();
  t.sheet.Text2 = "400";
  t.sheet.Text3 = "60";
  ASSERT_TRUE(t.Update().ok);
  ASSERT_EQ(t.d.ObjDistance, 400.0);
  const Agreement a = Compare(t.d, {{0, 0}});  // the field is the object height
  EXPECT_LT(a.position, 1e-11) << a.worst;
  EXPECT_LT(a.direction, 1e-13);
}

// The examples: a cemented doublet, a Newtonian and a Ritchey-Chretien (conic
// mirrors, negative spaces), and the Schmidt camera (a high-order plate and a
// spherical mirror). Where a conic or high-order surface is crossed the tracer
// refracts with the normal found one step of at most 1e-8 mm before the hit,
// so the image point may be off by that step times the curvature times the
// distance to the image, some 1e-9 mm here; the bound allows that.
TEST(ReferenceTrace, ExampleDesignsAgree) {
  struct Case {
    const char* file;
    double position_tol;
  };
  for (const Case& c : {Case{"cemented_doublet_100_f10.ovn", 1e-11}, Case{"achromat_80_f12_schott.ovn", 1e-11},
                        Case{"newtonian_200_f5.ovn", 1e-8}, Case{"ritchey_chretien_200_f8.ovn", 1e-8},
                        Case{"schmidt_camera_200_f3.ovn", 1e-8}}) {
    SCOPED_TRACE(c.file);
    DesignState d;
    DesignSheet sheet;
    StoredIndicesResolver media;
    ASSERT_TRUE(ReadDesignFile(ExamplePath(c.file), DesignFormat::Current, d, sheet, media).ok);
    ASSERT_EQ(d.UncenteredFlag, 0.0f);
    const double field = std::atan(d.ChiefCosY / d.ChiefCosZ) * 180 / std::acos(-1.0);
    for (int k = 1; k <= d.WlCount; ++k) {
      const Agreement a = Compare(d, {{0, 0}, {field, 0}, {field * 0.7, field * 0.7}}, k);
      EXPECT_LT(a.position, c.position_tol) << "wavelength " << k << ": " << a.worst;
      EXPECT_LT(a.direction, 1e-10) << "wavelength " << k;
    }
  }
}

}  // namespace
}  // namespace ovrin
