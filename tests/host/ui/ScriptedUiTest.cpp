// Tests of the scripted UI services, the current-UI switch and the editor entry points.
#include "ScriptedUiTest.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdUiServices.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using tvtest::ScriptedUiTest;

KdCmColor indexColor(uint16_t index) {
    KdCmColor c;
    c.setColorIndex(index);
    return c;
}

KdCmColor rgbColor(uint8_t r, uint8_t g, uint8_t b) {
    KdCmColor c;
    c.setRGB(r, g, b);
    return c;
}

TEST_F(ScriptedUiTest, AnswersExpectedPromptsInOrderAndLogsThem) {
    ui.expectMessageBox(IDYES, L"replace");
    ui.expectOpenFile(L"/data/in.las", L"Import");
    ui.expectSaveFile(L"/data/out.las");
    ui.expectColor(rgbColor(255, 127, 0), L"Index 30");
    ui.expectLinetype(L"dashed");
    ui.expectCancel(KdUiPromptKind::kOpenFile);

    KdUiServices* s = kdUiServices();
    ASSERT_EQ(s, &ui);
    EXPECT_EQ(s->messageBox(L"Replace layer state S1?", kKdUiCaption, MB_YESNO, MB_ICONQUESTION),
              IDYES);
    KdString path;
    ASSERT_TRUE(s->getOpenFileName(L"Import layer state", L"/data", L"Layer states (*.las)|*.las",
                                   L"*.las", path));
    EXPECT_EQ(path.str(), L"/data/in.las");
    ASSERT_TRUE(s->getSaveFileName(L"Export", L"S1.las", L"", L"las", path));
    EXPECT_EQ(path.str(), L"/data/out.las");
    KdCmColor color = indexColor(30);
    ASSERT_TRUE(s->chooseColor(color, kUiColorAll, KdCmColor()));
    EXPECT_EQ(color, rgbColor(255, 127, 0));
    KdString ltype;
    ASSERT_TRUE(s->chooseLinetype({L"Continuous", L"DASHED"}, L"Continuous", ltype));
    EXPECT_EQ(ltype.str(), L"DASHED") << "the list's spelling is returned";
    path = L"kept";
    EXPECT_FALSE(s->getOpenFileName(L"Import", L"", L"", L"", path));
    EXPECT_EQ(path.str(), L"kept") << "a cancelled dialog leaves the output alone";

    const auto& log = ui.log();
    ASSERT_EQ(log.size(), 6u);
    EXPECT_EQ(log[0].text, L"Replace layer state S1?");
    EXPECT_EQ(log[0].answer, L"yes");
    EXPECT_EQ(log[3].text, L"Index 30");
    EXPECT_EQ(log[3].answer, L"rgb 255 127 0");
    EXPECT_EQ(log[5].kind, KdUiPromptKind::kOpenFile);
    EXPECT_EQ(log[5].answer, L"cancel");
    EXPECT_TRUE(std::all_of(log.begin(), log.end(), [](auto& r) { return r.expected; }));
}

TEST(ScriptedUi, UnexpectedPromptsAreErrorsAndGetCancelLikeAnswers) {
    KdScriptedUi ui;
    // Nothing queued.
    EXPECT_EQ(ui.messageBox(L"Replace layer state X?", kKdUiCaption, MB_YESNOCANCEL, 0), IDCANCEL);
    ASSERT_EQ(ui.errors().size(), 1u);
    EXPECT_EQ(ui.errors()[0],
              "unexpected message box: 'Replace layer state X?' (expected: no more prompts)");

    // Wrong kind: the queued answer stays for the prompt it was meant for.
    ui.expectOpenFile(L"/a.las");
    EXPECT_EQ(ui.messageBox(L"Replace layer state X?", kKdUiCaption, MB_YESNO, 0), IDNO);
    ASSERT_EQ(ui.errors().size(), 2u);
    EXPECT_NE(ui.errors()[1].find("unexpected message box: 'Replace layer state X?' (expected: "
                                  "open file dialog -> /a.las)"),
              std::string::npos)
        << ui.errors()[1];
    EXPECT_EQ(ui.unansweredCount(), 1u);
    KdString path;
    EXPECT_TRUE(ui.getOpenFileName(L"Import", L"", L"", L"", path));
    EXPECT_EQ(path.str(), L"/a.las");

    // Text that does not contain the expected part (text and caption are both searched).
    ui.expectMessageBox(IDOK, L"Replace");
    EXPECT_EQ(ui.messageBox(L"Delete layer state?", L"Layer states", MB_OKCANCEL, 0), IDCANCEL);
    EXPECT_EQ(ui.errors().size(), 3u);
    EXPECT_EQ(ui.messageBox(L"Done", L"Replace states", MB_OKCANCEL, 0), IDOK);
    EXPECT_EQ(ui.errors().size(), 3u);

    // A queued answer the prompt cannot take is used up, with an error.
    ui.expectMessageBox(IDYES);
    EXPECT_EQ(ui.messageBox(L"Export?", kKdUiCaption, MB_OKCANCEL, 0), IDCANCEL);
    ASSERT_EQ(ui.errors().size(), 4u);
    EXPECT_NE(ui.errors()[3].find("cannot answer yes, its buttons are OK/Cancel"),
              std::string::npos)
        << ui.errors()[3];
    EXPECT_EQ(ui.unansweredCount(), 0u);

    const auto& log = ui.log();
    ASSERT_EQ(log.size(), 6u);
    const bool expected[] = {false, false, true, false, true, false};
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(log[i].expected, expected[i]) << "prompt " << i;
    EXPECT_EQ(log[5].answer, L"cancel");
}

TEST(ScriptedUi, RefusesColoursAndLinetypesThePromptDoesNotOffer) {
    KdScriptedUi ui;
    KdCmColor color = indexColor(5);
    ui.expectColor(KdCmColor()); // by layer
    EXPECT_FALSE(ui.chooseColor(color, kUiColorTrueColor, KdCmColor()));
    EXPECT_EQ(color, indexColor(5));
    ui.expectColor(rgbColor(1, 2, 3));
    EXPECT_FALSE(ui.chooseColor(color, kUiColorByLayer | kUiColorByBlock, KdCmColor()));
    ui.expectColor(indexColor(0)); // by block, allowed
    EXPECT_TRUE(ui.chooseColor(color, kUiColorByBlock, KdCmColor()));
    EXPECT_TRUE(color.isByBlock());

    KdString chosen = L"Continuous";
    ui.expectLinetype(L"HIDDEN");
    EXPECT_FALSE(ui.chooseLinetype({L"Continuous", L"DASHED"}, L"Continuous", chosen));
    EXPECT_EQ(chosen.str(), L"Continuous");
    ui.expectLinetype(L"ANY_NAME"); // an empty list takes any name
    EXPECT_TRUE(ui.chooseLinetype({}, L"", chosen));
    EXPECT_EQ(chosen.str(), L"ANY_NAME");

    ASSERT_EQ(ui.errors().size(), 3u) << ui.problems();
    EXPECT_NE(ui.errors()[0].find("does not offer ByLayer"), std::string::npos) << ui.errors()[0];
    EXPECT_NE(ui.errors()[2].find("'HIDDEN' is not in the list of 2 linetypes"), std::string::npos)
        << ui.errors()[2];
}

TEST(ScriptedUi, ReportsAnswersThatWereNeverUsed) {
    KdScriptedUi ui;
    ui.expectMessageBox(IDNO, L"Restore");
    ui.expectSaveFile(L"/x/out.las", L"Export");
    EXPECT_EQ(ui.messageBox(L"Restore now?", kKdUiCaption, MB_YESNO, 0), IDNO);
    EXPECT_FALSE(ui.hasErrors());
    EXPECT_EQ(ui.unansweredCount(), 1u);
    EXPECT_EQ(ui.problems(), "never shown: save file dialog containing 'Export' -> /x/out.las\n");
    ui.reset();
    EXPECT_EQ(ui.unansweredCount(), 0u);
    EXPECT_TRUE(ui.log().empty());
    EXPECT_EQ(ui.problems(), "");
}

TEST_F(ScriptedUiTest, ColourDialogEntryPointGoesThroughTheCurrentUi) {
    KdCmColor color = indexColor(30);
    ui.expectColor(rgbColor(255, 127, 0), L"Index 30");
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, false, KdCmColor(), 0), RTNORM);
    EXPECT_EQ(color, rgbColor(255, 127, 0));

    ui.expectCancel(KdUiPromptKind::kColor);
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, true, KdCmColor(), 0), RTCAN);
    EXPECT_EQ(color, rgbColor(255, 127, 0)) << "cancel keeps the colour";

    ui.expectColor(KdCmColor(), L"True Color 255,127,0");
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, true, indexColor(3), kUiColorTabIndex), RTNORM);
    EXPECT_TRUE(color.isByLayer());
}

TEST(ScriptedUi, ColourDialogEntryPointPassesTheRestrictionsOn) {
    KdScriptedUi ui;
    KdUiServicesScope scope(&ui);
    KdCmColor color = indexColor(1);
    // No meta colours: by layer is refused, the call reports a cancel.
    ui.expectColor(KdCmColor());
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, false, KdCmColor(), 0), RTCAN);
    // The index page alone: no true colours.
    ui.expectColor(rgbColor(9, 9, 9));
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, true, KdCmColor(), kUiColorTabIndex), RTCAN);
    EXPECT_EQ(color, indexColor(1));
    EXPECT_EQ(ui.errors().size(), 2u) << ui.problems();

    // A dialog that ignores the restrictions does not get its colour through.
    struct Careless : KdScriptedUi {
        bool chooseColor(KdCmColor& c, unsigned, const KdCmColor&) override {
            c.setColorIndex(256);
            return true;
        }
    } careless;
    KdUiServicesScope inner(&careless);
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, false, KdCmColor(), 0), RTERROR);
    EXPECT_EQ(color, indexColor(1));
}

TEST(ScriptedUi, CurrentUiDefaultsToCancellingEverything) {
    KdScriptedUi ui;
    {
        KdUiServicesScope scope(&ui);
        EXPECT_EQ(kdUiServices(), &ui);
        ui.expectMessageBox(IDOK, L"TEVRA");
        EXPECT_EQ(kdedMessageBox(L"Saved."), IDOK) << ui.problems();
        ui.expectMessageBox(IDOK, L"Layer");
        EXPECT_EQ(kdedMessageBox(L"x", MB_OK, 0, L"Layer - Excess Layer Filters"), IDOK);
        EXPECT_FALSE(ui.hasErrors()) << ui.problems();
    }
    KdUiServices* fallback = kdUiServices();
    ASSERT_NE(fallback, nullptr);
    EXPECT_NE(fallback, &ui);
    EXPECT_EQ(kdedMessageBox(L"Replace?", MB_YESNO), IDNO);
    EXPECT_EQ(kdedMessageBox(L"Replace?", MB_YESNOCANCEL), IDCANCEL);
    EXPECT_EQ(kdedMessageBox(L"Note", MB_OK), IDOK);
    KdCmColor color = indexColor(2);
    EXPECT_EQ(kdedSetColorDialogTrueColor(color, true, KdCmColor(), 0), RTCAN);
    KdString path;
    EXPECT_FALSE(fallback->getSaveFileName(L"", L"", L"", L"", path));
}

TEST(ScriptedUi, LinetypeNamesComeFromTheDrawing) {
    KdDbDatabase db;
    {
        KdDbLinetypeTable* table = nullptr;
        ASSERT_EQ(db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
        auto* rec = new KdDbLinetypeTableRecord;
        ASSERT_EQ(rec->setName(L"DASHED"), Kdad::eOk);
        ASSERT_EQ(table->add(rec), Kdad::eOk);
        table->close();
    }
    auto has = [](const std::vector<KdString>& names, const wchar_t* n) {
        return std::find(names.begin(), names.end(), KdString(n)) != names.end();
    };
    const auto names = kdUiLinetypeNames(db);
    EXPECT_TRUE(has(names, L"Continuous"));
    EXPECT_TRUE(has(names, L"DASHED"));
    EXPECT_FALSE(has(names, L"ByLayer"));
    EXPECT_FALSE(has(names, L"ByBlock"));
    const auto all = kdUiLinetypeNames(db, true);
    EXPECT_EQ(all.size(), names.size() + 2);

    KdScriptedUi ui;
    ui.expectLinetype(L"dashed", L"Continuous");
    KdString chosen;
    EXPECT_TRUE(ui.chooseLinetype(names, L"Continuous", chosen));
    EXPECT_EQ(chosen.str(), L"DASHED");
    EXPECT_FALSE(ui.hasErrors()) << ui.problems();
}

TEST(UiHelpers, FileFiltersAndDefaultExtension) {
    const auto f = kdUiParseFileFilters(L"Layer states (*.las)|*.las|Drawings (*.dwg)|*.dwg|");
    ASSERT_EQ(f.size(), 2u);
    EXPECT_EQ(f[1].first, L"Drawings (*.dwg)");
    EXPECT_EQ(f[1].second, L"*.dwg");
    const auto lone = kdUiParseFileFilters(L"All files");
    ASSERT_EQ(lone.size(), 1u);
    EXPECT_EQ(lone[0].second, L"*");
    EXPECT_TRUE(kdUiParseFileFilters(L"").empty());

    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/out", L"*.las"), L"/d/out.las");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d.v2/out", L"las"), L"/d.v2/out.las");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/out.", L".las"), L"/d/out.las");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/out.dwg", L"*.las"), L"/d/out.dwg");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/.hidden", L"las"), L"/d/.hidden.las");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/", L"las"), L"/d/");
    EXPECT_EQ(kdUiApplyDefaultExtension(L"/d/out", L""), L"/d/out");
}

} // namespace
