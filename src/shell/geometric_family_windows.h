#pragma once
// The geometric family of analysis windows: Frmmultispot, FrmMatrix,
// FrmTotalFieldSpot, FrmRMS (three scans), FrmDist, FrmLatCol, FrmCFS, Frmeep,
// Frmpsf, FrmMTFGeoField, FrmMTFGeotfocus, FrmRealRay, FrmVign, FrmFootPrint
// and FrmBestFocus. One class serves them all: each kind has its panes, its
// few boxes and its engine.
#include <map>
#include <string>

#include "analysis/geometric/geometric_family.h"
#include "shell/analysis_window.h"

class QComboBox;
class QLineEdit;

namespace ovrin::shell {

enum class FamilyKind {
  MultiSpot,
  MatrixSpot,
  TotalFieldSpot,
  RmsVersus,
  Distortion,
  LateralColour,
  FocalShift,
  EncircledEnergy,
  GeometricPsf,
  GeometricMtf,
  GeometricMtfFocus,
  RealRays,
  Vignetting,
  Footprint,
  BestFocus,
};

// The window name of a kind, and every kind with its name.
const char* FamilyWindowName(FamilyKind kind);
const std::map<std::string, FamilyKind>& FamilyWindows();

class FamilyWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  FamilyWindow(MainWindow& main, FamilyKind kind);
  FamilyKind kind() const { return kind_; }

  // FrmRMS: the scan of the menu entry chosen, then an update.
  void SetScan(RmsScan scan);
  RmsScan scan() const;
  // FrmCFS: the ".CFS" file of the last update (after the question).
  bool ExportCfsTo(const QString& path);
  // FrmBestFocus: the focus shift into the design's last thickness and the
  // system update.
  bool ApplyBestFocus();
  // A box of the window's own by its name.
  QLineEdit* Box(const char* name) const;

  // The numbers of the last update, as the text pane shows them.
  const std::string& text() const { return text_of_; }
  bool computed() const { return computed_; }
  const FocalShiftResult& focalShift() const { return cfs_; }
  const BestFocusResult& bestFocus() const { return best_; }

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  FamilySettings Settings() const;
  void AddBox(const char* name, const char* label, const char* value);
  double Number(const char* name) const;

  FamilyKind kind_;
  int row_ = 0;
  std::map<std::string, QLineEdit*> boxes_;
  QComboBox* scanBox_ = nullptr;
  QComboBox* criterionBox_ = nullptr;
  bool computed_ = false;
  std::string text_of_;

  // The last result of the kind in hand.
  FamilySettings settings_;
  SpotFamilySettings spotSet_;
  SpotFamilyResult spots_;
  CurvePlot curves_;
  DistortionResult dist_;
  FocalShiftResult cfs_;
  GeoPsfSettings psfSet_;
  GeoPsfResult psf_;
  FootprintResult foot_;
  RealRayResult real_;
  BestFocusResult best_;
};

// FrmRMS's three menu entries choose its scan once the window is open.
void ConnectRmsScans(MainWindow& main);

}  // namespace ovrin::shell
