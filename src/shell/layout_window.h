#pragma once
// Frmlayout: the design drawn as a section, with rays.
#include "output/layout.h"
#include "shell/analysis_window.h"

class QCheckBox;
class QLabel;
class QSlider;

namespace ovrin::shell {

class LayoutWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit LayoutWindow(MainWindow& main);

  LayoutSettings Settings() const;
  const Layout& layout() const { return layout_; }
  const LayoutFrame& view() const { return view_; }
  void ZoomTo(const LayoutFrame& window);
  void Unzoom();
  void ZoomOut();

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  Layout layout_;
  LayoutFrame view_;
  bool zoomed_ = false;
  bool computed_ = false;
  QSlider* field_ = nullptr;
  QSlider* rays_ = nullptr;
  QLabel* fieldValue_ = nullptr;
  QLabel* raysValue_ = nullptr;
  QCheckBox* bothHalves_ = nullptr;
  QCheckBox* vign_ = nullptr;
  QLabel* track_ = nullptr;
  QLabel* focal_ = nullptr;
  double maxField_ = 0;
};

}  // namespace ovrin::shell
