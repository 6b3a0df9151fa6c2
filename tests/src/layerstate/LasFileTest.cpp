// Layer-state files: what export writes byte for byte, what import reads back in every encoding,
// and the files import refuses without touching the states already held.
#include "layerstate/LayerStateTestSupport.h"

#include "tv/KdCodePage.h"

#include <algorithm>
#include <functional>

using namespace tvtest;

namespace {

class LasFile : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        addSampleTables(m_db);
        m_mgr.setDatabase(&m_db);
    }
    void TearDown() override {
        // Every message box a test expects is queued; anything else shown is a fault.
        EXPECT_EQ(m_ui.ui.problems(), "");
    }

    /// A manager on the same drawing that reads what m_mgr wrote.
    std::unique_ptr<CTvLayerStateManager> reader() {
        auto mgr = std::make_unique<CTvLayerStateManager>();
        mgr->setDatabase(&m_db);
        return mgr;
    }

    fs::path exportToFile(const CTvLayerState* state, const std::string& name = "state.las") {
        const fs::path file = m_dir / name;
        EXPECT_EQ(m_mgr.exportState(file.wstring(), state), 1) << tvToUtf8(m_mgr.lastError());
        return file;
    }

    ModuleResources m_res;
    KdDbDatabase m_db;
    CurrentDrawing m_current{m_db};
    TempDir m_dir;
    ScriptedUi m_ui;
    CTvLayerStateManager m_mgr;
};

std::string crlfJoin(const std::vector<std::string>& lines) {
    std::string out;
    for (const std::string& l : lines)
        out += l + "\r\n";
    return out;
}

std::string utf16(const std::wstring& text, bool bigEndian) {
    std::string out = bigEndian ? std::string("\xFE\xFF", 2) : std::string("\xFF\xFE", 2);
    auto put = [&](uint32_t unit) {
        const char hi = static_cast<char>(unit >> 8);
        const char lo = static_cast<char>(unit & 0xFF);
        out += bigEndian ? hi : lo;
        out += bigEndian ? lo : hi;
    };
    for (wchar_t wc : text) {
        const auto c = static_cast<uint32_t>(wc);
        if (c > 0xFFFF) {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            put(c);
        }
    }
    return out;
}

std::string utf32be(const std::wstring& text) {
    std::string out("\x00\x00\xFE\xFF", 4);
    for (wchar_t wc : text) {
        const auto c = static_cast<uint32_t>(wc);
        for (int shift = 24; shift >= 0; shift -= 8)
            out += static_cast<char>((c >> shift) & 0xFF);
    }
    return out;
}

/// A good file of one state with one layer, a line each.
std::vector<std::string> validLines() {
    return {"  0", "LAYERSTATEDICTIONARY",
            "  0", "LAYERSTATE",
            "  1", "Broken",
            " 91", "1023",
            "301", "description",
            "290", "1",
            "302", "0",
            "  8", "WALLS",
            " 90", "8",
            " 62", "3",
            "370", "-3",
            "  6", "Continuous",
            "  2", "Color_3"};
}

// -- Export then import --

struct RoundTripCase {
    const char* label;
    StateHead head;
    std::vector<LayerRow> layers;
};

void PrintTo(const RoundTripCase& c, std::ostream* os) {
    *os << c.label;
}

std::vector<RoundTripCase> roundTripCases() {
    return {
        {"TrueColoursAndBooks",
         {L"Colours", 1023, L"true colours and colour books", 1, L"WALLS"},
         {
             {L"WALLS", 8, 30, 0x00336699u, L"PANTONE+ Solid Coated$PANTONE 123 C", L"DASHED", 50,
              L"Color_30"},
             // Black is a true colour too, not "no true colour".
             {L"DOORS", 8, 1, 0x00000000u, L"", L"Continuous", -3, L"Color_1"},
             {L"WINDOWS", 8, 255, 0x00FFFFFFu, L"RAL CLASSIC$RAL 9010", L"HIDDEN", 211,
              L"Color_255"},
         }},
        {"EveryFlag",
         {L"Flags", 0x7FF, L"every flag", 0, L"0"},
         {layerRow(L"ALL", 0x30F), layerRow(L"NONE", 0), layerRow(L"OFF", 0x1 | 0x8),
          layerRow(L"FROZEN", 0x2), layerRow(L"LOCKED", 0x4), layerRow(L"NEWVP", 0x100),
          layerRow(L"CURVP", 0x200)}},
        {"NegativeLineweights",
         {L"Weights", 0x40, L"lineweights", 2, L"0"},
         {
             {L"BYLAYER", 8, 1, kTvNoTrueColor, L"", L"Continuous", -1, L"Color_1"},
             {L"BYBLOCK", 8, 2, kTvNoTrueColor, L"", L"Continuous", -2, L"Color_2"},
             {L"DEFAULT", 8, 3, kTvNoTrueColor, L"", L"Continuous", -3, L"Color_3"},
             {L"THIN", 8, 4, kTvNoTrueColor, L"", L"Continuous", 0, L"Color_4"},
             {L"THICK", 8, 5, kTvNoTrueColor, L"", L"Continuous", 211, L"Color_5"},
         }},
        {"NoLayersNoDescription", {L"Empty", 0, L"", 1, L""}, {}},
        // Values are read in pairs, so text that reads like a group code is just a value.
        {"ValuesThatLookLikeCodes",
         {L"1", 1023, L"301", 1, L"8"},
         {layerRow(L"8"), layerRow(L"62", 8, 62), layerRow(L"LAYERSTATE")}},
    };
}

class LasRoundTrip : public LasFile, public ::testing::WithParamInterface<RoundTripCase> {};

TEST_P(LasRoundTrip, ExportThenImportGivesTheSameStateAndTheSameFile) {
    const RoundTripCase& c = GetParam();
    CTvLayerState* out = addState(m_mgr, c.head.name, c.layers, c.head.mask, c.head.description,
                                  c.head.currentLayer, c.head.viewportFlag);
    ASSERT_NE(out, nullptr);
    const fs::path file = exportToFile(out);
    const std::string bytes = readBytes(file);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.back(), '\0') << "the file ends with one zero byte";

    auto in = reader();
    std::wstring imported;
    ASSERT_EQ(in->importLas(file.wstring(), &imported), 1) << tvToUtf8(in->lastError());
    EXPECT_EQ(imported, c.head.name);
    ASSERT_EQ(in->stateCount(), 1u);
    const CTvLayerState* back = in->findState(c.head.name);
    expectSameState(m_mgr, out, *in, back);

    // Written again, the state gives the very same bytes.
    const fs::path again = m_dir / "again.las";
    ASSERT_EQ(in->exportState(again.wstring(), back), 1) << tvToUtf8(in->lastError());
    EXPECT_EQ(firstDifference(bytes, readBytes(again)), "");
}

INSTANTIATE_TEST_SUITE_P(States, LasRoundTrip, ::testing::ValuesIn(roundTripCases()),
                         [](const ::testing::TestParamInfo<RoundTripCase>& info) {
                             return std::string(info.param.label);
                         });

// -- What export writes --

// The worked example, made from the defaults of a state and of a layer record, and a state
// without layers: the head, five pairs a layer, a zero byte at the end.
TEST_F(LasFile, ExportWritesTheWorkedExampleByteForByte) {
    auto state = std::make_unique<CTvLayerState>();
    state->setName(L"S1");
    state->setDescription(L"demo");
    state->setCurrentLayer(L"0");
    CTvLayerStateManager::LayerArray layers;
    layers.push_back(std::make_unique<CTvLayerStateInfo>());
    layers.back()->setColor(7);
    CTvLayerState* s = m_mgr.addState(std::move(state), std::move(layers));
    EXPECT_EQ(readBytes(exportToFile(s)),
              "  0\r\nLAYERSTATEDICTIONARY\r\n  0\r\nLAYERSTATE\r\n  1\r\nS1\r\n"
              " 91\r\n1023\r\n301\r\ndemo\r\n290\r\n1\r\n302\r\n0\r\n"
              "  8\r\n0\r\n 90\r\n8\r\n 62\r\n7\r\n370\r\n-3\r\n"
              "  6\r\nContinuous\r\n  2\r\nColor_7\r\n" +
                  std::string(1, '\0'));
    CTvLayerState* bare = addState(m_mgr, L"Bare", {}, 0x3FF, L"", L"WALLS", 0);
    EXPECT_EQ(readBytes(exportToFile(bare, "bare.las")),
              "  0\r\nLAYERSTATEDICTIONARY\r\n  0\r\nLAYERSTATE\r\n"
              "  1\r\nBare\r\n 91\r\n1023\r\n301\r\n\r\n290\r\n0\r\n302\r\nWALLS\r\n" +
                  std::string(1, '\0'));
}

// No true colour: a colour book text alone is not written. The true colour is printed as a
// decimal number, the book text after it.
TEST_F(LasFile, TrueColourAndColourBookPairsAreWrittenOnlyWhenTheyMeanSomething) {
    CTvLayerState* s = addState(
        m_mgr, L"Books",
        {
            {L"BOOKONLY", 8, 5, kTvNoTrueColor, L"ORPHAN$BOOK", L"Continuous", -3, L"Color_5"},
            {L"RGBONLY", 8, 5, 0x00010203u, L"", L"Continuous", -3, L"Color_5"},
            {L"BOTH", 8, 5, 0x00A0B0C0u, L"DIC$DIC 7", L"Continuous", -3, L"Color_5"},
        });
    std::wstring text;
    ASSERT_TRUE(m_mgr.exportText(s, text));
    const auto block = [](const std::wstring& name) {
        return L"  8\r\n" + name +
               L"\r\n 90\r\n8\r\n 62\r\n5\r\n370\r\n-3\r\n  6\r\nContinuous\r\n  2\r\nColor_5\r\n";
    };
    const size_t first = text.find(L"  8\r\n");
    ASSERT_NE(first, std::wstring::npos);
    EXPECT_EQ(text.substr(first), block(L"BOOKONLY") + block(L"RGBONLY") + L" 92\r\n" +
                                      std::to_wstring(0x00010203) + L"\r\n" + block(L"BOTH") +
                                      L" 92\r\n" + std::to_wstring(0x00A0B0C0) +
                                      L"\r\n300\r\nDIC$DIC 7\r\n");
}

// Saving never destroys the previous file: an export that fails, half-way or before it begins,
// keeps it; one that succeeds replaces it whole.
TEST_F(LasFile, ExportFailuresWriteNothingAndKeepTheOlderFile) {
    CTvLayerState* holey = addState(m_mgr, L"Holey", {LayerRow{}});
    m_mgr.layersOf(holey)->push_back(nullptr); // a layer record that went missing
    const fs::path file = m_dir / "previous.las";
    const std::string previous(4096, 'x');
    writeBytes(file, previous);
    EXPECT_EQ(m_mgr.exportState(file.wstring(), holey), 0);
    EXPECT_EQ(readBytes(file), previous);

    // A state this manager does not hold.
    CTvLayerStateManager other;
    other.setDatabase(&m_db);
    CTvLayerState* foreign = addState(other, L"Foreign", {LayerRow{}});
    const fs::path notMade = m_dir / "foreign.las";
    EXPECT_EQ(m_mgr.exportState(notMade.wstring(), foreign), 0);
    EXPECT_EQ(m_mgr.exportState(notMade.wstring(), nullptr), 0);
    EXPECT_FALSE(fs::exists(notMade));

    // A folder that does not exist: a clear error, no exception.
    CTvLayerState* s = addState(m_mgr, L"Short", {});
    const fs::path nowhere = m_dir / "no such folder" / "mine.las";
    EXPECT_EQ(m_mgr.exportState(nowhere.wstring(), s), 0);
    EXPECT_FALSE(m_mgr.lastError().empty());

    ASSERT_EQ(m_mgr.exportState(file.wstring(), s), 1) << tvToUtf8(m_mgr.lastError());
    const std::string bytes = readBytes(file);
    EXPECT_LT(bytes.size(), 200u);
    EXPECT_EQ(bytes.find('x'), std::string::npos);
}

// -- Encodings and spellings import accepts --

/// A state with text outside any 8-bit code page, as the text export builds it, ending in the
/// zero character that the export writes after the last line.
class LasEncodings : public LasFile {
protected:
    void SetUp() override {
        LasFile::SetUp();
        addLayer(m_db, L"Стены");
        m_state = addState(
            m_mgr, L"План этажа",
            {
                {L"Стены", 8, 30, 0x00336699u, L"КНИГА$ЦВЕТ 1", L"DASHED", 50, L"Color_30"},
                {L"図面", 0x1 | 0x8, 5, kTvNoTrueColor, L"", L"Continuous", -1, L"Color_5"},
                {L"Emoji 😀", 0x4, 1, kTvNoTrueColor, L"", L"Continuous", -3, L"Color_1"},
            },
            0x37F, L"Ünïcødé — 説明", L"Стены");
        ASSERT_TRUE(m_mgr.exportText(m_state, m_text));
        m_text.push_back(L'\0');
    }

    void expectReads(const std::string& bytes, const char* what) {
        const fs::path file = m_dir / "encoded.las";
        writeBytes(file, bytes);
        auto in = reader();
        ASSERT_EQ(in->importLas(file.wstring()), 1) << what << ": " << tvToUtf8(in->lastError());
        SCOPED_TRACE(what);
        expectSameState(m_mgr, m_state, *in, in->findState(L"План этажа"));
    }

    CTvLayerState* m_state = nullptr;
    std::wstring m_text;
};

// Bare line feeds read like carriage return and line feed.
TEST_F(LasEncodings, FilesWithAByteOrderMarkReadInTheirEncoding) {
    const std::string bytes = "\xEF\xBB\xBF" + tvToUtf8(m_text);
    expectReads(utf16(m_text, false), "UTF-16 LE");
    expectReads(utf16(m_text, true), "UTF-16 BE");
    expectReads(bytes, "UTF-8 with mark");
    expectReads(utf32be(m_text), "UTF-32 BE");
    std::string lf;
    for (size_t i = 0; i < bytes.size(); ++i)
        if (!(bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n'))
            lf += bytes[i];
    ASSERT_EQ(lf.find('\r'), std::string::npos);
    expectReads(lf, "UTF-8, LF only");
    expectReads(utf16(tvFromUtf8(lf.substr(3)), false), "UTF-16 LE, LF only");
}

TEST_F(LasFile, EightBitFilesReadInTheSystemCodePage) {
    if (kdSystemAnsiCodePage() != "ANSI_1252")
        GTEST_SKIP() << "the bytes below are code page 1252; TV_ANSI_CODEPAGE selects "
                     << kdSystemAnsiCodePage();
    std::vector<std::string> lines = validLines();
    lines[5] = "Gr\xF6\xDF"
               "e";
    lines[9] = "caf\xE9 \x80";
    lines[13] = lines[15] = "Stra\xDF"
                            "e";
    const std::string bytes = crlfJoin(lines) + std::string(1, '\0');
    const fs::path file = m_dir / "ansi.las";
    writeBytes(file, bytes);
    auto in = reader();
    ASSERT_EQ(in->importLas(file.wstring()), 1) << tvToUtf8(in->lastError());
    const CTvLayerState* s = in->findState(L"Größe");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->description().str(), L"café €");
    EXPECT_EQ(s->currentLayerRef(), L"Straße");
    ASSERT_NE(layerOf(*in, s, L"Straße"), nullptr);

    // And export writes the same bytes.
    const fs::path again = m_dir / "again.las";
    ASSERT_EQ(in->exportState(again.wstring(), s), 1);
    EXPECT_EQ(firstDifference(bytes, readBytes(again)), "");
}

TEST_F(LasFile, HeadWordsAndCodesAreReadWithoutRegardToCaseOrPadding) {
    const std::string bytes = crlfJoin({"0",      "layerstatedictionary",
                                        " 0 ",    "LayerState",
                                        "1",      "  Lower  ",
                                        "91",     "5",
                                        "301",    "d",
                                        "290",    "1",
                                        "302",    "WALLS",
                                        "8",      "WALLS",
                                        "62",     "3",
                                        "\t90\t", "9"});
    const fs::path file = m_dir / "lower.las";
    writeBytes(file, bytes);
    auto in = reader();
    std::wstring name;
    ASSERT_EQ(in->importLas(file.wstring(), &name), 1) << tvToUtf8(in->lastError());
    EXPECT_EQ(name, L"Lower") << "the name is trimmed";
    const CTvLayerState* s = in->findState(L"lower");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->mask(), 5u);
    const CTvLayerStateInfo* walls = layerOf(*in, s, L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(walls->color(), 3);
    EXPECT_EQ(walls->flags(), 9);
}

TEST_F(LasFile, LayerPairsComeInAnyOrderAndUnknownCodesAreSkipped) {
    const std::string bytes =
        crlfJoin({"  0", "LAYERSTATEDICTIONARY", "  0", "LAYERSTATE", "  1", "Shuffled", " 91",
                  "not a number", "301", "", "290", "1", "302", "walls",
                  // the first layer's pairs in reverse order, with codes nobody knows
                  "  8", "WALLS", "300", "B$C", " 92", "1193046", "440", "33554508", "  2", "Mine",
                  "  6", "DASHED", "370", "-2", "999", "whatever", " 62", "12", " 90", "4",
                  // a second, minimal layer takes every default
                  "  8", "DOORS"});
    const fs::path file = m_dir / "shuffled.las";
    writeBytes(file, bytes);
    auto in = reader();
    ASSERT_EQ(in->importLas(file.wstring()), 1) << tvToUtf8(in->lastError());
    const CTvLayerState* s = in->findState(L"Shuffled");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->mask(), 0u) << "text that is no number reads as 0";
    ASSERT_EQ(in->layersOf(s)->size(), 2u);
    const CTvLayerStateInfo* walls = layerOf(*in, s, L"WALLS");
    EXPECT_EQ(rowOf(walls), (LayerRow{L"WALLS", 4, 12, 1193046u, L"B$C", L"DASHED", -2, L"Mine"}));
    EXPECT_EQ(walls->isCurrent(), 1) << "the current layer is matched ignoring case";
    CTvLayerStateInfo fresh;
    fresh.setLayerName(L"DOORS");
    EXPECT_EQ(rowOf(layerOf(*in, s, L"DOORS")), rowOf(&fresh));
    EXPECT_EQ(layerOf(*in, s, L"DOORS")->isCurrent(), 0);
}

// A character the system code page lacks is written as the Host's "\U+XXXX" escape and read
// back as the character; the imported state is compared with the drawing.
TEST_F(LasFile, AnImportedStateIsComparedWithTheDrawing) {
    addLayer(m_db, L"Стены");
    // The drawing's layers, all colour 7, Continuous, default lineweight.
    std::vector<LayerRow> same = {layerRow(L"0"), layerRow(L"WALLS"), layerRow(L"DOORS"),
                                  layerRow(L"Стены")};
    CTvLayerState* a = addState(m_mgr, L"Same", same);
    same[2].color = 1;
    CTvLayerState* b = addState(m_mgr, L"Differs", same);
    auto in = reader();
    ASSERT_EQ(in->importLas(exportToFile(a, "a.las").wstring()), 1) << tvToUtf8(in->lastError());
    ASSERT_EQ(in->importLas(exportToFile(b, "b.las").wstring()), 1);
    EXPECT_EQ(layerRowsOf(*in, in->findState(L"Same")), layerRowsOf(m_mgr, a));
    EXPECT_EQ(in->findState(L"Same")->matchFlag(), 1);
    EXPECT_EQ(in->findState(L"Differs")->matchFlag(), 0);
}

// -- Linetypes the drawing lacks --

// One warning per file, however many layers lack their linetype (a state of thousands of layers
// must not raise thousands of message boxes); every such layer gets Continuous.
TEST_F(LasFile, MissingLinetypesAreWarnedAboutOnceAndAllBecomeContinuous) {
    CTvLayerStateManager source;
    CTvLayerState* s = addState(source, L"Linetypes",
                                {
                                    {L"A", 8, 1, kTvNoTrueColor, L"", L"DASHDOT", -3, L"Color_1"},
                                    {L"B", 8, 2, kTvNoTrueColor, L"", L"DASHED", -3, L"Color_2"},
                                    {L"C", 8, 3, kTvNoTrueColor, L"", L"BORDER2", -3, L"Color_3"},
                                });
    const fs::path file = m_dir / "linetypes.las";
    ASSERT_EQ(source.exportState(file.wstring(), s), 1);
    m_ui.ui.expectMessageBox(IDOK, L"linetype");
    auto in = reader();
    ASSERT_EQ(in->importLas(file.wstring()), 1) << "a missing linetype does not fail the read";
    const CTvLayerState* back = in->findState(L"Linetypes");
    EXPECT_EQ(layerOf(*in, back, L"A")->linetypeRef(), L"Continuous");
    EXPECT_EQ(layerOf(*in, back, L"B")->linetypeRef(), L"DASHED");
    EXPECT_EQ(layerOf(*in, back, L"C")->linetypeRef(), L"Continuous");
    EXPECT_FALSE(findLinetype(m_db, L"DASHDOT").isValid()) << "import makes no linetypes";
}

// Even when the drawing has no such layer: the mark says what the state holds.
TEST_F(LasFile, TheLayerNamedLikeTheStatesCurrentLayerIsMarkedCurrent) {
    m_mgr.setCurrentLayerName(L"0");
    CTvLayerStateManager source;
    CTvLayerState* s = addState(source, L"Ghosts", {layerRow(L"0"), layerRow(L"ghost")}, kTvMaskAll,
                                L"", L"GHOST");
    const fs::path file = m_dir / "ghost.las";
    ASSERT_EQ(source.exportState(file.wstring(), s), 1);
    ASSERT_EQ(m_mgr.importLas(file.wstring()), 1) << tvToUtf8(m_mgr.lastError());
    const CTvLayerState* back = m_mgr.findState(L"Ghosts");
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(layerOf(m_mgr, back, L"ghost")->isCurrent(), 1);
    EXPECT_EQ(layerOf(m_mgr, back, L"0")->isCurrent(), 0);
}

// -- A name that is held already --

class LasReplace : public LasFile {
protected:
    void SetUp() override {
        LasFile::SetUp();
        addState(m_mgr, L"First", {LayerRow{}});
        m_held = addState(m_mgr, L"Plan", m_heldLayers, 0x3FF, L"old");
        addState(m_mgr, L"Last", {LayerRow{}});
        CTvLayerStateManager source;
        CTvLayerState* s = addState(source, L"PLAN", m_newLayers, 0x1F, L"new");
        m_file = m_dir / "plan.las";
        ASSERT_EQ(source.exportState(m_file.wstring(), s), 1);
    }
    /// The held state is still there, in its place, as it was.
    void expectHeldUnchanged() {
        ASSERT_EQ(m_mgr.stateCount(), 3u);
        EXPECT_EQ(m_mgr.states()[1].get(), m_held);
        EXPECT_EQ(headOf(m_held), (StateHead{L"Plan", 0x3FF, L"old", 1, L"0"}));
        EXPECT_EQ(layerRowsOf(m_mgr, m_held), m_heldLayers);
    }
    const std::vector<LayerRow> m_heldLayers = {layerRow(L"WALLS", 8, 1)};
    const std::vector<LayerRow> m_newLayers = {layerRow(L"WALLS", 9, 2), layerRow(L"DOORS", 8, 3)};
    CTvLayerState* m_held = nullptr;
    fs::path m_file;
};

TEST_F(LasReplace, AnsweringNoKeepsTheHeldState) {
    m_ui.ui.expectMessageBox(IDNO, L"PLAN");
    EXPECT_EQ(m_mgr.importLas(m_file.wstring()), 0);
    expectHeldUnchanged();
}

TEST_F(LasReplace, AnsweringYesReplacesTheStateInItsPlace) {
    m_ui.ui.expectMessageBox(IDYES, L"PLAN");
    ASSERT_EQ(m_mgr.importLas(m_file.wstring()), 1) << tvToUtf8(m_mgr.lastError());
    ASSERT_EQ(m_mgr.stateCount(), 3u) << "replaced, not added";
    const CTvLayerState* s = m_mgr.states()[1].get();
    EXPECT_EQ(m_mgr.findState(L"plan"), s);
    EXPECT_EQ(headOf(s), (StateHead{L"PLAN", 0x1F, L"new", 1, L"0"}));
    EXPECT_EQ(layerRowsOf(m_mgr, s), m_newLayers);
}

TEST_F(LasReplace, AFileBrokenAfterTheQuestionStillChangesNothing) {
    std::string bytes = readBytes(m_file);
    const size_t at = bytes.find("301\r\n");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, 3, "399");
    writeBytes(m_file, bytes);
    m_ui.ui.expectMessageBox(IDYES, L"PLAN");
    EXPECT_EQ(m_mgr.importLas(m_file.wstring()), 0);
    EXPECT_FALSE(m_mgr.lastError().empty());
    expectHeldUnchanged();
}

// -- Files import refuses --

struct BrokenCase {
    std::string label;
    std::function<void(std::vector<std::string>&)> damage;
};

void PrintTo(const BrokenCase& c, std::ostream* os) {
    *os << c.label;
}

std::vector<BrokenCase> brokenCases() {
    auto set = [](size_t i, const char* to) {
        return [i, to](std::vector<std::string>& l) { l[i] = to; };
    };
    auto erase = [](size_t from, size_t count) {
        return [from, count](std::vector<std::string>& l) {
            l.erase(l.begin() + static_cast<long>(from),
                    l.begin() + static_cast<long>(from + count));
        };
    };
    std::vector<BrokenCase> cases = {
        {"FirstCodeNotZero", set(0, "  1")},
        {"NotADictionary", set(1, "LAYERSTATES")},
        {"SecondCodeNotZero", set(2, "  2")},
        {"NotALayerState", set(3, "LAYER")},
        {"NameCodeNotOne", set(4, "  2")},
        {"MaskCodeWrong", set(6, " 92")},
        {"DescriptionCodeWrong", set(8, "300")},
        {"ViewportFlagCodeWrong", set(10, "291")},
        {"CurrentLayerCodeWrong", set(12, "303")},
        {"No91Pair", erase(6, 2)},
        {"No301Pair", erase(8, 2)},
        {"No290Pair", erase(10, 2)},
        {"No302Pair", erase(12, 2)},
        {"BlankLineInTheHead", [](std::vector<std::string>& l) { l.insert(l.begin() + 2, ""); }},
        {"301And290Swapped",
         [](std::vector<std::string>& l) {
             std::swap(l[8], l[10]);
             std::swap(l[9], l[11]);
         }},
        {"EmptyFile", [](std::vector<std::string>& l) { l.clear(); }},
        {"Garbage",
         [](std::vector<std::string>& l) {
             l = {"\x01\x02\x03", "PK\x03\x04"};
         }},
    };
    // Cut off after every line of the head.
    for (size_t keep = 1; keep < 14; ++keep)
        cases.push_back({"CutAfterLine" + std::to_string(keep),
                         [keep](std::vector<std::string>& l) { l.resize(keep); }});
    return cases;
}

class LasBroken : public LasFile, public ::testing::WithParamInterface<BrokenCase> {
protected:
    void SetUp() override {
        LasFile::SetUp();
        m_held = addState(m_mgr, L"Held", {layerRow(L"WALLS", 9, 4)}, 0x55, L"kept");
        addState(m_reference, L"Held", {layerRow(L"WALLS", 9, 4)}, 0x55, L"kept");
    }
    CTvLayerState* m_held = nullptr;
    CTvLayerStateManager m_reference;
};

TEST_P(LasBroken, IsRefusedWithAReasonAndChangesNothing) {
    std::vector<std::string> lines = validLines();
    GetParam().damage(lines);
    const fs::path file = m_dir / "broken.las";
    writeBytes(file, crlfJoin(lines));
    std::wstring name;
    EXPECT_EQ(m_mgr.importLas(file.wstring(), &name), 0);
    EXPECT_NE(tvToUtf8(m_mgr.lastError()).find("broken.las"), std::string::npos)
        << "the message names the file: " << tvToUtf8(m_mgr.lastError());
    EXPECT_EQ(m_mgr.stateCount(), 1u);
    EXPECT_EQ(m_mgr.findState(L"Broken"), nullptr);
    EXPECT_EQ(m_mgr.findState(L"Held"), m_held);
    expectSameState(m_reference, m_reference.findState(L"Held"), m_mgr, m_held);
}

INSTANTIATE_TEST_SUITE_P(Files, LasBroken, ::testing::ValuesIn(brokenCases()),
                         [](const ::testing::TestParamInfo<BrokenCase>& info) {
                             return info.param.label;
                         });

TEST_F(LasFile, AFileThatCannotBeOpenedIsRefused) {
    const fs::path missing = m_dir / "missing.las";
    EXPECT_EQ(m_mgr.importLas(missing.wstring()), 0);
    EXPECT_NE(tvToUtf8(m_mgr.lastError()).find("missing.las"), std::string::npos)
        << tvToUtf8(m_mgr.lastError());
    EXPECT_EQ(m_mgr.importLas(m_dir.path().wstring()), 0) << "a folder is no file";
    EXPECT_EQ(m_mgr.stateCount(), 0u);
}

TEST_F(LasFile, AStateNameThatIsBlankOrBreaksTheNameRulesIsRefused) {
    for (const char* bad : {"   ", "a/b", "x<y>", "semi;colon", "back`tick"}) {
        std::vector<std::string> lines = validLines();
        lines[5] = bad;
        const fs::path file = m_dir / "badname.las";
        writeBytes(file, crlfJoin(lines));
        EXPECT_EQ(m_mgr.importLas(file.wstring()), 0) << "name \"" << bad << "\"";
        EXPECT_FALSE(m_mgr.lastError().empty());
    }
    EXPECT_EQ(m_mgr.stateCount(), 0u);
}

} // namespace
