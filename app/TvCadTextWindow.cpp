// TvCadTextWindow: the transcript in full.
#include "TvCadTextWindow.h"

#include "TvCadCommandLine.h"

#include "tv/qt/KdQtHost.h"

#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tvcad {

TvCadTextWindow::TvCadTextWindow(TvCadCommandLine& commandLine, QWidget* parent)
    : QWidget(parent, Qt::Window), m_commandLine(commandLine) {
    setObjectName(QStringLiteral("textWindow"));
    setWindowTitle(tr("TEVRA Text Window"));
    setWindowIcon(kdQtHostIcon(QStringLiteral("tvcad")));
    m_text = new QPlainTextEdit;
    m_text->setObjectName(QStringLiteral("transcript"));
    m_text->setReadOnly(true);
    m_text->setMaximumBlockCount(100000);
    m_text->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_text->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_text);
    resize(640, 420);
    connect(&commandLine, &TvCadCommandLine::linesAdded, this, [this](const QString& lines) {
        m_text->appendPlainText(lines);
        m_text->verticalScrollBar()->setValue(m_text->verticalScrollBar()->maximum());
    });
}

TvCadTextWindow::~TvCadTextWindow() = default;

QString TvCadTextWindow::text() const {
    return m_text->toPlainText();
}

bool TvCadTextWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        // Copying and moving through the text stay here; typing goes to the command line.
        if (key->matches(QKeySequence::Copy) || key->matches(QKeySequence::SelectAll) ||
            key->key() == Qt::Key_PageUp || key->key() == Qt::Key_PageDown ||
            key->key() == Qt::Key_F2)
            return false;
        if (!key->text().isEmpty() || key->key() == Qt::Key_Up || key->key() == Qt::Key_Down) {
            m_commandLine.takeKey(key);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace tvcad
