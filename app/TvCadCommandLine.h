// The window's command line: the last lines of the transcript, the prompt and the field where
// commands and answers are typed.
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

class QKeyEvent;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace tvcad {

/// Output arrives as the editor prints it; the last, unfinished line is the prompt and stands
/// in front of the field. Enter hands the field's line on (an empty one too: Enter repeats the
/// last command at the "Command:" prompt); at that prompt the space bar does the same, as in CAD
/// programs. Escape cancels. The arrow keys up and down go through the lines entered before.
class TvCadCommandLine : public QWidget {
    Q_OBJECT
public:
    explicit TvCadCommandLine(QWidget* parent = nullptr);
    ~TvCadCommandLine() override;

    /// Text printed by the editor; shown at the latest when the event loop runs again.
    void appendOutput(const QString& text);
    /// Shows what was printed so far at once.
    void flush();

    /// The prompt shown in front of the field ("Command: ").
    QString prompt() const;
    QLineEdit* field() const { return m_field; }
    /// The lines entered, the oldest first.
    const QStringList& history() const { return m_history; }
    /// Whether the prompt is the "Command:" prompt, where the space bar enters the line.
    void setAtCommandPrompt(bool atCommandPrompt) { m_atCommandPrompt = atCommandPrompt; }

    /// A key typed while another part of the main window had the focus.
    void takeKey(QKeyEvent* event);

signals:
    void lineEntered(const QString& line);
    void cancelRequested();
    /// Finished lines of the transcript, for the text window.
    void linesAdded(const QString& lines);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void enter();
    void recall(int step);

    QPlainTextEdit* m_lines = nullptr;
    QLabel* m_prompt = nullptr;
    QLineEdit* m_field = nullptr;
    QString m_buffer;  ///< printed, not shown yet
    QString m_partial; ///< the unfinished last line: the prompt
    bool m_flushQueued = false;
    bool m_atCommandPrompt = true;
    QStringList m_history;
    int m_historyPos = 0;
};

} // namespace tvcad
