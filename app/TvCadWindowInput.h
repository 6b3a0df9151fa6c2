// The command line of the window as the editor's input source.
#pragma once

#include "tv/KdEdInput.h"

#include <deque>
#include <functional>
#include <string>

class QEventLoop;

namespace tvcad {

/// A prompt asks for its answer synchronously, as on a console: nextLine() runs a nested event
/// loop, so that the window goes on working, until the command line delivers a line. abort()
/// makes every read end (as the end of a script does) until reset(), so that a running
/// command winds down when the window needs it gone.
class TvCadWindowInput : public KdEdInputSource {
public:
    TvCadWindowInput();
    ~TvCadWindowInput() override;

    bool nextLine(std::wstring& line) override;

    /// Hands a line to the prompt waiting, or to the next one that asks.
    void deliver(const std::wstring& line);
    /// Ends the running command: reads fail until reset().
    void abort();
    /// Forgets lines nobody read and ends an abort; for the start of the next command.
    void reset();
    /// Whether a prompt is waiting for a line now.
    bool waiting() const { return m_loop != nullptr; }
    bool aborted() const { return m_aborted; }

    /// Called each time a prompt starts to wait: the window shows the prompt and brings what
    /// it shows of the drawing up to date.
    void setWaitHook(std::function<void()> hook) { m_waitHook = std::move(hook); }

private:
    std::deque<std::wstring> m_lines;
    bool m_aborted = false;
    QEventLoop* m_loop = nullptr;
    std::function<void()> m_waitHook;
};

} // namespace tvcad
