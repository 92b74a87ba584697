#include "predesign/predesign.h"

#include <cmath>

#include "core/number_text.h"
#include "core/ray_tracer.h"
#include "core/system_update.h"
#include "glass/glass_catalogue.h"
#include "glass/glass_pick.h"
#include "predesign/calc_util.h"

namespace ovrin::predesign {

namespace {

constexpr const char* kFaultMessage = "Calculation stopped: an input is 0 or out of range";

const std::vector<InputSpec> kTwoMirrorInputs = {
    {"efl", "EFL (system focal length)", "2000"},
    {"f1", "F1 (primary focal length)", "600"},
    {"diameter", "D1 (primary diam.)", "200"},
    {"back-focus", "BFL (focus behind primary)", "150"},
    {"field", "Df (field diam. in mm)", "20"},
};

std::vector<InputSpec> WithCorrector(std::vector<InputSpec> v) {
  v.push_back({"thickness", "Corrector Thickness", "6"});
  return v;
}

const char* kStepOk = "Step 3 - Click the <OK-Analyze> button for project analysis";
const char* kStepThird =
    "The pre-design gives only a third-order solution: change separations or conics in the "
    "design window and analyse again.";

std::vector<KindSpec> BuildKinds() {
  std::vector<KindSpec> k;
  auto with = [](std::vector<InputSpec> v, const char* key, const char* initial) {
    for (InputSpec& i : v)
      if (std::string_view(i.key) == key) i.initial = initial;
    return v;
  };
  k.push_back({Kind::Newtonian, "newtonian", "Frmnewton", "NEWTON Telescope - PREDESIGN", "NEWTON Calculation",
               {{"focal", "F (focal length)", "1000"},
                {"diameter", "D1 (mirror diam.)", "200"},
                {"axis-to-focus", "E (optical axis to focal plane)", "150"},
                {"field", "Df (field diam. in mm)", "10"},
                {"diagonal", "Diagonal at hand (minor axis; empty: D2)", ""}},
               {},
               GlassUse::None,
               {"Step 1 - Type the focal length, the mirror diameter, the distance from the optical axis "
                "to the focal plane and the field to be fully illuminated",
                "Step 2 - Click on <Newton Calculation> button", kStepOk, kStepThird}});
  k.push_back({Kind::Cassegrain, "cassegrain", "Frmcassegrain", "Two-Mirror Telescopes (Cassegrain type) - PREDESIGN",
               "Two-Mirror Calculation", kTwoMirrorInputs,
               {{"cassegrain", "Cassegrain"},
                {"dall-kirkham", "Dall-Kirkham"},
                {"ritchey-chretien", "Ritchey-Chretien"},
                {"pressmann-camichel", "Pressmann-Camichel"}},
               GlassUse::None,
               {"Step 1 - Type the system focal length, the primary focal length, the diameter, the back "
                "focus behind the primary and the field",
                "Step 2 - Click on <Two-Mirror Calculation> button",
                "Step 3 - Click the button of the variant for project analysis", kStepThird}});
  k.push_back({Kind::Gregorian, "gregorian", "Frmgregory", "Gregory Telescopes - PREDESIGN", "GREGORY Calculation",
               kTwoMirrorInputs,
               {{"classic", "Gregory (classic)"},
                {"aplanatic", "Aplanatic-Gregory"},
                {"spherical-primary", "Gregory (spher.Primary)"},
                {"spherical-secondary", "Gregory (spher.Sec.)"}},
               GlassUse::None,
               {"Step 1 - Type the system focal length, the primary focal length, the diameter, the back "
                "focus behind the primary and the field",
                "Step 2 - Click on <Gregory Calculation> button",
                "Step 3 - Click the button of the variant for project analysis", kStepThird}});
  k.push_back({Kind::Couder, "couder", "FrmCouder", "Anastigmatic Curved-Field Design (COUDER) - PREDESIGN",
               "COUDER Calculation",
               {{"diameter", "D1 (aperture)", "200"},
                {"efl", "EFL (system focal length)", "1000"},
                {"obstruction", "Max. linear obstruction %", "60"},
                {"field", "Df (field diam. in mm)", "20"},
                {"primary-radius", "Primary Curv.Radius", "-4500"}},
               {},
               GlassUse::None,
               {"Step 1 - Type the aperture, the focal length, the largest obstruction you accept, the field "
                "and the primary radius",
                "Step 2 - Click on <Couder Calculation> button", kStepOk, kStepThird}});

  const std::vector<InputSpec> schmidt_inputs = {
      {"focal", "FOCAL Length (F1)", "800"},
      {"corrector-diameter", "DC (corrector diam.)", "200"},
      {"field", "Df  (field diam.in mm)", "40"},
      {"neutral-zone", "Neutral Zone Position (0 center .. 1 edge; usually 0.866)", "0.866"},
      {"thickness", "Corrector Thickness", "10"},
  };
  auto schmidt_help = [](const char* step5) {
    return std::vector<const char*>{
        "Step 1 - Choose the catalogue and the glass of the corrector, or type its index (DIRECT)",
        "Step 2 - Choose the design wavelength (the e line unless changed)",
        "Step 3 - Type the focal length, the corrector diameter and the field",
        "Step 4 - Type the neutral zone position and the corrector thickness",
        step5,
        "Step 6 - Click the <OK-Analyze> button for project analysis",
        kStepThird};
  };
  k.push_back({Kind::Schmidt, "schmidt", "FrmSchmidt", "SCHMIDT Camera - PREDESIGN", "SCHMIDT Calculation",
               schmidt_inputs, {}, GlassUse::One, schmidt_help("Step 5 - Click on Schmidt Calculation")});
  k.push_back({Kind::Wright, "wright", "FrmWright", "Wright Camera (single mirror)", "Wright Calculation",
               with(schmidt_inputs, "focal", "500"), {}, GlassUse::One, schmidt_help("Step 5 - Click on Wright Calculation")});

  const std::vector<InputSpec> sct_inputs = with(WithCorrector(kTwoMirrorInputs), "f1", "400");
  const std::vector<InputSpec> baker_inputs = with(with(sct_inputs, "efl", "600"), "back-focus", "");
  const std::vector<InputSpec> mono_inputs = with(with(sct_inputs, "efl", "1000"), "back-focus", "");
  auto sct_help = [](const char* step5) {
    return std::vector<const char*>{
        "Step 1 - Choose the catalogue and the glass of the corrector, or type its index (DIRECT)",
        "Step 2 - Choose the design wavelength (the e line unless changed)",
        "Step 3 - Type the system and primary focal lengths, the diameter, the back focus and the field",
        "Step 4 - Type the corrector thickness",
        step5,
        "Step 6 - Click the <OK-Analyze> button for project analysis",
        kStepThird};
  };
  k.push_back({Kind::SchmidtCassegrain, "schmidt-cassegrain", "FrmSchCass",
               "Compact Schmidt-Cassegrain type  - Predesign -", "Cassegrain + Corrector Calculation", sct_inputs,
               {{"aspheric-primary", "<Aspher.Prim.>"},
                {"aspheric-secondary", "<Aspher.Second>"},
                {"aspheric-both", "<Asph.Prim.and Secondary>"}},
               GlassUse::One,
               sct_help("Step 5 - Click on Cassegrain Calculation, then the button of the variant")});
  k.push_back({Kind::SchmidtCassegrainSpherical, "schmidt-cassegrain-spherical", "FrmSCassSpherical",
               "Conpact Schmidt-Cassegrain with  spherical mirrors", "Spherical S-C Calculation", sct_inputs, {},
               GlassUse::One, sct_help("Step 5 - Click on Spherical S-C Calculation")});
  k.push_back({Kind::Baker, "baker", "FrmBaker", "Flat-field Schmidt-Cassegrain  (Baker-Schmidt type) - PREDESIGN",
               "Baker-Schmidt Calculation", baker_inputs, {}, GlassUse::One,
               sct_help("Step 5 - Click on Baker-Schmidt Calculation")});
  k.push_back({Kind::Monocentric, "monocentric", "FrmMonocentric", "Anastigmatic Monocentric  Schmidt-Cassegrain type",
               "Monocentric Calculation", mono_inputs, {}, GlassUse::One,
               sct_help("Step 5 - Click on Monocentric Calculation")});

  const std::vector<InputSpec> mak_inputs = {
      {"focal", "F1 (mirror focal Len.)", "1000"},
      {"diameter", "D1 (mirr.diam.)", "110"},
      {"corrector-diameter", "DC (corr.diam.)", "100"},
      {"corrector-distance", "DP (corr. dist. )", "400"},
      {"field", "Df (field diam.in mm.)", "10"},
  };
  const std::vector<const char*> mak_help = {
      "Step 1 - Choose the catalogue and the glass of the meniscus, or type its three indices",
      "Step 2 - Choose the three wavelengths (e, F, C unless changed)",
      "Step 3 - Type the mirror focal length and diameter, the corrector diameter and distance, and the field",
      "Step 4 - Click on  Maksutov Calculation:Results will be displayed on the right side.",
      "Step 5 - Optimize by means of the scroll bars(click on the arrows) ",
      "Step 6 - Then Click the OK button for  analyzing"};
  k.push_back({Kind::Maksutov, "maksutov", "FrmMak", "Maksutov Camera (single mirror) - PREDESIGN",
               "MAKSUTOV Calculation", mak_inputs, {}, GlassUse::Three, mak_help});
  std::vector<InputSpec> mc_inputs = {
      {"focal", "F1 (mirror focal Len.; empty: F1 below)", ""},
      {"diameter", "D1 (mirr.diam.)", "160"},
      {"corrector-diameter", "DC (corr.diam.)", "150"},
      {"corrector-distance", "DP (corr. dist.; found with the meniscus)", ""},
      {"field", "Df (field diam.in mm.)", "10"},
      {"efl", "EFL (system focal length)", "1800"},
      {"f1", "F1 (primary focal length)", "450"},
      {"back-focus", "BFL (focus behind primary)", "150"},
  };
  k.push_back({Kind::MaksutovCassegrain, "maksutov-cassegrain", "FrmMakCass",
               "Maksutov-Cassegrain (spot secondary) - PREDESIGN", "MAKSUTOV-CASS. Calculation", mc_inputs, {},
               GlassUse::Three,
               {"Step 1 - Choose the catalogue and the glass of the meniscus, or type its three indices",
                "Step 2 - Choose the three wavelengths (e, F, C unless changed)",
                "Step 3 - Type the mirror diameter, the corrector diameter, the field, the system and primary "
                "focal lengths and the back focus",
                "Step 4 - Click on Maksutov-Cass. Calculation: the meniscus, its spot secondary and its distance "
                "are found together",
                "Step 5 - Then Click the OK button for  analyzing"}});

  // The Houghton family: a two-lens corrector of one glass with no power.
  const std::vector<InputSpec> lurie_inputs = {
      {"focal", " Focal  Length", "1250"},
      {"corrector-diameter", "DC (Corrector Diam.)", "250"},
      {"corrector-distance", "DP (Corr.- mirror dist.)", "1100"},
      {"axis-to-focus", "E(axis-foc. plane dist)", "200"},
      {"field", "Df  (field diam. in mm)", "20"},
      {"thickness", "Negat.Lens Center Thick.", "10"},
  };
  const std::vector<InputSpec> hcass_inputs = {
      {"efl", "EFL (system focal length)", "2500"},
      {"f1", "F1 (primary focal length)", "1000"},
      {"diameter", "D1 (primary diam.)", "250"},
      {"back-focus", "BFL (focus behind primary)", "200"},
      {"corrector-diameter", "DC (Corrector Diam.)", "250"},
      {"corrector-distance", "DP (Corr.- mirror dist.)", "900"},
      {"field", "Df  (field diam. in mm)", "20"},
      {"thickness", "Negat.Lens Center Thick.", "10"},
  };
  auto houghton_help = [](const char* step3) {
    return std::vector<const char*>{
        "Step 1 - Choose the catalogue and the glass of the two corrector lenses, or type the index (DIRECT)",
        "Step 2 - Choose the design wavelength (the e line unless changed)", step3,
        "Step 4 - Click on  Calculate", "Step 5 - Click the OK button to analyze the project with Ovrin", kStepThird};
  };
  const char* lurie_step3 =
      "Step 3 - Type the focal length, the corrector diameter, its distance from the mirror, the distance from "
      "the axis to the focal plane, the field and the centre thickness of the negative lens";
  const char* hcass_step3 =
      "Step 3 - Type the system and primary focal lengths, the diameter, the back focus, the corrector diameter "
      "and distance, the field and the centre thickness of the negative lens";
  k.push_back({Kind::Houghton, "houghton", "FrmLurie", "Lurie-Houghton (single mirror) type  - PREDESIGN",
               "LURIE-HOUGHTON Calculation", lurie_inputs, {}, GlassUse::One, houghton_help(lurie_step3)});
  k.push_back({Kind::HoughtonAspheric, "houghton-aspheric", "FrmLurieAspheric",
               "Lurie-Houghton with aspheric mirror - PREDESIGN", "LURIE-HOUGHTON Calculation", lurie_inputs, {},
               GlassUse::One, houghton_help(lurie_step3)});
  k.push_back({Kind::HoughtonCassegrain, "houghton-cassegrain", "FrmHCass",
               "Houghton-Cassegrain (spherical mirrors) - PREDESIGN", "HOUGHTON-CASSEGRAIN Calculation", hcass_inputs,
               {}, GlassUse::One, houghton_help(hcass_step3)});
  k.push_back({Kind::HoughtonCassegrainAspheric, "houghton-cassegrain-aspheric", "FrmHCassAsf",
               "Houghton-Cassegrain with aspheric secondary - PREDESIGN", "HOUGHTON-CASSEGRAIN Calculation",
               hcass_inputs, {}, GlassUse::One, houghton_help(hcass_step3)});

  // The lens designs: each lens its own glass at three wavelengths.
  const std::vector<InputSpec> doublet_inputs = {
      {"focal", "Focal length", "1000"},
      {"semi-diameter", "Semi-diameter", "50"},
      {"index-a", "Lens A indices n1,n2,n3 (empty: glass A)", ""},
      {"glass-a", "Lens A glass CAT:NAME", "SCHOTT:N-BK7"},
      {"index-b", "Lens B indices n1,n2,n3 (empty: glass B)", ""},
      {"glass-b", "Lens B glass CAT:NAME", "SCHOTT:N-F2"},
      {"wl", "Design wavelengths w1,w2,w3 (microns)", "0.54607,0.47999,0.64385"},
      {"air-spaced", "Air-spaced (1) or cemented (0)", "0"},
  };
  k.push_back({Kind::Doublet, "doublet", "FrmDoublet", "Aplanatic Doublet -Predesign", "Calculate", doublet_inputs,
               {}, GlassUse::None,
               {"Step 1 - Click to select Lens A glass and Lens B glass, or type their indices at the three "
                "wavelengths",
                "Step 2 - Click to select design  wavelengths (main, then the pair for the dispersion)",
                "Step 3 - Type the focal length and the semi-diameter; choose cemented or air-spaced",
                "Step 4 - Click on Calculate: the achromatic powers and the aplanatic shapes are shown",
                "Step 5 - Click the OK button to analyze the project with Ovrin", kStepThird}});
  std::vector<InputSpec> triplet_inputs = {
      {"focal", "Focal length", "900"},
      {"semi-diameter", "Semi-diameter", "60"},
      {"index-a", "Lens A indices n1,n2,n3 (empty: glass A)", ""},
      {"glass-a", "Lens A glass CAT:NAME", "SCHOTT:N-FK51A"},
      {"index-b", "Lens B indices n1,n2,n3 (empty: glass B)", ""},
      {"glass-b", "Lens B glass CAT:NAME", "SCHOTT:N-KZFS2"},
      {"index-c", "Lens C indices n1,n2,n3 (empty: glass C)", ""},
      {"glass-c", "Lens C glass CAT:NAME", "SCHOTT:N-PK51"},
      {"wl", "Design wavelengths w1,w2,w3 (microns)", "0.54607,0.47999,0.64385"},
  };
  k.push_back({Kind::Triplet, "triplet", "FrmTriplet", "Apochromatic Triplet design", "Calculate", triplet_inputs,
               {}, GlassUse::None,
               {"Step 1 - Click to select the glasses of lenses A, B and C, or type their indices at the three "
                "wavelengths",
                "Step 2 - Click to select design  wavelengths (main, then the pair for the dispersion)",
                "Step 3 - Type the focal length and the semi-diameter",
                "Step 4 - Click on Calculate: the apochromatic powers and the aplanatic shapes are shown",
                "Step 5 - Correct by hand with the scroll bars (power of lens B, R5/R4, second air space); "
                "Restore puts them back",
                "Step 6 - Click the OK button to analyze the project with Ovrin", kStepThird}});
  return k;
}

}  // namespace

const std::string* Plan::Find(std::string_view key) const {
  for (const Result& r : results)
    if (r.key == key) return &r.text;
  for (const Result& r : extras)
    if (r.key == key) return &r.text;
  return nullptr;
}

const std::vector<KindSpec>& Kinds() {
  static const std::vector<KindSpec> kinds = BuildKinds();
  return kinds;
}

const KindSpec& SpecOf(Kind k) {
  for (const KindSpec& s : Kinds())
    if (s.kind == k) return s;
  return Kinds().front();
}

const KindSpec* FindKind(std::string_view name) {
  for (const KindSpec& s : Kinds())
    if (name == s.cli) return &s;
  return nullptr;
}

const KindSpec* FindWindow(std::string_view name) {
  for (const KindSpec& s : Kinds())
    if (name == s.window) return &s;
  return nullptr;
}

Inputs DefaultInputs(Kind k) {
  Inputs in;
  const KindSpec& s = SpecOf(k);
  for (const InputSpec& i : s.inputs) in.text[i.key] = i.initial;
  if (!s.variants.empty()) in.variant = s.variants.front().key;
  if (s.glass == GlassUse::Three) {
    in.glass.indexText = {"1.51872", "1.52238", "1.51432"};
    in.glass.wavelengths = {kLineE, kLineF, kLineC};
  }
  if (k == Kind::Triplet) in.scroll = {10000, 10000, 10000};
  return in;
}

namespace detail {

std::vector<double> CorrectorIndices(const GlassChoice& g) {
  std::vector<double> n;
  if (g.catalogue == "DIRECT" || g.catalogue.empty()) {
    for (std::size_t k = 0; k < g.wavelengths.size(); ++k) {
      const double v = k < g.indexText.size() ? ParseLeadingNumber(g.indexText[k]) : 0.0;
      if (!(v >= 1)) throw Refusal("Invalid Index value!");
      n.push_back(v);
    }
    return n;
  }
  Catalogue c;
  if (!CatalogueByName(g.catalogue, c)) throw Refusal("Unknown catalogue " + g.catalogue);
  GlassLookup lookup;
  lookup.GlassName = g.glass;
  for (float wl : g.wavelengths) {
    lookup.GlassWl = wl;
    bool found = false;
    try {
      found = lookup.Lookup(c);
    } catch (const GlassRangeError&) {
      throw Refusal("Invalid Index value!");
    }
    if (!found || lookup.LastRow == nullptr || !lookup.LastRow->HasCoefficients())
      throw Refusal("No glass " + g.glass + " with a dispersion formula in " + g.catalogue);
    if (!(lookup.GlassIndex >= 1)) throw Refusal("Invalid Index value!");
    n.push_back(lookup.GlassIndex);
  }
  return n;
}

double SpacingTolerance(double m, double f_ratio, double lambda_mm) {
  // A focus shift of 2 lambda N^2 is a quarter wave of defocus; moving the
  // secondary by s moves the focus by (m^2 + 1) s.
  return Div(2 * lambda_mm * f_ratio * f_ratio, m * m + 1);
}

}  // namespace detail

Outcome Calculate(Kind k, const Inputs& in) {
  using namespace detail;
  Outcome o;
  try {
    switch (k) {
      case Kind::Newtonian: o.plan = Newtonian(in); break;
      case Kind::Cassegrain: o.plan = TwoMirror(in, false); break;
      case Kind::Gregorian: o.plan = TwoMirror(in, true); break;
      case Kind::Couder: o.plan = Couder(in); break;
      case Kind::Schmidt: o.plan = Schmidt(in, false); break;
      case Kind::Wright: o.plan = Schmidt(in, true); break;
      case Kind::SchmidtCassegrain:
      case Kind::SchmidtCassegrainSpherical:
      case Kind::Baker:
      case Kind::Monocentric: o.plan = SchmidtCassegrain(in, k); break;
      case Kind::Maksutov: o.plan = Maksutov(in); break;
      case Kind::MaksutovCassegrain: o.plan = MaksutovCassegrain(in); break;
      case Kind::Houghton:
      case Kind::HoughtonAspheric:
      case Kind::HoughtonCassegrain:
      case Kind::HoughtonCassegrainAspheric: o.plan = Houghton(in, k); break;
      case Kind::Doublet: o.plan = Doublet(in); break;
      case Kind::Triplet: o.plan = Triplet(in); break;
    }
    Extra(o.plan, "Field radius (medial image surface)", MedialFieldRadius(o.plan), 1, " mm");
    for (const Row& r : o.plan.rows) {
      for (double v : {r.semi, r.radius, r.thickness, r.conic, r.a4, r.a6, r.a8}) Fin(v);
    }
    o.ok = true;
  } catch (const Refusal& r) {
    o.error = r.what();
  } catch (const Fault&) {
    o.error = kFaultMessage;
  }
  if (!o.ok) o.plan = Plan{};
  return o;
}

std::optional<std::string> WriteDesign(const Plan& p, DesignState& d, DesignSheet& sheet, CatalogueMedia& media) {
  const DesignState saved = d;
  const DesignSheet saved_sheet = sheet;
  auto put_back = [&](const std::string& message) {
    d = saved;
    sheet = saved_sheet;
    return std::optional<std::string>(message);
  };

  // 1. The wavelengths of the window.
  ClearDesign(d);
  ResetTiltDecenter(d);
  d.WlCount = static_cast<int16_t>(p.wavelengths.size());
  d.Wavelength.fill(0);
  d.WlWeight.fill(0);
  for (std::size_t k = 0; k < p.wavelengths.size(); ++k) {
    d.Wavelength[k] = p.wavelengths[k];
    d.WlWeight[k + 1] = 1;
  }
  // 2. The rows cleared.
  const int n = static_cast<int>(p.rows.size());
  if (n < 1 || n > kMaxSurfaces) return put_back(kDataInputError);
  d.SurfCount = static_cast<int16_t>(n);
  sheet.cells.resize(1);
  sheet.SetSurfaceRows(n);
  sheet.txtnumsup = std::to_string(n);
  sheet.txtDataEntryVisible = sheet.ComboGlassVisible = sheet.CombotipoVisible = false;

  // 3. and 4. Row by row.
  Catalogue cat{};
  const bool direct = p.glass.catalogue == "DIRECT" || p.glass.catalogue.empty();
  if (!direct && !CatalogueByName(p.glass.catalogue, cat)) return put_back("Unknown catalogue " + p.glass.catalogue);
  for (int i = 1; i <= n; ++i) {
    const Row& r = p.rows[i - 1];
    sheet.Cell(i, 2) = ShortestText(r.semi);
    sheet.Cell(i, 3) = ShortestText(r.radius);
    sheet.Cell(i, 4) = i == n ? "0" : ShortestText(r.thickness);
    if (r.medium == Row::Glass) {
      const bool lens = !p.lenses.empty();
      if (lens && (r.lens < 0 || r.lens >= static_cast<int>(p.lenses.size()) ||
                   r.lens >= static_cast<int>(p.lensIndex.size())))
        return put_back(kDataInputError);
      const GlassChoice& g = lens ? p.lenses[r.lens] : p.glass;
      const std::vector<double>& index = lens ? p.lensIndex[r.lens] : p.index;
      Catalogue row_cat = cat;
      const bool row_direct = g.catalogue == "DIRECT" || g.catalogue.empty();
      if (!row_direct && !CatalogueByName(g.catalogue, row_cat)) return put_back("Unknown catalogue " + g.catalogue);
      if (row_direct) {
        std::array<double, kMaxWavelengths> idx{};
        for (std::size_t k = 0; k < index.size() && k < idx.size(); ++k) idx[k] = index[k];
        if (!PickDirectIndices(d, sheet, i, idx)) return put_back("Invalid Index value!");
      } else if (!PickCatalogueGlass(d, sheet, media, i, row_cat, g.glass)) {
        return put_back("No glass " + g.glass + " in " + g.catalogue);
      }
    } else {
      const bool negative = r.medium == Row::AirNegat;
      PickAir(d, sheet, i, negative);
      sheet.Cell(i, 6) = negative ? "- 1" : "+ 1";
    }
    if (r.type == kConic || r.type == kHighOrder) {
      SetSurfaceCoefficients(d, sheet, i, r.type == kHighOrder, r.conic, r.a4, r.a6, r.a8);
    } else {
      PickSurfaceType(d, sheet, i, r.type);
    }
  }
  MarkStopRow(sheet, 1);
  d.StopSurf = 1;
  // 5. The beam, the object at infinity, the field.
  sheet.SelectOption1(d);
  sheet.Check1 = true;
  sheet.Check2 = false;
  sheet.Txtangolo = ShortestText(RoundTo(p.halfFieldDeg, 4));
  sheet.TxtangoloX = "0";
  sheet.Text1 = ShortestText(p.beamSemi);
  sheet.Txtcaratteristiche = p.system;
  sheet.cmdupdateVisible = true;
  sheet.cmdupdateEnabled = true;
  // 6. The update.
  const UpdateResult u = cmdupdate(d, sheet, media);
  if (!u.ok) return put_back(u.message);
  return std::nullopt;
}

double MeniscusShape(double A, double n) {
  auto v = [&](double B) {
    const double P = 2 * n / ((B - 1) * (n + 1)) + 1;
    const double K = -32 * std::pow(n, 4) * std::pow(A, 3) /
                     (std::pow(B * B - 1, 3) * std::pow(n * n - 1, 2) * (n + 1));
    const double Q = std::pow(B + 1, 3) - (n * n * P * (B - 1) - (n * n - 1) * (B + 1)) * P *
                                              std::pow(P * n * (B - 1) - (B + 1) * (n - 1), 2);
    return 1 + K * Q;
  };
  double best = 1e12, shape = 2;
  for (int b = 2; b <= 1000; ++b) {
    const double x = std::fabs(v(b));
    if (x < best) {
      best = x;
      shape = b;
    }
  }
  const double start = shape - 1;
  best = 999999999;
  for (int i = 0; i <= 200; ++i) {
    const double B = start + i * 0.01;
    const double x = std::fabs(v(B));
    if (x < best) {
      best = x;
      shape = B;
    }
  }
  return shape;
}

MeniscusFigures MeniscusAberrations(const DesignState& d) {
  MeniscusFigures f;
  f.efl = d.Efl;
  Tracer t(d);
  const double h_max = d.EntrBeamSemiDiam;
  // The exit pupil by a near-axis chief ray from the stop on surface 1.
  double y = 0, u = 0.01;
  for (int s = 1; s <= d.SurfCount; ++s) {
    const double n0 = s == 1 ? 1.0 : d.IndexWl[1][s - 1], n1 = d.IndexWl[1][s];
    const double c = std::fabs(d.Radius[s]) >= 1e10 ? 0.0 : 1.0 / d.Radius[s];
    u = (n0 * u - y * (n1 - n0) * c) / n1;
    if (s < d.SurfCount) y += u * d.Thickness[s];
  }
  const double pupil_to_image = u != 0 ? d.Bfl + y / u : 0.0;
  for (int k = 1; k <= d.WlCount; ++k) {
    std::vector<std::pair<double, double>> curve;
    SurfaceLoopPolicy policy;
    policy.wavelength = k;
    policy.testAperture = false;
    t.SetWavelength(k);
    for (int z = 1; z <= 10; ++z) {
      const double h = h_max * z / 10.0;
      try {
        t.FieldCosZ = 1;
        t.FieldCosY = t.FieldCosX = 0;
        t.TraceRay(0, h, policy, d.Bfl);
      } catch (const TraceError&) {
        break;
      }
      if (t.RayCosY == 0) continue;
      const double la = -t.RayY * t.RayCosZ / t.RayCosY;
      curve.push_back({z / 10.0, la});
      if (k == 1 && z == 10 && d.Efl != 0) {
        const double sin_u = std::sqrt(t.RayCosY * t.RayCosY + t.RayCosX * t.RayCosX);
        const double term = pupil_to_image != 0 ? la / pupil_to_image : 0.0;
        f.osc = sin_u == 0 ? 0.0 : std::fabs(h / sin_u) / std::fabs(d.Efl) - 1 - term;
      }
    }
    f.aberration.push_back(std::move(curve));
  }
  return f;
}

}  // namespace ovrin::predesign
