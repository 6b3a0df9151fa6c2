// Runs what is typed on the window's command line, and what its menus ask for, through the
// session's command loop.
#pragma once

#include "TvCadWindowInput.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <deque>

namespace tvcad {

class TvCadApp;

/// At the "Command:" prompt a line is a command (Enter alone repeats the last one, Escape
/// prints *Cancel*); while a command runs, a line answers its prompt and Escape cancels it.
/// A command runs synchronously; its prompts wait in TvCadWindowInput. Commands asked for by
/// menus and toolbars end the command running first (its prompts read as if input ran out),
/// then run with their answers given in advance, each echoed after its prompt as a script's.
class TvCadCommandRunner : public QObject {
    Q_OBJECT
public:
    TvCadCommandRunner(TvCadApp& app, QObject* parent = nullptr);
    /// Stops being the editor's input source.
    ~TvCadCommandRunner() override;

    /// Prints the first "Command:" prompt.
    void start();
    /// A line typed on the command line.
    void submit(const QString& line);
    /// Escape on the command line.
    void cancel();
    /// Runs `command` with `answers` as if typed, after ending the command running.
    void runCommand(const QString& command, const QStringList& answers = {});
    /// Ends the command running, if any; its prompts read as if input ran out.
    void abortCommand();
    /// Runs QUIT as the window's close button does, without echo: true when the session may
    /// end (changes saved or dropped as the user said). False while a command runs.
    bool quit();

    bool busy() const { return m_busy; }
    const QString& lastCommand() const { return m_lastCommand; }
    TvCadWindowInput& input() { return m_input; }

signals:
    void commandStarted();
    void commandFinished();
    /// QUIT ran and the session may end.
    void quitRequested();
    /// A prompt of the running command waits for a line.
    void waitingForInput();

private:
    struct Job {
        QString command;
        QStringList answers;
    };
    /// Runs queued jobs until none is left; only the outermost call runs them.
    void drain();
    void execute(const Job& job);
    void prompt();

    TvCadApp& m_app;
    TvCadWindowInput m_input;
    std::deque<Job> m_jobs;
    QString m_lastCommand;
    bool m_busy = false;
    bool m_draining = false;
};

} // namespace tvcad
