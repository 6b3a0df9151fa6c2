// Text encodings of drawings: UTF-8, Windows code pages and the \U+XXXX escapes.
#include "dxf/DxfCodec.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using tvdxf::DxfCodec;

TEST(DxfCodec, Utf8RoundTripsEveryPlane) {
    DxfCodec codec;
    EXPECT_TRUE(codec.isUtf8());
    const std::wstring text = L"A\u00E4\u20AC\u0416\U0001D11E";
    const std::string bytes = "A\xC3\xA4\xE2\x82\xAC\xD0\x96\xF0\x9D\x84\x9E";
    EXPECT_EQ(codec.encode(text), bytes);
    EXPECT_EQ(codec.decode(bytes), text);
    // Escapes are read in UTF-8 drawings too.
    EXPECT_EQ(codec.decode("x\\U+0416y"), L"x\u0416y");
    EXPECT_EQ(codec.decode(""), L"");
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

TEST(DxfCodec, Cp1252DecodesAndEncodesItsUpperHalf) {
    DxfCodec codec("ANSI_1252");
    // 0x80 is the euro sign and 0x9F Y with diaeresis in 1252, not C1 controls.
    EXPECT_EQ(codec.decode("\x80\x9F\xC4\xFF"), L"\u20AC\u0178\u00C4\u00FF");
    EXPECT_EQ(codec.encode(L"\u20AC\u0178\u00C4\u00FF"), "\x80\x9F\xC4\xFF");
    EXPECT_EQ(codec.encode(L"plain ASCII"), "plain ASCII");
}

TEST(DxfCodec, Cp1251DecodesAndEncodesCyrillic) {
    DxfCodec codec("ANSI_1251");
    const std::wstring text =
        L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442 \u0401\u0451";
    const std::string bytes = "\xD4\xF3\xED\xE4\xE0\xEC\xE5\xED\xF2 \xA8\xB8";
    EXPECT_EQ(codec.decode(bytes), text);
    EXPECT_EQ(codec.encode(text), bytes);
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

TEST(DxfCodecDrawings, R12EscapedLayerNameDecodesAndSurvivesASave) {
    const std::string path = std::string(TV_TESTDATA_DIR) + "/ezdxf_ascii_r12_escapes.dxf";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << path << " is missing";
    // \U+039B\U+0391\U+0393\U+0395\U+03A1 then the cp1252 bytes C4 DC D6.
    const std::wstring expected = L"\u039B\u0391\u0393\u0395\u03A1\u00C4\u00DC\u00D6";
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    KdDbObjectId id;
    EXPECT_EQ(table->getAt(expected.c_str(), id), Kdad::eOk);
    table->close();
    EXPECT_EQ(layerNameOf(id).str(), expected);
    EXPECT_EQ(db.clayer(), id);

    std::string saved;
    ASSERT_EQ(db.writeDxf(saved), Kdad::eOk);
    KdDbDatabase again(false);
    ASSERT_EQ(again.readDxfBuffer(saved, &err), Kdad::eOk) << err;
    EXPECT_EQ(layerNameOf(again.clayer()).str(), expected);
}

TEST(DxfCodecDrawings, R2010DrawingIsUtf8WhateverItsCodePageSays) {
    const std::string path = std::string(TV_TESTDATA_DIR) + "/cyrillic_utf8_r2010.dxf";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << path << " is missing";
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    EXPECT_TRUE(table->has(L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442"));
    EXPECT_TRUE(table->has(L"\u0444\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442"))
        << "lookup should ignore the case of Cyrillic letters as well";
    table->close();
}

TEST(DxfCodecDrawings, NewLayerNameIsEscapedInACodePageDrawing) {
    const std::string path = std::string(TV_TESTDATA_DIR) + "/showcase_r2000.dxf";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << path << " is missing";
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    const std::wstring name = L"\u65E5\u672C \u00E9";
    {
        KdDbLayerTable* table = nullptr;
        ASSERT_EQ(db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
        auto* layer = new KdDbLayerTableRecord;
        ASSERT_EQ(layer->setName(name.c_str()), Kdad::eOk);
        ASSERT_EQ(table->add(layer), Kdad::eOk);
        table->close();
    }
    std::string saved;
    ASSERT_EQ(db.writeDxf(saved), Kdad::eOk);
    EXPECT_NE(saved.find("\\U+65E5\\U+672C \xE9"), std::string::npos);
    KdDbDatabase again(false);
    ASSERT_EQ(again.readDxfBuffer(saved, &err), Kdad::eOk) << err;
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(again.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    EXPECT_TRUE(table->has(name.c_str()));
    table->close();
}

} // namespace
