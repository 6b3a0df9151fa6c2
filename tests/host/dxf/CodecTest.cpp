// Text encodings of drawings: UTF-8, Windows code pages and the \U+XXXX escapes.
#include "DxfCodec.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include "Corpus.h"
#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using tvdxf::DxfCodec;
using tvtest::findLayer;

TEST(DxfCodec, EachEncodingWritesItsBytesAndReadsThemBack) {
    struct Case {
        const char* codePage; // null: the UTF-8 of new drawings
        std::wstring text;
        std::string bytes;
    };
    const Case cases[] = {
        {nullptr, L"A\u00E4\u20AC\u0416\U0001D11E",
         "A\xC3\xA4\xE2\x82\xAC\xD0\x96\xF0\x9D\x84\x9E"},
        // 0x80 is the euro sign and 0x9F Y with diaeresis in 1252, not C1 controls.
        {"ANSI_1252", L"\u20AC\u0178\u00C4\u00FF plain", "\x80\x9F\xC4\xFF plain"},
        {"ANSI_1251", L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442 \u0401\u0451",
         "\xD4\xF3\xED\xE4\xE0\xEC\xE5\xED\xF2 \xA8\xB8"},
    };
    for (const Case& c : cases) {
        DxfCodec codec = c.codePage ? DxfCodec(c.codePage) : DxfCodec();
        EXPECT_EQ(codec.isUtf8(), c.codePage == nullptr);
        EXPECT_EQ(codec.encode(c.text), c.bytes) << (c.codePage ? c.codePage : "UTF-8");
        EXPECT_EQ(codec.decode(c.bytes), c.text) << (c.codePage ? c.codePage : "UTF-8");
    }
    // Escapes are read in UTF-8 drawings too.
    EXPECT_EQ(DxfCodec().decode("x\\U+0416y"), L"x\u0416y");
    EXPECT_EQ(DxfCodec().decode(""), L"");
}

TEST(DxfCodec, CodePageNamesAndFallback) {
    EXPECT_EQ(tvdxf::codePageOfName("ANSI_1251"), 1251);
    EXPECT_EQ(tvdxf::codePageOfName("ANSI_1252"), 1252);
    EXPECT_EQ(tvdxf::codePageOfName("bogus"), 0);
    DxfCodec cp1251("ANSI_1251");
    EXPECT_FALSE(cp1251.isUtf8());
    EXPECT_EQ(cp1251.codePage(), 1251);
    EXPECT_EQ(cp1251.dwgCodePageName(), "ANSI_1251");
    DxfCodec unknown("no such code page");
    EXPECT_EQ(unknown.codePage(), 1252);
    EXPECT_EQ(unknown.decode("\xC4"), L"\u00C4");
}

TEST(DxfCodec, EscapesMixWithEightBitBytes) {
    DxfCodec codec("ANSI_1252");
    EXPECT_EQ(codec.decode("\\U+039B\xC4\\U+03a9x\xD6"), L"\u039B\u00C4\u03A9x\u00D6");
    // Text that only looks like an escape stays as it is.
    EXPECT_EQ(codec.decode("\\U+12"), L"\\U+12");
    EXPECT_EQ(codec.decode("\\U+GHIJ"), L"\\U+GHIJ");
    EXPECT_EQ(codec.decode("a\\Ub"), L"a\\Ub");
}

TEST(DxfCodec, CharactersOutsideTheCodePageBecomeUpperCaseEscapes) {
    DxfCodec cp1252("ANSI_1252");
    const std::wstring greek = L"\u03bb\u00E4\u03A9";
    const std::string encoded = cp1252.encode(greek);
    EXPECT_EQ(encoded, "\\U+03BB\xE4\\U+03A9");
    EXPECT_EQ(cp1252.decode(encoded), greek);

    DxfCodec cp1251("ANSI_1251");
    const std::wstring mixed = L"\u0416\u00E9\u4E2D";
    const std::string bytes = cp1251.encode(mixed);
    EXPECT_EQ(bytes, "\xC6\\U+00E9\\U+4E2D");
    EXPECT_EQ(cp1251.decode(bytes), mixed);

    // Outside the basic plane: a surrogate pair of escapes that reads back as one character.
    const std::wstring clef = L"\U0001D11E";
    const std::string clefBytes = cp1252.encode(clef);
    EXPECT_EQ(clefBytes, "\\U+D834\\U+DD1E");
    EXPECT_EQ(cp1252.decode(clefBytes), clef);
}

KdString layerNameOf(KdDbObjectId id) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
    return layer ? layer->name() : KdString();
}

// Real drawings whose texts other programs encoded in their own ways.
class CorpusCodec : public ::testing::Test {
protected:
    void load(const char* name) {
        std::string err;
        ASSERT_EQ(m_db.readDxfFile(tvtest::corpusFile(name).c_str(), &err), Kdad::eOk) << err;
    }
    KdDbDatabase m_db{false};
};

TEST_F(CorpusCodec, R12EscapedLayerNameDecodesAndSurvivesASave) {
    TV_REQUIRE_CORPUS("ezdxf_ascii_r12_escapes.dxf");
    load("ezdxf_ascii_r12_escapes.dxf");
    // \U+039B\U+0391\U+0393\U+0395\U+03A1 then the cp1252 bytes C4 DC D6.
    const std::wstring expected = L"\u039B\u0391\u0393\u0395\u03A1\u00C4\u00DC\u00D6";
    const KdDbObjectId id = findLayer(m_db, expected.c_str());
    EXPECT_FALSE(id.isNull());
    EXPECT_EQ(layerNameOf(id).str(), expected);
    EXPECT_EQ(m_db.clayer(), id);
    EXPECT_EQ(layerNameOf(tvtest::reloaded(m_db)->clayer()).str(), expected);
}

TEST_F(CorpusCodec, R2010DrawingIsUtf8WhateverItsCodePageSays) {
    TV_REQUIRE_CORPUS("cyrillic_utf8_r2010.dxf");
    load("cyrillic_utf8_r2010.dxf");
    EXPECT_FALSE(
        findLayer(m_db, L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442").isNull());
    EXPECT_FALSE(
        findLayer(m_db, L"\u0444\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442").isNull())
        << "lookup should ignore the case of Cyrillic letters as well";
}

// An R2000 drawing in code page ANSI_1252 writes what the code page lacks as escapes.
TEST(DxfCodecDrawing, NewLayerNameIsEscapedInACodePageDrawing) {
    tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
    options.version = tvtools::DxfVersion::R2000;
    KdDbDatabase db(false);
    tvtest::readGenerated(db, options);
    const std::wstring name = L"\u65E5\u672C \u00E9";
    ASSERT_FALSE(tvtest::addLayer(db, name.c_str()).isNull());
    const std::string saved = tvtest::drawingText(db);
    EXPECT_NE(saved.find("\\U+65E5\\U+672C \xE9"), std::string::npos);
    EXPECT_FALSE(findLayer(*tvtest::reloaded(db), name.c_str()).isNull());
}

} // namespace
