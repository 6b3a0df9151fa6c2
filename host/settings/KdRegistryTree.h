// The in-memory tree of registry keys and values, and key path helpers.
#pragma once

#include <tv/KdRegistry.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tvreg {

/// One typed value; `text` is used for REG_SZ, `number` for REG_DWORD.
struct Value {
    std::wstring name; ///< as first written; empty for the default value
    DWORD type = REG_SZ;
    std::wstring text;
    DWORD number = 0;
};

/// One key. Subkeys are kept by their folded name, so lookups ignore case and the file lists
/// them in a stable order; values keep the order in which they were first written.
struct Node {
    std::wstring name;
    std::map<std::wstring, std::unique_ptr<Node>> children;
    std::vector<Value> values;

    Node* child(std::wstring_view name) const;
    /// The subkey `name`, created when missing (`created` tells which).
    Node* addChild(std::wstring_view name, bool* created = nullptr);
    Value* value(std::wstring_view name);
    const Value* value(std::wstring_view name) const;
    bool removeValue(std::wstring_view name);
};

using Path = std::vector<std::wstring>;

/// The name with each character folded as the Host folds names for comparison.
std::wstring foldName(std::wstring_view name);

/// Why a key name cannot be stored (empty, too long, a backslash, a control character or a
/// value that is not a Unicode character); null when it is fine.
const char* keyNameProblem(std::wstring_view name);

/// Splits a backslash-separated key path into its names. A null or empty path gives no names;
/// one trailing backslash is allowed. Returns ERROR_SUCCESS, ERROR_BAD_PATHNAME (leading
/// backslash, empty name) or ERROR_INVALID_PARAMETER (a name that cannot be stored).
LONG splitPath(const wchar_t* path, Path& names);

/// Key names longer than this are refused.
inline constexpr size_t kMaxKeyNameLength = 255;

} // namespace tvreg
