#pragma once
// The spot diagram: a bundle of real rays from a square pupil grid clipped by a
// circle, traced per checked wavelength to the focal surface, with the spot's
// size in numbers. The pupil grid and the bundle trace serve every geometric
// analysis.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/design_state.h"
#include "core/ray_tracer.h"
#include "output/canvas.h"

namespace ovrin {

inline constexpr int kPupilArraySize = 32001;  // indices 0..32000
inline constexpr const char* kRayTraceError = "Ray-Trace ERROR! ";
inline constexpr const char* kCheckDataError = "Error ! Check data ";

// The "Rays per color" list and the grid steps each entry sets.
struct RaysEntry {
  const char* text;
  int16_t div;
};
extern const std::array<RaysEntry, 8> kRaysPerColor;
// PupilGridDiv of a list text; an empty text gives 10, an unknown one 0.
int16_t PupilGridDivOf(const std::string& text);

// The pupil points: entry 0 is the chief ray (0, 0).
struct PupilGrid {
  std::vector<double> PupilY = std::vector<double>(kPupilArraySize);
  std::vector<double> PupilX = std::vector<double>(kPupilArraySize);
  float PupilRayCount = 0;  // index of the last valid entry
  float PupilRadius = 0;
};

// Fills the grid for the design's beam and UncenteredFlag. Returns false when
// the grid does not fit the arrays or the beam gives no grid. A caller that
// needs a finer grid than the spot diagram's arrays hold passes its own last
// index; the arrays grow to it.
bool BuildPupilGrid(const DesignState& d, int16_t div, PupilGrid& g, int last_index = kPupilArraySize - 1);

// What the spot window's controls hold when a drawing starts.
struct SpotSettings {
  std::string rays = "558";          // Comboraggi
  int field = 0;                     // ComboField: 0 "On-axis", 1 "Full-Field"
  std::array<bool, 6> checked{true, false, false, false, false, false};  // wavelengths 1..6
  std::string zoom = "1";            // Txtscala
  std::string focalRadius = "0";     // Txtrcpf
  std::string actualBfl;             // Txtbflattuale
  bool plotVignetted = false;        // CheckVign
  int background = 0;                // Combo1: 0 "White", 1 "Black", 2 "Grey"
  // The design window's half-field angle boxes, read at drawing time.
  std::string angleY = "0", angleX = "0";
  // The spot diameter of the window's last drawing: a spot whose two spreads
  // are exactly equal keeps it.
  double previousSpotDiameter = 0;
};

// The numbers the window shows; they keep their text when a drawing fails.
struct SpotLabels {
  std::string lbldiamrms, lbldiamspot, lblaltezza, Lblpercentvig;
  std::string Lblraggitot, Lblragginonvig, Lblraggivig, Lbldiamairy;
  std::string scale;  // the scale line's value, in mm
};

// The plot scale of a zoom text: a plot unit is 0.002 / |zoom| mm.
struct SpotScale {
  float ZoomFactor = 1, MmPerPlotUnit = 0.002f;
};
SpotScale SpotScaleOf(const std::string& zoom);

// One spot diagram: every number, stored ray and label text the window shows.
struct SpotResult {
  SpotResult();

  // The failure message (kRayTraceError, kCheckDataError), empty on success or
  // when nothing could be shown. Whatever was traced before a failure is kept.
  std::string error;
  bool drawn = false;  // the drawing got as far as the numbers; only then are the labels new
  // A full field with an X angle makes the system uncentered from now on: the
  // caller raises the design's UncenteredFlag. This drawing was still built
  // on the grid of the flag as it was.
  bool raiseUncenteredFlag = false;
  bool gridBuilt = false;  // the pupil grid was built: the picture has its scale
  bool mirrored = false;  // a centred system: the half pupil was traced and is shown mirrored

  SpotLabels labels;  // scale and Lbldiamairy always, the others when drawn
  double RmsRadius = 0;
  double SpotDiameter = 0;  // the previous one when the spreads are equal
  double ChiefHeight = 0;
  double VignPercent = 0;
  float GoodRays = 0, VignRays = 0, RayCounter = 0;
  float ZoomFactor = 1, MmPerPlotUnit = 0.002f;
  PupilGrid grid;
  double AiryRadius = 0;
  std::array<Rgb, 7> colors{};  // WlColor of wavelengths 1..6

  // Stored rays (entries 0..GoodRays after the mirroring): image coordinates,
  // weights and the wavelength of each; entry 0 is the reference chief ray.
  std::vector<double> SpotY, SpotX;
  std::vector<float> SpotWeight;
  std::vector<int8_t> SpotWl;
  std::vector<double> SpotDY, SpotDX;

  // The rays in the order they were plotted: mm from the reference chief ray,
  // the wavelength, and whether the ray was stopped (plotted only with
  // "Plot Vign.Rays").
  struct Plotted {
    double dx, dy;
    int8_t wl;
    bool stopped;
  };
  std::vector<Plotted> plotted;
};

// Traces the spot of the settings. The design is only read.
SpotResult ComputeSpot(const DesignState& d, const SpotSettings& s);

// The picture of a result: scale line, Airy circle and the rays, at the zoom
// and background of `s` (a changed zoom or background needs no new trace).
void DrawSpot(const SpotResult& r, const SpotSettings& s, Canvas& canvas);

// The shift from Bfl of the focus that minimises the on-axis RMS radius of the
// checked wavelengths (a bracket, then Brent's method to 1e-6 mm). The rays
// per colour are those of the settings. Throws TraceError when rays fail.
double AutoFocus(const DesignState& d, const SpotSettings& s);

}  // namespace ovrin
