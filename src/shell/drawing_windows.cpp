#include "shell/drawing_windows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <cmath>

#include "core/number_text.h"
#include "output/picture_file.h"
#include "output/qpainter_canvas.h"
#include "shell/main_window.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

FrameOptions Layout3DFrame() {
  FrameOptions o;
  o.plot_aspect = Layout3DSettings{}.aspect;
  o.panes = {"Picture1"};
  o.wavelengths = FrameOptions::Wavelengths::None;  // the rays are of wavelength 1
  o.focus_controls = false;
  return o;
}

FrameOptions ElementFrame() {
  FrameOptions o;
  o.plot_aspect = kElementSheetWidth / kElementSheetHeight;
  o.panes = {"Picture1"};
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.focus_controls = false;
  return o;
}

// The zoom slider's steps: a tenth of a doubling each.
constexpr double kZoomSteps = 10;

}  // namespace

// ---------------------------------------------------------------------------
// Frmlayout3D

QSlider* Layout3DWindow::Slider(const char* name, int lo, int hi, int value) {
  auto* s = new QSlider(Qt::Horizontal, this);
  s->setObjectName(name);
  s->setRange(lo, hi);
  s->setValue(value);
  return s;
}

Layout3DWindow::Layout3DWindow(MainWindow& main)
    : AnalysisWindow(main, "Frmlayout3D", "3D- LAYOUT", "Layout3D", Layout3DFrame()) {
  const Layout3DSettings defaults;
  rotX_ = Slider("HScrollRotX", -180, 180, static_cast<int>(defaults.rotX));
  rotY_ = Slider("HScrollRotY", -180, 180, static_cast<int>(defaults.rotY));
  rotZ_ = Slider("HScrollRotZ", -180, 180, static_cast<int>(defaults.rotZ));
  zoom_ = Slider("HScrollZoom", 0, 60, 0);
  rays_ = Slider("HScrollRays", 0, 31, defaults.rays);
  sagittal_ = new QCheckBox("Sagittal rays too", this);
  sagittal_->setObjectName("CheckSagittal");
  sagittal_->setChecked(defaults.sagittal);
  angles_ = new QLabel(this);
  angles_->setObjectName("LblAngles");
  auto* reset = NamedButton("CmdResetView", "Side view", this);
  auto* start = NamedButton("CmdStartView", "Oblique view", this);

  int r = 0;
  panel_->addWidget(new QLabel("Rotation X", this), r, 0);
  panel_->addWidget(rotX_, r++, 1);
  panel_->addWidget(new QLabel("Rotation Y", this), r, 0);
  panel_->addWidget(rotY_, r++, 1);
  panel_->addWidget(new QLabel("Rotation Z", this), r, 0);
  panel_->addWidget(rotZ_, r++, 1);
  panel_->addWidget(angles_, r++, 0, 1, 2);
  panel_->addWidget(new QLabel("Zoom", this), r, 0);
  panel_->addWidget(zoom_, r++, 1);
  panel_->addWidget(new QLabel("Rays number", this), r, 0);
  panel_->addWidget(rays_, r++, 1);
  panel_->addWidget(sagittal_, r++, 0, 1, 2);
  panel_->addWidget(reset, r, 0);
  panel_->addWidget(start, r++, 1);
  panel_->addWidget(new QLabel("Drag the picture to turn the design;\n"
                               "the wheel zooms. Rays: green on axis,\n"
                               "blue at 0.7 field, red at full field.",
                               this),
                    r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);

  auto show_angles = [this] {
    angles_->setText(QString("X %1   Y %2   Z %3   zoom %4")
                         .arg(rotX_->value())
                         .arg(rotY_->value())
                         .arg(rotZ_->value())
                         .arg(Q(FormatFixed(std::pow(2.0, zoom_->value() / kZoomSteps), 2))));
  };
  show_angles();
  for (QSlider* s : {rotX_, rotY_, rotZ_, zoom_}) {
    connect(s, &QSlider::valueChanged, this, show_angles);
    connect(s, &QSlider::valueChanged, this, [this] { Redraw(); });
  }
  auto again = [this] {
    if (computed_) Recompute();
  };
  connect(rays_, &QSlider::valueChanged, this, again);
  connect(sagittal_, &QCheckBox::toggled, this, again);
  connect(reset, &QPushButton::clicked, this, [this] {
    rotX_->setValue(0), rotY_->setValue(0), rotZ_->setValue(0);
  });
  connect(start, &QPushButton::clicked, this, [this] {
    const Layout3DSettings d;
    rotX_->setValue(static_cast<int>(d.rotX)), rotY_->setValue(static_cast<int>(d.rotY)), rotZ_->setValue(0);
  });
  plot_->installEventFilter(this);
  plot_->setCursor(Qt::OpenHandCursor);
}

Layout3DSettings Layout3DWindow::Settings() const {
  Layout3DSettings s;
  s.rotX = rotX_->value();
  s.rotY = rotY_->value();
  s.rotZ = rotZ_->value();
  s.zoom = std::pow(2.0, zoom_->value() / kZoomSteps);
  s.rays = rays_->value();
  s.sagittal = sagittal_->isChecked();
  s.background = BackgroundIndex();
  s.field_deg = main_.session().design.ObjDistance == 0 ? ParseLeadingNumber(main_.session().sheet.Txtangolo) : 0;
  return s;
}

void Layout3DWindow::Recompute() {
  try {
    layout_ = ComputeLayout3D(main_.session().design, Settings());
  } catch (const std::exception&) {
    Tell(this, "ERROR! ?");
    return;
  }
  computed_ = true;
  Redraw();
}

void Layout3DWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas plot;
  DrawLayout3D(layout_, Settings(), plot);
  plot_->SetPlot(plot);
}

// Angles wrap round: a turn past 180 comes back at -180.
static int Wrap(int a) {
  while (a > 180) a -= 360;
  while (a < -180) a += 360;
  return a;
}

void Layout3DWindow::Drag(int dx, int dy) {
  rotY_->setValue(Wrap(rotY_->value() + dx / 2));
  rotX_->setValue(Wrap(rotX_->value() + dy / 2));
}

bool Layout3DWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == plot_) {
    switch (event->type()) {
      case QEvent::MouseButtonPress: {
        auto* m = static_cast<QMouseEvent*>(event);
        if (m->button() == Qt::LeftButton) {
          dragging_ = true;
          dragFrom_ = m->pos();
          plot_->setCursor(Qt::ClosedHandCursor);
          return true;
        }
        break;
      }
      case QEvent::MouseMove: {
        auto* m = static_cast<QMouseEvent*>(event);
        if (dragging_) {
          const QPoint d = m->pos() - dragFrom_;
          if (std::abs(d.x()) >= 2 || std::abs(d.y()) >= 2) {
            Drag(d.x(), d.y());
            dragFrom_ = m->pos();
          }
          return true;
        }
        break;
      }
      case QEvent::MouseButtonRelease:
        if (dragging_) {
          dragging_ = false;
          plot_->setCursor(Qt::OpenHandCursor);
          return true;
        }
        break;
      case QEvent::Wheel: {
        auto* w = static_cast<QWheelEvent*>(event);
        zoom_->setValue(zoom_->value() + (w->angleDelta().y() > 0 ? 1 : -1));
        return true;
      }
      default:
        break;
    }
  }
  return AnalysisWindow::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------
// FrmVolume

ElementWindow::ElementWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmVolume", "Element Drawing", "ElementDrawing", ElementFrame()) {
  list_ = ListElements(main_.session().design);
  element_ = new QComboBox(this);
  element_->setObjectName("ComboElement");
  for (const ElementRef& r : list_)
    element_->addItem(r.mirror ? QString("Mirror, surface %1").arg(r.first)
                               : QString("Lens, surfaces %1 - %2").arg(r.first).arg(r.last));
  blank_ = NamedNumberBox("TxtBlank", "0", this);
  SelectAllOnFocus(blank_);
  auto* print = NamedButton("CmdPrintSheet", "Print sheet (A4)", this);
  auto* save = NamedButton("CmdSaveSheet", "Save sheet (PDF/SVG/PNG)", this);
  int r = 0;
  panel_->addWidget(new QLabel("Element", this), r++, 0, 1, 2);
  panel_->addWidget(element_, r++, 0, 1, 2);
  panel_->addWidget(new QLabel("Mirror blank (0: D/6)", this), r, 0);
  panel_->addWidget(blank_, r++, 1);
  panel_->addWidget(print, r++, 0, 1, 2);
  panel_->addWidget(save, r++, 0, 1, 2);
  auto* note = new QLabel(list_.empty() ? "The design has no lens or mirror." :
                                          "The sheet is drawn to the scale in\nits title block; printed on A4\n"
                                          "landscape it measures true.", this);
  note->setObjectName("LblNote");
  panel_->addWidget(note, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  // The sheet's lettering keeps its proportion from this width on.
  plot_->setMinimumSize(760, static_cast<int>(760 * kElementSheetHeight / kElementSheetWidth));
  auto again = [this] {
    if (computed_) Recompute();
  };
  connect(element_, &QComboBox::currentIndexChanged, this, again);
  connect(blank_, &QLineEdit::editingFinished, this, again);
  connect(print, &QPushButton::clicked, this, [this] {
    if (!computed_) Update();
    if (!computed_) return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (!PrintSheet(printer)) Tell(this, "Print Error!");
  });
  connect(save, &QPushButton::clicked, this, [this] {
    if (!computed_) Update();
    if (!computed_) return;
    const QString path = QFileDialog::getSaveFileName(this, "Save the sheet", QString(),
                                                      "PDF (*.pdf);;SVG (*.svg);;PNG (*.png)");
    if (!path.isEmpty() && !SaveSheet(path)) Tell(this, "ERROR!");
  });
}

ElementSettings ElementWindow::Settings() const {
  ElementSettings s;
  const int i = element_->currentIndex();
  s.surface = i >= 0 && i < static_cast<int>(list_.size()) ? list_[i].first : 0;
  s.mirrorBlank = std::max(0.0, BoxValue(blank_));
  return s;
}

void ElementWindow::Recompute() {
  if (list_.empty()) {
    Tell(this, "The design has no lens or mirror.");
    return;
  }
  drawing_ = ComputeElement(main_.session().design, Settings());
  if (!drawing_.ok) {
    Tell(this, Q(drawing_.error));
    return;
  }
  computed_ = true;
  Redraw();
}

void ElementWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas sheet;
  DrawElement(drawing_, sheet);
  plot_->SetPlot(sheet);
}

bool ElementWindow::PrintSheet(QPrinter& printer) {
  if (!computed_) return false;
  printer.setPageSize(QPageSize(QPageSize::A4));
  printer.setPageOrientation(QPageLayout::Landscape);
  printer.setFullPage(true);
  QPainter p;
  if (!p.begin(&printer)) return false;
  // The whole paper is the sheet: 297 mm across is the page's width.
  const QRectF paper = printer.pageLayout().fullRectPixels(printer.resolution());
  QPainterCanvas canvas(p, paper);
  RecordingCanvas sheet;
  DrawElement(drawing_, sheet);
  sheet.Replay(canvas);
  return p.end();
}

bool ElementWindow::SaveSheet(const QString& path) {
  if (!computed_) return false;
  RecordingCanvas sheet;
  DrawElement(drawing_, sheet);
  const bool bitmap = path.endsWith(".png", Qt::CaseInsensitive) || path.endsWith(".bmp", Qt::CaseInsensitive);
  // A vector sheet is an A4 page in points; a bitmap has 4 pixels to the millimetre.
  return RunEngine(this, [&] {
    if (bitmap)
      SavePicture(sheet, 1188, 840, S(path));
    else
      SavePicture(sheet, 842, 595, S(path));
  });
}

// ---------------------------------------------------------------------------
// FrmSolve

SolveContactDialog::SolveContactDialog(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("FrmSolve");
  setWindowTitle("Solve for Edge Contact");
  const int n = std::max<int>(2, main.session().design.SurfCount);
  surface_ = new QSpinBox(this);
  surface_->setObjectName("TxtSurface");
  surface_->setRange(1, n - 1);
  h1_ = NamedNumberBox("TxtH1", "", this);
  h2_ = NamedNumberBox("TxtH2", "", this);
  FilterKeys(h1_, KeyFilter::NumericWarn);
  FilterKeys(h2_, KeyFilter::NumericWarn);
  result_ = new QLabel(this);
  result_->setObjectName("LblResult");
  result_->setMinimumWidth(result_->fontMetrics().horizontalAdvance(QString(52, 'x')));
  result_->setWordWrap(true);
  auto* form = new QFormLayout;
  form->addRow("Surface (thickness after it)", surface_);
  form->addRow("Contact half-diameter on it", h1_);
  form->addRow("Contact half-diameter on the next", h2_);
  auto* solve = NamedButton("CmdSolve", "Solve", this);
  auto* ok = NamedButton("CmdOK", "OK", this);
  auto* cancel = NamedButton("CmdCancel", "Cancel", this);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(solve);
  buttons->addStretch(1);
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  ok->setDefault(true);
  auto* v = new QVBoxLayout(this);
  v->addWidget(new QLabel("The thickness after the surface that makes its rim touch the rim of the\n"
                          "next surface: lenses resting on each other, a cemented pair's edge.",
                          this));
  v->addLayout(form);
  v->addWidget(result_);
  v->addLayout(buttons);
  connect(surface_, &QSpinBox::valueChanged, this, [this](int s) { SurfaceChosen(s); });
  connect(solve, &QPushButton::clicked, this, [this] { Solve(); });
  connect(ok, &QPushButton::clicked, this, [this] { Ok(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  SurfaceChosen(1);
  CenterWindow(this, 2, 2);
}

void SolveContactDialog::SurfaceChosen(int s) {
  const DesignState& d = main_.session().design;
  if (s < 1 || s + 1 > d.SurfCount) return;
  h1_->setText(Q(ShortestText(std::fabs(d.SemiDiam[s]))));
  h2_->setText(Q(ShortestText(std::fabs(d.SemiDiam[s + 1]))));
  result_->clear();
}

bool SolveContactDialog::Solve() {
  main_.CommitDesignEdits();
  EdgeContactSettings set{surface_->value(), BoxValue(h1_), BoxValue(h2_)};
  contact_ = SolveEdgeContact(main_.session().design, set);
  if (!contact_.ok) {
    result_->setText(Q(contact_.error));
    return false;
  }
  QString text = QString("Thickness %1: %2  ->  %3\nSag of surface %1 at %4: %5;  of surface %6 at %7: %8")
                     .arg(contact_.surface)
                     .arg(Q(FormatFixed(contact_.oldThickness, 4)))
                     .arg(Q(FormatFixed(contact_.thickness, 4)))
                     .arg(Q(ShortestText(contact_.h1)))
                     .arg(Q(FormatFixed(contact_.sag1, 4)))
                     .arg(contact_.surface + 1)
                     .arg(Q(ShortestText(contact_.h2)))
                     .arg(Q(FormatFixed(contact_.sag2, 4)));
  if (contact_.facesCross)
    text += QString("\nWARNING: the faces cross at height %1 (by %2 mm) before the rims meet.")
                .arg(Q(FormatFixed(contact_.leastGapHeight, 3)))
                .arg(Q(FormatFixed(-contact_.leastGap, 4)));
  result_->setText(text);
  return true;
}

void SolveContactDialog::Ok() {
  if (!Solve()) {
    Tell(this, Q(contact_.error), windowTitle());
    return;
  }
  if (contact_.facesCross &&
      !AskYesNo(this, "The faces cross before the rims meet. Write the thickness anyway?", windowTitle()))
    return;
  Session& s = main_.session();
  ApplyEdgeContact(s.design, s.sheet, contact_);
  main_.RunUpdate();
  accept();
}

}  // namespace ovrin::shell
