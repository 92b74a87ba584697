#pragma once
// The frame every analysis window shares: the picture, the wavelength boxes,
// the reference and actual back focus, the background list, and the buttons
// Update, Print, Save as bmp file, Help and Exit. A window adds its own
// controls to the side panel and computes in Recompute().
#include <QWidget>
#include <array>

#include "output/canvas.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPrinter;
class QPushButton;
class QRubberBand;

namespace ovrin::shell {

class MainWindow;

// The picture of an analysis: replays what the last drawing recorded, kept in
// the proportions of its coordinate window.
class PlotView : public QWidget {
  Q_OBJECT
 public:
  PlotView(double aspect, QWidget* parent);
  void SetPlot(const RecordingCanvas& plot);
  void SetBackground(Rgb color);
  const RecordingCanvas& plot() const { return plot_; }
  QSize sizeHint() const override;
  // Dragging with the left button then reports the rectangle in plot units.
  void EnableRubberBand(bool on) { rubberBand_ = on; }
  // A point of the widget in the coordinates of the last drawing.
  QPointF ToPlot(const QPointF& widget_point) const;

 signals:
  void rectangleChosen(double left, double top, double right, double bottom);

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* e) override;
  void mouseMoveEvent(QMouseEvent* e) override;
  void mouseReleaseEvent(QMouseEvent* e) override;

 private:
  QRectF Target() const;
  bool rubberBand_ = false;
  QRubberBand* band_ = nullptr;
  QPoint origin_;
  RecordingCanvas plot_;
  Rgb background_{255, 255, 255};
  double aspect_;
};

class AnalysisWindow : public QWidget {
  Q_OBJECT
 public:
  // `focus_controls`: the wavelength boxes and the back focus boxes, which the
  // windows that draw the design itself do without.
  AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                 double plot_aspect, bool focus_controls = true);

  // The Update button.
  void Update();
  // The window's picture on a printer page, fitted with its proportions kept.
  bool PrintTo(QPrinter& printer);
  // The window's picture as a bitmap file.
  bool SaveImageTo(const QString& path);

  // The checked wavelengths, 1..6.
  std::array<bool, 6> CheckedWavelengths() const;
  // The background list's index: 0 White, 1 Black, 2 Grey.
  int BackgroundIndex() const;

 protected:
  virtual void Recompute() = 0;
  // At each activation: the wavelength boxes and the reference back focus.
  virtual void Activated();

  MainWindow& main_;
  QGridLayout* panel_;  // the window's own controls, two columns
  PlotView* plot_;
  std::array<QCheckBox*, 6> wl_{};
  QLabel* referBfl_;
  QLineEdit* actualBfl_;
  QComboBox* backColor_;
  QLabel* designName_;

  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  // Text boxes select their whole text when they get the focus.
  void SelectAllOnFocus(QLineEdit* box);

 private:
  void Print();
  void SaveImage();
  QString helpTopic_;
  bool shown_ = false;
  QWidget* watchedFrame_ = nullptr;
};

}  // namespace ovrin::shell
