// Restoring a layer state onto the drawing: what each restore box changes and what it leaves,
// layers and linetypes the drawing lacks, the current layer, layers the state does not hold,
// layouts and viewports, and the comparison of the state with the drawing before and after.
#include "Corpus.h"
#include "layerstate/LayerStateTestSupport.h"

#include "snapshot/CKdadLayerP.h"

#include "tv/KdConfigData.h"
#include "tv/KdDbViewport.h"

#include <functional>
#include <ostream>

using namespace tvtest;

namespace {

/// What a user sees of a layer in the layer list.
struct LayerProps {
    bool off = false;
    bool frozen = false;
    bool locked = false;
    bool plottable = true;
    bool newViewportFrozen = false;
    uint32_t color = 0;
    std::wstring colorNames;
    std::wstring linetype;
    int lineweight = 0;
    bool operator==(const LayerProps&) const = default;
};

std::ostream& operator<<(std::ostream& os, const LayerProps& p) {
    return os << "off " << p.off << " frozen " << p.frozen << " locked " << p.locked << " plot "
              << p.plottable << " vpdflt " << p.newViewportFrozen << " colour 0x" << std::hex
              << p.color << std::dec << " '" << tvToUtf8(p.colorNames) << "' linetype "
              << tvToUtf8(p.linetype) << " lineweight " << p.lineweight;
}

LayerProps propsOf(KdDbDatabase& db, const wchar_t* name) {
    LayerProps p;
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, name), KdDb::kForRead);
    EXPECT_TRUE(layer) << "no layer " << tvToUtf8(name);
    if (!layer)
        return p;
    p.off = layer->isOff();
    p.frozen = layer->isFrozen();
    p.locked = layer->isLocked();
    p.plottable = layer->isPlottable();
    p.newViewportFrozen = layer->VPDFLT();
    p.color = layer->color().color();
    p.colorNames = std::wstring(layer->color().bookName()) + L"$" + layer->color().colorName();
    p.linetype = linetypeOf(db, name);
    p.lineweight = layer->lineWeight();
    return p;
}

class Restore : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        addSampleTables(m_db, {L"WALLS", L"DOORS", L"EXTRA"});
        editLayer(m_db, L"WALLS", [&](KdDbLayerTableRecord& l) {
            l.setColor(indexColor(1));
            l.setLinetypeObjectId(findLinetype(m_db, L"DASHED"));
            l.setLineWeight(KdDb::kLnWt050);
        });
        editLayer(m_db, L"DOORS", [&](KdDbLayerTableRecord& l) { l.setColor(indexColor(3)); });
        editLayer(m_db, L"EXTRA", [&](KdDbLayerTableRecord& l) { l.setColor(indexColor(4)); });
        m_mgr.setDatabase(&m_db);
        m_mgr.setCurrentLayerName(L"0");
        ASSERT_EQ(m_mgr.load(), 1);
        // WALLS off, frozen and locked, not plotted, a true colour, another linetype and
        // lineweight; DOORS frozen in new viewports; EXTRA is not in the state.
        m_state = addState(m_mgr, L"Target",
                           {
                               {L"WALLS", kTvLayerOff | kTvLayerFrozen | kTvLayerLocked,
                                m_wallsIndex, 0x00332211u, L"", L"HIDDEN", 25, L"Color_5"},
                               {L"DOORS", kTvLayerPlottable | kTvLayerNewViewportFrozen, 6,
                                kTvNoTrueColor, L"", L"DASHED", 35, L"Color_6"},
                               layerRow(L"0"),
                           },
                           kTvMaskAll | kTvMaskKept, L"", L"DOORS");
        ASSERT_NE(m_state, nullptr);
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }

    ModuleResources m_res;
    PrivateSettings m_settings;
    KdDbDatabase m_db;
    CurrentDrawing m_current{m_db};
    ScriptedUi m_ui;
    CTvLayerStateManager m_mgr;
    CTvLayerState* m_state = nullptr;
    // A true colour's index is the palette colour nearest to it, as the drawing keeps it.
    const int m_wallsIndex = kdcmNearestColorIndex(0x11, 0x22, 0x33);
};

// In a drawing with colour-dependent plot styles the state's "Color_N" names are not written
// as named plot styles: the plot style follows the colour, so its box changes nothing either.
TEST_F(Restore, RestoringAStateJustCapturedChangesNothing) {
    editLayer(m_db, L"DOORS", [](KdDbLayerTableRecord& l) {
        l.setColor(rgbColor(0xC0, 0xB0, 0xA0, L"PANTONE 123 C", L"PANTONE+ Solid Coated"));
        l.setIsLocked(true);
        l.setIsPlottable(false);
    });
    ASSERT_EQ(m_db.setClayer(findLayer(m_db, L"WALLS")), Kdad::eOk);
    CTvLayerState* captured = m_mgr.newState(L"Now", L"");
    ASSERT_NE(captured, nullptr);
    const std::string before = drawingText(m_db);
    ASSERT_TRUE(m_db.plotStyleMode()) << "colour-dependent plot styles";
    for (const uint32_t boxes : {kTvMaskAll & ~kTvMaskPlotStyle, uint32_t{kTvMaskAll}}) {
        m_mgr.setRestoreBoxes(boxes);
        ASSERT_EQ(m_mgr.restore(captured), 1);
        EXPECT_EQ(firstDifference(before, drawingText(m_db)), "") << "boxes " << boxes;
        EXPECT_EQ(captured->matchFlag(), 1);
    }
}

struct BoxCase {
    const char* label;
    uint32_t box;
    std::function<void(LayerProps& walls, LayerProps& doors)> expect;
};

void PrintTo(const BoxCase& c, std::ostream* os) {
    *os << c.label;
}

class RestoreOneBox : public Restore, public ::testing::WithParamInterface<BoxCase> {};

TEST_P(RestoreOneBox, ChangesOnlyItsProperty) {
    const BoxCase& c = GetParam();
    LayerProps walls = propsOf(m_db, L"WALLS");
    LayerProps doors = propsOf(m_db, L"DOORS");
    const LayerProps extra = propsOf(m_db, L"EXTRA");
    c.expect(walls, doors);
    m_mgr.setRestoreBoxes(c.box);
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    EXPECT_EQ(propsOf(m_db, L"WALLS"), walls);
    EXPECT_EQ(propsOf(m_db, L"DOORS"), doors);
    EXPECT_EQ(propsOf(m_db, L"EXTRA"), extra);
    EXPECT_EQ(m_state->mask(), kTvMaskKept | c.box) << "the boxes plus the kept bit";
    EXPECT_EQ(currentLayerName(m_db), L"DOORS") << "the current layer follows every restore";
}

std::vector<BoxCase> boxCases() {
    std::vector<BoxCase> cases = {
        BoxCase{"OnOff", kTvMaskOn, [](LayerProps& w, LayerProps&) { w.off = true; }},
        BoxCase{"Frozen", kTvMaskFrozen, [](LayerProps& w, LayerProps&) { w.frozen = true; }},
        BoxCase{"Locked", kTvMaskLocked, [](LayerProps& w, LayerProps&) { w.locked = true; }},
        BoxCase{"Plot", kTvMaskPlot, [](LayerProps& w, LayerProps&) { w.plottable = false; }},
        BoxCase{"Colour", kTvMaskColor,
                [](LayerProps& w, LayerProps& d) {
                    w.color = rgbColor(0x11, 0x22, 0x33).color();
                    d.color = indexColor(6).color();
                }},
        BoxCase{"Linetype", kTvMaskLinetype,
                [](LayerProps& w, LayerProps& d) {
                    w.linetype = L"HIDDEN";
                    d.linetype = L"DASHED";
                }},
        BoxCase{"Lineweight", kTvMaskLineweight,
                [](LayerProps& w, LayerProps& d) {
                    w.lineweight = 25;
                    d.lineweight = 35;
                }},
        BoxCase{"NewViewportFrozen", kTvMaskNewViewportFrozen,
                [](LayerProps&, LayerProps& d) { d.newViewportFrozen = true; }},
        BoxCase{"None", 0, [](LayerProps&, LayerProps&) {}}};
    // Every box at once: each of the changes above.
    cases.push_back({"Every", kTvMaskAll, [cases](LayerProps& w, LayerProps& d) {
                         for (const BoxCase& c : cases)
                             c.expect(w, d);
                     }});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Boxes, RestoreOneBox, ::testing::ValuesIn(boxCases()),
                         [](const ::testing::TestParamInfo<BoxCase>& info) {
                             return std::string(info.param.label);
                         });

TEST_F(Restore, OnlyAFullRestoreMakesTheStateMatch) {
    EXPECT_EQ(m_state->matchFlag(), 0);
    m_mgr.setRestoreBoxes(kTvMaskColor);
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    EXPECT_EQ(m_mgr.computeMatch(m_state), 0) << "linetypes and lineweights still differ";
    m_state->setMask(kTvMaskAll);
    m_mgr.setRestoreBoxes(kTvMaskAll);
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    EXPECT_EQ(m_mgr.computeMatch(m_state), 1);
    EXPECT_EQ(m_mgr.lastRestored(), L"Target");
    EXPECT_EQ(m_state->mask(), kTvMaskAll) << "the extra bit is kept only when it was stored";
}

// A linetype the drawing lacks becomes Continuous, on a layer made as on one it has.
TEST_F(Restore, MissingLayersAreCreatedWithTheirProperties) {
    addState(m_mgr, L"New",
             {{L"NEWLAYER", kTvLayerLocked | kTvLayerPlottable, 2, kTvNoTrueColor, L"", L"HIDDEN",
               70, L"Color_2"},
              {L"NEWRGB", kTvLayerOff, 9, 0x00CCBBAAu, L"", L"NOSUCH", -3, L"Color_9"},
              {L"WALLS", 8, 1, kTvNoTrueColor, L"", L"NOSUCH", -3, L"Color_1"}},
             kTvMaskAll, L"", L"NEWLAYER");
    ASSERT_EQ(m_mgr.restoreByName(L"new"), 1);
    EXPECT_EQ(propsOf(m_db, L"NEWLAYER"), (LayerProps{false, false, true, true, false,
                                                      indexColor(2).color(), L"$", L"HIDDEN", 70}));
    EXPECT_EQ(propsOf(m_db, L"NEWRGB"),
              (LayerProps{true, false, false, false, false, rgbColor(0xAA, 0xBB, 0xCC).color(),
                          L"$", L"Continuous", -3}));
    EXPECT_EQ(linetypeOf(m_db, L"WALLS"), L"Continuous");
    EXPECT_FALSE(findLinetype(m_db, L"NOSUCH").isValid());
    EXPECT_EQ(currentLayerName(m_db), L"NEWLAYER");
}

TEST_F(Restore, StatesFromAnotherDrawingBringTheirLinetypeAlong) {
    m_mgr.setImportedFromDrawing(true);
    addState(m_mgr, L"Imported",
             {{L"MADE", 8, 2, kTvNoTrueColor, L"", L"FENCELINE", -3, L"Color_2"}}, kTvMaskAll, L"",
             L"0");
    ASSERT_EQ(m_mgr.restoreByName(L"Imported"), 1);
    const KdDbObjectId lt = findLinetype(m_db, L"FENCELINE");
    ASSERT_TRUE(lt.isValid());
    KdDbObjectPointer<KdDbLinetypeTableRecord> rec(lt, KdDb::kForRead);
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->comments().str(), L"Solid line");
    EXPECT_EQ(linetypeOf(m_db, L"MADE"), L"FENCELINE");
}

TEST_F(Restore, LayersNotInTheStateAreTurnedOffOnlyWhenAsked) {
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    EXPECT_FALSE(propsOf(m_db, L"EXTRA").off);
    int16_t option = -1;
    ASSERT_EQ(getConfigDataManager()->getValue(L"LAYSTATEOPTIONS", option), Kdad::eOk);
    EXPECT_EQ(option, 0);

    m_mgr.setTurnOffNotFound(true);
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    const LayerProps extra = propsOf(m_db, L"EXTRA");
    EXPECT_TRUE(extra.off);
    EXPECT_EQ(extra.color, indexColor(4).color()) << "turned off, colour kept";
    EXPECT_FALSE(propsOf(m_db, L"0").off);
    ASSERT_EQ(getConfigDataManager()->getValue(L"LAYSTATEOPTIONS", option), Kdad::eOk);
    EXPECT_EQ(option, 1);
}

TEST_F(Restore, InALayoutOnAndOffAreNotRestored) {
    m_mgr.setModelSpace(false);
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    const LayerProps walls = propsOf(m_db, L"WALLS");
    EXPECT_FALSE(walls.off);
    EXPECT_TRUE(walls.frozen);
    EXPECT_TRUE(walls.locked);
    EXPECT_EQ(walls.linetype, L"HIDDEN");
}

TEST_F(Restore, AnUnknownStateRestoresNothing) {
    const std::string before = drawingText(m_db);
    EXPECT_EQ(m_mgr.restoreByName(L"Nope"), 0);
    EXPECT_EQ(m_mgr.restore(nullptr), 0);
    EXPECT_EQ(firstDifference(before, drawingText(m_db)), "");
    EXPECT_EQ(m_mgr.lastRestored(), L"");
}

TEST_F(Restore, OneLayerAloneCanBeRestoredIntoTheSnapshot) {
    const CTvLayerStateInfo* walls = layerOf(m_mgr, m_state, L"WALLS");
    ASSERT_NE(walls, nullptr);
    CKdadLayerP snapshot;
    ASSERT_TRUE(snapshot.fill(&m_db));
    m_mgr.setSnapshot(&snapshot);
    const LayerProps doors = propsOf(m_db, L"DOORS");
    LayerProps expected = propsOf(m_db, L"WALLS");
    expected.locked = true;
    expected.lineweight = 25;
    ASSERT_EQ(m_mgr.restoreLayer(*walls, kTvMaskLocked | kTvMaskLineweight, 1), 1);
    EXPECT_EQ(snapshot.writeBack(), 1);
    EXPECT_EQ(propsOf(m_db, L"WALLS"), expected);
    EXPECT_EQ(propsOf(m_db, L"DOORS"), doors);
}

// -- Through the layer snapshot --

TEST_F(Restore, WithASnapshotTheDrawingChangesOnlyWhenItIsWrittenBack) {
    CKdadLayerP snapshot;
    ASSERT_TRUE(snapshot.fill(&m_db));
    m_mgr.setSnapshot(&snapshot);
    const std::string before = layerListText(m_db, L"WALLS");
    ASSERT_EQ(m_mgr.restore(m_state), 1);
    EXPECT_EQ(layerListText(m_db, L"WALLS"), before) << "the snapshot holds the change";
    const CKdadLayerEntry* walls = snapshot.find(L"walls");
    ASSERT_NE(walls, nullptr);
    EXPECT_TRUE(walls->changed);
    EXPECT_LT(walls->color, 0) << "off";
    EXPECT_EQ(walls->rgb, 0x112233);
    EXPECT_EQ(walls->linetype, L"HIDDEN");
    EXPECT_EQ(m_mgr.computeMatch(m_state), 1) << "compared with the snapshot";

    EXPECT_GE(snapshot.writeBack(), 2) << "WALLS and DOORS at least";
    const LayerProps after = propsOf(m_db, L"WALLS");
    EXPECT_TRUE(after.off);
    EXPECT_TRUE(after.frozen);
    EXPECT_EQ(after.linetype, L"HIDDEN");
    EXPECT_EQ(currentLayerName(m_db), L"DOORS");
}

// -- States another program saved --

TEST(CorpusLayerStateRestore, RestoringOneStateThenTheOtherGivesTheDrawingBack) {
    TV_REQUIRE_CORPUS("netdxf_layerstates.dxf");
    ModuleResources res;
    PrivateSettings settings;
    ScriptedUi ui;
    const std::string path = tvtest::corpusFile("netdxf_layerstates.dxf");
    KdDbDatabase db(false);
    std::string error;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &error), Kdad::eOk) << error;
    CurrentDrawing current(db);
    CTvLayerStateManager mgr;
    mgr.setDatabase(&db);
    ASSERT_EQ(mgr.load(), 1);
    mgr.setRestoreBoxes(kTvMaskAll & ~kTvMaskPlotStyle);
    const std::string before = normalisedDxf(drawingText(db));

    ASSERT_EQ(mgr.restoreByName(L"LayerState2"), 1);
    for (const wchar_t* name : {L"ConstructionLines", L"Groups", L"EntityProperties", L"Defpoints"})
        EXPECT_TRUE(propsOf(db, name).off) << tvToUtf8(name);
    EXPECT_FALSE(propsOf(db, L"Layer1").off);
    EXPECT_EQ(mgr.computeMatch(mgr.findState(L"LayerState2")), 1);
    EXPECT_EQ(mgr.computeMatch(mgr.findState(L"LayerState1")), 0);

    ASSERT_EQ(mgr.restoreByName(L"LayerState1"), 1);
    EXPECT_EQ(firstDifference(before, normalisedDxf(drawingText(db))), "");
    EXPECT_EQ(mgr.computeMatch(mgr.findState(L"LayerState1")), 1);
    EXPECT_EQ(ui.ui.problems(), "");
}

// -- Viewports of a layout --

class RestoreInViewport : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        readGenerated(m_db, generatedDrawing());
        m_current = std::make_unique<CurrentDrawing>(m_db);
        ASSERT_EQ(m_db.setTilemode(false), Kdad::eOk);
        ASSERT_EQ(kdedSetShortVar(L"CVPORT", 2), RTNORM);
        m_viewport = kdedGetCurViewportObjectId();
        ASSERT_TRUE(m_viewport.isValid());
        {
            // Viewport 2 without frozen layers; viewport 3 freezes Layer2 and not Layer1.
            KdDbObjectPointer<KdDbViewport> vp(m_viewport, KdDb::kForWrite);
            ASSERT_TRUE(vp);
            ASSERT_EQ(vp->thawAllLayersInViewport(), Kdad::eOk);
        }
        m_mgr.setDatabase(&m_db);
        m_mgr.setModelSpace(false);
        ASSERT_EQ(m_mgr.load(), 1);
    }
    void TearDown() override { EXPECT_EQ(m_ui.ui.problems(), ""); }
    std::vector<std::wstring> frozenInViewport() {
        std::vector<std::wstring> names;
        KdDbObjectPointer<KdDbViewport> vp(m_viewport, KdDb::kForRead);
        std::vector<KdDbObjectId> ids;
        if (vp && vp->getFrozenLayerList(ids) == Kdad::eOk)
            for (const KdDbObjectId& id : ids)
                names.push_back(recordName(id));
        return names;
    }

    ModuleResources m_res;
    PrivateSettings m_settings;
    KdDbDatabase m_db{false};
    std::unique_ptr<CurrentDrawing> m_current;
    ScriptedUi m_ui;
    CTvLayerStateManager m_mgr;
    KdDbObjectId m_viewport;
};

TEST_F(RestoreInViewport, LayersFrozenInTheViewportAreFrozenInTheCurrentOne) {
    CTvLayerState* s =
        addState(m_mgr, L"Viewport",
                 {layerRow(L"Layer1"), layerRow(L"Layer2", 8 | kTvLayerViewportFrozen, 3)},
                 kTvMaskAll, L"", L"0");
    m_mgr.setRestoreBoxes(kTvMaskAll & ~kTvMaskViewportFrozen);
    ASSERT_EQ(m_mgr.restore(s), 1);
    EXPECT_TRUE(frozenInViewport().empty()) << "not without its box";

    m_mgr.setRestoreBoxes(kTvMaskAll);
    ASSERT_EQ(m_mgr.restore(s), 1);
    EXPECT_EQ(frozenInViewport(), (std::vector<std::wstring>{L"Layer2"}));
    EXPECT_EQ(m_mgr.computeMatch(s), 1);
}

TEST_F(RestoreInViewport, ACapturedStateRecordsTheViewportsFrozenLayers) {
    ASSERT_EQ(kdedSetShortVar(L"CVPORT", 3), RTNORM);
    CTvLayerState* s = m_mgr.newState(L"Here", L"");
    ASSERT_NE(s, nullptr);
    EXPECT_NE(layerOf(m_mgr, s, L"Layer2")->flags() & kTvLayerViewportFrozen, 0);
    EXPECT_EQ(layerOf(m_mgr, s, L"Layer1")->flags() & kTvLayerViewportFrozen, 0);
    EXPECT_EQ(s->matchFlag(), 1);
}

} // namespace
