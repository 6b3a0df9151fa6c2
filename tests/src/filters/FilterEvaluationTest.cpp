// Expressions written from grid rows, evaluated by the Host's filter on a real drawing: the
// layers admitted are the ones a user picked the conditions for, checked by hand.
#include "filters/TvFilterExpression.h"

#include "TvTestResources.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdLyLayerFilter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::wstring>;
using tv::TvTriState;

class FilterEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string path = std::string(TV_TESTDATA_DIR) + "/showcase_r2018.dxf";
        if (!std::filesystem::exists(path))
            GTEST_SKIP() << path << " is missing (the shared test drawings are not here)";
        std::string err;
        ASSERT_EQ(m_db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
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
    int r = row(); // a name pattern with a lineweight: only the 0.35 mm layer of the "l" ones
    grid.setText(r, tv::kFilterColumnName, L"Layer_l*");
    grid.setText(r, tv::kFilterColumnLineweight, L"0.35 mm");
    r = row(); // layers that are off
    grid.setState(r, tv::kFilterColumnOn, TvTriState::kTrue);
    r = row(); // white (by its colour name) and not plotted
    grid.setText(r, tv::kFilterColumnColor, L"White");
    grid.setState(r, tv::kFilterColumnPlot, TvTriState::kFalse);
    r = row(); // a linetype
    grid.setText(r, tv::kFilterColumnLinetype, L"ACAD_ISO02W100");
    grid.appendRow();
    std::wstring text;
    EXPECT_EQ(admitted(grid, &text), (Names{L"Layer_lw_035", L"Layer_Off", L"Layer_NoPlot",
                                            L"Defpoints", L"Layer_Lt_dash"}));
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
    // 0.50 mm is shown as 0.020" and must still find its layer.
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"0.020" + inch), Names{L"Layer_lw_050"});
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"0.014" + inch), Names{L"Layer_lw_035"});
    EXPECT_EQ(single(tv::kFilterColumnLineweight, L"Default", L"Layer_l*"),
              (Names{L"Layer_Lock", L"Layer_Lt_dash"}));
}
