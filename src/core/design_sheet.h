#pragma once
// What the design window shows and holds, without any window: the text of every
// grid cell and box, the option buttons, check boxes and result labels.
// The system update reads this model, exactly as the window's update button does.
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "core/design_state.h"

namespace ovrin {

// Entries of the medium list in their list order (which differs from the codes).
extern const std::array<const char*, 10> kComboGlassEntries;
// Entries of the surface type list.
extern const std::array<const char*, 4> kCombotipoEntries;

struct DesignSheet {
  static constexpr int kCols = 8;
  using Row = std::array<std::string, kCols>;

  DesignSheet();

  // --- the grid MSFlexGrid1: row 0 is the fixed header, rows 1..n the surfaces ---
  std::vector<Row> cells;

  int Rows() const { return static_cast<int>(cells.size()); }
  int SurfaceRows() const { return Rows() - 1; }
  // Resizes the grid to n surface rows (kept cells stay, new rows are blank
  // but for their number in column 0).
  void SetSurfaceRows(int n);
  std::string& Cell(int row, int col) { return cells.at(row).at(col); }
  const std::string& Cell(int row, int col) const { return cells.at(row).at(col); }

  // --- text boxes ---
  std::string txtnumsup = "1";      // "Number of Surf."
  std::string Txtcaratteristiche;   // "Notes"
  std::string Text1;                // "Entr.Beam Half-Diam."
  std::string Text2 = "0";          // "  Object  Dist."
  std::string Text3 = "0";          // "  Object  Height"
  std::string Txtangolo = "0";      // half-field angle, Y direction
  std::string TxtangoloX = "0";     // half-field angle, X direction

  // --- option buttons and check boxes, with the enabled state they set ---
  bool Option1 = true;   // "Infinity"
  bool Option2 = false;  // "Finite"
  bool Check1 = true;
  bool Check2 = false;
  bool Text2Enabled = false, Text3Enabled = false;
  bool TxtangoloEnabled = true, TxtangoloXEnabled = true;
  bool Check1Enabled = true, Check2Enabled = true;

  // --- labels ---
  std::string Lblbfl, Lblfocale, Lblrappfoc, LblImage;
  std::string Label15 = "Aperture Ratio";
  bool Label4Visible = false;  // "# UNCENTERED  SYSTEM  #"

  // --- floating controls ---
  std::string txtDataEntry;
  bool txtDataEntryVisible = false;
  int editRow = 0, editCol = 0;
  bool ComboGlassVisible = false;
  bool CombotipoVisible = false;

  // --- commands ---
  bool cmdupdateEnabled = true;
  bool cmdupdateVisible = false;
  bool designCommandsEnabled = false;  // menu entries and toolbar buttons that need a design

  // The floating edit box over a cell of column 2, 3 or 4; false for any other cell.
  bool BeginCellEdit(int row, int col);

  // "Infinity": object at infinity, angles in use.
  void SelectOption1(DesignState& d);
  // "Finite": object at a distance, height in use, angles cleared.
  void SelectOption2();
  void SetCheck1(bool on);
  void SetCheck2(bool on);

  // The surface count box: a negative count is taken by its magnitude.
  // Returns false ("Input Error") for 0 or above 100, and disables the update.
  bool ApplySurfaceCount(std::string_view text);
};

// The keyboard filter of the edit box and the angle boxes: backspace and
// characters 45..57 (- . / and the digits).
bool IsNumericEntryKey(int ch);

// Row n of the grid gets "AS" in column 1, every other row is cleared.
void MarkStopRow(DesignSheet& sheet, int row);

// "AIR (Posit)" / "AIR (Negat)" picked in column 5 of a row.
void PickAir(DesignState& d, DesignSheet& sheet, int row, bool negative);

// A surface type picked in column 7. SPHERE and OBS.SCREEN are stored at once;
// CONIC and HIGH-ORDER are stored by SetSurfaceCoefficients (the surface dialog).
void PickSurfaceType(DesignState& d, DesignSheet& sheet, int row, int surf_type);
void SetSurfaceCoefficients(DesignState& d, DesignSheet& sheet, int row, bool high_order,
                            double k, double a4, double a6, double a8);

// Multiplies radii, thicknesses, half-diameters, the beam and the object
// distance by factor, in the tables and in the text of the grid and boxes.
void ScaleSystem(DesignState& d, DesignSheet& sheet, double factor);

}  // namespace ovrin
