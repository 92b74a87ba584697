// FrmWL: up to six wavelengths with their weights and pen colours.
#include <QButtonGroup>
#include <QColorDialog>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "core/wavelength_store.h"
#include "shell/dialogs.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

constexpr int kSpectrumWidth = 340;
constexpr int kSpectrumHeight = 36;

QImage SpectrumStrip() {
  QImage img(kSpectrumWidth, kSpectrumHeight, QImage::Format_RGB32);
  for (int x = 0; x < kSpectrumWidth; ++x) {
    const Rgb c = SpectrumColorAt(x, kSpectrumWidth);
    for (int y = 0; y < kSpectrumHeight; ++y) img.setPixel(x, y, qRgb(c.r, c.g, c.b));
  }
  return img;
}

int Packed(const Rgb& c) { return (c.r << 16) | (c.g << 8) | c.b; }
Rgb Unpacked(int v) { return {(v >> 16) & 255, (v >> 8) & 255, v & 255}; }

}  // namespace

WavelengthWindow::WavelengthWindow(MainWindow& main) : QDialog(&main), main_(main) {
  setObjectName("FrmWL");
  setWindowTitle("WaveLength  Selection");

  auto* rowsBox = new QGroupBox("WaveLengths (micron)      Weight      Pen Color", this);
  auto* g = new QGridLayout(rowsBox);
  for (int k = 0; k < 6; ++k) {
    RowControls& r = rows_[k];
    r.label = new QLabel(k == 0 ? " WL1(ref) " : QString("WL %1").arg(k + 1), rowsBox);
    r.wl = new QComboBox(rowsBox);
    r.wl->setObjectName(QString("ComboWL%1").arg(k + 1));
    r.wl->setEditable(true);
    r.wl->setInsertPolicy(QComboBox::NoInsert);
    for (const WavelengthListEntry& e : kWavelengthList) r.wl->addItem(e.value);
    r.wl->setMinimumWidth(r.wl->fontMetrics().horizontalAdvance("0.000000") + 40);
    r.weight = new QLineEdit(rowsBox);
    r.weight->setObjectName(QString("Text1_%1").arg(k + 1));
    r.weight->setMaximumWidth(r.weight->fontMetrics().horizontalAdvance("0.0000") + 16);
    r.sample = new QLabel(rowsBox);
    r.sample->setObjectName(QString("ColorSample%1").arg(k + 1));
    r.sample->setFixedSize(r.weight->sizeHint().height() * 2, r.weight->sizeHint().height() - 4);
    r.sample->setFrameShape(QFrame::Box);
    r.select = new QPushButton("Select", rowsBox);
    r.select->setObjectName(QString("Cmd1_%1").arg(k + 1));
    g->addWidget(r.label, k, 0);
    g->addWidget(r.wl, k, 1);
    g->addWidget(r.weight, k, 2);
    g->addWidget(r.sample, k, 3);
    g->addWidget(r.select, k, 4);
    connect(r.select, &QPushButton::clicked, this, [this, k] { PickColor(k); });
    connect(r.wl->lineEdit(), &QLineEdit::editingFinished, this,
            [this, k] { CheckBox(rows_[k].wl, rows_[k].wl->currentText()); });
    connect(r.weight, &QLineEdit::editingFinished, this,
            [this, k] { CheckBox(rows_[k].weight, rows_[k].weight->text()); });
  }

  auto* countBox = new QGroupBox("Number of WaveLengths", this);
  auto* ch = new QHBoxLayout(countBox);
  auto* group = new QButtonGroup(this);
  for (int k = 0; k < 6; ++k) {
    options_[k] = new QRadioButton(QString::number(k + 1), countBox);
    options_[k]->setObjectName(QString("Option%1").arg(k + 1));
    group->addButton(options_[k], k + 1);
    ch->addWidget(options_[k]);
  }
  connect(group, &QButtonGroup::idClicked, this, [this](int n) { SetCount(n); });

  auto* presets = new QGroupBox("Presets", this);
  auto* pg = new QGridLayout(presets);
  auto* vis = new QPushButton("Visible (C,e,F)", presets);
  vis->setObjectName("CmdVis");
  auto* scot = new QPushButton("Scotopic (Dark)", presets);
  scot->setObjectName("CmdScot");
  auto* phot = new QPushButton("Photopic (Bright)", presets);
  phot->setObjectName("CmdPhot");
  const char* names[3] = {"LblVisible", "LblScotopic", "LblPhotopic"};
  const char* texts[3] = {"<< VISIBLE", "<< SCOTOPIC", "<< PHOTOPIC"};
  QPushButton* buttons[3] = {vis, scot, phot};
  for (int i = 0; i < 3; ++i) {
    presetLabels_[i] = new QLabel(texts[i], presets);
    presetLabels_[i]->setObjectName(names[i]);
    presetLabels_[i]->setStyleSheet("color: rgb(0, 0, 160); font-weight: bold;");
    presetLabels_[i]->setMinimumWidth(presetLabels_[i]->fontMetrics().horizontalAdvance("<< SCOTOPIC") + 8);
    presetLabels_[i]->hide();
    pg->addWidget(buttons[i], i, 0);
    pg->addWidget(presetLabels_[i], i, 1);
    connect(buttons[i], &QPushButton::clicked, this, [this, i] { Preset(i); });
  }

  auto* spectrumBox = new QGroupBox("Visible Spectrum", this);
  auto* sv = new QVBoxLayout(spectrumBox);
  spectrum_ = new QLabel(spectrumBox);
  spectrum_->setObjectName("Picture5");
  spectrum_->setPixmap(QPixmap::fromImage(SpectrumStrip()));
  spectrum_->setFixedSize(kSpectrumWidth, kSpectrumHeight);
  auto* scale = new QHBoxLayout;
  scale->addWidget(new QLabel("0.38 micr.", spectrumBox));
  scale->addStretch(1);
  scale->addWidget(new QLabel("0.72 micr.", spectrumBox));
  auto* list = new QListWidget(spectrumBox);
  list->setObjectName("List1");
  for (const WavelengthListEntry& e : kWavelengthList)
    if (e.line[0] != '\0') list->addItem(e.line);
  list->setMinimumHeight(list->fontMetrics().height() * 6);
  auto* autopen = new QPushButton("Automatic  Pen Color Selection", spectrumBox);
  autopen->setObjectName("CmdAutoPen");
  connect(autopen, &QPushButton::clicked, this, [this] { AutoPen(); });
  sv->addWidget(spectrum_);
  sv->addLayout(scale);
  sv->addWidget(list);
  sv->addWidget(autopen);

  auto* ok = new QPushButton("O.K.  Store  WaveLengths", this);
  ok->setObjectName("CmdOK");
  auto* cancel = new QPushButton("Cancel", this);
  cancel->setObjectName("CmdCancel");
  connect(ok, &QPushButton::clicked, this, [this] { Store(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

  auto* left = new QVBoxLayout;
  left->addWidget(rowsBox);
  left->addWidget(countBox);
  left->addWidget(presets);
  auto* top = new QHBoxLayout;
  top->addLayout(left);
  top->addWidget(spectrumBox);
  auto* bottom = new QHBoxLayout;
  bottom->addStretch(1);
  bottom->addWidget(ok);
  bottom->addWidget(cancel);
  auto* v = new QVBoxLayout(this);
  v->addLayout(top);
  v->addLayout(bottom);

  LoadForm();
  CenterWindow(this, 2, 2);
}

void WavelengthWindow::LoadForm() {
  WavelengthForm form;
  form.Open(main_.session().design);  // from now on the colours are the user's
  for (int k = 0; k < 6; ++k) {
    rows_[k].wl->setCurrentText(Q(form.rows[k].ComboWL));
    rows_[k].weight->setText(Q(form.rows[k].Text1));
    colors_[k] = Packed(form.rows[k].color);
    PaintSample(k);
  }
  SetCount(form.count);
}

void WavelengthWindow::SetCount(int n) {
  count_ = std::clamp(n, 1, 6);
  options_[count_ - 1]->setChecked(true);
  for (int k = 0; k < 6; ++k) {
    const bool on = k < count_;
    RowControls& r = rows_[k];
    for (QWidget* w : {static_cast<QWidget*>(r.label), static_cast<QWidget*>(r.wl),
                       static_cast<QWidget*>(r.weight), static_cast<QWidget*>(r.sample),
                       static_cast<QWidget*>(r.select)})
      w->setVisible(on);
  }
}

void WavelengthWindow::Preset(int which) {
  WavelengthForm form;
  const WavelengthPreset p[3] = {WavelengthPreset::Visible, WavelengthPreset::Scotopic, WavelengthPreset::Photopic};
  form.ApplyPreset(p[which]);
  for (int k = 0; k < form.count; ++k) {
    rows_[k].wl->setCurrentText(Q(form.rows[k].ComboWL));
    rows_[k].weight->setText(Q(form.rows[k].Text1));
  }
  SetCount(form.count);
  for (int i = 0; i < 3; ++i) presetLabels_[i]->setVisible(i == which);
}

void WavelengthWindow::AutoPen() {
  WavelengthForm form;
  ReadFormInto(form);
  form.AutoPenColors(kSpectrumWidth);
  for (int k = 0; k < form.count; ++k) {
    colors_[k] = Packed(form.rows[k].color);
    PaintSample(k);
  }
}

void WavelengthWindow::PickColor(int row) {
  const QColor now = QColor::fromRgb(static_cast<QRgb>(colors_[row]));
  const QColor c = QColorDialog::getColor(now, this, "Select");
  if (!c.isValid()) return;
  colors_[row] = (c.red() << 16) | (c.green() << 8) | c.blue();
  PaintSample(row);
}

void WavelengthWindow::PaintSample(int row) {
  const Rgb c = Unpacked(colors_[row]);
  rows_[row].sample->setStyleSheet(QString("background-color: rgb(%1, %2, %3);").arg(c.r).arg(c.g).arg(c.b));
}

bool WavelengthWindow::CheckBox(QWidget* box, const QString& text) {
  static bool busy = false;  // the message box takes the focus, which ends the edit again
  if (busy || IsNumberText(S(text))) return true;
  busy = true;
  Tell(this, " Invalid entry !");
  if (auto* c = qobject_cast<QComboBox*>(box)) {
    c->setFocus();
    c->lineEdit()->selectAll();
  } else if (auto* e = qobject_cast<QLineEdit*>(box)) {
    e->setFocus();
    e->selectAll();
  }
  busy = false;
  return false;
}

void WavelengthWindow::ReadFormInto(WavelengthForm& form) const {
  form.count = count_;
  for (int k = 0; k < 6; ++k) {
    form.rows[k].ComboWL = S(rows_[k].wl->currentText());
    form.rows[k].Text1 = S(rows_[k].weight->text());
    form.rows[k].color = Unpacked(colors_[k]);
  }
}

void WavelengthWindow::Store() {
  for (int k = 0; k < count_; ++k) {
    if (!CheckBox(rows_[k].wl, rows_[k].wl->currentText())) return;
    if (!CheckBox(rows_[k].weight, rows_[k].weight->text())) return;
  }
  WavelengthForm form;
  ReadFormInto(form);
  Session& s = main_.session();
  main_.CommitDesignEdits();
  WavelengthStoreResult r;
  // A glass that has no index at a new wavelength: the program's message, and
  // the window stays for another choice.
  if (!RunEngine(this, [&] { r = StoreWavelengths(form, s.design, s.sheet, s.media); })) {
    s.hasUpdated = true;
    s.lastUpdateOk = false;
    main_.RefreshAll();
    return;
  }
  if (!r.ok) {
    Tell(this, Q(r.message));
    return;
  }
  if (!r.warning.empty()) Tell(this, Q(r.warning));
  s.hasUpdated = true;
  s.lastUpdateOk = r.update.ok;
  main_.RefreshAll();
  if (!r.update.ok) Tell(&main_, Q(r.update.message));
  accept();
}

}  // namespace ovrin::shell
