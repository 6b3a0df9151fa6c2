// Tests of the settings file: rejected files, the copy kept of them, atomic and failed saves.
#include "SettingsTest.h"

#include <cctype>
#include <sys/stat.h>

namespace {

using SettingsFileTest = SettingsTest;

const std::string kGoodFile = "TvCadSettings 1\n"
                              "[Software\\Kept]\n"
                              "\"Name\"=sz:\"value\"\n"
                              "\"Count\"=dword:0000002a\n"
                              "End\n";

bool mentions(const std::vector<std::string>& warnings, const std::string& what) {
    for (const std::string& w : warnings) {
        if (w.find(what) != std::string::npos)
            return true;
    }
    return false;
}

// Binary bytes with nulls in them.
const char kGarbage[] = "\x7f"
                        "ELF\x02\x01\x01\0\0\0garbage\n";

struct BadFile {
    const char* what;
    std::string bytes;
};

class RejectedFile : public SettingsTest, public ::testing::WithParamInterface<BadFile> {};

// Each rejected file gives an empty store and a warning that names the file; the file stays
// as it is until a change is saved, which keeps its bytes as NAME.corrupt and leaves no
// temporary file behind.
TEST_P(RejectedFile, GivesDefaultsAndIsKeptUntilTheNextSave) {
    const std::string& bad = GetParam().bytes;
    writeBytes(m_file, bad);
    tvSettingsSetFile(m_file);
    std::vector<std::string> warnings = tvSettingsWarnings();
    ASSERT_FALSE(warnings.empty()) << GetParam().what;
    EXPECT_TRUE(mentions(warnings, m_file)) << warnings.front();
    EXPECT_FALSE(keyExists(L"Software\\Kept"));
    tvSettingsReload();
    EXPECT_EQ(readBytes(m_file), bad) << "reading never changes the file";

    ASSERT_EQ(setText(L"Software\\New", L"V", L"after"), ERROR_SUCCESS);
    EXPECT_EQ(settingsFolder(), (std::vector<std::string>{"registry.ini", "registry.ini.corrupt"}));
    EXPECT_EQ(readBytes(m_file + ".corrupt"), bad);
    tvSettingsReload();
    EXPECT_TRUE(tvSettingsWarnings().empty());
    EXPECT_EQ(getText(L"Software\\New", L"V"), L"after");
}

INSTANTIATE_TEST_SUITE_P(
    Files, RejectedFile,
    ::testing::Values(
        BadFile{"no End line", kGoodFile.substr(0, kGoodFile.size() - 4)},
        BadFile{"cut inside a value", kGoodFile.substr(0, 40)},
        BadFile{"garbage", std::string(kGarbage, sizeof kGarbage - 1)},
        BadFile{"a text file of another kind", "[section]\nkey=value\n"},
        BadFile{"bad UTF-8", "TvCadSettings 1\n[K]\n\"N\"=sz:\"\xC3\x28\"\nEnd\n"},
        BadFile{"dword holding text", "TvCadSettings 1\n[K]\n\"N\"=dword:\"1\"\nEnd\n"},
        BadFile{"short dword", "TvCadSettings 1\n[K]\n\"N\"=dword:0001\nEnd\n"},
        BadFile{"unknown type", "TvCadSettings 1\n[K]\n\"N\"=qword:0000000000000001\nEnd\n"},
        BadFile{"value twice", "TvCadSettings 1\n[K]\n\"N\"=sz:\"a\"\n\"n\"=sz:\"b\"\nEnd\n"},
        BadFile{"value before any key", "TvCadSettings 1\n\"N\"=sz:\"a\"\n[K]\nEnd\n"},
        BadFile{"bad escape", "TvCadSettings 1\n[K]\n\"N\"=sz:\"\\q\"\nEnd\n"},
        BadFile{"empty key name", "TvCadSettings 1\n[K\\\\L]\nEnd\n"},
        BadFile{"text after End", kGoodFile + "[More]\n"}),
    [](const auto& info) {
        std::string name;
        for (char c : std::string(info.param.what))
            name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return name;
    });

TEST_F(SettingsFileTest, EmptyFileWarnsAndIsReplacedWithoutACopy) {
    writeBytes(m_file, "");
    tvSettingsSetFile(m_file);
    EXPECT_TRUE(mentions(tvSettingsWarnings(), "empty"));
    ASSERT_EQ(setNumber(L"Software\\A", L"B", 1), ERROR_SUCCESS);
    EXPECT_EQ(settingsFolder(), std::vector<std::string>{"registry.ini"});
}

TEST_F(SettingsFileTest, AnOlderCorruptCopyIsNotOverwritten) {
    writeBytes(m_file + ".corrupt", "first");
    writeBytes(m_file, "second");
    tvSettingsSetFile(m_file);
    ASSERT_EQ(setNumber(L"Software\\A", L"B", 1), ERROR_SUCCESS);
    EXPECT_EQ(readBytes(m_file + ".corrupt"), "first");
    EXPECT_EQ(readBytes(m_file + ".corrupt.1"), "second");
}

TEST_F(SettingsFileTest, HandWrittenFileWithCommentsAndCrLfLoads) {
    writeBytes(m_file, "TvCadSettings 1\r\n; a comment\r\n\r\n[Software\\Kept]\r\n"
                       "\"Name\"=sz:\"va\\u{4E2D}lue\"\r\n@=dword:FFFFFFFF\r\nEnd\r\n");
    tvSettingsSetFile(m_file);
    EXPECT_TRUE(tvSettingsWarnings().empty());
    EXPECT_EQ(getText(L"Software\\Kept", L"Name"), L"va\x4e2dlue");
    EXPECT_EQ(getNumber(L"Software\\Kept", nullptr), 0xFFFFFFFFu);
}

TEST_F(SettingsFileTest, MissingFileIsCreatedPrivatelyOnTheFirstChange) {
    EXPECT_TRUE(tvSettingsWarnings().empty());
    EXPECT_EQ(tvSettingsFile(), m_file);
    EXPECT_FALSE(std::filesystem::exists(m_dir + "/tvcad")) << "reading creates nothing";
    for (DWORD i = 0; i < 20; ++i)
        ASSERT_EQ(setNumber(L"Software\\Many", (L"V" + std::to_wstring(i)).c_str(), i),
                  ERROR_SUCCESS);
    EXPECT_EQ(settingsFolder(), std::vector<std::string>{"registry.ini"});
    struct stat st {};
    ASSERT_EQ(::stat(m_file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat((m_dir + "/tvcad").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    tvSettingsReload();
    EXPECT_EQ(getNumber(L"Software\\Many", L"V19"), 19u);
}

TEST_F(SettingsFileTest, UnsavableChangesStayForTheSessionWithOneWarning) {
    // The settings folder would have to be made inside a regular file.
    writeBytes(m_dir + "/blocker", "x");
    std::string file = m_dir + "/blocker/tvcad/registry.ini";
    tvSettingsSetFile(file);
    for (DWORD i = 0; i < 5; ++i)
        EXPECT_EQ(setNumber(L"Software\\Session", L"N", i), ERROR_SUCCESS);
    EXPECT_EQ(getNumber(L"Software\\Session", L"N"), 4u);
    std::vector<std::string> warnings = tvSettingsWarnings();
    ASSERT_EQ(warnings.size(), 1u) << warnings.front() << "\n" << warnings.back();
    EXPECT_TRUE(mentions(warnings, file));
    EXPECT_EQ(readBytes(m_dir + "/blocker"), "x");
}

TEST_F(SettingsFileTest, AFileThatCannotBeReadIsNeverReplaced) {
    // A folder where the file should be: it cannot be read, nor copied aside, so no save may
    // replace it.
    std::filesystem::create_directories(m_file);
    writeBytes(m_file + "/inside", "precious");
    tvSettingsSetFile(m_file);
    EXPECT_TRUE(mentions(tvSettingsWarnings(), "not a regular file"));
    EXPECT_EQ(setNumber(L"Software\\A", L"B", 1), ERROR_SUCCESS);
    EXPECT_EQ(getNumber(L"Software\\A", L"B"), 1u);
    EXPECT_EQ(readBytes(m_file + "/inside"), "precious");
    EXPECT_TRUE(mentions(tvSettingsWarnings(), "not saved"));
}

TEST_F(SettingsFileTest, ReloadDropsChangesThatWereNeverSaved) {
    writeBytes(m_file, kGoodFile);
    tvSettingsSetFile(m_file);
    EXPECT_EQ(getNumber(L"Software\\Kept", L"Count"), 42u);
    // Another program replaces the file; a reload sees its content, not the old one.
    writeBytes(m_file, "TvCadSettings 1\n[Software\\Other]\nEnd\n");
    tvSettingsReload();
    EXPECT_FALSE(keyExists(L"Software\\Kept"));
    EXPECT_TRUE(keyExists(L"Software\\Other"));
}

} // namespace
