#include "shell/layout_window.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {
constexpr int kFieldSteps = 100;  // the field slider's steps from 0 to the design's half-field

FrameOptions LayoutFrameOptions() {
  FrameOptions o;
  o.plot_aspect = 2.0;  // the frame is four times as wide as half its height
  o.panes = {"Picture1"};
  o.wavelengths = FrameOptions::Wavelengths::None;  // the rays are of wavelength 1
  o.focus_controls = false;
  return o;
}
}  // namespace

LayoutWindow::LayoutWindow(MainWindow& main)
    : AnalysisWindow(main, "Frmlayout", "2D- LAYOUT", "Layout", LayoutFrameOptions()) {
  const DesignState& d = main_.session().design;
  maxField_ = std::fabs(ParseLeadingNumber(main_.session().sheet.Txtangolo));
  field_ = new QSlider(Qt::Horizontal, this);
  field_->setObjectName("HScroll4");
  field_->setRange(0, kFieldSteps);
  field_->setValue(kFieldSteps);
  rays_ = new QSlider(Qt::Horizontal, this);
  rays_->setObjectName("HScroll5");
  rays_->setRange(0, 61);
  rays_->setValue(3);
  fieldValue_ = new QLabel(this);
  raysValue_ = new QLabel(this);
  bothHalves_ = new QCheckBox("Plot both Half-Fields", this);
  bothHalves_->setObjectName("CheckFullField");
  vign_ = new QCheckBox("Plot Vignetted Rays", this);
  vign_->setObjectName("CheckVIGN");
  auto* unzoom = new QPushButton("UNZOOM", this);
  unzoom->setObjectName("Command3");
  auto* zoomOut = new QPushButton("Zoom Out", this);
  zoomOut->setObjectName("CmdZoomOut");
  track_ = new QLabel(this);
  track_->setObjectName("Lbllunghmassima");
  focal_ = new QLabel(this);
  focal_->setObjectName("LblFocal");
  for (QLabel* l : {track_, focal_, fieldValue_, raysValue_}) {
    l->setFrameShape(QFrame::Panel);
    l->setFrameShadow(QFrame::Sunken);
    l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    l->setMinimumWidth(l->fontMetrics().horizontalAdvance("000000.000"));
  }

  int r = 0;
  panel_->addWidget(new QLabel(d.ObjDistance == 0 ? "Field Angle" : "Object Height", this), r, 0);
  panel_->addWidget(fieldValue_, r++, 1);
  panel_->addWidget(field_, r++, 0, 1, 2);
  panel_->addWidget(new QLabel("Rays number", this), r, 0);
  panel_->addWidget(raysValue_, r++, 1);
  panel_->addWidget(rays_, r++, 0, 1, 2);
  panel_->addWidget(bothHalves_, r++, 0, 1, 2);
  panel_->addWidget(vign_, r++, 0, 1, 2);
  panel_->addWidget(unzoom, r, 0);
  panel_->addWidget(zoomOut, r++, 1);
  panel_->addWidget(new QLabel("Total Track", this), r, 0);
  panel_->addWidget(track_, r++, 1);
  panel_->addWidget(new QLabel("Focal Length", this), r, 0);
  panel_->addWidget(focal_, r++, 1);
  panel_->addWidget(new QLabel("Drag a rectangle on the\npicture to zoom into it.", this), r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);

  auto redraw = [this] {
    if (computed_) Recompute();
  };
  connect(field_, &QSlider::valueChanged, this, redraw);
  connect(rays_, &QSlider::valueChanged, this, redraw);
  connect(bothHalves_, &QCheckBox::toggled, this, redraw);
  connect(vign_, &QCheckBox::toggled, this, redraw);
  connect(unzoom, &QPushButton::clicked, this, [this] { Unzoom(); });
  connect(zoomOut, &QPushButton::clicked, this, [this] { ZoomOut(); });
  plot_->EnableRubberBand(true);
  connect(plot_, &PlotView::rectangleChosen, this,
          [this](double l, double t, double rr, double b) { ZoomTo({l, t, rr, b}); });
  auto show_values = [this] {
    const DesignState& dd = main_.session().design;
    const double f = static_cast<double>(field_->value()) / kFieldSteps;
    fieldValue_->setText(Q(dd.ObjDistance == 0 ? FormatFixed(maxField_ * f, 3) : FormatFixed(dd.HalfFieldY * f, 3)));
    raysValue_->setText(QString::number(rays_->value()));
  };
  connect(field_, &QSlider::valueChanged, this, show_values);
  connect(rays_, &QSlider::valueChanged, this, show_values);
  show_values();
}

LayoutSettings LayoutWindow::Settings() const {
  LayoutSettings s;
  s.field_fraction = static_cast<double>(field_->value()) / kFieldSteps;
  s.field_deg = main_.session().design.ObjDistance == 0 ? maxField_ * s.field_fraction : 0.0;
  s.rays = rays_->value();
  s.both_half_fields = bothHalves_->isChecked();
  s.plot_vignetted = vign_->isChecked();
  s.background = BackgroundIndex();
  return s;
}

void LayoutWindow::Recompute() {
  const DesignState& d = main_.session().design;
  try {
    layout_ = ComputeLayout(d, Settings());
  } catch (const std::exception&) {
    Tell(this, "ERROR! ");
    return;
  }
  computed_ = true;
  if (!zoomed_) view_ = layout_.frame;
  track_->setText(Q(FormatFixed(layout_.TotalTrack, 3)));
  focal_->setText(Q(FormatFixed(d.Efl, 3)));
  Redraw();
}

void LayoutWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas plot;
  DrawLayout(layout_, Settings(), view_, plot);
  plot_->SetPlot(plot);
}

void LayoutWindow::ZoomTo(const LayoutFrame& window) {
  if (!computed_) return;
  zoomed_ = true;
  view_ = window;
  Redraw();
}

void LayoutWindow::Unzoom() {
  zoomed_ = false;
  view_ = layout_.frame;
  if (computed_) Redraw();
}

void LayoutWindow::ZoomOut() {
  if (!computed_) return;
  const double cx = (view_.left + view_.right) / 2, cy = (view_.top + view_.bottom) / 2;
  const double hw = (view_.right - view_.left), hh = (view_.top - view_.bottom);
  ZoomTo({cx - hw, cy + hh, cx + hw, cy - hh});
}

}  // namespace ovrin::shell
