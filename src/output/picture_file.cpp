#include "output/picture_file.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <clocale>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>
#include <stdexcept>

#include "output/qpainter_canvas.h"

namespace ovrin {

namespace {

// Text needs the font machinery of a GUI application; a command line has no screen.
void EnsureGuiApplication() {
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return;
  if (QCoreApplication::instance())
    throw std::runtime_error("Pictures cannot be drawn: the program runs without graphics support");
  static int argc = 1;
  static char name[] = "ovrin";
  static char* argv[] = {name, nullptr};
  qputenv("QT_QPA_PLATFORM", "offscreen");
  new QGuiApplication(argc, argv);  // lives as long as the process
  std::setlocale(LC_NUMERIC, "C");  // the program's numbers keep their point
}

[[noreturn]] void CannotWrite(const std::string& path) { throw std::runtime_error("Cannot write " + path); }

void Paint(QPaintDevice& device, const RecordingCanvas& picture, const QRectF& target, const std::string& path) {
  QPainter p;
  if (!p.begin(&device)) CannotWrite(path);
  p.fillRect(target, Qt::white);
  QPainterCanvas canvas(p, target);
  picture.Replay(canvas);
  if (!p.end()) CannotWrite(path);
}

}  // namespace

void SavePicture(const RecordingCanvas& picture, int width, int height, const std::string& path) {
  if (width <= 0 || height <= 0) throw std::runtime_error("A picture needs a positive width and height");
  const QString file = QString::fromStdString(path);
  const QString type = QFileInfo(file).suffix().toLower();
  if (type != "png" && type != "bmp" && type != "svg" && type != "pdf")
    throw std::runtime_error("Unknown picture type of " + path + " (use .png, .bmp, .svg or .pdf)");
  EnsureGuiApplication();
  const QRectF target(0, 0, width, height);
  if (type == "svg") {
    QSvgGenerator svg;
    svg.setFileName(file);
    svg.setSize(QSize(width, height));
    svg.setViewBox(QRect(0, 0, width, height));
    Paint(svg, picture, target, path);
    if (!QFileInfo::exists(file)) CannotWrite(path);
  } else if (type == "pdf") {
    // One page of the picture's size, a pixel to a point, without margins.
    QPdfWriter pdf(file);
    pdf.setResolution(72);
    pdf.setPageSize(QPageSize(QSizeF(width, height), QPageSize::Point, QString(), QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
    Paint(pdf, picture, target, path);
  } else {
    QImage image(width, height, QImage::Format_RGB32);
    Paint(image, picture, target, path);
    if (!image.save(file, type == "png" ? "PNG" : "BMP")) CannotWrite(path);
  }
}

}  // namespace ovrin
