// Planning of a generated drawing: layers with their properties, blocks, layouts, handles.
#include "DxfDrawingPlan.h"

#include "DxfDrawingCatalog.h"

#include <algorithm>
#include <cmath>

namespace tvtools {
namespace {

class DrawingPlanner {
public:
    DrawingPlanner(const DxfGeneratorOptions& options, DrawingRandom& random)
        : m_opt(options), m_rng(random), m_r2004(options.version != DxfVersion::R2000) {
        const double entities = static_cast<double>(std::max(options.entities, 1));
        m_plan.extent = 10000.0 + 300.0 * std::sqrt(entities);
    }

    DxfDrawingPlan run() {
        planAll();
        return std::move(m_plan);
    }

private:
    std::uint64_t take() { return m_nextHandle++; }

    void planAll() {
        FixedHandles& h = m_plan.handles;
        for (std::uint64_t* t :
             {&h.vportTable,  &h.ltypeTable,  &h.layerTable,    &h.styleTable,
              &h.viewTable,   &h.ucsTable,    &h.appidTable,    &h.dimstyleTable,
              &h.blockTable,  &h.activeVport, &h.styleStandard, &h.dimstyleStandard,
              &h.layerZero,   &h.modelRecord, &h.modelBegin,    &h.modelEnd,
              &h.rootDict,    &h.groupDict,   &h.layoutDict,    &h.plotStyleDict,
              &h.placeholder, &h.modelLayout})
            *t = take();
        for (auto* group : {&h.specialLinetypes, &h.patternLinetypes, &h.appids}) {
            for (std::uint64_t& handle : *group)
                handle = take();
        }
        planLayers();
        planBlocks();
        planLayouts();
        m_plan.firstEntity = m_nextHandle;
        m_nextHandle += static_cast<std::uint64_t>(std::max(m_opt.entities, 0));
        m_plan.handseed = m_nextHandle;
    }

    void planLayers() {
        m_plan.layers.resize(static_cast<std::size_t>(std::max(m_opt.layers, 0)));
        for (std::size_t i = 0; i < m_plan.layers.size(); ++i) {
            Layer& layer = m_plan.layers[i];
            layer.handle = take();
            layer.name = layerName(static_cast<int>(i) + 1, &layer.description);
            layer.color = 1 + m_rng.below(255);
            layer.off = m_rng.chance(0.08);
            if (m_rng.chance(0.06))
                layer.flags |= kLayerFrozen;
            if (m_rng.chance(0.04))
                layer.flags |= kLayerFrozenInNewViewports;
            if (m_rng.chance(0.05))
                layer.flags |= kLayerLocked;
            layer.plot = !m_rng.chance(0.07);
            // Drawn for every version so that an R2000 file holds the same drawing as an R2018
            // one minus what R2000 cannot store.
            const BookColor& book = m_rng.pick(kBookColors);
            const int rgb = static_cast<int>(m_rng.next() & 0xFFFFFF);
            const double colorKind = m_rng.unit();
            if (m_r2004 && colorKind < 0.03) {
                layer.book = book.name;
                layer.trueColor = book.rgb;
            } else if (m_r2004 && colorKind < 0.15) {
                layer.trueColor = rgb;
            }
            const double lt = m_rng.unit();
            layer.linetype = lt < 0.70 ? 0 : lt < 0.82 ? 1 : lt < 0.92 ? 2 : 3;
            if (m_rng.chance(0.6))
                layer.lineweight = m_rng.pick(kLineweights);
            const ForeignText& foreign = m_rng.pick(kForeignDescriptions);
            const double describe = m_rng.unit();
            if (describe < 0.01)
                layer.description = m_r2004 ? foreign.utf8 : foreign.escaped;
            else if (describe >= 0.35)
                layer.description.clear();
            layer.verbose = m_rng.chance(kVerboseLayerShare);
            if (m_rng.chance(0.12))
                layer.alpha =
                    static_cast<int>(std::lround((1.0 - 0.1 * (1 + m_rng.below(9))) * 255.0));
        }
    }

    // Names in the style of office layer standards ("A-WALL-0001"), with the mix of separators
    // and the occasional mixed case that merged drawings end up with.
    std::string layerName(int number, std::string* description) {
        const Discipline& discipline = m_rng.pick(kDisciplines);
        const MajorGroup& major = m_rng.pick(kMajors);
        const char* minor = m_rng.pick(kMinors);
        const double s = m_rng.unit();
        const char sep = s < 0.72 ? '-' : s < 0.87 ? '_' : ' ';
        const char sep2 = m_rng.chance(0.1) ? '_' : sep;
        std::string name = discipline.code;
        name += sep;
        name += major.code;
        if (*minor) {
            name += sep2;
            name += minor;
        }
        name += sep;
        std::string digits = std::to_string(number); // at least four digits: "0042"
        if (digits.size() < 4)
            digits.insert(0, 4 - digits.size(), '0');
        name += digits;
        if (m_rng.chance(0.04)) {
            for (std::size_t i = 1; i < name.size(); ++i) {
                if (name[i] >= 'A' && name[i] <= 'Z' && name[i - 1] != ' ' && name[i - 1] != '-' &&
                    name[i - 1] != '_')
                    name[i] = static_cast<char>(name[i] - 'A' + 'a');
            }
        }
        *description = std::string(discipline.words) + " " + major.words;
        if (*minor)
            *description += std::string(" (") + minor + ")";
        return name;
    }

    void planBlocks() {
        for (const char* name : kLeafBlocks) {
            Block block = newBlock(name);
            const double w = m_rng.uniform(400, 1600);
            const double d = m_rng.uniform(300, 900);
            const double corners[5][2] = {{0, 0}, {w, 0}, {w, d}, {0, d}, {0, 0}};
            for (int i = 0; i < 4; ++i)
                block.shapes.push_back(
                    lineShape(corners[i][0], corners[i][1], corners[i + 1][0], corners[i + 1][1]));
            const int extra = 2 + m_rng.below(6);
            for (int i = 0; i < extra; ++i) {
                Shape s;
                s.handle = take();
                s.kind = m_rng.chance(0.5) ? Shape::kCircle : Shape::kArc;
                s.a = m_rng.uniform(0, w);
                s.b = m_rng.uniform(0, d);
                s.c = m_rng.uniform(20, std::min(w, d) / 2);
                s.d = 90.0 * m_rng.below(4);
                s.e = s.d + 90.0;
                if (!m_plan.layers.empty() && m_rng.chance(0.2))
                    s.layer = m_rng.below(static_cast<int>(m_plan.layers.size()));
                block.shapes.push_back(s);
            }
            m_plan.blocks.push_back(std::move(block));
        }
        const int leafCount = static_cast<int>(m_plan.blocks.size());
        for (const char* name : kAssemblyBlocks) {
            Block block = newBlock(name);
            const int inserts = 2 + m_rng.below(5);
            for (int i = 0; i < inserts; ++i) {
                Shape s;
                s.handle = take();
                s.kind = Shape::kInsert;
                s.block = m_rng.below(leafCount);
                s.a = 1200.0 * i;
                s.b = m_rng.chance(0.5) ? 0.0 : 900.0;
                s.d = 90.0 * m_rng.below(4);
                block.shapes.push_back(s);
            }
            block.shapes.push_back(lineShape(-100, -100, 1200.0 * inserts, -100));
            m_plan.blocks.push_back(std::move(block));
        }
        m_plan.assemblyStart = leafCount;
    }

    Block newBlock(const char* name) {
        Block block;
        block.name = name;
        block.record = take();
        block.begin = take();
        block.end = take();
        return block;
    }

    Shape lineShape(double x1, double y1, double x2, double y2) {
        Shape s;
        s.handle = take();
        s.kind = Shape::kLine;
        s.a = x1;
        s.b = y1;
        s.c = x2;
        s.d = y2;
        return s;
    }

    void planLayouts() {
        const char* names[2] = {"Layout1", "Layout2"};
        const char* blocks[2] = {"*Paper_Space", "*Paper_Space0"};
        for (int i = 0; i < 2; ++i) {
            Layout layout;
            layout.name = names[i];
            layout.blockName = blocks[i];
            layout.tab = i + 1;
            layout.object = take();
            layout.record = take();
            layout.begin = take();
            layout.end = take();
            layout.border = take();
            // The sheet itself (id 1) and two windows into model space on an A1 sheet.
            Viewport sheet;
            sheet.handle = take();
            sheet.id = 1;
            sheet.cx = 420.5;
            sheet.cy = 297.0;
            sheet.width = 1050.0;
            sheet.height = 735.0;
            sheet.viewX = sheet.cx;
            sheet.viewY = sheet.cy;
            sheet.viewHeight = sheet.height;
            layout.viewports.push_back(sheet);
            for (int v = 0; v < 2; ++v) {
                Viewport port;
                port.handle = take();
                port.id = v + 2;
                port.width = 380.0;
                port.height = 520.0;
                port.cx = 215.0 + 410.0 * v;
                port.cy = 307.0;
                port.viewX = m_rng.uniform(0.2, 0.8) * m_plan.extent;
                port.viewY = m_rng.uniform(0.2, 0.8) * m_plan.extent * 0.75;
                port.viewHeight = m_rng.uniform(0.05, 0.3) * m_plan.extent;
                const int count = std::min(3 + m_rng.below(6), m_opt.layers);
                while (static_cast<int>(port.frozen.size()) < count) {
                    const int layer = m_rng.below(m_opt.layers);
                    bool seen = false;
                    for (int f : port.frozen)
                        seen = seen || f == layer;
                    if (!seen)
                        port.frozen.push_back(layer);
                }
                layout.viewports.push_back(port);
            }
            m_plan.layouts.push_back(layout);
        }
    }

    const DxfGeneratorOptions& m_opt;
    DrawingRandom& m_rng;
    bool m_r2004;
    DxfDrawingPlan m_plan;
    std::uint64_t m_nextHandle = 1;
};

} // namespace

DxfDrawingPlan planDrawing(const DxfGeneratorOptions& options, DrawingRandom& random) {
    return DrawingPlanner(options, random).run();
}

} // namespace tvtools
