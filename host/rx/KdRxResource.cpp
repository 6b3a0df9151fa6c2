// Resource libraries of modules and the current resource handle.
#include "tv/KdRxResource.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstring>
#include <cwchar>
#include <string>

namespace {
// Plain pointers: no constructors run when the library is loaded.
void* g_currentResource = nullptr;
char g_language[64] = "";

bool isFile(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

typedef const wchar_t* (*ResourceStringFunc)(unsigned);
} // namespace

const char* kdrxResourceLanguage() {
    return g_language[0] ? g_language : "en-US";
}

void kdrxSetResourceLanguage(const char* language) {
    g_language[0] = '\0';
    if (language && std::strlen(language) < sizeof g_language)
        std::strcpy(g_language, language);
}

void* kdrxLoadResourceLibrary(const char* moduleFileName) {
    if (!moduleFileName || !*moduleFileName)
        return nullptr;
    std::string path = moduleFileName;
    size_t slash = path.find_last_of('/');
    std::string dir = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    // The extension starts at the last dot of the file name; a leading dot is part of the name.
    size_t dot = base.find_last_of('.');
    if (dot != std::string::npos && dot > 0)
        base.erase(dot);
    if (base.empty())
        return nullptr;
    const std::string resName = base + "Res.so";

    const std::string candidates[] = {dir + kdrxResourceLanguage() + "/" + resName, dir + resName};
    for (const std::string& candidate : candidates) {
        // dlopen would search the library path for a name without a slash; a resource
        // library is only ever taken from beside its module.
        std::string file = candidate.find('/') == std::string::npos ? "./" + candidate : candidate;
        if (!isFile(file))
            continue;
        if (void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
            return handle;
    }
    return nullptr;
}

void kdrxFreeResourceLibrary(void* handle) {
    if (handle)
        dlclose(handle);
}

void* kdrxCurrentResourceHandle() {
    return g_currentResource;
}

void kdrxSetCurrentResourceHandle(void* handle) {
    g_currentResource = handle;
}

int kdrxLoadString(unsigned id, wchar_t* buf, int bufLen) {
    if (!buf || bufLen <= 0)
        return 0;
    buf[0] = L'\0';
    if (!g_currentResource)
        return 0;
    auto fn = reinterpret_cast<ResourceStringFunc>(dlsym(g_currentResource, "tvResourceString"));
    if (!fn)
        return 0;
    const wchar_t* text = fn(id);
    if (!text)
        return 0;
    size_t n = std::wcslen(text);
    if (n > static_cast<size_t>(bufLen - 1))
        n = static_cast<size_t>(bufLen - 1);
    std::wmemcpy(buf, text, n);
    buf[n] = L'\0';
    return static_cast<int>(n);
}

KdRxResourceScope::KdRxResourceScope(void* handle) : m_saved(g_currentResource) {
    if (handle)
        g_currentResource = handle;
}

KdRxResourceScope::~KdRxResourceScope() {
    g_currentResource = m_saved;
}
