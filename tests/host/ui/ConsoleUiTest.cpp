// Tests of the console UI: answers typed on an input stream, retries, end of input as cancel.
#include "tv/KdUiServices.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

/// A console UI reading `input` and writing into a memory buffer.
class Console {
public:
    explicit Console(const std::string& input) : m_input(input) {
        m_in = m_input.empty() ? std::fopen("/dev/null", "r")
                               : fmemopen(m_input.data(), m_input.size(), "r");
        m_out = open_memstream(&m_buf, &m_len);
        m_ui = kdMakeConsoleUi(m_in, m_out);
    }
    ~Console() {
        std::fclose(m_in);
        std::fclose(m_out);
        std::free(m_buf);
    }
    KdUiServices& ui() { return *m_ui; }
    std::string output() {
        std::fflush(m_out);
        return std::string(m_buf, m_len);
    }

private:
    std::string m_input;
    FILE* m_in = nullptr;
    FILE* m_out = nullptr;
    char* m_buf = nullptr;
    size_t m_len = 0;
    std::unique_ptr<KdUiServices> m_ui;
};

TEST(ConsoleUi, MessageBoxAnswersRetriesAndEndOfInput) {
    {
        Console c("maybe\nok\n  Y \n");
        EXPECT_EQ(c.ui().messageBox(L"Replace state?", kKdUiCaption, MB_YESNO, MB_ICONQUESTION),
                  IDYES);
        const std::string out = c.output();
        EXPECT_NE(out.find("[TEVRA] Replace state?"), std::string::npos) << out;
        EXPECT_NE(out.find("Please answer [Y]es / [N]o."), std::string::npos) << out;
    }
    struct Case {
        const char* input;
        int buttons;
        int answer;
    };
    const Case cases[] = {
        {"c\n", MB_YESNOCANCEL, IDCANCEL},
        {"no\n", MB_YESNOCANCEL, IDNO},
        {"yes\n", MB_OKCANCEL, IDCANCEL}, // not one of its buttons, then the input ends
        {"", MB_YESNO, IDNO},
    };
    for (const Case& k : cases) {
        Console c(k.input);
        EXPECT_EQ(c.ui().messageBox(L"Restore?", L"T", k.buttons, 0), k.answer) << k.input;
    }
    {
        Console c("");
        EXPECT_EQ(c.ui().messageBox(L"Invalid file.", L"T", MB_OK, MB_ICONWARNING), IDOK);
        EXPECT_NE(c.output().find("Warning: Invalid file."), std::string::npos);
    }
}

class ConsoleFiles : public ::testing::Test {
protected:
    void SetUp() override { tvtest::writeBytes(m_dir / "in.las", "x"); }
    std::wstring dir() const { return m_dir.path().wstring() + L"/"; }

    const tvtest::TempDir m_dir{"tv-console-ui"};
};

TEST_F(ConsoleFiles, OpenNeedsAnExistingFileAndAddsTheDefaultExtension) {
    Console c("missing\nin\n");
    KdString path;
    ASSERT_TRUE(c.ui().getOpenFileName(L"Import layer state", dir(), L"Layer states (*.las)|*.las",
                                       L"*.las", path));
    EXPECT_EQ(path.str(), dir() + L"in.las");
    const std::string out = c.output();
    EXPECT_NE(out.find("Layer states (*.las)"), std::string::npos) << out;
    EXPECT_NE(out.find("No such file: "), std::string::npos) << out;

    Console enter("\n"); // Enter in a folder cancels
    path = L"kept";
    EXPECT_FALSE(enter.ui().getOpenFileName(L"Import", dir(), L"", L"las", path));
    EXPECT_EQ(path.str(), L"kept");
    Console eof("missing\n");
    EXPECT_FALSE(eof.ui().getOpenFileName(L"Import", dir(), L"", L"las", path));
}

TEST_F(ConsoleFiles, SaveAsksBeforeReplacingAFile) {
    KdString path;
    {
        Console c("\n"); // Enter takes the proposed file; it is new
        ASSERT_TRUE(c.ui().getSaveFileName(L"Export", dir() + L"S1.las", L"", L"las", path));
        EXPECT_EQ(path.str(), dir() + L"S1.las");
    }
    {
        Console c("in\nn\nnew\n");
        ASSERT_TRUE(c.ui().getSaveFileName(L"Export", dir(), L"", L"las", path));
        EXPECT_EQ(path.str(), dir() + L"new.las");
        EXPECT_NE(c.output().find("already exists. Replace it?"), std::string::npos);
    }
    {
        Console c("in.las\ny\n");
        ASSERT_TRUE(c.ui().getSaveFileName(L"Export", dir(), L"", L"las", path));
        EXPECT_EQ(path.str(), dir() + L"in.las");
    }
    {
        Console c("in\n"); // the input ends at the replace question
        path = L"kept";
        EXPECT_FALSE(c.ui().getSaveFileName(L"Export", dir(), L"", L"las", path));
        EXPECT_EQ(path.str(), L"kept");
    }
}

TEST(ConsoleUi, ColourAndLinetypeChoices) {
    KdCmColor color;
    color.setColorIndex(30);
    {
        Console c("300\nbylayer\n255, 127,0\n");
        ASSERT_TRUE(c.ui().chooseColor(color, kUiColorTrueColor, KdCmColor()));
        EXPECT_TRUE(color.isByColor());
        EXPECT_EQ(color.trueColor24(), 0xFF7F00u);
        const std::string out = c.output();
        EXPECT_NE(out.find("[Index 30]"), std::string::npos) << out;
        EXPECT_NE(out.find("'300' is not a colour."), std::string::npos) << out;
        EXPECT_NE(out.find("ByLayer cannot be chosen here."), std::string::npos) << out;
    }
    {
        Console c("\n");
        EXPECT_TRUE(c.ui().chooseColor(color, 0, KdCmColor()));
        EXPECT_EQ(color.trueColor24(), 0xFF7F00u) << "Enter keeps the colour";
    }
    {
        Console c("Blue\n");
        ASSERT_TRUE(c.ui().chooseColor(color, 0, KdCmColor()));
        EXPECT_EQ(color.colorIndex(), 5);
    }
    {
        Console c("");
        EXPECT_FALSE(c.ui().chooseColor(color, kUiColorAll, KdCmColor()));
        EXPECT_EQ(color.colorIndex(), 5);
    }

    const std::vector<KdString> names = {L"Continuous", L"DASHED"};
    KdString lt;
    {
        Console c("dotted\ndashed\n");
        ASSERT_TRUE(c.ui().chooseLinetype(names, L"Continuous", lt));
        EXPECT_EQ(lt.str(), L"DASHED");
        const std::string out = c.output();
        EXPECT_NE(out.find("Linetypes: Continuous, DASHED"), std::string::npos) << out;
        EXPECT_NE(out.find("No linetype 'dotted'."), std::string::npos) << out;
    }
    {
        Console c("\n");
        ASSERT_TRUE(c.ui().chooseLinetype(names, L"Continuous", lt));
        EXPECT_EQ(lt.str(), L"Continuous");
    }
    {
        Console c("dotted\n");
        lt = L"kept";
        EXPECT_FALSE(c.ui().chooseLinetype(names, L"Continuous", lt));
        EXPECT_EQ(lt.str(), L"kept");
    }
}

} // namespace
