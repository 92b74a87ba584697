#include "output/multi_analysis.h"

#include <algorithm>
#include <cmath>

#include "analysis/wave/diffraction_draw.h"
#include "core/number_text.h"

namespace ovrin {

// ---------------------------------------------------------------------------
// the canvas of a part of the sheet

void SubCanvas::Window(double left, double top, double right, double bottom) {
  if (right == left || bottom == top) return;
  left_ = left, top_ = top, right_ = right, bottom_ = bottom;
}

void SubCanvas::Clear(Rgb background) {
  t_.Polygon({{x0_, y0_}, {x0_ + w_, y0_}, {x0_ + w_, y0_ + h_}, {x0_, y0_ + h_}}, background);
}

void SubCanvas::Circle(double x, double y, double r, Rgb color) {
  t_.Circle(X(x), Y(y), std::fabs(r * w_ / (right_ - left_)), color);
}

void SubCanvas::Image(double left, double top, double right, double bottom, int columns, int rows,
                      const std::vector<Rgb>& pixels) {
  t_.Image(X(left), Y(top), X(right), Y(bottom), columns, rows, pixels);
}

std::vector<PlotPoint> SubCanvas::Map(const std::vector<PlotPoint>& points) const {
  std::vector<PlotPoint> out;
  out.reserve(points.size());
  for (const PlotPoint& p : points) out.push_back({X(p.x), Y(p.y)});
  return out;
}

// ---------------------------------------------------------------------------
// the sheet

namespace {

std::string Failure(const std::exception& e) {
  const std::string what = e.what();
  return what.empty() ? std::string("failed") : what;
}

// A round zoom of the spot pictures that keeps the larger spot inside the box
// (about 100 of its units from the centre) and the Airy circle in its corner.
std::string SpotZoom(const std::array<SpotResult, 2>& spots) {
  double extent = 0;
  for (const SpotResult& r : spots) {
    extent = std::max(extent, 2 * r.AiryRadius);
    for (const SpotResult::Plotted& p : r.plotted)
      if (!p.stopped) extent = std::max({extent, std::fabs(p.dx), std::fabs(p.dy)});
  }
  if (!(extent > 0) || !std::isfinite(extent)) return "1";
  const double zoom = 0.2 / extent;  // 100 units of 1 / (500 zoom) mm
  double round = std::pow(10.0, std::floor(std::log10(zoom)));
  if (round * 5 <= zoom) round *= 5;
  else if (round * 2 <= zoom) round *= 2;
  return FormatFixed(round, round >= 1 ? 0 : 6);
}

}  // namespace

MultiResult ComputeMultiAnalysis(const DesignState& d, const MultiSettings& s) {
  MultiResult r;
  const double angle_y = ParseLeadingNumber(s.angleY), angle_x = ParseLeadingNumber(s.angleX);
  // The layout: the axial fan and the full field's.
  try {
    r.layoutSettings.rays = 5;
    r.layoutSettings.field_fraction = 1;
    r.layoutSettings.field_deg = d.ObjDistance == 0 ? angle_y : 0.0;
    r.layout = ComputeLayout(d, r.layoutSettings);
    r.layoutPart.ok = true;
  } catch (const std::exception& e) {
    r.layoutPart.error = Failure(e);
  }
  for (int f = 0; f < 2; ++f) {
    SpotSettings& sp = r.spotSettings[f];
    sp.rays = s.rays;
    sp.field = f;
    sp.checked = s.checked;
    sp.focalRadius = FormatFixed(s.focalRadius, 6);
    sp.actualBfl = FormatFixed(s.actualBfl, 6);
    sp.angleY = s.angleY, sp.angleX = s.angleX;
    try {
      r.spot[f] = ComputeSpot(d, sp);
      r.spotPart[f].ok = r.spot[f].error.empty();
      r.spotPart[f].error = r.spot[f].error;
    } catch (const std::exception& e) {
      r.spotPart[f].error = Failure(e);
    }
  }
  const std::string zoom = SpotZoom(r.spot);
  for (SpotSettings& sp : r.spotSettings) sp.zoom = zoom;
  try {
    RayFanSettings fs;
    fs.imageDistance = s.actualBfl;
    fs.focalRadius = s.focalRadius;
    fs.angleY = s.angleY, fs.angleX = s.angleX;
    r.fans = ComputeRayFan(d, fs);
    r.fanPart.ok = r.fans.error.empty();
    r.fanPart.error = r.fans.error;
  } catch (const std::exception& e) {
    r.fanPart.error = Failure(e);
  }
  try {
    MtfSettings ms;
    ms.wavelength = s.wavelength;
    ms.sampling = 64;
    ms.actualBfl = s.actualBfl;
    ms.focalRadius = s.focalRadius;
    ms.angleYDeg = angle_y, ms.angleXDeg = angle_x;
    r.mtf = ComputeMtf(d, ms);
    r.mtfPart.ok = r.mtf.ok;
    if (!r.mtf.ok) r.mtfPart.error = "TraceError";
  } catch (const std::exception& e) {
    r.mtfPart.error = Failure(e);
  }
  for (int f = 0; f < 2; ++f) {
    try {
      WavefrontSettings ws;
      ws.wavelength = s.wavelength;
      ws.gridDiv = 32;
      ws.actualBfl = s.actualBfl;
      ws.focalRadius = s.focalRadius;
      ws.fullField = f == 1;
      ws.angleYDeg = angle_y, ws.angleXDeg = angle_x;
      r.wave[f] = ComputeWavefront(d, ws);
      r.wavePart[f].ok = r.wave[f].ok;
      if (!r.wave[f].ok) r.wavePart[f].error = "TraceError";
    } catch (const std::exception& e) {
      r.wavePart[f].error = Failure(e);
    }
  }
  // The numbers of the sheet.
  const char* field_name[2] = {"on axis", "full field"};
  r.text.push_back((s.title.empty() ? std::string("(design not saved)") : s.title));
  r.text.push_back("EFL " + FormatFixed(d.Efl, 3) + " mm   f/" + FormatFixed(std::fabs(d.FRatio), 2) + "   BFL " +
                   FormatFixed(d.Bfl, 3) + " mm   Actual BFL " + FormatFixed(s.actualBfl, 4) + " mm   Field " +
                   FormatFixed(angle_y, 4) + " deg");
  for (int f = 0; f < 2; ++f) {
    if (r.spotPart[f].ok && r.spot[f].drawn) {
      r.text.push_back(std::string("Spot ") + field_name[f] + ": RMS radius " +
                       FormatFixed(r.spot[f].RmsRadius * 1000, 2) + " micron, diameter " +
                       FormatFixed(r.spot[f].SpotDiameter * 1000, 2) + " micron, Airy radius " +
                       FormatFixed(r.spot[f].AiryRadius * 1000, 2) + " micron");
    } else {
      r.text.push_back(std::string("Spot ") + field_name[f] + ": " +
                       (r.spotPart[f].error.empty() ? std::string("no rays") : r.spotPart[f].error));
    }
  }
  for (int f = 0; f < 2; ++f) {
    if (r.wavePart[f].ok) {
      const WaveStats& w = r.wave[f].stats;
      r.text.push_back(std::string("Wave front ") + field_name[f] + ": P-V " + FormatFixed(w.PV, 3) + " waves, RMS " +
                       FormatFixed(w.RMS, 3) + " waves, Strehl " + FormatFixed(w.Strehl, 3));
    } else {
      r.text.push_back(std::string("Wave front ") + field_name[f] + ": " + r.wavePart[f].error);
    }
  }
  std::string spot_waves;
  for (int k = 1; k <= 6; ++k)
    if (s.checked[k - 1] && d.Wavelength[k - 1] > 0) spot_waves += " " + FormatFixed(d.Wavelength[k - 1], 4);
  r.text.push_back("Spot wavelengths (micron):" + spot_waves);
  if (s.wavelength >= 1 && s.wavelength <= 6 && d.Wavelength[s.wavelength - 1] > 0)
    r.text.push_back("Wave front and MTF at " + FormatFixed(d.Wavelength[s.wavelength - 1], 4) + " micron; MTF cut-off " +
                     FormatFixed(r.mtf.cutoff, 1) + " cycles/mm");
  // The transfer plots' own title is cut at this width: their colours are told here.
  r.text.push_back("MTF: black ideal, red tangential, blue sagittal");
  return r;
}

void DrawMultiAnalysis(const MultiResult& r, const MultiSettings&, Canvas& c) {
  const Rgb white{255, 255, 255}, ink{0, 0, 0}, frame{128, 128, 128};
  c.Window(0, 0, kMultiSheetWidth, kMultiSheetHeight);
  c.Clear(white);
  struct Box {
    double l, t, r, b;
    std::string title;
  };
  auto framed = [&](const Box& b) {
    c.Polyline({{b.l, b.t}, {b.r, b.t}, {b.r, b.b}, {b.l, b.b}, {b.l, b.t}}, frame, 1);
    c.Text(b.l + 6, b.t + 4, b.title, {0, 0, 160});
  };
  auto failed = [&](const Box& b, const MultiPart& p) {
    if (p.ok) return false;
    c.Text(b.l + 20, (b.t + b.b) / 2, "not computed: " + (p.error.empty() ? std::string("no result") : p.error), ink);
    return true;
  };
  // Title band.
  c.Text(10, 8, "MULTI-ANALYSIS   " + (r.text.empty() ? std::string() : r.text[0]), ink);
  if (r.text.size() > 1) c.Text(10, 30, r.text[1], ink);
  // Layout.
  const Box lay{0, 55, 1000, 305, "Layout"};
  if (!failed(lay, r.layoutPart)) {
    SubCanvas sub(c, lay.l + 2, lay.t + 2, lay.r - 2, lay.b - 2);
    DrawLayout(r.layout, r.layoutSettings, r.layout.frame, sub);
  }
  framed(lay);
  // Spots.
  const Box spots[2] = {{0, 305, 500, 655, "Spot on axis"}, {500, 305, 1000, 655, "Spot at full field"}};
  for (int f = 0; f < 2; ++f) {
    if (!failed(spots[f], r.spotPart[f])) {
      SubCanvas sub(c, spots[f].l + 1, spots[f].t + 1, spots[f].r - 1, spots[f].b - 1);
      DrawSpot(r.spot[f], r.spotSettings[f], sub);
    }
    framed(spots[f]);
  }
  // Ray fans: on axis, and both fans of the full field.
  const Box fans[3] = {{0, 655, 333, 855, "Fan, axis"},
                       {333, 655, 667, 855, "Fan, field, tang."},
                       {667, 655, 1000, 855, "Fan, field, sag."}};
  const int fan_field[3] = {0, 2, 2};
  const bool fan_tang[3] = {true, true, false};
  for (int k = 0; k < 3; ++k) {
    if (!r.fans.fields[fan_field[k]].done) {
      failed(fans[k], r.fanPart.ok ? MultiPart{false, "no fan"} : r.fanPart);
    } else {
      // Below a strip for the title, which the fan's own scale labels would cover.
      SubCanvas sub(c, fans[k].l + 1, fans[k].t + 24, fans[k].r - 1, fans[k].b - 1);
      DrawRayFan(r.fans, fan_field[k], fan_tang[k], sub);
    }
    framed(fans[k]);
  }
  // Transfer curves on axis and at full field.
  const Box mtf[2] = {{0, 855, 500, 1165, ""}, {500, 855, 1000, 1165, ""}};
  const int mtf_field[2] = {0, 2};
  for (int k = 0; k < 2; ++k) {
    if (!failed(mtf[k], r.mtfPart)) {
      SubCanvas sub(c, mtf[k].l + 1, mtf[k].t + 1, mtf[k].r - 1, mtf[k].b - 1);
      DrawMtfField(r.mtf, mtf_field[k], sub);
    }
    framed(mtf[k]);
  }
  // The numbers.
  const Box numbers{0, 1165, 1000, 1414, "Numbers"};
  framed(numbers);
  double y = numbers.t + 30;
  for (size_t k = 2; k < r.text.size(); ++k, y += 26) c.Text(20, y, r.text[k], ink);
}

}  // namespace ovrin
