#include "shell/wave_windows.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"
#include "shell/report_windows.h"

namespace ovrin::shell {

namespace {

QLabel* Value(const char* name, QWidget* parent) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  l->setFrameShape(QFrame::Panel);
  l->setFrameShadow(QFrame::Sunken);
  l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  l->setMinimumWidth(l->fontMetrics().horizontalAdvance("-0000.0000"));
  l->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return l;
}

// The design window's field angle boxes, in degrees.
struct Angles {
  double y, x;
};
Angles SheetAngles(const DesignSheet& sheet) {
  return {ParseLeadingNumber(sheet.Txtangolo), ParseLeadingNumber(sheet.TxtangoloX)};
}

}  // namespace

// ---------------------------------------------------------------------------
// FrmOPDfan

namespace {
FrameOptions FanFrame() {
  FrameOptions o;
  o.plot_aspect = 4.0 / 3.0;
  o.panes = {"Picture1", "Picture2", "Picture3", "Picture4"};  // on axis above, full field below
  o.pane_columns = 2;
  return o;
}
FrameOptions WavefrontFrame() {
  FrameOptions o;
  o.plot_aspect = 1.0;
  o.panes = {"Picture1"};
  o.wavelengths = FrameOptions::Wavelengths::One;
  o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
  return o;
}
FrameOptions VersusFrame() {
  FrameOptions o;
  o.plot_aspect = 4.0 / 3.0;
  o.wavelengths = FrameOptions::Wavelengths::One;
  o.text_pane = "Text3";
  return o;
}
}  // namespace

OpdFanWindow::OpdFanWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmOPDfan", "OPD Fans  (Optical Path Difference)", "OPDfan", FanFrame()) {
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  QPushButton* text = NamedButton("Command2", "OPD Fans TEXT", this);
  QPushButton* autofocus = NamedButton("Cmdautofocus", "Auto-Focus  (Min.on-axis RMS)", this);
  connect(text, &QPushButton::clicked, this, [this] { ShowText(); });
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  int r = 0;
  panel_->addWidget(new QLabel("Field Curv.Rad", this), r, 0);
  panel_->addWidget(focalRadius_, r++, 1);
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  panel_->addWidget(text, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
}

void OpdFanWindow::Activated() {
  AnalysisWindow::Activated();
  // The boxes show the wavelengths the fans draw, in their colours.
  const DesignState& d = main_.session().design;
  for (int k = 1; k <= 6; ++k) {
    wl_[k - 1]->setChecked(WavelengthInUse(d, k) && d.Wavelength[k - 1] != 0);
    wl_[k - 1]->setEnabled(false);
  }
  referBfl_->setText(Q(FormatFixed(d.Bfl, 4)));
  if (BoxValue(actualBfl_) == 0) actualBfl_->setText(Q(FormatFixed(d.Bfl, 4)));
}

void OpdFanWindow::Recompute() {
  DesignState& d = main_.session().design;
  const Angles angles = SheetAngles(main_.session().sheet);
  OpdFanSettings s;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.angleYDeg = angles.y;
  s.angleXDeg = angles.x;
  result_ = ComputeOpdFan(d, s);
  // The fan window alone writes these back into the design.
  d.EntrPupilY = result_.EntrPupilY;
  d.UncenteredFlag = result_.UncenteredFlag;
  Redraw();
}

void OpdFanWindow::Redraw() {
  const DesignState& d = main_.session().design;
  for (int i = 0; i < PaneCount(); ++i) {
    RecordingCanvas graph;
    graph.Window(0, 0, 1, 1);
    graph.Clear({255, 255, 255});
    DrawOpdFanGraph(result_, d, i >= 2, i % 2 == 0, graph, 0, 0, 1, 1);
    Pane(i)->SetPlot(graph);
  }
}

void OpdFanWindow::AutoFocusAndUpdate() {
  const DesignState& d = main_.session().design;
  try {
    const float shift = AutoFocusOpd(d, 1, d.Bfl);
    actualBfl_->setText(Q(FormatFixed(d.Bfl + static_cast<double>(shift), 4)));
  } catch (const TraceError&) {
    result_ = OpdFanResult{};
    Redraw();
    return;
  }
  Update();
}

QWidget* OpdFanWindow::ShowText() {
  auto* w = new OpdFanTextWindow(result_, this);
  w->setAttribute(Qt::WA_DeleteOnClose);
  w->show();
  return w;
}

OpdFanTextWindow::OpdFanTextWindow(const OpdFanResult& r, QWidget* parent) : QWidget(parent, Qt::Window) {
  setObjectName("FrmOPDfanText");
  setWindowTitle("OPD data  (Tangential  and Sagittal)");
  text_ = new QPlainTextEdit(this);
  text_->setObjectName("Text1");
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  text_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  QFont mono("Monospace");
  mono.setStyleHint(QFont::TypeWriter);
  text_->setFont(mono);
  QString t;
  if (r.ok) {
    for (int b = 0; b < 4; ++b) {
      t += QString(kFanTextTitles[b]) + "\n";
      t += QString("%1").arg("%Zone", 7);
      for (int k = 1; k <= 6; ++k) t += QString("%1").arg(QString("W.L.%1").arg(k), 12);
      t += "\n";
      for (const auto& line : r.text[b]) {
        t += QString("%1").arg(Q(line[0]), 7);
        for (int k = 1; k <= 6; ++k) t += QString("%1").arg(Q(line[k]), 12);
        t += "\n";
      }
      t += "\n";
    }
  }
  text_->setPlainText(t);
  QPushButton* print = NamedButton("Print", "&Print", this);
  connect(print, &QPushButton::clicked, this, [this] {
    if (!AskYesNo(this, "Do you want to print this window?", windowTitle())) return;
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    QPainter p;
    if (!p.begin(&printer)) return Tell(this, "Print Error!");
    p.setFont(text_->font());
    const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
    p.drawText(page, Qt::AlignLeft | Qt::AlignTop, "Optical Path Difference Data (waves)\n\n" + text());
    p.end();
  });
  auto* v = new QVBoxLayout(this);
  v->addWidget(text_, 1);
  v->addWidget(print, 0, Qt::AlignLeft);
  resize(720, 520);
}

QString OpdFanTextWindow::text() const { return text_->toPlainText(); }

// ---------------------------------------------------------------------------
// FrmWFront

WavefrontWindow::WavefrontWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmWFront", "Wave Front  ( Optical Path Difference )", "WaveFront", WavefrontFrame()) {
  referDecimals_ = 4;

  grid_ = new QButtonGroup(this);
  auto* gridRow = new QHBoxLayout;
  const char* grids[4] = {"32x32", "64x64", "128x128", "256x256"};
  for (int i = 0; i < 4; ++i) {
    auto* b = new QRadioButton(grids[i], this);
    b->setObjectName(QString("Option%1").arg(7 + i));
    grid_->addButton(b, 16 << i);
    gridRow->addWidget(b);
  }
  grid_->button(32)->setChecked(true);
  field_ = new QComboBox(this);
  field_->setObjectName("ComboField");
  field_->addItems({"On-Axis", "Full-Field"});
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  reverse_ = new QCheckBox("Reverse WF", this);
  reverse_->setObjectName("CheckReverse");
  QPushButton* autofocus = NamedButton("Command1", " AUTO-FOCUS        (Min. on-axis RMS)", this);
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  QPushButton* exportOpd = NamedButton("ExportOPD", "&Export to \"ABERRATOR\"", this);
  connect(exportOpd, &QPushButton::clicked, this, [this] {
    ExportAberratorDialog dialog(main_, Settings(), this);
    dialog.exec();
  });

  auto* white = new QRadioButton("White", this);
  white->setObjectName("OptionWhite");
  black_ = new QRadioButton("Black", this);
  black_->setObjectName("OptionBlack");
  white->setChecked(true);
  connect(black_, &QRadioButton::toggled, this, [this](bool) { Redraw(); });
  const char* rotNames[3] = {"X-rotation", "Y-rotation", "Z-rotation"};
  const int rotStart[3] = {60, 0, 20};
  for (int i = 0; i < 3; ++i) {
    rot_[i] = new QScrollBar(Qt::Horizontal, this);
    rot_[i]->setObjectName(QString("HScroll%1").arg(i + 1));
    rot_[i]->setRange(-180, 180);
    rot_[i]->setValue(rotStart[i]);
    rot_[i]->setToolTip(rotNames[i]);
    connect(rot_[i], &QScrollBar::valueChanged, this, [this] { Redraw(); });
  }
  relief_ = new QSlider(Qt::Horizontal, this);
  relief_->setObjectName("SliderRelief");
  relief_->setRange(1, 20);
  relief_->setValue(4);
  connect(relief_, &QSlider::valueChanged, this, [this] { Redraw(); });

  pv_ = Value("Label19", this);
  rms_ = Value("Label20", this);
  strehl_ = Value("Label21", this);
  peak_ = Value("Label22", this);
  valley_ = Value("Label23", this);
  third_ = Value("Label26", this);
  twoThirds_ = Value("Label27", this);
  map_ = new PlotView(1.0, this);
  map_->setObjectName("Picture5");
  map_->setMinimumSize(160, 160);
  bar_ = new PlotView(6.0, this);
  bar_->setObjectName("Picture4");
  bar_->setMinimumSize(240, 40);
  progress_ = RunProgressBar(this);

  plot_->installEventFilter(this);
  plot_->setToolTip("Zoom-In: Left  Mouse  Click \nZoom-Out: Right  Mouse  Click ");

  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  panel_->addLayout(gridRow, r++, 0, 1, 2);
  row("Field", field_);
  row("Field Curv.Rad", focalRadius_);
  panel_->addWidget(reverse_, r++, 0, 1, 2);
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  row("PEAK to VALLEY (waves) -->", pv_);
  row("RMS  OPD (waves) ----------->", rms_);
  row("STREHL  RATIO -------------->", strehl_);
  panel_->addWidget(map_, r++, 0, 1, 2);
  panel_->addWidget(bar_, r++, 0, 1, 2);
  auto* barLabels = new QHBoxLayout;
  for (QLabel* l : {valley_, third_, twoThirds_, peak_}) barLabels->addWidget(l);
  panel_->addLayout(barLabels, r++, 0, 1, 2);
  for (int i = 0; i < 3; ++i) row(rotNames[i], rot_[i]);
  row("Relief", relief_);
  auto* colours = new QHBoxLayout;
  colours->addWidget(white);
  colours->addWidget(black_);
  panel_->addLayout(colours, r++, 0, 1, 2);
  panel_->addWidget(exportOpd, r++, 0, 1, 2);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
}

WavefrontSettings WavefrontWindow::Settings() const {
  WavefrontSettings s;
  s.wavelength = ChosenWavelength();
  s.gridDiv = grid_->checkedId() > 0 ? grid_->checkedId() : 32;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() != 0;
  const Angles angles = SheetAngles(main_.session().sheet);
  s.angleYDeg = angles.y;
  s.angleXDeg = angles.x;
  s.reverse = reverse_->isChecked();
  return s;
}

ReliefView WavefrontWindow::View() const {
  ReliefView v;
  v.rotX = rot_[0]->value();
  v.rotY = rot_[1]->value();
  v.rotZ = rot_[2]->value();
  v.relief = relief_->value();
  v.black = black_->isChecked();
  v.zoom = zoom_;
  return v;
}

void WavefrontWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  result_ = ComputeWavefront(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  const bool ok = result_.ok;
  pv_->setText(ok ? Q(result_.Label19) : QString());
  rms_->setText(ok ? Q(result_.Label20) : QString());
  strehl_->setText(ok ? Q(result_.Label21) : QString());
  peak_->setText(ok ? Q(result_.Label22) : QString());
  valley_->setText(ok ? Q(result_.Label23) : QString());
  third_->setText(ok ? Q(result_.Label26) : QString());
  twoThirds_->setText(ok ? Q(result_.Label27) : QString());
  Redraw();
}

void WavefrontWindow::Redraw() {
  const ReliefView v = View();
  plot_->SetBackground(v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255});
  RecordingCanvas surface, map, bar;
  DrawWavefrontSurface(result_, v, surface);
  DrawWavefrontMap(result_, map);
  DrawColourBar(result_, bar);
  plot_->SetPlot(surface);
  map_->SetPlot(map);
  bar_->SetPlot(bar);
}

bool WavefrontWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == plot_ && event->type() == QEvent::MouseButtonPress) {
    const auto* m = static_cast<QMouseEvent*>(event);
    if (m->button() == Qt::LeftButton) zoom_ *= 1.25;
    if (m->button() == Qt::RightButton) zoom_ /= 1.25;
    Redraw();
    return true;
  }
  return AnalysisWindow::eventFilter(watched, event);
}

void WavefrontWindow::AutoFocusAndUpdate() {
  const DesignState& d = main_.session().design;
  const int k = ChosenWavelength();
  try {
    const float shift = AutoFocusOpd(d, k >= 1 ? k : 1, d.Bfl);
    actualBfl_->setText(Q(FormatFixed(d.Bfl + static_cast<double>(shift), 4)));
  } catch (const TraceError&) {
    result_ = WavefrontResult{};
    Redraw();
    return;
  }
  Update();
}

// ---------------------------------------------------------------------------
// The six versus windows

VersusWindow::VersusWindow(MainWindow& main, VersusScan scan, VersusMeasure measure)
    : AnalysisWindow(main, VersusWindowName(scan, measure), VersusCaption(scan, measure), "Versus", VersusFrame()),
      scan_(scan),
      measure_(measure) {
  referDecimals_ = 4;
  const DesignState& d = main.session().design;
  actualBfl_->setText(Q(FormatFixed(d.Bfl, 4)));
  QPushButton* autofocus = NamedButton("Command2", "AutoFocus", this);
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  progress_ = RunProgressBar(this);
  int r = 0;
  if (scan == VersusScan::Focus) {
    defocus_ = NamedNumberBox("Text1", "0.100", this);
    SelectAllOnFocus(defocus_);
    panel_->addWidget(new QLabel("Defocus", this), r, 0);
    panel_->addWidget(defocus_, r++, 1);
  } else if (scan == VersusScan::Wavelength) {
    const auto [lo, hi] = DefaultWavelengthRange(d);
    shortWl_ = NamedNumberBox("TextShort", Q(FormatFixed(lo, 4)), this);
    longWl_ = NamedNumberBox("TextLong", Q(FormatFixed(hi, 4)), this);
    panel_->addWidget(new QLabel("Actual Short WL", this), r, 0);
    panel_->addWidget(shortWl_, r++, 1);
    panel_->addWidget(new QLabel("Actual Long WL", this), r, 0);
    panel_->addWidget(longWl_, r++, 1);
  }
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  plot_->setMouseTracking(true);
  plot_->installEventFilter(this);
}

VersusSettings VersusWindow::Settings() const {
  VersusSettings s;
  s.scan = scan_;
  s.measure = measure_;
  s.wavelength = ChosenWavelength();
  s.actualBfl = BoxValue(actualBfl_);
  const Angles angles = SheetAngles(main_.session().sheet);
  s.angleYDeg = angles.y;
  s.angleXDeg = angles.x;
  if (defocus_) s.defocus = BoxValue(defocus_);
  if (shortWl_) s.shortWl = BoxValue(shortWl_);
  if (longWl_) s.longWl = BoxValue(longWl_);
  return s;
}

void VersusWindow::Recompute() {
  const VersusSettings s = Settings();
  progress_->setValue(0);
  progress_->show();
  result_ = s.wavelength >= 1 ? ComputeVersus(main_.session().design, s, PaintingProgress(progress_)) : VersusResult{};
  progress_->hide();
  std::string lines;
  for (const std::string& l : result_.text) lines += (lines.empty() ? "" : "\n") + l;
  SetText(lines);
  Redraw();
}

void VersusWindow::Redraw() {
  RecordingCanvas plot;
  DrawVersus(result_, Settings(), plot);
  plot_->SetPlot(plot);
}

QString VersusWindow::tableText() const { return text_->toPlainText(); }

bool VersusWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == plot_ && result_.ok) {
    const VersusSettings s = Settings();
    if (event->type() == QEvent::MouseMove) {
      const QPointF at = plot_->ToPlot(static_cast<QMouseEvent*>(event)->position());
      setWindowTitle(Q(VersusReadout(s, at.x(), at.y())));
    } else if (event->type() == QEvent::Leave) {
      setWindowTitle(Q(VersusCaptionPrefix(s)));
    }
  }
  return AnalysisWindow::eventFilter(watched, event);
}

void VersusWindow::AutoFocusAndUpdate() {
  const DesignState& d = main_.session().design;
  const int k = ChosenWavelength();
  try {
    const float shift = AutoFocusOpd(d, k >= 1 ? k : 1, d.Bfl);
    actualBfl_->setText(Q(FormatFixed(d.Bfl + static_cast<double>(shift), 4)));
  } catch (const TraceError&) {
    result_ = VersusResult{};
    plot_->SetPlot(RecordingCanvas{});
    return;
  }
  Update();
}

}  // namespace ovrin::shell
