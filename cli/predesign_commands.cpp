// ovrin-cli predesign KIND: the telescope pre-design windows without a window.
#include "cli_common.h"
#include "core/number_text.h"
#include "predesign/predesign.h"

namespace ovrin::cli {

namespace {

using predesign::GlassUse;
using predesign::KindSpec;

struct PredesignOptions {
  const KindSpec* kind = nullptr;
  std::map<std::string, std::string> text;
  std::string variant;
  std::string index, index2, index3;
  std::string catalogue, glass;
  float wl = predesign::kLineE;
  std::string out;
};

void AddKind(CLI::App& c, const KindSpec& k, PredesignOptions& o) {
  for (const predesign::InputSpec& in : k.inputs) {
    std::string help = in.caption;
    if (std::string_view(in.key) == "air-spaced") {
      c.add_flag_function("--air-spaced", [&o](std::int64_t) { o.text["air-spaced"] = "1"; },
                          "an air space between the lenses (default: cemented)");
      continue;
    }
    if (*in.initial) help += std::string(" (window's start: ") + in.initial + ")";
    c.add_option(std::string("--") + in.key, o.text[in.key], help);
  }
  if (!k.variants.empty()) {
    std::vector<std::string> keys;
    std::string help = "variant:";
    for (const auto& v : k.variants) {
      keys.push_back(v.key);
      help += std::string(" ") + v.key + " (" + v.button + ")";
    }
    c.add_option("--variant", o.variant, help)->check(CLI::IsMember(keys));
  }
  if (k.glass != GlassUse::None) {
    c.add_option("--index", o.index, "index of the corrector (DIRECT)");
    if (k.glass == GlassUse::Three) {
      c.add_option("--index2", o.index2, "index at the second wavelength (default: --index)");
      c.add_option("--index3", o.index3, "index at the third wavelength (default: --index)");
    }
    c.add_option("--catalog", o.catalogue, "glass catalogue: SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL, CHENGDU");
    c.add_option("--glass", o.glass, "glass name in the catalogue");
    if (k.glass == GlassUse::One) c.add_option("--wl", o.wl, "design wavelength in microns (default the e line)");
  }
  c.add_option("--out", o.out, "write the design to OUT.ovn after the update");
}

nlohmann::json Rows(const DesignState& d, const DesignSheet& sheet) {
  nlohmann::json rows = nlohmann::json::array();
  for (int i = 1; i <= d.SurfCount; ++i) {
    rows.push_back({{"SemiDiam", d.SemiDiam[i]},
                    {"Radius", d.Radius[i]},
                    {"Thickness", d.Thickness[i]},
                    {"Medium", sheet.Cell(i, 5)},
                    {"Glass", sheet.Cell(i, 6)},
                    {"Index", d.IndexWl[1][i]},
                    {"SurfType", static_cast<double>(d.SurfType[i])},
                    {"Conic", d.Conic[i]},
                    {"A4", d.AsphA4[i]},
                    {"A6", d.AsphA6[i]},
                    {"A8", d.AsphA8[i]}});
  }
  return rows;
}

nlohmann::json Run(const PredesignOptions& o) {
  const KindSpec& k = *o.kind;
  predesign::Inputs in = predesign::DefaultInputs(k.kind);
  for (const auto& [key, value] : o.text)
    if (!value.empty()) in.text[key] = value;
  if (!o.variant.empty()) in.variant = o.variant;
  if (k.glass != GlassUse::None) {
    if (!o.catalogue.empty() || !o.glass.empty()) {
      if (o.catalogue.empty() || o.glass.empty()) throw CliFailure("--catalog and --glass go together");
      in.glass.catalogue = o.catalogue;
      for (char& ch : in.glass.catalogue) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
      in.glass.glass = o.glass;
    } else if (!o.index.empty()) {
      in.glass.catalogue = "DIRECT";
      if (k.glass == GlassUse::Three) {
        in.glass.indexText = {o.index, o.index2.empty() ? o.index : o.index2, o.index3.empty() ? o.index : o.index3};
      } else {
        in.glass.indexText = {o.index};
      }
    }
    if (k.glass == GlassUse::One) in.glass.wavelengths = {o.wl};
  }

  const predesign::Outcome r = predesign::Calculate(k.kind, in);
  if (!r.ok) throw CliFailure(r.error);
  LoadedDesign s;
  if (const auto e = predesign::WriteDesign(r.plan, s.design, s.sheet, s.media)) throw CliFailure(*e);

  nlohmann::json j;
  j["kind"] = k.cli;
  if (!k.variants.empty()) j["variant"] = in.variant;
  nlohmann::json results = nlohmann::json::object();
  for (const auto& x : r.plan.results) results[x.key] = x.text;
  j["results"] = results;
  nlohmann::json extras = nlohmann::json::object();
  for (const auto& x : r.plan.extras) extras[x.key] = x.text;
  j["extras"] = extras;
  if (!r.plan.profile.empty()) {
    nlohmann::json profile = nlohmann::json::array();
    for (const auto& [zone, depth] : r.plan.profile) profile.push_back({{"zone", zone}, {"depth", depth}});
    j["profile"] = profile;
  }
  if (k.kind == predesign::Kind::Maksutov) j["MakShape"] = r.plan.makShape;
  for (const auto& [key, value] : r.plan.numbers) j[key] = value;
  j["SurfCount"] = s.design.SurfCount;
  j["Efl"] = s.design.Efl;
  j["Bfl"] = s.design.Bfl;
  j["AiryRadius"] = s.design.AiryRadius;
  j["rows"] = Rows(s.design, s.sheet);
  if (!o.out.empty()) {
    SaveDesign(s, o.out);
    j["out"] = o.out;
  }
  return j;
}

Runner Predesign(CLI::App& c) {
  c.require_subcommand(1);
  std::vector<std::pair<CLI::App*, std::shared_ptr<PredesignOptions>>> kinds;
  for (const KindSpec& k : predesign::Kinds()) {
    auto o = std::make_shared<PredesignOptions>();
    o->kind = &k;
    CLI::App* sub = c.add_subcommand(k.cli, k.title);
    AddKind(*sub, k, *o);
    kinds.push_back({sub, o});
  }
  return [kinds] {
    for (const auto& [sub, o] : kinds)
      if (sub->parsed()) return Run(*o);
    throw CliFailure("No pre-design kind given");
  };
}

}  // namespace

std::vector<Command> PredesignCommands() {
  return {{"predesign", "Telescope pre-design: a starting system from a few telescope parameters", Predesign}};
}

}  // namespace ovrin::cli
