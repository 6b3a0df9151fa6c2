// Tests of the registry calls: values across a restart, buffer sizes, errors, case, rights.
#include "SettingsTest.h"

#include <cstring>

namespace {

using RegistryTest = SettingsTest;

const wchar_t* const kMsgBoxKey =
    L"Software\\TEVRA\\TvCad\\R1\\Settings\\UserConfig\\Config\\MsgBoxSettings";

TEST_F(RegistryTest, ValuesOfBothTypesSurviveARestart) {
    const std::wstring awkward = L"a\\b \"q\"\nline\ttab\x01 [x]=@ \x00e9\x4e2d\U0001F600";
    ASSERT_EQ(setText(L"Software\\Test\\Deep\\Key", L"Text", awkward), ERROR_SUCCESS);
    ASSERT_EQ(setText(L"Software\\Test\\Deep\\Key", nullptr, L""), ERROR_SUCCESS);
    ASSERT_EQ(setText(L"Software\\Test\\Deep\\Key", L"@", L"named at"), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"Software\\Test\\Deep\\Key", L"Number", 0xFFFFFFFEu), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"Software\\Test", L"Zero", 0), ERROR_SUCCESS);
    // Wide values that UTF-8 cannot carry are escaped, not replaced.
    std::wstring odd = L"x";
    odd += static_cast<wchar_t>(0xD800);
    odd += static_cast<wchar_t>(0x110000);
    ASSERT_EQ(setText(L"Software\\Test", L"Odd", odd), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"", L"AtRoot", 9), ERROR_SUCCESS);
    HKEY empty = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Test\\Empty Key ]", &empty),
              ERROR_SUCCESS);
    RegCloseKey(empty);

    tvSettingsReload();
    EXPECT_TRUE(tvSettingsWarnings().empty());
    EXPECT_EQ(getText(L"Software\\Test\\Deep\\Key", L"Text"), awkward);
    EXPECT_EQ(getText(L"Software\\Test\\Deep\\Key", L""), L"");
    EXPECT_EQ(getText(L"Software\\Test\\Deep\\Key", L"@"), L"named at");
    EXPECT_EQ(getNumber(L"Software\\Test\\Deep\\Key", L"Number"), 0xFFFFFFFEu);
    EXPECT_EQ(getNumber(L"Software\\Test", L"Zero"), 0u);
    EXPECT_EQ(getText(L"Software\\Test", L"Odd"), odd);
    EXPECT_TRUE(keyExists(L"Software\\Test\\Empty Key ]"));
    EXPECT_EQ(getNumber(nullptr, L"AtRoot"), 9u);
}

TEST_F(RegistryTest, RememberedMessageBoxAnswerReadsBackAsFourBytes) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kMsgBoxKey, &key), ERROR_SUCCESS);
    DWORD one = 1;
    ASSERT_EQ(RegSetValueExW(key, L"ID1874", 0, REG_DWORD, reinterpret_cast<uint8_t*>(&one), 4),
              ERROR_SUCCESS);
    RegCloseKey(key);
    tvSettingsReload();

    std::wstring path =
        std::wstring(kdrxProductKey()) + L"\\Settings\\UserConfig\\Config\\" + L"MsgBoxSettings";
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD value = 0;
    DWORD type = 0;
    DWORD size = 4;
    EXPECT_EQ(
        RegQueryValueExW(key, L"ID1874", nullptr, &type, reinterpret_cast<uint8_t*>(&value), &size),
        ERROR_SUCCESS);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(value, 1u);
    RegCloseKey(key);
}

TEST_F(RegistryTest, QueryReportsTheSizeItNeeds) {
    ASSERT_EQ(setText(L"Software\\Sizes", L"Text", L"abc"), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"Software\\Sizes", L"Number", 7), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Sizes", 0, KEY_READ, &key),
              ERROR_SUCCESS);
    const DWORD textBytes = 4 * sizeof(wchar_t); // "abc" and its terminating null

    DWORD type = 0;
    DWORD size = 12345;
    EXPECT_EQ(RegQueryValueExW(key, L"Text", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, textBytes);
    EXPECT_EQ(type, REG_SZ);

    uint8_t buf[64];
    std::memset(buf, 0xAB, sizeof buf);
    size = textBytes - 1;
    type = 0;
    EXPECT_EQ(RegQueryValueExW(key, L"Text", nullptr, &type, buf, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, textBytes);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(buf[textBytes], 0xAB);

    size = textBytes;
    ASSERT_EQ(RegQueryValueExW(key, L"Text", nullptr, nullptr, buf, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(buf)), L"abc");
    EXPECT_EQ(buf[textBytes], 0xAB) << "nothing is written past the value";

    size = sizeof buf;
    EXPECT_EQ(RegQueryValueExW(key, L"Text", nullptr, nullptr, buf, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, textBytes);

    DWORD number = 0;
    size = 3;
    EXPECT_EQ(RegQueryValueExW(key, L"Number", nullptr, &type, reinterpret_cast<uint8_t*>(&number),
                               &size),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(type, REG_DWORD);
    // Only asking whether the value exists.
    EXPECT_EQ(RegQueryValueExW(key, L"Number", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key, L"Text", nullptr, nullptr, buf, nullptr),
              ERROR_INVALID_PARAMETER);
    RegCloseKey(key);
}

TEST_F(RegistryTest, MissingKeysValuesAndBadHandlesAreReported) {
    HKEY key = reinterpret_cast<HKEY>(1);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Nowhere", 0, KEY_READ, &key),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key, nullptr);
    EXPECT_FALSE(keyExists(L"Software")) << "a failed open creates nothing";

    ASSERT_EQ(setNumber(L"Software\\Here", L"A", 1), ERROR_SUCCESS);
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Here", 0, KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, L"B", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteValueW(key, L"B"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Here\\Sub"), ERROR_FILE_NOT_FOUND);

    // Paths that cannot name a key.
    HKEY other = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"\\Software", 0, KEY_READ, &other),
              ERROR_BAD_PATHNAME);
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\\\Here", &other), ERROR_BAD_PATHNAME);
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Bad\nName", &other),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, std::wstring(256, L'k').c_str(), &other),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Here\\", &other), ERROR_SUCCESS)
        << "one trailing backslash is allowed";
    RegCloseKey(other);

    // A handle whose key was deleted, a closed handle and a made-up one.
    ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Here"), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key, L"A", nullptr, nullptr, nullptr, &size), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExW(key, L"A", nullptr, nullptr, nullptr, &size), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegOpenKeyExW(nullptr, L"Software", 0, KEY_READ, &other), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryTest, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
    ASSERT_EQ(setText(L"Software\\Ünïcode\\Mixed", L"Value", L"one"), ERROR_SUCCESS);
    ASSERT_EQ(setText(L"SOFTWARE\\üNÏCODE\\mixed", L"VALUE", L"two"), ERROR_SUCCESS);
    EXPECT_EQ(getText(L"software\\ÜNÏCODE\\MIXED", L"value"), L"two");

    tvSettingsReload();
    EXPECT_EQ(getText(L"Software\\ünïcode\\Mixed", L"vAlUe"), L"two");
    std::string text = readBytes(m_file);
    EXPECT_NE(text.find("[Software\\Ünïcode\\Mixed]"), std::string::npos) << text;
    EXPECT_NE(text.find("\"Value\"=sz:\"two\""), std::string::npos) << text;
    EXPECT_EQ(text.find("VALUE"), std::string::npos) << "one value, not two";
}

TEST_F(RegistryTest, HandlesOnlyDoWhatTheirRightsAllow) {
    ASSERT_EQ(setNumber(L"Software\\Rights", L"N", 5), ERROR_SUCCESS);
    HKEY reader = nullptr;
    HKEY writer = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Rights", 0, KEY_READ, &reader),
              ERROR_SUCCESS);
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Rights", 0, KEY_WRITE, &writer),
              ERROR_SUCCESS);
    DWORD six = 6;
    DWORD size = 0;
    HKEY sub = nullptr;
    EXPECT_EQ(RegSetValueExW(reader, L"N", 0, REG_DWORD, reinterpret_cast<uint8_t*>(&six), 4),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reader, L"N"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCreateKeyW(reader, L"Sub", &sub), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegQueryValueExW(writer, L"N", nullptr, nullptr, nullptr, &size),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegSetValueExW(writer, L"N", 0, REG_DWORD, reinterpret_cast<uint8_t*>(&six), 4),
              ERROR_SUCCESS);
    // The write-only handle can create subkeys; what it created is reported as new once.
    DWORD disposition = 0;
    EXPECT_EQ(
        RegCreateKeyExW(writer, L"Sub", 0, L"REG_SZ", 0, KEY_WRITE, nullptr, &sub, &disposition),
        ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    RegCloseKey(sub);
    EXPECT_EQ(
        RegCreateKeyExW(writer, L"SUB", 0, L"REG_SZ", 0, KEY_WRITE, nullptr, &sub, &disposition),
        ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    RegCloseKey(sub);
    RegCloseKey(reader);
    RegCloseKey(writer);
    EXPECT_EQ(getNumber(L"Software\\Rights", L"N"), 6u);
}

TEST_F(RegistryTest, WritesOfTheWrongShapeAreRefusedAndChangeNothing) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Shapes", &key), ERROR_SUCCESS);
    const wchar_t text[] = L"keep";
    auto bytes = reinterpret_cast<const uint8_t*>(text);
    ASSERT_EQ(RegSetValueExW(key, L"T", 0, REG_SZ, bytes, sizeof text), ERROR_SUCCESS);
    const std::string before = readBytes(m_file);

    EXPECT_EQ(RegSetValueExW(key, L"T", 0, REG_SZ, bytes, 6), ERROR_INVALID_PARAMETER)
        << "a byte count that is not a whole number of characters";
    EXPECT_EQ(RegSetValueExW(key, L"T", 0, REG_DWORD, bytes, 2), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueExW(key, L"T", 0, REG_DWORD, bytes, 8), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueExW(key, L"T", 0, 3 /* binary */, bytes, 4), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueExW(key, L"T", 1, REG_SZ, bytes, sizeof text), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueExW(key, L"T", 0, REG_SZ, nullptr, 4), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(getText(L"Software\\Shapes", L"T"), L"keep");
    EXPECT_EQ(readBytes(m_file), before);

    // Text written without its null, or with text after an embedded null, reads back as text
    // that ends at the first null.
    const wchar_t noNull[] = {L'a', L'b'};
    EXPECT_EQ(RegSetValueExW(key, L"NoNull", 0, REG_SZ, reinterpret_cast<const uint8_t*>(noNull),
                             sizeof noNull),
              ERROR_SUCCESS);
    const wchar_t twoParts[] = {L'a', L'\0', L'b', L'\0'};
    EXPECT_EQ(RegSetValueExW(key, L"Cut", 0, REG_SZ, reinterpret_cast<const uint8_t*>(twoParts),
                             sizeof twoParts),
              ERROR_SUCCESS);
    RegCloseKey(key);
    tvSettingsReload();
    EXPECT_EQ(getText(L"Software\\Shapes", L"NoNull"), L"ab");
    EXPECT_EQ(getText(L"Software\\Shapes", L"Cut"), L"a");
}

TEST_F(RegistryTest, DeletingKeysAndValuesPersists) {
    ASSERT_EQ(setNumber(L"Software\\Del\\Parent\\Child", L"C", 1), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"Software\\Del\\Parent", L"P", 2), ERROR_SUCCESS);
    ASSERT_EQ(setNumber(L"Software\\Del", L"Gone", 3), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Del\\Parent"), ERROR_ACCESS_DENIED)
        << "a key with subkeys stays";
    EXPECT_EQ(getNumber(L"Software\\Del\\Parent", L"P"), 2u);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, L"software\\del\\parent\\child"), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Del", 0, KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueW(key, L"GONE"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(key, L"Parent"), ERROR_SUCCESS);
    RegCloseKey(key);

    tvSettingsReload();
    EXPECT_TRUE(keyExists(L"Software\\Del"));
    EXPECT_FALSE(keyExists(L"Software\\Del\\Parent"));
    EXPECT_EQ(getNumber(L"Software\\Del", L"Gone"), std::nullopt);
}

TEST_F(RegistryTest, OpenHandlesKeepWorkingAcrossAReload) {
    ASSERT_EQ(setText(L"Software\\Held", L"V", L"old"), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Held", 0, KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    tvSettingsReload();
    const std::wstring text = L"new";
    EXPECT_EQ(RegSetValueExW(key, L"V", 0, REG_SZ, reinterpret_cast<const uint8_t*>(text.c_str()),
                             4 * sizeof(wchar_t)),
              ERROR_SUCCESS);
    RegCloseKey(key);
    tvSettingsReload();
    EXPECT_EQ(getText(L"Software\\Held", L"V"), L"new");
}

} // namespace
