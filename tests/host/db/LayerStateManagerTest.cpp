// The Host's layer state manager: states written in the module's xrecord form are listed,
// restored under a mask that changes exactly the masked properties, and deleted.
#include "Corpus.h"
#include "DrawingTestSupport.h"
#include "KdDbAccess.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdDbViewport.h"
#include "tv/KdDbXrecord.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using tvtest::findLayer;
using tvtest::firstDifference;

KdDbObject* objectOf(KdDbObjectId id) {
    return id.isValid() ? id.stub()->object : nullptr;
}

struct LayerProps {
    bool off, frozen, locked, plottable, vpdflt, vpFrozen;
    int color;
    std::wstring linetype;
    int lineWeight;
};

class LayerStateManagerTest : public tvtest::DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        if (HasFatalFailure())
            return;
        KdDbAccess::forEachObject(&m_db, [this](KdDbObject* obj) {
            auto* vp = dynamic_cast<KdDbViewport*>(obj);
            if (vp && vp->number() > 1 && m_viewport.isNull())
                m_viewport = vp->objectId();
        });
        ASSERT_FALSE(m_viewport.isNull());
        m_mgr = m_db.getLayerStateManager();
        ASSERT_NE(m_mgr, nullptr);
    }

    KdDbLayerTableRecord* layer(const wchar_t* name) {
        return dynamic_cast<KdDbLayerTableRecord*>(objectOf(findLayer(m_db, name)));
    }

    LayerProps props(const wchar_t* name) {
        KdDbLayerTableRecord* l = layer(name);
        auto* vp = dynamic_cast<KdDbViewport*>(objectOf(m_viewport));
        KdDbObjectPointer<KdDbSymbolTableRecord> lt(l->linetypeObjectId(), KdDb::kForRead);
        return {l->isOff(),
                l->isFrozen(),
                l->isLocked(),
                l->isPlottable(),
                l->VPDFLT(),
                vp->isLayerFrozenInViewport(l->objectId()),
                l->color().colorIndex(),
                lt ? lt->name().str() : L"",
                l->lineWeight()};
    }

    std::vector<LayerProps> propsOf(const std::vector<const wchar_t*>& names) {
        std::vector<LayerProps> out;
        for (const wchar_t* n : names)
            out.push_back(props(n));
        return out;
    }

    // Writes a state the way the module stores one: head groups, then one block per layer.
    void writeState(const wchar_t* name, int mask, const std::vector<const wchar_t*>& layers) {
        KdResbufPtr list(kdutBuildList(91, static_cast<int32_t>(mask), 301, L"saved by a test", 290,
                                       1, 302, L"0", RTNONE));
        resbuf* tail = list.get();
        auto* vp = dynamic_cast<KdDbViewport*>(objectOf(m_viewport));
        for (const wchar_t* n : layers) {
            KdDbLayerTableRecord* l = layer(n);
            ASSERT_NE(l, nullptr) << KdString(n).utf8();
            int flags = (l->isOff() ? 1 : 0) | (l->isFrozen() ? 2 : 0) | (l->isLocked() ? 4 : 0) |
                        (l->isPlottable() ? 8 : 0) | (l->VPDFLT() ? 0x100 : 0) |
                        (vp->isLayerFrozenInViewport(l->objectId()) ? 0x200 : 0);
            kd_name layerName, ltName;
            ASSERT_EQ(kddbGetQdsName(layerName, l->objectId()), RTNORM);
            ASSERT_EQ(kddbGetQdsName(ltName, l->linetypeObjectId()), RTNORM);
            while (tail->rbnext)
                tail = tail->rbnext;
            tail->rbnext =
                kdutBuildList(330, layerName, 90, static_cast<int32_t>(flags), 62,
                              static_cast<int>(l->color().colorIndex()), 370,
                              static_cast<int>(l->lineWeight()), 331, ltName, 1, L"Normal", RTNONE);
        }
        KdDbObjectPointer<KdDbDictionary> dict(m_mgr->layerStatesDictionaryId(true),
                                               KdDb::kForWrite);
        ASSERT_TRUE(dict);
        KdDbObjectId id;
        ASSERT_EQ(dict->setAt(name, new KdDbXrecord, id), Kdad::eOk);
        dict.close();
        KdDbObjectPointer<KdDbXrecord> xrec(id, KdDb::kForWrite);
        ASSERT_TRUE(xrec);
        ASSERT_EQ(xrec->setFromRbChain(list.get()), Kdad::eOk);
    }

    // Changes every property of a layer, so that a restore shows what it puts back.
    void scramble(const wchar_t* name) {
        KdDbObjectPointer<KdDbLayerTableRecord> l(findLayer(m_db, name), KdDb::kForWrite);
        ASSERT_TRUE(l);
        l->setIsOff(!l->isOff());
        l->setIsFrozen(!l->isFrozen());
        l->setIsLocked(!l->isLocked());
        l->setIsPlottable(!l->isPlottable());
        l->setVPDFLT(!l->VPDFLT());
        KdCmColor c;
        c.setColorIndex(static_cast<uint16_t>(l->color().colorIndex() == 42 ? 43 : 42));
        l->setColor(c);
        l->setLineWeight(l->lineWeight() == KdDb::kLnWt050 ? KdDb::kLnWt070 : KdDb::kLnWt050);
        KdDbObjectId other = m_db.byLayerLinetype();
        l->setLinetypeObjectId(l->linetypeObjectId() == other ? m_db.continuousLinetype() : other);
        l.close();
        KdDbObjectPointer<KdDbViewport> vp(m_viewport, KdDb::kForWrite);
        std::vector<KdDbObjectId> ids{findLayer(m_db, name)};
        if (vp->isLayerFrozenInViewport(ids[0]))
            vp->thawLayersInViewport(ids);
        else
            vp->freezeLayersInViewport(ids);
    }

    // Saves the layers under a state of every property, then changes them all; gives their
    // properties as saved.
    std::vector<LayerProps> saveAndScramble(const wchar_t* state,
                                            const std::vector<const wchar_t*>& names) {
        std::vector<LayerProps> saved = propsOf(names);
        writeState(state, 1023, names);
        for (const wchar_t* n : names)
            scramble(n);
        return saved;
    }

    KdDbObjectId m_viewport;
    KdDbLayerStateManager* m_mgr = nullptr;
};

TEST_F(LayerStateManagerTest, StatesDictionaryIsCreatedOnlyWhenAsked) {
    EXPECT_TRUE(m_mgr->layerStatesDictionaryId(false).isNull());
    EXPECT_FALSE(m_mgr->hasLayerState(L"any"));
    KdDbObjectId id = m_mgr->layerStatesDictionaryId(true);
    ASSERT_FALSE(id.isNull());
    EXPECT_EQ(m_mgr->layerStatesDictionaryId(false), id);
    // It lives under the layer table's extension dictionary, where other programs look.
    KdDbObject* table = objectOf(m_db.layerTableId());
    auto* xdict = dynamic_cast<KdDbDictionary*>(objectOf(table->extensionDictionary()));
    ASSERT_NE(xdict, nullptr);
    KdDbObjectId found;
    EXPECT_EQ(xdict->getAt(L"ACAD_LAYERSTATES", found), Kdad::eOk);
    EXPECT_EQ(found, id);
    auto reloaded = tvtest::reloaded(m_db);
    EXPECT_FALSE(reloaded->getLayerStateManager()->layerStatesDictionaryId(false).isNull());
}

TEST_F(LayerStateManagerTest, RestoreWithMask535ChangesExactlyTheMaskedProperties) {
    const std::vector<const wchar_t*> names{L"Layer1", L"Layer2", L"Layer3"};
    const std::vector<LayerProps> saved = saveAndScramble(L"Isolation", names);
    const std::vector<LayerProps> scrambled = propsOf(names);

    const int mask = 535; // on/off, frozen, locked, frozen in new viewports, current viewport
    ASSERT_EQ(m_mgr->restoreLayerState(L"isolation", m_viewport, 0, &mask), Kdad::eOk);
    for (size_t i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(KdString(names[i]).utf8());
        LayerProps now = props(names[i]);
        EXPECT_EQ(now.off, saved[i].off);
        EXPECT_EQ(now.frozen, saved[i].frozen);
        EXPECT_EQ(now.locked, saved[i].locked);
        EXPECT_EQ(now.vpdflt, saved[i].vpdflt);
        EXPECT_EQ(now.vpFrozen, saved[i].vpFrozen);
        // Not in the mask: left as the scramble made them.
        EXPECT_EQ(now.plottable, scrambled[i].plottable);
        EXPECT_EQ(now.color, scrambled[i].color);
        EXPECT_EQ(now.linetype, scrambled[i].linetype);
        EXPECT_EQ(now.lineWeight, scrambled[i].lineWeight);
    }
}

TEST_F(LayerStateManagerTest, FullRestoreBringsBackEveryPropertyAndAbortUndoesIt) {
    const std::vector<const wchar_t*> names{L"Layer1", L"Layer2"};
    const std::vector<LayerProps> saved = saveAndScramble(L"All", names);
    const std::string before = text();

    KdDbTransactionManager* tm = m_db.transactionManager();
    tm->startTransaction();
    ASSERT_EQ(m_mgr->restoreLayerState(L"All", m_viewport), Kdad::eOk);
    for (size_t i = 0; i < names.size(); ++i) {
        LayerProps now = props(names[i]);
        EXPECT_EQ(now.color, saved[i].color);
        EXPECT_EQ(now.linetype, saved[i].linetype);
        EXPECT_EQ(now.lineWeight, saved[i].lineWeight);
        EXPECT_EQ(now.plottable, saved[i].plottable);
        EXPECT_EQ(now.off, saved[i].off);
    }
    ASSERT_EQ(tm->abortTransaction(), Kdad::eOk);
    EXPECT_EQ(firstDifference(text(), before), "");
}

TEST_F(LayerStateManagerTest, LayersOfAStateAreListedInOrderAndInverted) {
    writeState(L"Two", 1023, {L"Layer2", L"Layer1"});
    std::vector<KdString> names;
    ASSERT_EQ(m_mgr->getLayerStateLayers(names, L"TWO"), Kdad::eOk);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0].str(), L"Layer2");
    EXPECT_EQ(names[1].str(), L"Layer1");

    ASSERT_EQ(m_mgr->getLayerStateLayers(names, L"Two", true), Kdad::eOk);
    for (const KdString& n : names) {
        EXPECT_NE(n.str(), L"Layer1");
        EXPECT_NE(n.str(), L"Layer2");
    }
    EXPECT_FALSE(names.empty());
    EXPECT_EQ(m_mgr->getLayerStateLayers(names, L"missing"), Kdad::eKeyNotFound);

    // A layer erased since the state was saved is left out.
    {
        KdDbObjectPointer<KdDbLayerTableRecord> l(findLayer(m_db, L"Layer2"), KdDb::kForWrite);
        ASSERT_EQ(l->erase(), Kdad::eOk);
    }
    ASSERT_EQ(m_mgr->getLayerStateLayers(names, L"Two"), Kdad::eOk);
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].str(), L"Layer1");
}

TEST_F(LayerStateManagerTest, DeleteRemovesTheStateFromTheSavedDrawing) {
    writeState(L"Gone", 1023, {L"Layer1"});
    writeState(L"Kept", 1023, {L"Layer1"});
    EXPECT_EQ(m_mgr->deleteLayerState(L"gone"), Kdad::eOk);
    EXPECT_FALSE(m_mgr->hasLayerState(L"Gone"));
    EXPECT_EQ(m_mgr->deleteLayerState(L"Gone"), Kdad::eKeyNotFound);
    auto reloaded = tvtest::reloaded(m_db);
    KdDbLayerStateManager* mgr = reloaded->getLayerStateManager();
    EXPECT_FALSE(mgr->hasLayerState(L"Gone"));
    EXPECT_TRUE(mgr->hasLayerState(L"Kept"));
    EXPECT_EQ(mgr->layerStateMask(L"Kept"), 1023);
}

TEST(CorpusLayerStates, StatesOfAnotherProgramAreListed) {
    TV_REQUIRE_CORPUS("netdxf_layerstates.dxf");
    const std::string path = tvtest::corpusFile("netdxf_layerstates.dxf");
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    KdDbLayerStateManager* mgr = db.getLayerStateManager();
    std::vector<KdString> states = mgr->layerStateNames();
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0].str(), L"LayerState1");
    EXPECT_EQ(mgr->layerStateMask(L"LayerState1"), 2047);
    std::vector<KdString> layers;
    ASSERT_EQ(mgr->getLayerStateLayers(layers, L"LayerState1"), Kdad::eOk);
    EXPECT_GT(layers.size(), 3u);
    for (const KdString& n : layers)
        EXPECT_FALSE(findLayer(db, n.kwszPtr()).isNull()) << n.utf8();
}

// A restore makes the state's current layer current: the header change must be undone by an
// abort like every object change.
TEST(HeaderUndo, AbortRestoresTheCurrentLayerAndHeaderVariables) {
    KdDbDatabase db;
    tvtest::addLayer(db, L"Walls");
    const std::string before = tvtest::drawingText(db);
    KdDbTransactionManager* tm = db.transactionManager();
    tm->startTransaction();
    ASSERT_EQ(db.setClayer(findLayer(db, L"Walls")), Kdad::eOk);
    ASSERT_EQ(db.setTilemode(false), Kdad::eOk);
    EXPECT_EQ(db.getHeaderVar("$CLAYER").str(), L"Walls");
    ASSERT_EQ(tm->abortTransaction(), Kdad::eOk);
    EXPECT_EQ(db.clayer(), db.layerZero());
    EXPECT_TRUE(db.tilemode());
    EXPECT_EQ(firstDifference(tvtest::drawingText(db), before), "");

    // Committed changes stay.
    tm->startTransaction();
    ASSERT_EQ(db.setClayer(findLayer(db, L"Walls")), Kdad::eOk);
    ASSERT_EQ(tm->endTransaction(), Kdad::eOk);
    EXPECT_EQ(db.clayer(), findLayer(db, L"Walls"));
}

} // namespace
