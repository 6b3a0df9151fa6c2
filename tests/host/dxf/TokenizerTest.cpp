// Splitting DXF text into tags: line ends, blanks, byte-order mark, faults with their lines.
#include "DxfTokenizer.h"
#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tags = std::vector<std::pair<int, std::string>>;

Tags tagsOf(std::string_view text, tvdxf::TokenizeResult* result = nullptr) {
    std::vector<KdDbTag> tags;
    tvdxf::TokenizeResult r = tvdxf::tokenize(text, tags);
    if (result)
        *result = r;
    else
        EXPECT_TRUE(r.ok) << "line " << r.errorLine << ": " << r.message;
    Tags out;
    for (const KdDbTag& t : tags)
        out.emplace_back(t.code, std::string(t.value()));
    return out;
}

TEST(TokenizerTest, LineEndsBlanksAndNegativeCodes) {
    const Tags expected = {{0, "SECTION"}, {2, "HEADER"}, {-1, "X"}, {1071, "12"}};
    EXPECT_EQ(tagsOf("0\nSECTION\n2\nHEADER\n-1\nX\n1071\n12\n"), expected);
    EXPECT_EQ(tagsOf("0\r\nSECTION\r\n2\r\nHEADER\r\n-1\r\nX\r\n1071\r\n12\r\n"), expected);
    // Right-aligned codes, trailing blanks and tabs around codes, mixed line ends.
    EXPECT_EQ(tagsOf("  0\nSECTION\r\n2  \nHEADER\n\t -1 \t\r\nX\n1071\n12"), expected);

    // Values keep their blanks on both sides (only the line end goes), and may be empty.
    Tags v = tagsOf("  1\n  text with blanks   \r\n  1\n\n  1\n\t\r\n");
    ASSERT_EQ(v.size(), 3u);
    EXPECT_EQ(v[0].second, "  text with blanks   ");
    EXPECT_EQ(v[1].second, "");
    EXPECT_EQ(v[2].second, "\t");

    // A lone CR inside a value is data, not a line end.
    v = tagsOf("1\na\rb\n");
    ASSERT_EQ(v.size(), 1u);
    EXPECT_EQ(v[0].second, "a\rb");
}

TEST(TokenizerTest, ByteOrderMarkAndTrailingEmptyLine) {
    const Tags expected = {{0, "SECTION"}, {0, "EOF"}};
    EXPECT_EQ(tagsOf("\xEF\xBB\xBF  0\nSECTION\n  0\nEOF\n"), expected);
    EXPECT_EQ(tagsOf("  0\nSECTION\n  0\nEOF\n\n"), expected);
    EXPECT_EQ(tagsOf("  0\r\nSECTION\r\n  0\r\nEOF\r\n\r\n"), expected);
    // A BOM anywhere else is part of the value.
    Tags v = tagsOf("1\n\xEF\xBB\xBFx\n");
    ASSERT_EQ(v.size(), 1u);
    EXPECT_EQ(v[0].second, "\xEF\xBB\xBFx");

    // Appends to what is already there.
    std::vector<KdDbTag> tags(1);
    ASSERT_TRUE(tvdxf::tokenize("0\nEOF\n", tags).ok);
    ASSERT_EQ(tags.size(), 2u);
    EXPECT_EQ(tags[1].value(), "EOF");
}

TEST(TokenizerTest, FaultsNameTheirLine) {
    struct Case {
        const char* text;
        long long line;
    };
    const Case cases[] = {
        {"abc\nX\n", 1},               // code is not a number
        {"0\nSECTION\n1x\nX\n", 3},    // trailing junk after the digits
        {"0\nSECTION\n\nX\n", 3},      // empty code line in the middle
        {"0\nSECTION\n 1 2\nX\n", 3},  // two numbers
        {"0\nA\n0\nB\n99999\nX\n", 5}, // code out of range
        {"0\nA\n-40000\nX\n", 3},      // negative code out of range
        {"0\nSECTION\n2\n", 4},        // value missing at the end
        {"\xEF\xBB\xBF"
         "0\nSECTION\n2",
         4},                                   // ... also without a final line end
        {"0\r\nA\r\n0\r\nB\r\nQ\r\nX\r\n", 5}, // CR LF lines count the same
        {"0\nEOF\n\n\n", 3},                   // only one trailing empty line is forgiven
        {"0\nEOF\n   \n", 3},                  // a blank line is not an empty one
    };
    for (const Case& c : cases) {
        tvdxf::TokenizeResult r;
        tagsOf(c.text, &r);
        EXPECT_FALSE(r.ok) << c.text;
        EXPECT_EQ(r.errorLine, c.line) << c.text;
        EXPECT_FALSE(r.message.empty()) << c.text;
    }
    tvdxf::TokenizeResult r;
    tagsOf("0\nA\n99999\nX\n", &r);
    EXPECT_NE(r.message.find("99999"), std::string::npos) << r.message;
}

TEST(TokenizerTest, HelpersParseValuesWithBlanks) {
    long long i = 0;
    EXPECT_TRUE(tvdxf::parseInt("  -42 ", i));
    EXPECT_EQ(i, -42);
    EXPECT_TRUE(tvdxf::parseInt("+7\r", i));
    EXPECT_EQ(i, 7);
    EXPECT_FALSE(tvdxf::parseInt("", i));
    EXPECT_FALSE(tvdxf::parseInt("4 2", i));
    EXPECT_FALSE(tvdxf::parseInt("0x10", i));
    uint64_t h = 0;
    EXPECT_TRUE(tvdxf::parseHandle(" 1aF ", h));
    EXPECT_EQ(h, 0x1AFu);
    EXPECT_TRUE(tvdxf::parseHandle("FFFFFFFFFFFFFFFF", h));
    EXPECT_EQ(h, ~uint64_t{0});
    EXPECT_FALSE(tvdxf::parseHandle("1FFFFFFFFFFFFFFFF", h));
    EXPECT_FALSE(tvdxf::parseHandle("G1", h));
    double d = 0;
    EXPECT_TRUE(tvdxf::parseDouble(" 1.5e3 ", d));
    EXPECT_DOUBLE_EQ(d, 1500.0);
    EXPECT_FALSE(tvdxf::parseDouble("1.5.", d));
    EXPECT_TRUE(tvdxf::equalsNoCase("Model_Space", "MODEL_SPACE"));
    EXPECT_FALSE(tvdxf::equalsNoCase("ENDSEC", "ENDSE"));
}

// An entity kept in the *Model_Space block definition (some writers put model-space entities
// there instead of the ENTITIES section) must not be lost on load and save.
TEST(TokenizerTest, EntityInsideModelSpaceBlockSurvivesLoadAndSave) {
    const tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
    std::string text = tvtools::generateDxf(options);
    char owner[32];
    std::snprintf(
        owner, sizeof owner, "330\n%llX\n",
        static_cast<unsigned long long>(tvtools::planDrawing(options).handles.modelRecord));

    // Insert a LINE owned by the model-space record before the ENDBLK of *Model_Space.
    const size_t blocks = text.find("\nBLOCKS\n");
    ASSERT_NE(blocks, std::string::npos);
    const size_t block = text.find("*Model_Space\n", blocks);
    ASSERT_NE(block, std::string::npos);
    const size_t endblk = text.find("  0\nENDBLK\n", block);
    ASSERT_NE(endblk, std::string::npos);
    const std::string ownerTag = owner;
    ASSERT_EQ(text.rfind(ownerTag, block), text.rfind("330\n", block));
    const std::string line = "  0\nLINE\n  5\nE000\n" + ownerTag +
                             "100\nAcDbEntity\n  8\n0\n"
                             "100\nAcDbLine\n 10\n1.5\n 20\n2.5\n 30\n0.0\n 11\n7.25\n 21\n"
                             "8.5\n 31\n0.0\n";
    text.insert(endblk, line);

    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(text, &err), Kdad::eOk) << err;
    const std::string saved = tvtest::drawingText(db);
    auto reread = tvtest::reloaded(db);
    KdDbObjectId id = reread->objectIdOf(0xE000);
    ASSERT_FALSE(id.isNull()) << "the LINE in *Model_Space was dropped";
    KdDbObjectPointer<KdDbEntity> ent(id, KdDb::kForRead);
    ASSERT_TRUE(ent);
    EXPECT_EQ(ent->dxfName(), "LINE");
    EXPECT_EQ(ent->ownerId(), reread->modelSpaceId());
    EXPECT_EQ(ent->layer().str(), L"0");
    EXPECT_EQ(ent->tagValue(11), "7.25");

    // Written exactly once, whichever section it went to.
    std::vector<KdDbTag> tags;
    ASSERT_TRUE(tvdxf::tokenize(saved, tags).ok);
    int lines = 0;
    for (size_t i = 0; i + 1 < tags.size(); ++i)
        if (tags[i].code == 0 && tvdxf::trimmed(tags[i].value()) == "LINE" &&
            tags[i + 1].code == 5 && tvdxf::trimmed(tags[i + 1].value()) == "E000")
            ++lines;
    EXPECT_EQ(lines, 1);
}

} // namespace
