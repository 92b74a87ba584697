#pragma once
// The one design: plain tables of the surfaces, the tilts and the wavelengths,
// the system parameters, and what the last system update computed.
#include <array>
#include <cstdint>
#include <string>

namespace ovrin {

constexpr int kMaxSurfaces = 100;
constexpr int kSurfTableSize = 103;  // object space 0, surfaces 1..100, image entry, spare
constexpr int kTiltTableSize = 126;  // tilt and decenter tables, image plane at SurfCount + 1
constexpr int kMaxWavelengths = 6;

using SurfTable = std::array<double, kSurfTableSize>;
using SurfTableF = std::array<float, kSurfTableSize>;
using TiltTable = std::array<double, kTiltTableSize>;
using TiltTableF = std::array<float, kTiltTableSize>;
using NameTable = std::array<std::string, kSurfTableSize>;

// How the medium after a surface is given.
enum MediumCodes : int16_t {
  kMediumAirPosit = 0,
  kMediumAirNegat = 1,
  kMediumSchott = 2,
  kMediumOhara = 3,
  kMediumDirect = 4,
  kMediumCorning = 5,
  kMediumHoya = 6,
  kMediumLzos = 7,
  kMediumSpecial = 8,
  kMediumChengdu = 9,
};

enum SurfTypes : int {
  kSphere = 1,
  kConic = 2,
  kHighOrder = 3,
  kObsScreen = 4,
};

struct Rgb {
  int r = 0, g = 0, b = 0;
  bool IsZero() const { return r == 0 && g == 0 && b == 0; }
  bool operator==(const Rgb&) const = default;
};

struct DesignState {
  // --- surface tables, index 0..102 ---
  SurfTable SemiDiam{};
  SurfTable Radius{};
  SurfTable Thickness{};
  std::array<SurfTable, 7> IndexWl{};  // IndexWl[1] .. IndexWl[6]; [0] unused
  std::array<int16_t, kSurfTableSize> MediumCode{};
  NameTable GlassSchott, GlassOhara, GlassCorning, GlassHoya, GlassLzos, GlassSpecial, GlassChengdu;
  SurfTableF SurfType{};
  SurfTable Conic{};
  SurfTable AsphA2{}, AsphA4{}, AsphA6{}, AsphA8{};

  // --- tilt and decenter tables, index 0..125 ---
  TiltTableF DecY{}, DecX{};
  TiltTable TiltAInput{}, TiltBInput{};
  TiltTable TiltA{}, TiltB{};
  TiltTableF TiltOrder{};

  // --- wavelengths ---
  int16_t WlCount = 0;
  std::array<float, kMaxWavelengths> Wavelength{};  // [0..5], microns
  std::array<float, 7> WlWeight{};                  // indexed as its users index it (0..6)
  std::array<Rgb, 7> WlColor{};                     // [1..6]
  std::string WlColorsSet;

  // --- system parameters ---
  int16_t SurfCount = 0;
  std::string DesignNote;
  double EntrBeamSemiDiam = 0;
  double ObjDistance = 0;
  double HalfFieldY = 0;
  int32_t StopSurf = 1;
  float EnvTempCurrent = 0, EnvPressCurrent = 0;
  float EnvTempActual = 0, EnvPressActual = 0;
  std::string DesignFileName;
  std::string DesignFileTitle;

  // --- results of the system update ---
  double BflRaw = 0;
  double Bfl = 0;
  double Efl = 0;
  double FRatio = 0;
  float ImageNA = 0;
  double EntrBeamDiam = 0;
  double AiryDiam = 0, AiryRadius = 0;
  double EntrPupilZ = 0;
  double EntrPupilY = 0;
  double ChiefCosZ = 1, ChiefCosY = 0, ChiefCosX = 0;
  double ImageHeight = 0;
  float UncenteredFlag = 0;
  float PupilRadius = 0;

  // The index table of wavelength k (1..6).
  SurfTable& Index(int k) { return IndexWl[k]; }
  const SurfTable& Index(int k) const { return IndexWl[k]; }

  // The glass name table of a catalogue medium code, or nullptr for air and DIRECT.
  NameTable* GlassNames(int medium_code);
  const NameTable* GlassNames(int medium_code) const;
};

// The glass name tables with their medium codes, in the order design files list them.
struct GlassNameColumn {
  int16_t medium;
  NameTable DesignState::*names;
};
inline constexpr std::array<GlassNameColumn, 7> kGlassNameColumns = {{
    {kMediumSchott, &DesignState::GlassSchott},
    {kMediumOhara, &DesignState::GlassOhara},
    {kMediumCorning, &DesignState::GlassCorning},
    {kMediumHoya, &DesignState::GlassHoya},
    {kMediumLzos, &DesignState::GlassLzos},
    {kMediumSpecial, &DesignState::GlassSpecial},
    {kMediumChengdu, &DesignState::GlassChengdu},
}};

// The columns that are lengths: a change of scale multiplies them.
inline constexpr std::array<SurfTable DesignState::*, 3> kLengthColumns = {
    &DesignState::SemiDiam, &DesignState::Radius, &DesignState::Thickness};

// Every column of the surface tables (indices 0..102), each passed to f once.
// Clearing, copying, inserting and deleting surfaces go through this list, so
// a new column is added here and nowhere else.
template <typename State, typename F>
void ForEachSurfaceColumn(State& d, F&& f) {
  for (auto length : kLengthColumns) f(d.*length);
  for (int k = 1; k <= kMaxWavelengths; ++k) f(d.IndexWl[k]);
  f(d.MediumCode);
  for (const GlassNameColumn& g : kGlassNameColumns) f(d.*(g.names));
  f(d.SurfType);
  f(d.Conic);
  f(d.AsphA2);
  f(d.AsphA4);
  f(d.AsphA6);
  f(d.AsphA8);
}

// Every column of the tilt and decenter tables (indices 0..125).
template <typename State, typename F>
void ForEachTiltColumn(State& d, F&& f) {
  f(d.DecY);
  f(d.DecX);
  f(d.TiltAInput);
  f(d.TiltBInput);
  f(d.TiltA);
  f(d.TiltB);
  f(d.TiltOrder);
}

// Empties the design: every surface table, names included, and the tilt
// tables for i = 0..102 become 0 (TiltOrder too).
void ClearDesign(DesignState& d);

// Decenters and trace tilts to 0, TiltOrder to 1, for i = 0..102.
void ResetTiltDecenter(DesignState& d);

// Catalogue name of a medium code as the design window's medium list shows it.
const char* MediumEntryText(int medium_code);
// Medium code of a list entry text, or -1 when the text is none of them.
int MediumCodeOfEntry(std::string_view entry);

// Surface type text of grid column 7 ("SPHERE", ...) and back (0 when unknown).
const char* SurfTypeText(int surf_type);
// The same for the stored 32-bit value, whatever it holds.
const char* SurfTypeText(float surf_type);
int SurfTypeOfText(std::string_view text);

}  // namespace ovrin
