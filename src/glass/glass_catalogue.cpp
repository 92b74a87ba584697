#include "glass/glass_catalogue.h"

#include <cctype>
#include <cmath>
#include <cstring>

#include "core/design_state.h"
#include "core/number_text.h"

namespace ovrin {

namespace glass_data {
extern const GlassRow k_schott[];
extern const int k_schott_count;
extern const GlassRow k_ohara[];
extern const int k_ohara_count;
extern const GlassRow k_corning[];
extern const int k_corning_count;
extern const GlassRow k_hoya[];
extern const int k_hoya_count;
extern const GlassRow k_lzos[];
extern const int k_lzos_count;
extern const GlassRow k_special[];
extern const int k_special_count;
extern const GlassRow k_chengdu[];
extern const int k_chengdu_count;
}  // namespace glass_data

bool GlassRow::HasCoefficients() const {
  for (double c : coef)
    if (std::isnan(c)) return false;
  return true;
}

bool GlassRow::HasThermalConstants() const {
  return !std::isnan(D0) && !std::isnan(D1) && !std::isnan(D2) && !std::isnan(E0) &&
         !std::isnan(E1) && !std::isnan(lambda_tk);
}

std::span<const GlassRow> CatalogueRows(Catalogue c) {
  using namespace glass_data;
  switch (c) {
    case Catalogue::Schott: return {k_schott, static_cast<std::size_t>(k_schott_count)};
    case Catalogue::Ohara: return {k_ohara, static_cast<std::size_t>(k_ohara_count)};
    case Catalogue::Corning: return {k_corning, static_cast<std::size_t>(k_corning_count)};
    case Catalogue::Hoya: return {k_hoya, static_cast<std::size_t>(k_hoya_count)};
    case Catalogue::Lzos: return {k_lzos, static_cast<std::size_t>(k_lzos_count)};
    case Catalogue::Special: return {k_special, static_cast<std::size_t>(k_special_count)};
    case Catalogue::Chengdu: return {k_chengdu, static_cast<std::size_t>(k_chengdu_count)};
  }
  return {};
}

const char* CatalogueName(Catalogue c) {
  static const char* const names[] = {"SCHOTT", "OHARA", "CORNING", "HOYA",
                                      "LZOS",   "SPECIAL", "CHENGDU"};
  return names[static_cast<int>(c)];
}

bool CatalogueOfMedium(int code, Catalogue& out) {
  switch (code) {
    case kMediumSchott: out = Catalogue::Schott; return true;
    case kMediumOhara: out = Catalogue::Ohara; return true;
    case kMediumCorning: out = Catalogue::Corning; return true;
    case kMediumHoya: out = Catalogue::Hoya; return true;
    case kMediumLzos: out = Catalogue::Lzos; return true;
    case kMediumSpecial: out = Catalogue::Special; return true;
    case kMediumChengdu: out = Catalogue::Chengdu; return true;
    default: return false;
  }
}

bool CatalogueByName(std::string_view name, Catalogue& out) {
  for (int i = 0; i < kCatalogueCount; ++i) {
    const char* n = CatalogueName(static_cast<Catalogue>(i));
    if (name.size() != std::strlen(n)) continue;
    bool same = true;
    for (std::size_t k = 0; k < name.size(); ++k)
      same = same && std::toupper(static_cast<unsigned char>(name[k])) == n[k];
    if (same) {
      out = static_cast<Catalogue>(i);
      return true;
    }
  }
  return false;
}

double ReferenceTemperature(int code) {
  switch (code) {
    case kMediumSchott:
    case kMediumCorning:
    case kMediumHoya:
    case kMediumLzos:
    case kMediumSpecial:
    case kMediumDirect: return 20;
    case kMediumOhara: return 25;
    default: return 0;
  }
}

double RowIndex(GlassFormula formula, const double coef[6], double lambda) {
  double n2;
  if (formula == GlassFormula::Sellmeier) {
    const double l = lambda * lambda;
    const double b1 = coef[0], b2 = coef[1], b3 = coef[2];
    const double c1 = coef[3], c2 = coef[4], c3 = coef[5];
    // Summed in the order B2, B1, B3.
    const double sum = b2 * l / (l - c2) + b1 * l / (l - c1) + b3 * l / (l - c3);
    n2 = sum + 1.0;
  } else {
    // Stored as A0 A2 A4 A1 A3 A5; n^2 = A0 + A1 L^2 + A2 L^-2 + A3 L^-4 + A4 L^-6 + A5 L^-8.
    const double a0 = coef[0], a2 = coef[1], a4 = coef[2], a1 = coef[3], a3 = coef[4], a5 = coef[5];
    const double l2 = lambda * lambda;
    n2 = a0 + a1 * l2 + a2 / l2 + a3 / (l2 * l2) + a4 / (l2 * l2 * l2) + a5 / (l2 * l2 * l2 * l2);
  }
  if (!(n2 >= 0.0) || !std::isfinite(n2)) throw GlassRangeError();
  return RoundTo(std::sqrt(n2), 8);
}

bool GlassLookup::Lookup(Catalogue c) {
  bool found = false;
  for (const GlassRow& row : CatalogueRows(c)) {
    if (GlassName == row.name) {
      if (row.HasCoefficients()) {
        std::memcpy(GlassCoef, row.coef, sizeof GlassCoef);
        Formula = row.formula;
        GlassDensity = std::isnan(row.density) ? 0 : row.density;
        GlassExpansion = std::isnan(row.alpha) ? 0 : row.alpha;
        LastRow = &row;
        found = true;
      }
      break;
    }
  }
  GlassIndex = RowIndex(Formula, GlassCoef, static_cast<double>(GlassWl));
  return found;
}

namespace {
// The old releases numbered the SCHOTT and OHARA glasses by row. This table
// is data: row k of the old list is row k of the catalogue list.
constexpr int kOldSchottRows = 200;
constexpr int kOldOharaRows = 111;
}  // namespace

const char* OldRowName(Catalogue c, int row) {
  if (row < 1) return nullptr;
  const int limit = c == Catalogue::Schott ? kOldSchottRows : c == Catalogue::Ohara ? kOldOharaRows : 0;
  if (row > limit) return nullptr;
  auto rows = CatalogueRows(c);
  if (row > static_cast<int>(rows.size())) return nullptr;
  return rows[row - 1].name;
}

double AirIndex(double lambda, double temp_c, double press_atm) {
  const double l = lambda * lambda;
  const double r = 1e-8 * (6432.8 + 2949810 * l / (146 * l - 1) + 25540 * l / (41 * l - 1));
  return 1 + press_atm * r / (1 + 3.4785e-3 * (temp_c - 15));
}

double IndexAtEnvironment(double n_ref, const GlassRow& row, double lambda, double t_ref, double t,
                          double p) {
  if (!row.HasThermalConstants()) return n_ref;
  const double dt = t - t_ref;
  // The makers' formula gives the change of the absolute index.
  const double dn_abs = (n_ref * n_ref - 1) / (2 * n_ref) *
                        (row.D0 * dt + row.D1 * dt * dt + row.D2 * dt * dt * dt +
                         (row.E0 * dt + row.E1 * dt * dt) / (lambda * lambda - row.lambda_tk * row.lambda_tk));
  const double n_abs_ref = n_ref * AirIndex(lambda, t_ref, 1.0);
  return (n_abs_ref + dn_abs) / AirIndex(lambda, t, p);
}

}  // namespace ovrin
