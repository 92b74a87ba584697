#pragma once
// MDIForm1: the main window. It frames every other window, holds the menu
// tree, the toolbar and the status bar, and decides when the design is cleared.
#include <QMainWindow>
#include <QString>
#include <functional>
#include <map>
#include <vector>

#include "core/design_file.h"
#include "shell/session.h"

class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QToolBar;

namespace ovrin::shell {

class DesignWindow;

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainWindow(Session& session);
  ~MainWindow() override;

  Session& session() { return session_; }
  QMdiArea* mdiArea() const { return mdi_; }

  // Whether the program has a window of that name.
  bool HasWindow(const QString& name) const;
  // The window-opening pattern: a child window is closed if open and shown
  // afresh, without blocking; a modal window runs until it is closed (and the
  // call returns nullptr). Unknown names return nullptr.
  QWidget* OpenWindow(const QString& name);
  // A modal window built but not run, for pictures of it.
  QWidget* CreateModalWindow(const QString& name);
  // The open child window of that name, or nullptr.
  QWidget* FindChildWindow(const QString& name) const;
  // The design window, opened if it is not.
  DesignWindow* ShowDesignWindow();

  // --- commands of the File menu ---
  void NewDesign();
  void OpenDesign(DesignFormat format);
  void SaveDesign();
  // The file part of Open and Save, after the file dialog. False on failure,
  // which has been shown to the user.
  bool OpenDesignFile(const QString& path, DesignFormat format);
  bool SaveDesignFile(const QString& path);

  // --- commands of the Tools menu ---
  void ScaleSystemByFactor();
  void MakeFocal();

  // An edit in the design window's floating box goes into the sheet.
  void CommitDesignEdits();

  // The system update, as the design window's button runs it; every window
  // that changes the design ends with it. Shows the failure message.
  bool RunUpdate();
  // After a change of the design: the design window, commands and status bar
  // show the state again.
  void RefreshAll();

  // All windows but this one are closed and the design is emptied.
  void ClearDesignAndWindows();

  // The glass picker of a catalogue medium code, or the direct-index window
  // for code 4, for a grid row; returns whether the user chose.
  bool PickMedium(int row, int medium_code);
  // FrmGuida, opened at a chapter.
  void OpenHelp(const QString& topic);

  // The surface coefficients dialog of a row (CONIC or HIGH-ORDER).
  bool EditSurfaceCoefficients(int row, bool high_order);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  struct WindowKind {
    bool modal;
    std::function<QWidget*()> make;
  };
  struct Command {
    QAction* action;
    QString window;  // empty for a command that is not a window
    bool needsDesign;
  };

  void BuildWindows();
  void BuildMenus();
  void BuildToolbar();
  QAction* AddEntry(QMenu* menu, const char* name, const char* caption, const QString& window,
                    bool needs_design, std::function<void()> command = {});
  void RefreshCommands();
  void RefreshStatus();
  void ArrangeIcons();
  void RunPreDesignEntry(const QString& window);

  Session& session_;
  QMdiArea* mdi_ = nullptr;
  QToolBar* toolbar_ = nullptr;
  QLabel* statusFile_ = nullptr;
  QLabel* statusUpdate_ = nullptr;
  std::map<QString, WindowKind> windows_;
  std::vector<Command> commands_;
};

}  // namespace ovrin::shell
