// The fixed columns of the layer lists and their default widths and positions.
#include "settings/TvColumnTable.h"

#include "common/TvResourceText.h"

#include <algorithm>
#include <iterator>

namespace tv {
namespace {

// The LineWeight title (1870) is out of the sequence of the others; that is its number.
constexpr TvColumnDefault kColumns[] = {
    {L"Status", 1856, 30, 0, 0},
    {L"Name", 1857, 70, 1, 1},
    {L"On", 1858, 30, 2, 2},
    {L"Freeze", 1859, 40, 3, 3},
    {L"Lock", 1860, 35, 4, 4},
    {L"Color", 1861, 60, 5, 5},
    {L"LineType", 1862, 80, 6, 6},
    {L"LineWeight", 1870, 80, 7, 7},
    {L"PlotStyle", 1863, 60, 8, 8},
    {L"Plot", 1864, 40, 9, 9},
    {L"NewVpFreeze", 1865, 60, 10, 10},
    {L"Descr", 1867, 90, 11, 12},
    {L"VpFreeze", 1866, 60, kNoModelSpaceIndex, 11},
};
static_assert(std::size(kColumns) == kPaperSpaceColumnCount);

} // namespace

std::span<const TvColumnDefault> columnTable() {
    return kColumns;
}

TvColumnSet defaultColumnSet(bool paperSpace) {
    TvColumnSet set;
    set.reserve(std::size(kColumns));
    for (const TvColumnDefault& d : kColumns) {
        const int32_t index = paperSpace ? d.paperSpaceIndex : d.modelSpaceIndex;
        if (index == kNoModelSpaceIndex)
            continue;
        TvColumnRecord r;
        r.widthValueName = std::wstring(d.stem) + L"Width";
        r.orderValueName = std::wstring(d.stem) + L"Index";
        r.title = resourceText(d.titleId, d.stem);
        r.index = index;
        r.width = d.width;
        set.push_back(std::move(r));
    }
    return set;
}

void sortColumnsByIndex(TvColumnSet& columns) {
    std::stable_sort(
        columns.begin(), columns.end(),
        [](const TvColumnRecord& a, const TvColumnRecord& b) { return a.index < b.index; });
}

} // namespace tv
