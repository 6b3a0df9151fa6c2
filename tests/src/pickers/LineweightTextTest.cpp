// Lineweight texts in the layer lists and in the lineweight dialog, in both units.
#include "pickers/TvLineweightText.h"

#include "ModuleResources.h"
#include "ScopedLocale.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdadStatus.h"

#include <gtest/gtest.h>

namespace {

/// A current drawing whose "LWUNITS" the test sets.
class LineweightTextDrawing : public ::testing::Test {
protected:
    void SetUp() override { kdedSetCurrentDatabase(&m_db); }
    void TearDown() override { kdedDatabaseClosed(&m_db); }

    void setUnits(int lwunits) { ASSERT_EQ(kdedSetShortVar(L"LWUNITS", lwunits), RTNORM); }

    tvtest::ModuleResources m_res;
    KdDbDatabase m_db;
};

} // namespace

TEST(LineweightList, PositionsOfValues) {
    for (int i = 0; i < tv::kLineweightCount; ++i)
        EXPECT_EQ(tv::lineweightListIndex(tv::kLineweightList[i]), i);
    // Values the list does not offer select the first entry, the default.
    EXPECT_EQ(tv::kLineweightList[0], tv::kLineweightDefault);
    EXPECT_EQ(tv::lineweightListIndex(tv::kLineweightByLayer), 0);
    EXPECT_EQ(tv::lineweightListIndex(7), 0);
    EXPECT_EQ(tv::lineweightListIndex(212), 0);
}

// Inches have a blank before the inch mark; the special values do not depend on the unit, and
// switching the unit takes effect at once.
TEST_F(LineweightTextDrawing, ListTextFollowsTheUnitOfTheDrawing) {
    ASSERT_TRUE(m_res.loaded());
    setUnits(1);
    EXPECT_TRUE(tv::lineweightUnitsAreMillimetres(false));
    EXPECT_EQ(tv::lineweightListText(0), L"0.00 mm");
    EXPECT_EQ(tv::lineweightListText(5), L"0.05 mm");
    EXPECT_EQ(tv::lineweightListText(211), L"2.11 mm");
    EXPECT_EQ(tv::lineweightListText(1000), L"10.00 mm");
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightDefault), L"Default");
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightByBlock), L"Block");
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightByLayer), L"Layer");
    setUnits(0);
    EXPECT_FALSE(tv::lineweightUnitsAreMillimetres(true));
    EXPECT_EQ(tv::lineweightListText(211), L"0.083 \"");
    EXPECT_EQ(tv::lineweightListText(0), L"0.000 \"");
    EXPECT_EQ(tv::lineweightListText(5), L"0.002 \"");
    EXPECT_EQ(tv::lineweightListText(2540), L"1.000 \"");
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightDefault), L"Default");
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightByLayer), L"Layer");
}

TEST(LineweightText, WithoutADrawingListsShowMillimetres) {
    kdedSetCurrentDatabase(nullptr);
    ASSERT_EQ(kdedCurrentDatabase(), nullptr);
    EXPECT_TRUE(tv::lineweightUnitsAreMillimetres(true));
    EXPECT_FALSE(tv::lineweightUnitsAreMillimetres(false)); // the caller's fallback
    EXPECT_EQ(tv::lineweightListText(211), L"2.11 mm");
    // Without the resource library the default word has its built-in text.
    EXPECT_EQ(tv::lineweightListText(tv::kLineweightDefault), L"Default");
}

TEST(LineweightText, DialogTextShowsTheDefaultWordBelowOne) {
    tvtest::ModuleResources res;
    ASSERT_TRUE(res.loaded());
    for (int value : {0, -1, -2, -3, -100}) {
        EXPECT_EQ(tv::lineweightDialogText(value, true), L"Default") << value;
        EXPECT_EQ(tv::lineweightDialogText(value, false), L"Default") << value;
    }
    EXPECT_EQ(tv::lineweightDialogText(1, true), L"0.01 mm");
    EXPECT_EQ(tv::lineweightDialogText(211, true), L"2.11 mm");
    EXPECT_EQ(tv::lineweightDialogText(211, false), L"0.083\"");
    EXPECT_EQ(tv::lineweightDialogText(2540, false), L"1.000\"");
    // The dialog's unit is its own flag, not the drawing's variable.
    kdedSetCurrentDatabase(nullptr);
    EXPECT_EQ(tv::lineweightDialogText(50, false), L"0.020\"");
}

// The lists and the dialog write "0.25 mm" also where the locale writes "0,25".
TEST_F(LineweightTextDrawing, TextsAreTheSameUnderACommaLocale) {
    ASSERT_TRUE(m_res.loaded());
    tvtest::ScopedLocale comma{tvtest::CommaDecimalPoint{}};
    ASSERT_TRUE(comma.hasCommaDecimalPoint())
        << "no German or French locale is installed (scripts/setup.sh makes de_DE.UTF-8)";
    setUnits(1);
    EXPECT_EQ(tv::lineweightListText(25), L"0.25 mm");
    EXPECT_EQ(tv::lineweightDialogText(25, true), L"0.25 mm");
    setUnits(0);
    EXPECT_EQ(tv::lineweightListText(211), L"0.083 \"");
    EXPECT_EQ(tv::lineweightDialogText(211, false), L"0.083\"");
}
