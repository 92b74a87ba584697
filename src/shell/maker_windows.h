#pragma once
// The maker's tests of the design: FrmInterferogram, FrmRonchi, the Foucault
// test FrmFoucault and the star test FrmStarTest. Each copies its controls
// into the engine's settings, runs it and hands the result to the canvas.
#include <QWidget>

#include "analysis/wave/maker_tests.h"
#include "shell/analysis_window.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;

namespace ovrin::shell {

class InterferogramWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit InterferogramWindow(MainWindow& main);
  InterferogramSettings Settings() const;
  const InterferogramResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  InterferogramResult result_;
  QComboBox* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QLineEdit* testWl_ = nullptr;
  QCheckBox* doublePass_ = nullptr;
  QLineEdit* tiltX_ = nullptr;
  QLineEdit* tiltY_ = nullptr;
  QLineEdit* defocus_ = nullptr;
  QLabel* pv_ = nullptr;
  QLabel* rms_ = nullptr;
  QLabel* fringes_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

class RonchiWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit RonchiWindow(MainWindow& main);
  RonchiSettings Settings() const;
  const RonchiResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  RonchiResult result_;
  QComboBox* setup_ = nullptr;
  QLineEdit* lines_ = nullptr;
  QComboBox* unit_ = nullptr;
  QLineEdit* offset_ = nullptr;
  QComboBox* mirror_ = nullptr;
  QLabel* bands_ = nullptr;
};

class FoucaultWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit FoucaultWindow(MainWindow& main);
  FoucaultSettings Settings() const;
  const FoucaultResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  FoucaultResult result_;
  QComboBox* mirror_ = nullptr;
  QComboBox* source_ = nullptr;
  QLineEdit* zones_ = nullptr;
  QLineEdit* knife_ = nullptr;
  QLineEdit* knifeX_ = nullptr;
  QLineEdit* slit_ = nullptr;
  QLineEdit* readings_ = nullptr;
  QLineEdit* microns_ = nullptr;
};

class StarTestWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit StarTestWindow(MainWindow& main);
  StarTestSettings Settings() const;
  const StarTestResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  StarTestResult result_;
  QComboBox* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QLineEdit* defocus_ = nullptr;
  QLabel* difference_ = nullptr;
  QLabel* strehl_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

}  // namespace ovrin::shell
