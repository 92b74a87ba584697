#include "core/wavelength_store.h"

#include <Eigen/Dense>
#include <cmath>

#include "core/number_text.h"

namespace ovrin {

const std::array<WavelengthListEntry, 24> kWavelengthList = {{
    {"1.0139 ", "1.0139 micr. (t  line)"},
    {"0.8521 ", "0.8521 micr. (s  line)"},
    {"0.7682 ", "0.7682 micr. (A' line)"},
    {"0.7065 ", "0.7065 micr. (r  line)"},
    {"0.6562 ", "0.6562 micr. (C  line)"},
    {"0.6438 ", "0.6438 micr. (C' line)"},
    {"0.6328 ", "0.6328 micr. (He-Ne line)"},
    {"0.6100 ", ""},
    {"0.5892 ", "0.5892 micr. (D  line)"},
    {"0.5875 ", "0.5875 micr. (d  line)"},
    {"0.5460 ", "0.5460 micr. (e  line)"},
    {"0.5200 ", ""},
    {"0.5100 ", ""},
    {"0.5000 ", ""},
    {"0.4861 ", "0.4861 micr. (F  line)"},
    {"0.4799 ", "0.4799 micr. (F' line)"},
    {"0.4700 ", ""},
    {"0.4600 ", ""},
    {"0.4500 ", ""},
    {"0.4415 ", "0.4415 micr. (He-Cd line)"},
    {"0.4358 ", "0.4358 micr. (g  line)"},
    {"0.4200 ", ""},
    {"0.4046 ", "0.4046 micr. (h  line)"},
    {"0.3650 ", "0.3650 micr. (i  line)"},
}};

void WavelengthForm::Open(DesignState& d) {
  d.WlColorsSet = "SI";
  count = d.WlCount < 1 ? 1 : d.WlCount;
  for (int k = 0; k < 6; ++k) {
    rows[k].ComboWL = d.Wavelength[k] == 0 ? "" : ShortestText(d.Wavelength[k]);
    const float w = d.WlWeight[k];
    rows[k].Text1 = ShortestText(w == 0 ? 1.0f : w);
    rows[k].color = d.WlColor[k + 1];
  }
}

void WavelengthForm::ApplyPreset(WavelengthPreset p) {
  struct Preset {
    int rows;
    int pos[5];
    const char* weight[5];
  };
  static const Preset vis{3, {10, 14, 4}, {"1", "1", "1"}};
  static const Preset scot{5, {12, 10, 8, 17, 21}, {"1", ".5", "0.12", ".52", "0.1"}};
  static const Preset phot{5, {10, 12, 4, 7, 16}, {"1", ".5", "0.1", ".5", "0.1"}};
  const Preset* pr = p == WavelengthPreset::Visible    ? &vis
                     : p == WavelengthPreset::Scotopic ? &scot
                     : p == WavelengthPreset::Photopic ? &phot
                                                       : nullptr;
  if (!pr) return;
  count = pr->rows;
  for (int k = 0; k < pr->rows; ++k) {
    rows[k].ComboWL = kWavelengthList[pr->pos[k]].value;
    rows[k].Text1 = pr->weight[k];
  }
  preset_label = p;
}

double SpectrumColumn(double wavelength, int width) {
  double x = ((wavelength - 0.38) / 0.34) * width;
  // Beyond either end of the strip the sample is taken near its red end:
  // a far ultraviolet and a far infrared wavelength get the same colour.
  if (x > width) x = width - 10;
  if (x < 1) x = width - 10;
  return x;
}

Rgb SpectrumColorAt(double x, int width) {
  // A smooth approximation of the colours of the visible spectrum.
  const double wl = 380.0 + 340.0 * x / (width > 0 ? width : 1);
  double r = 0, g = 0, b = 0;
  if (wl < 440) {
    r = -(wl - 440) / 60;
    b = 1;
  } else if (wl < 490) {
    g = (wl - 440) / 50;
    b = 1;
  } else if (wl < 510) {
    g = 1;
    b = -(wl - 510) / 20;
  } else if (wl < 580) {
    r = (wl - 510) / 70;
    g = 1;
  } else if (wl < 645) {
    r = 1;
    g = -(wl - 645) / 65;
  } else {
    r = 1;
  }
  double fade = 1;
  if (wl < 420) fade = 0.3 + 0.7 * (wl - 380) / 40;
  if (wl > 700) fade = 0.3 + 0.7 * (720 - wl) / 20;
  auto level = [&](double c) {
    const double v = c <= 0 ? 0 : 255 * std::pow(c * fade, 0.8);
    return static_cast<int>(std::lround(std::fmin(255.0, std::fmax(0.0, v))));
  };
  return {level(r), level(g), level(b)};
}

void WavelengthForm::AutoPenColors(int width) {
  for (int k = 0; k < count; ++k) {
    const double wl = ParseLeadingNumber(rows[k].ComboWL);
    rows[k].color = SpectrumColorAt(SpectrumColumn(wl, width), width);
  }
}

DispersionFit FitDirectIndices(const double* lambda, const double* n, int count) {
  DispersionFit f;
  if (count < 3) return f;
  Eigen::MatrixXd m(count, 3);
  Eigen::VectorXd v(count);
  for (int i = 0; i < count; ++i) {
    const double l2 = lambda[i] * lambda[i];
    m(i, 0) = 1;
    m(i, 1) = 1 / l2;
    m(i, 2) = 1 / (l2 * l2);
    v(i) = n[i];
  }
  Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr(m);
  if (qr.rank() < 3) return f;
  const Eigen::Vector3d c = qr.solve(v);
  f.A = c(0);
  f.B = c(1);
  f.C = c(2);
  f.ok = std::isfinite(f.A) && std::isfinite(f.B) && std::isfinite(f.C);
  return f;
}

WavelengthStoreResult StoreWavelengths(const WavelengthForm& form, DesignState& d,
                                       DesignSheet& sheet, MediaResolver& media) {
  WavelengthStoreResult res;
  const int count = form.count < 1 ? 1 : (form.count > 6 ? 6 : form.count);
  // 1. Check: nothing changes when a row in use has no wavelength.
  std::array<double, 6> wl{}, weight{};
  for (int k = 0; k < count; ++k) {
    wl[k] = ParseLeadingNumber(form.rows[k].ComboWL);
    weight[k] = ParseLeadingNumber(form.rows[k].Text1);
    if (wl[k] == 0 || !std::isfinite(wl[k]) || !std::isfinite(weight[k])) {
      res.ok = false;
      res.message = kInvalidWavelength;
      return res;
    }
  }
  // The old wavelengths, for the DIRECT media's typed indices.
  const std::array<float, 6> old_wl = d.Wavelength;
  const int old_count = d.WlCount;

  // 2. Store.
  d.WlCount = static_cast<int16_t>(count);
  for (int k = 1; k <= count; ++k) {
    d.WlColor[k] = form.rows[k - 1].color;
    d.Wavelength[k - 1] = static_cast<float>(wl[k - 1]);
    d.WlWeight[k - 1] = static_cast<float>(weight[k - 1] == 0 ? 1 : weight[k - 1]);
  }
  for (int k = count; k < 6; ++k) d.Wavelength[k] = 0;

  // 3. Every surface's indices for the new wavelengths, by its medium.
  for (int r = 1; r <= d.SurfCount && r < sheet.Rows(); ++r) {
    const std::string& medium = sheet.Cell(r, 5);
    const int code = MediumCodeOfEntry(medium);
    if (code == kMediumAirPosit || code == kMediumAirNegat) {
      const double v = code == kMediumAirPosit ? 1.0 : -1.0;
      d.IndexWl[1][r] = v;
      for (int k = 2; k <= 6; ++k) d.IndexWl[k][r] = 0;
      for (int k = 1; k <= count; ++k) d.IndexWl[k][r] = v;
    } else if (code == kMediumDirect) {
      if (count < 3) {
        res.warning = kDirectNeedsThree;
        break;  // the rows after this one keep their old indices
      }
      // Fit the typed indices at the old wavelengths, evaluate at the new ones.
      double lam[6], idx[6];
      int m = 0;
      for (int k = 1; k <= old_count && k <= 6; ++k) {
        if (old_wl[k - 1] == 0 || d.IndexWl[k][r] == 0) continue;
        lam[m] = old_wl[k - 1];
        idx[m] = std::fabs(d.IndexWl[k][r]);
        ++m;
      }
      const DispersionFit fit = FitDirectIndices(lam, idx, m);
      if (!fit.ok) {
        res.warning = kDirectNeedsThree;
        break;
      }
      const bool negative = d.IndexWl[1][r] < 0;
      for (int k = 1; k <= 6; ++k) {
        const double n = k <= count ? RoundTo(fit.At(wl[k - 1]), 8) : 0.0;
        d.IndexWl[k][r] = negative ? -n : n;
      }
    } else if (code >= 0) {
      media.RecomputeSurfaceIndices(d, r, code);
    }
  }
  // 4. The window closes and the design is updated.
  res.update = cmdupdate(d, sheet, media);
  return res;
}

}  // namespace ovrin
