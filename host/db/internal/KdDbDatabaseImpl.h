// Private state of a drawing database: the file buffer and tags it borrows from, the handle
// map, the document's sections in order, and the well-known objects.
#pragma once

#include "DxfCodec.h"

#include <tv/KdDbDatabase.h>
#include <tv/KdDbLayerStateManager.h>
#include <tv/KdDbTransactionManager.h>
#include "KdDbUndoJournal.h"

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// Append-only store of the raw text of tag values the database creates.
class KdDbStringStore {
public:
    std::string_view store(std::string_view raw);

private:
    std::vector<std::unique_ptr<char[]>> m_blocks;
    size_t m_used = 0;
    size_t m_capacity = 0;
};

/// A section the database keeps as tags (CLASSES, THUMBNAILIMAGE, unknown sections).
struct KdDbRawSection {
    std::string name;
    std::vector<KdDbTag> tags; ///< the section's tags between "2 NAME" and "0 ENDSEC"
};

enum class KdDbSectionKind { Header, Classes, Tables, Blocks, Entities, Objects, Raw };

struct KdDbSectionRef {
    KdDbSectionKind kind;
    size_t rawIndex = 0; ///< for Raw and Classes sections
};

struct KdDbDatabaseImpl {
    explicit KdDbDatabaseImpl(KdDbDatabase* self);
    ~KdDbDatabaseImpl();

    KdDbDatabase* self;
    std::string fileName;
    bool modified = false;         ///< changed since it was read or last saved
    std::string fileText;          ///< the file the tags point into
    std::vector<KdDbTag> fileTags; ///< the reader's tags; objects borrow ranges of it
    KdDbStringStore strings;
    std::unique_ptr<tvdxf::DxfCodec> codec;

    std::deque<KdDbStub> stubs;
    std::unordered_map<uint64_t, KdDbStub*> byHandle;
    std::vector<std::unique_ptr<KdDbObject>> objects;
    uint64_t maxHandle = 0;

    KdDb::DwgVersion version = KdDb::kDHL_1032;
    std::vector<std::string> warnings;

    // Document order.
    std::vector<KdDbSectionRef> sections;
    std::vector<KdDbTag> header; ///< all header tags ("9 $NAME" and values)
    std::vector<KdDbRawSection> rawSections;
    std::vector<KdDbObjectId> tables;     ///< table heads in order
    std::vector<KdDbObjectId> blockOrder; ///< block records in the order of the BLOCKS section
    std::vector<KdDbObjectId> entitiesSection;
    std::vector<KdDbObjectId> objectsSection;

    // Well-known objects, found after loading.
    KdDbObjectId layerTable, linetypeTable, blockTable, appIdTable;
    KdDbObjectId modelSpace, paperSpace;
    KdDbObjectId namedObjects;
    KdDbObjectId clayer; ///< bound from $CLAYER, so that a rename of the layer follows

    std::unique_ptr<KdDbUndoJournal> journal;
    std::unique_ptr<KdDbTransactionManager> transactions;
    std::unique_ptr<KdDbLayerStateManager> layerStates;

    KdDbStub* newStub(uint64_t handle);
    KdDbStub* stubOf(uint64_t handle) const {
        auto it = byHandle.find(handle);
        return it == byHandle.end() ? nullptr : it->second;
    }
    /// The next handle no stub holds.
    uint64_t nextHandle() {
        do
            ++maxHandle;
        while (byHandle.count(maxHandle) != 0);
        return maxHandle;
    }

    /// Index of header variable `name` ("$CLAYER") in `header`, or -1.
    int headerIndex(std::string_view name) const;
    /// Index of the value of header variable `name`, or -1 when absent or written without one.
    int headerValueIndex(std::string_view name) const;
    /// Finds the well-known objects after a load or after building a new drawing.
    void bindWellKnown();
    /// Resolves every entity's layer name to the layer record.
    void bindEntityLayers();
};

/// Factory of the database class of a DXF record type.
/// Factory of the database class of a DXF record type: table heads ("TABLE", by table name) and
/// records in the TABLES section, entities in BLOCKS and ENTITIES, objects in OBJECTS.
std::unique_ptr<KdDbObject> kdCreateObjectOfType(std::string_view dxfType, bool inTablesSection,
                                                 std::string_view tableName, bool isEntity);
