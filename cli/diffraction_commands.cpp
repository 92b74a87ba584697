// ovrin-cli psf, mtf, mtf-focus and zernike: the diffraction point spread
// function, the transfer curves and the Zernike fit of the wave front.
#include "analysis/wave/diffraction.h"
#include "analysis/wave/diffraction_draw.h"
#include "analysis/wave/opd_engine.h"
#include "analysis/wave/zernike.h"
#include "cli_common.h"
#include "core/number_text.h"

namespace ovrin::cli {

namespace {

struct DiffOptions {
  DesignInput in;
  int wl = 1;
  std::string field = "axis";
  double bfl = 0;
  CLI::Option* bfl_given = nullptr;
  double focal_radius = 0;
  PictureOutput picture;
};

void AddCommon(CLI::App& c, DiffOptions& o, bool field) {
  AddDesignInput(c, o.in);
  c.add_option("--wl", o.wl, "wavelength number, 1..6 (default 1)");
  if (field) c.add_option("--field", o.field, "axis or full (default axis)")->check(CLI::IsMember({"axis", "full"}));
  o.bfl_given = c.add_option("--bfl", o.bfl, "Actual B.F.L. (default: Bfl at 4 decimals)");
  c.add_option("--focal-radius", o.focal_radius, "field curvature radius, 0 flat (default 0)");
  AddPictureOutput(c, o.picture);
}

double ActualBfl(const LoadedDesign& s, const DiffOptions& o) {
  return o.bfl_given && o.bfl_given->count() ? o.bfl : RoundTo(s.design.Bfl, 4);
}

void CheckWavelength(const DesignState& d, int k) {
  if (k < 1 || k > 6 || d.Wavelength[k - 1] == 0 || !WavelengthInUse(d, k))
    throw CliFailure("Wavelength " + std::to_string(k) + " is not in use");
}

double AngleY(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.Txtangolo); }
double AngleX(const LoadedDesign& s) { return ParseLeadingNumber(s.sheet.TxtangoloX); }

[[noreturn]] void Failed(const std::optional<TraceError>& e) {
  if (e) FailRay(*e);
  throw CliFailure("TraceError");
}

nlohmann::json Curve(const MtfCurve& m) { return {{"T", m.T}, {"S", m.S}}; }

Runner Psf(CLI::App& c) {
  auto o = std::make_shared<DiffOptions>();
  auto grid = std::make_shared<int>(64);
  auto array = std::make_shared<bool>(false);
  AddCommon(c, *o, true);
  c.add_option("--grid", *grid, "pupil grid 32, 64, 128 or 256 (default 64)")->check(CLI::IsMember({32, 64, 128, 256}));
  c.add_flag("--array", *array, "list the whole intensity array");
  return [o, grid, array] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    PsfSettings set;
    set.wavelength = o->wl;
    set.grid = *grid;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.fullField = o->field == "full";
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    const PsfResult r = ComputePsf(d, set);
    if (!r.ok) Failed(r.error);
    double sum = 0;
    size_t peak = 0;
    for (size_t k = 0; k < r.P.size(); ++k) {
      sum += r.P[k];
      if (r.P[k] > r.P[peak]) peak = k;
    }
    nlohmann::json j = {{"F", r.F},         {"N", r.N},     {"Strehl", static_cast<double>(r.Strehl)},
                        {"Max", r.Max},     {"Min", r.Min}, {"Range", r.Range},
                        {"Center", r.At(r.F / 2, r.F / 2)}, {"Sum", sum},
                        {"Peak", {static_cast<int>(peak) / r.F, static_cast<int>(peak) % r.F}}};
    if (*array) {
      nlohmann::json rows = nlohmann::json::array();
      for (int i = 0; i < r.F; ++i)
        rows.push_back(std::vector<double>(r.P.begin() + static_cast<long>(i) * r.F,
                                           r.P.begin() + static_cast<long>(i + 1) * r.F));
      j["P"] = rows;
    }
    o->picture.WriteIfWanted(512, 512, j, [&](Canvas& picture) { DrawPsfMap(r, PsfView{}, picture); });
    return j;
  };
}

Runner Mtf(CLI::App& c) {
  auto o = std::make_shared<DiffOptions>();
  auto sampling = std::make_shared<int>(64);
  AddCommon(c, *o, false);
  c.add_option("--sampling", *sampling, "transform size 32, 64, 128 or 256 (default 64)")
      ->check(CLI::IsMember({32, 64, 128, 256}));
  return [o, sampling] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    MtfSettings set;
    set.wavelength = o->wl;
    set.sampling = *sampling;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    const MtfResult r = ComputeMtf(d, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json fields = nlohmann::json::array();
    for (const MtfCurve& m : r.fields) fields.push_back(Curve(m));
    nlohmann::json j = {{"F", r.F}, {"Cutoff", r.cutoff}, {"fields", fields}, {"Ideal", r.ideal}, {"text", r.text}};
    if (o->picture.wanted()) {
      // The three field pictures one under the other.
      RecordingCanvas picture;
      DrawMtfField(r, 2, picture);
      o->picture.Write(picture, 640, 400, j);
    }
    return j;
  };
}

Runner MtfFocus(CLI::App& c) {
  auto o = std::make_shared<DiffOptions>();
  auto sampling = std::make_shared<int>(64);
  auto defocus = std::make_shared<double>(0.1);
  AddCommon(c, *o, true);
  c.add_option("--sampling", *sampling, "transform size 32, 64, 128 or 256 (default 64)")
      ->check(CLI::IsMember({32, 64, 128, 256}));
  c.add_option("--defocus", *defocus, "focus step d either side (default 0.1)");
  return [o, sampling, defocus] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    MtfFocusSettings set;
    set.wavelength = o->wl;
    set.sampling = *sampling;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.fullField = o->field == "full";
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    set.defocus = *defocus;
    const MtfFocusResult r = ComputeMtfFocus(d, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json runs = nlohmann::json::array();
    for (int k = 0; k < 3; ++k) {
      nlohmann::json run = Curve(r.runs[k]);
      run["Defocus"] = r.defocus[k];
      runs.push_back(run);
    }
    nlohmann::json j = {{"runs", runs}, {"Cutoff", r.cutoff}, {"Ideal", r.ideal}};
    o->picture.WriteIfWanted(640, 480, j, [&](Canvas& picture) { DrawMtfFocus(r, picture); });
    return j;
  };
}

Runner Zernike(CLI::App& c) {
  auto o = std::make_shared<DiffOptions>();
  AddCommon(c, *o, false);
  return [o] {
    const auto s = LoadDesign(o->in);
    const DesignState& d = s->design;
    CheckWavelength(d, o->wl);
    ZernikeSettings set;
    set.wavelength = o->wl;
    set.actualBfl = ActualBfl(*s, *o);
    set.focalRadius = o->focal_radius;
    set.angleYDeg = AngleY(*s);
    set.angleXDeg = AngleX(*s);
    const ZernikeResult r = ComputeZernike(d, set);
    if (!r.ok) Failed(r.error);
    nlohmann::json j = {{"Samples", r.samples},
                        {"Coefficients", std::vector<double>(r.c.begin(), r.c.end())},
                        {"texts", std::vector<std::string>(r.texts.begin(), r.texts.end())}};
    o->picture.WriteIfWanted(640, 760, j, [&](Canvas& picture) { DrawZernikeTable(r, picture); });
    return j;
  };
}

}  // namespace

std::vector<Command> DiffractionCommands() {
  return {
      {"psf", "Diffraction point spread function: Strehl, extremes, centre, sum, peak", Psf},
      {"mtf", "Diffraction MTF at 0, 0.7 and the full field, with the ideal curve and the text", Mtf},
      {"mtf-focus", "Diffraction MTF at three focus positions of one field", MtfFocus},
      {"zernike", "The 37 Fringe Zernike coefficients of the full-field wave front", Zernike},
  };
}

}  // namespace ovrin::cli
