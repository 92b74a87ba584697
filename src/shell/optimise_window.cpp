#include "shell/optimise_window.h"

#include <QCheckBox>
#include <QEvent>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "core/number_text.h"
#include "shell/analysis_window.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

constexpr const char* kTitle = "Optimization  (Damped Least Square method)";
constexpr const char* kHelpTitle = "Optimization  - Help ";
constexpr const char* kHelpText =
    "OPTIMIZATION\n\n"
    "The optimizer improves the design by damped least squares on an error function "
    "that it builds itself from real rays: the RMS spot radius or the RMS wavefront "
    "error, at two field points and the checked wavelengths, plus the focal length "
    "and back focal length terms.\n\n"
    "Variables: click the \"Var.\" column next to a curvature radius, a thickness or a "
    "conic constant and choose Variable [V] or a pickup from another surface [P+], "
    "[P-]. The last thickness is the back focal length: its target is the value in "
    "its cell (click it to type another), its weight is set in its window.\n\n"
    "Focal length: type the target and its weight; a weight of 0 lets the focal "
    "length float.\n\n"
    "Damping: the starting damping factor (default 0.00001). When a run stops with a "
    "ray failure, lower the starting damping and run again.\n\n"
    "Every accepted iteration is written into the design at 4 decimals. Stop ends the "
    "run after the iteration in hand; \"Restore design\" puts back the design as it "
    "was when OPTIMIZE was pressed.";

QLineEdit* Box(const char* name, const std::string& text, QWidget* parent, int chars = 7) {
  auto* b = new QLineEdit(Q(text), parent);
  b->setObjectName(name);
  b->setAlignment(Qt::AlignRight);
  b->setMaximumWidth(b->fontMetrics().horizontalAdvance(QString(chars + 2, '0')));
  return b;
}

QRadioButton* Radio(const char* name, const char* caption, QWidget* parent) {
  auto* r = new QRadioButton(caption, parent);
  r->setObjectName(name);
  return r;
}

QColor ColorOf(Rgb c) { return QColor(c.r, c.g, c.b); }

}  // namespace

OptimiseMemory& ProgramOptimiseMemory() {
  static OptimiseMemory memory;
  return memory;
}

void RestoreDesignBeforeRun(MainWindow& main) {
  OptimiseMemory& m = ProgramOptimiseMemory();
  auto* w = qobject_cast<OptimiseWindow*>(main.FindChildWindow("FrmOpt"));
  if (w) w->EndRun();
  if (!m.before) {
    Tell(&main, kNothingToRestore);
    return;
  }
  Session& s = main.session();
  const UpdateResult r = RestoreDesign(*m.before, s.design, s.sheet, s.media);
  s.hasUpdated = true;
  s.lastUpdateOk = r.ok;
  main.RefreshAll();
  if (w) w->Refresh();
  if (!r.ok) Tell(&main, Q(r.message));
}

// ---------------------------------------------------------------------------
// FrmOpt

OptimiseWindow::OptimiseWindow(MainWindow& main) : QWidget(nullptr), main_(main) {
  setObjectName("FrmOpt");
  setWindowTitle(kTitle);
  const DesignState& d = main_.session().design;
  LoadOptimiseSheet(opt_, d);

  auto* menu = new QMenuBar(this);
  QAction* exit = menu->addAction("&Exit");
  exit->setObjectName("Exit");
  connect(exit, &QAction::triggered, this, [this] {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) {
      sub->close();
    } else {
      close();
    }
  });
  QAction* help = menu->addAction("&Help");
  help->setObjectName("Help");
  connect(help, &QAction::triggered, this, [this] { ShowHelp(); });
  QMenu* windows = menu->addMenu("&Windows");
  windows->setObjectName("MnuWindows");
  windows->addAction("Cascade", this, [this] { main_.mdiArea()->cascadeSubWindows(); });
  windows->addAction("Tile", this, [this] { main_.mdiArea()->tileSubWindows(); });

  // --- the left panel: error function, damping, targets, fields, wavelengths ---
  auto* left = new QVBoxLayout;
  auto* errorBox = new QGroupBox(this);
  auto* eb = new QVBoxLayout(errorBox);
  option1_ = Radio("Option1", "RMS Spot Radius", errorBox);
  option2_ = Radio("Option2", "RMS WaveFront", errorBox);
  eb->addWidget(option1_);
  eb->addWidget(option2_);
  auto* raysBox = new QGroupBox(this);
  auto* rb = new QHBoxLayout(raysBox);
  square_ = Radio("OptionSquare", "SQUARE", raysBox);
  gaussian_ = Radio("OptionGaussian", "GAUSSIAN", raysBox);
  radau_ = Radio("OptionRadau", "RADAU", raysBox);
  rb->addWidget(square_);
  rb->addWidget(gaussian_);
  rb->addWidget(radau_);
  auto* focusBox = new QGroupBox("  Compute error  at ...", this);
  auto* fb = new QVBoxLayout(focusBox);
  paraxial_ = Radio("OptionParaxial", "Paraxial Focus ", focusBox);
  best_ = Radio("OptionBestFocal", "Best  Focus  ", focusBox);
  fb->addWidget(paraxial_);
  fb->addWidget(best_);
  auto* top = new QHBoxLayout;
  top->addWidget(errorBox);
  top->addWidget(focusBox);
  left->addLayout(top);
  left->addWidget(raysBox);

  auto* dampBox = new QGroupBox(" Damping Factor", this);
  auto* db = new QGridLayout(dampBox);
  damping_ = Box("TxtDamping", opt_.TxtDamping, dampBox, 9);
  slider_ = new QSlider(Qt::Horizontal, dampBox);
  slider_->setObjectName("Slider1");
  slider_->setRange(1, 10);
  slider_->setValue(5);
  db->addWidget(damping_, 0, 0);
  db->addWidget(slider_, 0, 1);
  db->addWidget(new QLabel("Default Starting Value 10e-5", dampBox), 1, 0, 1, 2);
  left->addWidget(dampBox);

  auto* eflBox = new QGroupBox("Focal Length", this);
  auto* lb = new QGridLayout(eflBox);
  eflTarget_ = Box("Text2", opt_.Text2, eflBox, 9);
  eflWeight_ = Box("Text9", opt_.Text9, eflBox);
  eflCurrent_ = new QLabel(Q(opt_.Label9), eflBox);
  eflCurrent_->setObjectName("Label9");
  eflCurrent_->setFrameShape(QFrame::Panel);
  eflCurrent_->setFrameShadow(QFrame::Sunken);
  eflCurrent_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  lb->addWidget(new QLabel("Target", eflBox), 0, 0);
  lb->addWidget(new QLabel("Weight", eflBox), 0, 1);
  lb->addWidget(new QLabel("Current", eflBox), 0, 2);
  lb->addWidget(eflTarget_, 1, 0);
  lb->addWidget(eflWeight_, 1, 1);
  lb->addWidget(eflCurrent_, 1, 2);
  left->addWidget(eflBox);

  auto* fieldBox = new QGroupBox(this);
  auto* fl = new QGridLayout(fieldBox);
  field1_ = Box("Text10", opt_.Text10, fieldBox);
  weight1_ = Box("Text12", opt_.Text12, fieldBox);
  field2_ = Box("Text11", opt_.Text11, fieldBox);
  weight2_ = Box("Text13", opt_.Text13, fieldBox);
  iterations_ = Box("Text1", opt_.Text1, fieldBox, 4);
  fl->addWidget(new QLabel("Field Point 1  ", fieldBox), 0, 0);
  fl->addWidget(field1_, 0, 1);
  fl->addWidget(new QLabel("Weight", fieldBox), 0, 2);
  fl->addWidget(weight1_, 0, 3);
  fl->addWidget(new QLabel("Field Point 2 ", fieldBox), 1, 0);
  fl->addWidget(field2_, 1, 1);
  fl->addWidget(new QLabel("Weight", fieldBox), 1, 2);
  fl->addWidget(weight2_, 1, 3);
  fl->addWidget(new QLabel(" Iterations (max 100)", fieldBox), 2, 0, 1, 2);
  fl->addWidget(iterations_, 2, 3);
  left->addWidget(fieldBox);

  auto* wlBox = new QGroupBox("WaveLen.    Weight", this);
  auto* wl = new QGridLayout(wlBox);
  const char* checkNames[6] = {"Check_e", "Check_r", "Check_c", "Check_f", "Check_g", "Check_h"};
  const char* weightNames[6] = {"Text3", "Text4", "Text5", "Text6", "Text7", "Text8"};
  for (int k = 0; k < 6; ++k) {
    checks_[k] = new QCheckBox(wlBox);
    checks_[k]->setObjectName(checkNames[k]);
    weights_[k] = Box(weightNames[k], opt_.weights[k], wlBox, 4);
    wl->addWidget(checks_[k], k % 3, (k / 3) * 2);
    wl->addWidget(weights_[k], k % 3, (k / 3) * 2 + 1);
    connect(checks_[k], &QCheckBox::clicked, this, [this, k](bool on) {
      ReadControls();
      SetWavelengthChecked(opt_, k, on);
      ShowSheet();
    });
  }
  left->addWidget(wlBox);
  left->addStretch(1);

  // --- the middle: the variables grid and the buttons ---
  auto* middle = new QVBoxLayout;
  grid_ = new QTableWidget(this);
  grid_->setObjectName("MSFlexGrid1");
  grid_->setColumnCount(OptimiseSheet::kCols);
  grid_->verticalHeader()->hide();
  grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  grid_->setSelectionMode(QAbstractItemView::NoSelection);
  QStringList heads;
  for (int c = 0; c < OptimiseSheet::kCols; ++c) heads << Q(opt_.Cell(0, c));
  grid_->setHorizontalHeaderLabels(heads);
  connect(grid_, &QTableWidget::cellClicked, this, [this](int r, int c) { ClickCell(r + 1, c); });
  middle->addWidget(grid_, 1);
  optimise_ = new QPushButton("OPTIMIZE", this);
  optimise_->setObjectName("Command1");
  stop_ = new QPushButton("Stop", this);
  stop_->setObjectName("CmdStop");
  stop_->setEnabled(false);
  restore_ = new QPushButton("Restore design", this);
  restore_->setObjectName("CmdRestore");
  restore_->setToolTip("Restore design from before the run");
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(optimise_, 2);
  buttons->addWidget(stop_, 1);
  buttons->addWidget(restore_, 1);
  middle->addLayout(buttons);
  connect(optimise_, &QPushButton::clicked, this, [this] { Optimise(); });
  connect(stop_, &QPushButton::clicked, this, [this] { Stop(); });
  connect(restore_, &QPushButton::clicked, this, [this] { RestoreDesignBeforeRun(main_); });

  // --- the right: the two spot pictures and the log ---
  auto* right = new QVBoxLayout;
  auto* pics = new QHBoxLayout;
  for (int i = 0; i < 2; ++i) {
    pictures_[i] = new PlotView(1.0, this);
    pictures_[i]->setObjectName(QString("Picture1_%1").arg(i));
    pictures_[i]->setMinimumSize(170, 170);
    pictures_[i]->setMaximumSize(360, 360);
    pics->addWidget(pictures_[i]);
  }
  right->addLayout(pics);
  auto* head = new QLabel(kLogHead, this);
  head->setObjectName("Label10");
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  head->setFont(fixed);
  right->addWidget(head);
  log_ = new QPlainTextEdit(this);
  log_->setObjectName("Text14");
  log_->setReadOnly(true);
  log_->setFont(fixed);
  log_->setLineWrapMode(QPlainTextEdit::NoWrap);
  right->addWidget(log_, 1);

  auto* columns = new QHBoxLayout;
  auto* leftPanel = new QWidget(this);
  leftPanel->setLayout(left);
  leftPanel->setMaximumWidth(330);
  left->setContentsMargins(0, 0, 0, 0);
  columns->addWidget(leftPanel);
  columns->addLayout(middle);
  columns->addLayout(right, 1);
  auto* outer = new QVBoxLayout(this);
  outer->setMenuBar(menu);
  outer->addLayout(columns);

  // Behaviour of the controls.
  connect(slider_, &QSlider::valueChanged, this, [this](int v) {
    if (loading_) return;
    damping_->setText(Q(ShortestText(std::pow(10.0, -v))));
  });
  connect(iterations_, &QLineEdit::textEdited, this, [this] {
    opt_.Text1 = S(iterations_->text());
    const std::string message = CheckIterationText(opt_);
    if (!message.empty()) {
      iterations_->setText(Q(opt_.Text1));
      Tell(this, Q(message));
    }
  });

  ShowSheet();
}

OptimiseWindow::~OptimiseWindow() = default;

void OptimiseWindow::ReadControls() {
  OptimiseSheet& s = opt_;
  s.Option1 = option1_->isChecked();
  s.Option2 = option2_->isChecked();
  s.OptionSquare = square_->isChecked();
  s.OptionGaussian = gaussian_->isChecked();
  s.OptionRadau = radau_->isChecked();
  s.OptionParaxial = paraxial_->isChecked();
  s.OptionBestFocal = best_->isChecked();
  s.TxtDamping = S(damping_->text());
  s.Text1 = S(iterations_->text());
  s.Text2 = S(eflTarget_->text());
  s.Text9 = S(eflWeight_->text());
  s.Text10 = S(field1_->text());
  s.Text12 = S(weight1_->text());
  s.Text11 = S(field2_->text());
  s.Text13 = S(weight2_->text());
  for (int k = 0; k < 6; ++k) {
    s.checked[k] = checks_[k]->isChecked();
    s.weights[k] = S(weights_[k]->text());
  }
}

void OptimiseWindow::ShowSheet() {
  loading_ = true;
  const OptimiseSheet& s = opt_;
  option1_->setChecked(s.Option1);
  option2_->setChecked(s.Option2);
  square_->setChecked(s.OptionSquare);
  gaussian_->setChecked(s.OptionGaussian);
  radau_->setChecked(s.OptionRadau);
  paraxial_->setChecked(s.OptionParaxial);
  best_->setChecked(s.OptionBestFocal);
  damping_->setText(Q(s.TxtDamping));
  iterations_->setText(Q(s.Text1));
  eflTarget_->setText(Q(s.Text2));
  eflWeight_->setText(Q(s.Text9));
  eflCurrent_->setText(Q(s.Label9));
  field1_->setText(Q(s.Text10));
  weight1_->setText(Q(s.Text12));
  field2_->setText(Q(s.Text11));
  weight2_->setText(Q(s.Text13));
  const DesignState& d = main_.session().design;
  for (int k = 0; k < 6; ++k) {
    checks_[k]->setText(Q(s.checkCaption[k]));
    QPalette p = checks_[k]->palette();
    p.setColor(QPalette::WindowText, ColorOf(d.WlColor[k + 1]));
    checks_[k]->setPalette(p);
    checks_[k]->setVisible(s.checkVisible[k]);
    checks_[k]->setChecked(s.checked[k]);
    weights_[k]->setText(Q(s.weights[k]));
    weights_[k]->setEnabled(s.weightEnabled[k]);
    weights_[k]->setVisible(s.checkVisible[k]);
  }
  ShowGrid();
  loading_ = false;
}

void OptimiseWindow::ShowGrid() {
  const int rows = static_cast<int>(opt_.cells.size()) - 1;
  if (editor_ && grid_->rowCount() != rows) CommitCellEditor();
  grid_->setRowCount(rows);
  for (int r = 1; r <= rows; ++r) {
    for (int c = 0; c < OptimiseSheet::kCols; ++c) {
      if (editor_ && opt_.editRow == r && opt_.editCol == c) continue;
      QTableWidgetItem* item = grid_->item(r - 1, c);
      if (!item) {
        item = new QTableWidgetItem;
        grid_->setItem(r - 1, c, item);
      }
      item->setText(Q(opt_.Cell(r, c)));
      const bool mark = c == 3 || c == 5 || c == 7;
      item->setTextAlignment(mark ? Qt::AlignCenter : (Qt::AlignRight | Qt::AlignVCenter));
      // The cells that take text or a mark stand out from the values shown.
      const bool active = (mark && r < rows) || (c == 4 && r == rows - 1) || (c == 2 && r == rows);
      item->setBackground(active ? QColor(255, 255, 225) : QColor(240, 240, 240));
    }
  }
  grid_->resizeColumnsToContents();
  int width = 2 * grid_->frameWidth() + grid_->verticalScrollBar()->sizeHint().width();
  for (int c = 0; c < OptimiseSheet::kCols; ++c) {
    if (c == 3 || c == 5 || c == 7) grid_->setColumnWidth(c, std::max(grid_->columnWidth(c), 36));
    width += grid_->columnWidth(c);
  }
  grid_->setFixedWidth(width);
}

void OptimiseWindow::Refresh() {
  if (running_) return;
  ReadControls();
  RefreshOptimiseSheet(opt_, main_.session().design);
  ShowSheet();
}

void OptimiseWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Refresh();
  auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget());
  if (sub && !placed_) {
    placed_ = true;
    const QSize area = main_.mdiArea()->viewport()->size();
    sub->resize(QSize(1220, 660).boundedTo(area.expandedTo(QSize(800, 500))));
    CenterWindow(this, 2, 2);
  }
  if (sub && sub != watchedFrame_) {
    watchedFrame_ = sub;
    connect(sub, &QMdiSubWindow::aboutToActivate, this, [this] { Refresh(); });
  }
}

bool OptimiseWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == editor_ && event->type() == QEvent::FocusOut) {
    QTimer::singleShot(0, this, [this] { CommitCellEditor(); });
  }
  return QWidget::eventFilter(watched, event);
}

void OptimiseWindow::ClickCell(int row, int col) {
  if (running_) return;
  const int n = opt_.SurfCount();
  if (row < 1 || row > n + 1) return;
  CommitCellEditor();
  ReadControls();
  OptimiseMemory& m = ProgramOptimiseMemory();
  std::optional<VarWindowKind> kind;
  if (row <= n && col == 3) kind = VarWindowKind::Curvature;
  if (row <= n && col == 5) kind = row < n ? VarWindowKind::Thickness : VarWindowKind::Bfl;
  if (row <= n && col == 7) kind = VarWindowKind::Conic;
  if (kind) {
    VarWindow w(this, *kind, row, opt_, m.pick);
    w.exec();
    ShowGrid();
    optimise_->setFocus();
    return;
  }
  if ((row == n && col == 4) || (row == n + 1 && col == 2)) {
    opt_.editRow = row;
    opt_.editCol = col;
    opt_.txtDataEntry = opt_.Cell(row, col);
    opt_.txtDataEntryVisible = true;
    editor_ = new QLineEdit(Q(opt_.txtDataEntry));
    editor_->setObjectName("txtDataEntry");
    editor_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    FilterKeys(editor_, KeyFilter::NumericSilent);
    editor_->installEventFilter(this);
    connect(editor_, &QLineEdit::returnPressed, this, [this] { CommitCellEditor(); });
    grid_->setCellWidget(row - 1, col, editor_);
    editor_->setFocus();
    editor_->selectAll();
  }
}

void OptimiseWindow::CommitCellEditor() {
  if (!editor_) return;
  opt_.txtDataEntry = S(editor_->text());
  const int row = opt_.editRow, col = opt_.editCol;
  CommitOptimiseCell(opt_);
  QLineEdit* e = editor_;
  editor_ = nullptr;
  e->removeEventFilter(this);
  grid_->removeCellWidget(row - 1, col);  // deletes the editor
  ShowGrid();
}

QString OptimiseWindow::LogText() const { return log_->toPlainText(); }

void OptimiseWindow::Optimise() {
  if (running_) return;
  CommitCellEditor();
  ReadControls();
  main_.CommitDesignEdits();
  Session& s = main_.session();
  opt_.angleY = s.sheet.Txtangolo;
  opt_.angleX = s.sheet.TxtangoloX;
  ProgramOptimiseMemory().before = DesignSnapshot{s.design, s.sheet};
  run_ = std::make_unique<OptimiseRun>(s.design, s.sheet, s.media, opt_, ProgramOptimiseMemory().pick);
  log_->clear();
  running_ = true;
  stopAsked_ = false;
  shownFocusMessage_ = false;
  optimise_->setEnabled(false);
  restore_->setEnabled(false);
  grid_->setEnabled(false);
  stop_->setEnabled(true);
  QTimer::singleShot(0, this, [this] { Step(); });
}

void OptimiseWindow::Stop() {
  if (running_) stopAsked_ = true;
}

void OptimiseWindow::EndRun() {
  if (!running_) return;
  run_->Cancel();
  EndOfRun();
}

void OptimiseWindow::Step() {
  if (!running_) return;
  if (stopAsked_) {
    EndRun();
    return;
  }
  run_->Next();
  // The design window and the commands follow the design as it changes.
  main_.RefreshAll();
  log_->setPlainText(Q(run_->LogText()));
  log_->verticalScrollBar()->setValue(log_->verticalScrollBar()->maximum());
  ShowSheet();
  DrawPictures();
  emit iterationDone();
  if (!run_->focusMessage().empty() && !shownFocusMessage_) {
    shownFocusMessage_ = true;
    Tell(this, Q(run_->focusMessage()));
  }
  if (run_->finished()) {
    EndOfRun();
    return;
  }
  QTimer::singleShot(0, this, [this] { Step(); });
}

void OptimiseWindow::EndOfRun() {
  running_ = false;
  stopAsked_ = false;
  optimise_->setEnabled(true);
  restore_->setEnabled(true);
  grid_->setEnabled(true);
  stop_->setEnabled(false);
  log_->setPlainText(Q(run_->LogText()));
  ShowSheet();
  emit runEnded();
  if (!run_->message().empty()) Tell(this, Q(run_->message()));
}

void OptimiseWindow::DrawPictures() {
  const ErrorContext& c = run_->context();
  for (int f = 0; f < 2; ++f) {
    RecordingCanvas canvas;
    DrawOptimiseSpot(c.pictures[f], f + 1, main_.session().design.WlColor, canvas);
    pictures_[f]->SetPlot(canvas);
  }
}

void OptimiseWindow::ShowHelp() {
  auto* w = new QDialog(this);
  w->setObjectName("FrmOptHelp");
  w->setWindowTitle(kHelpTitle);
  w->setAttribute(Qt::WA_DeleteOnClose);
  auto* text = new QPlainTextEdit(kHelpText, w);
  text->setReadOnly(true);
  auto* l = new QVBoxLayout(w);
  l->addWidget(text);
  w->resize(520, 420);
  w->show();
}

// ---------------------------------------------------------------------------
// FrmVarOPT, FrmVarOPTthick, FrmVarBFL, FrmVarConic

namespace {

struct VarTexts {
  const char* name;
  const char* options[4];
  int column;
};

VarTexts TextsOf(VarWindowKind kind) {
  switch (kind) {
    case VarWindowKind::Curvature:
      return {"FrmVarOPT",
              {"Fixed", "Variable  [ V ]", "Curvature Pickup  [ P+ ]", "Minus Curvature Pickup [ P - ]"},
              3};
    case VarWindowKind::Thickness:
      return {"FrmVarOPTthick",
              {"Fixed", "Variable  [ V ]", "Thickness Pickup  [ P+ ]", "Minus Thickness Pickup [ P - ]"},
              5};
    case VarWindowKind::Bfl:
      return {"FrmVarBFL", {"Fixed", "Variable  [ V ]", "BFL Pickup  [ P+ ]", "Minus BFL Pickup [ P - ]"}, 5};
    case VarWindowKind::Conic:
      return {"FrmVarConic", {"Fixed", "Variable  [ V ]", "Conic Constant Pickup  ", nullptr}, 7};
  }
  return {"", {}, 0};
}

const char* const kMarks[4] = {"", "V", "P+", "P-"};

}  // namespace

const char* VarWindowName(VarWindowKind kind) { return TextsOf(kind).name; }

VarWindow::VarWindow(QWidget* parent, VarWindowKind kind, int surface, OptimiseSheet& opt, PickupTables& pick)
    : QDialog(parent), kind_(kind), surface_(surface), opt_(opt), pick_(pick) {
  const VarTexts t = TextsOf(kind);
  setObjectName(t.name);
  switch (kind) {
    case VarWindowKind::Curvature: setWindowTitle("Curvature Radius"); break;
    case VarWindowKind::Thickness: setWindowTitle("Axial Thickness "); break;
    case VarWindowKind::Bfl: setWindowTitle("Back Focal Length"); break;
    case VarWindowKind::Conic: setWindowTitle(QString("Surface%1  Conic Constant").arg(surface)); break;
  }
  auto* l = new QGridLayout(this);
  int row = 0;
  for (int i = 0; i < 4; ++i) {
    if (!t.options[i]) continue;
    options_[i] = new QRadioButton(t.options[i], this);
    options_[i]->setObjectName(QString("Option%1").arg(i + 1));
    l->addWidget(options_[i], row++, 0, 1, 2);
    connect(options_[i], &QRadioButton::clicked, this, [this, i] { Choose(i + 1); });
  }
  auto entry = [&](const char* caption, const char* name, QLabel*& label, QLineEdit*& box) {
    label = new QLabel(caption, this);
    box = new QLineEdit(this);
    box->setObjectName(name);
    box->setAlignment(Qt::AlignRight);
    l->addWidget(label, row, 0);
    l->addWidget(box, row++, 1);
  };
  if (kind == VarWindowKind::Bfl) entry("Enter Back Focal Length  WEIGHT", "Text3", weightLabel_, weight_);
  entry(kind == VarWindowKind::Curvature ? "Enter pickup source surface -->" : "Enter pickup source surface->",
        "Text1", sourceLabel_, source_);
  if (kind == VarWindowKind::Thickness || kind == VarWindowKind::Bfl)
    entry(kind == VarWindowKind::Thickness ? "Add/Subtract additional thickn. to the source var."
                                            : "Add/Subtract additional thickn. to the source surf.",
          "Text2", addendLabel_, addend_);
  if (kind == VarWindowKind::Thickness) entry("Scale Factor", "Text4", scaleLabel_, scale_);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("Command1");
  ok->setDefault(true);
  l->addWidget(ok, row, 0, 1, 2);
  connect(ok, &QPushButton::clicked, this, [this] {
    if (Accept()) accept();
  });

  // The present mark chooses the option; a pick-up shows its stored numbers.
  const std::string& mark = opt_.Cell(surface, t.column);
  int option = 1;
  for (int i = 0; i < 4; ++i)
    if (mark == kMarks[i] && options_[i]) option = i + 1;
  const int s = surface;
  auto text = [](double v) { return Q(ShortestText(v)); };
  switch (kind) {
    case VarWindowKind::Curvature:
      if (option == 3) source_->setText(QString::number(pick_.curvPlus[s]));
      if (option == 4) source_->setText(QString::number(pick_.curvMinus[s]));
      break;
    case VarWindowKind::Thickness:
      if (option >= 3) {
        source_->setText(QString::number(option == 3 ? pick_.thickPlus[s] : pick_.thickMinus[s]));
        addend_->setText(text(pick_.thickAdd[s]));
        scale_->setText(Q(ShortestText(pick_.thickScale[s])));
      } else {
        addend_->setText("0");
        scale_->setText("1");
      }
      break;
    case VarWindowKind::Bfl:
      if (option >= 3) {
        source_->setText(QString::number(option == 3 ? pick_.BflPickSourcePlus : pick_.BflPickSourceMinus));
        addend_->setText(text(pick_.BflPickAdd));
      } else {
        addend_->setText("0");
      }
      break;
    case VarWindowKind::Conic:
      if (option == 3) source_->setText(QString::number(pick_.conicPlus[s]));
      break;
  }
  options_[option - 1]->setChecked(true);
  Choose(option);
}

void VarWindow::Choose(int option) {
  chosen_ = option;
  if (options_[option - 1] && !options_[option - 1]->isChecked()) options_[option - 1]->setChecked(true);
  const bool pickup = option >= 3;
  sourceLabel_->setVisible(pickup);
  source_->setVisible(pickup);
  if (addend_) {
    addendLabel_->setVisible(pickup);
    addend_->setVisible(pickup);
  }
  if (scale_) {
    scaleLabel_->setVisible(pickup);
    scale_->setVisible(pickup);
  }
  if (weight_) {
    // "Fixed" gives the back focal length the weight 1 at once; the others show the present weight.
    if (option == 1) pick_.WeightBfl = 1;
    weightLabel_->setVisible(option != 1);
    weight_->setVisible(option != 1);
    weight_->setText(Q(ShortestText(pick_.WeightBfl)));
  }
  adjustSize();
}

bool VarWindow::Accept() {
  const VarTexts t = TextsOf(kind_);
  const int n = opt_.SurfCount();
  const int s = surface_;
  const bool pickup = chosen_ >= 3;
  int source = 0;
  if (pickup) {
    source = static_cast<int>(NumberIn(source_));
    bool bad = source <= 0 || source > n;
    if (kind_ == VarWindowKind::Thickness) bad = bad || source == s;
    if (bad) {
      const bool bang = chosen_ == 4 && (kind_ == VarWindowKind::Bfl || kind_ == VarWindowKind::Thickness);
      Tell(this, bang ? "Error: Invalid entry !" : "Error: Invalid entry");
      return false;
    }
  }
  opt_.Cell(s, t.column) = kMarks[chosen_ - 1];
  switch (kind_) {
    case VarWindowKind::Curvature:
      if (chosen_ == 3) pick_.curvPlus[s] = source;
      if (chosen_ == 4) pick_.curvMinus[s] = source;
      break;
    case VarWindowKind::Thickness:
      if (pickup) {
        (chosen_ == 3 ? pick_.thickPlus : pick_.thickMinus)[s] = source;
        pick_.thickAdd[s] = NumberIn(addend_);
        pick_.thickScale[s] = static_cast<float>(NumberIn(scale_));
      }
      break;
    case VarWindowKind::Bfl:
      if (chosen_ != 1) pick_.WeightBfl = static_cast<float>(std::fabs(NumberIn(weight_)));
      if (chosen_ == 3) pick_.BflPickSourcePlus = source;
      if (chosen_ == 4) pick_.BflPickSourceMinus = source;
      if (pickup) pick_.BflPickAdd = NumberIn(addend_);
      break;
    case VarWindowKind::Conic:
      if (chosen_ == 3) pick_.conicPlus[s] = source;
      break;
  }
  return true;
}

}  // namespace ovrin::shell
