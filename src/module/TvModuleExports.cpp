// The functions the module exports by name to the Host; each forwards to the module's code.
#include "TvModule.h"

#include "tv/KdExport.h"

#define TV_MODULE_EXPORT TVHOST_MODULE_EXPORT

TV_MODULE_EXPORT int kdrxEntryPoint(int msg, void* appId) {
    return tv::module::entryPoint(msg, appId);
}

// Reports the version of the runtime the module runs on, not one compiled into it.
TV_MODULE_EXPORT int kdrxGetApiVersion() {
    return tv::module::hostApiVersion();
}

TV_MODULE_EXPORT void LayerDialog() {
    tv::module::layerDialog();
}

TV_MODULE_EXPORT void LayerStateSaveCmd() {
    tv::module::layerStateSave();
}

TV_MODULE_EXPORT void LayIso() {
    tv::module::layIso();
}

TV_MODULE_EXPORT int LayUniso() {
    return tv::module::layUniso();
}

TV_MODULE_EXPORT int LayUnisoNew() {
    return tv::module::layUnisoNew();
}
