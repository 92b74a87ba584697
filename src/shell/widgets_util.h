#pragma once
// Small pieces every window uses: placement, message boxes, keyboard filters
// and the conversion of text between the engine and Qt.
#include <QApplication>
#include <QObject>
#include <QString>
#include <functional>
#include <string>

class QWidget;
class QLineEdit;
class QPushButton;
class QProgressBar;

namespace ovrin::shell {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }
inline std::string S(const QString& s) { return s.toStdString(); }

// The program's one placement routine: left = (area width - window width) / dx,
// top = (area height - window height) / dy. The area is the main window's
// workspace for a child window and the screen for a top-level one.
void CenterWindow(QWidget* w, int dx, int dy);

// Controls made with their object names, as the analysis windows build them.
QLineEdit* NamedNumberBox(const char* name, const QString& text, QWidget* parent);  // right-aligned
QPushButton* NamedButton(const char* name, const QString& caption, QWidget* parent);
// The hidden "ProgressBar1" of a long run, 0..100.
QProgressBar* RunProgressBar(QWidget* parent);
// A progress report that paints at once: the run holds the event loop.
std::function<void(int)> PaintingProgress(QProgressBar* bar);
// The leading number of a box, as the program reads every box.
double BoxValue(const QLineEdit* box);

// Message boxes. Every message of the program goes through these, so that the
// text is exactly the program's and the title is the caller's caption.
// A run with no one at the screen (pictures for the documentation): messages
// go to the error stream and questions are answered Yes.
void SetUnattended(bool on);

void Tell(QWidget* parent, const QString& text, const QString& title = QStringLiteral("Ovrin"));
bool AskYesNo(QWidget* parent, const QString& text, const QString& title);

// Every call from a window into the engines goes through this: whatever the
// engine throws (a damaged file, a glass outside its formula's range, a ray
// that cannot pass, any other failure) becomes the program's own message, and
// nothing unwinds into Qt. Returns whether the call ended normally.
bool RunEngine(QWidget* parent, const std::function<void()>& call,
               const QString& title = QStringLiteral("Ovrin"));
// Inside a catch block: the message for the exception in hand. A design file's
// error says what it found where; every other fault of the data is
// " Data Input ERROR ! ".
QString EngineFailureText();

// The application object of the program: a fault that escaped every window
// still ends as a message, never as the end of the program.
class GuardedApplication : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override;
};

// Keyboard filters of the text boxes.
class KeyFilter : public QObject {
  Q_OBJECT
 public:
  enum Mode {
    NumericSilent,  // backspace and - . / 0-9 only; others ignored silently
    NumericWarn,    // the same, others refused with " Invalid entry"
    NoQuote,        // anything but the double quote, refused with " Invalid entry"
  };
  KeyFilter(Mode mode, QObject* parent) : QObject(parent), mode_(mode) {}
  // Whether a typed text passes the filter.
  static bool Accepts(Mode mode, const QString& text);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  Mode mode_;
};

// Installs the filter on a line edit (it becomes the filter's parent).
void FilterKeys(QLineEdit* box, KeyFilter::Mode mode);

// The leading number of a box's text, junk giving 0.
double NumberIn(const QLineEdit* box);

}  // namespace ovrin::shell
