#pragma once
// The telescope pre-design windows: FrmTelDes, the chooser, and one window per
// family on a shared frame (input boxes, the glass choice where the family has
// a corrector, the calculation button, result labels, the schematic, and the
// buttons that write the design for analysis).
#include <QWidget>
#include <map>
#include <vector>

#include "predesign/predesign.h"

class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPrinter;
class QPushButton;
class QScrollBar;
class QTableWidget;
class QVBoxLayout;

namespace ovrin::shell {

class MainWindow;
class PlotView;

class TelescopeChooser : public QWidget {
  Q_OBJECT
 public:
  explicit TelescopeChooser(MainWindow& main);

 private:
  MainWindow& main_;
};

class PredesignWindow : public QWidget {
  Q_OBJECT
 public:
  PredesignWindow(MainWindow& main, predesign::Kind kind);

  // The calculation button: reads the boxes, shows the results and the
  // schematic, or the calculation's message. Returns whether it calculated.
  bool Calculate();
  // "O.K.  ANALYZE" or a variant's button: calculates with that variant and
  // writes the design into the session, then updates.
  bool Analyze(const std::string& variant = "");

  void SetInput(const std::string& key, const QString& text);
  void SetGlass(const QString& catalogue, const QString& glass);
  void SetIndex(int k, const QString& text);
  void SetScroll(int k, int value);
  // The text of a result label by its key, empty when not shown.
  QString Result(const std::string& key) const;
  const predesign::Plan& plan() const { return plan_; }
  QString lastMessage() const { return lastMessage_; }

  bool PrintTo(QPrinter& printer);
  bool SaveImageTo(const QString& path);

 private:
  predesign::Inputs ReadInputs() const;
  void ShowPlan();
  void FillGlassList();
  void UpdateIndexFromGlass();
  void ScrollMoved();
  void AddLensPickers(QVBoxLayout* left);
  void AddTripletScrolls(QVBoxLayout* middle, const predesign::Inputs& start);
  void ShowAberrations(const DesignState& d);
  void Help();
  void Print();
  void SaveImage();

  MainWindow& main_;
  const predesign::KindSpec& spec_;
  std::map<std::string, QLineEdit*> boxes_;
  QComboBox* catalogue_ = nullptr;
  QComboBox* glass_ = nullptr;
  std::vector<QComboBox*> wavelengths_;
  std::vector<QLineEdit*> indices_;
  std::vector<QScrollBar*> scrolls_;
  QGridLayout* results_ = nullptr;
  QGridLayout* extras_ = nullptr;
  QTableWidget* profile_ = nullptr;
  PlotView* picture_ = nullptr;
  PlotView* aberrations_ = nullptr;
  QLabel* osc_ = nullptr;
  QLabel* message_ = nullptr;
  std::vector<QWidget*> shown_;
  std::string variant_;
  predesign::Plan plan_;
  bool calculated_ = false;
  QString lastMessage_;
};

}  // namespace ovrin::shell
