// Test helpers for the settings store: a private settings file per test and value shortcuts.
#pragma once

#include <tv/KdRegistry.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// Points the store at a settings file in a fresh temporary folder, so that no test reads or
/// writes the user's own settings, and removes the folder afterwards.
class SettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern =
            std::string(tmp != nullptr && tmp[0] == '/' ? tmp : "/tmp") + "/tvsettings-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_dir = pattern;
        m_file = m_dir + "/tvcad/registry.ini";
        tvSettingsSetFile(m_file);
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    static std::string readBytes(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    static void writeBytes(const std::string& path, const std::string& bytes) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    }
    /// Names of the files in the settings folder, sorted.
    std::vector<std::string> settingsFolder() const {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(m_dir + "/tvcad"))
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

    std::string m_dir;
    std::string m_file;
};
