#include "shell/screenshot.h"

#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPixmap>

#include "shell/analysis_window.h"
#include "shell/dialogs.h"
#include "shell/main_window.h"

namespace ovrin::shell {

namespace {

void Settle() {
  for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

// A top-level window drawn as the desktop would frame it, over the main window.
void PaintFramed(QPainter& p, QWidget* w, const QPixmap& body, const QPoint& at) {
  const int bar = w->fontMetrics().height() + 10;
  const QSize size = body.deviceIndependentSize().toSize();
  const QRect frame(at.x() - 1, at.y() - bar - 1, size.width() + 2, size.height() + bar + 2);
  p.fillRect(frame.adjusted(4, 4, 4, 4), QColor(0, 0, 0, 60));  // shadow
  p.fillRect(frame, QColor(60, 70, 90));
  p.setPen(Qt::white);
  p.setFont(w->font());
  p.drawText(QRect(frame.x() + 8, frame.y(), frame.width() - 16, bar), Qt::AlignVCenter | Qt::AlignLeft,
             w->windowTitle());
  p.drawPixmap(at, body);
}

}  // namespace

QString SaveScreenshot(MainWindow& main, const QString& window, const QString& out) {
  const QString name = window.isEmpty() ? QString("Frmdati") : window;
  if (name != "frmSplash" && !main.HasWindow(name)) return "no window named " + name;
  main.resize(1280, 900);
  main.show();
  main.ShowDesignWindow();
  Settle();

  QWidget* top = nullptr;  // a modal window, drawn over the main window
  if (name == "frmSplash") {
    top = new SplashWindow;
  } else if (QWidget* modal = main.CreateModalWindow(name)) {
    top = modal;
  } else if (name != "Frmdati") {
    // An analysis window is shown with its first drawing.
    if (auto* analysis = qobject_cast<AnalysisWindow*>(main.OpenWindow(name))) {
      Settle();
      analysis->Update();
    }
  }
  if (top) top->show();
  Settle();

  // The main window grows until every child window fits its workspace.
  QSize need(0, 0);
  for (QMdiSubWindow* sub : main.mdiArea()->subWindowList()) {
    sub->adjustSize();
    need = need.expandedTo(QSize(sub->geometry().right() + 8, sub->geometry().bottom() + 8));
  }
  const QSize area = main.mdiArea()->viewport()->size();
  if (need.width() > area.width() || need.height() > area.height()) {
    main.resize(main.width() + std::max(0, need.width() - area.width()),
                main.height() + std::max(0, need.height() - area.height()));
    Settle();
  }
  QPixmap body;
  if (top) {
    // The window's own picture gives its size: a top-level window may not have
    // been given its final geometry yet.
    top->resize(top->size().expandedTo(top->sizeHint()));
    Settle();
    body = top->grab();
    const QSize size = body.deviceIndependentSize().toSize();
    const int bar = top->fontMetrics().height() + 10;
    const QSize grow(std::max(main.width(), size.width() + 80), std::max(main.height(), size.height() + bar + 120));
    if (grow != main.size()) {
      main.resize(grow);
      Settle();
    }
  }

  QPixmap shot = main.grab();
  if (top) {
    QPainter p(&shot);
    const int bar = top->fontMetrics().height() + 10;
    const QSize size = body.deviceIndependentSize().toSize();
    const QSize whole = shot.deviceIndependentSize().toSize();
    const QPoint at((whole.width() - size.width()) / 2, std::max(bar + 40, (whole.height() - size.height()) / 2));
    PaintFramed(p, top, body, at);
    p.end();
    top->close();
    delete top;
  }
  if (!shot.save(out, "PNG")) return "cannot write " + out;
  return {};
}

}  // namespace ovrin::shell
