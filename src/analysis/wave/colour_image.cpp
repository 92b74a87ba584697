#include "analysis/wave/colour_image.h"

#include <algorithm>
#include <cmath>

#include "analysis/wave/diffraction_energy.h"
#include "analysis/wave/opd_engine.h"
#include "core/number_text.h"

namespace ovrin {

namespace {

// Bilinear intensity of a centred F x F array at (row, col) in samples; 0 outside.
double Sample(const PsfResult& p, double row, double col) {
  // Outside the array (tested before the conversion, which a wide picture would overflow).
  if (!(row >= 0 && col >= 0 && row < p.F - 1 && col < p.F - 1)) return 0;
  const int i = static_cast<int>(row), j = static_cast<int>(col);
  const double fr = row - i, fc = col - j;
  return (1 - fr) * ((1 - fc) * p.At(i, j) + fc * p.At(i, j + 1)) +
         fr * ((1 - fc) * p.At(i + 1, j) + fc * p.At(i + 1, j + 1));
}

}  // namespace

Rgb SpectrumColour(double um) {
  double r = 0, g = 0, b = 0;
  if (um >= 0.38 && um < 0.44) {
    r = (0.44 - um) / 0.06, b = 1;
  } else if (um >= 0.44 && um < 0.49) {
    g = (um - 0.44) / 0.05, b = 1;
  } else if (um >= 0.49 && um < 0.51) {
    g = 1, b = (0.51 - um) / 0.02;
  } else if (um >= 0.51 && um < 0.58) {
    r = (um - 0.51) / 0.07, g = 1;
  } else if (um >= 0.58 && um < 0.645) {
    r = 1, g = (0.645 - um) / 0.065;
  } else if (um >= 0.645 && um <= 0.78) {
    r = 1;
  }
  // The eye's sensitivity falls towards both ends of the band.
  double f = 0;
  if (um >= 0.38 && um < 0.42) {
    f = 0.3 + 0.7 * (um - 0.38) / 0.04;
  } else if (um >= 0.42 && um <= 0.70) {
    f = 1;
  } else if (um > 0.70 && um <= 0.78) {
    f = 0.3 + 0.7 * (0.78 - um) / 0.08;
  }
  auto level = [f](double c) { return static_cast<int>(std::lround(255 * c * f)); };
  return {level(r), level(g), level(b)};
}

ColourImageResult ComputeColourImage(const DesignState& d, const ColourImageSettings& s, const Progress& progress) {
  ColourImageResult out;
  std::vector<int> waves;
  for (int k = 1; k <= 6; ++k)
    if (s.checked[k - 1] && d.Wavelength[k - 1] > 0 && WavelengthInUse(d, k)) waves.push_back(k);
  const double focal_ratio = std::fabs(d.FRatio);
  if (waves.empty() || !(focal_ratio > 0) || !std::isfinite(focal_ratio)) {
    out.error = TraceError(0, TraceFault::NonFinite);
    return out;
  }
  double longest = 0;
  for (int k : waves) longest = std::max(longest, d.Wavelength[k - 1] / 1000.0);
  out.pixels = std::clamp(s.pixels, 16, 512);
  out.widthMm = s.widthMm > 0 ? s.widthMm : 12 * FirstDarkRing(longest, focal_ratio);
  const int n = out.pixels;
  const double step = out.widthMm / n;
  std::vector<double> R(static_cast<size_t>(n) * n), G(R.size()), B(R.size());
  for (size_t w = 0; w < waves.size(); ++w) {
    const int k = waves[w];
    PsfSettings p;
    p.wavelength = k;
    p.grid = std::clamp(s.grid, 32, 128);
    p.actualBfl = s.actualBfl;
    p.focalRadius = s.focalRadius;
    p.fullField = s.fullField;
    p.angleYDeg = s.angleYDeg;
    p.angleXDeg = s.angleXDeg;
    Progress part;
    if (progress) {
      part = [&progress, w, count = waves.size()](int percent) {
        progress(static_cast<int>((100 * w + percent) / count));
      };
    }
    PsfResult psf;
    try {
      psf = PsfOfEveryRay(d, p, part);
    } catch (const TraceError& e) {
      out.error = e;
      return out;
    }
    ColourImageResult::Layer layer;
    layer.wavelength = k;
    layer.microns = d.Wavelength[k - 1];
    layer.weight = d.WlWeight[k] > 0 ? d.WlWeight[k] : 1;
    layer.colour = SpectrumColour(layer.microns);
    layer.Strehl = psf.Strehl;
    out.layers.push_back(layer);
    // Each wavelength's light in proportion to its weight: its array scaled
    // to unit energy per unit area of the picture.
    const double spacing = PsfSampleSpacing(layer.microns / 1000.0, focal_ratio, psf.N, psf.F);
    double total = 0;
    for (double v : psf.P) total += v;
    if (!(total > 0) || !(spacing > 0)) continue;
    const double scale = layer.weight / total * (step * step) / (spacing * spacing);
    const double mid = psf.F / 2.0;
    for (int row = 0; row < n; ++row)
      for (int col = 0; col < n; ++col) {
        const double y = (row + 0.5 - n / 2.0) * step, x = (col + 0.5 - n / 2.0) * step;
        const double v = scale * Sample(psf, mid + y / spacing, mid + x / spacing);
        const size_t at = static_cast<size_t>(row) * n + col;
        R[at] += v * layer.colour.r / 255.0;
        G[at] += v * layer.colour.g / 255.0;
        B[at] += v * layer.colour.b / 255.0;
      }
  }
  double peak = 0;
  for (size_t i = 0; i < R.size(); ++i) peak = std::max({peak, R[i], G[i], B[i]});
  out.image.assign(R.size(), Rgb{0, 0, 0});
  if (peak > 0) {
    const double gamma = s.gamma > 0 ? s.gamma : 1;
    auto level = [&](double v) {
      return static_cast<int>(std::lround(255 * std::pow(std::clamp(v / peak, 0.0, 1.0), gamma)));
    };
    for (size_t i = 0; i < R.size(); ++i) out.image[i] = {level(R[i]), level(G[i]), level(B[i])};
  }
  out.text.push_back("Picture " + FormatFixed(out.widthMm * 1000, 1) + " micron across, " + std::to_string(n) + " x " +
                     std::to_string(n) + " pixels");
  out.text.push_back("WAVELENGTH\tWEIGHT\tSTREHL\tCOLOUR");
  for (const auto& l : out.layers)
    out.text.push_back(FormatFixed(l.microns, 4) + "\t" + FormatFixed(l.weight, 2) + "\t" + FormatFixed(l.Strehl, 3) + "\t" +
                       std::to_string(l.colour.r) + "," + std::to_string(l.colour.g) + "," +
                       std::to_string(l.colour.b));
  out.ok = true;
  return out;
}

void DrawColourImage(const ColourImageResult& r, Canvas& c) {
  c.Clear({0, 0, 0});
  c.Window(0, 0, 1, 1.1);
  if (!r.ok || r.pixels == 0) return;
  c.Image(0, 0, 1, 1, r.pixels, r.pixels, r.image);
  // A bar of a round length near a quarter of the width.
  const double width_um = r.widthMm * 1000;
  double bar = std::pow(10.0, std::floor(std::log10(width_um / 4)));
  if (bar * 5 <= width_um / 4) bar *= 5;
  else if (bar * 2 <= width_um / 4) bar *= 2;
  const double len = bar / width_um;
  const Rgb white{255, 255, 255};
  c.Line(0.05, 1.04, 0.05 + len, 1.04, white, 2);
  c.Text(0.07 + len, 1.02, FormatFixed(bar, bar < 1 ? 1 : 0) + " micron", white);
}

}  // namespace ovrin
