// The report, sagitta and allowance windows opened from the Tools menu, and
// the export to an .OPD file from the wave front window, on Qt's offscreen
// platform.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

#include "core/design_file.h"
#include "shell/main_window.h"
#include "window_fixture.h"
#include "shell/report_windows.h"
#include "shell/session.h"
#include "shell/wave_windows.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {


QString TextOf(QWidget* w, const char* pane) {
  auto* t = w->findChild<QPlainTextEdit*>(pane);
  return t ? t->toPlainText() : QString();
}

}  // namespace

class ReportWindowsTest : public QObject, WindowFixture {
  Q_OBJECT

 private slots:
  void init() { StartShell(); }
  void cleanup() { StopShell(); }

  void reportFromTheToolsMenuSavesAPdf() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* w = Open<ReportWindow>("MnuToolReport", "FrmReport");
    QVERIFY(w);
    QCOMPARE(w->windowTitle(), QString("Data Report"));
    const QString text = TextOf(w, "TextPage");
    QVERIFY(text.contains("First-order data"));
    QVERIFY(text.contains("Seidel sums"));
    QVERIFY(text.contains(QString::fromStdString(s->design.GlassSchott[1])));
    QTemporaryDir dir;
    const QString pdf = dir.filePath("report.pdf");
    QVERIFY(w->SavePdfTo(pdf));
    QFile f(pdf);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QVERIFY(f.size() > 0);
    QVERIFY(f.read(4) == "%PDF");
    // Every picture type from the Save menu.
    for (const char* ext : {"bmp", "png", "svg", "pdf"}) QVERIFY(w->SaveImageTo(dir.filePath(QString("r.") + ext)));

    // Page as text opens the plain text window.
    QTest::mouseClick(w->findChild<QPushButton*>("CmdText"), Qt::LeftButton);
    auto* univ = qobject_cast<UnivWindow*>(m->FindChildWindow("FrmUniv"));
    QVERIFY(univ);
    QVERIFY(univ->Text().contains("Petzval radius"));
  }

  void sagittaAndAllowancesShareTheWindow() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* sag = Open<SagittaWindow>("MnuToolsSagitta", "FrmSagitta");
    QVERIFY(sag);
    QCOMPARE(sag->mode(), 1);
    QVERIFY(TextOf(sag, "TextPage").contains("best-fit sphere"));
    auto* ab = Open<SagittaWindow>("MnuToolAbAll", "FrmAbAll");
    QVERIFY(ab);
    QCOMPARE(ab->mode(), 2);
    QCOMPARE(ab->windowTitle(), QString("   Aberration Allowances for current design"));
    QVERIFY(TextOf(ab, "TextPage").contains("2 lambda N^2"));
  }

  void exportFromTheWaveFrontWindow() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* wf = Open<WavefrontWindow>("Toolbar1_WaveFront", "FrmWFront");
    QVERIFY(wf);
    auto* button = wf->findChild<QPushButton*>("ExportOPD");
    QVERIFY(button && button->isEnabled());
    ExportAberratorDialog dialog(*m, wf->Settings());
    QCOMPARE(dialog.Grid(), 101);
    dialog.SetGrid(201);
    QTemporaryDir dir;
    const QString path = dir.filePath("newt.OPD");
    QVERIFY(dialog.CreateFile(path));
    QCOMPARE(QString::fromStdString(s->design.DesignFileName), path);
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList lines = QTextStream(&f).readAll().split('\n', Qt::SkipEmptyParts);
    const int mark = lines.indexOf("MASK");
    QVERIFY(mark > 1);
    QCOMPARE(lines.size(), 2 * mark);
    QCOMPARE(lines[0], QString("546.1,200"));
    QCOMPARE(dialog.findChild<QProgressBar*>("ProgressBar2")->value(), 100);
  }
};

QTEST_MAIN(ReportWindowsTest)
#include "report_windows_test.moc"
