// Conversion between tags and result-buffer lists.
#include "KdDbTagConvert.h"
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <charconv>
#include <cstring>

namespace tvdb {

int pointYCode(int code) {
    if ((code >= 10 && code <= 18) || code == 210 || (code >= 110 && code <= 112) ||
        (code >= 1010 && code <= 1013))
        return code + 10;
    return 0;
}

bool isPointerCode(int code) {
    return (code >= 330 && code <= 369) || (code >= 390 && code <= 399) ||
           (code >= 480 && code <= 481);
}

wchar_t* newResbufString(const std::wstring& s) {
    auto* p = new wchar_t[s.size() + 1];
    std::memcpy(p, s.c_str(), (s.size() + 1) * sizeof(wchar_t));
    return p;
}

KdDbStub* stubOfName(KdDbDatabase* db, const int64_t name[2]) {
    if (!db || name[1] != reinterpret_cast<int64_t>(db) || name[0] == 0)
        return nullptr;
    auto* stub = reinterpret_cast<KdDbStub*>(name[0]);
    // Only trust a stub that the database knows by its handle.
    return KdDbAccess::impl(db).stubOf(stub->handle) == stub ? stub : nullptr;
}

namespace {

double toReal(std::string_view v) {
    double d = 0;
    tvdxf::parseDouble(v, d);
    return d;
}

long long toInt(std::string_view v) {
    long long i = 0;
    tvdxf::parseInt(v, i);
    return i;
}

} // namespace

resbuf* tagToResbuf(KdDbDatabase* db, std::span<const KdDbTag> tags, size_t& i) {
    const KdDbTag& t = tags[i];
    int code = t.code;
    resbuf* rb = kdutNewRb(code);
    if (!rb)
        return nullptr;
    switch (kdutValueKind(code)) {
    case KdRbValueKind::kString:
        rb->resval.rstring = newResbufString(db->decode(t.value()));
        break;
    case KdRbValueKind::kReal:
        rb->resval.rreal = toReal(t.value());
        break;
    case KdRbValueKind::kShort:
        rb->resval.rint = static_cast<short>(toInt(t.value()));
        break;
    case KdRbValueKind::kLong:
        rb->resval.rlong = static_cast<int32_t>(toInt(t.value()));
        break;
    case KdRbValueKind::kInt64:
        rb->resval.mnInt64 = toInt(t.value());
        break;
    case KdRbValueKind::kPoint: {
        rb->resval.rpoint[0] = toReal(t.value());
        int y = pointYCode(code);
        if (i + 1 < tags.size() && tags[i + 1].code == y) {
            rb->resval.rpoint[1] = toReal(tags[i + 1].value());
            ++i;
            if (i + 1 < tags.size() && tags[i + 1].code == y + 10) {
                rb->resval.rpoint[2] = toReal(tags[i + 1].value());
                ++i;
            }
        }
        break;
    }
    case KdRbValueKind::kName: {
        uint64_t h = 0;
        KdDbStub* stub = nullptr;
        if (tvdxf::parseHandle(t.value(), h) && h != 0)
            stub = KdDbAccess::impl(db).stubOf(h);
        rb->resval.rlname[0] = reinterpret_cast<int64_t>(stub);
        rb->resval.rlname[1] = stub ? reinterpret_cast<int64_t>(db) : 0;
        break;
    }
    case KdRbValueKind::kBinary: {
        // Binary chunks are hexadecimal text in DXF.
        std::string_view v = tvdxf::trimmed(t.value());
        size_t n = v.size() / 2;
        rb->resval.rbinary.clen = static_cast<short>(n > 32767 ? 32767 : n);
        rb->resval.rbinary.buf = new char[n ? n : 1];
        for (size_t k = 0; k < n; ++k) {
            unsigned v8 = 0;
            std::from_chars(v.data() + 2 * k, v.data() + 2 * k + 2, v8, 16);
            rb->resval.rbinary.buf[k] = static_cast<char>(v8);
        }
        break;
    }
    case KdRbValueKind::kNone:
        break;
    }
    ++i;
    return rb;
}

resbuf* tagsToResbuf(KdDbDatabase* db, std::span<const KdDbTag> tags) {
    resbuf* head = nullptr;
    resbuf* tail = nullptr;
    size_t i = 0;
    while (i < tags.size()) {
        resbuf* rb = tagToResbuf(db, tags, i);
        if (!rb) {
            kdutRelRb(head);
            return nullptr;
        }
        if (tail)
            tail->rbnext = rb;
        else
            head = rb;
        tail = rb;
    }
    return head;
}

bool oneResbufToTags(KdDbDatabase* db, const resbuf* rb, std::vector<KdDbTag>& out,
                     std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error)
            *error = "group " + std::to_string(rb->restype) + ": " + why;
        return false;
    };
    auto add = [&](int code, std::string_view raw) {
        KdDbTag t;
        std::string_view stored = KdDbAccess::storeString(db, raw);
        t.data = stored.data();
        t.size = static_cast<uint32_t>(stored.size());
        t.code = static_cast<int16_t>(code);
        out.push_back(t);
    };
    int code = rb->restype;
    if (code < -5 || code > 1071)
        return fail("not a group code");
    switch (kdutValueKind(code)) {
    case KdRbValueKind::kString: {
        if (!rb->resval.rstring)
            return fail("null string");
        std::string raw = db->encode(rb->resval.rstring);
        if (raw.find('\n') != std::string::npos || raw.find('\r') != std::string::npos)
            return fail("text with a line break");
        add(code, raw);
        return true;
    }
    case KdRbValueKind::kReal:
        add(code, tvdxf::formatReal(rb->resval.rreal));
        return true;
    case KdRbValueKind::kShort:
        add(code, std::to_string(rb->resval.rint));
        return true;
    case KdRbValueKind::kLong:
        add(code, std::to_string(rb->resval.rlong));
        return true;
    case KdRbValueKind::kInt64:
        add(code, std::to_string(rb->resval.mnInt64));
        return true;
    case KdRbValueKind::kPoint: {
        int y = pointYCode(code);
        add(code, tvdxf::formatReal(rb->resval.rpoint[0]));
        add(y, tvdxf::formatReal(rb->resval.rpoint[1]));
        add(y + 10, tvdxf::formatReal(rb->resval.rpoint[2]));
        return true;
    }
    case KdRbValueKind::kName: {
        if (rb->resval.rlname[0] == 0) {
            add(code, "0");
            return true;
        }
        KdDbStub* stub = stubOfName(db, rb->resval.rlname);
        if (!stub)
            return fail("entity name of another or no database");
        add(code, tvdxf::formatHandle(stub->handle));
        return true;
    }
    case KdRbValueKind::kBinary: {
        static const char* hex = "0123456789ABCDEF";
        std::string s;
        int n = rb->resval.rbinary.clen;
        if (n < 0 || n > 127)
            return fail("binary chunk longer than 127 bytes");
        for (int k = 0; k < n; ++k) {
            auto b = static_cast<unsigned char>(rb->resval.rbinary.buf[k]);
            s.push_back(hex[b >> 4]);
            s.push_back(hex[b & 15]);
        }
        add(code, s);
        return true;
    }
    case KdRbValueKind::kNone:
        break;
    }
    return fail("no value kind");
}

bool resbufToTags(KdDbDatabase* db, const resbuf* rb, std::vector<KdDbTag>& out,
                  std::string* error) {
    for (; rb; rb = rb->rbnext)
        if (!oneResbufToTags(db, rb, out, error))
            return false;
    return true;
}

} // namespace tvdb
