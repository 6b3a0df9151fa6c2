// Base class of every object of a drawing database: identity, open state, extended data, tags.
#pragma once

#include "KdDb.h"
#include "KdDbObjectId.h"
#include "KdDbTag.h"
#include "KdExport.h"
#include "KdResbuf.h"
#include "KdString.h"
#include "KdadStatus.h"

#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

class KdDbDatabase;
class KdDbObjectState;

/// A database object. Every object keeps the tags it was read with (or was built with) and
/// its modelled properties read and write those tags, so that what the Host does not model is
/// written back unchanged. Objects live as long as their database; `close` ends an open.
class TVHOST_API KdDbObject {
public:
    explicit KdDbObject(std::string_view dxfType);
    virtual ~KdDbObject();
    KdDbObject(const KdDbObject&) = delete;
    KdDbObject& operator=(const KdDbObject&) = delete;

    KdDbObjectId objectId() const { return KdDbObjectId(m_stub); }
    KdDbHandle getDbHandle() const { return KdDbHandle(m_stub ? m_stub->handle : 0); }
    KdDbDatabase* database() const { return m_stub ? m_stub->database : nullptr; }
    /// The record type as DXF names it ("LAYER", "LINE", "DICTIONARY").
    std::string_view dxfName() const { return m_type; }

    /// The owner named by the object's owner pointer (group 330); null when it has none.
    KdDbObjectId ownerId() const;
    Kdad::ErrorStatus setOwnerId(KdDbObjectId owner);
    /// Adds `reactor` to the object's persistent reactors (the "{ACAD_REACTORS" group in
    /// front of the owner), as a dictionary does for its entries. Adding one twice is a no-op.
    Kdad::ErrorStatus addPersistentReactor(KdDbObjectId reactor);

    // Open state. Objects are opened with kddbOpenKdDbObject and closed with close().
    bool isReadEnabled() const { return m_openReaders > 0 || m_openWrite; }
    bool isWriteEnabled() const { return m_openWrite; }
    bool isErased() const { return m_erased; }
    bool isNewObject() const { return m_stub == nullptr; }
    KdDb::OpenMode openMode() const;
    /// Ends one open of the object (read or write); eNotOpenForRead when it was not open.
    Kdad::ErrorStatus close();
    /// Turns a read open into a write open; eWasOpenForRead when others still read it.
    Kdad::ErrorStatus upgradeOpen();
    /// Turns a write open into a read open.
    Kdad::ErrorStatus downgradeOpen();
    /// Erases (or with false, un-erases) the object; needs a write open.
    Kdad::ErrorStatus erase(bool erasing = true);

    /// The extension dictionary (group 360 inside "{ACAD_XDICTIONARY"), null when there is none.
    KdDbObjectId extensionDictionary() const;
    /// Creates the extension dictionary if it does not exist yet; needs a write open.
    Kdad::ErrorStatus createExtensionDictionary();

    /// Extended data as a result-buffer list (1001 application name, then its values), of one
    /// application or, with null, of all. Null when there is none. The caller releases it.
    resbuf* xData(const wchar_t* appName = nullptr) const;
    /// Replaces the extended data of each application named in the list by what follows its
    /// 1001 entry; an application with no values is removed. Applications must be registered
    /// (eInvalidInput otherwise); a bad list changes nothing.
    Kdad::ErrorStatus setXData(const resbuf* xdata);

    // -- Tag level, for the Host's own DXF reader and writer and for subclasses. --

    /// All tags of the object after its "0 TYPE" tag, extended data included.
    std::span<const KdDbTag> tags() const {
        return m_own && m_own->active ? std::span<const KdDbTag>(m_own->tags)
                                      : std::span<const KdDbTag>(m_tagBegin, m_tagCount);
    }
    /// True once the object was changed after it was read.
    bool isModified() const { return m_modified; }

    /// Index of the first tag with `code` at or after `from`, before extended data; -1 when none.
    int findTag(int code, int from = 0) const;
    /// Index of the first tag of extended data (group 1001), or the tag count.
    int xdataStart() const;
    /// Range [begin, end) of the tags of subclass `marker` (after "100 marker"), before extended
    /// data. When the object has no such marker, the whole range before extended data.
    std::pair<int, int> subclassRange(std::string_view marker) const;
    /// Value of the first tag with `code` in [from, to); empty view when absent.
    std::string_view tagValue(int code, int from = 0, int to = -1) const;
    bool hasTag(int code, int from = 0, int to = -1) const;
    long long tagInt(int code, long long dflt, int from = 0, int to = -1) const;

protected:
    // Undo journal support; subclasses save and restore what they derive from their tags.
    virtual std::unique_ptr<KdDbObjectState> saveState() const;
    virtual void restoreState(const KdDbObjectState& state);
    /// Fills the part of a saved state that every object has (tags, erase and modified flags).
    void saveStateInto(KdDbObjectState& state) const;

    /// Checks the write open and records the object's state in the undo journal before its
    /// first change; eNotOpenForWrite when the object is not open for write.
    Kdad::ErrorStatus assertWriteEnabled();
    /// Same journal recording for changes the database makes itself.
    void recordChange();

    /// Makes the tags owned (copy on first write) and returns them for editing.
    std::vector<KdDbTag>& mutableTags();
    /// A tag whose value is copied into the database's string store.
    KdDbTag makeTag(int code, std::string_view raw) const;
    /// Sets the value of a tag of `code` in the subclass range of `marker`, inserting it at the
    /// place `order` gives (codes in writing order) when it is absent.
    void setField(std::string_view marker, std::span<const int> order, int code,
                  std::string_view raw);
    /// Removes every tag of `code` in the subclass range of `marker`.
    void removeField(std::string_view marker, int code);

    /// Encodes text for this object's database (code page or UTF-8, \U+ escapes).
    std::string encode(const std::wstring& text) const;
    std::wstring decode(std::string_view raw) const;

private:
    friend class KdDbDatabase;
    friend struct KdDbAccess;
    void setTags(std::vector<KdDbTag> tags);
    Kdad::ErrorStatus replaceTags(std::vector<KdDbTag> tags);
    void setBorrowedTags(const KdDbTag* begin, uint32_t count);
    Kdad::ErrorStatus openAs(KdDb::OpenMode mode);

    KdDbStub* m_stub = nullptr;
    std::string_view m_type;
    const KdDbTag* m_tagBegin = nullptr;
    uint32_t m_tagCount = 0;
    uint32_t m_journalEpoch = 0;
    /// Tags of an object changed since it was read (or built here), and the values of an
    /// object built before it joined a database; most objects of a drawing never need it.
    struct OwnedTags {
        std::vector<KdDbTag> tags;
        std::deque<std::string> strings;
        bool active = false;
    };
    OwnedTags& own() const;
    mutable std::unique_ptr<OwnedTags> m_own;
    uint16_t m_openReaders = 0;
    bool m_openWrite = false;
    bool m_erased = false;
    bool m_modified = false;

};

/// Saved state of an object for the undo journal; subclasses extend it.
class TVHOST_API KdDbObjectState {
public:
    virtual ~KdDbObjectState();
    std::vector<KdDbTag> tags;
    bool erased = false;
    bool modified = false;
};

/// Opens an object by id: eNullObjectId, eWasErased (unless `openErased`), eWasOpenForWrite,
/// eWasOpenForRead (a write open while others read it) or eOk with `obj` set.
TVHOST_API Kdad::ErrorStatus kddbOpenKdDbObject(KdDbObject*& obj, KdDbObjectId id,
                                                KdDb::OpenMode mode, bool openErased = false);

/// Opens an object of the expected class; eWrongObjectType when it is another class.
template <class T>
Kdad::ErrorStatus kddbOpenObject(T*& obj, KdDbObjectId id, KdDb::OpenMode mode,
                                 bool openErased = false) {
    obj = nullptr;
    KdDbObject* raw = nullptr;
    Kdad::ErrorStatus es = kddbOpenKdDbObject(raw, id, mode, openErased);
    if (es != Kdad::eOk)
        return es;
    if constexpr (std::is_same_v<T, KdDbObject>) {
        obj = raw;
        return Kdad::eOk;
    }
    obj = dynamic_cast<T*>(raw);
    if (!obj) {
        raw->close();
        return Kdad::eWrongObjectType;
    }
    return Kdad::eOk;
}

/// Opens an object for the lifetime of the pointer and closes it at the end of the scope.
template <class T = KdDbObject> class KdDbObjectPointer {
public:
    KdDbObjectPointer() = default;
    KdDbObjectPointer(KdDbObjectId id, KdDb::OpenMode mode, bool openErased = false) {
        m_status = kddbOpenObject(m_obj, id, mode, openErased);
    }
    ~KdDbObjectPointer() { release(); }
    KdDbObjectPointer(const KdDbObjectPointer&) = delete;
    KdDbObjectPointer& operator=(const KdDbObjectPointer&) = delete;

    Kdad::ErrorStatus open(KdDbObjectId id, KdDb::OpenMode mode, bool openErased = false) {
        release();
        m_status = kddbOpenObject(m_obj, id, mode, openErased);
        return m_status;
    }
    Kdad::ErrorStatus openStatus() const { return m_status; }
    T* get() const { return m_obj; }
    T* operator->() const { return m_obj; }
    explicit operator bool() const { return m_obj != nullptr; }
    Kdad::ErrorStatus close() {
        Kdad::ErrorStatus es = m_obj ? m_obj->close() : Kdad::eNullObjectPointer;
        m_obj = nullptr;
        return es;
    }

private:
    void release() {
        if (m_obj)
            m_obj->close();
        m_obj = nullptr;
    }
    T* m_obj = nullptr;
    Kdad::ErrorStatus m_status = Kdad::eNullObjectId;
};
