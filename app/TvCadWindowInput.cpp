// TvCadWindowInput: prompts wait in a nested event loop for the command line.
#include "TvCadWindowInput.h"

#include <QEventLoop>

namespace tvcad {

TvCadWindowInput::TvCadWindowInput() = default;

TvCadWindowInput::~TvCadWindowInput() {
    if (m_loop)
        m_loop->exit();
}

bool TvCadWindowInput::nextLine(std::wstring& line) {
    while (m_lines.empty() && !m_aborted) {
        if (m_waitHook)
            m_waitHook();
        if (!m_lines.empty() || m_aborted)
            break;
        QEventLoop loop;
        QEventLoop* outer = m_loop;
        m_loop = &loop;
        loop.exec();
        m_loop = outer;
    }
    if (m_aborted)
        return false;
    line = std::move(m_lines.front());
    m_lines.pop_front();
    return true;
}

void TvCadWindowInput::deliver(const std::wstring& line) {
    m_lines.push_back(line);
    if (m_loop)
        m_loop->exit();
}

void TvCadWindowInput::abort() {
    m_aborted = true;
    if (m_loop)
        m_loop->exit();
}

void TvCadWindowInput::reset() {
    m_lines.clear();
    m_aborted = false;
}

} // namespace tvcad
