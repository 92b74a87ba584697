#include "shell/design_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QScrollBar>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QHelpEvent>
#include <QTimer>
#include <QToolTip>
#include <QVBoxLayout>

#include "core/design_edit.h"
#include "core/design_sheet.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

// Column widths of the grid in twips, as the window was drawn at 15 twips a pixel.
constexpr int kColumnTwips[DesignSheet::kCols] = {480, 680, 900, 1280, 1280, 1280, 1280, 1280};
constexpr int kVisibleRows = 13;  // from 13 surfaces on, the grid scrolls

QLabel* Caption(const char* text, QWidget* parent) {
  auto* l = new QLabel(text, parent);
  l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return l;
}

QLabel* Result(const char* name, QWidget* parent) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  l->setFrameShape(QFrame::Panel);
  l->setFrameShadow(QFrame::Sunken);
  l->setMinimumWidth(l->fontMetrics().horizontalAdvance("-00000.000000"));
  l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  l->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return l;
}

QLineEdit* Box(const char* name, QWidget* parent, int chars = 10) {
  auto* b = new QLineEdit(parent);
  b->setObjectName(name);
  b->setMinimumWidth(b->fontMetrics().horizontalAdvance(QString(chars, '0')) + 12);
  return b;
}

}  // namespace

DesignWindow::DesignWindow(MainWindow& main) : main_(main) {
  setObjectName("Frmdati");
  setWindowTitle(" SYSTEM   DATA");

  auto* top = new QHBoxLayout;
  txtnumsup_ = Box("txtnumsup", this, 4);
  txtnumsup_->setMaximumWidth(txtnumsup_->minimumWidth() + 8);
  notes_ = Box("Txtcaratteristiche", this, 30);
  name_ = new QLabel(this);
  name_->setObjectName("Lblnome");
  top->addWidget(new QLabel("Number of Surf.", this));
  top->addWidget(txtnumsup_);
  top->addSpacing(12);
  top->addWidget(new QLabel("Notes", this));
  top->addWidget(notes_, 1);
  top->addSpacing(12);
  top->addWidget(name_);

  grid_ = new QTableWidget(this);
  grid_->setObjectName("MSFlexGrid1");
  grid_->setColumnCount(DesignSheet::kCols);
  grid_->verticalHeader()->hide();
  grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  grid_->setSelectionMode(QAbstractItemView::SingleSelection);
  grid_->setSelectionBehavior(QAbstractItemView::SelectItems);
  grid_->horizontalHeader()->setHighlightSections(false);
  grid_->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  grid_->horizontalHeader()->setStretchLastSection(true);
  grid_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  grid_->installEventFilter(this);
  grid_->viewport()->installEventFilter(this);  // the type cells' tool tips
  connect(grid_, &QTableWidget::cellClicked, this, [this](int r, int c) { ClickCell(r + 1, c); });

  // Object
  auto* object = new QGroupBox("Object", this);
  option1_ = new QRadioButton("Infinity", object);
  option1_->setObjectName("Option1");
  option2_ = new QRadioButton("Finite", object);
  option2_->setObjectName("Option2");
  text2_ = Box("Text2", object);
  text3_ = Box("Text3", object);
  label2_ = Caption("  Object  Dist.", object);
  label3_ = Caption("  Object  Height", object);
  auto* og = new QGridLayout(object);
  og->addWidget(option1_, 0, 0);
  og->addWidget(option2_, 0, 1);
  og->addWidget(label2_, 1, 0);
  og->addWidget(text2_, 1, 1);
  og->addWidget(label3_, 2, 0);
  og->addWidget(text3_, 2, 1);

  // Field and beam
  auto* field = new QGroupBox("Half-Field Angle", this);
  check1_ = new QCheckBox("Y Direction", field);
  check1_->setObjectName("Check1");
  check2_ = new QCheckBox("X Direction", field);
  check2_->setObjectName("Check2");
  angleY_ = Box("Txtangolo", field, 8);
  angleX_ = Box("TxtangoloX", field, 8);
  text1_ = Box("Text1", field);
  auto* fg = new QGridLayout(field);
  fg->addWidget(check1_, 0, 0);
  fg->addWidget(angleY_, 0, 1);
  fg->addWidget(check2_, 1, 0);
  fg->addWidget(angleX_, 1, 1);
  fg->addWidget(Caption("Entr.Beam Half-Diam.", field), 2, 0);
  fg->addWidget(text1_, 2, 1);

  // Results of the update
  auto* results = new QGroupBox("First Order Data", this);
  lblbfl_ = Result("Lblbfl", results);
  lblfocale_ = Result("Lblfocale", results);
  lblrappfoc_ = Result("Lblrappfoc", results);
  lblimage_ = Result("LblImage", results);
  label15_ = Caption("Aperture Ratio", results);
  label15_->setObjectName("Label15");
  auto* rg = new QGridLayout(results);
  rg->addWidget(Caption("Back Focal Length", results), 0, 0);
  rg->addWidget(lblbfl_, 0, 1);
  rg->addWidget(Caption("Effective Focal Length", results), 1, 0);
  rg->addWidget(lblfocale_, 1, 1);
  rg->addWidget(label15_, 2, 0);
  rg->addWidget(lblrappfoc_, 2, 1);
  rg->addWidget(Caption("Image Height", results), 3, 0);
  rg->addWidget(lblimage_, 3, 1);

  auto* frames = new QHBoxLayout;
  frames->addWidget(object);
  frames->addWidget(field);
  frames->addWidget(results);

  label4_ = new QLabel("# UNCENTERED  SYSTEM  #", this);
  label4_->setObjectName("Label4");
  label4_->setStyleSheet("color: rgb(200, 0, 0); font-weight: bold;");
  cmdwl_ = new QPushButton("WaveLengths", this);
  cmdwl_->setObjectName("CmdWLSel");
  cmdupdate_ = new QPushButton("         OK", this);
  cmdupdate_->setObjectName("cmdupdate");
  cmdupdate_->setToolTip("UPDATE PARAMETERS");
  cmdupdate_->setDefault(false);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(label4_);
  buttons->addStretch(1);
  buttons->addWidget(cmdwl_);
  buttons->addWidget(cmdupdate_);

  auto* v = new QVBoxLayout(this);
  v->addLayout(top);
  v->addWidget(grid_, 1);
  v->addLayout(frames);
  v->addLayout(buttons);

  // What is typed goes into the sheet at once; the update reads it from there.
  DesignSheet& sheet = main_.session().sheet;
  auto bind = [this](QLineEdit* box, std::string DesignSheet::*field) {
    connect(box, &QLineEdit::textChanged, this, [this, field](const QString& t) {
      if (!loading_) main_.session().sheet.*field = S(t);
    });
  };
  bind(notes_, &DesignSheet::Txtcaratteristiche);
  bind(text1_, &DesignSheet::Text1);
  bind(text2_, &DesignSheet::Text2);
  bind(text3_, &DesignSheet::Text3);
  bind(angleY_, &DesignSheet::Txtangolo);
  bind(angleX_, &DesignSheet::TxtangoloX);
  (void)sheet;
  FilterKeys(notes_, KeyFilter::NoQuote);
  FilterKeys(angleY_, KeyFilter::NumericWarn);
  FilterKeys(angleX_, KeyFilter::NumericWarn);
  FilterKeys(txtnumsup_, KeyFilter::NumericSilent);
  for (QLineEdit* b : {text1_, text2_, text3_}) FilterKeys(b, KeyFilter::NumericSilent);
  connect(txtnumsup_, &QLineEdit::editingFinished, this, [this] { SurfaceCountEntered(); });

  connect(option1_, &QRadioButton::clicked, this, [this] {
    main_.session().sheet.SelectOption1(main_.session().design);
    Reload();
  });
  connect(option2_, &QRadioButton::clicked, this, [this] {
    main_.session().sheet.SelectOption2();
    Reload();
  });
  connect(check1_, &QCheckBox::clicked, this, [this](bool on) {
    main_.session().sheet.SetCheck1(on);
    Reload();
  });
  connect(check2_, &QCheckBox::clicked, this, [this](bool on) {
    main_.session().sheet.SetCheck2(on);
    Reload();
  });
  connect(cmdupdate_, &QPushButton::clicked, this, [this] { main_.RunUpdate(); });
  connect(cmdwl_, &QPushButton::clicked, this, [this] { main_.OpenWindow("FrmWL"); });

  Reload();
}

// ---------------------------------------------------------------------------

DesignWindow::~DesignWindow() {
  // The grid and the floating boxes outlive this object by a moment: they
  // must not call the filter while the window is being taken apart.
  grid_->removeEventFilter(this);
  if (editor_) editor_->removeEventFilter(this);
  if (combo_) combo_->removeEventFilter(this);
}

void DesignWindow::Reload() {
  const DesignSheet& s = main_.session().sheet;
  const DesignState& d = main_.session().design;
  loading_ = true;
  // A failed read says so in the caption as long as the design is not saved anew.
  const Session& session = main_.session();
  setWindowTitle(session.readFailed ? " SYSTEM   DATA   (reading " + Q(session.failedFile) + " FAILED)"
                                    : QString(" SYSTEM   DATA"));
  CloseFloating();
  txtnumsup_->setText(Q(s.txtnumsup));
  notes_->setText(Q(s.Txtcaratteristiche));
  notes_->setCursorPosition(0);
  name_->setText(Q(d.DesignFileTitle));
  text1_->setText(Q(s.Text1));
  text2_->setText(Q(s.Text2));
  text3_->setText(Q(s.Text3));
  angleY_->setText(Q(s.Txtangolo));
  angleX_->setText(Q(s.TxtangoloX));
  option1_->setChecked(s.Option1);
  option2_->setChecked(s.Option2);
  text2_->setEnabled(s.Text2Enabled);
  text3_->setEnabled(s.Text3Enabled);
  label2_->setEnabled(s.Text2Enabled);
  label3_->setEnabled(s.Text3Enabled);
  check1_->setChecked(s.Check1);
  check2_->setChecked(s.Check2);
  check1_->setEnabled(s.Check1Enabled);
  check2_->setEnabled(s.Check2Enabled);
  angleY_->setEnabled(s.TxtangoloEnabled && s.Check1);
  angleX_->setEnabled(s.TxtangoloXEnabled && s.Check2);
  lblbfl_->setText(Q(s.Lblbfl));
  lblfocale_->setText(Q(s.Lblfocale));
  label15_->setText(Q(s.Label15));
  lblrappfoc_->setText(Q(s.Lblrappfoc));
  lblimage_->setText(Q(s.LblImage));
  label4_->setVisible(s.Label4Visible);
  cmdupdate_->setVisible(s.cmdupdateVisible);
  cmdupdate_->setEnabled(s.cmdupdateEnabled);
  cmdwl_->setVisible(s.cmdupdateVisible);
  ReloadGrid();
  loading_ = false;
}

void DesignWindow::ReloadGrid() {
  const DesignSheet& s = main_.session().sheet;
  const int rows = s.SurfaceRows();
  grid_->setRowCount(rows);
  QStringList headers;
  for (const std::string& h : s.cells[0]) headers << Q(h);
  grid_->setHorizontalHeaderLabels(headers);
  for (int r = 1; r <= rows; ++r)
    for (int c = 0; c < DesignSheet::kCols; ++c) ReloadCell(r, c);
  SizeGrid();
}

void DesignWindow::ReloadCell(int row, int col) {
  const DesignSheet& s = main_.session().sheet;
  QTableWidgetItem* item = grid_->item(row - 1, col);
  if (!item) {
    item = new QTableWidgetItem;
    item->setFlags(Qt::ItemIsEnabled | (col == 0 ? Qt::NoItemFlags : Qt::ItemIsSelectable));
    // Fixed cells and cells no one types in differ from the editable ones.
    if (col == 0) item->setBackground(palette().button());
    if (col == 6) item->setBackground(palette().alternateBase());
    item->setTextAlignment(col >= 2 && col <= 4 ? (Qt::AlignRight | Qt::AlignVCenter)
                                                : (Qt::AlignLeft | Qt::AlignVCenter));
    grid_->setItem(row - 1, col, item);
  }
  item->setText(Q(s.Cell(row, col)));
}

QString DesignWindow::TypeToolTip(int row) const {
  // The coefficients live in their own window; the type cell shows them on hover.
  const DesignState& d = main_.session().design;
  if (row < 1 || row >= static_cast<int>(d.SurfType.size())) return {};
  const int type = static_cast<int>(d.SurfType[row]);
  if (type != kConic && type != kHighOrder) return {};
  QString tip = "K = " + Q(ShortestText(d.Conic[row]));
  if (type == kHighOrder)
    tip += "\nA4 = " + Q(ShortestText(d.AsphA4[row])) + "\nA6 = " + Q(ShortestText(d.AsphA6[row])) +
           "\nA8 = " + Q(ShortestText(d.AsphA8[row]));
  return tip;
}

void DesignWindow::SizeGrid() {
  const QFontMetrics fm = grid_->fontMetrics();
  const double scale = std::max(1.0, fm.height() / 16.0);
  grid_->verticalHeader()->setDefaultSectionSize(fm.height() + 8);
  int total = 0;
  for (int c = 0; c < DesignSheet::kCols; ++c) {
    int w = static_cast<int>(kColumnTwips[c] / 15.0 * scale);
    w = std::max(w, fm.horizontalAdvance(grid_->horizontalHeaderItem(c)->text()) + 16);
    for (int r = 0; r < grid_->rowCount(); ++r)
      if (auto* it = grid_->item(r, c)) w = std::max(w, fm.horizontalAdvance(it->text()) + 16);
    if (c == 5) w = std::max(w, fm.horizontalAdvance("AIR (Negat)") + 48);  // room for the list's arrow
    if (c == 7) w = std::max(w, fm.horizontalAdvance("HIGH-ORDER") + 48);
    grid_->setColumnWidth(c, w);
    total += w;
  }
  const int shown = std::min(std::max(grid_->rowCount(), 1), kVisibleRows);
  const int height = grid_->horizontalHeader()->sizeHint().height() + shown * (fm.height() + 8) + 2 * grid_->frameWidth();
  const int scroll = grid_->rowCount() > kVisibleRows ? grid_->verticalScrollBar()->sizeHint().width() : 0;
  grid_->setMinimumWidth(total + 2 * grid_->frameWidth() + scroll);
  grid_->setMinimumHeight(height);
  grid_->setMaximumHeight(grid_->rowCount() > kVisibleRows ? QWIDGETSIZE_MAX : height);
}

// ---------------------------------------------------------------------------
// the floating controls

void DesignWindow::CloseFloating() {
  if (editor_) {
    // The box is deleted later (it may be inside its own event); until then it
    // is hidden and no longer answers to its name.
    editor_->hide();
    editor_->setObjectName(QString());
    editor_ = nullptr;
    main_.session().sheet.txtDataEntryVisible = false;
    grid_->removeCellWidget(main_.session().sheet.editRow - 1, main_.session().sheet.editCol);
  }
  if (combo_) {
    combo_->hide();
    combo_->setObjectName(QString());
    combo_ = nullptr;
    main_.session().sheet.ComboGlassVisible = main_.session().sheet.CombotipoVisible = false;
    grid_->removeCellWidget(comboRow_ - 1, comboCol_);
  }
}

void DesignWindow::CommitEdits() {
  DesignSheet& s = main_.session().sheet;
  if (editor_) {
    s.txtDataEntry = S(editor_->text());
    const int row = s.editRow, col = s.editCol;
    CommitCellEdit(s);
    CloseFloating();
    ReloadCell(row, col);
  } else if (combo_) {
    CloseFloating();
  }
}

void DesignWindow::ClickCell(int row, int col) {
  DesignSheet& s = main_.session().sheet;
  if (row < 1 || row >= s.Rows()) return;
  CommitEdits();
  if (col == 1) {
    if (AskYesNo(this, "Aperture Stop on this Surface?", QString("Surface N°%1").arg(row))) {
      MarkStopRow(s, row);
      main_.session().design.StopSurf = row;
      ReloadGrid();
      main_.RunUpdate();
    }
  } else if (col >= 2 && col <= 4) {
    OpenEditor(row, col);
  } else if (col == 5 || col == 7) {
    OpenCombo(row, col);
  }
}

void DesignWindow::OpenEditor(int row, int col) {
  DesignSheet& s = main_.session().sheet;
  if (!s.BeginCellEdit(row, col)) return;
  editor_ = new QLineEdit(Q(s.txtDataEntry));
  editor_->setObjectName("txtDataEntry");
  editor_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  FilterKeys(editor_, KeyFilter::NumericSilent);
  editor_->installEventFilter(this);
  grid_->setCurrentCell(row - 1, col);
  grid_->setCellWidget(row - 1, col, editor_);
  editor_->setFocus();
  editor_->selectAll();
}

void DesignWindow::OpenCombo(int row, int col) {
  DesignSheet& s = main_.session().sheet;
  combo_ = new QComboBox;
  comboRow_ = row;
  comboCol_ = col;
  int selected = 0;
  if (col == 5) {
    combo_->setObjectName("ComboGlass");
    for (int i = 0; i < static_cast<int>(kComboGlassEntries.size()); ++i) {
      combo_->addItem(kComboGlassEntries[i]);
      if (s.Cell(row, 5) == kComboGlassEntries[i]) selected = i;
    }
    s.ComboGlassVisible = true;
  } else {
    combo_->setObjectName("Combotipo");
    for (int i = 0; i < static_cast<int>(kCombotipoEntries.size()); ++i) {
      combo_->addItem(kCombotipoEntries[i]);
      if (s.Cell(row, 7) == kCombotipoEntries[i]) selected = i;
    }
    s.CombotipoVisible = true;
  }
  combo_->setCurrentIndex(selected);
  combo_->installEventFilter(this);
  QComboBox* c = combo_;
  connect(c, &QComboBox::activated, this, [this, row, col](int index) {
    if (col == 5) ChooseMedium(row, index);
    else ChooseType(row, index);
  });
  grid_->setCurrentCell(row - 1, col);
  grid_->setCellWidget(row - 1, col, c);
  c->setFocus();
  // The list opens at once, as a click on a list cell means choosing from it
  // (not on a screen-less platform, where there is no one to choose).
  if (isVisible() && QGuiApplication::platformName() != "offscreen")
    QTimer::singleShot(0, c, [c] { c->showPopup(); });
}

void DesignWindow::ChooseMedium(int row, int index) {
  DesignState& d = main_.session().design;
  DesignSheet& s = main_.session().sheet;
  if (index < 0 || index >= static_cast<int>(kComboGlassEntries.size())) return;
  const int code = MediumCodeOfEntry(kComboGlassEntries[index]);
  CloseFloating();
  if (code == kMediumAirPosit || code == kMediumAirNegat) {
    PickAir(d, s, row, code == kMediumAirNegat);
    ReloadCell(row, 5);
    ReloadCell(row, 6);
    return;
  }
  if (main_.PickMedium(row, code)) main_.RunUpdate();
}

void DesignWindow::ChooseType(int row, int index) {
  DesignState& d = main_.session().design;
  DesignSheet& s = main_.session().sheet;
  const int type = index + 1;
  CloseFloating();
  if (type == kSphere || type == kObsScreen) {
    PickSurfaceType(d, s, row, type);
    ReloadCell(row, 7);
    return;
  }
  if (type != kConic && type != kHighOrder) return;
  s.Cell(row, 7) = SurfTypeText(type);
  ReloadCell(row, 7);
  if (!main_.EditSurfaceCoefficients(row, type == kHighOrder)) {
    // Cancel: the list shows the stored type again.
    s.Cell(row, 7) = SurfTypeText(d.SurfType[row]);
    ReloadCell(row, 7);
  }
}

void DesignWindow::SurfaceCountEntered() {
  if (loading_) return;
  DesignState& d = main_.session().design;
  DesignSheet& s = main_.session().sheet;
  const QString typed = txtnumsup_->text();
  if (S(typed) == s.txtnumsup && d.SurfCount == s.SurfaceRows()) return;
  const double v = std::abs(ParseLeadingNumber(S(typed)));
  if (!(v >= 1 && v <= kMaxSurfaces)) {
    s.cmdupdateEnabled = false;
    cmdupdate_->setEnabled(false);
    Tell(this, "Input Error");
    return;
  }
  const int n = static_cast<int>(v);
  const int old = s.SurfaceRows();
  CommitEdits();
  if (d.SurfCount == old && n > old) {
    InsertSurfaces(d, s, old + 1, n - old);
  } else if (d.SurfCount == old && n < old) {
    DeleteSurfaces(d, s, n + 1, old);
  } else {
    s.ApplySurfaceCount(S(typed));
  }
  s.cmdupdateEnabled = true;
  Reload();
}

// ---------------------------------------------------------------------------

bool DesignWindow::eventFilter(QObject* watched, QEvent* event) {
  DesignSheet& s = main_.session().sheet;
  if (editor_ && watched == editor_) {
    if (event->type() == QEvent::KeyPress) {
      auto* key = static_cast<QKeyEvent*>(event);
      const int row = s.editRow, col = s.editCol;
      switch (key->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
          CommitEdits();
          if (row < s.SurfaceRows()) OpenEditor(row + 1, col);
          return true;
        case Qt::Key_Tab:
          CommitEdits();
          if (col < 4) OpenEditor(row, col + 1);
          else if (row < s.SurfaceRows()) OpenEditor(row + 1, 2);
          return true;
        case Qt::Key_Escape:
          CloseFloating();
          grid_->setFocus();
          return true;
        default:
          break;
      }
    } else if (event->type() == QEvent::FocusOut) {
      auto* focus = static_cast<QFocusEvent*>(event);
      if (focus->reason() != Qt::PopupFocusReason && focus->reason() != Qt::ActiveWindowFocusReason)
        QTimer::singleShot(0, this, [this] { if (editor_ && !editor_->hasFocus()) CommitEdits(); });
    }
    return false;
  }
  if (combo_ && watched == combo_ && event->type() == QEvent::KeyPress &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
    CloseFloating();
    grid_->setFocus();
    return true;
  }
  if (watched == grid_->viewport() && event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    const QModelIndex at = grid_->indexAt(help->pos());
    const QString tip = at.isValid() && at.column() == 7 ? TypeToolTip(at.row() + 1) : QString();
    if (tip.isEmpty()) QToolTip::hideText();
    else QToolTip::showText(help->globalPos(), tip, grid_->viewport());
    return true;
  }
  if (watched == grid_ && event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    const int row = grid_->currentRow() + 1, col = grid_->currentColumn();
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter || key->key() == Qt::Key_F2) {
      if (col >= 2) ClickCell(row, col);
      return true;
    }
    // Typing a number on a number cell starts its edit with that character.
    const QString t = key->text();
    if (col >= 2 && col <= 4 && t.size() == 1 && t[0].unicode() >= 45 && t[0].unicode() <= 57) {
      ClickCell(row, col);
      if (editor_) editor_->setText(t);
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace ovrin::shell
