#pragma once
// FrmReport (the design's data report), FrmSagitta (the sagitta table, and in
// its second mode the aberration allowances), FrmUniv (a page of text) and
// FrmExportAberrator (the wave front written as an .OPD file).
#include <QDialog>
#include <QWidget>

#include "analysis/wave/wavefront.h"
#include "output/aberrator_export.h"
#include "output/text_page.h"
#include "shell/analysis_window.h"

class QLabel;
class QPlainTextEdit;
class QPrinter;
class QProgressBar;
class QRadioButton;

namespace ovrin::shell {

// Prints a text page on a printer, fitted to the paper with its proportions kept.
bool PrintPage(const TextPage& page, QPrinter& printer);

// A window whose picture is a page of text: the page is drawn in the pane and
// listed in the text pane; "Print page" prints the page itself and "Save as
// PDF" writes it as a document.
class PageWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  // `aspect`: width / height of the page pane.
  PageWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic, bool wavelength,
             double aspect);
  const TextPage& page() const { return page_; }
  bool SavePdfTo(const QString& path) const;

 protected:
  void Recompute() override;
  virtual TextPage MakePage() = 0;
  TextPage page_;
};

class ReportWindow : public PageWindow {
  Q_OBJECT
 public:
  explicit ReportWindow(MainWindow& main);

 protected:
  TextPage MakePage() override;
};

class SagittaWindow : public PageWindow {
  Q_OBJECT
 public:
  // Mode 1: the sagitta table; mode 2: the aberration allowances.
  SagittaWindow(MainWindow& main, int mode);
  int mode() const { return mode_; }

 protected:
  TextPage MakePage() override;

 private:
  int mode_;
};

// FrmUniv: a plain window with a text, Exit and Print.
class UnivWindow : public QWidget {
  Q_OBJECT
 public:
  UnivWindow(const QString& caption, const TextPage& page, QWidget* parent = nullptr);
  QString Text() const;

 private:
  TextPage page_;
  QPlainTextEdit* text_ = nullptr;
};

class ExportAberratorDialog : public QDialog {
  Q_OBJECT
 public:
  ExportAberratorDialog(MainWindow& main, const WavefrontSettings& wave, QWidget* parent = nullptr);
  // The grid chosen: 101, 201, 301 or 401.
  int Grid() const;
  void SetGrid(int n);
  // Command1 after the file dialog: computes, writes `path`, remembers it as
  // the design's path. False after "ERROR!" has been shown.
  bool CreateFile(const QString& path);

 private:
  void Create();
  MainWindow& main_;
  WavefrontSettings wave_;
  QRadioButton* options_[4]{};
  QProgressBar* progress1_;
  QProgressBar* progress2_;
};

}  // namespace ovrin::shell
