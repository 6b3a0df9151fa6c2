// TvCadCommandLine: transcript lines, prompt and input field.
#include "TvCadCommandLine.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace tvcad {
namespace {

constexpr int kShownLines = 4;
constexpr int kKeptLines = 5000;
constexpr int kHistoryKept = 200;

} // namespace

TvCadCommandLine::TvCadCommandLine(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("commandLine"));
    m_lines = new QPlainTextEdit;
    m_lines->setObjectName(QStringLiteral("commandHistory"));
    m_lines->setReadOnly(true);
    m_lines->setFocusPolicy(Qt::NoFocus);
    m_lines->setMaximumBlockCount(kKeptLines);
    m_lines->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_lines->setFrameShape(QFrame::NoFrame);
    const int lineHeight = m_lines->fontMetrics().lineSpacing();
    m_lines->setFixedHeight(lineHeight * kShownLines +
                            2 * int(m_lines->document()->documentMargin()));

    m_prompt = new QLabel;
    m_prompt->setObjectName(QStringLiteral("commandPrompt"));
    m_prompt->setTextFormat(Qt::PlainText);
    m_field = new QLineEdit;
    m_field->setObjectName(QStringLiteral("commandInput"));
    m_field->setFrame(false);
    m_field->installEventFilter(this);
    m_field->setPlaceholderText(tr("Type a command"));

    auto* row = new QHBoxLayout;
    row->setContentsMargins(4, 0, 4, 2);
    row->setSpacing(2);
    row->addWidget(m_prompt);
    row->addWidget(m_field, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_lines);
    layout->addLayout(row);
    setFocusProxy(m_field);
}

TvCadCommandLine::~TvCadCommandLine() = default;

void TvCadCommandLine::appendOutput(const QString& text) {
    m_buffer += text;
    if (m_flushQueued)
        return;
    m_flushQueued = true;
    QTimer::singleShot(0, this, [this] { flush(); });
}

void TvCadCommandLine::flush() {
    m_flushQueued = false;
    if (m_buffer.isEmpty())
        return;
    QString text = m_partial + m_buffer;
    m_buffer.clear();
    text.remove(QLatin1Char('\r'));
    const qsizetype lastBreak = text.lastIndexOf(QLatin1Char('\n'));
    if (lastBreak >= 0) {
        const QString finished = text.left(lastBreak);
        // The few lines shown here are too precious for the blank ones between commands; the
        // text window keeps them.
        QStringList shown = finished.split(QLatin1Char('\n'));
        shown.removeAll(QString());
        if (!shown.isEmpty()) {
            m_lines->appendPlainText(shown.join(QLatin1Char('\n')));
            m_lines->verticalScrollBar()->setValue(m_lines->verticalScrollBar()->maximum());
        }
        emit linesAdded(finished);
    }
    m_partial = text.mid(lastBreak + 1);
    m_prompt->setText(m_partial);
}

QString TvCadCommandLine::prompt() const {
    return m_partial;
}

void TvCadCommandLine::enter() {
    const QString line = m_field->text();
    m_field->clear();
    if (!line.trimmed().isEmpty()) {
        if (m_history.isEmpty() || m_history.last() != line)
            m_history.append(line);
        while (m_history.size() > kHistoryKept)
            m_history.removeFirst();
    }
    m_historyPos = int(m_history.size());
    emit lineEntered(line);
}

void TvCadCommandLine::recall(int step) {
    if (m_history.isEmpty())
        return;
    m_historyPos = std::clamp(m_historyPos + step, 0, int(m_history.size()));
    m_field->setText(m_historyPos < m_history.size() ? m_history[m_historyPos] : QString());
}

void TvCadCommandLine::takeKey(QKeyEvent* event) {
    m_field->setFocus(Qt::OtherFocusReason);
    QKeyEvent copy(event->type(), event->key(), event->modifiers(), event->text(),
                   event->isAutoRepeat(), ushort(event->count()));
    QApplication::sendEvent(m_field, &copy);
}

bool TvCadCommandLine::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_field || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    switch (key->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        enter();
        return true;
    case Qt::Key_Space:
        // Command names hold no blanks; answers (layer names, descriptions) may.
        if (m_atCommandPrompt) {
            enter();
            return true;
        }
        return false;
    case Qt::Key_Escape:
        m_field->clear();
        emit cancelRequested();
        return true;
    case Qt::Key_Up:
        recall(-1);
        return true;
    case Qt::Key_Down:
        recall(1);
        return true;
    default:
        return false;
    }
}

} // namespace tvcad
