// Turns an R12 drawing's tags into R2000 DXF text.
#include "DxfUpgrade.h"

#include "DxfDocument.h"
#include "DxfTokenizer.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <span>
#include <string_view>

namespace tvdxf {

namespace {

using Tags = std::span<const KdDbTag>;

struct Record {
    std::string_view type;
    Tags tags; // after the "0 TYPE" tag
};

// Codes of the entity-wide part of an R12 entity (they come first, after the handle).
bool isCommonCode(int c) {
    return c == 8 || c == 6 || c == 62 || c == 67 || c == 48 || c == 60 || c == 370;
}

std::string_view recordMarker(std::string_view table) {
    if (table == "VPORT")
        return "AcDbViewportTableRecord";
    if (table == "LTYPE")
        return "AcDbLinetypeTableRecord";
    if (table == "LAYER")
        return "AcDbLayerTableRecord";
    if (table == "STYLE")
        return "AcDbTextStyleTableRecord";
    if (table == "VIEW")
        return "AcDbViewTableRecord";
    if (table == "UCS")
        return "AcDbUCSTableRecord";
    if (table == "APPID")
        return "AcDbRegAppTableRecord";
    if (table == "DIMSTYLE")
        return "AcDbDimStyleTableRecord";
    if (table == "BLOCK_RECORD")
        return "AcDbBlockTableRecord";
    return {};
}

class Upgrader {
public:
    Upgrader(const std::vector<KdDbTag>& tags, std::string& out) : m_tags(tags), m_out(out) {}

    bool run(std::string& error) {
        if (!split(error))
            return false;
        for (const KdDbTag& t : m_tags) {
            uint64_t h = 0;
            if ((t.code == 5 || t.code == 105) && parseHandle(t.value(), h))
                m_seed = std::max(m_seed, h + 1);
        }
        planBlocks();
        writeHeader();
        tag(0, "SECTION");
        tag(2, "CLASSES");
        tag(0, "ENDSEC");
        writeTables();
        writeBlocks();
        writeEntities();
        writeObjects();
        for (const auto& raw : m_rawSections) {
            tag(0, "SECTION");
            tag(2, raw.first);
            for (const KdDbTag& t : raw.second)
                tag(t.code, t.value());
            tag(0, "ENDSEC");
        }
        tag(0, "EOF");
        // The handle seed is known only now: patch it into the header.
        std::string seed = tvdxf::formatHandle(m_seed);
        size_t at = m_out.find(kSeedMark);
        if (at != std::string::npos)
            m_out.replace(at, kSeedMark.size(), seed);
        return true;
    }

private:
    static constexpr std::string_view kSeedMark = "@HANDSEED@";

    void tag(int code, std::string_view value) { appendTag(m_out, code, value); }
    std::string newHandle() { return tvdxf::formatHandle(m_seed++); }

    // Handle of a record: its own when it has one, a new one otherwise.
    std::string handleOf(Tags t, int code = 5) {
        for (size_t i = 0; i < t.size() && i < 4; ++i) {
            uint64_t h = 0;
            if (t[i].code == code && parseHandle(t[i].value(), h) && h != 0 &&
                m_usedHandles.insert(h).second)
                return tvdxf::formatHandle(h);
        }
        return newHandle();
    }

    bool split(std::string& error) {
        size_t i = 0;
        auto is = [&](size_t k, int code, std::string_view v) {
            return k < m_tags.size() && m_tags[k].code == code && trimmed(m_tags[k].value()) == v;
        };
        while (i < m_tags.size() && !is(i, 0, "EOF")) {
            if (!is(i, 0, "SECTION") || i + 1 >= m_tags.size() || m_tags[i + 1].code != 2) {
                error = "line " + std::to_string(lineOfTag(i)) + ": expected \"0 SECTION\"";
                return false;
            }
            std::string name(trimmed(m_tags[i + 1].value()));
            size_t start = i + 2;
            size_t end = start;
            while (end < m_tags.size() && !is(end, 0, "ENDSEC"))
                ++end;
            if (end >= m_tags.size()) {
                error = "line " + std::to_string(lineOfTag(end)) + ": expected \"0 ENDSEC\"";
                return false;
            }
            Tags body(m_tags.data() + start, end - start);
            if (name == "HEADER")
                m_header = body;
            else if (name == "TABLES")
                m_tables = records(body);
            else if (name == "BLOCKS")
                m_blocks = records(body);
            else if (name == "ENTITIES")
                m_entities = records(body);
            else if (name != "CLASSES" && name != "OBJECTS")
                m_rawSections.emplace_back(name, std::vector<KdDbTag>(body.begin(), body.end()));
            i = end + 1;
        }
        return true;
    }

    static std::vector<Record> records(Tags body) {
        std::vector<Record> out;
        size_t i = 0;
        while (i < body.size()) {
            size_t j = i + 1;
            while (j < body.size() && body[j].code != 0)
                ++j;
            out.push_back({trimmed(body[i].value()), body.subspan(i + 1, j - i - 1)});
            i = j;
        }
        return out;
    }

    static std::string spaceName(std::string_view name) {
        std::string upper(name);
        for (char& c : upper)
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        if (upper == "$MODEL_SPACE" || upper == "*MODEL_SPACE")
            return "*Model_Space";
        if (upper == "$PAPER_SPACE" || upper == "*PAPER_SPACE")
            return "*Paper_Space";
        return std::string(name);
    }

    struct Block {
        std::string name;
        std::string recordHandle;
        size_t begin = 0; // index of BLOCK in m_blocks
        size_t end = 0;   // index of ENDBLK
    };

    void planBlocks() {
        m_btrTable = newHandle();
        for (size_t i = 0; i < m_blocks.size(); ++i) {
            if (m_blocks[i].type != "BLOCK")
                continue;
            Block b;
            b.name = spaceName(trimmed(valueOf(m_blocks[i].tags, 2)));
            b.begin = i;
            b.end = i;
            while (b.end < m_blocks.size() && m_blocks[b.end].type != "ENDBLK")
                ++b.end;
            if (b.end >= m_blocks.size())
                b.end = m_blocks.size();
            b.recordHandle = newHandle();
            m_blockList.push_back(b);
            i = b.end;
        }
        for (const char* space : {"*Model_Space", "*Paper_Space"}) {
            bool found = std::any_of(m_blockList.begin(), m_blockList.end(),
                                     [&](const Block& b) { return b.name == space; });
            if (!found) {
                Block b;
                b.name = space;
                b.begin = b.end = SIZE_MAX;
                b.recordHandle = newHandle();
                m_blockList.insert(m_blockList.begin(), b);
            }
        }
        for (const Block& b : m_blockList) {
            if (b.name == "*Model_Space")
                m_modelRecord = b.recordHandle;
            if (b.name == "*Paper_Space")
                m_paperRecord = b.recordHandle;
        }
        m_modelLayout = newHandle();
        m_paperLayout = newHandle();
    }

    static std::string_view valueOf(Tags t, int code) {
        for (const KdDbTag& x : t)
            if (x.code == code)
                return x.value();
        return {};
    }

    void writeHeader() {
        tag(0, "SECTION");
        tag(2, "HEADER");
        // The version comes first, also when the R12 file had none.
        tag(9, "$ACADVER");
        tag(1, "AC1015");
        bool seed = false;
        for (size_t i = 0; i < m_header.size(); ++i) {
            const KdDbTag& t = m_header[i];
            if (t.code == 9 && i + 1 < m_header.size() && m_header[i + 1].code != 9) {
                std::string_view name = trimmed(t.value());
                if (name == "$ACADVER") {
                    ++i;
                    continue;
                }
                if (name == "$HANDSEED") {
                    tag(9, "$HANDSEED");
                    tag(5, kSeedMark);
                    seed = true;
                    ++i;
                    continue;
                }
                if (name == "$HANDLING") { // not an R2000 variable
                    ++i;
                    continue;
                }
            }
            tag(t.code, t.value());
        }
        if (!seed) {
            tag(9, "$HANDSEED");
            tag(5, kSeedMark);
        }
        tag(0, "ENDSEC");
    }

    void writeTables() {
        tag(0, "SECTION");
        tag(2, "TABLES");
        size_t i = 0;
        bool wroteBlockRecords = false;
        bool sawAppid = false;
        while (i < m_tables.size()) {
            if (m_tables[i].type != "TABLE") {
                ++i;
                continue;
            }
            std::string tableName(trimmed(valueOf(m_tables[i].tags, 2)));
            std::string tableHandle = handleOf(m_tables[i].tags);
            size_t j = i + 1;
            std::vector<const Record*> recs;
            while (j < m_tables.size() && m_tables[j].type != "ENDTAB" &&
                   m_tables[j].type != "TABLE")
                recs.push_back(&m_tables[j++]);
            if (tableName == "BLOCK_RECORD") {
                i = j + 1;
                continue; // rebuilt from the blocks below
            }
            tag(0, "TABLE");
            tag(2, tableName);
            tag(5, tableHandle);
            tag(330, "0");
            tag(100, "AcDbSymbolTable");
            tag(70, std::to_string(recs.size() + (tableName == "APPID" ? 1 : 0)));
            if (tableName == "DIMSTYLE") {
                tag(100, "AcDbDimStyleTable");
                tag(71, "0");
            }
            bool hasAcad = false;
            for (const Record* r : recs) {
                if (tableName == "APPID" && equalsNoCase(trimmed(valueOf(r->tags, 2)), "ACAD"))
                    hasAcad = true;
                writeTableRecord(tableName, tableHandle, *r);
            }
            if (tableName == "APPID") {
                sawAppid = true;
                if (!hasAcad)
                    writeSimpleRecord("APPID", tableHandle, "ACAD");
            }
            tag(0, "ENDTAB");
            i = j + 1;
            if (tableName == "APPID" && !wroteBlockRecords) {
                writeBlockRecordTable();
                wroteBlockRecords = true;
            }
        }
        if (!sawAppid) {
            std::string h = newHandle();
            tag(0, "TABLE");
            tag(2, "APPID");
            tag(5, h);
            tag(330, "0");
            tag(100, "AcDbSymbolTable");
            tag(70, "1");
            writeSimpleRecord("APPID", h, "ACAD");
            tag(0, "ENDTAB");
        }
        if (!wroteBlockRecords)
            writeBlockRecordTable();
        tag(0, "ENDSEC");
    }

    void writeSimpleRecord(std::string_view type, const std::string& owner, std::string_view name) {
        tag(0, type);
        tag(5, newHandle());
        tag(330, owner);
        tag(100, "AcDbSymbolTableRecord");
        tag(100, recordMarker(type));
        tag(2, name);
        tag(70, "0");
    }

    void writeTableRecord(const std::string& table, const std::string& owner, const Record& r) {
        int handleCode = r.type == "DIMSTYLE" ? 105 : 5;
        std::string handle = handleOf(r.tags, handleCode);
        if (table == "LAYER")
            m_layerHandles[upper(trimmed(valueOf(r.tags, 2)))] = handle;
        tag(0, r.type);
        tag(handleCode, handle);
        tag(330, owner);
        tag(100, "AcDbSymbolTableRecord");
        tag(100, recordMarker(table));
        for (const KdDbTag& t : r.tags) {
            if (t.code == 5 || t.code == 105)
                continue;
            tag(t.code, t.value());
        }
    }

    void writeBlockRecordTable() {
        tag(0, "TABLE");
        tag(2, "BLOCK_RECORD");
        tag(5, m_btrTable);
        tag(330, "0");
        tag(100, "AcDbSymbolTable");
        tag(70, std::to_string(m_blockList.size()));
        for (const Block& b : m_blockList) {
            tag(0, "BLOCK_RECORD");
            tag(5, b.recordHandle);
            tag(330, m_btrTable);
            tag(100, "AcDbSymbolTableRecord");
            tag(100, "AcDbBlockTableRecord");
            tag(2, b.name);
            if (b.name == "*Model_Space")
                tag(340, m_modelLayout);
            else if (b.name == "*Paper_Space")
                tag(340, m_paperLayout);
        }
        tag(0, "ENDTAB");
    }

    void writeBlocks() {
        tag(0, "SECTION");
        tag(2, "BLOCKS");
        for (const Block& b : m_blockList) {
            bool paper = b.name == "*Paper_Space";
            if (b.begin == SIZE_MAX) {
                tag(0, "BLOCK");
                tag(5, newHandle());
                tag(330, b.recordHandle);
                tag(100, "AcDbEntity");
                if (paper)
                    tag(67, "1");
                tag(8, "0");
                tag(100, "AcDbBlockBegin");
                tag(2, b.name);
                tag(70, "0");
                tag(10, "0.0");
                tag(20, "0.0");
                tag(30, "0.0");
                tag(3, b.name);
                tag(1, "");
                writeEndBlock(b.recordHandle, paper, {});
                continue;
            }
            const Record& begin = m_blocks[b.begin];
            tag(0, "BLOCK");
            tag(5, handleOf(begin.tags));
            tag(330, b.recordHandle);
            tag(100, "AcDbEntity");
            if (paper)
                tag(67, "1");
            writeCommon(begin.tags);
            tag(100, "AcDbBlockBegin");
            for (const KdDbTag& t : begin.tags) {
                if (t.code == 5 || isCommonCode(t.code))
                    continue;
                tag(t.code, (t.code == 2 || t.code == 3) ? std::string_view(b.name) : t.value());
            }
            std::string owner = b.recordHandle;
            writeEntityList(m_blocks, b.begin + 1, b.end, b.recordHandle);
            writeEndBlock(b.recordHandle, paper,
                          b.end < m_blocks.size() ? m_blocks[b.end].tags : Tags());
        }
        tag(0, "ENDSEC");
    }

    void writeEndBlock(const std::string& owner, bool paper, Tags t) {
        tag(0, "ENDBLK");
        tag(5, handleOf(t));
        tag(330, owner);
        tag(100, "AcDbEntity");
        if (paper)
            tag(67, "1");
        if (!writeCommon(t))
            tag(8, "0");
        tag(100, "AcDbBlockEnd");
    }

    // Writes the entity-wide groups of an R12 record; false when it has no layer.
    bool writeCommon(Tags t) {
        bool layer = false;
        for (const KdDbTag& x : t) {
            if (x.code == 67)
                continue; // written by the caller for paper space
            if (isCommonCode(x.code)) {
                tag(x.code, x.value());
                layer = layer || x.code == 8;
            }
        }
        return layer;
    }

    void writeEntities() {
        tag(0, "SECTION");
        tag(2, "ENTITIES");
        // Entities of paper space (67 = 1) belong to the paper-space block record.
        writeEntityList(m_entities, 0, m_entities.size(), std::string());
        tag(0, "ENDSEC");
    }

    void writeEntityList(const std::vector<Record>& list, size_t from, size_t to,
                         const std::string& blockRecord) {
        std::string parent; // the POLYLINE or INSERT that owns following sub-entities
        for (size_t i = from; i < to && i < list.size(); ++i) {
            const Record& r = list[i];
            std::string owner = blockRecord;
            if (owner.empty()) {
                long long space = 0;
                parseInt(valueOf(r.tags, 67), space);
                owner = space == 1 ? m_paperRecord : m_modelRecord;
            }
            bool sub = r.type == "VERTEX" || r.type == "SEQEND" || r.type == "ATTRIB";
            std::string handle = handleOf(r.tags);
            writeEntity(r, handle, sub && !parent.empty() ? parent : owner);
            if (r.type == "POLYLINE" || r.type == "INSERT")
                parent = handle;
            else if (r.type == "SEQEND")
                parent.clear();
        }
    }

    void writeEntity(const Record& r, const std::string& handle, const std::string& owner) {
        tag(0, r.type);
        tag(5, handle);
        tag(330, owner);
        tag(100, "AcDbEntity");
        long long space = 0;
        parseInt(valueOf(r.tags, 67), space);
        if (space == 1)
            tag(67, "1");
        size_t xdata = r.tags.size();
        for (size_t k = 0; k < r.tags.size(); ++k)
            if (r.tags[k].code == 1001) {
                xdata = k;
                break;
            }
        Tags body = r.tags.first(xdata);
        if (!writeCommon(body))
            tag(8, "0");
        std::vector<KdDbTag> rest;
        for (const KdDbTag& t : body)
            if (t.code != 5 && !isCommonCode(t.code))
                rest.push_back(t);
        writeTypeData(r.type, rest);
        if (r.type == "VIEWPORT")
            writeFrozenLayers(r.tags.subspan(xdata));
        for (const KdDbTag& t : r.tags.subspan(xdata))
            tag(t.code, t.value());
    }

    // An R12 viewport names its frozen layers (1003) in the second "{" group of its "ACAD"
    // extended data; R2000 readers look for the layers' handles in group 331.
    void writeFrozenLayers(Tags xdata) {
        bool acad = false;
        int depth = 0, groups = 0;
        for (const KdDbTag& t : xdata) {
            if (t.code == 1001) {
                acad = trimmed(t.value()) == "ACAD";
                continue;
            }
            if (!acad || t.code != 1002) {
                if (acad && t.code == 1003 && depth == 2 && groups == 2) {
                    auto it = m_layerHandles.find(upper(trimmed(t.value())));
                    if (it != m_layerHandles.end())
                        tag(331, it->second);
                }
                continue;
            }
            if (trimmed(t.value()) == "{") {
                ++depth;
                ++groups;
            } else {
                --depth;
            }
        }
    }

    static std::string upper(std::string_view v) {
        std::string u(v);
        for (char& c : u)
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        return u;
    }

    void writeGroup(std::string_view marker, std::vector<KdDbTag>& rest,
                    std::initializer_list<int> codes) {
        tag(100, marker);
        std::vector<KdDbTag> keep;
        for (const KdDbTag& t : rest) {
            if (std::find(codes.begin(), codes.end(), t.code) != codes.end())
                tag(t.code, t.value());
            else
                keep.push_back(t);
        }
        rest.swap(keep);
    }

    void writeAll(std::string_view marker, const std::vector<KdDbTag>& rest) {
        if (!marker.empty())
            tag(100, marker);
        for (const KdDbTag& t : rest)
            tag(t.code, t.value());
    }

    void writeTypeData(std::string_view type, std::vector<KdDbTag> rest) {
        long long flags = 0;
        parseInt(valueOf(rest, 70), flags);
        if (type == "LINE")
            return writeAll("AcDbLine", rest);
        if (type == "POINT")
            return writeAll("AcDbPoint", rest);
        if (type == "CIRCLE")
            return writeAll("AcDbCircle", rest);
        if (type == "SOLID" || type == "TRACE")
            return writeAll("AcDbTrace", rest);
        if (type == "3DFACE")
            return writeAll("AcDbFace", rest);
        if (type == "SHAPE")
            return writeAll("AcDbShape", rest);
        if (type == "INSERT")
            return writeAll("AcDbBlockReference", rest);
        if (type == "VIEWPORT")
            return writeAll("AcDbViewport", rest);
        if (type == "SEQEND")
            return writeAll({}, rest);
        if (type == "ARC") {
            writeGroup("AcDbCircle", rest, {39, 10, 20, 30, 40, 210, 220, 230});
            return writeAll("AcDbArc", rest);
        }
        static constexpr std::initializer_list<int> kText = {39, 10, 20, 30, 40, 1,  50,  41,  51,
                                                             7,  71, 72, 11, 21, 31, 210, 220, 230};
        if (type == "TEXT") {
            writeGroup("AcDbText", rest, kText);
            return writeAll("AcDbText", rest);
        }
        if (type == "ATTRIB") {
            writeGroup("AcDbText", rest, kText);
            return writeAll("AcDbAttribute", rest);
        }
        if (type == "ATTDEF") {
            writeGroup("AcDbText", rest, kText);
            return writeAll("AcDbAttributeDefinition", rest);
        }
        if (type == "POLYLINE") {
            std::string_view marker = (flags & 64)   ? "AcDbPolyFaceMesh"
                                      : (flags & 16) ? "AcDbPolygonMesh"
                                      : (flags & 8)  ? "AcDb3dPolyline"
                                                     : "AcDb2dPolyline";
            return writeAll(marker, rest);
        }
        if (type == "VERTEX") {
            if ((flags & 128) && !(flags & 64))
                return writeAll("AcDbFaceRecord", rest);
            tag(100, "AcDbVertex");
            std::string_view marker = (flags & 128)  ? "AcDbPolyFaceMeshVertex"
                                      : (flags & 64) ? "AcDbPolygonMeshVertex"
                                      : (flags & 32) ? "AcDb3dPolylineVertex"
                                                     : "AcDb2dVertex";
            return writeAll(marker, rest);
        }
        if (type == "DIMENSION") {
            writeGroup(
                "AcDbDimension", rest,
                {2, 10, 20, 30, 11, 21, 31, 70, 1, 71, 72, 41, 42, 53, 51, 3, 210, 220, 230});
            switch (flags & 7) {
            case 0:
                writeGroup("AcDbAlignedDimension", rest, {12, 22, 32, 13, 23, 33, 14, 24, 34});
                return writeAll("AcDbRotatedDimension", rest);
            case 1:
                return writeAll("AcDbAlignedDimension", rest);
            case 2:
                return writeAll("AcDb2LineAngularDimension", rest);
            case 3:
                return writeAll("AcDbDiametricDimension", rest);
            case 4:
                return writeAll("AcDbRadialDimension", rest);
            case 5:
                return writeAll("AcDb3PointAngularDimension", rest);
            default:
                return writeAll("AcDbOrdinateDimension", rest);
            }
        }
        writeAll({}, rest); // a type without a known subclass keeps its groups as they are
    }

    void writeObjects() {
        tag(0, "SECTION");
        tag(2, "OBJECTS");
        std::string root = newHandle(), group = newHandle(), layouts = newHandle(),
                    styles = newHandle(), normal = newHandle();
        tag(0, "DICTIONARY");
        tag(5, root);
        tag(330, "0");
        tag(100, "AcDbDictionary");
        tag(281, "1");
        tag(3, "ACAD_GROUP");
        tag(350, group);
        tag(3, "ACAD_LAYOUT");
        tag(350, layouts);
        tag(3, "ACAD_PLOTSTYLENAME");
        tag(350, styles);
        auto dictHead = [&](std::string_view type, const std::string& h, const std::string& owner) {
            tag(0, type);
            tag(5, h);
            tag(102, "{ACAD_REACTORS");
            tag(330, owner);
            tag(102, "}");
            tag(330, owner);
            tag(100, "AcDbDictionary");
            tag(281, "1");
        };
        dictHead("DICTIONARY", group, root);
        dictHead("ACDBDICTIONARYWDFLT", styles, root);
        tag(3, "Normal");
        tag(350, normal);
        tag(100, "AcDbDictionaryWithDefault");
        tag(340, normal);
        tag(0, "ACDBPLACEHOLDER");
        tag(5, normal);
        tag(102, "{ACAD_REACTORS");
        tag(330, styles);
        tag(102, "}");
        tag(330, styles);
        dictHead("DICTIONARY", layouts, root);
        tag(3, "Layout1");
        tag(350, m_paperLayout);
        tag(3, "Model");
        tag(350, m_modelLayout);
        writeLayout(m_paperLayout, layouts, "Layout1", 1, m_paperRecord);
        writeLayout(m_modelLayout, layouts, "Model", 0, m_modelRecord);
        tag(0, "ENDSEC");
    }

    void writeLayout(const std::string& h, const std::string& owner, std::string_view name, int tab,
                     const std::string& record) {
        tag(0, "LAYOUT");
        tag(5, h);
        tag(102, "{ACAD_REACTORS");
        tag(330, owner);
        tag(102, "}");
        tag(330, owner);
        tag(100, "AcDbPlotSettings");
        tag(1, "");
        tag(4, "");
        tag(6, "");
        tag(40, "0.0");
        tag(41, "0.0");
        tag(42, "0.0");
        tag(43, "0.0");
        tag(44, "0.0");
        tag(45, "0.0");
        tag(46, "0.0");
        tag(47, "0.0");
        tag(48, "0.0");
        tag(49, "0.0");
        tag(140, "0.0");
        tag(141, "0.0");
        tag(142, "1.0");
        tag(143, "1.0");
        tag(70, tab == 0 ? "1712" : "688");
        tag(72, "0");
        tag(73, "0");
        tag(74, "5");
        tag(7, "");
        tag(75, "16");
        tag(147, "1.0");
        tag(148, "0.0");
        tag(149, "0.0");
        tag(100, "AcDbLayout");
        tag(1, name);
        tag(70, "1");
        tag(71, std::to_string(tab));
        tag(10, "0.0");
        tag(20, "0.0");
        tag(11, "420.0");
        tag(21, "297.0");
        tag(12, "0.0");
        tag(22, "0.0");
        tag(32, "0.0");
        tag(14, "0.0");
        tag(24, "0.0");
        tag(34, "0.0");
        tag(15, "0.0");
        tag(25, "0.0");
        tag(35, "0.0");
        tag(146, "0.0");
        tag(13, "0.0");
        tag(23, "0.0");
        tag(33, "0.0");
        tag(16, "1.0");
        tag(26, "0.0");
        tag(36, "0.0");
        tag(17, "0.0");
        tag(27, "1.0");
        tag(37, "0.0");
        tag(76, "0");
        tag(330, record);
    }

    const std::vector<KdDbTag>& m_tags;
    std::string& m_out;
    uint64_t m_seed = 1;
    std::set<uint64_t> m_usedHandles;
    Tags m_header;
    std::vector<Record> m_tables, m_blocks, m_entities;
    std::vector<std::pair<std::string, std::vector<KdDbTag>>> m_rawSections;
    std::vector<Block> m_blockList;
    std::map<std::string, std::string> m_layerHandles; // upper-cased name -> handle
    std::string m_btrTable, m_modelRecord, m_paperRecord, m_modelLayout, m_paperLayout;
};

} // namespace

bool upgradeR12(const std::vector<KdDbTag>& tags, std::string& out, std::string& error) {
    Upgrader upgrader(tags, out);
    return upgrader.run(error);
}

} // namespace tvdxf
