#include "shell/main_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

#include "core/design_edit.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "glass/glass_pick.h"
#include "shell/design_window.h"
#include "shell/dialogs.h"
#include "shell/layout_window.h"
#include "shell/geometric_windows.h"
#include "shell/geometric_family_windows.h"
#include "shell/predesign_windows.h"
#include "shell/optimise_window.h"
#include "shell/spot_window.h"
#include "shell/wave_windows.h"
#include "shell/report_windows.h"
#include "shell/diffraction_windows.h"
#include "shell/drawing_windows.h"
#include "shell/widgets_util.h"
#include "shell/glass_diagram_windows.h"
#include "shell/maker_windows.h"
#include "shell/image_quality_windows.h"

namespace ovrin::shell {

namespace {

const char* const kCaption = "Ovrin- Optical Design and Analysis Software";
const char* const kFilter = "file (*.ovn)";

}  // namespace

MainWindow::MainWindow(Session& session) : session_(session) {
  setObjectName("MDIForm1");
  setWindowTitle(kCaption);
  mdi_ = new QMdiArea(this);
  mdi_->setObjectName("MDIArea");
  mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setCentralWidget(mdi_);
  BuildWindows();
  BuildMenus();
  BuildToolbar();
  ConnectRmsScans(*this);
  statusFile_ = new QLabel(this);
  statusFile_->setObjectName("StatusFile");
  statusUpdate_ = new QLabel(this);
  statusUpdate_->setObjectName("StatusUpdate");
  statusBar()->setObjectName("StatusBar1");
  statusBar()->addWidget(statusFile_, 1);
  statusBar()->addPermanentWidget(statusUpdate_);
  RefreshCommands();
  RefreshStatus();
}

// ---------------------------------------------------------------------------
// windows

void MainWindow::BuildWindows() {
  auto child = [](auto make) { return WindowKind{false, make}; };
  auto modal = [](auto make) { return WindowKind{true, make}; };
  windows_["Frmdati"] = child([this] { return new DesignWindow(*this); });
  windows_["FrmTilt"] = child([this] { return new TiltWindow(*this); });
  windows_["frmspot"] = child([this] { return new SpotWindow(*this); });
  windows_["Frmseidel1"] = child([this] { return new SeidelWindow(*this); });
  windows_["Frmabsferica"] = child([this] { return new SphericalWindow(*this); });
  windows_["Frmcodding"] = child([this] { return new FieldCurvatureWindow(*this); });
  windows_["FrmRayFan"] = child([this] { return new RayFanWindow(*this); });
  windows_["FrmGuida"] = child([this] { return new HelpBook(this); });
  windows_["Frmlayout"] = child([this] { return new LayoutWindow(*this); });
  windows_["FrmOPDfan"] = child([this] { return new OpdFanWindow(*this); });
  windows_["FrmWFront"] = child([this] { return new WavefrontWindow(*this); });
  for (VersusScan scan : {VersusScan::Field, VersusScan::Focus, VersusScan::Wavelength})
    for (VersusMeasure m : {VersusMeasure::Strehl, VersusMeasure::Rms})
      windows_[VersusWindowName(scan, m)] = child([this, scan, m] { return new VersusWindow(*this, scan, m); });
  windows_["FrmTelDes"] = child([this] { return new TelescopeChooser(*this); });
  for (const predesign::KindSpec& k : predesign::Kinds())
    windows_[k.window] = child([this, kind = k.kind] { return new PredesignWindow(*this, kind); });
  windows_["FrmOpt"] = child([this] { return new OptimiseWindow(*this); });
  windows_["FrmReport"] = child([this] { return new ReportWindow(*this); });
  windows_["FrmSagitta"] = child([this] { return new SagittaWindow(*this, 1); });
  windows_["FrmAbAll"] = child([this] { return new SagittaWindow(*this, 2); });
  windows_["FrmExportAberrator"] = modal([this] {
    WavefrontSettings wave;  // by name: wavelength 1 on axis at the back focus
    wave.actualBfl = RoundTo(session_.design.Bfl, 4);
    return new ExportAberratorDialog(*this, wave);
  });
  windows_["FrmDiffPSF"] = child([this] { return new PsfWindow(*this); });
  windows_["FrmMTFfield"] = child([this] { return new MtfWindow(*this); });
  windows_["FrmMTFtfocus"] = child([this] { return new MtfFocusWindow(*this); });
  windows_["FrmZernike"] = child([this] { return new ZernikeWindow(*this); });
  windows_["FrmEEPDiff"] = child([this] { return new EnergyWindow(*this); });
  windows_["FrmVisualPSF"] = child([this] { return new ColourImageWindow(*this); });
  windows_["FrmMultiAnl"] = child([this] { return new MultiAnalysisWindow(*this); });
  windows_["FrmGhost"] = child([this] { return new GhostWindow(*this); });
  for (const auto& [name, kind] : FamilyWindows())
    windows_[Q(name)] = child([this, kind = kind] { return new FamilyWindow(*this, kind); });
  windows_["FrmInterferogram"] = child([this] { return new InterferogramWindow(*this); });
  windows_["FrmRonchi"] = child([this] { return new RonchiWindow(*this); });
  windows_["FrmFoucault"] = child([this] { return new FoucaultWindow(*this); });
  windows_["FrmStarTest"] = child([this] { return new StarTestWindow(*this); });
  windows_["Frmnumsup"] = modal([this] { return new NewDesignDialog(*this); });
  windows_["FrmInsert"] = modal([this] { return new InsertDialog(*this); });
  windows_["FrmDelete"] = modal([this] { return new DeleteDialog(*this); });
  windows_["FrmWL"] = modal([this] { return new WavelengthWindow(*this); });
  windows_["FrmEnvCond"] = modal([this] { return new EnvironmentDialog(*this); });
  windows_["FrmEnvAnalysis"] = child([this] { return new EnvironmentWindow(*this); });
  windows_["FrmGlassNdVd"] = child([this] { return new GlassDiagramWindow(*this, GlassDiagramKind::NdVd); });
  windows_["FrmGlassPFE"] = child([this] { return new GlassDiagramWindow(*this, GlassDiagramKind::PgF); });
  windows_["FrmPvsP"] = child([this] { return new GlassDiagramWindow(*this, GlassDiagramKind::PP); });
  windows_["FrmGlassData"] = child([this] { return new GlassDataWindow(*this); });
  windows_["Frmguidadati"] = modal([this] { return new HelpWindow(this); });
  windows_["Frmabout"] = modal([this] { return new AboutWindow(this); });
  // The pickers open from the grid for a row; by name they serve surface 1.
  for (Catalogue c : {Catalogue::Schott, Catalogue::Ohara, Catalogue::Corning, Catalogue::Hoya,
                      Catalogue::Lzos, Catalogue::Special, Catalogue::Chengdu})
    windows_[PickerWindowName(c)] = modal([this, c] { return new GlassPicker(*this, c, 1); });
  windows_["FrmDirect"] = modal([this] { return new DirectIndexDialog(*this, 1); });
  windows_["frmSurface"] = modal([this] { return new SurfaceDialog(*this, 1, true); });
  windows_["Frmlayout3D"] = child([this] { return new Layout3DWindow(*this); });
  windows_["FrmVolume"] = child([this] { return new ElementWindow(*this); });
  windows_["FrmSolve"] = modal([this] { return new SolveContactDialog(*this); });
}

MainWindow::~MainWindow() {
  // The child windows go first, while this window is whole: their event
  // filters and closing steps may still ask it for the session.
  for (QMdiSubWindow* sub : mdi_->subWindowList()) delete sub;
}

bool MainWindow::HasWindow(const QString& name) const { return windows_.count(name) != 0; }

QWidget* MainWindow::FindChildWindow(const QString& name) const {
  for (QMdiSubWindow* sub : mdi_->subWindowList())
    if (sub->widget() && sub->widget()->objectName() == name) return sub->widget();
  return nullptr;
}

QWidget* MainWindow::CreateModalWindow(const QString& name) {
  auto it = windows_.find(name);
  if (it == windows_.end() || !it->second.modal) return nullptr;
  return it->second.make();
}

QWidget* MainWindow::OpenWindow(const QString& name) {
  auto it = windows_.find(name);
  if (it == windows_.end()) return nullptr;
  if (it->second.modal) {
    QWidget* w = it->second.make();
    if (auto* dialog = qobject_cast<QDialog*>(w)) {
      dialog->setAttribute(Qt::WA_DeleteOnClose);
      dialog->exec();
    }
    return nullptr;
  }
  // Choosing a window again discards it and starts it anew.
  for (QMdiSubWindow* sub : mdi_->subWindowList()) {
    if (sub->widget() && sub->widget()->objectName() == name) {
      sub->close();
      delete sub;
    }
  }
  QWidget* w = it->second.make();
  w->setAttribute(Qt::WA_DeleteOnClose);
  QMdiSubWindow* sub = mdi_->addSubWindow(w);
  sub->setAttribute(Qt::WA_DeleteOnClose);
  sub->setWindowIcon(QIcon());
  sub->adjustSize();
  sub->show();
  w->setFocus();
  return w;
}

DesignWindow* MainWindow::ShowDesignWindow() {
  if (auto* w = qobject_cast<DesignWindow*>(FindChildWindow("Frmdati"))) {
    w->parentWidget()->raise();
    return w;
  }
  auto* w = qobject_cast<DesignWindow*>(OpenWindow("Frmdati"));
  if (w) w->parentWidget()->move(0, 0);
  return w;
}

void MainWindow::ClearDesignAndWindows() {
  for (QMdiSubWindow* sub : mdi_->subWindowList()) {
    sub->close();
    delete sub;
  }
  ClearDesign(session_.design);
  session_.sheet = DesignSheet();
  session_.hasUpdated = false;
  session_.lastUpdateOk = true;
  session_.readFailed = false;
  session_.failedFile.clear();
  RefreshCommands();
  RefreshStatus();
}

// ---------------------------------------------------------------------------
// menus and toolbar

QAction* MainWindow::AddEntry(QMenu* menu, const char* name, const char* caption, const QString& window,
                              bool needs_design, std::function<void()> command) {
  QAction* a = menu->addAction(QString::fromUtf8(caption));
  a->setObjectName(name);
  if (command) {
    connect(a, &QAction::triggered, this, command);
  } else if (!window.isEmpty()) {
    connect(a, &QAction::triggered, this, [this, window] { OpenWindow(window); });
  }
  commands_.push_back({a, command ? QString() : window, needs_design});
  if (!command && !HasWindow(window)) a->setToolTip("Not available in this release");
  return a;
}

void MainWindow::BuildMenus() {
  QMenuBar* bar = menuBar();

  QMenu* file = bar->addMenu("&File");
  file->setObjectName("Mnufile");
  AddEntry(file, "mnuFileNew", "Create New Design", {}, false, [this] { NewDesign(); });
  AddEntry(file, "Mnufileopen", "Open Existing Design", {}, false, [this] { OpenDesign(DesignFormat::Current); });
  AddEntry(file, "mnuFileSave", "Save Current Design", {}, false, [this] { SaveDesign(); });
  file->addSeparator();
  AddEntry(file, "Mnufileopenold", "Import from old Ovrin version (<3.5 )", {}, false,
           [this] { OpenDesign(DesignFormat::V35); });
  AddEntry(file, "Mnufileopenold2", "Import from Ovrin version 4.0-5.0", {}, false,
           [this] { OpenDesign(DesignFormat::V40); });
  AddEntry(file, "Mnufileopenold3", "Import from Ovrin version 5.1-6.1", {}, false,
           [this] { OpenDesign(DesignFormat::V51); });
  file->addSeparator();
  AddEntry(file, "mnuFileExit", "Exit", {}, false, [this] { close(); });

  QMenu* edit = bar->addMenu("&Edit");
  edit->setObjectName("MnuEdit");
  AddEntry(edit, "MnuEditInsert", "Insert Surface/s", "FrmInsert", true);
  AddEntry(edit, "MnuEditDel", "Delete Surface/s", "FrmDelete", true);
  AddEntry(edit, "MnuEditSolveContact", "Solve for Edge Contact", "FrmSolve", true);
  AddEntry(edit, "MnuEditTilt", "TILT/ DECENTER", "FrmTilt", true);
  AddEntry(edit, "MnuEditWL", "WaveLengths", "FrmWL", true);
  AddEntry(edit, "MnuEnvCond", "Environmental Conditions", "FrmEnvCond", true);
  AddEntry(edit, "MnuEditRestoreOpt", "Restore design from before the run", {}, true,
           [this] { RestoreDesignBeforeRun(*this); });

  QMenu* tools = bar->addMenu("&Tools");
  tools->setObjectName("MnuTools");
  AddEntry(tools, "MnuToolsOPT", "OPTIMIZATION", "FrmOpt", true);
  AddEntry(tools, "MnuToolsBF", "Best Focus", "FrmBestFocus", true);
  AddEntry(tools, "MnuToolsFactor", "Scale System", {}, true, [this] { ScaleSystemByFactor(); });
  AddEntry(tools, "MnuToolsFocal", "Make Focal", {}, true, [this] { MakeFocal(); });
  AddEntry(tools, "MnuToolsSagitta", "Sagitta Table", "FrmSagitta", true);
  AddEntry(tools, "MnuVolume", "Element Drawing", "FrmVolume", true);
  AddEntry(tools, "MnuToolAbAll", "Aberration Allowances", "FrmAbAll", true);
  AddEntry(tools, "MnuToolReport", "System Data Reports", "FrmReport", true);

  QMenu* anl = bar->addMenu("&Analysis");
  anl->setObjectName("MnuAnl");
  struct A { const char* name; const char* caption; const char* window; };
  auto add_all = [this](QMenu* m, std::initializer_list<A> list) {
    for (const A& a : list) AddEntry(m, a.name, a.caption, a.window, true);
  };
  add_all(anl, {{"MnuAnlMultiAnalisi1", "&Multi-Analisys Plot", "FrmMultiAnl"},
                {"MnuAnlSpot", "Detailed SpotDiagram ", "frmspot"},
                {"MnuAnlMultiSpot", "Multi-SpotDiagram (through  Focus/Field)", "Frmmultispot"},
                {"MnuAnMatrix", "Matrix SpotDiagram", "FrmMatrix"},
                {"MnuAnlTotalField", "Total Field Spot Diagram", "FrmTotalFieldSpot"}});
  QMenu* rms = anl->addMenu("RMS Spot size versus....");
  rms->setObjectName("MnuRMS");
  add_all(rms, {{"MnuRMSFocus", "...Focus", "FrmRMS"},
                {"MnuRMSField", "...Field", "FrmRMS"},
                {"MnuRMSWL", "...WaveLength", "FrmRMS"}});
  add_all(anl, {{"MnuAnlSpher", "Spherical Aberr. + Coma (O.S.C.)", "Frmabsferica"},
                {"MnuAnlCurv", "Field Curvature (Sag.,Tang. and Average)", "Frmcodding"},
                {"MnuAnlDist", "Distortion", "FrmDist"},
                {"MnuAnlLatCol", "Lateral Color", "FrmLatCol"},
                {"MnuAnlCFS", "Chromatic Focal Shift", "FrmCFS"},
                {"MnuAnlRayFan", "Ray-Intercept curves", "FrmRayFan"},
                {"MnuAnlOPDcurves", "OPD  Curves", "FrmOPDfan"},
                {"MnuWF", "Wave Front ", "FrmWFront"}});
  QMenu* rmswf = anl->addMenu("RMS WaveFront versus...");
  rmswf->setObjectName("MnuAnlRmsWFversus");
  add_all(rmswf, {{"MnuAnlRmsWFvsWL", "...Wavelength", "FrmRMSwavefrontVSWL"},
                  {"MnuAnlRmsWFvsFocus", "...Focus", "FrmRMSwavefrontVSFocus"},
                  {"MnuAnlRmsWFvsField", "...Field", "FrmRMSwavefrontVSField"}});
  QMenu* strehl = anl->addMenu("Strehl Ratio versus...");
  strehl->setObjectName("MnuAnlStrehlVersus");
  add_all(strehl, {{"MnuAnlStrehlVersusWl", "...Wavelenght", "FrmStrehlVSWaveL"},
                   {"MnuAnlStrehlVersusFocus", "...Focus", "FrmStrehlVSFocus"},
                   {"MnuAnlStrehlVersusField", "...Field", "FrmStrehlVSField"}});
  add_all(anl, {{"MnuAnlInterferogram", "Interferogram", "FrmInterferogram"},
                {"MnuAnlRonchiGram", "RonchiGram", "FrmRonchi"},
                {"MnuZernike", "Zernike Analysis", "FrmZernike"}});
  add_all(anl, {{"MnuAnlFoucault", "Foucault Test", "FrmFoucault"}, {"MnuAnlStarTest", "Star Test", "FrmStarTest"}});
  QMenu* eep = anl->addMenu("Energy Plot ");
  eep->setObjectName("MnuAnlEEP");
  add_all(eep, {{"MnuAnlEEPGeo", "Geometrical  ", "Frmeep"}, {"MnuAnlEEPDiff", "Diffraction   ", "FrmEEPDiff"}});
  QMenu* psf = anl->addMenu("PSF  (Point Spread Function)");
  psf->setObjectName("MnuAnlPSF");
  add_all(psf, {{"MnuAnlGeoPSF", "Geometric   PSF", "Frmpsf"},
                {"MnuDiffPSF", "Diffraction   PSF", "FrmDiffPSF"},
                {"MnuVisualPSF", "Simulated Color Diffraction Image", "FrmVisualPSF"}});
  QMenu* mtf = anl->addMenu("MTF  (Modulation Transfer Function)");
  mtf->setObjectName("MnuAnlMTF");
  add_all(mtf, {{"MnuAnlGeoMTFfield", "Geometric MTF          ", "FrmMTFGeoField"},
                {"MnuAnlGeoMTFtfocus", "Geometric Through Focus MTF", "FrmMTFGeotfocus"},
                {"MnuAnlDiffMTFfield", "Diffraction MTF  ", "FrmMTFfield"},
                {"MnuAnlDiffMTFtfocus", "Diffraction Through Focus MTF", "FrmMTFtfocus"}});
  add_all(anl, {{"MnuAnlReal", "Real Rays", "FrmRealRay"},
                {"MnuAnlParax", "Paraxial Analysis", "Frmseidel1"},
                {"MnuAnlVign", "Vignetting Plot", "FrmVign"},
                {"MnuAnlFootPrint", "FootPrint", "FrmFootPrint"},
                {"MnuAnlGhost", "Ghost Analysis", "FrmGhost"},
                {"MnuAnlLayout", "2 D-Layout", "Frmlayout"},
                {"MnuAnlLayout3D", "3 D-Layout", "Frmlayout3D"}});

  // The pre-design entries clear the design before their window opens.
  QMenu* tel = bar->addMenu("&Telescope Pre-Design");
  tel->setObjectName("MnuTelDes");
  auto pre = [this](QMenu* m, const char* name, const char* caption, const char* window) {
    const QString w = window;
    AddEntry(m, name, caption, w, false, HasWindow(w) ? std::function<void()>([this, w] { RunPreDesignEntry(w); })
                                                       : std::function<void()>());
  };
  pre(tel, "MnuTelDesNewton", "Newtonian", "Frmnewton");
  QMenu* two = tel->addMenu("Two Mirrors");
  two->setObjectName("MnuTelDesTwo");
  pre(two, "MnuTelDesCass", "Cassegrain", "Frmcassegrain");
  pre(two, "MnuTelDesGreg", "Gregorian", "Frmgregory");
  pre(two, "MnuTelDesCouder", "Couder", "FrmCouder");
  QMenu* sch = tel->addMenu("Schmidt (single mirror)");
  sch->setObjectName("MnuTelDesSchmidt");
  pre(sch, "MnuTelDesClassicSchmidt", "Classic Schmidt", "FrmSchmidt");
  pre(sch, "MnuTelDesWright", "Wright", "FrmWright");
  QMenu* sc = tel->addMenu("Schmidt-Cassegrain");
  sc->setObjectName("MnuTelDesSchCass");
  pre(sc, "MnuTelDesCompactSCspherical", "Compact, spherical mirrors", "FrmSCassSpherical");
  pre(sc, "MnuTelDesCompactSC", "Compact, aspheric mirrors", "FrmSchCass");
  pre(sc, "MnuTelDesBaker", "Baker", "FrmBaker");
  pre(sc, "MnuTelDesMonocentric", "Monocentric", "FrmMonocentric");
  pre(tel, "MnuTelDesMaksutov", "Maksutov", "FrmMak");
  pre(tel, "MnuTelDesMakCass", "Maksutov-Cassegrain", "FrmMakCass");
  QMenu* lur = tel->addMenu("Lurie-Houghton (single  mirror)");
  lur->setObjectName("MnuTelDesLurie");
  pre(lur, "MnuTelDesLurieSpher", "Spherical mirror", "FrmLurie");
  pre(lur, "MnuTelDesLurieAspheric", "Aspheric mirror", "FrmLurieAspheric");
  QMenu* hc = tel->addMenu("Houghton-Cassegrain");
  hc->setObjectName("MnuTelDesHCass");
  pre(hc, "MnuTelDesHCassSpher", "Spherical mirrors", "FrmHCass");
  pre(hc, "MnuTelDesHCassAspher", "Aspheric mirrors", "FrmHCassAsf");
  pre(tel, "MnuTelDesDoubl", "Doublet", "FrmDoublet");
  pre(tel, "MnuTelDesTripl", "Triplet", "FrmTriplet");

  QMenu* glass = bar->addMenu("&Glass Diagram");
  glass->setObjectName("MnuGlass");
  AddEntry(glass, "MnuGlassNdVd", "Nd-Vd Diagram", "FrmGlassNdVd", false);
  AddEntry(glass, "MnuGlassPfe", "Relative Partial Dispersion Diagram", "FrmGlassPFE", false);
  AddEntry(glass, "MnuGlassPversusP", "P - P Diagram", "FrmPvsP", false);
  AddEntry(glass, "MnuGlassView", "Glass Catalog", "FrmGlassData", false);

  QMenu* win = bar->addMenu("&Windows");
  win->setObjectName("MnuWindows");
  AddEntry(win, "MnuWinCascade", "Cascade", {}, false, [this] { mdi_->cascadeSubWindows(); });
  AddEntry(win, "MnuWinTile", "Tile", {}, false, [this] { mdi_->tileSubWindows(); });
  AddEntry(win, "MnuWinArrangeIcons", "Arrrange Icons", {}, false, [this] { ArrangeIcons(); });

  QMenu* help = bar->addMenu("&Help");
  help->setObjectName("MnuHelp");
  AddEntry(help, "MnuHelpGuidaDati", "Help", "Frmguidadati", false);
  AddEntry(help, "mnuHelpAbout", "About...", "Frmabout", false);
}

void MainWindow::BuildToolbar() {
  toolbar_ = addToolBar("Toolbar1");
  toolbar_->setObjectName("Toolbar1");
  toolbar_->setMovable(false);
  toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
  struct Key { const char* key; const char* text; const char* tip; const char* window; };
  const Key keys[] = {
      {"New", "New", "Create New Design", ""},
      {"Open", "Open", "Open Existing Design", ""},
      {"Save", "Save", "Save Current Design", ""},
      {"MultiAnl", "Multi", "Multi-Analysis Plot", "FrmMultiAnl"},
      {"SpotDiagram", "Spot", "Detailed Spot Diagram", "frmspot"},
      {"MultiSpot", "M.Spot", "Multi-Spot Diagram", "Frmmultispot"},
      {"Spherical", "Sph.", "Spherical Aberration + Coma", "Frmabsferica"},
      {"FieldCurvature", "Curv.", "Field Curvature", "Frmcodding"},
      {"RayFan", "Fan", "Ray-Intercept Curves", "FrmRayFan"},
      {"Seidel", "Seidel", "Paraxial Analysis", "Frmseidel1"},
      {"2DLayout", "2D", "2D Layout", "Frmlayout"},
      {"3DLayout", "3D", "3D Layout", "Frmlayout3D"},
      {"OPDFan", "OPD", "OPD Curves", "FrmOPDfan"},
      {"WaveFront", "W.F.", "Wave Front", "FrmWFront"},
      {"MTF", "MTF", "Diffraction MTF", "FrmMTFfield"},
      {"PSF", "PSF", "Diffraction PSF", "FrmDiffPSF"},
      {"Interferogram", "Interf.", "Interferogram", "FrmInterferogram"},
      {"Optimization", "Optim.", "Optimization", "FrmOpt"},
      {"TelDes", "Tel.Des.", "Telescope Pre-Design", "FrmTelDes"},
  };
  QStyle* st = style();
  for (const Key& k : keys) {
    QAction* a = toolbar_->addAction(k.text);
    a->setObjectName(QString("Toolbar1_") + k.key);
    a->setData(QString(k.key));
    a->setToolTip(k.tip);
    const QString key = k.key;
    if (key == "New") {
      a->setIcon(st->standardIcon(QStyle::SP_FileIcon));
      connect(a, &QAction::triggered, this, [this] { NewDesign(); });
      commands_.push_back({a, {}, false});
    } else if (key == "Open") {
      a->setIcon(st->standardIcon(QStyle::SP_DialogOpenButton));
      connect(a, &QAction::triggered, this, [this] { OpenDesign(DesignFormat::Current); });
      commands_.push_back({a, {}, false});
    } else if (key == "Save") {
      a->setIcon(st->standardIcon(QStyle::SP_DialogSaveButton));
      connect(a, &QAction::triggered, this, [this] { SaveDesign(); });
      commands_.push_back({a, {}, false});
    } else {
      const QString w = k.window;
      connect(a, &QAction::triggered, this, [this, w] { OpenWindow(w); });
      commands_.push_back({a, w, key != "TelDes"});
    }
    if (auto* b = qobject_cast<QToolButton*>(toolbar_->widgetForAction(a))) b->setObjectName(a->objectName());
  }
  toolbar_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
}

void MainWindow::RefreshCommands() {
  const bool design = session_.sheet.designCommandsEnabled;
  for (const Command& c : commands_) {
    const bool exists = c.window.isEmpty() || HasWindow(c.window);
    c.action->setEnabled(exists && (!c.needsDesign || design));
  }
}

void MainWindow::RefreshStatus() {
  const DesignState& d = session_.design;
  QString file = d.DesignFileName.empty() ? QString("Design: (not saved)")
                                          : "Design: " + QFileInfo(Q(d.DesignFileName)).fileName();
  if (!session_.sheet.cmdupdateVisible) file = "No design: create one (File > Create New Design) or open one";
  if (session_.readFailed)
    file = "Reading " + Q(session_.failedFile) + " FAILED: the design holds what was read; Save asks for a new name";
  statusFile_->setText(file);
  if (!session_.hasUpdated) {
    statusUpdate_->setText("");
  } else if (session_.lastUpdateOk) {
    statusUpdate_->setText("Last update: OK");
  } else {
    statusUpdate_->setText("Last update: FAILED, check data");
  }
}

void MainWindow::ArrangeIcons() {
  int x = 0;
  const int bottom = mdi_->viewport()->height();
  for (QMdiSubWindow* sub : mdi_->subWindowList()) {
    if (!sub->isMinimized()) continue;
    sub->move(x, bottom - sub->height());
    x += sub->width();
  }
}

void MainWindow::RunPreDesignEntry(const QString& window) {
  ClearDesignAndWindows();
  ShowDesignWindow();
  OpenWindow(window);
}

// ---------------------------------------------------------------------------
// update

void MainWindow::CommitDesignEdits() {
  if (auto* w = qobject_cast<DesignWindow*>(FindChildWindow("Frmdati"))) w->CommitEdits();
}

bool MainWindow::RunUpdate() {
  CommitDesignEdits();
  UpdateResult r;
  QString failure;
  try {
    r = cmdupdate(session_.design, session_.sheet, session_.media);
  } catch (...) {
    // A glass asked for a wavelength outside its formula's range, or worse.
    failure = EngineFailureText();
    r = {false, S(failure)};
  }
  session_.hasUpdated = true;
  session_.lastUpdateOk = r.ok;
  RefreshAll();
  if (!r.ok) Tell(this, Q(r.message));
  return r.ok;
}

void MainWindow::RefreshAll() {
  if (auto* w = qobject_cast<DesignWindow*>(FindChildWindow("Frmdati"))) w->Reload();
  RefreshCommands();
  RefreshStatus();
}

// ---------------------------------------------------------------------------
// File menu

void MainWindow::NewDesign() {
  ClearDesignAndWindows();
  ShowDesignWindow();
  OpenWindow("Frmnumsup");
}

void MainWindow::OpenDesign(DesignFormat format) {
  const QString path = QFileDialog::getOpenFileName(this, "Open File ...", QString(), kFilter);
  if (path.isEmpty()) return;
  OpenDesignFile(path, format);
}

bool MainWindow::OpenDesignFile(const QString& path, DesignFormat format) {
  DesignState& d = session_.design;
  // A design read replaces the grid of the one before.
  session_.sheet = DesignSheet();
  for (QMdiSubWindow* sub : mdi_->subWindowList())
    if (!sub->widget() || sub->widget()->objectName() != "Frmdati") {
      sub->close();
      delete sub;
    }
  UpdateResult r;
  QString failure;
  try {
    r = ReadDesignFile(S(path), format, d, session_.sheet, session_.media);
  } catch (...) {
    failure = EngineFailureText();
  }
  if (failure.isEmpty()) {
    d.DesignFileName = S(path);
    d.DesignFileTitle = S(QFileInfo(path).fileName());
    session_.readFailed = false;
    session_.failedFile.clear();
    session_.hasUpdated = true;
    session_.lastUpdateOk = r.ok;
    ShowDesignWindow();
    RefreshAll();
    if (!r.ok) Tell(this, Q(r.message));
    return true;
  }
  // The tables keep what was read before the fault, which may mix two designs:
  // the design now belongs to no file, so that no Save can put it over one
  // without the user naming it.
  d.DesignFileName.clear();
  d.DesignFileTitle.clear();
  session_.readFailed = true;
  session_.failedFile = S(QFileInfo(path).fileName());
  session_.hasUpdated = false;
  session_.sheet.cmdupdateVisible = true;
  ShowDesignWindow();
  RefreshAll();
  Tell(this, failure, "Open File ...");
  return false;
}

void MainWindow::SaveDesign() {
  // After a failed read no name is proposed: the old one is the file that
  // could not be read, and the design is no longer that file's.
  const QString start = session_.readFailed ? QString() : Q(session_.design.DesignFileName);
  QString path = QFileDialog::getSaveFileName(this, "Save As...", start, kFilter);
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += ".ovn";
  SaveDesignFile(path);
}

bool MainWindow::SaveDesignFile(const QString& path) {
  CommitDesignEdits();
  DesignState& d = session_.design;
  UpdateResult r;
  QString failure;
  try {
    r = WriteDesignFile(S(path), d, session_.sheet, session_.media);
  } catch (...) {
    failure = EngineFailureText();
  }
  if (!failure.isEmpty()) {
    RefreshAll();
    statusFile_->setText("NOT SAVED: " + QFileInfo(path).fileName());
    Tell(this, failure, "Save As...");
    return false;
  }
  d.DesignFileName = S(path);
  d.DesignFileTitle = S(QFileInfo(path).fileName());
  session_.readFailed = false;
  session_.failedFile.clear();
  session_.hasUpdated = true;
  session_.lastUpdateOk = r.ok;
  RefreshAll();
  if (!r.ok) Tell(this, Q(r.message));
  return true;
}

// ---------------------------------------------------------------------------
// Tools menu

void MainWindow::ScaleSystemByFactor() {
  bool ok = false;
  const QString typed = QInputDialog::getText(this, "Scale System by Factor", "Enter Scale Factor",
                                              QLineEdit::Normal, "1", &ok);
  if (!ok) return;
  const auto factor = ScaleFactorOf(S(typed));
  if (!factor) return;
  ScaleSystem(session_.design, session_.sheet, *factor);
  RunUpdate();
}

void MainWindow::MakeFocal() {
  bool ok = false;
  const QString typed = QInputDialog::getText(this, "Scale System to new Focal Length", "Enter new Focal Length",
                                              QLineEdit::Normal, Q(ShortestText(session_.design.Efl)), &ok);
  if (!ok) return;
  const auto factor = FocalScaleFactorOf(S(typed), session_.design.Efl);
  if (!factor) return;
  ScaleSystem(session_.design, session_.sheet, *factor);
  RunUpdate();
}

// ---------------------------------------------------------------------------
// media and surface dialogs of the grid

bool MainWindow::PickMedium(int row, int medium_code) {
  QDialog* dialog = nullptr;
  Catalogue c;
  if (CatalogueOfMedium(medium_code, c)) {
    dialog = new GlassPicker(*this, c, row);
  } else if (medium_code == kMediumDirect) {
    dialog = new DirectIndexDialog(*this, row);
  } else {
    return false;
  }
  const bool chosen = dialog->exec() == QDialog::Accepted;
  delete dialog;
  return chosen;
}

bool MainWindow::EditSurfaceCoefficients(int row, bool high_order) {
  SurfaceDialog dialog(*this, row, high_order);
  return dialog.exec() == QDialog::Accepted;
}

void MainWindow::OpenHelp(const QString& topic) {
  if (auto* book = qobject_cast<HelpBook*>(OpenWindow("FrmGuida"))) book->ShowTopic(topic);
}

// ---------------------------------------------------------------------------
// Exit

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!AskYesNo(this, "Do  you want to exit ?", windowTitle())) {
    event->ignore();
    return;
  }
  for (QMdiSubWindow* sub : mdi_->subWindowList()) sub->close();
  event->accept();
}

}  // namespace ovrin::shell
