// ovrin-cli merit and optimise: the error function and the damped least
// squares run of the optimisation window, with the window's controls read from
// a job file.
#include <cmath>
#include <fstream>

#include "cli_common.h"
#include "core/number_text.h"
#include "optimise/optimiser.h"

namespace ovrin::cli {

namespace {

using nlohmann::json;

[[noreturn]] void BadJob(const std::string& key, const std::string& what) {
  throw CliFailure("Job file: \"" + key + "\" " + what);
}

// A control's text: a string as typed, or a number written as its shortest text.
std::string Text(const json& v, const std::string& key) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_number()) return ShortestText(v.get<double>());
  BadJob(key, "must be a text or a number");
}

std::string Choice(const json& v, const std::string& key, std::initializer_list<const char*> allowed) {
  const std::string s = v.is_string() ? v.get<std::string>() : "";
  for (const char* a : allowed)
    if (s == a) return s;
  std::string list;
  for (const char* a : allowed) list += std::string(list.empty() ? "" : ", ") + "\"" + a + "\"";
  BadJob(key, "must be one of " + list);
}

int Surface(const std::string& text, const std::string& key, int first, int last) {
  if (!IsNumberText(text)) BadJob(key, "is not a surface number");
  const double v = ParseLeadingNumber(text);
  if (v != std::floor(v) || v < first || v > last)
    BadJob(key, "names surface " + text + ", outside " + std::to_string(first) + ".." + std::to_string(last));
  return static_cast<int>(v);
}

// A mark "V", "P+S" or "P-S" (S the source surface): the grid's mark and the source.
struct Mark {
  std::string mark;
  int source = 0;
};
Mark MarkOf(const json& v, const std::string& key, bool minus_allowed, int n) {
  if (!v.is_string()) BadJob(key, "must be \"V\", \"P+S\"" + std::string(minus_allowed ? " or \"P-S\"" : ""));
  const std::string s = v.get<std::string>();
  if (s == "V" || s.empty()) return {s, 0};
  if (s.size() > 2 && s[0] == 'P' && (s[1] == '+' || (minus_allowed && s[1] == '-')))
    return {s.substr(0, 2), Surface(s.substr(2), key, 1, n)};
  BadJob(key, "must be \"V\", \"P+S\"" + std::string(minus_allowed ? " or \"P-S\"" : "") + ", not \"" + s + "\"");
}

// The window as it opens on the design, changed by the job file.
void ApplyJob(const json& job, const LoadedDesign& s, OptimiseSheet& opt, PickupTables& pick) {
  const int n = s.design.SurfCount;
  if (!job.is_object()) throw CliFailure("Job file: the top level must be an object");
  static const char* const kKeys[] = {"mode", "rays", "focus", "damping", "iterations", "efl_target",
                                      "efl_weight", "field1", "field2", "wavelengths", "curvature",
                                      "thickness", "thickness_pickup", "conic", "bfl", "image_radius"};
  for (const auto& [key, value] : job.items()) {
    bool known = false;
    for (const char* k : kKeys) known = known || key == k;
    if (!known) BadJob(key, "is not a key of a job file");
  }
  if (job.contains("mode")) {
    const bool spot = Choice(job["mode"], "mode", {"spot", "wavefront"}) == "spot";
    opt.Option1 = spot;
    opt.Option2 = !spot;
  }
  if (job.contains("rays")) {
    const std::string r = Choice(job["rays"], "rays", {"square", "gaussian", "radau"});
    opt.OptionSquare = r == "square";
    opt.OptionGaussian = r == "gaussian";
    opt.OptionRadau = r == "radau";
  }
  if (job.contains("focus")) {
    const bool best = Choice(job["focus"], "focus", {"paraxial", "best"}) == "best";
    opt.OptionParaxial = !best;
    opt.OptionBestFocal = best;
  }
  if (job.contains("damping")) opt.TxtDamping = Text(job["damping"], "damping");
  if (job.contains("iterations")) {
    opt.Text1 = Text(job["iterations"], "iterations");
    if (!CheckIterationText(opt).empty()) BadJob("iterations", "is above 100");
  }
  if (job.contains("efl_target")) opt.Text2 = Text(job["efl_target"], "efl_target");
  if (job.contains("efl_weight")) opt.Text9 = Text(job["efl_weight"], "efl_weight");
  auto field = [&](const char* key, std::string& frac, std::string& weight) {
    if (!job.contains(key)) return;
    const json& f = job[key];
    if (!f.is_array() || f.size() != 2) BadJob(key, "must be [fraction, weight]");
    frac = Text(f[0], key);
    weight = Text(f[1], key);
  };
  field("field1", opt.Text10, opt.Text12);
  field("field2", opt.Text11, opt.Text13);
  if (job.contains("wavelengths")) {
    const json& w = job["wavelengths"];
    if (!w.is_array() || w.size() > 6) BadJob("wavelengths", "must be a list of at most six entries");
    for (std::size_t k = 0; k < w.size(); ++k) {
      const std::string key = "wavelengths[" + std::to_string(k) + "]";
      if (!w[k].is_object()) BadJob(key, "must be {\"checked\": ..., \"weight\": ...}");
      if (w[k].contains("checked")) {
        if (!w[k]["checked"].is_boolean()) BadJob(key + ".checked", "must be true or false");
        const bool on = w[k]["checked"].get<bool>();
        if (on && s.design.Wavelength[k] == 0) BadJob(key, "checks a wavelength that is not in use");
        SetWavelengthChecked(opt, static_cast<int>(k), on);
      }
      if (w[k].contains("weight")) opt.weights[k] = Text(w[k]["weight"], key + ".weight");
    }
  }
  auto marks = [&](const char* key, int col, int last, bool minus, auto&& store) {
    if (!job.contains(key)) return;
    const json& m = job[key];
    if (!m.is_object()) BadJob(key, "must map surface numbers to marks");
    for (const auto& [surf, mark] : m.items()) {
      const std::string k = std::string(key) + "." + surf;
      const int i = Surface(surf, k, 1, last);
      const Mark mk = MarkOf(mark, k, minus, n);
      opt.Cell(i, col) = mk.mark;
      store(i, mk, k);
    }
  };
  marks("curvature", 3, n, true, [&](int i, const Mark& m, const std::string&) {
    if (m.mark == "P+") pick.curvPlus[i] = m.source;
    if (m.mark == "P-") pick.curvMinus[i] = m.source;
  });
  marks("thickness", 5, n - 1, true, [&](int i, const Mark& m, const std::string& k) {
    if (m.source == i) BadJob(k, "picks up its own thickness");
    if (m.mark == "P+") pick.thickPlus[i] = m.source;
    if (m.mark == "P-") pick.thickMinus[i] = m.source;
  });
  if (job.contains("thickness_pickup")) {
    const json& m = job["thickness_pickup"];
    if (!m.is_object()) BadJob("thickness_pickup", "must map surface numbers to {\"scale\", \"add\"}");
    for (const auto& [surf, v] : m.items()) {
      const std::string k = "thickness_pickup." + surf;
      const int i = Surface(surf, k, 1, n - 1);
      if (!v.is_object()) BadJob(k, "must be {\"scale\": ..., \"add\": ...}");
      if (v.contains("scale")) pick.thickScale[i] = static_cast<float>(ParseLeadingNumber(Text(v["scale"], k + ".scale")));
      if (v.contains("add")) pick.thickAdd[i] = ParseLeadingNumber(Text(v["add"], k + ".add"));
    }
  }
  marks("conic", 7, n, false, [&](int i, const Mark& m, const std::string&) {
    if (m.mark == "P+") pick.conicPlus[i] = m.source;
  });
  if (job.contains("bfl")) {
    const json& b = job["bfl"];
    if (!b.is_object()) BadJob("bfl", "must be {\"mark\", \"target\", \"weight\", \"add\"}");
    if (b.contains("target")) opt.Cell(n, 4) = Text(b["target"], "bfl.target");
    if (b.contains("mark")) {
      const Mark m = MarkOf(b["mark"], "bfl.mark", true, n);
      opt.Cell(n, 5) = m.mark;
      if (m.mark == "P+") pick.BflPickSourcePlus = m.source;
      if (m.mark == "P-") pick.BflPickSourceMinus = m.source;
      if (m.mark.empty()) pick.WeightBfl = 1;
    }
    if (b.contains("weight") && !opt.Cell(n, 5).empty())
      pick.WeightBfl = static_cast<float>(std::fabs(ParseLeadingNumber(Text(b["weight"], "bfl.weight"))));
    if (b.contains("add")) pick.BflPickAdd = ParseLeadingNumber(Text(b["add"], "bfl.add"));
  }
  if (job.contains("image_radius")) opt.Cell(n + 1, 2) = Text(job["image_radius"], "image_radius");
}

json ReadJob(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw CliFailure("Job file \"" + path + "\" cannot be opened");
  try {
    return json::parse(in);
  } catch (const json::parse_error& e) {
    throw CliFailure("Job file \"" + path + "\" is not JSON: " + e.what());
  }
}

struct JobOptions {
  DesignInput in;
  std::string job;
  std::string out;
};

// The window opened on the loaded design, with the job applied.
void Prepare(const LoadedDesign& s, const std::string& job_path, OptimiseSheet& opt, PickupTables& pick) {
  LoadOptimiseSheet(opt, s.design);
  opt.angleY = s.sheet.Txtangolo;
  opt.angleX = s.sheet.TxtangoloX;
  ApplyJob(ReadJob(job_path), s, opt, pick);
}

Runner Merit(CLI::App& c) {
  auto o = std::make_shared<JobOptions>();
  AddDesignInput(c, o->in);
  c.add_option("--job", o->job, "job file (JSON): the optimisation window's controls")->required();
  return [o] {
    const auto s = LoadDesign(o->in);
    OptimiseSheet opt;
    PickupTables pick;
    Prepare(*s, o->job, opt, pick);
    const MeritResult m = ComputeMerit(s->design, opt, pick);
    if (!m.error.empty()) throw CliFailure(m.error);
    json j;
    j["M"] = m.M;
    j["Residuals"] = m.residuals;
    j["ErrorBase"] = m.ErrorBase;
    j["FocusEfl"] = m.FocusEfl;
    j["FocusBfl"] = m.FocusBfl;
    if (!m.focusMessage.empty()) j["FocusMessage"] = m.focusMessage;
    return j;
  };
}

Runner Optimise(CLI::App& c) {
  auto o = std::make_shared<JobOptions>();
  AddDesignInput(c, o->in);
  c.add_option("--job", o->job, "job file (JSON): the optimisation window's controls")->required();
  c.add_option("--out", o->out, "design file the run leaves (.ovn)")->required();
  return [o] {
    auto s = LoadDesign(o->in);
    OptimiseSheet opt;
    PickupTables pick;
    Prepare(*s, o->job, opt, pick);
    OptimiseRun run(s->design, s->sheet, s->media, opt, pick);
    run.RunAll();
    SaveDesign(*s, o->out);
    json j;
    j["log"] = run.log();
    j["Errors"] = run.errors();
    j["Iterations"] = run.iteration();
    const char* stop = run.stop() == RunStop::Iterations ? "iterations"
                       : run.stop() == RunStop::Damping  ? "damping"
                                                         : "fault";
    j["Stop"] = stop;
    j["Message"] = run.message().empty() ? json(nullptr) : json(run.message());
    if (!run.focusMessage().empty()) j["FocusMessage"] = run.focusMessage();
    return j;
  };
}

}  // namespace

std::vector<Command> OptimiseCommands() {
  return {
      {"merit", "error function of the optimisation window at the design as it stands", Merit},
      {"optimise", "damped least squares run of the optimisation window; writes the design it leaves",
       Optimise},
  };
}

}  // namespace ovrin::cli
