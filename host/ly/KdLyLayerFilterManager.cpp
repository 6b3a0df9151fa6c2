// The per-drawing filter managers, and reading and writing of the filter tree in the LAYER
// table's extension dictionary.
#include <tv/KdLyLayerFilterManager.h>

#include "KdLyFilterContext.h"
#include "KdLyFilterRecord.h"

#include <tv/KdDbDatabase.h>
#include <tv/KdDbDictionary.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbViewport.h>
#include <tv/KdDbXrecord.h>
#include <tv/KdLyLayerFilter.h>
#include <tv/KdUtf8.h>

#include <map>
#include <memory>
#include <set>
#include <unordered_map>

namespace {

constexpr const wchar_t* kFilterDict = L"ACLYDICTIONARY";
constexpr const wchar_t* kLegacyDict = L"ACAD_LAYERFILTERS";
constexpr const wchar_t* kApp = L"ACAD";

using Registry = std::unordered_map<KdDbDatabase*, std::unique_ptr<KdLyLayerFilterManager>>;

// Made on first use and never destroyed, so no constructor or destructor runs at load or exit.
Registry& registry() {
    static auto* r = new Registry;
    return *r;
}

// An entry of dictionary `dictId` that is itself a dictionary; null when absent.
KdDbObjectId subDictionary(KdDbObjectId dictId, const wchar_t* key) {
    KdDbObjectPointer<KdDbDictionary> dict(dictId, KdDb::kForRead);
    KdDbObjectId id;
    if (!dict || dict->getAt(key, id) != Kdad::eOk)
        return KdDbObjectId::kNull;
    return id;
}

KdDbObjectId layerTableXDict(KdDbDatabase* db) {
    KdDbObjectPointer<KdDbObject> head(db->layerTableId(), KdDb::kForRead);
    return head ? head->extensionDictionary() : KdDbObjectId::kNull;
}

struct Entry {
    std::wstring key;
    KdDbObjectId id;
};

std::vector<Entry> entriesOf(KdDbObjectId dictId) {
    std::vector<Entry> out;
    KdDbObjectPointer<KdDbDictionary> dict(dictId, KdDb::kForRead);
    if (!dict)
        return out;
    std::unique_ptr<KdDbDictionaryIterator> it(dict->newIterator());
    for (; it && !it->done(); it->next())
        out.push_back({it->name(), it->objectId()});
    return out;
}

// The filter data of an xrecord; false for another object or another kind of data.
bool readFilterRecord(KdDbObjectId id, tvly::FilterRecord& rec) {
    KdDbObjectPointer<KdDbXrecord> x(id, KdDb::kForRead);
    if (!x)
        return false;
    KdResbufPtr data(x->rbChain());
    return tvly::decodeFilterRecord(data.get(), rec);
}

bool readLegacyRecord(const Entry& e, tvly::FilterRecord& rec) {
    KdDbObjectPointer<KdDbXrecord> x(e.id, KdDb::kForRead);
    if (!x)
        return false;
    KdResbufPtr data(x->rbChain());
    KdResbufPtr xdata(x->xData(kApp));
    return tvly::decodeLegacyFilter(e.key, data.get(), xdata.get(), rec);
}

Kdad::ErrorStatus writeRecord(KdDbObjectId id, const tvly::FilterRecord& rec) {
    KdDbObjectPointer<KdDbXrecord> x(id, KdDb::kForWrite);
    if (!x)
        return x.openStatus();
    KdResbufPtr data = tvly::encodeFilterRecord(rec);
    return x->setFromRbChain(data.get());
}

// Removes an entry we own from its dictionary and erases its object.
Kdad::ErrorStatus dropEntry(KdDbDictionary& dict, const Entry& e) {
    Kdad::ErrorStatus es = dict.remove(e.key.c_str());
    if (es != Kdad::eOk)
        return es;
    KdDbObjectPointer<KdDbObject> obj(e.id, KdDb::kForWrite);
    return obj ? obj->erase() : obj.openStatus();
}

// The number n of a key "*An", or 0.
long anonymousNumber(const std::wstring& key) {
    if (key.size() < 3 || key[0] != L'*' || (key[1] != L'A' && key[1] != L'a'))
        return 0;
    long n = 0;
    for (size_t i = 2; i < key.size(); ++i) {
        if (key[i] < L'0' || key[i] > L'9' || n > 100000000)
            return 0;
        n = n * 10 + (key[i] - L'0');
    }
    return n;
}

void collectStored(KdLyLayerFilter* f, std::vector<KdLyLayerFilter*>& out) {
    if (!f->dynamicallyGenerated())
        out.push_back(f);
    for (KdLyLayerFilter* c : f->getNestedFilters())
        collectStored(c, out);
}

// The text kept for the current filter.
std::wstring currentText(KdLyLayerFilter* root, KdLyLayerFilter* current) {
    KdLyLayerFilter* f = current ? current : root;
    return (f->dynamicallyGenerated() ? L"<" : L"") + f->name().str();
}

std::wstring storedCurrent(const KdDbDictionary& dict) {
    KdResbufPtr xdata(dict.xData(kApp));
    std::wstring text;
    for (const resbuf* rb = xdata.get(); rb; rb = rb->rbnext)
        if (rb->restype == 1000 && rb->resval.rstring)
            text = rb->resval.rstring;
    return text;
}

} // namespace

namespace tvly {

bool isFrozenInFilterViewport(const KdDbLayerTableRecord& layer) {
    auto it = registry().find(layer.database());
    if (it == registry().end())
        return false;
    const KdDbObjectId vp = it->second->viewportId();
    // Read through the slot: the caller may hold the viewport open.
    const auto* viewport =
        vp.isValid() ? dynamic_cast<const KdDbViewport*>(vp.stub()->object) : nullptr;
    return viewport && viewport->isLayerFrozenInViewport(layer.objectId());
}

} // namespace tvly

KdLyLayerFilterManager* kdlyGetLayerFilterManager(KdDbDatabase* db) {
    if (!db)
        return nullptr;
    std::unique_ptr<KdLyLayerFilterManager>& slot = registry()[db];
    if (!slot)
        slot = std::make_unique<KdLyLayerFilterManager>(db);
    return slot.get();
}

void kdlyReleaseLayerFilterManager(KdDbDatabase* db) {
    registry().erase(db);
}

KdLyLayerFilterManager::KdLyLayerFilterManager(KdDbDatabase* db) : m_db(db) {}
KdLyLayerFilterManager::~KdLyLayerFilterManager() = default;

const wchar_t* KdLyLayerFilterManager::allFilterName() {
    return L"All";
}
const wchar_t* KdLyLayerFilterManager::usedLayersFilterName() {
    return L"All Used Layers";
}

KdLyLayerFilter* KdLyLayerFilterManager::generateUsedLayersFilter() {
    KdDbLayerTable* table = nullptr;
    if (m_db->getSymbolTable(table, KdDb::kForRead) == Kdad::eOk && table) {
        table->generateUsageData();
        table->close();
    }
    return KdLyLayerFilter::makeGenerated(KdLyLayerFilter::Kind::kAllUsed, usedLayersFilterName());
}

Kdad::ErrorStatus KdLyLayerFilterManager::getFilters(KdLyLayerFilter*& root,
                                                     KdLyLayerFilter*& current) {
    auto tree = std::unique_ptr<KdLyLayerFilter>(
        KdLyLayerFilter::makeGenerated(KdLyLayerFilter::Kind::kAll, allFilterName()));
    KdLyLayerFilter* used = generateUsedLayersFilter();
    tree->adopt(used);
    current = tree.get();

    const KdDbObjectId xdict = layerTableXDict(m_db);
    const KdDbObjectId lyDict =
        xdict.isNull() ? KdDbObjectId::kNull : subDictionary(xdict, kFilterDict);
    // Filters first, then their nesting: a parent may come after its children.
    std::map<KdDbObjectId, KdLyLayerFilter*> byRecord;
    std::vector<std::pair<KdLyLayerFilter*, KdDbObjectId>> parentOf;
    for (const Entry& e : entriesOf(lyDict)) {
        tvly::FilterRecord rec;
        if (!readFilterRecord(e.id, rec))
            continue;
        KdLyLayerFilter* f = nullptr;
        if (rec.group) {
            auto* g = new KdLyLayerGroup;
            for (const KdDbObjectId& id : rec.layers)
                g->addLayerId(id);
            f = g;
        } else {
            f = new KdLyLayerFilter;
        }
        f->loadStored(rec.name.c_str(), rec.expression.c_str());
        f->setSourceId(e.id);
        byRecord[e.id] = f;
        parentOf.emplace_back(f, rec.parent);
    }
    for (auto& [f, parentId] : parentOf) {
        auto it = byRecord.find(parentId);
        KdLyLayerFilter* parent = it != byRecord.end() ? it->second : tree.get();
        // A parent chain that loops back is cut: the filter goes to the top level.
        if (!parent->adopt(f))
            tree->adopt(f);
    }
    if (!lyDict.isNull()) {
        KdDbObjectPointer<KdDbDictionary> dict(lyDict, KdDb::kForRead);
        const std::wstring text = dict ? storedCurrent(*dict.get()) : std::wstring();
        if (text == std::wstring(L"<") + usedLayersFilterName())
            current = used;
        else if (!text.empty() && text[0] != L'<')
            if (KdLyLayerFilter* f = tree->findNested(text.c_str()))
                current = f;
    }

    const KdDbObjectId legacy =
        xdict.isNull() ? KdDbObjectId::kNull : subDictionary(xdict, kLegacyDict);
    for (const Entry& e : entriesOf(legacy)) {
        tvly::FilterRecord rec;
        // A filter kept in both forms is listed once, as the newer form has it.
        if (!readLegacyRecord(e, rec) || tree->findNested(rec.name.c_str()))
            continue;
        auto* f = new KdLyLayerFilter;
        f->loadStored(rec.name.c_str(), rec.expression.c_str());
        tree->adopt(f);
    }
    root = tree.release();
    return Kdad::eOk;
}

Kdad::ErrorStatus KdLyLayerFilterManager::setFilters(KdLyLayerFilter* root,
                                                     KdLyLayerFilter* current) {
    if (!root || (current && current->root() != root))
        return Kdad::eInvalidInput;
    std::vector<KdLyLayerFilter*> stored;
    collectStored(root, stored);
    const std::wstring currentValue = currentText(root, current);
    const bool needStore =
        !stored.empty() || currentValue != std::wstring(L"<") + root->name().str();

    KdDbObjectId xdict = layerTableXDict(m_db);
    if (xdict.isNull()) {
        if (!needStore)
            return Kdad::eOk;
        KdDbObjectPointer<KdDbObject> head(m_db->layerTableId(), KdDb::kForWrite);
        if (!head)
            return head.openStatus();
        Kdad::ErrorStatus es = head->createExtensionDictionary();
        if (es != Kdad::eOk)
            return es;
        xdict = head->extensionDictionary();
    }

    KdDbObjectId lyDict = subDictionary(xdict, kFilterDict);
    if (lyDict.isNull() && needStore) {
        KdDbObjectPointer<KdDbDictionary> xd(xdict, KdDb::kForWrite);
        if (!xd)
            return xd.openStatus();
        auto dict = std::make_unique<KdDbDictionary>();
        Kdad::ErrorStatus es = xd->setAt(kFilterDict, dict.get(), lyDict);
        if (es != Kdad::eOk)
            return es;
        dict.release()->setTreatElementsAsHard(true);
    }

    if (!lyDict.isNull()) {
        // The filters this manager owns in the dictionary, and the highest anonymous key.
        std::map<KdDbObjectId, std::pair<Entry, tvly::FilterRecord>> owned;
        long lastKey = 0;
        for (const Entry& e : entriesOf(lyDict)) {
            lastKey = std::max(lastKey, anonymousNumber(e.key));
            tvly::FilterRecord rec;
            if (readFilterRecord(e.id, rec))
                owned.emplace(e.id, std::make_pair(e, std::move(rec)));
        }
        KdDbObjectPointer<KdDbDictionary> dict(lyDict, KdDb::kForWrite);
        if (!dict)
            return dict.openStatus();

        std::map<const KdLyLayerFilter*, KdDbObjectId> written;
        std::set<KdDbObjectId> kept;
        for (KdLyLayerFilter* f : stored) {
            tvly::FilterRecord rec;
            rec.group = f->isIdFilter();
            rec.name = f->name().str();
            rec.expression = f->filterExpression().str();
            KdLyLayerFilter* parent = f->parent();
            if (parent && !parent->dynamicallyGenerated())
                rec.parent = written[parent];
            if (rec.group) {
                for (const KdDbObjectId& id : static_cast<KdLyLayerGroup*>(f)->layerIds())
                    if (id.database() == m_db && id.isValid() && !id.isErased())
                        rec.layers.push_back(id);
            }
            // The record the filter came from, else an unclaimed one of the same name.
            auto target = owned.find(f->sourceId());
            if (target != owned.end() && kept.count(target->first))
                target = owned.end();
            if (target == owned.end()) {
                for (auto it = owned.begin(); it != owned.end(); ++it) {
                    if (!kept.count(it->first) && it->second.second.group == rec.group &&
                        tvEqualsNoCase(it->second.second.name, rec.name)) {
                        target = it;
                        break;
                    }
                }
            }
            KdDbObjectId id;
            if (target != owned.end()) {
                id = target->first;
                tvly::FilterRecord& old = target->second.second;
                if (!sameFilter(old, rec)) {
                    rec.version = old.version;
                    rec.extras = std::move(old.extras);
                    Kdad::ErrorStatus es = writeRecord(id, rec);
                    if (es != Kdad::eOk)
                        return es;
                }
            } else {
                auto xrec = std::make_unique<KdDbXrecord>();
                const std::wstring key = L"*A" + std::to_wstring(++lastKey);
                Kdad::ErrorStatus es = dict->setAt(key.c_str(), xrec.get(), id);
                if (es != Kdad::eOk)
                    return es;
                xrec.release();
                es = writeRecord(id, rec);
                if (es != Kdad::eOk)
                    return es;
            }
            kept.insert(id);
            written[f] = id;
            f->setSourceId(id);
        }
        for (const auto& [id, entry] : owned) {
            if (kept.count(id))
                continue;
            Kdad::ErrorStatus es = dropEntry(*dict.get(), entry.first);
            if (es != Kdad::eOk)
                return es;
        }
        // A drawing that never had a current filter keeps none while the root is current.
        const std::wstring before = storedCurrent(*dict.get());
        if (before != currentValue && (!before.empty() || needStore)) {
            m_db->registerApp(kApp);
            KdResbufPtr xdata(kdutBuildList(1001, kApp, 1000, currentValue.c_str(), RTNONE));
            Kdad::ErrorStatus es = dict->setXData(xdata.get());
            if (es != Kdad::eOk)
                return es;
        }
    }

    // Filters of the older form that are no longer in the tree were deleted by the user.
    const KdDbObjectId legacy = subDictionary(xdict, kLegacyDict);
    std::vector<Entry> gone;
    for (const Entry& e : entriesOf(legacy)) {
        tvly::FilterRecord rec;
        if (readLegacyRecord(e, rec) && !root->findNested(rec.name.c_str()))
            gone.push_back(e);
    }
    if (!gone.empty()) {
        KdDbObjectPointer<KdDbDictionary> dict(legacy, KdDb::kForWrite);
        if (!dict)
            return dict.openStatus();
        for (const Entry& e : gone) {
            Kdad::ErrorStatus es = dropEntry(*dict.get(), e);
            if (es != Kdad::eOk)
                return es;
        }
    }
    return Kdad::eOk;
}
