// Writer of generated DXF drawings, and the generator's entry points.
#include "DxfGenerator.h"

#include "DrawingRandom.h"
#include "DxfDrawingCatalog.h"
#include "DxfDrawingPlan.h"
#include "DxfTagWriter.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <string_view>
#include <system_error>

#include <unistd.h>

namespace tvtools {
namespace {

// The random sequence of a drawing: the plan takes its start, the entities the rest.
std::uint64_t drawingSeed(const DxfGeneratorOptions& options) {
    return options.seed * 0x2545F4914F6CDD1Dull + 1;
}

class DxfDrawingWriter {
public:
    explicit DxfDrawingWriter(const DxfGeneratorOptions& options)
        : m_opt(options), m_rng(drawingSeed(options)), m_plan(planDrawing(options, m_rng)),
          m_w(options.crlf), m_r2004(options.version != DxfVersion::R2000) {}

    std::string run() {
        m_w.reserve(static_cast<std::size_t>(m_opt.entities) * 300 +
                    static_cast<std::size_t>(m_opt.layers) * 420 + (1u << 20));
        writeHeader();
        writeClasses();
        writeTables();
        writeBlocks();
        writeEntities();
        writeObjects();
        m_w.str(0, "EOF");
        return m_w.take();
    }

private:
    // ---- HEADER and CLASSES ---------------------------------------------------------------

    void headerVar(const char* name) { m_w.str(9, name); }

    void writeHeader() {
        section("HEADER");
        headerVar("$ACADVER");
        m_w.str(1, m_r2004 ? "AC1032" : "AC1015");
        headerVar("$DWGCODEPAGE");
        m_w.str(3, "ANSI_1252");
        headerVar("$INSBASE");
        m_w.point(10, 0, 0, 0);
        headerVar("$EXTMIN");
        m_w.point(10, -2000.0, -2000.0, 0);
        headerVar("$EXTMAX");
        m_w.point(10, m_plan.extent + 2000.0, 0.75 * m_plan.extent + 2000.0, 0);
        headerVar("$LIMMIN");
        m_w.point(10, 0, 0);
        headerVar("$LIMMAX");
        m_w.point(10, 420, 297);
        headerVar("$LTSCALE");
        m_w.real(40, 100.0);
        headerVar("$TEXTSTYLE");
        m_w.str(7, "Standard");
        headerVar("$CLAYER");
        m_w.str(8, "0");
        headerVar("$CELTYPE");
        m_w.str(6, "ByLayer");
        headerVar("$CECOLOR");
        m_w.integer(62, 256);
        headerVar("$CELWEIGHT");
        m_w.integer(370, -1);
        headerVar("$DIMSTYLE");
        m_w.str(2, "Standard");
        headerVar("$LUNITS");
        m_w.integer(70, 2);
        headerVar("$LUPREC");
        m_w.integer(70, 4);
        headerVar("$INSUNITS");
        m_w.integer(70, 4);
        headerVar("$MEASUREMENT");
        m_w.integer(70, 1);
        headerVar("$TILEMODE");
        m_w.integer(70, 1);
        headerVar("$PSTYLEMODE");
        m_w.integer(290, 1);
        headerVar("$LWDISPLAY");
        m_w.integer(290, 0);
        headerVar("$HANDSEED");
        m_w.handle(5, m_plan.handseed);
        endSection();
    }

    void section(const char* name) {
        m_w.str(0, "SECTION");
        m_w.str(2, name);
    }
    void endSection() { m_w.str(0, "ENDSEC"); }

    void writeClasses() {
        section("CLASSES");
        writeClass("ACDBDICTIONARYWDFLT", "AcDbDictionaryWithDefault", 1);
        writeClass("ACDBPLACEHOLDER", "AcDbPlaceHolder", 1);
        writeClass("LAYOUT", "AcDbLayout", 3);
        endSection();
    }

    void writeClass(const char* dxfName, const char* cppName, int instances) {
        m_w.str(0, "CLASS");
        m_w.str(1, dxfName);
        m_w.str(2, cppName);
        m_w.str(3, "ObjectDBX Classes");
        m_w.integer(90, 0);
        if (m_r2004)
            m_w.integer(91, instances);
        m_w.integer(280, 0);
        m_w.integer(281, 0);
    }

    // ---- TABLES ---------------------------------------------------------------------------

    void tableHead(const char* name, std::uint64_t handle, std::size_t count) {
        m_w.str(0, "TABLE");
        m_w.str(2, name);
        m_w.handle(5, handle);
        m_w.handle(330, 0);
        m_w.str(100, "AcDbSymbolTable");
        m_w.integer(70, static_cast<long long>(count));
    }
    void endTable() { m_w.str(0, "ENDTAB"); }

    void recordHead(const char* type, std::uint64_t handle, std::uint64_t table,
                    const char* subclass, int handleCode = 5) {
        m_w.str(0, type);
        m_w.handle(handleCode, handle);
        m_w.handle(330, table);
        m_w.str(100, "AcDbSymbolTableRecord");
        m_w.str(100, subclass);
    }

    void writeTables() {
        section("TABLES");
        writeVportTable();
        writeLinetypeTable();
        writeLayerTable();
        tableHead("STYLE", m_plan.handles.styleTable, 1);
        recordHead("STYLE", m_plan.handles.styleStandard, m_plan.handles.styleTable,
                   "AcDbTextStyleTableRecord");
        m_w.str(2, "Standard");
        m_w.integer(70, 0);
        m_w.real(40, 0.0);
        m_w.real(41, 1.0);
        m_w.real(50, 0.0);
        m_w.integer(71, 0);
        m_w.real(42, 2.5);
        m_w.str(3, "txt");
        m_w.str(4, "");
        endTable();
        tableHead("VIEW", m_plan.handles.viewTable, 0);
        endTable();
        tableHead("UCS", m_plan.handles.ucsTable, 0);
        endTable();
        writeAppidTable();
        tableHead("DIMSTYLE", m_plan.handles.dimstyleTable, 1);
        m_w.str(100, "AcDbDimStyleTable");
        m_w.integer(71, 1);
        m_w.handle(340, m_plan.handles.dimstyleStandard);
        recordHead("DIMSTYLE", m_plan.handles.dimstyleStandard, m_plan.handles.dimstyleTable,
                   "AcDbDimStyleTableRecord", 105);
        m_w.str(2, "Standard");
        m_w.integer(70, 0);
        m_w.handle(340, m_plan.handles.styleStandard);
        endTable();
        writeBlockRecordTable();
        endSection();
    }

    void writeVportTable() {
        tableHead("VPORT", m_plan.handles.vportTable, 1);
        recordHead("VPORT", m_plan.handles.activeVport, m_plan.handles.vportTable,
                   "AcDbViewportTableRecord");
        m_w.str(2, "*Active");
        m_w.integer(70, 0);
        m_w.point(10, 0, 0);
        m_w.point(11, 1, 1);
        m_w.point(12, m_plan.extent / 2, m_plan.extent * 0.375);
        m_w.point(13, 0, 0);
        m_w.point(14, 10, 10);
        m_w.point(15, 10, 10);
        m_w.point(16, 0, 0, 1);
        m_w.point(17, 0, 0, 0);
        m_w.real(40, m_plan.extent * 0.8);
        m_w.real(41, 1.6);
        m_w.real(42, 50.0);
        m_w.real(43, 0.0);
        m_w.real(44, 0.0);
        m_w.real(50, 0.0);
        m_w.real(51, 0.0);
        m_w.integer(71, 0);
        m_w.integer(72, 1000);
        m_w.integer(73, 1);
        m_w.integer(74, 3);
        m_w.integer(75, 0);
        m_w.integer(76, 0);
        m_w.integer(77, 0);
        m_w.integer(78, 0);
        m_w.integer(281, 0);
        m_w.integer(65, 1);
        m_w.point(110, 0, 0, 0);
        m_w.point(111, 1, 0, 0);
        m_w.point(112, 0, 1, 0);
        m_w.integer(79, 0);
        m_w.real(146, 0.0);
        endTable();
    }

    void writeLinetypeTable() {
        tableHead("LTYPE", m_plan.handles.ltypeTable, 3 + kLinetypes.size() - 1);
        const char* specials[3] = {"ByBlock", "ByLayer", "Continuous"};
        for (int i = 0; i < 3; ++i) {
            recordHead("LTYPE", m_plan.handles.specialLinetypes[static_cast<std::size_t>(i)],
                       m_plan.handles.ltypeTable, "AcDbLinetypeTableRecord");
            m_w.str(2, specials[i]);
            m_w.integer(70, 0);
            m_w.str(3, i == 2 ? kLinetypes[0].description : "");
            m_w.integer(72, 65);
            m_w.integer(73, 0);
            m_w.real(40, 0.0);
        }
        for (std::size_t i = 1; i < kLinetypes.size(); ++i) {
            const LinetypeDef& lt = kLinetypes[i];
            recordHead("LTYPE", m_plan.handles.patternLinetypes[i - 1], m_plan.handles.ltypeTable,
                       "AcDbLinetypeTableRecord");
            m_w.str(2, lt.name);
            m_w.integer(70, 0);
            m_w.str(3, lt.description);
            m_w.integer(72, 65);
            int count = 0;
            double total = 0;
            for (double dash : lt.dashes) {
                count += dash != 0;
                total += std::fabs(dash);
            }
            m_w.integer(73, count);
            m_w.real(40, total);
            for (int k = 0; k < count; ++k) {
                m_w.real(49, lt.dashes[static_cast<std::size_t>(k)]);
                m_w.integer(74, 0);
            }
        }
        endTable();
    }

    void writeLayerTable() {
        tableHead("LAYER", m_plan.handles.layerTable, m_plan.layers.size() + 1);
        Layer zero;
        zero.name = "0";
        zero.handle = m_plan.handles.layerZero;
        writeLayer(zero);
        for (const Layer& layer : m_plan.layers)
            writeLayer(layer);
        endTable();
    }

    void writeLayer(const Layer& layer) {
        recordHead("LAYER", layer.handle, m_plan.handles.layerTable, "AcDbLayerTableRecord");
        m_w.str(2, layer.name);
        m_w.integer(70, layer.flags);
        m_w.integer(62, layer.off ? -layer.color : layer.color);
        if (layer.trueColor >= 0)
            m_w.integer(420, layer.trueColor);
        if (layer.book)
            m_w.str(430, layer.book);
        m_w.str(6, kLinetypes[static_cast<std::size_t>(layer.linetype)].name);
        if (!layer.plot)
            m_w.integer(290, 0);
        m_w.integer(370, layer.lineweight);
        m_w.handle(390, m_plan.handles.placeholder);
        if (!layer.description.empty()) {
            m_w.str(1001, kDescriptionApp);
            m_w.str(1000, "");
            m_w.str(1000, layer.description);
        }
        if (layer.alpha >= 0) {
            m_w.str(1001, kTransparencyApp);
            m_w.integer(1071, kTransparencyByValue | layer.alpha);
        }
    }

    void writeAppidTable() {
        const char* names[3] = {"ACAD", kDescriptionApp, kTransparencyApp};
        tableHead("APPID", m_plan.handles.appidTable, 3);
        for (std::size_t i = 0; i < 3; ++i) {
            recordHead("APPID", m_plan.handles.appids[i], m_plan.handles.appidTable,
                       "AcDbRegAppTableRecord");
            m_w.str(2, names[i]);
            m_w.integer(70, 0);
        }
        endTable();
    }

    void writeBlockRecordTable() {
        tableHead("BLOCK_RECORD", m_plan.handles.blockTable,
                  1 + m_plan.layouts.size() + m_plan.blocks.size());
        blockRecord(m_plan.handles.modelRecord, "*Model_Space", m_plan.handles.modelLayout);
        for (const Layout& layout : m_plan.layouts)
            blockRecord(layout.record, layout.blockName, layout.object);
        for (const Block& block : m_plan.blocks)
            blockRecord(block.record, block.name.c_str(), 0);
        endTable();
    }

    void blockRecord(std::uint64_t handle, const char* name, std::uint64_t layout) {
        recordHead("BLOCK_RECORD", handle, m_plan.handles.blockTable, "AcDbBlockTableRecord");
        m_w.str(2, name);
        m_w.handle(340, layout);
        if (m_r2004) {
            m_w.integer(70, 4);
            m_w.integer(280, 1);
            m_w.integer(281, 0);
        }
    }

    // ---- BLOCKS ---------------------------------------------------------------------------

    void blockBegin(std::uint64_t handle, std::uint64_t record, const char* name, bool paper) {
        m_w.str(0, "BLOCK");
        m_w.handle(5, handle);
        m_w.handle(330, record);
        m_w.str(100, "AcDbEntity");
        if (paper)
            m_w.integer(67, 1);
        m_w.str(8, "0");
        m_w.str(100, "AcDbBlockBegin");
        m_w.str(2, name);
        m_w.integer(70, 0);
        m_w.point(10, 0, 0, 0);
        m_w.str(3, name);
        m_w.str(1, "");
    }

    void blockEnd(std::uint64_t handle, std::uint64_t record, bool paper) {
        m_w.str(0, "ENDBLK");
        m_w.handle(5, handle);
        m_w.handle(330, record);
        m_w.str(100, "AcDbEntity");
        if (paper)
            m_w.integer(67, 1);
        m_w.str(8, "0");
        m_w.str(100, "AcDbBlockEnd");
    }

    void writeBlocks() {
        section("BLOCKS");
        blockBegin(m_plan.handles.modelBegin, m_plan.handles.modelRecord, "*Model_Space", false);
        blockEnd(m_plan.handles.modelEnd, m_plan.handles.modelRecord, false);
        // The first layout is the active one: its entities live in ENTITIES, the others' here.
        for (std::size_t i = 0; i < m_plan.layouts.size(); ++i) {
            const Layout& layout = m_plan.layouts[i];
            blockBegin(layout.begin, layout.record, layout.blockName, true);
            if (i > 0)
                writeLayoutEntities(layout);
            blockEnd(layout.end, layout.record, true);
        }
        for (const Block& block : m_plan.blocks) {
            blockBegin(block.begin, block.record, block.name.c_str(), false);
            for (const Shape& shape : block.shapes)
                writeShape(shape, block.record);
            blockEnd(block.end, block.record, false);
        }
        endSection();
    }

    void writeShape(const Shape& s, std::uint64_t owner) {
        const EntityId id{s.handle, owner, s.layer};
        switch (s.kind) {
        case Shape::kLine:
            line(id, s.a, s.b, s.c, s.d);
            break;
        case Shape::kCircle:
            circle(id, s.a, s.b, s.c);
            break;
        case Shape::kArc:
            arc(id, s.a, s.b, s.c, s.d, s.e);
            break;
        case Shape::kInsert:
            insert(id, m_plan.blocks[static_cast<std::size_t>(s.block)].name, s.a, s.b, 1.0, s.d);
            break;
        }
    }

    // ---- entities -------------------------------------------------------------------------

    // Who an entity is: its handle, the block record owning it and its layer (-1: layer "0").
    struct EntityId {
        std::uint64_t handle;
        std::uint64_t owner;
        int layer;
        bool paper = false;
    };

    // The AcDbEntity part. Most entities follow their layer; some override colour, linetype or
    // lineweight as drawings touched by many hands do, and those on "verbose" layers spell out
    // every default as some exporters do.
    void entityHead(const char* type, const EntityId& id) {
        m_w.str(0, type);
        m_w.handle(5, id.handle);
        m_w.handle(330, id.owner);
        m_w.str(100, "AcDbEntity");
        if (id.paper)
            m_w.integer(67, 1);
        const Layer* layer =
            id.layer < 0 ? nullptr : &m_plan.layers[static_cast<std::size_t>(id.layer)];
        m_w.str(8, layer ? std::string_view(layer->name) : std::string_view("0"));
        const bool verbose = layer && layer->verbose;
        m_verbose = verbose;
        const std::uint64_t bits = m_rng.next();
        if ((bits & 0x1F) == 0)
            m_w.str(6, kLinetypes[1 + (bits >> 8) % 3].name);
        else if (verbose)
            m_w.str(6, "ByLayer");
        if (((bits >> 5) & 0x7) == 0)
            m_w.integer(62, static_cast<long long>(1 + (bits >> 16) % 255));
        else if (verbose)
            m_w.integer(62, 256);
        if (((bits >> 24) & 0xF) == 0)
            m_w.integer(370, kLineweights[(bits >> 32) % kLineweights.size()]);
        else if (verbose)
            m_w.integer(370, -1);
        if (verbose) {
            m_w.real(48, 1.0);
            m_w.integer(60, 0);
        }
    }

    // Defaults that only verbose writers spell out.
    void thickness() {
        if (m_verbose)
            m_w.real(39, 0.0);
    }
    void extrusion() {
        if (m_verbose)
            m_w.point(210, 0.0, 0.0, 1.0);
    }

    void line(const EntityId& id, double x1, double y1, double x2, double y2) {
        entityHead("LINE", id);
        m_w.str(100, "AcDbLine");
        thickness();
        m_w.point(10, x1, y1, 0);
        m_w.point(11, x2, y2, 0);
        extrusion();
    }

    void circle(const EntityId& id, double x, double y, double r) {
        entityHead("CIRCLE", id);
        m_w.str(100, "AcDbCircle");
        thickness();
        m_w.point(10, x, y, 0);
        m_w.real(40, r);
        extrusion();
    }

    void arc(const EntityId& id, double x, double y, double r, double start, double end) {
        entityHead("ARC", id);
        m_w.str(100, "AcDbCircle");
        thickness();
        m_w.point(10, x, y, 0);
        m_w.real(40, r);
        extrusion();
        m_w.str(100, "AcDbArc");
        m_w.real(50, start);
        m_w.real(51, end);
    }

    void insert(const EntityId& id, std::string_view block, double x, double y, double scale,
                double rotation) {
        entityHead("INSERT", id);
        m_w.str(100, "AcDbBlockReference");
        m_w.str(2, block);
        m_w.point(10, x, y, 0);
        if (scale != 1.0 || m_verbose) {
            m_w.real(41, scale);
            m_w.real(42, scale);
            m_w.real(43, scale);
        }
        if (rotation != 0.0 || m_verbose)
            m_w.real(50, rotation);
        extrusion();
    }

    void lwpolyline(const EntityId& id, const double (*xy)[2], int count, bool closed) {
        entityHead("LWPOLYLINE", id);
        m_w.str(100, "AcDbPolyline");
        m_w.integer(90, count);
        m_w.integer(70, closed ? 1 : 0);
        m_w.real(43, 0.0);
        if (m_verbose) {
            m_w.real(38, 0.0);
            m_w.real(39, 0.0);
        }
        for (int i = 0; i < count; ++i)
            m_w.point(10, xy[i][0], xy[i][1]);
        extrusion();
    }

    void text(const EntityId& id, double x, double y, double height, std::string_view value,
              double rotation) {
        entityHead("TEXT", id);
        m_w.str(100, "AcDbText");
        thickness();
        m_w.point(10, x, y, 0);
        m_w.real(40, height);
        m_w.str(1, value);
        if (rotation != 0.0 || m_verbose)
            m_w.real(50, rotation);
        if (m_verbose) {
            m_w.real(41, 1.0);
            m_w.str(7, "Standard");
        }
        extrusion();
        m_w.str(100, "AcDbText");
    }

    // Entities cluster on a few busy layers, as in real plans.
    int modelLayer() {
        if (m_plan.layers.empty())
            return -1;
        const double u = m_rng.unit();
        return static_cast<int>(u * u * static_cast<double>(m_plan.layers.size()));
    }

    void writeModelEntity(std::uint64_t handle) {
        const EntityId id{handle, m_plan.handles.modelRecord, modelLayer()};
        const double x = m_rng.uniform(0, m_plan.extent);
        const double y = m_rng.uniform(0, m_plan.extent * 0.75);
        const int kind = m_rng.below(100);
        if (kind < 34) {
            const double length = m_rng.uniform(100, 6000);
            const double angle = m_rng.chance(0.7) ? 0.5 * std::numbers::pi * m_rng.below(4)
                                                   : m_rng.uniform(0, 2 * std::numbers::pi);
            line(id, x, y, x + length * std::cos(angle), y + length * std::sin(angle));
        } else if (kind < 58) {
            // Mostly orthogonal runs with the small kinks of hand-drawn walls.
            double xy[8][2];
            const int count = 3 + m_rng.below(6);
            xy[0][0] = x;
            xy[0][1] = y;
            for (int i = 1; i < count; ++i) {
                const bool alongX = (i % 2) == 1;
                const double step = m_rng.uniform(-3000, 3000);
                xy[i][0] = xy[i - 1][0] + (alongX ? step : m_rng.uniform(-5, 5));
                xy[i][1] = xy[i - 1][1] + (alongX ? m_rng.uniform(-5, 5) : step);
            }
            lwpolyline(id, xy, count, m_rng.chance(0.4));
        } else if (kind < 68) {
            circle(id, x, y, m_rng.uniform(25, 1500));
        } else if (kind < 78) {
            const double start = m_rng.uniform(0, 360);
            arc(id, x, y, m_rng.uniform(50, 2500), start,
                std::fmod(start + m_rng.uniform(15, 270), 360.0));
        } else if (kind < 90) {
            std::string value = m_rng.pick(kTexts);
            if (m_rng.chance(0.5)) {
                value += ' ';
                value += std::to_string(1 + m_rng.below(400));
            }
            const double height = 50.0 * (2 + m_rng.below(8));
            text(id, x, y, height, value, m_rng.chance(0.2) ? 90.0 : 0.0);
        } else {
            const int assemblies = static_cast<int>(m_plan.blocks.size()) - m_plan.assemblyStart;
            const int block = m_rng.chance(0.6) ? m_plan.assemblyStart + m_rng.below(assemblies)
                                                : m_rng.below(m_plan.assemblyStart);
            const double scale = m_rng.chance(0.9) ? 1.0 : 0.5 * (1 + m_rng.below(4));
            insert(id, m_plan.blocks[static_cast<std::size_t>(block)].name, x, y, scale,
                   90.0 * m_rng.below(4));
        }
    }

    void writeEntities() {
        section("ENTITIES");
        for (int i = 0; i < m_opt.entities; ++i)
            writeModelEntity(m_plan.firstEntity + static_cast<std::uint64_t>(i));
        if (!m_plan.layouts.empty())
            writeLayoutEntities(m_plan.layouts.front());
        endSection();
    }

    void writeLayoutEntities(const Layout& layout) {
        for (const Viewport& port : layout.viewports)
            viewport(port, layout.record);
        const double border[4][2] = {{10, 10}, {831, 10}, {831, 584}, {10, 584}};
        lwpolyline(EntityId{layout.border, layout.record, -1, true}, border, 4, true);
    }

    void viewport(const Viewport& port, std::uint64_t owner) {
        m_w.str(0, "VIEWPORT");
        m_w.handle(5, port.handle);
        m_w.handle(330, owner);
        m_w.str(100, "AcDbEntity");
        m_w.integer(67, 1);
        m_w.str(8, "0");
        m_w.str(100, "AcDbViewport");
        m_w.point(10, port.cx, port.cy, 0);
        m_w.real(40, port.width);
        m_w.real(41, port.height);
        m_w.integer(68, port.id);
        m_w.integer(69, port.id);
        m_w.point(12, port.viewX, port.viewY);
        m_w.point(13, 0, 0);
        m_w.point(14, 10, 10);
        m_w.point(15, 10, 10);
        m_w.point(16, 0, 0, 1);
        m_w.point(17, 0, 0, 0);
        m_w.real(42, 50.0);
        m_w.real(43, 0.0);
        m_w.real(44, 0.0);
        m_w.real(45, port.viewHeight);
        m_w.real(50, 0.0);
        m_w.real(51, 0.0);
        m_w.integer(72, 1000);
        for (int layer : port.frozen)
            m_w.handle(331, m_plan.layers[static_cast<std::size_t>(layer)].handle);
        m_w.integer(90, 32864); // the status bits CAD programs give a new viewport
        m_w.str(1, "");
        m_w.integer(281, 0);
        m_w.integer(71, 1);
        m_w.integer(74, 0);
        m_w.point(110, 0, 0, 0);
        m_w.point(111, 1, 0, 0);
        m_w.point(112, 0, 1, 0);
        m_w.integer(79, 0);
        m_w.real(146, 0.0);
        if (m_r2004)
            m_w.integer(170, 0);
    }

    // ---- OBJECTS --------------------------------------------------------------------------

    void dictionaryHead(const char* type, std::uint64_t handle, std::uint64_t owner) {
        m_w.str(0, type);
        m_w.handle(5, handle);
        if (owner != 0) {
            m_w.str(102, "{ACAD_REACTORS");
            m_w.handle(330, owner);
            m_w.str(102, "}");
        }
        m_w.handle(330, owner);
        m_w.str(100, "AcDbDictionary");
        m_w.integer(281, 1);
    }

    void entry(const char* key, std::uint64_t handle) {
        m_w.str(3, key);
        m_w.handle(350, handle);
    }

    void writeObjects() {
        section("OBJECTS");
        dictionaryHead("DICTIONARY", m_plan.handles.rootDict, 0);
        entry("ACAD_GROUP", m_plan.handles.groupDict);
        entry("ACAD_LAYOUT", m_plan.handles.layoutDict);
        entry("ACAD_PLOTSTYLENAME", m_plan.handles.plotStyleDict);
        dictionaryHead("DICTIONARY", m_plan.handles.groupDict, m_plan.handles.rootDict);
        dictionaryHead("DICTIONARY", m_plan.handles.layoutDict, m_plan.handles.rootDict);
        for (const Layout& layout : m_plan.layouts)
            entry(layout.name, layout.object);
        entry("Model", m_plan.handles.modelLayout);
        dictionaryHead("ACDBDICTIONARYWDFLT", m_plan.handles.plotStyleDict,
                       m_plan.handles.rootDict);
        entry("Normal", m_plan.handles.placeholder);
        m_w.str(100, "AcDbDictionaryWithDefault");
        m_w.handle(340, m_plan.handles.placeholder);
        m_w.str(0, "ACDBPLACEHOLDER");
        m_w.handle(5, m_plan.handles.placeholder);
        m_w.str(102, "{ACAD_REACTORS");
        m_w.handle(330, m_plan.handles.plotStyleDict);
        m_w.str(102, "}");
        m_w.handle(330, m_plan.handles.plotStyleDict);
        layoutObject(m_plan.handles.modelLayout, "Model", 0, m_plan.handles.modelRecord,
                     m_plan.handles.activeVport, true);
        for (const Layout& layout : m_plan.layouts)
            layoutObject(layout.object, layout.name, layout.tab, layout.record,
                         layout.viewports.back().handle, false);
        endSection();
    }

    void layoutObject(std::uint64_t handle, const char* name, int tab, std::uint64_t record,
                      std::uint64_t lastViewport, bool model) {
        m_w.str(0, "LAYOUT");
        m_w.handle(5, handle);
        m_w.str(102, "{ACAD_REACTORS");
        m_w.handle(330, m_plan.handles.layoutDict);
        m_w.str(102, "}");
        m_w.handle(330, m_plan.handles.layoutDict);
        m_w.str(100, "AcDbPlotSettings");
        m_w.str(1, "");
        m_w.str(2, "none_device");
        m_w.str(4, model ? "" : "ISO_full_bleed_A1_(841.00_x_594.00_MM)");
        m_w.str(6, "");
        m_w.real(40, 0.0);
        m_w.real(41, 0.0);
        m_w.real(42, 0.0);
        m_w.real(43, 0.0);
        m_w.real(44, model ? 0.0 : 841.0);
        m_w.real(45, model ? 0.0 : 594.0);
        m_w.real(46, 0.0);
        m_w.real(47, 0.0);
        m_w.real(48, 0.0);
        m_w.real(49, 0.0);
        m_w.real(140, 0.0);
        m_w.real(141, 0.0);
        m_w.real(142, 1.0);
        m_w.real(143, 1.0);
        m_w.integer(70, model ? 1712 : 688); // plot-layout flags of a fresh drawing
        m_w.integer(72, 1);
        m_w.integer(73, 0);
        m_w.integer(74, 5);
        m_w.str(7, "");
        m_w.integer(75, 16);
        m_w.integer(76, 0);
        m_w.integer(77, 2);
        m_w.integer(78, 300);
        m_w.real(147, 1.0);
        m_w.real(148, 0.0);
        m_w.real(149, 0.0);
        m_w.str(100, "AcDbLayout");
        m_w.str(1, name);
        m_w.integer(70, 1);
        m_w.integer(71, tab);
        m_w.point(10, 0, 0);
        m_w.point(11, model ? 420.0 : 841.0, model ? 297.0 : 594.0);
        m_w.point(12, 0, 0, 0);
        m_w.point(14, 0, 0, 0);
        m_w.point(15, model ? m_plan.extent : 841.0, model ? 0.75 * m_plan.extent : 594.0, 0);
        m_w.real(146, 0.0);
        m_w.point(13, 0, 0, 0);
        m_w.point(16, 1, 0, 0);
        m_w.point(17, 0, 1, 0);
        m_w.integer(76, 0);
        m_w.handle(330, record);
        m_w.handle(331, lastViewport);
    }

    DxfGeneratorOptions m_opt;
    DrawingRandom m_rng;
    DxfDrawingPlan m_plan;
    TagWriter m_w;
    bool m_r2004;
    bool m_verbose = false; // the entity being written spells out its defaults
};

// Writes `text` to `file`; messages name `target`, the path the caller asked for.
bool writeFile(const std::string& file, const std::string& target, const std::string& text,
               std::string* error) {
    std::FILE* out = std::fopen(file.c_str(), "wb");
    if (!out) {
        *error = "cannot create " + target + ": " + std::strerror(errno);
        return false;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    const int writeErrno = errno;
    const bool closed = std::fclose(out) == 0;
    if (!written || !closed) {
        *error = "cannot write " + target + ": " + std::strerror(written ? errno : writeErrno);
        std::remove(file.c_str());
        return false;
    }
    return true;
}

} // namespace

const char* dxfVersionName(DxfVersion version) {
    return version == DxfVersion::R2000 ? "R2000" : "R2018";
}

bool parseDxfVersion(const std::string& text, DxfVersion* version) {
    std::string upper = text;
    for (char& c : upper)
        c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
    if (upper == "R2000" || upper == "AC1015")
        *version = DxfVersion::R2000;
    else if (upper == "R2018" || upper == "AC1032")
        *version = DxfVersion::R2018;
    else
        return false;
    return true;
}

DxfDrawingPlan planDrawing(const DxfGeneratorOptions& options) {
    DrawingRandom random(drawingSeed(options));
    return planDrawing(options, random);
}

std::string generateDxf(const DxfGeneratorOptions& options) {
    return DxfDrawingWriter(options).run();
}

bool writeDxf(const DxfGeneratorOptions& options, const std::string& path, std::string* error) {
    std::string ignored;
    std::string& message = error ? *error : ignored;
    if (options.layers < 0 || options.entities < 0) {
        message = "negative layer or entity count";
        return false;
    }
    const std::string temporary = path + ".part" + std::to_string(::getpid());
    if (!writeFile(temporary, path, generateDxf(options), &message))
        return false;
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        std::filesystem::remove(temporary, ec);
        message = "cannot rename " + temporary + " to " + path;
        return false;
    }
    return true;
}

std::string cachedDxfName(const DxfGeneratorOptions& options) {
    return "gendxf-r" + std::to_string(kDxfGeneratorRevision) + "-L" +
           std::to_string(options.layers) + "-E" + std::to_string(options.entities) + "-" +
           dxfVersionName(options.version) + "-s" + std::to_string(options.seed) +
           (options.crlf ? "-crlf" : "") + ".dxf";
}

bool ensureCachedDxf(const DxfGeneratorOptions& options, const std::string& folder,
                     std::string* path, std::string* error) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) {
        if (error)
            *error = "cannot create folder " + folder + ": " + ec.message();
        return false;
    }
    const std::string target = (std::filesystem::path(folder) / cachedDxfName(options)).string();
    if (path)
        *path = target;
    if (std::filesystem::is_regular_file(target, ec))
        return true;
    return writeDxf(options, target, error);
}

} // namespace tvtools
