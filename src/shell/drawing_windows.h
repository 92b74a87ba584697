#pragma once
// Frmlayout3D (the design in three dimensions), FrmVolume (the workshop
// drawing of one element) and FrmSolve (the thickness for contact at the rims).
#include <QDialog>

#include "core/edge_contact.h"
#include "output/element_drawing.h"
#include "output/layout3d.h"
#include "shell/analysis_window.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPrinter;
class QSlider;
class QSpinBox;

namespace ovrin::shell {

class Layout3DWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit Layout3DWindow(MainWindow& main);

  Layout3DSettings Settings() const;
  bool computed() const { return computed_; }
  const Layout3D& layout() const { return layout_; }
  // The view turned by a drag of (dx, dy) pixels: across turns about the
  // vertical, up and down tilts.
  void Drag(int dx, int dy);

 protected:
  void Recompute() override;
  void Redraw() override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QSlider* Slider(const char* name, int lo, int hi, int value);
  Layout3D layout_;
  bool computed_ = false;
  QSlider* rotX_ = nullptr;
  QSlider* rotY_ = nullptr;
  QSlider* rotZ_ = nullptr;
  QSlider* zoom_ = nullptr;
  QSlider* rays_ = nullptr;
  QCheckBox* sagittal_ = nullptr;
  QLabel* angles_ = nullptr;
  QPoint dragFrom_;
  bool dragging_ = false;
};

class ElementWindow : public AnalysisWindow {
  Q_OBJECT
 public:
  explicit ElementWindow(MainWindow& main);

  ElementSettings Settings() const;
  bool computed() const { return computed_; }
  const ElementDrawing& drawing() const { return drawing_; }
  // The sheet on an A4 landscape page, to scale, with no margins of its own.
  bool PrintSheet(QPrinter& printer);
  // The sheet as a file: .pdf and .svg on an A4 page, .png at 4 pixels to the mm.
  bool SaveSheet(const QString& path);

 protected:
  void Recompute() override;
  void Redraw() override;

 private:
  ElementDrawing drawing_;
  bool computed_ = false;
  QComboBox* element_ = nullptr;
  QLineEdit* blank_ = nullptr;
  std::vector<ElementRef> list_;
};

// FrmSolve, "Solve for Edge Contact": modal.
class SolveContactDialog : public QDialog {
  Q_OBJECT
 public:
  explicit SolveContactDialog(MainWindow& main);
  // Solves with the boxes and shows the answer; false when there is none.
  bool Solve();
  const EdgeContact& contact() const { return contact_; }

 private:
  void Ok();
  void SurfaceChosen(int surface);
  MainWindow& main_;
  QSpinBox* surface_ = nullptr;
  QLineEdit* h1_ = nullptr;
  QLineEdit* h2_ = nullptr;
  QLabel* result_ = nullptr;
  EdgeContact contact_;
};

}  // namespace ovrin::shell
