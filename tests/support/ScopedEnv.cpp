#include "ScopedEnv.h"

#include <cstdlib>
#include <utility>

namespace tvtest {

ScopedEnv::ScopedEnv(std::string name, const char* value) : m_name(std::move(name)) {
    if (const char* old = std::getenv(m_name.c_str()))
        m_old = old;
    if (value != nullptr)
        setenv(m_name.c_str(), value, 1);
    else
        unsetenv(m_name.c_str());
}

ScopedEnv::~ScopedEnv() {
    if (m_old)
        setenv(m_name.c_str(), m_old->c_str(), 1);
    else
        unsetenv(m_name.c_str());
}

} // namespace tvtest
