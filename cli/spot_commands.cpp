// ovrin-cli spot, autofocus and layout: the geometric pictures and their numbers.
#include <cmath>

#include "analysis/geometric/spot_diagram.h"
#include "cli_common.h"
#include "core/number_text.h"
#include "core/ray_tracer.h"
#include "output/layout.h"

namespace ovrin::cli {

namespace {

// The spot window's controls as the options set them.
struct SpotOptions {
  DesignInput in;
  std::string field = "axis";
  std::string rays = "558";
  std::vector<int> wavelengths{1};
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  double focal_radius = 0;
  double zoom = 1;
  bool points = false;
  PictureOutput picture;
};

void AddSpotOptions(CLI::App& c, SpotOptions& o) {
  AddDesignInput(c, o.in);
  c.add_option("--wl", o.wavelengths, "checked wavelengths, comma separated (default 1)")->delimiter(',');
  c.add_option("--rays", o.rays, "rays per color: 128, 340, 558, 832, 1300, 2346, 3478 or 5100");
}

// The window's settings as it starts, changed by the options given.
SpotSettings Settings(const LoadedDesign& s, const SpotOptions& o) {
  const DesignState& d = s.design;
  SpotSettings set;
  set.field = o.field == "full" ? 1 : 0;
  set.rays = o.rays;
  if (PupilGridDivOf(set.rays) == 0) throw CliFailure("Unknown rays per color \"" + o.rays + "\"");
  set.checked.fill(false);
  for (int k : o.wavelengths) {
    if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0) throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
    set.checked[k - 1] = true;
  }
  set.actualBfl = o.bfl_given && o.bfl_given->count() ? PlainDecimal(o.bfl) : FormatFixed(d.Bfl, 3);
  set.focalRadius = PlainDecimal(o.focal_radius);
  set.zoom = PlainDecimal(o.zoom);
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  return set;
}

Runner Spot(CLI::App& c) {
  auto o = std::make_shared<SpotOptions>();
  AddSpotOptions(c, *o);
  c.add_option("--field", o->field, "axis or full")->check(CLI::IsMember({"axis", "full"}));
  o->bfl_given = c.add_option("--bfl", o->bfl, "Actual B.F.L. (default: Bfl at 3 decimals)");
  c.add_option("--focal-radius", o->focal_radius, "radius of the focal surface, 0 flat");
  c.add_option("--zoom", o->zoom, "zoom of the picture");
  c.add_flag("--points", o->points, "list every stored ray as [dx, dy, wavelength]");
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    const SpotSettings set = Settings(*s, *o);
    const SpotResult spot = ComputeSpot(s->design, set);
    if (!spot.error.empty()) throw CliFailure(spot.error);

    nlohmann::json j;
    auto number = [&](double v) { return spot.drawn ? nlohmann::json(v) : nlohmann::json(nullptr); };
    j["RmsRadius"] = number(spot.RmsRadius);
    j["SpotDiameter"] = number(spot.SpotDiameter);
    j["ChiefHeight"] = number(spot.ChiefHeight);
    j["GoodRays"] = static_cast<double>(spot.GoodRays);
    j["VignRays"] = static_cast<double>(spot.VignRays);
    j["PupilRayCount"] = static_cast<double>(spot.grid.PupilRayCount);
    j["AiryDiam"] = s->design.AiryDiam;
    j["ActualBfl"] = ParseLeadingNumber(set.actualBfl);
    const SpotLabels& l = spot.labels;
    j["labels"] = {{"lbldiamrms", l.lbldiamrms},   {"lbldiamspot", l.lbldiamspot},
                   {"lblaltezza", l.lblaltezza},   {"Lblpercentvig", l.Lblpercentvig},
                   {"Lblraggitot", l.Lblraggitot}, {"Lblragginonvig", l.Lblragginonvig},
                   {"Lblraggivig", l.Lblraggivig}, {"Lbldiamairy", l.Lbldiamairy}};
    if (o->points) {
      nlohmann::json pts = nlohmann::json::array();
      if (spot.drawn)
        for (int i = 1; i <= static_cast<int>(spot.GoodRays); ++i)
          pts.push_back({spot.SpotDX[i], spot.SpotDY[i], static_cast<int>(spot.SpotWl[i])});
      j["points"] = pts;
    }
    if (o->picture.wanted()) {
      RecordingCanvas plot;
      DrawSpot(spot, set, plot);
      o->picture.Write(plot, 760, 536, j);
    }
    return j;
  };
}

Runner AutoFocusCommand(CLI::App& c) {
  auto o = std::make_shared<SpotOptions>();
  AddSpotOptions(c, *o);
  return [o] {
    const auto s = LoadDesign(o->in);
    const SpotSettings set = Settings(*s, *o);
    double shift = 0;
    try {
      shift = AutoFocus(s->design, set);
    } catch (const TraceError& e) {
      FailRay(e, kRayTraceError);
    }
    return nlohmann::json{{"FocusShift", shift}, {"ActualBfl", s->design.Bfl + shift}};
  };
}

Runner LayoutCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    int rays = 3;
    double field = 0;
    bool full_field = false, vign = false;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--rays", o->rays, "rays per fan, 0 to 61 (default 3)");
  c.add_option("--field", o->field, "field of the blue rays, degrees");
  c.add_flag("--full-field", o->full_field, "draw the opposite half-field too");
  c.add_flag("--vign", o->vign, "draw vignetted rays to the end");
  AddPictureOutput(c, o->picture);
  return [o] {
    if (!o->picture.wanted()) throw CliFailure("layout: --png OUT.png or --svg OUT.svg is needed");
    const auto s = LoadDesign(o->in);
    if (o->rays < 0 || o->rays > 61) throw CliFailure("The number of rays goes from 0 to 61");
    LayoutSettings set;
    set.rays = o->rays;
    set.field_deg = o->field;
    set.field_fraction = o->field != 0 ? 1.0 : 0.0;
    set.both_half_fields = o->full_field;
    set.plot_vignetted = o->vign;
    const Layout layout = ComputeLayout(s->design, set);
    RecordingCanvas plot;
    DrawLayout(layout, set, layout.frame, plot);
    const LayoutFrame& f = layout.frame;
    nlohmann::json j = {{"TotalTrack", layout.TotalTrack}, {"Frame", {f.left, f.top, f.right, f.bottom}}};
    o->picture.Write(plot, 1000, 500, j);  // the frame is four times as wide as half its height
    return j;
  };
}

}  // namespace

std::vector<Command> AnalysisCommands() {
  return {
      {"spot", "Spot diagram: RMS radius, diameter, ray counts and labels", Spot},
      {"autofocus", "Focus shift from Bfl of the smallest on-axis RMS spot", AutoFocusCommand},
      {"layout", "2D layout: total track, frame, and the picture", LayoutCommand},
  };
}

}  // namespace ovrin::cli
