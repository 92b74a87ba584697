// ovrin-cli opd, wavefront, autofocus-opd, opdfan and versus: the optical path
// difference and the numbers of the wave front windows.
#include <cmath>

#include "analysis/wave/opd_engine.h"
#include "analysis/wave/opd_fan.h"
#include "analysis/wave/versus.h"
#include "analysis/wave/wavefront.h"
#include "cli_common.h"
#include "core/number_text.h"

namespace ovrin::cli {

namespace {

// The options the wave front commands share.
struct WaveOptions {
  DesignInput in;
  int wl = 1;
  std::string field = "axis";
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  double focal_radius = 0;
  PictureOutput picture;
};

void AddWl(CLI::App& c, WaveOptions& o) { c.add_option("--wl", o.wl, "wavelength number, 1..6 (default 1)"); }
void AddField(CLI::App& c, WaveOptions& o) {
  c.add_option("--field", o.field, "axis or full (default axis)")->check(CLI::IsMember({"axis", "full"}));
}
void AddBfl(CLI::App& c, WaveOptions& o) {
  o.bfl_given = c.add_option("--bfl", o.bfl, "Actual B.F.L. (default: Bfl at 4 decimals)");
}
void AddFocalRadius(CLI::App& c, WaveOptions& o) {
  c.add_option("--focal-radius", o.focal_radius, "field curvature radius, 0 flat (default 0)");
}

double ActualBfl(const LoadedDesign& s, const WaveOptions& o) {
  return o.bfl_given && o.bfl_given->count() ? o.bfl : RoundTo(s.design.Bfl, 4);
}

void CheckWavelength(const DesignState& d, int k) {
  if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0 || !WavelengthInUse(d, k))
    throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
}

double AngleY(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.Txtangolo); }
double AngleX(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.TxtangoloX); }

// The picture of the commands that compute no grid of their own: the 64 x 64
// map of the same run.
void WriteMap(const DesignState& d, const WavefrontSettings& set, const PictureOutput& picture, nlohmann::json& j) {
  if (!picture.wanted()) return;
  const WavefrontResult r = ComputeWavefront(d, set);
  RecordingCanvas plot;
  DrawWavefrontMap(r, plot);
  picture.Write(plot, 512, 512, j);
}

WavefrontSettings MapSettings(const LoadedDesign& s, int k, double bfl, double focal_radius, bool full) {
  WavefrontSettings set;
  set.wavelength = k;
  set.gridDiv = 32;
  set.actualBfl = bfl;
  set.focalRadius = focal_radius;
  set.fullField = full;
  set.angleYDeg = ParseLeadingNumber(s.sheet.Txtangolo);
  set.angleXDeg = ParseLeadingNumber(s.sheet.TxtangoloX);
  return set;
}

[[noreturn]] void Failed(const std::optional<TraceError>& e) {
  if (e) FailRay(*e);
  throw CliFailure("TraceError");
}

Runner Opd(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  auto px = std::make_shared<double>(0), py = std::make_shared<double>(0);
  AddDesignInput(c, o->in);
  c.add_option("--px", *px, "pupil X, mm")->required();
  c.add_option("--py", *py, "pupil Y, mm")->required();
  AddWl(c, *o);
  AddField(c, *o);
  AddBfl(c, *o);
  AddFocalRadius(c, *o);
  AddPictureOutput(c, o->picture);
  return [o, px, py] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    const OpdRun run = WaveRunOf(d, o->wl, ActualBfl(*s, *o), o->focal_radius, o->field == "full", AngleY(*s), AngleX(*s));
    OpdEngine e(d, run);
    double w = 0;
    try {
      e.ChiefReference();
      w = e.RayOpd(*px, *py);
    } catch (const TraceError& err) {
      FailRay(err);
    }
    nlohmann::json j{{"W", w}, {"Zxp", e.Zxp}, {"Xc", e.Xc}, {"Yc", e.Yc},
                     {"Zc0", e.Zc0}, {"Pc", e.Pc}, {"Lc", e.Lc}};
    WriteMap(d, MapSettings(*s, o->wl, ActualBfl(*s, *o), o->focal_radius, o->field == "full"), o->picture, j);
    return j;
  };
}

Runner Wavefront(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  auto grid = std::make_shared<int>(64);
  auto reverse = std::make_shared<bool>(false), map = std::make_shared<bool>(false);
  AddDesignInput(c, o->in);
  c.add_option("--grid", *grid, "32, 64, 128 or 256 (default 64)")->check(CLI::IsMember({32, 64, 128, 256}));
  c.add_flag("--reverse", *reverse, "Reverse WF");
  c.add_flag("--map", *map, "list W as rows of the grid");
  AddWl(c, *o);
  AddField(c, *o);
  AddBfl(c, *o);
  AddFocalRadius(c, *o);
  AddPictureOutput(c, o->picture);
  return [o, grid, reverse, map] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    WavefrontSettings set;
    set.wavelength = o->wl;
    set.gridDiv = *grid / 2;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.fullField = o->field == "full";
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    set.reverse = *reverse;
    const WavefrontResult r = ComputeWavefront(d, set);
    if (!r.ok) Failed(r.error);
    const WaveStats& st = r.stats;
    nlohmann::json j = {{"N", r.N},           {"Count", st.count}, {"Max", st.max},
                        {"Min", st.min},      {"PV", st.PV},       {"RMS", st.RMS},
                        {"Strehl", st.Strehl}};
    j["labels"] = {{"Label19", r.Label19}, {"Label20", r.Label20}, {"Label21", r.Label21},
                   {"Label22", r.Label22}, {"Label23", r.Label23}, {"Label26", r.Label26},
                   {"Label27", r.Label27}};
    if (*map) {
      nlohmann::json rows = nlohmann::json::array();
      for (int i = 0; i < r.rows; ++i) {
        nlohmann::json row = nlohmann::json::array();
        for (int k = 0; k < r.cols; ++k) row.push_back(r.At(i, k));
        rows.push_back(row);
      }
      j["W"] = rows;
    }
    if (o->picture.wanted()) {
      RecordingCanvas plot;
      DrawWavefrontMap(r, plot);
      o->picture.Write(plot, 512, 512, j);
    }
    return j;
  };
}

Runner AutoFocusOpdCommand(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  AddDesignInput(c, o->in);
  AddWl(c, *o);
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    float shift = 0;
    try {
      shift = AutoFocusOpd(d, o->wl, d.Bfl);
    } catch (const TraceError& e) {
      FailRay(e);
    }
    const std::string focus = FormatFixed(d.Bfl + static_cast<double>(shift), 4);
    nlohmann::json j{{"FocusShift", static_cast<double>(shift)}, {"ActualBfl", focus}};
    // The picture: the on-axis map at the new focus.
    WriteMap(d, MapSettings(*s, o->wl, ParseLeadingNumber(focus), 0, false), o->picture, j);
    return j;
  };
}

nlohmann::json FanRow(const OpdFanRow& row) {
  nlohmann::json w = nlohmann::json::array();
  for (int k = 1; k <= 6; ++k) {
    nlohmann::json list = nlohmann::json::array();
    for (int i = 0; i <= kFanRays; ++i) list.push_back(row.W[i][k]);
    w.push_back(list);
  }
  return {{"W", w}};
}

Runner OpdFan(CLI::App& c) {
  auto o = std::make_shared<WaveOptions>();
  AddDesignInput(c, o->in);
  AddBfl(c, *o);
  AddFocalRadius(c, *o);
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    OpdFanSettings set;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    const OpdFanResult r = ComputeOpdFan(s->design, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json text = nlohmann::json::array();
    for (const auto& block : r.text) {
      nlohmann::json rows = nlohmann::json::array();
      for (const auto& line : block)
        rows.push_back({line[0], {line[1], line[2], line[3], line[4], line[5], line[6]}});
      text.push_back(rows);
    }
    nlohmann::json j = {{"Zxp", r.Zxp}, {"axis", FanRow(r.axis)}, {"full", FanRow(r.full)}, {"text", text}};
    if (o->picture.wanted()) {
      RecordingCanvas plot;
      DrawOpdFans(r, s->design, plot);
      o->picture.Write(plot, 800, 600, j);
    }
    return j;
  };
}

Runner Versus(CLI::App& c) {
  struct Options {
    WaveOptions w;
    std::string scan, measure;
    double defocus = 0.1, shortWl = 0, longWl = 0;
    CLI::Option* short_given = nullptr;
    CLI::Option* long_given = nullptr;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->w.in);
  c.add_option("--scan", o->scan, "field, focus or wavelength")->required()->check(CLI::IsMember({"field", "focus", "wavelength"}));
  c.add_option("--measure", o->measure, "strehl or rms")->required()->check(CLI::IsMember({"strehl", "rms"}));
  AddWl(c, o->w);
  AddBfl(c, o->w);
  c.add_option("--defocus", o->defocus, "half range of the focus scan, mm (default 0.100)");
  o->short_given = c.add_option("--short", o->shortWl, "shortest wavelength of the scan (default: the shortest in use)");
  o->long_given = c.add_option("--long", o->longWl, "longest wavelength of the scan (default: the longest in use)");
  AddPictureOutput(c, o->w.picture);
  return [o] {
    const auto s = LoadDesign(o->w.in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->w.wl);
    VersusSettings set;
    set.scan = o->scan == "field" ? VersusScan::Field : o->scan == "focus" ? VersusScan::Focus : VersusScan::Wavelength;
    set.measure = o->measure == "strehl" ? VersusMeasure::Strehl : VersusMeasure::Rms;
    set.wavelength = o->w.wl;
    set.actualBfl = ActualBfl(*s, o->w);
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    set.defocus = o->defocus;
    const auto [lo, hi] = DefaultWavelengthRange(d);
    set.shortWl = o->short_given->count() ? o->shortWl : lo;
    set.longWl = o->long_given->count() ? o->longWl : hi;
    const VersusResult r = ComputeVersus(d, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json rows = nlohmann::json::array();
    for (const auto& [x, v] : r.rows) rows.push_back({x, v});
    nlohmann::json j = {{"rows", rows}, {"text", r.text}};
    if (o->w.picture.wanted()) {
      RecordingCanvas plot;
      DrawVersus(r, set, plot);
      o->w.picture.Write(plot, 700, 500, j);
    }
    return j;
  };
}

}  // namespace

std::vector<Command> WaveCommands() {
  return {
      {"opd", "One pupil ray's OPD as the wave front window computes it", Opd},
      {"wavefront", "Wave front: PV, RMS, Strehl, labels, and the map", Wavefront},
      {"autofocus-opd", "Focus shift from Bfl that takes the defocus out of the on-axis wave front", AutoFocusOpdCommand},
      {"opdfan", "OPD fans on axis and at the full field, and their text", OpdFan},
      {"versus", "RMS wave front or Strehl ratio along a field, focus or wavelength scan", Versus},
  };
}

}  // namespace ovrin::cli
