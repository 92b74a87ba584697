#pragma once
// frmspot: the detailed polychromatic spot diagram.
#include "analysis/geometric/spot_diagram.h"
#include "shell/analysis_window.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace ovrin::shell {

class SpotWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit SpotWindow(MainWindow& main);

  SpotSettings Settings() const;
  // The last drawing's result (labels keep the text of the last good one).
  const SpotResult& result() const { return result_; }
  // Command1: the focus of the smallest on-axis RMS spot, then Update.
  void AutoFocusAndUpdate();

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;
  void showEvent(QShowEvent* event) override;

 private:
  void ShowLabels(const SpotLabels& l);
  SpotResult result_;
  SpotSettings drawnWith_;  // the settings of the last trace
  bool computed_ = false;
  QComboBox* field_ = nullptr;
  QComboBox* rays_ = nullptr;
  QLineEdit* zoom_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QCheckBox* plotVign_ = nullptr;
  QLabel* label16_;
  QLabel* lblangolo_ = nullptr;
  QLabel* rms_ = nullptr;
  QLabel* diameter_ = nullptr;
  QLabel* height_ = nullptr;
  QLabel* vignPercent_ = nullptr;
  QLabel* total_ = nullptr;
  QLabel* passed_ = nullptr;
  QLabel* stopped_ = nullptr;
  QLabel* airy_ = nullptr;
  QLabel* scale_ = nullptr;
  bool opened_ = false;
};

}  // namespace ovrin::shell
