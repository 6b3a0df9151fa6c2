// The process locale set for the length of a test and restored at its end: "C", or one with a
// ',' decimal point as Qt sets it when a program starts in Germany.
#pragma once

#include <clocale>
#include <initializer_list>
#include <string>

namespace tvtest {

/// Asks ScopedLocale for a locale that writes "0,25": German, else French.
struct CommaDecimalPoint {};

class ScopedLocale {
public:
    /// Sets the first of `names` that is installed.
    explicit ScopedLocale(std::initializer_list<const char*> names) {
        const char* current = std::setlocale(LC_ALL, nullptr);
        m_previous = current ? current : "C";
        for (const char* name : names) {
            if (std::setlocale(LC_ALL, name)) {
                m_name = name;
                break;
            }
        }
    }
    explicit ScopedLocale(CommaDecimalPoint)
        : ScopedLocale({"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {}
    ~ScopedLocale() { std::setlocale(LC_ALL, m_previous.c_str()); }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;

    /// The locale set; empty when none of them is installed (scripts/setup.sh makes
    /// de_DE.UTF-8).
    const std::string& name() const { return m_name; }
    /// True when a locale was set and the C library now writes its decimal point as ','.
    bool hasCommaDecimalPoint() const {
        const std::lconv* conv = std::localeconv();
        return !m_name.empty() && conv && std::string(conv->decimal_point) == ",";
    }

private:
    std::string m_previous;
    std::string m_name;
};

} // namespace tvtest
