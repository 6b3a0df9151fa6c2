// The layer control's reading of the layer table and its one-step changes.
#include "TvCadLayerActions.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"
#include "tv/KdUtf8.h"

#include <algorithm>
#include <cwctype>

namespace tvcad {
namespace {

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

/// Opens the layer `name` for write; null with a message when there is none.
KdDbLayerTableRecord* openLayer(KdDbDatabase& db, const std::wstring& name, std::wstring* message) {
    KdDbLayerTable* table = nullptr;
    KdDbLayerTableRecord* layer = nullptr;
    if (db.getSymbolTable(table, KdDb::kForRead) == Kdad::eOk && table) {
        if (table->getAt(name.c_str(), layer, KdDb::kForWrite) != Kdad::eOk)
            layer = nullptr;
        table->close();
    }
    if (!layer && message)
        *message = L"There is no layer \"" + name + L"\".";
    return layer;
}

void putUndoMark() {
    if (KdEdUndoController* undo = curDocUndoController())
        undo->putUndoMark();
}

} // namespace

bool layerNameLess(const std::wstring& a, const std::wstring& b) {
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            // Runs of digits compare by value: skip leading zeros, then the longer run is
            // larger, then the first differing digit decides.
            size_t ei = i;
            size_t ej = j;
            while (ei < a.size() && isDigit(a[ei]))
                ++ei;
            while (ej < b.size() && isDigit(b[ej]))
                ++ej;
            size_t si = i;
            size_t sj = j;
            while (si + 1 < ei && a[si] == L'0')
                ++si;
            while (sj + 1 < ej && b[sj] == L'0')
                ++sj;
            if (ei - si != ej - sj)
                return ei - si < ej - sj;
            for (; si < ei; ++si, ++sj) {
                if (a[si] != b[sj])
                    return a[si] < b[sj];
            }
            i = ei;
            j = ej;
            continue;
        }
        const wchar_t ca = tvUpper(a[i]);
        const wchar_t cb = tvUpper(b[j]);
        if (ca != cb)
            return ca < cb;
        ++i;
        ++j;
    }
    if ((a.size() - i) != (b.size() - j))
        return a.size() - i < b.size() - j;
    return a < b; // names equal but for case or leading zeros: a stable order all the same
}

std::vector<TvCadLayerRow> layerRows(KdDbDatabase& db) {
    std::vector<TvCadLayerRow> rows;
    KdDbLayerTable* table = nullptr;
    if (db.getSymbolTable(table, KdDb::kForRead) != Kdad::eOk || !table)
        return rows;
    const KdDbObjectId current = db.clayer();
    for (auto it = table->iterator(); !it->done(); it->step()) {
        KdDbSymbolTableRecord* record = nullptr;
        if (it->getRecord(record, KdDb::kForRead) != Kdad::eOk || !record)
            continue;
        if (auto* layer = dynamic_cast<KdDbLayerTableRecord*>(record)) {
            TvCadLayerRow row;
            row.name = layer->name().str();
            row.off = layer->isOff();
            row.frozen = layer->isFrozen();
            row.locked = layer->isLocked();
            row.current = layer->objectId() == current;
            row.color = layer->color();
            rows.push_back(std::move(row));
        }
        record->close();
    }
    table->close();
    std::sort(rows.begin(), rows.end(), [](const TvCadLayerRow& a, const TvCadLayerRow& b) {
        return layerNameLess(a.name, b.name);
    });
    return rows;
}

bool toggleLayer(KdDbDatabase& db, const std::wstring& name, TvCadLayerToggle what,
                 std::wstring* message) {
    KdDbLayerTableRecord* layer = openLayer(db, name, message);
    if (!layer)
        return false;
    if (what == TvCadLayerToggle::kFrozen && !layer->isFrozen() &&
        layer->objectId() == db.clayer()) {
        layer->close();
        if (message)
            *message = L"Layer \"" + name + L"\" is the current layer; it cannot be frozen.";
        return false;
    }
    // The mark comes first, so that U takes back exactly this change.
    putUndoMark();
    Kdad::ErrorStatus es = Kdad::eOk;
    switch (what) {
    case TvCadLayerToggle::kOn:
        es = layer->setIsOff(!layer->isOff());
        break;
    case TvCadLayerToggle::kFrozen:
        es = layer->setIsFrozen(!layer->isFrozen());
        break;
    case TvCadLayerToggle::kLocked:
        es = layer->setIsLocked(!layer->isLocked());
        break;
    }
    layer->close();
    if (es != Kdad::eOk) {
        if (message)
            *message = L"Layer \"" + name + L"\" cannot be changed.";
        return false;
    }
    tvSetLayerTableChanges();
    return true;
}

bool makeLayerCurrent(KdDbDatabase& db, const std::wstring& name, std::wstring* message) {
    KdDbLayerTableRecord* layer = openLayer(db, name, message);
    if (!layer)
        return false;
    const bool frozen = layer->isFrozen();
    const bool already = layer->objectId() == db.clayer();
    layer->close();
    if (already)
        return true;
    if (frozen) {
        if (message)
            *message = L"Layer \"" + name + L"\" is frozen; it cannot be made current.";
        return false;
    }
    putUndoMark();
    resbuf value{};
    value.restype = RTSTR;
    value.resval.rstring = const_cast<wchar_t*>(name.c_str());
    if (kdedSetVar(L"CLAYER", &value) != RTNORM) {
        if (message)
            *message = L"Layer \"" + name + L"\" cannot be made current.";
        return false;
    }
    return true;
}

} // namespace tvcad
