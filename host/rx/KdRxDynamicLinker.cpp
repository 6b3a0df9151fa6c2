// The dynamic linker: module records, loading and unloading, and the runtime's messages.
#include "tv/KdRxDynamicLinker.h"

#include "tv/KdRxService.h"

#include <dlfcn.h>

#include <algorithm>
#include <clocale>
#include <cstdio>

KDRX_DEFINE_MEMBERS(KdRxDynamicLinker, KdRxObject)

// One loaded module. Its address is the application handle the module is given.
struct KdRxDynamicLinker::Module {
    std::string path;
    std::string fileName;
    void* handle = nullptr;
    KdRxEntryPointFunc entry = nullptr;
    int locks = 0;
    bool mdiAware = false;
};

namespace {
std::string fileNameOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// dlerror's text as the C locale has it: dlerror translates its message and the system's
/// error text under the thread's locale, and the Host's messages are English and UTF-8.
std::string dlerrorText() {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    const locale_t previous = cLocale ? uselocale(cLocale) : locale_t{};
    const char* err = dlerror();
    std::string text = err ? err : "unknown error";
    if (cLocale)
        uselocale(previous);
    return text;
}

// Calls the entry point; an exception escaping a module counts as an error answer.
int send(KdRxEntryPointFunc entry, int msg, void* appId) {
    try {
        return entry(msg, appId);
    } catch (...) {
        return KdRx::kRetError;
    }
}
} // namespace

KdRxDynamicLinker::KdRxDynamicLinker() = default;

KdRxDynamicLinker::~KdRxDynamicLinker() {
    // The registry lives until the process ends; a linker destroyed earlier (a test's own
    // instance) closes what it opened without further messages.
    for (auto it = m_modules.rbegin(); it != m_modules.rend(); ++it)
        dlclose((*it)->handle);
}

bool KdRxDynamicLinker::fail(std::string message, bool print) {
    m_lastError = std::move(message);
    if (print)
        std::fprintf(stderr, "%s\n", m_lastError.c_str());
    return false;
}

void* KdRxDynamicLinker::getSymbolAddress(const char* symbol) const {
    if (!symbol)
        return nullptr;
    for (auto it = m_modules.rbegin(); it != m_modules.rend(); ++it) {
        if (void* address = dlsym((*it)->handle, symbol))
            return address;
    }
    return nullptr;
}

KdRxDynamicLinker::Module* KdRxDynamicLinker::find(const char* name) const {
    if (!name || !*name)
        return nullptr;
    for (const auto& m : m_modules) {
        if (m->path == name)
            return m.get();
    }
    for (const auto& m : m_modules) {
        if (m->fileName == name)
            return m.get();
    }
    return nullptr;
}

KdRxDynamicLinker::Module* KdRxDynamicLinker::findApp(void* appId) const {
    for (const auto& m : m_modules) {
        if (m.get() == appId)
            return m.get();
    }
    return nullptr;
}

bool KdRxDynamicLinker::loadModule(const char* path, bool printErrors) {
    m_lastError.clear();
    if (!path || !*path)
        return fail("Cannot load a module: no file name given.", printErrors);
    for (const auto& m : m_modules) {
        if (m->path == path)
            return true;
    }

    dlerror();
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return fail("Cannot load module \"" + std::string(path) + "\": " + dlerrorText(),
                    printErrors);
    dlerror();
    auto entry = reinterpret_cast<KdRxEntryPointFunc>(dlsym(handle, "kdrxEntryPoint"));
    if (!entry) {
        std::string why = dlerrorText();
        dlclose(handle);
        return fail("Module \"" + std::string(path) +
                        "\" is not a runtime extension: no entry point kdrxEntryPoint (" + why +
                        ").",
                    printErrors);
    }

    // The record exists before the first message, so that the module can lock itself or
    // register as multi-document aware while it initialises.
    auto module = std::make_unique<Module>();
    module->path = path;
    module->fileName = fileNameOf(path);
    module->handle = handle;
    module->entry = entry;
    Module* raw = module.get();
    m_modules.push_back(std::move(module));

    if (send(entry, KdRx::kInitAppMsg, raw) == KdRx::kRetError) {
        m_modules.erase(std::find_if(m_modules.begin(), m_modules.end(),
                                     [raw](const auto& m) { return m.get() == raw; }));
        dlclose(handle);
        return fail("Module \"" + std::string(path) + "\" failed to initialise; unloaded.",
                    printErrors);
    }
    return true;
}

bool KdRxDynamicLinker::unloadModule(const char* name) {
    m_lastError.clear();
    Module* module = find(name);
    if (!module)
        return fail("Cannot unload \"" + std::string(name ? name : "") + "\": not loaded.", false);
    if (module->locks > 0)
        return fail("Cannot unload \"" + module->fileName + "\": it is locked.", false);
    if (send(module->entry, KdRx::kUnloadAppMsg, module) == KdRx::kRetError)
        return fail("Module \"" + module->fileName + "\" refused to unload.", false);

    // The module may have locked itself while handling the message.
    if (module->locks > 0)
        return fail("Cannot unload \"" + module->fileName + "\": it is locked.", false);
    void* handle = module->handle;
    m_modules.erase(std::find_if(m_modules.begin(), m_modules.end(),
                                 [module](const auto& m) { return m.get() == module; }));
    dlclose(handle);
    return true;
}

void KdRxDynamicLinker::quitAll() {
    std::vector<Module*> order;
    for (const auto& m : m_modules)
        order.push_back(m.get());
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        if (findApp(*it))
            send((*it)->entry, KdRx::kQuitMsg, *it);
    }
}

void KdRxDynamicLinker::notifyDependency(KdRxService* service, bool added) {
    if (!service)
        return;
    const int msg = added ? KdRx::kDependencyMsg : KdRx::kNoDependencyMsg;
    // A module may unload another one while handling the message, so work on a copy.
    std::vector<Module*> order;
    for (const auto& m : m_modules)
        order.push_back(m.get());
    for (Module* m : order) {
        if (findApp(m))
            send(m->entry, msg, service);
    }
}

bool KdRxDynamicLinker::lockApplication(void* appId) {
    Module* m = findApp(appId);
    if (!m)
        return false;
    ++m->locks;
    return true;
}

bool KdRxDynamicLinker::unlockApplication(void* appId) {
    Module* m = findApp(appId);
    if (!m)
        return false;
    if (m->locks > 0)
        --m->locks;
    return true;
}

bool KdRxDynamicLinker::isApplicationLocked(const char* name) const {
    const Module* m = find(name);
    return m && m->locks > 0;
}

bool KdRxDynamicLinker::registerAppMDIAware(void* appId) {
    Module* m = findApp(appId);
    if (!m)
        return false;
    m->mdiAware = true;
    return true;
}

bool KdRxDynamicLinker::isAppMDIAware(const char* name) const {
    const Module* m = find(name);
    return m && m->mdiAware;
}

bool KdRxDynamicLinker::isModuleLoaded(const char* name) const {
    return find(name) != nullptr;
}

void* KdRxDynamicLinker::appIdOf(const char* name) const {
    return find(name);
}

std::vector<std::string> KdRxDynamicLinker::loadedModules() const {
    std::vector<std::string> paths;
    for (const auto& m : m_modules)
        paths.push_back(m->path);
    return paths;
}
