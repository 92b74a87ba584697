#pragma once
// The wave front windows: FrmOPDfan with its text window FrmOPDfanText,
// FrmWFront, and the six versus windows. Each copies its controls into the
// engine's settings, runs it and hands the result to the canvas.
#include <QWidget>

#include "analysis/wave/opd_fan.h"
#include "analysis/wave/versus.h"
#include "analysis/wave/wavefront.h"
#include "shell/analysis_window.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QRadioButton;
class QScrollBar;
class QSlider;

namespace ovrin::shell {

class OpdFanWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit OpdFanWindow(MainWindow& main);
  const OpdFanResult& result() const { return result_; }
  // Cmdautofocus: the focus fit of wavelength 1, then the plot.
  void AutoFocusAndUpdate();
  // Command2: the text window of the last plot.
  QWidget* ShowText();

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  OpdFanResult result_;
  QLineEdit* focalRadius_ = nullptr;  // Text2
};

class OpdFanTextWindow : public QWidget {
  Q_OBJECT
 public:
  OpdFanTextWindow(const OpdFanResult& r, QWidget* parent);
  QString text() const;

 private:
  QPlainTextEdit* text_ = nullptr;
};

class WavefrontWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit WavefrontWindow(MainWindow& main);
  WavefrontSettings Settings() const;
  const WavefrontResult& result() const { return result_; }
  // Command1: the focus fit of the selected wavelength, then the update.
  void AutoFocusAndUpdate();
  // The rotation, relief, colour and zoom redraws: W is not traced again.
  void Redraw() override;
  ReliefView View() const;

 protected:
  void Recompute() override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  WavefrontResult result_;
  QButtonGroup* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QCheckBox* reverse_ = nullptr;
  QRadioButton* black_ = nullptr;
  QScrollBar* rot_[3]{};
  QSlider* relief_ = nullptr;
  QLabel* pv_ = nullptr;
  QLabel* rms_ = nullptr;
  QLabel* strehl_ = nullptr;
  QLabel* peak_ = nullptr;
  QLabel* valley_ = nullptr;
  QLabel* third_ = nullptr;
  QLabel* twoThirds_ = nullptr;
  PlotView* map_ = nullptr;
  PlotView* bar_ = nullptr;
  QProgressBar* progress_ = nullptr;
  double zoom_ = 1;
};

class VersusWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  VersusWindow(MainWindow& main, VersusScan scan, VersusMeasure measure);
  VersusSettings Settings() const;
  const VersusResult& result() const { return result_; }
  QString tableText() const;
  void AutoFocusAndUpdate();

 protected:
  void Recompute() override;
  void Redraw() override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  VersusScan scan_;
  VersusMeasure measure_;
  VersusResult result_;
  QLineEdit* defocus_ = nullptr;
  QLineEdit* shortWl_ = nullptr;
  QLineEdit* longWl_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

}  // namespace ovrin::shell
