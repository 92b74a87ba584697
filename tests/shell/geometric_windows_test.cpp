// The four geometric windows opened from the toolbar and the menu on Qt's
// offscreen platform, with their main commands pressed.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/geometric_windows.h"
#include "shell/main_window.h"
#include "window_fixture.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {


void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

QString TextOf(QWidget* w, const char* pane) {
  auto* t = w->findChild<QPlainTextEdit*>(pane);
  return t ? t->toPlainText() : QString();
}

}  // namespace

class GeometricWindowsTest : public QObject, WindowFixture {
  Q_OBJECT

 private slots:
  void init() { StartShell(); }
  void cleanup() { StopShell(); }

  void seidelTablesFromTheToolbar() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* w = Open<SeidelWindow>("Toolbar1_Seidel", "Frmseidel1");
    QVERIFY(w);
    Click(w, "CmdParSetup");
    QVERIFY(TextOf(w, "TextTable").contains("EFFECTIVE FOCAL LENGTH"));
    Click(w, "CmdSeidel");
    const QString table = TextOf(w, "TextTable");
    QVERIFY(table.contains("[Asph.Contr.]"));
    QVERIFY(table.contains("[ SUM ] "));
    // The paraboloid of the Newtonian: no spherical aberration in the sum.
    QVERIFY(std::fabs(w->result().seidel.sum[0]) < 1e-12);
    Click(w, "CmdCopy");
    QVERIFY(QGuiApplication::clipboard()->text().contains("SEIDEL COEFFICIENTS"));
    Click(w, "CmdLong");
    QVERIFY(TextOf(w, "TextTable").contains("[TANG.Coma]"));
    QTemporaryDir dir;
    QVERIFY(w->SaveTextTo(dir.filePath("seidel.txt")));
    QVERIFY(w->SaveImageTo(dir.filePath("seidel.png")));
    QVERIFY(QFile::exists(dir.filePath("seidel.png")));
  }

  void seidelWithoutFieldCloses() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    s->sheet.Txtangolo = "0";
    s->sheet.TxtangoloX = "0";
    auto* w = Open<SeidelWindow>("MnuAnlParax", "Frmseidel1");
    QVERIFY(w);
    Click(w, "CmdRayTrace");
    QTRY_VERIFY(m->FindChildWindow("Frmseidel1") == nullptr);
  }

  void sphericalZonesAndReport() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* w = Open<SphericalWindow>("Toolbar1_Spherical", "Frmabsferica");
    QVERIFY(w);
    QCOMPARE(w->findChild<QLineEdit*>("Txtbflattuale")->text().toStdString(), FormatFixed(s->design.Bfl, 4));
    Click(w, "Update");
    QVERIFY(w->result().error.empty());
    QVERIFY(w->result().InUse[0] && w->result().InUse[1] && w->result().InUse[2]);
    QVERIFY(TextOf(w, "Picture3").contains("WL-6"));
    QVERIFY(!w->Pane(0)->plot().empty());
    QVERIFY(!w->Pane(1)->plot().empty());
    Click(w, "CmdText");
    auto* report = w->findChild<QDialog*>("FrmSphReport");
    QVERIFY(report);
    QVERIFY(report->findChild<QPlainTextEdit*>("TextReport")->toPlainText().contains("LONGITUDINAL SPHERICAL"));
    Click(w, "Command1");  // Auto Focus writes the best focus into Text1
    const double focus = NumberIn(w->findChild<QLineEdit*>("Txtbflattuale"));
    QVERIFY(std::fabs(focus - s->design.Bfl) < 5);
  }

  void fieldCurvatureUpdatesAtOnceAndOnEachOption() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* w = Open<FieldCurvatureWindow>("MnuAnlCurv", "Frmcodding");
    QVERIFY(w);
    QTRY_COMPARE(w->result().rowsDone, 10);
    const double tan_wl1 = w->result().ZTan[10];
    auto* option2 = w->findChild<QRadioButton*>("Option2");
    QVERIFY(option2 && option2->isVisible());
    QTest::mouseClick(option2, Qt::LeftButton);
    QVERIFY(w->result().ZTan[10] != tan_wl1);
    QVERIFY(TextOf(w, "Picture1").contains("Z tangential"));
    QVERIFY(!w->Pane(0)->plot().empty());
  }

  void rayFanSixGraphs() {
    QVERIFY(m->OpenDesignFile(ExampleFile("schmidt_camera_200_f3.ovn"), DesignFormat::Current));
    auto* w = Open<RayFanWindow>("Toolbar1_RayFan", "FrmRayFan");
    QVERIFY(w);
    QCOMPARE(w->PaneCount(), 6);
    Click(w, "Update");
    QVERIFY(w->result().error.empty());
    for (int i = 0; i < 6; ++i) QVERIFY(!w->Pane(i)->plot().empty());
    QTemporaryDir dir;
    QVERIFY(w->SaveImageTo(dir.filePath("fan.png")));
    QVERIFY(QFile::exists(dir.filePath("fan-6.png")));
    // A beam of no width leaves nothing to scale: the update ends with its
    // message, the window stays.
    s->design.EntrBeamSemiDiam = 0;
    Click(w, "Update");
    QCOMPARE(w->result().error, std::string(kFanZeroScale));
    QVERIFY(m->FindChildWindow("FrmRayFan") != nullptr);
  }

  void menuAndToolbarEntriesAreEnabled() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    for (const char* name : {"Toolbar1_Seidel", "Toolbar1_Spherical", "Toolbar1_FieldCurvature", "Toolbar1_RayFan",
                             "MnuAnlParax", "MnuAnlSpher", "MnuAnlCurv", "MnuAnlRayFan"}) {
      auto* a = m->findChild<QAction*>(name);
      QVERIFY2(a && a->isEnabled(), name);
    }
  }
};

QTEST_MAIN(GeometricWindowsTest)
#include "geometric_windows_test.moc"
