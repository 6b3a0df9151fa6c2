// Symbol tables (the TABLE heads of a drawing) and their record iterator.
#pragma once

#include "KdDbObject.h"

#include <unordered_map>

class KdDbSymbolTableRecord;
class KdDbLayerTableRecord;
class KdDbLinetypeTableRecord;
class KdDbBlockTableRecord;

/// Walks the records of a table in their order, skipping erased ones unless asked.
class TVHOST_API KdDbSymbolTableIterator {
public:
    KdDbSymbolTableIterator(std::vector<KdDbObjectId> records, bool skipErased);
    void start() {
        m_pos = 0;
        skip();
    }
    bool done() const { return m_pos >= m_records.size(); }
    void step() {
        ++m_pos;
        skip();
    }
    KdDbObjectId getRecordId() const { return done() ? KdDbObjectId::kNull : m_records[m_pos]; }
    Kdad::ErrorStatus getRecordId(KdDbObjectId& id) const;
    Kdad::ErrorStatus getRecord(KdDbSymbolTableRecord*& rec, KdDb::OpenMode mode,
                                bool openErased = false) const;

private:
    void skip();
    std::vector<KdDbObjectId> m_records;
    size_t m_pos = 0;
    bool m_skipErased = true;
};

/// A table head ("0 TABLE"): owns its records in order and finds them by name, ignoring case.
class TVHOST_API KdDbSymbolTable : public KdDbObject {
public:
    explicit KdDbSymbolTable(std::string_view tableName);
    ~KdDbSymbolTable() override;

    /// The table's name as DXF writes it ("LAYER", "LTYPE", "BLOCK_RECORD").
    std::string_view tableName() const { return m_tableName; }

    /// Finds a record by name (case ignored); eKeyNotFound when absent or erased.
    Kdad::ErrorStatus getAt(const wchar_t* name, KdDbObjectId& id, bool getErased = false) const;
    Kdad::ErrorStatus getAt(const wchar_t* name, KdDbSymbolTableRecord*& rec, KdDb::OpenMode mode,
                            bool openErased = false) const;
    bool has(const wchar_t* name) const;
    bool has(KdDbObjectId id) const;
    /// Adds a new record (the table takes ownership): eInvalidSymbolTableName for a bad name,
    /// eDuplicateRecordName for a name in use, eNotOpenForWrite when the table is not open for
    /// write, eWrongObjectType for a record of another table. On failure nothing changes and the
    /// caller keeps the record.
    Kdad::ErrorStatus add(KdDbSymbolTableRecord* rec);
    Kdad::ErrorStatus add(KdDbObjectId& id, KdDbSymbolTableRecord* rec);
    /// A new iterator over the records (the caller deletes it).
    Kdad::ErrorStatus newIterator(KdDbSymbolTableIterator*& it, bool atBeginning = true,
                                  bool skipErased = true) const;
    std::unique_ptr<KdDbSymbolTableIterator> iterator(bool skipErased = true) const;
    /// Number of records not erased.
    size_t count() const;

    /// The records in table order, erased ones included.
    const std::vector<KdDbObjectId>& recordIds() const { return m_records; }

protected:
    /// The record class this table holds (layers for "LAYER").
    virtual bool acceptsRecord(const KdDbSymbolTableRecord* rec) const;
    std::unique_ptr<KdDbObjectState> saveState() const override;
    void restoreState(const KdDbObjectState& state) override;

private:
    friend struct KdDbAccess;
    void appendLoadedRecord(KdDbObjectId id);
    /// Keeps the name index up to date when a record's name changes or it is (un)erased.
    void reindex();
    void nameChanged(const std::wstring& oldName, const std::wstring& newName, KdDbObjectId id);
    void ensureIndex() const;
    std::string m_tableName;
    std::vector<KdDbObjectId> m_records;
    mutable std::unordered_map<std::wstring, KdDbObjectId> m_index; // upper-cased names
    mutable bool m_indexValid = false;
};

class TVHOST_API KdDbLayerTable : public KdDbSymbolTable {
public:
    KdDbLayerTable();
    ~KdDbLayerTable() override;
    using KdDbSymbolTable::getAt;
    Kdad::ErrorStatus getAt(const wchar_t* name, KdDbLayerTableRecord*& rec, KdDb::OpenMode mode,
                            bool openErased = false) const;
    /// Sets every layer's in-use flag: used by an entity in any block, current, "0" or
    /// "Defpoints", or dependent on an external reference.
    void generateUsageData();
    bool acceptsRecord(const KdDbSymbolTableRecord* rec) const override;
};

class TVHOST_API KdDbLinetypeTable : public KdDbSymbolTable {
public:
    KdDbLinetypeTable();
    ~KdDbLinetypeTable() override;
    using KdDbSymbolTable::getAt;
    Kdad::ErrorStatus getAt(const wchar_t* name, KdDbLinetypeTableRecord*& rec, KdDb::OpenMode mode,
                            bool openErased = false) const;
    bool acceptsRecord(const KdDbSymbolTableRecord* rec) const override;
};

class TVHOST_API KdDbBlockTable : public KdDbSymbolTable {
public:
    KdDbBlockTable();
    ~KdDbBlockTable() override;
    using KdDbSymbolTable::getAt;
    Kdad::ErrorStatus getAt(const wchar_t* name, KdDbBlockTableRecord*& rec, KdDb::OpenMode mode,
                            bool openErased = false) const;
    bool acceptsRecord(const KdDbSymbolTableRecord* rec) const override;
};
