// The geometric family of windows opened from their menu entries on Qt's
// offscreen platform: each updates, prints, saves and opens its own help
// chapter; the RMS entries choose the scan; the .CFS export and the best
// focus write what they say.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include "core/design_file.h"
#include "shell/dialogs.h"
#include "shell/geometric_family_windows.h"
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

}  // namespace

class GeometricFamilyWindowsTest : public QObject, WindowFixture {
  Q_OBJECT
  FamilyWindow* Open(const char* action, const char* name) {
    auto* a = m->findChild<QAction*>(action);
    if (!a || !a->isEnabled()) return nullptr;
    a->trigger();
    return qobject_cast<FamilyWindow*>(m->FindChildWindow(name));
  }

 private slots:
  void init() { StartShell(); }
  void cleanup() { StopShell(); }

  void everyWindowUpdatesPrintsSavesAndHelps() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    struct Entry {
      const char *action, *name, *topic;
    };
    const Entry entries[] = {{"MnuAnlMultiSpot", "Frmmultispot", "MultiSpot"},
                             {"MnuAnMatrix", "FrmMatrix", "MatrixSpot"},
                             {"MnuAnlTotalField", "FrmTotalFieldSpot", "TotalFieldSpot"},
                             {"MnuRMSFocus", "FrmRMS", "RmsVersus"},
                             {"MnuAnlDist", "FrmDist", "Distortion"},
                             {"MnuAnlLatCol", "FrmLatCol", "LateralColour"},
                             {"MnuAnlCFS", "FrmCFS", "FocalShift"},
                             {"MnuAnlEEPGeo", "Frmeep", "EncircledEnergy"},
                             {"MnuAnlGeoPSF", "Frmpsf", "GeometricPsf"},
                             {"MnuAnlGeoMTFfield", "FrmMTFGeoField", "GeometricMtf"},
                             {"MnuAnlGeoMTFtfocus", "FrmMTFGeotfocus", "GeometricMtfFocus"},
                             {"MnuAnlReal", "FrmRealRay", "RealRays"},
                             {"MnuAnlVign", "FrmVign", "Vignetting"},
                             {"MnuAnlFootPrint", "FrmFootPrint", "Footprint"},
                             {"MnuToolsBF", "FrmBestFocus", "BestFocus"}};
    QTemporaryDir dir;
    for (const Entry& e : entries) {
      const char* name = e.name;
      FamilyWindow* w = Open(e.action, name);
      QVERIFY2(w, name);
      Click(w, "Update");
      QVERIFY2(w->computed(), name);
      const QString text = w->findChild<QPlainTextEdit*>("TextNumbers")->toPlainText();
      QVERIFY2(!text.isEmpty() && !text.contains("ERROR"), name);
      QVERIFY2(w->SaveImageTo(dir.filePath(QString(name) + ".png")), name);
      QPrinter pdf(QPrinter::HighResolution);
      pdf.setOutputFormat(QPrinter::PdfFormat);
      pdf.setOutputFileName(dir.filePath(QString(name) + ".pdf"));
      QVERIFY2(w->PrintTo(pdf), name);
      QVERIFY(QFileInfo(dir.filePath(QString(name) + ".pdf")).size() > 500);
      Click(w, "Help");
      auto* help = qobject_cast<HelpBook*>(m->FindChildWindow("FrmGuida"));
      QVERIFY(help);
      QCOMPARE(help->CurrentTopic(), QString(e.topic));
      QCOMPARE(QString(FamilyWindowName(w->kind())), QString(name));
    }
    // The toolbar's M.Spot opens the multi-spot window.
    QVERIFY(Open("Toolbar1_MultiSpot", "Frmmultispot"));
  }

  void rmsEntriesChooseTheScan() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    FamilyWindow* w = Open("MnuRMSField", "FrmRMS");
    QVERIFY(w);
    QCOMPARE(w->scan(), RmsScan::Field);
    QVERIFY(w->computed());
    QVERIFY(w->text().find("Field") != std::string::npos);
    w = Open("MnuRMSWL", "FrmRMS");
    QCOMPARE(w->scan(), RmsScan::Wavelength);
    QVERIFY(w->text().find("WL (um)") != std::string::npos);
  }

  void cfsExportOfAMirrorHasEveryShiftZero() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    FamilyWindow* w = Open("MnuAnlCFS", "FrmCFS");
    QVERIFY(w);
    QVERIFY(!w->ExportCfsTo("unused.CFS"));  // nothing computed yet
    Click(w, "Update");
    QTemporaryDir dir;
    const QString path = dir.filePath("mirror.CFS");
    QVERIFY(w->ExportCfsTo(path));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(f.readAll()).split("\r\n", Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 42);
    QVERIFY(lines[0].startsWith('"'));
    for (int i = 1; i < lines.size(); ++i) QCOMPARE(lines[i].section(',', 1), QString("0"));
    QCOMPARE(QString::fromStdString(s->design.DesignFileName), path);
  }

  void bestFocusGoesIntoTheLastThickness() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    const double before = s->design.Thickness[s->design.SurfCount];
    FamilyWindow* w = Open("MnuToolsBF", "FrmBestFocus");
    QVERIFY(w);
    Click(w, "Update");
    const double shift = w->bestFocus().shift;
    QVERIFY(std::fabs(shift) > 1e-4);
    Click(w, "CmdApply");  // the question is answered Yes
    QCOMPARE(s->design.Thickness[s->design.SurfCount], before + shift);
    // The window now works at the best focus.
    const double bfl = w->findChild<QLineEdit*>("Txtbflattuale")->text().toDouble();
    QVERIFY(std::fabs(bfl - w->bestFocus().imageDistance) < 1e-4);
  }
};

QTEST_MAIN(GeometricFamilyWindowsTest)
#include "geometric_family_windows_test.moc"
