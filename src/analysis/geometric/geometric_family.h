#pragma once
// The family of geometric windows built on one ray bundle: spots through
// focus and field, RMS spot size scans, distortion, lateral colour, chromatic
// focal shift, encircled energy, geometric PSF and MTF, the real-ray table,
// vignetting, footprints and best focus. Every engine reads the design only.
//
// Conventions shared by all of them:
// - A field is a fraction of the full field: the design window's Y angle for
//   an object at infinity, its object height for a finite object.
// - The bundle is a square grid over the whole entrance pupil (no mirroring),
//   `div` steps across the pupil radius; the chief ray passes the pupil centre.
// - Focus shifts are measured from the image distance in use: the Actual
//   B.F.L. when it is set (not 0), the paraxial B.F.L. otherwise.
// - Lengths are in the design unit (mm), angles in degrees.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "core/ray_tracer.h"
#include "output/canvas.h"

namespace ovrin {

struct FamilySettings {
  double angleYDeg = 0;      // full field, object at infinity
  double objectHeight = 0;   // full field, finite object
  double actualBfl = 0;      // 0: the paraxial B.F.L.
  int div = 12;              // pupil grid steps across the radius
  std::array<bool, 6> checked{true, false, false, false, false, false};
  int background = 0;        // 0 white, 1 black, 2 grey
};

// The image distance in use.
double ImageDistanceOf(const DesignState& d, const FamilySettings& s);
// The checked wavelengths that are in use (1..6); wavelength 1 when none is.
std::vector<int> CheckedWavelengths(const DesignState& d, const FamilySettings& s);
// The working F-number: |f| / D at infinity, 1 / (2 NA) for a finite object.
// The Airy radius of the family is 1.22 lambda N at full precision.
double WorkingFNumber(const DesignState& d);

// One traced ray on the image surface.
struct RayHit {
  double x = 0, y = 0;    // image coordinates, mm
  double weight = 1;
  int wl = 1;
  double px = 0, py = 0;  // its entrance pupil point
};

// One run of the bundle.
struct BundleRun {
  int wavelength = 1;
  const SurfTable* indexTable = nullptr;  // a rebuilt index column instead of the design's
  double field = 0;                       // fraction of the full field (Y)
  double fieldX = 0;                      // fraction of the full field in X (object at infinity)
  double focusShift = 0;                  // from the image distance
  double weight = 1;
};

struct Bundle {
  std::vector<RayHit> hits;  // the rays that passed every aperture
  double chiefX = 0, chiefY = 0;
  int traced = 0, stopped = 0;
};

// Traces the pupil grid for one run; rays that fail or are stopped are
// counted in `stopped`. The chief ray must pass: its failure throws TraceError.
Bundle TraceBundle(const DesignState& d, const FamilySettings& s, const BundleRun& run);

// Weighted centroid and RMS radius about it.
struct SpotStats {
  double cx = 0, cy = 0, rms = 0, maxRadius = 0;  // maxRadius from the centroid
  double weight = 0;
};
SpotStats StatsOf(const std::vector<RayHit>& hits);

// ---------------------------------------------------------------------------
// spot families

enum class SpotFamily { Multi, Matrix, TotalField };

struct SpotCell {
  std::string title;
  double field = 0, focusShift = 0;
  int wl = 0;                      // 0: every checked wavelength
  double chiefX = 0, chiefY = 0;   // the reference chief ray on the image
  std::vector<RayHit> hits;
  SpotStats stats;
  double airyRadius = 0;
};

struct SpotFamilySettings {
  SpotFamily family = SpotFamily::Multi;
  double focusStep = 0.05;  // mm between the five focus steps
  std::vector<double> fields{0, 0.7, 1};  // the field and matrix rows, the total-field spots
  double zoom = 1;                        // drawing: 1 fits the largest spot
  double aspect = 0;                      // drawing: width / height of the picture, 0 as the grid needs
};

struct SpotFamilyResult {
  std::string error;
  int rows = 0, cols = 0;
  std::vector<SpotCell> cells;  // row by row
};

SpotFamilyResult ComputeSpotFamily(const DesignState& d, const FamilySettings& s, const SpotFamilySettings& f);
void DrawSpotFamily(const SpotFamilyResult& r, const FamilySettings& s, const SpotFamilySettings& f, Canvas& c);

// ---------------------------------------------------------------------------
// curves: (x, values...) tables with a drawing

struct Curve {
  std::string name;
  Rgb color;
  std::vector<double> x, y;
};
struct CurvePlot {
  std::string xTitle, yTitle;
  std::vector<Curve> curves;
  std::optional<double> yMin, yMax;
};
void DrawCurvePlot(const CurvePlot& p, int background, Canvas& c);

// RMS spot radius versus focus shift, field or wavelength.
enum class RmsScan { Focus, Field, Wavelength };
struct RmsVersusSettings {
  RmsScan scan = RmsScan::Focus;
  double defocus = 0.2;           // focus scan: -defocus..+defocus
  double shortWl = 0.4, longWl = 0.8;
  double field = 0;               // focus and wavelength scans
  int steps = 20;
};
struct RmsVersusResult {
  std::string error;
  std::vector<double> x, rms, airy;  // airy: the diffraction limit at each x
  CurvePlot plot;
};
RmsVersusResult ComputeRmsVersus(const DesignState& d, const FamilySettings& s, const RmsVersusSettings& v);

// Distortion against the paraxial image height.
struct DistortionResult {
  std::string error;
  std::vector<double> field, real, paraxial, mm, percent;
  double maxPercent = 0;
  // The grid picture: real and paraxial points of a 9 x 9 field grid.
  std::vector<PlotPoint> gridReal, gridParaxial;
  int gridSide = 9;
  CurvePlot plot;
};
DistortionResult ComputeDistortion(const DesignState& d, const FamilySettings& s, int steps = 10);
void DrawDistortionGrid(const DistortionResult& r, int background, Canvas& c);

// Lateral colour: chief-ray height of each wavelength minus wavelength 1's,
// for the checked wavelengths, or every one in use when only 1 is checked.
struct LateralColourResult {
  std::string error;
  std::vector<double> field;
  std::vector<int> wavelengths;               // the checked ones after 1
  std::vector<std::vector<double>> difference;  // per wavelength, per field, mm
  double airyRadius = 0;
  CurvePlot plot;
};
LateralColourResult ComputeLateralColour(const DesignState& d, const FamilySettings& s, int steps = 10);

// Chromatic focal shift: the paraxial focus against wavelength.
struct FocalShiftSettings {
  double shortWl = 0.4, longWl = 0.8;
  int steps = 40;
};
struct FocalShiftResult {
  std::string error;
  std::vector<double> wavelength, focus, shift;  // focus: from the last surface; shift: minus the reference
  double reference = 0;                         // the paraxial focus at wavelength 1
  double spread = 0;                            // largest minus smallest focus
  CurvePlot plot;
};
FocalShiftResult ComputeFocalShift(const DesignState& d, const FamilySettings& s, const FocalShiftSettings& f);
// The paraxial focus (from the last surface) of an index column.
double ParaxialFocus(const DesignState& d, const SurfTable& index);
// The ".CFS" text: the title in quotes, the reference focus and |focal box|,
// then one "wavelength, shift" line per sample.
std::string CfsText(const FocalShiftResult& r, const std::string& title, double focal_box);
inline constexpr const char* kCfsQuestion =
    "Do you want to export Chromatic Focal Shift Data (*.CFS file) to be used with Aberrator package?";

// Encircled and ensquared energy.
struct EnergySettings {
  double field = 0;
  int samples = 60;
};
struct EnergyResult {
  std::string error;
  std::vector<double> radius;                      // mm
  std::vector<double> centroid, chief, ensquared;  // fractions 0..1
  std::vector<double> diffraction;                 // a circular pupil's own
  std::array<double, 3> centroidRadii{}, chiefRadii{}, ensquaredRadii{};  // 50, 80, 90 %
  double airyRadius = 0;
  CurvePlot plot;
};
EnergyResult ComputeEncircledEnergy(const DesignState& d, const FamilySettings& s, const EnergySettings& e);
// The fraction of a diffraction-limited circular pupil's energy within radius r.
double DiffractionEncircled(double r, double lambda_mm, double fnumber);
// The radius holding fraction q of the weight of `hits` around (cx, cy).
double RadiusHolding(const std::vector<RayHit>& hits, double cx, double cy, double q, bool square = false);

// Geometric PSF: ray weight binned on a square grid around the centroid.
struct GeoPsfSettings {
  double field = 0;
  int bins = 41;
  double halfWidth = 0;  // mm; 0: 1.2 times the spot's largest radius
  double viewAngle = 30; // relief: degrees
};
struct GeoPsfResult {
  std::string error;
  int bins = 0;
  double halfWidth = 0;
  std::vector<double> density;  // row by row from the top, peak 1
};
GeoPsfResult ComputeGeometricPsf(const DesignState& d, const FamilySettings& s, const GeoPsfSettings& p);
void DrawGeoPsfMap(const GeoPsfResult& r, Canvas& c);
void DrawGeoPsfRelief(const GeoPsfResult& r, const GeoPsfSettings& p, Canvas& c);

// Geometric MTF times the diffraction-limited MTF.
double DiffractionMtf(double nu, double cutoff);
struct GeoMtfSettings {
  std::vector<double> fields{0, 0.7, 1};
  int samples = 40;
  // Through focus:
  double frequency = 20;  // cycles/mm
  double defocus = 0.2;
  int focusSteps = 20;
};
struct GeoMtfResult {
  std::string error;
  double cutoff = 0;
  std::vector<double> x;  // frequency or focus shift
  std::vector<std::vector<double>> tangential, sagittal;  // per field
  std::vector<double> diffraction;  // at each frequency (field MTF only)
  CurvePlot plot;
};
GeoMtfResult ComputeGeometricMtf(const DesignState& d, const FamilySettings& s, const GeoMtfSettings& m);
GeoMtfResult ComputeGeometricMtfFocus(const DesignState& d, const FamilySettings& s, const GeoMtfSettings& m);
// The MTF of a set of hits along y (tangential) or x (sagittal), geometric only.
double GeometricMtfOf(const std::vector<RayHit>& hits, double nu, bool tangential);

// Real-ray table.
struct RealRaySettings {
  double field = 1;
  double pupilX = 0, pupilY = 1;  // fractions of the pupil radius
  int wavelength = 1;
};
struct RealRayRow {
  int surface = 0;
  double x = 0, y = 0, z = 0;
  double cosX = 0, cosY = 0, cosZ = 1;
  double incidence = 0;  // degrees
  double path = 0;       // geometric length from the previous surface
  bool stopped = false;
};
struct RealRayResult {
  std::string error;
  std::vector<RealRayRow> rows;  // surfaces 1..SurfCount, then the image (SurfCount + 1)
  std::string text;
};
RealRayResult ComputeRealRay(const DesignState& d, const FamilySettings& s, const RealRaySettings& r);

// Vignetting: unvignetted fraction versus field.
struct VignettingResult {
  std::string error;
  std::vector<double> field, fraction;
  CurvePlot plot;
};
VignettingResult ComputeVignetting(const DesignState& d, const FamilySettings& s, int steps = 10);

// Footprint of the beam on a surface.
struct FootprintSettings {
  int surface = 1;
  std::vector<double> fields{0, 0.7, 1};
};
struct FootprintResult {
  std::string error;
  double clearRadius = 0;
  std::vector<std::vector<PlotPoint>> points;  // per field, in the surface frame
  std::vector<std::vector<bool>> stopped;
  std::vector<double> extent;                  // largest radius reached per field
};
FootprintResult ComputeFootprint(const DesignState& d, const FamilySettings& s, const FootprintSettings& f);
void DrawFootprint(const FootprintResult& r, int background, Canvas& c);

// Best focus.
enum class FocusCriterion { Spot, Wavefront };
struct BestFocusSettings {
  FocusCriterion criterion = FocusCriterion::Spot;
  double field = 0;
  double range = 0;  // search half width; 0: from the size of the system
};
struct BestFocusResult {
  std::string error;
  double shift = 0;      // from the image distance in use
  double imageDistance = 0;
  double value = 0;      // the RMS radius (mm) or RMS wavefront (waves) there
  double valueAtStart = 0;
};
BestFocusResult ComputeBestFocus(const DesignState& d, const FamilySettings& s, const BestFocusSettings& b);
// Adds a focus shift to the last surface's thickness, in the table and in the
// sheet's cell. The system update sets that thickness to 0 again: the value
// is a record of the shift for the design file and the grid until then.
void ApplyFocusShift(DesignState& d, DesignSheet& sheet, double shift);

// The RMS spot radius of the checked wavelengths, weighted, at a field and focus shift.
double PolychromaticRms(const DesignState& d, const FamilySettings& s, double field, double shift,
                        const SpotStats* out = nullptr);

}  // namespace ovrin
