// Symbol tables: records in order, a name index that ignores case, the record iterator.
#include <tv/KdDbSymbolTable.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTableRecord.h>

#include <tv/KdUtf8.h>

namespace {

std::wstring upper(const std::wstring& s) {
    std::wstring u(s);
    for (auto& c : u)
        c = tvUpper(c);
    return u;
}

KdDbObject* objectOf(KdDbObjectId id) {
    return id.stub() ? id.stub()->object : nullptr;
}

class KdDbSymbolTableState : public KdDbObjectState {
public:
    std::vector<KdDbObjectId> records;
};

} // namespace

KdDbSymbolTableIterator::KdDbSymbolTableIterator(std::vector<KdDbObjectId> records, bool skipErased)
    : m_records(std::move(records)), m_skipErased(skipErased) {
    skip();
}

void KdDbSymbolTableIterator::skip() {
    while (m_skipErased && m_pos < m_records.size() && m_records[m_pos].isErased())
        ++m_pos;
}

Kdad::ErrorStatus KdDbSymbolTableIterator::getRecordId(KdDbObjectId& id) const {
    if (done())
        return Kdad::eInvalidIndex;
    id = m_records[m_pos];
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbSymbolTableIterator::getRecord(KdDbSymbolTableRecord*& rec,
                                                     KdDb::OpenMode mode, bool openErased) const {
    rec = nullptr;
    if (done())
        return Kdad::eInvalidIndex;
    return kddbOpenObject(rec, m_records[m_pos], mode, openErased);
}

KdDbSymbolTable::KdDbSymbolTable(std::string_view tableName)
    : KdDbObject("TABLE"), m_tableName(tableName) {}

KdDbSymbolTable::~KdDbSymbolTable() = default;

void KdDbSymbolTable::ensureIndex() const {
    if (m_indexValid)
        return;
    m_index.clear();
    m_index.reserve(m_records.size());
    for (const KdDbObjectId& id : m_records) {
        auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(id));
        if (!rec || rec->isErased())
            continue;
        m_index.emplace(upper(rec->cachedName()), id); // the first of duplicates wins
    }
    m_indexValid = true;
}

void KdDbSymbolTable::reindex() {
    m_indexValid = false;
}

void KdDbSymbolTable::nameChanged(const std::wstring& oldName, const std::wstring& newName,
                                  KdDbObjectId id) {
    if (!m_indexValid)
        return;
    auto it = m_index.find(upper(oldName));
    if (it != m_index.end() && it->second == id)
        m_index.erase(it);
    if (!newName.empty())
        m_index[upper(newName)] = id;
}

Kdad::ErrorStatus KdDbSymbolTable::getAt(const wchar_t* name, KdDbObjectId& id,
                                         bool getErased) const {
    id = KdDbObjectId::kNull;
    if (!name)
        return Kdad::eInvalidInput;
    ensureIndex();
    auto it = m_index.find(upper(name));
    if (it != m_index.end()) {
        id = it->second;
        return Kdad::eOk;
    }
    if (getErased) {
        std::wstring wanted = upper(name);
        for (const KdDbObjectId& rid : m_records) {
            auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(rid));
            if (rec && upper(rec->cachedName()) == wanted) {
                id = rid;
                return Kdad::eOk;
            }
        }
    }
    return Kdad::eKeyNotFound;
}

Kdad::ErrorStatus KdDbSymbolTable::getAt(const wchar_t* name, KdDbSymbolTableRecord*& rec,
                                         KdDb::OpenMode mode, bool openErased) const {
    rec = nullptr;
    KdDbObjectId id;
    Kdad::ErrorStatus es = getAt(name, id, openErased);
    if (es != Kdad::eOk)
        return es;
    return kddbOpenObject(rec, id, mode, openErased);
}

bool KdDbSymbolTable::has(const wchar_t* name) const {
    KdDbObjectId id;
    return getAt(name, id) == Kdad::eOk;
}

bool KdDbSymbolTable::has(KdDbObjectId id) const {
    if (id.isNull() || id.isErased())
        return false;
    auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(id));
    if (!rec)
        return false;
    KdDbObjectId found;
    return getAt(rec->cachedName().c_str(), found) == Kdad::eOk && found == id;
}

bool KdDbSymbolTable::acceptsRecord(const KdDbSymbolTableRecord* rec) const {
    return rec->dxfName() == m_tableName;
}

Kdad::ErrorStatus KdDbSymbolTable::add(KdDbSymbolTableRecord* rec) {
    KdDbObjectId id;
    return add(id, rec);
}

Kdad::ErrorStatus KdDbSymbolTable::add(KdDbObjectId& id, KdDbSymbolTableRecord* rec) {
    if (!rec)
        return Kdad::eNullObjectPointer;
    if (!rec->isNewObject())
        return Kdad::eAlreadyInDb;
    if (!acceptsRecord(rec))
        return Kdad::eWrongObjectType;
    if (!isWriteEnabled())
        return Kdad::eNotOpenForWrite;
    const std::wstring& name = rec->cachedName();
    if (!KdDbSymbolTableRecord::isValidName(name))
        return Kdad::eInvalidSymbolTableName;
    if (has(name.c_str()))
        return Kdad::eDuplicateRecordName;
    KdDbDatabase* db = database();
    recordChange();
    // The record's tags: handle, owner, subclass markers, then what it was built with.
    auto t = rec->tags();
    std::vector<KdDbTag> tags;
    auto add = [&](int code, std::string_view v) {
        std::string_view s = KdDbAccess::storeString(db, v);
        tags.push_back(
            KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)});
    };
    add(rec->dxfName() == "DIMSTYLE" ? 105 : 5, "0");
    add(330, getDbHandle().ascii());
    if (db->version() > KdDb::kDHL_1009) {
        add(100, "AcDbSymbolTableRecord");
        add(100, rec->subclassMarker());
    }
    tags.insert(tags.end(), t.begin(), t.end());
    // A record built before it had a database holds its name in wide form only.
    for (auto& tag : tags) {
        if (tag.code == 2) {
            std::string raw = db->encode(name);
            std::string_view s = KdDbAccess::storeString(db, raw);
            tag.data = s.data();
            tag.size = static_cast<uint32_t>(s.size());
        }
    }
    KdDbAccess::setTags(rec, std::move(tags));
    id = KdDbAccess::adopt(db, rec);
    m_records.push_back(id);
    if (m_indexValid)
        m_index.emplace(upper(name), id);
    if (auto* btr = dynamic_cast<KdDbBlockTableRecord*>(rec)) {
        // A new block needs its BLOCK and ENDBLK records to be written.
        auto* begin = new KdDbBlockBegin();
        auto* end = new KdDbBlockEnd();
        std::string raw = db->encode(name);
        std::vector<KdDbTag> bt, et;
        auto tagOf = [&](int code, std::string_view v) {
            std::string_view s = KdDbAccess::storeString(db, v);
            return KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)};
        };
        std::string owner = id.handle().ascii();
        bt = {tagOf(330, owner), tagOf(100, "AcDbEntity"),
              tagOf(8, "0"),     tagOf(100, "AcDbBlockBegin"),
              tagOf(2, raw),     tagOf(70, "0"),
              tagOf(10, "0.0"),  tagOf(20, "0.0"),
              tagOf(30, "0.0"),  tagOf(3, raw),
              tagOf(1, "")};
        et = {tagOf(330, owner), tagOf(100, "AcDbEntity"), tagOf(8, "0"),
              tagOf(100, "AcDbBlockEnd")};
        KdDbAccess::setTags(begin, std::move(bt));
        KdDbAccess::setTags(end, std::move(et));
        KdDbObjectId bid = KdDbAccess::adopt(db, begin);
        KdDbObjectId eid = KdDbAccess::adopt(db, end);
        KdDbAccess::bindLayer(begin, db->layerZero().stub());
        KdDbAccess::bindLayer(end, db->layerZero().stub());
        KdDbAccess::setBlockBeginEnd(btr, bid, eid);
        KdDbAccess::impl(db).blockOrder.push_back(id);
    }
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbSymbolTable::newIterator(KdDbSymbolTableIterator*& it, bool atBeginning,
                                               bool skipErased) const {
    it = new KdDbSymbolTableIterator(m_records, skipErased);
    if (!atBeginning)
        while (!it->done())
            it->step();
    return Kdad::eOk;
}

std::unique_ptr<KdDbSymbolTableIterator> KdDbSymbolTable::iterator(bool skipErased) const {
    return std::make_unique<KdDbSymbolTableIterator>(m_records, skipErased);
}

size_t KdDbSymbolTable::count() const {
    size_t n = 0;
    for (const KdDbObjectId& id : m_records)
        n += id.isErased() ? 0 : 1;
    return n;
}

void KdDbSymbolTable::appendLoadedRecord(KdDbObjectId id) {
    m_records.push_back(id);
    m_indexValid = false;
}

std::unique_ptr<KdDbObjectState> KdDbSymbolTable::saveState() const {
    auto state = std::make_unique<KdDbSymbolTableState>();
    saveStateInto(*state);
    state->records = m_records;
    return state;
}

void KdDbSymbolTable::restoreState(const KdDbObjectState& state) {
    KdDbObject::restoreState(state);
    if (auto* s = dynamic_cast<const KdDbSymbolTableState*>(&state))
        m_records = s->records;
    m_indexValid = false;
}

// -- Layer, linetype and block tables --

KdDbLayerTable::KdDbLayerTable() : KdDbSymbolTable("LAYER") {}
KdDbLayerTable::~KdDbLayerTable() = default;

Kdad::ErrorStatus KdDbLayerTable::getAt(const wchar_t* name, KdDbLayerTableRecord*& rec,
                                        KdDb::OpenMode mode, bool openErased) const {
    rec = nullptr;
    KdDbObjectId id;
    Kdad::ErrorStatus es = KdDbSymbolTable::getAt(name, id, openErased);
    return es != Kdad::eOk ? es : kddbOpenObject(rec, id, mode, openErased);
}

bool KdDbLayerTable::acceptsRecord(const KdDbSymbolTableRecord* rec) const {
    return dynamic_cast<const KdDbLayerTableRecord*>(rec) != nullptr;
}

void KdDbLayerTable::generateUsageData() {
    KdDbDatabase* db = database();
    std::unordered_map<KdDbStub*, bool> used;
    KdDbAccess::forEachObject(db, [&](KdDbObject* obj) {
        auto* ent = dynamic_cast<KdDbEntity*>(obj);
        if (ent && !ent->isErased() && ent->boundLayer())
            used[ent->boundLayer()] = true;
    });
    KdDbObjectId current = db->clayer();
    for (const KdDbObjectId& id : recordIds()) {
        auto* layer = dynamic_cast<KdDbLayerTableRecord*>(objectOf(id));
        if (!layer)
            continue;
        std::wstring name = upper(layer->cachedName());
        bool inUse = used.count(id.stub()) > 0 || id == current || name == L"0" ||
                     name == L"DEFPOINTS" || layer->isDependent();
        layer->setIsInUseBit(inUse);
    }
}

KdDbLinetypeTable::KdDbLinetypeTable() : KdDbSymbolTable("LTYPE") {}
KdDbLinetypeTable::~KdDbLinetypeTable() = default;

Kdad::ErrorStatus KdDbLinetypeTable::getAt(const wchar_t* name, KdDbLinetypeTableRecord*& rec,
                                           KdDb::OpenMode mode, bool openErased) const {
    rec = nullptr;
    KdDbObjectId id;
    Kdad::ErrorStatus es = KdDbSymbolTable::getAt(name, id, openErased);
    return es != Kdad::eOk ? es : kddbOpenObject(rec, id, mode, openErased);
}

bool KdDbLinetypeTable::acceptsRecord(const KdDbSymbolTableRecord* rec) const {
    return dynamic_cast<const KdDbLinetypeTableRecord*>(rec) != nullptr;
}

KdDbBlockTable::KdDbBlockTable() : KdDbSymbolTable("BLOCK_RECORD") {}
KdDbBlockTable::~KdDbBlockTable() = default;

Kdad::ErrorStatus KdDbBlockTable::getAt(const wchar_t* name, KdDbBlockTableRecord*& rec,
                                        KdDb::OpenMode mode, bool openErased) const {
    rec = nullptr;
    KdDbObjectId id;
    Kdad::ErrorStatus es = KdDbSymbolTable::getAt(name, id, openErased);
    return es != Kdad::eOk ? es : kddbOpenObject(rec, id, mode, openErased);
}

bool KdDbBlockTable::acceptsRecord(const KdDbSymbolTableRecord* rec) const {
    return dynamic_cast<const KdDbBlockTableRecord*>(rec) != nullptr;
}
