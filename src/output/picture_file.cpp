#include "output/picture_file.h"

#include <QGuiApplication>
#include <QImage>
#include <QPageSize>
#include <QPdfWriter>
#include <QSvgGenerator>
#include <clocale>
#include <stdexcept>

#include "output/qpainter_canvas.h"

namespace ovrin {

namespace {

// Fonts need an application object; without a screen it runs offscreen.
void EnsureGuiApplication() {
  if (QGuiApplication::instance()) return;
  static int argc = 1;
  static char name[] = "ovrin";
  static char* argv[] = {name, nullptr};
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  new QGuiApplication(argc, argv);
  std::setlocale(LC_NUMERIC, "C");  // the program's numbers keep their point
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

void SavePicture(const RecordingCanvas& picture, int width, int height, const std::string& path) {
  EnsureGuiApplication();
  const QString file = QString::fromStdString(path);
  const std::string ext = Lower(path.substr(path.find_last_of('.') == std::string::npos ? path.size()
                                                                                          : path.find_last_of('.')));
  auto fail = [&] { throw std::runtime_error("Cannot write " + path); };
  if (ext == ".svg") {
    QSvgGenerator svg;
    svg.setFileName(file);
    svg.setSize(QSize(width, height));
    svg.setViewBox(QRect(0, 0, width, height));
    QPainter p;
    if (!p.begin(&svg)) fail();
    QPainterCanvas canvas(p, QRectF(0, 0, width, height));
    picture.Replay(canvas);
    if (!p.end()) fail();
  } else if (ext == ".pdf") {
    QPdfWriter pdf(file);
    pdf.setPageSize(QPageSize(QPageSize::A4));
    pdf.setPageOrientation(width >= height ? QPageLayout::Landscape : QPageLayout::Portrait);
    QPainter p;
    if (!p.begin(&pdf)) fail();
    const QRectF page = p.viewport();
    const PageFit fit = FitToPage(width, height, page.width(), page.height());
    QPainterCanvas canvas(p, QRectF(0, 0, fit.width, fit.height));
    picture.Replay(canvas);
    if (!p.end()) fail();
  } else if (ext == ".png" || ext == ".bmp") {
    if (!RenderPlot(picture, width, height).save(file, ext == ".png" ? "PNG" : "BMP")) fail();
  } else {
    throw std::runtime_error("Cannot write " + path + ": use a .png, .bmp, .svg or .pdf file name");
  }
}

}  // namespace ovrin
