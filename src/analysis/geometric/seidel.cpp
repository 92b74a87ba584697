#include "analysis/geometric/seidel.h"

#include <algorithm>
#include <cmath>

#include "analysis/geometric/geometric_text.h"
#include "core/number_text.h"
#include "core/optics_math.h"
#include "core/ray_tracer.h"

namespace ovrin {

namespace {

bool AllFinite(const std::vector<double>& v) {
  for (double x : v)
    if (!std::isfinite(x)) return false;
  return true;
}

template <std::size_t N>
bool AllFinite(const std::array<double, N>& v) {
  for (double x : v)
    if (!std::isfinite(x)) return false;
  return true;
}

bool SumsFinite(const SeidelSums& s) {
  for (const SeidelColumns& r : s.rows)
    if (!AllFinite(r)) return false;
  for (const auto& a : s.asph)
    if (a && !AllFinite(*a)) return false;
  return AllFinite(s.sum);
}

template <std::size_t N>
std::vector<std::string> Cells(const std::array<double, N>& v) {
  std::vector<std::string> t;
  for (double x : v) t.push_back(SignedFixed(x, 6));
  return t;
}

// The three tables from the per-surface values: the Seidel coefficients, and
// the same divided for the transversal and longitudinal aberrations.
enum class SumKind { Seidel, Transversal, Longitudinal };

SeidelSums Scaled(const std::vector<SeidelColumns>& rows, const std::vector<std::optional<AsphColumns>>& asph,
                  const SeidelColumns& totals, SumKind kind, double n_last, double u_last) {
  SeidelSums s;
  double divisor = 1;
  if (kind == SumKind::Transversal) divisor = 2 * n_last * u_last;
  if (kind == SumKind::Longitudinal) divisor = 2 * n_last * u_last * u_last;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SeidelColumns r = rows[i];
    for (double& v : r) v /= divisor;
    s.rows.push_back(r);
    s.text.push_back(Cells(r));
    if (asph[i]) {
      AsphColumns a = *asph[i];
      for (double& v : a) v /= divisor;
      s.asph.emplace_back(a);
      s.text.push_back(Cells(a));
    } else {
      s.asph.emplace_back(std::nullopt);
    }
  }
  for (int c = 0; c < 5; ++c) {
    const double total = kind == SumKind::Transversal ? -totals[c] : totals[c];
    s.sum[c] = total / divisor;
  }
  // The longitudinal sum shows the tangential coma in the COMA column.
  if (kind == SumKind::Longitudinal) s.sum[1] = -3 * totals[1] / divisor;
  s.text.push_back(Cells(s.sum));
  return s;
}

}  // namespace

std::string PrintedLine::Text() const {
  std::string line;
  for (const PrintedCell& c : cells) {
    if (static_cast<int>(line.size()) < c.column) line.resize(static_cast<std::size_t>(c.column), ' ');
    line += c.text;
  }
  return line;
}

SeidelResult ComputeSeidel(const DesignState& d, const SeidelSettings& s) {
  SeidelResult r;
  const int m = d.SurfCount;
  r.infinite = d.ObjDistance == 0;
  r.uncentered = d.UncenteredFlag == 1;
  // The angle: the greater in magnitude of the two boxes, Y on a tie.
  const double a = ParseLeadingNumber(s.angleY), b = ParseLeadingNumber(s.angleX);
  const double f = std::fabs(b) > std::fabs(a) ? b : a;
  if (r.infinite && f == 0) {
    r.error = kEnterHalfField;
    r.closeWindow = true;
    return r;
  }
  if (!r.infinite && ParseLeadingNumber(s.objectHeight) == 0) {
    r.error = kEnterObjectHeight;
    r.closeWindow = true;
    return r;
  }

  const SurfTable n = PrivateIndexTable(d, 1, IndexWidth::Double);
  r.MargY.assign(m + 2, 0.0);
  r.MargU.assign(m + 2, 0.0);
  r.ChiefY.assign(m + 2, 0.0);
  r.ChiefU.assign(m + 2, 0.0);
  r.MargA.assign(m + 1, 0.0);
  r.ChiefA.assign(m + 1, 0.0);
  r.SeidelB.assign(m + 1, 0.0);
  r.SeidelBbar.assign(m + 1, 0.0);
  r.AsphW.assign(m + 1, 0.0);

  r.MargY[1] = d.EntrBeamSemiDiam;
  r.MargU[1] = r.infinite ? 0.0 : r.MargY[1] / d.ObjDistance;
  // One paraxial ray through the surfaces: incidence, slope, height and the
  // common factor of its sums.
  auto trace = [&](std::vector<double>& y, std::vector<double>& u, std::vector<double>& inc,
                   std::vector<double>& factor) {
    for (int i = 1; i <= m; ++i) {
      const double n0 = n[i - 1], n1 = n[i], radius = d.Radius[i];
      inc[i] = y[i] / radius + u[i];
      u[i + 1] = u[i] * n0 / n1 - (n1 - n0) * y[i] / (radius * n1);
      y[i + 1] = y[i] + u[i + 1] * d.Thickness[i];
      factor[i] = (n0 / n1 - 1) * n0 * y[i] * (u[i + 1] + inc[i]);
    }
  };
  trace(r.MargY, r.MargU, r.MargA, r.SeidelB);
  for (int i = 1; i <= m; ++i) {
    const double radius = d.Radius[i];
    switch (static_cast<int>(d.SurfType[i])) {
      case kConic: r.AsphW[i] = (d.Conic[i] + 1) / (8 * radius * radius * radius) - std::pow(1 / (2 * radius), 3); break;
      // The conic of a HIGH-ORDER surface takes no part in the third order.
      case kHighOrder: r.AsphW[i] = d.AsphA4[i] - std::pow(d.AsphA2[i], 3); break;
      default: r.AsphW[i] = 0; break;
    }
  }
  if (r.infinite) {
    r.ChiefY[1] = d.EntrPupilZ == 0 ? 0.0 : d.EntrPupilY;
    r.ChiefU[1] = std::tan(f * kPi / 180);
  } else if (d.EntrPupilZ == 0) {
    r.ChiefY[1] = 0;
    r.ChiefU[1] = -d.HalfFieldY / d.ObjDistance;
  } else {
    r.ChiefY[1] = d.EntrPupilY;
    r.ChiefU[1] = (d.EntrPupilY - d.HalfFieldY) / d.ObjDistance;
  }
  trace(r.ChiefY, r.ChiefU, r.ChiefA, r.SeidelBbar);
  r.LagrangeH = r.MargU[1] * r.ChiefY[1] - r.MargY[1] * r.ChiefU[1];
  if (r.MargU[m + 1] == 0) r.MargU[m + 1] = 1e-8;

  const double h = r.LagrangeH;
  std::vector<SeidelColumns> rows;
  std::vector<std::optional<AsphColumns>> asph;
  SeidelColumns totals{};
  for (int i = 1; i <= m; ++i) {
    const double n0 = n[i - 1], n1 = n[i], radius = d.Radius[i];
    const double B = r.SeidelB[i], Bb = r.SeidelBbar[i], A = r.MargA[i], Ab = r.ChiefA[i];
    SeidelColumns row = {B * A * A, B * A * Ab, B * Ab * Ab,
                         Bb * A * Ab + h * (r.ChiefU[i] * r.ChiefU[i] - r.ChiefU[i + 1] * r.ChiefU[i + 1]),
                         h * h * (n0 - n1) / (radius * n0 * n1)};
    for (int c = 0; c < 5; ++c) totals[c] += row[c];
    rows.push_back(row);
    const int type = static_cast<int>(d.SurfType[i]);
    if (type == kConic || type == kHighOrder) {
      const double y = r.MargY[i], yb = r.ChiefY[i];
      const double w = -8 * r.AsphW[i] * (n1 - n0);
      AsphColumns a4 = {w * y * y * y * y, w * y * y * y * yb, w * y * y * yb * yb, w * y * yb * yb * yb};
      for (int c = 0; c < 4; ++c) totals[c] += a4[c];
      asph.emplace_back(a4);
    } else {
      asph.emplace_back(std::nullopt);
    }
  }
  const double n_last = n[m], u_last = r.MargU[m + 1];
  r.seidel = Scaled(rows, asph, totals, SumKind::Seidel, n_last, u_last);
  r.transversal = Scaled(rows, asph, totals, SumKind::Transversal, n_last, u_last);
  r.longitudinal = Scaled(rows, asph, totals, SumKind::Longitudinal, n_last, u_last);

  const bool tables_finite = AllFinite(r.MargY) && AllFinite(r.MargU) && AllFinite(r.ChiefY) &&
                             AllFinite(r.ChiefU) && AllFinite(r.MargA) && AllFinite(r.ChiefA) &&
                             std::isfinite(h) && SumsFinite(r.seidel) && SumsFinite(r.transversal) &&
                             SumsFinite(r.longitudinal);

  // The paraxial setup.
  auto line = [&](const char* key, const char* label, double value, std::string text) {
    r.setup.push_back({key, label, value, std::move(text)});
  };
  auto fixed = [&](const char* key, const char* label, double value, int decimals) {
    line(key, label, value, SignedFixed(value, decimals));
  };
  if (r.infinite) {
    line("", "OBJECT DISTANCE       ", 0, "INFINITY");
    line("", "HALF- FIELD ANGLE     ", a, AsItStands(a));
  } else {
    line("", "OBJECT DISTANCE       ", d.ObjDistance, AsItStands(d.ObjDistance));
    line("", "OBJECT HEIGHT         ", d.HalfFieldY, AsItStands(d.HalfFieldY));
  }
  const double image_distance = -r.MargY[m] / u_last;
  fixed("EffectiveFocalLength", "EFFECTIVE FOCAL LENGTH", r.infinite ? -r.MargY[1] / u_last : d.Efl, 3);
  fixed("LateralMagnification", "LATERAL MAGNIFICATION",
        r.infinite ? 0.0 : r.MargU[1] * n[0] / (u_last * n_last), 6);
  fixed("GaussianImageDistance", "GAUSSIAN IMAGE DISTANCE", r.infinite ? image_distance : d.Bfl, 3);
  fixed("GaussianImageHeight", "GAUSSIAN IMAGE HEIGHT ", image_distance * r.ChiefU[m + 1] + r.ChiefY[m], 4);
  fixed("FNumber", "F-NUMBER             ", (-r.MargY[1] / u_last) / (2 * r.MargY[1]), 4);
  fixed("LagrangeInvariant", "LAGRANGE INVARIANT    ", h, 6);
  fixed("FirstSurfToEntrancePupil", "FIRST SURF. to ENTRANCE PUPIL", -d.EntrPupilZ, 4);
  fixed("LastSurfToExitPupil", "LAST  SURF. to EXIT     PUPIL", -r.ChiefY[m] / r.ChiefU[m + 1], 4);
  line("EntrancePupilDiameter", "ENTRANCE PUPIL DIAMETER", 2 * d.EntrBeamSemiDiam, AsItStands(2 * d.EntrBeamSemiDiam));
  fixed("ExitPupilDiameter", "EXIT PUPIL DIAMETER    ", (r.ChiefU[1] / r.ChiefU[m + 1]) * 2 * d.EntrBeamSemiDiam, 3);
  const double petzval_sum = totals[4];
  fixed("PetzvalRadius", "PETZVAL CURVATURE RADIUS", petzval_sum == 0 ? 0.0 : h * h / (n_last * petzval_sum), 3);

  bool setup_finite = true;
  for (const SetupLine& l : r.setup) setup_finite = setup_finite && std::isfinite(l.value);
  if (!tables_finite || !setup_finite) r.error = kSeidelError;
  return r;
}

namespace {

constexpr int kCol[6] = {0, 16, 32, 48, 64, 80};

void AddSums(std::vector<PrintedLine>& out, const SeidelSums& s, const char* title, SeidelTable table) {
  out.push_back({{{0, title}}});
  out.push_back({});
  out.push_back({{{kCol[0], "SURFACE"}, {kCol[1], "SPHERICAL"}, {kCol[2], "  COMA"}, {kCol[3], "ASTIG."},
                  {kCol[4], "DIST."}, {kCol[5], "PETZVAL"}}});
  out.push_back({});
  std::size_t t = 0;
  for (std::size_t i = 0; i < s.rows.size(); ++i) {
    PrintedLine row{{{kCol[0], "  " + std::to_string(i + 1)}}};
    for (int c = 0; c < 5; ++c) row.cells.push_back({kCol[c + 1], s.text[t][c]});
    ++t;
    out.push_back(row);
    if (s.asph[i]) {
      PrintedLine a{{{kCol[0], "[Asph.Contr.]"}}};
      for (int c = 0; c < 4; ++c) a.cells.push_back({kCol[c + 1], s.text[t][c]});
      ++t;
      out.push_back(a);
    }
  }
  out.push_back({});
  PrintedLine sum{{{kCol[0], "[ SUM ] "}}};
  for (int c = 0; c < 5; ++c) sum.cells.push_back({kCol[c + 1], s.text[t][c]});
  out.push_back(sum);
  if (table == SeidelTable::Longitudinal) out.push_back({{{kCol[2], "[TANG.Coma]"}}});
  if (table == SeidelTable::Transversal) out.push_back({{{kCol[0], "[SAG.Coma]"}}});
}

}  // namespace

std::vector<PrintedLine> SeidelTableLines(const SeidelResult& r, SeidelTable table) {
  std::vector<PrintedLine> out;
  if (!r.error.empty()) return out;
  const int m = static_cast<int>(r.MargY.size()) - 2;
  switch (table) {
    case SeidelTable::Setup:
      out.push_back({{{0, "PARAXIAL SETUP"}}});
      out.push_back({});
      for (const SetupLine& l : r.setup) out.push_back({{{0, l.label}, {70, l.text}}});
      break;
    case SeidelTable::RayTrace: {
      out.push_back({{{0, "*********** PARAXIAL RAY-TRACE ************"}}});
      out.push_back({});
      out.push_back({{{25, "MARGINAL RAY"}, {70, " CHIEF-RAY "}}});
      out.push_back({{{10, " SURF."}, {25, "HEIGHT"}, {45, " ANGLE"}, {70, "HEIGHT"}, {90, "ANGLE"}}});
      for (int i = 1; i <= m; ++i)
        out.push_back({{{10, "  " + std::to_string(i)},
                        {25, SignedFixed(r.MargY[i], 6)},
                        {45, SignedFixed(r.MargU[i], 6)},
                        {70, SignedFixed(r.ChiefY[i], 6)},
                        {90, SignedFixed(r.ChiefU[i], 6)}}});
      // Both rays carried on to the paraxial image.
      const double dist = -r.MargY[m] / r.MargU[m + 1];
      out.push_back({{{10, "IMAGE"},
                      {25, SignedFixed(r.MargY[m] + dist * r.MargU[m + 1], 6)},
                      {45, SignedFixed(r.MargU[m + 1], 6)},
                      {70, SignedFixed(r.ChiefY[m] + dist * r.ChiefU[m + 1], 6)},
                      {90, SignedFixed(r.ChiefU[m + 1], 6)}}});
      break;
    }
    case SeidelTable::Seidel: AddSums(out, r.seidel, "SEIDEL COEFFICIENTS", table); break;
    case SeidelTable::Transversal: AddSums(out, r.transversal, "TRANSVERSAL ABERRATIONS", table); break;
    case SeidelTable::Longitudinal: AddSums(out, r.longitudinal, "LONGITUDINAL ABERRATIONS", table); break;
  }
  if (r.uncentered) {
    out.push_back({});
    PrintedLine warn{{{0, "Uncentered system: calculation based on paraxial raytrace may be invalid"}}, true};
    out.push_back(warn);
  }
  return out;
}

std::string SeidelTableText(const SeidelResult& r, SeidelTable table) {
  std::string text;
  for (const PrintedLine& l : SeidelTableLines(r, table)) text += l.Text() + "\n";
  return text;
}

int SeidelTableHeight(const SeidelResult& r, SeidelTable table) {
  return std::max(30, static_cast<int>(SeidelTableLines(r, table).size()) + 2);
}

void DrawSeidelTable(const SeidelResult& r, SeidelTable table, Canvas& canvas) {
  const auto lines = SeidelTableLines(r, table);
  const int height = SeidelTableHeight(r, table);
  canvas.Window(-2, -1, 110, height);
  canvas.Clear({255, 255, 255});
  int y = 0;
  for (const PrintedLine& l : lines) {
    const Rgb ink = l.red ? Rgb{255, 0, 0} : Rgb{0, 0, 0};
    for (const PrintedCell& c : l.cells) canvas.Text(c.column, y, c.text, ink);
    ++y;
  }
}

}  // namespace ovrin
