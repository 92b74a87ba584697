// The 3D layout, the element drawing and the edge contact dialog opened from
// their menu entries on Qt's offscreen platform.
#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPrinter>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

#include "core/design_file.h"
#include "core/number_text.h"
#include "shell/design_window.h"
#include "shell/dialogs.h"
#include "shell/drawing_windows.h"
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

QByteArray Head(const QString& path) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) return {};
  return f.read(4);
}

}  // namespace

class DrawingWindowsTest : public QObject, WindowFixture {
  Q_OBJECT

 private slots:
  void init() { StartShell(); }
  void cleanup() { StopShell(); }

  void layout3dTurnsByDragAndSaves() {
    QVERIFY(m->OpenDesignFile(ExampleFile("cooke_triplet_50_f4.5.ovn"), DesignFormat::Current));
    auto* w = Open<Layout3DWindow>("MnuAnlLayout3D", "Frmlayout3D");
    QVERIFY(w);
    QCOMPARE(w->windowTitle(), QString("3D- LAYOUT"));
    QVERIFY(!w->computed());  // the window opens empty
    Click(w, "Update");
    QVERIFY(w->computed());
    QCOMPARE(w->layout().elements, 3);
    // A drag across turns the design about the vertical, not about X.
    const Layout3DSettings before = w->Settings();
    QPoint from = w->Pane(0)->rect().center();
    QTest::mousePress(w->Pane(0), Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, QPointF(from + QPoint(40, 0)), QPointF(w->Pane(0)->mapToGlobal(from + QPoint(40, 0))),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(w->Pane(0), &move);
    QTest::mouseRelease(w->Pane(0), Qt::LeftButton, {}, from + QPoint(40, 0));
    QCOMPARE(w->Settings().rotY, before.rotY + 20);
    QCOMPARE(w->Settings().rotX, before.rotX);
    // Turning past a half turn comes round.
    w->Drag(400, 0);
    QVERIFY(w->Settings().rotY >= -180 && w->Settings().rotY <= 180);
    Click(w, "CmdResetView");
    QCOMPARE(w->Settings().rotX, 0.0);
    QTemporaryDir dir;
    QVERIFY(w->SaveImageTo(dir.filePath("3d.png")));
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(dir.filePath("3d.pdf"));
    QVERIFY(w->PrintTo(pdf));
    QVERIFY(QFileInfo(dir.filePath("3d.pdf")).size() > 500);
    Click(w, "Help");
    auto* help = qobject_cast<HelpBook*>(m->FindChildWindow("FrmGuida"));
    QVERIFY(help);
    QCOMPARE(help->CurrentTopic(), QString("Layout3D"));
    // The toolbar's 3D opens it anew.
    auto* again = Open<Layout3DWindow>("Toolbar1_3DLayout", "Frmlayout3D");
    QVERIFY(again);
    QVERIFY(!again->computed());
  }

  void elementDrawingOfEachElementPrintsToA4() {
    QVERIFY(m->OpenDesignFile(ExampleFile("cemented_doublet_100_f10.ovn"), DesignFormat::Current));
    auto* w = Open<ElementWindow>("MnuVolume", "FrmVolume");
    QVERIFY(w);
    QCOMPARE(w->windowTitle(), QString("Element Drawing"));
    auto* combo = w->findChild<QComboBox*>("ComboElement");
    QVERIFY(combo);
    QCOMPARE(combo->count(), 2);  // the crown and the flint of the cemented pair
    Click(w, "Update");
    QVERIFY(w->computed());
    QCOMPARE(w->drawing().ref.first, 1);
    combo->setCurrentIndex(1);  // drawn again at once
    QCOMPARE(w->drawing().ref.first, 2);
    // The cemented face is the crown's back and the flint's front: the same radius.
    QCOMPARE(w->drawing().front.radius, s->design.Radius[2]);
    QTemporaryDir dir;
    QVERIFY(w->SaveSheet(dir.filePath("flint.pdf")));
    QCOMPARE(Head(dir.filePath("flint.pdf")), QByteArray("%PDF"));
    QVERIFY(w->SaveSheet(dir.filePath("flint.svg")));
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(dir.filePath("print.pdf"));
    QVERIFY(w->PrintSheet(printer));
    // One A4 landscape page.
    QCOMPARE(printer.pageLayout().pageSize().id(), QPageSize::A4);
    QCOMPARE(printer.pageLayout().orientation(), QPageLayout::Landscape);
    QVERIFY(QFileInfo(dir.filePath("print.pdf")).size() > 500);
    Click(w, "Help");
    auto* help = qobject_cast<HelpBook*>(m->FindChildWindow("FrmGuida"));
    QVERIFY(help);
    QCOMPARE(help->CurrentTopic(), QString("ElementDrawing"));
  }

  void mirrorBlankIsTheUsersOwn() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    auto* w = Open<ElementWindow>("MnuVolume", "FrmVolume");
    QVERIFY(w);
    Click(w, "Update");
    QVERIFY(w->computed());
    QVERIFY(w->drawing().ref.mirror);
    auto* blank = w->findChild<QLineEdit*>("TxtBlank");
    blank->setText("25");
    Click(w, "Update");
    QCOMPARE(w->drawing().centreThickness, 25.0);
  }

  void solveContactWritesThroughTheGrid() {
    QVERIFY(m->OpenDesignFile(ExampleFile("cooke_triplet_50_f4.5.ovn"), DesignFormat::Current));
    QAction* entry = m->findChild<QAction*>("MnuEditSolveContact");
    QVERIFY(entry && entry->isEnabled());
    auto* d = qobject_cast<SolveContactDialog*>(m->CreateModalWindow("FrmSolve"));
    QVERIFY(d);
    QCOMPARE(d->windowTitle(), QString("Solve for Edge Contact"));
    d->findChild<QSpinBox*>("TxtSurface")->setValue(2);
    // The half-diameters of the table are offered.
    QCOMPARE(d->findChild<QLineEdit*>("TxtH1")->text(), QString("8.5"));
    QCOMPARE(d->findChild<QLineEdit*>("TxtH2")->text(), QString("6"));
    const double efl_before = s->design.Efl;
    // Rims of 8.5 and 6 mm at one plane: the flint's rim would cut into the crown's face.
    Click(d, "CmdSolve");
    QVERIFY(d->contact().ok);
    QVERIFY(d->contact().facesCross);
    // The smaller flint rests on the crown's face at its own rim, 6 mm from the axis.
    d->findChild<QLineEdit*>("TxtH1")->setText("6");
    Click(d, "CmdSolve");
    QVERIFY(!d->contact().facesCross);
    const double sag1 = -160 + std::sqrt(160.0 * 160 - 6 * 6), sag2 = -21 + std::sqrt(21.0 * 21 - 6 * 6);
    QVERIFY(std::fabs(d->contact().thickness - (sag1 - sag2)) < 1e-9);
    Click(d, "CmdOK");
    const double t = RoundTo(sag1 - sag2, 4);
    QCOMPARE(s->design.Thickness[2], t);
    QCOMPARE(QString::fromStdString(s->sheet.Cell(2, 4)), QString::fromStdString(ShortestText(t)));
    // The update ran: the focal length follows the new spacing, and the grid shows it.
    QVERIFY(s->design.Efl != efl_before);
    auto* grid = qobject_cast<DesignWindow*>(m->FindChildWindow("Frmdati"))->grid();
    QCOMPARE(grid->item(1, 4)->text().toDouble(), t);  // the grid's first row is surface 1
    delete d;
  }
};

QTEST_MAIN(DrawingWindowsTest)
#include "drawing_windows_test.moc"
