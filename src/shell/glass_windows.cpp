// The glass pickers of the seven catalogues and the direct-index window.
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cmath>

#include "core/design_edit.h"
#include "core/number_text.h"
#include "glass/glass_pick.h"
#include "shell/dialogs.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QString Fixed(double v, int decimals) { return std::isnan(v) ? QString() : Q(FormatFixed(v, decimals)); }

}  // namespace

GlassPicker::GlassPicker(MainWindow& main, Catalogue catalogue, int row)
    : QDialog(&main), main_(main), catalogue_(catalogue), row_(row) {
  setObjectName(PickerWindowName(catalogue));
  setWindowTitle(QString("%1  Glass Catalog  -  Surface %2").arg(CatalogueName(catalogue)).arg(row));
  const DesignState& d = main.session().design;

  filter_ = new QLineEdit(this);
  filter_->setObjectName("TxtFind");
  filter_->setPlaceholderText("part of a glass name");
  filter_->setClearButtonEnabled(true);
  list_ = new QTableWidget(this);
  list_->setObjectName("ListGlass");
  list_->setColumnCount(4);
  list_->setHorizontalHeaderLabels(
      {"Glass", "nd", "vd", QString("n at %1 micr.").arg(Q(FormatFixed(d.Wavelength[0], 4)))});
  list_->verticalHeader()->hide();
  list_->verticalHeader()->setDefaultSectionSize(list_->fontMetrics().height() + 6);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  list_->horizontalHeader()->setStretchLastSection(true);

  const bool negative = row >= 1 && row < main.session().sheet.Rows() &&
                        Q(main.session().sheet.Cell(row, 6)).trimmed().startsWith('-');
  auto* note = new QLabel(negative ? "The space after this surface runs backwards (after a mirror):\n"
                                     "the glass takes a negative index."
                                   : "Rows in grey have no dispersion data and cannot be chosen.",
                          this);
  note->setObjectName("LblNote");
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CmdOK");
  ok->setDefault(true);
  auto* cancel = new QPushButton("Cancel", this);
  cancel->setObjectName("CmdCancel");

  auto* find = new QHBoxLayout;
  find->addWidget(new QLabel("Find", this));
  find->addWidget(filter_, 1);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(note, 1);
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  auto* v = new QVBoxLayout(this);
  v->addLayout(find);
  v->addWidget(list_, 1);
  v->addLayout(buttons);

  connect(filter_, &QLineEdit::textChanged, this, [this](const QString& t) { Fill(t); });
  connect(list_, &QTableWidget::cellDoubleClicked, this, [this] { Choose(); });
  connect(ok, &QPushButton::clicked, this, [this] { Choose(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  Fill({});
  const int width = list_->horizontalHeader()->length() + list_->verticalScrollBar()->sizeHint().width() + 40;
  resize(std::max(width, 460), list_->fontMetrics().height() * 28);
  CenterWindow(this, 2, 2);
}

void GlassPicker::Fill(const QString& filter) {
  const DesignState& d = main_.session().design;
  const NameTable* names = d.GlassNames(MediumCodeOf(catalogue_));
  const bool current = row_ >= 1 && row_ < kSurfTableSize && d.MediumCode[row_] == MediumCodeOf(catalogue_);
  const std::string chosen = current && names ? (*names)[row_] : std::string();
  const auto rows = GlassList(catalogue_, S(filter.trimmed()));
  list_->setRowCount(static_cast<int>(rows.size()));
  GlassLookup lookup;
  lookup.GlassWl = d.Wavelength[0] > 0 ? d.Wavelength[0] : 0.5876f;
  int select = rows.empty() ? -1 : 0;
  for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
    const GlassRow& g = *rows[i].row;
    QString n;
    if (rows[i].available) {
      lookup.GlassName = g.name;
      try {
        lookup.Lookup(catalogue_);
        n = Q(FormatFixed(lookup.GlassIndex, 6));
      } catch (const GlassRangeError&) {
        n = "out of range";
      }
    }
    const QString cells[4] = {g.name, Fixed(g.nd, 5), Fixed(g.vd, 2), n};
    for (int c = 0; c < 4; ++c) {
      auto* item = new QTableWidgetItem(cells[c]);
      item->setFlags(rows[i].available ? (Qt::ItemIsEnabled | Qt::ItemIsSelectable) : Qt::NoItemFlags);
      if (c > 0) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      list_->setItem(i, c, item);
    }
    if (g.name == chosen) select = i;
  }
  if (select >= 0) {
    list_->selectRow(select);
    list_->scrollToItem(list_->item(select, 0), QAbstractItemView::PositionAtCenter);
  }
}

void GlassPicker::Choose() {
  const int r = list_->currentRow();
  QTableWidgetItem* item = r >= 0 ? list_->item(r, 0) : nullptr;
  if (!item || !(item->flags() & Qt::ItemIsEnabled) || list_->selectedItems().isEmpty()) {
    Tell(this, "Choose a glass of the list.");
    return;
  }
  Session& s = main_.session();
  main_.CommitDesignEdits();
  bool picked = false;
  // A wavelength of the design outside the glass' formula ends as a message.
  if (!RunEngine(this, [&] { picked = PickCatalogueGlass(s.design, s.sheet, s.media, row_, catalogue_,
                                                         S(item->text())); }))
    return;
  if (!picked) {
    Tell(this, "This glass cannot be used: the catalogue gives no dispersion formula for it.");
    return;
  }
  accept();
}

// ---------------------------------------------------------------------------

DirectIndexDialog::DirectIndexDialog(MainWindow& main, int row) : QDialog(&main), main_(main), row_(row) {
  setObjectName("FrmDirect");
  setWindowTitle(QString("DIRECT Index  -  Surface %1").arg(row));
  const DesignState& d = main.session().design;
  const int count = std::max<int>(1, d.WlCount);
  const bool direct = row >= 1 && row < kSurfTableSize && d.MediumCode[row] == kMediumDirect;
  auto* form = new QFormLayout;
  for (int k = 0; k < 6; ++k) {
    boxes_[k] = new QLineEdit(this);
    boxes_[k]->setObjectName(QString("TxtIndex%1").arg(k + 1));
    FilterKeys(boxes_[k], KeyFilter::NumericSilent);
    if (direct && d.IndexWl[k + 1][row] != 0) boxes_[k]->setText(Q(ShortestText(std::fabs(d.IndexWl[k + 1][row]))));
    if (k < count) form->addRow(QString("Index at WL %1  (%2 micr.)").arg(k + 1).arg(Q(ShortestText(d.Wavelength[k]))),
                                boxes_[k]);
    else boxes_[k]->hide();
  }
  auto* note = new QLabel("Type the refractive index for each wavelength in use.\n"
                          "After a mirror the sign is set by the program.",
                          this);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CmdOK");
  ok->setDefault(true);
  auto* cancel = new QPushButton("Cancel", this);
  cancel->setObjectName("CmdCancel");
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  auto* v = new QVBoxLayout(this);
  v->addLayout(form);
  v->addWidget(note);
  v->addLayout(buttons);
  connect(ok, &QPushButton::clicked, this, [this] { Ok(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  CenterWindow(this, 2, 2);
}

void DirectIndexDialog::Ok() {
  Session& s = main_.session();
  std::array<double, kMaxWavelengths> n{};
  const int count = std::max<int>(1, s.design.WlCount);
  for (int k = 0; k < count; ++k) {
    n[k] = NumberIn(boxes_[k]);
    if (!IsNumberText(S(boxes_[k]->text())) || std::fabs(n[k]) < 1 || std::fabs(n[k]) > 5) {
      Tell(this, "Invalid Entry: an index between 1 and 5 is needed for every wavelength.");
      boxes_[k]->setFocus();
      return;
    }
  }
  main_.CommitDesignEdits();
  if (!PickDirectIndices(s.design, s.sheet, row_, n)) {
    Tell(this, kInvalidEntry);
    return;
  }
  accept();
}

}  // namespace ovrin::shell
