#pragma once
// The geometric aberration windows: Frmseidel1 (paraxial and third-order
// tables), Frmabsferica (spherical aberration and O.S.C.), Frmcodding (field
// curvature) and FrmRayFan (ray-intercept curves).
#include "analysis/geometric/field_curvature.h"
#include "analysis/geometric/ray_fan.h"
#include "analysis/geometric/seidel.h"
#include "analysis/geometric/spherical_aberration.h"
#include "shell/analysis_window.h"

class QLineEdit;

namespace ovrin::shell {

class SeidelWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit SeidelWindow(MainWindow& main);
  // One of the five commands: the tables anew, then the one printed.
  void ShowTable(SeidelTable table);
  const SeidelResult& result() const { return result_; }

 protected:
  void Recompute() override { ShowTable(table_); }
  void Redraw() override;

 private:
  SeidelResult result_;
  SeidelTable table_ = SeidelTable::Seidel;
  bool computed_ = false;
};

class SphericalWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit SphericalWindow(MainWindow& main);
  const SphericalResult& result() const { return result_; }
  // Command1: the on-axis focus of wavelength 1 into Text1.
  void AutoFocusToText();
  // CmdText: the data report in a window of its own.
  void ShowReport();

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  SphericalResult result_;
  bool computed_ = false;
  QLineEdit* scale_ = nullptr;
};

class FieldCurvatureWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit FieldCurvatureWindow(MainWindow& main);
  const FieldCurvResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;
  // Each activation runs the update.
  void Activated() override;

 private:
  FieldCurvResult result_;
  bool computed_ = false;
  QLineEdit* scale_ = nullptr;
};

class RayFanWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit RayFanWindow(MainWindow& main);
  const RayFanResult& result() const { return result_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  RayFanResult result_;
  bool computed_ = false;
  QLineEdit* focalRadius_ = nullptr;
};

}  // namespace ovrin::shell
