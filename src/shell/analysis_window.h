#pragma once
// The frame every analysis window shares: one or more picture panes, an
// optional text pane, the wavelength choice, the reference and actual back
// focus, the background list, and the buttons Update, Print, Save, Help and
// Exit. A window adds its own controls to the side panel and computes in
// Recompute(), and draws its last result again in Redraw().
#include <QWidget>
#include <array>
#include <string>
#include <vector>

#include "output/canvas.h"

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
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
  Rgb background() const { return background_; }
  const RecordingCanvas& plot() const { return plot_; }
  // The picture's size on the screen, in pixels.
  QSize PictureSize() const;
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

// What a window takes of the frame, and the names of its controls.
struct FrameOptions {
  double plot_aspect = 380.0 / 268.0;  // of each pane
  // One picture pane per name, laid out `pane_columns` to a row.
  std::vector<std::string> panes = {"Picturespot"};
  int pane_columns = 1;
  enum class Wavelengths { None, Several, One };
  // Several: check boxes, any number checked; One: a single choice.
  Wavelengths wavelengths = Wavelengths::Several;
  std::array<std::string, 6> wavelength_names = {"Check_e", "Check_r", "Check_c", "Check_f", "Check_g", "Check_h"};
  bool focus_controls = true;  // "Refer.  B.F.L. " and "Actual B.F.L."
  // A text or table pane with Copy and Save as text; its name, empty for none.
  std::string text_pane;
};

class AnalysisWindow : public QWidget {
  Q_OBJECT
 public:
  AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                 const FrameOptions& options);
  // One pane; `focus_controls`: the wavelength boxes and the back focus boxes,
  // which the windows that draw the design itself do without.
  AnalysisWindow(MainWindow& main, const char* name, const char* caption, const char* help_topic,
                 double plot_aspect, bool focus_controls = true);

  // The Update button.
  void Update();
  // The window's picture on a printer page, fitted with its proportions kept.
  bool PrintTo(QPrinter& printer);
  // The window's image as a bitmap file (.bmp), or its pictures as drawn
  // files (.png, .svg, .pdf; several panes give NAME-1.png, NAME-2.png, ...).
  bool SaveImageTo(const QString& path);
  // The text pane's contents as a text file.
  bool SaveTextTo(const QString& path) const;

  // The checked wavelengths, 1..6 (with a single choice, the chosen one).
  std::array<bool, 6> CheckedWavelengths() const;
  // The chosen wavelength 1..6: the first checked one; 0 when none is.
  int ChosenWavelength() const;
  int PaneCount() const { return static_cast<int>(panes_.size()); }
  PlotView* Pane(int i) const { return panes_.at(static_cast<std::size_t>(i)); }
  // The background list's index: 0 White, 1 Black, 2 Grey.
  int BackgroundIndex() const;

 protected:
  virtual void Recompute() = 0;
  // The pictures of the last result drawn again (after a print, a new zoom);
  // nothing is traced. Does nothing before a first Update.
  virtual void Redraw() {}
  // At each activation: the wavelength boxes and the reference back focus.
  virtual void Activated();

  // The text pane's contents (a table in a fixed-width font).
  void SetText(const std::string& text);

  MainWindow& main_;
  QGridLayout* panel_ = nullptr;  // the window's own controls, two columns
  PlotView* plot_ = nullptr;      // the first pane
  std::vector<PlotView*> panes_;
  QPlainTextEdit* text_ = nullptr;
  // The wavelength boxes: check boxes, or radio buttons for a single choice.
  std::array<QAbstractButton*, 6> wl_{};
  QLabel* referBfl_ = nullptr;
  // Decimals of "Refer.  B.F.L." when the window is brought forward.
  int referDecimals_ = 3;
  QLineEdit* actualBfl_ = nullptr;
  QComboBox* backColor_ = nullptr;
  QLabel* designName_ = nullptr;

  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  // Text boxes select their whole text when they get the focus.
  void SelectAllOnFocus(QLineEdit* box);

 private:
  void Print();
  void SaveImage();
  void SaveText();
  QString helpTopic_;
  bool shown_ = false;
  QWidget* watchedFrame_ = nullptr;
};

}  // namespace ovrin::shell
