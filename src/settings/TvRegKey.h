// An open key of the per-user settings registry, closed when it goes out of scope.
#pragma once

#include "tv/KdRegistry.h"

#include <optional>
#include <string>
#include <string_view>

namespace tv {

/// Owns one registry handle. Every call reports the registry's own result code, so that a
/// caller can stay silent about failures where the settings rules ask for it.
class TvRegKey {
public:
    TvRegKey() = default;
    ~TvRegKey() { close(); }
    TvRegKey(TvRegKey&& other) noexcept : m_key(other.m_key) { other.m_key = nullptr; }
    TvRegKey& operator=(TvRegKey&& other) noexcept;
    TvRegKey(const TvRegKey&) = delete;
    TvRegKey& operator=(const TvRegKey&) = delete;

    /// Opens the existing key `path` below `parent` with `access` (KEY_READ ...).
    LONG open(HKEY parent, const std::wstring& path, DWORD access);
    /// Opens `path` below `parent`, creating it and its missing parents first.
    LONG create(HKEY parent, const std::wstring& path, DWORD access,
                const wchar_t* keyClass = nullptr);
    void close();

    HKEY get() const { return m_key; }
    explicit operator bool() const { return m_key != nullptr; }

    /// The text of REG_SZ value `name` (null: the default value), up to its first null.
    /// Nothing when the value is missing or not text, or when `maxBytes` (0: no limit) is too
    /// small to hold it.
    std::optional<std::wstring> readText(const wchar_t* name, DWORD maxBytes = 0) const;
    /// Writes `text` as REG_SZ, with its terminating null or, when `withTerminator` is false,
    /// the characters alone.
    LONG writeText(const wchar_t* name, std::wstring_view text, bool withTerminator = true) const;
    /// The REG_DWORD value `name`; nothing when it is missing or not 4 bytes of that type.
    std::optional<DWORD> readDword(const wchar_t* name) const;
    LONG writeDword(const wchar_t* name, DWORD value) const;

private:
    HKEY m_key = nullptr;
};

} // namespace tv
