// Tests of the application profile strings and the configuration data manager.
#include "SettingsTest.h"

#include <tv/KdConfigData.h>
#include <tv/KdProfile.h>

namespace {

using ProfileTest = SettingsTest;
using ConfigDataTest = SettingsTest;

TEST_F(ProfileTest, EntriesPersistBelowTheProductRoot) {
    EXPECT_EQ(KdProfile::getProfileString(L"LayerDialog", L"MainWindowRect").str(), L"");
    EXPECT_EQ(KdProfile::getProfileString(L"LayerDialog", L"MainWindowRect", L"none").str(),
              L"none");
    ASSERT_TRUE(KdProfile::writeProfileString(L"LayerDialog", L"MainWindowRect", L"10 20 800 600"));
    ASSERT_TRUE(KdProfile::writeProfileInt(L"LayerDialog", L"Splitter", -35));
    ASSERT_TRUE(KdProfile::writeProfileString(L"Dialogs\\Find", L"Last", L""));
    tvSettingsReload();

    EXPECT_EQ(KdProfile::getProfileString(L"layerdialog", L"MAINWINDOWRECT").str(),
              L"10 20 800 600");
    EXPECT_EQ(KdProfile::getProfileInt(L"LayerDialog", L"Splitter", 0), -35);
    EXPECT_EQ(KdProfile::getProfileString(L"Dialogs\\Find", L"Last", L"x").str(), L"")
        << "an empty text is stored, not missing";
    std::wstring key = KdProfile::rootPath() + L"\\LayerDialog";
    EXPECT_EQ(key.rfind(kdrxProductKey(), 0), 0u);
    EXPECT_EQ(getText(key.c_str(), L"MainWindowRect"), L"10 20 800 600");
}

TEST_F(ProfileTest, AFirstRunGetsACurrentProfileAndAChosenOneStays) {
    const std::wstring profiles = std::wstring(kdrxProductKey()) + L"\\Profiles";
    ASSERT_TRUE(kdEnsureCurrentProfile());
    tvSettingsReload();
    EXPECT_EQ(getText(profiles.c_str(), nullptr), kdDefaultProfileName);
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, profiles.c_str(), &key), ERROR_SUCCESS);
    const wchar_t mine[] = L"Drafting";
    ASSERT_EQ(RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const std::uint8_t*>(mine),
                             sizeof mine),
              ERROR_SUCCESS);
    RegCloseKey(key);
    ASSERT_TRUE(kdEnsureCurrentProfile());
    EXPECT_EQ(getText(profiles.c_str(), nullptr), L"Drafting");
}

TEST_F(ProfileTest, WrongKindsAndBadSectionsFallBackToTheDefault) {
    ASSERT_TRUE(KdProfile::writeProfileString(L"S", L"Text", L"12"));
    ASSERT_TRUE(KdProfile::writeProfileInt(L"S", L"Number", 12));
    EXPECT_EQ(KdProfile::getProfileInt(L"S", L"Text", 7), 7);
    EXPECT_EQ(KdProfile::getProfileString(L"S", L"Number", L"d").str(), L"d");
    EXPECT_EQ(KdProfile::getProfileInt(L"S", L"Missing", 9), 9);
    EXPECT_EQ(KdProfile::getProfileInt(L"Nowhere", L"Number", 3), 3);
    EXPECT_FALSE(KdProfile::writeProfileString(nullptr, L"E", L"v"));
    EXPECT_FALSE(KdProfile::writeProfileString(L"", L"E", L"v"));
    EXPECT_FALSE(KdProfile::writeProfileString(L"\\Lead", L"E", L"v"));
    EXPECT_FALSE(KdProfile::writeProfileInt(L"A\\\\B", L"E", 1));
    EXPECT_EQ(KdProfile::getProfileString(nullptr, L"E", L"d").str(), L"d");
}

TEST_F(ProfileTest, NullValueDeletesTheEntryAndNullEntryTheSection) {
    ASSERT_TRUE(KdProfile::writeProfileString(L"S", L"A", L"a"));
    ASSERT_TRUE(KdProfile::writeProfileString(L"S", L"B", L"b"));
    ASSERT_TRUE(KdProfile::writeProfileString(L"S\\Sub", L"C", L"c"));
    ASSERT_TRUE(KdProfile::writeProfileString(L"T", L"D", L"d"));

    EXPECT_TRUE(KdProfile::writeProfileString(L"S", L"A", nullptr));
    EXPECT_TRUE(KdProfile::writeProfileString(L"S", L"A", nullptr)) << "already gone is fine";
    tvSettingsReload();
    EXPECT_EQ(KdProfile::getProfileString(L"S", L"A", L"-").str(), L"-");
    EXPECT_EQ(KdProfile::getProfileString(L"S", L"B").str(), L"b");

    EXPECT_TRUE(KdProfile::writeProfileString(L"S", nullptr, nullptr));
    tvSettingsReload();
    EXPECT_EQ(KdProfile::getProfileString(L"S", L"B", L"-").str(), L"-");
    EXPECT_EQ(KdProfile::getProfileString(L"S\\Sub", L"C", L"-").str(), L"-");
    EXPECT_EQ(KdProfile::getProfileString(L"T", L"D").str(), L"d");
}

TEST_F(ConfigDataTest, LayerStateOptionSurvivesARestart) {
    KdConfigDataManager* config = getConfigDataManager();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config, getConfigDataManager());
    int16_t flag = 99;
    EXPECT_EQ(config->getValue(L"LAYSTATEOPTIONS", flag), Kdad::eKeyNotFound);
    EXPECT_EQ(flag, 99) << "untouched when missing";

    ASSERT_EQ(config->setValue(L"LAYSTATEOPTIONS", int16_t(1)), Kdad::eOk);
    ASSERT_EQ(config->setValue(L"Wide", int32_t(-100000)), Kdad::eOk);
    ASSERT_EQ(config->setValue(L"Minus", int16_t(-1)), Kdad::eOk);
    ASSERT_EQ(config->setValue(L"Path", L"C:\\Plot Styles\\a.ctb"), Kdad::eOk);
    tvSettingsReload();

    EXPECT_EQ(config->getValue(L"laystateoptions", flag), Kdad::eOk);
    EXPECT_EQ(flag, 1);
    int32_t wide = 0;
    EXPECT_EQ(config->getValue(L"Wide", wide), Kdad::eOk);
    EXPECT_EQ(wide, -100000);
    EXPECT_EQ(config->getValue(L"Minus", wide), Kdad::eOk);
    EXPECT_EQ(wide, -1) << "a 16-bit value reads as the same 32-bit number";
    KdString path;
    EXPECT_EQ(config->getValue(L"Path", path), Kdad::eOk);
    EXPECT_EQ(path.str(), L"C:\\Plot Styles\\a.ctb");
    EXPECT_EQ(getNumber(KdConfigDataManager::keyPath().c_str(), L"LAYSTATEOPTIONS"), 1u);
}

TEST_F(ConfigDataTest, MismatchesAndBadNamesAreReported) {
    KdConfigDataManager* config = getConfigDataManager();
    ASSERT_EQ(config->setValue(L"Big", int32_t(40000)), Kdad::eOk);
    ASSERT_EQ(config->setValue(L"Text", L"abc"), Kdad::eOk);
    int16_t small = 5;
    int32_t wide = 5;
    KdString text(L"keep");
    EXPECT_EQ(config->getValue(L"Big", small), Kdad::eWrongObjectType) << "does not fit 16 bits";
    EXPECT_EQ(small, 5);
    EXPECT_EQ(config->getValue(L"Text", wide), Kdad::eWrongObjectType);
    EXPECT_EQ(config->getValue(L"Big", text), Kdad::eWrongObjectType);
    EXPECT_EQ(text.str(), L"keep");
    EXPECT_EQ(config->getValue(nullptr, wide), Kdad::eInvalidInput);
    EXPECT_EQ(config->setValue(L"", int16_t(1)), Kdad::eInvalidInput);
    EXPECT_EQ(config->setValue(L"Null", static_cast<const wchar_t*>(nullptr)), Kdad::eInvalidInput);

    // A value may change its kind; removing it makes it missing again.
    ASSERT_EQ(config->setValue(L"Text", int16_t(3)), Kdad::eOk);
    EXPECT_EQ(config->getValue(L"Text", small), Kdad::eOk);
    EXPECT_EQ(small, 3);
    EXPECT_EQ(config->removeValue(L"TEXT"), Kdad::eOk);
    EXPECT_EQ(config->removeValue(L"Text"), Kdad::eKeyNotFound);
    tvSettingsReload();
    EXPECT_EQ(config->getValue(L"Text", small), Kdad::eKeyNotFound);
}

} // namespace
