// The telescope pre-design windows driven as a user drives them, on Qt's
// offscreen platform: the chooser, the Newtonian, the Schmidt and the
// Maksutov windows, down to the design in the surface table and its spot.
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "analysis/geometric/spot_diagram.h"
#include "core/number_text.h"
#include "shell/design_window.h"
#include "shell/main_window.h"
#include "shell/number_locale.h"
#include "shell/predesign_windows.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void OnNextModal(std::function<void(QWidget*)> act) {
  auto* timer = new QTimer;
  timer->setInterval(5);
  QObject::connect(timer, &QTimer::timeout, [timer, act] {
    QWidget* w = QApplication::activeModalWidget();
    if (!w) return;
    timer->stop();
    timer->deleteLater();
    act(w);
  });
  timer->start();
}

void AnswerNextMessage(QString* text, QString* title = nullptr) {
  OnNextModal([=](QWidget* w) {
    auto* box = qobject_cast<QMessageBox*>(w);
    QVERIFY(box);
    *text = box->text();
    if (title) *title = box->windowTitle();
    box->accept();
  });
}

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

void Type(QWidget* parent, const char* name, const QString& text) {
  auto* box = parent->findChild<QLineEdit*>(name);
  QVERIFY2(box, name);
  box->setText(text);
}

QString Shown(QWidget* parent, const QString& name) {
  auto* l = parent->findChild<QLabel*>(name);
  return l ? l->text() : QString("<none>");
}

// The on-axis RMS spot radius of the design as the spot window first draws it,
// in units of the Airy radius.
double SpotInAiry(const DesignState& d) {
  SpotSettings s;
  s.rays = "1300";
  s.actualBfl = FormatFixed(d.Bfl, 3);
  const SpotResult spot = ComputeSpot(d, s);
  if (!spot.error.empty()) return 1e9;
  return spot.RmsRadius / (1.22 * d.Wavelength[0] / 1000.0 * std::fabs(d.Efl) / (2 * d.EntrBeamSemiDiam));
}

}  // namespace

class PredesignWindowTest : public QObject {
  Q_OBJECT

  Session* s = nullptr;
  MainWindow* m = nullptr;

 private slots:
  void init() {
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1400, 900);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    delete m;
    delete s;
  }

  void newtonianFromTheMenuToTheSurfaceTable() {
    // The toolbar key and the menu entries work before any design exists.
    QVERIFY(m->findChild<QAction*>("Toolbar1_TelDes")->isEnabled());
    QVERIFY(m->findChild<QAction*>("MnuTelDesNewton")->isEnabled());
    m->findChild<QAction*>("MnuTelDesNewton")->trigger();
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("Frmnewton"));
    QVERIFY(w);
    const int16_t surfaces = s->design.SurfCount;
    Type(w, "Text_focal", "1000");
    Type(w, "Text_diameter", "200");
    Type(w, "Text_axis-to-focus", "150");
    Type(w, "Text_field", "10");
    Click(w, "Command1");
    QCOMPARE(Shown(w, "Result_D2 (minor axis)"), QString("38.50"));
    QCOMPARE(Shown(w, "Result_Mirror Sagitta"), QString("2.5000"));
    QCOMPARE(Shown(w, "Extra_100 % illuminated field"), QString("10.00 mm"));
    QVERIFY(!w->plan().rows.empty());
    QCOMPARE(s->design.SurfCount, surfaces);  // calculating writes nothing

    Click(w, "CommandOK");
    QCOMPARE(s->design.SurfCount, int16_t(3));
    auto* dati = qobject_cast<DesignWindow*>(m->FindChildWindow("Frmdati"));
    QVERIFY(dati);
    QVERIFY(qobject_cast<QMdiSubWindow*>(dati->parentWidget())->isMinimized());
    QCOMPARE(QString::fromStdString(s->sheet.Cell(2, 3)), QString("-2000"));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(2, 7)), QString("CONIC"));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(1, 7)), QString("OBS.SCREEN"));
    QVERIFY(s->sheet.designCommandsEnabled);
    QVERIFY(m->findChild<QAction*>("MnuAnlSpot")->isEnabled());
    QVERIFY(SpotInAiry(s->design) < 1);

    // An empty box reads 0: the calculation faults, says so, and the design stays.
    Type(w, "Text_diameter", "");
    QString message;
    AnswerNextMessage(&message);
    Click(w, "CommandOK");
    QVERIFY(!message.isEmpty());
    QCOMPARE(s->design.SurfCount, int16_t(3));
    QCOMPARE(s->design.Radius[2], -2000.0);
  }

  void schmidtThroughTheChooserWithItsChecks() {
    m->findChild<QAction*>("Toolbar1_TelDes")->trigger();
    QWidget* chooser = m->FindChildWindow("FrmTelDes");
    QVERIFY(chooser);
    chooser->findChild<QRadioButton*>("Option_FrmSchmidt")->setChecked(true);
    Click(chooser, "CommandOK");
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("FrmSchmidt"));
    QVERIFY(w);
    w->findChild<QComboBox*>("ComboCatalog")->setCurrentText("SCHOTT");
    w->findChild<QComboBox*>("ComboGlass")->setCurrentText("N-BK7");
    QCOMPARE(w->findChild<QLineEdit*>("TextInd")->text(), QString("1.51872"));
    Type(w, "Text_focal", "800");
    Type(w, "Text_corrector-diameter", "200");

    Type(w, "Text_neutral-zone", "0.04");
    QString message;
    AnswerNextMessage(&message);
    Click(w, "Command1");
    QCOMPARE(message, QString("Min. value of Neutral Zone is 0.05"));
    w->findChild<QComboBox*>("ComboCatalog")->setCurrentText("DIRECT");
    Type(w, "TextInd", "0.95");
    Type(w, "Text_neutral-zone", "0.866");
    AnswerNextMessage(&message);
    Click(w, "Command1");
    QCOMPARE(message, QString("Invalid Index value!"));

    w->findChild<QComboBox*>("ComboCatalog")->setCurrentText("SCHOTT");
    w->findChild<QComboBox*>("ComboGlass")->setCurrentText("N-BK7");
    Click(w, "CommandOK");
    QCOMPARE(Shown(w, "Result_D1 (mirror diam.)"), QString("280.00"));
    QCOMPARE(s->design.SurfCount, int16_t(4));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(1, 5)), QString("SCHOTT"));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(1, 6)), QString("+ N-BK7"));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(2, 7)), QString("HIGH-ORDER"));
    QCOMPARE(s->design.Conic[2], -1.0);
    QCOMPARE(s->design.Radius[3], -1600.0);
    QVERIFY(SpotInAiry(s->design) < 1);

    // Help gives the numbered steps; the picture saves as a bitmap.
    QString help, title;
    AnswerNextMessage(&help, &title);
    w->findChild<QAction*>("Help")->trigger();
    QVERIFY(help.contains("Step 5 - Click on Schmidt Calculation"));
    QTemporaryDir dir;
    QVERIFY(w->SaveImageTo(dir.filePath("schmidt.bmp")));
    QVERIFY(QFileInfo(dir.filePath("schmidt.bmp")).size() > 1000);
  }

  void cassegrainButtonsWriteTheirConics() {
    m->OpenWindow("Frmcassegrain");
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("Frmcassegrain"));
    QVERIFY(w);
    Click(w, "Command_ritchey-chretien");
    QCOMPARE(s->design.SurfCount, int16_t(4));
    QCOMPARE(Shown(w, "Result_Primary conic"), QString::fromStdString(FormatFixed(s->design.Conic[2], 4)));
    Click(w, "Command_dall-kirkham");
    QCOMPARE(s->design.SurfType[3], 1.0f);
    QCOMPARE(s->design.Conic[3], 0.0);
  }

  void maksutovScrollBarsChangeTheDesignAtOnce() {
    m->OpenWindow("FrmMak");
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("FrmMak"));
    QVERIFY(w);
    Click(w, "CommandOK");
    QCOMPARE(s->design.SurfCount, int16_t(3));
    QCOMPARE(s->design.WlCount, int16_t(3));
    const double before = s->design.Radius[1];
    QVERIFY(!Shown(w, "LabelOSC").isEmpty());
    w->findChild<QScrollBar*>("HScroll1")->setValue(9800);
    QVERIFY(std::fabs(s->design.Radius[1] - before * 0.975 / 0.98) < 0.01);
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  PredesignWindowTest test;
  return QTest::qExec(&test, argc, argv);
}
#include "predesign_window_test.moc"
