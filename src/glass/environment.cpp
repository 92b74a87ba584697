#include "glass/environment.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "core/number_text.h"
#include "core/system_update.h"
#include "glass/catalogue_media.h"
#include "glass/glass_catalogue.h"

namespace ovrin {

namespace {

const GlassRow* FindRow(Catalogue c, const std::string& name) {
  for (const GlassRow& row : CatalogueRows(c))
    if (name == row.name) return &row;
  return nullptr;
}

// The catalogue row of the glass after surface i, or nullptr for air, DIRECT
// and names the catalogue does not hold.
const GlassRow* GlassAfter(const DesignState& d, int i, Catalogue* cat = nullptr) {
  Catalogue c;
  if (i < 1 || !CatalogueOfMedium(d.MediumCode[i], c)) return nullptr;
  if (cat) *cat = c;
  return FindRow(c, (*d.GlassNames(d.MediumCode[i]))[i]);
}

bool IsGlass(const DesignState& d, int i) {
  return i >= 1 && d.MediumCode[i] != kMediumAirPosit && d.MediumCode[i] != kMediumAirNegat;
}

double GlassAlpha(const DesignState& d, int i) {
  const GlassRow* row = GlassAfter(d, i);
  return row && !std::isnan(row->alpha) ? row->alpha : 0.0;
}

struct Paraxial {
  double efl, bfl;
};

// A paraxial ray through the centred system, at the indices of `index`: from
// infinity for the focal length, and from the object when it is near.
Paraxial FirstOrderOf(const DesignState& d, const SurfTable& index, const std::vector<double>& radius,
                      const std::vector<double>& thick) {
  auto trace = [&](double y, double u, double& y_last) {
    double n = 1;  // object space
    for (int i = 1; i <= d.SurfCount; ++i) {
      const double n2 = index[static_cast<std::size_t>(i)];
      const double r = radius[static_cast<std::size_t>(i)];
      const double c = r == 0 || std::fabs(r) >= 1e10 ? 0.0 : 1.0 / r;
      if (n2 == 0) throw GlassRangeError();
      u = (n * u - y * c * (n2 - n)) / n2;
      if (i < d.SurfCount) y += thick[static_cast<std::size_t>(i)] * u;
      n = n2;
    }
    y_last = y;
    return u;
  };
  const double inf = std::numeric_limits<double>::infinity();
  double y_last = 0;
  const double u = trace(1.0, 0.0, y_last);
  Paraxial p{u == 0 ? inf : -1.0 / u, u == 0 ? inf : -y_last / u};
  if (d.ObjDistance != 0) {
    const double un = trace(1.0, 1.0 / d.ObjDistance, y_last);
    p.bfl = un == 0 ? inf : -y_last / un;
  }
  return p;
}

}  // namespace

void DesignConditions(const DesignState& d, double& t, double& p) {
  if (d.EnvTempCurrent == 0.0f && d.EnvPressCurrent == 0.0f) {
    t = 20, p = 1;
  } else {
    t = d.EnvTempCurrent, p = d.EnvPressCurrent;
  }
}

EnvironmentResult ComputeEnvironment(const DesignState& d, const EnvironmentSettings& s) {
  EnvironmentResult r;
  DesignConditions(d, r.tDesign, r.pDesign);
  r.tActual = s.temperature;
  r.pActual = s.pressure;
  const double dt = r.tActual - r.tDesign;
  try {
    if (!(s.pressure > 0)) throw GlassRangeError();
    const double wl1 = d.WlCount >= 1 ? d.Wavelength[0] : 0.5876;
    r.airDesign = AirIndex(wl1, r.tDesign, r.pDesign);
    r.airActual = AirIndex(wl1, r.tActual, r.pActual);

    // The indices exactly as the dialog would set them, at both conditions.
    CatalogueMedia media;
    DesignState at_design = d, at_actual = d;
    at_design.EnvTempActual = static_cast<float>(r.tDesign);
    at_design.EnvPressActual = static_cast<float>(r.pDesign);
    media.RecomputeForEnvironment(at_design);
    at_actual.EnvTempActual = static_cast<float>(r.tActual);
    at_actual.EnvPressActual = static_cast<float>(r.pActual);
    media.RecomputeForEnvironment(at_actual);

    for (int i = 1; i <= d.SurfCount; ++i) {
      if (!IsGlass(d, i)) continue;
      Catalogue cat{};
      const GlassRow* row = GlassAfter(d, i, &cat);
      const bool catalogue = d.MediumCode[i] != kMediumDirect;
      for (int k = 1; k <= d.WlCount; ++k) {
        EnvironmentIndexLine line;
        line.surface = i;
        line.wl = k;
        line.wavelength = d.Wavelength[static_cast<std::size_t>(k - 1)];
        line.catalogue = catalogue ? CatalogueName(cat) : "DIRECT";
        line.glass = catalogue ? (*d.GlassNames(d.MediumCode[i]))[static_cast<std::size_t>(i)] : "";
        line.nDesign = std::fabs(at_design.IndexWl[k][i]);
        line.nActual = std::fabs(at_actual.IndexWl[k][i]);
        line.thermalData = row && (cat == Catalogue::Schott || cat == Catalogue::Ohara) && row->HasThermalConstants();
        line.expansion = GlassAlpha(d, i);
        r.indices.push_back(line);
      }
    }

    // The shapes at the actual temperature. A surface belongs to the glass
    // after it, else to the glass before it; a bare mirror to its blank; what
    // is left sits in the tube.
    const int n = d.SurfCount;
    r.radius.assign(static_cast<std::size_t>(n) + 1, 0.0);
    r.thickness.assign(static_cast<std::size_t>(n) + 1, 0.0);
    std::vector<double> radius_design(r.radius.size()), thick_design(r.thickness.size());
    for (int i = 1; i <= n; ++i) {
      const auto u = static_cast<std::size_t>(i);
      radius_design[u] = d.Radius[u];
      thick_design[u] = d.Thickness[u];
      double alpha_r;
      if (IsGlass(d, i) && s.glassExpansion) {
        alpha_r = GlassAlpha(d, i);
      } else if (IsGlass(d, i - 1) && s.glassExpansion) {
        alpha_r = GlassAlpha(d, i - 1);
      } else if (IsGlass(d, i) || IsGlass(d, i - 1)) {
        alpha_r = 0;
      } else {
        const double before = i == 1 ? 1.0 : d.IndexWl[1][u - 1];
        const bool mirror = (before < 0) != (d.IndexWl[1][u] < 0);
        alpha_r = mirror ? s.mirrorExpansion : s.tubeExpansion;
      }
      const double alpha_t = IsGlass(d, i) ? (s.glassExpansion ? GlassAlpha(d, i) : 0.0) : s.tubeExpansion;
      r.radius[u] = d.Radius[u] * (1 + alpha_r * 1e-6 * dt);
      r.thickness[u] = d.Thickness[u] * (1 + alpha_t * 1e-6 * dt);
    }

    for (int k = 1; k <= d.WlCount; ++k) {
      const Paraxial a = FirstOrderOf(d, at_design.IndexWl[k], radius_design, thick_design);
      const Paraxial b = FirstOrderOf(d, at_actual.IndexWl[k], r.radius, r.thickness);
      r.firstOrder.push_back({k, d.Wavelength[static_cast<std::size_t>(k - 1)], a.efl, b.efl, a.bfl, b.bfl});
    }
  } catch (const std::exception&) {
    r.error = kDataInputError;
  }
  return r;
}

std::string EnvironmentText(const EnvironmentResult& r) {
  std::ostringstream o;
  char buf[256];
  o << "ENVIRONMENTAL ANALYSIS\n\n";
  std::snprintf(buf, sizeof buf, "Design conditions : %7.1f C  %6.3f atm\n", r.tDesign, r.pDesign);
  o << buf;
  std::snprintf(buf, sizeof buf, "Actual conditions : %7.1f C  %6.3f atm   (change %+.1f C, %+.3f atm)\n", r.tActual,
                r.pActual, r.tActual - r.tDesign, r.pActual - r.pDesign);
  o << buf;
  if (!r.error.empty()) {
    o << "\n" << r.error << "\n";
    return o.str();
  }
  std::snprintf(buf, sizeof buf, "Index of air (wavelength 1): %.8f -> %.8f\n\n", r.airDesign, r.airActual);
  o << buf;

  if (r.indices.empty()) {
    o << "No glass in the design: the indices do not change.\n\n";
  } else {
    o << "Relative indices of the glasses\n";
    o << "Surf  Catalogue  Glass          WL(um)   n design     n actual     dn (1e-6)  alpha(1e-6/K)\n";
    bool unchanged = false;
    for (const EnvironmentIndexLine& l : r.indices) {
      std::snprintf(buf, sizeof buf, "%4d  %-9s  %-13s  %6.4f   %.8f   %.8f   %+9.2f  %6.2f%s\n", l.surface,
                    l.catalogue.c_str(), l.glass.c_str(), l.wavelength, l.nDesign, l.nActual,
                    (l.nActual - l.nDesign) * 1e6, l.expansion, l.thermalData ? "" : "  *");
      o << buf;
      unchanged = unchanged || !l.thermalData;
    }
    if (unchanged) o << "* no temperature data used: the index stays as the catalogue gives it.\n";
    o << "\n";
  }

  o << "First-order data (distances from the last surface)\n";
  o << "WL(um)    Efl design      Efl actual     dEfl        Bfl design      Bfl actual     Focus shift\n";
  for (const EnvironmentFirstOrder& f : r.firstOrder) {
    std::snprintf(buf, sizeof buf, "%6.4f  %14.4f  %14.4f  %+10.4f  %14.4f  %14.4f  %+10.4f\n", f.wavelength,
                  f.eflDesign, f.eflActual, f.eflActual - f.eflDesign, f.bflDesign, f.bflActual, f.FocusShift());
    o << buf;
  }
  return o.str();
}

}  // namespace ovrin
