#include "shell/diffraction_windows.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
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
#include <QTableWidget>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

FrameOptions OneWavelength(std::vector<std::string> panes, double aspect, int columns = 1) {
  FrameOptions o;
  o.plot_aspect = aspect;
  o.panes = std::move(panes);
  o.pane_columns = columns;
  o.wavelengths = FrameOptions::Wavelengths::One;
  o.wavelength_names = {"Option1", "Option2", "Option3", "Option4", "Option5", "Option6"};
  return o;
}

// The four grid or sampling choices as radio buttons Option7..Option10, their
// ids the sizes 32..256.
QButtonGroup* SizeChoice(QWidget* parent, int checked, QGridLayout* panel, int& row) {
  auto* group = new QButtonGroup(parent);
  auto* line = new QHBoxLayout;
  const char* names[4] = {"32x32", "64x64", "128x128", "256x256"};
  for (int i = 0; i < 4; ++i) {
    auto* b = new QRadioButton(names[i], parent);
    b->setObjectName(QString("Option%1").arg(7 + i));
    group->addButton(b, 32 << i);
    line->addWidget(b);
  }
  group->button(checked)->setChecked(true);
  panel->addLayout(line, row++, 0, 1, 2);
  return group;
}

QComboBox* FieldChoice(QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName("ComboField");
  c->addItems({"On-Axis", "Full-Field"});
  return c;
}

// The shift from Bfl that takes the defocus out of the on-axis wave front,
// written into the Actual B.F.L. box; false when the fit fails.
bool AutoFocusInto(const DesignState& d, int k, QLineEdit* box) {
  try {
    const float shift = AutoFocusOpd(d, k >= 1 ? k : 1, d.Bfl);
    box->setText(Q(FormatFixed(d.Bfl + static_cast<double>(shift), 4)));
    return true;
  } catch (const TraceError&) {
    return false;
  }
}

// The design's field as Label7 shows it: the half-field angle, or the object height.
QString FieldText(const DesignState& d, const DesignSheet& sheet) {
  if (d.ObjDistance != 0) return Q(FormatFixed(d.HalfFieldY, 4));
  return Q(sheet.Txtangolo);
}

}  // namespace

// ---------------------------------------------------------------------------
// FrmDiffPSF

PsfWindow::PsfWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmDiffPSF", "Diffraction PSF  ( FFT method )", "DiffPSF",
                     OneWavelength({"Picture1"}, 1.3)) {
  referDecimals_ = 4;
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  grid_ = SizeChoice(this, 64, panel_, r);
  field_ = FieldChoice(this);
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("Field", field_);
  row("Field Curv.Rad", focalRadius_);

  auto* normalise = new QGroupBox("Normalize Peak Intensity to....", this);
  auto* unity = new QRadioButton("Unity", normalise);
  unity->setObjectName("Option15");
  unaberrated_ = new QRadioButton("Unaberrated PSF", normalise);
  unaberrated_->setObjectName("Option16");
  unity->setChecked(true);
  auto* nl = new QHBoxLayout(normalise);
  nl->addWidget(unity);
  nl->addWidget(unaberrated_);
  connect(unaberrated_, &QRadioButton::toggled, this, [this](bool) { Redraw(); });
  panel_->addWidget(normalise, r++, 0, 1, 2);

  // Combo3 holds the back colour here: the frame's list steps aside.
  backColor_->setObjectName("FrameBackColor");
  backColor_->hide();
  for (QLabel* l : findChildren<QLabel*>())
    if (l->text() == "BackColor") l->hide();
  colour_ = new QComboBox(this);
  colour_->setObjectName("Combo1");
  colour_->addItems({"Grey Scale", "False Color"});
  fill_ = new QComboBox(this);
  fill_->setObjectName("Combo2");
  fill_->addItems({"Solid", "Transparent"});
  back_ = new QComboBox(this);
  back_->setObjectName("Combo3");
  back_->addItems({"White", "Black"});
  for (QComboBox* c : {colour_, fill_, back_})
    connect(c, &QComboBox::currentIndexChanged, this, [this](int) { Redraw(); });
  row("Colour", colour_);
  row("Surface", fill_);
  row("Back", back_);

  const char* rotNames[3] = {"X-rotation", "Y-rotation", "Z-rotation"};
  // A view from a little above, which keeps the relief inside its box.
  const int rotStart[3] = {20, 0, 0};
  for (int i = 0; i < 3; ++i) {
    rot_[i] = new QScrollBar(Qt::Horizontal, this);
    rot_[i]->setObjectName(QString("HScroll%1").arg(i + 1));
    rot_[i]->setRange(-180, 180);
    rot_[i]->setValue(rotStart[i]);
    rotEcho_[i] = new QLabel(QString::number(rotStart[i]), this);
    rotEcho_[i]->setObjectName(QString("Label%1").arg(21 + i));
    rotEcho_[i]->setMinimumWidth(rotEcho_[i]->fontMetrics().horizontalAdvance("-180"));
    connect(rot_[i], &QScrollBar::valueChanged, this, [this, i](int v) {
      rotEcho_[i]->setText(QString::number(v));
      Redraw();
    });
    auto* line = new QHBoxLayout;
    line->addWidget(rot_[i], 1);
    line->addWidget(rotEcho_[i]);
    panel_->addWidget(new QLabel(rotNames[i], this), r, 0);
    panel_->addLayout(line, r++, 1);
  }
  strehl_ = new QLabel(this);
  strehl_->setObjectName("LabelStrehl");
  row("STREHL  RATIO", strehl_);
  QPushButton* autofocus = NamedButton("Cmdautofocus", "Auto-Focus   (Min.on-axis RMS)", this);
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  panel_->addWidget(autofocus, r++, 0, 1, 2);

  map_ = new PlotView(1.0, this);
  map_->setObjectName("Picture2");
  map_->setMinimumSize(200, 200);
  map_->setToolTip("PSF map\nZoom-In: Left  Mouse  Click \nZoom-Out: Right  Mouse  Click ");
  panel_->addWidget(map_, r++, 0, 1, 2);
  scale_ = new PlotView(6.0, this);
  scale_->setObjectName("Picture4");
  scale_->setMinimumSize(240, 40);
  panel_->addWidget(scale_, r++, 0, 1, 2);
  progress_ = RunProgressBar(this);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);

  plot_->setToolTip("PSF Surface\nZoom-In: Left  Mouse  Click \nZoom-Out: Right  Mouse  Click ");
  plot_->installEventFilter(this);
  map_->installEventFilter(this);
}

PsfSettings PsfWindow::Settings() const {
  PsfSettings s;
  s.wavelength = ChosenWavelength();
  s.grid = grid_->checkedId() > 0 ? grid_->checkedId() : 64;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() != 0;
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  return s;
}

PsfView PsfWindow::View() const {
  PsfView v;
  v.falseColour = colour_->currentIndex() == 1;
  v.transparent = fill_->currentIndex() == 1;
  v.black = back_->currentIndex() == 1;
  v.unaberrated = unaberrated_->isChecked();
  v.rotX = rot_[0]->value();
  v.rotY = rot_[1]->value();
  v.rotZ = rot_[2]->value();
  v.surfaceZoom = surfaceZoom_;
  v.mapZoom = mapZoom_;
  return v;
}

void PsfWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  PsfResult r = ComputePsf(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  // A failed run leaves the pictures as they were.
  if (!r.ok) return;
  result_ = std::move(r);
  strehl_->setText(Q(FormatFixed(result_.Strehl, 4)));
  Redraw();
}

void PsfWindow::Redraw() {
  const PsfView v = View();
  const Rgb back = v.black ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
  plot_->SetBackground(back);
  map_->SetBackground(back);
  RecordingCanvas surface, map, scale;
  DrawPsfSurface(result_, v, surface);
  DrawPsfMap(result_, v, map);
  DrawIntensityScale(scale);
  plot_->SetPlot(surface);
  map_->SetPlot(map);
  scale_->SetPlot(scale);
}

bool PsfWindow::eventFilter(QObject* watched, QEvent* event) {
  if ((watched == plot_ || watched == map_) && event->type() == QEvent::MouseButtonPress) {
    const auto* m = static_cast<QMouseEvent*>(event);
    double& zoom = watched == plot_ ? surfaceZoom_ : mapZoom_;
    if (m->button() == Qt::LeftButton) zoom *= 1.25;
    if (m->button() == Qt::RightButton) zoom /= 1.25;
    Redraw();
    return true;
  }
  return AnalysisWindow::eventFilter(watched, event);
}

void PsfWindow::AutoFocusAndUpdate() {
  if (AutoFocusInto(main_.session().design, ChosenWavelength(), actualBfl_)) Update();
}

// ---------------------------------------------------------------------------
// FrmMTFfield and FrmMTFText

MtfWindow::MtfWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmMTFfield", "Diffraction  MTF ", "MTF",
                     OneWavelength({"Picture1", "Picture2", "Picture3"}, 2.4)) {
  referDecimals_ = 4;
  int r = 0;
  panel_->addWidget(new QLabel("Sampling", this), r++, 0, 1, 2);
  sampling_ = SizeChoice(this, 64, panel_, r);
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  panel_->addWidget(new QLabel("Field Curv.Rad", this), r, 0);
  panel_->addWidget(focalRadius_, r++, 1);
  QPushButton* text = NamedButton("Command2", "MTF  Text", this);
  connect(text, &QPushButton::clicked, this, [this] { ShowText(); });
  panel_->addWidget(text, r++, 0, 1, 2);
  QPushButton* autofocus = NamedButton("Cmdautofocus", "Auto-Focus   (Min.on-axis RMS)", this);
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  progress_ = RunProgressBar(this);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
}

MtfSettings MtfWindow::Settings() const {
  MtfSettings s;
  s.wavelength = ChosenWavelength();
  s.sampling = sampling_->checkedId() > 0 ? sampling_->checkedId() : 64;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  return s;
}

void MtfWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  MtfResult r = ComputeMtf(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) return;
  result_ = std::move(r);
  Redraw();
}

void MtfWindow::Redraw() {
  if (!result_.ok) return;
  for (int k = 0; k < 3; ++k) {
    RecordingCanvas c;
    DrawMtfField(result_, k, c);
    Pane(k)->SetPlot(c);
  }
}

void MtfWindow::AutoFocusAndUpdate() {
  if (AutoFocusInto(main_.session().design, ChosenWavelength(), actualBfl_)) Update();
}

QWidget* MtfWindow::ShowText() {
  if (!result_.ok || result_.F < 32 || result_.F > 256) return nullptr;
  auto* w = new MtfTextWindow(result_, this);
  w->setAttribute(Qt::WA_DeleteOnClose);
  w->show();
  return w;
}

MtfTextWindow::MtfTextWindow(const MtfResult& r, QWidget* parent) : QWidget(parent, Qt::Window) {
  setObjectName("FrmMTFText");
  setWindowTitle("Diffraction MTF  Text");
  text_ = new QPlainTextEdit(this);
  text_->setObjectName("Text1");
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  QFont mono("Monospace");
  mono.setStyleHint(QFont::TypeWriter);
  text_->setFont(mono);
  text_->setTabStopDistance(text_->fontMetrics().horizontalAdvance("0000000000"));
  QStringList lines;
  for (const std::string& l : r.text) lines << Q(l);
  text_->setPlainText(lines.join("\n"));
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
    p.drawText(page, Qt::AlignLeft | Qt::AlignTop | Qt::TextExpandTabs, text());
    p.end();
  });
  auto* v = new QVBoxLayout(this);
  v->addWidget(text_, 1);
  v->addWidget(print, 0, Qt::AlignLeft);
  resize(420, 560);
}

QString MtfTextWindow::text() const { return text_->toPlainText(); }

// ---------------------------------------------------------------------------
// FrmMTFtfocus

MtfFocusWindow::MtfFocusWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmMTFtfocus", "Diffraction Through/Focus  MTF", "MTFfocus",
                     OneWavelength({"Picture1"}, 4.0 / 3.0)) {
  int r = 0;
  auto row = [&](const QString& caption, QWidget* w) {
    panel_->addWidget(new QLabel(caption, this), r, 0);
    panel_->addWidget(w, r++, 1);
  };
  panel_->addWidget(new QLabel("Sampling", this), r++, 0, 1, 2);
  sampling_ = SizeChoice(this, 64, panel_, r);
  field_ = FieldChoice(this);
  fieldValue_ = new QLabel(this);
  fieldValue_->setObjectName("Label7");
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  defocus_ = NamedNumberBox("Text3", "0.1", this);
  SelectAllOnFocus(focalRadius_);
  SelectAllOnFocus(defocus_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  row("Field", field_);
  row("", fieldValue_);
  row("Field Curv.Rad", focalRadius_);
  row("Defocus", defocus_);
  connect(field_, &QComboBox::currentIndexChanged, this, [this](int) { Activated(); });
  QPushButton* autofocus = NamedButton("Cmdautofocus", "Auto-Focus   (Min.on-axis RMS)", this);
  connect(autofocus, &QPushButton::clicked, this, [this] { AutoFocusAndUpdate(); });
  panel_->addWidget(autofocus, r++, 0, 1, 2);
  progress_ = RunProgressBar(this);
  panel_->addWidget(progress_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
}

void MtfFocusWindow::Activated() {
  AnalysisWindow::Activated();
  const Session& s = main_.session();
  referBfl_->setText(Q(FormatFixed(s.design.Bfl, 4)));
  fieldValue_->setText(field_->currentIndex() == 0 ? QString("0") : FieldText(s.design, s.sheet));
}

MtfFocusSettings MtfFocusWindow::Settings() const {
  MtfFocusSettings s;
  s.wavelength = ChosenWavelength();
  s.sampling = sampling_->checkedId() > 0 ? sampling_->checkedId() : 64;
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.fullField = field_->currentIndex() != 0;
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  s.defocus = BoxValue(defocus_);
  return s;
}

void MtfFocusWindow::Recompute() {
  progress_->setValue(0);
  progress_->show();
  MtfFocusResult r = ComputeMtfFocus(main_.session().design, Settings(), PaintingProgress(progress_));
  progress_->hide();
  if (!r.ok) return;
  result_ = std::move(r);
  Redraw();
}

void MtfFocusWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawMtfFocus(result_, c);
  plot_->SetPlot(c);
}

void MtfFocusWindow::AutoFocusAndUpdate() {
  if (AutoFocusInto(main_.session().design, ChosenWavelength(), actualBfl_)) Update();
}

// ---------------------------------------------------------------------------
// FrmZernike

ZernikeWindow::ZernikeWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmZernike", "Zernike Analysis of WaveFront", "Zernike",
                     OneWavelength({"Picture1"}, 640.0 / 760.0)) {
  int r = 0;
  auto row = [&](QWidget* caption, QWidget* w) {
    panel_->addWidget(caption, r, 0);
    panel_->addWidget(w, r++, 1);
  };
  focalRadius_ = NamedNumberBox("Text2", "0", this);
  SelectAllOnFocus(focalRadius_);
  actualBfl_->setText(Q(FormatFixed(main.session().design.Bfl, 4)));
  fieldCaption_ = new QLabel("Half-Field Angle", this);
  fieldCaption_->setObjectName("Label28");
  fieldValue_ = new QLabel(this);
  fieldValue_->setObjectName("Label7");
  row(fieldCaption_, fieldValue_);
  row(new QLabel("Field Curv.Rad", this), focalRadius_);
  QPushButton* calc = NamedButton("CmdZernike", "Calculate Zernikes Coeff.", this);
  connect(calc, &QPushButton::clicked, this, [this] { Update(); });
  panel_->addWidget(calc, r++, 0, 1, 2);

  grid_ = new QTableWidget(kZernikeTerms, 3, this);
  grid_->setObjectName("MSFlexGrid1");
  grid_->setHorizontalHeaderLabels({"Zernike", "    Coefficient", "    Description"});
  grid_->verticalHeader()->hide();
  grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  for (int t = 0; t < kZernikeTerms; ++t) {
    grid_->setItem(t, 0, new QTableWidgetItem(QString::number(t + 1)));
    grid_->setItem(t, 1, new QTableWidgetItem(QString()));
    grid_->setItem(t, 2, new QTableWidgetItem(ZernikeName(t)));
  }
  grid_->resizeColumnsToContents();
  grid_->setMinimumSize(360, 420);
  panel_->addWidget(grid_, r++, 0, 1, 2);
  panel_->setRowStretch(r - 1, 1);
}

void ZernikeWindow::Activated() {
  AnalysisWindow::Activated();
  const Session& s = main_.session();
  referBfl_->setText(Q(FormatFixed(s.design.Bfl, 4)));
  fieldCaption_->setText(s.design.ObjDistance == 0 ? "Half-Field Angle" : "Object Height");
  fieldValue_->setText(FieldText(s.design, s.sheet));
}

ZernikeSettings ZernikeWindow::Settings() const {
  ZernikeSettings s;
  s.wavelength = ChosenWavelength();
  s.actualBfl = BoxValue(actualBfl_);
  s.focalRadius = BoxValue(focalRadius_);
  s.angleYDeg = ParseLeadingNumber(main_.session().sheet.Txtangolo);
  s.angleXDeg = ParseLeadingNumber(main_.session().sheet.TxtangoloX);
  return s;
}

void ZernikeWindow::Recompute() {
  ZernikeResult r = ComputeZernike(main_.session().design, Settings());
  // A failed fit leaves the grid as it was.
  if (!r.ok) return;
  result_ = std::move(r);
  for (int t = 0; t < kZernikeTerms; ++t) grid_->item(t, 1)->setText(Q(result_.texts[t]));
  grid_->resizeColumnsToContents();
  Redraw();
}

void ZernikeWindow::Redraw() {
  if (!result_.ok) return;
  RecordingCanvas c;
  DrawZernikeTable(result_, c);
  plot_->SetPlot(c);
}

}  // namespace ovrin::shell
