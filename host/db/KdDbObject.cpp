// Base class of every database object: identity, open state, extended data, tag editing.
#include <tv/KdDbObject.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdDbDictionary.h>
#include "KdDbUndoJournal.h"
#include <tv/KdUtf8.h>

#include <algorithm>

KdDbObjectState::~KdDbObjectState() = default;

bool KdDbObjectId::isErased() const {
    return m_stub && m_stub->object && m_stub->object->isErased();
}

KdDbObject::KdDbObject(std::string_view dxfType) : m_type(dxfType) {}

KdDbObject::~KdDbObject() = default;

KdDb::OpenMode KdDbObject::openMode() const {
    if (m_openWrite)
        return KdDb::kForWrite;
    return m_openReaders > 0 ? KdDb::kForRead : KdDb::kNotOpen;
}

Kdad::ErrorStatus KdDbObject::openAs(KdDb::OpenMode mode) {
    if (mode == KdDb::kForWrite) {
        if (m_openWrite)
            return Kdad::eWasOpenForWrite;
        if (m_openReaders > 0)
            return Kdad::eWasOpenForRead;
        m_openWrite = true;
        return Kdad::eOk;
    }
    if (m_openWrite)
        return Kdad::eWasOpenForWrite;
    if (m_openReaders == UINT16_MAX)
        return Kdad::eWasOpenForRead;
    ++m_openReaders;
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbObject::close() {
    if (m_openWrite) {
        m_openWrite = false;
        return Kdad::eOk;
    }
    if (m_openReaders > 0) {
        --m_openReaders;
        return Kdad::eOk;
    }
    return Kdad::eNotOpenForRead;
}

Kdad::ErrorStatus KdDbObject::upgradeOpen() {
    if (m_openWrite)
        return Kdad::eOk;
    if (m_openReaders == 0)
        return Kdad::eNotOpenForRead;
    if (m_openReaders > 1)
        return Kdad::eWasOpenForRead;
    m_openReaders = 0;
    m_openWrite = true;
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbObject::downgradeOpen() {
    if (!m_openWrite)
        return Kdad::eNotOpenForWrite;
    m_openWrite = false;
    m_openReaders = 1;
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbObject::assertWriteEnabled() {
    if (!m_openWrite && m_stub)
        return Kdad::eNotOpenForWrite;
    recordChange();
    return Kdad::eOk;
}

void KdDbObject::recordChange() {
    if (m_stub && m_stub->database) {
        m_stub->database->setModified(true);
        KdDbUndoJournal& journal = KdDbAccess::undoJournal(m_stub->database);
        if (journal.isRecording())
            journal.recordChange(this);
    }
    m_modified = true;
}

Kdad::ErrorStatus KdDbObject::erase(bool erasing) {
    if (!m_stub)
        return Kdad::eNotInDatabase;
    if (erasing == m_erased)
        return erasing ? Kdad::eWasErased : Kdad::eOk;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    m_erased = erasing;
    return Kdad::eOk;
}

// -- Tags --

KdDbObject::OwnedTags& KdDbObject::own() const {
    if (!m_own)
        m_own = std::make_unique<OwnedTags>();
    return *m_own;
}

std::vector<KdDbTag>& KdDbObject::mutableTags() {
    OwnedTags& o = own();
    if (!o.active) {
        o.tags.assign(m_tagBegin, m_tagBegin + m_tagCount);
        o.active = true;
        m_tagBegin = nullptr;
        m_tagCount = 0;
    }
    m_modified = true;
    return o.tags;
}

void KdDbObject::setBorrowedTags(const KdDbTag* begin, uint32_t count) {
    m_tagBegin = begin;
    m_tagCount = count;
    if (m_own) {
        m_own->active = false;
        m_own->tags.clear();
    }
}

void KdDbObject::setTags(std::vector<KdDbTag> tags) {
    OwnedTags& o = own();
    o.tags = std::move(tags);
    o.active = true;
    m_modified = true;
}

Kdad::ErrorStatus KdDbObject::replaceTags(std::vector<KdDbTag> tags) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    // Through restoreState, so that names, layer bindings and entry lists follow the tags.
    std::unique_ptr<KdDbObjectState> state = saveState();
    state->tags = std::move(tags);
    state->modified = true;
    restoreState(*state);
    return Kdad::eOk;
}

KdDbTag KdDbObject::makeTag(int code, std::string_view raw) const {
    KdDbTag t;
    std::string_view stored;
    if (database()) {
        stored = KdDbAccess::storeString(database(), raw);
    } else {
        stored = own().strings.emplace_back(raw);
    }
    t.data = stored.data();
    t.size = static_cast<uint32_t>(stored.size());
    t.code = static_cast<int16_t>(code);
    return t;
}

int KdDbObject::xdataStart() const {
    auto t = tags();
    for (size_t i = 0; i < t.size(); ++i)
        if (t[i].code == 1001)
            return static_cast<int>(i);
    return static_cast<int>(t.size());
}

int KdDbObject::findTag(int code, int from) const {
    auto t = tags();
    int end = xdataStart();
    for (int i = std::max(from, 0); i < end; ++i)
        if (t[static_cast<size_t>(i)].code == code)
            return i;
    return -1;
}

std::pair<int, int> KdDbObject::subclassRange(std::string_view marker) const {
    auto t = tags();
    int end = xdataStart();
    for (int i = 0; i < end; ++i) {
        const KdDbTag& tag = t[static_cast<size_t>(i)];
        if (tag.code == 100 && tvdxf::trimmed(tag.value()) == marker) {
            int j = i + 1;
            while (j < end && t[static_cast<size_t>(j)].code != 100)
                ++j;
            return {i + 1, j};
        }
    }
    return {0, end};
}

std::string_view KdDbObject::tagValue(int code, int from, int to) const {
    auto t = tags();
    int end = to < 0 ? xdataStart() : to;
    for (int i = std::max(from, 0); i < end; ++i)
        if (t[static_cast<size_t>(i)].code == code)
            return t[static_cast<size_t>(i)].value();
    return {};
}

bool KdDbObject::hasTag(int code, int from, int to) const {
    auto t = tags();
    int end = to < 0 ? xdataStart() : to;
    for (int i = std::max(from, 0); i < end; ++i)
        if (t[static_cast<size_t>(i)].code == code)
            return true;
    return false;
}

long long KdDbObject::tagInt(int code, long long dflt, int from, int to) const {
    auto t = tags();
    int end = to < 0 ? xdataStart() : to;
    for (int i = std::max(from, 0); i < end; ++i) {
        if (t[static_cast<size_t>(i)].code == code) {
            long long v = dflt;
            return tvdxf::parseInt(t[static_cast<size_t>(i)].value(), v) ? v : dflt;
        }
    }
    return dflt;
}

void KdDbObject::setField(std::string_view marker, std::span<const int> order, int code,
                          std::string_view raw) {
    auto [begin, end] = subclassRange(marker);
    std::vector<KdDbTag>& own = mutableTags();
    for (int i = begin; i < end; ++i) {
        if (own[static_cast<size_t>(i)].code == code) {
            own[static_cast<size_t>(i)] = makeTag(code, raw);
            return;
        }
    }
    // Insert after the last tag whose code comes before `code` in writing order.
    auto rank = [&](int c) {
        auto it = std::find(order.begin(), order.end(), c);
        return it == order.end() ? -1 : static_cast<int>(it - order.begin());
    };
    int myRank = rank(code);
    int insertAt = begin;
    for (int i = begin; i < end; ++i) {
        int r = rank(own[static_cast<size_t>(i)].code);
        if (r >= 0 && r < myRank)
            insertAt = i + 1;
    }
    own.insert(own.begin() + insertAt, makeTag(code, raw));
}

void KdDbObject::removeField(std::string_view marker, int code) {
    auto [begin, end] = subclassRange(marker);
    bool any = false;
    for (int i = begin; i < end; ++i)
        any = any || tags()[static_cast<size_t>(i)].code == code;
    if (!any)
        return;
    std::vector<KdDbTag>& own = mutableTags();
    own.erase(std::remove_if(own.begin() + begin, own.begin() + end,
                             [code](const KdDbTag& t) { return t.code == code; }),
              own.begin() + end);
}

std::string KdDbObject::encode(const std::wstring& text) const {
    return database() ? database()->encode(text) : tvToUtf8(text);
}

std::wstring KdDbObject::decode(std::string_view raw) const {
    return database() ? database()->decode(raw) : tvFromUtf8(raw);
}

// -- Owner and extension dictionary --

namespace {
// Index of the owner pointer: the first 330 outside "{...}" groups and before any subclass.
int ownerTagIndex(std::span<const KdDbTag> t) {
    bool inGroup = false;
    for (size_t i = 0; i < t.size(); ++i) {
        const KdDbTag& tag = t[i];
        if (tag.code == 102) {
            std::string_view v = tvdxf::trimmed(tag.value());
            inGroup = !v.empty() && v.front() == '{';
            continue;
        }
        if (tag.code == 100 || tag.code == 1001)
            return -1;
        if (tag.code == 330 && !inGroup)
            return static_cast<int>(i);
    }
    return -1;
}

// Index just after the handle tag and the "{...}" groups that follow it.
int afterHandleAndGroups(std::span<const KdDbTag> t) {
    size_t i = 0;
    while (i < t.size() && t[i].code != 5 && t[i].code != 105 && t[i].code != 100)
        ++i;
    if (i < t.size() && (t[i].code == 5 || t[i].code == 105))
        ++i;
    while (i < t.size() && t[i].code == 102) {
        ++i;
        while (i < t.size() && t[i].code != 102)
            ++i;
        if (i < t.size())
            ++i;
    }
    return static_cast<int>(i);
}
} // namespace

KdDbObjectId KdDbObject::ownerId() const {
    int idx = ownerTagIndex(tags());
    if (idx < 0 || !database())
        return KdDbObjectId::kNull;
    uint64_t h = 0;
    if (!tvdxf::parseHandle(tags()[static_cast<size_t>(idx)].value(), h) || h == 0)
        return KdDbObjectId::kNull;
    return KdDbObjectId(KdDbAccess::impl(database()).stubOf(h));
}

Kdad::ErrorStatus KdDbObject::setOwnerId(KdDbObjectId owner) {
    recordChange();
    std::string raw = tvdxf::formatHandle(owner.isNull() ? 0 : owner.handle().value());
    int idx = ownerTagIndex(tags());
    std::vector<KdDbTag>& own = mutableTags();
    if (idx >= 0) {
        own[static_cast<size_t>(idx)] = makeTag(330, raw);
    } else {
        int at = afterHandleAndGroups(own);
        own.insert(own.begin() + at, makeTag(330, raw));
    }
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbObject::addPersistentReactor(KdDbObjectId reactor) {
    if (reactor.isNull())
        return Kdad::eNullObjectId;
    const std::string raw = tvdxf::formatHandle(reactor.handle().value());
    auto t = tags();
    int groupEnd = -1;
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i].code == 100 || t[i].code == 1001)
            break;
        if (t[i].code == 102 && tvdxf::trimmed(t[i].value()) == "{ACAD_REACTORS") {
            size_t j = i + 1;
            for (; j < t.size() && t[j].code != 102; ++j) {
                uint64_t h = 0;
                if (t[j].code == 330 && tvdxf::parseHandle(t[j].value(), h) &&
                    h == reactor.handle().value())
                    return Kdad::eOk;
            }
            groupEnd = static_cast<int>(j);
            break;
        }
    }
    recordChange();
    std::vector<KdDbTag>& own = mutableTags();
    if (groupEnd >= 0) {
        own.insert(own.begin() + groupEnd, makeTag(330, raw));
        return Kdad::eOk;
    }
    // A new group goes after the handle and before the owner (or any later group).
    size_t at = 0;
    while (at < own.size() && own[at].code != 5 && own[at].code != 105 && own[at].code != 100)
        ++at;
    if (at < own.size() && (own[at].code == 5 || own[at].code == 105))
        ++at;
    const KdDbTag group[] = {makeTag(102, "{ACAD_REACTORS"), makeTag(330, raw), makeTag(102, "}")};
    own.insert(own.begin() + static_cast<long>(at), std::begin(group), std::end(group));
    return Kdad::eOk;
}

KdDbObjectId KdDbObject::extensionDictionary() const {
    auto t = tags();
    for (size_t i = 0; i + 1 < t.size(); ++i) {
        if (t[i].code == 100 || t[i].code == 1001)
            break;
        if (t[i].code == 102 && tvdxf::trimmed(t[i].value()) == "{ACAD_XDICTIONARY") {
            for (size_t j = i + 1; j < t.size() && t[j].code != 102; ++j) {
                uint64_t h = 0;
                if (t[j].code == 360 && tvdxf::parseHandle(t[j].value(), h) && database())
                    return KdDbObjectId(KdDbAccess::impl(database()).stubOf(h));
            }
        }
    }
    return KdDbObjectId::kNull;
}

Kdad::ErrorStatus KdDbObject::createExtensionDictionary() {
    if (!database())
        return Kdad::eNotInDatabase;
    KdDbObjectId existing = extensionDictionary();
    if (!existing.isNull() && !existing.isErased())
        return Kdad::eOk;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    auto* dict = new KdDbDictionary();
    KdDbObjectId dictId;
    es = database()->addKdDbObject(dictId, dict);
    if (es != Kdad::eOk) {
        delete dict;
        return es;
    }
    dict->setOwnerId(objectId());
    dict->setTreatElementsAsHard(true);
    std::vector<KdDbTag>& own = mutableTags();
    // Drop a stale group pointing at an erased dictionary.
    for (size_t i = 0; i < own.size(); ++i) {
        if (own[i].code == 102 && tvdxf::trimmed(own[i].value()) == "{ACAD_XDICTIONARY") {
            size_t j = i + 1;
            while (j < own.size() && own[j].code != 102)
                ++j;
            own.erase(own.begin() + static_cast<long>(i),
                      own.begin() + static_cast<long>(std::min(j + 1, own.size())));
            break;
        }
    }
    int owner = ownerTagIndex(own);
    int at = owner >= 0 ? owner : afterHandleAndGroups(own);
    KdDbTag group[3] = {makeTag(102, "{ACAD_XDICTIONARY"),
                        makeTag(360, tvdxf::formatHandle(dictId.handle().value())),
                        makeTag(102, "}")};
    own.insert(own.begin() + at, group, group + 3);
    return Kdad::eOk;
}

// -- Extended data --

resbuf* KdDbObject::xData(const wchar_t* appName) const {
    auto t = tags();
    size_t start = static_cast<size_t>(xdataStart());
    std::wstring wanted = appName ? appName : L"";
    resbuf* head = nullptr;
    resbuf* tail = nullptr;
    size_t i = start;
    while (i < t.size()) {
        size_t end = i + 1;
        while (end < t.size() && t[end].code != 1001)
            ++end;
        bool take = wanted.empty();
        if (!take) {
            std::wstring app = decode(t[i].value());
            take = tvEqualsNoCase(app, wanted);
        }
        if (take) {
            resbuf* part = tvdb::tagsToResbuf(database(), t.subspan(i, end - i));
            if (part) {
                if (tail)
                    tail->rbnext = part;
                else
                    head = part;
                tail = part;
                while (tail->rbnext)
                    tail = tail->rbnext;
            }
        }
        i = end;
    }
    return head;
}

Kdad::ErrorStatus KdDbObject::setXData(const resbuf* xdata) {
    if (!database())
        return Kdad::eNotInDatabase;
    if (xdata && xdata->restype == -3)
        xdata = xdata->rbnext;
    // Split the list by application and validate every part first.
    struct AppPart {
        std::wstring app;
        std::vector<KdDbTag> tags;
    };
    std::vector<AppPart> parts;
    for (const resbuf* rb = xdata; rb; rb = rb->rbnext) {
        if (rb->restype == 1001) {
            if (!rb->resval.rstring || !database()->isAppRegistered(rb->resval.rstring))
                return Kdad::eInvalidInput;
            parts.push_back({rb->resval.rstring, {}});
            std::string err;
            if (!tvdb::oneResbufToTags(database(), rb, parts.back().tags, &err))
                return Kdad::eInvalidInput;
            continue;
        }
        if (parts.empty() || rb->restype < 1000 || rb->restype > 1071)
            return Kdad::eInvalidInput;
        std::string err;
        if (!tvdb::oneResbufToTags(database(), rb, parts.back().tags, &err))
            return Kdad::eInvalidInput;
    }
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    std::vector<KdDbTag>& own = mutableTags();
    for (AppPart& part : parts) {
        // Remove the application's present data, then append the new data when there is any.
        size_t i = 0;
        while (i < own.size() && own[i].code != 1001)
            ++i;
        while (i < own.size()) {
            size_t end = i + 1;
            while (end < own.size() && own[end].code != 1001)
                ++end;
            std::wstring app = decode(own[i].value());
            bool same = tvEqualsNoCase(app, part.app);
            if (same) {
                own.erase(own.begin() + static_cast<long>(i), own.begin() + static_cast<long>(end));
                break;
            }
            i = end;
        }
        if (part.tags.size() > 1)
            own.insert(own.end(), part.tags.begin(), part.tags.end());
    }
    return Kdad::eOk;
}

// -- Undo journal --

void KdDbObject::saveStateInto(KdDbObjectState& state) const {
    auto t = tags();
    state.tags.assign(t.begin(), t.end());
    state.erased = m_erased;
    state.modified = m_modified;
}

std::unique_ptr<KdDbObjectState> KdDbObject::saveState() const {
    auto state = std::make_unique<KdDbObjectState>();
    saveStateInto(*state);
    return state;
}

void KdDbObject::restoreState(const KdDbObjectState& state) {
    OwnedTags& o = own();
    o.tags = state.tags;
    o.active = true;
    m_erased = state.erased;
    m_modified = state.modified;
}

Kdad::ErrorStatus kddbOpenKdDbObject(KdDbObject*& obj, KdDbObjectId id, KdDb::OpenMode mode,
                                     bool openErased) {
    obj = nullptr;
    if (id.isNull())
        return Kdad::eNullObjectId;
    KdDbObject* o = id.stub()->object;
    if (!o)
        return Kdad::eKeyNotFound;
    if (o->isErased() && !openErased)
        return Kdad::eWasErased;
    Kdad::ErrorStatus es = KdDbAccess::openAs(o, mode);
    if (es == Kdad::eOk)
        obj = o;
    return es;
}
