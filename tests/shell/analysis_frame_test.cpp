// The analysis window frame and the plot windows built on it, on Qt's
// offscreen platform: the pictures are checked by their pixels.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolTip>
#include <QTimer>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/design_window.h"
#include "shell/analysis_window.h"
#include "shell/layout_window.h"
#include "shell/main_window.h"
#include "shell/session.h"
#include "shell/spot_window.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

// The share of a picture's pixels of one colour.
double Share(const QImage& image, const QColor& color) {
  long n = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) n += image.pixelColor(x, y) == color;
  return static_cast<double>(n) / (static_cast<double>(image.width()) * image.height());
}

// A window of the frame with two panes, a single wavelength choice and a table.
class TwoPaneWindow : public AnalysisWindow {
 public:
  static FrameOptions Options() {
    FrameOptions o;
    o.panes = {"PictureA", "PictureB"};
    o.pane_columns = 2;
    o.wavelengths = FrameOptions::Wavelengths::One;
    o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
    o.text_pane = "Text1";
    return o;
  }
  explicit TwoPaneWindow(MainWindow& main) : AnalysisWindow(main, "FrmTwo", "Two panes", "SpotDiagram", Options()) {}
  int computed = 0, redrawn = 0;

 protected:
  void Redraw() override { ++redrawn; }
  void Recompute() override {
    ++computed;
    for (int i = 0; i < PaneCount(); ++i) {
      RecordingCanvas c;
      c.Window(0, 1, 1, 0);
      c.Clear({255, 255, 255});
      c.Image(0, 1, 0.5, 0.5, 1, 1, {{255, 0, 0}});
      c.Polyline({{0, 0}, {1, 1}}, {0, 0, 255}, 1);
      Pane(i)->SetPlot(c);
    }
    SetText("Surface\tSA\n1\t0.0012\n");
  }
};

}  // namespace

class AnalysisFrameTest : public QObject {
  Q_OBJECT
  Session* s = nullptr;
  MainWindow* m = nullptr;

 private slots:
  void init() {
    SetUnattended(true);  // messages to the error stream, questions answered Yes
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1200, 800);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    m->close();
    delete m;
    delete s;
  }

  void achromatLayoutShowsItsBackground() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    m->findChild<QAction*>("Toolbar1_2DLayout")->trigger();
    auto* w = qobject_cast<LayoutWindow*>(m->FindChildWindow("Frmlayout"));
    QVERIFY(w);
    Click(w, "Update");
    auto* pane = w->findChild<PlotView*>("Picture1");
    QVERIFY(pane);
    const QImage image = pane->grab().toImage();
    // The plot area (the picture less its border) is mostly the white
    // background; the two lenses are a small part of it, not a filled rectangle.
    const QSize size = pane->PictureSize();
    QRect picture(QPoint(0, 0), size);
    picture.moveCenter(image.rect().center());
    const QImage area = image.copy(picture.adjusted(3, 3, -3, -3));
    const double white = Share(area, QColor(255, 255, 255));
    const double lens = Share(area, QColor(190, 225, 250));
    QVERIFY2(white > 0.7, qPrintable(QString("background %1").arg(white)));
    QVERIFY2(lens > 0.001 && lens < 0.15, qPrintable(QString("lens fill %1").arg(lens)));
  }

  void spotRedrawsFromItsResult() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    m->findChild<QAction*>("Toolbar1_SpotDiagram")->trigger();
    auto* w = qobject_cast<SpotWindow*>(m->FindChildWindow("frmspot"));
    QVERIFY(w);
    // Wavelengths the design does not use have no box on show.
    QVERIFY(w->findChild<QCheckBox*>("Check_c")->isVisible());
    QVERIFY(!w->findChild<QCheckBox*>("Check_f")->isVisible());
    Click(w, "Update");
    const RecordingCanvas first = w->findChild<PlotView*>("Picturespot")->plot();
    const std::string rms = w->result().labels.lbldiamrms;
    // A new zoom redraws the same rays twice as far out, without a new trace.
    auto* zoom = w->findChild<QLineEdit*>("Txtscala");
    zoom->setText("2");
    QTest::keyClick(zoom, Qt::Key_Return);
    const RecordingCanvas second = w->findChild<PlotView*>("Picturespot")->plot();
    QCOMPARE(first.items().size(), second.items().size());
    bool text_has_unit = false;
    for (std::size_t k = 0; k < first.items().size(); ++k) {
      const auto &a = first.items()[k], &b = second.items()[k];
      if (a.op == RecordingCanvas::Op::Point) {
        QCOMPARE(b.a, 2 * a.a);
        QCOMPARE(b.b, 2 * a.b);
      }
      if (a.op == RecordingCanvas::Op::Text) text_has_unit = QString::fromStdString(b.text).endsWith(" mm");
    }
    QVERIFY(text_has_unit);
    QCOMPARE(w->result().labels.lbldiamrms, rms);

    // Saved as drawn pictures and as the window's bitmap.
    QTemporaryDir dir;
    QVERIFY(w->SaveImageTo(dir.filePath("spot.svg")));
    QVERIFY(w->SaveImageTo(dir.filePath("spot.png")));
    const QImage png(dir.filePath("spot.png"));
    QCOMPARE(png.size(), w->findChild<PlotView*>("Picturespot")->PictureSize());
    QVERIFY(Share(png, QColor(255, 255, 255)) > 0.8);
    QVERIFY(w->SaveImageTo(dir.filePath("spot.bmp")));
    QCOMPARE(QImage(dir.filePath("spot.bmp")).size(), w->grab().size());
  }

  void conicShownOverTheTypeCell() {
    QVERIFY(m->OpenDesignFile(ExampleFile("ritchey_chretien_200_f8.ovn"), DesignFormat::Current));
    auto* w = qobject_cast<DesignWindow*>(m->FindChildWindow("Frmdati"));
    QVERIFY(w);
    const DesignState& d = s->design;
    int row = 1;
    while (row <= d.SurfCount && static_cast<int>(d.SurfType[row]) != kConic) ++row;
    QVERIFY(row <= d.SurfCount);
    QCOMPARE(w->TypeToolTip(row), "K = " + QString::fromStdString(ShortestText(d.Conic[row])));
    QCOMPARE(static_cast<int>(d.SurfType[1]), static_cast<int>(kObsScreen));
    QVERIFY(w->TypeToolTip(1).isEmpty());  // the secondary's shadow has no conic
    // Hovering the cell shows it.
    QTableWidget* grid = w->grid();
    const QRect cell = grid->visualItemRect(grid->item(row - 1, 7));
    QHelpEvent hover(QEvent::ToolTip, cell.center(), grid->viewport()->mapToGlobal(cell.center()));
    QApplication::sendEvent(grid->viewport(), &hover);
    QVERIFY(QToolTip::text().startsWith("K = -"));
    QToolTip::hideText();
  }

  void panesTextAndOneWavelength() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* w = new TwoPaneWindow(*m);
    w->resize(900, 600);
    w->show();
    QVERIFY(QTest::qWaitForWindowExposed(w));
    auto* a = w->findChild<PlotView*>("PictureA");
    auto* b = w->findChild<PlotView*>("PictureB");
    QVERIFY(a && b);
    QCOMPARE(w->PaneCount(), 2);
    // Side by side.
    QVERIFY(b->geometry().left() >= a->geometry().right());

    // A single choice: choosing one wavelength unchooses the other.
    auto* o1 = w->findChild<QRadioButton*>("Option1");
    auto* o3 = w->findChild<QRadioButton*>("Option3");
    QVERIFY(o1 && o3);
    QVERIFY(o1->isChecked());
    QTest::mouseClick(o3, Qt::LeftButton);
    QVERIFY(!o1->isChecked());
    QCOMPARE(w->ChosenWavelength(), 3);
    const std::array<bool, 6> on = w->CheckedWavelengths();
    QCOMPARE(std::count(on.begin(), on.end(), true), std::ptrdiff_t(1));

    Click(w, "Update");
    QCOMPARE(w->computed, 1);
    auto* text = w->findChild<QPlainTextEdit*>("Text1");
    QVERIFY(text);
    QVERIFY(text->toPlainText().startsWith("Surface\tSA"));
    Click(w, "CmdCopy");
    QCOMPARE(QGuiApplication::clipboard()->text(), text->toPlainText());
    QTemporaryDir dir;
    QVERIFY(w->SaveTextTo(dir.filePath("table.txt")));
    QFile saved(dir.filePath("table.txt"));
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(saved.readAll()), text->toPlainText());

    // A print draws the last result again; it does not compute anew.
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(dir.filePath("print.pdf"));
    QVERIFY(w->PrintTo(pdf));
    QCOMPARE(w->computed, 1);
    QCOMPARE(w->redrawn, 1);

    // Each pane its own picture file; the image operation fills its quarter.
    QVERIFY(w->SaveImageTo(dir.filePath("plot.png")));
    for (const char* name : {"plot-1.png", "plot-2.png"}) {
      const QImage image(dir.filePath(name));
      QVERIFY2(!image.isNull(), name);
      QCOMPARE(image.pixelColor(image.width() / 8, image.height() / 8), QColor(255, 0, 0));
      QCOMPARE(image.pixelColor(image.width() * 7 / 8, image.height() * 7 / 8), QColor(255, 255, 255));
    }
    delete w;
  }
};

QTEST_MAIN(AnalysisFrameTest)
#include "analysis_frame_test.moc"
