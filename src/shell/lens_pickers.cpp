#include "shell/lens_pickers.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <cmath>

#include "core/number_text.h"
#include "core/wavelength_store.h"
#include "glass/glass_catalogue.h"
#include "glass/glass_pick.h"

namespace ovrin::shell {

namespace {

const char* const kLensCatalogues[] = {"SCHOTT", "OHARA", "CORNING", "HOYA", "LZOS", "SPECIAL", "CHENGDU"};

// A list entry's wavelength: the spectral lines at their full value.
float ListWavelength(int i) {
  static const float kLines[] = {1.01398f, 0.85211f, 0.76819f, 0.70652f, 0.65627f, 0.64385f, 0.63280f,
                                 0.58929f, 0.58756f, 0.54607f, 0.48613f, 0.47999f, 0.44157f, 0.43584f,
                                 0.40466f, 0.36501f};
  const float v = static_cast<float>(ParseLeadingNumber(kWavelengthList[i].value));
  for (float line : kLines)
    if (std::fabs(v - line) < 0.0002f) return line;
  return v;
}

int NearestEntry(float wl) {
  int best = 0;
  for (int i = 1; i < static_cast<int>(kWavelengthList.size()); ++i)
    if (std::fabs(ListWavelength(i) - wl) < std::fabs(ListWavelength(best) - wl)) best = i;
  return best;
}

}  // namespace

LensGlassPicker::LensGlassPicker(QWidget* parent, const QString& name, const QString& lens, const QString& current,
                                 std::function<void(const QString&)> done)
    : QDialog(parent), done_(std::move(done)) {
  setObjectName(name);
  setWindowTitle("Glass of lens " + lens);
  setAttribute(Qt::WA_DeleteOnClose);
  auto* grid = new QGridLayout(this);
  catalogue_ = new QComboBox(this);
  catalogue_->setObjectName("ComboCatalog");
  for (const char* c : kLensCatalogues) catalogue_->addItem(c);
  glass_ = new QComboBox(this);
  glass_->setObjectName("ComboGlass");
  grid->addWidget(new QLabel("Catalogue", this), 0, 0);
  grid->addWidget(catalogue_, 0, 1);
  grid->addWidget(new QLabel("Glass", this), 1, 0);
  grid->addWidget(glass_, 1, 1);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CommandOK");
  grid->addWidget(ok, 2, 1);
  connect(catalogue_, &QComboBox::currentIndexChanged, this, [this] { Fill(); });
  connect(ok, &QPushButton::clicked, this, [this] { Accept(); });
  const int colon = current.indexOf(':');
  if (colon > 0) {
    Choose(current.left(colon).toUpper(), current.mid(colon + 1));
  } else {
    Fill();
  }
}

void LensGlassPicker::Fill() {
  glass_->clear();
  Catalogue c;
  if (!CatalogueByName(catalogue_->currentText().toStdString(), c)) return;
  for (const GlassListEntry& e : GlassList(c, ""))
    if (e.available) glass_->addItem(e.row->name);
}

void LensGlassPicker::Choose(const QString& catalogue, const QString& glass) {
  catalogue_->setCurrentText(catalogue);
  Fill();
  if (!glass.isEmpty()) glass_->setCurrentText(glass);
}

void LensGlassPicker::Accept() {
  if (glass_->currentText().isEmpty()) return;
  if (done_) done_(catalogue_->currentText() + ":" + glass_->currentText());
  close();
}

WavelengthPicker::WavelengthPicker(QWidget* parent, const QString& name, const QString& current,
                                   std::function<void(const QString&)> done)
    : QDialog(parent), done_(std::move(done)) {
  setObjectName(name);
  setWindowTitle("Wave Length Selection");
  setAttribute(Qt::WA_DeleteOnClose);
  auto* grid = new QGridLayout(this);
  const QStringList parts = current.split(',');
  const char* captions[] = {"Wavelength 1 (main)", "Wavelength 2", "Wavelength 3"};
  for (int k = 0; k < 3; ++k) {
    lines_[k] = new QComboBox(this);
    lines_[k]->setObjectName(QString("ComboWL%1").arg(k + 1));
    for (const WavelengthListEntry& e : kWavelengthList)
      lines_[k]->addItem(*e.line ? QString(e.line) : QString(e.value));
    if (k < parts.size()) lines_[k]->setCurrentIndex(NearestEntry(static_cast<float>(ParseLeadingNumber(parts[k].toStdString()))));
    grid->addWidget(new QLabel(captions[k], this), k, 0);
    grid->addWidget(lines_[k], k, 1);
  }
  grid->addWidget(new QLabel("The pair 2, 3 sets the dispersion (wavelength 3 minus wavelength 2).", this), 3, 0, 1, 2);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CommandOK");
  grid->addWidget(ok, 4, 1);
  connect(ok, &QPushButton::clicked, this, [this] { Accept(); });
}

void WavelengthPicker::Choose(int k, float wavelength) {
  if (k >= 0 && k < 3) lines_[k]->setCurrentIndex(NearestEntry(wavelength));
}

void WavelengthPicker::Accept() {
  QStringList w;
  for (QComboBox* c : lines_) w << QString::fromStdString(PlainDecimal(ListWavelength(c->currentIndex())));
  if (done_) done_(w.join(','));
  close();
}

}  // namespace ovrin::shell
