// Undo marks: changes since a mark are undone exactly, marks nest, transactions inside a mark.
#include "tv/KdDbDatabase.h"
#include "KdDbAccess.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbTransactionManager.h"
#include "KdDbUndoJournal.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using tvtest::firstDifference;

class UndoMarkTest : public tvtest::DrawingTest {
protected:
    KdDbUndoJournal& journal() { return KdDbAccess::undoJournal(&m_db); }
};

TEST_F(UndoMarkTest, UndoToMarkRestoresTheDrawingExactly) {
    EXPECT_FALSE(journal().hasUndoMark());
    EXPECT_FALSE(journal().undoToLastMark());
    EXPECT_EQ(firstDifference(text(), m_original), "");

    journal().putUndoMark();
    EXPECT_TRUE(journal().hasUndoMark());
    rename(L"Layer1", L"Layer1 renamed");
    setColor(L"Layer2", 6);
    setColor(L"Layer2", 2); // a second change of the same layer
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(L"Layer13"), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        ASSERT_EQ(layer->erase(), Kdad::eOk);
    }
    const KdDbObjectId added = addLayer(L"Added after the mark");
    ASSERT_FALSE(added.isNull());
    ASSERT_NE(text(), m_original);

    ASSERT_TRUE(journal().undoToLastMark());
    EXPECT_FALSE(journal().hasUndoMark());
    EXPECT_EQ(firstDifference(text(), m_original), "");

    // Name lookups follow the restored records.
    EXPECT_FALSE(layerId(L"Layer1").isNull());
    EXPECT_TRUE(layerId(L"Layer1 renamed").isNull());
    EXPECT_FALSE(layerId(L"Layer13").isNull());
    EXPECT_TRUE(layerId(L"Added after the mark").isNull());
    // The undone name can be taken again, and the restored drawing reads back.
    EXPECT_FALSE(addLayer(L"Added after the mark").isNull());
    tvtest::reloaded(m_db);

    EXPECT_FALSE(journal().undoToLastMark());
}

TEST_F(UndoMarkTest, TwoMarksUndoOneAtATime) {
    const int layer2Before = colorOf(L"Layer2");
    journal().putUndoMark();
    setColor(L"Layer1", 3);
    addLayer(L"First period");
    const std::string afterFirst = text();

    journal().putUndoMark();
    setColor(L"Layer1", 4); // the same layer changed again after the second mark
    setColor(L"Layer2", 5);
    addLayer(L"Second period");
    rename(L"First period", L"First period renamed");

    ASSERT_TRUE(journal().undoToLastMark());
    EXPECT_TRUE(journal().hasUndoMark());
    EXPECT_EQ(colorOf(L"Layer1"), 3);
    EXPECT_EQ(colorOf(L"Layer2"), layer2Before);
    EXPECT_FALSE(layerId(L"First period").isNull());
    EXPECT_TRUE(layerId(L"Second period").isNull());
    EXPECT_EQ(firstDifference(text(), afterFirst), "");

    ASSERT_TRUE(journal().undoToLastMark());
    EXPECT_FALSE(journal().hasUndoMark());
    EXPECT_EQ(firstDifference(text(), m_original), "");
    EXPECT_FALSE(journal().undoToLastMark());
}

TEST_F(UndoMarkTest, TransactionsInsideAMarkPeriod) {
    KdDbTransactionManager& tm = *m_db.transactionManager();
    journal().putUndoMark();
    setColor(L"Layer1", 3);

    // An aborted transaction undoes only its own changes and leaves the mark in place.
    ASSERT_NE(tm.startTransaction(), nullptr);
    setColor(L"Layer1", 4);
    setColor(L"Layer2", 4);
    addLayer(L"Aborted");
    ASSERT_EQ(tm.abortTransaction(), Kdad::eOk);
    EXPECT_EQ(colorOf(L"Layer1"), 3);
    EXPECT_TRUE(layerId(L"Aborted").isNull());
    EXPECT_TRUE(journal().hasUndoMark());

    // A committed one stays until the mark is undone.
    ASSERT_NE(tm.startTransaction(), nullptr);
    setColor(L"Layer2", 6);
    addLayer(L"Committed");
    ASSERT_EQ(tm.endTransaction(), Kdad::eOk);
    EXPECT_EQ(colorOf(L"Layer2"), 6);
    EXPECT_FALSE(layerId(L"Committed").isNull());

    ASSERT_TRUE(journal().undoToLastMark());
    EXPECT_TRUE(layerId(L"Committed").isNull());
    EXPECT_EQ(firstDifference(text(), m_original), "");
    EXPECT_FALSE(journal().isRecording());
}

} // namespace
