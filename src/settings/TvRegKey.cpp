// An open key of the per-user settings registry, closed when it goes out of scope.
#include "settings/TvRegKey.h"

#include <cstdint>
#include <vector>

namespace tv {

TvRegKey& TvRegKey::operator=(TvRegKey&& other) noexcept {
    if (this != &other) {
        close();
        m_key = other.m_key;
        other.m_key = nullptr;
    }
    return *this;
}

LONG TvRegKey::open(HKEY parent, const std::wstring& path, DWORD access) {
    close();
    return RegOpenKeyExW(parent, path.c_str(), 0, access, &m_key);
}

LONG TvRegKey::create(HKEY parent, const std::wstring& path, DWORD access,
                      const wchar_t* keyClass) {
    close();
    DWORD disposition = 0;
    return RegCreateKeyExW(parent, path.c_str(), 0, keyClass, 0, access, nullptr, &m_key,
                           &disposition);
}

void TvRegKey::close() {
    if (m_key)
        RegCloseKey(m_key);
    m_key = nullptr;
}

std::optional<std::wstring> TvRegKey::readText(const wchar_t* name, DWORD maxBytes) const {
    if (!m_key)
        return std::nullopt;
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (maxBytes == 0) {
        if (RegQueryValueExW(m_key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
            return std::nullopt;
    } else {
        size = maxBytes;
    }
    // Zeroed, so that text stored without its terminator still ends.
    std::vector<wchar_t> buf(size / sizeof(wchar_t) + 1, L'\0');
    if (RegQueryValueExW(m_key, name, nullptr, &type, reinterpret_cast<std::uint8_t*>(buf.data()),
                         &size) != ERROR_SUCCESS ||
        type != REG_SZ)
        return std::nullopt;
    return std::wstring(buf.data());
}

LONG TvRegKey::writeText(const wchar_t* name, std::wstring_view text, bool withTerminator) const {
    const std::wstring copy(text);
    const size_t chars = copy.size() + (withTerminator ? 1 : 0);
    return RegSetValueExW(m_key, name, 0, REG_SZ,
                          reinterpret_cast<const std::uint8_t*>(copy.c_str()),
                          static_cast<DWORD>(chars * sizeof(wchar_t)));
}

std::optional<DWORD> TvRegKey::readDword(const wchar_t* name) const {
    if (!m_key)
        return std::nullopt;
    DWORD type = REG_NONE;
    DWORD value = 0;
    DWORD size = sizeof value;
    if (RegQueryValueExW(m_key, name, nullptr, &type, reinterpret_cast<std::uint8_t*>(&value),
                         &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof value)
        return std::nullopt;
    return value;
}

LONG TvRegKey::writeDword(const wchar_t* name, DWORD value) const {
    return RegSetValueExW(m_key, name, 0, REG_DWORD, reinterpret_cast<const std::uint8_t*>(&value),
                          sizeof value);
}

} // namespace tv
