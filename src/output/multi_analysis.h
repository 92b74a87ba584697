#pragma once
// The multi-analysis sheet: the layout, the spot on axis and at full field,
// the ray fans, the transfer curves and the wave front numbers of a design on
// one page, to print and lay beside the sheet of another design.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/geometric/ray_fan.h"
#include "analysis/geometric/spot_diagram.h"
#include "analysis/wave/diffraction.h"
#include "analysis/wave/wavefront.h"
#include "output/canvas.h"
#include "output/layout.h"

namespace ovrin {

struct MultiSettings {
  std::array<bool, 6> checked{true, false, false, false, false, false};  // spot wavelengths
  int wavelength = 1;            // of the wave front and the transfer curves
  double actualBfl = 0;
  double focalRadius = 0;
  std::string angleY = "0", angleX = "0";  // the design window's half-field boxes
  std::string rays = "558";
  std::string title;             // the design's name on the sheet
};

// One part of the sheet: whether it was computed, and why not.
struct MultiPart {
  bool ok = false;
  std::string error;
};

struct MultiResult {
  Layout layout;
  LayoutSettings layoutSettings;
  MultiPart layoutPart;
  std::array<SpotResult, 2> spot;      // on axis, full field
  std::array<SpotSettings, 2> spotSettings;
  std::array<MultiPart, 2> spotPart;
  RayFanResult fans;
  MultiPart fanPart;
  MtfResult mtf;
  MultiPart mtfPart;
  std::array<WavefrontResult, 2> wave;  // on axis, full field
  std::array<MultiPart, 2> wavePart;
  std::vector<std::string> text;        // the numbers of the sheet, line by line
};

MultiResult ComputeMultiAnalysis(const DesignState& d, const MultiSettings& s);

// The sheet's coordinates: a portrait page of 1000 x 1414 units.
constexpr double kMultiSheetWidth = 1000, kMultiSheetHeight = 1414;
// The settings' numbers reach the sheet through the result's text.
void DrawMultiAnalysis(const MultiResult& r, const MultiSettings& s, Canvas& c);

// Draws a picture made for a whole canvas into a rectangle of another: each
// coordinate window the picture sets is mapped onto the rectangle.
class SubCanvas final : public Canvas {
 public:
  SubCanvas(Canvas& target, double left, double top, double right, double bottom)
      : t_(target), x0_(left), y0_(top), w_(right - left), h_(bottom - top) {}
  void Window(double left, double top, double right, double bottom) override;
  void Clear(Rgb background) override;
  void Point(double x, double y, Rgb color) override { t_.Point(X(x), Y(y), color); }
  void Line(double x1, double y1, double x2, double y2, Rgb color, int width) override {
    t_.Line(X(x1), Y(y1), X(x2), Y(y2), color, width);
  }
  void Circle(double x, double y, double r, Rgb color) override;
  void Polygon(const std::vector<PlotPoint>& points, Rgb fill) override { t_.Polygon(Map(points), fill); }
  void Pixel(double x, double y, Rgb color) override { t_.Pixel(X(x), Y(y), color); }
  void Text(double x, double y, const std::string& text, Rgb color) override { t_.Text(X(x), Y(y), text, color); }
  void Polyline(const std::vector<PlotPoint>& points, Rgb color, int width) override {
    t_.Polyline(Map(points), color, width);
  }
  void Points(const std::vector<PlotPoint>& points, Rgb color) override { t_.Points(Map(points), color); }
  void Image(double left, double top, double right, double bottom, int columns, int rows,
             const std::vector<Rgb>& pixels) override;

 private:
  double X(double x) const { return x0_ + (x - left_) / (right_ - left_) * w_; }
  double Y(double y) const { return y0_ + (y - top_) / (bottom_ - top_) * h_; }
  std::vector<PlotPoint> Map(const std::vector<PlotPoint>& points) const;
  Canvas& t_;
  double x0_, y0_, w_, h_;
  double left_ = 0, top_ = 0, right_ = 1, bottom_ = 1;
};

}  // namespace ovrin
