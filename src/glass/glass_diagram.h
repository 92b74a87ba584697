#pragma once
// The glass maps of the Glass Diagram menu: every glass of the chosen
// catalogues placed by index and dispersion (nd-vd), by its relative partial
// dispersion P g,F against vd with the normal line, or by two relative
// partial dispersions against each other (P-P); and a catalogue as a table.
// All numbers come from each glass' own dispersion formula.
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "glass/glass_catalogue.h"
#include "output/canvas.h"
#include "output/plot_axes.h"

namespace ovrin {

// The spectral lines of the dispersion numbers, microns.
inline constexpr double kLineG = 0.4358343;  // g, mercury
inline constexpr double kLineF = 0.4861327;  // F, hydrogen
inline constexpr double kLineE = 0.5460740;  // e, mercury
inline constexpr double kLineD = 0.5875618;  // d, helium
inline constexpr double kLineC = 0.6562725;  // C, hydrogen
inline constexpr double kLineT = 1.0139800;  // t, mercury

struct GlassDispersion {
  double nd = 0, ne = 0, nF = 0, nC = 0, ng = 0, nt = 0;
  double vd = 0;   // (nd - 1) / (nF - nC)
  double pgF = 0;  // (ng - nF) / (nF - nC)
  double pCt = 0;  // (nC - nt) / (nF - nC)
};

// The dispersion numbers of a row by its formula. Throws GlassRangeError when
// the formula fails at one of the lines, or the medium does not disperse.
GlassDispersion DispersionOf(const GlassRow& row);

// The normal lines through the two reference glasses of the makers (a crown
// and a flint): most glasses lie near them; an apochromat needs glasses off them.
inline double NormalPgF(double vd) { return 0.6438 - 0.001682 * vd; }
inline double NormalPCt(double vd) { return 0.5450 + 0.004743 * vd; }

enum class GlassDiagramKind { NdVd, PgF, PP };

struct GlassDiagramSettings {
  GlassDiagramKind kind = GlassDiagramKind::NdVd;
  std::array<bool, kCatalogueCount> catalogues = {true, false, false, false, false, false, false};
  int background = 0;  // 0 White, 1 Black, 2 Grey
  bool names = false;  // write each glass' name beside its mark
  int selected = -1;   // index into the result's glasses of a marked glass; -1 none
};

struct GlassMark {
  Catalogue catalogue;
  const GlassRow* row;
  GlassDispersion disp;
  double x = 0, y = 0;  // its place on the diagram, in the axes' units
};

struct GlassDiagramResult {
  std::vector<GlassMark> glasses;
  std::vector<std::string> left_out;  // "CATALOGUE NAME": no formula, or none that holds
  PlotAxis x, y;                      // the ranges hold every mark; vd falls to the right
  std::vector<PlotPoint> normal_line;  // empty on the nd-vd diagram
};

GlassDiagramResult ComputeGlassDiagram(const GlassDiagramSettings& s);
void DrawGlassDiagram(const GlassDiagramResult& r, const GlassDiagramSettings& s, Canvas& c);
// The colour of a catalogue's marks.
Rgb CatalogueColor(Catalogue c);

// The glass nearest to (x, y) within x_tol and y_tol (the axes' units), as an
// index into r.glasses; -1 when none is that near.
int GlassNear(const GlassDiagramResult& r, double x, double y, double x_tol, double y_tol);
// One line for the pointer: "SCHOTT N-BK7  nd 1.51680  vd 64.17  P g,F 0.5349".
std::string GlassReadout(const GlassMark& m);
// Everything known of a glass, one item a line, with its index at `wavelength`.
std::string GlassDataText(Catalogue c, const GlassRow& row, double wavelength);

// The catalogue table of the Glass Catalog window.
struct GlassTableRow {
  const GlassRow* row;
  bool available = false;  // false: no dispersion formula published
  GlassDispersion disp;    // zero where the formula fails
  double index = 0;        // at the chosen wavelength; 0 where the formula fails
};
// The glasses of a catalogue whose name contains `filter` (any case), in
// catalogue order, with their index at `wavelength` (microns).
std::vector<GlassTableRow> GlassTable(Catalogue c, std::string_view filter, double wavelength);
const char* FormulaName(GlassFormula f);  // "Sellmeier", "Schott"

}  // namespace ovrin
