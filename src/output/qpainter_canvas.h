#pragma once
// The canvas drawn by a QPainter: the screen, the printer and the picture files.
#include <QPainter>
#include <QRectF>

#include "output/canvas.h"

namespace ovrin {

class QPainterCanvas final : public Canvas {
 public:
  // Draws into `target` (device coordinates of the painter).
  QPainterCanvas(QPainter& painter, const QRectF& target);

  void Window(double left, double top, double right, double bottom) override;
  void Clear(Rgb background) override;
  void Point(double x, double y, Rgb color) override;
  void Line(double x1, double y1, double x2, double y2, Rgb color, int width) override;
  void Circle(double x, double y, double r, Rgb color) override;
  void Polygon(const std::vector<PlotPoint>& points, Rgb fill) override;
  void Pixel(double x, double y, Rgb color) override;
  void Text(double x, double y, const std::string& text, Rgb color) override;
  void Polyline(const std::vector<PlotPoint>& points, Rgb color, int width) override;
  void Points(const std::vector<PlotPoint>& points, Rgb color) override;
  void Image(double left, double top, double right, double bottom, int columns, int rows,
             const std::vector<Rgb>& pixels) override;

  QPointF Map(double x, double y) const;

 private:
  QPainter& p_;
  QRectF target_;
  double left_ = 0, top_ = 0, right_ = 1, bottom_ = 1;
  double unit_ = 1;  // one screen pixel of a 760-wide plot, in device units
};

// The picture of a recorded plot as an image of the given size.
QImage RenderPlot(const RecordingCanvas& plot, int width, int height);

}  // namespace ovrin
