#pragma once
// The one drawing surface of the plots: a coordinate window, points, lines,
// circles, filled polygons, pixels and text. The screen, the printer and the
// image files each implement it.
#include <string>
#include <vector>

#include "core/design_state.h"

namespace ovrin {

struct PlotPoint {
  double x = 0, y = 0;
};

class Canvas {
 public:
  virtual ~Canvas() = default;
  // User coordinates: (left, top) is the upper left corner, (right, bottom) the lower right.
  virtual void Window(double left, double top, double right, double bottom) = 0;
  virtual void Clear(Rgb background) = 0;
  virtual void Point(double x, double y, Rgb color) = 0;
  virtual void Line(double x1, double y1, double x2, double y2, Rgb color, int width) = 0;
  // A circle of radius r in user units of the horizontal axis.
  virtual void Circle(double x, double y, double r, Rgb color) = 0;
  virtual void Polygon(const std::vector<PlotPoint>& points, Rgb fill) = 0;
  virtual void Pixel(double x, double y, Rgb color) = 0;
  // Text with its upper left corner at (x, y).
  virtual void Text(double x, double y, const std::string& text, Rgb color) = 0;
};

// A canvas that remembers what was drawn, to be replayed on another one (a
// window repaint, a print, a picture file).
class RecordingCanvas final : public Canvas {
 public:
  enum class Op { Window, Clear, Point, Line, Circle, Polygon, Pixel, Text };
  struct Item {
    Op op;
    double a = 0, b = 0, c = 0, d = 0;
    Rgb color;
    int width = 1;
    std::string text;
    std::vector<PlotPoint> points;
  };

  void Window(double left, double top, double right, double bottom) override {
    items_.push_back({Op::Window, left, top, right, bottom, {}, 1, {}, {}});
  }
  void Clear(Rgb background) override { items_.push_back({Op::Clear, 0, 0, 0, 0, background, 1, {}, {}}); }
  void Point(double x, double y, Rgb color) override { items_.push_back({Op::Point, x, y, 0, 0, color, 1, {}, {}}); }
  void Line(double x1, double y1, double x2, double y2, Rgb color, int width) override {
    items_.push_back({Op::Line, x1, y1, x2, y2, color, width, {}, {}});
  }
  void Circle(double x, double y, double r, Rgb color) override {
    items_.push_back({Op::Circle, x, y, r, 0, color, 1, {}, {}});
  }
  void Polygon(const std::vector<PlotPoint>& points, Rgb fill) override {
    items_.push_back({Op::Polygon, 0, 0, 0, 0, fill, 1, {}, points});
  }
  void Pixel(double x, double y, Rgb color) override { items_.push_back({Op::Pixel, x, y, 0, 0, color, 1, {}, {}}); }
  void Text(double x, double y, const std::string& text, Rgb color) override {
    items_.push_back({Op::Text, x, y, 0, 0, color, 1, text, {}});
  }

  // Draws everything again on `target`; a given background replaces the recorded one.
  void Replay(Canvas& target, const Rgb* background = nullptr) const;
  const std::vector<Item>& items() const { return items_; }
  void Reset() { items_.clear(); }
  bool empty() const { return items_.empty(); }

 private:
  std::vector<Item> items_;
};

inline void RecordingCanvas::Replay(Canvas& t, const Rgb* background) const {
  for (const Item& i : items_) {
    switch (i.op) {
      case Op::Window: t.Window(i.a, i.b, i.c, i.d); break;
      case Op::Clear: t.Clear(background ? *background : i.color); break;
      case Op::Point: t.Point(i.a, i.b, i.color); break;
      case Op::Line: t.Line(i.a, i.b, i.c, i.d, i.color, i.width); break;
      case Op::Circle: t.Circle(i.a, i.b, i.c, i.color); break;
      case Op::Polygon: t.Polygon(i.points, i.color); break;
      case Op::Pixel: t.Pixel(i.a, i.b, i.color); break;
      case Op::Text: t.Text(i.a, i.b, i.text, i.color); break;
    }
  }
}

// A picture fitted to the printable page with its aspect ratio kept.
struct PageFit {
  double width, height;
};
inline PageFit FitToPage(double picture_w, double picture_h, double page_w, double page_h) {
  const double a = picture_w / picture_h;
  if (a < page_w / page_h) return {page_h * a, page_h};
  return {page_w, page_w / a};
}

}  // namespace ovrin
