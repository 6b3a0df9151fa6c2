// Where the dialogs of the module keep their settings in the registry.
#pragma once

#include <string>

namespace tv {

/// The key of the user's current profile that holds the dialogs' settings:
/// "<product root>\Profiles\<current profile>\UserInterfaceSettings" below HKEY_CURRENT_USER.
/// The current profile is the default text value of "<product root>\Profiles". Each look-up
/// creates the key and sets its default value to the empty text, on purpose, so that the
/// profile holds the key once a dialog has asked for it. Empty when there is no current
/// profile, when it is empty, or when the key cannot be created or written: no settings are
/// then read or stored.
std::wstring findSettingsBase();

/// "<product root>\Profiles", whose default value names the current profile.
std::wstring profilesKeyPath();

} // namespace tv
