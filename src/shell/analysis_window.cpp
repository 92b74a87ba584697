#include "shell/analysis_window.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QRadioButton>
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
#include "output/picture_file.h"
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

QSize PlotView::PictureSize() const {
  const QRectF t = Target();
  return {std::max(1, static_cast<int>(std::lround(t.width()))), std::max(1, static_cast<int>(std::lround(t.height())))};
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
  // A drawing that leaves its box (a rotated relief, a zoom) stays inside the picture.
  p.setClipRect(target);
  // The background list acts at once: the recorded clearing takes today's colour.
  plot_.Replay(canvas, &background_);
  p.setClipping(false);
  p.setPen(palette().mid().color());
  p.setBrush(Qt::NoBrush);
  p.drawRect(target.adjusted(0, 0, -1, -1));
}

// ---------------------------------------------------------------------------

namespace {

FrameOptions OnePane(double plot_aspect, bool focus_controls) {
  FrameOptions o;
  o.plot_aspect = plot_aspect;
  o.focus_controls = focus_controls;
  if (!focus_controls) o.wavelengths = FrameOptions::Wavelengths::None;
  return o;
}
}  // namespace

AnalysisWindow::AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                               double plot_aspect, bool focus_controls)
    : AnalysisWindow(main, name, caption, help_topic, OnePane(plot_aspect, focus_controls)) {}

AnalysisWindow::AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                               const FrameOptions& o)
    : main_(main), helpTopic_(help_topic) {
  setObjectName(name);
  setWindowTitle(caption);

  designName_ = new QLabel(this);
  designName_->setObjectName("Label8");
  auto* paneGrid = new QGridLayout;
  const int columns = std::max(1, o.pane_columns);
  for (std::size_t i = 0; i < o.panes.size(); ++i) {
    auto* pane = new PlotView(o.plot_aspect, this);
    pane->setObjectName(Q(o.panes[i]));
    if (o.panes.size() > 1) pane->setMinimumSize(200, static_cast<int>(200 / o.plot_aspect));
    paneGrid->addWidget(pane, static_cast<int>(i) / columns, static_cast<int>(i) % columns);
    panes_.push_back(pane);
  }
  plot_ = panes_.empty() ? nullptr : panes_.front();

  if (!o.text_pane.empty()) {
    text_ = new QPlainTextEdit(this);
    text_->setObjectName(Q(o.text_pane));
    text_->setReadOnly(true);
    text_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  }

  auto* wlBox = new QGroupBox("WaveLengths", this);
  auto* wlRow = new QHBoxLayout(wlBox);
  const bool one = o.wavelengths == FrameOptions::Wavelengths::One;
  auto* group = one ? new QButtonGroup(this) : nullptr;
  for (int k = 0; k < 6; ++k) {
    if (one) wl_[k] = new QRadioButton(wlBox);
    else wl_[k] = new QCheckBox(wlBox);
    wl_[k]->setObjectName(Q(o.wavelength_names[k]));
    if (group) group->addButton(wl_[k], k + 1);
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
          [this](int i) {
            for (PlotView* pane : panes_) pane->SetBackground(PlotBackground(i));
          });

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
  save->setToolTip("The window as a bitmap, or its pictures as PNG, SVG or PDF files");
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

  if (!o.focus_controls) {
    for (QWidget* w : {static_cast<QWidget*>(referBfl_), static_cast<QWidget*>(actualBfl_)}) w->hide();
    for (int r = 0; r < 2; ++r)
      if (auto* item = fixed->itemAtPosition(r, 0)) item->widget()->hide();
  }
  if (o.wavelengths == FrameOptions::Wavelengths::None) wlBox->hide();
  auto* left = new QVBoxLayout;
  left->addWidget(designName_);
  if (!panes_.empty())
    left->addLayout(paneGrid, 3);
  else
    delete paneGrid;  // a window of text alone: the grid was never placed
  if (text_) {
    auto* copy = button("CmdCopy", "&Copy");
    auto* saveText = button("CmdSaveText", "Save as &text");
    connect(copy, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(text_->toPlainText()); });
    connect(saveText, &QPushButton::clicked, this, [this] { SaveText(); });
    auto* textButtons = new QHBoxLayout;
    textButtons->addWidget(copy);
    textButtons->addWidget(saveText);
    textButtons->addStretch(1);
    left->addWidget(text_, panes_.empty() ? 3 : 1);
    left->addLayout(textButtons);
  }
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
      // A wavelength not in use has no box to show.
      const bool used = d.Wavelength[k] != 0;
      wl_[k]->setEnabled(used);
      wl_[k]->setVisible(used);
      if (!used && wl_[k]->isChecked()) {
        wl_[k]->setChecked(false);
        if (ChosenWavelength() == 0) wl_[0]->setChecked(true);  // a single choice falls back to the first
      }
    }
  }
  referBfl_->setText(Q(FormatFixed(d.Bfl, referDecimals_)));
}

std::array<bool, 6> AnalysisWindow::CheckedWavelengths() const {
  std::array<bool, 6> on{};
  for (int k = 0; k < 6; ++k) on[k] = wl_[k]->isChecked();
  return on;
}

int AnalysisWindow::ChosenWavelength() const {
  for (int k = 0; k < 6; ++k)
    if (wl_[k]->isChecked()) return k + 1;
  return 0;
}

int AnalysisWindow::BackgroundIndex() const { return backColor_->currentIndex(); }

// Each window answers the faults its analysis expects in its own words; any
// other fault of an engine (a glass asked for outside its range in a scan, a
// damaged design) ends as the program's message, never in Qt.
void AnalysisWindow::Update() {
  RunEngine(this, [this] { Recompute(); }, windowTitle());
}

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
  Redraw();
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

bool AnalysisWindow::SaveImageTo(const QString& path) {
  const QFileInfo info(path);
  const QString type = info.suffix().toLower();
  if (type == "bmp" || panes_.empty()) return grab().toImage().save(path, "BMP");
  // The pictures themselves, drawn anew at the size they have on the screen.
  try {
    for (std::size_t i = 0; i < panes_.size(); ++i) {
      const PlotView* pane = panes_[i];
      const QString file = panes_.size() == 1 ? path
                                               : info.dir().filePath(info.completeBaseName() + "-" +
                                                                     QString::number(i + 1) + "." + info.suffix());
      const QSize size = pane->PictureSize();
      RecordingCanvas picture;
      const Rgb back = pane->background();
      pane->plot().Replay(picture, &back);
      SavePicture(picture, size.width(), size.height(), S(file));
    }
  } catch (const std::runtime_error&) {
    return false;
  }
  return true;
}

void AnalysisWindow::SaveImage() {
  QString filter;
  QString path = QFileDialog::getSaveFileName(
      this, "Save Screen as Bitmap", QString(),
      "Bitmap Image (*.bmp);;PNG picture (*.png);;SVG drawing (*.svg);;PDF document (*.pdf)", &filter);
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) {
    static const char* const kTypes[][2] = {{"*.png", ".png"}, {"*.svg", ".svg"}, {"*.pdf", ".pdf"}};
    QString ext = ".BMP";
    for (const auto& t : kTypes)
      if (filter.contains(t[0])) ext = t[1];
    path += ext;
  }
  if (!SaveImageTo(path)) Tell(this, "Cannot write " + path);
}

void AnalysisWindow::SetText(const std::string& text) {
  if (text_) text_->setPlainText(Q(text));
}

bool AnalysisWindow::SaveTextTo(const QString& path) const {
  if (!text_) return false;
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Truncate)) return false;
  const QByteArray bytes = text_->toPlainText().toUtf8();
  return file.write(bytes) == bytes.size();
}

void AnalysisWindow::SaveText() {
  QString path = QFileDialog::getSaveFileName(this, "Save as Text", QString(), "Text (*.txt)");
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += ".txt";
  if (!SaveTextTo(path)) Tell(this, "Cannot write " + path);
}

}  // namespace ovrin::shell
