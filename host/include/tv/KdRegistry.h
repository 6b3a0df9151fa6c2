// The per-user settings registry: Windows-style key and value calls over a file-backed store.
#pragma once

#include "KdExport.h"

#include <cstdint>
#include <string>
#include <vector>

/// An open registry key. Handles come from RegOpenKeyExW / RegCreateKeyW and are released
/// with RegCloseKey; HKEY_CURRENT_USER is predefined and never needs closing.
struct KdRegKeyHandle;
using HKEY = KdRegKeyHandle*;
using LONG = std::int32_t;
using DWORD = std::uint32_t;

/// The current user's hive, the root of every key path.
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))

// Results of the registry calls.
inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2; ///< no such key or value
inline constexpr LONG ERROR_ACCESS_DENIED = 5;  ///< the handle lacks the right, or the key
                                                ///< to delete still has subkeys
inline constexpr LONG ERROR_INVALID_HANDLE = 6; ///< null, closed or unknown handle
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_BAD_PATHNAME = 161; ///< empty component or leading backslash
inline constexpr LONG ERROR_MORE_DATA = 234;    ///< buffer too small; the size says what
                                                ///< is needed
inline constexpr LONG ERROR_KEY_DELETED = 1018; ///< the key of an open handle was deleted

// Value types. REG_SZ data is a wchar_t string with its terminating null (sizes in bytes, so
// 4 bytes per character here); REG_DWORD data is 4 bytes in native order.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_DWORD = 4;

// Access rights of a handle.
inline constexpr DWORD KEY_QUERY_VALUE = 0x0001;
inline constexpr DWORD KEY_SET_VALUE = 0x0002;
inline constexpr DWORD KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr DWORD KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr DWORD KEY_NOTIFY = 0x0010;
inline constexpr DWORD KEY_READ = 0x20019;
inline constexpr DWORD KEY_WRITE = 0x20006;
inline constexpr DWORD KEY_ALL_ACCESS = 0xF003F;

// What RegCreateKeyExW did.
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

/// Opens an existing key below `key` (backslash-separated path, case ignored) with the rights
/// in `samDesired`. A null or empty `subKey` opens a new handle to `key` itself. `options` is
/// ignored.
TVHOST_API LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD options, DWORD samDesired,
                              HKEY* result);
/// Opens `subKey` below `key` with full access, creating it and any missing parents first.
TVHOST_API LONG RegCreateKeyW(HKEY key, const wchar_t* subKey, HKEY* result);
/// RegCreateKeyW with the rights asked for and a report of whether the key was new. The key
/// class, the options and the security attributes are accepted and ignored.
TVHOST_API LONG RegCreateKeyExW(HKEY key, const wchar_t* subKey, DWORD reserved,
                                const wchar_t* keyClass, DWORD options, DWORD samDesired,
                                const void* securityAttributes, HKEY* result, DWORD* disposition);
/// Reads value `name` (null or empty: the key's default value). `type` receives its type
/// whenever the value exists. With null `data`, `*dataSize` receives the size needed; with a
/// buffer smaller than that, the result is ERROR_MORE_DATA and `*dataSize` the size needed;
/// otherwise the data is copied and `*dataSize` is its size. `reserved` must be null.
TVHOST_API LONG RegQueryValueExW(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type,
                                 std::uint8_t* data, DWORD* dataSize);
/// Writes value `name` as REG_SZ (a whole number of wchar_t; the text ends at the first null,
/// which may be left out) or REG_DWORD (exactly 4 bytes). Other types and sizes are refused
/// with ERROR_INVALID_PARAMETER. The change is saved to the settings file at once.
TVHOST_API LONG RegSetValueExW(HKEY key, const wchar_t* name, DWORD reserved, DWORD type,
                               const std::uint8_t* data, DWORD size);
TVHOST_API LONG RegDeleteValueW(HKEY key, const wchar_t* name);
/// Deletes `subKey` (which must name a key below `key`) with its values; a key that has
/// subkeys is refused with ERROR_ACCESS_DENIED.
TVHOST_API LONG RegDeleteKeyW(HKEY key, const wchar_t* subKey);
/// Deletes `subKey` (or, when null or empty, the contents of `key`) with everything below it.
TVHOST_API LONG RegDeleteTreeW(HKEY key, const wchar_t* subKey);
TVHOST_API LONG RegCloseKey(HKEY key);

/// The Host's product root below HKEY_CURRENT_USER; settings keys are formed under it.
TVHOST_API const wchar_t* kdrxProductKey();

// -- The settings file --
//
// The store lives in $XDG_CONFIG_HOME/tvcad/registry.ini (~/.config when unset), is read on
// first use and rewritten atomically after each change. A file that cannot be read back
// (garbage, truncated, bad UTF-8, wrong types) gives an empty store and a warning; the file is
// left as it is, and the first save copies it to NAME.corrupt before replacing it.

/// Points the store at another file (an empty path: the default one) and loads it.
TVHOST_API void tvSettingsSetFile(const std::string& path);
/// Drops everything held in memory and reads the settings file again, as a restart would.
TVHOST_API void tvSettingsReload();
/// The file the store reads and writes; empty when no location is known.
TVHOST_API std::string tvSettingsFile();
/// Problems met since the last load: why the file was rejected, saves that failed.
TVHOST_API std::vector<std::string> tvSettingsWarnings();
