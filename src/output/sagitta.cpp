#include "output/sagitta.h"

#include <cmath>

#include "analysis/geometric/geometric_text.h"
#include "analysis/geometric/seidel.h"
#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

namespace {

bool IsPlane(double radius) { return radius == 0 || std::fabs(radius) >= 1e10; }

double Curvature(double radius) { return IsPlane(radius) ? 0.0 : 1.0 / radius; }

// A sphere of radius R through the vertex at height r: NaN past its rim.
double SphereSag(double r, double radius) { return SurfaceSag(r, Curvature(radius), 0, 0, 0, 0); }

std::string Num(double x, int decimals) { return std::isfinite(x) ? SignedFixed(x, decimals) : "-"; }

}  // namespace

SagittaResult ComputeSagitta(const DesignState& d) {
  SagittaResult res;
  for (int i = 1; i <= d.SurfCount; ++i) {
    const int type = static_cast<int>(d.SurfType[i]);
    if (type == kObsScreen) continue;  // a stop or a shadow, nothing to figure
    SagSurface s;
    s.surface = i;
    s.type = SurfTypeText(type);
    s.radius = d.Radius[i];
    s.aspheric = type == kConic || type == kHighOrder;
    if (s.aspheric) {
      s.conic = d.Conic[i];
      s.a4 = d.AsphA4[i], s.a6 = d.AsphA6[i], s.a8 = d.AsphA8[i];
    }
    const double h = d.SemiDiam[i];
    const double c = Curvature(s.radius);
    auto surface_sag = [&](double r) {
      return s.aspheric ? SurfaceSag(r, c, s.conic, s.a4, s.a6, s.a8) : SphereSag(r, s.radius);
    };
    // The best-fit sphere touches the vertex and passes through the edge: the
    // sphere an optician generates before figuring, and the one a spherometer
    // across the full diameter reads.
    const double edge = surface_sag(h);
    s.bestFitRadius = s.radius;
    if (s.aspheric && h > 0 && std::isfinite(edge))
      s.bestFitRadius = edge == 0 ? 1e11 : (h * h + edge * edge) / (2 * edge);
    for (int z = 0; z <= kSagZones; ++z) {
      SagZone zone;
      zone.height = h * z / kSagZones;
      zone.sphere = SphereSag(zone.height, s.radius);
      zone.surface = surface_sag(zone.height);
      zone.departure = s.aspheric ? zone.surface - SphereSag(zone.height, s.bestFitRadius) : 0.0;
      if (!std::isfinite(zone.surface) && s.error.empty())
        s.error = "the surface does not reach height " + FormatFixed(zone.height, 3);
      if (std::isfinite(zone.departure)) s.maxDeparture = std::max(s.maxDeparture, std::fabs(zone.departure));
      s.zones.push_back(zone);
    }
    res.surfaces.push_back(std::move(s));
  }
  return res;
}

TextPage SagittaPage(const SagittaResult& r) {
  TextPage p;
  p.Heading("Sagitta Table");
  p.Add({{0, "Sags in mm from the vertex plane; departure = surface minus its best-fit sphere"}});
  for (const SagSurface& s : r.surfaces) {
    p.Blank();
    std::string head = "Surface " + std::to_string(s.surface) + "  " + s.type +
                       "  radius " + (IsPlane(s.radius) ? std::string("plane") : FormatFixed(s.radius, 4));
    if (s.aspheric) head += "  conic " + FormatFixed(s.conic, 8);
    p.Heading(head);
    if (s.aspheric) {
      p.Add({{2, "best-fit sphere radius " + (IsPlane(s.bestFitRadius) ? std::string("plane") : FormatFixed(s.bestFitRadius, 4)) +
                     "   largest departure " + FormatFixed(s.maxDeparture * 1e6, 1) + " nm"}});
      if (s.a4 != 0 || s.a6 != 0 || s.a8 != 0)
        p.Add({{2, "A4 " + ShortestText(s.a4) + "   A6 " + ShortestText(s.a6) + "   A8 " + ShortestText(s.a8)}});
    }
    p.Add({{2, "Zone"}, {8, "Height"}, {22, "Sphere sag"}, {38, "Surface sag"}, {54, "Departure (mm)"}});
    for (std::size_t z = 0; z < s.zones.size(); ++z) {
      const SagZone& zone = s.zones[z];
      const std::string name = z + 1 == s.zones.size() ? "edge" : std::to_string(z);
      p.Add({{2, name}, {8, FormatFixed(zone.height, 4)}, {22, Num(zone.sphere, 6)}, {38, Num(zone.surface, 6)},
             {54, Num(zone.departure, 8)}});
    }
    if (!s.error.empty()) p.Add({{2, "Note: " + s.error}});
  }
  return p;
}

namespace {

// The surfaces where the light turns back: a change of sign of the index.
std::vector<int> Mirrors(const DesignState& d) {
  std::vector<int> m;
  const SurfTable& n = d.IndexWl[1];
  for (int i = 1; i <= d.SurfCount; ++i) {
    const double before = i == 1 || n[i - 1] == 0 ? 1.0 : n[i - 1];
    if (n[i] != 0 && (before > 0) != (n[i] > 0)) m.push_back(i);
  }
  return m;
}

}  // namespace

Allowances ComputeAllowances(const DesignState& d, const AllowanceSettings& s) {
  Allowances a;
  const int k = s.wavelength;
  if (k < 1 || k > kMaxWavelengths || d.Wavelength[k - 1] <= 0) {
    a.error = "Wavelength " + std::to_string(k) + " is not in use";
    return a;
  }
  a.wavelength = ParseLeadingNumber(ShortestText(d.Wavelength[k - 1]));
  a.efl = d.Efl;
  if (!(d.EntrBeamSemiDiam > 0) || !std::isfinite(d.Efl) || d.Efl == 0) {
    a.error = "Error ! Check data ";
    return a;
  }
  const double lambda = a.wavelength / 1000.0;  // mm
  const double N = std::fabs(d.Efl) / (2 * d.EntrBeamSemiDiam);
  a.fNumber = N;
  // Quarter-wave peak-to-valley of each term with its best balancing term:
  // defocus alone W020 = lambda/4; spherical refocused W040 = lambda; coma
  // with tilt removed W131 = 3 lambda/8; astigmatism at mid focus W222 = lambda/2.
  // A wave term W ρ^n turns into a longitudinal error 4 N^2 (1/ρ) dW/dρ and a
  // transverse one 2 N dW/dρ at the rim.
  a.defocus = 2 * lambda * N * N;
  a.sphericalLong = 16 * lambda * N * N;
  a.sphericalTrans = 8 * lambda * N;
  a.comaTangential = 6 * N * (3 * lambda / 8);
  a.comaSagittal = 2 * N * (3 * lambda / 8);
  a.astigmatism = 8 * N * N * (lambda / 2);

  const std::vector<int> mirrors = Mirrors(d);
  if (mirrors.size() == 2) {
    a.twoMirror = true;
    a.secondary = mirrors[1];
    SeidelSettings ss;
    ss.angleY = "1";  // the spherical term does not depend on the field
    const SeidelResult sr = ComputeSeidel(d, ss);
    const int i = a.secondary;
    if (sr.error.empty() && i - 1 < static_cast<int>(sr.seidel.rows.size())) {
      const double sphere = sr.seidel.rows[i - 1][0];
      const double asph = sr.seidel.asph[i - 1] ? (*sr.seidel.asph[i - 1])[0] : 0.0;
      const double y = sr.MargY[i], A = sr.MargA[i], R = d.Radius[i];
      const double n0 = d.IndexWl[1][i - 1] == 0 ? 1.0 : d.IndexWl[1][i - 1];
      // A tilt β about the vertex moves the centre of curvature by R β and
      // leaves the aspheric cap centred: the refraction invariant of the
      // beam's centre ray changes by n β, and the base sphere's spherical term
      // turns into coma S_II = S_I,sph n β / A. A lateral shift δ moves the
      // centre the same way for β = δ / R, and decenters the cap, a term in
      // height alone, by the eccentricity δ / y: S_II = S_I,asph δ / y, of
      // the opposite sense in the signs of the paraxial tables.
      // The allowance is the coma W131 = S_II / 2 of a quarter wave peak to
      // valley once the image is recentred, 3 lambda / 8.
      const double w131 = 3 * lambda / 8;
      if (A != 0 && y != 0 && !IsPlane(R)) {
        const double per_mm = std::fabs(asph / y - sphere * n0 / (R * A)) / 2;
        if (per_mm > 1e-15) a.secondaryDecenter = w131 / per_mm;
        const double per_radian = std::fabs(sphere * n0 / A) / 2;
        if (per_radian > 1e-15) a.secondaryTilt = w131 / per_radian / kDegree;
      }
    }
  }
  return a;
}

TextPage AllowancesPage(const Allowances& a) {
  TextPage p;
  p.Heading("   Aberration Allowances for current design");
  if (!a.error.empty()) {
    p.Add({{0, a.error}});
    return p;
  }
  p.Add({{0, "Quarter-wave OPD (Rayleigh) tolerances at " + FormatFixed(a.wavelength, 4) + " micron, f/" +
                 FormatFixed(a.fNumber, 3) + ", Efl " + FormatFixed(a.efl, 3)}});
  p.Blank();
  auto row = [&](const std::string& name, double v, const std::string& unit, const std::string& formula) {
    p.Add({{0, name}, {44, FormatFixed(v, 5) + " " + unit}, {62, formula}});
  };
  row("Depth of focus (+-)", a.defocus, "mm", "2 lambda N^2");
  row("Spherical aberration, longitudinal", a.sphericalLong, "mm", "16 lambda N^2");
  row("Spherical aberration, transverse", a.sphericalTrans, "mm", "8 lambda N");
  row("Coma, tangential length", a.comaTangential, "mm", "9/4 lambda N");
  row("Coma, sagittal", a.comaSagittal, "mm", "3/4 lambda N");
  row("Astigmatism, focal difference", a.astigmatism, "mm", "4 lambda N^2");
  if (a.twoMirror) {
    p.Blank();
    p.Heading("Secondary mirror (surface " + std::to_string(a.secondary) + ")");
    if (a.secondaryDecenter)
      row("Decenter", *a.secondaryDecenter, "mm", "W131 = 3 lambda / 8");
    else
      p.Add({{0, "Decenter"}, {44, "no coma from a shift"}});
    if (a.secondaryTilt)
      row("Tilt about the vertex", *a.secondaryTilt, "deg", "W131 = 3 lambda / 8");
    else
      p.Add({{0, "Tilt about the vertex"}, {44, "no coma from a tilt"}});
  }
  return p;
}

}  // namespace ovrin
