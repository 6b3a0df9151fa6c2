// The isolation record and both ways back: what each restores, when each refuses, and that the
// record is gone afterwards; the record's layout and viewport texts in model space (the
// layout and its viewports are checked on real runs of tvcad).
#include "layerstate/LayerStateTestSupport.h"

#include "commands/TvLayerIsolation.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbTransactionManager.h"

using namespace tvtest;

namespace {

struct Visible {
    bool off;
    bool frozen;
    bool locked;
    int color;
    bool operator==(const Visible&) const = default;
};

class LayerIsolation : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_res.loaded());
        addSampleTables(m_db, {L"WALLS", L"DOORS", L"SPARE"});
        editLayer(m_db, L"WALLS", [](KdDbLayerTableRecord& l) { l.setColor(indexColor(1)); });
        editLayer(m_db, L"SPARE", [](KdDbLayerTableRecord& l) { l.setIsLocked(true); });
    }

    Visible visible(const wchar_t* name) {
        KdDbObjectPointer<KdDbLayerTableRecord> l(findLayer(m_db, name), KdDb::kForRead);
        if (!l)
            return {};
        return {l->isOff(), l->isFrozen(), l->isLocked(), l->color().colorIndex()};
    }

    /// What isolating WALLS does to the others: off and, for DOORS, frozen and recoloured.
    void isolateWalls() {
        editLayer(m_db, L"DOORS", [](KdDbLayerTableRecord& l) {
            l.setIsOff(true);
            l.setIsFrozen(true);
            l.setColor(indexColor(5));
        });
        editLayer(m_db, L"SPARE", [](KdDbLayerTableRecord& l) {
            l.setIsOff(true);
            l.setIsLocked(false);
        });
    }

    KdDbLayerStateManager& states() { return *m_db.getLayerStateManager(); }

    /// The texts of the record's extended data, or nothing when there is none.
    std::vector<std::wstring> recordTexts() {
        std::vector<std::wstring> texts;
        KdDbObjectPointer<> dict(states().layerStatesDictionaryId(false), KdDb::kForRead);
        if (!dict)
            return texts;
        KdResbufPtr xdata(dict->xData(tv::kLayerToolsApp));
        for (const resbuf* rb = xdata.get(); rb; rb = rb->rbnext) {
            if (rb->restype == 1001)
                texts.push_back(L"app");
            else if (rb->restype == 1000)
                texts.push_back(rb->resval.rstring);
        }
        return texts;
    }

    std::wstring handleOf(KdDbObjectId id) {
        wchar_t text[32] = {};
        id.handle().getIntoAsciiBuffer(text, 32);
        return text;
    }

    KdDbObjectId modelLayout() {
        KdDbObjectPointer<KdDbBlockTableRecord> model(m_db.modelSpaceId(), KdDb::kForRead);
        return model ? model->getLayoutId() : KdDbObjectId();
    }

    ModuleResources m_res;
    PrivateSettings m_settings;
    KdDbDatabase m_db;
    CurrentDrawing m_current{m_db};
};

TEST_F(LayerIsolation, TheRecordInModelSpaceNamesTheModelLayoutAndNoViewport) {
    tv::recordLayerIsolation();
    EXPECT_TRUE(states().hasLayerState(tv::kLayIsoStateName));
    ASSERT_FALSE(modelLayout().isNull());
    EXPECT_EQ(recordTexts(), (std::vector<std::wstring>{L"app", handleOf(modelLayout()), L""}));
    // A second record replaces the first: one state, one set of texts.
    tv::recordLayerIsolation();
    EXPECT_EQ(recordTexts().size(), 3u);
    const std::vector<KdString> names = states().layerStateNames();
    EXPECT_EQ(std::count_if(names.begin(), names.end(),
                            [](const KdString& n) { return n == tv::kLayIsoStateName; }),
              1);
}

TEST_F(LayerIsolation, WithoutALayoutOnlyTheStateIsRecorded) {
    {
        KdDbObjectPointer<KdDbBlockTableRecord> model(m_db.modelSpaceId(), KdDb::kForWrite);
        ASSERT_TRUE(model);
        model->setLayoutId(KdDbObjectId());
    }
    tv::recordLayerIsolation();
    EXPECT_TRUE(states().hasLayerState(tv::kLayIsoStateName));
    EXPECT_TRUE(recordTexts().empty());
    // The older route finds no extended data and restores nothing.
    EXPECT_EQ(tv::unisolateLayers(), 0);
    EXPECT_TRUE(states().hasLayerState(tv::kLayIsoStateName));
}

TEST_F(LayerIsolation, TheOlderRouteRestoresEveryPropertyAndRemovesTheRecord) {
    const Visible doors = visible(L"DOORS");
    const Visible spare = visible(L"SPARE");
    tv::recordLayerIsolation();
    isolateWalls();
    EXPECT_EQ(tv::unisolateLayers(), 1);
    EXPECT_EQ(visible(L"DOORS"), doors);
    EXPECT_EQ(visible(L"SPARE"), spare);
    EXPECT_FALSE(states().hasLayerState(tv::kLayIsoStateName));
    EXPECT_EQ(recordTexts(), std::vector<std::wstring>());
    EXPECT_EQ(tv::unisolateLayers(), 0);
}

TEST_F(LayerIsolation, TheNewerRouteNeedsATransactionAndRestoresOnlyVisibilityAndLocks) {
    const Visible spare = visible(L"SPARE");
    tv::recordLayerIsolation();
    isolateWalls();
    // Outside a transaction: nothing happens, the record stays.
    EXPECT_EQ(tv::unisolateLayersInTransaction(), 0);
    EXPECT_TRUE(states().hasLayerState(tv::kLayIsoStateName));
    EXPECT_EQ(recordTexts().size(), 3u);

    KdDbTransactionManager* transactions = m_db.transactionManager();
    ASSERT_NE(transactions->startTransaction(), nullptr);
    EXPECT_EQ(tv::unisolateLayersInTransaction(), 1);
    EXPECT_EQ(transactions->endTransaction(), Kdad::eOk);
    EXPECT_EQ(visible(L"SPARE"), spare);
    // The colour is not part of an isolation, so this route leaves it as it is.
    EXPECT_EQ(visible(L"DOORS"), (Visible{false, false, false, 5}));
    EXPECT_FALSE(states().hasLayerState(tv::kLayIsoStateName));
    EXPECT_EQ(recordTexts(), std::vector<std::wstring>());

    ASSERT_NE(transactions->startTransaction(), nullptr);
    EXPECT_EQ(tv::unisolateLayersInTransaction(), 0);
    transactions->abortTransaction();
}

TEST_F(LayerIsolation, ARecordWithoutItsStateIsClearedOnlyByTheOlderRoute) {
    tv::recordLayerIsolation();
    ASSERT_EQ(states().deleteLayerState(tv::kLayIsoStateName), Kdad::eOk);
    isolateWalls();
    const Visible doors = visible(L"DOORS");

    KdDbTransactionManager* transactions = m_db.transactionManager();
    ASSERT_NE(transactions->startTransaction(), nullptr);
    EXPECT_EQ(tv::unisolateLayersInTransaction(), 0);
    transactions->endTransaction();
    EXPECT_EQ(recordTexts().size(), 3u);

    EXPECT_EQ(tv::unisolateLayers(), 1);
    EXPECT_EQ(visible(L"DOORS"), doors);
    EXPECT_EQ(recordTexts(), std::vector<std::wstring>());
}

} // namespace
