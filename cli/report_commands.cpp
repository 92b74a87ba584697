// ovrin-cli report, export-opd, sagitta and allowances: the design's data
// report, the wave front file for an outside viewer, and the optician's tables.
#include <cmath>

#include "analysis/wave/opd_engine.h"
#include "cli_common.h"
#include "core/number_text.h"
#include "output/aberrator_export.h"
#include "output/report.h"
#include "output/sagitta.h"

namespace ovrin::cli {

namespace {

nlohmann::json Optional(const std::optional<double>& v) { return v ? nlohmann::json(*v) : nlohmann::json(); }

nlohmann::json Sums(const std::optional<std::array<double, 5>>& v) {
  if (!v) return nullptr;
  const auto& s = *v;
  return {{"Spherical", s[0]}, {"Coma", s[1]}, {"Astigmatism", s[2]}, {"Distortion", s[3]}, {"Petzval", s[4]}};
}

nlohmann::json ReportJson(const ReportResult& r) {
  nlohmann::json surfaces = nlohmann::json::array();
  for (const ReportSurface& s : r.surfaces) {
    nlohmann::json j = {{"Surface", s.surface},   {"Radius", s.radius}, {"Thickness", s.thickness},
                        {"Medium", s.medium},     {"Glass", s.glass},   {"SemiDiam", s.semiDiam},
                        {"Type", s.type},         {"Index", s.index}};
    if (s.aspheric) j.update({{"Conic", s.conic}, {"A4", s.a4}, {"A6", s.a6}, {"A8", s.a8}});
    surfaces.push_back(j);
  }
  nlohmann::json tilts = nlohmann::json::array();
  for (const ReportTilt& t : r.tilts)
    tilts.push_back({{"Surface", t.surface}, {"TiltA", t.tiltA}, {"TiltB", t.tiltB}, {"DecY", t.decY}, {"DecX", t.decX}});
  nlohmann::json wls = nlohmann::json::array();
  for (const ReportWavelength& w : r.wavelengths)
    wls.push_back({{"Number", w.number}, {"Microns", w.microns}, {"Weight", w.weight}});
  nlohmann::json object = {{"Infinite", r.infinite}, {"ObjDistance", r.objDistance}, {"EntrBeamSemiDiam", r.beamSemiDiam},
                           {"HalfFieldY", r.halfFieldY}, {"HalfFieldX", r.halfFieldX}, {"ObjHeight", r.objHeight}};
  nlohmann::json first = {{"Efl", r.efl},
                          {"Bfl", r.bfl},
                          {"FRatio", r.fNumber},
                          {"ImageHeight", r.imageHeight},
                          {"EntrPupilZ", r.entrPupilZ},
                          {"EntrPupilDiam", r.entrPupilDiam},
                          {"ExitPupilZ", Optional(r.exitPupilZ)},
                          {"ExitPupilDiam", Optional(r.exitPupilDiam)},
                          {"PetzvalRadius", Optional(r.petzvalRadius)}};
  nlohmann::json seidel = {{"Seidel", Sums(r.seidel)}, {"Transversal", Sums(r.transversal)},
                           {"Longitudinal", Sums(r.longitudinal)}};
  if (!r.seidelNote.empty()) seidel["Note"] = r.seidelNote;
  return {{"Title", r.title}, {"Notes", r.notes},   {"Surfaces", surfaces}, {"Tilts", tilts},
          {"Wavelengths", wls}, {"Object", object}, {"FirstOrder", first},  {"SeidelSums", seidel}};
}

Runner Report(CLI::App& c) {
  auto in = std::make_shared<DesignInput>();
  auto text = std::make_shared<bool>(false);
  auto pdf = std::make_shared<std::string>();
  AddDesignInput(c, *in);
  c.add_flag("--text", *text, "print the page as plain text instead of JSON");
  c.add_option("--pdf", *pdf, "also write the page as a PDF file");
  return [in, text, pdf]() -> nlohmann::json {
    const auto s = LoadDesign(*in);
    const ReportResult r = ComputeReport(s->design, s->sheet);
    const TextPage page = ReportPage(r);
    nlohmann::json j = ReportJson(r);
    if (!pdf->empty()) {
      RecordingCanvas canvas;
      DrawPage(page, canvas);
      const PagePixels size = PageSize(page);
      WritePictureFile(canvas, size.width, size.height, *pdf);
      j["pdf"] = *pdf;
    }
    if (*text) return PageText(page);
    return j;
  };
}

Runner ExportOpd(CLI::App& c) {
  auto in = std::make_shared<DesignInput>();
  auto grid = std::make_shared<int>(101);
  auto wl = std::make_shared<int>(1);
  auto bfl = std::make_shared<double>(0);
  auto out = std::make_shared<std::string>();
  AddDesignInput(c, *in);
  c.add_option("--grid", *grid, "101, 201, 301 or 401: an N x N grid")->required()->check(CLI::IsMember({101, 201, 301, 401}));
  c.add_option("--wl", *wl, "wavelength number, 1..6 (default 1)");
  CLI::Option* bfl_given = c.add_option("--bfl", *bfl, "Actual B.F.L. (default: Bfl at 4 decimals)");
  c.add_option("OUT", *out, "the .OPD file to write")->required();
  return [in, grid, wl, bfl, bfl_given, out] {
    const auto s = LoadDesign(*in);
    const DesignState& d = s->design;
    OpdExportSettings set;
    set.grid = *grid;
    set.wavelength = *wl;
    set.actualBfl = bfl_given->count() ? *bfl : RoundTo(d.Bfl, 4);
    const OpdExport e = ComputeOpdExport(d, set);
    if (!e.error.empty() || !WriteOpdFile(e, *out)) throw CliFailure(kExportError);
    return nlohmann::json{{"ok", true}, {"Samples", e.samples.size()}, {"PupilGridDiv", e.gridDiv},
                          {"WavelengthNm", e.wavelengthNm}, {"BeamDiameter", e.beamDiameter}};
  };
}

Runner Sagitta(CLI::App& c) {
  auto in = std::make_shared<DesignInput>();
  AddDesignInput(c, *in);
  return [in] {
    const auto s = LoadDesign(*in);
    const SagittaResult r = ComputeSagitta(s->design);
    nlohmann::json surfaces = nlohmann::json::array();
    for (const SagSurface& sf : r.surfaces) {
      nlohmann::json zones = nlohmann::json::array();
      auto num = [](double v) { return std::isfinite(v) ? nlohmann::json(v) : nlohmann::json(); };
      for (const SagZone& z : sf.zones)
        zones.push_back({{"Height", z.height}, {"Sphere", num(z.sphere)}, {"Surface", num(z.surface)},
                         {"Departure", num(z.departure)}});
      nlohmann::json j = {{"Surface", sf.surface}, {"Type", sf.type}, {"Radius", sf.radius},
                          {"Aspheric", sf.aspheric}, {"Zones", zones}};
      if (sf.aspheric) j.update({{"BestFitRadius", sf.bestFitRadius}, {"MaxDeparture", sf.maxDeparture}});
      if (!sf.error.empty()) j["Note"] = sf.error;
      surfaces.push_back(j);
    }
    return nlohmann::json{{"Surfaces", surfaces}};
  };
}

Runner AllowancesCommand(CLI::App& c) {
  auto in = std::make_shared<DesignInput>();
  auto wl = std::make_shared<int>(1);
  AddDesignInput(c, *in);
  c.add_option("--wl", *wl, "wavelength number, 1..6 (default 1)");
  return [in, wl] {
    const auto s = LoadDesign(*in);
    AllowanceSettings set;
    set.wavelength = *wl;
    const Allowances a = ComputeAllowances(s->design, set);
    if (!a.error.empty()) throw CliFailure(a.error);
    nlohmann::json j = {{"Wavelength", a.wavelength},
                        {"FNumber", a.fNumber},
                        {"Efl", a.efl},
                        {"Defocus", a.defocus},
                        {"SphericalLongitudinal", a.sphericalLong},
                        {"SphericalTransverse", a.sphericalTrans},
                        {"ComaTangential", a.comaTangential},
                        {"ComaSagittal", a.comaSagittal},
                        {"Astigmatism", a.astigmatism},
                        {"TwoMirror", a.twoMirror}};
    if (a.twoMirror)
      j["Secondary"] = {{"Surface", a.secondary},
                        {"Decenter", Optional(a.secondaryDecenter)},
                        {"TiltDeg", Optional(a.secondaryTilt)}};
    return j;
  };
}

}  // namespace

std::vector<Command> ReportCommands() {
  return {{"report", "the design's data report: JSON, or --text for a terminal, --pdf for a file", Report},
          {"export-opd", "write the wave front on an N x N pupil grid as an .OPD file", ExportOpd},
          {"sagitta", "the sag of every surface zone by zone, and its departure from the best-fit sphere", Sagitta},
          {"allowances", "the quarter-wave tolerances of the design", AllowancesCommand}};
}

}  // namespace ovrin::cli
