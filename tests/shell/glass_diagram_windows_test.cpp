// The Glass Diagram menu's windows and the environmental analysis on Qt's
// offscreen platform: opened from their menu entries, the pointer and a click
// on a map, the catalogue table searched and sorted, the analysis opened from
// the Environmental Conditions dialog.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

#include "core/design_file.h"
#include "shell/glass_diagram_windows.h"
#include "shell/main_window.h"
#include "window_fixture.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {


QString TextOf(QWidget* w, const char* pane) {
  auto* t = w->findChild<QPlainTextEdit*>(pane);
  return t ? t->toPlainText() : QString();
}

// The widget point of a place on the map, from the map's own coordinate window.
QPointF WidgetPointOf(const PlotView* pane, double x, double y) {
  const QPointF a = pane->ToPlot({0, 0}), b = pane->ToPlot({100, 100});
  return {(x - a.x()) / (b.x() - a.x()) * 100, (y - a.y()) / (b.y() - a.y()) * 100};
}

void SendMouse(QWidget* w, QEvent::Type type, const QPointF& at) {
  const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
  QMouseEvent e(type, at, w->mapToGlobal(at), button, button == Qt::NoButton ? Qt::NoButton : Qt::LeftButton,
                Qt::NoModifier);
  QApplication::sendEvent(w, &e);
}

}  // namespace

class GlassDiagramWindowsTest : public QObject, WindowFixture {
  Q_OBJECT

 private slots:
  void init() { StartShell(false); }
  void cleanup() { StopShell(); }

  // The maps need no design; each opens drawn, SCHOTT alone checked.
  void mapsOpenFromTheMenuWithoutADesign() {
    const char* const entries[][2] = {
        {"MnuGlassNdVd", "FrmGlassNdVd"}, {"MnuGlassPfe", "FrmGlassPFE"}, {"MnuGlassPversusP", "FrmPvsP"}};
    for (const auto& e : entries) {
      auto* w = Open<GlassDiagramWindow>(e[0], e[1]);
      QVERIFY2(w, e[1]);
      QCOMPARE(static_cast<int>(w->result().glasses.size()), 297);
      QVERIFY(!w->Pane(0)->plot().empty());
    }
    auto* data = Open<GlassDataWindow>("MnuGlassView", "FrmGlassData");
    QVERIFY(data);
    QCOMPARE(data->table()->rowCount(), 297);
  }

  void pointerReadsAndClickShowsAGlass() {
    auto* w = Open<GlassDiagramWindow>("MnuGlassNdVd", "FrmGlassNdVd");
    QVERIFY(w);
    w->findChild<QCheckBox*>("ChkOHARA")->setChecked(true);
    QCOMPARE(static_cast<int>(w->result().glasses.size()), 297 + 140);
    // S-FPL53, a fluor crown alone in its corner of the map.
    int index = -1;
    for (std::size_t i = 0; i < w->result().glasses.size(); ++i)
      if (std::string(w->result().glasses[i].row->name) == "S-FPL53") index = static_cast<int>(i);
    QVERIFY(index >= 0);
    const GlassMark& mark = w->result().glasses[static_cast<std::size_t>(index)];
    const QPointF at = WidgetPointOf(w->Pane(0), mark.x, mark.y);
    QCOMPARE(w->GlassUnder(at), index);
    SendMouse(w->Pane(0), QEvent::MouseMove, at);
    QVERIFY2(w->Readout().contains("OHARA S-FPL53"), qPrintable(w->Readout()));
    SendMouse(w->Pane(0), QEvent::MouseButtonPress, at);
    const QString text = TextOf(w, "TxtGlass");
    QVERIFY2(text.contains("OHARA S-FPL53") && text.contains("Formula: Sellmeier"), qPrintable(text));
    QVERIFY(text.contains("off the normal line"));
    // Far from every glass the read-out is empty.
    SendMouse(w->Pane(0), QEvent::MouseMove, WidgetPointOf(w->Pane(0), w->result().x.max, w->result().y.max));
    QVERIFY(w->Readout().isEmpty());
    QTemporaryDir dir;
    QVERIFY(w->SaveImageTo(dir.filePath("ndvd.svg")));
    QVERIFY(QFile::exists(dir.filePath("ndvd.svg")));
  }

  void catalogueTableSearchesAndSorts() {
    auto* w = Open<GlassDataWindow>("MnuGlassView", "FrmGlassData");
    QVERIFY(w);
    w->findChild<QLineEdit*>("TxtSearch")->setText("bk7");
    QTableWidget* t = w->table();
    QCOMPARE(t->rowCount(), 3);
    // Sorted by nd, falling: UBK7/N-BK7/BK7 share 1.5168 to four places, so
    // check the order of the values rather than names.
    t->sortByColumn(1, Qt::DescendingOrder);
    QVERIFY(t->item(0, 1)->text().toDouble() >= t->item(1, 1)->text().toDouble());
    QVERIFY(t->item(1, 1)->text().toDouble() >= t->item(2, 1)->text().toDouble());
    t->selectRow(0);
    QVERIFY(TextOf(w, "TxtData").contains("Formula: Sellmeier"));

    auto* combo = w->findChild<QComboBox*>("ComboCatalog");
    w->findChild<QLineEdit*>("TxtSearch")->clear();
    combo->setCurrentIndex(static_cast<int>(Catalogue::Ohara));
    QCOMPARE(t->rowCount(), 140);
    auto* wl = w->findChild<QLineEdit*>("TxtWl");
    wl->setText("0.6563");
    emit wl->editingFinished();
    QVERIFY(t->horizontalHeaderItem(4)->text().contains("0.6563"));
    // Sorting by vd puts the highest Abbe number first when falling.
    t->sortByColumn(2, Qt::DescendingOrder);
    QVERIFY(t->item(0, 2)->text().toDouble() > 90);
    QTemporaryDir dir;
    QVERIFY(w->SaveTextTo(dir.filePath("ohara.txt")));
    QFile f(dir.filePath("ohara.txt"));
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll().count('\n'), 142);
    // The whole table printed, as a PDF here.
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(dir.filePath("ohara.pdf"));
    QVERIFY(w->PrintTo(printer));
    QVERIFY(QFileInfo(dir.filePath("ohara.pdf")).size() > 1000);
  }

  void environmentFromTheConditionsDialog() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    auto* dialog = qobject_cast<QDialog*>(m->CreateModalWindow("FrmEnvCond"));
    QVERIFY(dialog);
    dialog->findChild<QLineEdit*>("TxtTemp")->setText("-10");
    dialog->findChild<QLineEdit*>("TxtPress")->setText("0.8");
    QTest::mouseClick(dialog->findChild<QPushButton*>("CmdAnalysis"), Qt::LeftButton);
    QTRY_VERIFY(m->FindChildWindow("FrmEnvAnalysis") != nullptr);
    delete dialog;
    auto* w = qobject_cast<EnvironmentWindow*>(m->FindChildWindow("FrmEnvAnalysis"));
    QVERIFY(w);
    QCOMPARE(w->result().tActual, -10.0);
    QCOMPARE(w->result().pActual, 0.8);
    QVERIFY(TextOf(w, "TxtTable").contains("Focus shift"));
    // The design itself is not changed by the analysis.
    QCOMPARE(s->design.EnvTempCurrent, 20.0f);
    // A cold night on a mountain moves the focus.
    QVERIFY(w->result().firstOrder[0].FocusShift() != 0);

    // Back at the design's own conditions nothing changes.
    w->SetConditions(20, 1);
    w->Update();
    for (const auto& f : w->result().firstOrder) QCOMPARE(f.FocusShift(), 0.0);
    // An impossible pressure is refused and leaves the last result.
    w->findChild<QLineEdit*>("TxtPress")->setText("0");
    w->Update();
    QCOMPARE(w->result().pActual, 1.0);
  }

  void environmentOfAMirrorTelescope() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* w = qobject_cast<EnvironmentWindow*>(m->OpenWindow("FrmEnvAnalysis"));
    QVERIFY(w);
    w->SetConditions(-20, 0.7);
    w->Update();
    QCOMPARE(w->result().firstOrder[0].FocusShift(), 0.0);
    w->findChild<QLineEdit*>("TxtMirrorExp")->setText("3.3");
    w->Update();
    QVERIFY(w->result().firstOrder[0].FocusShift() != 0);
  }
};

QTEST_MAIN(GlassDiagramWindowsTest)
#include "glass_diagram_windows_test.moc"
