// Helpers of the layer-state tests: drawings made current for a test, layers and linetypes set
// up through the Host, states built in memory and compared field by field, stored xrecords.
#pragma once

#include "TvTestResources.h"

#include "host/db/DrawingTestSupport.h"
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

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tvtest {

namespace fs = std::filesystem;

/// A fresh folder under the temporary directory, removed with everything in it at the end.
class TempDir {
public:
    TempDir() {
        static std::atomic<int> counter{0};
        m_path = fs::temp_directory_path() /
                 ("tvlm_ls_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
        fs::create_directories(m_path);
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(m_path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    fs::path operator/(const std::string& name) const { return m_path / name; }
    const fs::path& path() const { return m_path; }

private:
    fs::path m_path;
};

inline std::string readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void writeBytes(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes;
}

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

/// Points the settings store at a private file for a scope, so that what restore stores never
/// reaches the user's settings.
class PrivateSettings {
public:
    PrivateSettings() { tvSettingsSetFile((m_dir / "registry.ini").string()); }
    ~PrivateSettings() { tvSettingsSetFile(std::string()); }
    PrivateSettings(const PrivateSettings&) = delete;
    PrivateSettings& operator=(const PrivateSettings&) = delete;

private:
    TempDir m_dir;
};

/// Scripted answers for the message boxes of a scope.
struct ScriptedUi {
    KdScriptedUi ui;
    KdUiServicesScope scope{&ui};
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

/// The entity list of a layer as the table walk gives it, as text, one "code=value" a line.
inline std::string layerListText(KdDbDatabase& db, const wchar_t* name) {
    kd_name en;
    if (kddbGetQdsName(en, findLayer(db, name)) != RTNORM)
        return "<no layer>";
    KdResbufPtr list(kddbEntGet(en));
    std::string out;
    for (const resbuf* rb = list.get(); rb; rb = rb->rbnext) {
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
        case KdRbValueKind::kName:
            out += std::to_string(rb->resval.rlname[0]);
            break;
        default:
            out += "?";
            break;
        }
        out += "\n";
    }
    return out;
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
struct LayerSpec {
    std::wstring name = L"0";
    int32_t flags = kTvLayerPlottable;
    int32_t color = 7;
    uint32_t trueColor = kTvNoTrueColor;
    std::wstring book;
    std::wstring linetype = L"Continuous";
    int32_t lineweight = -3;
    std::wstring plotStyle = L"Color_7";
};

/// A layer record with the defaults but for its name, flags and colour.
inline LayerSpec layerRow(const std::wstring& name, int32_t flags = kTvLayerPlottable,
                          int32_t color = 7) {
    LayerSpec s;
    s.name = name;
    s.flags = flags;
    s.color = color;
    s.plotStyle = L"Color_" + std::to_wstring(color < 0 ? -color : color);
    return s;
}

inline std::unique_ptr<CTvLayerStateInfo> makeInfo(const LayerSpec& s) {
    auto info = std::make_unique<CTvLayerStateInfo>();
    info->setLayerName(s.name);
    info->setFlags(s.flags);
    info->setColor(s.color);
    info->setTrueColor(s.trueColor);
    info->setColorBook(s.book);
    info->setLinetype(s.linetype);
    info->setLineweight(s.lineweight);
    info->setPlotStyle(s.plotStyle);
    return info;
}

/// Adds a state to the manager and returns it.
inline CTvLayerState* addState(CTvLayerStateManager& mgr, const std::wstring& name,
                               const std::vector<LayerSpec>& layers, uint32_t mask = kTvMaskAll,
                               const std::wstring& description = L"",
                               const std::wstring& currentLayer = L"0", int viewportFlag = 1) {
    auto state = std::make_unique<CTvLayerState>();
    state->setName(name);
    state->setMask(mask);
    state->setDescription(description);
    state->setCurrentLayer(currentLayer);
    state->setViewportFlag(viewportFlag);
    CTvLayerStateManager::LayerArray array;
    for (const LayerSpec& s : layers)
        array.push_back(makeInfo(s));
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

/// Every field a file or the drawing carries: the state's head and each layer in order (not
/// the current-layer mark, which the reader sets from the drawing).
inline void expectSameState(const CTvLayerStateManager& mgrA, const CTvLayerState* a,
                            const CTvLayerStateManager& mgrB, const CTvLayerState* b) {
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    const std::string what = "state " + tvToUtf8(a->nameRef());
    EXPECT_EQ(a->nameRef(), b->nameRef()) << what;
    EXPECT_EQ(a->mask(), b->mask()) << what;
    EXPECT_EQ(a->description().str(), b->description().str()) << what;
    EXPECT_EQ(a->viewportFlag(), b->viewportFlag()) << what;
    EXPECT_EQ(a->currentLayerRef(), b->currentLayerRef()) << what;
    const auto* la = mgrA.layersOf(a);
    const auto* lb = mgrB.layersOf(b);
    ASSERT_NE(la, nullptr) << what;
    ASSERT_NE(lb, nullptr) << what;
    ASSERT_EQ(la->size(), lb->size()) << what;
    for (size_t i = 0; i < la->size(); ++i) {
        const CTvLayerStateInfo& x = *(*la)[i];
        const CTvLayerStateInfo& y = *(*lb)[i];
        const std::string at = what + ", layer " + tvToUtf8(x.layerNameRef());
        EXPECT_EQ(x.layerNameRef(), y.layerNameRef()) << at;
        EXPECT_EQ(x.flags(), y.flags()) << at;
        EXPECT_EQ(x.color(), y.color()) << at;
        EXPECT_EQ(x.trueColor(), y.trueColor()) << at;
        EXPECT_EQ(x.colorBookRef(), y.colorBookRef()) << at;
        EXPECT_EQ(x.linetypeRef(), y.linetypeRef()) << at;
        EXPECT_EQ(x.lineweight(), y.lineweight()) << at;
        EXPECT_EQ(x.plotStyleRef(), y.plotStyleRef()) << at;
    }
}

// -- The layer-states dictionary --

/// One pair of a stored xrecord; references are given as the referenced record's name.
struct StoredPair {
    int code = 0;
    std::wstring text;
    long long number = 0;
};

/// Name of a symbol table record.
inline std::wstring recordName(KdDbObjectId id) {
    KdDbObjectPointer<KdDbSymbolTableRecord> rec(id, KdDb::kForRead);
    return rec ? rec->name().str() : std::wstring(L"<unresolved>");
}

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

/// The pairs of the stored state `key`; empty when there is none.
inline std::vector<StoredPair> storedPairs(KdDbDatabase& db, const wchar_t* key) {
    std::vector<StoredPair> out;
    KdDbObjectPointer<KdDbDictionary> dict(layerStatesDictionary(db), KdDb::kForRead);
    if (!dict)
        return out;
    KdDbObjectId id;
    if (dict->getAt(key, id) != Kdad::eOk)
        return out;
    KdDbObjectPointer<KdDbXrecord> xrec(id, KdDb::kForRead);
    if (!xrec)
        return out;
    KdResbufPtr chain(xrec->rbChain());
    for (const resbuf* rb = chain.get(); rb; rb = rb->rbnext) {
        StoredPair p;
        p.code = rb->restype;
        switch (kdutValueKind(rb->restype)) {
        case KdRbValueKind::kString:
            p.text = rb->resval.rstring ? rb->resval.rstring : L"";
            break;
        case KdRbValueKind::kShort:
            p.number = rb->resval.rint;
            break;
        case KdRbValueKind::kLong:
            p.number = rb->resval.rlong;
            break;
        case KdRbValueKind::kName: {
            KdDbObjectId ref;
            if (kddbGetObjectId(ref, rb->resval.rlname) == RTNORM)
                p.text = recordName(ref);
            break;
        }
        default:
            break;
        }
        out.push_back(p);
    }
    return out;
}

/// The pairs of one layer's block in a stored state (from its 330 or 8 up to the next one).
inline std::vector<StoredPair> storedLayerBlock(const std::vector<StoredPair>& pairs,
                                                std::wstring_view layer) {
    std::vector<StoredPair> block;
    bool in = false;
    for (const StoredPair& p : pairs) {
        const bool starts = p.code == 330 || p.code == 8;
        if (starts)
            in = tvEqualsNoCase(p.text, layer);
        if (in)
            block.push_back(p);
    }
    return block;
}

inline bool hasCode(const std::vector<StoredPair>& pairs, int code) {
    for (const StoredPair& p : pairs)
        if (p.code == code)
            return true;
    return false;
}

inline const StoredPair* findCode(const std::vector<StoredPair>& pairs, int code) {
    for (const StoredPair& p : pairs)
        if (p.code == code)
            return &p;
    return nullptr;
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
