// What the window relies on in the session and beside it: NEW, the unsaved-changes question and
// the open failure as message boxes when there is a window, the recent drawings, and the model
// space summary.
#include "DxfGenerator.h"
#include "TvCadApp.h"
#include "TvCadDrawingSummary.h"
#include "TvCadRecentFiles.h"

#include "SettingsTest.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdProfile.h"
#include "tv/KdScriptedUi.h"
#include "tv/KdUtf8.h"

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

const char kSmallDrawing[] = "0\nSECTION\n2\nENTITIES\n"
                             "0\nLINE\n8\n0\n10\n-3.5\n20\n1\n11\n10\n21\n5\n"
                             "0\nCIRCLE\n8\n0\n10\n20\n20\n20\n40\n5\n"
                             "0\nTEXT\n8\n0\n10\n1e2\n20\n-7\n40\n2.5\n1\nNote\n"
                             "0\nENDSEC\n0\nEOF\n";

class Session : public SettingsTest {
protected:
    void SetUp() override {
        SettingsTest::SetUp();
        drawing = fs::path(m_dir) / "plan.dxf";
        tvtools::DxfGeneratorOptions options;
        options.layers = 6;
        options.entities = 10;
        std::string error;
        ASSERT_TRUE(tvtools::writeDxf(options, drawing.string(), &error)) << error;
        app = std::make_unique<tvcad::TvCadApp>();
        ASSERT_TRUE(app->openDrawing(drawing.string(), &error)) << error;
        kdedCaptureOutput();
        ui.setHasWindow(true);
    }
    void TearDown() override {
        app.reset();
        kdedTakeCapturedOutput();
        kdedSetOutputStream(nullptr);
        EXPECT_FALSE(ui.hasErrors()) << ui.problems();
        EXPECT_EQ(ui.unansweredCount(), 0u) << ui.problems();
        SettingsTest::TearDown();
    }
    int run(const std::wstring& script) {
        KdEdScriptInput input(script);
        return app->run(input);
    }
    std::wstring layerMade(const wchar_t* name) {
        return std::wstring(L"-LAYER\nMake\n") + name + L"\n\n";
    }

    fs::path drawing;
    KdScriptedUi ui;
    KdUiServicesScope scope{&ui};
    std::unique_ptr<tvcad::TvCadApp> app;
};

TEST_F(Session, WithAWindowUnsavedChangesAreAskedAboutInAMessageBox) {
    ui.expectMessageBox(IDCANCEL, L"Save changes to plan.dxf?");
    EXPECT_EQ(run(layerMade(L"KEPT") + L"NEW\n"), 0);
    EXPECT_EQ(app->database()->fileName(), drawing.string()) << "Cancel keeps the drawing";

    ui.expectMessageBox(IDNO, L"Save changes to plan.dxf?");
    EXPECT_EQ(run(L"NEW\n"), 0);
    EXPECT_TRUE(app->database()->fileName().empty()) << "No drops the changes";
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Started Drawing1.dxf."), std::wstring::npos);

    // A drawing without a name is saved under the name the save dialog gives.
    const fs::path named = fs::path(m_dir) / "named.dxf";
    ui.expectMessageBox(IDYES, L"Save changes to Drawing1.dxf?");
    ui.expectSaveFile(named.wstring(), L"Save Drawing As");
    EXPECT_EQ(run(layerMade(L"FIRST") + L"QUIT\n"), 0);
    EXPECT_TRUE(app->quitRequested());
    KdDbDatabase saved(false);
    ASSERT_EQ(saved.readDxfFile(named.string().c_str()), Kdad::eOk);
}

TEST_F(Session, WithoutAWindowNewAsksOnTheCommandLine) {
    ui.setHasWindow(false);
    EXPECT_EQ(run(layerMade(L"KEPT") + L"NEW\nCancel\n"), 0);
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Save changes to plan.dxf? [Yes/No/Cancel]"),
              std::wstring::npos);
    EXPECT_EQ(app->database()->fileName(), drawing.string());
}

TEST_F(Session, WithAWindowAFailedOpenIsShownInAMessageBox) {
    const fs::path bad = fs::path(m_dir) / "bad.dxf";
    std::ofstream(bad) << "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n";
    ui.expectMessageBox(IDOK, L"Cannot open the drawing: " + bad.wstring());
    EXPECT_EQ(run(L"OPEN\n" + bad.wstring() + L"\n"), 1);
    EXPECT_EQ(app->database()->fileName(), drawing.string());
}

TEST_F(Session, ModelSpaceIsCountedAndMeasuredFromItsObjectsPoints) {
    const fs::path small = fs::path(m_dir) / "small.dxf";
    std::ofstream(small) << kSmallDrawing;
    std::string error;
    ASSERT_TRUE(app->openDrawing(small.string(), &error)) << error;
    const tvcad::TvCadDrawingSummary summary = tvcad::summarizeDrawing(*app->database());
    EXPECT_EQ(summary.modelObjects, 3u);
    ASSERT_TRUE(summary.extents.has_value());
    // The line's ends, the circle with its radius, the text's insertion point.
    EXPECT_DOUBLE_EQ(summary.extents->minX, -3.5);
    EXPECT_DOUBLE_EQ(summary.extents->minY, -7);
    EXPECT_DOUBLE_EQ(summary.extents->maxX, 100);
    EXPECT_DOUBLE_EQ(summary.extents->maxY, 25);
    app->newDrawing();
    const tvcad::TvCadDrawingSummary empty = tvcad::summarizeDrawing(*app->database());
    EXPECT_EQ(empty.modelObjects, 0u);
    EXPECT_FALSE(empty.extents.has_value());
}

TEST_F(Session, RecentDrawingsKeepTheLatestFirstOnceEachUpToEight) {
    EXPECT_TRUE(tvcad::recentDrawings().empty());
    for (int i = 1; i <= 10; ++i)
        ASSERT_TRUE(tvcad::rememberDrawing(L"/d/" + std::to_wstring(i) + L".dxf"));
    ASSERT_TRUE(tvcad::rememberDrawing(L"/d/5.dxf"));
    const std::vector<std::wstring> expected{L"/d/5.dxf", L"/d/10.dxf", L"/d/9.dxf", L"/d/8.dxf",
                                             L"/d/7.dxf", L"/d/6.dxf",  L"/d/4.dxf", L"/d/3.dxf"};
    EXPECT_EQ(tvcad::recentDrawings(), expected);
    // The list outlives the session: it is read back from the settings file.
    tvSettingsReload();
    EXPECT_EQ(tvcad::recentDrawings(), expected);
    ASSERT_TRUE(tvcad::forgetDrawing(L"/d/9.dxf"));
    EXPECT_EQ(tvcad::recentDrawings().size(), 7u);
    EXPECT_EQ(tvcad::recentDrawings()[2], L"/d/8.dxf");
    EXPECT_FALSE(tvcad::rememberDrawing(L""));
}

} // namespace
