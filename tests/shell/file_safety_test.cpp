// The desktop program meets damaged designs and failing engines: every fault
// ends as the program's message, and no failed read leads to a lost file.
#include <QAction>
#include <QComboBox>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "core/design_file.h"
#include "core/system_update.h"
#include "shell/design_window.h"
#include "shell/main_window.h"

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

// The next message box: its text and title, answered with OK.
void ReadNextMessage(QString* text, QString* title = nullptr, QWidget* under = nullptr) {
  OnNextModal(
      [=](QWidget* w) {
        auto* box = qobject_cast<QMessageBox*>(w);
        QVERIFY(box);
        *text = box->text();
        if (title) *title = box->windowTitle();
        box->accept();
      },
      under);
}

QString Corpus(const char* name) { return QString(OVRIN_CORPUS_DIR "/") + name; }
QString Example(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }

QByteArray Slurp(const QString& path) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) return {};
  return f.readAll();
}

}  // namespace

class FileSafetyTest : public QObject {
  Q_OBJECT

  Session* s = nullptr;
  MainWindow* m = nullptr;

  DesignWindow* Frmdati() { return qobject_cast<DesignWindow*>(m->FindChildWindow("Frmdati")); }
  QString Status() { return m->findChild<QLabel*>("StatusFile")->text(); }

 private slots:
  void init() {
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1200, 800);
    m->show();
    m->ShowDesignWindow();
  }
  void cleanup() {
    delete m;
    delete s;
  }

  void glassOutOfRangeOnOpenIsAMessage() {
    // A wavelength of 10 microns on N-BK7 used to end the program from Open.
    QString text, title;
    ReadNextMessage(&text, &title);
    QVERIFY(!m->OpenDesignFile(Corpus("glass_wavelength_out_of_range.ovn"), DesignFormat::Current));
    QCOMPARE(text, QString(kDataInputError));
    QCOMPARE(title, QString("Open File ..."));
    QVERIFY(Frmdati()->windowTitle().contains("FAILED"));
    QVERIFY(Frmdati()->windowTitle().contains("glass_wavelength_out_of_range.ovn"));
    QVERIFY(Status().contains("FAILED"));
  }

  void failedOpenNeverLeadsToAnOverwrittenFile() {
    QTemporaryDir dir;
    const QString good = dir.filePath("good.ovn");
    QVERIFY(QFile::copy(Example("achromat_80_f12_schott.ovn"), good));
    const QByteArray before = Slurp(good);
    QVERIFY(m->OpenDesignFile(good, DesignFormat::Current));

    // A file cut short: the tables hold a mixture of both designs.
    QString text;
    ReadNextMessage(&text);
    QVERIFY(!m->OpenDesignFile(Corpus("truncated.ovn"), DesignFormat::Current));
    QVERIFY(text.contains("truncated.ovn"));
    QVERIFY(s->design.DesignFileName.empty());
    QVERIFY(Frmdati()->findChild<QLabel*>("Lblnome")->text().isEmpty());

    // Save asks for a name and proposes none.
    QString proposed = "unset";
    OnNextModal([&proposed](QWidget* w) {
      auto* dialog = qobject_cast<QFileDialog*>(w);
      QVERIFY(dialog);
      auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
      proposed = name ? name->text() : QString("no name box");
      dialog->reject();
    });
    m->findChild<QAction*>("mnuFileSave")->trigger();
    QCOMPARE(proposed, QString());
    QCOMPARE(Slurp(good), before);

    // A missing file empties the grid: a save of that writes nothing and says so.
    ReadNextMessage(&text);
    QVERIFY(!m->OpenDesignFile(dir.filePath("missing.ovn"), DesignFormat::Current));
    QString title;
    ReadNextMessage(&text, &title);
    QVERIFY(!m->SaveDesignFile(good));
    QVERIFY(text.contains("nothing was written"));
    QCOMPARE(title, QString("Save As..."));
    QVERIFY(Status().contains("NOT SAVED"));
    QCOMPARE(Slurp(good), before);

    // A good read ends the failed state.
    QVERIFY(m->OpenDesignFile(good, DesignFormat::Current));
    QVERIFY(!Frmdati()->windowTitle().contains("FAILED"));
    QVERIFY(!Status().contains("FAILED"));
  }

  void wavelengthOutsideAGlassRangeInTheWavelengthWindow() {
    QVERIFY(m->OpenDesignFile(Example("achromat_80_f12_schott.ovn"), DesignFormat::Current));
    QString text;
    OnNextModal([&text](QWidget* w) {
      QCOMPARE(w->objectName(), QString("FrmWL"));
      auto* wl3 = w->findChild<QComboBox*>("ComboWL3");
      QVERIFY(wl3);
      wl3->setEditText("10");
      ReadNextMessage(&text, nullptr, w);
      QTest::mouseClick(w->findChild<QPushButton*>("CmdOK"), Qt::LeftButton);
      // The store was refused by the glass: the window stays for another choice.
      QVERIFY(w->isVisible());
      qobject_cast<QDialog*>(w)->reject();
    });
    m->findChild<QAction*>("MnuEditWL")->trigger();
    QCOMPARE(text, QString(kDataInputError));
    QVERIFY(m->isVisible());
    QCOMPARE(m->findChild<QLabel*>("StatusUpdate")->text(), QString("Last update: FAILED, check data"));
  }

  void closingWithAnEditOpenCallsNothingGone() {
    // The grid's filter used to run inside a main window already half destroyed.
    QVERIFY(m->OpenDesignFile(Example("newtonian_200_f5.ovn"), DesignFormat::Current));
    QTableWidget* grid = Frmdati()->grid();
    const QRect r = grid->visualItemRect(grid->item(0, 3));
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, r.center());
    QVERIFY(grid->findChild<QLineEdit*>("txtDataEntry"));
    delete m;
    m = nullptr;
  }
};

QTEST_MAIN(FileSafetyTest)
#include "file_safety_test.moc"
