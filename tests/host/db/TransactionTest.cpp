// Transactions on a generated drawing: abort restores the text exactly, nesting, renamed layers.
#include "DxfTokenizer.h"
#include "KdDbAccess.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdDbViewport.h"
#include "tv/KdDbXrecord.h"
#include "tv/KdResbuf.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using tvtest::firstDifference;

class TransactionTest : public tvtest::DrawingTest {
protected:
    /// A viewport of the first layout that does not freeze Layer2 or Layer9.
    KdDbObjectId someViewport() {
        return m_db.objectIdOf(tvtools::planDrawing(m_options).layouts[0].viewports[1].handle);
    }

    KdDbTransactionManager& tm() { return *m_db.transactionManager(); }
};

int colorIn(KdDbDatabase& db, const wchar_t* name) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(tvtest::findLayer(db, name), KdDb::kForRead);
    return layer ? layer->color().colorIndex() : -1;
}

// Layer names on entities (group 8) inside the BLOCKS and ENTITIES sections.
std::vector<std::string> entityLayerNames(const std::string& text) {
    std::vector<KdDbTag> tags;
    EXPECT_TRUE(tvdxf::tokenize(text, tags).ok);
    std::vector<std::string> names;
    bool inGraphics = false;
    for (size_t i = 0; i < tags.size(); ++i) {
        if (tags[i].code == 2 && i > 0 && tags[i - 1].code == 0 &&
            tvdxf::trimmed(tags[i - 1].value()) == "SECTION") {
            auto v = tvdxf::trimmed(tags[i].value());
            inGraphics = v == "ENTITIES" || v == "BLOCKS";
        }
        if (inGraphics && tags[i].code == 8)
            names.emplace_back(tags[i].value());
    }
    return names;
}

size_t countOf(const std::vector<std::string>& v, const std::string& s) {
    return static_cast<size_t>(std::count(v.begin(), v.end(), s));
}

TEST_F(TransactionTest, AbortRestoresTheDrawingByteForByte) {
    ASSERT_NE(tm().startTransaction(), nullptr);

    addLayer(L"Brand new layer");
    rename(L"Layer1", L"Layer1 renamed");
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(L"Layer4"), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        KdCmColor c;
        c.setRGB(1, 2, 3);
        EXPECT_EQ(layer->setColor(c), Kdad::eOk);
        EXPECT_EQ(layer->setLinetypeObjectId(m_db.continuousLinetype()), Kdad::eOk);
        EXPECT_EQ(layer->setLineWeight(KdDb::kLnWt211), Kdad::eOk);
        EXPECT_EQ(layer->setIsFrozen(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsLocked(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsOff(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsPlottable(false), Kdad::eOk);
        EXPECT_EQ(layer->setDescription(L"changed inside the transaction"), Kdad::eOk);
        EXPECT_EQ(layer->setTransparency(KdCmTransparency(uint8_t{100})), Kdad::eOk);
    }
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(L"Layer2"), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->setDescription(L""), Kdad::eOk);
        EXPECT_EQ(layer->setVPDFLT(true), Kdad::eOk);
        EXPECT_EQ(layer->setPlotStyleName(L"Style in transaction"), Kdad::eOk);
    }
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(L"Layer16"), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->setIsFrozen(false), Kdad::eOk);
        EXPECT_EQ(layer->setIsLocked(true), Kdad::eOk);
    }
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(L"Layer13"), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->erase(), Kdad::eOk);
    }
    KdDbObjectId vpId = someViewport();
    ASSERT_FALSE(vpId.isNull()) << "the drawing has no viewport";
    {
        KdDbObjectPointer<KdDbViewport> vp(vpId, KdDb::kForWrite);
        ASSERT_TRUE(vp);
        EXPECT_EQ(vp->freezeLayersInViewport({layerId(L"Layer2"), layerId(L"Layer9")}), Kdad::eOk);
        EXPECT_TRUE(vp->isLayerFrozenInViewport(layerId(L"Layer2")));
    }
    {
        KdDbObjectPointer<KdDbDictionary> nod(m_db.namedObjectsDictionaryId(), KdDb::kForWrite);
        ASSERT_TRUE(nod);
        auto* xrec = new KdDbXrecord;
        KdResbufPtr data(kdutBuildList(1, L"kept only if committed", 70, 12, RTNONE));
        ASSERT_TRUE(data);
        KdDbObjectId xid;
        ASSERT_EQ(nod->setAt(L"TV_TRANSACTION_TEST", xrec, xid), Kdad::eOk);
        nod.close();
        // The data is encoded for the drawing, so it is set once the xrecord is in it.
        KdDbObjectPointer<KdDbXrecord> added(xid, KdDb::kForWrite);
        ASSERT_TRUE(added);
        EXPECT_EQ(added->setFromRbChain(data.get()), Kdad::eOk);
    }

    const std::string changed = text();
    ASSERT_NE(changed, m_original);
    EXPECT_NE(changed.find("TV_TRANSACTION_TEST"), std::string::npos);

    ASSERT_EQ(tm().abortTransaction(), Kdad::eOk);
    EXPECT_EQ(tm().numActiveTransactions(), 0);
    EXPECT_EQ(firstDifference(text(), m_original), "");

    // Names and lookups follow the restored records, not the ones made in the transaction.
    EXPECT_FALSE(layerId(L"Layer1").isNull());
    EXPECT_TRUE(layerId(L"Layer1 renamed").isNull());
    EXPECT_TRUE(layerId(L"Brand new layer").isNull());
    EXPECT_FALSE(layerId(L"Layer13").isNull());
    KdDbObjectPointer<KdDbViewport> vp(vpId, KdDb::kForRead);
    ASSERT_TRUE(vp);
    EXPECT_FALSE(vp->isLayerFrozenInViewport(layerId(L"Layer2")));
    KdDbObjectPointer<KdDbDictionary> nod(m_db.namedObjectsDictionaryId(), KdDb::kForRead);
    ASSERT_TRUE(nod);
    EXPECT_FALSE(nod->has(L"TV_TRANSACTION_TEST"));
}

TEST_F(TransactionTest, InnerAbortKeepsTheOuterChangesAndCommitKeepsThem) {
    const int layer2Before = colorOf(L"Layer2");
    ASSERT_NE(layer2Before, 3);

    ASSERT_NE(tm().startTransaction(), nullptr);
    setColor(L"Layer1", 3);
    addLayer(L"Outer layer");

    ASSERT_NE(tm().startTransaction(), nullptr);
    EXPECT_EQ(tm().numActiveTransactions(), 2);
    setColor(L"Layer1", 4); // changed again by the inner one
    setColor(L"Layer2", 3);
    addLayer(L"Inner layer");
    ASSERT_EQ(tm().abortTransaction(), Kdad::eOk);

    EXPECT_EQ(tm().numActiveTransactions(), 1);
    EXPECT_EQ(colorOf(L"Layer1"), 3);
    EXPECT_EQ(colorOf(L"Layer2"), layer2Before);
    EXPECT_TRUE(layerId(L"Inner layer").isNull());
    EXPECT_FALSE(layerId(L"Outer layer").isNull());

    ASSERT_EQ(tm().endTransaction(), Kdad::eOk);
    EXPECT_EQ(tm().numActiveTransactions(), 0);
    EXPECT_EQ(tm().abortTransaction(), Kdad::eNoActiveTransactions);
    EXPECT_EQ(colorOf(L"Layer1"), 3);

    // Changes after the commit are kept as well, and everything survives a save and reload.
    setColor(L"Layer2", 5);
    auto reread = tvtest::reloaded(m_db);
    EXPECT_EQ(colorIn(*reread, L"Layer1"), 3);
    EXPECT_EQ(colorIn(*reread, L"Layer2"), 5);
    EXPECT_FALSE(tvtest::findLayer(*reread, L"Outer layer").isNull());
    EXPECT_TRUE(tvtest::findLayer(*reread, L"Inner layer").isNull());
}

TEST_F(TransactionTest, CommittedInnerChangesAreUndoneByTheOuterAbort) {
    ASSERT_NE(tm().startTransaction(), nullptr);
    setColor(L"Layer1", 3);
    ASSERT_NE(tm().startTransaction(), nullptr);
    setColor(L"Layer2", 4);
    addLayer(L"Committed inside");
    ASSERT_EQ(tm().endTransaction(), Kdad::eOk);
    EXPECT_EQ(colorOf(L"Layer2"), 4);
    ASSERT_EQ(tm().abortTransaction(), Kdad::eOk);
    EXPECT_EQ(firstDifference(text(), m_original), "");
}

TEST_F(TransactionTest, EntitiesFollowARenamedLayerAndGoBackOnAbort) {
    const std::vector<std::string> before = entityLayerNames(m_original);
    const size_t onLayer1 = countOf(before, "Layer1");
    ASSERT_GT(onLayer1, 0u) << "the drawing should have entities on Layer1";

    ASSERT_NE(tm().startTransaction(), nullptr);
    rename(L"Layer1", L"Walls");
    const std::string renamed = text();
    const std::vector<std::string> during = entityLayerNames(renamed);
    EXPECT_EQ(countOf(during, "Layer1"), 0u) << "an entity is still written on the old name";
    EXPECT_EQ(countOf(during, "Walls"), onLayer1);

    // The renamed drawing reads back with the entities bound to the renamed layer.
    KdDbDatabase reread(false);
    std::string err;
    ASSERT_EQ(reread.readDxfBuffer(renamed, &err), Kdad::eOk) << err;
    size_t bound = 0;
    KdDbAccess::forEachObject(&reread, [&bound](KdDbObject* obj) {
        auto* ent = dynamic_cast<KdDbEntity*>(obj);
        if (ent && ent->layer().str() == L"Walls" && !ent->layerId().isNull())
            ++bound;
    });
    EXPECT_EQ(bound, onLayer1);

    ASSERT_EQ(tm().abortTransaction(), Kdad::eOk);
    const std::string after = text();
    EXPECT_EQ(countOf(entityLayerNames(after), "Layer1"), onLayer1);
    EXPECT_EQ(firstDifference(after, m_original), "");
}

TEST_F(TransactionTest, CurrentLayerFollowsARename) {
    const KdDbObjectId layer1 = layerId(L"Layer1");
    ASSERT_EQ(m_db.setClayer(layer1), Kdad::eOk);
    rename(L"Layer1", L"Current renamed");
    EXPECT_EQ(m_db.clayer(), layer1);
    EXPECT_EQ(m_db.getHeaderVar("$CLAYER").str(), L"Current renamed");
    auto reread = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbLayerTableRecord> current(reread->clayer(), KdDb::kForRead);
    ASSERT_TRUE(current);
    EXPECT_EQ(current->name().str(), L"Current renamed");
}

} // namespace
