// The diffraction windows driven as a user drives them, on Qt's offscreen
// platform: they show what the engines compute for the same settings, the
// redraws keep the intensity, and a failed run leaves what was shown.
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/diffraction_windows.h"
#include "shell/main_window.h"
#include "shell/number_locale.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

void Choose(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QRadioButton*>(name);
  QVERIFY2(b, name);
  b->setChecked(true);
}

QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }
QString Q(const std::string& s) { return QString::fromStdString(s); }

// Saves what a window shows when OVRIN_SHOTS names a folder, for a look.
void Shot(QWidget* w, const char* name) {
  const QByteArray dir = qgetenv("OVRIN_SHOTS");
  if (!dir.isEmpty()) w->grab().save(QString(dir) + "/" + name + ".png");
}

}  // namespace

class DiffractionWindowsTest : public QObject {
  Q_OBJECT
  Session* s = nullptr;
  MainWindow* m = nullptr;

 private slots:
  void init() {
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1400, 1000);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    QTimer::singleShot(0, [] {
      if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
        box->button(QMessageBox::Yes)->click();
    });
    m->close();
    delete m;
    delete s;
  }

  void psfRotatesRecoloursAndPrints() {
    QVERIFY(m->OpenDesignFile(ExampleFile("ritchey_chretien_200_f8.ovn"), DesignFormat::Current));
    auto* action = m->findChild<QAction*>("Toolbar1_PSF");
    QVERIFY(action && action->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuDiffPSF")->isEnabled());
    action->trigger();
    auto* w = qobject_cast<PsfWindow*>(m->FindChildWindow("FrmDiffPSF"));
    QVERIFY(w);
    QVERIFY(w->findChild<QRadioButton*>("Option8")->isChecked());  // 64x64 to start
    Choose(w, "Option7");
    Click(w, "Update");
    const PsfResult& r = w->result();
    QVERIFY(r.ok);
    const PsfResult expected = ComputePsf(s->design, w->Settings());
    QCOMPARE(r.F, 128);
    QCOMPARE(r.Max, expected.Max);
    QCOMPARE(r.Strehl, expected.Strehl);
    QCOMPARE(w->findChild<QLabel*>("LabelStrehl")->text(), Q(FormatFixed(expected.Strehl, 4)));

    // Rotation redraws from the stored intensity and echoes the angle.
    auto* surface = w->Pane(0);
    const size_t items = surface->plot().items().size();
    const double first = surface->plot().items().back().points.at(0).y;
    w->findChild<QScrollBar*>("HScroll1")->setValue(45);
    QCOMPARE(w->findChild<QLabel*>("Label21")->text(), QString("45"));
    QCOMPARE(surface->plot().items().size(), items);
    QVERIFY(surface->plot().items().back().points.at(0).y != first);
    QCOMPARE(w->result().Max, r.Max);

    // False colour, transparent cells and a black back.
    w->findChild<QComboBox*>("Combo1")->setCurrentIndex(1);
    w->findChild<QComboBox*>("Combo2")->setCurrentIndex(1);
    w->findChild<QComboBox*>("Combo3")->setCurrentIndex(1);
    QVERIFY(w->View().falseColour && w->View().transparent && w->View().black);
    bool polyline = false;
    for (const auto& item : surface->plot().items()) polyline |= item.op == RecordingCanvas::Op::Polyline;
    QVERIFY(polyline);
    QCOMPARE(surface->background(), (Rgb{0, 0, 0}));

    // A zoom click on the map narrows its box.
    auto* map = w->findChild<PlotView*>("Picture2");
    const double width = map->plot().items().at(1).c - map->plot().items().at(1).a;
    QTest::mouseClick(map, Qt::LeftButton);
    QVERIFY(map->plot().items().at(1).c - map->plot().items().at(1).a < width);

    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(QDir::temp().filePath("ovrin_psf_test.pdf"));
    QVERIFY(w->PrintTo(pdf));
    QVERIFY(w->SaveImageTo(QDir::temp().filePath("ovrin_psf_test.png")));
    Shot(w, "FrmDiffPSF");

    // A focal surface the rays miss: the update stops and the pictures stay.
    w->findChild<QLineEdit*>("Text2")->setText("1");
    w->findChild<QComboBox*>("ComboField")->setCurrentIndex(1);
    Click(w, "Update");
    QCOMPARE(w->result().Max, r.Max);
  }

  void mtfPlotsAndItsText() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* action = m->findChild<QAction*>("Toolbar1_MTF");
    QVERIFY(action && action->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuAnlDiffMTFfield")->isEnabled());
    action->trigger();
    auto* w = qobject_cast<MtfWindow*>(m->FindChildWindow("FrmMTFfield"));
    QVERIFY(w);
    QCOMPARE(w->PaneCount(), 3);
    QVERIFY(w->ShowText() == nullptr);  // nothing before an update
    Choose(w, "Option7");
    Click(w, "Update");
    QVERIFY(w->result().ok);
    const MtfResult expected = ComputeMtf(s->design, w->Settings());
    QCOMPARE(w->result().fields[2].T, expected.fields[2].T);
    for (int k = 0; k < 3; ++k) QVERIFY(!w->Pane(k)->plot().empty());
    auto* text = qobject_cast<MtfTextWindow*>(w->ShowText());
    QVERIFY(text);
    const QStringList lines = text->text().split('\n');
    QCOMPARE(lines.size(), 1 + 3 * (2 + 16));
    QCOMPARE(lines.at(0), Q(expected.text.at(0)));
    QCOMPARE(lines.at(19), QString("Diffraction MTF at 0.7 Field"));
    Shot(w, "FrmMTFfield");
    Shot(text, "FrmMTFText");
    text->close();
  }

  void throughFocusAndZernike() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* focusEntry = m->findChild<QAction*>("MnuAnlDiffMTFtfocus");
    QVERIFY(focusEntry && focusEntry->isEnabled());
    focusEntry->trigger();
    auto* f = qobject_cast<MtfFocusWindow*>(m->FindChildWindow("FrmMTFtfocus"));
    QVERIFY(f);
    QVERIFY(f->findChild<QRadioButton*>("Option8")->isChecked());  // 64x64
    QCOMPARE(f->findChild<QLineEdit*>("Text3")->text(), QString("0.1"));
    f->findChild<QLineEdit*>("Text3")->setText("0.05");
    Click(f, "Update");
    QVERIFY(f->result().ok);
    QCOMPARE(f->result().defocus[0], 0.05);
    QCOMPARE(f->result().runs[1].T, ComputeMtfFocus(s->design, f->Settings()).runs[1].T);
    Shot(f, "FrmMTFtfocus");

    auto* zEntry = m->findChild<QAction*>("MnuZernike");
    QVERIFY(zEntry && zEntry->isEnabled());
    zEntry->trigger();
    auto* z = qobject_cast<ZernikeWindow*>(m->FindChildWindow("FrmZernike"));
    QVERIFY(z);
    QCOMPARE(z->findChild<QLabel*>("Label28")->text(), QString("Half-Field Angle"));
    QCOMPARE(z->grid()->item(8, 2)->text(), QString("  Primary Spherical Aberration"));
    Click(z, "CmdZernike");
    QVERIFY(z->result().ok);
    const ZernikeResult expected = ComputeZernike(s->design, z->Settings());
    for (int t = 0; t < kZernikeTerms; ++t) QCOMPARE(z->grid()->item(t, 1)->text(), Q(expected.texts[t]));
    Shot(z, "FrmZernike");
    // A failed fit leaves the grid as it was.
    const QString power = z->grid()->item(3, 1)->text();
    z->findChild<QLineEdit*>("Text2")->setText("1");
    Click(z, "CmdZernike");
    QCOMPARE(z->grid()->item(3, 1)->text(), power);
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  QTEST_SET_MAIN_SOURCE_PATH
  DiffractionWindowsTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "diffraction_windows_test.moc"
