#include "output/qpainter_canvas.h"

#include <QImage>
#include <QPolygonF>
#include <cmath>

namespace ovrin {

namespace {
QColor Color(Rgb c) { return QColor(c.r, c.g, c.b); }
}  // namespace

QPainterCanvas::QPainterCanvas(QPainter& painter, const QRectF& target) : p_(painter), target_(target) {
  unit_ = std::max(1.0, target.width() / 760.0);
}

void QPainterCanvas::Window(double left, double top, double right, double bottom) {
  left_ = left, top_ = top, right_ = right, bottom_ = bottom;
}

QPointF QPainterCanvas::Map(double x, double y) const {
  return {target_.left() + (x - left_) / (right_ - left_) * target_.width(),
          target_.top() + (y - top_) / (bottom_ - top_) * target_.height()};
}

void QPainterCanvas::Clear(Rgb background) { p_.fillRect(target_, Color(background)); }

void QPainterCanvas::Point(double x, double y, Rgb color) {
  const QPointF at = Map(x, y);
  if (unit_ <= 1.0) {
    p_.setPen(Color(color));
    p_.drawPoint(at);
  } else {
    p_.fillRect(QRectF(at.x() - unit_ / 2, at.y() - unit_ / 2, unit_, unit_), Color(color));
  }
}

void QPainterCanvas::Pixel(double x, double y, Rgb color) { Point(x, y, color); }

void QPainterCanvas::Line(double x1, double y1, double x2, double y2, Rgb color, int width) {
  p_.setPen(QPen(Color(color), width * unit_));
  p_.drawLine(Map(x1, y1), Map(x2, y2));
}

void QPainterCanvas::Circle(double x, double y, double r, Rgb color) {
  const double scale = target_.width() / std::abs(right_ - left_);
  p_.setPen(QPen(Color(color), unit_));
  p_.setBrush(Qt::NoBrush);
  p_.drawEllipse(Map(x, y), r * scale, r * scale);
}

void QPainterCanvas::Polygon(const std::vector<PlotPoint>& points, Rgb fill) {
  QPolygonF poly;
  for (const PlotPoint& pt : points) poly << Map(pt.x, pt.y);
  p_.setPen(Qt::NoPen);
  p_.setBrush(Color(fill));
  p_.drawPolygon(poly);
  // Later shapes (the plot view's border, circles) must not be filled with it.
  p_.setBrush(Qt::NoBrush);
}

void QPainterCanvas::Polyline(const std::vector<PlotPoint>& points, Rgb color, int width) {
  QPolygonF line;
  line.reserve(static_cast<qsizetype>(points.size()));
  for (const PlotPoint& pt : points) line << Map(pt.x, pt.y);
  QPen pen(Color(color), width * unit_);
  pen.setJoinStyle(Qt::RoundJoin);
  p_.setPen(pen);
  p_.drawPolyline(line);
}

void QPainterCanvas::Points(const std::vector<PlotPoint>& points, Rgb color) {
  if (unit_ <= 1.0) {
    QPolygonF at;
    at.reserve(static_cast<qsizetype>(points.size()));
    for (const PlotPoint& pt : points) at << Map(pt.x, pt.y);
    p_.setPen(Color(color));
    p_.drawPoints(at);
  } else {
    for (const PlotPoint& pt : points) Point(pt.x, pt.y, color);
  }
}

void QPainterCanvas::Image(double left, double top, double right, double bottom, int columns, int rows,
                           const std::vector<Rgb>& pixels) {
  if (columns <= 0 || rows <= 0 || pixels.size() < static_cast<std::size_t>(columns) * rows) return;
  QImage image(columns, rows, QImage::Format_RGB32);
  for (int r = 0; r < rows; ++r) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(r));
    for (int c = 0; c < columns; ++c) {
      const Rgb& px = pixels[static_cast<std::size_t>(r) * columns + c];
      line[c] = qRgb(px.r, px.g, px.b);
    }
  }
  // Each sample stays a sharp block however much it is enlarged.
  p_.drawImage(QRectF(Map(left, top), Map(right, bottom)).normalized(), image);
}

void QPainterCanvas::Text(double x, double y, const std::string& text, Rgb color) {
  QFont font = p_.font();
  font.setPixelSize(std::max(8, static_cast<int>(std::lround(12 * unit_))));
  p_.setFont(font);
  p_.setPen(Color(color));
  const QPointF at = Map(x, y);
  p_.drawText(QRectF(at.x(), at.y(), target_.width(), font.pixelSize() * 1.6), Qt::AlignLeft | Qt::AlignTop,
              QString::fromStdString(text));
}

QImage RenderPlot(const RecordingCanvas& plot, int width, int height) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter p(&image);
  QPainterCanvas canvas(p, QRectF(0, 0, width, height));
  plot.Replay(canvas);
  return image;
}

}  // namespace ovrin
