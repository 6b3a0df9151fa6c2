// Result-buffer lists: the value kind of each group code, building, copying and releasing lists.
#include "tv/KdResbuf.h"

#include <climits>
#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <new>

namespace {

using Kind = KdRbValueKind;

struct CodeRange {
    int first;
    int last;
    Kind kind;
};

// DXF group-code ranges and RT* value types. The first range that holds a code decides, so
// the exceptions inside wider ranges (-3, -4, 1004) come before the ranges around them.
constexpr CodeRange kCodeRanges[] = {
    {-3, -3, Kind::kNone},   // start of extended data
    {-4, -4, Kind::kString}, // conditional operator of selection filters ("<OR")
    {-5, -1, Kind::kName},   // entity name, entity name reference, reactor chain
    {0, 9, Kind::kString},   // entity type, text, name, handle
    {10, 18, Kind::kPoint},  // points; their Y and Z are codes 20..38 when written as tags
    {20, 39, Kind::kReal},   // a Y or Z, or an elevation / thickness, read on its own
    {40, 59, Kind::kReal},
    {60, 79, Kind::kShort},
    {90, 99, Kind::kLong},
    {100, 100, Kind::kString}, // subclass marker
    {102, 102, Kind::kString}, // application group "{NAME" / "}"
    {105, 105, Kind::kString}, // handle of a DIMSTYLE record
    {110, 112, Kind::kPoint},  // UCS origin and axes
    {113, 149, Kind::kReal},
    {160, 169, Kind::kInt64},
    {170, 179, Kind::kShort},
    {210, 210, Kind::kPoint}, // extrusion direction
    {211, 239, Kind::kReal},
    {270, 289, Kind::kShort},
    {290, 299, Kind::kShort}, // booleans
    {300, 309, Kind::kString},
    {310, 319, Kind::kBinary},
    {320, 329, Kind::kString}, // handle text
    {330, 369, Kind::kName},   // soft / hard pointers and owners
    {370, 389, Kind::kShort},  // lineweight, plot style type
    {390, 399, Kind::kName},   // plot style name handle
    {400, 409, Kind::kShort},
    {410, 419, Kind::kString},
    {420, 429, Kind::kLong},   // true colour
    {430, 439, Kind::kString}, // colour name
    {440, 449, Kind::kLong},   // transparency
    {450, 459, Kind::kLong},
    {460, 469, Kind::kReal},
    {470, 479, Kind::kString},
    {480, 481, Kind::kName},     // hard pointers
    {999, 999, Kind::kString},   // comment
    {1004, 1004, Kind::kBinary}, // extended data binary chunk
    {1000, 1009, Kind::kString}, // extended data strings, application name, control string
    {1010, 1013, Kind::kPoint},
    {1020, 1039, Kind::kReal},
    {1040, 1042, Kind::kReal}, // real, distance, scale factor
    {1060, 1070, Kind::kShort},
    {1071, 1071, Kind::kLong},
    {RTSHORT, RTSHORT, Kind::kShort},
    {RTREAL, RTREAL, Kind::kReal},
    {RTANG, RTANG, Kind::kReal},
    {RTORINT, RTORINT, Kind::kReal},
    {RTPOINT, RTPOINT, Kind::kPoint},
    {RT3DPOINT, RT3DPOINT, Kind::kPoint},
    {RTSTR, RTSTR, Kind::kString},
    {RTDXF0, RTDXF0, Kind::kString},
    {RTENAME, RTENAME, Kind::kName},
    {RTPICKS, RTPICKS, Kind::kName},
    {RTLONG, RTLONG, Kind::kLong},
    {RTINT64, RTINT64, Kind::kInt64},
    {RTLONG_PTR, RTLONG_PTR, Kind::kInt64},
};

// Codes that carry no value and may stand in a built list on their own.
bool isValuelessMarker(int restype) {
    switch (restype) {
    case RTLB:
    case RTLE:
    case RTT:
    case RTNIL:
    case RTVOID:
    case -3:
        return true;
    default:
        return false;
    }
}

wchar_t* copyString(const wchar_t* s) {
    if (s == nullptr)
        s = L"";
    const size_t n = std::wcslen(s) + 1;
    auto* copy = new (std::nothrow) wchar_t[n];
    if (copy != nullptr)
        std::wmemcpy(copy, s, n);
    return copy;
}

// Copies a binary chunk into `to`; false on a malformed chunk or when out of memory.
bool copyBinary(const kd_binary& from, kd_binary& to) {
    to.clen = 0;
    to.buf = nullptr;
    if (from.clen < 0 || (from.clen > 0 && from.buf == nullptr))
        return false;
    if (from.clen == 0)
        return true;
    to.buf = new (std::nothrow) char[static_cast<size_t>(from.clen)];
    if (to.buf == nullptr)
        return false;
    std::memcpy(to.buf, from.buf, static_cast<size_t>(from.clen));
    to.clen = from.clen;
    return true;
}

// Reads the value of `rb`'s code from the argument list; false when the code is unknown or the
// value can not be taken (a null point, name or chunk, out of memory).
bool takeValue(resbuf* rb, va_list& args) {
    kd_u_val& val = rb->resval;
    switch (kdutValueKind(rb->restype)) {
    case Kind::kNone:
        return isValuelessMarker(rb->restype);
    case Kind::kString:
        val.rstring = copyString(va_arg(args, const wchar_t*));
        return val.rstring != nullptr;
    case Kind::kReal:
        val.rreal = va_arg(args, double);
        return true;
    case Kind::kPoint: {
        const double* pt = va_arg(args, const double*);
        if (pt == nullptr)
            return false;
        std::memcpy(val.rpoint, pt, sizeof val.rpoint);
        return true;
    }
    case Kind::kShort:
        val.rint = static_cast<short>(va_arg(args, int));
        return true;
    case Kind::kLong:
        val.rlong = va_arg(args, int32_t);
        return true;
    case Kind::kInt64:
        val.mnInt64 = va_arg(args, int64_t);
        return true;
    case Kind::kName: {
        const int64_t* name = va_arg(args, const int64_t*);
        if (name == nullptr)
            return false;
        val.rlname[0] = name[0];
        val.rlname[1] = name[1];
        return true;
    }
    case Kind::kBinary: {
        const kd_binary* chunk = va_arg(args, const kd_binary*);
        return chunk != nullptr && copyBinary(*chunk, val.rbinary);
    }
    }
    return false;
}

// Makes `to` (a fresh entry with the same code) own copies of `from`'s string or chunk.
bool copyValue(const resbuf& from, resbuf& to) {
    to.resval = from.resval;
    switch (kdutValueKind(from.restype)) {
    case Kind::kString:
        to.resval.rstring = nullptr;
        if (from.resval.rstring == nullptr)
            return true;
        to.resval.rstring = copyString(from.resval.rstring);
        return to.resval.rstring != nullptr;
    case Kind::kBinary:
        return copyBinary(from.resval.rbinary, to.resval.rbinary);
    default:
        return true;
    }
}

} // namespace

KdRbValueKind kdutValueKind(int restype) {
    for (const CodeRange& range : kCodeRanges) {
        if (restype >= range.first && restype <= range.last)
            return range.kind;
    }
    return Kind::kNone;
}

resbuf* kdutNewRb(int restype) {
    auto* rb = new (std::nothrow) resbuf{};
    if (rb != nullptr)
        rb->restype = static_cast<short>(restype);
    return rb;
}

int kdutRelRb(resbuf* rb) {
    while (rb != nullptr) {
        resbuf* next = rb->rbnext;
        switch (kdutValueKind(rb->restype)) {
        case Kind::kString:
            delete[] rb->resval.rstring;
            break;
        case Kind::kBinary:
            delete[] rb->resval.rbinary.buf;
            break;
        default:
            break;
        }
        delete rb;
        rb = next;
    }
    return RTNORM;
}

resbuf* kdutBuildList(int restype, ...) {
    va_list args;
    va_start(args, restype);
    resbuf* head = nullptr;
    resbuf** tail = &head;
    bool ok = true;
    for (int code = restype; code != RTNONE; code = va_arg(args, int)) {
        resbuf* rb = code >= SHRT_MIN && code <= SHRT_MAX ? kdutNewRb(code) : nullptr;
        if (rb == nullptr) {
            ok = false;
            break;
        }
        // Linked before its value is read, so that a failure releases it with the rest.
        *tail = rb;
        tail = &rb->rbnext;
        if (!takeValue(rb, args)) {
            ok = false;
            break;
        }
    }
    va_end(args);
    if (ok)
        return head;
    kdutRelRb(head);
    return nullptr;
}

resbuf* kdutDuplicateList(const resbuf* rb) {
    resbuf* head = nullptr;
    resbuf** tail = &head;
    for (; rb != nullptr; rb = rb->rbnext) {
        resbuf* copy = kdutNewRb(rb->restype);
        if (copy == nullptr) {
            kdutRelRb(head);
            return nullptr;
        }
        *tail = copy;
        tail = &copy->rbnext;
        if (!copyValue(*rb, *copy)) {
            kdutRelRb(head);
            return nullptr;
        }
    }
    return head;
}
