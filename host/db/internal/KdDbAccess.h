// The database's internals for the Host's own layers above it (the DXF reader and writer, the
// journal, the editor): object slots, tag storage and the undo journal. Not part of the SDK.
#pragma once

#include "KdDbDatabaseImpl.h"
#include "KdDbUndoJournal.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbDatabase.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbObject.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbSymbolTableRecord.h>

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

struct KdDbAccess {
    // -- Database --
    static KdDbDatabaseImpl& impl(const KdDbDatabase* db) { return *db->m_impl; }
    /// Gives `obj` a handle and a slot; the database owns it from now on.
    static KdDbObjectId adopt(KdDbDatabase* db, KdDbObject* obj) { return db->adopt(obj); }
    /// All objects, in the order they were made (erased ones included).
    static void forEachObject(const KdDbDatabase* db,
                              const std::function<void(KdDbObject*)>& fn) {
        for (auto& obj : db->m_impl->objects)
            fn(obj.get());
    }
    /// Marks the tables' name indexes stale after the journal restored states.
    static void invalidateIndexes(KdDbDatabase* db) { db->invalidateIndexes(); }
    /// Copies `raw` into the database's string store; the view lives as long as the database.
    static std::string_view storeString(KdDbDatabase* db, std::string_view raw) {
        return db->m_impl->strings.store(raw);
    }
    static KdDbUndoJournal& undoJournal(const KdDbDatabase* db) { return *db->m_impl->journal; }

    // -- Objects --
    /// Replaces all tags (the database's string store must own the values).
    static void setTags(KdDbObject* obj, std::vector<KdDbTag> tags) {
        obj->setTags(std::move(tags));
    }
    /// Replaces all tags as one recorded change (needs a write open).
    static Kdad::ErrorStatus replaceTags(KdDbObject* obj, std::vector<KdDbTag> tags) {
        return obj->replaceTags(std::move(tags));
    }
    /// Points the object at tags it does not own (the reader's tag array).
    static void setBorrowedTags(KdDbObject* obj, const KdDbTag* begin, uint32_t count) {
        obj->setBorrowedTags(begin, count);
    }
    static void setTypeName(KdDbObject* obj, std::string_view type) { obj->m_type = type; }
    static void attach(KdDbObject* obj, KdDbStub* stub) { obj->m_stub = stub; }
    /// Erase flag change that bypasses the open checks (undo, load repair).
    static void setErasedFlag(KdDbObject* obj, bool erased) { obj->m_erased = erased; }
    /// Marks a state restored by the journal as not modified when it was read unmodified.
    static void setModifiedFlag(KdDbObject* obj, bool modified) { obj->m_modified = modified; }
    static uint32_t journalEpoch(const KdDbObject* obj) { return obj->m_journalEpoch; }
    static void setJournalEpoch(KdDbObject* obj, uint32_t epoch) { obj->m_journalEpoch = epoch; }
    static std::unique_ptr<KdDbObjectState> saveState(const KdDbObject* obj) {
        return obj->saveState();
    }
    static void restoreState(KdDbObject* obj, const KdDbObjectState& state) {
        obj->restoreState(state);
    }
    /// Opens the object without going through its id; see kddbOpenKdDbObject.
    static Kdad::ErrorStatus openAs(KdDbObject* obj, KdDb::OpenMode mode) {
        return obj->openAs(mode);
    }

    // -- Links the reader makes and the database keeps --
    static void bindLayer(KdDbEntity* entity, KdDbStub* layer) { entity->m_layer = layer; }
    static void setBlockBeginEnd(KdDbBlockTableRecord* btr, KdDbObjectId begin,
                                 KdDbObjectId end) {
        btr->m_begin = begin;
        btr->m_end = end;
    }
    static void appendLoadedEntity(KdDbBlockTableRecord* btr, KdDbObjectId id) {
        btr->m_entities.push_back(id);
    }
    static void appendLoadedRecord(KdDbSymbolTable* table, KdDbObjectId id) {
        table->appendLoadedRecord(id);
    }
    static void reindex(KdDbSymbolTable* table) { table->reindex(); }
    /// Reads a record's name from its tags (after the reader set them).
    static void loadName(KdDbSymbolTableRecord* rec) { rec->loadName(); }
    static void nameChanged(KdDbSymbolTable* table, const std::wstring& oldName,
                            const std::wstring& newName, KdDbObjectId id) {
        table->nameChanged(oldName, newName, id);
    }
};
