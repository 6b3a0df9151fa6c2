// Texts the module loads by number from its resource library.
#pragma once

#include <string>

namespace tv {

/// The text of resource string `id` from the current resource library, or `fallback` when
/// there is none (no library current, or no such string).
std::wstring resourceText(unsigned id, const wchar_t* fallback = L"");

/// The resource text used as a printf-style pattern with one integer argument (%d).
std::wstring resourceFormat(unsigned id, const wchar_t* fallback, int value);
/// The resource text used as a pattern with one text argument (%s or %ls).
std::wstring resourceFormat(unsigned id, const wchar_t* fallback, const std::wstring& value);

/// The default plot style name of a layer of colour index `colour` (string 3158, "Color_%d").
std::wstring defaultPlotStyleName(int colour);

} // namespace tv
