#include "common/TvResourceText.h"

#include "tv/KdRxResource.h"

#include <cwchar>
#include <vector>

namespace tv {
namespace {

/// The pattern with a bare %s (which the Host's patterns use for wide text) made %ls.
std::wstring widePattern(const std::wstring& pattern) {
    std::wstring out;
    out.reserve(pattern.size() + 2);
    for (size_t i = 0; i < pattern.size(); ++i) {
        out.push_back(pattern[i]);
        if (pattern[i] == L'%' && i + 1 < pattern.size()) {
            if (pattern[i + 1] == L'%') {
                out.push_back(pattern[++i]);
            } else if (pattern[i + 1] == L's') {
                out.push_back(L'l');
            }
        }
    }
    return out;
}

template <typename Arg> std::wstring format(const std::wstring& pattern, Arg arg) {
    const std::wstring p = widePattern(pattern);
    std::vector<wchar_t> buf(pattern.size() + 512);
    for (;;) {
        const int n = std::swprintf(buf.data(), buf.size(), p.c_str(), arg);
        if (n >= 0)
            return std::wstring(buf.data(), static_cast<size_t>(n));
        if (buf.size() > (1u << 16))
            return pattern; // a pattern that cannot take the argument is shown as it is
        buf.resize(buf.size() * 4);
    }
}

} // namespace

std::wstring resourceText(unsigned id, const wchar_t* fallback) {
    wchar_t buf[1024];
    if (kdrxLoadString(id, buf, 1024) > 0)
        return buf;
    return fallback ? fallback : L"";
}

std::wstring resourceFormat(unsigned id, const wchar_t* fallback, int value) {
    return format(resourceText(id, fallback), value);
}

std::wstring resourceFormat(unsigned id, const wchar_t* fallback, const std::wstring& value) {
    return format(resourceText(id, fallback), value.c_str());
}

std::wstring defaultPlotStyleName(int colour) {
    return resourceFormat(3158, L"Color_%d", colour);
}

} // namespace tv
