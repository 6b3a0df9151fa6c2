// Filter expressions written from grid cells and read back: the text of every field in both
// lineweight units, round trips, and what the splitting rules do to awkward values.
#include "filters/TvFilterExpression.h"

#include "ModuleResources.h"
#include "pickers/TvLineweightText.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>

namespace {

using tv::TvFilterCellModel;
using tv::TvFilterConditionRows;
using tv::TvFilterEnvironment;
using tv::TvTriState;

TvFilterEnvironment environment(bool millimetres = true, bool inLayout = false) {
    TvFilterEnvironment env = TvFilterEnvironment::fromHost(); // no drawing: mm, model space
    env.millimetres = millimetres;
    env.inLayout = inLayout;
    return env;
}

/// A cell value: a tri-state or a text.
using Cell = std::variant<TvTriState, std::wstring>;

void setCell(TvFilterCellModel& grid, int row, int column, const Cell& value) {
    if (const auto* s = std::get_if<TvTriState>(&value))
        grid.setState(row, column, *s);
    else
        grid.setText(row, column, std::get<std::wstring>(value));
}

Cell cellOf(const TvFilterCellModel& grid, int row, int column) {
    if (tv::filterColumnInfo(column).kind == tv::TvFilterCellKind::kTriState)
        return grid.state(row, column);
    return grid.text(row, column);
}

/// A grid of condition rows (each a list of column and value) and its empty last row.
TvFilterCellModel gridOf(std::initializer_list<std::initializer_list<std::pair<int, Cell>>> rows,
                         bool inLayout = false) {
    TvFilterCellModel grid(inLayout);
    for (const auto& row : rows) {
        const int r = grid.appendRow();
        for (const auto& [column, value] : row)
            setCell(grid, r, column, value);
    }
    grid.appendRow();
    return grid;
}

std::wstring write(const TvFilterCellModel& grid, const TvFilterEnvironment& env) {
    TvFilterConditionRows rows;
    return tv::buildFilterExpression(grid, rows, env);
}

} // namespace

TEST(FilterExpressionWriter, WorkedExamples) {
    tvtest::ModuleResources res;
    const TvFilterEnvironment mm = environment();
    EXPECT_EQ(write(gridOf({{{tv::kFilterColumnName, L"WALL*"},
                             {tv::kFilterColumnFreeze, TvTriState::kTrue}},
                            {{tv::kFilterColumnColor, L"red"},
                             {tv::kFilterColumnLineweight, L"0.25 mm"}}}),
                    mm),
              LR"(NAME=="WALL*" AND FROZEN=="TRUE" OR COLOR=="1" AND LINEWEIGHT=="0.25")");
    EXPECT_EQ(write(gridOf({{{tv::kFilterColumnStatus, TvTriState::kFalse},
                             {tv::kFilterColumnPlot, TvTriState::kTrue}}}),
                    mm),
              LR"(USED=="FALSE" AND PLOTTABLE=="TRUE")");
    // Rows of "any" cells, "*" texts included, contribute nothing.
    EXPECT_EQ(write(gridOf({{{tv::kFilterColumnName, L"*"}}, {}}), mm), L"");
    EXPECT_EQ(write(gridOf({{}, {{tv::kFilterColumnLock, TvTriState::kTrue}}, {}}), mm),
              LR"(LOCKED=="TRUE")");
}

TEST(FilterExpressionWriter, EnvironmentComesFromTheDrawing) {
    KdDbDatabase db;
    kdedSetCurrentDatabase(&db);
    ASSERT_EQ(kdedSetShortVar(L"LWUNITS", 0), RTNORM);
    ASSERT_EQ(db.setTilemode(false), Kdad::eOk);
    const TvFilterEnvironment env = TvFilterEnvironment::fromHost();
    kdedDatabaseClosed(&db);
    EXPECT_FALSE(env.millimetres);
    EXPECT_TRUE(env.inLayout);
}

struct FieldCase {
    const char* what;
    int column;
    Cell cell;
    const wchar_t* expression;
    Cell readBack; ///< the cell after reading the expression back
    bool millimetres = true;
};

class FilterFieldRoundTrip : public ::testing::TestWithParam<FieldCase> {};

TEST_P(FilterFieldRoundTrip, WriteReadWriteGivesTheSameText) {
    tvtest::ModuleResources res;
    const FieldCase& c = GetParam();
    const TvFilterEnvironment env = environment(c.millimetres, true);
    const TvFilterCellModel grid = gridOf({{{c.column, c.cell}}}, true);
    const std::wstring text = write(grid, env);
    EXPECT_EQ(text, c.expression);

    TvFilterConditionRows rows;
    TvFilterCellModel back(true);
    tv::parseFilterExpression(text, rows, back, env);
    ASSERT_EQ(back.rowCount(), 2);
    EXPECT_TRUE(back.isRowEmpty(1)) << "the new-condition row";
    EXPECT_EQ(cellOf(back, 0, c.column), c.readBack);
    EXPECT_EQ(tv::buildFilterExpression(back, rows, env), text);
}

INSTANTIATE_TEST_SUITE_P(
    EveryField, FilterFieldRoundTrip,
    ::testing::Values(
        FieldCase{"Status", tv::kFilterColumnStatus, TvTriState::kTrue, LR"(USED=="TRUE")",
                  TvTriState::kTrue},
        FieldCase{"Name", tv::kFilterColumnName, L"WALL*", LR"(NAME=="WALL*")", L"WALL*"},
        FieldCase{"On", tv::kFilterColumnOn, TvTriState::kFalse, LR"(OFF=="FALSE")",
                  TvTriState::kFalse},
        FieldCase{"Freeze", tv::kFilterColumnFreeze, TvTriState::kTrue, LR"(FROZEN=="TRUE")",
                  TvTriState::kTrue},
        FieldCase{"Lock", tv::kFilterColumnLock, TvTriState::kFalse, LR"(LOCKED=="FALSE")",
                  TvTriState::kFalse},
        FieldCase{"ColorName", tv::kFilterColumnColor, L"Yellow", LR"(COLOR=="2")", L"2"},
        FieldCase{"ColorIndex", tv::kFilterColumnColor, L"30", LR"(COLOR=="30")", L"30"},
        FieldCase{"ColorBook", tv::kFilterColumnColor, L"DIC COLOR GUIDE(R)$DIC 7",
                  LR"(COLOR=="DIC COLOR GUIDE(R)$DIC 7")", L"DIC COLOR GUIDE(R)$DIC 7"},
        FieldCase{"Linetype", tv::kFilterColumnLinetype, L"DASHED", LR"(LINETYPE=="DASHED")",
                  L"DASHED"},
        FieldCase{"LineweightMm", tv::kFilterColumnLineweight, L"0.25 mm", LR"(LINEWEIGHT=="0.25")",
                  L"0.25 mm"},
        FieldCase{"LineweightInches", tv::kFilterColumnLineweight, L"0.010\"",
                  LR"(LINEWEIGHT=="0.25")", L"0.010\"", false},
        FieldCase{"LineweightDefault", tv::kFilterColumnLineweight, L"Default",
                  LR"(LINEWEIGHT=="-0.03")", L"Default"},
        FieldCase{"PlotStyle", tv::kFilterColumnPlotStyle, L"Color_7",
                  LR"(PLOTSTYLENAME=="Color_7")", L"Color_7"},
        FieldCase{"Plot", tv::kFilterColumnPlot, TvTriState::kTrue, LR"(PLOTTABLE=="TRUE")",
                  TvTriState::kTrue},
        FieldCase{"NewVpFreeze", tv::kFilterColumnNewVpFreeze, TvTriState::kFalse,
                  LR"(NEWVPFROZEN=="FALSE")", TvTriState::kFalse}),
    [](const auto& info) { return std::string(info.param.what); });

TEST(FilterExpressionLineweight, EveryStandardLineweightSurvivesTheInchText) {
    // Inches show three decimals; writing must find the lineweight the cell was made from, or
    // the filter stops admitting the layers whose lineweight it showed (0.50 mm as 0.51).
    const TvFilterEnvironment inches = environment(false);
    const TvFilterEnvironment mm = environment(true);
    for (int lw : tv::kLineweightList) {
        if (lw < 0)
            continue;
        const std::wstring value = std::to_wstring(lw / 100) + L"." + (lw % 100 < 10 ? L"0" : L"") +
                                   std::to_wstring(lw % 100);
        SCOPED_TRACE(tvToUtf8(value));
        EXPECT_EQ(tv::lineweightConditionValue(tv::lineweightCellText(value, inches), inches),
                  value);
        EXPECT_EQ(tv::lineweightConditionValue(tv::lineweightCellText(value, mm), mm), value);
    }
    // Any negative value shows the default word; a text that is no number reads as 0.
    EXPECT_EQ(tv::lineweightCellText(L"-1", inches), inches.defaultLineweightWord);
    EXPECT_EQ(tv::lineweightCellText(L"thick", mm), L"0.00 mm");
    EXPECT_EQ(tv::lineweightConditionValue(L"thick", mm), L"thick");
    // A cell without the unit mark of the current unit is written as it stands.
    EXPECT_EQ(tv::lineweightConditionValue(L"0.30 mm", inches), L"0.30 mm");
    EXPECT_EQ(tv::lineweightConditionValue(L"0.012\"", mm), L"0.012\"");
}

TEST(FilterExpressionReader, SeparatorsAndQuotesInsideValuesAreNotProtected) {
    const TvFilterEnvironment env = environment();
    // " OR " inside a name cuts it; the rest has no "==" and becomes a row without clauses.
    const std::wstring cut = write(gridOf({{{tv::kFilterColumnName, L"A OR B"}}}), env);
    EXPECT_EQ(cut, LR"(NAME=="A OR B")");
    TvFilterConditionRows rows = tv::splitFilterExpression(cut);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(*rows[0].find(L"NAME"), L"A");
    EXPECT_TRUE(rows[1].empty());
    // " AND " likewise; the tail becomes a clause of its own when it holds "==".
    rows = tv::splitFilterExpression(LR"(NAME=="X AND LINETYPE==DASHED")");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(*rows[0].find(L"NAME"), L"X");
    EXPECT_EQ(*rows[0].find(L"LINETYPE"), L"DASHED");
    // Every quote at either end of a value goes, then the blanks: a quote behind a blank stays.
    rows = tv::splitFilterExpression(LR"(NAME==""Q"" AND LINETYPE== "DOT" )");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(*rows[0].find(L"NAME"), L"Q");
    EXPECT_EQ(*rows[0].find(L"LINETYPE"), L"\"DOT");
    // Trailing " ", "A", "N", "D", "O", "R" of values survive the writer's character trims.
    EXPECT_EQ(
        write(gridOf({{{tv::kFilterColumnName, L"BRAND"}}, {{tv::kFilterColumnName, L"OR"}}}), env),
        LR"(NAME=="BRAND" OR NAME=="OR")");
}

TEST(FilterExpressionReader, MalformedTextIsSplitAsFarAsItGoes) {
    struct Case {
        const wchar_t* text;
        size_t rows;
        size_t clausesOfFirst;
    };
    const Case cases[] = {
        {L"", 0, 0},
        {L"   ", 0, 0},
        {LR"(NAME=="A" AND junk AND FROZEN=="TRUE")", 1, 2},
        {LR"(=="x" AND NAME=="A")", 1, 1},
        {LR"(junk OR NAME=="A")", 2, 0},
        {LR"(NAME=="A" OR OR FROZEN=="TRUE")", 2, 1},
        {LR"(  NAME=="A"   OR   FROZEN=="TRUE"  )", 2, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(tvToUtf8(c.text));
        const TvFilterConditionRows rows = tv::splitFilterExpression(c.text);
        ASSERT_EQ(rows.size(), c.rows);
        if (!rows.empty()) {
            EXPECT_EQ(rows[0].size(), c.clausesOfFirst);
        }
    }
    // No rows: the grid shows only its new-condition row.
    TvFilterConditionRows rows;
    TvFilterCellModel grid;
    tv::parseFilterExpression(L"", rows, grid, environment());
    EXPECT_EQ(grid.rowCount(), 1);
}

TEST(FilterExpressionReader, BooleanValuesIgnoreCaseAndOthersMeanAny) {
    TvFilterConditionRows rows;
    TvFilterCellModel grid;
    tv::parseFilterExpression(LR"(FROZEN=="true" AND LOCKED=="False" AND OFF=="maybe")", rows, grid,
                              environment());
    EXPECT_EQ(grid.state(0, tv::kFilterColumnFreeze), TvTriState::kTrue);
    EXPECT_EQ(grid.state(0, tv::kFilterColumnLock), TvTriState::kFalse);
    EXPECT_EQ(grid.state(0, tv::kFilterColumnOn), TvTriState::kAny);
    // The icon combo's "layer off" image sets the On column's condition OFF=="TRUE".
    grid.setImage(0, tv::kFilterColumnOn, 2);
    EXPECT_EQ(grid.state(0, tv::kFilterColumnOn), TvTriState::kTrue);
}

TEST(FilterExpressionRows, UnknownWordsAndViewportFreezeStayWithTheirRow) {
    const std::wstring stored = LR"(DESCRIPTION=="door*" AND NAME=="A*" AND VPFROZEN=="TRUE")";
    // Model space: the user changes the name; the other clauses are written again as they came.
    {
        const TvFilterEnvironment env = environment(true, false);
        TvFilterConditionRows rows;
        TvFilterCellModel grid(false);
        tv::parseFilterExpression(stored, rows, grid, env);
        ASSERT_EQ(grid.text(0, tv::kFilterColumnName), L"A*");
        EXPECT_EQ(tv::buildFilterExpression(grid, rows, env), stored);
        grid.setText(0, tv::kFilterColumnName, L"B*");
        EXPECT_EQ(tv::buildFilterExpression(grid, rows, env),
                  LR"(DESCRIPTION=="door*" AND NAME=="B*" AND VPFROZEN=="TRUE")");
    }
    // In a layout the reader leaves the viewport-freeze cell empty, so the writer drops the
    // clause unless the user sets the cell again.
    {
        const TvFilterEnvironment env = environment(true, true);
        TvFilterConditionRows rows;
        TvFilterCellModel grid(true);
        tv::parseFilterExpression(stored, rows, grid, env);
        EXPECT_EQ(grid.state(0, tv::kFilterColumnVpFreeze), TvTriState::kAny);
        EXPECT_EQ(tv::buildFilterExpression(grid, rows, env),
                  LR"(DESCRIPTION=="door*" AND NAME=="A*")");
        grid.setState(0, tv::kFilterColumnVpFreeze, TvTriState::kFalse);
        EXPECT_EQ(tv::buildFilterExpression(grid, rows, env),
                  LR"(DESCRIPTION=="door*" AND NAME=="A*" AND VPFROZEN=="FALSE")");
    }
}
