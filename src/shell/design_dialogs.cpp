// The modal windows of the File, Edit and surface commands: a new design,
// insert, delete, the environment and the surface coefficients.
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>
#include <functional>

#include "core/design_edit.h"
#include "core/design_sheet.h"
#include "core/number_text.h"
#include "shell/dialogs.h"
#include "shell/glass_diagram_windows.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QPushButton* Button(const char* name, const char* caption, QWidget* parent) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  return b;
}

QSpinBox* Spin(const char* name, int lo, int hi, int value, QWidget* parent) {
  auto* s = new QSpinBox(parent);
  s->setObjectName(name);
  s->setRange(lo, hi);
  s->setValue(value);
  return s;
}

// OK and Cancel in a row on the right.
QHBoxLayout* OkCancel(QPushButton* ok, QPushButton* cancel) {
  auto* h = new QHBoxLayout;
  h->addStretch(1);
  h->addWidget(ok);
  h->addWidget(cancel);
  ok->setDefault(true);
  return h;
}

// The foot of the small dialogs: OK runs `ok`, Cancel closes; then centred.
void Finish(QDialog* d, QVBoxLayout* v, const std::function<void()>& on_ok) {
  auto* ok = Button("CmdOK", "OK", d);
  auto* cancel = Button("CmdCancel", "Cancel", d);
  v->addLayout(OkCancel(ok, cancel));
  QObject::connect(ok, &QPushButton::clicked, d, on_ok);
  QObject::connect(cancel, &QPushButton::clicked, d, &QDialog::reject);
  CenterWindow(d, 2, 2);
}

// Numbers in the coefficient boxes may carry an exponent, so they are checked
// when OK is pressed rather than at the keyboard.
bool AllNumbers(QWidget* parent, std::initializer_list<QLineEdit*> boxes) {
  for (QLineEdit* b : boxes) {
    if (!IsNumberText(S(b->text()))) {
      Tell(parent, " Invalid entry !");
      b->setFocus();
      b->selectAll();
      return false;
    }
  }
  return true;
}

}  // namespace

// ---------------------------------------------------------------------------

NewDesignDialog::NewDesignDialog(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("Frmnumsup");
  setWindowTitle("New Design");
  auto* label1 = new QLabel("How many surfaces ?", this);
  label1->setObjectName("Label1");
  auto* label2 = new QLabel("MAX.100 surf.--->", this);
  label2->setObjectName("Label2");
  count_ = new QLineEdit("1", this);
  count_->setObjectName("Txtnumerosuperfici");
  count_->setMaximumWidth(count_->fontMetrics().horizontalAdvance("00000") + 16);
  FilterKeys(count_, KeyFilter::NumericSilent);
  auto* ok = Button("Cmdok", "OK", this);
  auto* cancel = Button("Command1", "CANCEL", this);
  auto* g = new QGridLayout(this);
  g->addWidget(label1, 0, 0, 1, 2);
  g->addWidget(label2, 1, 0);
  g->addWidget(count_, 1, 1);
  g->addLayout(OkCancel(ok, cancel), 2, 0, 1, 2);
  connect(ok, &QPushButton::clicked, this, [this] { Ok(); });
  connect(cancel, &QPushButton::clicked, this, [this] { Cancel(); });
  count_->selectAll();
  CenterWindow(this, 2, 2);
}

void NewDesignDialog::Ok() {
  Session& s = main_.session();
  if (!NewDesign(s.design, s.sheet, S(count_->text()))) {
    Tell(this, kInvalidEntry);
    count_->setText("1");
    count_->setFocus();
    return;
  }
  main_.ShowDesignWindow();
  main_.RunUpdate();
  accept();
}

void NewDesignDialog::Cancel() {
  Session& s = main_.session();
  if (!s.sheet.cmdupdateVisible) s.sheet.designCommandsEnabled = false;
  main_.RefreshAll();
  reject();
}

// ---------------------------------------------------------------------------

InsertDialog::InsertDialog(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("FrmInsert");
  setWindowTitle("Insert Surface/s");
  const int n = main.session().design.SurfCount;
  before_ = Spin("TxtBefore", 1, n + 1, n + 1, this);
  count_ = Spin("TxtCount", 1, std::max(1, kMaxSurfaces - n), 1, this);
  auto* form = new QFormLayout;
  form->addRow("Insert before surface", before_);
  form->addRow("Number of surfaces to insert", count_);
  auto* note = new QLabel(QString("The design has %1 surfaces; %2 is the image side.\n"
                                  "A new surface is a plane without thickness in the\n"
                                  "medium where it stands, so the system is unchanged.")
                              .arg(n)
                              .arg(n + 1),
                          this);
  auto* v = new QVBoxLayout(this);
  v->addLayout(form);
  v->addWidget(note);
  Finish(this, v, [this] { Ok(); });
}

void InsertDialog::Ok() {
  Session& s = main_.session();
  main_.CommitDesignEdits();
  if (!InsertSurfaces(s.design, s.sheet, before_->value(), count_->value())) {
    Tell(this, "A design holds at most 100 surfaces.");
    return;
  }
  main_.RunUpdate();
  accept();
}

// ---------------------------------------------------------------------------

DeleteDialog::DeleteDialog(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("FrmDelete");
  setWindowTitle("Delete Surface/s");
  const int n = std::max<int>(1, main.session().design.SurfCount);
  first_ = Spin("TxtFirst", 1, n, n, this);
  last_ = Spin("TxtLast", 1, n, n, this);
  auto* form = new QFormLayout;
  form->addRow("Delete from surface", first_);
  form->addRow("to surface", last_);
  auto* v = new QVBoxLayout(this);
  v->addLayout(form);
  connect(first_, &QSpinBox::valueChanged, this, [this](int v) {
    if (last_->value() < v) last_->setValue(v);
  });
  Finish(this, v, [this] { Ok(); });
}

void DeleteDialog::Ok() {
  Session& s = main_.session();
  main_.CommitDesignEdits();
  if (!DeleteSurfaces(s.design, s.sheet, first_->value(), last_->value())) {
    Tell(this, "At least one surface must remain.");
    return;
  }
  main_.RunUpdate();
  accept();
}

// ---------------------------------------------------------------------------

EnvironmentDialog::EnvironmentDialog(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("FrmEnvCond");
  setWindowTitle("Environmental Conditions");
  const DesignState& d = main.session().design;
  auto* now = new QLabel(QString("The design is computed for %1 °C and %2 atm.")
                             .arg(Q(FormatFixed(d.EnvTempCurrent, 1)))
                             .arg(Q(FormatFixed(d.EnvPressCurrent, 3))),
                         this);
  now->setObjectName("LblCurrent");
  // The conditions last asked for; a design just read knows only those it is valid at.
  const bool asked = d.EnvPressActual != 0;
  const float t0 = asked ? d.EnvTempActual : (d.EnvPressCurrent != 0 ? d.EnvTempCurrent : 20.0f);
  const float p0 = asked ? d.EnvPressActual : (d.EnvPressCurrent != 0 ? d.EnvPressCurrent : 1.0f);
  temp_ = new QLineEdit(Q(ShortestText(t0)), this);
  temp_->setObjectName("TxtTemp");
  press_ = new QLineEdit(Q(ShortestText(p0)), this);
  press_->setObjectName("TxtPress");
  FilterKeys(temp_, KeyFilter::NumericSilent);
  FilterKeys(press_, KeyFilter::NumericSilent);
  auto* form = new QFormLayout;
  form->addRow("Temperature (°C)", temp_);
  form->addRow("Pressure (atm)", press_);
  auto* note = new QLabel("The indices of every glass are recomputed for these conditions\n"
                          "(SCHOTT and OHARA glasses by the makers' temperature formula).",
                          this);
  auto* v = new QVBoxLayout(this);
  v->addWidget(now);
  v->addLayout(form);
  v->addWidget(note);
  // What these conditions would do, shown before they are applied.
  auto* analyse = new QPushButton("&Analysis...", this);
  analyse->setObjectName("CmdAnalysis");
  connect(analyse, &QPushButton::clicked, this, [this] { OpenAnalysis(); });
  v->addWidget(analyse, 0, Qt::AlignLeft);
  Finish(this, v, [this] { Ok(); });
}

void EnvironmentDialog::OpenAnalysis() {
  const double t = NumberIn(temp_);
  const double p = NumberIn(press_);
  MainWindow& m = main_;
  reject();
  QTimer::singleShot(0, &m, [&m, t, p] {
    if (auto* w = qobject_cast<EnvironmentWindow*>(m.OpenWindow("FrmEnvAnalysis"))) {
      w->SetConditions(t, p);
      w->Update();
    }
  });
}

void EnvironmentDialog::Ok() {
  const double t = NumberIn(temp_);
  const double p = NumberIn(press_);
  if (!IsNumberText(S(temp_->text())) || !IsNumberText(S(press_->text())) || p <= 0 || p > 10 || t < -100 ||
      t > 140) {
    Tell(this, "Invalid Entry: temperature -100 to 140 °C, pressure above 0 and up to 10 atm.");
    return;
  }
  Session& s = main_.session();
  if (!RunEngine(this, [&] { ApplyEnvironment(s.design, s.media, static_cast<float>(t), static_cast<float>(p)); }))
    return;
  main_.RunUpdate();
  accept();
}

// ---------------------------------------------------------------------------

SurfaceDialog::SurfaceDialog(MainWindow& main, int row, bool high_order)
    : QDialog(&main), main_(main), row_(row), highOrder_(high_order) {
  setObjectName("frmSurface");
  setWindowTitle(high_order ? "High-Orders Coefficients" : "Conic Costant ");
  const DesignState& d = main.session().design;
  auto box = [this](const char* name, double v) {
    auto* b = new QLineEdit(Q(ShortestText(v)), this);
    b->setObjectName(name);
    b->setMinimumWidth(b->fontMetrics().horizontalAdvance("-0.000000000000E-00") + 12);
    return b;
  };
  k_ = box("txt_conica", d.Conic[row]);
  a4_ = box("txt_poli_b", d.AsphA4[row]);
  a6_ = box("txt_poli_c", d.AsphA6[row]);
  a8_ = box("txt_poli_d", d.AsphA8[row]);
  auto* form = new QFormLayout;
  form->addRow(QString("Surface %1").arg(row), new QLabel(this));
  form->addRow("K (conic)", k_);
  form->addRow("A4 Coeff.", a4_);
  form->addRow("A6 Coeff.", a6_);
  form->addRow("A8 Coeff.", a8_);
  for (QLineEdit* b : {a4_, a6_, a8_}) {
    b->setVisible(high_order);
    form->labelForField(b)->setVisible(high_order);
  }
  auto* v = new QVBoxLayout(this);
  v->addLayout(form);
  auto* ok = Button("cmd_OK", "OK", this);
  auto* cancel = Button("Cmdignora", "Cancel", this);
  v->addLayout(OkCancel(ok, cancel));
  connect(ok, &QPushButton::clicked, this, [this] { Ok(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  CenterWindow(this, 2, 2);
}

void SurfaceDialog::Ok() {
  if (!AllNumbers(this, {k_}) || (highOrder_ && !AllNumbers(this, {a4_, a6_, a8_}))) return;
  Session& s = main_.session();
  SetSurfaceCoefficients(s.design, s.sheet, row_, highOrder_, NumberIn(k_), NumberIn(a4_), NumberIn(a6_),
                         NumberIn(a8_));
  main_.RunUpdate();
  accept();
}

}  // namespace ovrin::shell
