// ovrin-cli multispot, matrixspot, fieldspot, rms-versus, distortion,
// lateral-colour, focal-shift, encircled-energy, geometric-psf, geometric-mtf,
// geometric-mtf-focus, real-rays, vignetting, footprint and best-focus: the
// numbers of the geometric family of windows as JSON, their pictures on request.
#include <fstream>

#include "analysis/geometric/geometric_family.h"
#include "cli_common.h"
#include "core/number_text.h"

namespace ovrin::cli {

namespace {

using nlohmann::json;

// The options every command of the family takes.
struct Common {
  DesignInput in;
  PictureOutput picture;
  double actualBfl = 0;
  int div = 12;
  std::vector<int> wavelengths;  // empty: every wavelength in use
};

void AddCommon(CLI::App& c, Common& o) {
  AddDesignInput(c, o.in);
  AddPictureOutput(c, o.picture);
  c.add_option("--actual-bfl", o.actualBfl, "image distance from the last surface (0: the paraxial B.F.L.)");
  c.add_option("--div", o.div, "pupil grid steps across the pupil radius")->check(CLI::Range(1, 200));
  c.add_option("--wl", o.wavelengths, "wavelength numbers to use (default: every one in use)")
      ->check(CLI::Range(1, 6))
      ->delimiter(',');
}

FamilySettings SettingsOf(const LoadedDesign& l, const Common& o) {
  FamilySettings s;
  s.angleYDeg = ParseLeadingNumber(l.sheet.Txtangolo);
  s.objectHeight = l.design.HalfFieldY;
  s.actualBfl = o.actualBfl;
  s.div = o.div;
  if (o.wavelengths.empty()) {
    s.checked.fill(true);
  } else {
    s.checked.fill(false);
    for (int k : o.wavelengths) s.checked[k - 1] = true;
  }
  return s;
}

void Check(const std::string& error) {
  if (!error.empty()) throw CliFailure(error);
}

json Points(const std::vector<PlotPoint>& p) {
  json a = json::array();
  for (const PlotPoint& q : p) a.push_back({q.x, q.y});
  return a;
}

template <typename Draw>
void Picture(const Common& o, int w, int h, json& j, Draw&& draw) {
  if (!o.picture.wanted()) return;
  RecordingCanvas c;
  draw(c);
  o.picture.Write(c, w, h, j);
}

json CellJson(const SpotCell& c) {
  json rays = json::array();
  for (const RayHit& h : c.hits) rays.push_back({h.x - c.stats.cx, h.y - c.stats.cy, h.wl});
  return {{"title", c.title}, {"field", c.field},         {"focus_shift", c.focusShift},
          {"wavelength", c.wl}, {"chief_x", c.chiefX},    {"chief_y", c.chiefY},
          {"centroid_x", c.stats.cx}, {"centroid_y", c.stats.cy}, {"rms_radius", c.stats.rms},
          {"max_radius", c.stats.maxRadius}, {"airy_radius", c.airyRadius}, {"rays", c.hits.size()},
          {"points", rays}};
}

Command SpotFamilyCommand(const char* name, const char* help, SpotFamily family) {
  return {name, help, [family](CLI::App& c) -> Runner {
            struct Options {
              Common common;
              SpotFamilySettings f;
              bool points = false;
            };
            auto o = std::make_shared<Options>();
            o->f.family = family;
            AddCommon(c, o->common);
            if (family == SpotFamily::Multi)
              c.add_option("--focus-step", o->f.focusStep, "mm between the five focus steps");
            c.add_option("--fields", o->f.fields, "field fractions")->delimiter(',');
            c.add_option("--zoom", o->f.zoom, "picture zoom");
            c.add_flag("--points", o->points, "list every ray relative to its spot's centroid");
            return [o] {
              const auto l = LoadDesign(o->common.in);
              const FamilySettings s = SettingsOf(*l, o->common);
              const SpotFamilyResult r = ComputeSpotFamily(l->design, s, o->f);
              Check(r.error);
              json j{{"rows", r.rows}, {"cols", r.cols}};
              json cells = json::array();
              for (const SpotCell& cell : r.cells) {
                json cj = CellJson(cell);
                if (!o->points) cj.erase("points");
                cells.push_back(cj);
              }
              j["cells"] = cells;
              const int height = o->f.family == SpotFamily::Multi ? 440 : 770;
              o->f.aspect = 1000.0 / height;
              Picture(o->common, 1000, height, j, [&](Canvas& cv) { DrawSpotFamily(r, s, o->f, cv); });
              return j;
            };
          }};
}

Runner RmsVersusCommand(CLI::App& c) {
  struct Options {
    Common common;
    RmsVersusSettings v;
    std::string scan = "focus";
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--scan", o->scan, "focus, field or wavelength")
      ->check(CLI::IsMember({"focus", "field", "wavelength"}));
  c.add_option("--defocus", o->v.defocus, "focus scan half range, mm");
  c.add_option("--short", o->v.shortWl, "wavelength scan start, um");
  c.add_option("--long", o->v.longWl, "wavelength scan end, um");
  c.add_option("--field", o->v.field, "field fraction of the focus and wavelength scans");
  c.add_option("--steps", o->v.steps, "steps of the scan")->check(CLI::Range(1, 1000));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    o->v.scan = o->scan == "focus" ? RmsScan::Focus : o->scan == "field" ? RmsScan::Field : RmsScan::Wavelength;
    const RmsVersusResult r = ComputeRmsVersus(l->design, s, o->v);
    Check(r.error);
    json j{{"scan", o->scan}, {"x", r.x}, {"rms_radius", r.rms}, {"airy_radius", r.airy}};
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner DistortionCommand(CLI::App& c) {
  struct Options {
    Common common;
    int steps = 10;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--steps", o->steps, "field steps")->check(CLI::Range(1, 1000));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const DistortionResult r = ComputeDistortion(l->design, s, o->steps);
    Check(r.error);
    json j{{"field", r.field},     {"real_height", r.real}, {"paraxial_height", r.paraxial},
           {"distortion_mm", r.mm}, {"distortion_percent", r.percent}, {"max_percent", r.maxPercent},
           {"grid_real", Points(r.gridReal)}, {"grid_paraxial", Points(r.gridParaxial)}};
    if (o->common.picture.wanted()) {
      json a, b;
      RecordingCanvas c1, c2;
      DrawCurvePlot(r.plot, 0, c1);
      DrawDistortionGrid(r, 0, c2);
      PictureOutput p1{o->common.picture.png, o->common.picture.svg};
      p1.Write(c1, 900, 600, a);
      auto grid = [](const std::string& f) { return f.empty() ? f : f.substr(0, f.find_last_of('.')) + "-grid" + f.substr(f.find_last_of('.')); };
      PictureOutput p2{grid(o->common.picture.png), grid(o->common.picture.svg)};
      p2.Write(c2, 700, 700, b);
      j["pictures"] = {a, b};
    }
    return j;
  };
}

Runner LateralColourCommand(CLI::App& c) {
  struct Options {
    Common common;
    int steps = 10;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--steps", o->steps, "field steps")->check(CLI::Range(1, 1000));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const LateralColourResult r = ComputeLateralColour(l->design, s, o->steps);
    Check(r.error);
    json diffs = json::object();
    for (std::size_t i = 0; i < r.wavelengths.size(); ++i) diffs[std::to_string(r.wavelengths[i])] = r.difference[i];
    json j{{"field", r.field}, {"difference", diffs}, {"airy_radius", r.airyRadius}};
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner FocalShiftCommand(CLI::App& c) {
  struct Options {
    Common common;
    FocalShiftSettings f;
    std::string cfs;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--short", o->f.shortWl, "first wavelength, um");
  c.add_option("--long", o->f.longWl, "last wavelength, um");
  c.add_option("--steps", o->f.steps, "wavelength steps")->check(CLI::Range(1, 1000));
  c.add_option("--cfs", o->cfs, "write the chromatic focal shift as a .CFS file");
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const FocalShiftResult r = ComputeFocalShift(l->design, s, o->f);
    Check(r.error);
    json j{{"wavelength", r.wavelength}, {"focus", r.focus}, {"shift", r.shift},
           {"reference", r.reference}, {"spread", r.spread}};
    if (!o->cfs.empty()) {
      std::ofstream f(o->cfs, std::ios::binary);
      f << CfsText(r, l->design.DesignNote, ImageDistanceOf(l->design, s));
      if (!f) throw CliFailure("Cannot write " + o->cfs);
      j["cfs_file"] = o->cfs;
    }
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner EnergyCommand(CLI::App& c) {
  struct Options {
    Common common;
    EnergySettings e;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--field", o->e.field, "field fraction");
  c.add_option("--samples", o->e.samples, "radius samples")->check(CLI::Range(2, 10000));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const EnergyResult r = ComputeEncircledEnergy(l->design, s, o->e);
    Check(r.error);
    auto radii = [](const std::array<double, 3>& a) { return json{{"50", a[0]}, {"80", a[1]}, {"90", a[2]}}; };
    json j{{"radius", r.radius},
           {"encircled_centroid", r.centroid},
           {"encircled_chief", r.chief},
           {"ensquared", r.ensquared},
           {"diffraction", r.diffraction},
           {"radii_centroid", radii(r.centroidRadii)},
           {"radii_chief", radii(r.chiefRadii)},
           {"half_widths_ensquared", radii(r.ensquaredRadii)},
           {"airy_radius", r.airyRadius}};
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner PsfCommand(CLI::App& c) {
  struct Options {
    Common common;
    GeoPsfSettings p;
    bool relief = false;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--field", o->p.field, "field fraction");
  c.add_option("--bins", o->p.bins, "bins a side")->check(CLI::Range(3, 1001));
  c.add_option("--half-width", o->p.halfWidth, "half width of the grid, mm (0: from the spot)");
  c.add_flag("--relief", o->relief, "draw the relief instead of the map");
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const GeoPsfResult r = ComputeGeometricPsf(l->design, s, o->p);
    Check(r.error);
    json j{{"bins", r.bins}, {"half_width", r.halfWidth}, {"density", r.density}};
    Picture(o->common, 700, 700, j, [&](Canvas& cv) {
      if (o->relief) DrawGeoPsfRelief(r, o->p, cv);
      else DrawGeoPsfMap(r, cv);
    });
    return j;
  };
}

Runner MtfCommand(CLI::App& c, bool focus) {
  struct Options {
    Common common;
    GeoMtfSettings m;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--fields", o->m.fields, "field fractions")->delimiter(',');
  if (focus) {
    c.add_option("--frequency", o->m.frequency, "spatial frequency, cycles/mm");
    c.add_option("--defocus", o->m.defocus, "focus half range, mm");
    c.add_option("--steps", o->m.focusSteps, "focus steps")->check(CLI::Range(1, 1000));
  } else {
    c.add_option("--samples", o->m.samples, "frequency samples to the cut-off")->check(CLI::Range(1, 10000));
  }
  return [o, focus] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const GeoMtfResult r = focus ? ComputeGeometricMtfFocus(l->design, s, o->m) : ComputeGeometricMtf(l->design, s, o->m);
    Check(r.error);
    json j{{focus ? "focus_shift" : "frequency", r.x}, {"cutoff", r.cutoff}, {"fields", o->m.fields},
           {"tangential", r.tangential}, {"sagittal", r.sagittal}};
    if (!focus) j["diffraction"] = r.diffraction;
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner RealRaysCommand(CLI::App& c) {
  struct Options {
    Common common;
    RealRaySettings r;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--field", o->r.field, "field fraction");
  c.add_option("--px", o->r.pupilX, "pupil X, fraction of the pupil radius");
  c.add_option("--py", o->r.pupilY, "pupil Y, fraction of the pupil radius");
  c.add_option("--wavelength", o->r.wavelength, "wavelength number")->check(CLI::Range(1, 6));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const RealRayResult r = ComputeRealRay(l->design, s, o->r);
    Check(r.error);
    json rows = json::array();
    for (const RealRayRow& row : r.rows)
      rows.push_back({{"surface", row.surface}, {"X", row.x}, {"Y", row.y}, {"Z", row.z},
                      {"cosX", row.cosX}, {"cosY", row.cosY}, {"cosZ", row.cosZ},
                      {"incidence", row.incidence}, {"path", row.path}, {"vignetted", row.stopped}});
    json j{{"rows", rows}, {"text", r.text}};
    Picture(o->common, 1000, 60 + 22 * static_cast<int>(r.rows.size()), j, [&](Canvas& cv) {
      cv.Window(0, 0, 1000, -(60.0 + 22 * r.rows.size()));
      cv.Clear({255, 255, 255});
      double y = -20;
      std::string line;
      for (char ch : r.text + "\n") {
        if (ch != '\n') {
          line += ch;
          continue;
        }
        cv.Text(10, y, line, {0, 0, 0});
        y -= 22;
        line.clear();
      }
    });
    return j;
  };
}

Runner VignettingCommand(CLI::App& c) {
  struct Options {
    Common common;
    int steps = 10;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--steps", o->steps, "field steps")->check(CLI::Range(1, 1000));
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const VignettingResult r = ComputeVignetting(l->design, s, o->steps);
    Check(r.error);
    json j{{"field", r.field}, {"unvignetted", r.fraction}};
    Picture(o->common, 900, 600, j, [&](Canvas& cv) { DrawCurvePlot(r.plot, 0, cv); });
    return j;
  };
}

Runner FootprintCommand(CLI::App& c) {
  struct Options {
    Common common;
    FootprintSettings f;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--surface", o->f.surface, "surface number");
  c.add_option("--fields", o->f.fields, "field fractions")->delimiter(',');
  return [o] {
    const auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    const FootprintResult r = ComputeFootprint(l->design, s, o->f);
    Check(r.error);
    json counts = json::array(), stopped = json::array();
    for (std::size_t i = 0; i < r.points.size(); ++i) {
      counts.push_back(r.points[i].size());
      int n = 0;
      for (bool b : r.stopped[i]) n += b;
      stopped.push_back(n);
    }
    json j{{"surface", o->f.surface}, {"clear_radius", r.clearRadius}, {"fields", o->f.fields},
           {"extent", r.extent}, {"rays", counts}, {"stopped", stopped}};
    Picture(o->common, 700, 700, j, [&](Canvas& cv) { DrawFootprint(r, 0, cv); });
    return j;
  };
}

Runner BestFocusCommand(CLI::App& c) {
  struct Options {
    Common common;
    BestFocusSettings b;
    std::string criterion = "spot";
    std::string save;
  };
  auto o = std::make_shared<Options>();
  AddCommon(c, o->common);
  c.add_option("--criterion", o->criterion, "spot (minimum RMS spot) or wavefront (minimum RMS wavefront)")
      ->check(CLI::IsMember({"spot", "wavefront"}));
  c.add_option("--field", o->b.field, "field fraction");
  c.add_option("--range", o->b.range, "search half width, mm (0: from the system)");
  c.add_option("--save", o->save, "write the design with the focus shift added to its last thickness");
  return [o] {
    auto l = LoadDesign(o->common.in);
    const FamilySettings s = SettingsOf(*l, o->common);
    o->b.criterion = o->criterion == "spot" ? FocusCriterion::Spot : FocusCriterion::Wavefront;
    const BestFocusResult r = ComputeBestFocus(l->design, s, o->b);
    Check(r.error);
    json j{{"criterion", o->criterion}, {"shift", r.shift}, {"image_distance", r.imageDistance},
           {"value", r.value}, {"value_at_start", r.valueAtStart},
           {"unit", o->criterion == "spot" ? "mm" : "waves"}};
    if (!o->save.empty()) {
      ApplyFocusShift(l->design, l->sheet, r.shift);
      SaveDesign(*l, o->save);
      j["saved"] = o->save;
    }
    return j;
  };
}

}  // namespace

std::vector<Command> GeometricFamilyCommands() {
  return {
      SpotFamilyCommand("multispot", "spots through focus and across field with their RMS radii", SpotFamily::Multi),
      SpotFamilyCommand("matrixspot", "a matrix of spots: fields down, wavelengths across", SpotFamily::Matrix),
      SpotFamilyCommand("fieldspot", "the spots of several fields at their place on the image plane",
                        SpotFamily::TotalField),
      {"rms-versus", "RMS spot radius versus focus, field or wavelength", RmsVersusCommand},
      {"distortion", "distortion in percent and mm versus field, with the grid", DistortionCommand},
      {"lateral-colour", "chief-ray height of each wavelength minus wavelength 1's versus field",
       LateralColourCommand},
      {"focal-shift", "paraxial focus versus wavelength, and the .CFS file", FocalShiftCommand},
      {"encircled-energy", "geometric encircled and ensquared energy", EnergyCommand},
      {"geometric-psf", "geometric PSF: ray weight binned on a grid", PsfCommand},
      {"geometric-mtf", "geometric MTF times the diffraction limit, three fields",
       [](CLI::App& c) { return MtfCommand(c, false); }},
      {"geometric-mtf-focus", "geometric MTF at one frequency through focus",
       [](CLI::App& c) { return MtfCommand(c, true); }},
      {"real-rays", "the real-ray table of one ray, surface by surface", RealRaysCommand},
      {"vignetting", "fraction of unvignetted rays versus field", VignettingCommand},
      {"footprint", "the beam footprint on a surface for three fields", FootprintCommand},
      {"best-focus", "best focus by minimum RMS spot or minimum RMS wavefront", BestFocusCommand},
  };
}

}  // namespace ovrin::cli
