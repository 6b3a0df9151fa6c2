// Module initialisation and unload, service and command registration, the command handlers.
#include "TvModule.h"

#include "commands/TvLayFrzCommand.h"
#include "commands/TvLayerIsolation.h"
#include "commands/TvLayerStateCommand.h"

#include "tv/KdEdCommandStack.h"
#include "tv/KdEdEditor.h"
#include "tv/KdRxDictionary.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdRxResource.h"
#include "tv/KdRxService.h"

#include <dlfcn.h>

#include <cstring>

namespace tv::module {
namespace {

// Module-wide state, set by initialisation and kept until unload.
void* g_resource = nullptr;
void* g_appId = nullptr;
KdRxService* g_layerManager = nullptr;

struct CommandRow {
    const wchar_t* globalName;
    unsigned localNameId;
    int flags;
    KdRxFunctionPtr handler;
};

// Registered in this order; only LAYER may run inside another command. -LAYERSTATE is the
// command-line form of the layer-state commands, for scripts and batch work.
const CommandRow kCommands[] = {
    {L"LAYERSTATE", 6120, KDRX_CMD_MODAL, &layerStateManager},
    {L"LAYERSTATESAVE", 6121, KDRX_CMD_MODAL, &layerStateSave},
    {L"LAYFRZ", 6122, KDRX_CMD_MODAL, &layerFreeze},
    {L"LAYER", 6123, KDRX_CMD_TRANSPARENT, &layerDialog},
    {L"-LAYERSTATE", 6127, KDRX_CMD_MODAL, &layerStateCommandLine},
};

KdEdCommandStack* commandStack() {
    return KdEdCommandStack::cast(kdrxSysRegistry()->at(KDRX_COMMAND_STACK));
}

// Loads the resource library that belongs to this file. The Host's loader forms the library
// name from the module's file name ("Res" appended) and searches the folders beside it, so it
// gets the full path; a path of four characters or fewer cannot hold a name and an extension
// and is handed over as it is.
void* loadResources() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&entryPoint), &info) || !info.dli_fname)
        return nullptr;
    if (std::strlen(info.dli_fname) < 1)
        return nullptr;
    return kdrxLoadResourceLibrary(info.dli_fname);
}

void registerCommands() {
    if (!kdrxServiceIsRegistered(kLayerAppsService))
        kdrxRegisterService(kLayerAppsService);
    KdRxResourceScope scope(g_resource);
    for (const CommandRow& row : kCommands) {
        KdEdCommandStack* stack = commandStack();
        if (!stack)
            return;
        wchar_t localName[256];
        if (kdrxLoadString(row.localNameId, localName, 256) < 1)
            localName[0] = L'\0';
        stack->addCommand(kCommandGroup, row.globalName, localName, row.flags, row.handler);
    }
}

void unregisterCommands() {
    if (kdrxServiceIsRegistered(kLayerAppsService)) {
        if (KdRxDictionary* services =
                KdRxDictionary::cast(kdrxSysRegistry()->at(KDRX_SERVICE_DICTIONARY)))
            delete services->remove(kLayerAppsService);
    }
    if (KdEdCommandStack* stack = commandStack())
        stack->removeGroup(kCommandGroup);
}

int initialise(void* appId) {
    g_resource = loadResources();
    if (!g_resource)
        return KdRx::kRetError;
    g_appId = appId;
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    if (linker)
        linker->unlockApplication(appId);
    g_layerManager = kdrxRegisterService(kLayerManagerService);
    registerCommands();
    if (linker)
        linker->registerAppMDIAware(appId);
    return KdRx::kRetOK;
}

void unload() {
    unregisterCommands();
    kdrxFreeResourceLibrary(g_resource);
    g_resource = nullptr;
}

// Runs a command body with the module's resources current; nothing thrown leaves it.
template <typename Body> auto guarded(Body body, decltype(body()) failed) noexcept {
    try {
        KdRxResourceScope scope(g_resource);
        return body();
    } catch (...) {
        return failed;
    }
}

template <typename Body> void guardedVoid(Body body) noexcept {
    try {
        KdRxResourceScope scope(g_resource);
        body();
    } catch (...) {
    }
}

} // namespace

int entryPoint(int msg, void* appId) {
    try {
        switch (msg) {
        case KdRx::kInitAppMsg:
            return initialise(appId);
        case KdRx::kUnloadAppMsg:
            unload();
            return KdRx::kRetOK;
        case KdRx::kQuitMsg:
            unregisterCommands();
            return KdRx::kRetOK;
        case KdRx::kDependencyMsg:
            if (g_layerManager && appId == g_layerManager)
                kdrxDynamicLinker()->lockApplication(g_appId);
            return KdRx::kRetOK;
        case KdRx::kNoDependencyMsg:
            if (g_layerManager && appId == g_layerManager)
                kdrxDynamicLinker()->unlockApplication(g_appId);
            return KdRx::kRetOK;
        default:
            return KdRx::kRetOK;
        }
    } catch (...) {
        return KdRx::kRetError;
    }
}

void* resourceHandle() {
    return g_resource;
}

int hostApiVersion() {
    return ::kdrxGetApiVersion();
}

// The layer properties dialog is not part of the module yet; the command ends quietly.
void layerDialog() {
    guardedVoid([] {});
}

// Until their dialogs exist, the layer-state commands ask on the command line.
void layerStateSave() {
    guardedVoid([] {
        tv::layerStateSaveCommandLine();
        kdedRetVoid();
    });
}

void layerStateManager() {
    guardedVoid([] {
        tv::layerStateCommandLine();
        kdedRetVoid();
    });
}

void layerStateCommandLine() {
    guardedVoid([] {
        tv::layerStateCommandLine();
        kdedRetVoid();
    });
}

void layerFreeze() {
    guardedVoid([] { tv::layerFreezeCommand(); });
}

void layIso() {
    guardedVoid([] { tv::recordLayerIsolation(); });
}

int layUniso() {
    return guarded([] { return tv::unisolateLayers(); }, 0);
}

int layUnisoNew() {
    return guarded([] { return tv::unisolateLayersInTransaction(); }, 0);
}

} // namespace tv::module
