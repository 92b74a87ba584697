// The desktop program driven as a user drives it: menus, the grid, the
// floating boxes and the modal windows, on Qt's offscreen platform.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QImage>
#include <QPrinter>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <cmath>
#include <functional>

#include "core/design_file.h"
#include "glass/catalogue_media.h"
#include "shell/design_window.h"
#include "core/number_text.h"
#include "shell/dialogs.h"
#include "shell/main_window.h"
#include "shell/number_locale.h"
#include "shell/layout_window.h"
#include "shell/spot_window.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

// Runs `act` on the next modal window other than `under` as soon as it is up.
void OnNextModal(std::function<void(QWidget*)> act, QWidget* under = nullptr) {
  auto* timer = new QTimer;
  timer->setInterval(5);
  QObject::connect(timer, &QTimer::timeout, [timer, act, under] {
    QWidget* w = QApplication::activeModalWidget();
    if (!w || w == under) return;
    timer->stop();
    timer->deleteLater();
    act(w);
  });
  timer->start();
}

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

// The message box of the next modal window: its text, answered with `button`.
void AnswerNextMessage(QString* text, QMessageBox::StandardButton button, QWidget* under = nullptr,
                       QString* title = nullptr) {
  OnNextModal(
      [=](QWidget* w) {
        auto* box = qobject_cast<QMessageBox*>(w);
        QVERIFY(box);
        *text = box->text();
        if (title) *title = box->windowTitle();
        QTest::mouseClick(box->button(button) ? box->button(button) : box->defaultButton(), Qt::LeftButton);
      },
      under);
}

QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }

double CatalogueIndex(Catalogue c, const char* name, float wl) {
  GlassLookup g;
  g.GlassName = name;
  g.GlassWl = wl;
  g.Lookup(c);
  return g.GlassIndex;
}

}  // namespace

class ShellTest : public QObject {
  Q_OBJECT

  Session* s = nullptr;
  MainWindow* m = nullptr;

  DesignWindow* Frmdati() { return qobject_cast<DesignWindow*>(m->FindChildWindow("Frmdati")); }

  void ClickCell(int row, int col) {
    QTableWidget* grid = Frmdati()->grid();
    const QRect r = grid->visualItemRect(grid->item(row - 1, col));
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, r.center());
  }
  // Types into the floating edit box of a cell and leaves it with Enter.
  void TypeInCell(int row, int col, const QString& keys) {
    ClickCell(row, col);
    auto* box = Frmdati()->grid()->findChild<QLineEdit*>("txtDataEntry");
    QVERIFY(box && box->isVisible());
    box->selectAll();
    QTest::keyClicks(box, keys);
    QTest::keyClick(box, Qt::Key_Return);
  }
  // Opens the floating list of a cell and chooses an entry, as a click in its popup does.
  void ChooseInCell(int row, int col, const QString& entry) {
    ClickCell(row, col);
    auto* combo = Frmdati()->grid()->findChild<QComboBox*>(col == 5 ? "ComboGlass" : "Combotipo");
    QVERIFY(combo);
    const int i = combo->findText(entry);
    QVERIFY(i >= 0);
    combo->setCurrentIndex(i);
    emit combo->activated(i);
  }
  void NewDesignOf(const QString& count) {
    OnNextModal([count](QWidget* w) {
      QCOMPARE(w->objectName(), QString("Frmnumsup"));
      QCOMPARE(w->windowTitle(), QString("New Design"));
      w->findChild<QLineEdit*>("Txtnumerosuperfici")->setText(count);
      Click(w, "Cmdok");
    });
    m->findChild<QAction*>("mnuFileNew")->trigger();
  }

 private slots:
  void init() {
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1200, 800);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    QString text;
    AnswerNextMessage(&text, QMessageBox::Yes);
    m->close();
    delete m;
    delete s;
  }

  void newDesignTypedInTheGrid() {
    QVERIFY(!m->findChild<QAction*>("MnuEditTilt")->isEnabled());  // no design yet
    NewDesignOf("3");
    QCOMPARE(int(s->design.SurfCount), 3);
    QCOMPARE(Frmdati()->grid()->rowCount(), 3);
    QVERIFY(m->findChild<QAction*>("MnuEditTilt")->isEnabled());

    // A biconvex N-BK7 lens, then a paraboloid-like plane of conic -1.
    TypeInCell(1, 2, "20");
    TypeInCell(1, 3, "1x00");  // the x is not taken
    TypeInCell(1, 4, "5");
    TypeInCell(2, 3, "-100");
    TypeInCell(2, 4, "95");
    QCOMPARE(QString::fromStdString(s->sheet.Cell(1, 3)), QString("100"));
    OnNextModal([](QWidget* w) {
      QCOMPARE(w->objectName(), QString("FrmSchott"));
      w->findChild<QLineEdit*>("TxtFind")->setText("N-BK7");
      auto* list = w->findChild<QTableWidget*>("ListGlass");
      for (int r = 0; r < list->rowCount(); ++r)
        if (list->item(r, 0)->text() == "N-BK7") list->selectRow(r);
      Click(w, "CmdOK");
    });
    ChooseInCell(1, 5, "SCHOTT");
    OnNextModal([](QWidget* w) {
      QCOMPARE(w->windowTitle(), QString("Conic Costant "));
      QVERIFY(!w->findChild<QLineEdit*>("txt_poli_b")->isVisible());
      w->findChild<QLineEdit*>("txt_conica")->setText("-1");
      Click(w, "cmd_OK");
    });
    ChooseInCell(3, 7, "CONIC");
    Click(Frmdati(), "cmdupdate");

    const DesignState& d = s->design;
    QCOMPARE(d.Radius[1], 100.0);
    QCOMPARE(d.Radius[2], -100.0);
    QCOMPARE(d.Thickness[1], 5.0);
    QCOMPARE(d.SemiDiam[1], 20.0);
    QCOMPARE(int(d.MediumCode[1]), int(kMediumSchott));
    QCOMPARE(d.GlassSchott[1], std::string("N-BK7"));
    QCOMPARE(d.IndexWl[1][1], CatalogueIndex(Catalogue::Schott, "N-BK7", 0.54607f));
    QCOMPARE(s->sheet.Cell(1, 6), std::string("+ N-BK7"));
    QCOMPARE(int(d.SurfType[3]), int(kConic));
    QCOMPARE(d.Conic[3], -1.0);
    // A thick biconvex lens of R 100: f = 1 / ((n-1)(2/R - (n-1)t/(n R^2))); the
    // near-axis ray is a real ray of height 0.01, which leaves a few 1e-6 mm.
    const double n = d.IndexWl[1][1];
    const double f = 1 / ((n - 1) * (2 / 100.0 - (n - 1) * 5 / (n * 100.0 * 100.0)));
    QVERIFY2(std::fabs(d.Efl - f) < 1e-5, qPrintable(QString("%1 %2").arg(d.Efl, 0, 'g', 17).arg(f, 0, 'g', 17)));
    QCOMPARE(Frmdati()->findChild<QLabel*>("Lblfocale")->text(), QString::fromStdString(s->sheet.Lblfocale));
    QCOMPARE(m->findChild<QLabel*>("StatusUpdate")->text(), QString("Last update: OK"));
  }

  void hundredAndOneSurfacesRefused() {
    QString message;
    OnNextModal([&message](QWidget* dialog) {
      auto* box = dialog->findChild<QLineEdit*>("Txtnumerosuperfici");
      box->setText("101");
      AnswerNextMessage(&message, QMessageBox::Ok, dialog);
      Click(dialog, "Cmdok");
      // Refused: the box is back to 1 and the dialog stays for another try.
      QCOMPARE(box->text(), QString("1"));
      QVERIFY(dialog->isVisible());
      box->setText("100");
      Click(dialog, "Cmdok");
    });
    m->findChild<QAction*>("mnuFileNew")->trigger();
    QCOMPARE(message, QString("Invalid Entry"));
    QCOMPARE(int(s->design.SurfCount), 100);
  }

  void cancelAfterNewLeavesTheDesignCleared() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    OnNextModal([](QWidget* w) { Click(w, "Command1"); });
    m->findChild<QAction*>("mnuFileNew")->trigger();
    QCOMPARE(s->design.Radius[1], 0.0);
    QVERIFY(!m->findChild<QAction*>("MnuEditWL")->isEnabled());
    QVERIFY(!Frmdati()->findChild<QPushButton*>("cmdupdate")->isVisible());
  }

  void exampleSavedUnderANewNameReadsBackEqual() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    QCOMPARE(Frmdati()->findChild<QLabel*>("Lblnome")->text(), QString("achromat_80_f12_schott.ovn"));
    QTemporaryDir dir;
    const QString copy = dir.filePath("copy.ovn");
    QVERIFY(m->SaveDesignFile(copy));
    QCOMPARE(QString::fromStdString(s->design.DesignFileName), copy);

    DesignState back;
    DesignSheet sheet;
    CatalogueMedia media;
    QVERIFY(ReadDesignFile(copy.toStdString(), DesignFormat::Current, back, sheet, media).ok);
    const DesignState& d = s->design;
    QCOMPARE(back.SurfCount, d.SurfCount);
    QCOMPARE(back.DesignNote, d.DesignNote);
    QCOMPARE(back.Wavelength, d.Wavelength);
    for (int i = 1; i <= d.SurfCount; ++i) {
      QCOMPARE(back.Radius[i], d.Radius[i]);
      QCOMPARE(back.Thickness[i], d.Thickness[i]);
      QCOMPARE(back.GlassSchott[i], d.GlassSchott[i]);
      for (int k = 1; k <= 6; ++k) QCOMPARE(back.IndexWl[k][i], d.IndexWl[k][i]);
    }
    QCOMPARE(back.Efl, d.Efl);
    QCOMPARE(sheet.cells, s->sheet.cells);
  }

  void visiblePresetStored() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    NewDesignOf("2");
    OnNextModal([](QWidget* w) { Click(w, "CmdOK"); });
    ChooseInCell(1, 5, "OHARA");  // the picker's first glass
    const std::string glass = s->design.GlassOhara[1];
    QVERIFY(!glass.empty());
    OnNextModal([](QWidget* w) {
      QCOMPARE(w->objectName(), QString("FrmWL"));
      Click(w, "CmdVis");
      QVERIFY(w->findChild<QLabel*>("LblVisible")->isVisible());
      QVERIFY(!w->findChild<QLabel*>("LblPhotopic")->isVisible());
      Click(w, "CmdOK");
    });
    m->findChild<QAction*>("MnuEditWL")->trigger();
    const DesignState& d = s->design;
    QCOMPARE(int(d.WlCount), 3);
    QCOMPARE(d.Wavelength[1], 0.4861f);
    QCOMPARE(d.Wavelength[3], 0.0f);
    QCOMPARE(d.WlColorsSet, std::string("SI"));
    for (int k = 1; k <= 3; ++k)
      QCOMPARE(d.IndexWl[k][1], CatalogueIndex(Catalogue::Ohara, glass.c_str(), d.Wavelength[k - 1]));
    QCOMPARE(d.IndexWl[2][2], 1.0);
    QCOMPARE(d.IndexWl[4][2], 0.0);
  }

  void editWindowsTiltInsertDelete() {
    QVERIFY(m->OpenDesignFile(ExampleFile("newtonian_200_f5.ovn"), DesignFormat::Current));
    const int n = s->design.SurfCount;
    const double efl = s->design.Efl;
    m->findChild<QAction*>("MnuEditTilt")->trigger();
    QWidget* tilt = m->FindChildWindow("FrmTilt");
    QVERIFY(tilt);
    auto* table = tilt->findChild<QTableWidget*>("GridTilt");
    QCOMPARE(table->rowCount(), n + 1);
    table->item(n, 1)->setText("1");  // the image plane, 1 degree about X
    Click(tilt, "CmdOK");
    QVERIFY(std::fabs(s->design.TiltAInput[n + 1] - 3.14159265358979 / 180) < 1e-15);
    QCOMPARE(s->design.UncenteredFlag, 1.0f);
    QVERIFY(Frmdati()->findChild<QLabel*>("Label4")->isVisible());

    OnNextModal([](QWidget* w) {
      w->findChild<QSpinBox*>("TxtBefore")->setValue(2);
      w->findChild<QSpinBox*>("TxtCount")->setValue(2);
      Click(w, "CmdOK");
    });
    m->findChild<QAction*>("MnuEditInsert")->trigger();
    QCOMPARE(int(s->design.SurfCount), n + 2);
    QCOMPARE(Frmdati()->grid()->rowCount(), n + 2);
    QCOMPARE(s->design.TiltAInput[n + 3], s->design.TiltAInput[n + 3]);
    QVERIFY(std::fabs(s->design.Efl - efl) < 1e-9 * std::fabs(efl));

    OnNextModal([](QWidget* w) {
      w->findChild<QSpinBox*>("TxtFirst")->setValue(2);
      w->findChild<QSpinBox*>("TxtLast")->setValue(3);
      Click(w, "CmdOK");
    });
    m->findChild<QAction*>("MnuEditDel")->trigger();
    QCOMPARE(int(s->design.SurfCount), n);
    QVERIFY(std::fabs(s->design.TiltAInput[n + 1] - 3.14159265358979 / 180) < 1e-15);
  }

  void exitAnsweredNoKeepsTheDesign() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    QString text, title;
    AnswerNextMessage(&text, QMessageBox::No, nullptr, &title);
    m->findChild<QAction*>("mnuFileExit")->trigger();
    QCOMPARE(text, QString("Do  you want to exit ?"));
    QCOMPARE(title, QString("Ovrin- Optical Design and Analysis Software"));
    QVERIFY(m->isVisible());
    QVERIFY(Frmdati());
    QCOMPARE(int(s->design.SurfCount), 3);
    QCOMPARE(s->design.GlassSchott[1], std::string("N-BK7"));
  }

  void spotDiagramWindow() {
    QVERIFY(m->OpenDesignFile(ExampleFile("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    m->findChild<QAction*>("Toolbar1_SpotDiagram")->trigger();
    auto* spot = qobject_cast<SpotWindow*>(m->FindChildWindow("frmspot"));
    QVERIFY(spot);
    QCOMPARE(spot->windowTitle(), QString("Detailed Polichromatic SPOT-DIAGRAM "));
    // Three wavelengths in use: boxes 1..3 can be checked, only the first is.
    QVERIFY(spot->findChild<QCheckBox*>("Check_c")->isEnabled());
    QVERIFY(!spot->findChild<QCheckBox*>("Check_f")->isEnabled());
    QVERIFY(!spot->findChild<QCheckBox*>("Check_r")->isChecked());
    QCOMPARE(spot->findChild<QComboBox*>("Comboraggi")->currentText(), QString("558"));
    auto* actual = spot->findChild<QLineEdit*>("Txtbflattuale");
    QCOMPARE(actual->text(), QString::fromStdString(FormatFixed(s->design.Bfl, 3)));
    QVERIFY(spot->findChild<QLabel*>("lbldiamrms")->text().isEmpty());  // nothing before Update

    Click(spot, "Update");
    // The window shows what the engine computes for the same settings.
    const SpotResult engine = ComputeSpot(s->design, spot->Settings());
    QCOMPARE(spot->findChild<QLabel*>("lbldiamrms")->text(), QString::fromStdString(engine.labels.lbldiamrms));
    QCOMPARE(spot->findChild<QLabel*>("Lblraggitot")->text(), QString::fromStdString(engine.labels.Lblraggitot));
    QVERIFY(!spot->findChild<PlotView*>("Picturespot")->plot().empty());

    Click(spot, "Command1");  // autofocus: the focus at 4 decimals, then a drawing
    const double focus = actual->text().toDouble();
    QCOMPARE(actual->text(), QString::fromStdString(FormatFixed(focus, 4)));
    QVERIFY(spot->result().RmsRadius <= engine.RmsRadius);
    Click(spot, "Command1");
    QCOMPARE(actual->text().toDouble(), focus);

    QTemporaryDir dir;
    QVERIFY(spot->SaveImageTo(dir.filePath("spot.bmp")));
    QImage bmp(dir.filePath("spot.bmp"));
    QCOMPARE(bmp.size(), spot->grab().size());
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(dir.filePath("spot.pdf"));
    QVERIFY(spot->PrintTo(pdf));
    QVERIFY(QFileInfo(dir.filePath("spot.pdf")).size() > 1000);

    Click(spot, "Help");
    auto* help = qobject_cast<HelpBook*>(m->FindChildWindow("FrmGuida"));
    QVERIFY(help);
    QCOMPARE(help->CurrentTopic(), QString("SpotDiagram"));
  }

  void layoutWindow() {
    QVERIFY(m->OpenDesignFile(ExampleFile("ritchey_chretien_200_f8.ovn"), DesignFormat::Current));
    m->findChild<QAction*>("Toolbar1_2DLayout")->trigger();
    auto* w = qobject_cast<LayoutWindow*>(m->FindChildWindow("Frmlayout"));
    QVERIFY(w);
    QCOMPARE(w->windowTitle(), QString("2D- LAYOUT"));
    QVERIFY(!w->findChild<QCheckBox*>("Check_e")->isVisible());  // no wavelength boxes here
    Click(w, "Update");
    const Layout& L = w->layout();
    QCOMPARE(w->findChild<QLabel*>("Lbllunghmassima")->text(), QString::fromStdString(FormatFixed(L.TotalTrack, 3)));
    QCOMPARE(L.rays.size(), std::size_t(6));  // three rays on the axis and three at the field
    w->findChild<QSlider*>("HScroll5")->setValue(0);
    QVERIFY(w->layout().rays.empty());

    // A rectangle dragged on the picture becomes the view; UNZOOM brings the frame back.
    auto* plot = w->findChild<PlotView*>("Picture1");
    emit plot->rectangleChosen(-10, 50, 100, -50);
    QCOMPARE(w->view().right, 100.0);
    Click(w, "CmdZoomOut");
    QCOMPARE(w->view().right, 155.0);  // twice as wide about the same centre
    Click(w, "Command3");
    QCOMPARE(w->view().left, w->layout().frame.left);
    // The picture maps back to plot units: the centre of the picture is the frame's centre.
    const QPointF centre = plot->ToPlot(QPointF(plot->width() / 2.0, plot->height() / 2.0));
    QVERIFY(std::fabs(centre.y()) < 1e-9 * w->layout().frame.top + 1e-9);
  }

  void reopeningAWindowStartsItAfresh() {
    NewDesignOf("2");
    m->OpenWindow("FrmTilt");
    QWidget* first = m->FindChildWindow("FrmTilt");
    QPointer<QWidget> guard(first);
    m->OpenWindow("FrmTilt");
    QVERIFY(guard.isNull() || guard != m->FindChildWindow("FrmTilt"));
    int open = 0;
    for (auto* sub : m->mdiArea()->subWindowList()) open += sub->widget()->objectName() == "FrmTilt";
    QCOMPARE(open, 1);
    // The notes refuse the double quote with a message; the angle boxes refuse letters.
    QString message;
    auto* notes = Frmdati()->findChild<QLineEdit*>("Txtcaratteristiche");
    AnswerNextMessage(&message, QMessageBox::Ok);
    QTest::keyClicks(notes, "f/8 \"RC");
    QCOMPARE(message, QString(" Invalid entry"));
    QCOMPARE(notes->text(), QString("f/8 RC"));
    QCOMPARE(QString::fromStdString(s->sheet.Txtcaratteristiche), QString("f/8 RC"));
    auto* angle = Frmdati()->findChild<QLineEdit*>("Txtangolo");
    angle->clear();
    message.clear();
    AnswerNextMessage(&message, QMessageBox::Ok);
    QTest::keyClicks(angle, "0.5d");
    QCOMPARE(angle->text(), QString("0.5"));
    QCOMPARE(message, QString(" Invalid entry"));
    // Every menu entry now has its window: none is marked as missing.
    const auto entries = m->menuBar()->findChildren<QAction*>();
    QVERIFY(entries.size() > 60);
    for (QAction* a : entries)
      QVERIFY2(a->toolTip() != "Not available in this release", qPrintable(a->objectName()));
    QVERIFY(m->findChild<QAction*>("MnuAnlSpot")->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuAnlLayout3D")->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuTelDesNewton")->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuGlassNdVd")->isEnabled());  // the glass maps need no design
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  QTEST_SET_MAIN_SOURCE_PATH
  ShellTest test;
  return QTest::qExec(&test, argc, argv);
}
#include "shell_test.moc"
