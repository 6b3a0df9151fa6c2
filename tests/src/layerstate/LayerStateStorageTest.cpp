// Layer states kept in the drawing: saved and loaded through DXF files on disk, the stored
// record as other programs read it, legacy layer data converted, real drawings' states, new
// states captured from the layers, and states imported from another drawing.
#include "layerstate/LayerStateTestSupport.h"

#include <algorithm>
#include <set>

using namespace tvtest;

namespace {

std::string testData(const char* name) {
    return std::string(TV_TESTDATA_DIR) + "/" + name;
}

/// The lines of one section of DXF text ("TABLES", "ENTITIES" ...), codes trimmed.
std::string dxfSection(const std::string& text, const std::string& name) {
    std::vector<std::string> lines;
    std::string line;
    std::istringstream in(text);
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    auto trim = [](const std::string& s) {
        const size_t b = s.find_first_not_of(' ');
        return b == std::string::npos ? std::string() : s.substr(b);
    };
    std::string out;
    bool in_section = false;
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        const std::string code = trim(lines[i]);
        if (!in_section && code == "0" && lines[i + 1] == "SECTION" && i + 3 < lines.size() &&
            trim(lines[i + 2]) == "2" && lines[i + 3] == name)
            in_section = true;
        if (in_section) {
            out += code + "\n" + lines[i + 1] + "\n";
            if (code == "0" && lines[i + 1] == "ENDSEC")
                break;
        }
    }
    return out;
}

/// A drawing read from disk and made current, with a manager on it.
struct OpenedDrawing {
    std::unique_ptr<KdDbDatabase> db;
    std::unique_ptr<CurrentDrawing> current;
    CTvLayerStateManager mgr;

    explicit OpenedDrawing(const std::string& path) : db(std::make_unique<KdDbDatabase>(false)) {
        std::string error;
        EXPECT_EQ(db->readDxfFile(path.c_str(), &error), Kdad::eOk) << error;
        current = std::make_unique<CurrentDrawing>(*db);
        mgr.setDatabase(db.get());
        mgr.setCurrentLayerName(currentLayerName(*db));
    }
    ~OpenedDrawing() {
        mgr.clear();
        current.reset();
    }
};

class Storage : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        addSampleTables(m_db);
        editLayer(m_db, L"WALLS", [&](KdDbLayerTableRecord& l) {
            l.setColor(indexColor(1));
            l.setLinetypeObjectId(findLinetype(m_db, L"DASHED"));
        });
        m_mgr.setDatabase(&m_db);
        m_mgr.setCurrentLayerName(L"0");
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }

    /// Saves the states into the drawing, the drawing to disk, and opens the file again.
    std::unique_ptr<OpenedDrawing> saveAndReopen() {
        EXPECT_EQ(m_mgr.save(), 1);
        const fs::path file = m_dir / "saved.dxf";
        std::string error;
        EXPECT_EQ(m_db.saveAs(file.string().c_str(), &error), Kdad::eOk) << error;
        auto back = std::make_unique<OpenedDrawing>(file.string());
        EXPECT_EQ(back->mgr.load(), 1);
        return back;
    }

    ModuleResources m_res;
    KdDbDatabase m_db;
    CurrentDrawing m_current{m_db};
    TempDir m_dir;
    ScriptedUi m_ui;
    CTvLayerStateManager m_mgr;
};

// -- Save and load --

TEST_F(Storage, SaveThenLoadThroughADxfFileGivesEqualStates) {
    ASSERT_EQ(m_mgr.load(), 1);
    CTvLayerState* plan =
        addState(m_mgr, L"Plan",
                 {
                     {L"WALLS", 0x30F, 30, 0x00336699u, L"PANTONE+ Solid Coated$PANTONE 123 C",
                      L"DASHED", 50, L"Color_30"},
                     {L"DOORS", 0x8, 5, 0x00000000u, L"", L"HIDDEN", -1, L"Color_5"},
                     {L"0", 0x0, 7, kTvNoTrueColor, L"", L"Continuous", -2, L"Color_7"},
                 },
                 0x7FF, L"ground floor, everything", L"DOORS", 1);
    CTvLayerState* bare = addState(m_mgr, L"Bare", {layerRow(L"0", 0x9, 250)}, 0x020, L"", L"0", 0);
    auto back = saveAndReopen();
    ASSERT_EQ(back->mgr.stateCount(), 2u);
    expectSameState(m_mgr, plan, back->mgr, back->mgr.findState(L"Plan"));
    expectSameState(m_mgr, bare, back->mgr, back->mgr.findState(L"Bare"));
    EXPECT_EQ(layerOf(back->mgr, back->mgr.findState(L"Plan"), L"DOORS")->isCurrent(), 1);

    // The Host's own layer state manager reads what was written.
    KdDbLayerStateManager* host = back->db->getLayerStateManager();
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->layerStateMask(L"Plan"), 0x7FF);
    std::vector<KdString> names;
    ASSERT_EQ(host->getLayerStateLayers(names, L"Plan"), Kdad::eOk);
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0].str(), L"WALLS");
    EXPECT_EQ(names[1].str(), L"DOORS");
}

TEST_F(Storage, TheStoredRecordHasTheHeadThenOneBlockPerLayer) {
    addState(m_mgr, L"Layout",
             {
                 layerRow(L"WALLS", 0x9, 1),
                 {L"DOORS", 0x8, 3, 0x00102030u, L"B$C", L"DASHED", 25, L"Color_3"},
             },
             0x3FF, L"d", L"WALLS");
    ASSERT_EQ(m_mgr.save(), 1);
    const std::vector<StoredPair> pairs = storedPairs(m_db, L"Layout");
    std::vector<int> codes;
    for (const StoredPair& p : pairs)
        codes.push_back(p.code);
    const std::vector<int> expected = {91, 301, 290, 302, 330, 90,  62, 370, 331,
                                       1,  330, 90,  62,  370, 331, 1,  92,  300};
    EXPECT_EQ(codes, expected);
    ASSERT_EQ(pairs.size(), expected.size());
    EXPECT_EQ(pairs[0].number, 0x3FF);
    EXPECT_EQ(pairs[1].text, L"d");
    EXPECT_EQ(pairs[2].number, 1);
    EXPECT_EQ(pairs[3].text, L"WALLS");
    EXPECT_EQ(pairs[4].text, L"WALLS") << "the layer is referred to by its record";
    EXPECT_EQ(pairs[8].text, L"Continuous") << "and its linetype too";
    EXPECT_EQ(pairs[9].text, L"Color_1");
    EXPECT_EQ(pairs[10].text, L"DOORS");
    EXPECT_EQ(pairs[14].text, L"DASHED");
    EXPECT_EQ(pairs[16].number, 0x00102030);
    EXPECT_EQ(pairs[17].text, L"B$C");
}

TEST_F(Storage, AStateMarkedNeverToBeWrittenIsLeftOut) {
    addState(m_mgr, L"Temporary", {layerRow(L"0")}, kTvMaskAll, L"", L"0", 2);
    addState(m_mgr, L"Kept", {layerRow(L"0")}, kTvMaskAll, L"", L"0", 1);
    addState(m_mgr, L"Converted", {layerRow(L"0")}, kTvMaskAll, L"", L"0", 0);
    ASSERT_EQ(m_mgr.save(), 1);
    std::vector<std::wstring> stored = storedStateNames(m_db);
    std::sort(stored.begin(), stored.end());
    EXPECT_EQ(stored, (std::vector<std::wstring>{L"Converted", L"Kept"}));

    // Marked after it was stored once: the next save removes it.
    m_mgr.findState(L"Kept")->setViewportFlag(2);
    ASSERT_EQ(m_mgr.save(), 1);
    EXPECT_EQ(storedStateNames(m_db), (std::vector<std::wstring>{L"Converted"}));
}

TEST_F(Storage, SavingIsAFullRewrite) {
    ASSERT_EQ(m_mgr.load(), 1);
    addState(m_mgr, L"One", {layerRow(L"0")});
    addState(m_mgr, L"Two", {layerRow(L"0")});
    addState(m_mgr, L"Three", {layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    EXPECT_EQ(storedStateNames(m_db).size(), 3u);

    EXPECT_TRUE(m_mgr.deleteState(L"TWO"));
    EXPECT_FALSE(m_mgr.deleteState(L"Two")) << "gone already";
    ASSERT_EQ(m_mgr.stateCount(), 2u);
    EXPECT_EQ(m_mgr.states()[0]->listIndex(), 0);
    EXPECT_EQ(m_mgr.states()[1]->listIndex(), 1) << "the list is numbered again";
    EXPECT_TRUE(m_mgr.renameState(L"three", L"Drei"));
    ASSERT_EQ(m_mgr.save(), 1);
    std::vector<std::wstring> stored = storedStateNames(m_db);
    std::sort(stored.begin(), stored.end());
    EXPECT_EQ(stored, (std::vector<std::wstring>{L"Drei", L"One"}));

    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    EXPECT_EQ(again.stateCount(), 2u);
    EXPECT_EQ(again.findState(L"Three"), nullptr);
}

TEST_F(Storage, RenamingRefusesBadAndTakenNames) {
    addState(m_mgr, L"Alpha", {});
    addState(m_mgr, L"Beta", {});
    EXPECT_FALSE(m_mgr.renameState(L"Alpha", L"beta")) << "taken by another state";
    EXPECT_FALSE(m_mgr.renameState(L"Alpha", L"a/b"));
    EXPECT_FALSE(m_mgr.renameState(L"Alpha", L"   "));
    EXPECT_FALSE(m_mgr.renameState(L"Gamma", L"Delta")) << "no such state";
    EXPECT_NE(m_mgr.findState(L"Alpha"), nullptr);
    EXPECT_TRUE(m_mgr.renameState(L"Alpha", L"ALPHA")) << "its own name in other letters";
    EXPECT_EQ(m_mgr.findState(L"alpha")->nameRef(), L"ALPHA");
}

TEST_F(Storage, ALayerThatNoLongerExistsIsDroppedFromTheStoredRecord) {
    CTvLayerState* s =
        addState(m_mgr, L"Gone", {layerRow(L"WALLS"), layerRow(L"GONE"), layerRow(L"DOORS")});
    ASSERT_EQ(m_mgr.save(), 1);
    const std::vector<StoredPair> pairs = storedPairs(m_db, L"Gone");
    EXPECT_FALSE(storedLayerBlock(pairs, L"WALLS").empty());
    EXPECT_FALSE(storedLayerBlock(pairs, L"DOORS").empty());
    for (const StoredPair& p : pairs)
        EXPECT_NE(p.text, L"GONE") << "code " << p.code;
    EXPECT_EQ(storedLayerBlock(pairs, L"DOORS").size(), 6u) << "the next block is whole";
    EXPECT_EQ(m_mgr.layersOf(s)->size(), 3u) << "the held state keeps it";

    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    EXPECT_EQ(again.layersOf(again.findState(L"Gone"))->size(), 2u);
}

TEST_F(Storage, AMissingLinetypeIsStoredAsContinuous) {
    addState(m_mgr, L"Linetypes",
             {{L"WALLS", 8, 1, kTvNoTrueColor, L"", L"NOSUCH", -3, L"Color_1"},
              {L"DOORS", 8, 1, kTvNoTrueColor, L"", L"hidden", -3, L"Color_1"}});
    auto back = saveAndReopen();
    const CTvLayerState* s = back->mgr.findState(L"Linetypes");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(layerOf(back->mgr, s, L"WALLS")->linetypeRef(), L"Continuous");
    EXPECT_TRUE(tvEqualsNoCase(layerOf(back->mgr, s, L"DOORS")->linetypeRef(), L"HIDDEN"));
    EXPECT_FALSE(findLinetype(*back->db, L"NOSUCH").isValid()) << "saving makes no linetypes";
}

// A true colour without a colour book gets 92 alone; a colour book without a true colour gets
// a 92 of "no true colour" and no 300 (the .las file writes neither).
TEST_F(Storage, TrueColourAndColourBookPairsOfTheStoredRecord) {
    addState(m_mgr, L"Books",
             {
                 {L"WALLS", 8, 5, kTvNoTrueColor, L"ORPHAN$BOOK", L"Continuous", -3, L"Color_5"},
                 {L"DOORS", 8, 5, 0x00010203u, L"", L"Continuous", -3, L"Color_5"},
                 {L"0", 8, 5, 0x00A0B0C0u, L"DIC$DIC 7", L"Continuous", -3, L"Color_5"},
                 layerRow(L"DOORS"),
             });
    ASSERT_EQ(m_mgr.save(), 1);
    const std::vector<StoredPair> pairs = storedPairs(m_db, L"Books");
    const std::vector<StoredPair> walls = storedLayerBlock(pairs, L"WALLS");
    ASSERT_NE(findCode(walls, 92), nullptr);
    EXPECT_EQ(static_cast<uint32_t>(findCode(walls, 92)->number), kTvNoTrueColor);
    EXPECT_FALSE(hasCode(walls, 300));
    const std::vector<StoredPair> zero = storedLayerBlock(pairs, L"0");
    ASSERT_NE(findCode(zero, 300), nullptr);
    EXPECT_EQ(findCode(zero, 300)->text, L"DIC$DIC 7");

    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    const CTvLayerState* s = again.findState(L"Books");
    EXPECT_EQ(layerOf(again, s, L"WALLS")->trueColor(), kTvNoTrueColor);
    EXPECT_EQ(layerOf(again, s, L"WALLS")->colorBookRef(), L"");
    EXPECT_EQ(layerOf(again, s, L"DOORS")->trueColor(), 0x00010203u);
    EXPECT_EQ(layerOf(again, s, L"0")->colorBookRef(), L"DIC$DIC 7");
}

// The loader takes true colours under the linetype bit of the mask, not the colour bit.
TEST_F(Storage, TrueColoursLoadOnlyUnderTheLinetypeBit) {
    const LayerSpec coloured{L"WALLS",      8,  5,         0x00112233u, L"BOOK$NAME",
                             L"Continuous", -3, L"Color_5"};
    addState(m_mgr, L"ColourBitOnly", {coloured}, kTvMaskAll & ~kTvMaskLinetype);
    addState(m_mgr, L"LinetypeBitOnly", {coloured}, kTvMaskLinetype);
    ASSERT_EQ(m_mgr.save(), 1);
    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    const CTvLayerStateInfo* without = layerOf(again, again.findState(L"ColourBitOnly"), L"WALLS");
    ASSERT_NE(without, nullptr);
    EXPECT_EQ(without->trueColor(), 0x00FFFFFFu) << "six digits, not the usual no-true-colour";
    EXPECT_EQ(without->colorBookRef(), L"");
    EXPECT_EQ(without->color(), 5);
    const CTvLayerStateInfo* with = layerOf(again, again.findState(L"LinetypeBitOnly"), L"WALLS");
    ASSERT_NE(with, nullptr);
    EXPECT_EQ(with->trueColor(), 0x00112233u);
    EXPECT_EQ(with->colorBookRef(), L"BOOK$NAME");
}

TEST_F(Storage, LoadingTwiceKeepsTheHeldStates) {
    addState(m_mgr, L"Once", {layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    ASSERT_EQ(again.stateCount(), 1u);
    again.findState(L"Once")->setDescription(L"edited in memory");
    ASSERT_EQ(again.load(), 1);
    ASSERT_EQ(again.stateCount(), 1u);
    EXPECT_EQ(again.findState(L"Once")->description().str(), L"edited in memory");
    CTvLayerStateManager none;
    EXPECT_EQ(none.load(), 0) << "no drawing";
    EXPECT_EQ(none.save(), 0);
}

// -- Records written by other programs --

class StoredForms : public Storage {
protected:
    void SetUp() override {
        Storage::SetUp();
        m_walls = findLayer(m_db, L"WALLS");
        m_doors = findLayer(m_db, L"DOORS");
        m_dashed = findLinetype(m_db, L"DASHED");
        m_continuous = findLinetype(m_db, L"Continuous");
    }
    /// A state with WALLS and DOORS by reference, stored with `mask`.
    void storeReferenceForm(const wchar_t* key, int32_t mask) {
        EntityName walls(m_walls), doors(m_doors), dashed(m_dashed), cont(m_continuous);
        KdResbufPtr list(
            kdutBuildList(91, mask, 301, L"by reference", 290, 1, 302, L"WALLS",
                          // layer, flags, colour, lineweight, linetype, plot style, transparency
                          330, walls.get(), 90, int32_t{9}, 62, 5, 370, 25, 331, dashed.get(), 1,
                          L"Color_5", 440, int32_t{0}, 330, doors.get(), 90, int32_t{8}, 62, 3, 370,
                          -3, 331, cont.get(), 1, L"Color_3", 440, int32_t{33554508}, RTNONE));
        ASSERT_NE(list, nullptr);
        storeRawState(m_db, key, list.get());
    }
    KdDbObjectId m_walls, m_doors, m_dashed, m_continuous;
};

TEST_F(StoredForms, TheReferenceFormLoads) {
    storeReferenceForm(L"ByReference", 1023);
    ASSERT_EQ(m_mgr.load(), 1);
    const CTvLayerState* s = m_mgr.findState(L"ByReference");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->description().str(), L"by reference");
    EXPECT_EQ(s->currentLayerRef(), L"WALLS");
    ASSERT_EQ(m_mgr.layersOf(s)->size(), 2u);
    const CTvLayerStateInfo* walls = layerOf(m_mgr, s, L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(walls->flags(), 9);
    EXPECT_EQ(walls->color(), 5);
    EXPECT_EQ(walls->lineweight(), 25);
    EXPECT_EQ(walls->linetypeRef(), L"DASHED");
    EXPECT_EQ(walls->plotStyleRef(), L"Color_5");
    EXPECT_EQ(walls->isCurrent(), 1);
    const CTvLayerStateInfo* doors = layerOf(m_mgr, s, L"DOORS");
    ASSERT_NE(doors, nullptr);
    EXPECT_EQ(doors->linetypeRef(), L"Continuous");
    EXPECT_EQ(doors->plotStyleRef(), L"Color_3");
}

// Below 32768 references are resolved; from 32768 on, the entries are taken as stored.
TEST_F(StoredForms, TheStorageMarkerOfTheMaskStopsResolvingReferences) {
    storeReferenceForm(L"Below", 32767);
    storeReferenceForm(L"Marked", 32768);
    ASSERT_EQ(m_mgr.load(), 1);
    const CTvLayerState* below = m_mgr.findState(L"Below");
    const CTvLayerState* marked = m_mgr.findState(L"Marked");
    ASSERT_NE(below, nullptr);
    ASSERT_NE(marked, nullptr);
    EXPECT_EQ(below->mask(), 32767u);
    EXPECT_EQ(m_mgr.layersOf(below)->size(), 2u);
    EXPECT_EQ(marked->mask(), 32768u);
    EXPECT_EQ(marked->description().str(), L"by reference");
    EXPECT_EQ(m_mgr.layersOf(marked)->size(), 0u);
}

TEST_F(StoredForms, TheNameFormLoadsWithOrWithoutTheMarker) {
    for (const int32_t mask : {int32_t{1023}, int32_t{0x8000 | 1023}}) {
        KdResbufPtr list(kdutBuildList(91, mask, 301, L"by name", 290, 1, 302, L"DOORS", 8,
                                       L"WALLS", 90, int32_t{12}, 62, 6, 370, 35, 6, L"DASHED", 2,
                                       L"Mine", 8, L"DOORS", 90, int32_t{8}, 62, 2, 370, -3, 6,
                                       L"Continuous", 2, L"Color_2", RTNONE));
        ASSERT_NE(list, nullptr);
        storeRawState(m_db, mask == 1023 ? L"ByName" : L"ByNameMarked", list.get());
    }
    ASSERT_EQ(m_mgr.load(), 1);
    for (const wchar_t* key : {L"ByName", L"ByNameMarked"}) {
        SCOPED_TRACE(tvToUtf8(key));
        const CTvLayerState* s = m_mgr.findState(key);
        ASSERT_NE(s, nullptr);
        ASSERT_EQ(m_mgr.layersOf(s)->size(), 2u);
        const CTvLayerStateInfo* walls = layerOf(m_mgr, s, L"WALLS");
        ASSERT_NE(walls, nullptr);
        EXPECT_EQ(walls->flags(), 12);
        EXPECT_EQ(walls->color(), 6);
        EXPECT_EQ(walls->lineweight(), 35);
        EXPECT_EQ(walls->linetypeRef(), L"DASHED");
        EXPECT_EQ(walls->plotStyleRef(), L"Mine");
        EXPECT_EQ(layerOf(m_mgr, s, L"DOORS")->isCurrent(), 1);
    }
}

// Wrong: a state stored with the 0x8000 marker is saved back by reference, which the marker then
// keeps from being resolved: after one save and load the state has no layers left.
TEST_F(StoredForms, AMarkedStateKeepsItsLayersThroughSaveAndLoad) {
    KdResbufPtr list(kdutBuildList(91, int32_t{0x8000 | 1023}, 301, L"marked", 290, 1, 302, L"0", 8,
                                   L"WALLS", 90, int32_t{9}, 62, 6, 370, 35, 6, L"DASHED", 2,
                                   L"Color_6", RTNONE));
    ASSERT_NE(list, nullptr);
    storeRawState(m_db, L"Marked", list.get());
    ASSERT_EQ(m_mgr.load(), 1);
    ASSERT_EQ(m_mgr.layersOf(m_mgr.findState(L"Marked"))->size(), 1u);
    auto back = saveAndReopen();
    const CTvLayerState* s = back->mgr.findState(L"Marked");
    ASSERT_NE(s, nullptr);
    expectSameState(m_mgr, m_mgr.findState(L"Marked"), back->mgr, s);
}

TEST_F(StoredForms, PlotStyleReferencesAndNamelessLayersAreHandled) {
    EntityName styleRef(m_db.plotStyleNameDictionaryId());
    KdResbufPtr list(kdutBuildList(
        91, int32_t{1023}, 301, L"", 290, 1, 302, L"0",
        // a plot style given by reference takes the default name of the layer's colour
        8, L"WALLS", 90, int32_t{8}, 62, 42, 370, -3, 6, L"Continuous", 390, styleRef.get(),
        // a layer without a name starts nothing; its pairs are skipped up to the next layer
        8, L"", 90, int32_t{1}, 62, 99, 8, L"DOORS", 90, int32_t{8}, 62, 3, RTNONE));
    ASSERT_NE(list, nullptr);
    storeRawState(m_db, L"Odd", list.get());
    ASSERT_EQ(m_mgr.load(), 1);
    const CTvLayerState* s = m_mgr.findState(L"Odd");
    ASSERT_NE(s, nullptr);
    ASSERT_EQ(m_mgr.layersOf(s)->size(), 2u);
    EXPECT_EQ(layerOf(m_mgr, s, L"WALLS")->plotStyleRef(), L"Color_42");
    const CTvLayerStateInfo* doors = layerOf(m_mgr, s, L"DOORS");
    ASSERT_NE(doors, nullptr);
    EXPECT_EQ(doors->color(), 3);
    EXPECT_EQ(doors->flags(), 8);
}

TEST_F(Storage, TheStatesCurrentLayerIsMarkedOrElseTheDrawingsCurrentLayer) {
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    m_mgr.setCurrentLayerName(L"WALLS");
    addState(m_mgr, L"Doors", {layerRow(L"0"), layerRow(L"WALLS"), layerRow(L"DOORS")}, kTvMaskAll,
             L"", L"doors");
    addState(m_mgr, L"Ghost", {layerRow(L"0"), layerRow(L"WALLS"), layerRow(L"DOORS")}, kTvMaskAll,
             L"", L"GHOST");
    ASSERT_EQ(m_mgr.save(), 1);
    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    again.setCurrentLayerName(L"WALLS");
    ASSERT_EQ(again.load(), 1);
    const CTvLayerState* doors = again.findState(L"Doors");
    EXPECT_EQ(layerOf(again, doors, L"DOORS")->isCurrent(), 1);
    EXPECT_EQ(layerOf(again, doors, L"WALLS")->isCurrent(), 0);
    const CTvLayerState* ghost = again.findState(L"Ghost");
    EXPECT_EQ(layerOf(again, ghost, L"WALLS")->isCurrent(), 1);
    EXPECT_EQ(layerOf(again, ghost, L"0")->isCurrent(), 0);
}

TEST_F(Storage, TheFallbackCurrentLayerIsReadFromTheDrawing) {
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    addState(m_mgr, L"Ghost", {layerRow(L"0"), layerRow(L"WALLS")}, kTvMaskAll, L"", L"GHOST");
    ASSERT_EQ(m_mgr.save(), 1);
    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    EXPECT_EQ(layerOf(again, again.findState(L"Ghost"), L"WALLS")->isCurrent(), 1);
}

// A layer erased after the state was stored leaves a reference nothing answers to; its
// properties must not land on the layer stored before it.
// Wrong: the unresolved block's 90, 62, 370, 331 and 1 overwrite the previous layer's values.
TEST_F(Storage, AReferenceToAnErasedLayerDoesNotSpillIntoItsNeighbour) {
    addState(m_mgr, L"Erased",
             {{L"WALLS", 8, 1, kTvNoTrueColor, L"", L"DASHED", 50, L"Color_1"},
              {L"DOORS", 0x9, 3, kTvNoTrueColor, L"", L"HIDDEN", 25, L"Color_3"},
              layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    {
        KdDbObjectPointer<KdDbLayerTableRecord> doors(findLayer(m_db, L"DOORS"), KdDb::kForWrite);
        ASSERT_TRUE(doors);
        ASSERT_EQ(doors->erase(), Kdad::eOk);
    }
    CTvLayerStateManager again;
    again.setDatabase(&m_db);
    ASSERT_EQ(again.load(), 1);
    const CTvLayerState* s = again.findState(L"Erased");
    ASSERT_NE(s, nullptr);
    const CTvLayerStateInfo* walls = layerOf(again, s, L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(walls->flags(), 8);
    EXPECT_EQ(walls->color(), 1);
    EXPECT_EQ(walls->lineweight(), 50);
    EXPECT_EQ(walls->linetypeRef(), L"DASHED");
    EXPECT_EQ(walls->plotStyleRef(), L"Color_1");
    EXPECT_EQ(layerOf(again, s, L"DOORS"), nullptr);
    EXPECT_NE(layerOf(again, s, L"0"), nullptr);
}

// -- Legacy layer data --

class Legacy : public Storage {
protected:
    /// Gives `layer` legacy state data: name with its brace, flags, signed colour, linetype.
    void addLegacyData(const wchar_t* layer, const std::wstring& braced, int flags, int color,
                       const wchar_t* linetype) {
        kddbRegApp(L"RAK");
        EntityName en(findLayer(m_db, layer));
        KdResbufPtr list(kdutBuildList(-1, en.get(), -3, 1001, L"RAK", 1000, braced.c_str(), 1070,
                                       flags, 1070, color, 1000, linetype, RTNONE));
        ASSERT_NE(list, nullptr);
        ASSERT_EQ(kddbEntMod(list.get()), RTNORM);
    }
    /// The 1000 strings of the layer's "RAK" data.
    std::vector<std::wstring> legacyStrings(KdDbDatabase& db, const wchar_t* layer) {
        std::vector<std::wstring> out;
        EntityName en(findLayer(db, layer));
        KdResbufPtr apps(kdutBuildList(RTSTR, L"RAK", RTNONE));
        KdResbufPtr list(kddbEntGetX(en.get(), apps.get()));
        for (const resbuf* rb = list.get(); rb; rb = rb->rbnext)
            if (rb->restype == 1000 && rb->resval.rstring)
                out.emplace_back(rb->resval.rstring);
        return out;
    }
};

TEST_F(Legacy, LayerDataBecomesAState) {
    addLayer(m_db, L"OLDLAYER");
    addLegacyData(L"OLDLAYER", L"{Old plan", 5, -3, L"DASHED");
    ASSERT_EQ(m_mgr.load(), 1);
    ASSERT_EQ(m_mgr.stateCount(), 1u);
    const CTvLayerState* s = m_mgr.findState(L"LMAN_Old plan");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->mask(), 1023u);
    EXPECT_EQ(s->description().str(), L"");
    EXPECT_EQ(s->viewportFlag(), 0);
    EXPECT_EQ(s->currentLayerRef(), L"0");
    const CTvLayerStateInfo* old = layerOf(m_mgr, s, L"OLDLAYER");
    ASSERT_NE(old, nullptr);
    EXPECT_EQ(old->flags() & (kTvLayerOff | kTvLayerFrozen | kTvLayerLocked),
              kTvLayerOff | kTvLayerFrozen | kTvLayerLocked);
    EXPECT_EQ(old->color(), 3);
    EXPECT_EQ(old->linetypeRef(), L"DASHED");
    EXPECT_EQ(old->trueColor(), kTvNoTrueColor);
    EXPECT_EQ(old->colorBookRef(), L"");
    EXPECT_EQ(m_mgr.legacyLayers(), (std::vector<std::wstring>{L"OLDLAYER"}));
}

TEST_F(Legacy, FlagBitsAndColourSignAreReadOneByOne) {
    addLayer(m_db, L"LOCKED");
    addLayer(m_db, L"FROZEN");
    addLegacyData(L"LOCKED", L"{A", 4, 2, L"Continuous");
    addLegacyData(L"FROZEN", L"{B", 1, 6, L"Continuous");
    ASSERT_EQ(m_mgr.load(), 1);
    const CTvLayerStateInfo* locked = layerOf(m_mgr, m_mgr.findState(L"LMAN_A"), L"LOCKED");
    const CTvLayerStateInfo* frozen = layerOf(m_mgr, m_mgr.findState(L"LMAN_B"), L"FROZEN");
    ASSERT_NE(locked, nullptr);
    ASSERT_NE(frozen, nullptr);
    EXPECT_EQ(locked->flags() & 0x7, kTvLayerLocked);
    EXPECT_EQ(locked->color(), 2);
    EXPECT_EQ(frozen->flags() & 0x7, kTvLayerFrozen);
    EXPECT_EQ(frozen->color(), 6);
}

TEST_F(Legacy, DataWithoutABraceIsNotAState) {
    addLegacyData(L"WALLS", L"plain text", 5, 3, L"Continuous");
    ASSERT_EQ(m_mgr.load(), 1);
    EXPECT_EQ(m_mgr.stateCount(), 0u);
    EXPECT_TRUE(m_mgr.legacyLayers().empty());
}

TEST_F(Legacy, ConvertedNamesAreMadeValidAndUnique) {
    addState(m_mgr, L"LMAN_Taken", {layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    m_mgr.clear();
    addLayer(m_db, L"L1");
    addLayer(m_db, L"L2");
    addLayer(m_db, L"L3");
    addLayer(m_db, L"L4");
    addLegacyData(L"L1", L"{A/B", 0, 1, L"Continuous");
    addLegacyData(L"L2", L"{C:D", 0, 2, L"Continuous");
    addLegacyData(L"L3", L"{E*F", 0, 3, L"Continuous");
    addLegacyData(L"L4", L"{Taken", 0, 4, L"Continuous");
    ASSERT_EQ(m_mgr.load(), 1);
    std::set<std::wstring> names;
    for (const auto& s : m_mgr.states())
        names.insert(s->nameRef());
    EXPECT_EQ(names, (std::set<std::wstring>{L"LMAN_Taken", L"LMAN_Taken(1)", L"LMAN_INVALIDNAME",
                                             L"LMAN_INVALIDNAME(1)", L"LMAN_INVALIDNAME(2)"}));
    EXPECT_EQ(m_mgr.layersOf(m_mgr.findState(L"LMAN_Taken(1)"))->at(0)->color(), 4);
}

TEST_F(Legacy, TheDataIsStrippedOnTheNextSave) {
    kdedSetShortVar(L"REGENMODE", 1);
    addLayer(m_db, L"OLDLAYER");
    addLegacyData(L"OLDLAYER", L"{Old", 0, 3, L"DASHED");
    ASSERT_EQ(m_mgr.load(), 1);
    ASSERT_EQ(legacyStrings(m_db, L"OLDLAYER").size(), 2u);
    ASSERT_EQ(m_mgr.save(), 1);
    for (const std::wstring& s : legacyStrings(m_db, L"OLDLAYER"))
        EXPECT_EQ(s.find(L'{'), std::wstring::npos) << tvToUtf8(s);
    EXPECT_TRUE(m_mgr.legacyLayers().empty());
    EXPECT_EQ(kdedGetShortVar(L"REGENMODE", -1), 1) << "set back after the save";

    // The converted state is an ordinary one now, and is not converted a second time.
    auto back = saveAndReopen();
    ASSERT_EQ(back->mgr.stateCount(), 1u);
    const CTvLayerState* s = back->mgr.findState(L"LMAN_Old");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->viewportFlag(), 0);
    EXPECT_EQ(layerOf(back->mgr, s, L"OLDLAYER")->linetypeRef(), L"DASHED");
    EXPECT_TRUE(back->mgr.legacyLayers().empty());
}

// -- Real drawings --

class RealDrawing : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        if (!fs::exists(testData("netdxf_layerstates.dxf")) ||
            !fs::exists(testData("showcase_r2018.dxf")))
            GTEST_SKIP() << "test drawings missing in " << TV_TESTDATA_DIR;
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }
    ModuleResources m_res;
    ScriptedUi m_ui;
    TempDir m_dir;
};

TEST_F(RealDrawing, TheStatesOfNetDxfLoadWithTheirLayers) {
    OpenedDrawing d(testData("netdxf_layerstates.dxf"));
    ASSERT_EQ(d.mgr.load(), 1);
    ASSERT_EQ(d.mgr.stateCount(), 2u);
    const CTvLayerState* one = d.mgr.findState(L"LayerState1");
    const CTvLayerState* two = d.mgr.findState(L"LayerState2");
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(one->description().str(), L"Description for LayerState1");
    EXPECT_EQ(one->mask(), 2047u);
    EXPECT_EQ(one->viewportFlag(), 0);
    EXPECT_EQ(one->currentLayerRef(), L"0");
    std::vector<std::wstring> names;
    for (const auto& info : *d.mgr.layersOf(one))
        names.push_back(info->layerNameRef());
    EXPECT_EQ(names,
              (std::vector<std::wstring>{L"ConstructionLines", L"Groups", L"EntityProperties",
                                         L"Layer2", L"Layer1", L"Defpoints", L"0"}));
    const CTvLayerStateInfo* lines = layerOf(d.mgr, one, L"ConstructionLines");
    EXPECT_EQ(lines->linetypeRef(), L"DOT");
    EXPECT_EQ(lines->lineweight(), 35);
    EXPECT_EQ(lines->color(), 252);
    EXPECT_EQ(lines->plotStyleRef(), L"Color_252");
    EXPECT_EQ(lines->flags(), 8);
    EXPECT_EQ(layerOf(d.mgr, one, L"Defpoints")->flags(), 0);
    EXPECT_EQ(layerOf(d.mgr, one, L"0")->isCurrent(), 1);
    EXPECT_EQ(layerOf(d.mgr, two, L"ConstructionLines")->flags(), 9);
    // The drawing is as the first state left it; the second turns layers off.
    EXPECT_EQ(one->matchFlag(), 1);
    EXPECT_EQ(two->matchFlag(), 0);
}

TEST_F(RealDrawing, ALoadSaveCycleOfNetDxfKeepsWhatItDoesNotChange) {
    OpenedDrawing d(testData("netdxf_layerstates.dxf"));
    const std::string before = drawingText(*d.db);
    ASSERT_EQ(d.mgr.load(), 1);
    ASSERT_EQ(d.mgr.save(), 1);
    const std::string after = drawingText(*d.db);
    for (const char* section : {"TABLES", "BLOCKS", "ENTITIES"}) {
        SCOPED_TRACE(section);
        ASSERT_FALSE(dxfSection(before, section).empty());
        EXPECT_EQ(firstDifference(dxfSection(before, section), dxfSection(after, section)), "");
    }
    const fs::path file = m_dir / "netdxf_saved.dxf";
    ASSERT_EQ(d.db->saveAs(file.string().c_str()), Kdad::eOk);
    OpenedDrawing back(file.string());
    ASSERT_EQ(back.mgr.load(), 1);
    ASSERT_EQ(back.mgr.stateCount(), 2u);
    for (const wchar_t* name : {L"LayerState1", L"LayerState2"}) {
        expectSameState(d.mgr, d.mgr.findState(name), back.mgr, back.mgr.findState(name));
        EXPECT_EQ(back.mgr.findState(name)->matchFlag(), d.mgr.findState(name)->matchFlag());
    }
    std::vector<KdString> layers;
    ASSERT_EQ(back.db->getLayerStateManager()->getLayerStateLayers(layers, L"LayerState2"),
              Kdad::eOk);
    EXPECT_EQ(layers.size(), 7u);
}

TEST_F(RealDrawing, TheShowcaseStateLoadsAndTheCycleKeepsTheRest) {
    OpenedDrawing d(testData("showcase_r2018.dxf"));
    const std::string before = drawingText(*d.db);
    ASSERT_EQ(d.mgr.load(), 1);
    ASSERT_EQ(d.mgr.stateCount(), 1u);
    const CTvLayerState* s = d.mgr.findState(L"ACAD_VIEWS_view_custom");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->mask(), 33280u);
    EXPECT_EQ(s->description().str(), L"");
    EXPECT_EQ(s->viewportFlag(), 0);
    EXPECT_EQ(s->currentLayerRef(), L"0");
    ASSERT_EQ(d.mgr.save(), 1);
    const std::string after = drawingText(*d.db);
    for (const char* section : {"TABLES", "BLOCKS", "ENTITIES"}) {
        SCOPED_TRACE(section);
        EXPECT_EQ(firstDifference(dxfSection(before, section), dxfSection(after, section)), "");
    }
    EXPECT_EQ(storedStateNames(*d.db), (std::vector<std::wstring>{L"ACAD_VIEWS_view_custom"}));
}

// -- Capturing the drawing's layers --

TEST_F(Storage, ANewStateCapturesEveryLayer) {
    editLayer(m_db, L"WALLS", [](KdDbLayerTableRecord& l) {
        l.setColor(rgbColor(0x11, 0x22, 0x33));
        l.setIsOff(true);
        l.setLineWeight(KdDb::kLnWt050);
    });
    editLayer(m_db, L"DOORS", [](KdDbLayerTableRecord& l) {
        l.setColor(indexColor(3));
        l.setIsFrozen(true);
        l.setIsLocked(true);
        l.setIsPlottable(false);
        l.setVPDFLT(true);
    });
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    m_mgr.setCurrentLayerName(L"WALLS");
    CTvLayerState* s = m_mgr.newState(L"  Captured  ", L"  all of them ");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->nameRef(), L"Captured");
    EXPECT_EQ(s->description().str(), L"all of them");
    EXPECT_EQ(s->mask(), 1023u);
    EXPECT_EQ(s->viewportFlag(), 1);
    EXPECT_EQ(s->currentLayerRef(), L"WALLS");
    ASSERT_EQ(m_mgr.layersOf(s)->size(), 3u);

    const CTvLayerStateInfo* walls = layerOf(m_mgr, s, L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(walls->flags(), kTvLayerOff | kTvLayerPlottable);
    EXPECT_GT(walls->color(), 0) << "the index is positive; the off flag says off";
    EXPECT_EQ(walls->trueColor(), 0x00332211u) << "red in the low byte";
    EXPECT_EQ(walls->linetypeRef(), L"DASHED");
    EXPECT_EQ(walls->lineweight(), 50);
    EXPECT_EQ(walls->isCurrent(), 1);

    const CTvLayerStateInfo* doors = layerOf(m_mgr, s, L"DOORS");
    ASSERT_NE(doors, nullptr);
    EXPECT_EQ(doors->flags(), kTvLayerFrozen | kTvLayerLocked | kTvLayerNewViewportFrozen)
        << "not plottable; no viewport flag in model space";
    EXPECT_EQ(doors->color(), 3);
    EXPECT_EQ(doors->trueColor(), kTvNoTrueColor);
    EXPECT_EQ(s->matchFlag(), 1) << "a state just captured agrees with the drawing";

    // Stored and read back, it is the same.
    auto back = saveAndReopen();
    expectSameState(m_mgr, s, back->mgr, back->mgr.findState(L"Captured"));
    EXPECT_EQ(back->mgr.findState(L"Captured")->matchFlag(), 1);
}

TEST_F(Storage, ACapturedColourBookColourMatchesTheDrawing) {
    editLayer(m_db, L"DOORS", [](KdDbLayerTableRecord& l) {
        l.setColor(rgbColor(0xC0, 0xB0, 0xA0, L"PANTONE 123 C", L"PANTONE+ Solid Coated"));
    });
    CTvLayerState* s = m_mgr.newState(L"Book", L"");
    ASSERT_NE(s, nullptr);
    const CTvLayerStateInfo* doors = layerOf(m_mgr, s, L"DOORS");
    ASSERT_NE(doors, nullptr);
    EXPECT_EQ(doors->trueColor(), 0x00A0B0C0u);
    EXPECT_EQ(doors->colorBookRef(), L"PANTONE+ Solid Coated$PANTONE 123 C");
    EXPECT_EQ(s->matchFlag(), 1);
}

TEST_F(Storage, ANewStateOfATakenNameOverwritesItInPlace) {
    addState(m_mgr, L"First", {});
    addState(m_mgr, L"Plan", {layerRow(L"GONE")}, 0x3, L"old");
    addState(m_mgr, L"Last", {});
    CTvLayerState* s = m_mgr.newState(L"PLAN", L"new");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(m_mgr.stateCount(), 3u);
    EXPECT_EQ(m_mgr.states()[1].get(), s);
    EXPECT_EQ(s->description().str(), L"new");
    EXPECT_EQ(s->mask(), 1023u);
    EXPECT_EQ(m_mgr.layersOf(s)->size(), 3u);
    EXPECT_EQ(layerOf(m_mgr, s, L"GONE"), nullptr);
    EXPECT_EQ(m_mgr.newState(L"   ", L"blank"), nullptr);
    EXPECT_EQ(m_mgr.stateCount(), 3u);
}

// -- States of another drawing --

TEST_F(RealDrawing, StatesOfAnotherDrawingAreListedAndImported) {
    KdDbDatabase db;
    CurrentDrawing current(db);
    CTvLayerStateManager mgr;
    mgr.setDatabase(&db);
    ASSERT_EQ(mgr.load(), 1);
    const std::wstring path = tvFromUtf8(testData("netdxf_layerstates.dxf"));
    bool ok = false;
    std::vector<std::wstring> names = CTvLayerStateManager::statesOfDrawing(path, &ok);
    EXPECT_TRUE(ok);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{L"LayerState1", L"LayerState2"}));

    ASSERT_EQ(mgr.importFromDrawing(path, {L"layerstate2"}), 1) << tvToUtf8(mgr.lastError());
    ASSERT_EQ(mgr.stateCount(), 1u);
    const CTvLayerState* two = mgr.findState(L"LayerState2");
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(mgr.layersOf(two)->size(), 7u);
    EXPECT_EQ(layerOf(mgr, two, L"ConstructionLines")->linetypeRef(), L"DOT");
    EXPECT_EQ(two->matchFlag(), 0) << "compared with this drawing";

    ASSERT_EQ(mgr.importFromDrawing(path, {L"*"}), 1);
    EXPECT_EQ(mgr.stateCount(), 2u) << "a held name is replaced, not doubled";
}

TEST_F(RealDrawing, ImportFromADrawingWithoutStatesSaysSo) {
    const fs::path plain = m_dir / "plain.dxf";
    {
        KdDbDatabase other;
        ASSERT_TRUE(layerStatesDictionary(other).isNull());
        ASSERT_EQ(other.saveAs(plain.string().c_str()), Kdad::eOk);
    }
    KdDbDatabase db;
    CurrentDrawing current(db);
    CTvLayerStateManager mgr;
    mgr.setDatabase(&db);
    bool ok = false;
    EXPECT_TRUE(CTvLayerStateManager::statesOfDrawing(plain.wstring(), &ok).empty());
    EXPECT_TRUE(ok) << "the drawing was read";
    m_ui.ui.expectMessageBox(IDOK, L"no layer states");
    EXPECT_EQ(mgr.importFromDrawing(plain.wstring(), {L"*"}), 0);
    EXPECT_EQ(mgr.stateCount(), 0u);
}

TEST_F(RealDrawing, ImportFromADrawingThatCannotBeReadFails) {
    KdDbDatabase db;
    CurrentDrawing current(db);
    CTvLayerStateManager mgr;
    mgr.setDatabase(&db);
    addState(mgr, L"Held", {layerRow(L"0")});
    const std::wstring missing = (m_dir / "missing.dxf").wstring();
    bool ok = true;
    EXPECT_TRUE(CTvLayerStateManager::statesOfDrawing(missing, &ok).empty());
    EXPECT_FALSE(ok);
    EXPECT_EQ(mgr.importFromDrawing(missing, {L"*"}), 0);
    EXPECT_FALSE(mgr.lastError().empty());

    const fs::path broken = m_dir / "broken.dxf";
    writeBytes(broken, "  0\nSECTION\n  2\nENTITIES\n  0\nLINE\n 10\nnot a number\n");
    EXPECT_EQ(mgr.importFromDrawing(broken.wstring(), {L"*"}), 0);
    EXPECT_FALSE(mgr.lastError().empty());
    EXPECT_EQ(mgr.stateCount(), 1u);
    EXPECT_NE(mgr.findState(L"Held"), nullptr);
}

} // namespace
