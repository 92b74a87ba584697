#include "shell/maker_windows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

FrameOptions Frame(double aspect, FrameOptions::Wavelengths wavelengths, bool focus, std::string text_pane = {}) {
  FrameOptions o;
  o.plot_aspect = aspect;
  o.panes = {"Picture1"};
  o.wavelengths = wavelengths;
  o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
  o.focus_controls = focus;
  o.text_pane = std::move(text_pane);
  return o;
}

QComboBox* NamedCombo(const char* name, const QStringList& items, QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  c->addItems(items);
  return c;
}

QLabel* NamedLabel(const char* name, QWidget* parent) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  return l;
}

// A label and a control on one row of the side panel.
struct Rows {
  QGridLayout* panel;
  QWidget* owner;
  int r = 0;
  void Add(const QString& caption, QWidget* w) {
    panel->addWidget(new QLabel(caption, owner), r, 0);
    panel->addWidget(w, r++, 1);
  }
  void Whole(QWidget* w) { panel->addWidget(w, r++, 0, 1, 2); }
};

// The mirrors of the design in a list; keeps the chosen one when it is still there.
void FillMirrors(QComboBox* box, const DesignState& d) {
  const QString was = box->currentText();
  box->clear();
  for (int s : MirrorSurfaces(d)) box->addItem(QString("Surface %1").arg(s), s);
  const int at = box->findText(was);
  if (at >= 0) box->setCurrentIndex(at);
}

int ChosenMirror(const QComboBox* box) { return box->currentIndex() >= 0 ? box->currentData().toInt() : 0; }

}  // namespace

// ---------------------------------------------------------------------------
// FrmInterferogram

InterferogramWindow::InterferogramWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmInterferogram", "Interferogram", "Interferogram",
                     Frame(1.0, FrameOptions::Wavelengths::One, true)) {
  Rows rows{panel_, this};
  grid_ = NamedCombo("ComboGrid", {"32x32", "64x64", "128x128", "256x256"}, this);
  grid_->setCurrentIndex(1);
  field_ = NamedCombo("ComboField", {"On-Axis", "Full-Field"}, this);
  focalRadius_ = NamedNumberBox("TxtFocalRadius", "0", this);
  testWl_ = NamedNumberBox("TxtTestWl", "0.6328", this);
  doublePass_ = new QCheckBox("Double pass", this);
  doublePass_->setObjectName("CheckDoublePass");
  tiltX_ = NamedNumberBox("TxtTiltX", "5", this);  // a few straight fringes, as set at the bench
  tiltY_ = NamedNumberBox("TxtTiltY", "0", this);
  defocus_ = NamedNumberBox("TxtDefocus", "0", this);
  for (QLineEdit* b : {focalRadius_, testWl_, tiltX_, tiltY_, defocus_}) SelectAllOnFocus(b);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  rows.Add("Grid", grid_);
  rows.Add("Field", field_);
  rows.Add("Field Curv.Rad", focalRadius_);
  rows.Add("Test wavelength (micron)", testWl_);
  rows.Whole(doublePass_);
  rows.Add("Tilt X (fringes)", tiltX_);
  rows.Add("Tilt Y (fringes)", tiltY_);
  rows.Add("Defocus (waves)", defocus_);
  pv_ = NamedLabel("LabelPV", this);
  rms_ = NamedLabel("LabelRMS", this);
  fringes_ = NamedLabel("LabelFringes", this);
  rows.Add("P-V (test waves)", pv_);
  rows.Add("RMS (test waves)", rms_);
  rows.Add("Fringes", fringes_);
  progress_ = RunProgressBar(this);
  rows.Whole(progress_);
  panel_->setRowStretch(rows.r, 1);
}

InterferogramSettings InterferogramWindow::Settings() const {
  const Session& ss = main_.session();
  InterferogramSettings s;
  s.wavelength = std::max(ChosenWavelength(), 1);
  s.grid = 32 << std::max(grid_->currentIndex(), 0);
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() == 1;
  s.angleYDeg = ParseLeadingNumber(ss.sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(ss.sheet.TxtangoloX);
  s.testMicrons = BoxValue(testWl_);
  s.doublePass = doublePass_->isChecked();
  s.tiltX = BoxValue(tiltX_);
  s.tiltY = BoxValue(tiltY_);
  s.defocus = BoxValue(defocus_);
  return s;
}

void InterferogramWindow::Recompute() {
  const InterferogramSettings s = Settings();
  if (!(s.testMicrons > 0)) {
    Tell(this, "The test wavelength must be above 0", windowTitle());
    return;
  }
  progress_->setValue(0);
  progress_->show();
  InterferogramResult r = ComputeInterferogram(main_.session().design, s, PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) return;
  result_ = std::move(r);
  pv_->setText(Q(FormatFixed(result_.PV, 3)));
  rms_->setText(Q(FormatFixed(result_.RMS, 3)));
  fringes_->setText(Q(FormatFixed(result_.fringes, 1)));
  Redraw();
}

void InterferogramWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawInterferogram(result_, c);
  plot_->SetPlot(c);
}

// ---------------------------------------------------------------------------
// FrmRonchi

RonchiWindow::RonchiWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmRonchi", "RonchiGram", "Ronchigram", Frame(1.0, FrameOptions::Wavelengths::One, true)) {
  Rows rows{panel_, this};
  setup_ = NamedCombo("ComboSetup", {"System at its focus", "Mirror at its centre of curvature"}, this);
  lines_ = NamedNumberBox("TxtLines", "100", this);
  unit_ = NamedCombo("ComboUnit", {"lines / inch", "lines / mm"}, this);
  offset_ = NamedNumberBox("TxtOffset", "3", this);
  mirror_ = NamedCombo("ComboMirror", {}, this);
  SelectAllOnFocus(lines_);
  SelectAllOnFocus(offset_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  rows.Add("Test", setup_);
  rows.Add("Grating", lines_);
  rows.Add("", unit_);
  rows.Add("Distance (mm, - inside)", offset_);
  rows.Add("Mirror", mirror_);
  bands_ = NamedLabel("LabelBands", this);
  rows.Add("Bands across", bands_);
  panel_->setRowStretch(rows.r, 1);
}

void RonchiWindow::Activated() {
  AnalysisWindow::Activated();
  FillMirrors(mirror_, main_.session().design);
}

RonchiSettings RonchiWindow::Settings() const {
  RonchiSettings s;
  s.setup = setup_->currentIndex() == 1 ? RonchiSetup::MirrorCentre : RonchiSetup::SystemFocus;
  s.wavelength = std::max(ChosenWavelength(), 1);
  s.lines = BoxValue(lines_);
  s.perInch = unit_->currentIndex() == 0;
  s.offset = BoxValue(offset_);
  s.actualBfl = BoxValue(actualBfl_);
  s.mirror = ChosenMirror(mirror_);
  return s;
}

void RonchiWindow::Recompute() {
  RonchiResult r = ComputeRonchigram(main_.session().design, Settings());
  if (!r.ok) {
    if (!r.message.empty()) Tell(this, Q(r.message), windowTitle());
    return;
  }
  result_ = std::move(r);
  bands_->setText(Q(FormatFixed(result_.bands, 2)));
  Redraw();
}

void RonchiWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawRonchigram(result_, c);
  plot_->SetPlot(c);
}

// ---------------------------------------------------------------------------
// FrmFoucault

FoucaultWindow::FoucaultWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmFoucault", "Foucault Test", "Foucault",
                     Frame(1.0, FrameOptions::Wavelengths::None, false, "Text1")) {
  Rows rows{panel_, this};
  mirror_ = NamedCombo("ComboMirror", {}, this);
  source_ = NamedCombo("ComboSource", {"Moving source", "Fixed source"}, this);
  zones_ = NamedNumberBox("TxtZones", "5", this);
  knife_ = NamedNumberBox("TxtKnife", "0", this);
  knifeX_ = NamedNumberBox("TxtKnifeX", "0", this);
  slit_ = NamedNumberBox("TxtSlit", "0.02", this);
  readings_ = new QLineEdit(this);
  readings_->setObjectName("TxtReadings");
  readings_->setPlaceholderText("1.02, 1.31, ...");
  microns_ = NamedNumberBox("TxtMicrons", "0.55", this);
  for (QLineEdit* b : {zones_, knife_, knifeX_, slit_, microns_}) SelectAllOnFocus(b);
  rows.Add("Mirror", mirror_);
  rows.Add("Source", source_);
  rows.Add("Knife (mm from centre)", knife_);
  rows.Add("Knife side (mm)", knifeX_);
  rows.Add("Slit width (mm)", slit_);
  rows.Add("Zones", zones_);
  rows.Add("Readings (mm)", readings_);
  rows.Add("Wavelength (micron)", microns_);
  panel_->setRowStretch(rows.r, 1);
}

void FoucaultWindow::Activated() {
  AnalysisWindow::Activated();
  FillMirrors(mirror_, main_.session().design);
}

FoucaultSettings FoucaultWindow::Settings() const {
  FoucaultSettings s;
  s.mirror = ChosenMirror(mirror_);
  s.movingSource = source_->currentIndex() == 0;
  s.zones = static_cast<int>(BoxValue(zones_));
  s.knifeOffset = BoxValue(knife_);
  s.knifeX = BoxValue(knifeX_);
  s.sourceWidth = BoxValue(slit_);
  s.microns = BoxValue(microns_);
  // Readings apart by commas or spaces; an empty box takes none.
  for (const QString& part : readings_->text().split(QRegularExpression("[,;\\s]+"), Qt::SkipEmptyParts))
    s.measured.push_back(ParseLeadingNumber(S(part)));
  return s;
}

void FoucaultWindow::Recompute() {
  FoucaultSettings s = Settings();
  if (!(s.microns > 0)) s.microns = 0.55;
  FoucaultResult r = ComputeFoucault(main_.session().design, s);
  if (!r.ok) {
    Tell(this, Q(r.message), windowTitle());
    return;
  }
  result_ = std::move(r);
  std::string text;
  for (const std::string& line : result_.table) text += line + "\n";
  SetText(text);
  Redraw();
}

void FoucaultWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawFoucault(result_, c);
  plot_->SetPlot(c);
}

// ---------------------------------------------------------------------------
// FrmStarTest

StarTestWindow::StarTestWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmStarTest", "Star Test", "StarTest",
                     Frame(2.08 / 1.12, FrameOptions::Wavelengths::One, true)) {
  Rows rows{panel_, this};
  grid_ = NamedCombo("ComboGrid", {"32x32", "64x64", "128x128"}, this);
  grid_->setCurrentIndex(1);
  field_ = NamedCombo("ComboField", {"On-Axis", "Full-Field"}, this);
  focalRadius_ = NamedNumberBox("TxtFocalRadius", "0", this);
  defocus_ = NamedNumberBox("TxtDefocus", "4", this);
  SelectAllOnFocus(focalRadius_);
  SelectAllOnFocus(defocus_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  rows.Add("Grid", grid_);
  rows.Add("Field", field_);
  rows.Add("Field Curv.Rad", focalRadius_);
  rows.Add("Defocus (waves)", defocus_);
  difference_ = NamedLabel("LabelDifference", this);
  strehl_ = NamedLabel("LabelStrehl", this);
  rows.Add("Intra / extra difference", difference_);
  rows.Add("Strehl in focus", strehl_);
  progress_ = RunProgressBar(this);
  rows.Whole(progress_);
  panel_->setRowStretch(rows.r, 1);
}

StarTestSettings StarTestWindow::Settings() const {
  const Session& ss = main_.session();
  StarTestSettings s;
  s.wavelength = std::max(ChosenWavelength(), 1);
  s.grid = 32 << std::max(grid_->currentIndex(), 0);
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() == 1;
  s.angleYDeg = ParseLeadingNumber(ss.sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(ss.sheet.TxtangoloX);
  s.defocus = BoxValue(defocus_);
  return s;
}

void StarTestWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  StarTestResult r = ComputeStarTest(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) {
    if (!r.message.empty()) Tell(this, Q(r.message), windowTitle());
    return;
  }
  result_ = std::move(r);
  difference_->setText(Q(FormatFixed(result_.difference * 100, 1) + " %"));
  strehl_->setText(Q(FormatFixed(result_.Strehl, 4)));
  Redraw();
}

void StarTestWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawStarTest(result_, c);
  plot_->SetPlot(c);
}

}  // namespace ovrin::shell
