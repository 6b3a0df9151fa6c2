#include "snapshot/CKdadLayerP.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
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

namespace {

std::wstring trimmedBlanks(const std::wstring& s) {
    const size_t b = s.find_first_not_of(L" \t");
    if (b == std::wstring::npos)
        return {};
    return s.substr(b, s.find_last_not_of(L" \t") - b + 1);
}

/// The entry of `code`, appended at the end when the list has none.
resbuf* ensureEntry(resbuf* list, int code) {
    resbuf* last = nullptr;
    for (resbuf* rb = list; rb; rb = rb->rbnext) {
        if (rb->restype == code)
            return rb;
        last = rb;
    }
    resbuf* fresh = kdutNewRb(code);
    if (fresh && last)
        last->rbnext = fresh;
    return fresh;
}

} // namespace

CKdadLayerP::~CKdadLayerP() = default;

bool CKdadLayerP::readEntry(resbuf* list, CKdadLayerEntry& e) const {
    for (resbuf* rb = list; rb; rb = rb->rbnext) {
        switch (rb->restype) {
        case -1:
            kddbGetObjectId(e.id, rb->resval.rlname);
            break;
        case 2:
            e.name = rb->resval.rstring ? rb->resval.rstring : L"";
            break;
        case 6:
            e.linetype = rb->resval.rstring ? rb->resval.rstring : L"";
            break;
        case 62:
            e.color = rb->resval.rint;
            break;
        case 70:
            e.flags = rb->resval.rint;
            break;
        case 290:
            e.plottable = rb->resval.rint != 0;
            break;
        case 370:
            e.lineweight = rb->resval.rint;
            break;
        case 420:
            e.rgb = rb->resval.rlong & 0xFFFFFF;
            break;
        case 430:
            e.book = rb->resval.rstring ? rb->resval.rstring : L"";
            break;
        default:
            break;
        }
    }
    if (e.id.isNull() || e.name.empty())
        return false;
    KdDbObjectPointer<KdDbLayerTableRecord> layer(e.id, KdDb::kForRead);
    if (layer) {
        e.plotStyle = layer->plotStyleName().str();
        if (e.linetype.empty()) {
            // A record written without its linetype uses Continuous, as its id says.
            KdDbObjectPointer<KdDbSymbolTableRecord> lt(layer->linetypeObjectId(), KdDb::kForRead);
            e.linetype = lt ? lt->name().str() : std::wstring(L"Continuous");
        }
    }
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
    tv::CurrentDrawingScope scope(db);
    for (resbuf* rb = kddbTblNext(L"LAYER", 1); rb; rb = kddbTblNext(L"LAYER", 0)) {
        CKdadLayerEntry e;
        e.list.reset(rb);
        if (!readEntry(rb, e))
            continue;
        m_byName.emplace(e.upper, m_layers.size());
        m_layers.push_back(std::move(e));
    }
    if (m_layers.empty())
        return false;
    KdDbObjectPointer<KdDbLayerTableRecord> current(db->clayer(), KdDb::kForRead);
    m_currentLayer = current ? trimmedBlanks(current->name().str()) : std::wstring(L"0");
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
    kd_name name;
    if (!m_db || kddbGetQdsName(name, id) != RTNORM)
        return nullptr;
    CKdadLayerEntry e;
    e.list.reset(kddbEntGet(name));
    if (!e.list || !readEntry(e.list.get(), e))
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
    for (CKdadLayerEntry& e : m_layers) {
        if (!e.changed)
            continue;
        kd_name name;
        if (kddbGetQdsName(name, e.id) != RTNORM)
            return -1;
        KdResbufPtr list(kddbEntGet(name));
        if (!list)
            return -1;
        resbuf* head = list.get();
        if (!tv::setRbString(ensureEntry(head, 2), e.name) ||
            !tv::setRbString(ensureEntry(head, 6), e.linetype))
            return -1;
        resbuf* rb = ensureEntry(head, 62);
        if (!rb)
            return -1;
        rb->resval.rint = static_cast<short>(e.color);
        if (!(rb = ensureEntry(head, 70)))
            return -1;
        rb->resval.rint = static_cast<short>(e.flags);
        if (!(rb = ensureEntry(head, 370)))
            return -1;
        rb->resval.rint = static_cast<short>(e.lineweight);
        if (!(rb = ensureEntry(head, 290)))
            return -1;
        rb->resval.rint = e.plottable ? 1 : 0;
        if (e.rgb >= 0) {
            if (!(rb = ensureEntry(head, 420)))
                return -1;
            rb->resval.rlong = e.rgb;
            if (!e.book.empty() && !tv::setRbString(ensureEntry(head, 430), e.book))
                return -1;
        }
        if (kddbEntMod(head) != RTNORM)
            return -1;
        // An entity list cannot take a group away: a true colour or a colour-book name that
        // the layer must lose goes through the record, as does the plot style by name.
        KdDbObjectPointer<KdDbLayerTableRecord> layer(e.id, KdDb::kForWrite);
        if (!layer)
            return -1;
        KdCmColor c = layer->color();
        if ((e.rgb < 0 && c.isByColor()) || (e.book.empty() && c.hasBookName())) {
            KdCmColor plain;
            if (e.rgb < 0) {
                plain.setColorIndex(static_cast<uint16_t>(std::abs(e.color)));
            } else {
                plain.setRGB(static_cast<uint8_t>(e.rgb >> 16), static_cast<uint8_t>(e.rgb >> 8),
                             static_cast<uint8_t>(e.rgb));
            }
            layer->setColor(plain);
            layer->setIsOff(e.color < 0);
        }
        if (!e.plotStyle.empty() && layer->plotStyleName().str() != e.plotStyle)
            layer->setPlotStyleName(e.plotStyle.c_str());
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
