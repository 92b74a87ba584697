// The Houghton, doublet and triplet windows driven as a user drives them on
// Qt's offscreen platform: from the menu to the written design, the glass and
// wavelength pickers, the triplet's scroll bars and Restore buttons.
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

#include "analysis/geometric/spot_diagram.h"
#include "core/number_text.h"
#include "shell/lens_pickers.h"
#include "shell/main_window.h"
#include "shell/predesign_windows.h"

using namespace ovrin;
using namespace ovrin::shell;

namespace {

void Click(QWidget* parent, const char* name) {
  auto* b = parent->findChild<QPushButton*>(name);
  QVERIFY2(b, name);
  QTest::mouseClick(b, Qt::LeftButton);
}

QString Box(QWidget* parent, const char* name) {
  auto* box = parent->findChild<QLineEdit*>(name);
  return box ? box->text() : QString("<none>");
}

double RmsInAiry(const DesignState& d) {
  SpotSettings s;
  s.rays = "1300";
  s.actualBfl = FormatFixed(d.Bfl, 3);
  const SpotResult spot = ComputeSpot(d, s);
  if (!spot.error.empty()) return 1e9;
  return spot.RmsRadius / (1.22 * d.Wavelength[0] / 1000.0 * std::fabs(d.Efl) / (2 * d.EntrBeamSemiDiam));
}

}  // namespace

class LensPredesignWindowTest : public QObject {
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

  void everyMenuEntryOpensItsWindow() {
    const char* entries[][2] = {{"MnuTelDesLurieSpher", "FrmLurie"},
                                {"MnuTelDesLurieAspheric", "FrmLurieAspheric"},
                                {"MnuTelDesHCassSpher", "FrmHCass"},
                                {"MnuTelDesHCassAspher", "FrmHCassAsf"},
                                {"MnuTelDesDoubl", "FrmDoublet"},
                                {"MnuTelDesTripl", "FrmTriplet"}};
    for (const auto& e : entries) {
      auto* a = m->findChild<QAction*>(e[0]);
      QVERIFY2(a && a->isEnabled(), e[0]);
      a->trigger();
      auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow(e[1]));
      QVERIFY2(w, e[1]);
      // Each window opens calculated; its OK writes an analysable design.
      QVERIFY2(!w->plan().rows.empty(), e[1]);
      QVERIFY2(w->Analyze(), e[1]);
      QVERIFY(s->design.SurfCount >= 4);
      QVERIFY(m->findChild<QAction*>("MnuAnlSpot")->isEnabled());
    }
  }

  void lurieHoughtonIsDiffractionLimited() {
    m->findChild<QAction*>("MnuTelDesLurieSpher")->trigger();
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("FrmLurie"));
    QVERIFY(w);
    w->SetGlass("SCHOTT", "N-BK7");
    Click(w, "CommandOK");
    QCOMPARE(s->design.SurfCount, int16_t(6));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(1, 6)), QString("+ N-BK7"));
    QCOMPARE(s->design.Radius[3], -s->design.Radius[1]);
    QVERIFY(RmsInAiry(s->design) < 1);
    QVERIFY(!w->Result("R1 (First curv.radius)").isEmpty());
  }

  void doubletWithThePickers() {
    m->findChild<QAction*>("MnuTelDesDoubl")->trigger();
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("FrmDoublet"));
    QVERIFY(w);
    Click(w, "CmdLensB");
    auto* picker = w->findChild<LensGlassPicker*>("FrmLensBDopp");
    QVERIFY(picker);
    QCOMPARE(picker->findChild<QComboBox*>("ComboGlass")->currentText(), QString("N-F2"));
    picker->Choose("SCHOTT", "N-SF5");
    Click(picker, "CommandOK");
    QCOMPARE(Box(w, "Text_glass-b"), QString("SCHOTT:N-SF5"));
    QCOMPARE(Box(w, "Text_index-b"), QString(""));

    Click(w, "CmdWLDopp");
    auto* wl = w->findChild<WavelengthPicker*>("FrmWLDopp");
    QVERIFY(wl);
    wl->Choose(1, 0.48613f);
    wl->Choose(2, 0.65627f);
    Click(wl, "CommandOK");
    QVERIFY(Box(w, "Text_wl").startsWith("0.54607,0.48613,0.65627"));

    Click(w, "CommandOK");
    QCOMPARE(s->design.SurfCount, int16_t(4));
    QCOMPARE(s->design.WlCount, int16_t(3));
    QCOMPARE(QString::fromStdString(s->sheet.Cell(3, 6)), QString("+ N-SF5"));
    QCOMPARE(s->design.IndexWl[2][2], 1.0);  // the air space at every wavelength
    QCOMPARE(w->Result("Focal length lens A").isEmpty(), false);
    QVERIFY(RmsInAiry(s->design) < 1);
  }

  void tripletScrollBarsChangeTheDesignAtOnce() {
    m->findChild<QAction*>("MnuTelDesTripl")->trigger();
    auto* w = qobject_cast<PredesignWindow*>(m->FindChildWindow("FrmTriplet"));
    QVERIFY(w);
    Click(w, "CommandOK");
    const double air = s->design.Thickness[4];
    const QString fb = w->Result("Focal length lens B");
    auto* air2 = w->findChild<QScrollBar*>("HScrollAir2");
    QVERIFY(air2);
    air2->setValue(20000);
    QVERIFY(s->design.Thickness[4] > air + 0.5);  // written at once
    QVERIFY(!w->findChild<QLabel*>("LabelOSC")->text().isEmpty());
    auto* power = w->findChild<QScrollBar*>("HScrollPower2");
    power->setValue(10200);
    QVERIFY(w->Result("Focal length lens B") != fb);
    Click(w, "CmdRestorePower");
    QCOMPARE(power->value(), 10000);
    QCOMPARE(w->Result("Focal length lens B"), fb);
    Click(w, "CmdRestoreShape");
    QCOMPARE(air2->value(), 10000);
    QCOMPARE(s->design.Thickness[4], air);
  }
};

QTEST_MAIN(LensPredesignWindowTest)
#include "lens_predesign_window_test.moc"
