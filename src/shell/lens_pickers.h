#pragma once
// The pickers of the lens pre-design windows: the glass of one lens
// (FrmLensADopp, FrmLensBDopp, FrmLensATripl, ...) and the three design
// wavelengths (FrmWLDopp, FrmWLTripl). Each is a small window of its own; its
// OK hands the choice back as the text of the calculator's box ("CAT:NAME",
// "w1,w2,w3") and closes.
#include <QDialog>
#include <QString>
#include <functional>

class QComboBox;

namespace ovrin::shell {

class LensGlassPicker : public QDialog {
  Q_OBJECT
 public:
  // `current`: "CAT:NAME" or empty.
  LensGlassPicker(QWidget* parent, const QString& name, const QString& lens, const QString& current,
                  std::function<void(const QString&)> done);
  void Choose(const QString& catalogue, const QString& glass);
  void Accept();

 private:
  void Fill();
  QComboBox* catalogue_ = nullptr;
  QComboBox* glass_ = nullptr;
  std::function<void(const QString&)> done_;
};

class WavelengthPicker : public QDialog {
  Q_OBJECT
 public:
  // `current`: "w1,w2,w3" in microns.
  WavelengthPicker(QWidget* parent, const QString& name, const QString& current,
                   std::function<void(const QString&)> done);
  void Choose(int k, float wavelength);
  void Accept();

 private:
  QComboBox* lines_[3]{};
  std::function<void(const QString&)> done_;
};

}  // namespace ovrin::shell
