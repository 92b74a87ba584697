#pragma once
// The Glass Diagram menu's windows: the nd-vd map (FrmGlassNdVd), the
// relative partial dispersion map (FrmGlassPFE), the P-P map (FrmPvsP), the
// catalogue table (FrmGlassData); and the environmental analysis
// (FrmEnvAnalysis), opened from the Environmental Conditions dialog.
#include <QWidget>
#include <array>

#include "glass/environment.h"
#include "glass/glass_diagram.h"
#include "shell/analysis_window.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPrinter;
class QTableWidget;

namespace ovrin::shell {

class GlassDiagramWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  GlassDiagramWindow(MainWindow& main, GlassDiagramKind kind);
  const GlassDiagramResult& result() const { return result_; }
  // The glass under a point of the picture pane (widget pixels): its index
  // in the result, or -1. A click shows its data.
  int GlassUnder(const QPointF& pane_point) const;
  void ShowGlass(int index);
  QString Readout() const;

 protected:
  void Recompute() override;
  void Redraw() override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  GlassDiagramSettings Settings() const;
  GlassDiagramKind kind_;
  std::array<QCheckBox*, kCatalogueCount> catalogue_{};
  QCheckBox* names_ = nullptr;
  QLabel* pointer_ = nullptr;
  GlassDiagramResult result_;
  int selected_ = -1;
  bool computed_ = false;
};

class GlassDataWindow : public QWidget {
  Q_OBJECT
 public:
  explicit GlassDataWindow(MainWindow& main);
  // Fills the table anew from the catalogue, the search text and the wavelength.
  void Fill();
  QTableWidget* table() const { return table_; }
  bool SaveTextTo(const QString& path) const;
  // The whole table as shown (every row, in its order) on printer pages.
  bool PrintTo(QPrinter& printer) const;

 private:
  QString TableText() const;
  void ShowSelected();
  MainWindow& main_;
  QComboBox* catalogue_ = nullptr;
  QLineEdit* search_ = nullptr;
  QLineEdit* wavelength_ = nullptr;
  QTableWidget* table_ = nullptr;
  QPlainTextEdit* data_ = nullptr;
};

class EnvironmentWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit EnvironmentWindow(MainWindow& main);
  void SetConditions(double temperature, double pressure);
  const EnvironmentResult& result() const { return result_; }

 protected:
  void Recompute() override;

 private:
  QLineEdit* temp_ = nullptr;
  QLineEdit* press_ = nullptr;
  QLineEdit* mirror_ = nullptr;
  QLineEdit* tube_ = nullptr;
  QCheckBox* glassGrows_ = nullptr;
  EnvironmentResult result_;
};

}  // namespace ovrin::shell
