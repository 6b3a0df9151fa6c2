#include "common/TvResbuf.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"

#include <cwchar>
#include <new>

namespace tv {

bool setRbString(resbuf* rb, std::wstring_view text) {
    if (!rb)
        return false;
    // Lists are released by kdutRelRb, which frees their texts with delete[].
    auto* copy = new (std::nothrow) wchar_t[text.size() + 1];
    if (!copy)
        return false;
    std::wmemcpy(copy, text.data(), text.size());
    copy[text.size()] = L'\0';
    delete[] rb->resval.rstring;
    rb->resval.rstring = copy;
    return true;
}

resbuf* newRbString(int code, std::wstring_view text) {
    resbuf* rb = kdutNewRb(code);
    if (rb && !setRbString(rb, text)) {
        kdutRelRb(rb);
        return nullptr;
    }
    return rb;
}

resbuf* newRbShort(int code, int value) {
    resbuf* rb = kdutNewRb(code);
    if (rb)
        rb->resval.rint = static_cast<short>(value);
    return rb;
}

resbuf* newRbLong(int code, int32_t value) {
    resbuf* rb = kdutNewRb(code);
    if (rb)
        rb->resval.rlong = value;
    return rb;
}

resbuf* newRbName(int code, const int64_t name[2]) {
    resbuf* rb = kdutNewRb(code);
    if (rb) {
        rb->resval.rlname[0] = name[0];
        rb->resval.rlname[1] = name[1];
    }
    return rb;
}

RbBuilder& RbBuilder::add(resbuf* rb) {
    if (!rb) {
        m_ok = false;
        return *this;
    }
    if (!m_tail)
        m_head.reset(rb);
    else
        m_tail->rbnext = rb;
    m_tail = rb;
    return *this;
}

KdResbufPtr RbBuilder::take() {
    m_tail = nullptr;
    return std::move(m_head);
}

const resbuf* findGroup(const resbuf* list, int code) {
    for (const resbuf* rb = list; rb; rb = rb->rbnext) {
        if (rb->restype == code)
            return rb;
    }
    return nullptr;
}

std::wstring groupText(const resbuf* list, int code, size_t limit) {
    const resbuf* rb = findGroup(list, code);
    if (!rb || !rb->resval.rstring)
        return {};
    std::wstring text = rb->resval.rstring;
    if (text.size() > limit)
        text.resize(limit);
    return text;
}

std::wstring textSystemVariable(const wchar_t* name, bool* read) {
    resbuf rb{};
    const bool ok = kdedGetVar(name, &rb) == RTNORM && rb.restype == RTSTR && rb.resval.rstring;
    if (read)
        *read = ok;
    if (!ok)
        return {};
    std::wstring text = rb.resval.rstring;
    kdad_free(rb.resval.rstring);
    return text;
}

} // namespace tv
