#include "shell/glass_diagram_windows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontMetrics>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QTextDocument>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cmath>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

FrameOptions DiagramFrame() {
  FrameOptions o;
  o.panes = {"Picture1"};
  o.plot_aspect = 900.0 / 635.0;
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.focus_controls = false;
  o.text_pane = "TxtGlass";
  return o;
}

const char* DiagramName(GlassDiagramKind k) {
  switch (k) {
    case GlassDiagramKind::NdVd: return "FrmGlassNdVd";
    case GlassDiagramKind::PgF: return "FrmGlassPFE";
    case GlassDiagramKind::PP: return "FrmPvsP";
  }
  return "";
}

const char* DiagramCaption(GlassDiagramKind k) {
  switch (k) {
    case GlassDiagramKind::NdVd: return "Nd-Vd Diagram";
    case GlassDiagramKind::PgF: return "Relative Partial Dispersion Diagram";
    case GlassDiagramKind::PP: return "P - P Diagram";
  }
  return "";
}

// The wavelength a glass' index is given at: the design's first, else the d line.
double ReferenceWavelength(MainWindow& main) {
  const float w = main.session().design.Wavelength[0];
  return w > 0 ? RoundTo(w, 6) : kLineD;
}

void CloseFrame(QWidget* w) {
  if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) sub->close();
  else w->close();
}

}  // namespace

// ---------------------------------------------------------------------------
// FrmGlassNdVd, FrmGlassPFE, FrmPvsP

GlassDiagramWindow::GlassDiagramWindow(MainWindow& main, GlassDiagramKind kind)
    : AnalysisWindow(main, DiagramName(kind), DiagramCaption(kind), "GlassDiagrams", DiagramFrame()), kind_(kind) {
  int r = 0;
  panel_->addWidget(new QLabel("Catalogues", this), r++, 0, 1, 2);
  for (int ci = 0; ci < kCatalogueCount; ++ci) {
    const auto cat = static_cast<Catalogue>(ci);
    auto* box = new QCheckBox(CatalogueName(cat), this);
    box->setObjectName(QString("Chk") + CatalogueName(cat));
    const Rgb c = CatalogueColor(cat);
    box->setStyleSheet(QString("color: rgb(%1, %2, %3);").arg(c.r).arg(c.g).arg(c.b));
    box->setChecked(cat == Catalogue::Schott);
    connect(box, &QCheckBox::toggled, this, [this] { Update(); });
    catalogue_[static_cast<std::size_t>(ci)] = box;
    panel_->addWidget(box, r++, 0, 1, 2);
  }
  names_ = new QCheckBox("Glass names", this);
  names_->setObjectName("ChkNames");
  connect(names_, &QCheckBox::toggled, this, [this] { Redraw(); });
  panel_->addWidget(names_, r++, 0, 1, 2);
  pointer_ = new QLabel(this);
  pointer_->setObjectName("LblPointer");
  pointer_->setWordWrap(true);
  pointer_->setMinimumHeight(3 * pointer_->fontMetrics().height());
  panel_->addWidget(pointer_, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  // The marks and the ink follow the background at once.
  connect(backColor_, &QComboBox::currentIndexChanged, this, [this] { Redraw(); });
  plot_->setMouseTracking(true);
  plot_->installEventFilter(this);
  // The maps need no design: they are drawn at once.
  Update();
}

GlassDiagramSettings GlassDiagramWindow::Settings() const {
  GlassDiagramSettings s;
  s.kind = kind_;
  for (int ci = 0; ci < kCatalogueCount; ++ci)
    s.catalogues[static_cast<std::size_t>(ci)] = catalogue_[static_cast<std::size_t>(ci)]->isChecked();
  s.background = BackgroundIndex();
  s.names = names_->isChecked();
  s.selected = selected_;
  return s;
}

void GlassDiagramWindow::Recompute() {
  result_ = ComputeGlassDiagram(Settings());
  selected_ = -1;
  computed_ = true;
  std::string text = "Point at a glass to read it; click it for its data.\n";
  text += std::to_string(result_.glasses.size()) + " glasses shown.\n";
  if (!result_.left_out.empty()) {
    text += "Not shown (no dispersion formula, or no dispersion):";
    for (const std::string& n : result_.left_out) text += " " + n;
    text += "\n";
  }
  SetText(text);
  Redraw();
}

void GlassDiagramWindow::Redraw() {
  if (!computed_) return;
  RecordingCanvas c;
  DrawGlassDiagram(result_, Settings(), c);
  plot_->SetPlot(c);
}

int GlassDiagramWindow::GlassUnder(const QPointF& at) const {
  // Five pixels each way, in the units of the axes.
  const QPointF a = plot_->ToPlot(at), b = plot_->ToPlot(at + QPointF(5, 5));
  return GlassNear(result_, a.x(), a.y(), std::fabs(b.x() - a.x()), std::fabs(b.y() - a.y()));
}

void GlassDiagramWindow::ShowGlass(int index) {
  if (index < 0 || index >= static_cast<int>(result_.glasses.size())) return;
  selected_ = index;
  const GlassMark& m = result_.glasses[static_cast<std::size_t>(index)];
  SetText(GlassDataText(m.catalogue, *m.row, ReferenceWavelength(main_)));
  Redraw();
}

QString GlassDiagramWindow::Readout() const { return pointer_->text(); }

bool GlassDiagramWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == plot_ && computed_) {
    if (event->type() == QEvent::MouseMove) {
      const int i = GlassUnder(static_cast<QMouseEvent*>(event)->position());
      pointer_->setText(i < 0 ? QString() : Q(GlassReadout(result_.glasses[static_cast<std::size_t>(i)])));
    } else if (event->type() == QEvent::MouseButtonPress) {
      auto* e = static_cast<QMouseEvent*>(event);
      if (e->button() == Qt::LeftButton) ShowGlass(GlassUnder(e->position()));
    }
  }
  return AnalysisWindow::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------
// FrmGlassData

namespace {

// A cell shown with fixed decimals and sorted by its value.
class NumberItem : public QTableWidgetItem {
 public:
  NumberItem(double v, int decimals, bool known = true)
      : QTableWidgetItem(known ? Q(FormatFixed(v, decimals)) : QString()), value_(known ? v : -1e300) {
    setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  }
  bool operator<(const QTableWidgetItem& other) const override {
    if (const auto* o = dynamic_cast<const NumberItem*>(&other)) return value_ < o->value_;
    return QTableWidgetItem::operator<(other);
  }

 private:
  double value_;
};

constexpr int kGlassColumns = 15;

}  // namespace

GlassDataWindow::GlassDataWindow(MainWindow& main) : main_(main) {
  setObjectName("FrmGlassData");
  setWindowTitle("Glass Catalog");
  catalogue_ = new QComboBox(this);
  catalogue_->setObjectName("ComboCatalog");
  for (int ci = 0; ci < kCatalogueCount; ++ci) catalogue_->addItem(CatalogueName(static_cast<Catalogue>(ci)));
  search_ = new QLineEdit(this);
  search_->setObjectName("TxtSearch");
  search_->setPlaceholderText("part of a name");
  search_->setClearButtonEnabled(true);
  wavelength_ = NamedNumberBox("TxtWl", Q(ShortestText(ReferenceWavelength(main))), this);
  FilterKeys(wavelength_, KeyFilter::NumericSilent);

  table_ = new QTableWidget(this);
  table_->setObjectName("GridGlass");
  table_->setColumnCount(kGlassColumns);
  table_->setHorizontalHeaderLabels({"Name", "nd", "vd", "P g,F", "n", "Formula", "C1", "C2", "C3", "C4", "C5",
                                     "C6", "Density", "Expansion", "Catalogue"});
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
  table_->setMinimumSize(table_->fontMetrics().horizontalAdvance('0') * 120, 14 * (table_->fontMetrics().height() + 6));
  table_->setColumnHidden(14, true);
  data_ = new QPlainTextEdit(this);
  data_->setObjectName("TxtData");
  data_->setReadOnly(true);
  data_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  data_->setMaximumHeight(9 * data_->fontMetrics().height());

  auto* top = new QHBoxLayout;
  top->addWidget(new QLabel("Catalogue", this));
  top->addWidget(catalogue_);
  top->addSpacing(12);
  top->addWidget(new QLabel("Search", this));
  top->addWidget(search_, 1);
  top->addSpacing(12);
  top->addWidget(new QLabel("Index at (um)", this));
  top->addWidget(wavelength_);

  QPushButton* print = NamedButton("Print", "&Print", this);
  QPushButton* saveText = NamedButton("CmdSaveText", "Save as &text", this);
  QPushButton* help = NamedButton("Help", "&Help", this);
  QPushButton* exit = NamedButton("Exit", "&Exit", this);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(print);
  buttons->addWidget(saveText);
  buttons->addStretch(1);
  buttons->addWidget(help);
  buttons->addWidget(exit);

  auto* v = new QVBoxLayout(this);
  v->addLayout(top);
  v->addWidget(table_, 1);
  v->addWidget(data_);
  v->addLayout(buttons);

  connect(catalogue_, &QComboBox::currentIndexChanged, this, [this] { Fill(); });
  connect(search_, &QLineEdit::textChanged, this, [this] { Fill(); });
  connect(wavelength_, &QLineEdit::editingFinished, this, [this] { Fill(); });
  connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { ShowSelected(); });
  connect(help, &QPushButton::clicked, this, [this] { main_.OpenHelp("GlassCatalog"); });
  connect(exit, &QPushButton::clicked, this, [this] { CloseFrame(this); });
  connect(print, &QPushButton::clicked, this, [this] {
    if (!AskYesNo(this, "Do you want to print this window?", windowTitle())) return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (!PrintTo(printer)) Tell(this, "Print Error!");
  });
  connect(saveText, &QPushButton::clicked, this, [this] {
    QString path = QFileDialog::getSaveFileName(this, "Save as Text", QString(), "Text (*.txt)");
    if (path.isEmpty()) return;
    if (QFileInfo(path).suffix().isEmpty()) path += ".txt";
    if (!SaveTextTo(path)) Tell(this, "Cannot write " + path);
  });
  resize(900, 560);
  Fill();
}

void GlassDataWindow::Fill() {
  const auto cat = static_cast<Catalogue>(std::max(0, catalogue_->currentIndex()));
  double wl = BoxValue(wavelength_);
  if (!(wl > 0.2 && wl < 15)) {
    wl = kLineD;
    wavelength_->setText(Q(ShortestText(wl)));
  }
  table_->horizontalHeaderItem(4)->setText(Q("n " + ShortestText(wl)));
  const auto rows = GlassTable(cat, S(search_->text()), wl);
  table_->setSortingEnabled(false);
  table_->clearContents();
  table_->setRowCount(static_cast<int>(rows.size()));
  for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
    const GlassTableRow& t = rows[static_cast<std::size_t>(i)];
    const GlassRow& g = *t.row;
    auto* name = new QTableWidgetItem(g.name);
    name->setData(Qt::UserRole, i);
    table_->setItem(i, 0, name);
    const bool dispersive = t.available && t.disp.vd != 0;
    table_->setItem(i, 1, new NumberItem(t.disp.nd, 6, t.available));
    table_->setItem(i, 2, new NumberItem(t.disp.vd, 2, dispersive));
    table_->setItem(i, 3, new NumberItem(t.disp.pgF, 4, dispersive));
    table_->setItem(i, 4, new NumberItem(t.index, 6, t.index != 0));
    table_->setItem(i, 5, new QTableWidgetItem(t.available ? FormulaName(g.formula) : "none published"));
    for (int k = 0; k < 6; ++k) {
      auto* c = new QTableWidgetItem(t.available ? QString::number(g.coef[k], 'g', 9) : QString());
      c->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      table_->setItem(i, 6 + k, c);
    }
    table_->setItem(i, 12, new NumberItem(g.density, 2, !std::isnan(g.density)));
    table_->setItem(i, 13, new NumberItem(g.alpha, 2, !std::isnan(g.alpha)));
    table_->setItem(i, 14, new QTableWidgetItem(CatalogueName(cat)));
  }
  table_->setSortingEnabled(true);
  table_->resizeColumnsToContents();
  data_->setPlainText(QString("%1 glasses. Click a column's head to sort by it; click a glass for its data.")
                          .arg(rows.size()));
}

void GlassDataWindow::ShowSelected() {
  const auto items = table_->selectedItems();
  if (items.isEmpty()) return;
  const int row = items.front()->row();
  const QTableWidgetItem* name = table_->item(row, 0);
  if (!name) return;
  const auto cat = static_cast<Catalogue>(std::max(0, catalogue_->currentIndex()));
  for (const GlassRow& g : CatalogueRows(cat)) {
    if (name->text() == g.name) {
      double wl = BoxValue(wavelength_);
      if (!(wl > 0.2 && wl < 15)) wl = kLineD;
      data_->setPlainText(Q(GlassDataText(cat, g, wl)));
      return;
    }
  }
}

QString GlassDataWindow::TableText() const {
  QString out = catalogue_->currentText() + "\n";
  for (int c = 0; c < kGlassColumns - 1; ++c) out += (c ? "\t" : "") + table_->horizontalHeaderItem(c)->text();
  out += "\n";
  for (int r = 0; r < table_->rowCount(); ++r) {
    for (int c = 0; c < kGlassColumns - 1; ++c) {
      const QTableWidgetItem* item = table_->item(r, c);
      out += (c ? "\t" : "") + (item ? item->text() : QString());
    }
    out += "\n";
  }
  return out;
}

bool GlassDataWindow::SaveTextTo(const QString& path) const {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Truncate)) return false;
  const QByteArray bytes = TableText().toUtf8();
  return file.write(bytes) == bytes.size();
}

bool GlassDataWindow::PrintTo(QPrinter& printer) const {
  // A plain table in a small type: every glass on as many pages as it takes.
  QString html = "<h3>" + catalogue_->currentText().toHtmlEscaped() + "</h3>";
  html += "<table cellspacing='0' cellpadding='2' style='font-size:7pt'><tr>";
  for (int c = 0; c < kGlassColumns - 1; ++c)
    html += "<th align='left'>" + table_->horizontalHeaderItem(c)->text().toHtmlEscaped() + "</th>";
  html += "</tr>";
  for (int r = 0; r < table_->rowCount(); ++r) {
    html += "<tr>";
    for (int c = 0; c < kGlassColumns - 1; ++c) {
      const QTableWidgetItem* item = table_->item(r, c);
      html += QString("<td align='%1'>").arg(c == 0 || c == 5 ? "left" : "right") +
              (item ? item->text().toHtmlEscaped() : QString()) + "</td>";
    }
    html += "</tr>";
  }
  html += "</table>";
  QTextDocument doc;
  doc.setHtml(html);
  doc.print(&printer);
  return printer.printerState() != QPrinter::Error;
}

// ---------------------------------------------------------------------------
// FrmEnvAnalysis

namespace {

FrameOptions EnvironmentFrame() {
  FrameOptions o;
  o.panes = {};
  o.wavelengths = FrameOptions::Wavelengths::None;
  o.focus_controls = false;
  o.text_pane = "TxtTable";
  return o;
}

}  // namespace

EnvironmentWindow::EnvironmentWindow(MainWindow& main)
    : AnalysisWindow(main, "FrmEnvAnalysis", "Environmental Analysis", "Environment", EnvironmentFrame()) {
  const DesignState& d = main.session().design;
  double t0, p0;
  DesignConditions(d, t0, p0);
  // The conditions last asked for in the Environmental Conditions dialog.
  if (d.EnvPressActual != 0) t0 = d.EnvTempActual, p0 = d.EnvPressActual;
  temp_ = NamedNumberBox("TxtTemp", Q(ShortestText(t0)), this);
  press_ = NamedNumberBox("TxtPress", Q(ShortestText(p0)), this);
  mirror_ = NamedNumberBox("TxtMirrorExp", "0", this);
  tube_ = NamedNumberBox("TxtTubeExp", "0", this);
  for (QLineEdit* b : {temp_, press_, mirror_, tube_}) {
    FilterKeys(b, KeyFilter::NumericSilent);
    SelectAllOnFocus(b);
  }
  glassGrows_ = new QCheckBox("Lenses grow with their glass", this);
  glassGrows_->setObjectName("ChkGlassExp");
  glassGrows_->setChecked(true);
  int r = 0;
  panel_->addWidget(new QLabel("Actual conditions", this), r++, 0, 1, 2);
  panel_->addWidget(new QLabel("Temperature (°C)", this), r, 0);
  panel_->addWidget(temp_, r++, 1);
  panel_->addWidget(new QLabel("Pressure (atm)", this), r, 0);
  panel_->addWidget(press_, r++, 1);
  panel_->addWidget(new QLabel("Expansion (1e-6/K)", this), r++, 0, 1, 2);
  panel_->addWidget(new QLabel("Mirror blanks", this), r, 0);
  panel_->addWidget(mirror_, r++, 1);
  panel_->addWidget(new QLabel("Tube", this), r, 0);
  panel_->addWidget(tube_, r++, 1);
  panel_->addWidget(glassGrows_, r++, 0, 1, 2);
  auto* note = new QLabel("Pyrex 3.3, Zerodur 0.05,\nsteel 12, aluminium 23.", this);
  note->setObjectName("LblExpansions");
  panel_->addWidget(note, r++, 0, 1, 2);
  panel_->setRowStretch(r, 1);
  // Room for the table's widest line.
  const QFontMetrics fm(text_->font());
  text_->setMinimumSize(fm.horizontalAdvance('0') * 100, fm.height() * 22);
}

void EnvironmentWindow::SetConditions(double temperature, double pressure) {
  temp_->setText(Q(ShortestText(temperature)));
  press_->setText(Q(ShortestText(pressure)));
}

void EnvironmentWindow::Recompute() {
  const double t = BoxValue(temp_), p = BoxValue(press_);
  if (p <= 0 || p > 10 || t < -100 || t > 140) {
    Tell(this, "Invalid Entry: temperature -100 to 140 °C, pressure above 0 and up to 10 atm.", windowTitle());
    return;
  }
  EnvironmentSettings s;
  s.temperature = t;
  s.pressure = p;
  s.mirrorExpansion = BoxValue(mirror_);
  s.tubeExpansion = BoxValue(tube_);
  s.glassExpansion = glassGrows_->isChecked();
  result_ = ComputeEnvironment(main_.session().design, s);
  SetText(EnvironmentText(result_));
  if (!result_.error.empty()) Tell(this, Q(result_.error), windowTitle());
}

}  // namespace ovrin::shell
