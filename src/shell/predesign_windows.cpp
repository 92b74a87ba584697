#include "shell/predesign_windows.h"

#include <cmath>

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>

#include "core/number_text.h"
#include "core/wavelength_store.h"
#include "glass/glass_pick.h"
#include "shell/analysis_window.h"
#include "shell/design_window.h"
#include "shell/lens_pickers.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

using predesign::GlassUse;

const char* const kCatalogues[] = {"SCHOTT", "OHARA", "CORNING", "HOYA", "LZOS", "SPECIAL", "DIRECT", "CHENGDU"};

// The wavelength of a list entry: the lines e, F and C at their full value.
float EntryWavelength(int i) {
  const float v = static_cast<float>(ParseLeadingNumber(kWavelengthList[i].value));
  for (float line : {predesign::kLineE, predesign::kLineF, predesign::kLineC})
    if (std::fabs(v - line) < 0.0002f) return line;
  return v;
}

// The list entry nearest a wavelength.
int WavelengthEntry(float wl) {
  int best = 0;
  for (int i = 1; i < static_cast<int>(kWavelengthList.size()); ++i)
    if (std::fabs(EntryWavelength(i) - wl) < std::fabs(EntryWavelength(best) - wl)) best = i;
  return best;
}

QLabel* ValueLabel(QWidget* parent, const QString& name, const QString& text) {
  auto* l = new QLabel(text, parent);
  l->setObjectName(name);
  l->setFrameShape(QFrame::Panel);
  l->setFrameShadow(QFrame::Sunken);
  l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  l->setMinimumWidth(l->fontMetrics().horizontalAdvance("-0000000.0000"));
  l->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return l;
}

}  // namespace

// ---------------------------------------------------------------------------
// FrmTelDes

TelescopeChooser::TelescopeChooser(MainWindow& main) : main_(main) {
  setObjectName("FrmTelDes");
  setWindowTitle("Telescope Pre-Design");
  auto* layout = new QVBoxLayout(this);
  auto* intro = new QLabel("Choose the telescope family, then press OK: its pre-design window opens.", this);
  intro->setWordWrap(true);
  layout->addWidget(intro);
  struct Option {
    predesign::Kind kind;
    const char* caption;
  };
  struct Group {
    const char* title;
    std::vector<Option> options;
  };
  using predesign::Kind;
  const Group groups[] = {
      {"Mirrors",
       {{Kind::Newtonian, "Newtonian"},
        {Kind::Cassegrain, "Cassegrain family"},
        {Kind::Gregorian, "Gregorian family"},
        {Kind::Couder, "Couder (anastigmatic)"}}},
      {"Schmidt (single mirror)", {{Kind::Schmidt, "Classic Schmidt"}, {Kind::Wright, "Wright"}}},
      {"Schmidt-Cassegrain",
       {{Kind::SchmidtCassegrainSpherical, "Compact, spherical mirrors"},
        {Kind::SchmidtCassegrain, "Compact, aspheric mirrors"},
        {Kind::Baker, "Baker (flat field)"},
        {Kind::Monocentric, "Monocentric"}}},
      {"Meniscus", {{Kind::Maksutov, "Maksutov camera"}, {Kind::MaksutovCassegrain, "Maksutov-Cassegrain"}}},
      {"Houghton (two-lens corrector)",
       {{Kind::Houghton, "Lurie-Houghton, spherical mirror"},
        {Kind::HoughtonAspheric, "Lurie-Houghton, aspheric mirror"},
        {Kind::HoughtonCassegrain, "Houghton-Cassegrain, spherical mirrors"},
        {Kind::HoughtonCassegrainAspheric, "Houghton-Cassegrain, aspheric secondary"}}},
      {"Lens objectives", {{Kind::Doublet, "Aplanatic doublet"}, {Kind::Triplet, "Apochromatic triplet"}}},
  };
  auto* row = new QGridLayout;
  std::vector<std::pair<QRadioButton*, QString>> options;
  int at = 0;
  for (const Group& g : groups) {
    auto* box = new QGroupBox(g.title, this);
    auto* v = new QVBoxLayout(box);
    for (const Option& o : g.options) {
      const predesign::KindSpec& s = predesign::SpecOf(o.kind);
      auto* option = new QRadioButton(o.caption, box);
      option->setObjectName(QString("Option_") + s.window);
      v->addWidget(option);
      options.push_back({option, s.window});
    }
    v->addStretch();
    row->addWidget(box, at / 2, at % 2);
    ++at;
  }
  options.front().first->setChecked(true);
  layout->addLayout(row);
  auto* buttons = new QHBoxLayout;
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CommandOK");
  auto* exit = new QPushButton("Exit", this);
  exit->setObjectName("CommandExit");
  buttons->addStretch();
  buttons->addWidget(ok);
  buttons->addWidget(exit);
  layout->addLayout(buttons);
  connect(ok, &QPushButton::clicked, this, [this, options] {
    for (const auto& [option, window] : options)
      if (option->isChecked()) main_.OpenWindow(window);
  });
  connect(exit, &QPushButton::clicked, this, [this] {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) sub->close();
    else close();
  });
}

// ---------------------------------------------------------------------------
// the family windows

PredesignWindow::PredesignWindow(MainWindow& main, predesign::Kind kind)
    : main_(main), spec_(predesign::SpecOf(kind)) {
  setObjectName(spec_.window);
  setWindowTitle(spec_.title);
  const predesign::Inputs start = predesign::DefaultInputs(kind);

  auto* outer = new QVBoxLayout(this);
  auto* menu = new QMenuBar(this);
  menu->addAction("Exit", this, [this] {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) sub->close();
    else close();
  })->setObjectName("Exit");
  menu->addAction("Print", this, [this] { Print(); })->setObjectName("Print");
  menu->addAction("&Save as bmp file", this, [this] { SaveImage(); })->setObjectName("SaveImage");
  menu->addAction("Help", this, [this] { Help(); })->setObjectName("Help");
  QMenu* windows = menu->addMenu("Windows");
  windows->setObjectName("MnuWindows");
  windows->addAction("Design window", this, [this] { main_.ShowDesignWindow(); });
  windows->addAction("Telescope Pre-Design", this, [this] { main_.OpenWindow("FrmTelDes"); });
  outer->setMenuBar(menu);

  auto* columns = new QHBoxLayout;
  outer->addLayout(columns);

  // --- inputs, glass and commands ---
  auto* left = new QVBoxLayout;
  auto* inputs = new QGroupBox("Data", this);
  auto* grid = new QGridLayout(inputs);
  int r = 0;
  for (const predesign::InputSpec& in : spec_.inputs) {
    auto* caption = new QLabel(in.caption, inputs);
    auto* box = new QLineEdit(Q(start.text.at(in.key)), inputs);
    box->setObjectName(QString("Text_") + in.key);
    box->setAlignment(Qt::AlignRight);
    box->setMaximumWidth(110);
    const std::string_view key = in.key;
    if (key.starts_with("index-") || key.starts_with("glass-") || key == "wl")
      box->setMaximumWidth(200);  // lists and glass names
    else
      FilterKeys(box, KeyFilter::NumericSilent);
    grid->addWidget(caption, r, 0);
    grid->addWidget(box, r++, 1);
    boxes_[in.key] = box;
  }
  left->addWidget(inputs);

  if (spec_.glass != GlassUse::None) {
    auto* g = new QGroupBox("Corrector glass", this);
    auto* gl = new QGridLayout(g);
    catalogue_ = new QComboBox(g);
    catalogue_->setObjectName("ComboCatalog");
    for (const char* c : kCatalogues) catalogue_->addItem(c);
    catalogue_->setCurrentText("DIRECT");
    glass_ = new QComboBox(g);
    glass_->setObjectName("ComboGlass");
    gl->addWidget(new QLabel("Catalogue", g), 0, 0);
    gl->addWidget(catalogue_, 0, 1);
    gl->addWidget(new QLabel("Glass", g), 1, 0);
    gl->addWidget(glass_, 1, 1);
    const int count = spec_.glass == GlassUse::Three ? 3 : 1;
    for (int k = 0; k < count; ++k) {
      auto* wl = new QComboBox(g);
      wl->setObjectName(k == 0 ? "ComboWL" : QString("ComboWL%1").arg(k + 1));
      for (const WavelengthListEntry& e : kWavelengthList) wl->addItem(*e.line ? e.line : e.value);
      wl->setCurrentIndex(WavelengthEntry(start.glass.wavelengths[k]));
      auto* index = new QLineEdit(Q(start.glass.indexText[k]), g);
      index->setObjectName(k == 0 ? "TextInd" : QString("TextInd%1").arg(k + 1));
      index->setAlignment(Qt::AlignRight);
      index->setMaximumWidth(110);
      gl->addWidget(new QLabel(k == 0 ? "Wavelength / index" : "", g), 2 + k, 0);
      auto* pair = new QHBoxLayout;
      pair->addWidget(wl);
      pair->addWidget(index);
      gl->addLayout(pair, 2 + k, 1);
      wavelengths_.push_back(wl);
      indices_.push_back(index);
      connect(wl, &QComboBox::currentIndexChanged, this, [this] { UpdateIndexFromGlass(); });
    }
    connect(catalogue_, &QComboBox::currentIndexChanged, this, [this] {
      FillGlassList();
      UpdateIndexFromGlass();
    });
    connect(glass_, &QComboBox::currentIndexChanged, this, [this] { UpdateIndexFromGlass(); });
    FillGlassList();
    left->addWidget(g);
  }

  const bool lenses = kind == predesign::Kind::Doublet || kind == predesign::Kind::Triplet;
  if (lenses) AddLensPickers(left);

  auto* calc = new QPushButton(spec_.calculate, this);
  calc->setObjectName(lenses ? "CommandCalc" : "Command1");
  connect(calc, &QPushButton::clicked, this, [this] { Calculate(); });
  left->addWidget(calc);
  if (spec_.variants.empty()) {
    auto* ok = new QPushButton("O.K.  ANALYZE", this);
    ok->setObjectName("CommandOK");
    connect(ok, &QPushButton::clicked, this, [this] { Analyze(); });
    left->addWidget(ok);
  } else {
    auto* box = new QGroupBox("O.K.  ANALYZE", this);
    auto* v = new QVBoxLayout(box);
    for (const predesign::VariantSpec& vs : spec_.variants) {
      auto* b = new QPushButton(vs.button, box);
      b->setObjectName(QString("Command_") + vs.key);
      const std::string key = vs.key;
      connect(b, &QPushButton::clicked, this, [this, key] { Analyze(key); });
      v->addWidget(b);
    }
    left->addWidget(box);
  }
  message_ = new QLabel(this);
  message_->setObjectName("LabelMessage");
  message_->setWordWrap(true);
  message_->setStyleSheet("color: #a00000");
  left->addWidget(message_);
  left->addStretch();
  columns->addLayout(left);

  // --- results ---
  auto* middle = new QVBoxLayout;
  auto* res = new QGroupBox("Results", this);
  results_ = new QGridLayout(res);
  middle->addWidget(res);
  auto* ext = new QGroupBox("For the telescope maker", this);
  extras_ = new QGridLayout(ext);
  middle->addWidget(ext);
  const bool houghton = kind == predesign::Kind::Houghton || kind == predesign::Kind::HoughtonAspheric ||
                        kind == predesign::Kind::HoughtonCassegrain ||
                        kind == predesign::Kind::HoughtonCassegrainAspheric;
  if (spec_.glass == GlassUse::One && !houghton) {
    profile_ = new QTableWidget(0, 2, this);
    profile_->setObjectName("TableProfile");
    profile_->setHorizontalHeaderLabels({"Zone radius", "Depth"});
    profile_->verticalHeader()->hide();
    profile_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    profile_->setMinimumHeight(140);
    auto* pg = new QGroupBox("Corrector profile (depth below the highest zone, mm)", this);
    auto* pl = new QVBoxLayout(pg);
    pl->addWidget(profile_);
    middle->addWidget(pg);
  }
  if (spec_.glass == GlassUse::Three) {
    auto* sg = new QGroupBox(kind == predesign::Kind::Maksutov ? "Correction by hand" : "Figures", this);
    auto* sl = new QGridLayout(sg);
    const char* names[] = {"Radii factor", "Thickness", "Corrector distance", "Mirror radius"};
    for (int k = 0; k < (kind == predesign::Kind::Maksutov ? 4 : 0); ++k) {
      auto* s = new QScrollBar(Qt::Horizontal, sg);
      s->setObjectName(QString("HScroll%1").arg(k + 1));
      s->setRange(k == 0 ? 9000 : 8000, k == 0 ? 10500 : 12000);
      s->setSingleStep(k == 0 ? 5 : 10);
      s->setPageStep(100);
      s->setValue(start.scroll[k]);
      s->setMinimumWidth(160);
      sl->addWidget(new QLabel(names[k], sg), k, 0);
      sl->addWidget(s, k, 1);
      scrolls_.push_back(s);
      connect(s, &QScrollBar::valueChanged, this, [this] { ScrollMoved(); });
    }
    osc_ = ValueLabel(sg, "LabelOSC", "");
    sl->addWidget(new QLabel(" O S C", sg), 4, 0);
    sl->addWidget(osc_, 4, 1);
    middle->addWidget(sg);
    aberrations_ = new PlotView(1.0, this);
    aberrations_->setObjectName("Picture2");
    aberrations_->setMinimumSize(220, 220);
    aberrations_->setMaximumHeight(240);
    middle->addWidget(new QLabel("Longitudinal spherical aberration (e green, F blue, C red)", this));
    middle->addWidget(aberrations_);
  }
  if (kind == predesign::Kind::Triplet) AddTripletScrolls(middle, start);
  middle->addStretch();
  columns->addLayout(middle);

  picture_ = new PlotView(1.6, this);
  picture_->setObjectName("Picture1");
  columns->addWidget(picture_, 1);

  // The starting values are calculated at once, so that the window opens with
  // its schematic; nothing is written until a button asks for it.
  const predesign::Outcome o = predesign::Calculate(spec_.kind, ReadInputs());
  if (o.ok) {
    plan_ = o.plan;
    calculated_ = true;
    ShowPlan();
  }
}

void PredesignWindow::FillGlassList() {
  if (!glass_) return;
  const QString cat = catalogue_->currentText();
  glass_->blockSignals(true);
  glass_->clear();
  Catalogue c;
  if (cat != "DIRECT" && CatalogueByName(S(cat), c)) {
    for (const GlassListEntry& e : GlassList(c, ""))
      if (e.available) glass_->addItem(e.row->name);
    const int bk7 = glass_->findText(c == Catalogue::Schott ? "N-BK7" : "BK7", Qt::MatchStartsWith);
    glass_->setCurrentIndex(bk7 >= 0 ? bk7 : 0);
  }
  glass_->setEnabled(glass_->count() > 0);
  glass_->blockSignals(false);
  for (QLineEdit* i : indices_) i->setReadOnly(cat != "DIRECT");
}

void PredesignWindow::UpdateIndexFromGlass() {
  if (!catalogue_ || catalogue_->currentText() == "DIRECT") return;
  predesign::GlassChoice g;
  g.catalogue = S(catalogue_->currentText());
  g.glass = S(glass_->currentText());
  for (std::size_t k = 0; k < indices_.size(); ++k) {
    GlassLookup lookup;
    lookup.GlassName = g.glass;
    lookup.GlassWl = EntryWavelength(wavelengths_[k]->currentIndex());
    Catalogue c;
    bool found = false;
    try {
      found = CatalogueByName(g.catalogue, c) && lookup.Lookup(c);
    } catch (const GlassRangeError&) {
      found = false;
    }
    indices_[k]->setText(found ? Q(FormatFixed(lookup.GlassIndex, 5)) : QString());
  }
}

predesign::Inputs PredesignWindow::ReadInputs() const {
  predesign::Inputs in = predesign::DefaultInputs(spec_.kind);
  for (const auto& [key, box] : boxes_) in.text[key] = S(box->text());
  in.variant = variant_;
  if (catalogue_) {
    in.glass.catalogue = S(catalogue_->currentText());
    in.glass.glass = S(glass_->currentText());
    in.glass.indexText.clear();
    in.glass.wavelengths.clear();
    for (std::size_t k = 0; k < indices_.size(); ++k) {
      in.glass.indexText.push_back(S(indices_[k]->text()));
      in.glass.wavelengths.push_back(EntryWavelength(wavelengths_[k]->currentIndex()));
    }
  }
  for (std::size_t k = 0; k < scrolls_.size(); ++k) in.scroll[k] = scrolls_[k]->value();
  return in;
}

bool PredesignWindow::Calculate() {
  const predesign::Outcome o = predesign::Calculate(spec_.kind, ReadInputs());
  if (!o.ok) {
    lastMessage_ = Q(o.error);
    message_->setText(lastMessage_);
    Tell(this, lastMessage_, windowTitle());
    return false;
  }
  lastMessage_.clear();
  message_->clear();
  plan_ = o.plan;
  calculated_ = true;
  ShowPlan();
  return true;
}

void PredesignWindow::ShowPlan() {
  for (QWidget* w : shown_) delete w;
  shown_.clear();
  auto add = [this](QGridLayout* grid, const std::vector<predesign::Result>& list, const char* prefix) {
    int r = 0;
    for (const predesign::Result& x : list) {
      auto* caption = new QLabel(Q(x.caption), grid->parentWidget());
      auto* value = ValueLabel(grid->parentWidget(), QString(prefix) + Q(x.key), Q(x.text));
      grid->addWidget(caption, r, 0);
      grid->addWidget(value, r++, 1);
      shown_.push_back(caption);
      shown_.push_back(value);
    }
  };
  add(results_, plan_.results, "Result_");
  add(extras_, plan_.extras, "Extra_");
  if (profile_) {
    profile_->setRowCount(static_cast<int>(plan_.profile.size()));
    for (int i = 0; i < profile_->rowCount(); ++i) {
      profile_->setItem(i, 0, new QTableWidgetItem(Q(FormatFixed(plan_.profile[i].first, 2))));
      profile_->setItem(i, 1, new QTableWidgetItem(Q(FormatFixed(plan_.profile[i].second, 5))));
    }
  }
  RecordingCanvas c;
  predesign::DrawSchematic(plan_, c, 560, 350);
  picture_->SetPlot(c);
  if (aberrations_) {
    // The figures of the system as it would be written.
    DesignState d;
    DesignSheet sheet;
    CatalogueMedia media;
    if (!predesign::WriteDesign(plan_, d, sheet, media)) ShowAberrations(d);
  }
}

void PredesignWindow::ShowAberrations(const DesignState& d) {
  const predesign::MeniscusFigures f = predesign::MeniscusAberrations(d);
  RecordingCanvas c;
  predesign::DrawAberrationCurves(f, c, 300, 300);
  aberrations_->SetPlot(c);
  osc_->setText(Q(FormatFixed(f.osc, 6)));
}

bool PredesignWindow::Analyze(const std::string& variant) {
  if (!variant.empty()) variant_ = variant;
  if (!Calculate()) return false;
  Session& s = main_.session();
  main_.CommitDesignEdits();
  if (const auto e = predesign::WriteDesign(plan_, s.design, s.sheet, s.media)) {
    lastMessage_ = Q(*e);
    Tell(this, lastMessage_, windowTitle());
    return false;
  }
  s.hasUpdated = true;
  s.lastUpdateOk = true;
  main_.RefreshAll();
  // The design window goes to the task bar, minimised, ready for the analyses.
  if (DesignWindow* w = main_.ShowDesignWindow()) {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) sub->showMinimized();
  }
  if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) sub->raise();
  if (aberrations_) ShowAberrations(s.design);
  return true;
}

void PredesignWindow::AddLensPickers(QVBoxLayout* left) {
  const bool triplet = spec_.kind == predesign::Kind::Triplet;
  const QString suffix = triplet ? "Tripl" : "Dopp";
  auto* g = new QGroupBox("Glasses and wavelengths", this);
  auto* v = new QVBoxLayout(g);
  for (const char* lens : triplet ? std::vector<const char*>{"A", "B", "C"} : std::vector<const char*>{"A", "B"}) {
    auto* b = new QPushButton(QString("Click to select Lens %1 glass").arg(lens), g);
    b->setObjectName(QString("CmdLens%1").arg(lens));
    const std::string key = std::string(lens) == "A" ? "a" : std::string(lens) == "B" ? "b" : "c";
    const QString name = QString("FrmLens%1%2").arg(lens, suffix);
    connect(b, &QPushButton::clicked, this, [this, key, name, lens] {
      auto* picker = new LensGlassPicker(this, name, lens, boxes_.at("glass-" + key)->text(), [this, key](const QString& g) {
        SetInput("glass-" + key, g);
        SetInput("index-" + key, "");
        Calculate();
      });
      picker->show();
    });
    v->addWidget(b);
  }
  auto* wl = new QPushButton("Click to select design  wavelengths", g);
  wl->setObjectName(triplet ? "CmdWLTripl" : "CmdWLDopp");
  wl->setToolTip("Wave Length Selection");
  const QString name = "FrmWL" + suffix;
  connect(wl, &QPushButton::clicked, this, [this, name] {
    auto* picker = new WavelengthPicker(this, name, boxes_.at("wl")->text(), [this](const QString& w) {
      SetInput("wl", w);
      Calculate();
    });
    picker->show();
  });
  v->addWidget(wl);
  left->addWidget(g);
}

void PredesignWindow::AddTripletScrolls(QVBoxLayout* middle, const predesign::Inputs& start) {
  auto* sg = new QGroupBox("Correction by hand", this);
  auto* sl = new QGridLayout(sg);
  struct Bar {
    const char* name;
    const char* caption;
    int lo, hi, step;
  };
  // Power of lens B (x 1/10000), R5 against its aplanatic value, the second
  // air space (10000 = 1 mm).
  const Bar bars[] = {{"HScrollPower2", "Power of lens B", 9500, 10500, 5},
                      {"HScrollR5R4", "R5 / R4", 9000, 11000, 10},
                      {"HScrollAir2", "Second air space", 0, 50000, 500}};
  for (int k = 0; k < 3; ++k) {
    auto* s = new QScrollBar(Qt::Horizontal, sg);
    s->setObjectName(bars[k].name);
    s->setRange(bars[k].lo, bars[k].hi);
    s->setSingleStep(bars[k].step);
    s->setPageStep(10 * bars[k].step);
    s->setValue(start.scroll[k]);
    s->setMinimumWidth(160);
    sl->addWidget(new QLabel(bars[k].caption, sg), k, 0);
    sl->addWidget(s, k, 1);
    scrolls_.push_back(s);
    connect(s, &QScrollBar::valueChanged, this, [this] { ScrollMoved(); });
  }
  auto* restore_power = new QPushButton("Restore", sg);
  restore_power->setObjectName("CmdRestorePower");
  connect(restore_power, &QPushButton::clicked, this, [this] { scrolls_[0]->setValue(10000); });
  sl->addWidget(restore_power, 0, 2);
  auto* restore_shape = new QPushButton("Restore", sg);
  restore_shape->setObjectName("CmdRestoreShape");
  connect(restore_shape, &QPushButton::clicked, this, [this] {
    scrolls_[1]->blockSignals(true);
    scrolls_[1]->setValue(10000);
    scrolls_[1]->blockSignals(false);
    scrolls_[2]->setValue(10000);
    ScrollMoved();
  });
  sl->addWidget(restore_shape, 1, 2, 2, 1);
  osc_ = ValueLabel(sg, "LabelOSC", "");
  sl->addWidget(new QLabel(" O S C", sg), 3, 0);
  sl->addWidget(osc_, 3, 1);
  middle->addWidget(sg);
  aberrations_ = new PlotView(1.0, this);
  aberrations_->setObjectName("Picture2");
  aberrations_->setMinimumSize(220, 220);
  aberrations_->setMaximumHeight(240);
  middle->addWidget(new QLabel("Longitudinal spherical aberration (wavelengths 1, 2, 3)", this));
  middle->addWidget(aberrations_);
}

void PredesignWindow::ScrollMoved() {
  // The scroll bars change the written design at once.
  if (!calculated_) return;
  Analyze();
}

void PredesignWindow::SetInput(const std::string& key, const QString& text) {
  if (auto it = boxes_.find(key); it != boxes_.end()) it->second->setText(text);
}

void PredesignWindow::SetGlass(const QString& catalogue, const QString& glass) {
  if (!catalogue_) return;
  catalogue_->setCurrentText(catalogue);
  if (!glass.isEmpty()) glass_->setCurrentText(glass);
  UpdateIndexFromGlass();
}

void PredesignWindow::SetIndex(int k, const QString& text) {
  if (k >= 0 && k < static_cast<int>(indices_.size())) indices_[k]->setText(text);
}

void PredesignWindow::SetScroll(int k, int value) {
  if (k >= 0 && k < static_cast<int>(scrolls_.size())) scrolls_[k]->setValue(value);
}

QString PredesignWindow::Result(const std::string& key) const {
  const std::string* t = plan_.Find(key);
  return calculated_ && t ? Q(*t) : QString();
}

void PredesignWindow::Help() {
  QString text;
  for (const char* step : spec_.help) text += QString(step) + "\n";
  Tell(this, text, "Help");
}

bool PredesignWindow::PrintTo(QPrinter& printer) {
  const QImage image = grab().toImage();
  QPainter p;
  if (!p.begin(&printer)) return false;
  const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
  const PageFit fit = FitToPage(image.width(), image.height(), page.width(), page.height());
  p.drawImage(QRectF(0, 0, fit.width, fit.height), image);
  return p.end();
}

void PredesignWindow::Print() {
  if (!AskYesNo(this, "Do you want to print this window?", windowTitle())) return;
  QPrinter printer(QPrinter::HighResolution);
  printer.setPageOrientation(QPageLayout::Landscape);
  QPrintDialog dialog(&printer, this);
  if (dialog.exec() != QDialog::Accepted) return;
  if (!PrintTo(printer)) Tell(this, "Print Error!");
}

bool PredesignWindow::SaveImageTo(const QString& path) { return grab().toImage().save(path, "BMP"); }

void PredesignWindow::SaveImage() {
  QString path = QFileDialog::getSaveFileName(this, "Save Screen as Bitmap", QString(), "Bitmap Image (*.bmp)");
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += ".BMP";
  if (!SaveImageTo(path)) Tell(this, "Cannot write " + path);
}

}  // namespace ovrin::shell
