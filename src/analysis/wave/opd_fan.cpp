#include "analysis/wave/opd_fan.h"

#include <cmath>

#include "core/number_text.h"

namespace ovrin {

namespace {

constexpr double kPi = 3.14159265358979;

// The whole fan of one wavelength: the chief reference with the kept exit
// pupil, then the 42 rays, negated, with the two middle rays held off 0.
void RunFan(const DesignState& d, OpdRun run, int k, double zxp, const OpdFanResult& r, OpdFanRow& row) {
  run.wavelength = k;
  OpdEngine e(d, run);
  e.ChiefReference(zxp);
  for (int i = 1; i <= kFanRays; ++i) row.W[i][k] = -e.RayOpd(r.PupilX[i], r.PupilY[i]);
  row.W[11][k] = 1e-07;
  if (row.W[32][k] == 0) row.W[32][k] = 1e-07;
  double mx = -999999999, mn = 999999999;
  for (int i = 1; i <= kFanRays; ++i) {
    if (row.W[i][k] > mx) mx = row.W[i][k];
    if (row.W[i][k] < mn) mn = row.W[i][k];
  }
  row.S[k] = std::max(std::fabs(mx), std::fabs(mn));
}

void RunRow(const DesignState& d, const OpdRun& run, double zxp, const OpdFanResult& r, OpdFanRow& row) {
  for (int k = 1; k <= 6; ++k) {
    row.used[k] = WavelengthInUse(d, k);
    if (row.used[k]) RunFan(d, run, k, zxp, r, row);
  }
  double best = -1e+16;
  for (int k = 1; k <= 6; ++k)
    if (row.used[k] && row.S[k] > best) best = row.S[k], row.scaleWl = k;
  row.E = row.S[row.scaleWl] - row.W[11][row.scaleWl];
  if (row.E == 0) row.E = 1e-06;
}

std::vector<std::array<std::string, 7>> TextBlock(const OpdFanRow& row, bool tangential) {
  std::vector<std::array<std::string, 7>> block;
  for (int i = 1; i <= 21; ++i) {
    std::array<std::string, 7> line;
    line[0] = std::to_string(100 - (i - 1) * 10);
    for (int k = 1; k <= 6; ++k) {
      const double v = tangential ? row.W[i][k] - row.W[11][k] : row.W[21 + i][k] - row.W[32][k];
      line[k] = FormatFixed(row.used[k] ? v : 0.0, 6);
    }
    block.push_back(line);
  }
  return block;
}

}  // namespace

OpdFanResult ComputeOpdFan(const DesignState& d, const OpdFanSettings& s) {
  OpdFanResult r;
  const double a = d.EntrBeamSemiDiam;
  r.a = a;
  const double step = 2 * static_cast<double>(static_cast<float>(a)) / 20;
  for (int i = 1; i <= 21; ++i) {
    r.PupilX[i] = 0;
    r.PupilY[i] = a - (i - 1) * step;
    r.PupilY[21 + i] = 5e-08;
    r.PupilX[21 + i] = a - (i - 1) * step;
  }
  r.UncenteredFlag = s.angleXDeg != 0 ? 1.0f : 0.0f;

  OpdRun full;
  full.width = IndexWidth::Double;
  full.actualBfl = s.actualBfl;
  full.focalRadius = s.focalRadius;
  full.field = true;
  full.yAngleOnTie = true;
  full.fieldAngleY = s.angleYDeg * kPi / 180;
  full.fieldAngleX = s.angleXDeg * kPi / 180;
  if (d.ObjDistance == 0) {
    double m = std::fabs(full.fieldAngleX) > std::fabs(full.fieldAngleY) ? full.fieldAngleX : full.fieldAngleY;
    if (m == 0) m = 0.01;
    r.EntrPupilY = d.EntrPupilZ * std::tan(m);
  } else {
    const double h = d.HalfFieldY != 0 ? d.HalfFieldY : 0.01;
    full.objHeight = h;
    r.EntrPupilY = d.EntrPupilZ * h / (-(d.ObjDistance - d.EntrPupilZ));
  }
  full.entrPupilY = r.EntrPupilY;

  OpdRun axis = full;
  axis.field = false;
  axis.objHeight = 0.001;
  OpdRun axis_text = axis;
  axis_text.objHeight = 0;

  try {
    OpdRun first = full;
    first.wavelength = 1;
    OpdEngine e(d, first);
    e.ChiefReference();
    r.Zxp = e.Zxp;
    RunRow(d, full, r.Zxp, r, r.full);
    RunRow(d, axis, r.Zxp, r, r.axis);
    if (d.ObjDistance == 0)
      r.axisText = r.axis;
    else
      RunRow(d, axis_text, r.Zxp, r, r.axisText);
  } catch (const TraceError& e) {
    OpdFanResult failed;
    failed.error = e;
    failed.EntrPupilY = r.EntrPupilY;
    failed.UncenteredFlag = r.UncenteredFlag;
    return failed;
  }
  r.text[0] = TextBlock(r.axisText, true);
  r.text[1] = TextBlock(r.axisText, false);
  r.text[2] = TextBlock(r.full, true);
  r.text[3] = TextBlock(r.full, false);
  r.ok = true;
  return r;
}

void DrawOpdFanGraph(const OpdFanResult& r, const DesignState& d, bool full, bool tangential, Canvas& c,
                     double left, double top, double right, double bottom) {
  if (!r.ok) return;
  const OpdFanRow& row = full ? r.full : r.axis;
  const double a = r.a != 0 ? r.a : 1, E = row.E;
  // The graph's own box: -1.2a..1.2a across, +1.2E..-1.2E up.
  auto X = [&](double x) { return left + (x + 1.2 * a) / (2.4 * a) * (right - left); };
  auto Y = [&](double y) { return top + (1.2 * E - y) / (2.4 * E) * (bottom - top); };
  const Rgb ink{0, 0, 0};
  c.Line(X(-1.2 * a), Y(0), X(1.2 * a), Y(0), ink, 1);
  c.Line(X(0), Y(1.2 * E), X(0), Y(-1.2 * E), ink, 1);
  for (double t : {E / 2, E, -E / 2, -E}) c.Line(X(-a / 20), Y(t), X(a / 20), Y(t), ink, 1);
  // The small cross at E x 0.05.
  c.Line(X(-a / 40), Y(E * 0.05), X(a / 40), Y(E * 0.05), ink, 1);
  c.Line(X(0), Y(E * 0.025), X(0), Y(E * 0.075), ink, 1);
  c.Text(X(a / 15), Y(1.2 * E), "+" + FormatFixed(E, 3), ink);
  c.Text(X(a / 15), Y(-E), "-" + FormatFixed(E, 3), ink);
  c.Text(X(-1.18 * a), Y(1.2 * E), full ? "F u  l  l  F i e l d" : "O N  A X I S", {0, 0, 160});
  c.Text(X(-1.18 * a), Y(-1.0 * E), tangential ? "Tangential  OPD" : "Sagittal  OPD", {160, 0, 0});
  c.Text(X(1.05 * a), Y(-0.02 * E), tangential ? "PY" : "PX", ink);
  const int first = tangential ? 2 : 23, last = tangential ? 21 : 42, mid = tangential ? 11 : 32;
  for (int k = 1; k <= 6; ++k) {
    if (!row.used[k]) continue;
    for (int i = first; i <= last; ++i) {
      const double w0 = row.W[i - 1][k], w1 = row.W[i][k];
      if (w0 == 0 || w1 == 0) continue;
      const double x0 = tangential ? r.PupilY[i - 1] : r.PupilX[i - 1];
      const double x1 = tangential ? r.PupilY[i] : r.PupilX[i];
      c.Line(X(x0), Y(w0 - row.W[mid][k]), X(x1), Y(w1 - row.W[mid][k]), d.WlColor[k], 2);
    }
  }
}

void DrawOpdFans(const OpdFanResult& r, const DesignState& d, Canvas& c) {
  c.Window(0, 0, 2, 2);
  c.Clear({255, 255, 255});
  DrawOpdFanGraph(r, d, false, true, c, 0, 0, 1, 1);
  DrawOpdFanGraph(r, d, false, false, c, 1, 0, 2, 1);
  DrawOpdFanGraph(r, d, true, true, c, 0, 1, 1, 2);
  DrawOpdFanGraph(r, d, true, false, c, 1, 1, 2, 2);
}

}  // namespace ovrin
