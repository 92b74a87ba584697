// ovrin-cli interferogram, ronchigram, foucault and star-test: the tests a
// telescope maker runs at the bench and on a star, made from the design.
#include "analysis/wave/maker_tests.h"
#include "analysis/wave/opd_engine.h"
#include "cli_common.h"
#include "core/number_text.h"

namespace ovrin::cli {

namespace {

// The options of the commands that trace the design's wave front.
struct WaveOptions {
  DesignInput in;
  int wl = 1;
  std::string field = "axis";
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  double focal_radius = 0;
  PictureOutput picture;
};

void AddWaveOptions(CLI::App& c, WaveOptions& o) {
  AddDesignInput(c, o.in);
  c.add_option("--wl", o.wl, "wavelength number, 1..6 (default 1)");
  c.add_option("--field", o.field, "axis or full (default axis)")->check(CLI::IsMember({"axis", "full"}));
  o.bfl_given = c.add_option("--bfl", o.bfl, "Actual B.F.L. (default: Bfl at 4 decimals)");
  c.add_option("--focal-radius", o.focal_radius, "field curvature radius, 0 flat (default 0)");
  AddPictureOutput(c, o.picture);
}

double ActualBfl(const LoadedDesign& s, const CLI::Option* given, double bfl) {
  return given && given->count() ? bfl : RoundTo(s.design.Bfl, 4);
}

void CheckWavelength(const DesignState& d, int k) {
  if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0 || !WavelengthInUse(d, k))
    throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
}

double AngleY(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.Txtangolo); }
double AngleX(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.TxtangoloX); }

[[noreturn]] void Failed(const std::optional<TraceError>& e, const std::string& message) {
  if (e) FailRay(*e);
  throw CliFailure(message.empty() ? "TraceError" : message);
}

Runner Interferogram(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  auto set = std::make_shared<InterferogramSettings>();
  AddWaveOptions(c, *o);
  c.add_option("--grid", set->grid, "pupil samples across: 32, 64, 128 or 256 (default 64)")
      ->check(CLI::IsMember({32, 64, 128, 256}));
  c.add_option("--test-wl", set->testMicrons, "the interferometer's wavelength, microns (default 0.6328)")
      ->check(CLI::PositiveNumber);
  c.add_flag("--double-pass", set->doublePass, "the light meets the optics twice");
  c.add_option("--tilt-x", set->tiltX, "fringes of tilt added across the pupil in X (default 0)");
  c.add_option("--tilt-y", set->tiltY, "fringes of tilt added across the pupil in Y (default 0)");
  c.add_option("--defocus", set->defocus, "waves of focus added at the pupil edge (default 0)");
  return [o, set] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    InterferogramSettings st = *set;
    st.wavelength = o->wl;
    st.actualBfl = ActualBfl(*s, o->bfl_given, o->bfl);
    st.focalRadius = o->focal_radius;
    st.fullField = o->field == "full";
    st.angleYDeg = AngleY(*s);
    st.angleXDeg = AngleX(*s);
    const InterferogramResult r = ComputeInterferogram(d, st);
    if (!r.ok) Failed(r.error, "");
    nlohmann::json j = {{"N", r.N},           {"TestWavelength", st.testMicrons}, {"DoublePass", st.doublePass},
                        {"PV", r.PV},         {"RMS", r.RMS},                     {"Fringes", r.fringes},
                        {"ActualBfl", st.actualBfl}};
    o->picture.WriteIfWanted(512, 512, j, [&](Canvas& picture) { DrawInterferogram(r, picture); });
    return j;
  };
}

struct RonchiOptions {
  DesignInput in;
  RonchiSettings set;
  std::string setup = "focus";
  std::string per = "inch";
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  PictureOutput picture;
};

Runner Ronchigram(CLI::App& c) {
  auto o = std::make_shared<RonchiOptions>();
  AddDesignInput(c, o->in);
  c.add_option("--setup", o->setup, "focus: the whole system at its focus; centre: one mirror at its centre of curvature")
      ->check(CLI::IsMember({"focus", "centre"}));
  c.add_option("--lines", o->set.lines, "grating lines (default 100)")->check(CLI::PositiveNumber);
  c.add_option("--per", o->per, "the lines are per inch or per mm (default inch)")->check(CLI::IsMember({"inch", "mm"}));
  c.add_option("--offset", o->set.offset, "grating distance from the focus or centre, mm; + outside, - inside (default 0)");
  c.add_option("--wl", o->set.wavelength, "wavelength number at the focus, 1..6 (default 1)");
  o->bfl_given = c.add_option("--bfl", o->bfl, "the system's focus (default: Bfl at 4 decimals)");
  c.add_option("--mirror", o->set.mirror, "the surface tested at its centre (default: the first mirror)");
  c.add_option("--size", o->set.size, "pixels across the pupil (default 201)")->check(CLI::Range(16, 1024));
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    RonchiSettings st = o->set;
    st.setup = o->setup == "centre" ? RonchiSetup::MirrorCentre : RonchiSetup::SystemFocus;
    st.perInch = o->per == "inch";
    if (st.setup == RonchiSetup::SystemFocus) CheckWavelength(d, st.wavelength);
    st.actualBfl = ActualBfl(*s, o->bfl_given, o->bfl);
    const RonchiResult r = ComputeRonchigram(d, st);
    if (!r.ok) Failed(r.error, r.message);
    // Where the bands change along the horizontal diameter, in mm of the pupil.
    std::vector<double> edges;
    const int mid = r.size / 2;
    for (int col = 1; col < r.size; ++col) {
      const char a = r.state[static_cast<size_t>(mid) * r.size + col - 1];
      const char b = r.state[static_cast<size_t>(mid) * r.size + col];
      if (a != 0 && b != 0 && a != b) edges.push_back((r.X(col - 1) + r.X(col)) / 2);
    }
    nlohmann::json j = {{"Setup", o->setup}, {"Period", r.period}, {"Bands", r.bands}, {"Aperture", r.a},
                        {"Edges", edges}};
    if (st.setup == RonchiSetup::MirrorCentre) {
      j["Surface"] = r.surface;
      j["Radius"] = r.radius;
    } else {
      j["ActualBfl"] = st.actualBfl;
    }
    o->picture.WriteIfWanted(512, 512, j, [&](Canvas& picture) { DrawRonchigram(r, picture); });
    return j;
  };
}

struct FoucaultOptions {
  DesignInput in;
  FoucaultSettings set;
  std::string source = "moving";
  PictureOutput picture;
};

Runner Foucault(CLI::App& c) {
  auto o = std::make_shared<FoucaultOptions>();
  AddDesignInput(c, o->in);
  c.add_option("--mirror", o->set.mirror, "the surface tested at its centre (default: the first mirror)");
  c.add_option("--source", o->source, "moving (travels with the knife) or fixed (default moving)")
      ->check(CLI::IsMember({"moving", "fixed"}));
  c.add_option("--zones", o->set.zones, "equal-area zones of the mask (default 5)")->check(CLI::Range(1, 50));
  c.add_option("--readings", o->set.measured, "the knife readings taken, one per zone, mm")->delimiter(',');
  c.add_option("--knife", o->set.knifeOffset, "knife position for the picture, mm from the centre (default 0)");
  c.add_option("--knife-x", o->set.knifeX, "the edge's side position, mm (default 0)");
  c.add_option("--slit", o->set.sourceWidth, "the source's width, mm (default 0.02)")->check(CLI::PositiveNumber);
  c.add_option("--microns", o->set.microns, "wavelength of the wave-front figures (default 0.55)")
      ->check(CLI::PositiveNumber);
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    FoucaultSettings st = o->set;
    st.movingSource = o->source == "moving";
    const FoucaultResult r = ComputeFoucault(s->design, st);
    if (!r.ok) throw CliFailure(r.message);
    nlohmann::json zones = nlohmann::json::array();
    for (const FoucaultZone& z : r.zones) {
      nlohmann::json zj = {{"Inner", z.inner}, {"Outer", z.outer}, {"Centre", z.centre}, {"Ideal", z.ideal}};
      if (r.hasMeasured) {
        zj["Measured"] = z.measured;
        zj["Difference"] = z.difference;
        zj["Wave"] = z.wave;
      }
      zones.push_back(zj);
    }
    nlohmann::json j = {{"Surface", r.surface}, {"Radius", r.radius}, {"Source", o->source},
                        {"zones", zones},       {"table", r.table}};
    if (r.hasMeasured) {
      j["PV"] = r.PV;
      j["RMS"] = r.RMS;
      j["Strehl"] = r.Strehl;
    }
    o->picture.WriteIfWanted(512, 512, j, [&](Canvas& picture) { DrawFoucault(r, picture); });
    return j;
  };
}

Runner StarTest(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  auto set = std::make_shared<StarTestSettings>();
  AddWaveOptions(c, *o);
  c.add_option("--grid", set->grid, "pupil samples across: 32, 64 or 128 (default 64)")
      ->check(CLI::IsMember({32, 64, 128}));
  c.add_option("--defocus", set->defocus, "waves of defocus either side of the focus (default 4)");
  return [o, set] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    StarTestSettings st = *set;
    st.wavelength = o->wl;
    st.actualBfl = ActualBfl(*s, o->bfl_given, o->bfl);
    st.focalRadius = o->focal_radius;
    st.fullField = o->field == "full";
    st.angleYDeg = AngleY(*s);
    st.angleXDeg = AngleX(*s);
    const StarTestResult r = ComputeStarTest(d, st);
    if (!r.ok) Failed(r.error, r.message);
    nlohmann::json j = {{"F", r.F},           {"N", r.N},           {"Defocus", r.defocus},
                        {"Difference", r.difference}, {"Strehl", r.Strehl}, {"Half", r.half},
                        {"ActualBfl", st.actualBfl}};
    o->picture.WriteIfWanted(800, 440, j, [&](Canvas& picture) { DrawStarTest(r, picture); });
    return j;
  };
}

}  // namespace

std::vector<Command> MakerCommands() {
  return {
      {"interferogram", "Fringes of the wave front for a test wavelength: PV, RMS and fringe count", Interferogram},
      {"ronchigram", "Ronchi bands of the system at its focus or of a mirror at its centre of curvature", Ronchigram},
      {"foucault", "Foucault zone readings of a mirror at its centre of curvature, and the wave front of readings taken",
       Foucault},
      {"star-test", "Intra- and extra-focal star images at a chosen defocus", StarTest},
  };
}

}  // namespace ovrin::cli
