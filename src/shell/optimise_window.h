#pragma once
// FrmOpt, "Optimization  (Damped Least Square method)": the error function,
// the variables grid, the run and its log and spot pictures; and the four small
// windows that make a grid cell fixed, variable or a pick-up.
#include <QDialog>
#include <QWidget>
#include <array>
#include <memory>
#include <optional>

#include "optimise/optimiser.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QSlider;
class QTableWidget;

namespace ovrin::shell {

class MainWindow;
class PlotView;

// What outlives the window for the whole program run: the pick-up tables and
// the back focal length weight, and the design as it stood when OPTIMIZE was
// last pressed.
struct OptimiseMemory {
  PickupTables pick;
  std::optional<DesignSnapshot> before;
};
OptimiseMemory& ProgramOptimiseMemory();

// "Restore design from before the run": the design of the last OPTIMIZE press
// back through the update. A run in progress is stopped first.
void RestoreDesignBeforeRun(MainWindow& main);

inline constexpr const char* kNothingToRestore = "No optimization run to restore from.";

class OptimiseWindow : public QWidget {
  Q_OBJECT
 public:
  explicit OptimiseWindow(MainWindow& main);
  ~OptimiseWindow() override;

  // The model the controls show.
  OptimiseSheet& sheet() { return opt_; }
  // Controls into the model, and the model into the controls.
  void ReadControls();
  void ShowSheet();
  // The refresh of an activation: the design's values into the grid and boxes.
  void Refresh();

  // Command1, "OPTIMIZE": starts a run; its iterations follow one another
  // through the event loop.
  void Optimise();
  // "Stop": the run ends after the iteration in hand.
  void Stop();
  // Ends a run at once, between two iterations (before a restore).
  void EndRun();
  bool running() const { return running_; }
  const OptimiseRun* run() const { return run_.get(); }
  QString LogText() const;

  // A click in the grid at a row (1..SurfCount+1) and column (0..7): the
  // variable windows (modal) or the cell editor.
  void ClickCell(int row, int col);
  void CommitCellEditor();
  // txtDataEntry while it is laid over a cell, or nullptr.
  QLineEdit* cellEditor() const { return editor_; }

  QTableWidget* grid() const { return grid_; }
  PlotView* picture(int i) const { return pictures_[i]; }

 signals:
  void iterationDone();
  void runEnded();

 protected:
  void showEvent(QShowEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Step();
  void EndOfRun();
  void DrawPictures();
  void ShowGrid();
  void ShowHelp();

  MainWindow& main_;
  OptimiseSheet opt_;
  std::unique_ptr<OptimiseRun> run_;
  bool running_ = false, stopAsked_ = false, shownFocusMessage_ = false;
  bool loading_ = false, placed_ = false;
  QWidget* watchedFrame_ = nullptr;

  QRadioButton *option1_, *option2_, *square_, *gaussian_, *radau_, *paraxial_, *best_;
  QLineEdit *damping_, *iterations_, *eflTarget_, *eflWeight_, *field1_, *weight1_, *field2_, *weight2_;
  QSlider* slider_ = nullptr;
  QLabel* eflCurrent_ = nullptr;
  std::array<QCheckBox*, 6> checks_{};
  std::array<QLineEdit*, 6> weights_{};
  QTableWidget* grid_ = nullptr;
  QLineEdit* editor_ = nullptr;
  std::array<PlotView*, 2> pictures_{};
  QPlainTextEdit* log_ = nullptr;
  QPushButton *optimise_, *stop_, *restore_;
};

// The four small windows of a grid cell.
enum class VarWindowKind { Curvature, Thickness, Bfl, Conic };

class VarWindow : public QDialog {
  Q_OBJECT
 public:
  VarWindow(QWidget* parent, VarWindowKind kind, int surface, OptimiseSheet& opt, PickupTables& pick);

  // An option clicked (1..4): shows or hides the entry boxes of it.
  void Choose(int option);
  // Command1, "OK": validates, writes the mark and the pick-up data; false
  // (with its message shown) when the entry is refused.
  bool Accept();
  // The entry boxes: source, addend, scale, weight (nullptr where the window has none).
  QLineEdit* source() const { return source_; }
  QLineEdit* addend() const { return addend_; }
  QLineEdit* scale() const { return scale_; }
  QLineEdit* weight() const { return weight_; }
  int chosen() const { return chosen_; }

 private:
  VarWindowKind kind_;
  int surface_;
  OptimiseSheet& opt_;
  PickupTables& pick_;
  int chosen_ = 1;
  std::array<QRadioButton*, 4> options_{};
  QLineEdit* source_ = nullptr;
  QLineEdit* addend_ = nullptr;
  QLineEdit* scale_ = nullptr;
  QLineEdit* weight_ = nullptr;
  QLabel *sourceLabel_ = nullptr, *addendLabel_ = nullptr, *scaleLabel_ = nullptr, *weightLabel_ = nullptr;
};

// The window name and title of a kind, as the program knows them.
const char* VarWindowName(VarWindowKind kind);

}  // namespace ovrin::shell
