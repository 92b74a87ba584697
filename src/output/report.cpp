#include "output/report.h"

#include <cmath>
#include <cstdio>

#include "analysis/geometric/geometric_text.h"
#include "analysis/geometric/seidel.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

bool IsPlane(double radius) { return radius == 0 || std::fabs(radius) >= 1e10; }

std::string Radius(double r) { return IsPlane(r) ? std::string("plane") : FormatFixed(r, 4); }

// A sum is shown with six decimals, or with an exponent where six decimals
// would hide it.
std::string Sum(double v) {
  if (v == 0 || std::fabs(v) >= 1e-3 || !std::isfinite(v)) return SignedFixed(v, 6);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%+.4e", v);
  return buf;
}

}  // namespace

ReportResult ComputeReport(const DesignState& d, const DesignSheet& sheet) {
  ReportResult r;
  r.title = d.DesignFileTitle;
  r.notes = sheet.Txtcaratteristiche.empty() ? d.DesignNote : sheet.Txtcaratteristiche;
  std::vector<int> in_use;
  for (int k = 1; k <= kMaxWavelengths; ++k)
    if (d.Wavelength[k - 1] > 0 && (k == 1 || d.IndexWl[k][1] != 0)) in_use.push_back(k);
  for (int k : in_use)
    r.wavelengths.push_back({k, ParseLeadingNumber(ShortestText(d.Wavelength[k - 1])),
                             ParseLeadingNumber(ShortestText(d.WlWeight[k]))});
  for (int i = 1; i <= d.SurfCount; ++i) {
    ReportSurface s;
    s.surface = i;
    s.radius = d.Radius[i];
    s.thickness = d.Thickness[i];
    s.semiDiam = d.SemiDiam[i];
    s.medium = MediumEntryText(d.MediumCode[i]);
    if (const NameTable* names = d.GlassNames(d.MediumCode[i])) s.glass = (*names)[i];
    const int type = static_cast<int>(d.SurfType[i]);
    s.type = SurfTypeText(type);
    s.aspheric = type == kConic || type == kHighOrder;
    if (s.aspheric) s.conic = d.Conic[i], s.a4 = d.AsphA4[i], s.a6 = d.AsphA6[i], s.a8 = d.AsphA8[i];
    for (int k : in_use) s.index.push_back(d.IndexWl[k][i]);
    r.surfaces.push_back(s);
  }
  for (int i = 1; i <= d.SurfCount + 1; ++i) {
    if (d.TiltAInput[i] == 0 && d.TiltBInput[i] == 0 && d.DecY[i] == 0 && d.DecX[i] == 0) continue;
    r.tilts.push_back({i, d.TiltAInput[i], d.TiltBInput[i], ParseLeadingNumber(ShortestText(d.DecY[i])),
                       ParseLeadingNumber(ShortestText(d.DecX[i]))});
  }
  r.infinite = d.ObjDistance == 0;
  r.objDistance = d.ObjDistance;
  r.beamSemiDiam = d.EntrBeamSemiDiam;
  r.halfFieldY = ParseLeadingNumber(sheet.Txtangolo);
  r.halfFieldX = ParseLeadingNumber(sheet.TxtangoloX);
  r.objHeight = ParseLeadingNumber(sheet.Text3);
  r.efl = d.Efl;
  r.bfl = d.Bfl;
  r.fNumber = d.FRatio;
  r.imageHeight = d.ImageHeight;
  r.entrPupilZ = d.EntrPupilZ;
  r.entrPupilDiam = 2 * d.EntrBeamSemiDiam;

  // Petzval: 1 / radius = -n' Σ (n' - n) / (n n' R), over the surfaces in the first wavelength.
  const SurfTable& n = d.IndexWl[1];
  double petzval = 0;
  for (int i = 1; i <= d.SurfCount; ++i) {
    const double n0 = i == 1 || n[i - 1] == 0 ? 1.0 : n[i - 1], n1 = n[i];
    if (IsPlane(d.Radius[i]) || n1 == 0 || static_cast<int>(d.SurfType[i]) == kObsScreen) continue;
    petzval += (n1 - n0) / (n0 * n1 * d.Radius[i]);
  }
  if (d.SurfCount > 0 && petzval != 0) r.petzvalRadius = -1.0 / (n[d.SurfCount] * petzval);

  // The Seidel sums and the exit pupil need a field; a design without one is
  // given a degree (the spherical sum and the pupils do not depend on it).
  SeidelSettings ss;
  ss.angleY = r.halfFieldY == 0 && r.halfFieldX == 0 ? "1" : sheet.Txtangolo;
  ss.angleX = sheet.TxtangoloX;
  ss.objectHeight = r.objHeight == 0 ? "1" : sheet.Text3;
  const SeidelResult sr = ComputeSeidel(d, ss);
  if (sr.error.empty()) {
    r.seidel = sr.seidel.sum;
    r.transversal = sr.transversal.sum;
    r.longitudinal = sr.longitudinal.sum;
    const int m = d.SurfCount;
    if (m >= 1 && static_cast<int>(sr.ChiefU.size()) > m + 1 && sr.ChiefU[m + 1] != 0) {
      const double z = -sr.ChiefY[m] / sr.ChiefU[m + 1];
      r.exitPupilZ = z;
      r.exitPupilDiam = 2 * std::fabs(sr.MargY[m] + z * sr.MargU[m + 1]);
    }
  } else {
    r.seidelNote = sr.error;
  }
  return r;
}

TextPage ReportPage(const ReportResult& r) {
  TextPage p;
  p.Heading("Data Report" + (r.title.empty() ? std::string() : "  -  " + r.title));
  // Long notes are wrapped, so that they do not widen the page.
  std::string line = "Notes:";
  std::size_t at = 0;
  while (at < r.notes.size()) {
    const std::size_t end = r.notes.find(' ', at);
    const std::string word = r.notes.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (line.size() + 1 + word.size() > 90 && line.size() > 7) {
      p.Add({{0, line}});
      line = "      ";
    }
    if (!word.empty()) line += " " + word;
    at = end == std::string::npos ? r.notes.size() : end + 1;
  }
  if (!r.notes.empty()) p.Add({{0, line}});
  p.Blank();

  p.Heading("Surfaces");
  std::vector<PageCell> head = {{0, "Surf"}, {6, "Radius"}, {20, "Thickness"}, {33, "Medium"},
                                {46, "Glass"}, {58, "Half-Diam."}, {70, "Type"}};
  int col = 82;
  for (const ReportWavelength& w : r.wavelengths) {
    head.push_back({col, "n " + FormatFixed(w.microns, 4)});
    col += 13;
  }
  p.Add(head);
  for (const ReportSurface& s : r.surfaces) {
    std::vector<PageCell> row = {{0, std::to_string(s.surface)},
                                 {6, Radius(s.radius)},
                                 {20, FormatFixed(s.thickness, 4)},
                                 {33, s.medium},
                                 {46, s.glass},
                                 {58, FormatFixed(s.semiDiam, 3)},
                                 {70, s.type}};
    col = 82;
    for (double n : s.index) {
      row.push_back({col, FormatFixed(n, 6)});
      col += 13;
    }
    p.Add(row);
  }
  bool any_asph = false;
  for (const ReportSurface& s : r.surfaces) any_asph = any_asph || s.aspheric;
  if (any_asph) {
    p.Blank();
    p.Heading("Conic and high-order terms");
    p.Add({{0, "Surf"}, {6, "Conic"}, {22, "A4"}, {46, "A6"}, {70, "A8"}});
    for (const ReportSurface& s : r.surfaces)
      if (s.aspheric)
        p.Add({{0, std::to_string(s.surface)}, {6, FormatFixed(s.conic, 8)}, {22, ShortestText(s.a4)},
               {46, ShortestText(s.a6)}, {70, ShortestText(s.a8)}});
  }
  if (!r.tilts.empty()) {
    p.Blank();
    p.Heading("Tilts and decenters");
    p.Add({{0, "Surf"}, {6, "Tilt X (deg)"}, {20, "Tilt Y (deg)"}, {34, "Dec. Y"}, {46, "Dec. X"}});
    for (const ReportTilt& t : r.tilts)
      p.Add({{0, std::to_string(t.surface)}, {6, ShortestText(t.tiltA)}, {20, ShortestText(t.tiltB)},
             {34, ShortestText(t.decY)}, {46, ShortestText(t.decX)}});
  }
  p.Blank();
  p.Heading("Wavelengths");
  for (const ReportWavelength& w : r.wavelengths)
    p.Add({{0, std::to_string(w.number)}, {6, FormatFixed(w.microns, 4) + " micron"}, {24, "weight " + ShortestText(w.weight)}});
  p.Blank();
  p.Heading("Object and field");
  if (r.infinite) {
    p.Add({{0, "Object at infinity"}, {34, "Half-field angle Y " + ShortestText(r.halfFieldY) + " deg, X " +
                                              ShortestText(r.halfFieldX) + " deg"}});
  } else {
    p.Add({{0, "Object distance " + FormatFixed(r.objDistance, 4)}, {34, "Object height " + ShortestText(r.objHeight)}});
  }
  p.Add({{0, "Entrance beam half-diameter " + FormatFixed(r.beamSemiDiam, 4)}});
  p.Blank();
  p.Heading("First-order data");
  auto pair = [&](const std::string& a, const std::string& av, const std::string& b, const std::string& bv) {
    p.Add({{0, a}, {24, av}, {44, b}, {70, bv}});
  };
  auto opt = [](const std::optional<double>& v, int dec) { return v ? FormatFixed(*v, dec) : std::string("-"); };
  pair("Efl", FormatFixed(r.efl, 4), "Bfl", FormatFixed(r.bfl, 4));
  pair("f-number", FormatFixed(r.fNumber, 4), "Image height", FormatFixed(r.imageHeight, 4));
  pair("Entrance pupil Z", FormatFixed(r.entrPupilZ, 4), "Entrance pupil diam.", FormatFixed(r.entrPupilDiam, 4));
  pair("Exit pupil Z", opt(r.exitPupilZ, 4), "Exit pupil diam.", opt(r.exitPupilDiam, 4));
  pair("Petzval radius", r.petzvalRadius ? FormatFixed(*r.petzvalRadius, 4) : std::string("flat"), "", "");
  p.Blank();
  p.Heading("Seidel sums");
  if (!r.seidel) {
    p.Add({{0, r.seidelNote.empty() ? std::string("not available") : r.seidelNote}});
  } else {
    p.Add({{0, ""}, {16, "SPHERICAL"}, {31, "COMA"}, {46, "ASTIG."}, {61, "DIST."}, {76, "PETZVAL"}});
    auto sums = [&](const std::string& name, const std::array<double, 5>& v) {
      std::vector<PageCell> row = {{0, name}};
      for (int c = 0; c < 5; ++c) row.push_back({16 + 15 * c, Sum(v[c])});
      p.Add(row);
    };
    sums("Seidel", *r.seidel);
    sums("Transversal", *r.transversal);
    sums("Longitudinal", *r.longitudinal);
  }
  return p;
}

}  // namespace ovrin
