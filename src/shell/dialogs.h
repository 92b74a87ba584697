#pragma once
// The smaller windows of the program. Each control carries its program name
// as its object name, so a test or a picture can find it.
#include <QDialog>
#include <QWidget>
#include <array>
#include <vector>

#include "glass/glass_catalogue.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTableWidget;

namespace ovrin {
struct WavelengthForm;
}

namespace ovrin::shell {

class MainWindow;

// Frmnumsup, "New Design".
class NewDesignDialog : public QDialog {
  Q_OBJECT
 public:
  explicit NewDesignDialog(MainWindow& main);

 private:
  void Ok();
  void Cancel();
  MainWindow& main_;
  QLineEdit* count_ = nullptr;
};

// FrmInsert, "Insert Surface/s".
class InsertDialog : public QDialog {
  Q_OBJECT
 public:
  explicit InsertDialog(MainWindow& main);

 private:
  void Ok();
  MainWindow& main_;
  QSpinBox* before_ = nullptr;
  QSpinBox* count_ = nullptr;
};

// FrmDelete, "Delete Surface/s".
class DeleteDialog : public QDialog {
  Q_OBJECT
 public:
  explicit DeleteDialog(MainWindow& main);

 private:
  void Ok();
  MainWindow& main_;
  QSpinBox* first_ = nullptr;
  QSpinBox* last_ = nullptr;
};

// FrmEnvCond, "Environmental Conditions".
class EnvironmentDialog : public QDialog {
  Q_OBJECT
 public:
  explicit EnvironmentDialog(MainWindow& main);

 private:
  void Ok();
  void OpenAnalysis();  // the environmental analysis at the typed conditions
  MainWindow& main_;
  QLineEdit* temp_ = nullptr;
  QLineEdit* press_ = nullptr;
};

// frmSurface: the conic constant, or the conic and the high-order coefficients.
class SurfaceDialog : public QDialog {
  Q_OBJECT
 public:
  SurfaceDialog(MainWindow& main, int row, bool high_order);

 private:
  void Ok();
  MainWindow& main_;
  int row_;
  bool highOrder_;
  QLineEdit* k_ = nullptr;
  QLineEdit* a4_;
  QLineEdit* a6_;
  QLineEdit* a8_;
};

// FrmWL, "WaveLength  Selection".
class WavelengthWindow : public QDialog {
  Q_OBJECT
 public:
  explicit WavelengthWindow(MainWindow& main);

 private:
  void LoadForm();
  void ReadFormInto(WavelengthForm& form) const;
  void SetCount(int n);
  void Preset(int which);
  void AutoPen();
  void PickColor(int row);
  void Store();
  bool CheckBox(QWidget* box, const QString& text);
  void PaintSample(int row);

  MainWindow& main_;
  struct RowControls {
    QLabel* label;
    QComboBox* wl;
    QLineEdit* weight;
    QLabel* sample;
    QPushButton* select;
  };
  std::array<RowControls, 6> rows_{};
  std::array<QRadioButton*, 6> options_{};
  std::array<QLabel*, 3> presetLabels_{};
  QLabel* spectrum_ = nullptr;
  std::array<int, 6> colors_{};  // 0xRRGGBB
  int count_ = 1;
};

// FrmSchott, FrmOh, FrmCorning, FrmHoya, FrmLZOS, FrmSPECIAL, FrmChengdu.
class GlassPicker : public QDialog {
  Q_OBJECT
 public:
  GlassPicker(MainWindow& main, Catalogue catalogue, int row);

 private:
  void Fill(const QString& filter);
  void Choose();
  MainWindow& main_;
  Catalogue catalogue_;
  int row_;
  QLineEdit* filter_ = nullptr;
  QTableWidget* list_ = nullptr;
};

// FrmDirect: an index typed for each wavelength in use.
class DirectIndexDialog : public QDialog {
  Q_OBJECT
 public:
  DirectIndexDialog(MainWindow& main, int row);

 private:
  void Ok();
  MainWindow& main_;
  int row_;
  std::array<QLineEdit*, 6> boxes_{};
};

// FrmTilt, "TILT/ DECENTER": every surface and the image plane.
class TiltWindow : public QWidget {
  Q_OBJECT
 public:
  explicit TiltWindow(MainWindow& main);

 private:
  void Load();
  void Store();
  MainWindow& main_;
  QTableWidget* table_ = nullptr;
  // The text each cell showed when loaded: a cell left alone keeps its exact value.
  std::vector<std::array<QString, 4>> loaded_;
};

// frmSplash: the opening picture.
class SplashWindow : public QWidget {
  Q_OBJECT
 public:
  SplashWindow();
};

// Frmguidadati: help on entering a design.
class HelpWindow : public QDialog {
  Q_OBJECT
 public:
  explicit HelpWindow(QWidget* parent);
};

// FrmGuida: the manual, one chapter per window, opened at a window's topic.
class HelpBook : public QWidget {
  Q_OBJECT
 public:
  explicit HelpBook(QWidget* parent);
  void ShowTopic(const QString& topic);
  QString CurrentTopic() const;

 private:
  QListWidget* chapters_ = nullptr;
  class QTextBrowser* page_;
};

// Frmabout.
class AboutWindow : public QDialog {
  Q_OBJECT
 public:
  explicit AboutWindow(QWidget* parent);
};

}  // namespace ovrin::shell
