// The cell values of the filter definition grid.
#include "filters/TvFilterCellModel.h"

#include <cassert>
#include <iterator>

namespace tv {
namespace {

constexpr int kNoImage = kFilterImageNone;

// The grid's columns: field word, heading, width, kind, and the images of true and false
// (the image list's "layer off" icon means true for the On column, whose field is OFF).
constexpr TvFilterColumnInfo kColumns[] = {
    {L"USED", 1856, 30, TvFilterCellKind::kTriState, 15, 25},
    {L"NAME", 1857, 70, TvFilterCellKind::kText, kNoImage, kNoImage},
    {L"OFF", 1858, 30, TvFilterCellKind::kTriState, 2, 9},
    {L"FROZEN", 1859, 40, TvFilterCellKind::kTriState, 0, 6},
    {L"LOCKED", 1860, 35, TvFilterCellKind::kTriState, 5, 8},
    {L"COLOR", 1861, 60, TvFilterCellKind::kColor, kNoImage, kNoImage},
    {L"LINETYPE", 1862, 80, TvFilterCellKind::kText, kNoImage, kNoImage},
    {L"LINEWEIGHT", 1870, 80, TvFilterCellKind::kLineweight, kNoImage, kNoImage},
    {L"PLOTSTYLENAME", 1863, 60, TvFilterCellKind::kText, kNoImage, kNoImage},
    {L"PLOTTABLE", 1864, 40, TvFilterCellKind::kTriState, 35, 36},
    {L"NEWVPFROZEN", 1865, 60, TvFilterCellKind::kTriState, 12, 13},
    {L"VPFROZEN", 1866, 60, TvFilterCellKind::kTriState, 12, 13},
};
static_assert(std::size(kColumns) == kFilterColumnsLayout);

const std::wstring& emptyText() {
    static const std::wstring empty;
    return empty;
}

} // namespace

const TvFilterColumnInfo& filterColumnInfo(int column) {
    assert(column >= 0 && column < kFilterColumnsLayout);
    return kColumns[column];
}

TvFilterCellModel::TvFilterCellModel(bool inLayout)
    : m_columns(inLayout ? kFilterColumnsLayout : kFilterColumnsModelSpace) {}

int TvFilterCellModel::appendRow() {
    m_rows.emplace_back(static_cast<size_t>(m_columns));
    return rowCount() - 1;
}

void TvFilterCellModel::insertRow(int row) {
    assert(row >= 0 && row <= rowCount());
    m_rows.insert(m_rows.begin() + row, std::vector<Cell>(static_cast<size_t>(m_columns)));
}

void TvFilterCellModel::removeRow(int row) {
    assert(row >= 0 && row < rowCount());
    m_rows.erase(m_rows.begin() + row);
}

bool TvFilterCellModel::valid(int row, int column) const {
    return row >= 0 && row < rowCount() && column >= 0 && column < m_columns;
}

TvTriState TvFilterCellModel::state(int row, int column) const {
    return valid(row, column) ? m_rows[row][column].state : TvTriState::kAny;
}

void TvFilterCellModel::setState(int row, int column, TvTriState state) {
    assert(valid(row, column));
    assert(kColumns[column].kind == TvFilterCellKind::kTriState);
    m_rows[row][column].state = state;
}

const std::wstring& TvFilterCellModel::text(int row, int column) const {
    return valid(row, column) ? m_rows[row][column].text : emptyText();
}

void TvFilterCellModel::setText(int row, int column, std::wstring text) {
    assert(valid(row, column));
    assert(kColumns[column].kind != TvFilterCellKind::kTriState);
    m_rows[row][column].text = std::move(text);
}

bool TvFilterCellModel::isAny(int row, int column) const {
    assert(column >= 0 && column < kFilterColumnsLayout);
    if (kColumns[column].kind == TvFilterCellKind::kTriState)
        return state(row, column) == TvTriState::kAny;
    const std::wstring& t = text(row, column);
    return t.empty() || t == L"*";
}

bool TvFilterCellModel::isRowEmpty(int row) const {
    for (int c = 0; c < m_columns; ++c)
        if (!isAny(row, c))
            return false;
    return true;
}

int TvFilterCellModel::image(int row, int column) const {
    assert(column >= 0 && column < kFilterColumnsLayout);
    const TvFilterColumnInfo& info = kColumns[column];
    switch (info.kind) {
    case TvFilterCellKind::kTriState:
        switch (state(row, column)) {
        case TvTriState::kTrue:
            return info.trueImage;
        case TvTriState::kFalse:
            return info.falseImage;
        case TvTriState::kAny:
            return kFilterImageNone;
        }
        return kFilterImageNone;
    case TvFilterCellKind::kColor:
        return text(row, column).empty() ? kFilterImageNone : kFilterImageColorSwatch;
    case TvFilterCellKind::kLineweight:
        return text(row, column).empty() ? kFilterImageNone : kFilterImageLineweightSample;
    case TvFilterCellKind::kText:
        return kFilterImageNone;
    }
    return kFilterImageNone;
}

void TvFilterCellModel::setImage(int row, int column, int image) {
    assert(column >= 0 && column < kFilterColumnsLayout);
    const TvFilterColumnInfo& info = kColumns[column];
    if (info.kind != TvFilterCellKind::kTriState)
        return;
    const TvTriState s = image == info.trueImage    ? TvTriState::kTrue
                         : image == info.falseImage ? TvTriState::kFalse
                                                    : TvTriState::kAny;
    setState(row, column, s);
}

} // namespace tv
