#include "common/TvResourceText.h"

#include "tv/KdFormat.h"
#include "tv/KdRxResource.h"

namespace tv {
namespace {

/// The pattern (in the Host's conventions: %s takes wide text) filled in with `arg`.
template <typename Arg> std::wstring format(const std::wstring& pattern, Arg arg) {
    std::wstring out;
    if (!tvFormatAppend(out, pattern.c_str(), arg))
        return pattern; // a pattern that cannot take the argument is shown as it is
    return out;
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
