// Ads-style database calls: entity names, entget/entmod/entmake, table and dictionary walks.
#pragma once

#include "KdDbObjectId.h"
#include "KdExport.h"
#include "KdResbuf.h"

class KdDbDatabase;

/// The drawing the calls without an entity name work on (entmake, tblsearch, regapp ...).
TVHOST_API KdDbDatabase* kddbCurDwg();
/// Makes `db` current; table and dictionary walk positions start over. Null is accepted.
TVHOST_API void kddbSetCurDwg(KdDbDatabase* db);

/// The entity name of `id` (name[0] its slot, name[1] its database); RTERROR for a null id.
TVHOST_API int kddbGetQdsName(kd_name name, KdDbObjectId id);
/// The id of an entity name; RTERROR when the name is not one of a live database.
TVHOST_API int kddbGetObjectId(KdDbObjectId& id, const kd_name name);

/// The object's data: (-1 name) (0 type) and its tags, points combined and pointers as names,
/// without extended data. An entity's group 8 gives its layer's present name. Null on failure.
TVHOST_API resbuf* kddbEntGet(const kd_name name);
/// Like kddbEntGet, followed by (-3) and the extended data of the applications in `apps`
/// (1001 entries; "*" for all). The (-3) entry is there only when some data follows.
TVHOST_API resbuf* kddbEntGetX(const kd_name name, const resbuf* apps);

/// Changes the object named by the first entry (-1) as the list says: the k-th occurrence of
/// a group code in the list replaces the k-th occurrence in the object, further occurrences
/// are added after the last one of that code (or at the end of the main data), and the
/// applications after (-3) get the extended data that follows them. A list with any bad entry
/// changes nothing and gives RTERROR.
TVHOST_API int kddbEntMod(const resbuf* list);
/// Makes a table record (type LAYER, LTYPE, APPID, STYLE ...; name in group 2) or an entity in
/// model space from a list that starts with (0 type).
TVHOST_API int kddbEntMake(const resbuf* list);
/// Makes a table record or a non-graphical object owned by nothing (XRECORD, DICTIONARY ...)
/// and gives its name in `result`.
TVHOST_API int kddbEntMakeX(const resbuf* list, kd_name result);
/// Erases the object, or brings it back when it is erased.
TVHOST_API int kddbEntDel(const kd_name name);

/// The data of the record `name` of table `table` ("LAYER", "LTYPE", "BLOCK", "APPID",
/// "STYLE", "VIEW", "UCS", "VPORT", "DIMSTYLE"; case ignored) in the current drawing. With
/// `setnext` the next kddbTblNext of that table gives the record after it.
TVHOST_API resbuf* kddbTblSearch(const wchar_t* table, const wchar_t* name, int setnext);
/// The next record of `table` that is not erased, or the first one with `rewind`; null at
/// the end.
TVHOST_API resbuf* kddbTblNext(const wchar_t* table, int rewind);

/// The data of the object under `key` of dictionary `dict`; `setnext` as for kddbTblSearch.
TVHOST_API resbuf* kddbDictSearch(const kd_name dict, const wchar_t* key, int setnext);
/// The next entry's object data (first with `rewind`), skipping erased objects.
TVHOST_API resbuf* kddbDictNext(const kd_name dict, int rewind);
/// Adds `obj` (an object without owner, from kddbEntMakeX) under `key`; the dictionary becomes
/// its owner. RTERROR when the key is taken.
TVHOST_API int kddbDictAdd(const kd_name dict, const wchar_t* key, const kd_name obj);
/// Removes the entry `key`; the object stays, owned by nothing.
TVHOST_API int kddbDictRemove(const kd_name dict, const wchar_t* key);
/// The name of the current drawing's named object dictionary.
TVHOST_API int kddbNamedObjDict(kd_name result);
/// Registers an application name: RTNORM when added now, RTERROR when present or invalid.
TVHOST_API int kddbRegApp(const wchar_t* app);
