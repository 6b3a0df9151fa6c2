// Writes a database as DXF text: every object's tags as they are kept, with the values the
// database owns (handle seed, current layer, entity layer names) brought up to date.
#include "DxfDocument.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbSymbolTable.h>

#include <algorithm>
#include <charconv>
#include <unordered_set>

namespace tvdxf {

namespace {

class Writer {
public:
    Writer(const KdDbDatabaseImpl& impl, std::string& out, const TextSink* sink)
        : m_impl(impl), m_out(out), m_sink(sink) {}

    void flushIfFull() {
        if (m_sink && m_ok && m_out.size() >= kChunk) {
            m_ok = (*m_sink)(m_out);
            m_out.clear();
        }
    }
    bool finish() {
        if (m_sink && m_ok && !m_out.empty()) {
            m_ok = (*m_sink)(m_out);
            m_out.clear();
        }
        return m_ok;
    }

    void tag(int code, std::string_view value) {
        appendTag(m_out, code, value);
        flushIfFull();
    }
    void tags(std::span<const KdDbTag> list) {
        for (const KdDbTag& t : list)
            tag(t.code, t.value());
    }

    void object(const KdDbObjectId& id) {
        KdDbObject* obj = id.stub() ? id.stub()->object : nullptr;
        if (!obj || obj->isErased())
            return;
        tag(0, obj->dxfName());
        auto* ent = dynamic_cast<const KdDbEntity*>(obj);
        KdDbStub* layer = ent ? ent->boundLayer() : nullptr;
        if (!layer || !layer->object) {
            tags(obj->tags());
            return;
        }
        // The layer of an entity is written by the name its layer has now.
        bool done = false;
        for (const KdDbTag& t : obj->tags()) {
            if (!done && t.code == 8) {
                tag(8, layer->object->tagValue(2));
                done = true;
            } else {
                tag(t.code, t.value());
            }
        }
    }

    void header(KdDb::DwgVersion version) {
        const auto& h = m_impl.header;
        bool wroteSeed = false;
        for (size_t i = 0; i < h.size(); ++i) {
            const KdDbTag& t = h[i];
            if (t.code == 9 && i + 1 < h.size() && h[i + 1].code != 9) {
                std::string_view name = trimmed(t.value());
                const KdDbTag& v = h[i + 1];
                if (name == "$ACADVER") {
                    tag(9, t.value());
                    tag(v.code, acadVerOf(version));
                    ++i;
                    continue;
                }
                KdDbObject* clayer = m_impl.clayer.stub() ? m_impl.clayer.stub()->object : nullptr;
                if (name == "$CLAYER" && clayer && !clayer->isErased()) {
                    tag(9, t.value());
                    tag(v.code, clayer->tagValue(2));
                    ++i;
                    continue;
                }
                if (name == "$HANDSEED") {
                    tag(9, t.value());
                    tag(5, formatHandleSeed());
                    wroteSeed = true;
                    ++i;
                    continue;
                }
            }
            tag(t.code, t.value());
        }
        if (!wroteSeed) {
            tag(9, "$HANDSEED");
            tag(5, formatHandleSeed());
        }
    }

    // One past the highest handle that is written: handles taken by records that are not
    // written (erased ones, or block records the file did not have) do not move the seed, so
    // a drawing read back and saved again keeps it.
    bool inEntitiesSection(const KdDbObjectId& id) {
        if (m_entitiesSet.empty() && !m_impl.entitiesSection.empty())
            for (const KdDbObjectId& e : m_impl.entitiesSection)
                m_entitiesSet.insert(e.stub());
        return m_entitiesSet.count(id.stub()) != 0;
    }

    std::string formatHandleSeed() const {
        uint64_t top = 0;
        auto see = [&top](const KdDbObjectId& id) {
            if (id.isValid() && !id.isErased())
                top = std::max(top, id.stub()->handle);
        };
        for (const KdDbObjectId& tableId : m_impl.tables) {
            see(tableId);
            if (auto* table = dynamic_cast<KdDbSymbolTable*>(tableId.stub()->object))
                for (const KdDbObjectId& rec : table->recordIds())
                    see(rec);
        }
        for (const KdDbObjectId& btrId : m_impl.blockOrder) {
            auto* btr = dynamic_cast<KdDbBlockTableRecord*>(btrId.stub()->object);
            if (!btr || btr->isErased())
                continue;
            see(btr->blockBeginId());
            see(btr->blockEndId());
            for (const KdDbObjectId& e : btr->entityIds())
                see(e);
        }
        for (const KdDbObjectId& e : m_impl.entitiesSection)
            see(e);
        for (const KdDbObjectId& o : m_impl.objectsSection)
            see(o);
        return tvdxf::formatHandle(top + 1);
    }

    bool write(KdDb::DwgVersion version) {
        if (m_sink)
            m_out.reserve(kChunk + 64 * 1024);
        else
            m_out.reserve(m_impl.fileText.size() + m_impl.fileText.size() / 8 + 4096);
        for (const KdDbSectionRef& s : m_impl.sections) {
            tag(0, "SECTION");
            switch (s.kind) {
            case KdDbSectionKind::Header:
                tag(2, "HEADER");
                header(version);
                break;
            case KdDbSectionKind::Classes:
            case KdDbSectionKind::Raw:
                tag(2, m_impl.rawSections[s.rawIndex].name);
                tags(m_impl.rawSections[s.rawIndex].tags);
                break;
            case KdDbSectionKind::Tables:
                tag(2, "TABLES");
                for (const KdDbObjectId& tableId : m_impl.tables) {
                    auto* table = dynamic_cast<KdDbSymbolTable*>(tableId.stub()->object);
                    object(tableId);
                    for (const KdDbObjectId& rec : table->recordIds())
                        object(rec);
                    tag(0, "ENDTAB");
                }
                break;
            case KdDbSectionKind::Blocks:
                tag(2, "BLOCKS");
                for (const KdDbObjectId& btrId : m_impl.blockOrder) {
                    auto* btr = dynamic_cast<KdDbBlockTableRecord*>(btrId.stub()->object);
                    if (!btr || btr->isErased() || btr->blockBeginId().isNull())
                        continue;
                    object(btr->blockBeginId());
                    // The spaces' entities are written in ENTITIES, except any that the file
                    // had inside the space's BLOCK definition itself.
                    bool space = btrId == m_impl.modelSpace || btrId == m_impl.paperSpace;
                    for (const KdDbObjectId& e : btr->entityIds())
                        if (!space || !inEntitiesSection(e))
                            object(e);
                    object(btr->blockEndId());
                }
                break;
            case KdDbSectionKind::Entities:
                tag(2, "ENTITIES");
                for (const KdDbObjectId& e : m_impl.entitiesSection)
                    object(e);
                break;
            case KdDbSectionKind::Objects:
                tag(2, "OBJECTS");
                for (const KdDbObjectId& o : m_impl.objectsSection)
                    object(o);
                break;
            }
            tag(0, "ENDSEC");
        }
        tag(0, "EOF");
        return finish();
    }

private:
    static constexpr size_t kChunk = 1 << 20;
    const KdDbDatabaseImpl& m_impl;
    std::string& m_out;
    const TextSink* m_sink;
    bool m_ok = true;
    std::unordered_set<const KdDbStub*> m_entitiesSet;
};

} // namespace

bool writeDocument(const KdDbDatabaseImpl& impl, KdDb::DwgVersion version, std::string& out,
                   std::string& error) {
    if (version < KdDb::kDHL_1015 && impl.version > KdDb::kDHL_1009) {
        error = "cannot write a drawing of a later version as R12";
        return false;
    }
    Writer writer(impl, out, nullptr);
    return writer.write(version);
}

bool writeDocument(const KdDbDatabaseImpl& impl, KdDb::DwgVersion version, const TextSink& sink,
                   std::string& error) {
    if (version < KdDb::kDHL_1015 && impl.version > KdDb::kDHL_1009) {
        error = "cannot write a drawing of a later version as R12";
        return false;
    }
    std::string buffer;
    Writer writer(impl, buffer, &sink);
    if (!writer.write(version)) {
        error = "output error";
        return false;
    }
    return true;
}

} // namespace tvdxf
