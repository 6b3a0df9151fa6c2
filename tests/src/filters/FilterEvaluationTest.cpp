// Expressions written from grid rows, evaluated by the Host's filter on a generated drawing: the
// layers admitted are the ones a user picked the conditions for, checked by hand.
#include "filters/TvFilterExpression.h"

#include "DrawingTestSupport.h"
#include "ModuleResources.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdLyLayerFilter.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::wstring>;
using tv::TvTriState;

class FilterEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        // Lineweights: Layer12 and Layer8 0.70 mm, Layer14 0.18 mm, Layer1, Layer10, Layer13
        // and Layer15 by default; Layer5 and Layer7 are off; Layer1 and Layer12 are HIDDEN.
        tvtest::readGenerated(m_db, tvtest::generatedDrawing());
        // Layer6, not plotted, is made white, as the layer of definition points is.
        KdDbObjectPointer<KdDbLayerTableRecord> white(tvtest::findLayer(m_db, L"Layer6"),
                                                      KdDb::kForWrite);
        ASSERT_TRUE(white);
        KdCmColor c;
        ASSERT_EQ(c.setColorIndex(7), Kdad::eOk);
        ASSERT_EQ(white->setColor(c), Kdad::eOk);
        white.close();
        KdDbLayerTable* table = nullptr;
        ASSERT_EQ(m_db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
        m_layers = table->recordIds();
        table->close();
        kdedSetCurrentDatabase(&m_db);
    }
    void TearDown() override { kdedDatabaseClosed(&m_db); }

    /// The layers the Host's filter admits for the expression written from `grid`.
    Names admitted(const tv::TvFilterCellModel& grid, std::wstring* text = nullptr) {
        tv::TvFilterConditionRows rows;
        const std::wstring expression =
            tv::buildFilterExpression(grid, rows, tv::TvFilterEnvironment::fromHost());
        if (text)
            *text = expression;
        KdLyLayerFilter filter;
        KdString error;
        EXPECT_EQ(filter.setFilterExpression(expression.c_str(), &error), Kdad::eOk)
            << error.utf8();
        Names out;
        for (KdDbObjectId id : m_layers) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (layer && filter.filter(layer.get()))
                out.insert(layer->name().str());
        }
        return out;
    }

    tvtest::ModuleResources m_res;
    KdDbDatabase m_db{false};
    std::vector<KdDbObjectId> m_layers;
};

} // namespace

TEST_F(FilterEvaluation, RowsInMillimetresAdmitTheLayersAUserExpects) {
    ASSERT_EQ(kdedSetShortVar(L"LWUNITS", 1), RTNORM);
    tv::TvFilterCellModel grid;
    const auto row = [&grid]() { return grid.appendRow(); };
    int r = row(); // a name pattern with a lineweight: only the 0.70 mm layer of the "1" ones
    grid.setText(r, tv::kFilterColumnName, L"Layer1*");
    grid.setText(r, tv::kFilterColumnLineweight, L"0.70 mm");
    r = row(); // layers that are off
    grid.setState(r, tv::kFilterColumnOn, TvTriState::kTrue);
    r = row(); // white (by its colour name) and not plotted
    grid.setText(r, tv::kFilterColumnColor, L"White");
    grid.setState(r, tv::kFilterColumnPlot, TvTriState::kFalse);
    r = row(); // a linetype
    grid.setText(r, tv::kFilterColumnLinetype, L"hidden");
    grid.appendRow();
    std::wstring text;
    EXPECT_EQ(admitted(grid, &text),
              (Names{L"Layer12", L"Layer5", L"Layer7", L"Layer6", L"Layer1"}));
    EXPECT_NE(text.find(LR"(COLOR=="7")"), std::wstring::npos) << "colour names become numbers";
}

TEST_F(FilterEvaluation, RowsInInchesAdmitTheLayersAUserExpects) {
    ASSERT_EQ(kdedSetShortVar(L"LWUNITS", 0), RTNORM);
    const std::wstring inch = L"\"";
    const auto single = [&](int column, const std::wstring& text, const wchar_t* name = nullptr) {
        tv::TvFilterCellModel grid;
        const int r = grid.appendRow();
        grid.setText(r, column, text);
        if (name)
            grid.setText(r, tv::kFilterColumnName, name);
        grid.appendRow();
        return admitted(grid);
    };
    // 0.70 mm is shown as 0.028" and must still find its layers.
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"0.028" + inch), (Names{L"Layer8", L"Layer12"}));
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"0.007" + inch), Names{L"Layer14"});
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"Default", L"Layer1*"),
              (Names{L"Layer1", L"Layer10", L"Layer13", L"Layer15"}));
}
