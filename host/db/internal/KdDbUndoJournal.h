// The undo journal: object states recorded before their first change inside a transaction or
// since an undo mark, restored by abort and by undo back to a mark.
#pragma once

#include <tv/KdDbObject.h>

class TVHOST_API KdDbUndoJournal {
public:
    explicit KdDbUndoJournal(KdDbDatabase* db) : m_db(db) {}
    ~KdDbUndoJournal();

    /// True while a transaction or an undo mark asks for changes to be recorded.
    bool isRecording() const { return !m_levels.empty(); }
    /// Records `obj`'s state unless it was recorded already at the current level.
    void recordChange(KdDbObject* obj);
    /// Records that `id` was created at the current level (undo erases it).
    void recordCreated(KdDbObjectId id);
    /// Records the header variables (and the current layer) before their first change.
    void recordHeader();

    /// Opens a level (transaction or mark); returns its position in the journal.
    size_t pushLevel();
    /// Closes the top level keeping its changes; the journal empties when no level is left.
    void popLevel();
    /// Restores every state recorded since `position` in reverse order, then closes the top level.
    void rollbackLevel();

    /// Undo marks on the same journal.
    void putUndoMark();
    bool hasUndoMark() const { return !m_marks.empty(); }
    /// Undoes back to the last mark and removes it; false when there is no mark.
    bool undoToLastMark();
    size_t size() const { return m_entries.size(); }

private:
    struct Entry {
        KdDbObjectId id;
        std::unique_ptr<KdDbObjectState> state; // null: the object was created
        bool header = false;                    // the header variables, in `headerTags`
        std::vector<KdDbTag> headerTags;
        KdDbObjectId clayer;
    };
    struct Level {
        size_t start;
        uint32_t epoch;
        bool mark;
        uint64_t handleSeed; ///< the database's last handle when the level opened
    };
    void rollbackTo(size_t position, uint64_t handleSeed);
    KdDbDatabase* m_db;
    std::vector<Entry> m_entries;
    std::vector<Level> m_levels;
    std::vector<size_t> m_marks; // indexes into m_levels
    uint32_t m_nextEpoch = 1;
    uint32_t m_headerEpoch = 0;
};
