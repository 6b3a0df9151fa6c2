// Dictionaries: entries parsed from their tags on first use and written back on change.
#include <tv/KdDbDictionary.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdUtf8.h>

namespace {

constexpr std::string_view kMarker = "AcDbDictionary";

bool sameKey(const std::wstring& a, const std::wstring& b) {
    return tvEqualsNoCase(a, b);
}

} // namespace

KdDbDictionaryIterator::KdDbDictionaryIterator(std::vector<KdDbDictionaryEntry> entries)
    : m_entries(std::move(entries)) {}

Kdad::ErrorStatus KdDbDictionaryIterator::getObject(KdDbObject*& obj, KdDb::OpenMode mode) const {
    obj = nullptr;
    if (done())
        return Kdad::eInvalidIndex;
    return kddbOpenKdDbObject(obj, m_entries[m_pos].id, mode);
}

KdDbDictionary::KdDbDictionary() : KdDbObject("DICTIONARY") {
    // A dictionary built here carries its subclass marker from the start.
    std::vector<KdDbTag> tags;
    tags.push_back(makeTag(100, kMarker));
    tags.push_back(makeTag(281, "1"));
    KdDbAccess::setTags(this, std::move(tags));
    m_parsed = false;
}

KdDbDictionary::KdDbDictionary(std::string_view dxfType) : KdDbObject(dxfType) {}

KdDbDictionary::~KdDbDictionary() = default;

void KdDbDictionary::ensureParsed() const {
    if (m_parsed)
        return;
    m_entries.clear();
    auto [b, e] = subclassRange(kMarker);
    auto t = tags();
    for (int i = b; i < e; ++i) {
        if (t[static_cast<size_t>(i)].code != 3)
            continue;
        KdDbDictionaryEntry entry;
        entry.key = decode(t[static_cast<size_t>(i)].value());
        if (i + 1 < e && (t[static_cast<size_t>(i) + 1].code == 350 ||
                          t[static_cast<size_t>(i) + 1].code == 360)) {
            uint64_t h = 0;
            entry.code = t[static_cast<size_t>(i) + 1].code;
            if (tvdxf::parseHandle(t[static_cast<size_t>(i) + 1].value(), h) && database())
                entry.id = database()->objectIdOf(h);
            ++i;
        }
        m_entries.push_back(std::move(entry));
    }
    m_parsed = true;
}

const std::vector<KdDbDictionaryEntry>& KdDbDictionary::entries() const {
    ensureParsed();
    return m_entries;
}

int KdDbDictionary::findEntry(const std::wstring& key) const {
    ensureParsed();
    for (size_t i = 0; i < m_entries.size(); ++i)
        if (sameKey(m_entries[i].key, key))
            return static_cast<int>(i);
    return -1;
}

void KdDbDictionary::writeEntries() {
    // The entries replace the 3/350/360 groups of the dictionary's own subclass.
    auto [b, e] = subclassRange(kMarker);
    std::vector<KdDbTag>& own = mutableTags();
    int first = e;
    for (int i = b; i < e; ++i) {
        int c = own[static_cast<size_t>(i)].code;
        if (c == 3 || c == 350 || c == 360) {
            first = std::min(first, i);
        }
    }
    std::vector<KdDbTag> kept(own.begin() + b, own.begin() + e);
    std::erase_if(kept,
                  [](const KdDbTag& t) { return t.code == 3 || t.code == 350 || t.code == 360; });
    // Entries follow the header groups (280, 281) that precede them.
    int headerCount = 0;
    for (int i = b; i < first; ++i) {
        int c = own[static_cast<size_t>(i)].code;
        if (c != 3 && c != 350 && c != 360)
            ++headerCount;
    }
    std::vector<KdDbTag> section(kept.begin(), kept.begin() + headerCount);
    for (const KdDbDictionaryEntry& entry : m_entries) {
        section.push_back(makeTag(3, encode(entry.key)));
        section.push_back(makeTag(entry.code, tvdxf::formatHandle(entry.id.handle().value())));
    }
    section.insert(section.end(), kept.begin() + headerCount, kept.end());
    own.erase(own.begin() + b, own.begin() + e);
    own.insert(own.begin() + b, section.begin(), section.end());
}

Kdad::ErrorStatus KdDbDictionary::getAt(const wchar_t* key, KdDbObjectId& id) const {
    id = KdDbObjectId::kNull;
    if (!key)
        return Kdad::eInvalidKey;
    int i = findEntry(key);
    if (i < 0)
        return Kdad::eKeyNotFound;
    id = m_entries[static_cast<size_t>(i)].id;
    if (id.isNull() || !id.isValid())
        return Kdad::eKeyNotFound;
    return id.isErased() ? Kdad::eWasErased : Kdad::eOk;
}

Kdad::ErrorStatus KdDbDictionary::getAt(const wchar_t* key, KdDbObject*& obj,
                                        KdDb::OpenMode mode) const {
    obj = nullptr;
    KdDbObjectId id;
    Kdad::ErrorStatus es = getAt(key, id);
    return es != Kdad::eOk ? es : kddbOpenKdDbObject(obj, id, mode);
}

bool KdDbDictionary::has(const wchar_t* key) const {
    KdDbObjectId id;
    return getAt(key, id) == Kdad::eOk;
}

bool KdDbDictionary::has(KdDbObjectId id) const {
    ensureParsed();
    for (const auto& e : m_entries)
        if (e.id == id && !id.isErased())
            return true;
    return false;
}

Kdad::ErrorStatus KdDbDictionary::nameAt(KdDbObjectId id, KdString& key) const {
    ensureParsed();
    for (const auto& e : m_entries) {
        if (e.id == id) {
            key = KdString(e.key);
            return Kdad::eOk;
        }
    }
    return Kdad::eKeyNotFound;
}

Kdad::ErrorStatus KdDbDictionary::setAt(const wchar_t* key, KdDbObject* obj, KdDbObjectId& id) {
    id = KdDbObjectId::kNull;
    if (!key || !*key)
        return Kdad::eInvalidKey;
    if (!obj)
        return Kdad::eNullObjectPointer;
    if (!database())
        return Kdad::eNotInDatabase;
    if (!isWriteEnabled())
        return Kdad::eNotOpenForWrite;
    if (obj->isNewObject()) {
        Kdad::ErrorStatus es = database()->addKdDbObject(id, obj);
        if (es != Kdad::eOk)
            return es;
    } else {
        if (obj->database() != database())
            return Kdad::eWrongDatabase;
        id = obj->objectId();
    }
    obj->setOwnerId(objectId());
    return setAt(key, id);
}

Kdad::ErrorStatus KdDbDictionary::setAt(const wchar_t* key, KdDbObjectId id) {
    if (!key || !*key)
        return Kdad::eInvalidKey;
    if (id.isNull() || id.database() != database())
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    int i = findEntry(key);
    int code = isTreatElementsAsHard() ? 360 : 350;
    if (i >= 0) {
        m_entries[static_cast<size_t>(i)].id = id;
    } else {
        m_entries.push_back({key, id, code});
    }
    writeEntries();
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbDictionary::remove(const wchar_t* key) {
    KdDbObjectId removed;
    return remove(key, removed);
}

Kdad::ErrorStatus KdDbDictionary::remove(const wchar_t* key, KdDbObjectId& removedId) {
    removedId = KdDbObjectId::kNull;
    if (!key)
        return Kdad::eInvalidKey;
    int i = findEntry(key);
    if (i < 0)
        return Kdad::eKeyNotFound;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    removedId = m_entries[static_cast<size_t>(i)].id;
    m_entries.erase(m_entries.begin() + i);
    writeEntries();
    // The object stays in the drawing, owned by nothing, until its caller erases or re-adds it.
    KdDbObject* removed = removedId.stub() ? removedId.stub()->object : nullptr;
    if (removed && removed->ownerId() == objectId())
        removed->setOwnerId(KdDbObjectId::kNull);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbDictionary::remove(KdDbObjectId id) {
    KdString key;
    if (nameAt(id, key) != Kdad::eOk)
        return Kdad::eKeyNotFound;
    return remove(key.kwszPtr());
}

Kdad::ErrorStatus KdDbDictionary::setName(const wchar_t* oldKey, const wchar_t* newKey) {
    if (!oldKey || !newKey || !*newKey)
        return Kdad::eInvalidKey;
    int i = findEntry(oldKey);
    if (i < 0)
        return Kdad::eKeyNotFound;
    int j = findEntry(newKey);
    if (j >= 0 && j != i)
        return Kdad::eDuplicateKey;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    m_entries[static_cast<size_t>(i)].key = newKey;
    writeEntries();
    return Kdad::eOk;
}

uint32_t KdDbDictionary::numEntries() const {
    ensureParsed();
    uint32_t n = 0;
    for (const auto& e : m_entries)
        n += e.id.isValid() && !e.id.isErased() ? 1 : 0;
    return n;
}

KdDbDictionaryIterator* KdDbDictionary::newIterator() const {
    ensureParsed();
    std::vector<KdDbDictionaryEntry> live;
    for (const auto& e : m_entries)
        if (e.id.isValid() && !e.id.isErased())
            live.push_back(e);
    return new KdDbDictionaryIterator(std::move(live));
}

bool KdDbDictionary::isTreatElementsAsHard() const {
    auto [b, e] = subclassRange(kMarker);
    return tagInt(280, 0, b, e) != 0;
}

Kdad::ErrorStatus KdDbDictionary::setTreatElementsAsHard(bool hard) {
    // The Host sets this on dictionaries it creates itself, without an open.
    static constexpr int kOrder[] = {280, 281};
    recordChange();
    setField(kMarker, kOrder, 280, hard ? "1" : "0");
    return Kdad::eOk;
}

void KdDbDictionary::restoreState(const KdDbObjectState& state) {
    KdDbObject::restoreState(state);
    m_parsed = false;
}
