#pragma once
// Telescope pre-design: a few telescope parameters turned into a third-order
// starting system, shown as result labels and written into the design.
// One calculator per family window; every window shares the frame below: the
// inputs as text (read by the leading-number rule, empty = 0), the results as
// caption and text, the rows of the system, and the writing into the design
// followed by the system update.
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/design_sheet.h"
#include "core/design_state.h"
#include "glass/catalogue_media.h"
#include "output/canvas.h"

namespace ovrin::predesign {

enum class Kind {
  Newtonian,
  Cassegrain,
  Gregorian,
  Couder,
  Schmidt,
  Wright,
  SchmidtCassegrain,
  SchmidtCassegrainSpherical,
  Baker,
  Monocentric,
  Maksutov,
  MaksutovCassegrain,
  Houghton,
  HoughtonAspheric,
  HoughtonCassegrain,
  HoughtonCassegrainAspheric,
  Doublet,
  Triplet,
};

// One input box: the key (the command line's option without "--"), the
// caption beside the box and its starting text.
struct InputSpec {
  const char* key;
  const char* caption;
  const char* initial;
};

// One variant: the command line's value and the window's button caption.
struct VariantSpec {
  const char* key;
  const char* button;
};

// What a family window holds besides its numbers.
enum class GlassUse { None, One, Three };

struct KindSpec {
  Kind kind;
  const char* cli;          // "newtonian", "schmidt-cassegrain", ...
  const char* window;       // "Frmnewton", "FrmSchmidt", ...
  const char* title;        // the window's caption
  const char* calculate;    // the calculation button's caption
  std::vector<InputSpec> inputs;
  std::vector<VariantSpec> variants;  // empty: one "O.K.  ANALYZE" button
  GlassUse glass = GlassUse::None;
  std::vector<const char*> help;  // the numbered steps
};

// Every family, in the order of the chooser.
const std::vector<KindSpec>& Kinds();
const KindSpec& SpecOf(Kind k);
const KindSpec* FindKind(std::string_view cli_name);
const KindSpec* FindWindow(std::string_view window_name);

inline constexpr float kLineE = 0.54607f;
inline constexpr float kLineF = 0.48613f;
inline constexpr float kLineC = 0.65627f;

// The glass of a corrector: a typed index (catalogue "DIRECT") or a catalogue
// glass; one wavelength, or three for the meniscus windows.
struct GlassChoice {
  std::string catalogue = "DIRECT";
  std::string glass;
  std::vector<std::string> indexText{"1.5168"};  // the index boxes, as typed
  std::vector<float> wavelengths{kLineE};
};

struct Inputs {
  std::map<std::string, std::string> text;  // key -> box text
  std::string variant;                      // a VariantSpec key; empty = the first
  GlassChoice glass;
  // Meniscus windows: the four scroll bars (radius factor, thickness,
  // corrector distance, mirror radius), each 10000 for 1.0; the radius
  // factor starts at 9750.
  std::vector<int> scroll{9750, 10000, 10000, 10000};
};

// The starting inputs of a kind: every box at its initial text.
Inputs DefaultInputs(Kind k);

// One row of the system as the frame writes it.
struct Row {
  enum Medium { AirPosit, AirNegat, Glass };
  double semi = 0;
  double radius = 0;  // 0 is a plane
  double thickness = 0;
  Medium medium = AirPosit;
  int type = kSphere;
  double conic = 0, a4 = 0, a6 = 0, a8 = 0;
  int lens = 0;  // a Glass row of a lens design: which of Plan::lenses
};

// A dimension of the schematic: a horizontal span from z1 to z2 at height y,
// or a vertical span (a diameter) at z from -y to y.
struct Dimension {
  std::string label;
  bool vertical = false;
  double z1 = 0, z2 = 0, y = 0;
};

// A result label: the key it is known by, the caption beside it, its text.
struct Result {
  std::string key;
  std::string caption;
  std::string text;
};

struct Plan {
  std::vector<Result> results;
  std::vector<Result> extras;  // the telescope maker's figures
  const std::string* Find(std::string_view key) const;
  std::vector<std::pair<double, double>> profile;            // corrector: zone radius, depth
  std::vector<Row> rows;
  double beamSemi = 0;
  double halfFieldDeg = 0;
  std::vector<float> wavelengths{kLineE};
  GlassChoice glass;       // the medium of the Glass rows
  std::vector<double> index;  // the corrector's index at each wavelength
  double makShape = 0;     // the meniscus shape found by the scan
  std::vector<Dimension> dims;
  std::string system;      // the system's name for the design note
  // Lens designs: the glass of each lens and its index at each wavelength;
  // empty for the designs of one corrector glass (glass and index above).
  std::vector<GlassChoice> lenses;
  std::vector<std::vector<double>> lensIndex;
  // Plain numbers the command line gives at the top level (VA, VB, ...).
  std::vector<std::pair<std::string, double>> numbers;
};

struct Outcome {
  bool ok = false;
  std::string error;  // the message of a refused or faulted calculation
  Plan plan;
};

// The calculation of a family window. Faults (a zero input, m = 1, an index
// of 1, ...) end it with ok false and nothing computed.
Outcome Calculate(Kind k, const Inputs& in);

// The frame's writing: wavelengths, rows, types, media, conics, the beam, and
// the update. On a failed update the design is put back as it was and the
// update's message returned.
std::optional<std::string> WriteDesign(const Plan& plan, DesignState& d, DesignSheet& sheet,
                                       CatalogueMedia& media);

// The schematic of a calculated system: its section with the dimension labels.
void DrawSchematic(const Plan& plan, Canvas& canvas, double width, double height);

// The meniscus windows' live figures of a written design: longitudinal
// spherical aberration of each wavelength at ten zones, and the offence
// against the sine condition of the margin.
struct MeniscusFigures {
  std::vector<std::vector<std::pair<double, double>>> aberration;  // per wavelength: (zone, LA mm)
  double osc = 0;
  double efl = 0;
};
MeniscusFigures MeniscusAberrations(const DesignState& d);
void DrawAberrationCurves(const MeniscusFigures& f, Canvas& canvas, double width, double height);

// The index of a lens at three wavelengths: typed as "n1,n2,n3", or a
// catalogue glass "CAT:NAME" at the given wavelengths.
std::vector<double> LensIndices(const std::string& typed, const std::string& glass,
                                const std::vector<float>& wavelengths, GlassChoice* choice = nullptr);

// The centre thickness of a lens of surface curvatures c1, c2 whose edge at
// the semi-diameter h is at least max(1 mm, 5 % of the diameter), and no
// thinner than `at_least`.
double LensCentreThickness(double c1, double c2, double h, double at_least = 0);

// The meniscus shape: the B of the smallest |v(B)|, by a coarse scan
// (B = 2..1000 in steps of 1), then a fine one (+-1 in steps of 0.01).
double MeniscusShape(double aperture_ratio, double n);

}  // namespace ovrin::predesign
