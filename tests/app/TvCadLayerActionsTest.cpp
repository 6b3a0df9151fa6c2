// The layer control's changes to layers: one undo step each, the current layer protected, and
// the order layers are listed in.
#include "TvCadLayerActions.h"
#include "DxfGenerator.h"

#include "DrawingTestSupport.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using tvcad::TvCadLayerToggle;

class LayerActions : public ::testing::Test {
protected:
    void SetUp() override {
        tvtools::DxfGeneratorOptions options;
        options.layers = 12;
        options.entities = 20;
        std::string error;
        ASSERT_EQ(db.readDxfBuffer(tvtools::generateDxf(options), &error), Kdad::eOk) << error;
        kdedSetCurrentDatabase(&db);
    }
    void TearDown() override { kdedDatabaseClosed(&db); }

    KdDbObjectPointer<KdDbLayerTableRecord> layer(const wchar_t* name) {
        return KdDbObjectPointer<KdDbLayerTableRecord>(tvtest::findLayer(db, name), KdDb::kForRead);
    }
    static bool undo() { return curDocUndoController()->undoInCommand(-1, 1); }

    KdDbDatabase db{false};
};

TEST_F(LayerActions, EachToggleIsOneStepThatUndoTakesBack) {
    std::wstring message;
    ASSERT_TRUE(tvcad::toggleLayer(db, L"C_PIPE_0005", TvCadLayerToggle::kOn, &message));
    ASSERT_TRUE(tvcad::toggleLayer(db, L"c_pipe_0005", TvCadLayerToggle::kLocked, &message));
    ASSERT_TRUE(tvcad::toggleLayer(db, L"C_PIPE_0005", TvCadLayerToggle::kFrozen, &message));
    EXPECT_TRUE(layer(L"C_PIPE_0005")->isOff());
    EXPECT_TRUE(layer(L"C_PIPE_0005")->isLocked());
    EXPECT_TRUE(layer(L"C_PIPE_0005")->isFrozen());
    EXPECT_TRUE(db.isModified());

    ASSERT_TRUE(undo());
    EXPECT_FALSE(layer(L"C_PIPE_0005")->isFrozen());
    EXPECT_TRUE(layer(L"C_PIPE_0005")->isLocked());
    ASSERT_TRUE(undo());
    EXPECT_FALSE(layer(L"C_PIPE_0005")->isLocked());
    EXPECT_TRUE(layer(L"C_PIPE_0005")->isOff());
    ASSERT_TRUE(undo());
    EXPECT_FALSE(layer(L"C_PIPE_0005")->isOff());
    // A frozen layer thaws the same way.
    ASSERT_TRUE(tvcad::toggleLayer(db, L"L_ROOF_PATT_0004", TvCadLayerToggle::kFrozen, &message));
    EXPECT_FALSE(layer(L"L_ROOF_PATT_0004")->isFrozen());
}

TEST_F(LayerActions, TheCurrentLayerIsNotFrozenAndAMissingLayerIsReported) {
    std::wstring message;
    EXPECT_FALSE(tvcad::toggleLayer(db, L"0", TvCadLayerToggle::kFrozen, &message));
    EXPECT_EQ(message, L"Layer \"0\" is the current layer; it cannot be frozen.");
    EXPECT_FALSE(layer(L"0")->isFrozen());
    EXPECT_FALSE(undo()) << "a refused change leaves no undo step";
    // It can be turned off and locked all the same.
    EXPECT_TRUE(tvcad::toggleLayer(db, L"0", TvCadLayerToggle::kOn, &message));
    EXPECT_TRUE(tvcad::toggleLayer(db, L"0", TvCadLayerToggle::kLocked, &message));

    EXPECT_FALSE(tvcad::toggleLayer(db, L"NO-SUCH", TvCadLayerToggle::kOn, &message));
    EXPECT_EQ(message, L"There is no layer \"NO-SUCH\".");
    EXPECT_FALSE(tvcad::makeLayerCurrent(db, L"NO-SUCH", &message));
}

TEST_F(LayerActions, MakingALayerCurrentIsOneStepAndAFrozenOneIsRefused) {
    std::wstring message;
    ASSERT_TRUE(tvcad::makeLayerCurrent(db, L"c_pipe_0005", &message)) << message;
    EXPECT_EQ(db.getHeaderVar("$CLAYER").str(), L"C_PIPE_0005");
    EXPECT_FALSE(tvcad::makeLayerCurrent(db, L"L_ROOF_PATT_0004", &message));
    EXPECT_EQ(message, L"Layer \"L_ROOF_PATT_0004\" is frozen; it cannot be made current.");
    EXPECT_EQ(db.getHeaderVar("$CLAYER").str(), L"C_PIPE_0005");
    ASSERT_TRUE(undo());
    EXPECT_EQ(db.getHeaderVar("$CLAYER").str(), L"0");
}

TEST_F(LayerActions, RowsListEveryLayerWithItsStateInNameOrder) {
    const std::vector<tvcad::TvCadLayerRow> rows = tvcad::layerRows(db);
    ASSERT_EQ(rows.size(), 13u);
    EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [](const auto& a, const auto& b) {
        return tvcad::layerNameLess(a.name, b.name);
    }));
    EXPECT_EQ(std::count_if(rows.begin(), rows.end(), [](const auto& r) { return r.current; }), 1);
    const auto roof = std::find_if(rows.begin(), rows.end(),
                                   [](const auto& r) { return r.name == L"L_ROOF_PATT_0004"; });
    ASSERT_NE(roof, rows.end());
    EXPECT_TRUE(roof->frozen);
    const auto anno = std::find_if(rows.begin(), rows.end(),
                                   [](const auto& r) { return r.name == L"A_ANNO_IDEN_0006"; });
    ASSERT_NE(anno, rows.end());
    EXPECT_TRUE(anno->off);
    EXPECT_EQ(anno->color.colorIndex(), 94);
}

TEST(LayerNameOrder, NumbersByValueLettersWithoutCase) {
    std::vector<std::wstring> names{L"A-10", L"a-2", L"B", L"A-02", L"A-1", L"A", L"a-10b", L""};
    std::sort(names.begin(), names.end(), tvcad::layerNameLess);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"", L"A", L"A-1", L"A-02", L"a-2", L"A-10",
                                                L"a-10b", L"B"}));
    // A strict order: never both ways, never for equal names.
    EXPECT_FALSE(tvcad::layerNameLess(L"A-2", L"A-2"));
    EXPECT_NE(tvcad::layerNameLess(L"a", L"A"), tvcad::layerNameLess(L"A", L"a"));
}

} // namespace
