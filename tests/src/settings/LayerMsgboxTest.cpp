// The notice whose "do not show again" answer is remembered in the registry.
#include "settings/TvLayerMsgbox.h"

#include "ModuleResources.h"
#include "SettingsTest.h"

#include "tv/KdScriptedUi.h"
#include "tv/KdUiServices.h"

#include <gtest/gtest.h>

namespace {

const std::wstring kKey =
    std::wstring(kdrxProductKey()) + L"\\Settings\\UserConfig\\Config\\MsgBoxSettings";

class LayerNotice : public SettingsTest {
protected:
    /// Shows the notice once, answering a message box with `button` when one is expected.
    int show(std::optional<int> button) {
        KdScriptedUi ui;
        KdUiServicesScope scope(&ui);
        if (button)
            ui.expectMessageBox(*button, L"applied to the drawing at once");
        const int result = tv::showLayerNotice();
        EXPECT_EQ(ui.problems(), "");
        m_shown = ui.log().size();
        return result;
    }
    std::optional<DWORD> stored() const { return getNumber(kKey.c_str(), L"ID1874"); }

    tvtest::ModuleResources m_res;
    size_t m_shown = 0;
};

} // namespace

TEST_F(LayerNotice, ShownWhenNothingOrZeroOrAnotherTypeIsStored) {
    EXPECT_EQ(show(IDNO), 0); // nothing stored: shown; OK with the box cleared stores 0
    EXPECT_EQ(stored(), std::optional<DWORD>(0));
    EXPECT_EQ(show(IDNO), 0); // 0 stored: shown again
    ASSERT_EQ(setText(kKey.c_str(), L"ID1874", L"1"), ERROR_SUCCESS);
    EXPECT_EQ(show(IDNO), 0); // text, not a number: shown, and replaced
    EXPECT_EQ(stored(), std::optional<DWORD>(0));
}

TEST_F(LayerNotice, OkWithTheBoxTickedIsRemembered) {
    EXPECT_EQ(show(IDYES), 1);
    EXPECT_EQ(stored(), std::optional<DWORD>(1));
    EXPECT_EQ(show(std::nullopt), 1);
    EXPECT_EQ(m_shown, 0u);
}

TEST_F(LayerNotice, CancelNeverWrites) {
    EXPECT_EQ(show(IDCANCEL), 0);
    EXPECT_FALSE(keyExists(kKey.c_str()));
    ASSERT_EQ(setNumber(kKey.c_str(), L"ID1874", 0), ERROR_SUCCESS);
    EXPECT_EQ(show(IDCANCEL), 0);
    EXPECT_EQ(stored(), std::optional<DWORD>(0));
    // Without UI services every prompt is cancelled, so nothing is remembered either.
    EXPECT_EQ(tv::showLayerNotice(), 0);
    EXPECT_EQ(stored(), std::optional<DWORD>(0));
}
