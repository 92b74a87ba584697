#include "core/design_sheet.h"

#include <cstdlib>

#include "core/number_text.h"

namespace ovrin {

const std::array<const char*, 10> kComboGlassEntries = {
    "AIR (Posit)", "AIR (Negat)", "SCHOTT",  "OHARA",  "CORNING",
    "HOYA",        "LZOS",        "SPECIAL", "DIRECT", "CHENGDU"};

const std::array<const char*, 4> kCombotipoEntries = {"SPHERE", "CONIC", "HIGH-ORDER",
                                                      "OBS.SCREEN"};

namespace {
const DesignSheet::Row kHeader = {"Surf.",       "A.Stop",   "Half-Diam.",  "Curv.Radius",
                                  " Thickness",  "  MEDIUM", "Glass/Index", "Surf. Type"};
}

DesignSheet::DesignSheet() {
  cells.push_back(kHeader);
  SetSurfaceRows(1);
  Cell(1, 1) = "AS";  // the stop is on surface 1 until the user says otherwise
}

void DesignSheet::SetSurfaceRows(int n) {
  if (n < 0) n = 0;
  if (n > kMaxSurfaces) n = kMaxSurfaces;
  const int old = Rows();
  cells.resize(n + 1);
  for (int r = old; r <= n; ++r) cells[r][0] = " " + std::to_string(r);
  if (txtDataEntryVisible && editRow > n) txtDataEntryVisible = false;
}

bool DesignSheet::BeginCellEdit(int row, int col) {
  if (row < 1 || row >= Rows() || col < 2 || col > 4) return false;
  editRow = row;
  editCol = col;
  txtDataEntry = Cell(row, col);
  txtDataEntryVisible = true;
  return true;
}

void DesignSheet::SelectOption1(DesignState& d) {
  Option1 = true;
  Option2 = false;
  d.ObjDistance = 0;
  Text2 = "0";
  Text3 = "0";
  Text2Enabled = Text3Enabled = false;
  TxtangoloEnabled = TxtangoloXEnabled = true;
  Check1Enabled = Check2Enabled = true;
  Label15 = "Aperture Ratio";
}

void DesignSheet::SelectOption2() {
  Option1 = false;
  Option2 = true;
  Text2Enabled = Text3Enabled = true;
  Txtangolo = "0";
  TxtangoloX = "0";
  TxtangoloEnabled = TxtangoloXEnabled = false;
  Check1Enabled = Check2Enabled = false;
  Label15 = "Image NA";
  Lblrappfoc.clear();
}

void DesignSheet::SetCheck1(bool on) {
  Check1 = on;
  TxtangoloEnabled = on;
  if (!on) Txtangolo = "0";
}

void DesignSheet::SetCheck2(bool on) {
  Check2 = on;
  TxtangoloXEnabled = on;
  if (!on) TxtangoloX = "0";
}

bool DesignSheet::ApplySurfaceCount(std::string_view text) {
  double v = std::abs(ParseLeadingNumber(text));
  if (!(v >= 1 && v <= kMaxSurfaces)) {
    cmdupdateEnabled = false;
    return false;
  }
  const int n = static_cast<int>(v);
  txtnumsup = std::to_string(n);
  SetSurfaceRows(n);
  cmdupdateEnabled = true;
  return true;
}

bool IsNumericEntryKey(int ch) { return ch == 8 || (ch >= 45 && ch <= 57); }

void MarkStopRow(DesignSheet& sheet, int row) {
  for (int r = 1; r < sheet.Rows(); ++r) sheet.Cell(r, 1).clear();
  if (row >= 1 && row < sheet.Rows()) sheet.Cell(row, 1) = "AS";
}

void PickAir(DesignState& d, DesignSheet& sheet, int row, bool negative) {
  sheet.Cell(row, 5) = negative ? "AIR (Negat)" : "AIR (Posit)";
  sheet.Cell(row, 6) = negative ? "-1" : "1";
  d.MediumCode[row] = negative ? kMediumAirNegat : kMediumAirPosit;
}

void PickSurfaceType(DesignState& d, DesignSheet& sheet, int row, int surf_type) {
  sheet.Cell(row, 7) = SurfTypeText(surf_type);
  if (surf_type == kSphere) {
    d.SurfType[row] = kSphere;
    d.Conic[row] = 0;
  } else if (surf_type == kObsScreen) {
    d.SurfType[row] = kObsScreen;
  }
}

void SetSurfaceCoefficients(DesignState& d, DesignSheet& sheet, int row, bool high_order,
                            double k, double a4, double a6, double a8) {
  d.Conic[row] = k;
  if (high_order) {
    d.SurfType[row] = kHighOrder;
    d.AsphA2[row] = 0;
    d.AsphA4[row] = a4;
    d.AsphA6[row] = a6;
    d.AsphA8[row] = a8;
  } else {
    d.SurfType[row] = kConic;
  }
  sheet.Cell(row, 7) = SurfTypeText(d.SurfType[row]);
}

void ScaleSystem(DesignState& d, DesignSheet& sheet, double factor) {
  for (int i = 1; i <= d.SurfCount && i < sheet.Rows(); ++i) {
    for (auto length : kLengthColumns) (d.*length)[i] *= factor;
    for (int col = 2; col <= 4; ++col) {
      const double v = ParseLeadingNumber(sheet.Cell(i, col));
      sheet.Cell(i, col) = ShortestText(v * factor);
    }
  }
  d.EntrBeamSemiDiam *= factor;
  d.ObjDistance *= factor;
  sheet.Text1 = ShortestText(ParseLeadingNumber(sheet.Text1) * factor);
  sheet.Text2 = ShortestText(ParseLeadingNumber(sheet.Text2) * factor);
}

}  // namespace ovrin
