// The maker's test windows driven as a user drives them, on Qt's offscreen
// platform: each opens from its menu entry, shows what its engine computes for
// the same settings, prints and saves, and a refused run leaves what was shown.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/maker_windows.h"
#include "shell/number_locale.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }

void Shot(QWidget* w, const char* name) {
  const QByteArray dir = qgetenv("OVRIN_SHOTS");
  if (!dir.isEmpty()) w->grab().save(QString(dir) + "/" + name + ".png");
}

template <typename W>
W* Open(MainWindow* m, const char* entry, const char* window) {
  auto* action = m->findChild<QAction*>(entry);
  if (!action || !action->isEnabled()) return nullptr;
  action->trigger();
  return qobject_cast<W*>(m->FindChildWindow(window));
}

void PrintsAndSaves(AnalysisWindow* w, const char* name) {
  QPrinter pdf(QPrinter::HighResolution);
  pdf.setOutputFormat(QPrinter::PdfFormat);
  pdf.setOutputFileName(QDir::temp().filePath(QString("ovrin_%1_test.pdf").arg(name)));
  QVERIFY(w->PrintTo(pdf));
  const QString png = QDir::temp().filePath(QString("ovrin_%1_test.png").arg(name));
  QVERIFY(w->SaveImageTo(png));
  QVERIFY(QFileInfo(png).size() > 0);
}

}  // namespace

class MakerWindowsTest : public QObject {
  Q_OBJECT
  Session* s = nullptr;
  MainWindow* m = nullptr;

 private slots:
  void init() {
    SetUnattended(true);  // a refused run's message goes to the error stream
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1400, 1000);
    m->show();
    m->ShowDesignWindow();
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
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

  void interferogramFromTheToolbar() {
    QVERIFY(m->findChild<QAction*>("MnuAnlInterferogram")->isEnabled());
    auto* w = Open<InterferogramWindow>(m, "Toolbar1_Interferogram", "FrmInterferogram");
    QVERIFY(w);
    QCOMPARE(w->findChild<QLineEdit*>("TxtTiltX")->text(), QString("5"));
    w->findChild<QLineEdit*>("TxtDefocus")->setText("2");
    w->findChild<QCheckBox*>("CheckDoublePass")->setChecked(true);
    Click(w, "Update");
    const InterferogramResult& r = w->result();
    QVERIFY(r.ok);
    const InterferogramResult expected = ComputeInterferogram(s->design, w->Settings());
    QCOMPARE(r.fringes, expected.fringes);
    QVERIFY(w->Settings().doublePass);
    QCOMPARE(w->findChild<QLabel*>("LabelFringes")->text(), QString::fromStdString(FormatFixed(r.fringes, 1)));
    QVERIFY(r.fringes > 5);  // five of tilt and two of focus over a perfect mirror
    QVERIFY(!w->Pane(0)->plot().empty());
    PrintsAndSaves(w, "interferogram");
    Shot(w, "FrmInterferogram");
    // A test wavelength of 0 is refused; the picture stays.
    w->findChild<QLineEdit*>("TxtTestWl")->setText("0");
    Click(w, "Update");
    QCOMPARE(w->result().fringes, expected.fringes);
  }

  void ronchigramOfTheSystemAndOfItsMirror() {
    auto* w = Open<RonchiWindow>(m, "MnuAnlRonchiGram", "FrmRonchi");
    QVERIFY(w);
    auto* mirror = w->findChild<QComboBox*>("ComboMirror");
    QCOMPARE(mirror->count(), 1);
    QCOMPARE(mirror->currentText(), QString("Surface 2"));
    QCOMPARE(w->findChild<QAbstractButton*>("Option1")->text(), QString("0.5461"));
    Click(w, "Update");
    QVERIFY(w->result().ok);
    QCOMPARE(w->result().bands, ComputeRonchigram(s->design, w->Settings()).bands);
    const double atFocus = w->result().bands;
    w->findChild<QComboBox*>("ComboSetup")->setCurrentIndex(1);
    w->findChild<QLineEdit*>("TxtOffset")->setText("-3");
    Click(w, "Update");
    QCOMPARE(w->result().surface, 2);
    QCOMPARE(w->result().radius, 2000.0);
    QVERIFY(w->result().bands != atFocus);
    QCOMPARE(w->findChild<QLabel*>("LabelBands")->text(), QString::fromStdString(FormatFixed(w->result().bands, 2)));
    PrintsAndSaves(w, "ronchi");
    Shot(w, "FrmRonchi");
    // No lines: refused, the bands stay.
    const double bands = w->result().bands;
    w->findChild<QLineEdit*>("TxtLines")->setText("0");
    Click(w, "Update");
    QCOMPARE(w->result().bands, bands);
  }

  void foucaultTableAndReadings() {
    auto* w = Open<FoucaultWindow>(m, "MnuAnlFoucault", "FrmFoucault");
    QVERIFY(w);
    w->findChild<QLineEdit*>("TxtZones")->setText("4");
    w->findChild<QLineEdit*>("TxtKnife")->setText("1.2");
    Click(w, "Update");
    QVERIFY(w->result().ok);
    QCOMPARE(static_cast<int>(w->result().zones.size()), 4);
    QVERIFY(!w->result().hasMeasured);
    // The readings of a sphere, typed with commas and spaces.
    w->findChild<QLineEdit*>("TxtReadings")->setText("0, 0 0,0");
    Click(w, "Update");
    QVERIFY(w->result().hasMeasured);
    QCOMPARE(w->result().PV, ComputeFoucault(s->design, w->Settings()).PV);
    QVERIFY(w->result().PV > 1);
    const QString text = w->findChild<QPlainTextEdit*>("Text1")->toPlainText();
    QVERIFY(text.contains("Wave front (0.5500 micron): PV"));
    QVERIFY(text.startsWith("Surface 2   R 2000.000   moving source"));
    PrintsAndSaves(w, "foucault");
    QVERIFY(w->SaveTextTo(QDir::temp().filePath("ovrin_foucault_test.txt")));
    Shot(w, "FrmFoucault");
    // Three readings for four zones: refused, the table stays.
    w->findChild<QLineEdit*>("TxtReadings")->setText("0, 0, 0");
    Click(w, "Update");
    QCOMPARE(w->findChild<QPlainTextEdit*>("Text1")->toPlainText(), text);
  }

  void starTestBothSidesOfFocus() {
    auto* w = Open<StarTestWindow>(m, "MnuAnlStarTest", "FrmStarTest");
    QVERIFY(w);
    Click(w, "Update");
    const StarTestResult& r = w->result();
    QVERIFY(r.ok);
    QCOMPARE(r.defocus, 4.0);
    QCOMPARE(r.F, 256);
    QVERIFY(r.difference < 1e-6);
    QCOMPARE(w->findChild<QLabel*>("LabelDifference")->text(), QString("0.0 %"));
    PrintsAndSaves(w, "star");
    Shot(w, "FrmStarTest");
    // Too much defocus for a 32 grid: refused, the pictures stay.
    w->findChild<QComboBox*>("ComboGrid")->setCurrentIndex(0);
    w->findChild<QLineEdit*>("TxtDefocus")->setText("9");
    Click(w, "Update");
    QCOMPARE(w->result().F, 256);
    // Out of focus by a millimetre: the two sides no longer match.
    w->findChild<QComboBox*>("ComboGrid")->setCurrentIndex(2);
    w->findChild<QLineEdit*>("Txtbflattuale")->setText("-999");
    Click(w, "Update");
    QVERIFY(w->result().ok);
    QVERIFY(w->result().difference > 0.05);
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  QTEST_SET_MAIN_SOURCE_PATH
  MakerWindowsTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "maker_windows_test.moc"
