#pragma once
// Small pieces every window uses: placement, message boxes, keyboard filters
// and the conversion of text between the engine and Qt.
#include <QObject>
#include <QString>
#include <string>

class QWidget;
class QLineEdit;

namespace ovrin::shell {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }
inline std::string S(const QString& s) { return s.toStdString(); }

// The program's one placement routine: left = (area width - window width) / dx,
// top = (area height - window height) / dy. The area is the main window's
// workspace for a child window and the screen for a top-level one.
void CenterWindow(QWidget* w, int dx, int dy);

// Message boxes. Every message of the program goes through these, so that the
// text is exactly the program's and the title is the caller's caption.
// A run with no one at the screen (pictures for the documentation): messages
// go to the error stream and questions are answered Yes.
void SetUnattended(bool on);

void Tell(QWidget* parent, const QString& text, const QString& title = QStringLiteral("Ovrin"));
bool AskYesNo(QWidget* parent, const QString& text, const QString& title);

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
