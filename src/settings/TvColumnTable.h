// The fixed columns of the layer lists and their default widths and positions.
#pragma once

#include "settings/TvColumnRecord.h"

#include <span>

namespace tv {

inline constexpr int kModelSpaceColumnCount = 12;
inline constexpr int kPaperSpaceColumnCount = 13;
/// Default position of a column that only paper space has.
inline constexpr int kNoModelSpaceIndex = -1;

/// One row of the column table. The value names are the stem with "Width" and "Index".
struct TvColumnDefault {
    const wchar_t* stem;
    unsigned titleId;
    int32_t width;
    int32_t modelSpaceIndex; ///< kNoModelSpaceIndex for a paper-space-only column
    int32_t paperSpaceIndex;
};

/// The column table in its fixed order (the order in which settings are read): Status, Name,
/// On, Freeze, Lock, Color, LineType, LineWeight, PlotStyle, Plot, NewVpFreeze, Descr,
/// VpFreeze. The last is present in paper space only.
std::span<const TvColumnDefault> columnTable();

/// The records of the table with their value names, titles (from the current resource
/// library) and default widths and positions, in table order, not sorted.
TvColumnSet defaultColumnSet(bool paperSpace);

/// Sorts the records by position, ascending; records of equal position keep their order.
void sortColumnsByIndex(TvColumnSet& columns);

} // namespace tv
