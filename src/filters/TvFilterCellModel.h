// The cell values of the filter definition grid: one tri-state or text per condition field.
#pragma once

#include <string>
#include <vector>

namespace tv {

/// Columns of the definition grid, in their order; the viewport-freeze column exists only
/// while the drawing is in a layout.
enum TvFilterColumn : int {
    kFilterColumnStatus = 0,
    kFilterColumnName,
    kFilterColumnOn,
    kFilterColumnFreeze,
    kFilterColumnLock,
    kFilterColumnColor,
    kFilterColumnLinetype,
    kFilterColumnLineweight,
    kFilterColumnPlotStyle,
    kFilterColumnPlot,
    kFilterColumnNewVpFreeze,
    kFilterColumnVpFreeze,
};
inline constexpr int kFilterColumnsModelSpace = 11;
inline constexpr int kFilterColumnsLayout = 12;

/// A boolean condition: true, false, or "any" (no condition on that field).
enum class TvTriState { kAny, kTrue, kFalse };

/// What a column's cells hold and how they are edited.
enum class TvFilterCellKind {
    kTriState,   ///< icon combo: any, true, false
    kText,       ///< typed text; "*" or nothing means any
    kColor,      ///< text with a colour picker; drawn with a swatch while it holds a value
    kLineweight, ///< text with a lineweight picker; drawn with a sample while it holds a value
};

/// Images the grid paints for a value-holding colour or lineweight cell, and for "no image".
inline constexpr int kFilterImageNone = -1;
inline constexpr int kFilterImageColorSwatch = 10000;
inline constexpr int kFilterImageLineweightSample = 10001;

/// One column of the definition grid: the field word it writes, its heading, its initial
/// width, its kind, and for tri-state columns the images that stand for true and false.
struct TvFilterColumnInfo {
    const wchar_t* field;
    unsigned headerId;
    int width;
    TvFilterCellKind kind;
    int trueImage;
    int falseImage;
};

/// The description of `column` (0 .. kFilterColumnsLayout - 1).
const TvFilterColumnInfo& filterColumnInfo(int column);

/// The grid's cells: rows of condition values, one cell per column. The last row of a grid
/// in use is the empty new-condition row; the model does not enforce it, the grid does.
class TvFilterCellModel {
public:
    /// 11 columns in model space, 12 in a layout.
    explicit TvFilterCellModel(bool inLayout = false);

    int columnCount() const { return m_columns; }
    int rowCount() const { return static_cast<int>(m_rows.size()); }

    /// Removes every row.
    void clear() { m_rows.clear(); }
    /// Adds an empty row (every cell "any") at the end and returns its index.
    int appendRow();
    /// Inserts an empty row before `row` (rowCount() appends).
    void insertRow(int row);
    void removeRow(int row);

    /// The state of a tri-state cell; kAny for a column the grid does not have.
    TvTriState state(int row, int column) const;
    void setState(int row, int column, TvTriState state);
    /// The text of a text cell; empty for a column the grid does not have.
    const std::wstring& text(int row, int column) const;
    void setText(int row, int column, std::wstring text);

    /// Whether the cell sets no condition: a tri-state cell at any, a text cell empty or "*".
    bool isAny(int row, int column) const;
    /// Whether every cell of the row is "any".
    bool isRowEmpty(int row) const;

    /// The image the grid paints in the cell: the column's true or false image, the colour
    /// swatch or lineweight sample of a cell holding a value, else kFilterImageNone.
    int image(int row, int column) const;
    /// Sets a tri-state cell from the image the icon combo chose (anything but the column's
    /// true and false images means any). Other columns ignore it: their image follows the text.
    void setImage(int row, int column, int image);

private:
    struct Cell {
        TvTriState state = TvTriState::kAny;
        std::wstring text;
    };
    bool valid(int row, int column) const;

    int m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

} // namespace tv
