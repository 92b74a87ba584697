// FrmTilt: tilts and decenters of every surface and of the image plane.
// The tables hold the tilts in radians; here they are shown and typed in degrees.
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "core/design_edit.h"
#include "core/number_text.h"
#include "shell/dialogs.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {
enum Column { kSurf, kTiltX, kTiltY, kDecY, kDecX, kOrder, kColumns };
}

TiltWindow::TiltWindow(MainWindow& main) : main_(main) {
  setObjectName("FrmTilt");
  setWindowTitle("TILT/ DECENTER");
  table_ = new QTableWidget(this);
  table_->setObjectName("GridTilt");
  table_->setColumnCount(kColumns);
  table_->setHorizontalHeaderLabels(
      {"Surf.", "Tilt X (deg.)", "Tilt Y (deg.)", "Decenter Y (mm)", "Decenter X (mm)", "Order"});
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);

  auto* note = new QLabel("Tilt X turns a surface about the X axis, tilt Y about the Y axis, in degrees.\n"
                          "Order: \"Dec. + Tilt\" decenters first, \"Tilt + Dec.\" tilts first. "
                          "The last row is the image plane.",
                          this);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CmdOK");
  auto* reset = new QPushButton("Reset All", this);
  reset->setObjectName("CmdReset");
  auto* cancel = new QPushButton("Cancel", this);
  cancel->setObjectName("CmdCancel");
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(reset);
  buttons->addStretch(1);
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  auto* v = new QVBoxLayout(this);
  v->addWidget(table_, 1);
  v->addWidget(note);
  v->addLayout(buttons);

  connect(ok, &QPushButton::clicked, this, [this] { Store(); });
  connect(cancel, &QPushButton::clicked, this, [this] { close(); });
  connect(reset, &QPushButton::clicked, this, [this] {
    for (int r = 0; r < table_->rowCount(); ++r) {
      for (int c = kTiltX; c <= kDecX; ++c) table_->item(r, c)->setText("0");
      if (auto* o = qobject_cast<QComboBox*>(table_->cellWidget(r, kOrder))) o->setCurrentIndex(0);
    }
  });
  Load();
}

void TiltWindow::Load() {
  const DesignState& d = main_.session().design;
  const int n = d.SurfCount;
  table_->setRowCount(n + 1);
  loaded_.assign(n + 2, {});
  for (int i = 1; i <= n + 1; ++i) {
    const TiltEntry e = ReadTiltEntry(d, i);
    auto* surf = new QTableWidgetItem(i <= n ? QString(" %1").arg(i) : QString(" Image"));
    surf->setFlags(Qt::ItemIsEnabled);
    surf->setBackground(palette().button());
    table_->setItem(i - 1, kSurf, surf);
    const QString values[4] = {Q(ShortestText(RoundTo(e.tilt_x_deg, 10))), Q(ShortestText(RoundTo(e.tilt_y_deg, 10))),
                               Q(ShortestText(e.dec_y)), Q(ShortestText(e.dec_x))};
    for (int c = kTiltX; c <= kDecX; ++c) {
      loaded_[i][c - kTiltX] = values[c - kTiltX];
      auto* item = new QTableWidgetItem(values[c - kTiltX]);
      item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      table_->setItem(i - 1, c, item);
    }
    auto* order = new QComboBox(table_);
    order->setObjectName(QString("ComboOrder%1").arg(i));
    order->addItems({"Dec. + Tilt", "Tilt + Dec."});
    order->setCurrentIndex(e.order == 2 ? 1 : 0);
    table_->setCellWidget(i - 1, kOrder, order);
  }
  table_->resizeColumnsToContents();
  if (auto* o = table_->cellWidget(0, kOrder)) table_->setColumnWidth(kOrder, o->sizeHint().width() + 8);
  for (int c = kTiltX; c <= kDecX; ++c)
    table_->setColumnWidth(c, std::max(table_->columnWidth(c), fontMetrics().horizontalAdvance("-000.000000") + 16));
  const int rows = std::min(n + 1, 14);
  table_->setMinimumHeight(table_->horizontalHeader()->sizeHint().height() + rows * table_->rowHeight(0) + 4);
  table_->setMinimumWidth(table_->horizontalHeader()->length() + 24);
}

void TiltWindow::Store() {
  DesignState& d = main_.session().design;
  const int n = d.SurfCount;
  if (table_->rowCount() != n + 1) {
    Tell(this, "The number of surfaces has changed: the window is opened again.");
    Load();
    return;
  }
  std::vector<TiltEntry> entries(n + 2);
  for (int i = 1; i <= n + 1; ++i) {
    double v[4];
    for (int c = kTiltX; c <= kDecX; ++c) {
      const QString t = table_->item(i - 1, c)->text().trimmed();
      if (!t.isEmpty() && !IsNumberText(S(t))) {
        table_->setCurrentCell(i - 1, c);
        Tell(this, " Invalid entry !");
        return;
      }
      v[c - kTiltX] = ParseLeadingNumber(S(t));
    }
    auto* order = qobject_cast<QComboBox*>(table_->cellWidget(i - 1, kOrder));
    entries[i] = {v[0], v[1], static_cast<float>(v[2]), static_cast<float>(v[3]),
                  order && order->currentIndex() == 1 ? 2 : 1};
  }
  for (int i = 1; i <= n + 1; ++i) {
    const double a = d.TiltAInput[i], b = d.TiltBInput[i];
    WriteTiltEntry(d, i, entries[i]);
    // Degrees shown rounded must not move a tilt nobody touched.
    if (table_->item(i - 1, kTiltX)->text().trimmed() == loaded_[i][0]) d.TiltAInput[i] = a;
    if (table_->item(i - 1, kTiltY)->text().trimmed() == loaded_[i][1]) d.TiltBInput[i] = b;
  }
  main_.RunUpdate();
  close();
}

}  // namespace ovrin::shell
