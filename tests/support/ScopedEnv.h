// An environment variable set for a scope and put back as it was at the end.
#pragma once

#include <optional>
#include <string>

namespace tvtest {

class ScopedEnv {
public:
    /// Sets `name` to `value`, or removes it for a null value.
    ScopedEnv(std::string name, const char* value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

} // namespace tvtest
