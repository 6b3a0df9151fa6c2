// Tests of the text form of scripted UI answers: good scripts drive prompts, bad lines fail.
#include "tv/KdScriptedUi.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace {

TEST(UiScript, GoodScriptAnswersPromptsInOrder) {
    const char* script = "\xEF\xBB\xBF# layer state round trip\r\n"
                         "msgbox yes \"Replace\"\r\n"
                         "\n"
                         "  open \"/tmp/my states/in.las\" Import\n"
                         "save /tmp/out.las\n"
                         "color 1\n"
                         "colour rgb 255 127 0 \"Index 7\"\n"
                         "color BYLAYER\n"
                         "color 10,20,30\n"
                         "linetype \"DASH \\\"2\\\"\"\n"
                         "cancel open\n"
                         "MsgBox Cancel \"caption \\\\ part\"";
    KdScriptedUi ui;
    std::string error;
    ASSERT_TRUE(ui.loadScript(script, &error)) << error;
    EXPECT_EQ(ui.unansweredCount(), 10u);

    EXPECT_EQ(ui.messageBox(L"Replace layer state A?", kKdUiCaption, MB_YESNO, 0), IDYES);
    KdString path;
    EXPECT_TRUE(ui.getOpenFileName(L"Import layer state", L"", L"", L"", path));
    EXPECT_EQ(path.str(), L"/tmp/my states/in.las");
    EXPECT_TRUE(ui.getSaveFileName(L"Export", L"", L"", L"", path));
    EXPECT_EQ(path.str(), L"/tmp/out.las");

    KdCmColor c;
    c.setColorIndex(7);
    const KdCmColor white = c;
    EXPECT_TRUE(ui.chooseColor(c, kUiColorAll, KdCmColor()));
    EXPECT_EQ(c.colorIndex(), 1);
    c = white;
    EXPECT_TRUE(ui.chooseColor(c, kUiColorAll, KdCmColor()));
    EXPECT_TRUE(c.isByColor());
    EXPECT_EQ(c.trueColor24(), 0xFF7F00u);
    EXPECT_TRUE(ui.chooseColor(c, kUiColorAll, KdCmColor()));
    EXPECT_TRUE(c.isByLayer());
    EXPECT_TRUE(ui.chooseColor(c, kUiColorAll, KdCmColor()));
    EXPECT_EQ(c.trueColor24(), 0x0A141Eu);

    KdString lt;
    EXPECT_TRUE(ui.chooseLinetype({L"DASH \"2\""}, L"", lt));
    EXPECT_EQ(lt.str(), L"DASH \"2\"");
    EXPECT_FALSE(ui.getOpenFileName(L"Import", L"", L"", L"", path));
    EXPECT_EQ(ui.messageBox(L"text", L"caption \\ part", MB_YESNOCANCEL, 0), IDCANCEL);

    EXPECT_FALSE(ui.hasErrors()) << ui.problems();
    EXPECT_EQ(ui.unansweredCount(), 0u);
}

TEST(UiScript, MalformedLinesNameTheLineAndQueueNothing) {
    struct Case {
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {"msgbox yes\nmsgbox perhaps", "t.ui:2: 'perhaps' is no message box answer"},
        {"popup yes", "t.ui:1: unknown prompt 'popup'"},
        {"open", "t.ui:1: 'open' needs an answer"},
        {"open \"\"", "t.ui:1: the file path is empty"},
        {"# c\n\nsave \"/a b.las", "t.ui:3: a quoted text is not closed"},
        {"save \"/a\"b", "t.ui:1: a quoted text must be followed by a blank"},
        {"color 257", "t.ui:1: '257' is no colour"},
        {"color rgb 1 2", "t.ui:1: 'rgb 1 2' is no colour"},
        {"color rgb 1 2 300", "t.ui:1: 'rgb 1 2 300' is no colour"},
        {"color purple", "t.ui:1: 'purple' is no colour"},
        {"linetype", "t.ui:1: 'linetype' needs an answer"},
        {"cancel", "t.ui:1: 'cancel' needs the prompt"},
        {"cancel dialog", "t.ui:1: cannot cancel 'dialog'"},
        {"msgbox no \"Replace\" extra", "t.ui:1: unexpected 'extra' after the answer"},
        {"open a\"b", "t.ui:1: a quote in the middle of a word"},
    };
    for (const Case& c : cases) {
        KdScriptedUi ui;
        ui.expectMessageBox(IDOK);
        std::string error;
        EXPECT_FALSE(ui.loadScript(c.text, &error, "t.ui")) << c.text;
        EXPECT_EQ(error.rfind(c.error, 0), 0u) << "script: " << c.text << "\nerror: " << error;
        EXPECT_EQ(ui.unansweredCount(), 1u) << "a bad script queues nothing: " << c.text;
    }
}

TEST(UiScript, FilesAndLineNumbersInMismatchMessages) {
    const tvtest::TempDir dir("tv-ui-script");
    const auto path = dir / "script.txt";
    tvtest::writeBytes(path, "# export\nsave \"/x/S1.las\" Export\nmsgbox ok\n");
    KdScriptedUi ui;
    std::string error;
    ASSERT_TRUE(ui.loadScriptFile(path.string().c_str(), &error)) << error;
    // The first prompt comes out of order: the error points at the script line.
    EXPECT_EQ(ui.messageBox(L"Exported.", kKdUiCaption, MB_OK, 0), IDOK);
    ASSERT_EQ(ui.errors().size(), 1u);
    EXPECT_NE(ui.errors()[0].find("(expected: save file dialog containing 'Export' -> "
                                  "/x/S1.las, script line 2)"),
              std::string::npos)
        << ui.errors()[0];
    EXPECT_NE(ui.problems().find("never shown: message box -> ok, script line 3"),
              std::string::npos)
        << ui.problems();
    std::filesystem::remove(path);

    KdScriptedUi missing;
    EXPECT_FALSE(missing.loadScriptFile(path.string().c_str(), &error));
    EXPECT_NE(error.find(path.string()), std::string::npos) << error;
    EXPECT_EQ(missing.unansweredCount(), 0u);
}

} // namespace
