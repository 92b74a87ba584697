#pragma once
// Frmseidel1: first-order data and the third-order (Seidel) aberrations of the
// design, surface by surface, from two paraxial rays of wavelength 1. Tilts
// and decenters are ignored.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/design_state.h"
#include "output/canvas.h"

namespace ovrin {

inline constexpr const char* kEnterHalfField = "Enter Half-field angle!";
inline constexpr const char* kEnterObjectHeight = "Enter Object Height!";
inline constexpr const char* kSeidelError = "Error!";

// The window's five commands, each printing one table.
enum class SeidelTable { Setup, RayTrace, Seidel, Transversal, Longitudinal };

// The design window's boxes that the tables read.
struct SeidelSettings {
  std::string angleY = "0", angleX = "0";  // Txtangolo, TxtangoloX
  std::string objectHeight = "0";          // Text3
};

// The columns SPHERICAL, COMA, ASTIG., DIST., PETZVAL.
using SeidelColumns = std::array<double, 5>;
// The aspheric contribution has no PETZVAL.
using AsphColumns = std::array<double, 4>;

// One of the three aberration tables.
struct SeidelSums {
  std::vector<SeidelColumns> rows;               // surfaces 1..SurfCount
  std::vector<std::optional<AsphColumns>> asph;  // parallel to rows; set for CONIC and HIGH-ORDER
  SeidelColumns sum{};                           // as the "[ SUM ] " row prints it
  std::vector<std::vector<std::string>> text;    // the numeric cells of each printed row
};

// One line of the paraxial setup: label, value and printed value.
struct SetupLine {
  const char* key;  // the JSON key; empty for the object lines
  std::string label;
  double value = 0;
  std::string text;
};

struct SeidelResult {
  // "Enter Half-field angle!" or "Enter Object Height!": the window shows it
  // and closes, nothing is computed. "Error!": a table could not be computed.
  std::string error;
  bool closeWindow = false;

  // Paraxial tables: MargY .. ChiefU 0..SurfCount+1, the others 0..SurfCount.
  std::vector<double> MargY, MargU, ChiefY, ChiefU;
  std::vector<double> MargA, ChiefA, SeidelB, SeidelBbar, AsphW;
  double LagrangeH = 0;
  bool infinite = true;

  SeidelSums seidel, transversal, longitudinal;
  std::vector<SetupLine> setup;
  bool uncentered = false;
};

SeidelResult ComputeSeidel(const DesignState& d, const SeidelSettings& s);

// One table as printed lines: the title, heads and rows, with columns laid
// out by blanks, and the red warning line of an uncentered system last.
struct PrintedCell {
  int column;  // tab column the text starts at
  std::string text;
};
struct PrintedLine {
  std::vector<PrintedCell> cells;
  bool red = false;
  std::string Text() const;  // the cells padded to their columns
};
std::vector<PrintedLine> SeidelTableLines(const SeidelResult& r, SeidelTable table);
// The same as plain text, one line each.
std::string SeidelTableText(const SeidelResult& r, SeidelTable table);

// The printed table on the picture: one text line after the other in a
// window of 100 columns by as many lines as it has (at least 30).
void DrawSeidelTable(const SeidelResult& r, SeidelTable table, Canvas& canvas);
// The window's height, in lines, of a table drawing.
int SeidelTableHeight(const SeidelResult& r, SeidelTable table);

}  // namespace ovrin
