#include "core/design_edit.h"

#include <array>
#include <cmath>
#include <utility>

#include "core/number_text.h"
#include "core/optics_math.h"

namespace ovrin {

namespace {

// Every surface table entry of surface `from` copied to `to`.
void CopySurface(DesignState& d, int from, int to) {
  ForEachSurfaceColumn(d, [=](auto& column) { column[to] = column[from]; });
}

void ClearSurface(DesignState& d, int i) {
  ForEachSurfaceColumn(d, [=](auto& column) { column[i] = {}; });
}

void CopyTilt(DesignState& d, int from, int to) {
  ForEachTiltColumn(d, [=](auto& column) { column[to] = column[from]; });
}

void ClearTilt(DesignState& d, int i) {
  ForEachTiltColumn(d, [=](auto& column) { column[i] = {}; });
  d.TiltOrder[i] = 1;
}

void RenumberRows(DesignSheet& sheet) {
  for (int r = 1; r < sheet.Rows(); ++r) sheet.Cell(r, 0) = " " + std::to_string(r);
}

void SetCount(DesignState& d, DesignSheet& sheet, int n) {
  d.SurfCount = static_cast<int16_t>(n);
  sheet.txtnumsup = std::to_string(n);
  sheet.txtDataEntryVisible = false;
  sheet.ComboGlassVisible = sheet.CombotipoVisible = false;
}

}  // namespace

bool NewDesign(DesignState& d, DesignSheet& sheet, std::string_view count_text) {
  const double v = ParseLeadingNumber(count_text);
  if (!(v >= 1 && v <= kMaxSurfaces)) return false;
  const int n = static_cast<int>(v);

  d.UncenteredFlag = 0;
  ClearDesign(d);
  d.WlCount = 1;
  d.Wavelength = {0.54607f, 0, 0, 0, 0, 0};
  d.DesignFileTitle.clear();
  d.SurfCount = static_cast<int16_t>(n);

  sheet.Txtcaratteristiche.clear();
  sheet.Text1.clear();
  sheet.Lblbfl.clear();
  sheet.Lblfocale.clear();
  sheet.Lblrappfoc.clear();
  sheet.LblImage.clear();
  sheet.Txtangolo = "0";
  sheet.cmdupdateVisible = true;
  sheet.cmdupdateEnabled = true;
  sheet.txtnumsup = std::to_string(n);
  sheet.cells.resize(1);
  sheet.SetSurfaceRows(n);
  for (int k = 1; k <= n; ++k) {
    DesignSheet::Row& row = sheet.cells[k];
    row[1].clear();
    row[2] = "1";
    row[3] = "0";
    row[4] = "1";
    row[5] = "AIR (Posit)";
    row[6] = " 1";
    row[7] = "SPHERE";
  }
  sheet.Cell(n, 4) = "0";
  sheet.Cell(1, 1) = "AS";
  d.StopSurf = 1;
  sheet.Text1 = "1";
  return true;
}

bool InsertSurfaces(DesignState& d, DesignSheet& sheet, int before, int count) {
  const int n = d.SurfCount;
  if (count < 1 || before < 1 || before > n + 1 || n + count > kMaxSurfaces) return false;

  for (int i = n + 1; i >= before; --i) CopyTilt(d, i, i + count);
  for (int i = n; i >= before; --i) CopySurface(d, i, i + count);

  // The new surfaces sit in the space before `before`; the object space is air.
  const int space = before - 1;
  const double semi = d.SemiDiam[before > 1 ? before - 1 : before + count];
  for (int i = before; i < before + count; ++i) {
    ClearSurface(d, i);
    ClearTilt(d, i);
    if (space >= 1) {
      CopySurface(d, space, i);
    } else {
      d.IndexWl[1][i] = 1;
      for (int k = 2; k <= d.WlCount; ++k) d.IndexWl[k][i] = 1;
    }
    d.SemiDiam[i] = semi;
    d.Radius[i] = 1e11;
    d.Thickness[i] = 0;
    d.SurfType[i] = kSphere;
    d.Conic[i] = d.AsphA2[i] = d.AsphA4[i] = d.AsphA6[i] = d.AsphA8[i] = 0;
  }
  if (d.StopSurf >= before) d.StopSurf += count;

  DesignSheet::Row fresh{};
  fresh[2] = ShortestText(semi);
  fresh[3] = "0";
  fresh[4] = "0";
  fresh[5] = space >= 1 ? sheet.Cell(space, 5) : std::string("AIR (Posit)");
  fresh[6] = space >= 1 ? sheet.Cell(space, 6) : std::string("1");
  fresh[7] = "SPHERE";
  sheet.cells.insert(sheet.cells.begin() + before, count, fresh);
  RenumberRows(sheet);
  SetCount(d, sheet, n + count);
  return true;
}

bool DeleteSurfaces(DesignState& d, DesignSheet& sheet, int first, int last) {
  const int n = d.SurfCount;
  if (first > last) std::swap(first, last);
  if (first < 1 || last > n) return false;
  const int count = last - first + 1;
  if (count >= n) return false;

  for (int i = last + 1; i <= n; ++i) CopySurface(d, i, i - count);
  for (int i = n - count + 1; i <= n; ++i) ClearSurface(d, i);
  for (int i = last + 1; i <= n + 1; ++i) CopyTilt(d, i, i - count);
  for (int i = n - count + 2; i <= n + 1; ++i) ClearTilt(d, i);

  const int m = n - count;
  if (d.StopSurf > last) {
    d.StopSurf -= count;
  } else if (d.StopSurf >= first) {
    d.StopSurf = first <= m ? first : m;
  }
  sheet.cells.erase(sheet.cells.begin() + first, sheet.cells.begin() + last + 1);
  RenumberRows(sheet);
  SetCount(d, sheet, m);
  // The stop row of the grid follows the stop, also when its surface went.
  bool marked = false;
  for (int r = 1; r < sheet.Rows(); ++r) marked = marked || sheet.Cell(r, 1) == "AS";
  if (!marked) MarkStopRow(sheet, d.StopSurf);
  return true;
}

TiltEntry ReadTiltEntry(const DesignState& d, int i) {
  TiltEntry e;
  e.tilt_x_deg = d.TiltAInput[i] / kDegree;
  e.tilt_y_deg = d.TiltBInput[i] / kDegree;
  e.dec_y = d.DecY[i];
  e.dec_x = d.DecX[i];
  e.order = d.TiltOrder[i] == 2.0f ? 2 : 1;
  return e;
}

void WriteTiltEntry(DesignState& d, int i, const TiltEntry& e) {
  d.TiltAInput[i] = e.tilt_x_deg * kDegree;
  d.TiltBInput[i] = e.tilt_y_deg * kDegree;
  d.DecY[i] = e.dec_y;
  d.DecX[i] = e.dec_x;
  d.TiltOrder[i] = e.order == 2 ? 2.0f : 1.0f;
}

std::optional<double> ScaleFactorOf(std::string_view typed) {
  const double f = std::fabs(ParseLeadingNumber(typed));
  if (f == 0 || !std::isfinite(f)) return std::nullopt;
  return f;
}

std::optional<double> FocalScaleFactorOf(std::string_view typed, double efl) {
  if (efl == 0 || !std::isfinite(efl)) return std::nullopt;
  const float f = static_cast<float>(std::fabs(ParseLeadingNumber(typed)) / std::fabs(efl));
  if (f == 0 || !std::isfinite(f)) return std::nullopt;
  return static_cast<double>(f);
}

void ApplyEnvironment(DesignState& d, MediaResolver& media, float t, float p) {
  d.EnvTempActual = t;
  d.EnvPressActual = p;
  media.RecomputeForEnvironment(d);
  d.EnvTempCurrent = t;
  d.EnvPressCurrent = p;
}

}  // namespace ovrin
