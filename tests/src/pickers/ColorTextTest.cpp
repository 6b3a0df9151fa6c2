// The colour text: what the writer produces, what the reader accepts, and their round trip.
#include "pickers/TvColorText.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <string>
#include <vector>

namespace {

KdCmColor indexColor(uint16_t index) {
    KdCmColor c;
    EXPECT_EQ(c.setColorIndex(index), Kdad::eOk);
    return c;
}

KdCmColor trueColor(uint8_t r, uint8_t g, uint8_t b) {
    KdCmColor c;
    EXPECT_EQ(c.setRGB(r, g, b), Kdad::eOk);
    return c;
}

KdCmColor bookColor(uint8_t r, uint8_t g, uint8_t b, const wchar_t* book, const wchar_t* name) {
    KdCmColor c = trueColor(r, g, b);
    EXPECT_EQ(c.setNames(name, book), Kdad::eOk);
    return c;
}

/// Everything one read gives back.
struct ReadResult {
    int status = -2;
    int index = -99;
    uint32_t rgb = 0xDEADBEEF;
    std::wstring book = L"untouched";
};

ReadResult readAll(const wchar_t* text) {
    ReadResult r;
    wchar_t book[tv::kColorTextBookSize] = L"untouched";
    r.status = tv::readColorText(text, &r.index, &r.rgb, book);
    r.book = book;
    return r;
}

} // namespace

TEST(ColorTextWrite, FormsOfEachKindOfColour) {
    KdCmColor byLayer;
    KdCmColor byBlock;
    ASSERT_EQ(byBlock.setColorMethod(KdCmEntityColor::kByBlock), Kdad::eOk);
    KdCmColor foreground;
    ASSERT_EQ(foreground.setColorMethod(KdCmEntityColor::kForeground), Kdad::eOk);

    EXPECT_EQ(tv::colorText(byLayer), L"256");
    EXPECT_EQ(tv::colorText(byBlock), L"0");
    EXPECT_EQ(tv::colorText(indexColor(1)), L"1");
    EXPECT_EQ(tv::colorText(indexColor(255)), L"255");
    EXPECT_EQ(tv::colorText(foreground), L"7");
    // A true colour writes its nearest palette index in front of the RGB it really is.
    EXPECT_EQ(tv::colorText(trueColor(255, 127, 0)), L"30;RGB:255,127,0");
    EXPECT_EQ(tv::colorText(bookColor(255, 127, 0, L"MyBook", L"Orange 1")),
              L"30;RGB:255,127,0;BOOK:MyBook$Orange 1");
    // A named true colour without a book is no colour-book colour.
    KdCmColor named = trueColor(1, 2, 3);
    ASSERT_EQ(named.setNames(L"Mine"), Kdad::eOk);
    EXPECT_EQ(tv::colorText(named).find(L"BOOK"), std::wstring::npos);
    // "No colour" has an index of its own that no reader takes back.
    KdCmColor none;
    ASSERT_EQ(none.setColorMethod(KdCmEntityColor::kNone), Kdad::eOk);
    EXPECT_EQ(tv::colorText(none), L"257");
    int index = 0;
    EXPECT_EQ(tv::readColorText(tv::colorText(none).c_str(), &index, nullptr, nullptr), -1);
}

TEST(ColorTextWrite, BufferTooSmallWritesNothingAndNeverOverflows) {
    const KdCmColor color = bookColor(255, 127, 0, L"MyBook", L"Orange 1");
    const std::wstring expected = tv::colorText(color);
    const int length = static_cast<int>(expected.size());

    std::vector<wchar_t> buf(expected.size() + 4, L'#');
    EXPECT_EQ(tv::writeColorText(buf.data(), length + 1, color), length);
    EXPECT_EQ(std::wstring(buf.data()), expected);
    EXPECT_EQ(buf[expected.size() + 1], L'#');

    std::fill(buf.begin(), buf.end(), L'#');
    EXPECT_EQ(tv::writeColorText(buf.data(), length, color), -1);
    EXPECT_EQ(buf[0], L'\0');
    EXPECT_EQ(buf[1], L'#'); // nothing but the empty string was written

    std::fill(buf.begin(), buf.end(), L'#');
    EXPECT_EQ(tv::writeColorText(buf.data(), 0, color), -1);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_EQ(tv::writeColorText(nullptr, 100, color), -1);

    wchar_t one[2] = {L'#', L'#'};
    EXPECT_EQ(tv::writeColorText(one, 1, KdCmColor()), -1); // "256" does not fit in 1
    EXPECT_EQ(one[0], L'\0');
    EXPECT_EQ(one[1], L'#');
}

class ColorTextRoundTrip : public ::testing::TestWithParam<KdCmColor> {};

TEST_P(ColorTextRoundTrip, ReaderGivesBackWhatTheWriterWrote) {
    const KdCmColor& color = GetParam();
    wchar_t text[600];
    ASSERT_GT(tv::writeColorText(text, 600, color), 0);
    SCOPED_TRACE(::testing::PrintToString(std::wstring(text)));

    const ReadResult r = readAll(text);
    const int expectedCount = (color.isByColor() ? 1 : 0) + (color.isColorBookColor() ? 1 : 0);
    EXPECT_EQ(r.status, expectedCount);
    EXPECT_EQ(r.index, color.colorIndex());
    if (color.isByColor())
        EXPECT_EQ(r.rgb, tv::packColorTextRgb(color.red(), color.green(), color.blue()));
    else
        EXPECT_EQ(r.rgb, 0xDEADBEEFu);
    if (color.isColorBookColor()) {
        EXPECT_EQ(r.book, std::wstring(color.bookName()) + L"$" + color.colorName());
        // The colour rebuilt from what was read is the colour that was written.
        KdCmColor back;
        ASSERT_EQ(back.setRGB(static_cast<uint8_t>(r.rgb), static_cast<uint8_t>(r.rgb >> 8),
                              static_cast<uint8_t>(r.rgb >> 16)),
                  Kdad::eOk);
        const size_t dollar = r.book.find(L'$');
        ASSERT_EQ(
            back.setNames(r.book.substr(dollar + 1).c_str(), r.book.substr(0, dollar).c_str()),
            Kdad::eOk);
        EXPECT_EQ(back, color);
    } else {
        EXPECT_EQ(r.book, L"untouched");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Colours, ColorTextRoundTrip,
    ::testing::Values(KdCmColor(), indexColor(0), indexColor(1), indexColor(7), indexColor(8),
                      indexColor(255), indexColor(256), trueColor(0, 0, 0),
                      trueColor(255, 255, 255), trueColor(1, 2, 3), trueColor(255, 0, 0),
                      trueColor(0, 0, 255), bookColor(255, 127, 0, L"MyBook", L"Orange 1"),
                      bookColor(0, 128, 64, L"B", L"n"),
                      bookColor(200, 100, 50, L"PANTONE+ Solid Coated", L"PANTONE 7621 C")),
    [](const ::testing::TestParamInfo<KdCmColor>& info) {
        const KdCmColor& c = info.param;
        char rgb[16];
        std::snprintf(rgb, sizeof rgb, "%06X", c.trueColor24());
        const std::string kind = c.isColorBookColor() ? std::string("Book")
                                 : c.isByColor()      ? "Rgb" + std::string(rgb)
                                 : c.isByLayer()      ? std::string("ByLayer")
                                 : c.isByBlock()      ? std::string("ByBlock")
                                                      : "Index" + std::to_string(c.colorIndex());
        return kind + "_" + std::to_string(info.index);
    });

TEST(ColorTextRead, IndexWordsNamesAndNumbers) {
    struct Case {
        const wchar_t* text;
        int index; // -1: malformed
    };
    // Only A-Z fold: a dotless i or a fullwidth letter is not its ASCII look-alike.
    const Case cases[] = {{L"bylayer", 256}, {L"  ByBlock  ", 0}, {L"BYLAYER", 256},
                          {L"0", 0},         {L"256", 256},       {L"257", -1},
                          {L"-1", -1},       {L"+1", -1},         {L"99999999999", -1},
                          {L"red", 1},       {L"Yellow", 2},      {L"GREEN", 3},
                          {L"cyan", 4},      {L"BLUE", 5},        {L"Magenta", 6},
                          {L"white", 7},     {L"", -1},           {L"   ", -1},
                          {L"black", -1},    {L"by layer", -1},   {L"  7  ;", 7},
                          {L"\t7", -1},      {L"007", 7},         {L"wh\u0131te", -1},
                          {L"\uFF32ED", -1}, {L"r\u00C9d", -1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(c.text)));
        int index = -99;
        const int status = tv::readColorText(c.text, &index, nullptr, nullptr);
        if (c.index < 0) {
            EXPECT_EQ(status, -1);
        } else {
            EXPECT_EQ(status, 0);
            EXPECT_EQ(index, c.index);
        }
    }
}

TEST(ColorTextRead, MalformedTrueColourEndsTheReadWithZero) {
    const wchar_t* bad[] = {L"1;RGB:255,,0",       L"1;RGB:256,0,0", L"1;RGB:1,2,3,4",
                            L"1;RGB:1,2",          L"1;RGB:1,2,",    L"1;RGB:,1,2",
                            L"1;RGB:1,2,x",        L"1;RGB:",        L"1;RGB:-1,0,0",
                            L"1;RGB:0001,002,003", L"1;RGB:1 ,2,3",  L"1;RGB:1,2,3000"};
    for (const wchar_t* text : bad) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(text)));
        const ReadResult r = readAll(text);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.index, 1); // read before the true colour
        EXPECT_EQ(r.rgb, 0u);  // cleared as soon as the field is there
    }
    // The book behind a bad true colour is not read.
    const ReadResult r = readAll(L"1;RGB:300,0,0;BOOK:A$B");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.book, L"untouched");
}

TEST(ColorTextRead, TrueColourFieldBoundaries) {
    ReadResult r = readAll(L"1;rgb:  001,002,003  ");
    EXPECT_EQ(r.status, 1); // 11 characters after the blanks, prefix in any case
    EXPECT_EQ(r.rgb, 0x00030201u);
    r = readAll(L"1;RGB:255,255,255");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.rgb, 0x00FFFFFFu);
    // A second field that is not a true colour is ignored and leaves the output alone.
    r = readAll(L"1;a");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.rgb, 0xDEADBEEFu);
    r = readAll(L"1; RGB:1,2,3");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.rgb, 0xDEADBEEFu);
}

TEST(ColorTextRead, ColourBookField) {
    ReadResult r = readAll(L"1;;BOOK:A$B");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.book, L"A$B");
    EXPECT_EQ(r.rgb, 0xDEADBEEFu);

    r = readAll(L"30;RGB:255,127,0;book:  My Book$Orange 1  ");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.book, L"My Book$Orange 1");

    for (const wchar_t* ignored : {L"1;;BOOK:$B", L"1;;BOOK:A$", L"1;;BOOK:AB", L"1;;BOOK:",
                                   L"1;;BOOK: $ ", L"1;BOOK:A$B", L"1;;A$B"}) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(ignored)));
        r = readAll(ignored);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.book, L"untouched");
    }
}

TEST(ColorTextRead, OnlyTheFirst256CharactersAreRead) {
    const std::wstring text = L"1;;BOOK:" + std::wstring(100, L'b') + L"$" +
                              std::wstring(140, L'n'); // 249 characters: read whole
    wchar_t book[tv::kColorTextBookSize + 1];
    book[tv::kColorTextBookSize] = L'#';
    EXPECT_EQ(tv::readColorText(text.c_str(), nullptr, nullptr, book), 1);
    EXPECT_EQ(std::wstring(book), text.substr(8));

    // Past 256 characters the text is not read, so the book always fits its output.
    const std::wstring longText =
        L"1;;BOOK:" + std::wstring(10, L'b') + L"$" + std::wstring(400, L'n');
    EXPECT_EQ(tv::readColorText(longText.c_str(), nullptr, nullptr, book), 1);
    EXPECT_EQ(std::wstring(book).size(), 248u);
    EXPECT_EQ(book[tv::kColorTextBookSize], L'#');

    // A third separator beyond what is read does not make the text malformed.
    const std::wstring third = L"1;RGB:1,2,3;BOOK:A$" + std::wstring(300, L'x') + L";z";
    int index = 0;
    uint32_t rgb = 0;
    EXPECT_EQ(tv::readColorText(third.c_str(), &index, &rgb, book), 2);
    EXPECT_EQ(std::wstring(book).size(), 256u - 17u);
}

TEST(ColorTextRead, SeparatorsNullOutputsAndNullText) {
    int index = -99;
    EXPECT_EQ(tv::readColorText(nullptr, &index, nullptr, nullptr), -1);
    EXPECT_EQ(index, -99);
    // A third separator is malformed even when no field is asked for.
    EXPECT_EQ(tv::readColorText(L"1;a;b;c", nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(readAll(L"1;;;").status, -1);
    EXPECT_EQ(readAll(L"1;;").status, 0);
    // Fields without an output are not read: a bad index is not noticed, a bad RGB neither.
    EXPECT_EQ(tv::readColorText(L"nonsense;RGB:1,2,3", nullptr, nullptr, nullptr), 0);
    uint32_t rgb = 0;
    EXPECT_EQ(tv::readColorText(L"nonsense;RGB:1,2,3", nullptr, &rgb, nullptr), 1);
    EXPECT_EQ(rgb, 0x00030201u);
    wchar_t book[tv::kColorTextBookSize] = L"";
    EXPECT_EQ(tv::readColorText(L"1;RGB:999;BOOK:A$B", nullptr, nullptr, book), 1);
    EXPECT_EQ(std::wstring(book), L"A$B");
    // A bad index stops the read before anything else is written.
    const ReadResult r = readAll(L"300;RGB:1,2,3;BOOK:A$B");
    EXPECT_EQ(r.status, -1);
    EXPECT_EQ(r.rgb, 0xDEADBEEFu);
    EXPECT_EQ(r.book, L"untouched");
}
