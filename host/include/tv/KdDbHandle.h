// Persistent 64-bit object handle of a drawing, written as hexadecimal text.
#pragma once

#include "KdExport.h"

#include <cstdint>
#include <string>
#include <string_view>

class TVHOST_API KdDbHandle {
public:
    KdDbHandle() = default;
    explicit KdDbHandle(uint64_t value) : m_value(value) {}
    /// From hexadecimal text ("1F", "0001f"); invalid or empty text gives the null handle.
    explicit KdDbHandle(const wchar_t* hex);
    explicit KdDbHandle(const char* hex);

    /// Parses hexadecimal text of 1 to 16 digits; false (and value unchanged) when invalid.
    static bool parse(std::string_view hex, uint64_t& value);

    bool isNull() const { return m_value == 0; }
    uint64_t value() const { return m_value; }
    /// Writes the handle as upper-case hexadecimal without leading zeros into `buf`
    /// (at least 17 characters); returns false when the buffer is too small.
    bool getIntoAsciiBuffer(wchar_t* buf, size_t bufLen = 17) const;
    bool getIntoAsciiBuffer(char* buf, size_t bufLen = 17) const;
    std::string ascii() const;

    KdDbHandle& operator++() {
        ++m_value;
        return *this;
    }
    auto operator<=>(const KdDbHandle&) const = default;

private:
    uint64_t m_value = 0;
};
