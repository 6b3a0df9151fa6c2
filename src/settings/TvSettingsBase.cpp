// Where the dialogs of the module keep their settings in the registry.
#include "settings/TvSettingsBase.h"

#include "settings/TvRegKey.h"

namespace tv {

std::wstring profilesKeyPath() {
    return std::wstring(kdrxProductKey()) + L"\\Profiles";
}

std::wstring findSettingsBase() {
    TvRegKey profiles;
    if (profiles.open(HKEY_CURRENT_USER, profilesKeyPath(), KEY_READ) != ERROR_SUCCESS)
        return {};
    const std::optional<std::wstring> current = profiles.readText(nullptr);
    if (!current || current->empty())
        return {};
    const std::wstring base = profilesKeyPath() + L"\\" + *current + L"\\UserInterfaceSettings";
    TvRegKey key;
    if (key.create(HKEY_CURRENT_USER, base, KEY_WRITE) != ERROR_SUCCESS)
        return {};
    if (key.writeText(nullptr, L"") != ERROR_SUCCESS)
        return {};
    return base;
}

} // namespace tv
