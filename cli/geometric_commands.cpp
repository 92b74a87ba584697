// ovrin-cli seidel, spherical, fieldcurv and rayfan: the paraxial and
// third-order tables and the aberration curves of the geometric windows.
#include <fstream>
#include <map>

#include "analysis/geometric/field_curvature.h"
#include "analysis/geometric/ray_fan.h"
#include "analysis/geometric/seidel.h"
#include "analysis/geometric/spherical_aberration.h"
#include "cli_common.h"
#include "core/number_text.h"
#include "core/ray_tracer.h"

namespace ovrin::cli {

namespace {

using nlohmann::json;

void WriteText(const std::string& path, const std::string& text, json& j) {
  if (path.empty()) return;
  std::ofstream f(path, std::ios::binary);
  f << text;
  if (!f) throw CliFailure("Cannot write " + path);
  j["text_file"] = path;
}

// Several pictures: NAME-1.png, NAME-2.png, ... as the windows save their panes.
std::string PaneName(const std::string& path, int pane, int count) {
  if (path.empty() || count == 1) return path;
  const auto dot = path.find_last_of('.');
  const auto slash = path.find_last_of('/');
  const std::string suffix = "-" + std::to_string(pane + 1);
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return path + suffix;
  return path.substr(0, dot) + suffix + path.substr(dot);
}

void WritePanes(const PictureOutput& out, const std::vector<RecordingCanvas>& panes, int width, int height, json& j) {
  json files = json::array();
  for (int i = 0; i < static_cast<int>(panes.size()); ++i) {
    PictureOutput one{PaneName(out.png, i, static_cast<int>(panes.size())),
                      PaneName(out.svg, i, static_cast<int>(panes.size()))};
    json pane;
    one.Write(panes[i], width, height, pane);
    files.push_back(pane);
  }
  j["pictures"] = files;
}

template <typename T>
json List(const T& values) {
  json a = json::array();
  for (const auto& v : values) a.push_back(v);
  return a;
}

// ---------------------------------------------------------------------------

const char* kColumns[5] = {"SPHERICAL", "COMA", "ASTIG", "DIST", "PETZVAL"};

json Sums(const SeidelSums& s) {
  json rows = json::array(), asph = json::array(), sum = json::object();
  for (const SeidelColumns& r : s.rows) {
    json row;
    for (int c = 0; c < 5; ++c) row[kColumns[c]] = r[c];
    rows.push_back(row);
  }
  for (const auto& a : s.asph) {
    if (!a) {
      asph.push_back(nullptr);
      continue;
    }
    json row;
    for (int c = 0; c < 4; ++c) row[kColumns[c]] = (*a)[c];
    asph.push_back(row);
  }
  for (int c = 0; c < 5; ++c) sum[kColumns[c]] = s.sum[c];
  return {{"rows", rows}, {"asph", asph}, {"sum", sum}, {"text", s.text}};
}

Runner SeidelCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    std::string table = "seidel";
    std::string text;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--table", o->table, "the table of the picture: setup, raytrace, seidel, transversal or longitudinal")
      ->check(CLI::IsMember({"setup", "raytrace", "seidel", "transversal", "longitudinal"}));
  c.add_option("--text", o->text, "write the five printed tables as a text file");
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    SeidelSettings set;
    set.angleY = s->sheet.Txtangolo;
    set.angleX = s->sheet.TxtangoloX;
    set.objectHeight = s->sheet.Text3;
    const SeidelResult r = ComputeSeidel(s->design, set);
    if (!r.error.empty()) throw CliFailure(r.error);
    json j;
    j["MargY"] = r.MargY;
    j["MargU"] = r.MargU;
    j["ChiefY"] = r.ChiefY;
    j["ChiefU"] = r.ChiefU;
    j["MargA"] = r.MargA;
    j["ChiefA"] = r.ChiefA;
    j["SeidelB"] = r.SeidelB;
    j["SeidelBbar"] = r.SeidelBbar;
    j["AsphW"] = r.AsphW;
    j["LagrangeH"] = r.LagrangeH;
    j["seidel"] = Sums(r.seidel);
    j["transverse"] = Sums(r.transversal);
    j["longitudinal"] = Sums(r.longitudinal);
    json setup = json::object(), setup_text = json::object();
    for (const SetupLine& l : r.setup) {
      if (std::string(l.key).empty()) continue;
      setup[l.key] = l.value;
      setup_text[l.key] = l.text;
    }
    j["setup"] = setup;
    j["setup_text"] = setup_text;
    const std::map<std::string, SeidelTable> tables = {{"setup", SeidelTable::Setup},
                                                       {"raytrace", SeidelTable::RayTrace},
                                                       {"seidel", SeidelTable::Seidel},
                                                       {"transversal", SeidelTable::Transversal},
                                                       {"longitudinal", SeidelTable::Longitudinal}};
    if (!o->text.empty()) {
      std::string text;
      for (SeidelTable t : {SeidelTable::Setup, SeidelTable::RayTrace, SeidelTable::Seidel, SeidelTable::Transversal,
                            SeidelTable::Longitudinal})
        text += SeidelTableText(r, t) + "\n";
      WriteText(o->text, text, j);
    }
    if (o->picture.wanted()) {
      const SeidelTable t = tables.at(o->table);
      RecordingCanvas plot;
      DrawSeidelTable(r, t, plot);
      o->picture.Write(plot, 1000, 1000 * SeidelTableHeight(r, t) / 112, j);
    }
    return j;
  };
}

// ---------------------------------------------------------------------------

Runner SphericalCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    double bfl = 0;
    CLI::Option* bfl_given = nullptr;
    double max_scale = 0;
    std::string text;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  o->bfl_given = c.add_option("--bfl", o->bfl, "reference B.F.L. (default: Bfl at 4 decimals)");
  c.add_option("--max-scale", o->max_scale, "Max Scale of the longitudinal graph, 0 automatic");
  c.add_option("--text", o->text, "write the O.S.C. table and the data report as a text file");
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    SphericalSettings set;
    set.referenceBfl = o->bfl_given->count() ? o->bfl : RoundTo(s->design.Bfl, 4);
    set.maxScale = o->max_scale;
    set.angleY = s->sheet.Txtangolo;
    set.angleX = s->sheet.TxtangoloX;
    const SphericalResult r = ComputeSpherical(s->design, set);
    if (!r.error.empty()) throw CliFailure(r.error);
    json j;
    j["InUse"] = List(r.InUse);
    auto tables = [](const std::array<ZoneTable, 6>& t) {
      json a = json::array();
      for (const ZoneTable& z : t) a.push_back(List(z));
      return a;
    };
    j["ZoneLA"] = tables(r.ZoneLA);
    j["ZoneTA"] = tables(r.ZoneTA);
    j["ZoneOSC"] = tables(r.ZoneOSC);
    j["ZoneU"] = tables(r.ZoneU);
    j["ZoneBack"] = tables(r.ZoneBack);
    j["ZoneStopped"] = List(r.ZoneStopped);
    j["LongScale"] = r.LongScale;
    j["TransvScale"] = r.TransvScale;
    json osc = json::array();
    for (const auto& row : r.oscTable) osc.push_back(List(row));
    j["osc_table"] = osc;
    WriteText(o->text, OscTableText(r) + "\n" + SphericalReport(r), j);
    if (o->picture.wanted()) {
      std::vector<RecordingCanvas> panes(2);
      DrawLongitudinalSA(r, panes[0]);
      DrawTransversalSA(r, panes[1]);
      WritePanes(o->picture, panes, 610, 400, j);
    }
    return j;
  };
}

// ---------------------------------------------------------------------------

Runner FieldCurvCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    int wl = 1;
    double bfl = 0;
    CLI::Option* bfl_given = nullptr;
    double scale = 0;
    std::string text;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--wl", o->wl, "the wavelength, 1 to 6 (default 1)")->check(CLI::Range(1, 6));
  o->bfl_given = c.add_option("--bfl", o->bfl, "reference plane (default: Bfl at 3 decimals, as the window starts)");
  c.add_option("--scale", o->scale, "Max. Curv. SCALE, 0 automatic");
  c.add_option("--text", o->text, "write the table as a text file");
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    if (s->design.IndexWl[o->wl][1] == 0) throw CliFailure("Wavelength " + std::to_string(o->wl) + " is not in use");
    FieldCurvSettings set;
    set.wavelength = o->wl;
    set.referenceBfl = o->bfl_given->count() ? PlainDecimal(o->bfl) : FormatFixed(s->design.Bfl, 3);
    set.scale = PlainDecimal(o->scale);
    set.angleY = s->sheet.Txtangolo;
    set.angleX = s->sheet.TxtangoloX;
    const FieldCurvResult r = ComputeFieldCurvature(s->design, set);
    if (r.failed) throw CliFailure("TraceError", {{"rows", r.rowsDone}});
    json j;
    j["FieldStep"] = r.FieldStep;
    j["ChiefHeight"] = List(r.ChiefHeight);
    j["ZTan"] = List(r.ZTan);
    j["ZSag"] = List(r.ZSag);
    json avg = json::array();
    for (int k = 1; k <= 10; ++k) avg.push_back(static_cast<double>(r.AvgRadius[k]));
    j["AvgRadius"] = avg;
    json rows = json::array();
    for (const auto& row : r.rows) rows.push_back(List(row));
    j["rows"] = rows;
    j["Scale"] = r.Scale;
    WriteText(o->text, FieldCurvTableText(r), j);
    if (o->picture.wanted()) {
      RecordingCanvas plot;
      DrawFieldCurvature(r, plot);
      o->picture.Write(plot, 760, 380, j);
    }
    return j;
  };
}

// ---------------------------------------------------------------------------

Runner RayFanCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    double bfl = 0;
    CLI::Option* bfl_given = nullptr;
    double focal_radius = 0;
    std::string text;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  o->bfl_given = c.add_option("--bfl", o->bfl, "actual image distance (default: Bfl at 3 decimals, as the window starts)");
  c.add_option("--focal-radius", o->focal_radius, "radius of the focal surface, 0 flat");
  c.add_option("--text", o->text, "write the intercepts as a text file");
  AddPictureOutput(c, o->picture);
  return [o] {
    const auto s = LoadDesign(o->in);
    RayFanSettings set;
    set.imageDistance = o->bfl_given->count() ? o->bfl : RoundTo(s->design.Bfl, 3);
    set.focalRadius = o->focal_radius;
    set.angleY = s->sheet.Txtangolo;
    set.angleX = s->sheet.TxtangoloX;
    const RayFanResult r = ComputeRayFan(s->design, set);
    if (!r.error.empty()) throw CliFailure(r.error);
    json j;
    json fields = json::array();
    for (const FanField& f : r.fields) {
      json t = json::array(), sg = json::array();
      for (int k = 0; k < 6; ++k) {
        t.push_back(List(f.tangential[k]));
        sg.push_back(List(f.sagittal[k]));
      }
      fields.push_back({{"FanChiefY", f.FanChiefY}, {"tangential", t}, {"sagittal", sg}, {"Scale", f.Scale}});
    }
    j["fields"] = fields;
    WriteText(o->text, RayFanText(r, s->design.EntrBeamSemiDiam), j);
    if (o->picture.wanted()) {
      // Tangential and sagittal of each field, as the window lays them out.
      std::vector<RecordingCanvas> panes(6);
      for (int f = 0; f < 3; ++f) {
        DrawRayFan(r, f, true, panes[2 * f]);
        DrawRayFan(r, f, false, panes[2 * f + 1]);
      }
      WritePanes(o->picture, panes, 620, 220, j);
    }
    return j;
  };
}

}  // namespace

std::vector<Command> GeometricCommands() {
  return {
      {"seidel", "Paraxial ray-trace, paraxial setup and Seidel, transversal and longitudinal sums", SeidelCommand},
      {"spherical", "Spherical aberration zones and O.S.C. for every wavelength in use", SphericalCommand},
      {"fieldcurv", "Tangential and sagittal field curvature at ten field steps", FieldCurvCommand},
      {"rayfan", "Ray-intercept curves on axis, at 0.7 and at full field", RayFanCommand},
  };
}

}  // namespace ovrin::cli
