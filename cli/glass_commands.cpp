// ovrin-cli glass-diagram, glass-list and environment: the glass maps, a
// catalogue as a table, and the design at other temperatures and pressures.
#include <cmath>

#include "cli_common.h"
#include "glass/environment.h"
#include "glass/glass_diagram.h"

namespace ovrin::cli {

namespace {

using nlohmann::json;

// NaN (a value not published) as null.
json Number(double v) { return std::isfinite(v) ? json(v) : json(nullptr); }

json AxisJson(const PlotAxis& a) { return {{"min", a.min}, {"max", a.max}, {"title", a.title}, {"reversed", a.reversed}}; }

Runner GlassDiagram(CLI::App& c) {
  struct Options {
    std::string kind;
    std::vector<std::string> catalogues = {"SCHOTT"};
    bool names = false;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  c.add_option("KIND", o->kind, "nd-vd, pgf (P g,F against vd) or pp (P g,F against P C,t)")
      ->required()
      ->check(CLI::IsMember({"nd-vd", "pgf", "pp"}));
  c.add_option("--catalogues", o->catalogues, "catalogues to show (default SCHOTT; 'all' for every one)")
      ->delimiter(',');
  c.add_flag("--names", o->names, "write the glass names beside their marks");
  AddPictureOutput(c, o->picture);
  return [o] {
    GlassDiagramSettings s;
    s.kind = o->kind == "nd-vd" ? GlassDiagramKind::NdVd : o->kind == "pgf" ? GlassDiagramKind::PgF : GlassDiagramKind::PP;
    s.names = o->names;
    s.catalogues.fill(false);
    for (const std::string& name : o->catalogues) {
      if (name == "all" || name == "ALL") {
        s.catalogues.fill(true);
        continue;
      }
      Catalogue cat;
      if (!CatalogueByName(name, cat)) throw CliFailure("Unknown catalogue: " + name);
      s.catalogues[static_cast<std::size_t>(cat)] = true;
    }
    const GlassDiagramResult r = ComputeGlassDiagram(s);
    json j{{"kind", o->kind}, {"x", AxisJson(r.x)}, {"y", AxisJson(r.y)}, {"count", r.glasses.size()}};
    json shown = json::array();
    for (int ci = 0; ci < kCatalogueCount; ++ci)
      if (s.catalogues[static_cast<std::size_t>(ci)]) shown.push_back(CatalogueName(static_cast<Catalogue>(ci)));
    j["catalogues"] = shown;
    json glasses = json::array();
    for (const GlassMark& m : r.glasses)
      glasses.push_back({{"catalogue", CatalogueName(m.catalogue)}, {"name", m.row->name}, {"nd", m.disp.nd},
                         {"vd", m.disp.vd}, {"pgf", m.disp.pgF}, {"pct", Number(m.disp.pCt)}, {"x", m.x}, {"y", m.y}});
    j["glasses"] = glasses;
    j["left_out"] = r.left_out;
    if (!r.normal_line.empty()) {
      json line = json::array();
      for (const PlotPoint& p : r.normal_line) line.push_back({p.x, p.y});
      j["normal_line"] = line;
    }
    if (o->picture.wanted()) {
      RecordingCanvas canvas;
      DrawGlassDiagram(r, s, canvas);
      o->picture.Write(canvas, 900, 635, j);
    }
    return j;
  };
}

Runner GlassListCommand(CLI::App& c) {
  struct Options {
    std::string catalogue;
    std::string filter;
    double wavelength = 0.5875618;
  };
  auto o = std::make_shared<Options>();
  c.add_option("CATALOGUE", o->catalogue, "SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL or CHENGDU")->required();
  c.add_option("--filter", o->filter, "only the glasses whose name contains this text (any case)");
  c.add_option("--wl", o->wavelength, "wavelength of the index column, microns")->check(CLI::Range(0.2, 15.0));
  return [o] {
    Catalogue cat;
    if (!CatalogueByName(o->catalogue, cat)) throw CliFailure("Unknown catalogue: " + o->catalogue);
    json rows = json::array();
    for (const GlassTableRow& t : GlassTable(cat, o->filter, o->wavelength)) {
      const GlassRow& r = *t.row;
      json g{{"name", r.name}, {"available", t.available}};
      if (t.available) {
        g["formula"] = FormulaName(r.formula);
        g["coefficients"] = json(std::vector<double>(std::begin(r.coef), std::end(r.coef)));
        g["nd"] = Number(t.disp.nd);
        g["vd"] = t.disp.vd != 0 ? Number(t.disp.vd) : json(nullptr);
        g["pgf"] = t.disp.vd != 0 ? Number(t.disp.pgF) : json(nullptr);
        g["index"] = t.index != 0 ? json(t.index) : json(nullptr);
      }
      g["density"] = Number(r.density);
      g["expansion"] = Number(r.alpha);
      rows.push_back(g);
    }
    return json{{"catalogue", CatalogueName(cat)}, {"wavelength", o->wavelength}, {"count", rows.size()},
                {"glasses", rows}};
  };
}

Runner EnvironmentCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    EnvironmentSettings s;
    bool noGlassExpansion = false;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--temp", o->s.temperature, "actual temperature, degrees C")->required()->check(CLI::Range(-100.0, 140.0));
  c.add_option("--pressure", o->s.pressure, "actual pressure, atm")->required()->check(CLI::Range(0.001, 10.0));
  c.add_option("--mirror-expansion", o->s.mirrorExpansion, "expansion of the mirror blanks, 1e-6/K (default 0)");
  c.add_option("--tube-expansion", o->s.tubeExpansion, "expansion of the tube, 1e-6/K (default 0)");
  c.add_flag("--no-glass-expansion", o->noGlassExpansion, "lenses keep their shape; only the indices change");
  return [o] {
    const auto l = LoadDesign(o->in);
    EnvironmentSettings s = o->s;
    s.glassExpansion = !o->noGlassExpansion;
    const EnvironmentResult r = ComputeEnvironment(l->design, s);
    if (!r.error.empty()) throw CliFailure(r.error);
    json indices = json::array();
    for (const EnvironmentIndexLine& x : r.indices)
      indices.push_back({{"surface", x.surface}, {"wl", x.wl}, {"wavelength", x.wavelength},
                         {"catalogue", x.catalogue}, {"glass", x.glass}, {"n_design", x.nDesign},
                         {"n_actual", x.nActual}, {"dn", x.nActual - x.nDesign}, {"thermal_data", x.thermalData},
                         {"expansion", x.expansion}});
    json first = json::array();
    for (const EnvironmentFirstOrder& f : r.firstOrder)
      first.push_back({{"wl", f.wl}, {"wavelength", f.wavelength}, {"efl_design", f.eflDesign},
                       {"efl_actual", f.eflActual}, {"bfl_design", f.bflDesign}, {"bfl_actual", f.bflActual},
                       {"focus_shift", f.FocusShift()}});
    return json{{"design", {{"temperature", r.tDesign}, {"pressure", r.pDesign}}},
                {"actual", {{"temperature", r.tActual}, {"pressure", r.pActual}}},
                {"air_index", {{"design", r.airDesign}, {"actual", r.airActual}}},
                {"indices", indices},
                {"first_order", first},
                {"text", EnvironmentText(r)}};
  };
}

}  // namespace

std::vector<Command> GlassCommands() {
  return {
      {"glass-diagram", "Glass map: nd-vd, P g,F against vd, or P-P, of the chosen catalogues", GlassDiagram},
      {"glass-list", "A glass catalogue as a table: name, nd, vd, formula and coefficients", GlassListCommand},
      {"environment", "Indices and first-order data at another temperature and pressure", EnvironmentCommand},
  };
}

}  // namespace ovrin::cli
