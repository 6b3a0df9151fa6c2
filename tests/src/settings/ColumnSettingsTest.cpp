// Column sets of the layer lists in the registry, the settings base they live under, and the
// manager's window rectangle in the profile strings.
#include "settings/TvColumnSettings.h"
#include "settings/TvColumnTable.h"
#include "settings/TvSettingsBase.h"
#include "settings/TvWindowRect.h"

#include "ModuleResources.h"
#include "SettingsTest.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdProfile.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

const std::wstring kRoot = kdrxProductKey();
const std::wstring kProfiles = kRoot + L"\\Profiles";
const std::wstring kBase = kProfiles + L"\\Drafting\\UserInterfaceSettings";

std::wstring setPath(const wchar_t* space) {
    return kBase + L"\\TvLayerPropManagerDlg\\" + space;
}

tv::TvColumnSet sortedDefaults(bool paperSpace) {
    tv::TvColumnSet set = tv::defaultColumnSet(paperSpace);
    tv::sortColumnsByIndex(set);
    return set;
}

class ColumnSettings : public SettingsTest {
protected:
    void useProfile(const std::wstring& name = L"Drafting") {
        ASSERT_EQ(setText(kProfiles.c_str(), nullptr, name), ERROR_SUCCESS);
    }
    /// Stores every value of a set: widths 100 + i, positions in reverse table order.
    void storeReversed(bool paperSpace) {
        const tv::TvColumnSet set = tv::defaultColumnSet(paperSpace);
        const std::wstring path = setPath(paperSpace ? L"ViewportColumnSets" : L"GlobalColumnSets");
        for (size_t i = 0; i < set.size(); ++i) {
            ASSERT_EQ(
                setText(path.c_str(), set[i].widthValueName.c_str(), std::to_wstring(100 + i)),
                ERROR_SUCCESS);
            ASSERT_EQ(setText(path.c_str(), set[i].orderValueName.c_str(),
                              std::to_wstring(set.size() - 1 - i)),
                      ERROR_SUCCESS);
        }
    }
    static void deleteValue(const std::wstring& path, const wchar_t* name) {
        HKEY key = nullptr;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_ALL_ACCESS, &key),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegDeleteValueW(key, name), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    tvtest::ModuleResources m_res;
};

} // namespace

TEST_F(ColumnSettings, WithoutAProfileNothingIsWrittenWithOneTheBaseIsMade) {
    EXPECT_EQ(tv::findSettingsBase(), L"");
    EXPECT_EQ(tv::readColumnSet(tv::kManagerColumnsKey, false), sortedDefaults(false));
    EXPECT_FALSE(tv::writeColumnSet(tv::kManagerColumnsKey, false, sortedDefaults(false)));
    useProfile(L"");
    EXPECT_EQ(tv::findSettingsBase(), L"");
    EXPECT_FALSE(tv::writeColumnSet(tv::kManagerColumnsKey, false, sortedDefaults(false)));
    EXPECT_FALSE(keyExists((kProfiles + L"\\UserInterfaceSettings").c_str()));
    // With a profile the settings base is created with an empty default value.
    useProfile();
    EXPECT_EQ(tv::findSettingsBase(), kBase);
    EXPECT_EQ(getText(kBase.c_str(), nullptr), std::optional<std::wstring>(L""));
}

TEST_F(ColumnSettings, CompleteStoredSetIsReadAndSortedInEachSpace) {
    useProfile();
    for (bool paperSpace : {false, true}) {
        SCOPED_TRACE(paperSpace ? "paper space" : "model space");
        storeReversed(paperSpace);
        const tv::TvColumnSet set = tv::readColumnSet(tv::kManagerColumnsKey, paperSpace);
        const tv::TvColumnSet table = tv::defaultColumnSet(paperSpace);
        ASSERT_EQ(set.size(), table.size());
        for (size_t i = 0; i < set.size(); ++i) {
            // Sorted by position: the last column of the table comes first.
            const size_t from = table.size() - 1 - i;
            EXPECT_EQ(set[i].widthValueName, table[from].widthValueName);
            EXPECT_EQ(set[i].index, static_cast<int>(i));
            EXPECT_EQ(set[i].width, static_cast<int>(100 + from));
        }
    }
}

TEST_F(ColumnSettings, OneBadValueGivesTheWholeDefaultSet) {
    useProfile();
    const std::wstring path = setPath(L"GlobalColumnSets");
    struct Case {
        const char* what;
        std::function<void()> spoil;
    };
    const Case cases[] = {
        {"missing", [&] { deleteValue(path, L"PlotIndex"); }},
        {"not a number", [&] { setText(path.c_str(), L"PlotIndex", L"ninth"); }},
        {"a number", [&] { setNumber(path.c_str(), L"PlotIndex", 9); }},
        {"too long", [&] { setText(path.c_str(), L"PlotIndex", std::wstring(200, L'1')); }},
        {"negative width", [&] { setText(path.c_str(), L"PlotWidth", L"-5"); }},
    };
    storeReversed(false);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        // Plot is column 9 of 12: width 109 and position 2 as stored, until spoilt.
        ASSERT_EQ(setText(path.c_str(), L"PlotWidth", L"109"), ERROR_SUCCESS);
        ASSERT_EQ(setText(path.c_str(), L"PlotIndex", L"2"), ERROR_SUCCESS);
        ASSERT_NE(tv::readColumnSet(tv::kManagerColumnsKey, false), sortedDefaults(false));
        c.spoil();
        EXPECT_EQ(tv::readColumnSet(tv::kManagerColumnsKey, false), sortedDefaults(false));
        // The filter dialog's preview keeps what it read before the bad value (PlotStyle,
        // read at position 3, comes first) and the defaults from there on (Descr, 90).
        const tv::TvColumnSet preview = tv::readColumnSet(tv::kManagerColumnsKey, false,
                                                          tv::TvColumnReadRule::kUpToFirstFailure);
        EXPECT_EQ(preview.front().widthValueName, L"PlotStyleWidth");
        EXPECT_EQ(preview.front().width, 108);
        EXPECT_EQ(preview.back().widthValueName, L"DescrWidth");
        EXPECT_EQ(preview.back().width, 90);
    }
}

TEST_F(ColumnSettings, WrittenSetReadsBackInTheSpaceOfTheDrawing) {
    useProfile();
    KdDbDatabase db;
    kdedSetCurrentDatabase(&db);
    for (bool paperSpace : {false, true}) {
        ASSERT_EQ(db.setTilemode(!paperSpace), Kdad::eOk);
        ASSERT_EQ(tv::drawingIsInPaperSpace(), paperSpace);
        tv::TvColumnSet set = sortedDefaults(paperSpace);
        set[1].width = 123;
        std::swap(set[0].index, set[2].index);
        ASSERT_TRUE(tv::writeColumnSet(tv::kManagerColumnsKey, tv::drawingIsInPaperSpace(), set));
        tv::sortColumnsByIndex(set);
        EXPECT_EQ(tv::readColumnSet(tv::kManagerColumnsKey, paperSpace), set);
    }
    kdedDatabaseClosed(&db);
    // Each space has its key; the numbers are text, which the store ends without a null.
    EXPECT_EQ(getText(setPath(L"GlobalColumnSets").c_str(), L"NameWidth"), L"123");
    EXPECT_EQ(getText(setPath(L"ViewportColumnSets").c_str(), L"VpFreezeIndex"), L"11");
    EXPECT_FALSE(getText(setPath(L"GlobalColumnSets").c_str(), L"VpFreezeIndex"));
    // The filter dialog's preview list keeps its sets under its own key.
    EXPECT_TRUE(tv::writeColumnSet(tv::kFilterPreviewColumnsKey, false, sortedDefaults(false)));
    EXPECT_TRUE(keyExists((kBase + L"\\TvLayerFilterPropDlg\\GlobalColumnSets").c_str()));
}

TEST_F(ColumnSettings, WindowRectangleThroughTheProfileStrings) {
    EXPECT_FALSE(tv::readManagerWindowRect());
    ASSERT_TRUE(KdProfile::writeProfileString(L"LayerDialog", L"MainWindowRect", L"10 20 800 600"));
    EXPECT_EQ(tv::readManagerWindowRect(), (tv::TvWindowRect{10, 20, 800, 600}));
    ASSERT_TRUE(tv::writeManagerWindowRect(-8, 30, 1016, 730));
    EXPECT_EQ(KdProfile::getProfileString(L"LayerDialog", L"MainWindowRect").str(),
              L"-8 30 1024 700");
    EXPECT_EQ(tv::readManagerWindowRect(), (tv::TvWindowRect{-8, 30, 1024, 700}));
    // A field that is no number reads as 0; a rectangle without size is none at all.
    EXPECT_EQ(tv::parseWindowRect(L"x 20 800 600"), (tv::TvWindowRect{0, 20, 800, 600}));
    EXPECT_EQ(tv::parseWindowRect(L"10 20 800 600 7"), (tv::TvWindowRect{10, 20, 800, 600}));
    EXPECT_FALSE(tv::parseWindowRect(L"10 20"));
    EXPECT_FALSE(tv::parseWindowRect(L"10 20 0 600"));
    EXPECT_FALSE(tv::parseWindowRect(L"  "));
}
