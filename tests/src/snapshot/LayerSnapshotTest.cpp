// The layer snapshot: filled from the drawing's layer table, searched by name ignoring case,
// and written back so that exactly the changed layers change and nothing else is lost.
#include "layerstate/LayerStateTestSupport.h"
#include "snapshot/CKdadLayerP.h"

namespace {

using tvtest::addLinetype;
using tvtest::editLayer;
using tvtest::indexColor;

/// Everything a user can see of a layer, as one line of text.
std::string describe(KdDbObjectId id) {
    KdDbObjectPointer<KdDbLayerTableRecord> l(id, KdDb::kForRead);
    if (!l)
        return "<no layer>";
    KdDbObjectPointer<KdDbSymbolTableRecord> lt(l->linetypeObjectId(), KdDb::kForRead);
    const KdCmColor c = l->color();
    return tvToUtf8(l->name().str()) + " off=" + std::to_string(l->isOff()) +
           " frozen=" + std::to_string(l->isFrozen()) + " locked=" + std::to_string(l->isLocked()) +
           " plot=" + std::to_string(l->isPlottable()) + " vpdflt=" + std::to_string(l->VPDFLT()) +
           " colour=" + std::to_string(c.color()) + " names=" + tvToUtf8(c.bookName()) + "$" +
           tvToUtf8(c.colorName()) + " linetype=" + (lt ? tvToUtf8(lt->name().str()) : "?") +
           " lineweight=" + std::to_string(l->lineWeight()) +
           " plotstyle=" + tvToUtf8(l->plotStyleName().str()) +
           " transparency=" + std::to_string(l->transparency().serializeOut()) +
           " description=" + tvToUtf8(l->description().str());
}

std::vector<std::string> describeAll(KdDbDatabase& db) {
    std::vector<std::string> out;
    KdDbLayerTable* table = nullptr;
    EXPECT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    if (!table)
        return out;
    std::vector<KdDbObjectId> ids;
    for (auto it = table->iterator(); !it->done(); it->step())
        ids.push_back(it->getRecordId());
    table->close();
    for (const KdDbObjectId& id : ids)
        out.push_back(describe(id));
    return out;
}

class Snapshot : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        addLinetype(m_db, L"DASHED");
        for (const wchar_t* name : {L"WALLS", L"DOORS", L"Ärger", L"Стены"})
            tvtest::addLayer(m_db, name);
        editLayer(m_db, L"WALLS", [&](KdDbLayerTableRecord& l) {
            l.setColor(indexColor(1));
            l.setIsOff(true);
            l.setIsLocked(true);
            l.setLineWeight(KdDb::kLnWt050);
            l.setLinetypeObjectId(tvtest::findLinetype(m_db, L"DASHED"));
        });
        editLayer(m_db, L"DOORS", [](KdDbLayerTableRecord& l) {
            KdCmColor c;
            c.setRGB(0xC0, 0xB0, 0xA0);
            c.setNames(L"NAME", L"BOOK");
            l.setColor(c);
            l.setIsFrozen(true);
            l.setVPDFLT(true);
            l.setIsPlottable(false);
        });
        ASSERT_EQ(m_db.setClayer(tvtest::findLayer(m_db, L"Ärger")), Kdad::eOk);
    }
    void TearDown() override { kdedDatabaseClosed(&m_db); }

    tvtest::ModuleResources m_res;
    KdDbDatabase m_db;
};

TEST_F(Snapshot, FillReadsEveryLayerAndTheCurrentOne) {
    kdedSetCurrentDatabase(&m_db);
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&m_db));
    EXPECT_EQ(snap.size(), 5u);
    EXPECT_EQ(snap.currentLayer(), L"Ärger");

    const CKdadLayerEntry* walls = snap.find(L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(walls->color, -1) << "negative: off";
    EXPECT_EQ(walls->flags, 4);
    EXPECT_EQ(walls->linetype, L"DASHED");
    EXPECT_EQ(walls->lineweight, 50);
    EXPECT_TRUE(walls->plottable);
    EXPECT_EQ(walls->rgb, -1);
    EXPECT_EQ(walls->book, L"");

    const CKdadLayerEntry* doors = snap.find(L"DOORS");
    ASSERT_NE(doors, nullptr);
    EXPECT_EQ(doors->flags, 1 | 2);
    EXPECT_FALSE(doors->plottable);
    EXPECT_EQ(doors->rgb, 0xC0B0A0);
    EXPECT_EQ(doors->book, L"BOOK$NAME");
    EXPECT_GT(doors->color, 0);
    EXPECT_EQ(doors->linetype, L"Continuous");
    EXPECT_FALSE(snap.isFrozenInCurrentViewport(L"DOORS")) << "model space";

    CKdadLayerP none;
    EXPECT_FALSE(none.fill(nullptr));
    EXPECT_EQ(none.size(), 0u);
}

TEST_F(Snapshot, FindIgnoresCaseInEveryAlphabet) {
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&m_db));
    const CKdadLayerEntry* walls = snap.find(L"WALLS");
    ASSERT_NE(walls, nullptr);
    EXPECT_EQ(snap.find(L"WaLlS"), walls);
    ASSERT_NE(snap.find(L"ärger"), nullptr);
    EXPECT_EQ(snap.find(L"ÄRGER")->name, L"Ärger");
    ASSERT_NE(snap.find(L"СТЕНЫ"), nullptr);
    EXPECT_EQ(snap.find(L"стены")->name, L"Стены");
    EXPECT_EQ(snap.find(L"WALL"), nullptr);
    EXPECT_EQ(snap.find(L"WALLS "), nullptr);
    EXPECT_EQ(snap.find(L""), nullptr);
}

// WALLS gets another colour, on and unlocked; DOORS goes back from its true colour to an index
// colour; Ärger gets a colour-book colour and is turned off.
TEST_F(Snapshot, WriteBackChangesExactlyTheChangedLayers) {
    kdedSetCurrentDatabase(&m_db);
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&m_db));
    const std::vector<std::string> before = describeAll(m_db);
    const std::string spareList = tvtest::layerListText(m_db, L"Стены");

    CKdadLayerEntry* walls = snap.find(L"walls");
    walls->color = 2; // on, colour 2
    walls->flags = 0;
    walls->lineweight = 25;
    walls->changed = true;
    CKdadLayerEntry* doors = snap.find(L"DOORS");
    doors->rgb = -1;
    doors->book.clear();
    doors->color = 3;
    doors->changed = true;
    CKdadLayerEntry* aerger = snap.find(L"Ärger");
    aerger->color = -7; // negative: off
    aerger->rgb = 0x102030;
    aerger->book = L"RAL$RAL 1000";
    aerger->changed = true;
    snap.find(L"Стены")->color = 5; // changed in memory, but not marked
    ASSERT_EQ(snap.writeBack(), 3);

    const std::vector<std::string> after = describeAll(m_db);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        const bool marked = before[i].rfind("WALLS ", 0) == 0 ||
                            before[i].rfind("DOORS ", 0) == 0 || before[i].rfind("Ärger ", 0) == 0;
        EXPECT_EQ(after[i] != before[i], marked) << before[i];
    }
    EXPECT_EQ(tvtest::layerListText(m_db, L"Стены"), spareList);
    EXPECT_FALSE(walls->changed) << "written, so no longer changed";
    {
        KdDbObjectPointer<KdDbLayerTableRecord> l(tvtest::findLayer(m_db, L"WALLS"),
                                                  KdDb::kForRead);
        ASSERT_TRUE(l);
        EXPECT_FALSE(l->isOff());
        EXPECT_FALSE(l->isLocked());
        EXPECT_EQ(l->color().colorIndex(), 2);
        EXPECT_EQ(l->lineWeight(), KdDb::kLnWt025);
    }
    {
        KdDbObjectPointer<KdDbLayerTableRecord> l(tvtest::findLayer(m_db, L"DOORS"),
                                                  KdDb::kForRead);
        ASSERT_TRUE(l);
        EXPECT_TRUE(l->color().isByACI());
        EXPECT_EQ(l->color().colorIndex(), 3);
        EXPECT_FALSE(l->color().hasBookName());
        EXPECT_TRUE(l->isFrozen()) << "the rest stays";
    }
    {
        KdDbObjectPointer<KdDbLayerTableRecord> l(tvtest::findLayer(m_db, L"Ärger"),
                                                  KdDb::kForRead);
        ASSERT_TRUE(l);
        EXPECT_TRUE(l->color().isByColor());
        EXPECT_EQ(l->color().trueColor24(), 0x102030u);
        EXPECT_EQ(std::wstring(l->color().bookName()), L"RAL");
        EXPECT_EQ(std::wstring(l->color().colorName()), L"RAL 1000");
        EXPECT_TRUE(l->isOff()) << "the sign of the colour still says off";
    }
    CKdadLayerP again;
    ASSERT_TRUE(again.fill(&m_db));
    EXPECT_EQ(again.find(L"Ärger")->rgb, 0x102030);
    EXPECT_EQ(again.find(L"Ärger")->book, L"RAL$RAL 1000");
    EXPECT_EQ(again.find(L"DOORS")->rgb, -1);

    const std::string text = tvtest::drawingText(m_db);
    EXPECT_EQ(snap.writeBack(), 0);
    EXPECT_EQ(tvtest::firstDifference(text, tvtest::drawingText(m_db)), "");
}

TEST_F(Snapshot, TheCurrentLayerIsWrittenBackToo) {
    kdedSetCurrentDatabase(&m_db);
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&m_db));
    snap.setCurrentLayer(L"WALLS");
    EXPECT_EQ(snap.writeBack(), 0) << "no layer changed";
    KdDbObjectPointer<KdDbLayerTableRecord> cur(m_db.clayer(), KdDb::kForRead);
    ASSERT_TRUE(cur);
    EXPECT_EQ(cur->name().str(), L"WALLS");
}

TEST_F(Snapshot, RefreshDropsWhatWasNotWrittenAndAddLayerTakesNewOnes) {
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&m_db));
    snap.find(L"WALLS")->color = 9;
    snap.find(L"WALLS")->changed = true;
    const KdDbObjectId fresh = tvtest::addLayer(m_db, L"FRESH");
    EXPECT_EQ(snap.find(L"FRESH"), nullptr);

    CKdadLayerEntry* added = snap.addLayer(fresh);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->name, L"FRESH");
    EXPECT_EQ(snap.find(L"fresh"), added);
    EXPECT_EQ(snap.size(), 6u);
    EXPECT_EQ(snap.addLayer(fresh), snap.find(L"FRESH")) << "no second entry";
    EXPECT_EQ(snap.size(), 6u);
    EXPECT_EQ(snap.addLayer(tvtest::findLinetype(m_db, L"DASHED")), nullptr) << "not a layer";
    EXPECT_EQ(snap.addLayer(KdDbObjectId()), nullptr);

    ASSERT_TRUE(snap.refresh());
    EXPECT_EQ(snap.size(), 6u);
    EXPECT_EQ(snap.find(L"WALLS")->color, -1);
    EXPECT_FALSE(snap.find(L"WALLS")->changed);
}

// -- Generated drawings --

TEST(SnapshotOfADrawing, WritingEveryLayerBackUnchangedLosesNothing) {
    tvtest::ModuleResources res;
    KdDbDatabase db(false);
    tvtest::readGenerated(db, tvtest::generatedDrawing());
    kdedSetCurrentDatabase(&db);
    const std::vector<std::string> before = describeAll(db);
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&db));
    ASSERT_GT(snap.size(), 10u);
    for (size_t i = 0; i < snap.size(); ++i)
        snap.at(i).changed = true;
    EXPECT_EQ(snap.writeBack(), static_cast<int>(snap.size()));
    const std::vector<std::string> after = describeAll(db);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(after[i], before[i]);
    kdedDatabaseClosed(&db);
}

// The first layout's viewport 2 freezes Layer7 and not Layer2, its viewport 3 the other way
// round; Layer16 is frozen everywhere.
TEST(SnapshotOfADrawing, LayersFrozenInTheCurrentViewportAreKnown) {
    tvtest::ModuleResources res;
    KdDbDatabase db(false);
    tvtest::readGenerated(db, tvtest::generatedDrawing());
    kdedSetCurrentDatabase(&db);
    ASSERT_EQ(db.setTilemode(false), Kdad::eOk);
    ASSERT_EQ(kdedSetShortVar(L"CVPORT", 2), RTNORM);
    CKdadLayerP snap;
    ASSERT_TRUE(snap.fill(&db));
    EXPECT_TRUE(snap.isFrozenInCurrentViewport(L"layer7"));
    EXPECT_FALSE(snap.isFrozenInCurrentViewport(L"Layer2"));
    EXPECT_EQ(snap.find(L"Layer16")->flags & 1, 1) << "frozen everywhere is another thing";
    EXPECT_FALSE(snap.isFrozenInCurrentViewport(L"Layer16"));

    ASSERT_EQ(kdedSetShortVar(L"CVPORT", 3), RTNORM);
    ASSERT_TRUE(snap.refresh());
    EXPECT_FALSE(snap.isFrozenInCurrentViewport(L"Layer7"));
    EXPECT_TRUE(snap.isFrozenInCurrentViewport(L"LAYER2"));

    ASSERT_EQ(db.setTilemode(true), Kdad::eOk);
    ASSERT_TRUE(snap.refresh());
    EXPECT_FALSE(snap.isFrozenInCurrentViewport(L"Layer2")) << "model space has no viewport";
    kdedDatabaseClosed(&db);
}

} // namespace
