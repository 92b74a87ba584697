#include "shell/spot_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QLabel* Value(const char* name, QWidget* parent) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  l->setFrameShape(QFrame::Panel);
  l->setFrameShadow(QFrame::Sunken);
  l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  l->setMinimumWidth(l->fontMetrics().horizontalAdvance("00000.000000"));
  l->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return l;
}

}  // namespace

SpotWindow::SpotWindow(MainWindow& main)
    : AnalysisWindow(main, "frmspot", "Detailed Polichromatic SPOT-DIAGRAM ", "SpotDiagram", 380.0 / 268.0) {
  field_ = new QComboBox(this);
  field_->setObjectName("ComboField");
  field_->addItems({"On-axis", "Full-Field"});
  rays_ = new QComboBox(this);
  rays_->setObjectName("Comboraggi");
  for (const RaysEntry& e : kRaysPerColor) rays_->addItem(e.text);
  rays_->setCurrentIndex(2);
  zoom_ = new QLineEdit("1", this);
  zoom_->setObjectName("Txtscala");
  focalRadius_ = new QLineEdit("0", this);
  focalRadius_->setObjectName("Txtrcpf");
  for (QLineEdit* b : {zoom_, focalRadius_}) {
    b->setAlignment(Qt::AlignRight);
    SelectAllOnFocus(b);
  }
  // A new zoom redraws the rays already traced.
  connect(zoom_, &QLineEdit::returnPressed, this, [this] { Redraw(); });
  plotVign_ = new QCheckBox("Plot Vign.Rays", this);
  plotVign_->setObjectName("CheckVign");
  auto* autofocus = new QPushButton("AutoFocus  (Min.on-axis RMS)", this);
  autofocus->setObjectName("Command1");
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });

  label16_ = new QLabel("Angle", this);
  label16_->setObjectName("Label16");
  lblangolo_ = Value("Lblangolo", this);
  rms_ = Value("lbldiamrms", this);
  diameter_ = Value("lbldiamspot", this);
  height_ = Value("lblaltezza", this);
  vignPercent_ = Value("Lblpercentvig", this);
  total_ = Value("Lblraggitot", this);
  passed_ = Value("Lblragginonvig", this);
  stopped_ = Value("Lblraggivig", this);
  airy_ = Value("Lbldiamairy", this);
  scale_ = new QLabel("Zoom", this);
  scale_->setToolTip("reduce the value to zoom In");

  int r = 0;
  auto row = [&](const char* caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  row("Field", field_);
  panel_->addWidget(label16_, r, 0);
  panel_->addWidget(lblangolo_, r++, 1);
  row("Rays per color", rays_);
  panel_->addWidget(scale_, r, 0);
  panel_->addWidget(zoom_, r++, 1);
  row("Focal Surf. Radius", focalRadius_);
  panel_->addWidget(plotVign_, r++, 0, 1, 2);
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  row("RMS Radius (mm)", rms_);
  row("Spot Diameter (mm)", diameter_);
  row("Chief Ray Height", height_);
  row("% Vignetting", vignPercent_);
  row("Total Rays", total_);
  row("Non-Vign. Rays", passed_);
  row("Vign. Rays", stopped_);
  panel_->addWidget(airy_, r, 1);
  panel_->addWidget(new QLabel("<--- AIRY Diam.", this), r++, 0);
  panel_->setRowStretch(r, 1);
}

void SpotWindow::showEvent(QShowEvent* event) {
  AnalysisWindow::showEvent(event);
  if (opened_) return;
  opened_ = true;
  // On opening, the boxes of wavelengths that surface 1 has no index for are off.
  const DesignState& d = main_.session().design;
  for (int k : {3, 2, 4, 5, 6}) {
    const bool has_index = d.IndexWl[k][1] != 0;
    wl_[k - 1]->setEnabled(has_index);
    if (!has_index) wl_[k - 1]->setChecked(false);
  }
}

void SpotWindow::Activated() {
  AnalysisWindow::Activated();
  const DesignState& d = main_.session().design;
  if (d.ObjDistance == 0) {
    label16_->setText("Angle");
    lblangolo_->setText(Q(main_.session().sheet.Txtangolo));
  } else {
    label16_->setText("Object Height");
    lblangolo_->setText(Q(ShortestText(d.HalfFieldY)));
  }
}

SpotSettings SpotWindow::Settings() const {
  SpotSettings s;
  s.rays = S(rays_->currentText());
  s.field = field_->currentIndex();
  s.checked = CheckedWavelengths();
  s.zoom = S(zoom_->text());
  s.focalRadius = S(focalRadius_->text());
  s.actualBfl = S(actualBfl_->text());
  s.plotVignetted = plotVign_->isChecked();
  s.background = BackgroundIndex();
  s.angleY = main_.session().sheet.Txtangolo;
  s.angleX = main_.session().sheet.TxtangoloX;
  return s;
}

void SpotWindow::Recompute() {
  SpotSettings s = Settings();
  const double zoom = ParseLeadingNumber(s.zoom);
  if (s.zoom.empty() || zoom == 0) zoom_->setText("1");
  s.previousSpotDiameter = result_.SpotDiameter;
  DesignState& d = main_.session().design;
  SpotLabels shown = result_.labels;
  result_ = ComputeSpot(d, s);
  if (result_.raiseUncenteredFlag) d.UncenteredFlag = 1;
  // A drawing that fails or shows no ray leaves the numbers as they were,
  // except the Airy diameter, which is shown before any ray is traced.
  if (result_.gridBuilt) shown.Lbldiamairy = result_.labels.Lbldiamairy;
  if (result_.drawn) shown = result_.labels;
  result_.labels = shown;
  drawnWith_ = s;
  computed_ = true;
  Redraw();
  ShowLabels(shown);
  if (!result_.error.empty()) Tell(this, Q(result_.error));
}

void SpotWindow::Redraw() {
  if (!computed_) return;
  SpotSettings s = drawnWith_;
  s.zoom = S(zoom_->text());
  const double zoom = ParseLeadingNumber(s.zoom);
  if (s.zoom.empty() || zoom == 0) zoom_->setText("1");
  s.background = BackgroundIndex();
  RecordingCanvas plot;
  DrawSpot(result_, s, plot);
  plot_->SetPlot(plot);
}

void SpotWindow::ShowLabels(const SpotLabels& l) {
  rms_->setText(Q(l.lbldiamrms));
  diameter_->setText(Q(l.lbldiamspot));
  height_->setText(Q(l.lblaltezza));
  vignPercent_->setText(Q(l.Lblpercentvig));
  total_->setText(Q(l.Lblraggitot));
  passed_->setText(Q(l.Lblragginonvig));
  stopped_->setText(Q(l.Lblraggivig));
  airy_->setText(Q(l.Lbldiamairy));
}

void SpotWindow::AutoFocusAndUpdate() {
  const DesignState& d = main_.session().design;
  try {
    const double shift = AutoFocus(d, Settings());
    actualBfl_->setText(Q(FormatFixed(shift + d.Bfl, 4)));
  } catch (const TraceError&) {
    Tell(this, kRayTraceError);
    return;
  }
  Update();
}

}  // namespace ovrin::shell
