#include "shell/widgets_util.h"

#include <QProgressBar>

#include <QPushButton>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QScreen>
#include <cstdio>

#include <exception>

#include "core/design_file.h"
#include "core/design_sheet.h"
#include "core/number_text.h"
#include "core/system_update.h"

namespace ovrin::shell {

void CenterWindow(QWidget* w, int dx, int dy) {
  if (dx == 0 || dy == 0) return;
  QWidget* frame = w;
  QSize area;
  if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) {
    frame = sub;
    area = sub->mdiArea() ? sub->mdiArea()->viewport()->size() : QSize();
  }
  if (!area.isValid()) {
    QScreen* screen = w->screen() ? w->screen() : QGuiApplication::primaryScreen();
    area = screen ? screen->availableGeometry().size() : QSize(1024, 768);
  }
  const int left = std::max(0, (area.width() - frame->width()) / dx);
  const int top = std::max(0, (area.height() - frame->height()) / dy);
  frame->move(left, top);
}

namespace {
bool unattended = false;
}

void SetUnattended(bool on) { unattended = on; }

void Tell(QWidget* parent, const QString& text, const QString& title) {
  if (unattended) {
    std::fprintf(stderr, "%s: %s\n", qPrintable(title), qPrintable(text));
    return;
  }
  QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, parent);
  box.setObjectName("MsgBox");
  box.exec();
}

bool AskYesNo(QWidget* parent, const QString& text, const QString& title) {
  if (unattended) return true;
  QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
  box.setObjectName("MsgBox");
  box.setDefaultButton(QMessageBox::Yes);
  return box.exec() == QMessageBox::Yes;
}

bool KeyFilter::Accepts(Mode mode, const QString& text) {
  for (QChar c : text) {
    const int ch = c.unicode();
    if (mode == NoQuote) {
      if (ch == '"') return false;
    } else if (!IsNumericEntryKey(ch)) {
      return false;
    }
  }
  return true;
}

bool KeyFilter::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
  auto* key = static_cast<QKeyEvent*>(event);
  const QString text = key->text();
  // Keys without a character (arrows, Delete, Home, Enter's commit) pass;
  // only the characters typed are filtered, backspace among the allowed ones.
  if (text.isEmpty() || key->key() == Qt::Key_Backspace || key->key() == Qt::Key_Return ||
      key->key() == Qt::Key_Enter || key->key() == Qt::Key_Tab || key->key() == Qt::Key_Escape ||
      (key->modifiers() & Qt::ControlModifier))
    return false;
  if (Accepts(mode_, text)) return false;
  if (mode_ != NumericSilent) Tell(qobject_cast<QWidget*>(watched), QStringLiteral(" Invalid entry"));
  return true;
}

void FilterKeys(QLineEdit* box, KeyFilter::Mode mode) { box->installEventFilter(new KeyFilter(mode, box)); }

double NumberIn(const QLineEdit* box) { return ParseLeadingNumber(box->text().toStdString()); }

QString EngineFailureText() {
  try {
    throw;
  } catch (const DesignFileError& e) {
    return QString::fromUtf8(e.what());
  } catch (...) {
    return QString::fromUtf8(kDataInputError);
  }
}

bool RunEngine(QWidget* parent, const std::function<void()>& call, const QString& title) {
  try {
    call();
    return true;
  } catch (...) {
    Tell(parent, EngineFailureText(), title);
    return false;
  }
}

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (...) {
    std::fprintf(stderr, "Ovrin: a fault reached the event loop and was stopped there\n");
    Tell(activeWindow(), EngineFailureText());
    return false;
  }
}

QLineEdit* NamedNumberBox(const char* name, const QString& text, QWidget* parent) {
  auto* b = new QLineEdit(text, parent);
  b->setObjectName(name);
  b->setAlignment(Qt::AlignRight);
  return b;
}

QPushButton* NamedButton(const char* name, const QString& caption, QWidget* parent) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  return b;
}

QProgressBar* RunProgressBar(QWidget* parent) {
  auto* p = new QProgressBar(parent);
  p->setObjectName("ProgressBar1");
  p->setRange(0, 100);
  p->hide();
  return p;
}

std::function<void(int)> PaintingProgress(QProgressBar* bar) {
  return [bar](int percent) {
    bar->setValue(percent);
    bar->repaint();
  };
}

double BoxValue(const QLineEdit* box) { return ParseLeadingNumber(S(box->text())); }

}  // namespace ovrin::shell
