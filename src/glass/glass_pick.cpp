#include "glass/glass_pick.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/number_text.h"

namespace ovrin {

namespace {

bool ContainsNoCase(std::string_view hay, std::string_view needle) {
  auto eq = [](char a, char b) {
    return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b));
  };
  return std::search(hay.begin(), hay.end(), needle.begin(), needle.end(), eq) != hay.end();
}

// The sign of the space after a surface: the grid's column 6 says it as the user
// last set it (an air pick is not in the tables before the update); an empty
// cell leaves it to the index table.
bool SpaceIsNegative(const DesignState& d, const DesignSheet& sheet, int row) {
  const std::string& cell = sheet.Cell(row, 6);
  const auto first = cell.find_first_not_of(' ');
  if (first == std::string::npos) return d.IndexWl[1][row] < 0;
  return cell[first] == '-';
}

}  // namespace

std::vector<GlassListEntry> GlassList(Catalogue c, std::string_view filter) {
  std::vector<GlassListEntry> out;
  for (const GlassRow& row : CatalogueRows(c)) {
    if (!filter.empty() && !ContainsNoCase(row.name, filter)) continue;
    out.push_back({&row, row.HasCoefficients()});
  }
  return out;
}

const char* PickerWindowName(Catalogue c) {
  switch (c) {
    case Catalogue::Schott: return "FrmSchott";
    case Catalogue::Ohara: return "FrmOh";
    case Catalogue::Corning: return "FrmCorning";
    case Catalogue::Hoya: return "FrmHoya";
    case Catalogue::Lzos: return "FrmLZOS";
    case Catalogue::Special: return "FrmSPECIAL";
    case Catalogue::Chengdu: return "FrmChengdu";
  }
  return "";
}

int MediumCodeOf(Catalogue c) {
  switch (c) {
    case Catalogue::Schott: return kMediumSchott;
    case Catalogue::Ohara: return kMediumOhara;
    case Catalogue::Corning: return kMediumCorning;
    case Catalogue::Hoya: return kMediumHoya;
    case Catalogue::Lzos: return kMediumLzos;
    case Catalogue::Special: return kMediumSpecial;
    case Catalogue::Chengdu: return kMediumChengdu;
  }
  return -1;
}

bool PickCatalogueGlass(DesignState& d, DesignSheet& sheet, CatalogueMedia& media, int row,
                        Catalogue c, std::string_view name) {
  if (row < 1 || row > d.SurfCount || row >= sheet.Rows()) return false;
  const auto rows = CatalogueRows(c);
  const auto it = std::find_if(rows.begin(), rows.end(),
                               [&](const GlassRow& g) { return name == g.name; });
  if (it == rows.end() || !it->HasCoefficients()) return false;

  const int code = MediumCodeOf(c);
  d.MediumCode[row] = static_cast<int16_t>(code);
  (*d.GlassNames(code))[row] = it->name;
  // The recomputation takes the sign from IndexWl1.
  d.IndexWl[1][row] = SpaceIsNegative(d, sheet, row) ? -1 : 1;
  if (d.WlCount < 1) d.WlCount = 1;
  media.RecomputeSurfaceIndices(d, row, code);
  sheet.Cell(row, 5) = MediumEntryText(code);
  sheet.Cell(row, 6) = (d.IndexWl[1][row] < 0 ? "- " : "+ ") + std::string(it->name);
  return true;
}

bool PickDirectIndices(DesignState& d, DesignSheet& sheet, int row,
                       const std::array<double, kMaxWavelengths>& indices) {
  if (row < 1 || row > d.SurfCount || row >= sheet.Rows()) return false;
  const int count = std::max<int>(1, d.WlCount);
  for (int k = 0; k < count; ++k)
    if (indices[k] == 0 || !std::isfinite(indices[k])) return false;
  const bool negative = SpaceIsNegative(d, sheet, row);
  for (int k = 1; k <= 6; ++k) {
    const double n = k <= count ? RoundTo(std::fabs(indices[k - 1]), 8) : 0.0;
    d.IndexWl[k][row] = negative ? -n : n;
  }
  d.MediumCode[row] = kMediumDirect;
  sheet.Cell(row, 5) = "DIRECT";
  sheet.Cell(row, 6) = ShortestText(d.IndexWl[1][row]);
  return true;
}

}  // namespace ovrin
