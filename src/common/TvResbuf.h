// Small helpers for building and changing result-buffer lists.
#pragma once

#include "tv/KdResbuf.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tv {

/// Replaces the entry's text (the entry must be of a text code). False when out of memory.
bool setRbString(resbuf* rb, std::wstring_view text);
/// New entries; null when out of memory.
resbuf* newRbString(int code, std::wstring_view text);
resbuf* newRbShort(int code, int value);
resbuf* newRbLong(int code, int32_t value);
resbuf* newRbName(int code, const int64_t name[2]);

/// The first entry of `list` with group code `code`, or null.
const resbuf* findGroup(const resbuf* list, int code);
/// The text of the first entry with group code `code`, at most `limit` characters; empty when
/// there is none.
std::wstring groupText(const resbuf* list, int code, size_t limit = std::wstring::npos);

/// The text of a text system variable ("CLAYER"); empty, with `read` false, when it cannot
/// be read. The Host's copy of the text is released as the Host asks.
std::wstring textSystemVariable(const wchar_t* name, bool* read = nullptr);

/// Appends entries at the end of a list kept by its head and tail.
class RbBuilder {
public:
    /// False once any append ran out of memory.
    bool ok() const { return m_ok; }
    RbBuilder& add(resbuf* rb);
    RbBuilder& text(int code, std::wstring_view value) { return add(newRbString(code, value)); }
    RbBuilder& shortValue(int code, int value) { return add(newRbShort(code, value)); }
    RbBuilder& longValue(int code, int32_t value) { return add(newRbLong(code, value)); }
    RbBuilder& name(int code, const int64_t value[2]) { return add(newRbName(code, value)); }
    /// The list; the builder is empty afterwards.
    KdResbufPtr take();
    resbuf* head() const { return m_head.get(); }

private:
    KdResbufPtr m_head;
    resbuf* m_tail = nullptr;
    bool m_ok = true;
};

} // namespace tv
