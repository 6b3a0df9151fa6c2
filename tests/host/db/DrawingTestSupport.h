// Helpers shared by the database tests: layers by name, whole-drawing text and its comparison.
#pragma once

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

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

} // namespace tvtest
