// KdCStdioFile: encoding marks, code pages, damaged input, line ends and files on disk.
#include "ScopedEnv.h"
#include "tv/KdCStdioFile.h"
#include "tv/KdCodePage.h"
#include "tv/KdUtf8.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::wstring>;
using namespace std::string_literals;

/// `text` as a file in `encoding` holds it, byte-order mark first; the multi-byte form is the
/// text as it is, ASCII only.
std::string fileBytes(KdCStdioFile::Encoding encoding, std::u32string_view text) {
    static const std::string kMarks[] = {"",         "\xEF\xBB\xBF",  "\xFF\xFE",
                                         "\xFE\xFF", "\0\0\xFF\xFE"s, "\0\0\xFE\xFF"s};
    if (encoding == KdCStdioFile::kMultiByte)
        return std::string(text.begin(), text.end());
    std::string out = kMarks[encoding];
    if (encoding == KdCStdioFile::kUtf8)
        return out + tvToUtf8(std::wstring(text.begin(), text.end()));
    const int unit = encoding >= KdCStdioFile::kUtf32LE ? 4 : 2;
    const bool big = encoding == KdCStdioFile::kUtf16BE || encoding == KdCStdioFile::kUtf32BE;
    auto put = [&](uint32_t value) {
        for (int k = 0; k < unit; ++k)
            out.push_back(static_cast<char>((value >> (8 * (big ? unit - 1 - k : k))) & 0xFF));
    };
    for (char32_t c : text) {
        if (unit == 2 && c >= 0x10000) {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            put(c);
        }
    }
    return out;
}

std::vector<std::wstring> allLines(KdCStdioFile& file) {
    std::vector<std::wstring> lines;
    std::wstring line;
    while (file.readString(line))
        lines.push_back(line);
    EXPECT_TRUE(line.empty());
    return lines;
}

std::wstring textOf(std::string bytes) {
    KdCStdioFile file;
    EXPECT_TRUE(file.openBytes(std::move(bytes)));
    std::wstring text;
    EXPECT_TRUE(file.readAll(text));
    return text;
}

std::string encodingName(const ::testing::TestParamInfo<KdCStdioFile::Encoding>& info) {
    static const char* const kNames[] = {"MultiByte", "Utf8",    "Utf16LE",
                                         "Utf16BE",   "Utf32LE", "Utf32BE"};
    return kNames[info.param];
}

// ---------------------------------------------------------------------------------------------

class StdioFileMarks : public ::testing::TestWithParam<KdCStdioFile::Encoding> {};

TEST_P(StdioFileMarks, MarkSelectsTheEncodingAndIsNotPartOfTheText) {
    KdCStdioFile file;
    ASSERT_TRUE(
        file.openBytes(fileBytes(GetParam(), U"  0\r\nLAYERSTATE\r\n\u00C4\u20AC\U0001F600\r\n")));
    EXPECT_EQ(file.encoding(), GetParam());
    const Lines lines = allLines(file);
    ASSERT_EQ(lines, (Lines{L"  0", L"LAYERSTATE", L"\u00C4\u20AC\U0001F600"}));
    EXPECT_EQ(lines[2].size(), 3u); // the character beyond U+FFFF is one wchar_t

    // The mark alone is an empty text in that encoding.
    ASSERT_TRUE(file.openBytes(fileBytes(GetParam(), U"")));
    EXPECT_EQ(file.encoding(), GetParam());
    EXPECT_TRUE(allLines(file).empty());
}

INSTANTIATE_TEST_SUITE_P(StdioFile, StdioFileMarks,
                         ::testing::Values(KdCStdioFile::kUtf16LE, KdCStdioFile::kUtf16BE,
                                           KdCStdioFile::kUtf8, KdCStdioFile::kUtf32BE,
                                           KdCStdioFile::kUtf32LE),
                         encodingName);

TEST(StdioFileMarkOrder, FfFeComesFirstSoTheUsualUtf32MarkReadsAsUtf16) {
    KdCStdioFile file;
    ASSERT_TRUE(file.openBytes("\xFF\xFE\0\0\x41\0\0\0\n\0\0\0"s));
    EXPECT_EQ(file.encoding(), KdCStdioFile::kUtf16LE);
    std::wstring text;
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ(text, std::wstring(L"\0A\0\n", 4));
}

TEST(StdioFileMarkOrder, PartialMarksAreText) {
    tvtest::ScopedEnv system("TV_ANSI_CODEPAGE", nullptr);
    KdCStdioFile file;
    ASSERT_TRUE(file.openBytes("\xEF\xBB"));
    EXPECT_EQ(file.encoding(), KdCStdioFile::kMultiByte);
    ASSERT_TRUE(file.openBytes("\0\0\xFE"s));
    EXPECT_EQ(file.encoding(), KdCStdioFile::kMultiByte);
    std::wstring text;
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ(text, std::wstring(L"\0\0\u00FE", 3));
    EXPECT_EQ(textOf("\xFF"), L"\u00FF");
}

// ---------------------------------------------------------------------------------------------

TEST(StdioFileMultiByte, WithoutAMarkTheSystemCodePageIsUsed) {
    tvtest::ScopedEnv system("TV_ANSI_CODEPAGE", "ANSI_1251");
    EXPECT_EQ(textOf("\xD1\xEB\xEE\xE9\n"), L"\u0421\u043B\u043E\u0439\n");
}

TEST(StdioFileMultiByte, LeadByteOfADoubleByteCodePageTakesTheNextByte) {
    KdCStdioFile file;
    ASSERT_TRUE(file.setCodePage("ANSI_932"));
    // 0x5C after a lead byte is no backslash; 0xB1 is a single-byte katakana; the lead byte
    // 0x82 takes the carriage return, and the pair it makes is no character.
    ASSERT_TRUE(file.openBytes("\x83\x5C\r\n\x95\x5C\xB1\n\x82\r\nX\x93"));
    EXPECT_EQ(allLines(file), (Lines{L"\u30BD", L"\u8868\uFF71", L"\uFFFD", L"X\uFFFD"}));
}

TEST(StdioFileMultiByte, CodePageChoiceAppliesFromTheNextOpen) {
    tvtest::ScopedEnv system("TV_ANSI_CODEPAGE", nullptr);
    KdCStdioFile file;
    EXPECT_FALSE(file.setCodePage("ANSI_65001"));
    EXPECT_FALSE(file.setCodePage("UTF-8"));
    ASSERT_TRUE(file.openBytes("\xC0"));
    std::wstring text;
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ(text, L"\u00C0"); // the refused names left 1252 in place

    ASSERT_TRUE(file.setCodePage("ANSI_1251"));
    ASSERT_TRUE(file.openBytes("\xC0"));
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ(text, L"\u0410");

    ASSERT_TRUE(file.setCodePage("")); // back to the system code page
    ASSERT_TRUE(file.openBytes("\xC0"));
    ASSERT_TRUE(file.readAll(text));
    EXPECT_EQ(text, L"\u00C0");
}

// ---------------------------------------------------------------------------------------------

TEST(StdioFileUtf8, SequencesOfTwoThreeAndFourBytes) {
    EXPECT_EQ(textOf("\xEF\xBB\xBF"
                     "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"),
              L"a\u00E9\u20AC\U0001F600z");
    EXPECT_EQ(textOf("\xEF\xBB\xBF\xDF\xBF\xEF\xBF\xBD\xF4\x8F\xBF\xBF"),
              L"\u07FF\uFFFD\U0010FFFF");
}

TEST(StdioFileUtf8, DamagedSequencesReadAsOneReplacementEach) {
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ(textOf(mark + "a\xE2\x82"), L"a\uFFFD");                 // cut by the end
    EXPECT_EQ(textOf(mark + "\xF0\x9F\x98"), L"\uFFFD");               // cut by the end
    EXPECT_EQ(textOf(mark + "\xC3"), L"\uFFFD");                       // cut by the end
    EXPECT_EQ(textOf(mark + "\xE2\nb"), L"\uFFFD\nb");                 // the line feed survives
    EXPECT_EQ(textOf(mark + "\xE2\x82\r\nb"), L"\uFFFD\nb");           // and so does CR LF
    EXPECT_EQ(textOf(mark + "\x80x\xBF"), L"\uFFFDx\uFFFD");           // stray continuation bytes
    EXPECT_EQ(textOf(mark + "\xC0\xAF\xE0\x80\xAF"), L"\uFFFD\uFFFD"); // overlong forms
    EXPECT_EQ(textOf(mark + "\xED\xA0\x80"), L"\uFFFD");               // a surrogate
    EXPECT_EQ(textOf(mark + "\xF4\x90\x80\x80"), L"\uFFFD");           // beyond U+10FFFF
    EXPECT_EQ(textOf(mark + "\xF8\x88\x80\x80!"), L"\uFFFD!");         // no such lead byte
}

TEST(StdioFileUtf16, SurrogatesAndOddBytes) {
    EXPECT_EQ(textOf("\xFE\xFF\xD8\x3D\xDE\x00"s), L"\U0001F600");
    EXPECT_EQ(textOf("\xFF\xFE\x41\x00\x42"s), L"A\uFFFD");      // odd byte
    EXPECT_EQ(textOf("\xFF\xFE\x3D\xD8"s), L"\uFFFD");           // high at the end
    EXPECT_EQ(textOf("\xFF\xFE\x3D\xD8\x41\x00"s), L"\uFFFDA");  // high alone
    EXPECT_EQ(textOf("\xFF\xFE\x00\xDE\x41\x00"s), L"\uFFFDA");  // low alone
    EXPECT_EQ(textOf("\xFF\xFE\x3D\xD8\x00"s), L"\uFFFD\uFFFD"); // pair cut short
}

TEST(StdioFileUtf32, BothOrdersAndDamagedValues) {
    EXPECT_EQ(textOf("\0\0\xFE\xFF\x00\x01\xF6\x00\x00\x00\x00\x41"s), L"\U0001F600A");
    EXPECT_EQ(textOf("\0\0\xFF\xFE\x00\xF6\x01\x00\x41\x00\x00\x00"s), L"\U0001F600A");
    // Beyond U+10FFFF, a surrogate, and three bytes left at the end.
    EXPECT_EQ(textOf("\0\0\xFE\xFF\x00\x11\x00\x00\x00\x00\xD8\x00\x00\x00\x00"s),
              L"\uFFFD\uFFFD\uFFFD");
}

// ---------------------------------------------------------------------------------------------

class StdioFileLines : public ::testing::TestWithParam<KdCStdioFile::Encoding> {
protected:
    std::string bytes(std::u32string_view text) const { return fileBytes(GetParam(), text); }
    Lines linesOf(std::u32string_view text) const {
        KdCStdioFile file;
        EXPECT_TRUE(file.openBytes(bytes(text)));
        return allLines(file);
    }
};

TEST_P(StdioFileLines, CrLfIsOneLineFeedAndABareCrStays) {
    EXPECT_EQ(linesOf(U"a\nb\r\nc\rd\r\r\ne\n\nf"),
              (Lines{L"a", L"b", L"c\rd\r", L"e", L"", L"f"}));
    EXPECT_EQ(textOf(bytes(U"a\nb\r\nc\rd\r\r\ne\n\nf")), L"a\nb\nc\rd\r\ne\n\nf");
    EXPECT_EQ(linesOf(U"x\r"), (Lines{L"x\r"}));
    EXPECT_EQ(linesOf(U"x\r\n"), (Lines{L"x"}));
    EXPECT_EQ(linesOf(U"\n"), (Lines{L""}));
    EXPECT_TRUE(linesOf(U"").empty());
}

TEST_P(StdioFileLines, ZerosAtTheEndFormNoLine) {
    using namespace std::string_view_literals;
    EXPECT_EQ(linesOf(U"  0\r\nLAYERSTATE\r\n\0"sv), (Lines{L"  0", L"LAYERSTATE"}));
    EXPECT_EQ(textOf(bytes(U"  0\r\nLAYERSTATE\r\n\0\0\0"sv)), L"  0\nLAYERSTATE\n");
    EXPECT_EQ(linesOf(U"last\0"sv), (Lines{L"last"}));
    EXPECT_TRUE(linesOf(U"\0"sv).empty());
    // Anywhere else a zero is a character of the line.
    EXPECT_EQ(linesOf(U"a\0b\n\0\r\n\0"sv), (Lines{std::wstring(L"a\0b", 3), std::wstring(1, 0)}));
}

INSTANTIATE_TEST_SUITE_P(StdioFile, StdioFileLines,
                         ::testing::Values(KdCStdioFile::kMultiByte, KdCStdioFile::kUtf8,
                                           KdCStdioFile::kUtf16LE, KdCStdioFile::kUtf16BE,
                                           KdCStdioFile::kUtf32LE, KdCStdioFile::kUtf32BE),
                         encodingName);

TEST(StdioFileReadAll, TakesWhatReadStringLeft) {
    KdCStdioFile file;
    ASSERT_TRUE(file.openBytes("one\r\ntwo\r\nthree"));
    std::wstring line;
    ASSERT_TRUE(file.readString(line));
    EXPECT_EQ(line, L"one");
    std::wstring rest;
    ASSERT_TRUE(file.readAll(rest));
    EXPECT_EQ(rest, L"two\nthree");
    EXPECT_FALSE(file.readString(line));
    ASSERT_TRUE(file.readAll(rest));
    EXPECT_TRUE(rest.empty());
}

// ---------------------------------------------------------------------------------------------

class StdioFileOnDisk : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& bytes) const {
        const std::string path = m_dir + "/" + name;
        tvtest::writeBytes(path, bytes);
        return path;
    }

    const tvtest::TempDir m_tmp{"tvstdio"};
    const std::string m_dir = m_tmp.path().string();
};

TEST_F(StdioFileOnDisk, EmptyFileHasNoLines) {
    const std::string path = write("empty.las", "");
    KdCStdioFile file;
    ASSERT_TRUE(file.open(path.c_str()));
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.encoding(), KdCStdioFile::kMultiByte);
    std::wstring text = L"stale";
    EXPECT_FALSE(file.readString(text));
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(file.readAll(text));
    EXPECT_TRUE(text.empty());
}

TEST_F(StdioFileOnDisk, FilesThatCannotBeOpenedSayWhyAndLeaveNothingOpen) {
    KdCStdioFile file;
    ASSERT_TRUE(file.openBytes("\xFF\xFE\x41\x00"s));

    const std::string missing = m_dir + "/missing.las";
    std::string error;
    EXPECT_FALSE(file.open(missing.c_str(), &error));
    // The system's reason in English, whatever the locale.
    EXPECT_EQ(error, missing + ": cannot open: No such file or directory");
    // The text opened before is gone, not handed out again.
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.encoding(), KdCStdioFile::kMultiByte);
    std::wstring text;
    EXPECT_FALSE(file.readString(text));
    EXPECT_FALSE(file.readAll(text));

    EXPECT_FALSE(file.open(m_dir.c_str(), &error));
    EXPECT_EQ(error, m_dir + ": cannot open: Is a directory");
    EXPECT_FALSE(file.open(missing.c_str())); // no error text wanted
    EXPECT_FALSE(file.open(nullptr, &error));
}

TEST_F(StdioFileOnDisk, ReopeningReadsTheNewFileFromItsStart) {
    const std::string first = write("first.txt", fileBytes(KdCStdioFile::kUtf16LE, U"one\ntwo"));
    const std::string second = write("second.txt", "three\n");
    KdCStdioFile file;
    ASSERT_TRUE(file.open(first.c_str()));
    std::wstring line;
    ASSERT_TRUE(file.readString(line));
    ASSERT_TRUE(file.open(second.c_str()));
    EXPECT_EQ(file.encoding(), KdCStdioFile::kMultiByte);
    EXPECT_EQ(allLines(file), (Lines{L"three"}));
}

} // namespace
