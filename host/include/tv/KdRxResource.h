// Resource libraries of modules: finding and loading them, the current one, its strings.
#pragma once

#include "KdExport.h"

/// Loads the resource library of the module at `moduleFileName`: the module's base name with
/// "Res" appended and the shared-library extension (TvLayerManager.krx gives
/// TvLayerManagerRes.so), looked for first in the language folder beside the module (see
/// kdrxSetResourceLanguage), then beside the module. Returns the library handle or null when
/// neither exists or loads; null or empty names give null.
TVHOST_API void* kdrxLoadResourceLibrary(const char* moduleFileName);
/// Unloads a library from kdrxLoadResourceLibrary; a null handle is ignored.
TVHOST_API void kdrxFreeResourceLibrary(void* handle);
/// The language folder name used by kdrxLoadResourceLibrary; "en-US" until set.
TVHOST_API const char* kdrxResourceLanguage();
/// Sets the language folder name; null or empty restores "en-US".
TVHOST_API void kdrxSetResourceLanguage(const char* language);

/// The resource library strings and dialogs are taken from; null when none.
TVHOST_API void* kdrxCurrentResourceHandle();
TVHOST_API void kdrxSetCurrentResourceHandle(void* handle);

/// Copies string `id` of the current resource library into `buf` (at most bufLen - 1
/// characters, always terminated) and returns the number copied. The library provides its
/// strings through `extern "C" const wchar_t* tvResourceString(unsigned id)`, which answers
/// null for unknown ids. Returns 0 when there is no current library, no such function, no
/// such string, or no room.
TVHOST_API int kdrxLoadString(unsigned id, wchar_t* buf, int bufLen);

/// Makes `handle` the current resource library for the life of the scope (a null handle
/// leaves the current one) and restores the previous one however the scope is left.
class TVHOST_API KdRxResourceScope {
public:
    explicit KdRxResourceScope(void* handle);
    ~KdRxResourceScope();
    KdRxResourceScope(const KdRxResourceScope&) = delete;
    KdRxResourceScope& operator=(const KdRxResourceScope&) = delete;

private:
    void* m_saved;
};
