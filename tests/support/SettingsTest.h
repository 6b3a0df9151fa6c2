// Fixture of the settings tests: a private settings file per test, and value shortcuts.
#pragma once

#include "PrivateSettings.h"
#include "TempDir.h"

#include <tv/KdRegistry.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

using tvtest::readBytes;
using tvtest::writeBytes;

/// A private settings file for each test, and shortcuts to values of the store.
class SettingsTest : public ::testing::Test {
protected:
    /// Names of the files in the settings folder, sorted.
    std::vector<std::string> settingsFolder() const {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(m_settings.file().parent_path()))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    static LONG setText(const wchar_t* path, const wchar_t* name, const std::wstring& text) {
        HKEY key = nullptr;
        LONG rc = RegCreateKeyW(HKEY_CURRENT_USER, path, &key);
        if (rc != ERROR_SUCCESS)
            return rc;
        rc = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const uint8_t*>(text.c_str()),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
        return rc;
    }
    static LONG setNumber(const wchar_t* path, const wchar_t* name, DWORD value) {
        HKEY key = nullptr;
        LONG rc = RegCreateKeyW(HKEY_CURRENT_USER, path, &key);
        if (rc != ERROR_SUCCESS)
            return rc;
        rc = RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const uint8_t*>(&value),
                            sizeof value);
        RegCloseKey(key);
        return rc;
    }
    /// The text of a REG_SZ value, or nothing when the key or value is missing or not text.
    static std::optional<std::wstring> getText(const wchar_t* path, const wchar_t* name) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
            return std::nullopt;
        DWORD type = 0;
        DWORD size = 0;
        std::optional<std::wstring> out;
        if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) == ERROR_SUCCESS &&
            type == REG_SZ && size % sizeof(wchar_t) == 0 && size > 0) {
            std::wstring text(size / sizeof(wchar_t), L'?');
            if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<uint8_t*>(text.data()),
                                 &size) == ERROR_SUCCESS &&
                text.back() == L'\0') {
                text.pop_back();
                out = text;
            }
        }
        RegCloseKey(key);
        return out;
    }
    static std::optional<DWORD> getNumber(const wchar_t* path, const wchar_t* name) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
            return std::nullopt;
        DWORD type = 0;
        DWORD value = 0;
        DWORD size = sizeof value;
        LONG rc =
            RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<uint8_t*>(&value), &size);
        RegCloseKey(key);
        if (rc != ERROR_SUCCESS || type != REG_DWORD || size != sizeof value)
            return std::nullopt;
        return value;
    }
    static bool keyExists(const wchar_t* path) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    tvtest::PrivateSettings m_settings;
    const std::string m_dir = m_settings.dir().path().string();
    const std::string m_file = m_settings.file().string();
};
