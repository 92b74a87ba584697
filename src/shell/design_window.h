#pragma once
// Frmdati, " SYSTEM   DATA": the surface grid and the system parameters. The
// window shows the session's sheet and writes every edit back into it; the
// system update reads the sheet, as it does for a file or ovrin-cli.
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTableWidget;

namespace ovrin::shell {

class MainWindow;

class DesignWindow : public QWidget {
  Q_OBJECT
 public:
  explicit DesignWindow(MainWindow& main);
  ~DesignWindow() override;

  // Every control from the sheet.
  void Reload();
  // An edit in the floating box goes into the sheet; a floating list is closed.
  void CommitEdits();
  // The grid's click: the stop question, the edit box or one of the lists.
  void ClickCell(int row, int col);
  // The medium or type list of the current floating combo chose entry `index`.
  void ChooseMedium(int row, int index);
  void ChooseType(int row, int index);

  QTableWidget* grid() const { return grid_; }
  // The conic constant (and the high-order coefficients) of a surface, shown over its type cell.
  QString TypeToolTip(int row) const;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void ReloadGrid();
  void ReloadCell(int row, int col);
  void SizeGrid();
  void CloseFloating();
  void OpenEditor(int row, int col);
  void OpenCombo(int row, int col);
  void SurfaceCountEntered();

  MainWindow& main_;
  QLineEdit* txtnumsup_ = nullptr;
  QLineEdit* notes_ = nullptr;
  QLabel* name_ = nullptr;
  QTableWidget* grid_ = nullptr;
  QLineEdit* editor_ = nullptr;  // txtDataEntry while it floats
  QComboBox* combo_ = nullptr;   // ComboGlass or Combotipo while it floats
  int comboRow_ = 0, comboCol_ = 0;
  QRadioButton* option1_;
  QRadioButton* option2_;
  QLineEdit* text1_;
  QLineEdit* text2_;
  QLineEdit* text3_;
  QLabel* label2_;
  QLabel* label3_;
  QCheckBox* check1_;
  QCheckBox* check2_;
  QLineEdit* angleY_ = nullptr;
  QLineEdit* angleX_ = nullptr;
  QLabel* lblbfl_ = nullptr;
  QLabel* lblfocale_ = nullptr;
  QLabel* label15_;
  QLabel* lblrappfoc_ = nullptr;
  QLabel* lblimage_ = nullptr;
  QLabel* label4_;
  QPushButton* cmdupdate_ = nullptr;
  QPushButton* cmdwl_ = nullptr;
  bool loading_ = false;
};

}  // namespace ovrin::shell
