#include "shell/geometric_family_windows.h"

#include <QAction>
#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <fstream>
#include <sstream>

#include "core/number_text.h"
#include "shell/main_window.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

struct KindEntry {
  FamilyKind kind;
  const char* name;
  const char* caption;
  const char* help;
  std::vector<std::string> panes;
  double aspect;
};

const std::vector<KindEntry>& KindTable() {
  static const std::vector<KindEntry> table = {
      {FamilyKind::MultiSpot, "Frmmultispot", "Multi-SpotDiagram (through Focus/Field)", "MultiSpot", {"Picture1"}, 500.0 / 234},
      {FamilyKind::MatrixSpot, "FrmMatrix", "Matrix SpotDiagram", "MatrixSpot", {"Picture1"}, 1.3},
      {FamilyKind::TotalFieldSpot, "FrmTotalFieldSpot", "Total Field Spot Diagram", "TotalFieldSpot", {"Picture1"}, 1.3},
      {FamilyKind::RmsVersus, "FrmRMS", "RMS Spot size versus....", "RmsVersus", {"Picture1"}, 1.5},
      {FamilyKind::Distortion, "FrmDist", "Distortion", "Distortion", {"Picture1", "Picture2"}, 1.2},
      {FamilyKind::LateralColour, "FrmLatCol", "Lateral Color", "LateralColour", {"Picture1"}, 1.5},
      {FamilyKind::FocalShift, "FrmCFS", "Chromatic Focal Shift", "FocalShift", {"Picture1"}, 1.5},
      {FamilyKind::EncircledEnergy, "Frmeep", "Geometrical Encircled Energy", "EncircledEnergy", {"Picture1"}, 1.5},
      {FamilyKind::GeometricPsf, "Frmpsf", "Geometric PSF", "GeometricPsf", {"Picture1", "Picture2"}, 1.0},
      {FamilyKind::GeometricMtf, "FrmMTFGeoField", "Geometric MTF", "GeometricMtf", {"Picture1"}, 1.5},
      {FamilyKind::GeometricMtfFocus, "FrmMTFGeotfocus", "Geometric Through Focus MTF", "GeometricMtfFocus", {"Picture1"}, 1.5},
      {FamilyKind::RealRays, "FrmRealRay", "Real Rays", "RealRays", {"Picture1"}, 2.5},
      {FamilyKind::Vignetting, "FrmVign", "Vignetting Plot", "Vignetting", {"Picture1"}, 1.5},
      {FamilyKind::Footprint, "FrmFootPrint", "FootPrint", "Footprint", {"Picture1"}, 1.0},
      {FamilyKind::BestFocus, "FrmBestFocus", "Best Focus", "BestFocus", {"Picture1"}, 1.5},
  };
  return table;
}

const KindEntry& EntryOf(FamilyKind kind) {
  for (const KindEntry& s : KindTable())
    if (s.kind == kind) return s;
  return KindTable().front();
}

FrameOptions FrameOf(const KindEntry& s) {
  FrameOptions o;
  o.panes = s.panes;
  o.plot_aspect = s.aspect;
  o.pane_columns = static_cast<int>(std::max<std::size_t>(1, s.panes.size()));
  o.text_pane = "TextNumbers";
  o.wavelength_names = {"Check1", "Check2", "Check3", "Check4", "Check5", "Check6"};
  if (s.kind == FamilyKind::RealRays || s.kind == FamilyKind::FocalShift || s.kind == FamilyKind::Footprint)
    o.wavelengths = FrameOptions::Wavelengths::One;
  return o;
}

std::string Fixed(double v, int decimals) { return FormatFixed(v, decimals); }

std::string Column(const std::string& s, std::size_t width) {
  return s.size() >= width ? s + " " : std::string(width - s.size(), ' ') + s;
}

// A table of columns: a header and rows of numbers.
std::string Table(const std::vector<std::string>& head, const std::vector<std::vector<double>>& cols,
                  const std::vector<int>& decimals) {
  std::ostringstream o;
  for (const std::string& h : head) o << Column(h, 14);
  o << "\n";
  const std::size_t n = cols.empty() ? 0 : cols[0].size();
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t c = 0; c < cols.size(); ++c) o << Column(Fixed(i < cols[c].size() ? cols[c][i] : 0, decimals[c]), 14);
    o << "\n";
  }
  return o.str();
}

// A table as a picture: each line's words in columns of equal width.
void DrawTextPicture(const std::string& text, Canvas& c) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(text);
  std::string line;
  std::size_t cols = 1;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::vector<std::string> w;
    for (std::string x; words >> x;) w.push_back(x);
    cols = std::max(cols, w.size());
    rows.push_back(std::move(w));
  }
  const double width = 110.0 * static_cast<double>(cols) + 20;
  c.Window(0, 0, width, -(30.0 + 30 * rows.size()));
  c.Clear({255, 255, 255});
  double y = -25;
  for (std::size_t r = 0; r < rows.size(); ++r, y -= 30) {
    for (std::size_t k = 0; k < rows[r].size(); ++k) c.Text(10 + 110.0 * k, y, rows[r][k], {0, 0, 0});
    if (r == 0) c.Line(0, y - 10, width, y - 10, {150, 150, 150}, 1);
  }
}

}  // namespace

const char* FamilyWindowName(FamilyKind kind) { return EntryOf(kind).name; }

const std::map<std::string, FamilyKind>& FamilyWindows() {
  static const std::map<std::string, FamilyKind> m = [] {
    std::map<std::string, FamilyKind> r;
    for (const KindEntry& s : KindTable()) r[s.name] = s.kind;
    return r;
  }();
  return m;
}

FamilyWindow::FamilyWindow(MainWindow& main, FamilyKind kind)
    : AnalysisWindow(main, EntryOf(kind).name, EntryOf(kind).caption, EntryOf(kind).help, FrameOf(EntryOf(kind))),
      kind_(kind) {
  const bool bundle = kind != FamilyKind::FocalShift && kind != FamilyKind::RealRays &&
                      kind != FamilyKind::Distortion && kind != FamilyKind::LateralColour;
  if (bundle) AddBox("TxtDiv", "Pupil steps", kind == FamilyKind::GeometricPsf ? "40" : "12");
  switch (kind) {
    case FamilyKind::MultiSpot:
      AddBox("TxtStep", "Focus step (mm)", "0.05");
      AddBox("TxtZoom", "Zoom", "1");
      break;
    case FamilyKind::MatrixSpot:
      AddBox("TxtFields", "Fields", "0, 0.7, 1");
      AddBox("TxtZoom", "Zoom", "1");
      break;
    case FamilyKind::TotalFieldSpot:
      AddBox("TxtFields", "Fields", "0, 0.7, 1");
      AddBox("TxtZoom", "Spot magnification", "100");
      break;
    case FamilyKind::RmsVersus: {
      scanBox_ = new QComboBox(this);
      scanBox_->setObjectName("ComboScan");
      scanBox_->addItems({"Focus", "Field", "WaveLength"});
      panel_->addWidget(new QLabel("RMS versus", this), row_, 0);
      panel_->addWidget(scanBox_, row_++, 1);
      AddBox("TxtDefocus", "Focus range +/- (mm)", "0.2");
      AddBox("TxtShort", "From (um)", "0.4");
      AddBox("TxtLong", "To (um)", "0.8");
      AddBox("TxtField", "Field", "0");
      AddBox("TxtSteps", "Steps", "20");
      break;
    }
    case FamilyKind::Distortion:
    case FamilyKind::LateralColour:
    case FamilyKind::Vignetting:
      AddBox("TxtSteps", "Field steps", "10");
      break;
    case FamilyKind::FocalShift: {
      AddBox("TxtShort", "From (um)", "0.4");
      AddBox("TxtLong", "To (um)", "0.8");
      AddBox("TxtSteps", "Steps", "40");
      auto* b = new QPushButton("Export to \"ABERRATOR\"", this);
      b->setObjectName("ExportToAberrator");
      connect(b, &QPushButton::clicked, this, [this] {
        if (!computed_ || !cfs_.error.empty()) Update();
        if (!AskYesNo(this, kCfsQuestion, windowTitle())) return;
        const QString path = QFileDialog::getSaveFileName(this, "Export to ABERRATOR", QString(), "file (*.CFS)");
        if (!path.isEmpty() && !ExportCfsTo(path)) Tell(this, "ERROR!", windowTitle());
      });
      panel_->addWidget(b, row_++, 0, 1, 2);
      break;
    }
    case FamilyKind::EncircledEnergy:
      AddBox("TxtField", "Field", "0");
      break;
    case FamilyKind::GeometricPsf:
      AddBox("TxtField", "Field", "0");
      AddBox("TxtBins", "Bins a side", "31");
      AddBox("TxtWidth", "Half width (mm, 0 auto)", "0");
      AddBox("TxtAngle", "Relief view (deg)", "30");
      break;
    case FamilyKind::GeometricMtf:
      AddBox("TxtFields", "Fields", "0, 0.7, 1");
      AddBox("TxtSamples", "Frequencies", "40");
      break;
    case FamilyKind::GeometricMtfFocus:
      AddBox("TxtFields", "Fields", "0, 0.7, 1");
      AddBox("TxtFreq", "Frequency (c/mm)", "20");
      AddBox("TxtDefocus", "Focus range +/- (mm)", "0.2");
      AddBox("TxtSteps", "Steps", "20");
      break;
    case FamilyKind::RealRays:
      AddBox("TxtField", "Field", "1");
      AddBox("TxtPx", "Pupil X", "0");
      AddBox("TxtPy", "Pupil Y", "1");
      break;
    case FamilyKind::Footprint:
      AddBox("TxtSurface", "Surface", "1");
      AddBox("TxtFields", "Fields", "0, 0.7, 1");
      break;
    case FamilyKind::BestFocus: {
      criterionBox_ = new QComboBox(this);
      criterionBox_->setObjectName("ComboCriterion");
      criterionBox_->addItems({"Min. RMS spot", "Min. RMS wavefront"});
      panel_->addWidget(new QLabel("Criterion", this), row_, 0);
      panel_->addWidget(criterionBox_, row_++, 1);
      AddBox("TxtField", "Field", "0");
      AddBox("TxtRange", "Search +/- (mm, 0 auto)", "0");
      auto* b = new QPushButton("Write into last thickness", this);
      b->setObjectName("CmdApply");
      connect(b, &QPushButton::clicked, this, [this] {
        if (!computed_) Update();
        if (!best_.error.empty()) return;
        if (AskYesNo(this, "Write the focus shift " + Q(Fixed(best_.shift, 5)) + " mm into the last thickness?",
                     windowTitle()))
          ApplyBestFocus();
      });
      panel_->addWidget(b, row_++, 0, 1, 2);
      break;
    }
  }
  panel_->setRowStretch(row_, 1);
  // The ray table's picture needs room for its nine columns.
  if (kind == FamilyKind::RealRays && PaneCount() > 0) Pane(0)->setMinimumSize(960, 300);
}

void FamilyWindow::AddBox(const char* name, const char* label, const char* value) {
  auto* b = new QLineEdit(value, this);
  b->setObjectName(name);
  b->setAlignment(Qt::AlignRight);
  SelectAllOnFocus(b);
  panel_->addWidget(new QLabel(label, this), row_, 0);
  panel_->addWidget(b, row_++, 1);
  boxes_[name] = b;
}

QLineEdit* FamilyWindow::Box(const char* name) const {
  auto it = boxes_.find(name);
  return it == boxes_.end() ? nullptr : it->second;
}

double FamilyWindow::Number(const char* name) const {
  const QLineEdit* b = Box(name);
  return b ? NumberIn(b) : 0;
}

namespace {
std::vector<double> ListIn(const QLineEdit* b) {
  std::vector<double> v;
  if (!b) return v;
  for (const QString& part : b->text().split(',', Qt::SkipEmptyParts)) {
    bool ok = false;
    const double x = part.trimmed().toDouble(&ok);
    if (ok) v.push_back(x);
  }
  return v;
}
}  // namespace

FamilySettings FamilyWindow::Settings() const {
  const Session& s = main_.session();
  FamilySettings f;
  f.angleYDeg = ParseLeadingNumber(s.sheet.Txtangolo);
  f.objectHeight = s.design.HalfFieldY;
  f.actualBfl = NumberIn(actualBfl_);
  if (std::fabs(f.actualBfl - s.design.Bfl) < 1e-9) f.actualBfl = 0;
  const int div = static_cast<int>(Number("TxtDiv"));
  f.div = div >= 1 && div <= 200 ? div : 12;
  f.checked = CheckedWavelengths();
  f.background = BackgroundIndex();
  return f;
}

void FamilyWindow::SetScan(RmsScan scan) {
  if (!scanBox_) return;
  scanBox_->setCurrentIndex(static_cast<int>(scan));
  Update();
}

RmsScan FamilyWindow::scan() const {
  return scanBox_ ? static_cast<RmsScan>(scanBox_->currentIndex()) : RmsScan::Focus;
}

void FamilyWindow::Recompute() {
  const DesignState& d = main_.session().design;
  settings_ = Settings();
  const FamilySettings& s = settings_;
  std::string error;
  std::ostringstream t;
  curves_ = CurvePlot{};
  switch (kind_) {
    case FamilyKind::MultiSpot:
    case FamilyKind::MatrixSpot:
    case FamilyKind::TotalFieldSpot: {
      spotSet_ = SpotFamilySettings{};
      spotSet_.family = kind_ == FamilyKind::MultiSpot    ? SpotFamily::Multi
                        : kind_ == FamilyKind::MatrixSpot ? SpotFamily::Matrix
                                                          : SpotFamily::TotalField;
      if (Box("TxtStep")) spotSet_.focusStep = Number("TxtStep");
      if (Box("TxtFields")) {
        const std::vector<double> f = ListIn(Box("TxtFields"));
        if (!f.empty()) spotSet_.fields = f;
      }
      spotSet_.zoom = Number("TxtZoom") > 0 ? Number("TxtZoom") : 1;
      spotSet_.aspect = EntryOf(kind_).aspect;
      spots_ = ComputeSpotFamily(d, s, spotSet_);
      error = spots_.error;
      t << Column("Spot", 26) << Column("Focus", 12) << Column("Chief Y", 12) << Column("RMS (mm)", 12)
        << Column("Max r (mm)", 12) << Column("Airy r", 12) << "\n";
      for (const SpotCell& c : spots_.cells)
        t << Column(c.title, 26) << Column(Fixed(c.focusShift, 4), 12) << Column(Fixed(c.chiefY, 4), 12)
          << Column(Fixed(c.stats.rms, 5), 12) << Column(Fixed(c.stats.maxRadius, 5), 12)
          << Column(Fixed(c.airyRadius, 5), 12) << "\n";
      break;
    }
    case FamilyKind::RmsVersus: {
      RmsVersusSettings v;
      v.scan = scan();
      v.defocus = Number("TxtDefocus");
      v.shortWl = Number("TxtShort");
      v.longWl = Number("TxtLong");
      v.field = Number("TxtField");
      v.steps = std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000);
      const RmsVersusResult r = ComputeRmsVersus(d, s, v);
      error = r.error;
      curves_ = r.plot;
      const char* x = v.scan == RmsScan::Focus ? "Focus (mm)" : v.scan == RmsScan::Field ? "Field" : "WL (um)";
      t << Table({x, "RMS r (mm)", "Airy r (mm)"}, {r.x, r.rms, r.airy}, {4, 6, 6});
      break;
    }
    case FamilyKind::Distortion: {
      dist_ = ComputeDistortion(d, s, std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000));
      error = dist_.error;
      curves_ = dist_.plot;
      t << Table({"Field", "Real h (mm)", "Parax h (mm)", "Dist (mm)", "Dist (%)"},
                 {dist_.field, dist_.real, dist_.paraxial, dist_.mm, dist_.percent}, {3, 5, 5, 6, 5});
      t << "Maximum |distortion| " << Fixed(dist_.maxPercent, 5) << " %\n";
      break;
    }
    case FamilyKind::LateralColour: {
      const LateralColourResult r = ComputeLateralColour(d, s, std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000));
      error = r.error;
      curves_ = r.plot;
      std::vector<std::string> head{"Field"};
      std::vector<std::vector<double>> cols{r.field};
      std::vector<int> dec{3};
      for (std::size_t i = 0; i < r.wavelengths.size(); ++i) {
        head.push_back("WL" + std::to_string(r.wavelengths[i]) + "-WL1 (mm)");
        cols.push_back(r.difference[i]);
        dec.push_back(6);
      }
      t << Table(head, cols, dec) << "Airy radius " << Fixed(r.airyRadius, 5) << " mm\n";
      if (r.wavelengths.empty()) t << "The design has one wavelength: no lateral colour.\n";
      break;
    }
    case FamilyKind::FocalShift: {
      FocalShiftSettings f;
      f.shortWl = Number("TxtShort");
      f.longWl = Number("TxtLong");
      f.steps = std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000);
      cfs_ = ComputeFocalShift(d, s, f);
      error = cfs_.error;
      curves_ = cfs_.plot;
      t << Table({"WL (um)", "Focus (mm)", "Shift (mm)"}, {cfs_.wavelength, cfs_.focus, cfs_.shift}, {4, 5, 6});
      t << "Reference focus " << Fixed(cfs_.reference, 5) << " mm, spread " << Fixed(cfs_.spread, 6) << " mm\n";
      break;
    }
    case FamilyKind::EncircledEnergy: {
      EnergySettings e;
      e.field = Number("TxtField");
      const EnergyResult r = ComputeEncircledEnergy(d, s, e);
      error = r.error;
      curves_ = r.plot;
      t << Column("", 24) << Column("50 %", 12) << Column("80 %", 12) << Column("90 %", 12) << "\n";
      auto line = [&](const char* name, const std::array<double, 3>& a) {
        t << Column(name, 24);
        for (double v : a) t << Column(Fixed(v, 5), 12);
        t << "\n";
      };
      line("Radius, centroid (mm)", r.centroidRadii);
      line("Radius, chief ray (mm)", r.chiefRadii);
      line("Half width, square (mm)", r.ensquaredRadii);
      t << "Airy radius " << Fixed(r.airyRadius, 5) << " mm\n\n";
      t << Table({"Radius (mm)", "Centroid", "Chief ray", "Ensquared", "Diffraction"},
                 {r.radius, r.centroid, r.chief, r.ensquared, r.diffraction}, {5, 4, 4, 4, 4});
      break;
    }
    case FamilyKind::GeometricPsf: {
      psfSet_ = GeoPsfSettings{};
      psfSet_.field = Number("TxtField");
      psfSet_.bins = std::clamp(static_cast<int>(Number("TxtBins")), 3, 401);
      psfSet_.halfWidth = Number("TxtWidth");
      psfSet_.viewAngle = Number("TxtAngle");
      psf_ = ComputeGeometricPsf(d, s, psfSet_);
      error = psf_.error;
      t << "Grid " << psf_.bins << " x " << psf_.bins << ", half width " << Fixed(psf_.halfWidth, 5)
        << " mm, bin " << Fixed(psf_.bins ? 2 * psf_.halfWidth / psf_.bins * 1000 : 0, 3) << " um\n";
      break;
    }
    case FamilyKind::GeometricMtf:
    case FamilyKind::GeometricMtfFocus: {
      GeoMtfSettings m;
      const std::vector<double> f = ListIn(Box("TxtFields"));
      if (!f.empty()) m.fields = f;
      if (Box("TxtSamples")) m.samples = std::clamp(static_cast<int>(Number("TxtSamples")), 1, 2000);
      if (Box("TxtFreq")) m.frequency = Number("TxtFreq");
      if (Box("TxtDefocus")) m.defocus = Number("TxtDefocus");
      if (Box("TxtSteps")) m.focusSteps = std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000);
      const GeoMtfResult r = kind_ == FamilyKind::GeometricMtf ? ComputeGeometricMtf(d, s, m) : ComputeGeometricMtfFocus(d, s, m);
      error = r.error;
      curves_ = r.plot;
      std::vector<std::string> head{kind_ == FamilyKind::GeometricMtf ? "c/mm" : "Focus (mm)"};
      std::vector<std::vector<double>> cols{r.x};
      std::vector<int> dec{3};
      for (std::size_t i = 0; i < r.tangential.size(); ++i) {
        head.push_back("T " + Fixed(m.fields[i], 2));
        head.push_back("S " + Fixed(m.fields[i], 2));
        cols.push_back(r.tangential[i]);
        cols.push_back(r.sagittal[i]);
        dec.push_back(4);
        dec.push_back(4);
      }
      t << "Cut-off " << Fixed(r.cutoff, 2) << " cycles/mm\n" << Table(head, cols, dec);
      break;
    }
    case FamilyKind::RealRays: {
      RealRaySettings rs;
      rs.field = Number("TxtField");
      rs.pupilX = Number("TxtPx");
      rs.pupilY = Number("TxtPy");
      rs.wavelength = std::max(1, ChosenWavelength());
      real_ = ComputeRealRay(d, s, rs);
      error = real_.error;
      t << real_.text;
      break;
    }
    case FamilyKind::Vignetting: {
      const VignettingResult r = ComputeVignetting(d, s, std::clamp(static_cast<int>(Number("TxtSteps")), 1, 1000));
      error = r.error;
      curves_ = r.plot;
      t << Table({"Field", "Unvignetted"}, {r.field, r.fraction}, {3, 4});
      break;
    }
    case FamilyKind::Footprint: {
      FootprintSettings f;
      f.surface = static_cast<int>(Number("TxtSurface"));
      const std::vector<double> fl = ListIn(Box("TxtFields"));
      if (!fl.empty()) f.fields = fl;
      foot_ = ComputeFootprint(d, s, f);
      error = foot_.error;
      t << "Surface " << f.surface << ", clear aperture radius " << Fixed(foot_.clearRadius, 4) << " mm\n";
      for (std::size_t i = 0; i < foot_.extent.size(); ++i) {
        int stopped = 0;
        for (bool b : foot_.stopped[i]) stopped += b;
        t << "Field " << Fixed(f.fields[i], 2) << ": beam reaches " << Fixed(foot_.extent[i], 4) << " mm, "
          << stopped << " of " << foot_.points[i].size() << " rays stopped\n";
      }
      break;
    }
    case FamilyKind::BestFocus: {
      BestFocusSettings b;
      b.criterion = criterionBox_->currentIndex() == 0 ? FocusCriterion::Spot : FocusCriterion::Wavefront;
      b.field = Number("TxtField");
      b.range = Number("TxtRange");
      best_ = ComputeBestFocus(d, s, b);
      error = best_.error;
      const char* unit = b.criterion == FocusCriterion::Spot ? " mm RMS radius" : " waves RMS";
      t << "Focus shift        " << Fixed(best_.shift, 6) << " mm\n"
        << "Image distance     " << Fixed(best_.imageDistance, 6) << " mm\n"
        << "At the best focus  " << Fixed(best_.value, 6) << unit << "\n"
        << "Before             " << Fixed(best_.valueAtStart, 6) << unit << "\n";
      if (best_.error.empty()) {
        RmsVersusSettings v;
        v.field = b.field;
        v.defocus = std::max(2 * std::fabs(best_.shift), 0.05);
        v.steps = 20;
        const RmsVersusResult r = ComputeRmsVersus(d, s, v);
        if (r.error.empty()) curves_ = r.plot;
      }
      break;
    }
  }
  text_of_ = error.empty() ? t.str() : error;
  computed_ = true;
  Redraw();
  if (!error.empty()) Tell(this, Q(error), windowTitle());
}

void FamilyWindow::Redraw() {
  if (!computed_) return;
  const int bg = BackgroundIndex();
  auto pane = [&](int i, auto&& draw) {
    if (i >= PaneCount()) return;
    RecordingCanvas c;
    draw(c);
    Pane(i)->SetPlot(c);
  };
  switch (kind_) {
    case FamilyKind::MultiSpot:
    case FamilyKind::MatrixSpot:
    case FamilyKind::TotalFieldSpot:
      pane(0, [&](Canvas& c) { DrawSpotFamily(spots_, settings_, spotSet_, c); });
      break;
    case FamilyKind::Distortion:
      pane(0, [&](Canvas& c) { DrawCurvePlot(curves_, bg, c); });
      pane(1, [&](Canvas& c) { DrawDistortionGrid(dist_, bg, c); });
      break;
    case FamilyKind::GeometricPsf:
      pane(0, [&](Canvas& c) { DrawGeoPsfMap(psf_, c); });
      pane(1, [&](Canvas& c) { DrawGeoPsfRelief(psf_, psfSet_, c); });
      break;
    case FamilyKind::Footprint:
      pane(0, [&](Canvas& c) { DrawFootprint(foot_, bg, c); });
      break;
    case FamilyKind::RealRays:
      pane(0, [&](Canvas& c) { DrawTextPicture(text_of_, c); });
      break;
    default:
      pane(0, [&](Canvas& c) { DrawCurvePlot(curves_, bg, c); });
      break;
  }
  SetText(text_of_);
}

bool FamilyWindow::ExportCfsTo(const QString& path) {
  if (kind_ != FamilyKind::FocalShift || !computed_ || !cfs_.error.empty()) return false;
  DesignState& d = main_.session().design;
  std::ofstream f(path.toStdString(), std::ios::binary);
  f << CfsText(cfs_, d.DesignNote, ImageDistanceOf(d, settings_));
  if (!f) return false;
  // The export takes the place of the design's path, as the wavefront export does.
  d.DesignFileName = path.toStdString();
  return true;
}

bool FamilyWindow::ApplyBestFocus() {
  if (kind_ != FamilyKind::BestFocus || !computed_ || !best_.error.empty()) return false;
  Session& s = main_.session();
  // The system update clears the last thickness again: the shift stays in the
  // table and the grid until then, and this window takes the new image distance.
  ApplyFocusShift(s.design, s.sheet, best_.shift);
  actualBfl_->setText(Q(Fixed(best_.imageDistance, 4)));
  main_.RefreshAll();
  return true;
}

void ConnectRmsScans(MainWindow& main) {
  const std::pair<const char*, RmsScan> entries[] = {
      {"MnuRMSFocus", RmsScan::Focus}, {"MnuRMSField", RmsScan::Field}, {"MnuRMSWL", RmsScan::Wavelength}};
  for (const auto& [name, scan] : entries) {
    auto* a = main.findChild<QAction*>(name);
    if (!a) continue;
    // Runs after the entry opened the window.
    QObject::connect(a, &QAction::triggered, &main, [&main, scan = scan] {
      if (auto* w = qobject_cast<FamilyWindow*>(main.FindChildWindow("FrmRMS"))) w->SetScan(scan);
    });
  }
}

}  // namespace ovrin::shell
