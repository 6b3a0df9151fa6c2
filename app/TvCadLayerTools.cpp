// tvcad's LAYISO and LAYUNISO (built on the layer manager's isolation record), U, LAYOUT and
// system variables typed as commands.
#include "TvCadLayerTools.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbHostApplicationServices.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdEdCommandStack.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"
#include "tv/KdFormat.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdUtf8.h"
#include "tv/KdWcMatch.h"

#include <cstdlib>
#include <cwchar>
#include <set>
#include <vector>

namespace tvcad {
namespace {

constexpr int kErrnoNothingPicked = 7;

void say(const std::wstring& text) {
    kdutPrintf(L"%s", text.c_str());
}

std::wstring upper(std::wstring text) {
    for (wchar_t& c : text)
        c = tvUpper(c);
    return text;
}

template <typename Fn> Fn moduleFunction(const char* name) {
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    return linker ? reinterpret_cast<Fn>(linker->getSymbolAddress(name)) : nullptr;
}

std::wstring layerOf(const kd_name entity) {
    KdResbufPtr list(kddbEntGet(entity));
    for (const resbuf* rb = list.get(); rb; rb = rb->rbnext) {
        if (rb->restype == 8 && rb->resval.rstring)
            return rb->resval.rstring;
    }
    return {};
}

/// The layer a pick selects: the object's own, or for an object inside a block the layer of
/// the block reference in the drawing (what a selection of whole objects gives).
std::wstring layerOfPick(const kd_name entity, const resbuf* containers) {
    const resbuf* outermost = containers;
    while (outermost && outermost->rbnext)
        outermost = outermost->rbnext;
    return outermost ? layerOf(outermost->resval.rlname) : layerOf(entity);
}

/// Asks for objects until Enter; false on cancel. Layers in the order first picked.
bool pickLayers(std::vector<std::wstring>& layers) {
    std::set<std::wstring> seen;
    for (;;) {
        kd_name entity = {0, 0};
        double point[3] = {0, 0, 0};
        double xform[4][3] = {};
        resbuf* containers = nullptr;
        const int rc = kdedNEntSelP(L"Select objects on the layer(s) to be isolated: ", entity,
                                    point, 0, xform, &containers);
        KdResbufPtr chain(containers);
        if (rc == RTNORM) {
            const std::wstring layer = layerOfPick(entity, chain.get());
            if (!layer.empty() && seen.insert(upper(layer)).second)
                layers.push_back(layer);
            continue;
        }
        if (rc == RTCAN)
            return false;
        if (rc == RTERROR && kdedGetShortVar(L"ERRNO", 0) == kErrnoNothingPicked) {
            say(L"Nothing found.\n");
            continue;
        }
        return true; // Enter ends the selection
    }
}

std::wstring currentLayerName() {
    resbuf rb{};
    if (kdedGetVar(L"CLAYER", &rb) != RTNORM || rb.restype != RTSTR || !rb.resval.rstring)
        return {};
    std::wstring name = rb.resval.rstring;
    kdad_free(rb.resval.rstring);
    return name;
}

/// Turns off every layer whose upper-cased name is not in `keep`; the number turned off.
int turnOffOthers(KdDbDatabase* db, const std::set<std::wstring>& keep) {
    KdDbObjectPointer<KdDbLayerTable> table(db->layerTableId(), KdDb::kForRead);
    if (!table)
        return 0;
    int count = 0;
    for (const KdDbObjectId& id : table->recordIds()) {
        if (!id.isValid() || id.isErased())
            continue;
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
        const wchar_t* name = nullptr;
        if (!layer || layer->isOff() || layer->getName(name) != Kdad::eOk ||
            keep.count(upper(name)))
            continue;
        if (layer->upgradeOpen() == Kdad::eOk) {
            layer->setIsOff(true);
            layer->downgradeOpen();
            ++count;
        }
    }
    return count;
}

} // namespace

bool layerIsolateCommand(KdDbDatabase* db) {
    if (!db) {
        say(L"No drawing is open.\n");
        return false;
    }
    auto record = moduleFunction<void (*)()>("LayIso");
    if (!record) {
        say(L"LAYISO needs the layer manager module (TvLayerManager.krx).\n");
        return false;
    }
    std::vector<std::wstring> layers;
    if (!pickLayers(layers))
        return true;
    if (layers.empty()) {
        say(L"Nothing selected.\n");
        return true;
    }
    if (KdEdUndoController* undo = curDocUndoController())
        undo->putUndoMark();
    std::string failure;
    if (!kdrxCallGuarded(record, &failure)) {
        say(L"LayIso of the layer manager module failed: " + tvFromUtf8(failure) + L"\n");
        return false;
    }
    std::set<std::wstring> keep;
    for (const std::wstring& layer : layers)
        keep.insert(upper(layer));
    // The current layer cannot stay on among the hidden ones: the first picked layer takes over.
    if (!keep.count(upper(currentLayerName()))) {
        resbuf value{};
        value.restype = RTSTR;
        value.resval.rstring = const_cast<wchar_t*>(layers.front().c_str());
        kdedSetVar(L"CLAYER", &value);
    }
    const int off = turnOffOthers(db, keep);
    applyCurDwgLayerTableChanges();
    std::wstring names;
    for (const std::wstring& layer : layers)
        names += (names.empty() ? L"" : L", ") + layer;
    say(L"Isolated layer(s) " + names + L"; " + std::to_wstring(off) + L" layer(s) turned off.\n");
    return true;
}

bool layerUnisolateCommand(KdDbDatabase* db) {
    if (!db) {
        say(L"No drawing is open.\n");
        return false;
    }
    auto inTransaction = moduleFunction<int (*)()>("LayUnisoNew");
    auto direct = moduleFunction<int (*)()>("LayUniso");
    if (!inTransaction && !direct) {
        say(L"LAYUNISO needs the layer manager module (TvLayerManager.krx).\n");
        return false;
    }
    if (KdEdUndoController* undo = curDocUndoController())
        undo->putUndoMark();
    int restored = 0;
    std::string failure;
    KdDbTransactionManager* transactions = db->transactionManager();
    if (inTransaction && transactions && transactions->startTransaction()) {
        if (!kdrxCallGuarded(inTransaction, restored, &failure))
            restored = 0;
        if (restored)
            transactions->endTransaction();
        else
            transactions->abortTransaction();
    }
    if (!restored && direct && failure.empty() && !kdrxCallGuarded(direct, restored, &failure))
        restored = 0;
    if (!failure.empty()) {
        say(L"LAYUNISO of the layer manager module failed: " + tvFromUtf8(failure) + L"\n");
        return false;
    }
    applyCurDwgLayerTableChanges();
    say(restored ? L"Layers restored to their settings before LAYISO.\n"
                 : L"No layer isolation to undo.\n");
    return true;
}

bool undoCommand(KdDbDatabase* db) {
    KdEdUndoController* undo = db ? curDocUndoController() : nullptr;
    if (!undo || !undo->undoInCommand(-1, 1)) {
        say(L"Nothing to undo.\n");
        return true;
    }
    applyCurDwgLayerTableChanges();
    say(L"Undone.\n");
    return true;
}

bool purgeCommand(KdDbDatabase* db) {
    if (!db) {
        say(L"No drawing is open.\n");
        return false;
    }
    wchar_t kind[64];
    kdedInitGet(0, L"LAyers _ LAyers");
    const int rc = kdedGetKword(L"Enter type of unused objects to purge [LAyers]: ", kind, 64);
    if (rc != RTNORM)
        return true;
    wchar_t pattern[512];
    if (kdedGetString(1, L"Enter name(s) to purge <*>: ", pattern, 512) != RTNORM)
        return true;
    const std::wstring names = pattern[0] ? pattern : L"*";
    KdDbObjectPointer<KdDbLayerTable> table(db->layerTableId(), KdDb::kForRead);
    if (!table)
        return false;
    table->generateUsageData();
    const KdDbObjectId current = db->clayer();
    int purged = 0;
    for (const KdDbObjectId& id : table->recordIds()) {
        if (!id.isValid() || id.isErased() || id == current || id == db->layerZero())
            continue;
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
        const wchar_t* name = nullptr;
        if (!layer || layer->getName(name) != Kdad::eOk || layer->isInUse() ||
            layer->isDependent() || tvEqualsNoCase(name, L"Defpoints") ||
            kdutWcMatch(name, names.c_str()) != RTNORM)
            continue;
        if (layer->upgradeOpen() == Kdad::eOk && layer->erase() == Kdad::eOk)
            ++purged;
    }
    applyCurDwgLayerTableChanges();
    say(std::to_wstring(purged) + L" layer(s) purged.\n");
    return true;
}

bool layoutCommand(KdDbDatabase* db) {
    if (!db) {
        say(L"No drawing is open.\n");
        return false;
    }
    wchar_t name[256];
    if (kdedGetString(1, L"Enter layout to make current: ", name, 256) != RTNORM || !name[0])
        return true;
    KdDbLayoutManager* layouts = kdHostApplicationServices()->layoutManager();
    if (layouts->setCurrentLayout(name) != Kdad::eOk) {
        say(L"No layout named \"" + std::wstring(name) + L"\".\n");
        return false;
    }
    return true;
}

bool systemVariableCommand(const std::wstring& name, bool* failed) {
    resbuf value{};
    if (kdedGetVar(name.c_str(), &value) != RTNORM)
        return false;
    std::wstring current;
    if (value.restype == RTSTR) {
        current = value.resval.rstring ? value.resval.rstring : L"";
        kdad_free(value.resval.rstring);
    } else {
        current = std::to_wstring(value.resval.rint);
    }
    wchar_t answer[512];
    const std::wstring prompt = L"Enter new value for " + name + L" <" + current + L">: ";
    if (kdedGetString(1, prompt.c_str(), answer, 512) != RTNORM || !answer[0])
        return true;
    resbuf next{};
    next.restype = value.restype;
    if (value.restype == RTSTR) {
        next.resval.rstring = answer;
    } else {
        long long number = 0;
        if (!tvParseInt(answer, number)) {
            say(L"Requires an integer value.\n");
            *failed = true;
            return true;
        }
        next.resval.rint = static_cast<short>(number);
    }
    if (kdedSetVar(name.c_str(), &next) != RTNORM) {
        say(L"Cannot set " + name + L" to that value.\n");
        *failed = true;
    }
    return true;
}

} // namespace tvcad
