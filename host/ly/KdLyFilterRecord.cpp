// Conversion between filter xrecord data and filter records, for both stored forms.
#include "KdLyFilterRecord.h"

#include <tv/KdDbAds.h>
#include <tv/KdLyLayerFilter.h>
#include <tv/KdUtf8.h>

#include <cstring>

namespace tvly {

namespace {

constexpr const wchar_t* kFilterClass = L"AcLyLayerFilter";
constexpr const wchar_t* kGroupClass = L"AcLyLayerGroup";

const wchar_t* str(const resbuf* rb) {
    return rb->resval.rstring ? rb->resval.rstring : L"";
}

KdDbObjectId idOf(const resbuf* rb) {
    KdDbObjectId id;
    if (rb->resval.rlname[0] == 0 || kddbGetObjectId(id, rb->resval.rlname) != RTNORM)
        return KdDbObjectId::kNull;
    return id;
}

// Appends one entry to the list ending at `tail`.
void append(resbuf*& head, resbuf*& tail, resbuf* rb) {
    if (!rb)
        return;
    if (tail)
        tail->rbnext = rb;
    else
        head = rb;
    tail = rb;
    while (tail->rbnext)
        tail = tail->rbnext;
}

resbuf* stringRb(int code, const std::wstring& s) {
    resbuf* rb = kdutNewRb(code);
    if (!rb)
        return nullptr;
    rb->resval.rstring = new wchar_t[s.size() + 1];
    std::memcpy(rb->resval.rstring, s.c_str(), (s.size() + 1) * sizeof(wchar_t));
    return rb;
}

resbuf* nameRb(int code, KdDbObjectId id) {
    resbuf* rb = kdutNewRb(code);
    if (rb && kddbGetQdsName(rb->resval.rlname, id) != RTNORM) {
        kdutRelRb(rb);
        return nullptr;
    }
    return rb;
}

} // namespace

bool decodeFilterRecord(const resbuf* data, FilterRecord& out) {
    if (!data || data->restype != 1)
        return false;
    if (tvEqualsNoCase(str(data), kFilterClass))
        out.group = false;
    else if (tvEqualsNoCase(str(data), kGroupClass))
        out.group = true;
    else
        return false;
    bool named = false;
    resbuf* extraHead = nullptr;
    resbuf* extraTail = nullptr;
    for (const resbuf* rb = data->rbnext; rb; rb = rb->rbnext) {
        switch (rb->restype) {
        case 90:
            out.version = rb->resval.rlong;
            continue;
        case 300:
            if (!named) {
                out.name = str(rb);
                named = true;
                continue;
            }
            break;
        case 301:
            if (!out.group) {
                // A long expression may come in several pieces.
                out.expression += str(rb);
                continue;
            }
            break;
        case 331:
            if (out.parent.isNull()) {
                out.parent = idOf(rb);
                continue;
            }
            break;
        case 330:
            if (out.group) {
                // Layers that no longer exist are dropped.
                const KdDbObjectId id = idOf(rb);
                if (!id.isNull())
                    out.layers.push_back(id);
                continue;
            }
            break;
        default:
            break;
        }
        resbuf single = *rb;
        single.rbnext = nullptr;
        append(extraHead, extraTail, kdutDuplicateList(&single));
    }
    out.extras.reset(extraHead);
    return named && !out.name.empty();
}

KdResbufPtr encodeFilterRecord(const FilterRecord& rec) {
    resbuf* head = nullptr;
    resbuf* tail = nullptr;
    append(head, tail, stringRb(1, rec.group ? kGroupClass : kFilterClass));
    resbuf* version = kdutNewRb(90);
    if (version)
        version->resval.rlong = rec.version;
    append(head, tail, version);
    append(head, tail, stringRb(300, rec.name));
    if (!rec.group)
        append(head, tail, stringRb(301, rec.expression));
    if (!rec.parent.isNull())
        append(head, tail, nameRb(331, rec.parent));
    for (const KdDbObjectId& id : rec.layers)
        append(head, tail, nameRb(330, id));
    if (rec.extras)
        append(head, tail, kdutDuplicateList(rec.extras.get()));
    return KdResbufPtr(head);
}

bool sameFilter(const FilterRecord& a, const FilterRecord& b) {
    return a.group == b.group && a.name == b.name && a.parent == b.parent &&
           (a.group || a.expression == b.expression) && a.layers == b.layers;
}

bool decodeLegacyFilter(const std::wstring& key, const resbuf* data, const resbuf* acadXData,
                        FilterRecord& out) {
    out.group = false;
    std::vector<std::wstring> strings;
    for (const resbuf* rb = data; rb; rb = rb->rbnext)
        if (rb->restype == 1)
            strings.emplace_back(str(rb));
    out.name = !strings.empty() && !strings[0].empty() ? strings[0] : key;
    if (out.name.empty())
        return false;
    std::wstring expression;
    for (const resbuf* rb = acadXData; rb; rb = rb->rbnext)
        if (rb->restype == 1000)
            expression += str(rb);
    if (!expression.empty() && KdLyLayerFilter::checkExpression(expression.c_str()) == Kdad::eOk) {
        out.expression = expression;
    } else if (strings.size() > 1 && !strings[1].empty() && strings[1] != L"*") {
        out.expression = L"NAME==\"" + strings[1] + L"\"";
    }
    return true;
}

} // namespace tvly
