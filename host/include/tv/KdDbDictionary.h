// Dictionaries: named entries (group 3) pointing at owned objects (350/360), and their iterator.
#pragma once

#include "KdDbObject.h"

struct KdDbDictionaryEntry {
    std::wstring key;
    KdDbObjectId id;
    int code = 350; ///< 350 soft owner, 360 hard owner
};

class TVHOST_API KdDbDictionaryIterator {
public:
    explicit KdDbDictionaryIterator(std::vector<KdDbDictionaryEntry> entries);
    bool done() const { return m_pos >= m_entries.size(); }
    bool next() {
        ++m_pos;
        return !done();
    }
    const wchar_t* name() const { return done() ? nullptr : m_entries[m_pos].key.c_str(); }
    KdDbObjectId objectId() const { return done() ? KdDbObjectId::kNull : m_entries[m_pos].id; }
    Kdad::ErrorStatus getObject(KdDbObject*& obj, KdDb::OpenMode mode) const;

private:
    std::vector<KdDbDictionaryEntry> m_entries;
    size_t m_pos = 0;
};

class TVHOST_API KdDbDictionary : public KdDbObject {
public:
    KdDbDictionary();
    explicit KdDbDictionary(std::string_view dxfType); // "ACDBDICTIONARYWDFLT"
    ~KdDbDictionary() override;

    /// The entry of `key` (case ignored); eKeyNotFound when absent, eWasErased when its object
    /// is erased.
    Kdad::ErrorStatus getAt(const wchar_t* key, KdDbObjectId& id) const;
    Kdad::ErrorStatus getAt(const wchar_t* key, KdDbObject*& obj, KdDb::OpenMode mode) const;
    bool has(const wchar_t* key) const;
    bool has(KdDbObjectId id) const;
    /// The key of the entry pointing at `id`.
    Kdad::ErrorStatus nameAt(KdDbObjectId id, KdString& key) const;
    /// Adds or replaces an entry. A new object (not yet in the database) is added to the
    /// database and owned by the dictionary. eInvalidKey for an empty key.
    Kdad::ErrorStatus setAt(const wchar_t* key, KdDbObject* obj, KdDbObjectId& id);
    Kdad::ErrorStatus setAt(const wchar_t* key, KdDbObjectId id);
    /// Removes an entry (the object stays, without owner); eKeyNotFound when absent.
    Kdad::ErrorStatus remove(const wchar_t* key);
    Kdad::ErrorStatus remove(const wchar_t* key, KdDbObjectId& removedId);
    Kdad::ErrorStatus remove(KdDbObjectId id);
    Kdad::ErrorStatus setName(const wchar_t* oldKey, const wchar_t* newKey);
    /// Number of entries whose objects are not erased.
    uint32_t numEntries() const;
    /// A new iterator over the entries whose objects are not erased (the caller deletes it).
    KdDbDictionaryIterator* newIterator() const;
    /// Hard-owner flag (group 280) and the duplicate-record rule (group 281).
    bool isTreatElementsAsHard() const;
    Kdad::ErrorStatus setTreatElementsAsHard(bool hard);

    /// The entries in the order they are stored.
    const std::vector<KdDbDictionaryEntry>& entries() const;

protected:
    void restoreState(const KdDbObjectState& state) override;

private:
    void ensureParsed() const;
    void writeEntries();
    int findEntry(const std::wstring& key) const;
    mutable std::vector<KdDbDictionaryEntry> m_entries;
    mutable bool m_parsed = false;
};
