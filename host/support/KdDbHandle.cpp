// Persistent object handles: parsing and writing their hexadecimal text.
#include "tv/KdDbHandle.h"

namespace {

// A 64-bit value has at most 16 hexadecimal digits.
constexpr size_t kMaxHexDigits = 16;

int hexDigitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// Upper-case digits without leading zeros, "0" for zero; returns the digit count and fills
// `digits` from the front.
size_t formatHex(uint64_t value, char (&digits)[kMaxHexDigits]) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    char reversed[kMaxHexDigits];
    size_t n = 0;
    do {
        reversed[n++] = kDigits[value & 0xF];
        value >>= 4;
    } while (value != 0);
    for (size_t i = 0; i < n; ++i)
        digits[i] = reversed[n - 1 - i];
    return n;
}

template <typename Char> bool writeHex(uint64_t value, Char* buf, size_t bufLen) {
    if (buf == nullptr)
        return false;
    char digits[kMaxHexDigits];
    const size_t n = formatHex(value, digits);
    if (bufLen < n + 1) {
        if (bufLen > 0)
            buf[0] = Char(0);
        return false;
    }
    for (size_t i = 0; i < n; ++i)
        buf[i] = static_cast<Char>(digits[i]);
    buf[n] = Char(0);
    return true;
}

} // namespace

KdDbHandle::KdDbHandle(const wchar_t* hex) {
    if (hex == nullptr)
        return;
    // Narrow the text first; anything outside ASCII or longer than a handle can be is invalid.
    char narrow[kMaxHexDigits];
    size_t n = 0;
    for (; hex[n] != L'\0'; ++n) {
        if (n == kMaxHexDigits || hex[n] < 0 || hex[n] > 0x7F)
            return;
        narrow[n] = static_cast<char>(hex[n]);
    }
    parse(std::string_view(narrow, n), m_value);
}

KdDbHandle::KdDbHandle(const char* hex) {
    if (hex != nullptr)
        parse(hex, m_value);
}

bool KdDbHandle::parse(std::string_view hex, uint64_t& value) {
    if (hex.empty() || hex.size() > kMaxHexDigits)
        return false;
    uint64_t result = 0;
    for (const char c : hex) {
        const int digit = hexDigitValue(c);
        if (digit < 0)
            return false;
        result = (result << 4) | static_cast<uint64_t>(digit);
    }
    value = result;
    return true;
}

bool KdDbHandle::getIntoAsciiBuffer(wchar_t* buf, size_t bufLen) const {
    return writeHex(m_value, buf, bufLen);
}

bool KdDbHandle::getIntoAsciiBuffer(char* buf, size_t bufLen) const {
    return writeHex(m_value, buf, bufLen);
}

std::string KdDbHandle::ascii() const {
    char digits[kMaxHexDigits];
    const size_t n = formatHex(m_value, digits);
    return std::string(digits, n);
}
