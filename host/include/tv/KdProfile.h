// The Host application's profile strings: named entries in sections, kept per user.
#pragma once

#include "KdExport.h"
#include "KdString.h"

#include <string>

/// Profile entries of the Host application, as its application object reads and writes them.
/// Each section is a registry key below rootPath(); entries are its values (texts as REG_SZ,
/// numbers as REG_DWORD). A section may name subsections with backslashes ("Dialogs\\Find").
class TVHOST_API KdProfile {
public:
    /// The key below HKEY_CURRENT_USER that holds the sections.
    static std::wstring rootPath();

    /// The text of `entry` in `section`; `defaultValue` (null: empty) when the entry is
    /// missing or is not text.
    static KdString getProfileString(const wchar_t* section, const wchar_t* entry,
                                     const wchar_t* defaultValue = nullptr);
    /// Writes `value` as the text of `entry`. A null `value` deletes the entry, a null `entry`
    /// deletes the whole section. False when the section name is not usable or the store
    /// refuses the write.
    static bool writeProfileString(const wchar_t* section, const wchar_t* entry,
                                   const wchar_t* value);

    /// The number in `entry` of `section`; `defaultValue` when it is missing or not a number.
    static int getProfileInt(const wchar_t* section, const wchar_t* entry, int defaultValue);
    static bool writeProfileInt(const wchar_t* section, const wchar_t* entry, int value);
};

/// The name of the user profile the Host starts with when the user has none.
inline constexpr const wchar_t* kdDefaultProfileName = L"<<Unnamed Profile>>";
/// Makes sure the user has a current profile (the default value of the product root's
/// "Profiles" key), where dialogs keep their settings: sets kdDefaultProfileName when none is
/// named. False when the store refuses the write.
TVHOST_API bool kdEnsureCurrentProfile();
