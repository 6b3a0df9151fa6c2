// Conversion between tags and result-buffer lists, with the value kinds of DXF group codes.
#pragma once

#include <tv/KdDbTag.h>
#include <tv/KdResbuf.h>

#include <span>
#include <string>
#include <vector>

class KdDbDatabase;
struct KdDbStub;

namespace tvdb {

/// Second and third group code of a point whose first code is `code` (10 -> 20, 30), or 0.
int pointYCode(int code);
/// True for codes whose value is a handle that names an object (330-369, 390-399, 480-481,
/// 1005 is text and stays text).
bool isPointerCode(int code);

/// A result-buffer list of `tags` (points combined, pointers as entity names). Null for none.
resbuf* tagsToResbuf(KdDbDatabase* db, std::span<const KdDbTag> tags);
/// One result buffer for the tag at `i` (a point takes its Y and Z tags); advances `i`.
resbuf* tagToResbuf(KdDbDatabase* db, std::span<const KdDbTag> tags, size_t& i);

/// Tags for a result-buffer list; false with `error` set for a value that does not fit its
/// code. Nothing is stored in the database but the new value text.
bool resbufToTags(KdDbDatabase* db, const resbuf* rb, std::vector<KdDbTag>& out,
                  std::string* error);
/// Tags for one result buffer (a point gives two or three tags).
bool oneResbufToTags(KdDbDatabase* db, const resbuf* rb, std::vector<KdDbTag>& out,
                     std::string* error);

/// A copy of `s` in the memory result buffers own (released by kdutRelRb).
wchar_t* newResbufString(const std::wstring& s);
/// The stub of an entity name, or null when it is not a name of `db`.
KdDbStub* stubOfName(KdDbDatabase* db, const int64_t name[2]);

} // namespace tvdb
