// Helpers shared by the database tests: layers by name, whole-drawing text and its comparison,
// and a fixture that reads a test drawing.
#pragma once

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
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

/// A drawing read from a test file before each test, and its text as read; the test is skipped
/// when the file is missing.
class DrawingFileTest : public ::testing::Test {
protected:
    explicit DrawingFileTest(std::string path) : m_path(std::move(path)) {}

    void SetUp() override {
        if (!std::filesystem::exists(m_path))
            GTEST_SKIP() << m_path << " is missing";
        std::string err;
        ASSERT_EQ(m_db.readDxfFile(m_path.c_str(), &err), Kdad::eOk) << err;
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

    std::string m_path;
    KdDbDatabase m_db{false};
    std::string m_original;
};

} // namespace tvtest
