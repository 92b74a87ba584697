// The wave front windows driven as a user drives them, on Qt's offscreen
// platform: they show what the engines compute for the same settings, the
// redraws keep W, and a failed run leaves no picture.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTimer>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/number_locale.h"
#include "shell/wave_windows.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }
QString Q(const std::string& s) { return QString::fromStdString(s); }

// Saves what a window shows when OVRIN_SHOTS names a folder, for a look.
void Shot(QWidget* w, const char* name) {
  const QByteArray dir = qgetenv("OVRIN_SHOTS");
  if (!dir.isEmpty()) w->grab().save(QString(dir) + "/" + name + ".png");
}

}  // namespace

class WaveWindowsTest : public QObject {
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
    // The exit question is answered Yes.
    QTimer::singleShot(0, [] {
      if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
        box->button(QMessageBox::Yes)->click();
    });
    m->close();
    delete m;
    delete s;
  }

  void opdFansAndTheirText() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* action = m->findChild<QAction*>("Toolbar1_OPDFan");
    QVERIFY(action && action->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuAnlOPDcurves")->isEnabled());
    action->trigger();
    auto* fan = qobject_cast<OpdFanWindow*>(m->FindChildWindow("FrmOPDfan"));
    QVERIFY(fan);
    auto* text1 = fan->findChild<QLineEdit*>("Txtbflattuale");
    QCOMPARE(text1->text(), Q(FormatFixed(s->design.Bfl, 4)));
    Click(fan, "Update");
    QVERIFY(fan->result().ok);
    for (const char* pane : {"Picture1", "Picture2", "Picture3", "Picture4"}) QVERIFY(!fan->findChild<PlotView*>(pane)->plot().empty());
    // The window's numbers are the engine's for the same boxes.
    OpdFanSettings set;
    set.actualBfl = ParseLeadingNumber(text1->text().toStdString());
    set.angleYDeg = ParseLeadingNumber(s->sheet.Txtangolo);
    set.angleXDeg = ParseLeadingNumber(s->sheet.TxtangoloX);
    const OpdFanResult engine = ComputeOpdFan(s->design, set);
    QCOMPARE(fan->result().full.W[1][1], engine.full.W[1][1]);
    QCOMPARE(s->design.EntrPupilY, engine.EntrPupilY);  // written back into the design
    Shot(fan, "FrmOPDfan");

    Click(fan, "Cmdautofocus");
    const float shift = AutoFocusOpd(s->design, 1, s->design.Bfl);
    QCOMPARE(text1->text(), Q(FormatFixed(s->design.Bfl + static_cast<double>(shift), 4)));
    Click(fan, "Cmdautofocus");  // twice: the same focus
    QCOMPARE(text1->text(), Q(FormatFixed(s->design.Bfl + static_cast<double>(shift), 4)));

    auto* text = qobject_cast<OpdFanTextWindow*>(fan->ShowText());
    QVERIFY(text);
    QCOMPARE(text->windowTitle(), QString("OPD data  (Tangential  and Sagittal)"));
    const QString t = text->text();
    QVERIFY(t.startsWith("TANGENTIAL OPD (On Axis)"));
    QVERIFY(t.contains("SAGITTAL OPD (Full Field)"));
    QVERIFY(t.contains(Q(fan->result().text[3][0][1])));
    QCOMPARE(t.count("W.L.6"), 4);
    Shot(text, "FrmOPDfanText");
    text->close();
  }

  void waveFrontWindow() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    m->findChild<QAction*>("Toolbar1_WaveFront")->trigger();
    auto* wf = qobject_cast<WavefrontWindow*>(m->FindChildWindow("FrmWFront"));
    QVERIFY(wf);
    QCOMPARE(wf->windowTitle(), QString("Wave Front  ( Optical Path Difference )"));
    QVERIFY(wf->findChild<QLabel*>("Label20")->text().isEmpty());
    QVERIFY(wf->findChild<QPushButton*>("ExportOPD")->isEnabled());  // opens the export to an .OPD file
    wf->findChild<QComboBox*>("ComboField")->setCurrentIndex(1);
    wf->findChild<QRadioButton*>("Option7")->setChecked(true);  // 32x32
    Click(wf, "Update");
    QVERIFY(wf->result().ok);
    QCOMPARE(wf->result().N, 32);
    const WavefrontResult engine = ComputeWavefront(s->design, wf->Settings());
    QCOMPARE(wf->findChild<QLabel*>("Label19")->text(), Q(engine.Label19));
    QCOMPARE(wf->findChild<QLabel*>("Label20")->text(), Q(engine.Label20));
    QCOMPARE(wf->findChild<QLabel*>("Label21")->text(), Q(engine.Label21));
    QCOMPARE(wf->findChild<QLabel*>("Label27")->text(), Q(engine.Label27));
    Shot(wf, "FrmWFront");

    // Rotation, relief and back colour redraw from the stored W.
    const std::vector<double> w = wf->result().W;
    const size_t before = wf->findChild<PlotView*>("Picture1")->plot().items().size();
    wf->findChild<QScrollBar*>("HScroll1")->setValue(30);
    wf->findChild<QRadioButton*>("OptionBlack")->setChecked(true);
    QCOMPARE(wf->result().W, w);
    QVERIFY(wf->findChild<PlotView*>("Picture1")->plot().items().size() < before);  // no outlines on black
    Shot(wf, "FrmWFront_black");

    // Reverse WF: the same RMS and Strehl.
    const QString rms = wf->findChild<QLabel*>("Label20")->text();
    wf->findChild<QCheckBox*>("CheckReverse")->setChecked(true);
    Click(wf, "Update");
    QCOMPARE(wf->findChild<QLabel*>("Label20")->text(), rms);

    Click(wf, "Command1");
    const float shift = AutoFocusOpd(s->design, 1, s->design.Bfl);
    QCOMPARE(wf->findChild<QLineEdit*>("Txtbflattuale")->text(), Q(FormatFixed(s->design.Bfl + static_cast<double>(shift), 4)));

    // A run that fails clears the pictures and the numbers, without a message.
    s->design.Radius[1] = -10;
    Click(wf, "Update");
    QVERIFY(!wf->result().ok);
    QVERIFY(wf->findChild<QLabel*>("Label20")->text().isEmpty());
    for (const char* name : {"Picture1", "Picture4", "Picture5"}) {
      for (const auto& item : wf->findChild<PlotView*>(name)->plot().items())
        QVERIFY(item.op == RecordingCanvas::Op::Clear);
    }
  }

  void versusWindows() {
    QVERIFY(m->OpenDesignFile(ExampleFile("schmidt_camera_200_f3.ovn"), DesignFormat::Current));
    const char* entries[6] = {"MnuAnlRmsWFvsWL",      "MnuAnlRmsWFvsFocus",      "MnuAnlRmsWFvsField",
                              "MnuAnlStrehlVersusWl", "MnuAnlStrehlVersusFocus", "MnuAnlStrehlVersusField"};
    const char* windows[6] = {"FrmRMSwavefrontVSWL", "FrmRMSwavefrontVSFocus", "FrmRMSwavefrontVSField",
                              "FrmStrehlVSWaveL",    "FrmStrehlVSFocus",       "FrmStrehlVSField"};
    for (int i = 0; i < 6; ++i) {
      auto* action = m->findChild<QAction*>(entries[i]);
      QVERIFY2(action && action->isEnabled(), entries[i]);
      action->trigger();
      auto* v = qobject_cast<VersusWindow*>(m->FindChildWindow(windows[i]));
      QVERIFY2(v, windows[i]);
      Click(v, "Update");
      QVERIFY2(v->result().ok, windows[i]);
      const VersusResult engine = ComputeVersus(s->design, v->Settings());
      QCOMPARE(v->tableText().split("\n").size(), static_cast<int>(engine.text.size()));
      QCOMPARE(v->tableText().split("\n").last(), Q(engine.text.back()));
      Shot(v, windows[i]);
    }
    // The pointer over the graph reads the value out in the caption.
    auto* v = qobject_cast<VersusWindow*>(m->FindChildWindow("FrmStrehlVSFocus"));
    auto* plot = v->findChild<PlotView*>("Picturespot");
    const QPointF at = plot->rect().center();
    QMouseEvent move(QEvent::MouseMove, at, plot->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(plot, &move);
    QVERIFY(v->windowTitle().startsWith("Strehl Ratio vs Focus Shift  ----    Strehl: "));
    Click(v, "Command2");
    QVERIFY(v->result().ok);
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  QTEST_SET_MAIN_SOURCE_PATH
  WaveWindowsTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "wave_windows_test.moc"
