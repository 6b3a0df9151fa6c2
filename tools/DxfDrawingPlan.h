// The skeleton of a generated drawing: every record but the model-space entities, with handles.
#pragma once

#include "DrawingRandom.h"
#include "DxfGenerator.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tvtools {

struct Layer {
    std::string name;
    std::uint64_t handle = 0;
    int color = 7;
    int flags = 0;
    bool off = false;
    bool plot = true;
    int trueColor = -1;
    const char* book = nullptr;
    int linetype = 0;
    int lineweight = -3;
    std::string description;
    int alpha = -1;       // 0..255 when the layer has a transparency
    bool verbose = false; // its entities write every AcDbEntity group, defaults included
};

// One primitive inside a block definition.
struct Shape {
    enum Kind { kLine, kCircle, kArc, kInsert } kind = kLine;
    std::uint64_t handle = 0;
    int layer = -1; // -1: layer "0"
    double a = 0, b = 0, c = 0, d = 0, e = 0;
    int block = -1; // inserted block
};

struct Block {
    std::string name;
    std::uint64_t record = 0;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::vector<Shape> shapes;
};

struct Viewport {
    std::uint64_t handle = 0;
    int id = 1;
    double cx = 0, cy = 0, width = 0, height = 0;
    double viewX = 0, viewY = 0, viewHeight = 0;
    std::vector<int> frozen;
};

struct Layout {
    const char* name = "";
    const char* blockName = "";
    int tab = 0;
    std::uint64_t object = 0;
    std::uint64_t record = 0;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t border = 0;
    std::vector<Viewport> viewports;
};

// Handles of the records everything else points at, allocated before anything is written so
// that forward references ($HANDSEED, 390, 340, 331) are known up front.
struct FixedHandles {
    std::uint64_t vportTable, ltypeTable, layerTable, styleTable, viewTable, ucsTable, appidTable,
        dimstyleTable, blockTable;
    std::uint64_t activeVport, styleStandard, dimstyleStandard, layerZero;
    std::array<std::uint64_t, 3> specialLinetypes; // ByBlock, ByLayer, Continuous
    std::array<std::uint64_t, 3> patternLinetypes; // DASHED, HIDDEN, CENTER
    std::array<std::uint64_t, 3> appids;           // ACAD and the two layer applications
    std::uint64_t modelRecord, modelBegin, modelEnd;
    std::uint64_t rootDict, groupDict, layoutDict, plotStyleDict, placeholder, modelLayout;
};

struct DxfDrawingPlan {
    FixedHandles handles{};
    std::vector<Layer> layers;     // besides "0"
    std::vector<Block> blocks;     // leaf blocks first, then the assemblies inserting them
    int assemblyStart = 0;         // index of the first assembly in `blocks`
    std::vector<Layout> layouts;   // paper-space layouts; the first one is active
    double extent = 0;             // model space spans [0, extent] x [0, 0.75 extent]
    std::uint64_t firstEntity = 0; // model-space entities take the handles from here on
    std::uint64_t handseed = 0;    // above every handle of the drawing
};

/// Lays out the drawing for `options`, taking every random choice from `random`.
DxfDrawingPlan planDrawing(const DxfGeneratorOptions& options, DrawingRandom& random);

/// The plan of the drawing generateDxf(options) writes, for tests that check what was read
/// against what was written.
DxfDrawingPlan planDrawing(const DxfGeneratorOptions& options);

} // namespace tvtools
