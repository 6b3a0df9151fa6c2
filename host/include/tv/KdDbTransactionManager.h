// Transactions over a database: nested, committed with endTransaction, undone with abort.
#pragma once

#include "KdDbObject.h"

class KdDbDatabase;

class TVHOST_API KdDbTransaction {
public:
    /// Opens an object through the transaction; it stays open until the transaction ends.
    Kdad::ErrorStatus getObject(KdDbObject*& obj, KdDbObjectId id, KdDb::OpenMode mode,
                                bool openErased = false);
    int depth() const { return m_depth; }

private:
    friend class KdDbTransactionManager;
    KdDbTransaction(KdDbDatabase* db, int depth) : m_db(db), m_depth(depth) {}
    KdDbDatabase* m_db;
    int m_depth;
    size_t m_journalStart = 0;
    std::vector<KdDbObjectId> m_opened;
};

class TVHOST_API KdDbTransactionManager {
public:
    explicit KdDbTransactionManager(KdDbDatabase* db);
    ~KdDbTransactionManager();

    KdDbTransaction* startTransaction();
    /// Commits the top transaction: its changes stay (and become part of the outer one).
    Kdad::ErrorStatus endTransaction();
    /// Undoes every change made since the top transaction started and ends it.
    Kdad::ErrorStatus abortTransaction();
    KdDbTransaction* topTransaction() const;
    int numActiveTransactions() const { return static_cast<int>(m_stack.size()); }
    /// Opens an object through the top transaction; eNoActiveTransactions without one.
    Kdad::ErrorStatus getObject(KdDbObject*& obj, KdDbObjectId id, KdDb::OpenMode mode,
                                bool openErased = false);
    /// Hands a newly created object (already added to the database) to the top transaction.
    Kdad::ErrorStatus addNewlyCreatedKdDbObject(KdDbObject* obj, bool add = true);

private:
    void closeOpened(KdDbTransaction& tr);
    KdDbDatabase* m_db;
    std::vector<std::unique_ptr<KdDbTransaction>> m_stack;
};
