// Undo marks and undo inside a command for the current document.
#pragma once

#include "KdExport.h"

class KdDbDatabase;

/// The undo controller of one document: works on its database's undo journal.
class TVHOST_API KdEdUndoController {
public:
    explicit KdEdUndoController(KdDbDatabase* db) : m_db(db) {}

    /// Puts an undo mark: changes from now on can be undone back to it.
    void putUndoMark();
    /// Undoes back to the last mark (which is removed). `count` -1 and `flag` 1 are what a
    /// command passes to take back everything since its mark; other counts undo that many
    /// marks. False when there was no mark to go back to.
    bool undoInCommand(int count = -1, int flag = 1);
    bool hasUndoMark() const;
    KdDbDatabase* database() const { return m_db; }

private:
    KdDbDatabase* m_db;
};

/// The current document's undo controller; null when no drawing is current.
TVHOST_API KdEdUndoController* curDocUndoController();
