// The Host's layer state manager over the layer-states dictionary's xrecords.
#include <tv/KdDbLayerStateManager.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <tv/KdDbDictionary.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbTransactionManager.h>
#include <tv/KdDbViewport.h>
#include <tv/KdDbXrecord.h>
#include <tv/KdUtf8.h>

#include <algorithm>
#include <memory>

namespace {

constexpr const wchar_t* kStatesKey = L"ACAD_LAYERSTATES";

KdDbObject* objectOf(KdDbObjectId id) {
    return id.isValid() ? id.stub()->object : nullptr;
}

// One layer of a stored state, as the xrecord holds it.
struct StoredLayer {
    KdDbObjectId layer; // from a 330 reference
    std::wstring name;  // from an 8 name (or the referenced layer's name)
    int flags = KdDbLayerStateManager::kLayerPlottable;
    int color = 7;
    bool hasColor = false;
    int lineWeight = KdDb::kLnWtByLwDefault;
    bool hasLineWeight = false;
    KdDbObjectId linetype; // 331
    std::wstring linetypeName;
    std::wstring plotStyle;
    bool hasPlotStyle = false;
    uint32_t trueColor = 0xFFFFFFFF; // 92: 0x00BBGGRR
    std::wstring colorBook;          // 300
    bool hasTransparency = false;
    int transparency = 0; // 440
};

struct StoredState {
    int mask = KdDbLayerStateManager::kAll;
    std::wstring currentLayer;
    std::vector<StoredLayer> layers;
};

KdDbObjectId idOfName(const resbuf* rb) {
    KdDbObjectId id;
    if (rb->resval.rlname[0] != 0)
        id = KdDbObjectId(reinterpret_cast<KdDbStub*>(rb->resval.rlname[0]));
    return id;
}

// Reads a state's xrecord: the head groups, then one block per layer that starts with a 330
// layer reference or an 8 layer name.
StoredState readState(const KdDbXrecord& xrec) {
    StoredState state;
    KdResbufPtr list(xrec.rbChain());
    StoredLayer* layer = nullptr;
    for (const resbuf* rb = list.get(); rb; rb = rb->rbnext) {
        switch (rb->restype) {
        case 91:
            state.mask = rb->resval.rlong;
            break;
        case 302:
            state.currentLayer = rb->resval.rstring;
            break;
        case 330: {
            state.layers.emplace_back();
            layer = &state.layers.back();
            layer->layer = idOfName(rb);
            if (auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(layer->layer)))
                layer->name = rec->cachedName();
            break;
        }
        case 8:
            state.layers.emplace_back();
            layer = &state.layers.back();
            layer->name = rb->resval.rstring;
            break;
        default:
            if (!layer)
                break;
            switch (rb->restype) {
            case 90:
                layer->flags = rb->resval.rlong;
                break;
            case 62:
                layer->color = rb->resval.rint;
                layer->hasColor = true;
                break;
            case 370:
                layer->lineWeight = rb->resval.rint;
                layer->hasLineWeight = true;
                break;
            case 331:
                layer->linetype = idOfName(rb);
                break;
            case 6:
                layer->linetypeName = rb->resval.rstring;
                break;
            case 1:
            case 2:
                layer->plotStyle = rb->resval.rstring;
                layer->hasPlotStyle = true;
                break;
            case 92:
                layer->trueColor = static_cast<uint32_t>(rb->resval.rlong);
                break;
            case 300:
                layer->colorBook = rb->resval.rstring;
                break;
            case 440:
                layer->transparency = rb->resval.rlong;
                layer->hasTransparency = true;
                break;
            default:
                break;
            }
        }
    }
    // Layers named rather than referenced are found by name.
    if (KdDbDatabase* db = xrec.database()) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(db->layerTableId()));
        for (StoredLayer& l : state.layers) {
            KdDbObjectId id;
            if (l.layer.isNull() && table && table->getAt(l.name.c_str(), id) == Kdad::eOk)
                l.layer = id;
            if (!l.layer.isNull() && l.layer.isErased())
                l.layer = KdDbObjectId::kNull;
        }
    }
    return state;
}

// Opens objects through the top transaction when there is one, else directly (closing them
// at the end of the scope).
class Opener {
public:
    explicit Opener(KdDbDatabase* db) : m_tr(db->transactionManager()->topTransaction()) {}
    ~Opener() {
        for (KdDbObject* obj : m_opened)
            obj->close();
    }
    Kdad::ErrorStatus forWrite(KdDbObjectId id, KdDbObject*& obj) {
        obj = nullptr;
        if (m_tr)
            return m_tr->getObject(obj, id, KdDb::kForWrite);
        Kdad::ErrorStatus es = kddbOpenKdDbObject(obj, id, KdDb::kForWrite);
        if (es == Kdad::eOk)
            m_opened.push_back(obj);
        return es;
    }

private:
    KdDbTransaction* m_tr;
    std::vector<KdDbObject*> m_opened;
};

} // namespace

KdDbLayerStateManager::KdDbLayerStateManager(KdDbDatabase* db) : m_db(db) {}
KdDbLayerStateManager::~KdDbLayerStateManager() = default;

KdDbObjectId KdDbLayerStateManager::layerStatesDictionaryId(bool createIfNonExistent) {
    KdDbObject* table = objectOf(m_db->layerTableId());
    if (!table)
        return KdDbObjectId::kNull;
    auto* xdict = dynamic_cast<KdDbDictionary*>(objectOf(table->extensionDictionary()));
    KdDbObjectId id;
    if (xdict && xdict->getAt(kStatesKey, id) == Kdad::eOk)
        return id;
    if (!createIfNonExistent)
        return KdDbObjectId::kNull;
    // The Host makes its own dictionaries: the opens last only for the creation.
    bool tableWasOpen = table->isWriteEnabled();
    if (!tableWasOpen && KdDbAccess::openAs(table, KdDb::kForWrite) != Kdad::eOk)
        return KdDbObjectId::kNull;
    Kdad::ErrorStatus es = table->createExtensionDictionary();
    if (!tableWasOpen)
        table->close();
    if (es != Kdad::eOk)
        return KdDbObjectId::kNull;
    xdict = dynamic_cast<KdDbDictionary*>(objectOf(table->extensionDictionary()));
    if (!xdict)
        return KdDbObjectId::kNull;
    bool dictWasOpen = xdict->isWriteEnabled();
    if (!dictWasOpen && KdDbAccess::openAs(xdict, KdDb::kForWrite) != Kdad::eOk)
        return KdDbObjectId::kNull;
    auto* states = new KdDbDictionary();
    es = xdict->setAt(kStatesKey, states, id);
    if (!dictWasOpen)
        xdict->close();
    if (es != Kdad::eOk) {
        delete states;
        return KdDbObjectId::kNull;
    }
    return id;
}

namespace {
KdDbXrecord* stateRecord(KdDbLayerStateManager& mgr, const wchar_t* name) {
    if (!name)
        return nullptr;
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(mgr.layerStatesDictionaryId(false)));
    KdDbObjectId id;
    if (!dict || dict->getAt(name, id) != Kdad::eOk)
        return nullptr;
    return dynamic_cast<KdDbXrecord*>(objectOf(id));
}
} // namespace

bool KdDbLayerStateManager::hasLayerState(const wchar_t* stateName) {
    return stateRecord(*this, stateName) != nullptr;
}

int KdDbLayerStateManager::layerStateMask(const wchar_t* stateName) {
    KdDbXrecord* xrec = stateRecord(*this, stateName);
    return xrec ? readState(*xrec).mask : -1;
}

std::vector<KdString> KdDbLayerStateManager::layerStateNames() {
    std::vector<KdString> names;
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(layerStatesDictionaryId(false)));
    if (!dict)
        return names;
    std::unique_ptr<KdDbDictionaryIterator> it(dict->newIterator());
    for (; !it->done(); it->next())
        names.emplace_back(it->name());
    return names;
}

Kdad::ErrorStatus KdDbLayerStateManager::getLayerStateLayers(std::vector<KdString>& layerNames,
                                                             const wchar_t* stateName,
                                                             bool invert) {
    layerNames.clear();
    KdDbXrecord* xrec = stateRecord(*this, stateName);
    if (!xrec)
        return Kdad::eKeyNotFound;
    StoredState state = readState(*xrec);
    std::vector<KdDbObjectId> held;
    for (const StoredLayer& l : state.layers) {
        if (l.layer.isNull())
            continue;
        held.push_back(l.layer);
        if (!invert)
            layerNames.emplace_back(l.name);
    }
    if (invert) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(m_db->layerTableId()));
        if (!table)
            return Kdad::eKeyNotFound;
        for (const KdDbObjectId& id : table->recordIds()) {
            if (id.isErased() || std::find(held.begin(), held.end(), id) != held.end())
                continue;
            if (auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(id)))
                layerNames.emplace_back(rec->cachedName());
        }
    }
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbLayerStateManager::restoreLayerState(const wchar_t* stateName,
                                                           KdDbObjectId viewportId,
                                                           int restoreFlags, const int* mask) {
    KdDbXrecord* xrec = stateRecord(*this, stateName);
    if (!xrec)
        return Kdad::eKeyNotFound;
    StoredState state = readState(*xrec);
    const int m = mask ? *mask : state.mask;
    Opener opener(m_db);
    KdDbObjectId current = m_db->clayer();
    auto* viewport = dynamic_cast<KdDbViewport*>(objectOf(viewportId));
    std::vector<KdDbObjectId> freezeInViewport, thawInViewport;
    std::vector<KdDbObjectId> held;

    for (const StoredLayer& l : state.layers) {
        if (l.layer.isNull())
            continue;
        held.push_back(l.layer);
        KdDbObject* obj = nullptr;
        Kdad::ErrorStatus es = opener.forWrite(l.layer, obj);
        if (es != Kdad::eOk)
            return es;
        auto* layer = dynamic_cast<KdDbLayerTableRecord*>(obj);
        if (!layer)
            continue;
        if (m & kOn)
            layer->setIsOff((l.flags & kLayerOff) != 0);
        // The current layer cannot be frozen.
        if ((m & kFrozen) && !((l.flags & kLayerFrozen) && l.layer == current))
            layer->setIsFrozen((l.flags & kLayerFrozen) != 0);
        if (m & kLocked)
            layer->setIsLocked((l.flags & kLayerLocked) != 0);
        if (m & kPlot)
            layer->setIsPlottable((l.flags & kLayerPlottable) != 0);
        if (m & kNewViewport)
            layer->setVPDFLT((l.flags & kLayerNewViewportFrozen) != 0);
        if ((m & kColor) && l.hasColor) {
            KdCmColor color;
            int index = std::abs(l.color);
            color.setColorIndex(static_cast<uint16_t>(index >= 1 && index <= 255 ? index : 7));
            if (l.trueColor != 0xFFFFFFFF) {
                // Stored with red in the low byte.
                color.setRGB(static_cast<uint8_t>(l.trueColor),
                             static_cast<uint8_t>(l.trueColor >> 8),
                             static_cast<uint8_t>(l.trueColor >> 16));
                size_t dollar = l.colorBook.find(L'$');
                if (dollar != std::wstring::npos)
                    color.setNames(l.colorBook.substr(dollar + 1).c_str(),
                                   l.colorBook.substr(0, dollar).c_str());
            }
            layer->setColor(color);
        }
        if (m & kLineType) {
            KdDbObjectId lt = l.linetype;
            if (lt.isNull() && !l.linetypeName.empty()) {
                auto* lts = dynamic_cast<KdDbSymbolTable*>(objectOf(m_db->linetypeTableId()));
                if (lts)
                    lts->getAt(l.linetypeName.c_str(), lt);
            }
            if (!lt.isNull())
                layer->setLinetypeObjectId(lt);
        }
        if ((m & kLineWeight) && l.hasLineWeight)
            layer->setLineWeight(static_cast<KdDb::LineWeight>(l.lineWeight));
        if ((m & kPlotStyle) && l.hasPlotStyle && !l.plotStyle.empty())
            layer->setPlotStyleName(l.plotStyle.c_str());
        if ((m & kTransparency) && l.hasTransparency)
            layer->setTransparency(
                KdCmTransparency::serializeIn(static_cast<uint32_t>(l.transparency)));
        if ((m & kCurrentViewport) && viewport) {
            if (l.flags & kLayerViewportFrozen)
                freezeInViewport.push_back(l.layer);
            else
                thawInViewport.push_back(l.layer);
        }
    }

    if (restoreFlags & (kUndefTurnOff | kUndefFreeze)) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(m_db->layerTableId()));
        for (const KdDbObjectId& id : table ? table->recordIds() : std::vector<KdDbObjectId>()) {
            if (id.isErased() || std::find(held.begin(), held.end(), id) != held.end())
                continue;
            KdDbObject* obj = nullptr;
            if (opener.forWrite(id, obj) != Kdad::eOk)
                continue;
            auto* layer = dynamic_cast<KdDbLayerTableRecord*>(obj);
            if (!layer)
                continue;
            if (restoreFlags & kUndefTurnOff)
                layer->setIsOff(true);
            if ((restoreFlags & kUndefFreeze) && id != current)
                layer->setIsFrozen(true);
        }
    }

    if (viewport && (!freezeInViewport.empty() || !thawInViewport.empty())) {
        KdDbObject* obj = nullptr;
        Kdad::ErrorStatus es = opener.forWrite(viewportId, obj);
        if (es != Kdad::eOk)
            return es;
        viewport->thawLayersInViewport(thawInViewport);
        viewport->freezeLayersInViewport(freezeInViewport);
    }

    // The state's current layer becomes current when it exists and is not frozen.
    if (!state.currentLayer.empty()) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(m_db->layerTableId()));
        KdDbObjectId id;
        if (table && table->getAt(state.currentLayer.c_str(), id) == Kdad::eOk) {
            auto* layer = dynamic_cast<KdDbLayerTableRecord*>(objectOf(id));
            if (layer && !layer->isFrozen())
                m_db->setClayer(id);
        }
    }
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbLayerStateManager::deleteLayerState(const wchar_t* stateName) {
    if (!stateName)
        return Kdad::eInvalidInput;
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(layerStatesDictionaryId(false)));
    KdDbObjectId id;
    if (!dict || dict->getAt(stateName, id) != Kdad::eOk)
        return Kdad::eKeyNotFound;
    Opener opener(m_db);
    KdDbObject* obj = nullptr;
    Kdad::ErrorStatus es = opener.forWrite(dict->objectId(), obj);
    if (es != Kdad::eOk)
        return es;
    es = dict->remove(stateName);
    if (es != Kdad::eOk)
        return es;
    KdDbObject* xrec = nullptr;
    if (opener.forWrite(id, xrec) == Kdad::eOk)
        xrec->erase();
    return Kdad::eOk;
}
