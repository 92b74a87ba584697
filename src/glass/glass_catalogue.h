#pragma once
// The compiled-in glass catalogues and the index of a glass at a wavelength.
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ovrin {

enum class GlassFormula { Sellmeier, SchottPower };

// One catalogue row as the makers publish it. NaN marks a value not published.
struct GlassRow {
  const char* name;
  GlassFormula formula;
  double coef[6];  // stored order: B1 B2 B3 C1 C2 C3, or A0 A2 A4 A1 A3 A5
  double nd, vd;
  double density;  // g/cm^3
  double alpha;    // 1e-6/K, -30..+70 C
  double D0, D1, D2, E0, E1, lambda_tk;  // dn/dT constants of the glass makers' formula

  bool HasCoefficients() const;
  bool HasThermalConstants() const;
};

enum class Catalogue { Schott, Ohara, Corning, Hoya, Lzos, Special, Chengdu };
constexpr int kCatalogueCount = 7;

std::span<const GlassRow> CatalogueRows(Catalogue c);
const char* CatalogueName(Catalogue c);  // "SCHOTT", ...
// Catalogue of a medium code (2, 3, 5..9); false for air and DIRECT.
bool CatalogueOfMedium(int medium_code, Catalogue& out);
// Catalogue by its name, any case ("schott", "OHARA"); false when unknown.
bool CatalogueByName(std::string_view name, Catalogue& out);

// Reference temperature of a catalogue's data in the environment computation:
// 20 for SCHOTT, CORNING, HOYA, LZOS, SPECIAL and DIRECT, 25 for OHARA, and
// CHENGDU, which nobody tests for, 0.
double ReferenceTemperature(int medium_code);

// n at lambda (microns) by a row's formula, rounded to 8 decimals.
// Throws GlassRangeError where n^2 is negative (far outside the glass' range).
double RowIndex(GlassFormula formula, const double coef[6], double lambda);

struct GlassRangeError : std::runtime_error {
  GlassRangeError() : std::runtime_error("glass index out of range") {}
};

// The lookup registers: the caller sets GlassName and GlassWl; a lookup by
// exact name loads the coefficients of the row and computes GlassIndex. An
// unknown name loads nothing, so the coefficients of the previous record are used.
class GlassLookup {
 public:
  std::string GlassName;
  float GlassWl = 0;
  double GlassCoef[6] = {0, 0, 0, 0, 0, 0};
  GlassFormula Formula = GlassFormula::Sellmeier;
  double GlassIndex = 0;
  double GlassDensity = 0;
  double GlassExpansion = 0;
  const GlassRow* LastRow = nullptr;  // the row whose coefficients are loaded

  // Returns whether the name was found.
  bool LookupSchott() { return Lookup(Catalogue::Schott); }
  bool LookupOhara() { return Lookup(Catalogue::Ohara); }
  bool LookupCorning() { return Lookup(Catalogue::Corning); }
  bool LookupHoya() { return Lookup(Catalogue::Hoya); }
  bool LookupLzos() { return Lookup(Catalogue::Lzos); }
  bool LookupSpecial() { return Lookup(Catalogue::Special); }
  bool LookupChengdu() { return Lookup(Catalogue::Chengdu); }
  bool Lookup(Catalogue c);
};

// The old-release row numbers of SCHOTT (200 entries) and OHARA (111 entries):
// the name of old row `row`, or nullptr when the table has no such row.
const char* OldRowName(Catalogue c, int row);

// Index of air at lambda (microns), temperature T (C) and pressure P (atm).
double AirIndex(double lambda, double temp_c, double press_atm);

// A relative index given at reference temperature t_ref and 1 atm, moved to
// temperature t and pressure p by the makers' dn/dT formula. Rows without the
// constants keep their index.
double IndexAtEnvironment(double n_ref, const GlassRow& row, double lambda, double t_ref,
                          double t, double p);

}  // namespace ovrin
