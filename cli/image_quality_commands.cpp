// ovrin-cli diffraction-energy, colour-image, multi-analysis and ghosts: the
// diffraction encircled energy, the simulated colour image of a star, the
// one-page sheet of a design and its ghost images.
#include "analysis/geometric/ghosts.h"
#include "analysis/wave/colour_image.h"
#include "analysis/wave/diffraction_energy.h"
#include "cli_common.h"
#include "core/number_text.h"
#include "output/multi_analysis.h"

namespace ovrin::cli {

namespace {

struct Options {
  DesignInput in;
  int wl = 1;
  std::string field = "axis";
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  double focal_radius = 0;
  PictureOutput picture;
};

void AddCommon(CLI::App& c, Options& o, bool wavelength, bool field, bool focal) {
  AddDesignInput(c, o.in);
  if (wavelength) c.add_option("--wl", o.wl, "wavelength number, 1..6 (default 1)");
  if (field) c.add_option("--field", o.field, "axis or full (default axis)")->check(CLI::IsMember({"axis", "full"}));
  o.bfl_given = c.add_option("--bfl", o.bfl, "Actual B.F.L. (default: Bfl at 4 decimals)");
  if (focal) c.add_option("--focal-radius", o.focal_radius, "field curvature radius, 0 flat (default 0)");
  AddPictureOutput(c, o.picture);
}

double ActualBfl(const LoadedDesign& s, const Options& o) {
  return o.bfl_given && o.bfl_given->count() ? o.bfl : RoundTo(s.design.Bfl, 4);
}

void CheckWavelength(const DesignState& d, int k) {
  if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0 || !WavelengthInUse(d, k))
    throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
}

[[noreturn]] void Failed(const std::optional<TraceError>& e) {
  if (e) FailRay(*e);
  throw CliFailure("TraceError");
}

Runner DiffractionEnergy(CLI::App& c) {
  auto o = std::make_shared<Options>();
  auto grid = std::make_shared<int>(64);
  auto rings = std::make_shared<double>(4);
  auto points = std::make_shared<int>(80);
  AddCommon(c, *o, true, true, true);
  c.add_option("--grid", *grid, "pupil grid 32, 64 or 128 (default 64)")->check(CLI::IsMember({32, 64, 128}));
  c.add_option("--rings", *rings, "the curve's reach in first dark rings (default 4)")->check(CLI::Range(0.5, 20.0));
  c.add_option("--points", *points, "radii of the curve (default 80)")->check(CLI::Range(2, 1000));
  return [o, grid, rings, points] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    DiffEnergySettings set;
    set.wavelength = o->wl;
    set.grid = *grid;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.fullField = o->field == "full";
    set.angleYDeg = ParseLeadingNumber(s->sheet.Txtangolo);
    set.angleXDeg = ParseLeadingNumber(s->sheet.TxtangoloX);
    set.rangeRings = *rings;
    set.points = *points;
    const DiffEnergyResult r = ComputeDiffractionEnergy(d, set);
    if (!r.ok) Failed(r.error);
    std::vector<double> radius;
    for (double mm : r.radiusMm) radius.push_back(mm * 1000);
    nlohmann::json j = {{"Wavelength", r.waveLenMm * 1000},
                        {"N", r.N},
                        {"F", r.F},
                        {"Strehl", static_cast<double>(r.Strehl)},
                        {"DarkRing", r.darkRingMm * 1000},
                        {"AtDarkRing", r.atDarkRing},
                        {"PerfectAtDarkRing", r.perfectAtDarkRing},
                        {"Radius50", r.radius50Mm * 1000},
                        {"Radius80", r.radius80Mm * 1000},
                        {"Radius90", r.radius90Mm * 1000},
                        {"Radius", radius},
                        {"Energy", r.energy},
                        {"Perfect", r.perfect}};
    o->picture.WriteIfWanted(640, 480, j, [&](Canvas& picture) { DrawDiffractionEnergy(r, picture); });
    return j;
  };
}

Runner ColourImage(CLI::App& c) {
  auto o = std::make_shared<Options>();
  auto wls = std::make_shared<std::vector<int>>();
  auto grid = std::make_shared<int>(64);
  auto width = std::make_shared<double>(0);
  auto pixels = std::make_shared<int>(160);
  auto gamma = std::make_shared<double>(0.5);
  AddCommon(c, *o, false, true, true);
  c.add_option("--wls", *wls, "wavelength numbers to add, e.g. 1,2,3 (default: all in use)")
      ->delimiter(',')
      ->check(CLI::Range(1, 6));
  c.add_option("--grid", *grid, "pupil grid 32, 64 or 128 (default 64)")->check(CLI::IsMember({32, 64, 128}));
  c.add_option("--width", *width, "side of the picture in microns (default: 12 dark rings of the longest wavelength)");
  c.add_option("--pixels", *pixels, "picture side in pixels (default 160)")->check(CLI::Range(16, 512));
  c.add_option("--gamma", *gamma, "brightness curve, below 1 lifts the rings (default 0.5)")->check(CLI::Range(0.05, 4.0));
  return [o, wls, grid, width, pixels, gamma] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    ColourImageSettings set;
    if (!wls->empty()) {
      set.checked.fill(false);
      for (int k : *wls) {
        CheckWavelength(d, k);
        set.checked[k - 1] = true;
      }
    }
    set.grid = *grid;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.fullField = o->field == "full";
    set.angleYDeg = ParseLeadingNumber(s->sheet.Txtangolo);
    set.angleXDeg = ParseLeadingNumber(s->sheet.TxtangoloX);
    set.widthMm = *width / 1000;
    set.pixels = *pixels;
    set.gamma = *gamma;
    const ColourImageResult r = ComputeColourImage(d, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json layers = nlohmann::json::array();
    for (const auto& l : r.layers)
      layers.push_back({{"Wavelength", l.microns},
                        {"Number", l.wavelength},
                        {"Weight", l.weight},
                        {"Colour", {l.colour.r, l.colour.g, l.colour.b}},
                        {"Strehl", static_cast<double>(l.Strehl)}});
    const Rgb centre = r.image[static_cast<size_t>(r.pixels / 2) * r.pixels + r.pixels / 2];
    nlohmann::json j = {{"Width", r.widthMm * 1000},
                        {"Pixels", r.pixels},
                        {"layers", layers},
                        {"Centre", {centre.r, centre.g, centre.b}},
                        {"text", r.text}};
    o->picture.WriteIfWanted(500, 550, j, [&](Canvas& picture) { DrawColourImage(r, picture); });
    return j;
  };
}

Runner MultiAnalysis(CLI::App& c) {
  auto o = std::make_shared<Options>();
  auto rays = std::make_shared<std::string>("558");
  AddCommon(c, *o, true, false, true);
  c.add_option("--rays", *rays, "rays per colour of the spots (default 558)")
      ->check(CLI::IsMember({"128", "340", "558", "832", "1300", "2346", "3478", "5100"}));
  return [o, rays] {
    auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    MultiSettings set;
    for (int k = 1; k <= 6; ++k) set.checked[k - 1] = d.Wavelength[k - 1] > 0 && WavelengthInUse(d, k);
    set.wavelength = o->wl;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.angleY = s->sheet.Txtangolo;
    set.angleX = s->sheet.TxtangoloX;
    set.rays = *rays;
    set.title = o->in.file;
    const MultiResult r = ComputeMultiAnalysis(d, set);
    auto part = [](const MultiPart& p) { return p.ok ? nlohmann::json("ok") : nlohmann::json(p.error); };
    nlohmann::json spots = nlohmann::json::array(), waves = nlohmann::json::array();
    for (int f = 0; f < 2; ++f) {
      spots.push_back({{"RmsRadius", r.spot[f].RmsRadius}, {"SpotDiameter", r.spot[f].SpotDiameter},
                       {"AiryRadius", r.spot[f].AiryRadius}, {"Part", part(r.spotPart[f])}});
      const WaveStats& w = r.wave[f].stats;
      waves.push_back({{"PV", w.PV}, {"RMS", w.RMS}, {"Strehl", w.Strehl}, {"Part", part(r.wavePart[f])}});
    }
    nlohmann::json j = {{"spots", spots},
                        {"waves", waves},
                        {"Layout", part(r.layoutPart)},
                        {"Fans", part(r.fanPart)},
                        {"Mtf", part(r.mtfPart)},
                        {"SpotZoom", r.spotSettings[0].zoom},
                        {"text", r.text}};
    o->picture.WriteIfWanted(1000, 1414, j, [&](Canvas& picture) { DrawMultiAnalysis(r, set, picture); });
    return j;
  };
}

Runner Ghosts(CLI::App& c) {
  auto o = std::make_shared<Options>();
  auto reflectance = std::make_shared<double>(0);
  AddCommon(c, *o, true, false, false);
  c.add_option("--reflectance", *reflectance, "reflectance of every surface, 0..1 (default 0: bare glass)")
      ->check(CLI::Range(0.0, 1.0));
  return [o, reflectance] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    GhostSettings set;
    set.wavelength = o->wl;
    set.actualBfl = ActualBfl(*s, *o);
    set.reflectance = *reflectance;
    const GhostResult r = ComputeGhosts(d, set);
    if (!r.ok) throw CliFailure(r.error);
    nlohmann::json list = nlohmann::json::array();
    for (const Ghost& g : r.ghosts) {
      nlohmann::json e = {{"Surfaces", {g.second, g.first}},
                          {"Energy", g.energy},
                          {"Afocal", g.afocal},
                          {"BlurDiameter", g.blurDiam},
                          {"Brightness", g.brightness}};
      if (!g.afocal) e["FocusShift"] = g.focusShift;
      list.push_back(e);
    }
    nlohmann::json j = {{"Refracting", r.refracting}, {"AiryDiameter", r.airyDiam}, {"ghosts", list}, {"text", r.text}};
    o->picture.WriteIfWanted(640, 480, j, [&](Canvas& picture) { DrawGhosts(r, picture); });
    return j;
  };
}

}  // namespace

std::vector<Command> ImageQualityCommands() {
  return {
      {"diffraction-energy", "Diffraction encircled energy against radius, beside the perfect aperture's",
       DiffractionEnergy},
      {"colour-image", "Simulated colour image of a star from the diffraction image of each wavelength", ColourImage},
      {"multi-analysis", "One page: layout, spots, ray fans, MTF and wave front numbers", MultiAnalysis},
      {"ghosts", "Two-reflection ghosts of the refracting surfaces, brightest first", Ghosts},
  };
}

}  // namespace ovrin::cli
