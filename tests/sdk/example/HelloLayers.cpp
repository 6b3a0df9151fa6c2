// A small module: registers the command HELLOLAYERS, which counts the drawing's layers.
#include <tv/KdDbDatabase.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdEdCommandStack.h>
#include <tv/KdEdEditor.h>
#include <tv/KdExport.h>
#include <tv/KdRxDynamicLinker.h>

namespace {

constexpr const wchar_t* kGroup = L"HELLOLAYERSAPP";

void helloLayers() {
    KdDbDatabase* db = kdedCurrentDatabase();
    KdDbLayerTable* layers = nullptr;
    if (!db || db->getLayerTable(layers, KdDb::kForRead) != Kdad::eOk) {
        kdutPrintf(L"\nNo drawing.\n");
        return;
    }
    const size_t count = layers->count();
    layers->close();
    kdutPrintf(L"\nHello from a module: the drawing has %d layers.\n", static_cast<int>(count));
}

} // namespace

TVHOST_MODULE_EXPORT int kdrxEntryPoint(int msg, void* appId) {
    KdEdCommandStack* stack = kdedCommandStack();
    switch (msg) {
    case KdRx::kInitAppMsg:
        kdrxDynamicLinker()->unlockApplication(appId);
        return stack && stack->addCommand(kGroup, L"HELLOLAYERS", L"HELLOLAYERS", KDRX_CMD_MODAL,
                                          helloLayers) == Kdad::eOk
                   ? KdRx::kRetOK
                   : KdRx::kRetError;
    case KdRx::kUnloadAppMsg:
    case KdRx::kQuitMsg:
        if (stack)
            stack->removeGroup(kGroup);
        return KdRx::kRetOK;
    default:
        return KdRx::kRetOK;
    }
}
