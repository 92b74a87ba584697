// ovrin-cli spot and autofocus: the spot diagram window's numbers and picture.
#include <cmath>
#include <stdexcept>

#include "analysis/geometric/spot_diagram.h"
#include "commands.h"
#include "core/design_file.h"
#include "core/number_text.h"
#include "glass/catalogue_media.h"
#include "output/picture_file.h"

namespace ovrin::cli {

namespace {

struct Loaded {
  DesignState design;
  DesignSheet sheet;
  CatalogueMedia media;
};

void LoadDesign(Loaded& s, const std::string& file) {
  try {
    const UpdateResult r = ReadDesignFile(file, DesignFormat::Current, s.design, s.sheet, s.media);
    if (!r.ok) throw CliFailure(r.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  }
}

// The window's settings as it starts, changed by the options given.
SpotSettings Settings(const Loaded& s, const SpotOptions& opt) {
  const DesignState& d = s.design;
  SpotSettings set;
  set.field = opt.full_field ? 1 : 0;
  set.rays = opt.rays;
  if (PupilGridDivOf(set.rays) == 0) throw CliFailure("Unknown rays per color \"" + opt.rays + "\"");
  set.checked.fill(false);
  for (int k : opt.wavelengths) {
    if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0)
      throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
    set.checked[k - 1] = true;
  }
  set.actualBfl = opt.has_bfl ? PlainDecimal(opt.bfl) : FormatFixed(d.Bfl, 3);
  set.focalRadius = PlainDecimal(opt.focal_radius);
  set.zoom = PlainDecimal(opt.zoom);
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  return set;
}

// A picture file of the plot; its failures are the command's.
void WritePicture(const RecordingCanvas& plot, int width, int height, const std::string& path) {
  try {
    SavePicture(plot, width, height, path);
  } catch (const std::runtime_error& e) {
    throw CliFailure(e.what());
  }
}

}  // namespace

nlohmann::json Spot(const std::string& file, const SpotOptions& opt) {
  Loaded s;
  LoadDesign(s, file);
  const SpotSettings set = Settings(s, opt);
  const SpotResult spot = ComputeSpot(s.design, set);
  if (!spot.error.empty()) throw CliFailure(spot.error);

  nlohmann::json j;
  auto number = [&](double v) { return spot.drawn ? nlohmann::json(v) : nlohmann::json(nullptr); };
  j["RmsRadius"] = number(spot.RmsRadius);
  j["SpotDiameter"] = number(spot.SpotDiameter);
  j["ChiefHeight"] = number(spot.ChiefHeight);
  j["GoodRays"] = static_cast<double>(spot.GoodRays);
  j["VignRays"] = static_cast<double>(spot.VignRays);
  j["PupilRayCount"] = static_cast<double>(spot.grid.PupilRayCount);
  j["AiryDiam"] = s.design.AiryDiam;
  j["ActualBfl"] = ParseLeadingNumber(set.actualBfl);
  const SpotLabels& l = spot.labels;
  j["labels"] = {{"lbldiamrms", l.lbldiamrms},       {"lbldiamspot", l.lbldiamspot},
                 {"lblaltezza", l.lblaltezza},       {"Lblpercentvig", l.Lblpercentvig},
                 {"Lblraggitot", l.Lblraggitot},     {"Lblragginonvig", l.Lblragginonvig},
                 {"Lblraggivig", l.Lblraggivig},     {"Lbldiamairy", l.Lbldiamairy}};
  if (opt.points) {
    nlohmann::json pts = nlohmann::json::array();
    if (spot.drawn)
      for (int i = 1; i <= static_cast<int>(spot.GoodRays); ++i)
        pts.push_back({spot.SpotDX[i], spot.SpotDY[i], static_cast<int>(spot.SpotWl[i])});
    j["points"] = pts;
  }
  if (!opt.png.empty()) {
    RecordingCanvas plot;
    DrawSpot(spot, set, plot);
    WritePicture(plot, 760, 536, opt.png);
    j["png"] = opt.png;
  }
  return j;
}

nlohmann::json AutoFocusCommand(const std::string& file, const SpotOptions& opt) {
  Loaded s;
  LoadDesign(s, file);
  const SpotSettings set = Settings(s, opt);
  double shift = 0;
  try {
    shift = AutoFocus(s.design, set);
  } catch (const TraceError&) {
    throw CliFailure(kRayTraceError);
  }
  return {{"FocusShift", shift}, {"ActualBfl", s.design.Bfl + shift}};
}

}  // namespace ovrin::cli

// ---------------------------------------------------------------------------
// ovrin-cli layout

#include "output/layout.h"

namespace ovrin::cli {

nlohmann::json LayoutCommand(const std::string& file, const LayoutOptions& opt) {
  Loaded s;
  LoadDesign(s, file);
  if (opt.rays < 0 || opt.rays > 61) throw CliFailure("The number of rays goes from 0 to 61");
  LayoutSettings set;
  set.rays = opt.rays;
  set.field_deg = opt.field;
  set.field_fraction = opt.field != 0 ? 1.0 : 0.0;
  set.both_half_fields = opt.full_field;
  set.plot_vignetted = opt.vign;
  const Layout layout = ComputeLayout(s.design, set);
  RecordingCanvas plot;
  DrawLayout(layout, set, layout.frame, plot);
  constexpr int kW = 1000, kH = 500;  // the frame is four times as wide as half its height
  if (!opt.png.empty()) WritePicture(plot, kW, kH, opt.png);
  if (!opt.svg.empty()) WritePicture(plot, kW, kH, opt.svg);
  const LayoutFrame& f = layout.frame;
  return {{"TotalTrack", layout.TotalTrack}, {"Frame", {f.left, f.top, f.right, f.bottom}}};
}

}  // namespace ovrin::cli
