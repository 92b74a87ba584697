#pragma once
// What every window test starts from: a fresh session and the main window
// shown at a fixed size, with messages going to the error stream instead of
// waiting for a click.
#include <QAction>
#include <QString>

#include "shell/main_window.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

inline QString ExampleFile(const char* name) { return QString(OVRIN_EXAMPLES_DIR "/") + name; }

struct WindowFixture {
  Session* s = nullptr;
  MainWindow* m = nullptr;

  void StartShell(bool show_design_window = true) {
    SetUnattended(true);
    s = new Session;
    m = new MainWindow(*s);
    m->resize(1400, 1000);
    m->show();
    if (show_design_window) m->ShowDesignWindow();
  }
  void StopShell() {
    m->close();
    delete m;
    delete s;
    m = nullptr;
    s = nullptr;
  }
  // Triggers a menu entry or toolbar key and returns the window it opened;
  // null when the entry is missing or disabled.
  template <typename W>
  W* Open(const char* action, const char* name) {
    auto* a = m->findChild<QAction*>(action);
    if (!a || !a->isEnabled()) return nullptr;
    a->trigger();
    return qobject_cast<W*>(m->FindChildWindow(name));
  }
};

}  // namespace ovrin::shell
