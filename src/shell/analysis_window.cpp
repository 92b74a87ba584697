#include "shell/analysis_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QRubberBand>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "output/qpainter_canvas.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

// ---------------------------------------------------------------------------

PlotView::PlotView(double aspect, QWidget* parent) : QWidget(parent), aspect_(aspect) {
  setMinimumSize(380, static_cast<int>(380 / aspect));
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PlotView::SetPlot(const RecordingCanvas& plot) {
  plot_ = plot;
  update();
}

void PlotView::SetBackground(Rgb color) {
  background_ = color;
  update();
}

QSize PlotView::sizeHint() const { return {560, static_cast<int>(560 / aspect_)}; }

QRectF PlotView::Target() const {
  // The largest rectangle of the plot's proportions, centred.
  double w = width(), h = w / aspect_;
  if (h > height()) {
    h = height();
    w = h * aspect_;
  }
  return {(width() - w) / 2, (height() - h) / 2, w, h};
}

QPointF PlotView::ToPlot(const QPointF& at) const {
  const QRectF t = Target();
  for (const auto& item : plot_.items()) {
    if (item.op != RecordingCanvas::Op::Window) continue;
    return {item.a + (at.x() - t.left()) / t.width() * (item.c - item.a),
            item.b + (at.y() - t.top()) / t.height() * (item.d - item.b)};
  }
  return at;
}

void PlotView::mousePressEvent(QMouseEvent* e) {
  if (!rubberBand_ || e->button() != Qt::LeftButton) return QWidget::mousePressEvent(e);
  origin_ = e->pos();
  if (!band_) band_ = new QRubberBand(QRubberBand::Rectangle, this);
  band_->setObjectName("Shape1");
  band_->setGeometry(QRect(origin_, QSize()));
  band_->show();
}

void PlotView::mouseMoveEvent(QMouseEvent* e) {
  if (band_ && band_->isVisible()) band_->setGeometry(QRect(origin_, e->pos()).normalized());
  QWidget::mouseMoveEvent(e);
}

void PlotView::mouseReleaseEvent(QMouseEvent* e) {
  if (!band_ || !band_->isVisible()) return QWidget::mouseReleaseEvent(e);
  band_->hide();
  const QRect r = QRect(origin_, e->pos()).normalized();
  if (r.width() < 4 || r.height() < 4) return;  // a click, not a rectangle
  const QPointF a = ToPlot(r.topLeft()), b = ToPlot(r.bottomRight());
  emit rectangleChosen(std::min(a.x(), b.x()), std::max(a.y(), b.y()), std::max(a.x(), b.x()),
                       std::min(a.y(), b.y()));
}

void PlotView::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().window());
  const QRectF target = Target();
  p.fillRect(target, QColor(background_.r, background_.g, background_.b));
  QPainterCanvas canvas(p, target);
  // The background list acts at once: the recorded clearing takes today's colour.
  plot_.Replay(canvas, &background_);
  p.setPen(palette().mid().color());
  p.drawRect(target.adjusted(0, 0, -1, -1));
}

// ---------------------------------------------------------------------------

namespace {
const Rgb kBackgrounds[3] = {{255, 255, 255}, {0, 0, 0}, {230, 230, 230}};
const char* const kCheckNames[6] = {"Check_e", "Check_r", "Check_c", "Check_f", "Check_g", "Check_h"};
}  // namespace

AnalysisWindow::AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                               double plot_aspect, bool focus_controls)
    : main_(main), helpTopic_(help_topic) {
  setObjectName(name);
  setWindowTitle(caption);

  designName_ = new QLabel(this);
  designName_->setObjectName("Label8");
  plot_ = new PlotView(plot_aspect, this);
  plot_->setObjectName("Picturespot");

  auto* wlBox = new QGroupBox("WaveLengths", this);
  auto* wlRow = new QHBoxLayout(wlBox);
  for (int k = 0; k < 6; ++k) {
    wl_[k] = new QCheckBox(wlBox);
    wl_[k]->setObjectName(kCheckNames[k]);
    wlRow->addWidget(wl_[k]);
  }
  wlRow->addStretch(1);

  auto* side = new QGroupBox(this);
  panel_ = new QGridLayout(side);
  referBfl_ = new QLabel(this);
  referBfl_->setObjectName("Lbl_bflrif");
  referBfl_->setFrameShape(QFrame::Panel);
  referBfl_->setFrameShadow(QFrame::Sunken);
  referBfl_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  actualBfl_ = new QLineEdit(this);
  actualBfl_->setObjectName("Txtbflattuale");
  actualBfl_->setAlignment(Qt::AlignRight);
  SelectAllOnFocus(actualBfl_);
  backColor_ = new QComboBox(this);
  backColor_->setObjectName("Combo1");
  backColor_->addItems({"White", "Black", "Grey"});
  connect(backColor_, &QComboBox::currentIndexChanged, this,
          [this](int i) { plot_->SetBackground(kBackgrounds[std::clamp(i, 0, 2)]); });

  auto* fixed = new QGridLayout;
  fixed->addWidget(new QLabel("Refer.  B.F.L. ", this), 0, 0);
  fixed->addWidget(referBfl_, 0, 1);
  fixed->addWidget(new QLabel("Actual B.F.L.", this), 1, 0);
  fixed->addWidget(actualBfl_, 1, 1);
  fixed->addWidget(new QLabel("BackColor", this), 2, 0);
  fixed->addWidget(backColor_, 2, 1);

  auto* sideColumn = new QVBoxLayout;
  sideColumn->addWidget(side, 1);
  sideColumn->addLayout(fixed);

  auto button = [this](const char* name, const char* caption) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(name);
    return b;
  };
  QPushButton* update = button("Update", "&Update");
  QPushButton* print = button("Print", "&Print");
  QPushButton* save = button("SaveImage", "&Save as bmp file");
  QPushButton* help = button("Help", "&Help");
  QPushButton* exit = button("Exit", "&Exit");
  connect(update, &QPushButton::clicked, this, [this] { Update(); });
  connect(print, &QPushButton::clicked, this, [this] { Print(); });
  connect(save, &QPushButton::clicked, this, [this] { SaveImage(); });
  connect(help, &QPushButton::clicked, this, [this] { main_.OpenHelp(helpTopic_); });
  connect(exit, &QPushButton::clicked, this, [this] {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) sub->close();
    else close();
  });
  auto* buttons = new QHBoxLayout;
  for (QPushButton* b : {update, print, save, help, exit}) buttons->addWidget(b);
  buttons->addStretch(1);

  if (!focus_controls) {
    wlBox->hide();
    for (QWidget* w : {static_cast<QWidget*>(referBfl_), static_cast<QWidget*>(actualBfl_)}) w->hide();
    for (int r = 0; r < 2; ++r)
      if (auto* item = fixed->itemAtPosition(r, 0)) item->widget()->hide();
  }
  auto* left = new QVBoxLayout;
  left->addWidget(designName_);
  left->addWidget(plot_, 1);
  left->addWidget(wlBox);
  auto* body = new QHBoxLayout;
  body->addLayout(left, 3);
  body->addLayout(sideColumn, 1);
  auto* v = new QVBoxLayout(this);
  v->addLayout(body, 1);
  v->addLayout(buttons);

  const DesignState& d = main_.session().design;
  designName_->setText(Q(d.DesignFileTitle));
  referBfl_->setText(Q(FormatFixed(d.Bfl, 3)));
  actualBfl_->setText(Q(FormatFixed(d.Bfl, 3)));
  wl_[0]->setChecked(true);
}

void AnalysisWindow::SelectAllOnFocus(QLineEdit* box) { box->installEventFilter(this); }

bool AnalysisWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::FocusIn) {
    if (auto* box = qobject_cast<QLineEdit*>(watched)) QTimer::singleShot(0, box, [box] { box->selectAll(); });
  }
  return QWidget::eventFilter(watched, event);
}

void AnalysisWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Activated();
  if (!shown_) {
    shown_ = true;
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) {
      sub->resize(sub->sizeHint().expandedTo(QSize(750, 523)));
      CenterWindow(this, 2, 2);
    }
  }
  auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget());
  if (sub && sub != watchedFrame_) {
    // Each activation of the window refreshes the boxes.
    watchedFrame_ = sub;
    connect(sub, &QMdiSubWindow::aboutToActivate, this, [this] { Activated(); });
  }
}

void AnalysisWindow::Activated() {
  const DesignState& d = main_.session().design;
  for (int k = 0; k < 6; ++k) {
    const Rgb c = d.WlColor[k + 1];
    wl_[k]->setText(Q(FormatFixed(d.Wavelength[k], 4)));
    wl_[k]->setStyleSheet(QString("color: rgb(%1, %2, %3);").arg(c.r).arg(c.g).arg(c.b));
    if (k > 0) {
      const bool used = d.Wavelength[k] != 0;
      wl_[k]->setEnabled(used);
      if (!used) wl_[k]->setChecked(false);
    }
  }
  referBfl_->setText(Q(FormatFixed(d.Bfl, 3)));
}

std::array<bool, 6> AnalysisWindow::CheckedWavelengths() const {
  std::array<bool, 6> on{};
  for (int k = 0; k < 6; ++k) on[k] = wl_[k]->isChecked();
  return on;
}

int AnalysisWindow::BackgroundIndex() const { return backColor_->currentIndex(); }

void AnalysisWindow::Update() { Recompute(); }

bool AnalysisWindow::PrintTo(QPrinter& printer) {
  // The window's image on a white form, fitted to the page.
  QPalette old = palette();
  QPalette white = old;
  white.setColor(QPalette::Window, Qt::white);
  setPalette(white);
  const QImage image = grab().toImage();
  setPalette(old);
  QPainter p;
  if (!p.begin(&printer)) return false;
  const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
  const PageFit fit = FitToPage(image.width(), image.height(), page.width(), page.height());
  p.drawImage(QRectF(0, 0, fit.width, fit.height), image);
  const bool ok = p.end();
  Recompute();
  return ok;
}

void AnalysisWindow::Print() {
  if (!AskYesNo(this, "Do you want to print this window?", windowTitle())) return;
  QPrinter printer(QPrinter::HighResolution);
  printer.setPageOrientation(width() > height() ? QPageLayout::Landscape : QPageLayout::Portrait);
  QPrintDialog dialog(&printer, this);
  if (dialog.exec() != QDialog::Accepted) return;
  if (!PrintTo(printer)) Tell(this, "Print Error!");
}

bool AnalysisWindow::SaveImageTo(const QString& path) { return grab().toImage().save(path, "BMP"); }

void AnalysisWindow::SaveImage() {
  QString path = QFileDialog::getSaveFileName(this, "Save Screen as Bitmap", QString(), "Bitmap Image (*.bmp)");
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += ".BMP";
  if (!SaveImageTo(path)) Tell(this, "Cannot write " + path);
}

}  // namespace ovrin::shell
