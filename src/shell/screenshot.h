#pragma once
// Pictures of the program for the documentation and the tests: the main window
// with one named window open, written as a PNG file.
#include <QString>

namespace ovrin::shell {

class MainWindow;

// Opens `window` ("Frmdati", "FrmWL", a picker, ...; empty for the design
// window) in the main window and saves the picture. Returns an empty string or
// the reason for failing.
QString SaveScreenshot(MainWindow& main, const QString& window, const QString& out);

}  // namespace ovrin::shell
