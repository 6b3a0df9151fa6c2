// Test helper: sets the Host's system code page through its environment variable for a scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace tvtest {

/// Sets TV_ANSI_CODEPAGE (or removes it for null) and restores the previous value.
class ScopedAnsiCodePage {
public:
    explicit ScopedAnsiCodePage(const char* value) {
        if (const char* old = std::getenv(kName))
            m_saved = old;
        if (value != nullptr)
            setenv(kName, value, 1);
        else
            unsetenv(kName);
    }
    ~ScopedAnsiCodePage() {
        if (m_saved)
            setenv(kName, m_saved->c_str(), 1);
        else
            unsetenv(kName);
    }
    ScopedAnsiCodePage(const ScopedAnsiCodePage&) = delete;
    ScopedAnsiCodePage& operator=(const ScopedAnsiCodePage&) = delete;

private:
    static constexpr const char* kName = "TV_ANSI_CODEPAGE";
    std::optional<std::string> m_saved;
};

} // namespace tvtest
