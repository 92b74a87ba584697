#include "shell/image_quality_windows.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>

#include "core/number_text.h"
#include "output/qpainter_canvas.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

FrameOptions Frame(std::vector<std::string> panes, double aspect, FrameOptions::Wavelengths wavelengths,
                   std::string text_pane) {
  FrameOptions o;
  o.plot_aspect = aspect;
  o.panes = std::move(panes);
  o.wavelengths = wavelengths;
  if (wavelengths == FrameOptions::Wavelengths::One)
    o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
  o.text_pane = std::move(text_pane);
  return o;
}

// The pupil grid as radio buttons Option7..Option9, their ids the sizes.
QButtonGroup* GridChoice(QWidget* parent, QGridLayout* panel, int& row) {
  auto* group = new QButtonGroup(parent);
  auto* line = new QHBoxLayout;
  const char* names[3] = {"32x32", "64x64", "128x128"};
  for (int i = 0; i < 3; ++i) {
    auto* b = new QRadioButton(names[i], parent);
    b->setObjectName(QString("Option%1").arg(7 + i));
    group->addButton(b, 32 << i);
    line->addWidget(b);
  }
  group->button(64)->setChecked(true);
  panel->addWidget(new QLabel("Pupil grid", parent), row++, 0, 1, 2);
  panel->addLayout(line, row++, 0, 1, 2);
  return group;
}

QComboBox* FieldChoice(QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName("ComboField");
  c->addItems({"On-Axis", "Full-Field"});
  return c;
}

// A failed ray, as the windows tell it.
QString RayFailure(const std::optional<TraceError>& e) {
  if (!e) return "TraceError";
  return QString("TraceError at surface %1: %2").arg(e->surface).arg(TraceFaultText(e->reason));
}

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& l : lines) text += l + "\n";
  return text;
}

// The frame's back colour list has no meaning on a window that picks its own.
void HideBackColour(QWidget* w, QComboBox* list) {
  list->hide();
  for (QLabel* l : w->findChildren<QLabel*>())
    if (l->text() == "BackColor") l->hide();
}

}  // namespace

// ---------------------------------------------------------------------------
// FrmEEPDiff

EnergyWindow::EnergyWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmEEPDiff", "Diffraction Encircled Energy", "EEPDiff",
                     Frame({"Picture1"}, 1.33, FrameOptions::Wavelengths::One, "Text1")) {
  referDecimals_ = 4;
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  grid_ = GridChoice(this, panel_, r);
  field_ = FieldChoice(this);
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  rings_ = NamedNumberBox("Text3", "4", this);
  for (QLineEdit* b : {focalRadius_, rings_}) SelectAllOnFocus(b);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("Field", field_);
  row("Field Curv.Rad", focalRadius_);
  row("Radius (dark rings)", rings_);
  atRing_ = new QLabel(this);
  atRing_->setObjectName("LabelRing");
  perfect_ = new QLabel(this);
  perfect_->setObjectName("LabelPerfect");
  radius80_ = new QLabel(this);
  radius80_->setObjectName("Label80");
  strehl_ = new QLabel(this);
  strehl_->setObjectName("LabelStrehl");
  row("In 1st dark ring", atRing_);
  row("Perfect aperture", perfect_);
  row("80 % radius (micron)", radius80_);
  row("STREHL  RATIO", strehl_);
  progress_ = RunProgressBar(this);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
}

DiffEnergySettings EnergyWindow::Settings() const {
  DiffEnergySettings s;
  s.wavelength = ChosenWavelength();
  s.grid = grid_->checkedId() > 0 ? grid_->checkedId() : 64;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() != 0;
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  const double rings = BoxValue(rings_);
  s.rangeRings = rings >= 0.5 && rings <= 20 ? rings : 4;
  return s;
}

void EnergyWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  DiffEnergyResult r = ComputeDiffractionEnergy(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) {
    Tell(this, RayFailure(r.error), windowTitle());
    return;
  }
  result_ = std::move(r);
  atRing_->setText(Q(FormatFixed(100 * result_.atDarkRing, 1) + " %"));
  perfect_->setText(Q(FormatFixed(100 * result_.perfectAtDarkRing, 1) + " %"));
  radius80_->setText(result_.radius80Mm > 0 ? Q(FormatFixed(result_.radius80Mm * 1000, 2)) : QString("beyond"));
  strehl_->setText(Q(FormatFixed(result_.Strehl, 4)));
  SetText(Lines(result_.text));
  Redraw();
}

void EnergyWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawDiffractionEnergy(result_, c, BackgroundIndex());
  plot_->SetBackground(PlotBackground(BackgroundIndex()));
  plot_->SetPlot(c);
}

// ---------------------------------------------------------------------------
// FrmVisualPSF

ColourImageWindow::ColourImageWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmVisualPSF", "Simulated Color Diffraction Image", "VisualPSF",
                     Frame({"Picture1"}, 500.0 / 550.0, FrameOptions::Wavelengths::Several, "Text1")) {
  referDecimals_ = 4;
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  // Every wavelength in use adds its light.
  for (QAbstractButton* b : wl_) b->setChecked(true);
  grid_ = GridChoice(this, panel_, r);
  field_ = FieldChoice(this);
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  width_ = NamedNumberBox("Text3", "0", this);
  width_->setToolTip("Side of the picture in microns; 0: twelve dark rings of the longest wavelength");
  for (QLineEdit* b : {focalRadius_, width_}) SelectAllOnFocus(b);
  brightness_ = new QComboBox(this);
  brightness_->setObjectName("ComboBright");
  brightness_->addItems({"Linear", "Faint rings", "Very faint rings"});
  brightness_->setCurrentIndex(1);
  connect(brightness_, &QComboBox::currentIndexChanged, this, [this](int) { Update(); });
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("Field", field_);
  row("Field Curv.Rad", focalRadius_);
  row("Width (micron)", width_);
  row("Brightness", brightness_);
  progress_ = RunProgressBar(this);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  HideBackColour(this, backColor_);
  plot_->SetBackground({0, 0, 0});
}

ColourImageSettings ColourImageWindow::Settings() const {
  ColourImageSettings s;
  s.checked = CheckedWavelengths();
  s.grid = grid_->checkedId() > 0 ? grid_->checkedId() : 64;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() != 0;
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  const double width = BoxValue(width_);
  s.widthMm = width > 0 ? width / 1000 : 0;
  const double gammas[3] = {1.0, 0.5, 0.3};
  s.gamma = gammas[std::clamp(brightness_->currentIndex(), 0, 2)];
  return s;
}

void ColourImageWindow::Recompute() {
  const ColourImageSettings s = Settings();
  bool any = false;
  for (bool on : s.checked) any |= on;
  if (!any) {
    Tell(this, "No wavelength selected", windowTitle());
    return;
  }
  progress_->setValue(0);
  progress_->show();
  ColourImageResult r = ComputeColourImage(main_.session().design, s, PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) {
    Tell(this, RayFailure(r.error), windowTitle());
    return;
  }
  result_ = std::move(r);
  SetText(Lines(result_.text));
  Redraw();
}

void ColourImageWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawColourImage(result_, c);
  plot_->SetBackground({0, 0, 0});
  plot_->SetPlot(c);
}

// ---------------------------------------------------------------------------
// FrmMultiAnl

MultiAnalysisWindow::MultiAnalysisWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmMultiAnl", "Multi-Analysis Plot", "MultiAnl",
                     Frame({"Picture1"}, kMultiSheetWidth / kMultiSheetHeight, FrameOptions::Wavelengths::Several, "")) {
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  wave_ = new QComboBox(this);
  wave_->setObjectName("ComboWave");
  rays_ = new QComboBox(this);
  rays_->setObjectName("Comboraggi");
  rays_->addItems({"128", "340", "558", "832", "1300", "2346", "3478", "5100"});
  rays_->setCurrentIndex(2);
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("W.F. and MTF wavelength", wave_);
  row("Rays per color", rays_);
  row("Field Curv.Rad", focalRadius_);
  QPushButton* print = NamedButton("CmdPrintSheet", "Print the sheet", this);
  connect(print, &QPushButton::clicked, this, [this] {
    if (!computed_) return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Portrait);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (!PrintSheet(printer)) Tell(this, "Print Error!", windowTitle());
  });
  panel_->addWidget(print, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  HideBackColour(this, backColor_);
}

void MultiAnalysisWindow::Activated() {
  AnalysisWindow::Activated();
  const DesignState& d = main_.session().design;
  referBfl_->setText(Q(FormatFixed(d.Bfl, 4)));
  const int chosen = wave_->currentIndex() >= 0 ? wave_->currentData().toInt() : 1;
  wave_->clear();
  for (int k = 1; k <= 6; ++k)
    if (d.Wavelength[k - 1] != 0 && WavelengthInUse(d, k))
      wave_->addItem(Q(FormatFixed(d.Wavelength[k - 1], 4)), k);
  const int at = wave_->findData(chosen);
  wave_->setCurrentIndex(at >= 0 ? at : 0);
}

MultiSettings MultiAnalysisWindow::Settings() const {
  const Session& session = main_.session();
  MultiSettings s;
  s.checked = CheckedWavelengths();
  s.wavelength = wave_->currentIndex() >= 0 ? wave_->currentData().toInt() : 1;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.angleY = session.sheet.Txtangolo;
  s.angleX = session.sheet.TxtangoloX;
  s.rays = S(rays_->currentText());
  s.title = session.design.DesignFileTitle.empty() ? session.design.DesignNote : session.design.DesignFileTitle;
  return s;
}

void MultiAnalysisWindow::Recompute() {
  drawn_ = Settings();
  result_ = ComputeMultiAnalysis(main_.session().design, drawn_);
  computed_ = true;
  Redraw();
}

void MultiAnalysisWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas c;
  DrawMultiAnalysis(result_, drawn_, c);
  plot_->SetPlot(c);
}

bool MultiAnalysisWindow::PrintSheet(QPrinter& printer) const {
  if (!computed_) return false;
  QPainter p;
  if (!p.begin(&printer)) return false;
  const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
  const PageFit fit = FitToPage(kMultiSheetWidth, kMultiSheetHeight, page.width(), page.height());
  QPainterCanvas canvas(p, QRectF(0, 0, fit.width, fit.height));
  plot_->plot().Replay(canvas);
  return p.end();
}

// ---------------------------------------------------------------------------
// FrmGhost

GhostWindow::GhostWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmGhost", "Ghost Analysis", "Ghost",
                     Frame({"Picture1"}, 1.33, FrameOptions::Wavelengths::One, "Text1")) {
  referDecimals_ = 4;
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  reflectance_ = NamedNumberBox("Text2", "0", this);
  reflectance_->setToolTip("Reflectance of every surface in percent; 0: bare glass (Fresnel)");
  SelectAllOnFocus(reflectance_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("Reflectance (%)", reflectance_);
  count_ = new QLabel(this);
  count_->setObjectName("LabelCount");
  row("Ghosts", count_);
  panel_->setRowStretch(r, 1);
}

GhostSettings GhostWindow::Settings() const {
  GhostSettings s;
  s.wavelength = ChosenWavelength();
  s.actualBfl = BoxValue(actualBfl_);
  const double percent = BoxValue(reflectance_);
  s.reflectance = percent > 0 && percent <= 100 ? percent / 100 : 0;
  return s;
}

void GhostWindow::Recompute() {
  GhostResult r = ComputeGhosts(main_.session().design, Settings());
  if (!r.ok) {
    Tell(this, Q(r.error), windowTitle());
    return;
  }
  result_ = std::move(r);
  count_->setText(QString("%1 (%2 surfaces)").arg(result_.ghosts.size()).arg(result_.refracting));
  SetText(Lines(result_.text));
  Redraw();
}

void GhostWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawGhosts(result_, c, BackgroundIndex());
  plot_->SetBackground(PlotBackground(BackgroundIndex()));
  plot_->SetPlot(c);
}

}  // namespace ovrin::shell
