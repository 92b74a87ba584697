#pragma once
// The one drawing surface of the plots: a coordinate window, points, lines,
// circles, filled polygons, pixels, text, and for the curve and map plots
// polylines, batches of points and whole images. The screen, the printer and
// the picture files each implement it.
#include <cstddef>
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

  // Joined line segments through the points (a curve of a plot).
  virtual void Polyline(const std::vector<PlotPoint>& points, Rgb color, int width) {
    for (std::size_t k = 0; k + 1 < points.size(); ++k)
      Line(points[k].x, points[k].y, points[k + 1].x, points[k + 1].y, color, width);
  }
  // Many points of one colour in one call.
  virtual void Points(const std::vector<PlotPoint>& points, Rgb color) {
    for (const PlotPoint& p : points) Point(p.x, p.y, color);
  }
  // A pixel buffer (row by row from the top, `columns` per row) stretched over
  // the rectangle from (left, top) to (right, bottom) in user coordinates.
  virtual void Image(double left, double top, double right, double bottom, int columns, int rows,
                     const std::vector<Rgb>& pixels) {
    if (columns <= 0 || rows <= 0 || pixels.size() < static_cast<std::size_t>(columns) * rows) return;
    const double dx = (right - left) / columns, dy = (bottom - top) / rows;
    for (int r = 0; r < rows; ++r)
      for (int c = 0; c < columns; ++c)
        Pixel(left + (c + 0.5) * dx, top + (r + 0.5) * dy, pixels[static_cast<std::size_t>(r) * columns + c]);
  }
};

// A canvas that remembers what was drawn, to be replayed on another one (a
// window repaint, a print, a picture file).
class RecordingCanvas final : public Canvas {
 public:
  enum class Op { Window, Clear, Point, Line, Circle, Polygon, Pixel, Text, Polyline, Points, Image };
  struct Item {
    Op op = Op::Window;
    double a = 0, b = 0, c = 0, d = 0;
    Rgb color;
    int width = 1;  // pen width; the columns of an image
    std::string text;
    std::vector<PlotPoint> points;
    std::vector<Rgb> pixels;
    int rows = 0;  // of an image
  };

  void Window(double left, double top, double right, double bottom) override {
    Item& i = Add(Op::Window, {});
    i.a = left, i.b = top, i.c = right, i.d = bottom;
  }
  void Clear(Rgb background) override { Add(Op::Clear, background); }
  void Point(double x, double y, Rgb color) override {
    Item& i = Add(Op::Point, color);
    i.a = x, i.b = y;
  }
  void Line(double x1, double y1, double x2, double y2, Rgb color, int width) override {
    Item& i = Add(Op::Line, color);
    i.a = x1, i.b = y1, i.c = x2, i.d = y2, i.width = width;
  }
  void Circle(double x, double y, double r, Rgb color) override {
    Item& i = Add(Op::Circle, color);
    i.a = x, i.b = y, i.c = r;
  }
  void Polygon(const std::vector<PlotPoint>& points, Rgb fill) override { Add(Op::Polygon, fill).points = points; }
  void Pixel(double x, double y, Rgb color) override {
    Item& i = Add(Op::Pixel, color);
    i.a = x, i.b = y;
  }
  void Text(double x, double y, const std::string& text, Rgb color) override {
    Item& i = Add(Op::Text, color);
    i.a = x, i.b = y, i.text = text;
  }
  void Polyline(const std::vector<PlotPoint>& points, Rgb color, int width) override {
    Item& i = Add(Op::Polyline, color);
    i.points = points, i.width = width;
  }
  void Points(const std::vector<PlotPoint>& points, Rgb color) override { Add(Op::Points, color).points = points; }
  void Image(double left, double top, double right, double bottom, int columns, int rows,
             const std::vector<Rgb>& pixels) override {
    Item& i = Add(Op::Image, {});
    i.a = left, i.b = top, i.c = right, i.d = bottom, i.width = columns, i.rows = rows, i.pixels = pixels;
  }

  // Draws everything again on `target`; a given background replaces the recorded one.
  void Replay(Canvas& target, const Rgb* background = nullptr) const;
  const std::vector<Item>& items() const { return items_; }
  void Reset() { items_.clear(); }
  bool empty() const { return items_.empty(); }

 private:
  Item& Add(Op op, Rgb color) {
    Item& i = items_.emplace_back();
    i.op = op;
    i.color = color;
    return i;
  }
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
      case Op::Polyline: t.Polyline(i.points, i.color, i.width); break;
      case Op::Points: t.Points(i.points, i.color); break;
      case Op::Image: t.Image(i.a, i.b, i.c, i.d, i.width, i.rows, i.pixels); break;
    }
  }
}

// The back colour list of the analysis windows: 0 "White", 1 "Black",
// 2 "Grey" (anything else is white), and the ink that reads on each.
inline Rgb PlotBackground(int index) {
  switch (index) {
    case 1: return {0, 0, 0};
    case 2: return {230, 230, 230};
    default: return {255, 255, 255};
  }
}
inline Rgb PlotInk(int background_index) {
  return background_index == 1 ? Rgb{255, 255, 255} : Rgb{0, 0, 0};
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
