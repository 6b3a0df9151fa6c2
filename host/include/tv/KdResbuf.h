// Result-buffer lists of the ads-style calls: the linked (group code, value) list and its helpers.
#pragma once

#include "KdExport.h"
#include "KdadStatus.h"

#include <cstdint>
#include <memory>

/// Ads-style entity name: two machine words that identify an object of an open database.
typedef int64_t kd_name[2];
typedef double kd_point[3];

struct kd_binary {
    short clen;
    char* buf;
};

union kd_u_val {
    double rreal;
    double rpoint[3];
    short rint;
    wchar_t* rstring;
    int64_t rlname[2];
    int32_t rlong;
    int64_t mnInt64;
    kd_binary rbinary;
};

/// One entry of a result-buffer list; `restype` is a DXF group code or an RT* value type.
struct resbuf {
    resbuf* rbnext;
    short restype;
    kd_u_val resval;
};

/// The kind of value a group code (or RT* code) carries in `resval`.
enum class KdRbValueKind { kNone, kString, kReal, kPoint, kShort, kLong, kInt64, kName, kBinary };

/// Which member of `resval` the code uses (DXF group-code ranges, -1..-5 names, RT* codes).
TVHOST_API KdRbValueKind kdutValueKind(int restype);

/// A new zeroed entry of the given type, or null when out of memory. Strings are owned.
TVHOST_API resbuf* kdutNewRb(int restype);
/// Releases a whole list, its strings and binary chunks included. Null is accepted.
TVHOST_API int kdutRelRb(resbuf* rb);
/// Builds a list from (code, value) pairs ended by RTNONE (5000). Values follow the kind of
/// their code: `const wchar_t*` strings, `double` reals, `const double*` points, `int` shorts,
/// `int32_t` longs, `int64_t` 64-bit values, `const int64_t*` names, `const kd_binary*` chunks.
/// Returns null on an unknown code.
TVHOST_API resbuf* kdutBuildList(int restype, ...);
/// A deep copy of a list (null for null).
TVHOST_API resbuf* kdutDuplicateList(const resbuf* rb);

/// Owner of a result-buffer list; releases it with kdutRelRb.
struct KdResbufDeleter {
    void operator()(resbuf* rb) const { kdutRelRb(rb); }
};
using KdResbufPtr = std::unique_ptr<resbuf, KdResbufDeleter>;
