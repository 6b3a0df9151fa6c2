// The Host's wide string: one code point per wchar_t.
#pragma once

#include "KdExport.h"

#include <string>
#include <string_view>
#include <utility>

class TVHOST_API KdString {
public:
    KdString() = default;
    KdString(const wchar_t* s) : m_str(s ? s : L"") {}
    KdString(std::wstring s) : m_str(std::move(s)) {}
    KdString(std::wstring_view s) : m_str(s) {}

    /// Pointer to the null-terminated text; never null.
    const wchar_t* kwszPtr() const { return m_str.c_str(); }
    const wchar_t* constPtr() const { return m_str.c_str(); }
    bool isEmpty() const { return m_str.empty(); }
    size_t length() const { return m_str.size(); }

    /// Three-way comparison, case-sensitive.
    int compare(const KdString& other) const { return m_str.compare(other.m_str); }
    int compare(const wchar_t* other) const { return m_str.compare(other ? other : L""); }
    /// Three-way comparison ignoring case (simple per-character folding).
    int compareNoCase(const KdString& other) const;

    /// Substring from `start` of at most `count` characters (clamped to the string).
    KdString substr(size_t start, size_t count = std::wstring::npos) const;
    KdString& assign(const wchar_t* s) {
        m_str.assign(s ? s : L"");
        return *this;
    }
    KdString& assign(const KdString& s) {
        m_str = s.m_str;
        return *this;
    }

    /// UTF-8 form, for messages and files.
    std::string utf8() const;
    static KdString fromUtf8(std::string_view utf8);

    const std::wstring& str() const { return m_str; }
    std::wstring& str() { return m_str; }
    bool operator==(const KdString& o) const { return m_str == o.m_str; }
    bool operator<(const KdString& o) const { return m_str < o.m_str; }

private:
    std::wstring m_str;
};
