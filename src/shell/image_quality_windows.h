#pragma once
// The image-quality windows: FrmEEPDiff (diffraction encircled energy),
// FrmVisualPSF (simulated colour image of a star), FrmMultiAnl (the one-page
// sheet of a design) and FrmGhost (two-reflection ghosts). Each copies its
// controls into the engine's settings, runs it and hands the result to the canvas.
#include "analysis/geometric/ghosts.h"
#include "analysis/wave/colour_image.h"
#include "analysis/wave/diffraction_energy.h"
#include "output/multi_analysis.h"
#include "shell/analysis_window.h"

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QPrinter;
class QProgressBar;

namespace ovrin::shell {

class EnergyWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit EnergyWindow(MainWindow& main);
  DiffEnergySettings Settings() const;
  const DiffEnergyResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  DiffEnergyResult result_;
  QButtonGroup* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QLineEdit* rings_ = nullptr;
  QLabel* atRing_ = nullptr;
  QLabel* perfect_ = nullptr;
  QLabel* radius80_ = nullptr;
  QLabel* strehl_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

class ColourImageWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit ColourImageWindow(MainWindow& main);
  ColourImageSettings Settings() const;
  const ColourImageResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  ColourImageResult result_;
  QButtonGroup* grid_ = nullptr;
  QComboBox* field_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
  QLineEdit* width_ = nullptr;
  QComboBox* brightness_ = nullptr;
  QProgressBar* progress_ = nullptr;
};

class MultiAnalysisWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit MultiAnalysisWindow(MainWindow& main);
  MultiSettings Settings() const;
  const MultiResult& result() const { return result_; }
  bool computed() const { return computed_; }
  // The sheet alone, fitted to one printed page.
  bool PrintSheet(QPrinter& printer) const;

 protected:
  void Recompute() override;
  void Redraw() override;
  void Activated() override;

 private:
  MultiResult result_;
  MultiSettings drawn_;
  bool computed_ = false;
  QComboBox* wave_ = nullptr;
  QComboBox* rays_ = nullptr;
  QLineEdit* focalRadius_ = nullptr;
};

class GhostWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit GhostWindow(MainWindow& main);
  GhostSettings Settings() const;
  const GhostResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  GhostResult result_;
  QLineEdit* reflectance_ = nullptr;
  QLabel* count_ = nullptr;
};

}  // namespace ovrin::shell
