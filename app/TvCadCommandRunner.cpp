// TvCadCommandRunner: commands from the window's command line, menus and toolbars.
#include "TvCadCommandRunner.h"

#include "TvCadApp.h"

#include "tv/KdEdEditor.h"

namespace tvcad {
namespace {

void print(const QString& text) {
    const std::wstring wide = text.toStdWString();
    kdutPrintf(L"%s", wide.c_str());
}

} // namespace

TvCadCommandRunner::TvCadCommandRunner(TvCadApp& app, QObject* parent)
    : QObject(parent), m_app(app) {
    kdedSetInputSource(&m_input);
    m_input.setWaitHook([this] { emit waitingForInput(); });
}

TvCadCommandRunner::~TvCadCommandRunner() {
    if (kdedInputSource() == &m_input)
        kdedSetInputSource(nullptr);
}

void TvCadCommandRunner::start() {
    prompt();
}

void TvCadCommandRunner::prompt() {
    print(QStringLiteral("\nCommand: "));
}

void TvCadCommandRunner::submit(const QString& line) {
    if (m_busy) {
        m_input.deliver(line.toStdWString());
        return;
    }
    QString command = line.trimmed();
    if (command.isEmpty()) {
        // Enter at the "Command:" prompt repeats the last command, as in CAD programs.
        if (m_lastCommand.isEmpty()) {
            print(QStringLiteral("\n"));
            prompt();
            return;
        }
        command = m_lastCommand;
    }
    m_jobs.push_back({command, {}});
    drain();
}

void TvCadCommandRunner::cancel() {
    if (m_busy) {
        m_input.deliver(L"*cancel*");
        return;
    }
    print(QStringLiteral("*Cancel*\n"));
    prompt();
}

void TvCadCommandRunner::runCommand(const QString& command, const QStringList& answers) {
    m_jobs.push_back({command, answers});
    if (m_busy) {
        m_input.abort(); // the job runs when the command running has wound down
        return;
    }
    drain();
}

void TvCadCommandRunner::abortCommand() {
    if (m_busy)
        m_input.abort();
}

bool TvCadCommandRunner::quit() {
    if (m_busy)
        return false;
    m_busy = true;
    m_input.reset();
    emit commandStarted();
    m_app.runCommand(L"QUIT");
    m_busy = false;
    m_input.reset();
    emit commandFinished();
    return m_app.quitRequested();
}

void TvCadCommandRunner::drain() {
    if (m_draining || m_busy)
        return;
    m_draining = true;
    while (!m_jobs.empty() && !m_app.quitRequested()) {
        const Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        execute(job);
    }
    m_draining = false;
    if (m_app.quitRequested()) {
        m_jobs.clear();
        emit quitRequested();
    }
}

void TvCadCommandRunner::execute(const Job& job) {
    // The prompt is on the screen: the command reads as typed after it.
    print(job.command + QLatin1Char('\n'));
    if (job.command.startsWith(QLatin1Char(';'))) {
        prompt();
        return;
    }
    m_lastCommand = job.command;
    m_busy = true;
    m_input.reset();
    for (const QString& answer : job.answers)
        m_input.deliver(answer.toStdWString());
    emit commandStarted();
    m_app.runCommand(job.command.toStdWString());
    m_busy = false;
    m_input.reset();
    emit commandFinished();
    if (!m_app.quitRequested())
        prompt();
}

} // namespace tvcad
