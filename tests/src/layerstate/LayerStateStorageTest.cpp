// Layer states kept in the drawing: saved and loaded through DXF files on disk, the stored
// record as other programs read it, legacy layer data converted, real drawings' states, new
// states captured from the layers, and states imported from another drawing.
#include "Corpus.h"
#include "layerstate/LayerStateTestSupport.h"

#include <algorithm>
#include <set>

using namespace tvtest;

namespace {

/// One section of DXF text ("TABLES", "ENTITIES" ...), codes trimmed, values as they are.
std::string dxfSection(const std::string& text, const std::string& name) {
    std::istringstream in(text);
    std::string code, value, previous, out;
    while (std::getline(in, code) && std::getline(in, value)) {
        for (std::string* s : {&code, &value})
            if (!s->empty() && s->back() == '\r')
                s->pop_back();
        const std::string pair =
            code.substr(std::min(code.find_first_not_of(' '), code.size())) + "\n" + value + "\n";
        if (out.empty() && previous == "0\nSECTION\n" && pair == "2\n" + name + "\n")
            out = previous;
        if (!out.empty()) {
            out += pair;
            if (pair == "0\nENDSEC\n")
                break;
        }
        previous = pair;
    }
    return out;
}

/// The sections a load and save of layer states must leave as they were.
void expectSectionsKept(const std::string& before, const std::string& after) {
    for (const char* section : {"TABLES", "BLOCKS", "ENTITIES"}) {
        SCOPED_TRACE(section);
        ASSERT_FALSE(dxfSection(before, section).empty());
        EXPECT_EQ(firstDifference(dxfSection(before, section), dxfSection(after, section)), "");
    }
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

    /// A second manager that loads what is stored in the drawing now.
    std::unique_ptr<CTvLayerStateManager> loadAgain() {
        auto again = std::make_unique<CTvLayerStateManager>();
        again->setDatabase(&m_db);
        EXPECT_EQ(again->load(), 1);
        return again;
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
    EXPECT_EQ(names, (std::vector<KdString>{L"WALLS", L"DOORS", L"0"}));
}

// A state marked never to be written (viewport flag 2) is left out, and removed once it is
// marked after it was stored.
TEST_F(Storage, SavingIsAFullRewrite) {
    ASSERT_EQ(m_mgr.load(), 1);
    for (const wchar_t* name : {L"One", L"Two", L"Three"})
        addState(m_mgr, name, {layerRow(L"0")});
    addState(m_mgr, L"Temporary", {layerRow(L"0")}, kTvMaskAll, L"", L"0", 2);
    addState(m_mgr, L"Converted", {layerRow(L"0")}, kTvMaskAll, L"", L"0", 0);
    ASSERT_EQ(m_mgr.save(), 1);
    std::vector<std::wstring> stored = storedStateNames(m_db);
    std::sort(stored.begin(), stored.end());
    EXPECT_EQ(stored, (std::vector<std::wstring>{L"Converted", L"One", L"Three", L"Two"}));

    EXPECT_TRUE(m_mgr.deleteState(L"TWO"));
    EXPECT_FALSE(m_mgr.deleteState(L"Two")) << "gone already";
    ASSERT_EQ(m_mgr.stateCount(), 4u);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(m_mgr.states()[static_cast<size_t>(i)]->listIndex(), i) << "numbered again";
    EXPECT_TRUE(m_mgr.renameState(L"three", L"Drei"));
    m_mgr.findState(L"One")->setViewportFlag(2);
    ASSERT_EQ(m_mgr.save(), 1);
    stored = storedStateNames(m_db);
    std::sort(stored.begin(), stored.end());
    EXPECT_EQ(stored, (std::vector<std::wstring>{L"Converted", L"Drei"}));
    auto again = loadAgain();
    EXPECT_EQ(again->stateCount(), 2u);
    EXPECT_EQ(again->findState(L"Three"), nullptr);
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
    EXPECT_EQ(storedText(m_db, L"Gone"),
              "91=1023\n301=\n290=1\n302=0\n"
              "330=WALLS\n90=8\n62=7\n370=-3\n331=Continuous\n1=Color_7\n"
              "330=DOORS\n90=8\n62=7\n370=-3\n331=Continuous\n1=Color_7\n");
    EXPECT_EQ(m_mgr.layersOf(s)->size(), 3u) << "the held state keeps it";
    auto again = loadAgain();
    EXPECT_EQ(again->layersOf(again->findState(L"Gone"))->size(), 2u);
}

// Layers and linetypes are referred to by their records (a linetype the drawing lacks as
// Continuous), true colour and book come last: a true colour without a colour book gets 92
// alone; a colour book without a true colour gets a 92 of "no true colour" and no 300 (the .las
// file writes neither).
TEST_F(Storage, TheStoredRecordHasTheHeadThenOneBlockPerLayer) {
    std::vector<LayerRow> layers = {
        {L"WALLS", 0x9, 1, kTvNoTrueColor, L"ORPHAN$BOOK", L"NOSUCH", -3, L"Color_1"},
        {L"DOORS", 0x8, 3, 0x00102030u, L"B$C", L"dashed", 25, L"Color_3"},
        {L"0", 8, 5, 0x00010203u, L"", L"Continuous", -3, L"Color_5"},
        layerRow(L"DOORS"),
    };
    addState(m_mgr, L"Layout", layers, 0x3FF, L"d", L"WALLS");
    ASSERT_EQ(m_mgr.save(), 1);
    EXPECT_EQ(storedText(m_db, L"Layout"),
              "91=1023\n301=d\n290=1\n302=WALLS\n"
              "330=WALLS\n90=9\n62=1\n370=-3\n331=Continuous\n1=Color_1\n92=-1\n"
              "330=DOORS\n90=8\n62=3\n370=25\n331=DASHED\n1=Color_3\n92=1056816\n300=B$C\n"
              "330=0\n90=8\n62=5\n370=-3\n331=Continuous\n1=Color_5\n92=66051\n"
              "330=DOORS\n90=8\n62=7\n370=-3\n331=Continuous\n1=Color_7\n");
    EXPECT_FALSE(findLinetype(m_db, L"NOSUCH").isValid()) << "saving makes no linetypes";
    auto again = loadAgain();
    layers[0].book.clear();
    layers[0].linetype = L"Continuous";
    layers[1].linetype = L"DASHED";
    EXPECT_EQ(layerRowsOf(*again, again->findState(L"Layout")), layers);
}

// The loader takes true colours under the linetype bit of the mask, not the colour bit.
TEST_F(Storage, TrueColoursLoadOnlyUnderTheLinetypeBit) {
    const LayerRow coloured{L"WALLS",      8,  5,         0x00112233u, L"BOOK$NAME",
                            L"Continuous", -3, L"Color_5"};
    addState(m_mgr, L"ColourBitOnly", {coloured}, kTvMaskAll & ~kTvMaskLinetype);
    addState(m_mgr, L"LinetypeBitOnly", {coloured}, kTvMaskLinetype);
    ASSERT_EQ(m_mgr.save(), 1);
    auto again = loadAgain();
    LayerRow without = coloured;
    without.trueColor = 0x00FFFFFFu; // six digits, not the usual no-true-colour
    without.book.clear();
    EXPECT_EQ(layerRowsOf(*again, again->findState(L"ColourBitOnly")), std::vector{without});
    EXPECT_EQ(layerRowsOf(*again, again->findState(L"LinetypeBitOnly")), std::vector{coloured});
}

TEST_F(Storage, LoadingTwiceKeepsTheHeldStates) {
    addState(m_mgr, L"Once", {layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    auto again = loadAgain();
    ASSERT_EQ(again->stateCount(), 1u);
    again->findState(L"Once")->setDescription(L"edited in memory");
    ASSERT_EQ(again->load(), 1);
    ASSERT_EQ(again->stateCount(), 1u);
    EXPECT_EQ(again->findState(L"Once")->description().str(), L"edited in memory");
    CTvLayerStateManager none;
    EXPECT_EQ(none.load(), 0) << "no drawing";
    EXPECT_EQ(none.save(), 0);
}

// -- Records written by other programs --

class StoredForms : public Storage {
protected:
    /// A state with WALLS and DOORS by reference, stored with `mask`.
    void storeReferenceForm(const wchar_t* key, int32_t mask) {
        EntityName walls(findLayer(m_db, L"WALLS")), doors(findLayer(m_db, L"DOORS"));
        EntityName dashed(findLinetype(m_db, L"DASHED"));
        EntityName cont(findLinetype(m_db, L"Continuous"));
        KdResbufPtr list(
            kdutBuildList(91, mask, 301, L"by reference", 290, 1, 302, L"WALLS",
                          // layer, flags, colour, lineweight, linetype, plot style, transparency
                          330, walls.get(), 90, int32_t{9}, 62, 5, 370, 25, 331, dashed.get(), 1,
                          L"Color_5", 440, int32_t{0}, 330, doors.get(), 90, int32_t{8}, 62, 3, 370,
                          -3, 331, cont.get(), 1, L"Color_3", 440, int32_t{33554508}, RTNONE));
        ASSERT_NE(list, nullptr);
        storeRawState(m_db, key, list.get());
    }
    /// A state with WALLS and DOORS by name, stored with `mask`.
    void storeNameForm(const wchar_t* key, int32_t mask) {
        KdResbufPtr list(kdutBuildList(91, mask, 301, L"by name", 290, 1, 302, L"DOORS", 8,
                                       L"WALLS", 90, int32_t{12}, 62, 6, 370, 35, 6, L"DASHED", 2,
                                       L"Mine", 8, L"DOORS", 90, int32_t{8}, 62, 2, 370, -3, 6,
                                       L"Continuous", 2, L"Color_2", RTNONE));
        ASSERT_NE(list, nullptr);
        storeRawState(m_db, key, list.get());
    }
};

// Below 32768 references are resolved; from 32768 on, the entries are taken as stored.
TEST_F(StoredForms, TheReferenceFormLoadsBelowTheStorageMarker) {
    storeReferenceForm(L"ByReference", 1023);
    storeReferenceForm(L"Below", 32767);
    storeReferenceForm(L"Marked", 32768);
    ASSERT_EQ(m_mgr.load(), 1);
    const CTvLayerState* s = m_mgr.findState(L"ByReference");
    EXPECT_EQ(headOf(s), (StateHead{L"ByReference", 1023, L"by reference", 1, L"WALLS"}));
    const std::vector<LayerRow> layers = {
        {L"WALLS", 9, 5, kTvNoTrueColor, L"", L"DASHED", 25, L"Color_5"},
        {L"DOORS", 8, 3, kTvNoTrueColor, L"", L"Continuous", -3, L"Color_3"}};
    EXPECT_EQ(layerRowsOf(m_mgr, s), layers);
    EXPECT_EQ(layerOf(m_mgr, s, L"WALLS")->isCurrent(), 1);
    EXPECT_EQ(headOf(m_mgr.findState(L"Below")).mask, 32767u);
    EXPECT_EQ(layerRowsOf(m_mgr, m_mgr.findState(L"Below")), layers);
    const CTvLayerState* marked = m_mgr.findState(L"Marked");
    EXPECT_EQ(headOf(marked), (StateHead{L"Marked", 32768, L"by reference", 1, L"WALLS"}));
    ASSERT_NE(m_mgr.layersOf(marked), nullptr);
    EXPECT_EQ(m_mgr.layersOf(marked)->size(), 0u);
}

TEST_F(StoredForms, TheNameFormLoadsWithOrWithoutTheMarker) {
    storeNameForm(L"ByName", 1023);
    storeNameForm(L"ByNameMarked", 0x8000 | 1023);
    ASSERT_EQ(m_mgr.load(), 1);
    for (const wchar_t* key : {L"ByName", L"ByNameMarked"}) {
        SCOPED_TRACE(tvToUtf8(key));
        const CTvLayerState* s = m_mgr.findState(key);
        EXPECT_EQ(layerRowsOf(m_mgr, s),
                  (std::vector<LayerRow>{
                      {L"WALLS", 12, 6, kTvNoTrueColor, L"", L"DASHED", 35, L"Mine"},
                      {L"DOORS", 8, 2, kTvNoTrueColor, L"", L"Continuous", -3, L"Color_2"}}));
        EXPECT_EQ(layerOf(m_mgr, s, L"DOORS")->isCurrent(), 1);
    }
}

// Wrong: a state stored with the 0x8000 marker is saved back by reference, which the marker then
// keeps from being resolved: after one save and load the state has no layers left.
TEST_F(StoredForms, AMarkedStateKeepsItsLayersThroughSaveAndLoad) {
    storeNameForm(L"Marked", 0x8000 | 1023);
    ASSERT_EQ(m_mgr.load(), 1);
    ASSERT_EQ(m_mgr.layersOf(m_mgr.findState(L"Marked"))->size(), 2u);
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

// A state whose current layer the drawing lacks marks the drawing's current layer, as the
// drawing gives it to a manager that was not told.
TEST_F(Storage, TheStatesCurrentLayerIsMarkedOrElseTheDrawingsCurrentLayer) {
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    const std::vector<LayerRow> layers = {layerRow(L"0"), layerRow(L"WALLS"), layerRow(L"DOORS")};
    addState(m_mgr, L"Doors", layers, kTvMaskAll, L"", L"doors");
    addState(m_mgr, L"Ghost", layers, kTvMaskAll, L"", L"GHOST");
    ASSERT_EQ(m_mgr.save(), 1);
    auto again = loadAgain();
    const CTvLayerState* doors = again->findState(L"Doors");
    EXPECT_EQ(layerOf(*again, doors, L"DOORS")->isCurrent(), 1);
    EXPECT_EQ(layerOf(*again, doors, L"WALLS")->isCurrent(), 0);
    const CTvLayerState* ghost = again->findState(L"Ghost");
    EXPECT_EQ(layerOf(*again, ghost, L"WALLS")->isCurrent(), 1);
    EXPECT_EQ(layerOf(*again, ghost, L"0")->isCurrent(), 0);
}

// A layer erased after the state was stored leaves a reference nothing answers to; its
// properties must not land on the layer stored before it.
// Wrong: the unresolved block's 90, 62, 370, 331 and 1 overwrite the previous layer's values.
TEST_F(Storage, AReferenceToAnErasedLayerDoesNotSpillIntoItsNeighbour) {
    const std::vector<LayerRow> layers = {
        {L"WALLS", 8, 1, kTvNoTrueColor, L"", L"DASHED", 50, L"Color_1"},
        {L"DOORS", 0x9, 3, kTvNoTrueColor, L"", L"HIDDEN", 25, L"Color_3"},
        layerRow(L"0")};
    addState(m_mgr, L"Erased", layers);
    ASSERT_EQ(m_mgr.save(), 1);
    {
        KdDbObjectPointer<KdDbLayerTableRecord> doors(findLayer(m_db, L"DOORS"), KdDb::kForWrite);
        ASSERT_TRUE(doors);
        ASSERT_EQ(doors->erase(), Kdad::eOk);
    }
    auto again = loadAgain();
    EXPECT_EQ(layerRowsOf(*again, again->findState(L"Erased")),
              (std::vector<LayerRow>{layers[0], layers[2]}));
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
    for (const wchar_t* name : {L"OLDLAYER", L"LOCKED", L"FROZEN"})
        addLayer(m_db, name);
    addLegacyData(L"OLDLAYER", L"{Old plan", 5, -3, L"DASHED");
    // Flag bits and the colour's sign are read one by one.
    addLegacyData(L"LOCKED", L"{A", 4, 2, L"Continuous");
    addLegacyData(L"FROZEN", L"{B", 1, 6, L"Continuous");
    addLegacyData(L"WALLS", L"plain text", 5, 3, L"Continuous"); // no brace: no state
    ASSERT_EQ(m_mgr.load(), 1);
    ASSERT_EQ(m_mgr.stateCount(), 3u);
    const CTvLayerState* s = m_mgr.findState(L"LMAN_Old plan");
    EXPECT_EQ(headOf(s), (StateHead{L"LMAN_Old plan", 1023, L"", 0, L"0"}));
    const CTvLayerStateInfo* old = layerOf(m_mgr, s, L"OLDLAYER");
    ASSERT_NE(old, nullptr);
    EXPECT_EQ(old->flags() & 0x7, kTvLayerOff | kTvLayerFrozen | kTvLayerLocked);
    EXPECT_EQ(old->color(), 3);
    EXPECT_EQ(old->linetypeRef(), L"DASHED");
    EXPECT_EQ(old->trueColor(), kTvNoTrueColor);
    EXPECT_EQ(old->colorBookRef(), L"");
    const CTvLayerStateInfo* locked = layerOf(m_mgr, m_mgr.findState(L"LMAN_A"), L"LOCKED");
    const CTvLayerStateInfo* frozen = layerOf(m_mgr, m_mgr.findState(L"LMAN_B"), L"FROZEN");
    ASSERT_NE(locked, nullptr);
    ASSERT_NE(frozen, nullptr);
    EXPECT_EQ(locked->flags() & 0x7, kTvLayerLocked);
    EXPECT_EQ(locked->color(), 2);
    EXPECT_EQ(frozen->flags() & 0x7, kTvLayerFrozen);
    EXPECT_EQ(frozen->color(), 6);
    std::vector<std::wstring> legacy = m_mgr.legacyLayers();
    std::sort(legacy.begin(), legacy.end());
    EXPECT_EQ(legacy, (std::vector<std::wstring>{L"FROZEN", L"LOCKED", L"OLDLAYER"}));
}

TEST_F(Legacy, ConvertedNamesAreMadeValidAndUnique) {
    addState(m_mgr, L"LMAN_Taken", {layerRow(L"0")});
    ASSERT_EQ(m_mgr.save(), 1);
    m_mgr.clear();
    for (const wchar_t* name : {L"L1", L"L2", L"L3", L"L4"})
        addLayer(m_db, name);
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

// -- Drawings of other programs --

class CorpusLayerStates : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        TV_REQUIRE_CORPUS("netdxf_layerstates.dxf");
        TV_REQUIRE_CORPUS("showcase_r2018.dxf");
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }
    ModuleResources m_res;
    ScriptedUi m_ui;
    TempDir m_dir;
};

TEST_F(CorpusLayerStates, TheStatesOfNetDxfLoadWithTheirLayersAndSurviveASave) {
    OpenedDrawing d(corpusFile("netdxf_layerstates.dxf"));
    const std::string before = drawingText(*d.db);
    ASSERT_EQ(d.mgr.load(), 1);
    ASSERT_EQ(d.mgr.stateCount(), 2u);
    const CTvLayerState* one = d.mgr.findState(L"LayerState1");
    const CTvLayerState* two = d.mgr.findState(L"LayerState2");
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(headOf(one),
              (StateHead{L"LayerState1", 2047, L"Description for LayerState1", 0, L"0"}));
    std::vector<std::wstring> names;
    for (const LayerRow& layer : layerRowsOf(d.mgr, one))
        names.push_back(layer.name);
    EXPECT_EQ(names,
              (std::vector<std::wstring>{L"ConstructionLines", L"Groups", L"EntityProperties",
                                         L"Layer2", L"Layer1", L"Defpoints", L"0"}));
    const CTvLayerStateInfo* lines = layerOf(d.mgr, one, L"ConstructionLines");
    ASSERT_NE(lines, nullptr);
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

    // A load and save keeps what it does not change.
    ASSERT_EQ(d.mgr.save(), 1);
    expectSectionsKept(before, drawingText(*d.db));
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

// Its state was written by another program, with the storage-form marker: it is not read into
// layers, but a save writes it back as it was, so that the Host's own reader still finds every
// layer of it, and changes nothing else.
TEST_F(CorpusLayerStates, TheShowcaseStateLoadsAndTheCycleKeepsTheRest) {
    const wchar_t* name = L"ACAD_VIEWS_view_custom";
    OpenedDrawing d(corpusFile("showcase_r2018.dxf"));
    const std::string before = drawingText(*d.db);
    std::vector<KdString> layersBefore, layersAfter;
    ASSERT_EQ(d.db->getLayerStateManager()->getLayerStateLayers(layersBefore, name), Kdad::eOk);
    ASSERT_FALSE(layersBefore.empty());
    ASSERT_EQ(d.mgr.load(), 1);
    ASSERT_EQ(d.mgr.stateCount(), 1u);
    EXPECT_EQ(headOf(d.mgr.findState(name)), (StateHead{name, 33280, L"", 0, L"0"}));
    ASSERT_EQ(d.mgr.save(), 1);
    expectSectionsKept(before, drawingText(*d.db));
    EXPECT_EQ(storedStateNames(*d.db), (std::vector<std::wstring>{name}));
    auto back = reloaded(*d.db);
    ASSERT_EQ(back->getLayerStateManager()->getLayerStateLayers(layersAfter, name), Kdad::eOk);
    EXPECT_EQ(layersAfter, layersBefore);
    EXPECT_EQ(back->getLayerStateManager()->layerStateMask(name), 33280);
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
    editLayer(m_db, L"0", [](KdDbLayerTableRecord& l) {
        l.setColor(rgbColor(0xC0, 0xB0, 0xA0, L"PANTONE 123 C", L"PANTONE+ Solid Coated"));
    });
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    m_mgr.setCurrentLayerName(L"WALLS");
    CTvLayerState* s = m_mgr.newState(L"  Captured  ", L"  all of them ");
    EXPECT_EQ(headOf(s), (StateHead{L"Captured", 1023, L"all of them", 1, L"WALLS"}));
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
    const CTvLayerStateInfo* zero = layerOf(m_mgr, s, L"0");
    ASSERT_NE(zero, nullptr);
    EXPECT_EQ(zero->trueColor(), 0x00A0B0C0u);
    EXPECT_EQ(zero->colorBookRef(), L"PANTONE+ Solid Coated$PANTONE 123 C");
    EXPECT_EQ(s->matchFlag(), 1) << "a state just captured agrees with the drawing";

    // Stored and read back, it is the same.
    auto back = saveAndReopen();
    expectSameState(m_mgr, s, back->mgr, back->mgr.findState(L"Captured"));
    EXPECT_EQ(back->mgr.findState(L"Captured")->matchFlag(), 1);
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

/// An empty drawing made current, with a manager that imports into it, and another drawing
/// on disk with two states the module saved there: "Day" and "Night".
class ImportFromDrawing : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        KdDbDatabase other(false);
        readGenerated(other, generatedDrawing());
        {
            CurrentDrawing current(other);
            CTvLayerStateManager mgr;
            mgr.setDatabase(&other);
            addState(mgr, L"Day", {layerRow(L"Layer1"), layerRow(L"Layer2")});
            addState(mgr, L"Night",
                     {layerRow(L"Layer1", kTvLayerFrozen, 5), layerRow(L"Layer2"),
                      layerRow(L"Layer3", kTvLayerOff | kTvLayerPlottable)},
                     kTvMaskAll, L"after dark");
            ASSERT_EQ(mgr.save(), 1);
        }
        ASSERT_EQ(other.saveAs(m_other.string().c_str()), Kdad::eOk);
        m_current = std::make_unique<CurrentDrawing>(m_db);
        m_mgr.setDatabase(&m_db);
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }

    ModuleResources m_res;
    ScriptedUi m_ui;
    TempDir m_dir;
    const fs::path m_other = m_dir / "other.dxf";
    KdDbDatabase m_db;
    std::unique_ptr<CurrentDrawing> m_current;
    CTvLayerStateManager m_mgr;
};

TEST_F(ImportFromDrawing, StatesOfAnotherDrawingAreListedAndImported) {
    ASSERT_EQ(m_mgr.load(), 1);
    const std::wstring path = m_other.wstring();
    bool ok = false;
    std::vector<std::wstring> names = CTvLayerStateManager::statesOfDrawing(path, &ok);
    EXPECT_TRUE(ok);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Day", L"Night"}));

    ASSERT_EQ(m_mgr.importFromDrawing(path, {L"night"}), 1) << tvToUtf8(m_mgr.lastError());
    ASSERT_EQ(m_mgr.stateCount(), 1u);
    const CTvLayerState* night = m_mgr.findState(L"Night");
    ASSERT_NE(night, nullptr);
    EXPECT_EQ(night->description().str(), L"after dark");
    EXPECT_EQ(layerRowsOf(m_mgr, night),
              (std::vector<LayerRow>{layerRow(L"Layer1", kTvLayerFrozen, 5), layerRow(L"Layer2"),
                                     layerRow(L"Layer3", kTvLayerOff | kTvLayerPlottable)}));
    EXPECT_EQ(night->matchFlag(), 0) << "compared with this drawing";

    ASSERT_EQ(m_mgr.importFromDrawing(path, {L"*"}), 1);
    EXPECT_EQ(m_mgr.stateCount(), 2u) << "a held name is replaced, not doubled";
}

TEST_F(ImportFromDrawing, ADrawingWithoutStatesSaysSo) {
    const fs::path plain = m_dir / "plain.dxf";
    {
        KdDbDatabase other;
        ASSERT_TRUE(layerStatesDictionary(other).isNull());
        ASSERT_EQ(other.saveAs(plain.string().c_str()), Kdad::eOk);
    }
    bool ok = false;
    EXPECT_TRUE(CTvLayerStateManager::statesOfDrawing(plain.wstring(), &ok).empty());
    EXPECT_TRUE(ok) << "the drawing was read";
    m_ui.ui.expectMessageBox(IDOK, L"no layer states");
    EXPECT_EQ(m_mgr.importFromDrawing(plain.wstring(), {L"*"}), 0);
    EXPECT_EQ(m_mgr.stateCount(), 0u);
}

TEST_F(ImportFromDrawing, ADrawingThatCannotBeReadFails) {
    addState(m_mgr, L"Held", {layerRow(L"0")});
    const std::wstring missing = (m_dir / "missing.dxf").wstring();
    bool ok = true;
    EXPECT_TRUE(CTvLayerStateManager::statesOfDrawing(missing, &ok).empty());
    EXPECT_FALSE(ok);
    EXPECT_EQ(m_mgr.importFromDrawing(missing, {L"*"}), 0);
    EXPECT_FALSE(m_mgr.lastError().empty());

    const fs::path broken = m_dir / "broken.dxf";
    writeBytes(broken, "  0\nSECTION\n  2\nENTITIES\n  0\nLINE\n 10\nnot a number\n");
    EXPECT_EQ(m_mgr.importFromDrawing(broken.wstring(), {L"*"}), 0);
    EXPECT_FALSE(m_mgr.lastError().empty());
    EXPECT_EQ(m_mgr.stateCount(), 1u);
    EXPECT_NE(m_mgr.findState(L"Held"), nullptr);
}

} // namespace
