// Helpers of the layer-state tests: drawings made current for a test, layers and linetypes set
// up through the Host, states built in memory and compared field by field, stored xrecords.
#pragma once

#include "DrawingTestSupport.h"
#include "ModuleResources.h"
#include "PrivateSettings.h"
#include "ScriptedUiTest.h"
#include "TempDir.h"
#include "layerstate/CTvLayerStateManager.h"

#include "tv/KdCmColor.h"
#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdDbXrecord.h"
#include "tv/KdEdEditor.h"
#include "tv/KdRegistry.h"
#include "tv/KdScriptedUi.h"
#include "tv/KdUiServices.h"
#include "tv/KdUtf8.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tvtest {

namespace fs = std::filesystem;

/// Makes a drawing the editor's current one for a scope and tells the editor it is gone at
/// the end (before the database itself is destroyed).
class CurrentDrawing {
public:
    explicit CurrentDrawing(KdDbDatabase& db) : m_db(&db) { kdedSetCurrentDatabase(m_db); }
    ~CurrentDrawing() { kdedDatabaseClosed(m_db); }
    CurrentDrawing(const CurrentDrawing&) = delete;
    CurrentDrawing& operator=(const CurrentDrawing&) = delete;

private:
    KdDbDatabase* m_db;
};

/// Opens a layer for write and hands it to `edit`; fails the test when it cannot be opened.
inline void editLayer(KdDbDatabase& db, const wchar_t* name,
                      const std::function<void(KdDbLayerTableRecord&)>& edit) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, name), KdDb::kForWrite);
    ASSERT_TRUE(layer) << "no layer " << tvToUtf8(name);
    edit(*layer.get());
}

inline KdCmColor indexColor(int index) {
    KdCmColor c;
    c.setColorIndex(static_cast<uint16_t>(index));
    return c;
}

inline KdCmColor rgbColor(uint8_t r, uint8_t g, uint8_t b, const wchar_t* colorName = nullptr,
                          const wchar_t* bookName = nullptr) {
    KdCmColor c;
    c.setRGB(r, g, b);
    if (colorName)
        c.setNames(colorName, bookName);
    return c;
}

/// Adds a linetype record to the drawing (no dashes).
inline KdDbObjectId addLinetype(KdDbDatabase& db, const wchar_t* name) {
    return addRecord<KdDbLinetypeTable, KdDbLinetypeTableRecord>(db, name);
}

inline KdDbObjectId findLinetype(KdDbDatabase& db, const wchar_t* name) {
    return findRecord<KdDbLinetypeTable>(db, name);
}

/// The drawing most layer-state tests start from: linetypes DASHED and HIDDEN, and the layers
/// named (WALLS and DOORS unless told) besides "0".
inline void addSampleTables(KdDbDatabase& db,
                            std::initializer_list<const wchar_t*> layers = {L"WALLS", L"DOORS"}) {
    addLinetype(db, L"DASHED");
    addLinetype(db, L"HIDDEN");
    for (const wchar_t* name : layers)
        addLayer(db, name);
}

inline std::wstring linetypeOf(KdDbDatabase& db, const wchar_t* layerName) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, layerName), KdDb::kForRead);
    if (!layer)
        return L"<no layer>";
    KdDbObjectPointer<KdDbSymbolTableRecord> lt(layer->linetypeObjectId(), KdDb::kForRead);
    return lt ? lt->name().str() : std::wstring(L"<no linetype>");
}

inline std::wstring currentLayerName(KdDbDatabase& db) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(db.clayer(), KdDb::kForRead);
    return layer ? layer->name().str() : std::wstring();
}

/// Name of a symbol table record.
inline std::wstring recordName(KdDbObjectId id) {
    KdDbObjectPointer<KdDbSymbolTableRecord> rec(id, KdDb::kForRead);
    return rec ? rec->name().str() : std::wstring(L"<unresolved>");
}

/// A list as text, one "code=value" a line; entity names are given as the name of the record
/// they refer to when `recordNames`, else as their number.
inline std::string listText(const resbuf* list, bool recordNames) {
    std::string out;
    for (const resbuf* rb = list; rb; rb = rb->rbnext) {
        if (rb->restype == -1)
            continue;
        out += std::to_string(rb->restype) + "=";
        switch (kdutValueKind(rb->restype)) {
        case KdRbValueKind::kString:
            out += rb->resval.rstring ? tvToUtf8(rb->resval.rstring) : "";
            break;
        case KdRbValueKind::kShort:
            out += std::to_string(rb->resval.rint);
            break;
        case KdRbValueKind::kLong:
            out += std::to_string(rb->resval.rlong);
            break;
        case KdRbValueKind::kName: {
            KdDbObjectId ref;
            if (!recordNames)
                out += std::to_string(rb->resval.rlname[0]);
            else if (kddbGetObjectId(ref, rb->resval.rlname) == RTNORM)
                out += tvToUtf8(recordName(ref));
            break;
        }
        default:
            out += "?";
            break;
        }
        out += "\n";
    }
    return out;
}

/// The entity list of a layer as the table walk gives it, as text.
inline std::string layerListText(KdDbDatabase& db, const wchar_t* name) {
    kd_name en;
    if (kddbGetQdsName(en, findLayer(db, name)) != RTNORM)
        return "<no layer>";
    KdResbufPtr list(kddbEntGet(en));
    return listText(list.get(), false);
}

/// DXF text with every code and value trimmed, so that values a change wrote again without
/// their padding compare equal.
inline std::string normalisedDxf(const std::string& text) {
    std::string out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        const size_t b = line.find_first_not_of(" \t\r");
        const size_t e = line.find_last_not_of(" \t\r");
        out += (b == std::string::npos ? std::string() : line.substr(b, e - b + 1)) + "\n";
    }
    return out;
}

// -- States in memory --

/// One layer record of a state, spelled out.
struct LayerRow {
    std::wstring name = L"0";
    int32_t flags = kTvLayerPlottable;
    int32_t color = 7;
    uint32_t trueColor = kTvNoTrueColor;
    std::wstring book;
    std::wstring linetype = L"Continuous";
    int32_t lineweight = -3;
    std::wstring plotStyle = L"Color_7";
    bool operator==(const LayerRow&) const = default;
};

inline void PrintTo(const LayerRow& s, std::ostream* os) {
    *os << tvToUtf8(s.name) << " flags " << s.flags << " colour " << s.color << " true colour 0x"
        << std::hex << s.trueColor << std::dec << " book '" << tvToUtf8(s.book) << "' "
        << tvToUtf8(s.linetype) << " lineweight " << s.lineweight << " " << tvToUtf8(s.plotStyle);
}

/// A layer record with the defaults but for its name, flags and colour.
inline LayerRow layerRow(const std::wstring& name, int32_t flags = kTvLayerPlottable,
                         int32_t color = 7) {
    LayerRow s;
    s.name = name;
    s.flags = flags;
    s.color = color;
    s.plotStyle = L"Color_" + std::to_wstring(color < 0 ? -color : color);
    return s;
}

/// The head of a state: everything a file or the drawing keeps of it besides the layers.
struct StateHead {
    std::wstring name;
    uint32_t mask = kTvMaskAll;
    std::wstring description;
    int viewportFlag = 1;
    std::wstring currentLayer;
    bool operator==(const StateHead&) const = default;
};

inline void PrintTo(const StateHead& h, std::ostream* os) {
    *os << tvToUtf8(h.name) << " mask " << h.mask << " '" << tvToUtf8(h.description)
        << "' viewport flag " << h.viewportFlag << " current " << tvToUtf8(h.currentLayer);
}

inline StateHead headOf(const CTvLayerState* s) {
    if (!s)
        return {L"<no state>", 0, L"", 0, L""};
    return {s->nameRef(), s->mask(), s->description().str(), s->viewportFlag(),
            s->currentLayerRef()};
}

/// Adds a state to the manager and returns it.
inline CTvLayerState* addState(CTvLayerStateManager& mgr, const std::wstring& name,
                               const std::vector<LayerRow>& layers, uint32_t mask = kTvMaskAll,
                               const std::wstring& description = L"",
                               const std::wstring& currentLayer = L"0", int viewportFlag = 1) {
    auto state = std::make_unique<CTvLayerState>();
    state->setName(name);
    state->setMask(mask);
    state->setDescription(description);
    state->setCurrentLayer(currentLayer);
    state->setViewportFlag(viewportFlag);
    CTvLayerStateManager::LayerArray array;
    for (const LayerRow& s : layers) {
        array.push_back(std::make_unique<CTvLayerStateInfo>());
        CTvLayerStateInfo& info = *array.back();
        info.setLayerName(s.name);
        info.setFlags(s.flags);
        info.setColor(s.color);
        info.setTrueColor(s.trueColor);
        info.setColorBook(s.book);
        info.setLinetype(s.linetype);
        info.setLineweight(s.lineweight);
        info.setPlotStyle(s.plotStyle);
    }
    return mgr.addState(std::move(state), std::move(array));
}

/// The layer record of a state by name (case ignored), or null.
inline const CTvLayerStateInfo* layerOf(const CTvLayerStateManager& mgr, const CTvLayerState* s,
                                        std::wstring_view layer) {
    const CTvLayerStateManager::LayerArray* array = mgr.layersOf(s);
    if (!array)
        return nullptr;
    for (const auto& info : *array)
        if (info && tvEqualsNoCase(info->layerNameRef(), layer))
            return info.get();
    return nullptr;
}

/// Every field of a state's layer record, or a record named "<none>" when there is none.
inline LayerRow rowOf(const CTvLayerStateInfo* i) {
    if (!i)
        return layerRow(L"<none>", 0, 0);
    return {i->layerNameRef(), i->flags(),       i->color(),      i->trueColor(),
            i->colorBookRef(), i->linetypeRef(), i->lineweight(), i->plotStyleRef()};
}

/// The layer records of a state, in order.
inline std::vector<LayerRow> layerRowsOf(const CTvLayerStateManager& mgr, const CTvLayerState* s) {
    std::vector<LayerRow> out;
    if (const auto* array = mgr.layersOf(s))
        for (const auto& info : *array)
            out.push_back(rowOf(info.get()));
    return out;
}

/// Every field a file or the drawing carries: the state's head and each layer in order (not
/// the current-layer mark, which the reader sets from the drawing).
inline void expectSameState(const CTvLayerStateManager& mgrA, const CTvLayerState* a,
                            const CTvLayerStateManager& mgrB, const CTvLayerState* b) {
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(headOf(a), headOf(b));
    ASSERT_NE(mgrA.layersOf(a), nullptr);
    ASSERT_NE(mgrB.layersOf(b), nullptr);
    EXPECT_EQ(layerRowsOf(mgrA, a), layerRowsOf(mgrB, b)) << "layers of " << tvToUtf8(a->nameRef());
}

// -- The layer-states dictionary --

inline KdDbObjectId layerStatesDictionary(KdDbDatabase& db, bool create = false) {
    KdDbLayerStateManager* lsm = db.getLayerStateManager();
    return lsm ? lsm->layerStatesDictionaryId(create) : KdDbObjectId();
}

/// The keys of the layer-states dictionary, in its order.
inline std::vector<std::wstring> storedStateNames(KdDbDatabase& db) {
    std::vector<std::wstring> names;
    KdDbObjectPointer<KdDbDictionary> dict(layerStatesDictionary(db), KdDb::kForRead);
    if (!dict)
        return names;
    std::unique_ptr<KdDbDictionaryIterator> it(dict->newIterator());
    for (; it && !it->done(); it->next())
        names.emplace_back(it->name());
    return names;
}

/// The stored state `key` as text, references given by the referenced record's name; empty
/// when there is none.
inline std::string storedText(KdDbDatabase& db, const wchar_t* key) {
    KdDbObjectPointer<KdDbDictionary> dict(layerStatesDictionary(db), KdDb::kForRead);
    KdDbObjectId id;
    if (!dict || dict->getAt(key, id) != Kdad::eOk)
        return "";
    KdDbObjectPointer<KdDbXrecord> xrec(id, KdDb::kForRead);
    if (!xrec)
        return "";
    KdResbufPtr chain(xrec->rbChain());
    return listText(chain.get(), true);
}

/// Stores an xrecord made of `list` under `key` in the layer-states dictionary (created when
/// missing), as another program would have written it.
inline void storeRawState(KdDbDatabase& db, const wchar_t* key, const resbuf* list) {
    KdDbObjectPointer<KdDbDictionary> dict(layerStatesDictionary(db, true), KdDb::kForWrite);
    ASSERT_TRUE(dict);
    KdDbObjectId id;
    ASSERT_EQ(dict->setAt(key, new KdDbXrecord, id), Kdad::eOk);
    KdDbObjectPointer<KdDbXrecord> xrec(id, KdDb::kForWrite);
    ASSERT_TRUE(xrec);
    ASSERT_EQ(xrec->setFromRbChain(list), Kdad::eOk);
}

/// The entity name of an object, for lists that refer to it.
struct EntityName {
    kd_name n{};
    explicit EntityName(KdDbObjectId id) { EXPECT_EQ(kddbGetQdsName(n, id), RTNORM); }
    const int64_t* get() const { return n; }
};

} // namespace tvtest
