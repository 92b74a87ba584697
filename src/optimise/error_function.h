#pragma once
// The optimiser's error function: a small fixed set of real rays per field and
// wavelength, traced through a working copy of the design, turned into
// residuals whose squares sum to a weighted spot size or wavefront variance.
// Also what the optimisation window holds (its controls as typed, its grid)
// and the pick-up tables that outlive the window.
#include <array>
#include <string>
#include <vector>

#include "core/design_state.h"
#include "core/ray_bundle.h"
#include "core/ray_tracer.h"

namespace ovrin {

// --- the ray sets ------------------------------------------------------------

enum class RaySetKind { Square, Gaussian, Radau };

// Pupil points in mm (entry 0 is the chief ray), their 32-bit weights, and N,
// the index of the last ray.
struct RaySet {
  std::vector<double> PupilY, PupilX;
  std::vector<float> RayWeight;
  int RayCount = 0;
};

// The set of `kind` for a beam of half-diameter d.
RaySet BuildRaySet(RaySetKind kind, double d);

// --- the optimisation window's model -----------------------------------------

// The texts of FrmOpt's controls and its variables grid, without any window.
struct OptimiseSheet {
  static constexpr int kCols = 8;
  using Row = std::array<std::string, kCols>;

  bool Option1 = true;   // "RMS Spot Radius"
  bool Option2 = false;  // "RMS WaveFront"
  bool OptionSquare = false, OptionGaussian = true, OptionRadau = false;
  bool OptionParaxial = true, OptionBestFocal = false;
  std::string TxtDamping = "0.00001";
  std::string Text1 = "10";     // iterations
  std::string Text2;            // focal length target
  std::string Text9 = "0.01";   // focal length weight
  std::string Label9;           // current focal length
  std::string Text10 = "0.0", Text12 = "1";  // field point 1, weight
  std::string Text11 = "0.8", Text13 = "0.7";  // field point 2, weight
  std::array<bool, 6> checked{true, false, false, false, false, false};  // Check_e .. Check_h
  std::array<bool, 6> checkVisible{true, true, true, true, true, true};
  std::array<std::string, 6> weights{"1", "1", "1", "1", "1", "1"};  // Text3 .. Text8
  std::array<bool, 6> weightEnabled{true, false, false, false, false, false};
  std::array<std::string, 6> checkCaption;

  // Row 0 the heads, rows 1..SurfCount the surfaces, row SurfCount+1 "Img".
  std::vector<Row> cells;
  // The cell editor laid over the BFL or the image radius cell.
  std::string txtDataEntry;
  bool txtDataEntryVisible = false;
  int editRow = 0, editCol = 0;

  // The design window's half-field angle boxes, read when a run starts.
  std::string angleY = "0", angleX = "0";

  int SurfCount() const { return static_cast<int>(cells.size()) - 2; }
  std::string& Cell(int row, int col) { return cells.at(row).at(col); }
  const std::string& Cell(int row, int col) const { return cells.at(row).at(col); }
};

// The window as it loads on a design: heads, row heads, the focal length
// target and label, the wavelength boxes, and the values of the grid.
void LoadOptimiseSheet(OptimiseSheet& s, const DesignState& d);
// The refresh on activation and after every iteration: wavelength captions,
// half-diameters, radii (a radius beyond 11111111 as 0), thicknesses, conics
// and the focal length label. Marks, the back focal length target and the
// image radius stay.
void RefreshOptimiseSheet(OptimiseSheet& s, const DesignState& d);
// The cell editor's text back into its cell.
void CommitOptimiseCell(OptimiseSheet& s);
// A wavelength box clicked: on uncheck its weight becomes "1" and is disabled.
void SetWavelengthChecked(OptimiseSheet& s, int k, bool on);
// The iteration box: above 100 gives the message and the text "100"; returns
// the message or "".
std::string CheckIterationText(OptimiseSheet& s);
inline constexpr const char* kMaxIterationsMessage = "Invalid Entry: max. 100 iterations ";

// --- pick-ups, kept for the whole program run -----------------------------------

struct PickupTables {
  std::array<int, kSurfTableSize> curvPlus{}, curvMinus{};
  std::array<int, kSurfTableSize> thickPlus{}, thickMinus{};
  std::array<float, kSurfTableSize> thickScale{};
  std::array<double, kSurfTableSize> thickAdd{};
  std::array<int, kSurfTableSize> conicPlus{};
  float WeightBfl = 1;
  int BflPickSourcePlus = 0, BflPickSourceMinus = 0;
  double BflPickAdd = 0;
  PickupTables() { thickScale.fill(1.0f); }
};

// --- the error function ----------------------------------------------------------

enum class ErrorMode { Spot, Wavefront };

// One ray as it is drawn in the spot picture of its field: mm from the reference.
struct OptSpotPoint {
  double dy, dx;
  int wl;
};

// Everything one run traces on: the working copy of the design (its Radius,
// Thickness and Conic are WorkRadius, WorkThickness and WorkConic), one tracer
// whose registers last the whole run, and the choices of the window.
struct ErrorContext {
  explicit ErrorContext(const DesignState& d);
  ErrorContext(const ErrorContext&) = delete;

  DesignState work;
  Tracer tracer;
  BundleTracer bundle;  // the same rays a bundle at a time, in the field of `tracer`
  bool rayByRay = false;  // every ray through `tracer` alone: the reference the bundles are held to
  std::array<SurfTable, 7> index{};  // the evaluation's index sets, element 0 = 1

  ErrorMode mode = ErrorMode::Spot;
  bool bestFocus = false;
  RaySet rays;
  std::array<double, 2> fieldFrac{0.0, 0.8};
  std::array<double, 2> fieldWeight{1, 0.7};
  std::array<bool, 6> checked{};
  std::array<double, 6> wlWeight{};
  double angleY = 0, angleX = 0;  // degrees, the design window's boxes
  double imageRadius = 0;         // the field curvature radius of the "Img" row

  // The pictures: each evaluation adds its rays; cleared when an iteration starts.
  bool keepPictures = true;
  std::array<std::vector<OptSpotPoint>, 2> pictures;

  // The residuals of the last evaluation, 1..M (entry 0 unused), and M.
  std::vector<double> residual;
  int M = 0;
  double FocusBfl = 0, FocusEfl = 0;
  // Box text raised by ComputeFocus ("Error! Reference WL is not checked!"), or "".
  std::string focusMessage;

  // The choices of a window model: mode, rays, focus, fields, wavelengths.
  void Configure(const OptimiseSheet& s);
  // The working copy set back to the design's surfaces.
  void ResetWork(const DesignState& d);
};

inline constexpr const char* kReferenceWlMessage = "Error! Reference WL is not checked!";

// The paraxial focus of the working system, moved to the best focus when the
// window asks for it; every fault inside leaves the paraxial values.
void ComputeFocus(ErrorContext& c);
// The ray residuals at image distance `bfl`. Throw TraceError when a ray fails,
// NumericFault on a division by zero or an overflow.
void EvaluateSpot(ErrorContext& c, double bfl);
void EvaluateWavefront(ErrorContext& c, double bfl);

// A division by zero or an overflow in the error function or the solve.
struct NumericFault : std::runtime_error {
  NumericFault() : std::runtime_error("numeric fault") {}
};

// The spot picture of one field: the heading, the scale line and the rays in
// the colours of their wavelengths (0.0008 mm per picture unit, half-width 190).
class Canvas;
void DrawOptimiseSpot(const std::vector<OptSpotPoint>& points, int field,
                      const std::array<Rgb, 7>& colors, Canvas& canvas);

}  // namespace ovrin
