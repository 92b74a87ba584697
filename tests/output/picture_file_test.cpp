// Picture files and the new canvas operations, in a program that has no
// application object of its own (as the command line).
#include "output/picture_file.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <stdexcept>

#include "output/qpainter_canvas.h"

namespace ovrin {
namespace {

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kGreen{0, 160, 0}, kWhite{255, 255, 255};

// A picture with every kind of shape: a filled square, a circle, text, a
// polyline, a batch of points and a 2 x 2 image in the right half.
RecordingCanvas Sample() {
  RecordingCanvas c;
  c.Window(0, 100, 200, 0);
  c.Clear(kWhite);
  c.Polygon({{10, 90}, {40, 90}, {40, 60}, {10, 60}}, kBlue);
  c.Circle(25, 30, 10, kRed);
  c.Text(50, 95, "f/8", kRed);
  c.Polyline({{10, 10}, {50, 10}, {50, 50}}, kGreen, 1);
  c.Points({{60, 20}, {62, 20}, {64, 20}}, kRed);
  c.Image(100, 100, 200, 0, 2, 2, {kRed, kGreen, kBlue, kWhite});
  return c;
}

QByteArray Head(const QString& path, int n) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) return {};
  return f.read(n);
}

TEST(PictureFile, EachTypeByItsExtension) {
  QTemporaryDir dir;
  const RecordingCanvas pic = Sample();
  for (const char* name : {"a.png", "b.BMP", "c.svg", "d.pdf"})
    ASSERT_NO_THROW(SavePicture(pic, 400, 200, dir.filePath(name).toStdString())) << name;
  const QImage png(dir.filePath("a.png"));
  ASSERT_EQ(png.size(), QSize(400, 200));
  EXPECT_EQ(QImage(dir.filePath("b.BMP")).size(), QSize(400, 200));
  EXPECT_TRUE(Head(dir.filePath("c.svg"), 200).contains("<svg"));
  EXPECT_TRUE(Head(dir.filePath("d.pdf"), 5).startsWith("%PDF"));
  // One page of the picture's size, a pixel to a point.
  EXPECT_TRUE(Head(dir.filePath("d.pdf"), 1 << 20).contains("/MediaBox [0 0 400.000000 200.000000]"));

  // The image fills its rectangle sample by sample, unblurred.
  EXPECT_EQ(png.pixelColor(250, 50), QColor(255, 0, 0));
  EXPECT_EQ(png.pixelColor(350, 50), QColor(0, 160, 0));
  EXPECT_EQ(png.pixelColor(250, 150), QColor(0, 0, 255));
  EXPECT_EQ(png.pixelColor(350, 150), QColor(255, 255, 255));
  // The filled square is filled; the circle drawn after it is not.
  EXPECT_EQ(png.pixelColor(50, 50), QColor(0, 0, 255));
  EXPECT_EQ(png.pixelColor(50, 140), QColor(255, 255, 255));
  bool rim = false;  // the circle's rim, 20 pixels right of its centre
  for (int x = 68; x <= 72; ++x) rim = rim || png.pixelColor(x, 140) == QColor(255, 0, 0);
  EXPECT_TRUE(rim);
}

TEST(Canvas, AFilledShapeLeavesNoBrushBehind) {
  // Whatever the painter draws next (a frame around the plot) must not be filled.
  SavePicture(Sample(), 10, 10, (QTemporaryDir().path() + "/warm-up.png").toStdString());  // starts the GUI
  QImage image(100, 100, QImage::Format_RGB32);
  QPainter p(&image);
  QPainterCanvas c(p, QRectF(0, 0, 100, 100));
  c.Window(0, 1, 1, 0);
  c.Polygon({{0.1, 0.9}, {0.5, 0.9}, {0.5, 0.5}}, kBlue);
  EXPECT_EQ(p.brush().style(), Qt::NoBrush);
}

TEST(PictureFile, FailuresSayWhy) {
  QTemporaryDir dir;
  const RecordingCanvas pic = Sample();
  try {
    SavePicture(pic, 100, 100, dir.filePath("x.gif").toStdString());
    FAIL() << "an unknown type was written";
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find(".png, .bmp, .svg or .pdf"), std::string::npos) << e.what();
  }
  EXPECT_THROW(SavePicture(pic, 100, 100, dir.filePath("no/such/dir/x.png").toStdString()), std::runtime_error);
  EXPECT_THROW(SavePicture(pic, 100, 100, dir.filePath("no/such/dir/x.pdf").toStdString()), std::runtime_error);
  EXPECT_THROW(SavePicture(pic, 0, 100, dir.filePath("x.png").toStdString()), std::runtime_error);
}

TEST(Canvas, ReplayKeepsPolylinesPointsAndImages) {
  const RecordingCanvas pic = Sample();
  RecordingCanvas copy;
  pic.Replay(copy);
  ASSERT_EQ(copy.items().size(), pic.items().size());
  for (std::size_t k = 0; k < pic.items().size(); ++k) {
    const auto &a = pic.items()[k], &b = copy.items()[k];
    EXPECT_EQ(a.op, b.op);
    EXPECT_EQ(a.points.size(), b.points.size());
    EXPECT_EQ(a.pixels, b.pixels);
    EXPECT_EQ(a.rows, b.rows);
    EXPECT_EQ(a.width, b.width);
  }
  // A canvas with only the basic shapes gets the batches as single ones.
  class Basic final : public Canvas {
   public:
    int points = 0, lines = 0, pixels = 0;
    void Window(double, double, double, double) override {}
    void Clear(Rgb) override {}
    void Point(double, double, Rgb) override { ++points; }
    void Line(double, double, double, double, Rgb, int) override { ++lines; }
    void Circle(double, double, double, Rgb) override {}
    void Polygon(const std::vector<PlotPoint>&, Rgb) override {}
    void Pixel(double, double, Rgb) override { ++pixels; }
    void Text(double, double, const std::string&, Rgb) override {}
  } b;
  pic.Replay(b);
  EXPECT_EQ(b.points, 3);
  EXPECT_EQ(b.lines, 2);
  EXPECT_EQ(b.pixels, 4);
}

}  // namespace
}  // namespace ovrin
