// A save of the layer states that fails half-way leaves the stored states as they were.
#include "layerstate/LayerStateTestSupport.h"

#include "tv/KdDbTransactionManager.h"

using namespace tvtest;

TEST(LayerStateSave, AFailureHalfWayGivesTheStoredStatesBack) {
    ModuleResources res;
    KdDbDatabase db;
    CurrentDrawing current(db);
    ScriptedUi ui;
    CTvLayerStateManager mgr;
    mgr.setDatabase(&db);
    ASSERT_EQ(mgr.load(), 1);
    for (const wchar_t* name : {L"First", L"Second"})
        addState(mgr, name, {layerRow(L"0")});
    ASSERT_EQ(mgr.save(), 1);
    const std::vector<std::wstring> before = storedStateNames(db);
    ASSERT_EQ(before.size(), 2u);

    // Someone still reads the states dictionary: the rewrite cannot add the new records once it
    // has deleted the old ones.
    KdDbObjectId dictId = db.getLayerStateManager()->layerStatesDictionaryId(false);
    ASSERT_FALSE(dictId.isNull());
    addState(mgr, L"Third", {layerRow(L"0")});
    {
        KdDbObjectPointer<KdDbDictionary> reader(dictId, KdDb::kForRead);
        ASSERT_TRUE(reader);
        EXPECT_EQ(mgr.save(), 0);
    }
    EXPECT_EQ(db.transactionManager()->numActiveTransactions(), 0);
    EXPECT_EQ(storedStateNames(db), before);
    CTvLayerStateManager again;
    again.setDatabase(&db);
    ASSERT_EQ(again.load(), 1);
    EXPECT_EQ(again.stateCount(), 2u);
    EXPECT_NE(again.findState(L"First"), nullptr);
    EXPECT_NE(again.findState(L"Second"), nullptr);

    // Once the reader is gone the same save goes through.
    ASSERT_EQ(mgr.save(), 1);
    EXPECT_EQ(storedStateNames(db).size(), 3u);
}
