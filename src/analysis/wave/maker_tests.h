#pragma once
// The tests a telescope maker runs at the bench and under the sky, made from
// the design itself: the interferogram of the wave front, the Ronchigram (of
// the whole system at its focus, or of one mirror at its centre of
// curvature), the Foucault knife-edge picture with its zonal readings, and the
// star test's intra- and extra-focal diffraction images.
#include <optional>
#include <string>
#include <vector>

#include "analysis/wave/opd_engine.h"
#include "output/canvas.h"

namespace ovrin {

// ---------------------------------------------------------------------------
// Interferogram

struct InterferogramSettings {
  int wavelength = 1;          // the design wavelength whose wave front is shown
  int grid = 64;               // pupil samples across: 32, 64, 128, 256
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
  double testMicrons = 0.6328;  // the interferometer's wavelength
  bool doublePass = false;      // the light meets the optics twice (autocollimation)
  double tiltX = 0, tiltY = 0;  // fringes added across the pupil diameter
  double defocus = 0;           // waves of focus added at the pupil edge
};

struct InterferogramResult {
  bool ok = false;
  std::optional<TraceError> error;
  int N = 0;                    // samples across the pupil
  double a = 0;                 // entrance beam half-diameter
  // The phase in test waves of every sample, tilt and focus included; lit
  // says whether light reaches it. Row 0 at the top of the pupil.
  std::vector<double> W;
  std::vector<char> lit;
  double PV = 0, RMS = 0;       // of the design's own wave front, in test waves
  double fringes = 0;           // peak-to-valley of the shown phase: the fringe count
  int size = 0;                 // the grey picture, size x size pixels
  std::vector<double> intensity;  // 0..1, negative outside the pupil
};

InterferogramResult ComputeInterferogram(const DesignState& d, const InterferogramSettings& s,
                                         const Progress& progress = {});
void DrawInterferogram(const InterferogramResult& r, Canvas& c);

// ---------------------------------------------------------------------------
// Transverse rays at a plane near a mirror's centre of curvature

// One mirror of the design, as it lies on the bench: vertex at z = 0,
// concave towards +z where the source stands.
struct BenchMirror {
  int surface = 0;
  double radius = 0;            // paraxial radius of curvature, > 0
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;  // in the design's own sign
  double sign = 1;              // +1 or -1: the design's sag turned to the bench
  bool sphere = true;
  double semiDiam = 0;
  double Sag(double r) const;   // z of the surface at height r
  double Slope(double r) const; // dz/dr
};

// The mirrors of the design: the surfaces where the index changes sign.
std::vector<int> MirrorSurfaces(const DesignState& d);
// Throws std::invalid_argument when `surface` is not a concave mirror.
BenchMirror BenchMirrorOf(const DesignState& d, int surface);

// The ray from an axial source at z = source_z to the mirror point at height
// (x, y), reflected and carried to the plane z = plane_z: its (x, y) there.
// False when the point is off the surface.
bool ReflectToPlane(const BenchMirror& m, double source_z, double plane_z, double x, double y, double* gx,
                    double* gy);

// ---------------------------------------------------------------------------
// Ronchigram

enum class RonchiSetup { SystemFocus, MirrorCentre };

struct RonchiSettings {
  RonchiSetup setup = RonchiSetup::SystemFocus;
  int wavelength = 1;
  double lines = 100;           // grating frequency
  bool perInch = true;          // lines per inch, else per millimetre
  double offset = 0;            // mm from the focus (or centre): + outside, - inside
  double actualBfl = 0;         // the system's focus
  int mirror = 0;               // the surface tested at its centre; 0 = the first mirror
  int size = 201;               // pixels across the pupil
};

struct RonchiResult {
  bool ok = false;
  std::optional<TraceError> error;
  std::string message;          // why nothing could be computed, besides a failed ray
  int size = 0;
  double a = 0;                 // pupil half-diameter (beam or mirror)
  double period = 0;            // grating period, mm
  int surface = 0;              // the mirror at its centre
  double radius = 0;            // its radius of curvature
  // Per pixel (row 0 at the top): the ray's x on the grating, NaN where no light.
  std::vector<double> gx;
  std::vector<char> state;      // 0 no light, 1 behind a line, 2 through a slit
  double bands = 0;             // grating periods across the pupil's horizontal diameter
  double X(int col) const { return -a + (2 * a) * (col + 0.5) / size; }
  double Y(int row) const { return a - (2 * a) * (row + 0.5) / size; }
  double GxAt(int row, int col) const { return gx[static_cast<size_t>(row) * size + col]; }
};

RonchiResult ComputeRonchigram(const DesignState& d, const RonchiSettings& s);
void DrawRonchigram(const RonchiResult& r, Canvas& c);

// ---------------------------------------------------------------------------
// Foucault test

struct FoucaultSettings {
  int mirror = 0;               // the surface; 0 = the first mirror
  bool movingSource = true;     // the source travels with the knife
  double knifeOffset = 0;       // mm behind the paraxial centre of curvature
  double knifeX = 0;            // the edge's side position, mm; it cuts from -x
  double sourceWidth = 0.02;    // the slit's width, mm: sets the softness of the shades
  int zones = 5;                // equal-area zones of the mask
  std::vector<double> measured; // the readings the maker took, one per zone (may be empty)
  double microns = 0.55;        // the wavelength of the wave-front figures
  int size = 201;
};

struct FoucaultZone {
  double inner = 0, outer = 0, centre = 0;  // radii, mm
  double ideal = 0;             // knife position for this zone, from the paraxial centre
  double measured = 0;
  double difference = 0;        // measured - ideal
  double wave = 0;              // wave-front error at the zone centre, waves
};

struct FoucaultResult {
  bool ok = false;
  std::string message;
  int surface = 0;
  double radius = 0, a = 0;
  bool hasMeasured = false;
  std::vector<FoucaultZone> zones;
  double PV = 0, RMS = 0, Strehl = 1;  // of the measured mirror's wave front, waves
  int size = 0;
  std::vector<double> intensity;  // 0..1, negative off the mirror
  std::vector<std::string> table; // the zonal table as text lines
};

FoucaultResult ComputeFoucault(const DesignState& d, const FoucaultSettings& s);
void DrawFoucault(const FoucaultResult& r, Canvas& c);

// ---------------------------------------------------------------------------
// Star test

struct StarTestSettings {
  int wavelength = 1;
  int grid = 64;                // pupil samples across: 32, 64 or 128
  double actualBfl = 0;
  double focalRadius = 0;
  bool fullField = false;
  double angleYDeg = 0, angleXDeg = 0;
  double defocus = 4;           // waves of defocus either side of the focus
};

struct StarTestResult {
  bool ok = false;
  std::optional<TraceError> error;
  std::string message;
  int F = 0, N = 0;
  double defocus = 0;
  // F x F intensities, both divided by the larger of the two peaks.
  std::vector<double> intra, extra;
  int half = 0;                 // half-width of the part worth showing, samples
  double difference = 0;        // sum |intra - extra| / sum (intra + extra)
  double Strehl = 0;            // of the focused wave front
};

StarTestResult ComputeStarTest(const DesignState& d, const StarTestSettings& s, const Progress& progress = {});
void DrawStarTest(const StarTestResult& r, Canvas& c);

}  // namespace ovrin
