// ovrin-cli update, trace, resave, index and wavelengths: the design itself.
#include "cli_common.h"
#include "core/number_text.h"
#include "core/ray_tracer.h"
#include "core/system_update.h"
#include "core/wavelength_store.h"
#include "glass/glass_catalogue.h"

namespace ovrin::cli {

namespace {

nlohmann::json Wavelengths(const DesignState& d) {
  nlohmann::json wl = nlohmann::json::array();
  for (float w : d.Wavelength) wl.push_back(static_cast<double>(w));
  return wl;
}

Runner Update(CLI::App& c) {
  auto in = std::make_shared<DesignInput>();
  AddDesignInput(c, *in);
  return [in] {
    const auto s = LoadDesign(*in);
    const DesignState& d = s->design;
    nlohmann::json j;
    j["SurfCount"] = d.SurfCount;
    j["WlCount"] = d.WlCount;
    j["Wavelength"] = Wavelengths(d);
    j["Bfl"] = d.Bfl;
    j["Efl"] = d.Efl;
    j["FRatio"] = d.FRatio;
    j["ImageNA"] = static_cast<double>(d.ImageNA);
    j["EntrBeamDiam"] = d.EntrBeamDiam;
    j["AiryDiam"] = d.AiryDiam;
    j["AiryRadius"] = d.AiryRadius;
    j["EntrPupilZ"] = d.EntrPupilZ;
    j["EntrPupilY"] = d.EntrPupilY;
    j["ChiefCosZ"] = d.ChiefCosZ;
    j["ChiefCosY"] = d.ChiefCosY;
    j["ChiefCosX"] = d.ChiefCosX;
    j["ImageHeight"] = d.ImageHeight;
    j["UncenteredFlag"] = static_cast<double>(d.UncenteredFlag);
    j["labels"] = {{"Lblbfl", s->sheet.Lblbfl},
                   {"Lblfocale", s->sheet.Lblfocale},
                   {"Lblrappfoc", s->sheet.Lblrappfoc},
                   {"LblImage", s->sheet.LblImage}};
    return j;
  };
}

Runner Trace(CLI::App& c) {
  struct Options {
    DesignInput in;
    double px = 0, py = 0;
    int wavelength = 1;
    std::string field = "full";
    double bfl = 0;
    CLI::Option* bfl_given = nullptr;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--py", o->py, "entrance pupil Y")->required();
  c.add_option("--px", o->px, "entrance pupil X")->required();
  c.add_option("--wl", o->wavelength, "wavelength number, 1 to 6");
  c.add_option("--field", o->field, "axis or full")->check(CLI::IsMember({"axis", "full"}));
  o->bfl_given = c.add_option("--bfl", o->bfl, "image distance from the last surface (mm)");
  return [o] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    if (o->wavelength < 1 || o->wavelength > d.WlCount)
      throw CliFailure("Wavelength " + std::to_string(o->wavelength) + " is not in use: the design has " +
                       std::to_string(d.WlCount));
    Tracer t(d);
    const bool full = o->field == "full";
    t.FieldCosZ = full ? d.ChiefCosZ : 1.0;
    t.FieldCosY = full ? d.ChiefCosY : 0.0;
    t.FieldCosX = full ? d.ChiefCosX : 0.0;
    t.ObjHeight = full ? d.HalfFieldY : 0.0;
    SurfaceLoopPolicy policy;
    policy.wavelength = o->wavelength;
    try {
      t.TraceRay(o->px, o->py, policy, o->bfl_given->count() ? o->bfl : d.Bfl);
    } catch (const TraceError& e) {
      FailRay(e);
    }
    return nlohmann::json{{"RayX", t.RayX},       {"RayY", t.RayY},       {"RayZ", t.RayZ},
                          {"RayCosX", t.RayCosX}, {"RayCosY", t.RayCosY}, {"RayCosZ", t.RayCosZ},
                          {"Vignetted", t.RayVignetted ? 1 : 0}};
  };
}

Runner Resave(CLI::App& c) {
  struct Options {
    DesignInput in;
    std::string out;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in, "IN", "design file to read");
  c.add_option("OUT", o->out, "design file to write")->required();
  return [o] {
    const auto s = LoadDesign(o->in);
    SaveDesign(*s, o->out);
    return nlohmann::json{{"ok", true}, {"SurfCount", s->design.SurfCount}};
  };
}

Runner Index(CLI::App& c) {
  struct Options {
    std::string catalogue, name;
    double wavelength = 0;
  };
  auto o = std::make_shared<Options>();
  c.add_option("CATALOGUE", o->catalogue, "SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL or CHENGDU")->required();
  c.add_option("NAME", o->name, "glass name, exactly as the catalogue spells it")->required();
  c.add_option("WAVELENGTH", o->wavelength, "wavelength in microns")->required();
  return [o] {
    Catalogue cat;
    if (!CatalogueByName(o->catalogue, cat))
      throw CliFailure("Unknown catalogue \"" + o->catalogue +
                       "\": use SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL or CHENGDU");
    GlassLookup lookup;
    lookup.GlassName = o->name;
    lookup.GlassWl = static_cast<float>(o->wavelength);
    bool found = false;
    try {
      found = lookup.Lookup(cat);
    } catch (const GlassRangeError&) {
      throw CliFailure("The index of " + o->name + " cannot be computed at " + ShortestText(o->wavelength) +
                       " micron");
    }
    return nlohmann::json{{"GlassIndex", lookup.GlassIndex}, {"found", found}};
  };
}

Runner StoreWavelengths(CLI::App& c) {
  struct Options {
    DesignInput in;
    std::string out;
    std::vector<double> set, weights;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in, "IN", "design file to read");
  c.add_option("OUT", o->out, "design file to write")->required();
  c.add_option("--set", o->set, "wavelengths in microns, comma separated")->required()->delimiter(',');
  c.add_option("--weights", o->weights, "weights, comma separated")->delimiter(',');
  return [o] {
    if (o->set.empty() || o->set.size() > 6) throw CliFailure("Give one to six wavelengths with --set");
    if (!o->weights.empty() && o->weights.size() != o->set.size())
      throw CliFailure("Give one weight per wavelength with --weights");
    const auto s = LoadDesign(o->in);
    WavelengthForm form;
    form.Open(s->design);
    form.count = static_cast<int>(o->set.size());
    for (std::size_t k = 0; k < o->set.size(); ++k) {
      form.rows[k].ComboWL = ShortestText(o->set[k]);
      form.rows[k].Text1 = o->weights.empty() ? "1" : ShortestText(o->weights[k]);
    }
    WavelengthStoreResult r;
    try {
      r = ovrin::StoreWavelengths(form, s->design, s->sheet, s->media);
    } catch (const GlassRangeError&) {
      throw CliFailure(kDataInputError);
    }
    if (!r.ok) throw CliFailure(r.message);
    if (!r.update.ok) throw CliFailure(r.update.message);
    SaveDesign(*s, o->out);
    nlohmann::json j = {{"ok", true}, {"WlCount", s->design.WlCount}, {"Wavelength", Wavelengths(s->design)}};
    if (!r.warning.empty()) j["warning"] = r.warning;
    return j;
  };
}

}  // namespace

std::vector<Command> DesignCommands() {
  return {
      {"update", "Run the system update and print the first-order data", Update},
      {"trace", "Trace one ray to the image plane", Trace},
      {"resave", "Read, update and write a design in the current format", Resave},
      {"index", "Refractive index of a catalogue glass", Index},
      {"wavelengths", "Store new wavelengths, update, and write the design", StoreWavelengths},
  };
}

}  // namespace ovrin::cli
