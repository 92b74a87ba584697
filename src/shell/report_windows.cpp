#include "shell/report_windows.h"

#include <QFileDialog>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "output/picture_file.h"
#include "output/qpainter_canvas.h"
#include "output/report.h"
#include "output/sagitta.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QPushButton* Button(const char* name, const QString& caption, QWidget* parent) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  return b;
}

FrameOptions PageFrame(bool wavelength, double aspect) {
  FrameOptions o;
  o.panes = {"picInner"};
  o.plot_aspect = aspect;
  o.wavelengths = wavelength ? FrameOptions::Wavelengths::One : FrameOptions::Wavelengths::None;
  o.focus_controls = false;
  o.text_pane = "TextPage";
  return o;
}

// The colours of the wavelength numbers, as the sixteen colour codes of the
// old palette give them.
QColor PaletteColor(int code) {
  static const QColor kColors[16] = {
      {0, 0, 0},     {0, 0, 128},   {0, 128, 0},   {0, 128, 128}, {128, 0, 0},   {128, 0, 128},
      {128, 128, 0}, {192, 192, 192}, {128, 128, 128}, {0, 0, 255}, {0, 255, 0},   {0, 255, 255},
      {255, 0, 0},   {255, 0, 255}, {255, 255, 0}, {255, 255, 255}};
  return kColors[code & 15];
}

}  // namespace

bool PrintPage(const TextPage& page, QPrinter& printer) {
  RecordingCanvas canvas;
  DrawPage(page, canvas);
  const PagePixels size = PageSize(page);
  QPainter p;
  if (!p.begin(&printer)) return false;
  const QRectF paper = printer.pageLayout().paintRectPixels(printer.resolution());
  const PageFit fit = FitToPage(size.width, size.height, paper.width(), paper.height());
  QPainterCanvas target(p, QRectF(0, 0, fit.width, fit.height));
  canvas.Replay(target);
  return p.end();
}

// ---------------------------------------------------------------------------
// the page windows

PageWindow::PageWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                       bool wavelength, double aspect)
    : AnalysisWindow(main, name, caption, help_topic, PageFrame(wavelength, aspect)) {
  QPushButton* print = Button("CmdPrintPage", "Print page", this);
  connect(print, &QPushButton::clicked, this, [this] {
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (!PrintPage(page_, printer)) Tell(this, "Print Error!", windowTitle());
  });
  QPushButton* pdf = Button("CmdSavePdf", "Save as PDF", this);
  connect(pdf, &QPushButton::clicked, this, [this] {
    const QString path = QFileDialog::getSaveFileName(this, "Save as PDF", QString(), "PDF document (*.pdf)");
    if (path.isEmpty()) return;
    if (!SavePdfTo(path.endsWith(".pdf", Qt::CaseInsensitive) ? path : path + ".pdf"))
      Tell(this, "The file could not be written.", windowTitle());
  });
  QPushButton* text = Button("CmdText", "Page as text", this);
  connect(text, &QPushButton::clicked, this, [this] {
    auto* w = new UnivWindow(windowTitle(), page_);
    w->setAttribute(Qt::WA_DeleteOnClose);
    if (auto* sub = main_.mdiArea()->addSubWindow(w)) {
      sub->setAttribute(Qt::WA_DeleteOnClose);
      sub->resize(720, 520);
      sub->show();
    }
  });
  // The page's text is drawn at a fixed size: the pane is wide enough for
  // its columns not to run into each other.
  plot_->setMinimumSize(static_cast<int>(600 * aspect), 600);
  panel_->addWidget(print, 0, 0, 1, 2);
  panel_->addWidget(pdf, 1, 0, 1, 2);
  panel_->addWidget(text, 2, 0, 1, 2);
  panel_->setRowStretch(3, 1);
}

void PageWindow::Recompute() {
  page_ = MakePage();
  RecordingCanvas canvas;
  DrawPage(page_, canvas);
  plot_->SetPlot(canvas);
  SetText(PageText(page_));
}

bool PageWindow::SavePdfTo(const QString& path) const {
  RecordingCanvas canvas;
  DrawPage(page_, canvas);
  const PagePixels size = PageSize(page_);
  try {
    SavePicture(canvas, size.width, size.height, S(path));
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

ReportWindow::ReportWindow(MainWindow& main) : PageWindow(main, "FrmReport", "Data Report", "Report", false, 1.3) {
  Update();
}

TextPage ReportWindow::MakePage() {
  const Session& s = main_.session();
  return ReportPage(ComputeReport(s.design, s.sheet));
}

SagittaWindow::SagittaWindow(MainWindow& main, int mode)
    : PageWindow(main, mode == 2 ? "FrmAbAll" : "FrmSagitta",
                 mode == 2 ? "   Aberration Allowances for current design" : "Sagitta Table",
                 mode == 2 ? "Allowances" : "Sagitta", mode == 2, mode == 2 ? 1.3 : 0.8),
      mode_(mode) {
  Update();
}

TextPage SagittaWindow::MakePage() {
  const DesignState& d = main_.session().design;
  if (mode_ != 2) return SagittaPage(ComputeSagitta(d));
  AllowanceSettings s;
  s.wavelength = std::max(1, ChosenWavelength());
  return AllowancesPage(ComputeAllowances(d, s));
}

// ---------------------------------------------------------------------------
// FrmUniv

UnivWindow::UnivWindow(const QString& caption, const TextPage& page, QWidget* parent)
    : QWidget(parent), page_(page) {
  setObjectName("FrmUniv");
  setWindowTitle(caption);
  text_ = new QPlainTextEdit(this);
  text_->setObjectName("Text1");
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text_->setPlainText(Q(PageText(page_)));
  QPushButton* exit = Button("Exit", "Exit", this);
  QPushButton* print = Button("Print", "Print", this);
  connect(exit, &QPushButton::clicked, this, [this] {
    if (auto* sub = qobject_cast<QWidget*>(parentWidget()); sub && sub->inherits("QMdiSubWindow")) sub->close();
    else close();
  });
  connect(print, &QPushButton::clicked, this, [this] {
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted && !PrintPage(page_, printer)) Tell(this, "Print Error!", windowTitle());
  });
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(print);
  buttons->addStretch(1);
  buttons->addWidget(exit);
  auto* v = new QVBoxLayout(this);
  v->addWidget(text_, 1);
  v->addLayout(buttons);
}

QString UnivWindow::Text() const { return text_->toPlainText(); }

// ---------------------------------------------------------------------------
// FrmExportAberrator

ExportAberratorDialog::ExportAberratorDialog(MainWindow& main, const WavefrontSettings& wave, QWidget* parent)
    : QDialog(parent ? parent : &main), main_(main), wave_(wave) {
  setObjectName("FrmExportAberrator");
  setWindowTitle("Export to ABERRATOR");
  auto* grid = new QGridLayout(this);
  for (int i = 0; i < 4; ++i) {
    options_[i] = new QRadioButton(kExportGridText[i], this);
    options_[i]->setObjectName(QString("Option%1").arg(i + 1));
    grid->addWidget(options_[i], i, 0);
  }
  options_[0]->setChecked(true);
  const int k = std::clamp(wave.wavelength, 1, 6);
  const DesignState& d = main.session().design;
  auto* wl = new QLabel(QString("Wavelength %1: %2 micron").arg(k).arg(Q(ShortestText(d.Wavelength[k - 1]))), this);
  wl->setObjectName("LblWL");
  QPalette pal = wl->palette();
  pal.setColor(QPalette::WindowText, PaletteColor(kExportWlColor[k - 1]));
  wl->setPalette(pal);
  grid->addWidget(wl, 0, 1);
  auto* warning = new QLabel(kExportWarning, this);
  warning->setObjectName("LblWarning");
  warning->setWordWrap(true);
  grid->addWidget(warning, 1, 1, 3, 1);
  auto bar = [this, grid](const char* name, const char* caption, int row) {
    auto* label = new QLabel(caption, this);
    auto* b = new QProgressBar(this);
    b->setObjectName(name);
    b->setRange(0, 100);
    b->setValue(0);
    grid->addWidget(label, row, 0);
    grid->addWidget(b, row, 1);
    return b;
  };
  progress1_ = bar("ProgressBar1", "Computation.....", 4);
  progress2_ = bar("ProgressBar2", "Exporting..........", 5);
  QPushButton* create = Button("Command1", "Create an .OPD file", this);
  QPushButton* cancel = Button("Command2", "Cancel", this);
  connect(create, &QPushButton::clicked, this, [this] { Create(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  grid->addWidget(create, 6, 0);
  grid->addWidget(cancel, 6, 1, Qt::AlignRight);
}

int ExportAberratorDialog::Grid() const {
  for (int i = 0; i < 4; ++i)
    if (options_[i]->isChecked()) return kExportGridSize[i];
  return kExportGridSize[0];
}

void ExportAberratorDialog::SetGrid(int n) {
  for (int i = 0; i < 4; ++i)
    if (kExportGridSize[i] == n) options_[i]->setChecked(true);
}

void ExportAberratorDialog::Create() {
  const QString path = QFileDialog::getSaveFileName(this, "Save", QString(), "file (*.OPD)");
  if (path.isEmpty()) return;
  if (CreateFile(path)) accept();
}

bool ExportAberratorDialog::CreateFile(const QString& path) {
  OpdExportSettings s;
  s.grid = Grid();
  s.wavelength = wave_.wavelength;
  s.actualBfl = wave_.actualBfl;
  s.focalRadius = wave_.focalRadius;
  s.fullField = wave_.fullField;
  s.angleYDeg = wave_.angleYDeg;
  s.angleXDeg = wave_.angleXDeg;
  DesignState& d = main_.session().design;
  const OpdExport e = ComputeOpdExport(d, s, [this](int p) { progress1_->setValue(p); });
  if (!e.error.empty()) {
    Tell(this, kExportError, windowTitle());
    return false;
  }
  d.DesignFileName = S(path);
  if (!WriteOpdFile(e, S(path), [this](int p) { progress2_->setValue(p); })) {
    Tell(this, kExportError, windowTitle());
    return false;
  }
  return true;
}

}  // namespace ovrin::shell
