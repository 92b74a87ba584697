// FrmOpt and its variable windows on Qt's offscreen platform: marks and
// pick-ups, a run that the event loop carries, Stop, Restore, and the same log
// from ovrin-cli with the same settings as a job file.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/analysis_window.h"
#include "shell/main_window.h"
#include "shell/optimise_window.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

QString Triplet() { return QString(OVRIN_EXAMPLES_DIR "/cooke_triplet_50_f4.5.ovn"); }

// A variable window of the FrmOpt grid, an option chosen and its boxes filled, then OK.
bool SetCell(OptimiseWindow* w, VarWindowKind kind, int surface, int option, const QString& source = {},
             const QString& addend = {}, const QString& scale = {}) {
  VarWindow v(w, kind, surface, w->sheet(), ProgramOptimiseMemory().pick);
  v.Choose(option);
  if (!source.isEmpty()) v.source()->setText(source);
  if (!addend.isEmpty()) v.addend()->setText(addend);
  if (!scale.isEmpty()) v.scale()->setText(scale);
  return v.Accept();
}

}  // namespace

class OptimiseWindowTest : public QObject {
  Q_OBJECT
  Session* s = nullptr;
  MainWindow* m = nullptr;

  OptimiseWindow* Open() {
    if (!m->OpenDesignFile(Triplet(), DesignFormat::Current)) return nullptr;
    m->findChild<QAction*>("Toolbar1_Optimization")->trigger();
    return qobject_cast<OptimiseWindow*>(m->FindChildWindow("FrmOpt"));
  }

 private slots:
  void init() {
    SetUnattended(true);
    ProgramOptimiseMemory() = OptimiseMemory{};
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1500, 900);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    m->close();
    delete m;
    delete s;
  }

  void opensFromTheToolbarAndTheMenuWithItsDefaults() {
    QVERIFY(m->OpenDesignFile(Triplet(), DesignFormat::Current));
    QAction* menu = m->findChild<QAction*>("MnuToolsOPT");
    QVERIFY(menu && menu->isEnabled());
    menu->trigger();
    auto* w = qobject_cast<OptimiseWindow*>(m->FindChildWindow("FrmOpt"));
    QVERIFY(w);
    QCOMPARE(w->windowTitle(), QString("Optimization  (Damped Least Square method)"));
    QCOMPARE(w->findChild<QLineEdit*>("TxtDamping")->text(), QString("0.00001"));
    QCOMPARE(w->findChild<QLineEdit*>("Text9")->text(), QString("0.01"));
    QCOMPARE(w->findChild<QLineEdit*>("Text13")->text(), QString("0.7"));
    QCOMPARE(w->grid()->rowCount(), 7);
    QCOMPARE(w->grid()->item(6, 0)->text(), QString("Img"));
    QCOMPARE(w->grid()->item(0, 2)->text(), QString("21.2500"));
    // Wavelengths 4 to 6 are 0: hidden and not checked.
    QVERIFY(!w->findChild<QCheckBox*>("Check_f")->isChecked());
    QCOMPARE(w->sheet().checkCaption[1], std::string("0.4861"));
    // 101 iterations are refused at the keystroke.
    auto* iterations = w->findChild<QLineEdit*>("Text1");
    iterations->clear();
    QTest::keyClicks(iterations, "101");
    QCOMPARE(iterations->text(), QString("100"));
    // A wavelength unchecked gets the weight "1" back.
    auto* weight = w->findChild<QLineEdit*>("Text4");
    weight->setText("3");
    QTest::mouseClick(w->findChild<QCheckBox*>("Check_r"), Qt::LeftButton, {}, QPoint(4, 4));
    QCOMPARE(weight->text(), QString("1"));
    QVERIFY(!weight->isEnabled());
  }

  void variableWindowsValidateAndStoreTheirPickups() {
    OptimiseWindow* w = Open();
    QVERIFY(w);
    PickupTables& p = ProgramOptimiseMemory().pick;
    QVERIFY(SetCell(w, VarWindowKind::Curvature, 2, 2));
    QCOMPARE(w->sheet().Cell(2, 3), std::string("V"));
    // A source of 0 or beyond the last surface is refused and the window stays.
    QVERIFY(!SetCell(w, VarWindowKind::Curvature, 3, 3, "0"));
    QVERIFY(!SetCell(w, VarWindowKind::Curvature, 3, 4, "7"));
    QCOMPARE(w->sheet().Cell(3, 3), std::string(""));
    QVERIFY(SetCell(w, VarWindowKind::Curvature, 3, 4, "2"));
    QCOMPARE(w->sheet().Cell(3, 3), std::string("P-"));
    QCOMPARE(p.curvMinus[3], 2);
    // A thickness cannot pick up itself.
    QVERIFY(!SetCell(w, VarWindowKind::Thickness, 4, 3, "4"));
    QVERIFY(SetCell(w, VarWindowKind::Thickness, 4, 3, "2", "-0.3", "1"));
    QCOMPARE(p.thickPlus[4], 2);
    QCOMPARE(p.thickAdd[4], -0.3);
    // Opened again, the pick-up shows its numbers.
    {
      VarWindow v(w, VarWindowKind::Thickness, 4, w->sheet(), p);
      QCOMPARE(v.chosen(), 3);
      QCOMPARE(v.source()->text(), QString("2"));
      QCOMPARE(v.addend()->text(), QString("-0.3"));
      QVERIFY(v.source()->isVisibleTo(&v));
    }
    // The back focal length: its weight is stored as the size of the number,
    // and "Fixed" puts it back to 1 as soon as it is clicked.
    {
      VarWindow v(w, VarWindowKind::Bfl, 6, w->sheet(), p);
      QCOMPARE(QString(v.objectName()), QString("FrmVarBFL"));
      v.Choose(2);
      v.weight()->setText("-4");
      QVERIFY(v.Accept());
      QCOMPARE(p.WeightBfl, 4.0f);
      QCOMPARE(w->sheet().Cell(6, 5), std::string("V"));
    }
    {
      VarWindow v(w, VarWindowKind::Bfl, 6, w->sheet(), p);
      QCOMPARE(v.weight()->text(), QString("4"));
      v.Choose(1);
      QCOMPARE(p.WeightBfl, 1.0f);
    }
    // The conic window has no minus pick-up.
    {
      VarWindow c(w, VarWindowKind::Conic, 5, w->sheet(), p);
      QCOMPARE(c.windowTitle(), QString("Surface5  Conic Constant"));
      QVERIFY(!c.findChild<QRadioButton*>("Option4"));
    }
    // The pick-ups outlive the window.
    m->findChild<QAction*>("Toolbar1_Optimization")->trigger();
    QCOMPARE(ProgramOptimiseMemory().pick.curvMinus[3], 2);
  }

  void theBackFocusAndImageCellsTakeText() {
    OptimiseWindow* w = Open();
    QVERIFY(w);
    // Other value cells take nothing.
    w->ClickCell(2, 2);
    QVERIFY(!w->cellEditor());
    w->ClickCell(6, 4);
    auto* editor = w->cellEditor();
    QVERIFY(editor);
    QCOMPARE(editor->text(), QString("42.6302"));
    editor->setText("43.5");
    w->CommitCellEditor();
    QCOMPARE(w->sheet().Cell(6, 4), std::string("43.5"));
    QCOMPARE(w->grid()->item(5, 4)->text(), QString("43.5"));
    // An open edit is taken in when the run starts.
    w->ClickCell(7, 2);
    editor = w->cellEditor();
    QVERIFY(editor);
    editor->setText("-600");
    w->findChild<QLineEdit*>("Text1")->setText("1");
    QSignalSpy ended(w, &OptimiseWindow::runEnded);
    w->Optimise();
    QCOMPARE(w->sheet().Cell(7, 2), std::string("-600"));
    QVERIFY(ended.wait(10000));
    // With no variable nothing moves, and the back focal length term pulls at nothing.
    QCOMPARE(w->run()->varCount(), 0);
    QCOMPARE(w->run()->stop(), RunStop::Iterations);
  }

  void runsStopsAndRestoresWhileTheWindowStaysResponsive() {
    OptimiseWindow* w = Open();
    QVERIFY(w);
    for (int i = 1; i <= 6; ++i) QVERIFY(SetCell(w, VarWindowKind::Curvature, i, 2));
    QVERIFY(SetCell(w, VarWindowKind::Thickness, 4, 3, "2", "-0.3", "1"));
    const DesignState before = s->design;
    w->findChild<QLineEdit*>("Text1")->setText("50");
    QSignalSpy iterations(w, &OptimiseWindow::iterationDone);
    QSignalSpy ended(w, &OptimiseWindow::runEnded);
    QTest::mouseClick(w->findChild<QPushButton*>("Command1"), Qt::LeftButton);
    QVERIFY(w->running());
    QVERIFY(iterations.wait(5000));
    while (iterations.count() < 3) QVERIFY(iterations.wait(5000));
    // During the run: the log, the spots and the design follow each iteration.
    QVERIFY(w->LogText().split('\n').size() >= 4);
    QVERIFY(!w->picture(0)->plot().empty());
    QCOMPARE(s->design.Thickness[4], s->design.Thickness[2] - 0.3);
    QVERIFY(!w->findChild<QPushButton*>("Command1")->isEnabled());
    const QString shot = QDir(QCoreApplication::applicationDirPath()).filePath("FrmOpt_running.png");
    QVERIFY(m->grab().save(shot));
    QTest::mouseClick(w->findChild<QPushButton*>("CmdStop"), Qt::LeftButton);
    if (ended.isEmpty()) QVERIFY(ended.wait(5000));
    QCOMPARE(w->run()->stop(), RunStop::User);
    QVERIFY(w->run()->iteration() < 50);
    QVERIFY(w->run()->errors().back() < w->run()->errors().front());
    QVERIFY(s->design.Radius[1] != before.Radius[1] || s->design.Radius[2] != before.Radius[2]);
    QVERIFY(w->findChild<QPushButton*>("Command1")->isEnabled());
    // Restore from the Edit menu: the design of the OPTIMIZE press, through the update.
    m->findChild<QAction*>("MnuEditRestoreOpt")->trigger();
    for (int i = 1; i <= 6; ++i) {
      QCOMPARE(s->design.Radius[i], before.Radius[i]);
      QCOMPARE(s->design.Thickness[i], before.Thickness[i]);
    }
    QCOMPARE(s->design.Efl, before.Efl);
    QCOMPARE(w->grid()->item(0, 2)->text(), QString("21.2500"));
  }

  void theCommandLineReproducesTheLog() {
    OptimiseWindow* w = Open();
    QVERIFY(w);
    for (int i : {1, 3, 5}) QVERIFY(SetCell(w, VarWindowKind::Curvature, i, 2));
    QVERIFY(SetCell(w, VarWindowKind::Curvature, 6, 4, "1"));
    QVERIFY(SetCell(w, VarWindowKind::Thickness, 2, 2));
    w->findChild<QRadioButton*>("OptionRadau")->setChecked(true);
    w->findChild<QLineEdit*>("Text1")->setText("4");
    w->findChild<QLineEdit*>("Text11")->setText("0.7");
    QSignalSpy ended(w, &OptimiseWindow::runEnded);
    w->Optimise();
    QVERIFY(ended.wait(20000));
    const std::vector<std::string> window_log = w->run()->log();
    QVERIFY(window_log.size() >= 3);

    QTemporaryDir dir;
    const QString job = dir.filePath("job.json");
    QFile f(job);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(R"({"rays": "radau", "iterations": "4", "field2": ["0.7", "0.7"],
               "curvature": {"1": "V", "3": "V", "5": "V", "6": "P-1"}, "thickness": {"2": "V"}})");
    f.close();
    QProcess cli;
    cli.start(OVRIN_CLI, {"optimise", Triplet(), "--job", job, "--out", dir.filePath("out.ovn")});
    QVERIFY(cli.waitForFinished(30000));
    const QJsonObject out = QJsonDocument::fromJson(cli.readAllStandardOutput()).object();
    const QJsonArray log = out["log"].toArray();
    QCOMPARE(static_cast<std::size_t>(log.size()), window_log.size());
    for (int i = 0; i < log.size(); ++i) QCOMPARE(log[i].toString(), QString::fromStdString(window_log[i]));
  }
};

QTEST_MAIN(OptimiseWindowTest)
#include "optimise_window_test.moc"
