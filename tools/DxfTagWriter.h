// Buffered writer of DXF group code / value pairs in the layout CAD programs write.
#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tvtools {

// Appends group code / value pairs to one growing buffer, formatted as CAD programs write them:
// codes right-aligned in three columns, reals with a decimal point.
class TagWriter {
public:
    explicit TagWriter(bool crlf) : m_crlf(crlf) {}

    void reserve(std::size_t bytes) { m_out.reserve(bytes); }
    std::string take() { return std::move(m_out); }
    std::size_t size() const { return m_out.size(); }

    void str(int code, std::string_view value) {
        groupCode(code);
        m_out.append(value);
        endLine();
    }
    void integer(int code, long long value) {
        groupCode(code);
        char buf[24];
        const auto res = std::to_chars(buf, buf + sizeof buf, value);
        append(buf, res.ptr);
        endLine();
    }
    void handle(int code, std::uint64_t value) {
        groupCode(code);
        char buf[20];
        auto res = std::to_chars(buf, buf + sizeof buf, value, 16);
        for (char* p = buf; p != res.ptr; ++p) {
            if (*p >= 'a')
                *p = static_cast<char>(*p - 'a' + 'A');
        }
        append(buf, res.ptr);
        endLine();
    }
    // Sixteen significant digits, as CAD programs write computed coordinates.
    void real(int code, double value) {
        groupCode(code);
        if (std::fabs(value) < 1e-9)
            value = 0.0;
        char buf[32];
        const auto res =
            std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 16);
        append(buf, res.ptr);
        if (std::string_view(buf, static_cast<std::size_t>(res.ptr - buf)).find_first_of(".e") ==
            std::string_view::npos)
            m_out.append(".0");
        endLine();
    }
    void point(int code, double x, double y) {
        real(code, x);
        real(code + 10, y);
    }
    void point(int code, double x, double y, double z) {
        point(code, x, y);
        real(code + 20, z);
    }

private:
    void groupCode(int code) {
        if (code >= 0 && code < 10)
            m_out.append("  ");
        else if (code >= 10 && code < 100)
            m_out.push_back(' ');
        char buf[8];
        const auto res = std::to_chars(buf, buf + sizeof buf, code);
        append(buf, res.ptr);
        endLine();
    }
    // Pointer and length: GCC 12 at -O3 warns falsely (-Wrestrict) on append(first, last).
    void append(const char* first, const char* last) {
        m_out.append(first, static_cast<std::size_t>(last - first));
    }
    void endLine() {
        if (m_crlf)
            m_out.push_back('\r');
        m_out.push_back('\n');
    }

    std::string m_out;
    bool m_crlf;
};

} // namespace tvtools
