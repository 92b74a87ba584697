#include "output/plot_axes.h"

#include <algorithm>
#include <cmath>

#include "core/number_text.h"

namespace ovrin {

namespace {

// The parts of the window around the box: room for the numbers and titles.
constexpr double kLeft = 0.14, kRight = 0.04, kTop = 0.07, kBottom = 0.14;
// The size of a character of the plot text, as a part of the window (12-pixel
// text on a plot 760 by 536 pixels).
constexpr double kCharWidth = 7.0 / 760, kCharHeight = 14.0 / 536;

double NiceStep(double range, int count) {
  const double raw = range / std::max(1, count);
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0})
    if (m * power >= raw * (1 - 1e-9)) return m * power;
  return 10 * power;
}

void Widen(double& lo, double& hi) {
  if (!std::isfinite(lo) || !std::isfinite(hi)) lo = 0, hi = 1;
  if (lo > hi) std::swap(lo, hi);
  if (hi - lo <= 1e-12 * std::max(std::fabs(lo), std::fabs(hi))) {
    const double half = lo == 0 ? 1.0 : 0.1 * std::fabs(lo);
    lo -= half, hi += half;
  }
}

}  // namespace

std::vector<double> NiceTicks(double min, double max, int count) {
  Widen(min, max);
  const double step = NiceStep(max - min, count);
  std::vector<double> ticks;
  for (double k = std::ceil(min / step - 1e-9); k * step <= max + 1e-9 * step; k += 1) {
    double v = k * step;
    if (std::fabs(v) < 0.01 * step) v = 0;
    ticks.push_back(v);
  }
  return ticks;
}

std::string TickText(double value, double step) {
  const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(std::fabs(step)) + 1e-9)));
  return FormatFixed(value, decimals);
}

PlotBox DrawAxes(Canvas& c, const PlotAxis& x, const PlotAxis& y, const AxesStyle& style) {
  double x0 = x.min, x1 = x.max, y0 = y.min, y1 = y.max;
  Widen(x0, x1);
  Widen(y0, y1);
  const double W = (x1 - x0) / (1 - kLeft - kRight), H = (y1 - y0) / (1 - kTop - kBottom);
  // A reversed axis starts at its largest value; horizontal offsets follow its direction.
  const double xl = x.reversed ? x1 : x0, xr = x.reversed ? x0 : x1;
  const double Wx = x.reversed ? -W : W;
  c.Window(xl - kLeft * Wx, y1 + kTop * H, xr + kRight * Wx, y0 - kBottom * H);

  const std::vector<double> xt = NiceTicks(x0, x1, x.ticks), yt = NiceTicks(y0, y1, y.ticks);
  const double xstep = xt.size() > 1 ? xt[1] - xt[0] : x1 - x0;
  const double ystep = yt.size() > 1 ? yt[1] - yt[0] : y1 - y0;
  if (style.grid_lines) {
    for (double v : xt) c.Line(v, y0, v, y1, style.grid, 1);
    for (double v : yt) c.Line(x0, v, x1, v, style.grid, 1);
  }
  c.Polyline({{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}}, style.ink, 1);

  const double tick_x = 0.012 * H, tick_y = 0.008 * Wx;
  for (double v : xt) {
    c.Line(v, y0, v, y0 + tick_x, style.ink, 1);
    const std::string t = TickText(v, xstep);
    c.Text(v - 0.5 * t.size() * kCharWidth * Wx, y0 - 0.01 * H, t, style.ink);
  }
  for (double v : yt) {
    c.Line(xl, v, xl + tick_y, v, style.ink, 1);
    const std::string t = TickText(v, ystep);
    c.Text(xl - (t.size() + 1) * kCharWidth * Wx, v + 0.5 * kCharHeight * H, t, style.ink);
  }
  if (!x.title.empty())
    c.Text((x0 + x1) / 2 - 0.5 * x.title.size() * kCharWidth * Wx, y0 - 0.01 * H - 1.3 * kCharHeight * H, x.title,
           style.ink);
  if (!y.title.empty()) c.Text(xl - kLeft * Wx + kCharWidth * Wx, y1 + kTop * H - 0.01 * H, y.title, style.ink);
  return {xl, y1, xr, y0};
}

}  // namespace ovrin
