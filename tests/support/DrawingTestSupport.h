// Helpers of the tests on drawings: layers by name, whole-drawing text and its comparison, and
// a fixture that reads a drawing of the project's generator. Header-only, as each test program
// links the Host in its own way.
#pragma once

#include "DxfDrawingPlan.h"
#include "DxfGenerator.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace tvtest {

/// The record of that name in a symbol table (KdDbLayerTable, KdDbLinetypeTable ...); null
/// when there is none.
template <typename Table> KdDbObjectId findRecord(KdDbDatabase& db, const wchar_t* name) {
    Table* table = nullptr;
    EXPECT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    KdDbObjectId id;
    if (table) {
        table->getAt(name, id);
        table->close();
    }
    return id;
}

/// Adds a record through its table opened for write; null (and a failure) when refused.
template <typename Table, typename Record>
KdDbObjectId addRecord(KdDbDatabase& db, const wchar_t* name) {
    Table* table = nullptr;
    EXPECT_EQ(db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
    if (!table)
        return {};
    auto* record = new Record;
    EXPECT_EQ(record->setName(name), Kdad::eOk);
    KdDbObjectId id;
    if (table->add(id, record) != Kdad::eOk) {
        ADD_FAILURE() << "cannot add " << KdString(name).utf8();
        delete record;
    }
    table->close();
    return id;
}

inline KdDbObjectId findLayer(KdDbDatabase& db, const wchar_t* name) {
    return findRecord<KdDbLayerTable>(db, name);
}

inline KdDbObjectId addLayer(KdDbDatabase& db, const wchar_t* name) {
    return addRecord<KdDbLayerTable, KdDbLayerTableRecord>(db, name);
}

inline std::string drawingText(KdDbDatabase& db) {
    std::string out;
    EXPECT_EQ(db.writeDxf(out), Kdad::eOk);
    return out;
}

/// The drawing written and read back into a database of its own.
inline std::unique_ptr<KdDbDatabase> reloaded(KdDbDatabase& db) {
    std::string err;
    auto out = std::make_unique<KdDbDatabase>(false);
    EXPECT_EQ(out->readDxfBuffer(drawingText(db), &err), Kdad::eOk) << err;
    return out;
}

/// Empty when equal, else the first differing line of both. Whole drawings are compared this
/// way: EXPECT_EQ on them would have GoogleTest build an edit-distance table of millions of lines.
inline std::string firstDifference(const std::string& a, const std::string& b) {
    if (a == b)
        return {};
    size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i])
        ++i;
    const auto line = std::count(a.begin(), a.begin() + static_cast<long>(i), '\n') + 1;
    size_t from = a.rfind('\n', i);
    from = from == std::string::npos ? 0 : from + 1;
    return "line " + std::to_string(line) + ": \"" + a.substr(from, 60) + "\" vs \"" +
           b.substr(from, 60) + "\"";
}

/// A drawing of the project's generator: `options.layers` layers besides "0", named "Layer1"
/// ... in the generator's order, with the mix of properties it draws (off, frozen, locked, no
/// plot, true colours, colour books, transparency, descriptions, linetypes, lineweights);
/// entities on them in model space and in nested blocks; two layouts with two viewports each
/// that freeze some layers.
/// The default (seed 10) has each property on at least one layer: Layer4 a colour-book colour,
/// Layer5 off, Layer6 no plot, Layer10 frozen in new viewports, Layer15 locked, Layer16 frozen.
inline tvtools::DxfGeneratorOptions generatedDrawing(int layers = 16, int entities = 300,
                                                     std::uint64_t seed = 10) {
    tvtools::DxfGeneratorOptions options;
    options.layers = layers;
    options.entities = entities;
    options.seed = seed;
    return options;
}

/// Reads the generated drawing into `db` and gives its layers the names "Layer1" ... in the
/// order the generator made them, so that tests can name them.
inline void readGenerated(KdDbDatabase& db, const tvtools::DxfGeneratorOptions& options) {
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(tvtools::generateDxf(options), &err), Kdad::eOk) << err;
    const tvtools::DxfDrawingPlan plan = tvtools::planDrawing(options);
    for (size_t i = 0; i < plan.layers.size(); ++i) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(db.objectIdOf(plan.layers[i].handle),
                                                      KdDb::kForWrite);
        ASSERT_TRUE(layer) << plan.layers[i].name;
        const std::wstring name = L"Layer" + std::to_wstring(i + 1);
        ASSERT_EQ(layer->setName(name.c_str()), Kdad::eOk);
    }
}

/// The generated drawing read before each test, and its text as read.
class DrawingTest : public ::testing::Test {
protected:
    explicit DrawingTest(tvtools::DxfGeneratorOptions options = generatedDrawing())
        : m_options(options) {}

    void SetUp() override {
        readGenerated(m_db, m_options);
        m_original = text();
    }

    std::string text() { return drawingText(m_db); }
    KdDbObjectId layerId(const wchar_t* name) { return findLayer(m_db, name); }
    KdDbObjectId addLayer(const wchar_t* name) { return tvtest::addLayer(m_db, name); }

    int colorOf(const wchar_t* name) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(name), KdDb::kForRead);
        return layer ? layer->color().colorIndex() : -1;
    }

    void setColor(const wchar_t* name, uint16_t index) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(name), KdDb::kForWrite);
        ASSERT_TRUE(layer) << "cannot open " << KdString(name).utf8();
        KdCmColor c;
        ASSERT_EQ(c.setColorIndex(index), Kdad::eOk);
        ASSERT_EQ(layer->setColor(c), Kdad::eOk);
    }

    void rename(const wchar_t* from, const wchar_t* to) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(from), KdDb::kForWrite);
        ASSERT_TRUE(layer) << "cannot open " << KdString(from).utf8();
        ASSERT_EQ(layer->setName(to), Kdad::eOk);
    }

    tvtools::DxfGeneratorOptions m_options;
    KdDbDatabase m_db{false};
    std::string m_original;
};

} // namespace tvtest
