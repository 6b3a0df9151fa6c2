// Reads DXF text into a database: sections, tables, blocks, entities and objects, keeping every
// tag; repairs missing and duplicate handles and reports them.
#include "DxfDocument.h"
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"
#include "DxfUpgrade.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbSymbolTableRecord.h>

#include <algorithm>
#include <set>
#include <span>

namespace tvdxf {

namespace {

// Index of a record's handle tag: group 5 (105 for dimension styles) among its first tags,
// or -1. The reader and the repair of missing handles must agree on where it is.
int handleIndex(std::span<const KdDbTag> tags, std::string_view type) {
    const int code = type == "DIMSTYLE" ? 105 : 5;
    for (size_t k = 0; k < tags.size() && k < 8; ++k)
        if (tags[k].code == code)
            return static_cast<int>(k);
    return -1;
}

class Reader {
public:
    Reader(KdDbDatabaseImpl& impl) : m_impl(impl), m_tags(impl.fileTags) {}

    bool run(std::string& error, long long& line) {
        bool ok = readSections();
        if (!ok) {
            error = m_error;
            line = m_errorLine;
        }
        return ok;
    }

private:
    bool fail(size_t at, const std::string& what) {
        m_errorLine = lineOfTag(at);
        m_error = "line " + std::to_string(m_errorLine) + ": " + what;
        return false;
    }

    bool failExpected(size_t at, const std::string& expected) {
        if (at >= m_tags.size())
            return fail(m_tags.size(), "expected " + expected + ", found the end of the file");
        const KdDbTag& t = m_tags[at];
        return fail(at, "expected " + expected + ", found group " + std::to_string(t.code) + " \"" +
                            std::string(t.value().substr(0, 40)) + "\"");
    }

    bool is(size_t i, int code, std::string_view value) const {
        return i < m_tags.size() && m_tags[i].code == code && trimmed(m_tags[i].value()) == value;
    }

    // End of the record starting at `i` (its "0 TYPE" tag): the index of the next code-0 tag.
    size_t recordEnd(size_t i) const {
        size_t j = i + 1;
        while (j < m_tags.size() && m_tags[j].code != 0)
            ++j;
        return j;
    }

    bool readSections() {
        size_t i = 0;
        bool sawEof = false;
        while (i < m_tags.size()) {
            if (is(i, 0, "EOF")) {
                sawEof = true;
                ++i;
                break;
            }
            if (!is(i, 0, "SECTION"))
                return failExpected(i, "\"0 SECTION\" or \"0 EOF\"");
            if (i + 1 >= m_tags.size() || m_tags[i + 1].code != 2)
                return failExpected(i + 1, "a section name (group 2)");
            std::string name(trimmed(m_tags[i + 1].value()));
            static constexpr std::string_view kModelled[] = {"HEADER", "CLASSES",  "TABLES",
                                                             "BLOCKS", "ENTITIES", "OBJECTS"};
            bool modelled =
                std::find(std::begin(kModelled), std::end(kModelled), name) != std::end(kModelled);
            if (modelled && !m_seenSections.insert(name).second)
                return fail(i + 1, "section " + name + " appears a second time");
            i += 2;
            bool ok = true;
            if (name == "HEADER")
                ok = readHeader(i);
            else if (name == "TABLES")
                ok = readTables(i);
            else if (name == "BLOCKS")
                ok = readBlocks(i);
            else if (name == "ENTITIES")
                ok = readEntities(i);
            else if (name == "OBJECTS")
                ok = readObjects(i);
            else
                ok = readRaw(i, name);
            if (!ok)
                return false;
            if (!is(i, 0, "ENDSEC"))
                return failExpected(i, "\"0 ENDSEC\" to close section " + name);
            ++i;
        }
        if (!sawEof)
            return failExpected(m_tags.size(), "\"0 EOF\"");
        (void)i;
        return finish();
    }

    bool readHeader(size_t& i) {
        size_t start = i;
        while (i < m_tags.size() && m_tags[i].code != 0)
            ++i;
        if (i > start && m_tags[start].code != 9)
            return failExpected(start, "a header variable name (group 9)");
        m_impl.header.assign(m_tags.begin() + static_cast<long>(start),
                             m_tags.begin() + static_cast<long>(i));
        m_impl.sections.push_back({KdDbSectionKind::Header, 0});
        std::string_view ver = trimmed(valueOfHeader("$ACADVER"));
        m_impl.version = versionOfAcadVer(ver);
        if (m_impl.version == KdDb::kDHL_Unknown) {
            if (ver.empty())
                m_impl.version = KdDb::kDHL_1009;
            else if (ver < "AC1009")
                return fail(start, "unsupported drawing version \"" + std::string(ver) +
                                       "\"; expected AC1009 (R12) to AC1032 (R2018)");
            else if (ver == "AC1012" || ver == "AC1014")
                m_impl.version = KdDb::kDHL_1015; // R13/R14 files have the R2000 structure
            else
                m_impl.version = ver > "AC1032" ? KdDb::kDHL_1032 : KdDb::kDHL_1015;
        }
        if (m_impl.version >= KdDb::kDHL_1021)
            m_impl.codec = std::make_unique<DxfCodec>();
        else
            m_impl.codec = std::make_unique<DxfCodec>(valueOfHeader("$DWGCODEPAGE"));
        return true;
    }

    std::string_view valueOfHeader(std::string_view name) const {
        // A variable without a value is followed directly by the next variable's name.
        int idx = m_impl.headerValueIndex(name);
        return idx < 0 ? std::string_view() : m_impl.header[static_cast<size_t>(idx)].value();
    }

    bool readRaw(size_t& i, const std::string& name) {
        size_t start = i;
        while (i < m_tags.size() && !is(i, 0, "ENDSEC")) {
            if (is(i, 0, "SECTION") || is(i, 0, "EOF"))
                return failExpected(i, "\"0 ENDSEC\" to close section " + name);
            ++i;
        }
        KdDbRawSection raw;
        raw.name = name;
        raw.tags.assign(m_tags.begin() + static_cast<long>(start),
                        m_tags.begin() + static_cast<long>(i));
        m_impl.rawSections.push_back(std::move(raw));
        m_impl.sections.push_back(
            {name == "CLASSES" ? KdDbSectionKind::Classes : KdDbSectionKind::Raw,
             m_impl.rawSections.size() - 1});
        return true;
    }

    // Creates the object of the record at `i` (tags up to `end`) and registers its handle.
    KdDbObject* makeObject(size_t i, size_t end, bool inTables, std::string_view tableName,
                           bool isEntity = false) {
        std::string_view type = trimmed(m_tags[i].value());
        std::unique_ptr<KdDbObject> obj = kdCreateObjectOfType(type, inTables, tableName, isEntity);
        KdDbAccess::setTypeName(obj.get(), type);
        KdDbAccess::setBorrowedTags(obj.get(), m_tags.data() + i + 1, static_cast<uint32_t>(end - i - 1));
        uint64_t handle = 0;
        int at = handleIndex(std::span<const KdDbTag>(m_tags.data() + i + 1, end - i - 1), type);
        bool hasHandle = at >= 0 &&
                         parseHandle(m_tags[i + 1 + static_cast<size_t>(at)].value(), handle) &&
                         handle != 0;
        KdDbObject* raw = obj.get();
        if (hasHandle && !m_impl.stubOf(handle)) {
            KdDbStub* stub = m_impl.newStub(handle);
            stub->object = raw;
            KdDbAccess::attach(raw, stub);
        } else {
            if (hasHandle)
                m_impl.warnings.push_back("line " + std::to_string(lineOfTag(i)) +
                                          ": duplicate handle " + tvdxf::formatHandle(handle) +
                                          " of " + std::string(type) +
                                          "; the record gets a new handle");
            else if (m_impl.version > KdDb::kDHL_1009 && type != "CLASS")
                m_impl.warnings.push_back("line " + std::to_string(lineOfTag(i)) + ": " +
                                          std::string(type) + " without a handle gets one");
            m_needHandle.push_back(raw);
        }
        m_impl.objects.push_back(std::move(obj));
        return raw;
    }

    bool readTables(size_t& i) {
        m_impl.sections.push_back({KdDbSectionKind::Tables, 0});
        while (i < m_tags.size() && !is(i, 0, "ENDSEC")) {
            if (!is(i, 0, "TABLE"))
                return failExpected(i, "\"0 TABLE\" or \"0 ENDSEC\"");
            size_t end = recordEnd(i);
            if (i + 1 >= end || m_tags[i + 1].code != 2)
                return failExpected(i + 1, "a table name (group 2)");
            std::string_view tableName = trimmed(m_tags[i + 1].value());
            auto* table = dynamic_cast<KdDbSymbolTable*>(makeObject(i, end, true, tableName));
            m_tableHeads.push_back(table);
            i = end;
            while (i < m_tags.size() && !is(i, 0, "ENDTAB")) {
                if (m_tags[i].code != 0)
                    return failExpected(i, "a table record (group 0)");
                if (is(i, 0, "ENDSEC") || is(i, 0, "TABLE") || is(i, 0, "EOF"))
                    return failExpected(i, "\"0 ENDTAB\" to close table " + std::string(tableName));
                end = recordEnd(i);
                KdDbObject* rec = makeObject(i, end, true, tableName);
                m_tableRecords.push_back({table, rec});
                i = end;
            }
            if (i >= m_tags.size())
                return failExpected(i, "\"0 ENDTAB\"");
            i = recordEnd(i); // ENDTAB carries no data we keep
        }
        return true;
    }

    bool readBlocks(size_t& i) {
        m_impl.sections.push_back({KdDbSectionKind::Blocks, 0});
        while (i < m_tags.size() && !is(i, 0, "ENDSEC")) {
            if (!is(i, 0, "BLOCK"))
                return failExpected(i, "\"0 BLOCK\" or \"0 ENDSEC\"");
            size_t end = recordEnd(i);
            Block block;
            block.begin = makeObject(i, end, false, {}, true);
            i = end;
            while (i < m_tags.size() && !is(i, 0, "ENDBLK")) {
                if (is(i, 0, "ENDSEC") || is(i, 0, "BLOCK") || is(i, 0, "EOF") ||
                    is(i, 0, "SECTION"))
                    return failExpected(i, "\"0 ENDBLK\" to close the block");
                end = recordEnd(i);
                block.entities.push_back(makeObject(i, end, false, {}, true));
                i = end;
            }
            if (i >= m_tags.size())
                return failExpected(i, "\"0 ENDBLK\"");
            end = recordEnd(i);
            block.end = makeObject(i, end, false, {}, true);
            i = end;
            m_blocks.push_back(std::move(block));
        }
        return true;
    }

    bool readEntities(size_t& i) {
        m_impl.sections.push_back({KdDbSectionKind::Entities, 0});
        while (i < m_tags.size() && !is(i, 0, "ENDSEC")) {
            if (m_tags[i].code != 0)
                return failExpected(i, "an entity (group 0)");
            if (is(i, 0, "SECTION") || is(i, 0, "EOF"))
                return failExpected(i, "\"0 ENDSEC\" to close section ENTITIES");
            size_t end = recordEnd(i);
            m_entities.push_back(makeObject(i, end, false, {}, true));
            i = end;
        }
        return true;
    }

    bool readObjects(size_t& i) {
        m_impl.sections.push_back({KdDbSectionKind::Objects, 0});
        while (i < m_tags.size() && !is(i, 0, "ENDSEC")) {
            if (m_tags[i].code != 0)
                return failExpected(i, "an object (group 0)");
            if (is(i, 0, "SECTION") || is(i, 0, "EOF"))
                return failExpected(i, "\"0 ENDSEC\" to close section OBJECTS");
            size_t end = recordEnd(i);
            m_objects.push_back(makeObject(i, end, false, {}));
            i = end;
        }
        return true;
    }

    // Second pass: handles, tables, block membership, layers of entities.
    bool finish() {
        for (KdDbObject* obj : m_needHandle)
            giveHandle(obj);

        for (KdDbSymbolTable* table : m_tableHeads)
            m_impl.tables.push_back(table->objectId());
        for (auto& [table, rec] : m_tableRecords) {
            auto* record = dynamic_cast<KdDbSymbolTableRecord*>(rec);
            if (!record)
                continue;
            KdDbAccess::loadName(record);
            KdDbAccess::appendLoadedRecord(table, record->objectId());
        }
        m_impl.bindWellKnown();

        // Blocks: BLOCK's owner is its block record; R12 has none, matched by name then.
        auto* blockTable = dynamic_cast<KdDbBlockTable*>(
            m_impl.blockTable.stub() ? m_impl.blockTable.stub()->object : nullptr);
        for (Block& block : m_blocks) {
            KdDbBlockTableRecord* btr = blockRecordOf(block.begin, blockTable);
            KdDbAccess::setBlockBeginEnd(btr, block.begin->objectId(), block.end->objectId());
            for (KdDbObject* e : block.entities)
                KdDbAccess::appendLoadedEntity(btr, e->objectId());
            m_impl.blockOrder.push_back(btr->objectId());
        }
        m_impl.bindWellKnown();

        for (KdDbObject* e : m_entities) {
            m_impl.entitiesSection.push_back(e->objectId());
            KdDbObjectId owner = e->ownerId();
            KdDbObject* ownerObj = owner.stub() ? owner.stub()->object : nullptr;
            auto* btr = dynamic_cast<KdDbBlockTableRecord*>(ownerObj);
            if (!btr && !owner.isNull())
                btr = m_lastEntityBlock; // attributes, vertices and their end marker
            if (!btr) {
                auto* ent = dynamic_cast<KdDbEntity*>(e);
                KdDbObjectId space =
                    ent && ent->isInPaperSpace() ? m_impl.paperSpace : m_impl.modelSpace;
                btr = space.stub() ? dynamic_cast<KdDbBlockTableRecord*>(space.stub()->object)
                                   : nullptr;
            }
            if (btr) {
                KdDbAccess::appendLoadedEntity(btr, e->objectId());
                m_lastEntityBlock = btr;
            }
        }
        for (KdDbObject* o : m_objects)
            m_impl.objectsSection.push_back(o->objectId());
        m_impl.bindWellKnown();
        m_impl.bindEntityLayers();
        checkOwners();
        return true;
    }

    KdDbBlockTableRecord* blockRecordOf(KdDbObject* begin, KdDbBlockTable* blockTable) {
        // A record already given a BLOCK (two blocks claiming one record) is not taken again.
        auto usable = [](KdDbObject* obj) {
            auto* btr = dynamic_cast<KdDbBlockTableRecord*>(obj);
            return btr && btr->blockBeginId().isNull() ? btr : nullptr;
        };
        KdDbObjectId owner = begin->ownerId();
        if (auto* btr = usable(owner.stub() ? owner.stub()->object : nullptr))
            return btr;
        std::wstring name = m_impl.codec->decode(trimmed(begin->tagValue(2)));
        if (blockTable) {
            KdDbObjectId id;
            if (blockTable->getAt(name.c_str(), id) == Kdad::eOk)
                if (auto* btr = usable(id.stub()->object))
                    return btr;
        }
        // No block record (R12): keep a record of our own that is not part of any table.
        auto btr = std::make_unique<KdDbBlockTableRecord>();
        KdDbAccess::setTypeName(btr.get(), "BLOCK_RECORD");
        KdDbBlockTableRecord* raw = btr.get();
        KdDbStub* stub = m_impl.newStub(m_impl.nextHandle());
        stub->object = raw;
        KdDbAccess::attach(raw, stub);
        m_impl.objects.push_back(std::move(btr));
        std::string encoded = m_impl.codec->encode(name);
        std::vector<KdDbTag> tags;
        auto add = [&](int code, std::string_view v) {
            std::string_view s = m_impl.strings.store(v);
            tags.push_back(
                KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)});
        };
        add(2, encoded);
        add(70, "0");
        KdDbAccess::setBorrowedTags(raw, nullptr, 0);
        KdDbAccess::setTags(raw, std::move(tags));
        KdDbAccess::loadName(raw);
        KdDbAccess::setModifiedFlag(raw, false);
        m_syntheticBlocks.push_back(raw);
        return raw;
    }

    void giveHandle(KdDbObject* obj) {
        uint64_t handle = m_impl.nextHandle();
        KdDbStub* stub = m_impl.newStub(handle);
        stub->object = obj;
        KdDbAccess::attach(obj, stub);
        if (obj->dxfName() == "CLASS")
            return;
        std::string hex;
        for (uint64_t h = handle; h; h >>= 4)
            hex.insert(hex.begin(), "0123456789ABCDEF"[h & 15]);
        std::string_view v = m_impl.strings.store(hex);
        auto t = obj->tags();
        std::vector<KdDbTag> tags(t.begin(), t.end());
        int code = obj->dxfName() == "DIMSTYLE" ? 105 : 5;
        KdDbTag tag{v.data(), static_cast<uint32_t>(v.size()), static_cast<int16_t>(code)};
        int at = handleIndex(tags, obj->dxfName());
        if (at >= 0)
            tags[static_cast<size_t>(at)] = tag;
        else
            tags.insert(tags.begin() + (obj->dxfName() == "TABLE" && !tags.empty() ? 1 : 0), tag);
        KdDbAccess::setTags(obj, std::move(tags));
    }

    void checkOwners() {
        size_t reported = 0;
        for (auto& obj : m_impl.objects) {
            auto t = obj->tags();
            for (size_t k = 0; k < t.size() && k < 16; ++k) {
                if (t[k].code == 100 || t[k].code == 1001)
                    break;
                if (t[k].code != 330)
                    continue;
                uint64_t h = 0;
                if (parseHandle(t[k].value(), h) && h != 0 && !m_impl.stubOf(h) && reported++ < 50)
                    m_impl.warnings.push_back("owner " + std::string(trimmed(t[k].value())) +
                                              " of " + std::string(obj->dxfName()) + " " +
                                              obj->getDbHandle().ascii() +
                                              " does not exist; kept as it is");
            }
        }
    }

    struct Block {
        KdDbObject* begin = nullptr;
        KdDbObject* end = nullptr;
        std::vector<KdDbObject*> entities;
    };

    KdDbDatabaseImpl& m_impl;
    const std::vector<KdDbTag>& m_tags;
    std::string m_error;
    long long m_errorLine = 0;
    std::set<std::string> m_seenSections;
    std::vector<KdDbObject*> m_needHandle;
    std::vector<KdDbSymbolTable*> m_tableHeads;
    std::vector<std::pair<KdDbSymbolTable*, KdDbObject*>> m_tableRecords;
    std::vector<Block> m_blocks;
    std::vector<KdDbObject*> m_entities;
    std::vector<KdDbObject*> m_objects;
    std::vector<KdDbBlockTableRecord*> m_syntheticBlocks;
    KdDbBlockTableRecord* m_lastEntityBlock = nullptr;
};

} // namespace

const char* acadVerOf(KdDb::DwgVersion v) {
    switch (v) {
    case KdDb::kDHL_1009:
        return "AC1009";
    case KdDb::kDHL_1015:
        return "AC1015";
    case KdDb::kDHL_1018:
        return "AC1018";
    case KdDb::kDHL_1021:
        return "AC1021";
    case KdDb::kDHL_1024:
        return "AC1024";
    case KdDb::kDHL_1027:
        return "AC1027";
    default:
        return "AC1032";
    }
}

KdDb::DwgVersion versionOfAcadVer(std::string_view v) {
    v = trimmed(v);
    static constexpr std::pair<std::string_view, KdDb::DwgVersion> kMap[] = {
        {"AC1009", KdDb::kDHL_1009}, {"AC1015", KdDb::kDHL_1015}, {"AC1018", KdDb::kDHL_1018},
        {"AC1021", KdDb::kDHL_1021}, {"AC1024", KdDb::kDHL_1024}, {"AC1027", KdDb::kDHL_1027},
        {"AC1032", KdDb::kDHL_1032}};
    for (auto& [name, ver] : kMap)
        if (name == v)
            return ver;
    return KdDb::kDHL_Unknown;
}

namespace {
// True for a drawing whose header says R12 (or has no version at all).
bool isR12(const std::vector<KdDbTag>& tags) {
    for (size_t i = 0; i + 1 < tags.size() && i < 64; ++i) {
        if (tags[i].code == 9 && trimmed(tags[i].value()) == "$ACADVER")
            return tags[i + 1].code != 1 || trimmed(tags[i + 1].value()) <= "AC1009";
        if (tags[i].code == 0 && trimmed(tags[i].value()) == "ENDSEC")
            break;
    }
    return true;
}
} // namespace

bool readDocument(KdDbDatabaseImpl& impl, std::string& error, long long& errorLine) {
    TokenizeResult tr = tokenize(impl.fileText, impl.fileTags);
    if (!tr.ok) {
        errorLine = tr.errorLine;
        error = "line " + std::to_string(tr.errorLine) + ": " + tr.message;
        return false;
    }
    if (impl.fileTags.empty()) {
        errorLine = 1;
        error = "line 1: expected \"0 SECTION\", found an empty file";
        return false;
    }
    if (isR12(impl.fileTags)) {
        // R12 drawings are held (and saved) with the structure of R2000. The drawing is read
        // as it is first, so that a fault is reported against the file's own lines.
        {
            KdDbDatabaseImpl check(impl.self);
            check.fileTags = impl.fileTags;
            check.codec = std::make_unique<DxfCodec>("ANSI_1252");
            check.version = KdDb::kDHL_1009;
            Reader checker(check);
            if (!checker.run(error, errorLine))
                return false;
        }
        std::string upgraded;
        if (!upgradeR12(impl.fileTags, upgraded, error)) {
            errorLine = 0;
            return false;
        }
        impl.fileTags.clear();
        impl.fileText = std::move(upgraded);
        TokenizeResult again = tokenize(impl.fileText, impl.fileTags);
        if (!again.ok) {
            error = "line " + std::to_string(again.errorLine) + ": " + again.message;
            return false;
        }
        impl.warnings.push_back("R12 drawing: held and saved with the structure of R2000");
    }
    impl.codec = std::make_unique<DxfCodec>("ANSI_1252");
    impl.version = KdDb::kDHL_1009;
    // One object a record: sizing the handle map once saves its rehashing on large drawings.
    size_t records = 0;
    for (const KdDbTag& t : impl.fileTags)
        records += t.code == 0 ? 1 : 0;
    impl.byHandle.reserve(records + 64);
    impl.objects.reserve(records + 64);
    Reader reader(impl);
    return reader.run(error, errorLine);
}

} // namespace tvdxf
