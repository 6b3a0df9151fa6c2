// KdQtDialogDriver: steps queued for the next modal dialog, and synthetic input events.
#include "tv/qt/KdQtDialogDriver.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

namespace {

QStringList& failures() {
    static QStringList list;
    return list;
}

constexpr int kPollMs = 10;

/// Waits for a modal dialog other than `before`, runs the steps on it, then watches that it
/// closes in time.
void poll(QPointer<QWidget> before, KdQtDialogDriver::Steps steps, int timeoutMs,
          std::shared_ptr<QElapsedTimer> clock) {
    QWidget* modal = QApplication::activeModalWidget();
    auto* dialog = qobject_cast<QDialog*>(modal);
    if (dialog && dialog != before.data() && dialog->isVisible()) {
        QPointer<QDialog> guard(dialog);
        steps(dialog);
        // Steps that leave the dialog open must not leave the caller waiting for ever.
        QTimer::singleShot(timeoutMs, [guard, timeoutMs] {
            if (guard && guard->isVisible()) {
                failures().append(QStringLiteral("dialog \"%1\" was still open after %2 ms")
                                      .arg(guard->objectName())
                                      .arg(timeoutMs));
                guard->reject();
            }
        });
        return;
    }
    if (clock->elapsed() > timeoutMs) {
        failures().append(QStringLiteral("no dialog opened within %1 ms").arg(timeoutMs));
        if (dialog && dialog != before.data())
            dialog->reject();
        return;
    }
    QTimer::singleShot(kPollMs, [before, steps = std::move(steps), timeoutMs, clock]() mutable {
        poll(before, std::move(steps), timeoutMs, clock);
    });
}

QPoint globalOf(QWidget* widget, const QPoint& pos) {
    return widget->mapToGlobal(pos);
}

void sendMouse(QWidget* widget, QEvent::Type type, const QPoint& pos, Qt::MouseButton button) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, QPointF(pos), QPointF(globalOf(widget, pos)), button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

int keyOf(QChar c) {
    if (c.isLetter())
        return c.toUpper().unicode() <= 0x7F ? c.toUpper().unicode() : 0;
    if (c.unicode() >= 0x20 && c.unicode() <= 0x7E)
        return c.unicode();
    return 0;
}

} // namespace

void KdQtDialogDriver::whenShown(Steps steps, int timeoutMs) {
    QPointer<QWidget> before = QApplication::activeModalWidget();
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    QTimer::singleShot(0, [before, steps = std::move(steps), timeoutMs, clock]() mutable {
        poll(before, std::move(steps), timeoutMs, clock);
    });
}

QString KdQtDialogDriver::takeFailures() {
    const QString text = failures().join(QLatin1Char('\n'));
    failures().clear();
    return text;
}

QWidget* KdQtDialogDriver::find(QWidget* root, const QString& objectName) {
    if (!root)
        return nullptr;
    if (root->objectName() == objectName)
        return root;
    return root->findChild<QWidget*>(objectName);
}

void KdQtDialogDriver::click(QWidget* widget) {
    if (widget)
        clickAt(widget, widget->rect().center());
}

void KdQtDialogDriver::clickAt(QWidget* widget, const QPoint& pos, bool right) {
    if (!widget)
        return;
    const Qt::MouseButton button = right ? Qt::RightButton : Qt::LeftButton;
    QPointer<QWidget> guard(widget);
    sendMouse(widget, QEvent::MouseButtonPress, pos, button);
    if (guard)
        sendMouse(widget, QEvent::MouseButtonRelease, pos, button);
}

void KdQtDialogDriver::doubleClickAt(QWidget* widget, const QPoint& pos) {
    if (!widget)
        return;
    QPointer<QWidget> guard(widget);
    clickAt(widget, pos);
    if (guard)
        sendMouse(widget, QEvent::MouseButtonDblClick, pos, Qt::LeftButton);
    if (guard)
        sendMouse(widget, QEvent::MouseButtonRelease, pos, Qt::LeftButton);
}

void KdQtDialogDriver::type(QWidget* widget, const QString& text) {
    QPointer<QWidget> guard(widget);
    for (const QChar c : text) {
        if (!guard)
            return;
        QKeyEvent press(QEvent::KeyPress, keyOf(c), Qt::NoModifier, QString(c));
        QApplication::sendEvent(widget, &press);
        if (!guard)
            return;
        QKeyEvent release(QEvent::KeyRelease, keyOf(c), Qt::NoModifier, QString(c));
        QApplication::sendEvent(widget, &release);
    }
}

void KdQtDialogDriver::key(QWidget* widget, int key, Qt::KeyboardModifiers modifiers) {
    if (!widget)
        return;
    QString text;
    if (key == Qt::Key_Return || key == Qt::Key_Enter)
        text = QStringLiteral("\r");
    else if (key == Qt::Key_Escape)
        text = QString(QChar(0x1B));
    QPointer<QWidget> guard(widget);
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(widget, &press);
    if (!guard)
        return;
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(widget, &release);
}

bool KdQtDialogDriver::saveScreenshot(QWidget* widget, const QString& path) {
    if (!widget)
        return false;
    QDir().mkpath(QFileInfo(path).absolutePath());
    return widget->grab().save(path, "PNG");
}
