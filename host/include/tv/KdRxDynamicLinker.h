// The dynamic linker: loads runtime extension modules and talks to their entry points.
#pragma once

#include "KdRxObject.h"

#include <memory>
#include <string>
#include <vector>

class KdRxService;

namespace KdRx {
/// Messages sent to a module's entry point.
enum AppMsgCode : int {
    kInitAppMsg = 1,      ///< the module was loaded; the pointer is its application handle
    kUnloadAppMsg = 2,    ///< the module is about to be unloaded; application handle
    kQuitMsg = 8,         ///< the Host is closing; application handle
    kDependencyMsg = 10,  ///< a dependency on a service was added; the KdRxService
    kNoDependencyMsg = 11 ///< the last dependency on a service went; the KdRxService
};
/// Answers of a module's entry point.
enum AppRetCode : int { kRetOK = 0, kRetError = 3 };
} // namespace KdRx

/// The entry point every module exports with C linkage under the name "kdrxEntryPoint".
extern "C" {
typedef int (*KdRxEntryPointFunc)(int msg, void* appId);
}

/// Loads modules (dlopen), sends them the runtime's messages and keeps one record per loaded
/// module. The application handle a module receives with kInitAppMsg identifies it in the
/// lock and multi-document calls; it stays valid until the module is unloaded.
class TVHOST_API KdRxDynamicLinker : public KdRxObject {
public:
    KDRX_DECLARE_MEMBERS(KdRxDynamicLinker)

    KdRxDynamicLinker();
    ~KdRxDynamicLinker() override;

    /// Loads the module at `path`, finds its entry point and sends kInitAppMsg. A module that
    /// answers kRetError is unloaded again. A module already loaded from the same path is
    /// not loaded twice (true, no message). On failure returns false, keeps the reason in
    /// lastError() and, with `printErrors`, writes it to the standard error stream.
    bool loadModule(const char* path, bool printErrors);
    /// Sends kUnloadAppMsg and unloads the module named by its path or its file name. Refused
    /// (false) while the module is locked, when it answers kRetError, or when it is unknown.
    bool unloadModule(const char* name);
    /// Sends kQuitMsg to every loaded module, the last loaded first. Nothing is unloaded.
    void quitAll();

    /// Keeps the module of `appId` loaded until unlockApplication balances the call.
    bool lockApplication(void* appId);
    /// Undoes one lockApplication; at zero locks it does nothing.
    bool unlockApplication(void* appId);
    bool isApplicationLocked(const char* name) const;
    /// Marks the module of `appId` as able to work with several documents at once.
    bool registerAppMDIAware(void* appId);
    bool isAppMDIAware(const char* name) const;

    bool isModuleLoaded(const char* name) const;
    /// The application handle of a loaded module, or null.
    void* appIdOf(const char* name) const;
    /// The address of a function a loaded module exports by name (the last loaded module
    /// that has it), or null when no loaded module exports it.
    void* getSymbolAddress(const char* symbol) const;
    /// Full paths of the loaded modules in load order.
    std::vector<std::string> loadedModules() const;
    /// Why the last failed call failed; empty after a success.
    const std::string& lastError() const { return m_lastError; }

    /// Sends kDependencyMsg or kNoDependencyMsg for `service` to every loaded module.
    void notifyDependency(KdRxService* service, bool added);

private:
    struct Module;
    Module* find(const char* name) const;
    Module* findApp(void* appId) const;
    bool fail(std::string message, bool print);

    std::vector<std::unique_ptr<Module>> m_modules;
    std::string m_lastError;
};

/// The dynamic linker held in the system registry.
TVHOST_API KdRxDynamicLinker* kdrxDynamicLinker();
