// Transactions and the undo journal they share with undo marks.
#include <tv/KdDbTransactionManager.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"

#include "KdDbUndoJournal.h"

// -- Undo journal --

KdDbUndoJournal::~KdDbUndoJournal() = default;

void KdDbUndoJournal::recordChange(KdDbObject* obj) {
    if (m_levels.empty() || !obj || obj->isNewObject())
        return;
    uint32_t epoch = m_levels.back().epoch;
    if (KdDbAccess::journalEpoch(obj) == epoch)
        return;
    KdDbAccess::setJournalEpoch(obj, epoch);
    Entry entry;
    entry.id = obj->objectId();
    entry.state = KdDbAccess::saveState(obj);
    m_entries.push_back(std::move(entry));
}

void KdDbUndoJournal::recordCreated(KdDbObjectId id) {
    if (m_levels.empty())
        return;
    if (id.stub() && id.stub()->object)
        KdDbAccess::setJournalEpoch(id.stub()->object, m_levels.back().epoch);
    Entry entry;
    entry.id = id; // no state: undo erases the object
    m_entries.push_back(std::move(entry));
}

void KdDbUndoJournal::recordHeader() {
    if (m_levels.empty() || m_headerEpoch == m_levels.back().epoch)
        return;
    m_headerEpoch = m_levels.back().epoch;
    Entry entry;
    entry.header = true;
    entry.headerTags = KdDbAccess::impl(m_db).header;
    entry.clayer = KdDbAccess::impl(m_db).clayer;
    m_entries.push_back(std::move(entry));
}

size_t KdDbUndoJournal::pushLevel() {
    m_levels.push_back({m_entries.size(), m_nextEpoch++, false, KdDbAccess::impl(m_db).maxHandle});
    return m_entries.size();
}

void KdDbUndoJournal::popLevel() {
    if (m_levels.empty())
        return;
    m_levels.pop_back();
    // Marks set inside a level that ended no longer apply.
    while (!m_marks.empty() && m_marks.back() >= m_levels.size())
        m_marks.pop_back();
    if (m_levels.empty())
        m_entries.clear();
}

void KdDbUndoJournal::rollbackTo(size_t position, uint64_t handleSeed) {
    KdDbDatabaseImpl& impl = KdDbAccess::impl(m_db);
    while (m_entries.size() > position) {
        Entry entry = std::move(m_entries.back());
        m_entries.pop_back();
        if (entry.header) {
            impl.header = std::move(entry.headerTags);
            impl.clayer = entry.clayer;
            m_headerEpoch = 0;
            continue;
        }
        KdDbObject* obj = entry.id.stub() ? entry.id.stub()->object : nullptr;
        if (!obj)
            continue;
        if (entry.state) {
            KdDbAccess::restoreState(obj, *entry.state);
        } else {
            // Created inside the level: it disappears, and so does its handle, so that the
            // drawing is saved exactly as before.
            KdDbAccess::setErasedFlag(obj, true);
            uint64_t h = entry.id.stub()->handle;
            auto it = impl.byHandle.find(h);
            if (h > handleSeed && it != impl.byHandle.end() && it->second == entry.id.stub())
                impl.byHandle.erase(it);
        }
        KdDbAccess::setJournalEpoch(obj, 0);
    }
    // Handles past the seed are free again unless something still holds one.
    uint64_t highest = handleSeed;
    for (auto& [h, stub] : impl.byHandle)
        if (h > highest && stub->object)
            highest = h;
    impl.maxHandle = highest;
    KdDbAccess::invalidateIndexes(m_db);
}

void KdDbUndoJournal::rollbackLevel() {
    if (m_levels.empty())
        return;
    rollbackTo(m_levels.back().start, m_levels.back().handleSeed);
    popLevel();
}

void KdDbUndoJournal::putUndoMark() {
    m_levels.push_back({m_entries.size(), m_nextEpoch++, true, KdDbAccess::impl(m_db).maxHandle});
    m_marks.push_back(m_levels.size() - 1);
}

bool KdDbUndoJournal::undoToLastMark() {
    if (m_marks.empty())
        return false;
    size_t level = m_marks.back();
    m_marks.pop_back();
    rollbackTo(m_levels[level].start, m_levels[level].handleSeed);
    m_levels.resize(level);
    if (m_levels.empty())
        m_entries.clear();
    return true;
}

// -- Transactions --

Kdad::ErrorStatus KdDbTransaction::getObject(KdDbObject*& obj, KdDbObjectId id, KdDb::OpenMode mode,
                                             bool openErased) {
    obj = nullptr;
    if (id.isNull())
        return Kdad::eNullObjectId;
    if (id.database() != m_db)
        return Kdad::eWrongDatabase;
    KdDbObject* o = id.stub()->object;
    if (!o)
        return Kdad::eKeyNotFound;
    if (o->isErased() && !openErased)
        return Kdad::eWasErased;
    // Objects reached through a transaction may be asked for again: a second read open or a
    // write open of an object the transaction already holds is granted.
    if (mode == KdDb::kForWrite && o->isWriteEnabled()) {
        obj = o;
        return Kdad::eOk;
    }
    if (mode == KdDb::kForWrite && o->openMode() == KdDb::kForRead) {
        Kdad::ErrorStatus es = o->upgradeOpen();
        if (es != Kdad::eOk)
            return es;
        obj = o;
        return Kdad::eOk;
    }
    if (mode != KdDb::kForWrite && o->isReadEnabled()) {
        obj = o;
        return Kdad::eOk;
    }
    Kdad::ErrorStatus es = KdDbAccess::openAs(o, mode);
    if (es != Kdad::eOk)
        return es;
    m_opened.push_back(id);
    obj = o;
    return Kdad::eOk;
}

KdDbTransactionManager::KdDbTransactionManager(KdDbDatabase* db) : m_db(db) {}
KdDbTransactionManager::~KdDbTransactionManager() = default;

KdDbTransaction* KdDbTransactionManager::startTransaction() {
    auto tr = std::unique_ptr<KdDbTransaction>(
        new KdDbTransaction(m_db, static_cast<int>(m_stack.size()) + 1));
    tr->m_journalStart = KdDbAccess::undoJournal(m_db).pushLevel();
    m_stack.push_back(std::move(tr));
    return m_stack.back().get();
}

void KdDbTransactionManager::closeOpened(KdDbTransaction& tr) {
    for (const KdDbObjectId& id : tr.m_opened)
        if (id.stub() && id.stub()->object)
            id.stub()->object->close();
    tr.m_opened.clear();
}

Kdad::ErrorStatus KdDbTransactionManager::endTransaction() {
    if (m_stack.empty())
        return Kdad::eNoActiveTransactions;
    closeOpened(*m_stack.back());
    KdDbAccess::undoJournal(m_db).popLevel();
    m_stack.pop_back();
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbTransactionManager::abortTransaction() {
    if (m_stack.empty())
        return Kdad::eNoActiveTransactions;
    closeOpened(*m_stack.back());
    KdDbAccess::undoJournal(m_db).rollbackLevel();
    m_stack.pop_back();
    return Kdad::eOk;
}

KdDbTransaction* KdDbTransactionManager::topTransaction() const {
    return m_stack.empty() ? nullptr : m_stack.back().get();
}

Kdad::ErrorStatus KdDbTransactionManager::getObject(KdDbObject*& obj, KdDbObjectId id,
                                                    KdDb::OpenMode mode, bool openErased) {
    obj = nullptr;
    if (m_stack.empty())
        return Kdad::eNoActiveTransactions;
    return m_stack.back()->getObject(obj, id, mode, openErased);
}

Kdad::ErrorStatus KdDbTransactionManager::addNewlyCreatedKdDbObject(KdDbObject* obj, bool add) {
    if (m_stack.empty())
        return Kdad::eNoActiveTransactions;
    if (!obj || obj->isNewObject())
        return Kdad::eNotInDatabase;
    if (add) {
        // The transaction closes it when it ends; creation is already in the journal.
        if (!obj->isReadEnabled())
            KdDbAccess::openAs(obj, KdDb::kForWrite);
        m_stack.back()->m_opened.push_back(obj->objectId());
    }
    return Kdad::eOk;
}
