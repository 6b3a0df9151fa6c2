// The Host's configuration data manager, kept as registry values below the product root.
#include <tv/KdConfigData.h>

#include <tv/KdRegistry.h>

#include <cstring>
#include <cwchar>
#include <limits>
#include <vector>

namespace {

bool usableName(const wchar_t* name) {
    return name != nullptr && name[0] != L'\0';
}

/// Reads value `name`; eKeyNotFound when the key or the value is missing.
Kdad::ErrorStatus readValue(const wchar_t* name, DWORD& type, std::vector<std::uint8_t>& bytes) {
    if (!usableName(name))
        return Kdad::eInvalidInput;
    HKEY key = nullptr;
    std::wstring path = KdConfigDataManager::keyPath();
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return Kdad::eKeyNotFound;
    DWORD size = 0;
    LONG rc = RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
    if (rc == ERROR_SUCCESS) {
        bytes.resize(size);
        rc = RegQueryValueExW(key, name, nullptr, &type, bytes.data(), &size);
    }
    RegCloseKey(key);
    return rc == ERROR_SUCCESS ? Kdad::eOk : Kdad::eKeyNotFound;
}

Kdad::ErrorStatus writeValue(const wchar_t* name, DWORD type, const std::uint8_t* data,
                             DWORD size) {
    if (!usableName(name))
        return Kdad::eInvalidInput;
    HKEY key = nullptr;
    std::wstring path = KdConfigDataManager::keyPath();
    if (RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &key) != ERROR_SUCCESS)
        return Kdad::eFileAccessErr;
    LONG rc = RegSetValueExW(key, name, 0, type, data, size);
    RegCloseKey(key);
    return rc == ERROR_SUCCESS ? Kdad::eOk : Kdad::eFileAccessErr;
}

Kdad::ErrorStatus readNumber(const wchar_t* name, std::int32_t& value) {
    DWORD type = 0;
    std::vector<std::uint8_t> bytes;
    if (Kdad::ErrorStatus es = readValue(name, type, bytes); es != Kdad::eOk)
        return es;
    if (type != REG_DWORD || bytes.size() != sizeof(DWORD))
        return Kdad::eWrongObjectType;
    DWORD number = 0;
    std::memcpy(&number, bytes.data(), sizeof number);
    value = static_cast<std::int32_t>(number);
    return Kdad::eOk;
}

} // namespace

std::wstring KdConfigDataManager::keyPath() {
    return std::wstring(kdrxProductKey()) + L"\\ConfigData";
}

Kdad::ErrorStatus KdConfigDataManager::getValue(const wchar_t* name, std::int16_t& value) const {
    std::int32_t wide = 0;
    if (Kdad::ErrorStatus es = readNumber(name, wide); es != Kdad::eOk)
        return es;
    if (wide < std::numeric_limits<std::int16_t>::min() ||
        wide > std::numeric_limits<std::int16_t>::max())
        return Kdad::eWrongObjectType;
    value = static_cast<std::int16_t>(wide);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdConfigDataManager::getValue(const wchar_t* name, std::int32_t& value) const {
    return readNumber(name, value);
}

Kdad::ErrorStatus KdConfigDataManager::getValue(const wchar_t* name, KdString& value) const {
    DWORD type = 0;
    std::vector<std::uint8_t> bytes;
    if (Kdad::ErrorStatus es = readValue(name, type, bytes); es != Kdad::eOk)
        return es;
    if (type != REG_SZ)
        return Kdad::eWrongObjectType;
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    text.resize(std::wcslen(text.c_str()));
    value = KdString(std::move(text));
    return Kdad::eOk;
}

Kdad::ErrorStatus KdConfigDataManager::setValue(const wchar_t* name, std::int16_t value) {
    return setValue(name, static_cast<std::int32_t>(value));
}

Kdad::ErrorStatus KdConfigDataManager::setValue(const wchar_t* name, std::int32_t value) {
    auto number = static_cast<DWORD>(value);
    return writeValue(name, REG_DWORD, reinterpret_cast<const std::uint8_t*>(&number),
                      sizeof number);
}

Kdad::ErrorStatus KdConfigDataManager::setValue(const wchar_t* name, const wchar_t* value) {
    if (value == nullptr)
        return Kdad::eInvalidInput;
    auto size = static_cast<DWORD>((std::wcslen(value) + 1) * sizeof(wchar_t));
    return writeValue(name, REG_SZ, reinterpret_cast<const std::uint8_t*>(value), size);
}

Kdad::ErrorStatus KdConfigDataManager::removeValue(const wchar_t* name) {
    if (!usableName(name))
        return Kdad::eInvalidInput;
    HKEY key = nullptr;
    std::wstring path = keyPath();
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_WRITE, &key) != ERROR_SUCCESS)
        return Kdad::eKeyNotFound;
    LONG rc = RegDeleteValueW(key, name);
    RegCloseKey(key);
    return rc == ERROR_SUCCESS ? Kdad::eOk : Kdad::eKeyNotFound;
}

KdConfigDataManager* getConfigDataManager() {
    // The manager holds no state of its own; the values live in the settings store.
    static KdConfigDataManager manager;
    return &manager;
}
