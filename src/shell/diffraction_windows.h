#pragma once
// The diffraction windows: FrmDiffPSF, FrmMTFfield with its text window
// FrmMTFText, FrmMTFtfocus and FrmZernike. Each copies its controls into the
// engine's settings, runs it and hands the result to the canvas.
#include <QWidget>

#include "analysis/wave/diffraction.h"
#include "analysis/wave/diffraction_draw.h"
#include "analysis/wave/zernike.h"
#include "shell/analysis_window.h"

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QRadioButton;
class QScrollBar;
class QTableWidget;

namespace ovrin::shell {

class PsfWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit PsfWindow(MainWindow& main);
  PsfSettings Settings() const;
  PsfView View() const;
  const PsfResult& result() const { return result_; }
  // Cmdautofocus: the focus fit of the selected wavelength, then the update.
  void AutoFocusAndUpdate();
  // Rotation, colour, back and zoom: the stored intensity drawn again.
  void Redraw() override;

 protected:
  void Recompute() override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  PsfResult result_;
  QButtonGroup* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QRadioButton* unaberrated_ = nullptr;
  QComboBox* colour_ = nullptr;       // Combo1
  QComboBox* fill_ = nullptr;         // Combo2
  QComboBox* back_ = nullptr;         // Combo3
  QScrollBar* rot_[3]{};
  QLabel* rotEcho_[3]{};      // Label21..Label23
  QLabel* strehl_ = nullptr;
  PlotView* map_ = nullptr;           // Picture2
  PlotView* scale_ = nullptr;         // Picture4
  QProgressBar* progress_ = nullptr;
  double surfaceZoom_ = 1, mapZoom_ = 1;
};

class MtfWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit MtfWindow(MainWindow& main);
  MtfSettings Settings() const;
  const MtfResult& result() const { return result_; }
  void AutoFocusAndUpdate();
  // Command2: the text window of the last update; nothing before one.
  QWidget* ShowText();

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  MtfResult result_;
  QButtonGroup* sampling_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

class MtfTextWindow : public QWidget {
  Q_OBJECT
 public:
  MtfTextWindow(const MtfResult& r, QWidget* parent);
  QString text() const;

 private:
  QPlainTextEdit* text_ = nullptr;
};

class MtfFocusWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit MtfFocusWindow(MainWindow& main);
  MtfFocusSettings Settings() const;
  const MtfFocusResult& result() const { return result_; }
  void AutoFocusAndUpdate();

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  MtfFocusResult result_;
  QButtonGroup* sampling_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QLineEdit* defocus_ = nullptr;      // Text3
  QLabel* fieldValue_ = nullptr;      // Label7
  QProgressBar* progress_ = nullptr;
};

class ZernikeWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit ZernikeWindow(MainWindow& main);
  ZernikeSettings Settings() const;
  const ZernikeResult& result() const { return result_; }
  QTableWidget* grid() const { return grid_; }

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  ZernikeResult result_;
  QLineEdit* focalRadius_ = nullptr;
  QLabel* fieldCaption_ = nullptr;    // Label28
  QLabel* fieldValue_ = nullptr;      // Label7
  QTableWidget* grid_ = nullptr;      // MSFlexGrid1
};

}  // namespace ovrin::shell
