#include "shell/geometric_windows.h"

#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QFontDatabase>
#include <QVBoxLayout>

#include "analysis/geometric/spot_diagram.h"
#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QPushButton* Command(QWidget* parent, const char* name, const char* caption) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  return b;
}

QLineEdit* Box(QWidget* parent, const char* name, const char* text) {
  auto* b = new QLineEdit(text, parent);
  b->setObjectName(name);
  b->setAlignment(Qt::AlignRight);
  return b;
}

void CloseFrame(QWidget* w) {
  if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) sub->close();
  else w->close();
}

}  // namespace

// ---------------------------------------------------------------------------
// Frmseidel1

namespace {

FrameOptions SeidelFrame() {
  FrameOptions o;
  o.panes = {"picInner"};
  o.plot_aspect = 1.25;
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.focus_controls = false;
  o.text_pane = "TextTable";
  return o;
}

}  // namespace

SeidelWindow::SeidelWindow(MainWindow& main)
    : AnalysisWindow(main, "Frmseidel1", "Paraxial  Analysis  and Third-Order Aberrations", "Seidel", SeidelFrame()) {
  struct C {
    const char* name;
    const char* caption;
    SeidelTable table;
  };
  const C commands[] = {{"CmdParSetup", "Paraxial SETUP", SeidelTable::Setup},
                        {"CmdRayTrace", "Parax. RAY-TRACE", SeidelTable::RayTrace},
                        {"CmdSeidel", "SEIDEL Coeff.", SeidelTable::Seidel},
                        {"CmdTransv", "TRANSVERSAL Ab.", SeidelTable::Transversal},
                        {"CmdLong", "LONGITUDINAL Ab.", SeidelTable::Longitudinal}};
  int r = 0;
  for (const C& c : commands) {
    QPushButton* b = Command(this, c.name, c.caption);
    const SeidelTable table = c.table;
    connect(b, &QPushButton::clicked, this, [this, table] { ShowTable(table); });
    panel_->addWidget(b, r++, 0, 1, 2);
  }
  panel_->setRowStretch(r, 1);
}

void SeidelWindow::ShowTable(SeidelTable table) {
  const Session& s = main_.session();
  SeidelSettings set;
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  set.objectHeight = s.sheet.Text3;
  table_ = table;
  result_ = ComputeSeidel(s.design, set);
  computed_ = true;
  Redraw();
  if (result_.closeWindow) {
    Tell(this, Q(result_.error));
    CloseFrame(this);
    return;
  }
  if (!result_.error.empty()) Tell(this, Q(result_.error));
}

void SeidelWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas plot;
  DrawSeidelTable(result_, table_, plot);
  plot_->SetPlot(plot);
  SetText(SeidelTableText(result_, table_));
}

// ---------------------------------------------------------------------------
// Frmabsferica

namespace {

FrameOptions SphericalFrame() {
  FrameOptions o;
  o.panes = {"Picture1", "Picture2"};
  o.pane_columns = 2;
  o.plot_aspect = 610.0 / 400.0;
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.text_pane = "Picture3";
  return o;
}

}  // namespace

SphericalWindow::SphericalWindow(MainWindow& main)
    : AnalysisWindow(main, "Frmabsferica", "Spherical Aberration  + COMA  (O.S.C.)", "Spherical", SphericalFrame()) {
  referDecimals_ = 4;
  // Text1 starts, as the reference label, at Bfl with 4 decimals.
  actualBfl_->setText(Q(FormatFixed(main_.session().design.Bfl, 4)));
  scale_ = Box(this, "TxtScala", "0");
  SelectAllOnFocus(scale_);
  QPushButton* autofocus = Command(this, "Command1", "Auto Focus");
  QPushButton* text = Command(this, "CmdText", "Show TEXT");
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusToText(); });
  connect(text, &QPushButton::clicked, this, [this] { ShowReport(); });
  int r = 0;
  panel_->addWidget(new QLabel("Max Scale ", this), r, 0);
  panel_->addWidget(scale_, r++, 1);
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  panel_->addWidget(text, r++, 0, 1, 2);
  auto* note = new QLabel("Left: LONGITUDINAL SPHERICAL  ABERRATION\nRight: TRANSVERSAL SPHERICAL ABERRATION\n"
                          "Table: COMA [ O.S.C.]",
                          this);
  panel_->addWidget(note, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
}

void SphericalWindow::Recompute() {
  const Session& s = main_.session();
  SphericalSettings set;
  set.referenceBfl = NumberIn(actualBfl_);
  set.maxScale = NumberIn(scale_);
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  result_ = ComputeSpherical(s.design, set);
  computed_ = true;
  Redraw();
  if (!result_.error.empty()) Tell(this, Q(result_.error));
}

void SphericalWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas longitudinal, transversal;
  DrawLongitudinalSA(result_, longitudinal);
  DrawTransversalSA(result_, transversal);
  Pane(0)->SetPlot(longitudinal);
  Pane(1)->SetPlot(transversal);
  SetText(OscTableText(result_));
}

void SphericalWindow::AutoFocusToText() {
  const DesignState& d = main_.session().design;
  SpotSettings s;
  s.checked = {true, false, false, false, false, false};
  try {
    const double shift = AutoFocus(d, s);
    actualBfl_->setText(Q(FormatFixed(shift + d.Bfl, 4)));
  } catch (const TraceError&) {
    Tell(this, kRayTraceError);
  }
}

void SphericalWindow::ShowReport() {
  if (!computed_) Recompute();
  auto* dialog = new QDialog(this);
  dialog->setObjectName("FrmSphReport");
  dialog->setWindowTitle("Sperical Aberration Data Report");
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  auto* text = new QPlainTextEdit(dialog);
  text->setObjectName("TextReport");
  text->setReadOnly(true);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text->setPlainText(Q(SphericalReport(result_)));
  auto* v = new QVBoxLayout(dialog);
  v->addWidget(text);
  dialog->resize(760, 560);
  dialog->show();
}

// ---------------------------------------------------------------------------
// Frmcodding

namespace {

FrameOptions CurvatureFrame() {
  FrameOptions o;
  o.panes = {"Picture2"};
  o.plot_aspect = 640.0 / 300.0;
  o.wavelengths = FrameOptions::Wavelengths::One;
  o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
  o.text_pane = "Picture1";
  return o;
}

}  // namespace

FieldCurvatureWindow::FieldCurvatureWindow(MainWindow& main)
    : AnalysisWindow(main, "Frmcodding", "Field Curvature (Sag.,Tang. and Average)", "FieldCurvature",
                     CurvatureFrame()) {
  scale_ = Box(this, "TxtScala", "0");
  SelectAllOnFocus(scale_);
  panel_->addWidget(new QLabel("Max. Curv. SCALE", this), 0, 0);
  panel_->addWidget(scale_, 0, 1);
  auto* legend = new QLabel("<span style='color:#ff0000'>Tan.</span> tangential focus<br>"
                            "<span style='color:#0000ff'>Sag.</span> sagittal focus<br>"
                            "[ Z ] from the reference plane, mm",
                            this);
  panel_->addWidget(legend, 1, 0, 1, 2);
  panel_->setRowStretch(2, 1);
  // A click on a wavelength runs the update.
  for (QAbstractButton* b : wl_)
    connect(b, &QAbstractButton::clicked, this, [this] { Recompute(); });
}

void FieldCurvatureWindow::Activated() {
  AnalysisWindow::Activated();
  Recompute();
}

void FieldCurvatureWindow::Recompute() {
  const Session& s = main_.session();
  FieldCurvSettings set;
  set.wavelength = std::max(1, ChosenWavelength());
  set.referenceBfl = S(actualBfl_->text());
  set.scale = S(scale_->text());
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  result_ = ComputeFieldCurvature(s.design, set);
  computed_ = true;
  Redraw();  // a failure says nothing: the rows so far stay
}

void FieldCurvatureWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas plot;
  DrawFieldCurvature(result_, plot);
  plot_->SetPlot(plot);
  SetText(FieldCurvTableText(result_));
}

// ---------------------------------------------------------------------------
// FrmRayFan

namespace {

FrameOptions RayFanFrame() {
  FrameOptions o;
  // Tangential left, sagittal right: on axis, 70 % and full field.
  o.panes = {"Picture2", "Picture1", "Picture4", "Picture3", "Picture6", "Picture5"};
  o.pane_columns = 2;
  o.plot_aspect = 620.0 / 220.0;
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.text_pane = "TextFan";
  return o;
}

}  // namespace

RayFanWindow::RayFanWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmRayFan", "Ray-Intercept Curves", "RayFan", RayFanFrame()) {
  focalRadius_ = Box(this, "Text2", "0");
  SelectAllOnFocus(focalRadius_);
  panel_->addWidget(new QLabel("Field Curv.Rad", this), 0, 0);
  panel_->addWidget(focalRadius_, 0, 1);
  auto* legend = new QLabel("Rows: on axis, 0.7 field, full field\nLeft: tangential (%Y)\nRight: sagittal (%X)", this);
  panel_->addWidget(legend, 1, 0, 1, 2);
  panel_->setRowStretch(2, 1);
}

void RayFanWindow::Recompute() {
  const Session& s = main_.session();
  RayFanSettings set;
  set.imageDistance = NumberIn(actualBfl_);
  set.focalRadius = NumberIn(focalRadius_);
  set.angleY = s.sheet.Txtangolo;
  set.angleX = s.sheet.TxtangoloX;
  result_ = ComputeRayFan(s.design, set);
  computed_ = true;
  Redraw();
  if (!result_.error.empty()) Tell(this, Q(result_.error));
}

void RayFanWindow::Redraw() {
  if (!computed_) return;
  for (int f = 0; f < 3; ++f) {
    for (int side = 0; side < 2; ++side) {
      RecordingCanvas plot;
      DrawRayFan(result_, f, side == 0, plot);
      Pane(2 * f + side)->SetPlot(plot);
    }
  }
  SetText(RayFanText(result_, main_.session().design.EntrBeamSemiDiam));
}

}  // namespace ovrin::shell
