// The diffraction energy, colour image, multi-analysis and ghost windows
// driven as a user drives them on Qt's offscreen platform: each opens from
// its menu entry, shows what its engine computes for the same settings,
// keeps its picture when a run fails, prints, saves and opens its help.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/dialogs.h"
#include "shell/image_quality_windows.h"
#include "shell/main_window.h"
#include "window_fixture.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}


// Saves what a window shows when OVRIN_SHOTS names a folder, for a look.
void Shot(QWidget* w, const char* name) {
  const QByteArray dir = qgetenv("OVRIN_SHOTS");
  if (!dir.isEmpty()) w->grab().save(QString(dir) + "/" + name + ".png");
}

}  // namespace

class ImageQualityWindowsTest : public QObject, WindowFixture {
  Q_OBJECT

  // Print to a PDF, save a picture, open the help at the window's chapter.
  void PrintsSavesAndHelps(AnalysisWindow* w, const char* name, const char* topic) {
    QTemporaryDir dir;
    QVERIFY2(w->SaveImageTo(dir.filePath(QString(name) + ".png")), name);
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(dir.filePath(QString(name) + ".pdf"));
    QVERIFY2(w->PrintTo(pdf), name);
    QVERIFY(QFileInfo(dir.filePath(QString(name) + ".pdf")).size() > 500);
    Click(w, "Help");
    auto* help = qobject_cast<HelpBook*>(m->FindChildWindow("FrmGuida"));
    QVERIFY(help);
    QCOMPARE(help->CurrentTopic(), QString(topic));
  }

 private slots:
  void init() { StartShell(); }
  void cleanup() { StopShell(); }

  void energyShowsTheEngineAndKeepsItOnAFailure() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* w = Open<EnergyWindow>("MnuAnlEEPDiff", "FrmEEPDiff");
    QVERIFY(w);
    Click(w, "Update");
    const DiffEnergyResult& r = w->result();
    QVERIFY(r.ok);
    const DiffEnergyResult expected = ComputeDiffractionEnergy(s->design, w->Settings());
    QCOMPARE(r.atDarkRing, expected.atDarkRing);
    QCOMPARE(w->findChild<QLabel*>("LabelRing")->text(), QString::fromStdString(FormatFixed(100 * r.atDarkRing, 1) + " %"));
    QCOMPARE(w->findChild<QLabel*>("LabelPerfect")->text(), QString("83.8 %"));
    QVERIFY(w->findChild<QPlainTextEdit*>("Text1")->toPlainText().contains("RADIUS (micron)"));
    Shot(w, "FrmEEPDiff");
    // A focal surface the full-field rays cannot reach: a message, and the curve stays.
    const double before = r.atDarkRing;
    w->findChild<QComboBox*>("ComboField")->setCurrentIndex(1);
    w->findChild<QLineEdit*>("Text2")->setText("1");
    Click(w, "Update");
    QCOMPARE(w->result().atDarkRing, before);
    PrintsSavesAndHelps(w, "FrmEEPDiff", "EEPDiff");
  }

  void colourImageAddsTheCheckedWavelengths() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* w = Open<ColourImageWindow>("MnuVisualPSF", "FrmVisualPSF");
    QVERIFY(w);
    Click(w, "Update");
    QVERIFY(w->result().ok);
    QCOMPARE(w->result().layers.size(), size_t{3});
    Shot(w, "FrmVisualPSF");
    // Green alone: one layer, and the picture has no red or blue in it.
    w->findChild<QCheckBox*>("Check_r")->setChecked(false);
    w->findChild<QCheckBox*>("Check_c")->setChecked(false);
    Click(w, "Update");
    QCOMPARE(w->result().layers.size(), size_t{1});
    const Rgb green = w->result().layers[0].colour;
    QVERIFY(green.g > green.r && green.g > green.b);
    // No wavelength at all: a message, the picture stays.
    w->findChild<QCheckBox*>("Check_e")->setChecked(false);
    Click(w, "Update");
    QCOMPARE(w->result().layers.size(), size_t{1});
    PrintsSavesAndHelps(w, "FrmVisualPSF", "VisualPSF");
  }

  void multiAnalysisFromTheToolbarPrintsOnOnePage() {
    QVERIFY(m->OpenDesignFile(ExampleFile("ritchey_chretien_200_f8.ovn"), DesignFormat::Current));
    QVERIFY(m->findChild<QAction*>("MnuAnlMultiAnalisi1")->isEnabled());
    auto* w = Open<MultiAnalysisWindow>("Toolbar1_MultiAnl", "FrmMultiAnl");
    QVERIFY(w);
    QVERIFY(!w->computed());
    Click(w, "Update");
    QVERIFY(w->computed());
    const MultiResult& r = w->result();
    QVERIFY(r.layoutPart.ok && r.spotPart[0].ok && r.spotPart[1].ok && r.mtfPart.ok && r.wavePart[1].ok);
    const MultiResult expected = ComputeMultiAnalysis(s->design, w->Settings());
    QCOMPARE(r.text, expected.text);
    QVERIFY(!w->Pane(0)->plot().empty());
    Shot(w, "FrmMultiAnl");
    QTemporaryDir dir;
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(dir.filePath("sheet.pdf"));
    QVERIFY(w->PrintSheet(pdf));
    QVERIFY(QFileInfo(dir.filePath("sheet.pdf")).size() > 2000);
    PrintsSavesAndHelps(w, "FrmMultiAnl", "MultiAnl");
  }

  void ghostsListEveryPairWithTheChosenReflectance() {
    QVERIFY(m->OpenDesignFile(ExampleFile("cooke_triplet_50_f4.5.ovn"), DesignFormat::Current));
    auto* w = Open<GhostWindow>("MnuAnlGhost", "FrmGhost");
    QVERIFY(w);
    Click(w, "Update");
    QCOMPARE(w->result().ghosts.size(), size_t{15});
    QCOMPARE(w->findChild<QLabel*>("LabelCount")->text(), QString("15 (6 surfaces)"));
    Shot(w, "FrmGhost");
    w->findChild<QLineEdit*>("Text2")->setText("1");
    Click(w, "Update");
    for (const Ghost& g : w->result().ghosts) QVERIFY(std::fabs(g.energy - 1e-4) < 1e-15);
    const QStringList lines = w->findChild<QPlainTextEdit*>("Text1")->toPlainText().split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 3 + 15);
    PrintsSavesAndHelps(w, "FrmGhost", "Ghost");
  }
};

QTEST_MAIN(ImageQualityWindowsTest)
#include "image_quality_windows_test.moc"
