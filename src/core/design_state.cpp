#include "core/design_state.h"

#include <array>
#include <string_view>

namespace ovrin {

NameTable* DesignState::GlassNames(int medium_code) {
  for (const GlassNameColumn& g : kGlassNameColumns)
    if (g.medium == medium_code) return &(this->*(g.names));
  return nullptr;
}

const NameTable* DesignState::GlassNames(int medium_code) const {
  return const_cast<DesignState*>(this)->GlassNames(medium_code);
}

void ClearDesign(DesignState& d) {
  for (int i = 0; i < kSurfTableSize; ++i) {
    ForEachSurfaceColumn(d, [i](auto& column) { column[i] = {}; });
    // The tilt tables are cleared over the same 0..102 range, TiltOrder too.
    ForEachTiltColumn(d, [i](auto& column) { column[i] = {}; });
  }
}

void ResetTiltDecenter(DesignState& d) {
  for (int i = 0; i < kSurfTableSize; ++i) {
    d.DecY[i] = 0;
    d.DecX[i] = 0;
    d.TiltA[i] = 0;
    d.TiltB[i] = 0;
    d.TiltOrder[i] = 1;
  }
}

namespace {
constexpr std::array<const char*, 10> kEntryByCode = {
    "AIR (Posit)", "AIR (Negat)", "SCHOTT", "OHARA", "DIRECT",
    "CORNING",     "HOYA",        "LZOS",   "SPECIAL", "CHENGDU"};
constexpr std::array<const char*, 5> kTypeText = {"", "SPHERE", "CONIC", "HIGH-ORDER", "OBS.SCREEN"};
}  // namespace

const char* MediumEntryText(int medium_code) {
  if (medium_code < 0 || medium_code >= static_cast<int>(kEntryByCode.size())) return "";
  return kEntryByCode[medium_code];
}

int MediumCodeOfEntry(std::string_view entry) {
  for (int c = 0; c < static_cast<int>(kEntryByCode.size()); ++c)
    if (entry == kEntryByCode[c]) return c;
  return -1;
}

const char* SurfTypeText(int surf_type) {
  if (surf_type < 1 || surf_type > 4) return "SPHERE";
  return kTypeText[surf_type];
}

const char* SurfTypeText(float surf_type) {
  // Compared before the conversion: a float beyond the range of int has no int.
  if (!(surf_type >= 1.0f && surf_type <= 4.0f)) return "SPHERE";
  return SurfTypeText(static_cast<int>(surf_type));
}

int SurfTypeOfText(std::string_view text) {
  for (int t = 1; t <= 4; ++t)
    if (text == kTypeText[t]) return t;
  return 0;
}

}  // namespace ovrin
