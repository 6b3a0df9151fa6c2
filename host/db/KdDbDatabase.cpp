// The drawing database: its state, well-known objects, handles, header variables.
#include <tv/KdDbDatabase.h>

#include "KdDbAccess.h"
#include "KdDbDatabaseImpl.h"
#include "KdDbUndoJournal.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbDictionary.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbLayerStateManager.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbLayout.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbSymbolTableRecord.h>
#include <tv/KdDbTransactionManager.h>
#include <tv/KdDbViewport.h>
#include <tv/KdDbXrecord.h>
#include <tv/KdUtf8.h>

#include <cstdlib>
#include <map>
#include <cstring>

// -- String store --

std::string_view KdDbStringStore::store(std::string_view raw) {
    if (raw.empty())
        return std::string_view("", 0);
    if (m_used + raw.size() > m_capacity) {
        size_t size = std::max<size_t>(64 * 1024, raw.size());
        m_blocks.push_back(std::make_unique<char[]>(size));
        m_used = 0;
        m_capacity = size;
    }
    char* p = m_blocks.back().get() + m_used;
    std::memcpy(p, raw.data(), raw.size());
    m_used += raw.size();
    return std::string_view(p, raw.size());
}

// -- Implementation state --

KdDbDatabaseImpl::KdDbDatabaseImpl(KdDbDatabase* owner)
    : self(owner), codec(std::make_unique<tvdxf::DxfCodec>()),
      journal(std::make_unique<KdDbUndoJournal>(owner)),
      transactions(std::make_unique<KdDbTransactionManager>(owner)) {}

KdDbDatabaseImpl::~KdDbDatabaseImpl() {
    // Objects go first: their destructors may not look at stubs of objects already gone.
    objects.clear();
}

KdDbStub* KdDbDatabaseImpl::newStub(uint64_t handle) {
    stubs.push_back(KdDbStub{self, nullptr, handle});
    KdDbStub* stub = &stubs.back();
    byHandle.emplace(handle, stub);
    if (handle > maxHandle)
        maxHandle = handle;
    return stub;
}

int KdDbDatabaseImpl::headerValueIndex(std::string_view name) const {
    int idx = headerIndex(name);
    if (idx < 0 || static_cast<size_t>(idx) + 1 >= header.size() ||
        header[static_cast<size_t>(idx) + 1].code == 9)
        return -1;
    return idx + 1;
}

int KdDbDatabaseImpl::headerIndex(std::string_view name) const {
    for (size_t i = 0; i < header.size(); ++i)
        if (header[i].code == 9 && tvdxf::trimmed(header[i].value()) == name)
            return static_cast<int>(i);
    return -1;
}

namespace {

KdDbObject* objectOf(KdDbObjectId id) {
    return id.stub() ? id.stub()->object : nullptr;
}

} // namespace

void KdDbDatabaseImpl::bindWellKnown() {
    for (const KdDbObjectId& id : tables) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(id));
        if (!table)
            continue;
        std::string_view name = table->tableName();
        if (name == "LAYER")
            layerTable = id;
        else if (name == "LTYPE")
            linetypeTable = id;
        else if (name == "BLOCK_RECORD")
            blockTable = id;
        else if (name == "APPID")
            appIdTable = id;
    }
    if (auto* bt = dynamic_cast<KdDbSymbolTable*>(objectOf(blockTable))) {
        KdDbObjectId id;
        if (bt->getAt(L"*Model_Space", id) == Kdad::eOk)
            modelSpace = id;
        if (bt->getAt(L"*Paper_Space", id) == Kdad::eOk)
            paperSpace = id;
    } else {
        // R12: blocks without records; the spaces are found by their BLOCK names.
        for (const KdDbObjectId& id : blockOrder) {
            auto* btr = dynamic_cast<KdDbBlockTableRecord*>(objectOf(id));
            if (!btr)
                continue;
            std::wstring name = btr->cachedName();
            for (auto& c : name)
                c = tvUpper(c);
            if (name == L"$MODEL_SPACE" || name == L"*MODEL_SPACE")
                modelSpace = id;
            else if (name == L"$PAPER_SPACE" || name == L"*PAPER_SPACE")
                paperSpace = id;
        }
    }
    namedObjects = KdDbObjectId::kNull;
    for (const KdDbObjectId& id : objectsSection) {
        if (dynamic_cast<KdDbDictionary*>(objectOf(id))) {
            namedObjects = id; // the root dictionary comes first
            break;
        }
    }
    clayer = KdDbObjectId::kNull;
    int idx = headerValueIndex("$CLAYER");
    if (idx >= 0) {
        if (auto* lt = dynamic_cast<KdDbSymbolTable*>(objectOf(layerTable))) {
            std::wstring name =
                codec->decode(tvdxf::trimmed(header[static_cast<size_t>(idx)].value()));
            KdDbObjectId id;
            if (lt->getAt(name.c_str(), id) == Kdad::eOk)
                clayer = id;
        }
    }
}

void KdDbDatabaseImpl::bindEntityLayers() {
    auto* lt = dynamic_cast<KdDbSymbolTable*>(objectOf(layerTable));
    if (!lt)
        return;
    // Raw name -> layer; entities of one layer come in runs, so most lookups hit the cache.
    std::unordered_map<std::string_view, KdDbStub*> byRawName;
    for (const KdDbObjectId& id : lt->recordIds())
        byRawName.emplace(tvdxf::trimmed(id.stub()->object->tagValue(2)), id.stub());
    std::string_view lastName;
    KdDbStub* lastLayer = nullptr;
    size_t missing = 0;
    for (auto& obj : objects) {
        auto* ent = dynamic_cast<KdDbEntity*>(obj.get());
        if (!ent)
            continue;
        std::string_view raw;
        for (const KdDbTag& t : ent->tags()) {
            if (t.code == 8) {
                raw = tvdxf::trimmed(t.value());
                break;
            }
        }
        if (raw.empty())
            continue;
        if (raw != lastName || !lastLayer) {
            auto it = byRawName.find(raw);
            KdDbStub* found = it != byRawName.end() ? it->second : nullptr;
            if (!found) {
                // Names differ only in case, or by escapes: the table lookup decides.
                KdDbObjectId id;
                std::wstring name = codec->decode(raw);
                if (lt->getAt(name.c_str(), id) == Kdad::eOk)
                    found = id.stub();
            }
            lastName = raw;
            lastLayer = found;
            if (!found && missing++ < 20)
                warnings.push_back("an entity names layer \"" + std::string(raw) +
                                   "\" that the layer table does not have");
        }
        KdDbAccess::bindLayer(ent, lastLayer);
    }
}

std::unique_ptr<KdDbObject> kdCreateObjectOfType(std::string_view type, bool inTablesSection,
                                                 std::string_view tableName, bool isEntity) {
    if (inTablesSection) {
        if (type == "TABLE") {
            if (tableName == "LAYER")
                return std::make_unique<KdDbLayerTable>();
            if (tableName == "LTYPE")
                return std::make_unique<KdDbLinetypeTable>();
            if (tableName == "BLOCK_RECORD")
                return std::make_unique<KdDbBlockTable>();
            return std::make_unique<KdDbSymbolTable>(tableName);
        }
        if (type == "LAYER")
            return std::make_unique<KdDbLayerTableRecord>();
        if (type == "LTYPE")
            return std::make_unique<KdDbLinetypeTableRecord>();
        if (type == "BLOCK_RECORD")
            return std::make_unique<KdDbBlockTableRecord>();
        if (type == "APPID")
            return std::make_unique<KdDbRegAppTableRecord>();
        return std::make_unique<KdDbSymbolTableRecord>(type);
    }
    if (isEntity) {
        if (type == "VIEWPORT")
            return std::make_unique<KdDbViewport>();
        if (type == "BLOCK")
            return std::make_unique<KdDbBlockBegin>();
        if (type == "ENDBLK")
            return std::make_unique<KdDbBlockEnd>();
        if (type == "INSERT")
            return std::make_unique<KdDbBlockReference>();
        return std::make_unique<KdDbEntity>(type);
    }
    if (type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT")
        return std::make_unique<KdDbDictionary>(type);
    if (type == "XRECORD")
        return std::make_unique<KdDbXrecord>();
    if (type == "LAYOUT")
        return std::make_unique<KdDbLayout>();
    if (type == "PLOTSETTINGS")
        return std::make_unique<KdDbPlotSettings>(type);
    return std::make_unique<KdDbObject>(type);
}

// -- Database --

KdDbDatabase::~KdDbDatabase() = default;

KdDb::DwgVersion KdDbDatabase::originalFileVersion() const {
    return m_impl->version;
}

KdDb::DwgVersion KdDbDatabase::version() const {
    return m_impl->version == KdDb::kDHL_1009 ? KdDb::kDHL_1009 : m_impl->version;
}

const std::vector<std::string>& KdDbDatabase::readWarnings() const {
    return m_impl->warnings;
}

const std::string& KdDbDatabase::fileName() const {
    return m_impl->fileName;
}

bool KdDbDatabase::isModified() const {
    return m_impl->modified;
}

void KdDbDatabase::setModified(bool modified) {
    m_impl->modified = modified;
}

// -- Tables and well-known objects --

template <class T> static Kdad::ErrorStatus openAs(KdDbObjectId id, T*& out, KdDb::OpenMode mode) {
    out = nullptr;
    if (id.isNull())
        return Kdad::eKeyNotFound;
    return kddbOpenObject(out, id, mode);
}

Kdad::ErrorStatus KdDbDatabase::getSymbolTable(KdDbLayerTable*& table, KdDb::OpenMode mode) {
    return openAs(m_impl->layerTable, table, mode);
}
Kdad::ErrorStatus KdDbDatabase::getSymbolTable(KdDbLinetypeTable*& table, KdDb::OpenMode mode) {
    return openAs(m_impl->linetypeTable, table, mode);
}
Kdad::ErrorStatus KdDbDatabase::getSymbolTable(KdDbBlockTable*& table, KdDb::OpenMode mode) {
    return openAs(m_impl->blockTable, table, mode);
}

KdDbObjectId KdDbDatabase::layerTableId() const {
    return m_impl->layerTable;
}
KdDbObjectId KdDbDatabase::linetypeTableId() const {
    return m_impl->linetypeTable;
}
KdDbObjectId KdDbDatabase::blockTableId() const {
    return m_impl->blockTable;
}
KdDbObjectId KdDbDatabase::regAppTableId() const {
    return m_impl->appIdTable;
}
KdDbObjectId KdDbDatabase::modelSpaceId() const {
    return m_impl->modelSpace;
}
KdDbObjectId KdDbDatabase::paperSpaceId() const {
    return m_impl->paperSpace;
}

KdDbObjectId KdDbDatabase::tableId(std::string_view name) const {
    for (const KdDbObjectId& id : m_impl->tables) {
        auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(id));
        if (table && tvdxf::equalsNoCase(table->tableName(), name))
            return id;
    }
    return KdDbObjectId::kNull;
}

static KdDbObjectId recordOf(KdDbObjectId tableId, const wchar_t* name) {
    auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(tableId));
    KdDbObjectId id;
    if (table && table->getAt(name, id) == Kdad::eOk)
        return id;
    return KdDbObjectId::kNull;
}

KdDbObjectId KdDbDatabase::layerZero() const {
    return recordOf(m_impl->layerTable, L"0");
}
KdDbObjectId KdDbDatabase::byLayerLinetype() const {
    return recordOf(m_impl->linetypeTable, L"ByLayer");
}
KdDbObjectId KdDbDatabase::byBlockLinetype() const {
    return recordOf(m_impl->linetypeTable, L"ByBlock");
}
KdDbObjectId KdDbDatabase::continuousLinetype() const {
    return recordOf(m_impl->linetypeTable, L"Continuous");
}

KdDbObjectId KdDbDatabase::clayer() const {
    KdDbObjectId id = m_impl->clayer;
    if (id.isNull() || id.isErased())
        return layerZero();
    return id;
}

Kdad::ErrorStatus KdDbDatabase::setClayer(KdDbObjectId layerId) {
    auto* layer = dynamic_cast<KdDbLayerTableRecord*>(objectOf(layerId));
    if (!layer || layer->isErased() || layerId.database() != this)
        return Kdad::eInvalidInput;
    if (m_impl->journal->isRecording())
        m_impl->journal->recordHeader();
    m_impl->modified = true;
    m_impl->clayer = layerId;
    return setHeaderVar("$CLAYER", 8, layer->name().kwszPtr());
}

bool KdDbDatabase::tilemode() const {
    KdString v = getHeaderVar("$TILEMODE");
    return v.isEmpty() || v.str() != L"0";
}

Kdad::ErrorStatus KdDbDatabase::setTilemode(bool modelSpace) {
    return setHeaderVar("$TILEMODE", 70, modelSpace ? L"1" : L"0");
}

bool KdDbDatabase::plotStyleMode() const {
    KdString v = getHeaderVar("$PSTYLEMODE");
    return v.isEmpty() || v.str() != L"0";
}

int KdDbDatabase::measurement() const {
    long long v = 0;
    return tvdxf::parseInt(getHeaderVar("$MEASUREMENT").utf8(), v) ? static_cast<int>(v) : 0;
}

KdString KdDbDatabase::getHeaderVar(const char* name) const {
    // The current layer is held by identity, so that it follows a rename.
    if (name && std::string_view(name) == "$CLAYER" && m_impl->clayer.isValid() &&
        !m_impl->clayer.isErased())
        return KdString(decode(tvdxf::trimmed(m_impl->clayer.stub()->object->tagValue(2))));
    int idx = m_impl->headerValueIndex(name);
    if (idx < 0)
        return KdString();
    return KdString(decode(tvdxf::trimmed(m_impl->header[static_cast<size_t>(idx)].value())));
}

Kdad::ErrorStatus KdDbDatabase::setHeaderVar(const char* name, int code, const wchar_t* value) {
    if (!name || name[0] != '$' || !value)
        return Kdad::eInvalidInput;
    if (m_impl->journal->isRecording())
        m_impl->journal->recordHeader();
    m_impl->modified = true;
    std::string raw = encode(value);
    std::string_view stored = m_impl->strings.store(raw);
    KdDbTag tag{stored.data(), static_cast<uint32_t>(stored.size()), static_cast<int16_t>(code)};
    int valueAt = m_impl->headerValueIndex(name);
    if (valueAt >= 0) {
        m_impl->header[static_cast<size_t>(valueAt)] = tag;
        return Kdad::eOk;
    }
    int nameAt = m_impl->headerIndex(name);
    if (nameAt >= 0) {
        // A variable written without a value gets one; the next variable stays as it is.
        m_impl->header.insert(m_impl->header.begin() + nameAt + 1, tag);
        return Kdad::eOk;
    }
    std::string_view n = m_impl->strings.store(name);
    m_impl->header.push_back(KdDbTag{n.data(), static_cast<uint32_t>(n.size()), 9});
    m_impl->header.push_back(tag);
    return Kdad::eOk;
}

KdDbObjectId KdDbDatabase::namedObjectsDictionaryId() const {
    return m_impl->namedObjects;
}

static KdDbObjectId namedEntry(KdDbObjectId dictId, const wchar_t* key) {
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(dictId));
    KdDbObjectId id;
    if (dict && dict->getAt(key, id) == Kdad::eOk)
        return id;
    return KdDbObjectId::kNull;
}

KdDbObjectId KdDbDatabase::layoutDictionaryId() const {
    return namedEntry(m_impl->namedObjects, L"ACAD_LAYOUT");
}

KdDbObjectId KdDbDatabase::plotStyleNameDictionaryId() const {
    return namedEntry(m_impl->namedObjects, L"ACAD_PLOTSTYLENAME");
}

Kdad::ErrorStatus KdDbDatabase::getPlotStyleNameDictionary(KdDbDictionary*& dict,
                                                           KdDb::OpenMode mode) {
    return openAs(plotStyleNameDictionaryId(), dict, mode);
}

KdDbLayerStateManager* KdDbDatabase::getLayerStateManager() const {
    if (!m_impl->layerStates)
        m_impl->layerStates = std::make_unique<KdDbLayerStateManager>(m_impl->self);
    return m_impl->layerStates.get();
}

Kdad::ErrorStatus KdDbDatabase::getKdDbObjectId(KdDbObjectId& id, bool createIfNotFound,
                                                const KdDbHandle& handle) {
    id = KdDbObjectId::kNull;
    if (handle.isNull())
        return Kdad::eNullHandle;
    if (KdDbStub* stub = m_impl->stubOf(handle.value())) {
        id = KdDbObjectId(stub);
        return Kdad::eOk;
    }
    if (!createIfNotFound)
        return Kdad::eKeyNotFound;
    id = KdDbObjectId(m_impl->newStub(handle.value()));
    return Kdad::eOk;
}

KdDbObjectId KdDbDatabase::objectIdOf(uint64_t handle) const {
    return KdDbObjectId(m_impl->stubOf(handle));
}

Kdad::ErrorStatus KdDbDatabase::countHardReferences(const std::vector<KdDbObjectId>& ids,
                                                    std::vector<uint32_t>& counts) const {
    counts.assign(ids.size(), 0);
    std::unordered_map<uint64_t, size_t> wanted;
    for (size_t i = 0; i < ids.size(); ++i)
        wanted.emplace(ids[i].handle().value(), i);
    for (auto& obj : m_impl->objects) {
        if (obj->isErased())
            continue;
        for (const KdDbTag& t : obj->tags()) {
            int c = t.code;
            if (!((c >= 340 && c <= 349) || (c >= 360 && c <= 369) || (c >= 390 && c <= 399)))
                continue;
            uint64_t h = 0;
            if (!tvdxf::parseHandle(t.value(), h))
                continue;
            auto it = wanted.find(h);
            if (it != wanted.end() && obj->getDbHandle().value() != h)
                ++counts[it->second];
        }
    }
    return Kdad::eOk;
}

KdDbObjectId KdDbDatabase::adopt(KdDbObject* obj) {
    KdDbStub* stub = m_impl->newStub(m_impl->nextHandle());
    stub->object = obj;
    KdDbAccess::attach(obj, stub);
    m_impl->objects.emplace_back(obj);
    // New objects carry their handle as their first tag.
    auto t = obj->tags();
    std::vector<KdDbTag> tags(t.begin(), t.end());
    int code = obj->dxfName() == "DIMSTYLE" ? 105 : 5;
    std::string_view h = m_impl->strings.store(tvdxf::formatHandle(stub->handle));
    KdDbTag tag{h.data(), static_cast<uint32_t>(h.size()), static_cast<int16_t>(code)};
    auto it =
        std::find_if(tags.begin(), tags.end(), [code](const KdDbTag& x) { return x.code == code; });
    if (it != tags.end())
        *it = tag;
    else
        tags.insert(tags.begin(), tag);
    KdDbAccess::setTags(obj, std::move(tags));
    m_impl->modified = true;
    if (m_impl->journal->isRecording())
        m_impl->journal->recordCreated(KdDbObjectId(stub));
    return KdDbObjectId(stub);
}

Kdad::ErrorStatus KdDbDatabase::addKdDbObject(KdDbObjectId& id, KdDbObject* obj) {
    if (!obj)
        return Kdad::eNullObjectPointer;
    if (!obj->isNewObject())
        return Kdad::eAlreadyInDb;
    if (dynamic_cast<KdDbEntity*>(obj) || dynamic_cast<KdDbSymbolTableRecord*>(obj))
        return Kdad::eWrongObjectType;
    id = adopt(obj);
    m_impl->objectsSection.push_back(id);
    return Kdad::eOk;
}

KdDbTransactionManager* KdDbDatabase::transactionManager() const {
    return m_impl->transactions.get();
}

std::vector<KdDbObjectCount> KdDbDatabase::countObjects() const {
    std::map<std::string_view, KdDbObjectCount> byType;
    for (auto& obj : m_impl->objects) {
        if (obj->isErased())
            continue;
        KdDbObjectCount& c = byType[obj->dxfName()];
        if (c.count++ == 0) {
            c.type = std::string(obj->dxfName());
            c.entity = dynamic_cast<KdDbEntity*>(obj.get()) != nullptr;
        }
    }
    std::vector<KdDbObjectCount> out;
    out.reserve(byType.size());
    for (auto& [type, c] : byType)
        out.push_back(std::move(c));
    return out;
}

bool KdDbDatabase::isAppRegistered(const wchar_t* appName) const {
    return !recordOf(m_impl->appIdTable, appName).isNull();
}

bool KdDbDatabase::registerApp(const wchar_t* appName) {
    if (!appName || !KdDbSymbolTableRecord::isValidName(appName))
        return false;
    if (isAppRegistered(appName))
        return false;
    auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(m_impl->appIdTable));
    if (!table)
        return false;
    auto* rec = new KdDbRegAppTableRecord();
    // The table is changed by the Host itself here: open it for the duration of the add.
    bool wasOpen = table->isWriteEnabled();
    if (!wasOpen && KdDbAccess::openAs(table, KdDb::kForWrite) != Kdad::eOk) {
        delete rec;
        return false;
    }
    rec->setName(appName);
    Kdad::ErrorStatus es = table->add(rec);
    if (!wasOpen)
        table->close();
    if (es != Kdad::eOk) {
        delete rec;
        return false;
    }
    return true;
}

std::string KdDbDatabase::encode(const std::wstring& text) const {
    return m_impl->codec->encode(text);
}

std::wstring KdDbDatabase::decode(std::string_view raw) const {
    return m_impl->codec->decode(raw);
}

void KdDbDatabase::invalidateIndexes() {
    for (const KdDbObjectId& id : m_impl->tables)
        if (auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(id)))
            KdDbAccess::reindex(table);
}

void kdad_free(void* p) {
    std::free(p);
}
