#pragma once
// Qt sets the C library's locale from the environment when the application
// starts. The program's number text is its own (a point for the decimals,
// whatever the desktop's language), so every entry puts the numeric locale
// back to "C" right after the application object exists.
#include <QLocale>
#include <clocale>

namespace ovrin::shell {

inline void UseProgramNumberLocale() {
  std::setlocale(LC_NUMERIC, "C");
  QLocale::setDefault(QLocale::c());
}

}  // namespace ovrin::shell
