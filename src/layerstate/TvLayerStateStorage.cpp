// Layer states in the drawing: one xrecord per state in the layer-states dictionary, read into
// the manager and written back from it, and legacy per-layer state data converted on load.
#include "layerstate/CTvLayerStateManager.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "common/TvResourceText.h"
#include "common/TvSymbolName.h"
#include "snapshot/CKdadLayerP.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdEdEditor.h"

#include <cwchar>
#include <map>
#include <unordered_map>

namespace {

std::wstring textOf(const resbuf* rb) {
    return rb && rb->resval.rstring ? rb->resval.rstring : L"";
}

/// The name of a symbol table record, from its entity name; empty when it cannot be read.
std::wstring recordName(const int64_t name[2]) {
    KdDbObjectId id;
    if (kddbGetObjectId(id, name) != RTNORM)
        return {};
    KdDbObjectPointer<KdDbSymbolTableRecord> rec(id, KdDb::kForRead);
    return rec ? rec->name().str() : std::wstring();
}

/// Turns a reference entry into a text entry of `code` holding `text`.
bool toText(resbuf* rb, int code, const std::wstring& text) {
    rb->restype = static_cast<short>(code);
    rb->resval.rstring = nullptr;
    return tv::setRbString(rb, text);
}

/// The entity name of the drawing's layer-states dictionary (made when absent).
bool statesDictionary(KdDbDatabase* db, kd_name name) {
    KdDbLayerStateManager* lsm = db->getLayerStateManager();
    if (!lsm)
        return false;
    KdDbObjectId id = lsm->layerStatesDictionaryId(true);
    return !id.isNull() && kddbGetQdsName(name, id) == RTNORM;
}

/// A table record's entity name, or false when the drawing has no record of that name.
bool recordOf(const wchar_t* table, const std::wstring& name, kd_name out) {
    KdResbufPtr rec(kddbTblSearch(table, name.c_str(), 0));
    for (resbuf* rb = rec.get(); rb; rb = rb->rbnext) {
        if (rb->restype == -1) {
            out[0] = rb->resval.rlname[0];
            out[1] = rb->resval.rlname[1];
            return true;
        }
    }
    return false;
}

/// (key, entity name) of each entry of a dictionary, in the dictionary's order.
std::vector<std::pair<std::wstring, std::array<int64_t, 2>>> dictionaryEntries(const kd_name dict) {
    std::vector<std::pair<std::wstring, std::array<int64_t, 2>>> out;
    KdResbufPtr list(kddbEntGet(dict));
    std::wstring key;
    bool haveKey = false;
    for (resbuf* rb = list.get(); rb; rb = rb->rbnext) {
        if (rb->restype == 3) {
            key = textOf(rb);
            haveKey = true;
        } else if ((rb->restype == 350 || rb->restype == 360) && haveKey) {
            out.push_back({key, {rb->resval.rlname[0], rb->resval.rlname[1]}});
            haveKey = false;
        }
    }
    return out;
}

} // namespace

// -- Load --

void CTvLayerStateManager::markCurrent(CTvLayerState* state, LayerArray& layers) const {
    const std::wstring current = tvUpperName(tv::trimBlanks(state->currentLayerRef()));
    bool exists = false;
    if (m_db) {
        KdDbLayerTable* table = nullptr;
        if (m_db->getLayerTable(table, KdDb::kForRead) == Kdad::eOk) {
            exists = table->has(state->currentLayerRef().c_str());
            table->close();
        }
    }
    const std::wstring fallback = tvUpperName(m_currentLayerName);
    for (auto& info : layers) {
        const std::wstring upper = tvUpperName(info->layerNameRef());
        info->setIsCurrent(exists ? upper == current : upper == fallback);
    }
}

int CTvLayerStateManager::load() {
    if (!m_db)
        return 0;
    if (!m_states.empty()) {
        int index = 0;
        for (auto& state : m_states) {
            state->setListIndex(index++);
            computeMatch(state.get());
        }
        return 1;
    }
    if (m_loaded)
        return 1;
    return loadFrom(m_db, true);
}

int CTvLayerStateManager::loadFrom(KdDbDatabase* db, bool convertLegacy) {
    tv::CurrentDrawingScope scope(db);
    if (m_currentLayerName.empty()) {
        m_currentLayerName = L"0";
        KdDbObjectPointer<KdDbLayerTableRecord> cur(db->clayer(), KdDb::kForRead);
        if (cur)
            m_currentLayerName = tv::trimBlanks(cur->name().str());
    }
    kd_name dict;
    if (!statesDictionary(db, dict))
        return 0;
    for (const auto& [key, xname] : dictionaryEntries(dict)) {
        KdResbufPtr list(kddbEntGet(xname.data()));
        if (!list)
            continue;
        resbuf* head = list.get();
        uint32_t storedMask = kTvMaskAll;
        for (resbuf* rb = head; rb; rb = rb->rbnext) {
            if (rb->restype == 91) {
                storedMask = static_cast<uint32_t>(rb->resval.rlong);
                break;
            }
        }
        // The reference form: layers and linetypes by name, the plot style as group 2.
        if (storedMask < kTvMaskStorageForm) {
            bool inLayer = false;
            bool plotStyleSeen = false;
            for (resbuf* rb = head; rb; rb = rb->rbnext) {
                if (rb->restype == 330 && rb->rbnext && rb->rbnext->restype == 90) {
                    const std::wstring name = recordName(rb->resval.rlname);
                    if (!name.empty()) {
                        toText(rb, 8, name);
                        inLayer = true;
                        plotStyleSeen = false;
                    }
                } else if (rb->restype == 8) {
                    inLayer = true;
                    plotStyleSeen = false;
                } else if (rb->restype == 331) {
                    const std::wstring name = recordName(rb->resval.rlname);
                    if (!name.empty())
                        toText(rb, 6, name);
                } else if (rb->restype == 1 && inLayer && !plotStyleSeen) {
                    rb->restype = 2;
                    plotStyleSeen = true;
                }
            }
        }

        auto state = std::make_unique<CTvLayerState>();
        state->setName(key);
        LayerArray layers;
        CTvLayerStateInfo* info = nullptr;
        bool skipping = false;
        bool references = false;
        for (resbuf* rb = head; rb; rb = rb->rbnext) {
            const int code = rb->restype;
            if (code == 330 && rb->rbnext && rb->rbnext->restype == 90) {
                // A layer reference left as it is (the layer is gone, or the stored form
                // keeps references): its fields belong to no layer of the state.
                references = true;
                skipping = true;
                info = nullptr;
                continue;
            }
            if (code == 8) {
                const std::wstring name = textOf(rb);
                skipping = name.empty();
                if (skipping) {
                    info = nullptr;
                    continue;
                }
                layers.push_back(std::make_unique<CTvLayerStateInfo>());
                info = layers.back().get();
                info->setLayerName(name);
                continue;
            }
            if (skipping)
                continue;
            if (!info) {
                if (code == 91)
                    state->setMask(static_cast<uint32_t>(rb->resval.rlong));
                else if (code == 301)
                    state->setDescription(textOf(rb));
                else if (code == 290)
                    state->setViewportFlag(rb->resval.rint);
                else if (code == 302)
                    state->setCurrentLayer(textOf(rb));
                continue;
            }
            switch (code) {
            case 90:
                info->setFlags(rb->resval.rlong);
                break;
            case 62:
                info->setColor(rb->resval.rint);
                break;
            case 92:
                // Taken under the linetype bit, and "none" is six digits here: both as the
                // stored states of other programs expect.
                info->setTrueColor((state->mask() & kTvMaskLinetype)
                                       ? static_cast<uint32_t>(rb->resval.rlong)
                                       : 0xFFFFFFu);
                break;
            case 300:
                if (state->mask() & kTvMaskLinetype)
                    info->setColorBook(textOf(rb));
                break;
            case 370:
                info->setLineweight(rb->resval.rint);
                break;
            case 6:
                info->setLinetype(textOf(rb));
                break;
            case 1:
            case 2:
                info->setPlotStyle(textOf(rb));
                break;
            case 390:
                info->setPlotStyle(tv::defaultPlotStyleName(info->color()));
                break;
            default:
                break;
            }
        }
        CTvLayerState* raw = state.get();
        if (references && storedMask >= kTvMaskStorageForm) {
            // Other programs store their states this way. They are not read into layers here,
            // so they are kept as stored and written back as they were, unless replaced.
            for (resbuf* rb = head; rb; rb = rb->rbnext) {
                if (rb->restype == 91) {
                    m_stored[raw].reset(kdutDuplicateList(rb));
                    break;
                }
            }
        }
        markCurrent(raw, layers);
        raw->setListIndex(static_cast<int>(m_states.size()));
        m_layers.emplace(raw, std::move(layers));
        m_states.push_back(std::move(state));
        computeMatch(raw);
    }
    m_loaded = true;
    if (convertLegacy)
        convertLegacyStates();
    return 1;
}

// -- Legacy layer data --

void CTvLayerStateManager::convertLegacyStates() {
    // Each layer's "RAK" data holds one group per legacy state: a 1000 "{NAME", its flags
    // (1070: 1 frozen, 4 locked), its colour (1070, negative when off) and its linetype (1000).
    std::vector<std::unique_ptr<CTvLayerState>> converted;
    std::vector<LayerArray> convertedLayers;
    std::unordered_map<std::wstring, size_t> byName;
    KdResbufPtr apps(tv::newRbString(1001, L"RAK"));
    for (KdResbufPtr rec(kddbTblNext(L"LAYER", 1)); rec; rec.reset(kddbTblNext(L"LAYER", 0))) {
        kd_name name{0, 0};
        std::wstring layerName;
        for (resbuf* rb = rec.get(); rb; rb = rb->rbnext) {
            if (rb->restype == -1) {
                name[0] = rb->resval.rlname[0];
                name[1] = rb->resval.rlname[1];
            } else if (rb->restype == 2) {
                layerName = textOf(rb);
            }
        }
        KdDbObjectId id;
        if (kddbGetObjectId(id, name) != RTNORM)
            continue;
        KdDbObjectPointer<KdDbObject> layer(id, KdDb::kForRead);
        KdResbufPtr xdata(layer ? layer->xData(L"RAK") : nullptr);
        if (!xdata)
            continue;
        bool legacy = false;
        CTvLayerStateInfo* info = nullptr;
        int shorts = 0;
        for (resbuf* rb = xdata.get(); rb; rb = rb->rbnext) {
            if (rb->restype == 1000) {
                const std::wstring text = textOf(rb);
                if (text.find(L'{') != std::wstring::npos) {
                    legacy = true;
                    const std::wstring stateName = L"LMAN_" + text.substr(1);
                    auto [it, added] = byName.emplace(tvUpperName(stateName), converted.size());
                    if (added) {
                        auto state = std::make_unique<CTvLayerState>();
                        state->setName(stateName);
                        state->setMask(kTvMaskAll);
                        state->setViewportFlag(0);
                        state->setCurrentLayer(m_currentLayerName);
                        converted.push_back(std::move(state));
                        convertedLayers.emplace_back();
                    }
                    LayerArray& layers = convertedLayers[it->second];
                    layers.push_back(std::make_unique<CTvLayerStateInfo>());
                    info = layers.back().get();
                    info->setLayerName(layerName);
                    info->setTrueColor(kTvNoTrueColor);
                    shorts = 0;
                } else if (info && text != L"}") {
                    info->setLinetype(text);
                } else if (text == L"}") {
                    info = nullptr;
                }
            } else if (rb->restype == 1070 && info) {
                const int v = rb->resval.rint;
                if (shorts == 0) {
                    int flags = info->flags() & ~(kTvLayerFrozen | kTvLayerLocked);
                    if (v & 4)
                        flags |= kTvLayerLocked;
                    if (v & 1)
                        flags |= kTvLayerFrozen;
                    info->setFlags(flags);
                } else if (shorts == 1) {
                    info->setFlags(v < 0 ? info->flags() | kTvLayerOff
                                         : info->flags() & ~kTvLayerOff);
                    info->setColor(v < 0 ? -v : v);
                }
                ++shorts;
            }
        }
        if (legacy)
            m_legacyLayers.push_back(layerName);
    }
    // Names: an invalid one becomes LMAN_INVALIDNAME, then LMAN_INVALIDNAME(1) ...; a name
    // already taken gets "(1)", "(2)" ... behind it.
    int invalidCount = 0;
    for (size_t i = 0; i < converted.size(); ++i) {
        CTvLayerState* state = converted[i].get();
        std::wstring name = state->nameRef();
        if (!tv::isValidSymbolName(name)) {
            name = invalidCount == 0 ? L"LMAN_INVALIDNAME"
                                     : L"LMAN_INVALIDNAME(" + std::to_wstring(invalidCount) + L")";
            ++invalidCount;
        }
        state->setName(uniqueName(name));
        markCurrent(state, convertedLayers[i]);
        state->setListIndex(static_cast<int>(m_states.size()));
        m_layers.emplace(state, std::move(convertedLayers[i]));
        m_states.push_back(std::move(converted[i]));
        computeMatch(state);
    }
}

bool CTvLayerStateManager::stripLegacyData() {
    if (m_legacyLayers.empty())
        return true;
    const int regen = kdedGetShortVar(L"REGENMODE", 0);
    if (regen == 1)
        kdedSetShortVar(L"REGENMODE", 0);
    bool ok = true;
    kddbRegApp(L"RAK");
    for (const std::wstring& layerName : m_legacyLayers) {
        KdResbufPtr rec(kddbTblSearch(L"LAYER", layerName.c_str(), 0));
        if (!rec) {
            ok = false;
            continue;
        }
        tv::RbBuilder mod;
        mod.name(-1, rec->resval.rlname).add(kdutNewRb(-3)).text(1001, L"RAK");
        if (!mod.ok() || kddbEntMod(mod.head()) != RTNORM)
            ok = false;
    }
    if (regen == 1)
        kdedSetShortVar(L"REGENMODE", 1);
    m_legacyLayers.clear();
    return ok;
}

// -- Save --

int CTvLayerStateManager::save() {
    if (!m_db)
        return 0;
    tv::CurrentDrawingScope scope(m_db);
    // The whole rewrite is one transaction: a failure half-way gives the stored states back as
    // they were instead of leaving some of them deleted.
    KdDbTransactionManager* transactions = m_db->transactionManager();
    if (!transactions || !transactions->startTransaction())
        return 0;
    const int ok = saveAll();
    if (ok)
        transactions->endTransaction();
    else
        transactions->abortTransaction();
    return ok;
}

int CTvLayerStateManager::saveAll() {
    stripLegacyData();
    kd_name dict;
    if (!statesDictionary(m_db, dict))
        return 0;
    // A full rewrite: what is not held any more disappears from the drawing.
    for (const auto& entry : dictionaryEntries(dict)) {
        kddbEntDel(entry.second.data());
        kddbDictRemove(dict, entry.first.c_str());
    }
    for (const auto& state : m_states) {
        if (state->viewportFlag() == 2)
            continue;
        auto it = m_layers.find(state.get());
        static const LayerArray kNone;
        if (!writeState(*state, it == m_layers.end() ? kNone : it->second, dict))
            return 0;
    }
    return 1;
}

int CTvLayerStateManager::writeState(const CTvLayerState& state, const LayerArray& layers,
                                     void* dictName) {
    auto* dict = static_cast<int64_t*>(dictName);
    tv::RbBuilder list;
    list.text(0, L"XRECORD")
        .longValue(91, static_cast<int32_t>(state.mask()))
        .text(301, state.description().str())
        .shortValue(290, state.viewportFlag())
        .text(302, state.currentLayerRef());
    // The layer's fields, names already turned into references: layers that no longer exist
    // are left out; a linetype the drawing lacks becomes Continuous, or stays a name when the
    // drawing has no Continuous either.
    std::unordered_map<std::wstring, std::array<int64_t, 2>> linetypes;
    // A mask with the storage-form marker makes the loader take entries as they are, so such
    // a state keeps its layers and linetypes by name.
    const bool byName = state.mask() >= kTvMaskStorageForm;
    for (const auto& info : layers) {
        if (!info)
            continue;
        if (byName) {
            list.text(8, info->layerNameRef()).longValue(90, info->flags());
            list.shortValue(62, info->color()).shortValue(370, info->lineweight());
            list.text(6, info->linetypeRef()).text(2, info->plotStyleRef());
        } else {
            kd_name layer;
            if (!recordOf(L"LAYER", info->layerNameRef(), layer))
                continue;
            list.name(330, layer).longValue(90, info->flags()).shortValue(62, info->color());
            list.shortValue(370, info->lineweight());
        }
        const bool hasTrue = info->trueColor() != kTvNoTrueColor;
        if (byName) {
            if (hasTrue || !info->colorBookRef().empty())
                list.longValue(92, static_cast<int32_t>(info->trueColor()));
            if (hasTrue && !info->colorBookRef().empty())
                list.text(300, info->colorBookRef());
            continue;
        }
        const std::wstring key = tvUpperName(info->linetypeRef());
        auto lt = linetypes.find(key);
        if (lt == linetypes.end()) {
            kd_name found{0, 0};
            if (!recordOf(L"LTYPE", info->linetypeRef(), found))
                recordOf(L"LTYPE", L"Continuous", found);
            lt = linetypes.emplace(key, std::array<int64_t, 2>{found[0], found[1]}).first;
        }
        if (lt->second[0] != 0 || lt->second[1] != 0)
            list.name(331, lt->second.data());
        else
            list.text(6, info->linetypeRef());
        list.text(1, info->plotStyleRef());
        if (hasTrue || !info->colorBookRef().empty())
            list.longValue(92, static_cast<int32_t>(info->trueColor()));
        if (hasTrue && !info->colorBookRef().empty())
            list.text(300, info->colorBookRef());
    }
    if (!list.ok())
        return 0;
    auto stored = m_stored.find(&state);
    if (stored != m_stored.end() && stored->second) {
        // A state kept as stored: its data as read, under its present name.
        tv::RbBuilder kept;
        kept.text(0, L"XRECORD").add(kdutDuplicateList(stored->second.get()));
        if (!kept.ok())
            return 0;
        list = std::move(kept);
    }
    const std::wstring& key = state.nameRef();
    KdResbufPtr existing(kddbDictSearch(dict, key.c_str(), 0));
    if (existing) {
        kddbEntDel(existing->resval.rlname);
        kddbDictRemove(dict, key.c_str());
    }
    kd_name xrec;
    if (kddbEntMakeX(list.head(), xrec) != RTNORM)
        return 0;
    return kddbDictAdd(dict, key.c_str(), xrec) == RTNORM ? 1 : 0;
}
