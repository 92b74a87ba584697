#include "commands.h"

#include "core/design_file.h"
#include "core/ray_tracer.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "core/wavelength_store.h"
#include "glass/catalogue_media.h"
#include "glass/glass_catalogue.h"

namespace ovrin::cli {

namespace {

struct Session {
  DesignState design;
  DesignSheet sheet;
  CatalogueMedia media;
};

DesignFormat FormatOf(const std::string& name) {
  if (name == "current") return DesignFormat::Current;
  if (name == "v35") return DesignFormat::V35;
  if (name == "v40") return DesignFormat::V40;
  if (name == "v51") return DesignFormat::V51;
  throw CliFailure("Unknown import format \"" + name + "\": use current, v35, v40 or v51");
}

// Reads a design and runs its update; a failed update is a failure of the command.
void Load(Session& s, const std::string& file, DesignFormat format = DesignFormat::Current) {
  try {
    UpdateResult r = ReadDesignFile(file, format, s.design, s.sheet, s.media);
    if (!r.ok) throw CliFailure(r.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  } catch (const GlassRangeError&) {
    // A glass asked for far outside its range: the data error of the update.
    throw CliFailure(kDataInputError);
  }
}

}  // namespace

nlohmann::json Update(const std::string& file) {
  Session s;
  Load(s, file);
  const DesignState& d = s.design;
  nlohmann::json j;
  j["SurfCount"] = d.SurfCount;
  j["WlCount"] = d.WlCount;
  nlohmann::json wl = nlohmann::json::array();
  for (float w : d.Wavelength) wl.push_back(static_cast<double>(w));
  j["Wavelength"] = wl;
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
  j["labels"] = {{"Lblbfl", s.sheet.Lblbfl},
                 {"Lblfocale", s.sheet.Lblfocale},
                 {"Lblrappfoc", s.sheet.Lblrappfoc},
                 {"LblImage", s.sheet.LblImage}};
  return j;
}

nlohmann::json Trace(const std::string& file, const TraceOptions& opt) {
  Session s;
  Load(s, file);
  const DesignState& d = s.design;
  if (opt.wavelength < 1 || opt.wavelength > d.WlCount)
    throw CliFailure("Wavelength " + std::to_string(opt.wavelength) + " is not in use: the design has " +
                     std::to_string(d.WlCount));
  Tracer t(d);
  if (opt.full_field) {
    t.FieldCosZ = d.ChiefCosZ;
    t.FieldCosY = d.ChiefCosY;
    t.FieldCosX = d.ChiefCosX;
    t.ObjHeight = d.HalfFieldY;
  } else {
    t.FieldCosZ = 1;
    t.FieldCosY = 0;
    t.FieldCosX = 0;
    t.ObjHeight = 0;
  }
  SurfaceLoopPolicy policy;
  policy.wavelength = opt.wavelength;
  try {
    t.TraceRay(opt.px, opt.py, policy, opt.has_bfl ? opt.bfl : d.Bfl);
  } catch (const TraceError&) {
    throw CliFailure("TraceError");
  }
  return {{"RayX", t.RayX},       {"RayY", t.RayY},       {"RayZ", t.RayZ},
          {"RayCosX", t.RayCosX}, {"RayCosY", t.RayCosY}, {"RayCosZ", t.RayCosZ},
          {"Vignetted", t.RayVignetted ? 1 : 0}};
}

nlohmann::json Resave(const std::string& in, const std::string& out, const std::string& import) {
  Session s;
  Load(s, in, FormatOf(import));
  try {
    UpdateResult r = WriteDesignFile(out, s.design, s.sheet, s.media);
    if (!r.ok) throw CliFailure(r.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  }
  return {{"ok", true}, {"SurfCount", s.design.SurfCount}};
}

nlohmann::json Index(const std::string& catalogue, const std::string& name, double wavelength) {
  Catalogue cat;
  if (!CatalogueByName(catalogue, cat))
    throw CliFailure("Unknown catalogue \"" + catalogue +
                     "\": use SCHOTT, OHARA, CORNING, HOYA, LZOS, SPECIAL or CHENGDU");
  GlassLookup lookup;
  lookup.GlassName = name;
  lookup.GlassWl = static_cast<float>(wavelength);
  bool found = false;
  try {
    found = lookup.Lookup(cat);
  } catch (const GlassRangeError&) {
    throw CliFailure("The index of " + name + " cannot be computed at " + ShortestText(wavelength) +
                     " micron");
  }
  return {{"GlassIndex", lookup.GlassIndex}, {"found", found}};
}

nlohmann::json Wavelengths(const std::string& in, const std::string& out,
                           const std::vector<double>& set, const std::vector<double>& weights) {
  if (set.empty() || set.size() > 6) throw CliFailure("Give one to six wavelengths with --set");
  if (!weights.empty() && weights.size() != set.size())
    throw CliFailure("Give one weight per wavelength with --weights");
  Session s;
  Load(s, in);
  WavelengthForm form;
  form.Open(s.design);
  form.count = static_cast<int>(set.size());
  for (std::size_t k = 0; k < set.size(); ++k) {
    form.rows[k].ComboWL = ShortestText(set[k]);
    form.rows[k].Text1 = weights.empty() ? "1" : ShortestText(weights[k]);
  }
  WavelengthStoreResult r;
  try {
    r = StoreWavelengths(form, s.design, s.sheet, s.media);
  } catch (const GlassRangeError&) {
    throw CliFailure(kDataInputError);
  }
  if (!r.ok) throw CliFailure(r.message);
  if (!r.update.ok) throw CliFailure(r.update.message);
  try {
    UpdateResult w = WriteDesignFile(out, s.design, s.sheet, s.media);
    if (!w.ok) throw CliFailure(w.message);
  } catch (const DesignFileError& e) {
    throw CliFailure(e.what());
  }
  nlohmann::json wl = nlohmann::json::array();
  for (float w : s.design.Wavelength) wl.push_back(static_cast<double>(w));
  nlohmann::json j = {{"ok", true}, {"WlCount", s.design.WlCount}, {"Wavelength", wl}};
  if (!r.warning.empty()) j["warning"] = r.warning;
  return j;
}

}  // namespace ovrin::cli
