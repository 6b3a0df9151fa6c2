// Ads-style database calls on the drawing database: entity names, lists of tags, table and
// dictionary walks.
#include <tv/KdDbAds.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbDictionary.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbSymbolTableRecord.h>
#include <tv/KdUtf8.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <map>
#include <string>
#include <vector>

namespace {

KdDbDatabase* s_curDwg = nullptr;

/// Positions of the table and dictionary walks: the index of the entry the next call gives.
struct KdDbAdsWalks {
    KdDbDatabase* db = nullptr;
    std::map<std::string, size_t> tables;
    std::map<const KdDbStub*, size_t> dicts;
};
KdDbAdsWalks* s_walks = nullptr;

KdDbAdsWalks& walks() {
    if (!s_walks)
        s_walks = new KdDbAdsWalks();
    if (s_walks->db != s_curDwg) {
        s_walks->tables.clear();
        s_walks->dicts.clear();
        s_walks->db = s_curDwg;
    }
    return *s_walks;
}

/// A record of a table the Host does not model with its own class; it knows its marker so that
/// a new record is written with it.
class KdDbAdsTableRecord : public KdDbSymbolTableRecord {
public:
    KdDbAdsTableRecord(std::string_view type, std::string_view marker)
        : KdDbSymbolTableRecord(type), m_marker(marker) {}
    std::string_view subclassMarker() const override { return m_marker; }

private:
    std::string_view m_marker;
};

struct TableKind {
    const char* table;
    const char* marker;
};

constexpr TableKind kTables[] = {
    {"LAYER", "AcDbLayerTableRecord"},        {"LTYPE", "AcDbLinetypeTableRecord"},
    {"APPID", "AcDbRegAppTableRecord"},       {"STYLE", "AcDbTextStyleTableRecord"},
    {"VIEW", "AcDbViewTableRecord"},          {"UCS", "AcDbUCSTableRecord"},
    {"VPORT", "AcDbViewportTableRecord"},     {"DIMSTYLE", "AcDbDimStyleTableRecord"},
    {"BLOCK_RECORD", "AcDbBlockTableRecord"},
};

const TableKind* tableKindOf(std::string_view type) {
    for (const TableKind& k : kTables)
        if (tvdxf::equalsNoCase(type, k.table))
            return &k;
    return nullptr;
}

std::string upperAscii(std::wstring_view s) {
    std::string out;
    for (wchar_t c : s)
        out.push_back(c < 128 ? tvAsciiUpper(static_cast<char>(c)) : '?');
    return out;
}

KdDbDatabase* databaseOfName(const kd_name name) {
    return name ? reinterpret_cast<KdDbDatabase*>(name[1]) : nullptr;
}

KdDbObject* objectOfName(const kd_name name) {
    KdDbDatabase* db = databaseOfName(name);
    KdDbStub* stub = db ? tvdb::stubOfName(db, name) : nullptr;
    return stub ? stub->object : nullptr;
}

void setName(kd_name name, KdDbObjectId id) {
    name[0] = reinterpret_cast<int64_t>(id.stub());
    name[1] = reinterpret_cast<int64_t>(id.database());
}

KdDbSymbolTable* tableOf(KdDbDatabase* db, std::string_view name) {
    KdDbObjectId id = db->tableId(name);
    return dynamic_cast<KdDbSymbolTable*>(id.stub() ? id.stub()->object : nullptr);
}

/// The entget list of `obj`, with the extended data of `apps` after (-3) when asked for.
resbuf* entList(KdDbObject* obj, bool withXData, const resbuf* apps) {
    KdDbDatabase* db = obj->database();
    resbuf* head = kdutNewRb(-1);
    if (!head)
        return nullptr;
    setName(head->resval.rlname, obj->objectId());
    resbuf* tail = kdutNewRb(0);
    head->rbnext = tail;
    if (!tail) {
        kdutRelRb(head);
        return nullptr;
    }
    tail->resval.rstring = tvdb::newResbufString(tvFromUtf8(obj->dxfName()));
    auto tags = obj->tags();
    size_t xs = static_cast<size_t>(obj->xdataStart());
    tail->rbnext = tvdb::tagsToResbuf(db, tags.subspan(0, xs));
    if (auto* ent = dynamic_cast<KdDbEntity*>(obj)) {
        // Group 8 follows renames of the layer, also when the stored text is older.
        for (resbuf* rb = tail->rbnext; rb; rb = rb->rbnext) {
            if (rb->restype == 8) {
                delete[] rb->resval.rstring;
                rb->resval.rstring = tvdb::newResbufString(ent->layer().str());
                break;
            }
        }
    }
    while (tail->rbnext)
        tail = tail->rbnext;
    if (!withXData)
        return head;
    std::vector<std::wstring> wanted;
    bool all = false;
    for (const resbuf* rb = apps; rb; rb = rb->rbnext) {
        if ((rb->restype != 1001 && rb->restype != RTSTR) || !rb->resval.rstring)
            continue;
        std::wstring app = rb->resval.rstring;
        all = all || app == L"*";
        if (std::none_of(wanted.begin(), wanted.end(),
                         [&](const std::wstring& w) { return tvEqualsNoCase(w, app); }))
            wanted.push_back(app);
    }
    resbuf* xdata = nullptr;
    if (all) {
        xdata = obj->xData(nullptr);
    } else {
        resbuf* xtail = nullptr;
        for (const std::wstring& app : wanted) {
            resbuf* part = obj->xData(app.c_str());
            if (!part)
                continue;
            (xtail ? xtail->rbnext : xdata) = part;
            xtail = part;
            while (xtail->rbnext)
                xtail = xtail->rbnext;
        }
    }
    if (xdata) {
        resbuf* marker = kdutNewRb(-3);
        if (!marker) {
            kdutRelRb(xdata);
            kdutRelRb(head);
            return nullptr;
        }
        marker->rbnext = xdata;
        tail->rbnext = marker;
    }
    return head;
}

/// Same value in both entries of one group code (a point compared on the coordinates the object
/// stores: `dims` 2 or 3).
bool sameValue(const resbuf* a, const resbuf* b, int dims) {
    switch (kdutValueKind(a->restype)) {
    case KdRbValueKind::kString:
        return a->resval.rstring && b->resval.rstring &&
               std::wcscmp(a->resval.rstring, b->resval.rstring) == 0;
    case KdRbValueKind::kReal:
        return a->resval.rreal == b->resval.rreal;
    case KdRbValueKind::kPoint:
        for (int k = 0; k < dims; ++k)
            if (a->resval.rpoint[k] != b->resval.rpoint[k])
                return false;
        return true;
    case KdRbValueKind::kShort:
        return a->resval.rint == b->resval.rint;
    case KdRbValueKind::kLong:
        return a->resval.rlong == b->resval.rlong;
    case KdRbValueKind::kInt64:
        return a->resval.mnInt64 == b->resval.mnInt64;
    case KdRbValueKind::kName:
        return a->resval.rlname[0] == b->resval.rlname[0];
    case KdRbValueKind::kBinary:
        return a->resval.rbinary.clen == b->resval.rbinary.clen &&
               std::memcmp(a->resval.rbinary.buf, b->resval.rbinary.buf,
                           static_cast<size_t>(std::max<short>(a->resval.rbinary.clen, 0))) == 0;
    case KdRbValueKind::kNone:
        return true;
    }
    return false;
}

/// One value of the object's main data: the tags of a group code (a point spans its Y and Z).
struct TagUnit {
    int code;
    size_t begin;
    size_t end;
};

std::vector<TagUnit> unitsOf(std::span<const KdDbTag> tags) {
    std::vector<TagUnit> units;
    size_t i = 0;
    while (i < tags.size()) {
        int code = tags[i].code;
        size_t j = i + 1;
        int y = kdutValueKind(code) == KdRbValueKind::kPoint ? tvdb::pointYCode(code) : 0;
        if (y && j < tags.size() && tags[j].code == y) {
            ++j;
            if (j < tags.size() && tags[j].code == y + 10)
                ++j;
        }
        units.push_back({code, i, j});
        i = j;
    }
    return units;
}

/// Checks of values whose meaning the database knows; false for a value it must refuse.
/// `layer` is set for a group 8 of an entity.
bool valueAllowed(KdDbDatabase* db, bool isEntity, bool recordOrEntity, const resbuf* rb,
                  KdDbObjectId* layer) {
    int code = rb->restype;
    if (code == 62)
        return rb->resval.rint >= -256 && rb->resval.rint <= 256;
    if (code == 370)
        return KdDb::isValidLineWeight(rb->resval.rint);
    if (code == 6 && recordOrEntity) {
        KdDbSymbolTable* table = tableOf(db, "LTYPE");
        KdDbObjectId id;
        return rb->resval.rstring && table && table->getAt(rb->resval.rstring, id) == Kdad::eOk;
    }
    if (code == 8 && isEntity) {
        KdDbSymbolTable* table = tableOf(db, "LAYER");
        KdDbObjectId id;
        if (!rb->resval.rstring || !table || table->getAt(rb->resval.rstring, id) != Kdad::eOk)
            return false;
        if (layer)
            *layer = id;
    }
    return true;
}

/// Checks the extended data after (-3) the way setXData takes it: registered applications first,
/// then values of codes 1000-1071.
bool xdataAllowed(KdDbDatabase* db, const resbuf* rb) {
    bool inApp = false;
    for (; rb; rb = rb->rbnext) {
        std::vector<KdDbTag> scratch;
        if (rb->restype == 1001) {
            if (!rb->resval.rstring || !db->isAppRegistered(rb->resval.rstring))
                return false;
            inApp = true;
        } else if (!inApp || rb->restype < 1000 || rb->restype > 1071) {
            return false;
        }
        if (!tvdb::oneResbufToTags(db, rb, scratch, nullptr))
            return false;
    }
    return true;
}

bool isRecordOrEntity(const KdDbObject* obj) {
    return dynamic_cast<const KdDbEntity*>(obj) || dynamic_cast<const KdDbSymbolTableRecord*>(obj);
}

/// Codes a new object gets from the database rather than from the caller's list.
bool assignedByDatabase(int code) {
    return code == 5 || code == 105 || code == 330 || code == 102 || code == 360 ||
           (code < 0 && code != -3);
}

/// The tags of a new object from the main part of `list` (after "0 type", up to (-3)); the
/// entries are checked as entmod checks them. `xdata` is set to the (-3) entry, if any.
bool newObjectTags(KdDbDatabase* db, const resbuf* list, bool isEntity, bool recordOrEntity,
                   bool keepMarkers, std::vector<KdDbTag>& tags, std::wstring* name,
                   const resbuf*& xdata, KdDbObjectId* layer = nullptr) {
    xdata = nullptr;
    // Handles, owner and reactor groups come first and are the database's to assign; once the
    // data has begun, references (an xrecord's 330 entries, say) are data like any other.
    bool inHead = true;
    for (const resbuf* rb = list; rb; rb = rb->rbnext) {
        if (rb->restype == -3) {
            xdata = rb;
            return xdataAllowed(db, rb->rbnext);
        }
        if (rb->restype == 0 || (rb->restype >= 1000 && rb->restype <= 1071))
            return false;
        if (inHead && assignedByDatabase(rb->restype))
            continue;
        inHead = false;
        if (rb->restype == 100 && !keepMarkers)
            continue;
        if (kdutValueKind(rb->restype) == KdRbValueKind::kNone ||
            !valueAllowed(db, isEntity, recordOrEntity, rb, layer))
            return false;
        if (name && rb->restype == 2) {
            if (!name->empty() || !rb->resval.rstring)
                return false;
            *name = rb->resval.rstring;
            continue;
        }
        if (!tvdb::oneResbufToTags(db, rb, tags, nullptr))
            return false;
    }
    return true;
}

void addDefault(KdDbDatabase* db, std::vector<KdDbTag>& tags, size_t& at, int code,
                std::string_view raw) {
    if (std::any_of(tags.begin(), tags.end(), [code](const KdDbTag& t) { return t.code == code; }))
        return;
    std::string_view s = KdDbAccess::storeString(db, raw);
    tags.insert(tags.begin() + static_cast<long>(at),
                KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)});
    ++at;
}

/// Applies the extended data of a new object; its list was checked before the object was made.
void applyNewXData(KdDbObjectId id, const resbuf* xdata) {
    if (!xdata || !xdata->rbnext)
        return;
    KdDbObjectPointer<KdDbObject> obj(id, KdDb::kForWrite);
    if (obj)
        obj->setXData(xdata);
}

/// Makes a record of table `kind` from the list after "0 type".
int makeRecord(KdDbDatabase* db, const TableKind& kind, const resbuf* rest, KdDbObjectId& id) {
    KdDbSymbolTable* tableObj = tableOf(db, kind.table);
    if (!tableObj)
        return RTERROR;
    std::vector<KdDbTag> tags;
    std::wstring name;
    const resbuf* xdata = nullptr;
    if (!newObjectTags(db, rest, false, true, false, tags, &name, xdata))
        return RTERROR;
    if (!KdDbSymbolTableRecord::isValidName(name) || tableObj->has(name.c_str()))
        return RTERROR;
    std::string_view type = KdDbAccess::storeString(db, kind.table);
    std::unique_ptr<KdDbSymbolTableRecord> rec;
    if (type == "LAYER" || type == "LTYPE" || type == "APPID" || type == "BLOCK_RECORD") {
        auto made = kdCreateObjectOfType(type, true, type, false);
        rec.reset(dynamic_cast<KdDbSymbolTableRecord*>(made.release()));
    } else {
        rec = std::make_unique<KdDbAdsTableRecord>(type, kind.marker);
    }
    if (!rec)
        return RTERROR;
    // What a reader expects of every record of the table.
    size_t at = 0;
    addDefault(db, tags, at, 70, "0");
    if (type == "LAYER") {
        addDefault(db, tags, at, 62, "7");
        addDefault(db, tags, at, 6, "Continuous");
    } else if (type == "LTYPE") {
        addDefault(db, tags, at, 3, "");
        addDefault(db, tags, at, 72, "65");
        addDefault(db, tags, at, 73, "0");
        addDefault(db, tags, at, 40, "0.0");
    }
    KdDbAccess::setTags(rec.get(), std::move(tags));
    if (rec->setName(name.c_str()) != Kdad::eOk)
        return RTERROR;
    KdDbObjectPointer<KdDbSymbolTable> table(tableObj->objectId(), KdDb::kForWrite);
    if (!table || table->add(id, rec.get()) != Kdad::eOk)
        return RTERROR;
    rec.release();
    table.close();
    applyNewXData(id, xdata);
    return RTNORM;
}

bool isObjectType(std::string_view type) {
    return type == "XRECORD" || type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT" ||
           type == "LAYOUT" || type == "PLOTSETTINGS" || type == "DICTIONARYVAR" ||
           type == "GROUP" || type == "MLINESTYLE";
}

/// The type of a list that starts with (0 type), upper-cased; empty when it does not.
std::string typeOfList(const resbuf* list) {
    if (!list || list->restype != 0 || !list->resval.rstring)
        return {};
    return upperAscii(list->resval.rstring);
}

int makeEntity(KdDbDatabase* db, const std::string& typeText, const resbuf* rest,
               KdDbObjectId& id) {
    if (typeText == "BLOCK" || typeText == "ENDBLK" || typeText == "SEQEND" ||
        typeText == "TABLE" || isObjectType(typeText))
        return RTERROR;
    std::vector<KdDbTag> tags;
    const resbuf* xdata = nullptr;
    KdDbObjectId layer;
    if (!newObjectTags(db, rest, true, true, true, tags, nullptr, xdata, &layer))
        return RTERROR;
    std::string_view type = KdDbAccess::storeString(db, typeText);
    std::unique_ptr<KdDbObject> made = kdCreateObjectOfType(type, false, {}, true);
    auto* entity = dynamic_cast<KdDbEntity*>(made.get());
    if (!entity)
        return RTERROR;
    KdDbAccess::setTags(entity, std::move(tags));
    KdDbObjectPointer<KdDbBlockTableRecord> space(db->modelSpaceId(), KdDb::kForWrite);
    if (!space || space->appendKdDbEntity(id, entity) != Kdad::eOk)
        return RTERROR;
    made.release();
    space.close();
    if (!entity->boundLayer() && !layer.isNull()) {
        // The block binds the layer it names only when the entity is open; do it here.
        KdDbObjectPointer<KdDbEntity> opened(id, KdDb::kForWrite);
        if (opened)
            opened->setLayer(layer);
    }
    applyNewXData(id, xdata);
    return RTNORM;
}

int makeObject(KdDbDatabase* db, const std::string& typeText, const resbuf* rest,
               KdDbObjectId& id) {
    std::vector<KdDbTag> tags;
    const resbuf* xdata = nullptr;
    if (!newObjectTags(db, rest, false, false, true, tags, nullptr, xdata))
        return RTERROR;
    std::string_view type = KdDbAccess::storeString(db, typeText);
    std::unique_ptr<KdDbObject> obj = kdCreateObjectOfType(type, false, {}, false);
    if (!obj || isRecordOrEntity(obj.get()))
        return RTERROR;
    // Owned by nothing until a dictionary takes it; the subclass marker when the list has none.
    size_t at = 0;
    addDefault(db, tags, at, 330, "0");
    if (type == "XRECORD")
        addDefault(db, tags, at, 100, "AcDbXrecord");
    else if (type == "DICTIONARY")
        addDefault(db, tags, at, 100, "AcDbDictionary");
    KdDbAccess::setTags(obj.get(), std::move(tags));
    if (db->addKdDbObject(id, obj.get()) != Kdad::eOk)
        return RTERROR;
    obj.release();
    applyNewXData(id, xdata);
    return RTNORM;
}

/// The name of a table for the table calls ("BLOCK" is the block record table); empty for a
/// table they do not walk.
std::string tableNameOf(const wchar_t* table) {
    if (!table)
        return {};
    std::string name = upperAscii(table);
    if (name == "BLOCK")
        return "BLOCK_RECORD";
    return tableKindOf(name) ? name : std::string();
}

/// What the table calls answer for a record. A block's entry is its BLOCK entity, as the
/// table calls have always given it: its flags (70, bit 4 an external reference) and path (1)
/// live there, not in the block record.
resbuf* tableEntryList(KdDbObject* record) {
    if (auto* block = dynamic_cast<KdDbBlockTableRecord*>(record)) {
        const KdDbObjectId begin = block->blockBeginId();
        if (begin.isValid() && !begin.isErased() && begin.stub()->object)
            return entList(begin.stub()->object, false, nullptr);
    }
    return entList(record, false, nullptr);
}

KdDbDictionary* dictionaryOfName(const kd_name dict) {
    KdDbObject* obj = objectOfName(dict);
    return obj && !obj->isErased() ? dynamic_cast<KdDbDictionary*>(obj) : nullptr;
}

} // namespace

// -- Current drawing and names --

KdDbDatabase* kddbCurDwg() {
    return s_curDwg;
}

void kddbSetCurDwg(KdDbDatabase* db) {
    s_curDwg = db;
    walks();
}

int kddbGetQdsName(kd_name name, KdDbObjectId id) {
    if (!name)
        return RTERROR;
    if (id.isNull() || !id.database()) {
        name[0] = name[1] = 0;
        return RTERROR;
    }
    setName(name, id);
    return RTNORM;
}

int kddbGetObjectId(KdDbObjectId& id, const kd_name name) {
    KdDbDatabase* db = databaseOfName(name);
    KdDbStub* stub = db ? tvdb::stubOfName(db, name) : nullptr;
    if (!stub || !stub->object) {
        id = KdDbObjectId::kNull;
        return RTERROR;
    }
    id = KdDbObjectId(stub);
    return RTNORM;
}

// -- Object data --

resbuf* kddbEntGet(const kd_name name) {
    KdDbObject* obj = objectOfName(name);
    return obj && !obj->isErased() ? entList(obj, false, nullptr) : nullptr;
}

resbuf* kddbEntGetX(const kd_name name, const resbuf* apps) {
    KdDbObject* obj = objectOfName(name);
    return obj && !obj->isErased() ? entList(obj, true, apps) : nullptr;
}

int kddbEntMod(const resbuf* list) {
    if (!list || list->restype != -1)
        return RTERROR;
    KdDbObject* target = objectOfName(list->resval.rlname);
    if (!target)
        return RTERROR;
    KdDbDatabase* db = target->database();
    KdDbObjectPointer<KdDbObject> obj(target->objectId(), KdDb::kForWrite);
    if (!obj)
        return RTERROR;
    auto* entity = dynamic_cast<KdDbEntity*>(target);
    auto* record = dynamic_cast<KdDbSymbolTableRecord*>(target);
    const bool recordOrEntity = entity || record;

    auto tags = target->tags();
    const size_t xs = static_cast<size_t>(target->xdataStart());
    const std::span<const KdDbTag> mainTags = tags.subspan(0, xs);
    const std::vector<TagUnit> units = unitsOf(mainTags);

    std::vector<std::vector<KdDbTag>> replaced(units.size());
    std::vector<bool> isReplaced(units.size(), false);
    std::vector<std::vector<KdDbTag>> appendedAfter(units.size() + 1); // last: end of main data
    std::map<int, int> seen;
    std::wstring newName;
    KdDbObjectId newLayer;
    const resbuf* xdata = nullptr;
    bool changed = false;

    // Check every entry and work out the new tags; nothing is changed before all are checked.
    for (const resbuf* rb = list->rbnext; rb; rb = rb->rbnext) {
        const int code = rb->restype;
        if (code == -3) {
            if (!xdataAllowed(db, rb->rbnext))
                return RTERROR;
            xdata = rb;
            break;
        }
        if (code < 0 || (code >= 1000 && code <= 1071))
            return RTERROR;
        if (code == 0) {
            if (!rb->resval.rstring ||
                !tvdxf::equalsNoCase(tvToUtf8(rb->resval.rstring), target->dxfName()))
                return RTERROR;
            continue;
        }
        if (code == 5 || code == 105) {
            uint64_t h = 0;
            if (!rb->resval.rstring || !tvdxf::parseHandle(tvToUtf8(rb->resval.rstring), h) ||
                h != target->getDbHandle().value())
                return RTERROR;
            continue;
        }
        const int k = seen[code]++;
        // The k-th unit of this code in the object, and the last one of the code.
        int found = -1;
        int last = -1;
        int count = 0;
        for (size_t u = 0; u < units.size(); ++u) {
            if (units[u].code != code)
                continue;
            if (count++ == k)
                found = static_cast<int>(u);
            last = static_cast<int>(u);
        }
        // A code without a value kind (101 markers) only stands for the tag the object has.
        if (kdutValueKind(code) == KdRbValueKind::kNone) {
            if (found < 0)
                return RTERROR;
            continue;
        }
        std::vector<KdDbTag> newTags;
        if (!tvdb::oneResbufToTags(db, rb, newTags, nullptr))
            return RTERROR;
        KdDbObjectId layer;
        if (!valueAllowed(db, entity != nullptr, recordOrEntity, rb, &layer))
            return RTERROR;
        bool unchanged = false;
        if (found >= 0) {
            const TagUnit& unit = units[static_cast<size_t>(found)];
            const size_t dims = unit.end - unit.begin;
            size_t at = 0;
            KdResbufPtr old(tvdb::tagToResbuf(db, mainTags.subspan(unit.begin, dims), at));
            if (kdutValueKind(code) == KdRbValueKind::kPoint && dims < newTags.size())
                newTags.resize(dims); // keep the object's 2D points 2D
            const int compared = static_cast<int>(std::min<size_t>(dims, 3));
            unchanged = old && sameValue(old.get(), rb, compared);
        }
        // Ownership and class structure stay as they are.
        if ((code == 330 || code == 100) && !unchanged)
            return RTERROR;
        if (code == 2 && record) {
            if (k > 0)
                return RTERROR;
            std::wstring name = rb->resval.rstring;
            if (name != record->name().str()) {
                if (!KdDbSymbolTableRecord::isValidName(name) || record->isDependent() ||
                    (target->dxfName() == "LAYER" && record->name().str() == L"0"))
                    return RTERROR;
                auto* table = dynamic_cast<KdDbSymbolTable*>(
                    target->ownerId().stub() ? target->ownerId().stub()->object : nullptr);
                KdDbObjectId other;
                if (table && table->getAt(name.c_str(), other) == Kdad::eOk &&
                    other != target->objectId())
                    return RTERROR;
                newName = name;
            }
        }
        if (code == 8 && entity) {
            if (k > 0)
                return RTERROR;
            if (layer != entity->layerId()) {
                newLayer = layer;
                changed = true;
            }
            continue;
        }
        if (unchanged)
            continue;
        changed = true;
        if (found >= 0) {
            replaced[static_cast<size_t>(found)] = std::move(newTags);
            isReplaced[static_cast<size_t>(found)] = true;
        } else {
            auto& slot = appendedAfter[last >= 0 ? static_cast<size_t>(last) : units.size()];
            slot.insert(slot.end(), newTags.begin(), newTags.end());
        }
    }

    // Apply: the name through the record (it keeps the table's index), then the tags, the
    // layer binding and the extended data.
    if (!newName.empty() && record->setName(newName.c_str()) != Kdad::eOk)
        return RTERROR;
    if (changed) {
        std::vector<KdDbTag> out;
        out.reserve(tags.size() + 8);
        for (size_t u = 0; u < units.size(); ++u) {
            if (isReplaced[u])
                out.insert(out.end(), replaced[u].begin(), replaced[u].end());
            else
                out.insert(out.end(), mainTags.begin() + static_cast<long>(units[u].begin),
                           mainTags.begin() + static_cast<long>(units[u].end));
            out.insert(out.end(), appendedAfter[u].begin(), appendedAfter[u].end());
        }
        out.insert(out.end(), appendedAfter[units.size()].begin(),
                   appendedAfter[units.size()].end());
        out.insert(out.end(), tags.begin() + static_cast<long>(xs), tags.end());
        if (KdDbAccess::replaceTags(target, std::move(out)) != Kdad::eOk)
            return RTERROR;
        if (!newLayer.isNull() && entity->setLayer(newLayer) != Kdad::eOk)
            return RTERROR;
    }
    if (xdata && xdata->rbnext && target->setXData(xdata) != Kdad::eOk)
        return RTERROR;
    return RTNORM;
}

int kddbEntMake(const resbuf* list) {
    KdDbDatabase* db = s_curDwg;
    std::string type = typeOfList(list);
    if (!db || type.empty())
        return RTERROR;
    KdDbObjectId id;
    if (const TableKind* kind = tableKindOf(type))
        return makeRecord(db, *kind, list->rbnext, id);
    return makeEntity(db, type, list->rbnext, id);
}

int kddbEntMakeX(const resbuf* list, kd_name result) {
    KdDbDatabase* db = s_curDwg;
    std::string type = typeOfList(list);
    if (!db || type.empty() || !result)
        return RTERROR;
    KdDbObjectId id;
    const TableKind* kind = tableKindOf(type);
    int rc =
        kind ? makeRecord(db, *kind, list->rbnext, id) : makeObject(db, type, list->rbnext, id);
    if (rc == RTNORM)
        setName(result, id);
    return rc;
}

int kddbEntDel(const kd_name name) {
    KdDbObject* target = objectOfName(name);
    if (!target || dynamic_cast<KdDbSymbolTableRecord*>(target) ||
        dynamic_cast<KdDbSymbolTable*>(target) || dynamic_cast<KdDbBlockBegin*>(target) ||
        dynamic_cast<KdDbBlockEnd*>(target) ||
        target->objectId() == target->database()->namedObjectsDictionaryId())
        return RTERROR;
    KdDbObjectPointer<KdDbObject> obj(target->objectId(), KdDb::kForWrite, true);
    if (!obj)
        return RTERROR;
    return obj->erase(!obj->isErased()) == Kdad::eOk ? RTNORM : RTERROR;
}

// -- Tables --

resbuf* kddbTblSearch(const wchar_t* table, const wchar_t* name, int setnext) {
    std::string tableName = tableNameOf(table);
    if (!s_curDwg || tableName.empty() || !name)
        return nullptr;
    KdDbSymbolTable* t = tableOf(s_curDwg, tableName);
    KdDbObjectId id;
    if (!t || t->getAt(name, id) != Kdad::eOk)
        return nullptr;
    if (setnext) {
        const auto& ids = t->recordIds();
        auto it = std::find(ids.begin(), ids.end(), id);
        walks().tables[tableName] = static_cast<size_t>(it - ids.begin()) + 1;
    }
    return tableEntryList(id.stub()->object);
}

resbuf* kddbTblNext(const wchar_t* table, int rewind) {
    std::string tableName = tableNameOf(table);
    if (!s_curDwg || tableName.empty())
        return nullptr;
    KdDbSymbolTable* t = tableOf(s_curDwg, tableName);
    if (!t)
        return nullptr;
    size_t& pos = walks().tables[tableName];
    if (rewind)
        pos = 0;
    const auto& ids = t->recordIds();
    while (pos < ids.size() && (!ids[pos].isValid() || ids[pos].isErased()))
        ++pos;
    if (pos >= ids.size())
        return nullptr;
    return tableEntryList(ids[pos++].stub()->object);
}

// -- Dictionaries --

resbuf* kddbDictSearch(const kd_name dict, const wchar_t* key, int setnext) {
    KdDbDictionary* d = dictionaryOfName(dict);
    KdDbObjectId id;
    if (!d || !key || d->getAt(key, id) != Kdad::eOk || !id.isValid())
        return nullptr;
    if (setnext) {
        const auto& entries = d->entries();
        auto it = std::find_if(entries.begin(), entries.end(),
                               [&](const KdDbDictionaryEntry& e) { return e.id == id; });
        walks().dicts[d->objectId().stub()] = static_cast<size_t>(it - entries.begin()) + 1;
    }
    return entList(id.stub()->object, false, nullptr);
}

resbuf* kddbDictNext(const kd_name dict, int rewind) {
    KdDbDictionary* d = dictionaryOfName(dict);
    if (!d)
        return nullptr;
    size_t& pos = walks().dicts[d->objectId().stub()];
    if (rewind)
        pos = 0;
    const auto& entries = d->entries();
    while (pos < entries.size() && (!entries[pos].id.isValid() || entries[pos].id.isErased()))
        ++pos;
    if (pos >= entries.size())
        return nullptr;
    return entList(entries[pos++].id.stub()->object, false, nullptr);
}

int kddbDictAdd(const kd_name dict, const wchar_t* key, const kd_name obj) {
    KdDbDictionary* d = dictionaryOfName(dict);
    KdDbObject* member = objectOfName(obj);
    if (!d || !member || !key || !*key || member->isErased() || isRecordOrEntity(member) ||
        member->database() != d->database() || member == d || d->has(key))
        return RTERROR;
    // Only an object that nothing owns can join a dictionary.
    KdDbObjectId owner = member->ownerId();
    if (!owner.isNull() && owner.isValid() && !owner.isErased())
        return RTERROR;
    KdDbObjectPointer<KdDbDictionary> dictW(d->objectId(), KdDb::kForWrite);
    KdDbObjectPointer<KdDbObject> memberW(member->objectId(), KdDb::kForWrite);
    if (!dictW || !memberW)
        return RTERROR;
    if (dictW->setAt(key, member->objectId()) != Kdad::eOk)
        return RTERROR;
    memberW->setOwnerId(d->objectId());
    memberW->addPersistentReactor(d->objectId());
    return RTNORM;
}

int kddbDictRemove(const kd_name dict, const wchar_t* key) {
    KdDbDictionary* d = dictionaryOfName(dict);
    if (!d || !key)
        return RTERROR;
    KdDbObjectPointer<KdDbDictionary> dictW(d->objectId(), KdDb::kForWrite);
    KdDbObjectId removed;
    if (!dictW || dictW->remove(key, removed) != Kdad::eOk)
        return RTERROR;
    return RTNORM;
}

int kddbNamedObjDict(kd_name result) {
    if (!s_curDwg || !result)
        return RTERROR;
    return kddbGetQdsName(result, s_curDwg->namedObjectsDictionaryId());
}

int kddbRegApp(const wchar_t* app) {
    return s_curDwg && app && s_curDwg->registerApp(app) ? RTNORM : RTERROR;
}
