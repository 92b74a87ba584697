#include "output/qpainter_canvas.h"

#include <QImage>
#include <QPolygonF>

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
  // The fill must not outlive the polygon: whoever paints after the plot (a
  // frame around it) would fill with it.
  p_.setBrush(Qt::NoBrush);
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
