// The desktop program: the opening picture, then the main window with the
// design window, optionally on a design given at start.
#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>
#include <cstdio>

#include "shell/dialogs.h"
#include "shell/main_window.h"
#include "shell/number_locale.h"
#include "shell/screenshot.h"
#include "shell/session.h"
#include "shell/widgets_util.h"

int main(int argc, char** argv) {
  ovrin::shell::GuardedApplication app(argc, argv);
  ovrin::shell::UseProgramNumberLocale();
  QApplication::setApplicationName("Ovrin");
  QApplication::setApplicationVersion(OVRIN_VERSION);

  QCommandLineParser cli;
  cli.setApplicationDescription("Ovrin - Optical Design and Analysis Software");
  cli.addHelpOption();
  cli.addVersionOption();
  QCommandLineOption open("open", "Open the design FILE at start.", "FILE");
  QCommandLineOption shot("screenshot", "Save a picture of the main window as OUT (PNG) and exit.", "OUT");
  QCommandLineOption window("window", "With --screenshot: the window to show open (Frmdati, FrmWL, FrmTilt, ...).",
                            "NAME");
  cli.addOptions({open, shot, window});
  cli.process(app);

  ovrin::shell::Session session;
  ovrin::shell::MainWindow main(session);

  if (cli.isSet(shot)) {
    ovrin::shell::SetUnattended(true);
    if (cli.isSet(open) && !main.OpenDesignFile(cli.value(open), ovrin::DesignFormat::Current)) return 2;
    const QString error = ovrin::shell::SaveScreenshot(main, cli.value(window), cli.value(shot));
    if (!error.isEmpty()) {
      std::fprintf(stderr, "%s\n", qPrintable(error));
      return 2;
    }
    return 0;
  }

  // frmSplash stays until its timer fires; then the design window opens in the main window.
  auto* splash = new ovrin::shell::SplashWindow;
  splash->show();
  QTimer Timer1;
  Timer1.setSingleShot(true);
  QObject::connect(&Timer1, &QTimer::timeout, [&] {
    splash->close();
    delete splash;
    main.resize(1280, 900);
    main.show();
    main.ShowDesignWindow();
    if (cli.isSet(open)) main.OpenDesignFile(cli.value(open), ovrin::DesignFormat::Current);
  });
  Timer1.start(1500);
  return app.exec();
}
