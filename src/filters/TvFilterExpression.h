// The text of a property filter: written from the definition grid, read back into its rows.
#pragma once

#include "filters/TvFilterCellModel.h"
#include "filters/TvFilterConditionRow.h"

#include <array>
#include <string>
#include <string_view>

namespace tv {

/// What the writer and the reader take from the Host: the lineweight unit, whether the drawing
/// is in a layout, the names of colours 1 to 7 and the word for the default lineweight.
struct TvFilterEnvironment {
    bool millimetres = true;                ///< "LWUNITS" is 1 or cannot be read
    bool inLayout = false;                  ///< "TILEMODE" is 0
    std::array<std::wstring, 7> colorNames; ///< colours 1..7; empty entries never match
    std::wstring defaultLineweightWord = L"Default";

    /// Reads "LWUNITS" and "TILEMODE" of the current drawing (millimetres and model space when
    /// there is none), the Host's localised colour names and string 1895.
    static TvFilterEnvironment fromHost();
};

/// The value a colour cell writes: "1".."7" when the text is one of the seven colour names
/// (case ignored), else the text as it stands.
std::wstring colorConditionValue(std::wstring_view cellText, const TvFilterEnvironment& env);

/// The value a lineweight cell writes, always millimetres: "-0.03" for the default word; in
/// millimetres the text before " mm"; in inches the number before the inch mark times 25.4 as
/// "%.2f", taken to the standard lineweight that the inch text was rounded from; a text
/// without the unit mark as it stands.
std::wstring lineweightConditionValue(std::wstring_view cellText, const TvFilterEnvironment& env);

/// The text a lineweight cell shows for a written value: the default word below 0, else
/// "%.2f mm" or, in inches, value / 25.4 as "%.3f\"". A value that does not begin with a
/// number is shown as it stands, so that it is written back unchanged.
std::wstring lineweightCellText(std::wstring_view value, const TvFilterEnvironment& env);

/// Updates `rows` from every grid row but the last (the empty new-condition row) and returns
/// the expression of all rows. A grid row without a map gets a new one appended to `rows`.
/// Fields the grid controls are set, or removed when the cell is "any"; other words in a map
/// stay. "VPFROZEN" is read from the grid only in a layout and left alone in model space.
std::wstring buildFilterExpression(const TvFilterCellModel& grid, TvFilterConditionRows& rows,
                                   const TvFilterEnvironment& env);

/// The expression of `rows`: each row's clauses FIELD=="value" joined by " AND ", the rows
/// that have any joined by " OR ".
std::wstring joinFilterRows(const TvFilterConditionRows& rows);

/// Splits an expression into rows at " OR " and into clauses at " AND " and "==". Quotes
/// around a value are dropped, and so are blanks around keys and values; a clause without
/// "==" before its " AND ", or with nothing before "==", is dropped, and so is a row left
/// without clauses. Separators inside quotes are not protected: they split there too.
TvFilterConditionRows splitFilterExpression(std::wstring_view expression);

/// Refills the grid: one row per map, then the empty new-condition row. Fields the grid has a
/// column for are shown; "VPFROZEN" and unknown words stay in the maps only.
void reloadFilterGrid(TvFilterCellModel& grid, const TvFilterConditionRows& rows,
                      const TvFilterEnvironment& env);

/// splitFilterExpression into `rows`, then reloadFilterGrid.
void parseFilterExpression(std::wstring_view expression, TvFilterConditionRows& rows,
                           TvFilterCellModel& grid, const TvFilterEnvironment& env);

} // namespace tv
