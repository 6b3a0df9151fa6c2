// The Host application's profile strings, kept as registry values below the product root.
#include <tv/KdProfile.h>

#include <tv/KdRegistry.h>

#include <cstring>
#include <cwchar>
#include <vector>

namespace {

/// The section's key path, or empty when the section name is not usable.
std::wstring sectionPath(const wchar_t* section) {
    if (section == nullptr || section[0] == L'\0')
        return {};
    return KdProfile::rootPath() + L'\\' + section;
}

/// Closes a key when it goes out of scope.
struct KeyCloser {
    HKEY key = nullptr;
    ~KeyCloser() {
        if (key != nullptr)
            RegCloseKey(key);
    }
};

/// Reads `entry` of `section` into `bytes`; false when the key or the value is missing.
bool readEntry(const wchar_t* section, const wchar_t* entry, DWORD& type,
               std::vector<std::uint8_t>& bytes) {
    std::wstring path = sectionPath(section);
    if (path.empty() || entry == nullptr)
        return false;
    KeyCloser k;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &k.key) != ERROR_SUCCESS)
        return false;
    DWORD size = 0;
    if (RegQueryValueExW(k.key, entry, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
        return false;
    bytes.resize(size);
    return RegQueryValueExW(k.key, entry, nullptr, &type, bytes.data(), &size) == ERROR_SUCCESS;
}

bool writeEntry(const wchar_t* section, const wchar_t* entry, DWORD type, const std::uint8_t* data,
                DWORD size) {
    std::wstring path = sectionPath(section);
    if (path.empty() || entry == nullptr)
        return false;
    KeyCloser k;
    if (RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &k.key) != ERROR_SUCCESS)
        return false;
    return RegSetValueExW(k.key, entry, 0, type, data, size) == ERROR_SUCCESS;
}

} // namespace

std::wstring KdProfile::rootPath() {
    return std::wstring(kdrxProductKey()) + L"\\ApplicationProfile";
}

KdString KdProfile::getProfileString(const wchar_t* section, const wchar_t* entry,
                                     const wchar_t* defaultValue) {
    DWORD type = 0;
    std::vector<std::uint8_t> bytes;
    if (!readEntry(section, entry, type, bytes) || type != REG_SZ)
        return KdString(defaultValue);
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    text.resize(std::wcslen(text.c_str()));
    return KdString(std::move(text));
}

bool KdProfile::writeProfileString(const wchar_t* section, const wchar_t* entry,
                                   const wchar_t* value) {
    std::wstring path = sectionPath(section);
    if (path.empty())
        return false;
    if (entry == nullptr) {
        LONG rc = RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
        return rc == ERROR_SUCCESS || rc == ERROR_FILE_NOT_FOUND;
    }
    if (value == nullptr) {
        KeyCloser k;
        LONG rc = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_WRITE, &k.key);
        if (rc == ERROR_SUCCESS)
            rc = RegDeleteValueW(k.key, entry);
        return rc == ERROR_SUCCESS || rc == ERROR_FILE_NOT_FOUND;
    }
    auto size = static_cast<DWORD>((std::wcslen(value) + 1) * sizeof(wchar_t));
    return writeEntry(section, entry, REG_SZ, reinterpret_cast<const std::uint8_t*>(value), size);
}

int KdProfile::getProfileInt(const wchar_t* section, const wchar_t* entry, int defaultValue) {
    DWORD type = 0;
    std::vector<std::uint8_t> bytes;
    if (!readEntry(section, entry, type, bytes) || type != REG_DWORD ||
        bytes.size() != sizeof(DWORD))
        return defaultValue;
    DWORD number = 0;
    std::memcpy(&number, bytes.data(), sizeof number);
    return static_cast<int>(number);
}

bool KdProfile::writeProfileInt(const wchar_t* section, const wchar_t* entry, int value) {
    auto number = static_cast<DWORD>(value);
    return writeEntry(section, entry, REG_DWORD, reinterpret_cast<const std::uint8_t*>(&number),
                      sizeof number);
}

bool kdEnsureCurrentProfile() {
    const std::wstring path = std::wstring(kdrxProductKey()) + L"\\Profiles";
    KeyCloser profiles;
    if (RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &profiles.key) != ERROR_SUCCESS)
        return false;
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(profiles.key, nullptr, nullptr, &type, nullptr, &size) ==
            ERROR_SUCCESS &&
        type == REG_SZ && size > sizeof(wchar_t))
        return true;
    const DWORD bytes =
        static_cast<DWORD>((std::wcslen(kdDefaultProfileName) + 1) * sizeof(wchar_t));
    return RegSetValueExW(profiles.key, nullptr, 0, REG_SZ,
                          reinterpret_cast<const std::uint8_t*>(kdDefaultProfileName),
                          bytes) == ERROR_SUCCESS;
}

