#include "analysis/wave/versus.h"

#include <algorithm>
#include <cmath>

#include "analysis/wave/wavefront.h"
#include "core/number_text.h"
#include "glass/glass_catalogue.h"

namespace ovrin {

namespace {
constexpr double kPi = 3.14159265358979;
constexpr int kVersusDiv = 16;  // N = 32

// The measure of one run over the 32 x 32 grid.
double Measure(const DesignState& d, const OpdRun& run, VersusMeasure m, const WaveGrid& g) {
  OpdEngine e(d, run);
  e.ChiefReference();
  std::vector<double> w(static_cast<size_t>(g.rows) * g.cols);
  std::vector<double> ys(g.cols);
  for (int i = 0; i < g.rows; ++i) {
    std::fill(ys.begin(), ys.end(), g.Y(i));
    e.RayOpds(g.colX.data(), ys.data(), g.cols, w.data() + static_cast<size_t>(i) * g.cols);
  }
  const WaveStats st = ComputeWaveStats(w);
  return m == VersusMeasure::Strehl ? st.Strehl : st.RMS;
}
}  // namespace

std::pair<double, double> DefaultWavelengthRange(const DesignState& d) {
  double lo = 1e300, hi = -1e300;
  for (int k = 1; k <= 6; ++k) {
    if (!WavelengthInUse(d, k) || d.Wavelength[k - 1] == 0) continue;
    lo = std::min(lo, static_cast<double>(d.Wavelength[k - 1]));
    hi = std::max(hi, static_cast<double>(d.Wavelength[k - 1]));
  }
  if (lo > hi) return {0, 0};
  return {RoundTo(lo, 4), RoundTo(hi, 4)};
}

SurfTable IndicesAtWavelength(const DesignState& d, int k, double microns) {
  SurfTable n = d.IndexWl[k];
  GlassLookup lookup;
  for (int i = 1; i <= d.SurfCount; ++i) {
    const int code = d.MediumCode[i];
    Catalogue cat;
    if (code == kMediumAirPosit) {
      n[i] = 1;
    } else if (code == kMediumAirNegat) {
      n[i] = -1;
    } else if (CatalogueOfMedium(code, cat)) {
      lookup.GlassName = (*d.GlassNames(code))[i];
      lookup.GlassWl = static_cast<float>(microns);
      try {
        lookup.Lookup(cat);
      } catch (const GlassRangeError&) {
        throw TraceError(i, TraceFault::NonFinite);
      }
      const double v = d.IndexWl[1][i] < 0 ? -lookup.GlassIndex : lookup.GlassIndex;
      n[i] = RoundTo(v, 8);
    }
  }
  n[0] = 1;
  return n;
}

VersusResult ComputeVersus(const DesignState& d, const VersusSettings& s, const Progress& progress) {
  VersusResult r;
  const bool strehl = s.measure == VersusMeasure::Strehl;
  const char* what = strehl ? "STREHL" : "RMS";
  const WaveGrid g = BuildWaveGrid(d.EntrBeamSemiDiam, kVersusDiv);
  const int steps = s.scan == VersusScan::Wavelength ? 41 : 21;
  double lo = 0, hi = 0;
  if (s.scan == VersusScan::Field) {
    r.text.push_back(std::string("FIELD       ") + what);
    r.range = d.ObjDistance == 0 ? std::max(std::fabs(s.angleYDeg), std::fabs(s.angleXDeg)) : std::fabs(d.HalfFieldY);
    if (r.range == 0) r.range = 1e-06;
    r.xMin = 0, r.xMax = r.range;
  } else if (s.scan == VersusScan::Focus) {
    r.text.push_back(std::string("DEFOCUS       ") + what);
    r.range = 2 * s.defocus;
    r.xMin = -s.defocus, r.xMax = s.defocus;
  } else {
    r.text.push_back(std::string(what) + " " + "      WAVELENGTH");
    lo = std::fabs(s.shortWl), hi = std::fabs(s.longWl);
    r.range = hi - lo;
    r.xMin = lo, r.xMax = hi;
  }
  try {
    for (int i = 0; i < steps; ++i) {
      OpdRun run = WaveRunOf(d, s.wavelength, s.actualBfl, 0, false, 0, 0);
      double x = 0;
      if (s.scan == VersusScan::Field) {
        // Every step is a field run from the full field's chief ray height.
        run.field = true;
        x = i * r.range / 20;
        if (d.ObjDistance == 0) {
          run.fieldAngleY = i * s.angleYDeg / 20 * kPi / 180;
          run.fieldAngleX = i * s.angleXDeg / 20 * kPi / 180;
        } else {
          run.objHeight = 0.0001 + i * std::fabs(d.HalfFieldY) / 20;
        }
      } else if (s.scan == VersusScan::Focus) {
        x = -s.defocus + i * 2 * s.defocus / 20;
        run.actualBfl = s.actualBfl + x;
      } else {
        x = lo + i * (hi - lo) / 40;
        run.indexTable = IndicesAtWavelength(d, s.wavelength, x);
        run.wavelengthMicrons = x;
      }
      const double v = Measure(d, run, s.measure, g);
      r.rows.emplace_back(x, v);
      if (s.scan == VersusScan::Wavelength)
        r.text.push_back(FormatFixed(v, 3) + "       " + FormatFixed(x, 6));
      else
        r.text.push_back(FormatFixed(x, 3) + "       " + FormatFixed(v, 3));
      if (progress) progress(std::min((i + 1) * 100 / steps, 100));
    }
  } catch (const TraceError& e) {
    VersusResult failed;
    failed.error = e;
    return failed;
  }
  r.ok = true;
  return r;
}

void DrawVersus(const VersusResult& r, const VersusSettings& s, Canvas& c) {
  c.Clear({255, 255, 255});
  if (!r.ok || r.rows.empty()) return;
  const bool strehl = s.measure == VersusMeasure::Strehl;
  double top = 1;
  if (!strehl) {
    top = 0;
    for (const auto& [x, v] : r.rows) top = std::max(top, v);
    top = top > 0 ? top * 1.1 : 1;
  }
  const double span = r.xMax - r.xMin != 0 ? r.xMax - r.xMin : 1;
  // Margins around the graph for its labels.
  c.Window(r.xMin - 0.12 * span, top * 1.08, r.xMax + 0.05 * span, -top * 0.14);
  const Rgb grey{210, 210, 210}, ink{0, 0, 0};
  for (int q = 0; q <= 4; ++q) {
    const double x = r.xMin + q * span / 4;
    c.Line(x, 0, x, top, grey, 1);
    const double y = q * top / 4;
    c.Line(r.xMin, y, r.xMax, y, grey, 1);
    c.Text(r.xMin - 0.11 * span, y + 0.02 * top, FormatFixed(y, 3), ink);
  }
  const double label_at[3] = {0.25, 0.5, 0.75};
  for (double f : label_at) {
    const double x = r.xMin + f * span;
    c.Text(x - 0.03 * span, -0.01 * top, FormatFixed(x, s.scan == VersusScan::Wavelength ? 4 : 3), ink);
  }
  c.Line(r.xMin, 0, r.xMax, 0, ink, 1);
  c.Line(r.xMin, 0, r.xMin, top, ink, 1);
  const char* h_label = s.scan == VersusScan::Field   ? "<<<<<    Field Range    >>>>>"
                        : s.scan == VersusScan::Focus ? "Focus Shift"
                                                      : "<<<  W.L. Range  >>>";
  c.Text(r.xMin + 0.35 * span, -0.07 * top, h_label, ink);
  c.Text(r.xMin - 0.11 * span, top * 1.07, strehl ? "STREHL" : "RMS", ink);
  if (s.scan == VersusScan::Focus) {
    for (double f : {0.0, 0.25, 0.75, 1.0}) {
      const double x = r.xMin + f * span;
      c.Line(x, 0, x, -0.02 * top, ink, 1);
    }
  }
  if (s.scan == VersusScan::Wavelength) {
    // The diffraction limit: Strehl 0.8, RMS 1/14 wave.
    const double lim = strehl ? 0.8 : 1.0 / 14;
    if (lim < top) {
      c.Line(r.xMin, lim, r.xMax, lim, {200, 0, 0}, 1);
      c.Text(r.xMax - 0.08 * span, lim + 0.05 * top, "Dif.L", {200, 0, 0});
    }
  }
  for (size_t i = 1; i < r.rows.size(); ++i)
    c.Line(r.rows[i - 1].first, r.rows[i - 1].second, r.rows[i].first, r.rows[i].second, {0, 0, 200}, 2);
}

std::string VersusCaptionPrefix(const VersusSettings& s) {
  const std::string what = s.measure == VersusMeasure::Strehl ? "Strehl Ratio vs " : "RMS-WaveFront vs ";
  const char* scan = s.scan == VersusScan::Field ? "Field" : s.scan == VersusScan::Focus ? "Focus Shift" : "Wavelength";
  return what + scan + "  ----   ";
}

std::string VersusReadout(const VersusSettings& s, double x, double value) {
  std::string t = VersusCaptionPrefix(s);
  t += s.measure == VersusMeasure::Strehl ? " Strehl: " : " RMS: ";
  t += FormatFixed(value, 3);
  if (s.scan == VersusScan::Field) t += "  Field: " + FormatFixed(x, 3);
  if (s.scan == VersusScan::Focus) t += "  Defocus: " + FormatFixed(x, 3);
  if (s.scan == VersusScan::Wavelength) t += "  WaveLength: " + FormatFixed(x, 6);
  return t;
}

const char* VersusWindowName(VersusScan scan, VersusMeasure m) {
  const bool st = m == VersusMeasure::Strehl;
  switch (scan) {
    case VersusScan::Field: return st ? "FrmStrehlVSField" : "FrmRMSwavefrontVSField";
    case VersusScan::Focus: return st ? "FrmStrehlVSFocus" : "FrmRMSwavefrontVSFocus";
    default: return st ? "FrmStrehlVSWaveL" : "FrmRMSwavefrontVSWL";
  }
}

const char* VersusCaption(VersusScan scan, VersusMeasure m) {
  const bool st = m == VersusMeasure::Strehl;
  switch (scan) {
    case VersusScan::Field: return st ? "Strehl Ratio vs. Field" : "RMS-WaveFront vs. Field";
    case VersusScan::Focus: return st ? "Strehl Ratio versus Focus Shift" : "RMS-WaveFront vs. Focus Shift";
    default: return st ? "Strehl  Ratio versus WaveLength" : "RMS-WaveFront vs. WaveLength";
  }
}

}  // namespace ovrin
