#include "snapshot/CKdadLayerP.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "common/TvSymbolName.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <cstdlib>

std::wstring tvUpperName(std::wstring_view name) {
    std::wstring out(name);
    for (wchar_t& c : out)
        c = tvUpper(c);
    return out;
}

CKdadLayerP::~CKdadLayerP() = default;

bool CKdadLayerP::readEntry(const KdDbLayerTableRecord& layer, CKdadLayerEntry& e,
                            LinetypeNames& linetypes) const {
    e.id = layer.objectId();
    e.name = layer.name().str();
    if (e.id.isNull() || e.name.empty())
        return false;
    const KdCmColor c = layer.color();
    const int index = c.colorIndex();
    e.color = index <= 0 || index > 255 ? 7 : index;
    if (layer.isOff())
        e.color = -e.color;
    e.rgb = c.isByColor() ? static_cast<int32_t>(c.trueColor24()) : -1;
    e.book.clear();
    if (c.isByColor() && c.hasBookName())
        e.book = std::wstring(c.bookName()) + L"$" + c.colorName();
    e.flags = (layer.isFrozen() ? 1 : 0) | (layer.VPDFLT() ? 2 : 0) | (layer.isLocked() ? 4 : 0);
    const KdDbObjectId lt = layer.linetypeObjectId();
    auto it = linetypes.find(lt.stub());
    if (it == linetypes.end()) {
        KdDbObjectPointer<KdDbSymbolTableRecord> rec(lt, KdDb::kForRead);
        it = linetypes.emplace(lt.stub(), rec ? rec->name().str() : std::wstring(L"Continuous"))
                 .first;
    }
    e.linetype = it->second;
    e.lineweight = layer.lineWeight();
    e.plottable = layer.isPlottable();
    e.plotStyle = layer.plotStyleName().str();
    e.upper = tvUpperName(e.name);
    return true;
}

bool CKdadLayerP::fill(KdDbDatabase* db) {
    m_db = db;
    m_layers.clear();
    m_byName.clear();
    m_frozenInViewport.clear();
    m_currentLayer.clear();
    if (!db)
        return false;
    KdDbLayerTable* table = nullptr;
    if (db->getLayerTable(table, KdDb::kForRead) != Kdad::eOk)
        return false;
    // The table's records in table order, as the table walk gives them.
    LinetypeNames linetypes;
    const std::vector<KdDbObjectId>& ids = table->recordIds();
    m_layers.reserve(ids.size());
    m_byName.reserve(ids.size());
    for (const KdDbObjectId& id : ids) {
        if (!id.isValid() || id.isErased())
            continue;
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
        CKdadLayerEntry e;
        if (!layer || !readEntry(*layer.get(), e, linetypes))
            continue;
        m_byName.emplace(e.upper, m_layers.size());
        m_layers.push_back(std::move(e));
    }
    table->close();
    if (m_layers.empty())
        return false;
    KdDbObjectPointer<KdDbLayerTableRecord> current(db->clayer(), KdDb::kForRead);
    m_currentLayer = current ? tv::trimBlanks(current->name().str()) : std::wstring(L"0");
    if (!db->tilemode() && kdedCurrentDatabase() == db) {
        KdDbObjectPointer<KdDbViewport> vp(kdedGetCurViewportObjectId(), KdDb::kForRead);
        std::vector<KdDbObjectId> frozen;
        if (vp && vp->getFrozenLayerList(frozen) == Kdad::eOk) {
            for (const KdDbObjectId& id : frozen) {
                KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
                if (layer)
                    m_frozenInViewport.insert(tvUpperName(layer->name().str()));
            }
        }
    }
    return true;
}

bool CKdadLayerP::refresh() {
    return fill(m_db);
}

CKdadLayerEntry* CKdadLayerP::find(std::wstring_view name) {
    auto it = m_byName.find(tvUpperName(name));
    return it == m_byName.end() ? nullptr : &m_layers[it->second];
}

const CKdadLayerEntry* CKdadLayerP::find(std::wstring_view name) const {
    auto it = m_byName.find(tvUpperName(name));
    return it == m_byName.end() ? nullptr : &m_layers[it->second];
}

CKdadLayerEntry* CKdadLayerP::addLayer(KdDbObjectId id) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
    if (!m_db || !layer || layer->database() != m_db)
        return nullptr;
    LinetypeNames linetypes;
    CKdadLayerEntry e;
    if (!readEntry(*layer.get(), e, linetypes))
        return nullptr;
    if (CKdadLayerEntry* existing = find(e.name))
        return existing;
    m_byName.emplace(e.upper, m_layers.size());
    m_layers.push_back(std::move(e));
    return &m_layers.back();
}

bool CKdadLayerP::isFrozenInCurrentViewport(std::wstring_view name) const {
    return !m_frozenInViewport.empty() && m_frozenInViewport.count(tvUpperName(name)) != 0;
}

int CKdadLayerP::writeBack() {
    if (!m_db)
        return -1;
    tv::CurrentDrawingScope scope(m_db);
    int written = 0;
    LinetypeNames linetypes;
    for (CKdadLayerEntry& e : m_layers) {
        if (!e.changed)
            continue;
        // The entity list carries only what differs from the record now.
        CKdadLayerEntry now;
        KdDbObjectPointer<KdDbLayerTableRecord> before(e.id, KdDb::kForRead);
        if (!before || !readEntry(*before.get(), now, linetypes))
            return -1;
        const std::string_view raw70 = before->tagValue(70);
        before.close();
        kd_name name;
        if (kddbGetQdsName(name, e.id) != RTNORM)
            return -1;
        tv::RbBuilder list;
        list.name(-1, name);
        if (e.name != now.name)
            list.text(2, e.name);
        if (e.flags != now.flags) {
            int flags70 = 0;
            for (char ch : raw70) {
                if (ch >= '0' && ch <= '9')
                    flags70 = flags70 * 10 + (ch - '0');
            }
            list.shortValue(70, (flags70 & ~7) | (e.flags & 7));
        }
        if (e.color != now.color)
            list.shortValue(62, e.color);
        if (e.linetype != now.linetype)
            list.text(6, e.linetype);
        if (e.lineweight != now.lineweight)
            list.shortValue(370, e.lineweight);
        if (e.plottable != now.plottable)
            list.shortValue(290, e.plottable ? 1 : 0);
        if (e.rgb >= 0 && (e.rgb != now.rgb || e.book != now.book)) {
            list.longValue(420, e.rgb);
            if (!e.book.empty())
                list.text(430, e.book);
        }
        if (!list.ok() || (list.head()->rbnext && kddbEntMod(list.head()) != RTNORM))
            return -1;
        // An entity list cannot take a group away: a true colour or a colour-book name that
        // the layer must lose goes through the record, as does the plot style by name.
        const bool dropTrue = e.rgb < 0 && now.rgb >= 0;
        const bool dropBook = e.book.empty() && !now.book.empty();
        if (dropTrue || dropBook || e.plotStyle != now.plotStyle) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(e.id, KdDb::kForWrite);
            if (!layer)
                return -1;
            if (dropTrue || dropBook) {
                KdCmColor plain;
                if (e.rgb < 0)
                    plain.setColorIndex(static_cast<uint16_t>(std::abs(e.color)));
                else
                    plain.setRGB(static_cast<uint8_t>(e.rgb >> 16),
                                 static_cast<uint8_t>(e.rgb >> 8), static_cast<uint8_t>(e.rgb));
                layer->setColor(plain);
                layer->setIsOff(e.color < 0);
            }
            if (!e.plotStyle.empty() && e.plotStyle != now.plotStyle)
                layer->setPlotStyleName(e.plotStyle.c_str());
        }
        e.changed = false;
        ++written;
    }
    if (!m_currentLayer.empty()) {
        resbuf value{};
        value.restype = RTSTR;
        value.resval.rstring = const_cast<wchar_t*>(m_currentLayer.c_str());
        tv::CurrentDrawingScope edScope(m_db);
        if (kdedCurrentDatabase() == m_db)
            kdedSetVar(L"CLAYER", &value);
        else if (CKdadLayerEntry* cur = find(m_currentLayer))
            m_db->setClayer(cur->id);
    }
    return written;
}
