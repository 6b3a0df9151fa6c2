// The text of a property filter: written from the definition grid, read back into its rows.
#include "filters/TvFilterExpression.h"

#include "pickers/TvLineweightText.h"
#include "tv/KdCmColor.h"
#include "tv/KdEdEditor.h"
#include "tv/KdFormat.h"
#include "tv/KdUtf8.h"

#include <cmath>
#include <optional>
#include <string>

namespace tv {
namespace {

constexpr std::wstring_view kOr = L" OR ";
constexpr std::wstring_view kAnd = L" AND ";
constexpr std::wstring_view kEquals = L"==";
constexpr wchar_t kQuote = L'"';
constexpr std::wstring_view kTrue = L"TRUE";
constexpr std::wstring_view kFalse = L"FALSE";
constexpr std::wstring_view kAnyValue = L"*";

constexpr std::wstring_view kMillimetreMark = L" mm";
constexpr wchar_t kInchMark = L'"';
constexpr std::wstring_view kDefaultLineweightValue = L"-0.03";
constexpr double kMillimetresPerInch = 25.4;
constexpr double kHundredthsPerInch = 2540.0;
// An inch text has three decimals, so the lineweight it stands for lies within half a
// thousandth of an inch of it: 1.27 hundredths of a millimetre. The standard lineweights are
// at least two hundredths apart, so at most one lies that close.
constexpr double kInchTextTolerance = 1.27;
constexpr int kTilemodeModelSpace = 1;

bool isWhite(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

std::wstring trimWhite(std::wstring_view s) {
    size_t b = 0;
    size_t e = s.size();
    while (b < e && isWhite(s[b]))
        ++b;
    while (e > b && isWhite(s[e - 1]))
        --e;
    return std::wstring(s.substr(b, e - b));
}

/// Removes from the end every character that is one of `set` (a set, not a suffix).
void trimRightSet(std::wstring& s, std::wstring_view set) {
    while (!s.empty() && set.find(s.back()) != std::wstring_view::npos)
        s.pop_back();
}

std::wstring stripQuotes(std::wstring_view s) {
    size_t b = 0;
    size_t e = s.size();
    while (b < e && s[b] == kQuote)
        ++b;
    while (e > b && s[e - 1] == kQuote)
        --e;
    return std::wstring(s.substr(b, e - b));
}

/// The decimal number at the start of `text` (after blanks), read the same way in every
/// locale; nothing when the text does not begin with one.
std::optional<double> leadingNumber(std::wstring_view text) {
    size_t i = 0;
    while (i < text.size() && isWhite(text[i]))
        ++i;
    double value = 0;
    size_t used = 0;
    if (!tvParseReal(text.substr(i), value, &used))
        return std::nullopt;
    return value;
}

/// `value` with `decimals` decimals ("%.*f"), the same in every locale.
std::wstring fixedText(double value, int decimals) {
    return tvFormat(L"%.*f", decimals, value);
}

/// A standard lineweight in hundredths as millimetres ("0.25"), exact by construction.
std::wstring hundredthsAsMillimetres(int hundredths) {
    std::wstring frac = std::to_wstring(hundredths % 100);
    if (frac.size() < 2)
        frac.insert(0, 1, L'0');
    return std::to_wstring(hundredths / 100) + L"." + frac;
}

/// The standard lineweight that an inch text of `inches` was rounded from, or nothing.
std::optional<int> standardLineweightNear(double inches) {
    const double hundredths = inches * kHundredthsPerInch;
    for (int lw : kLineweightList)
        if (lw >= 0 && std::fabs(hundredths - lw) <= kInchTextTolerance)
            return lw;
    return std::nullopt;
}

/// The value of one grid cell as the writer sees it, before conversion.
std::wstring cellValue(const TvFilterCellModel& grid, int row, int column) {
    if (filterColumnInfo(column).kind != TvFilterCellKind::kTriState)
        return grid.text(row, column);
    switch (grid.state(row, column)) {
    case TvTriState::kTrue:
        return std::wstring(kTrue);
    case TvTriState::kFalse:
        return std::wstring(kFalse);
    case TvTriState::kAny:
        break;
    }
    return std::wstring(kAnyValue);
}

std::wstring convertValue(int column, const std::wstring& value, const TvFilterEnvironment& env) {
    switch (filterColumnInfo(column).kind) {
    case TvFilterCellKind::kColor:
        return colorConditionValue(value, env);
    case TvFilterCellKind::kLineweight:
        return lineweightConditionValue(value, env);
    default:
        return value;
    }
}

void updateRow(const TvFilterCellModel& grid, int row, TvFilterConditionRow& map,
               const TvFilterEnvironment& env) {
    // The viewport-freeze column is last; in model space its field is neither written nor
    // removed, so a clause that came with the filter survives.
    const int columns = env.inLayout ? kFilterColumnsLayout : kFilterColumnsModelSpace;
    for (int c = 0; c < columns; ++c) {
        const wchar_t* field = filterColumnInfo(c).field;
        const std::wstring value = cellValue(grid, row, c);
        if (value.empty() || value == kAnyValue)
            map.remove(field);
        else
            map.set(field, convertValue(c, value, env));
    }
}

/// Sets map[key] = value for one clause: the quotes at both ends of the value go first, then
/// the blanks, so a hand-written `NAME== "A*"` keeps its opening quote as filters always have.
void addClause(TvFilterConditionRow& map, std::wstring_view key, std::wstring_view value) {
    const std::wstring k = trimWhite(key);
    if (k.empty())
        return;
    map.set(k, trimWhite(stripQuotes(value)));
}

TvFilterConditionRow splitRow(std::wstring row) {
    TvFilterConditionRow map;
    size_t q = row.find(kAnd);
    while (q != std::wstring::npos && q > 0) {
        const size_t e = row.find(kEquals);
        if (e != std::wstring::npos && e < q)
            addClause(map, std::wstring_view(row).substr(0, e),
                      std::wstring_view(row).substr(e + kEquals.size(), q - e - kEquals.size()));
        row = trimWhite(std::wstring_view(row).substr(q + kAnd.size()));
        q = row.find(kAnd);
    }
    if (!row.empty()) {
        const size_t e = row.find(kEquals);
        if (e != std::wstring::npos && e > 0)
            addClause(map, std::wstring_view(row).substr(0, e),
                      std::wstring_view(row).substr(e + kEquals.size()));
    }
    return map;
}

/// The grid column that shows `field`, or -1. Viewport freeze is never shown back: the reader
/// leaves that clause in the row's map only.
int displayColumn(std::wstring_view field) {
    for (int c = 0; c < kFilterColumnVpFreeze; ++c)
        if (field == filterColumnInfo(c).field)
            return c;
    return -1;
}

void fillRow(TvFilterCellModel& grid, int row, const TvFilterConditionRow& map,
             const TvFilterEnvironment& env) {
    for (const auto& [rawKey, rawValue] : map) {
        const std::wstring key = trimWhite(rawKey);
        const std::wstring value = trimWhite(rawValue);
        if (key.empty() || value.empty())
            continue;
        const int c = displayColumn(key);
        if (c < 0)
            continue;
        switch (filterColumnInfo(c).kind) {
        case TvFilterCellKind::kTriState:
            if (tvEqualsNoCase(value, kTrue))
                grid.setState(row, c, TvTriState::kTrue);
            else if (tvEqualsNoCase(value, kFalse))
                grid.setState(row, c, TvTriState::kFalse);
            break;
        case TvFilterCellKind::kLineweight:
            grid.setText(row, c, lineweightCellText(value, env));
            break;
        case TvFilterCellKind::kText:
        case TvFilterCellKind::kColor:
            grid.setText(row, c, value);
            break;
        }
    }
}

} // namespace

TvFilterEnvironment TvFilterEnvironment::fromHost() {
    TvFilterEnvironment env;
    env.millimetres = lineweightUnitsAreMillimetres(true);
    env.inLayout = kdedGetShortVar(L"TILEMODE", kTilemodeModelSpace) != kTilemodeModelSpace;
    if (const wchar_t* const* names = kdcmGetLocalizedColorNames()) {
        for (size_t i = 0; i < env.colorNames.size(); ++i)
            env.colorNames[i] = names[i + 1] ? names[i + 1] : L"";
    }
    // The dialog text of the default lineweight is the localised default word.
    env.defaultLineweightWord = lineweightDialogText(kLineweightDefault, true);
    return env;
}

std::wstring colorConditionValue(std::wstring_view cellText, const TvFilterEnvironment& env) {
    for (size_t i = 0; i < env.colorNames.size(); ++i)
        if (!env.colorNames[i].empty() && tvEqualsNoCase(cellText, env.colorNames[i]))
            return std::to_wstring(i + 1);
    return std::wstring(cellText);
}

std::wstring lineweightConditionValue(std::wstring_view cellText, const TvFilterEnvironment& env) {
    if (!env.defaultLineweightWord.empty() && tvEqualsNoCase(cellText, env.defaultLineweightWord))
        return std::wstring(kDefaultLineweightValue);
    if (env.millimetres) {
        const size_t mark = cellText.find(kMillimetreMark);
        return std::wstring(mark == std::wstring_view::npos ? cellText : cellText.substr(0, mark));
    }
    const size_t mark = cellText.find(kInchMark);
    if (mark == std::wstring_view::npos)
        return std::wstring(cellText);
    const double inches = leadingNumber(cellText.substr(0, mark)).value_or(0.0);
    // "%.2f" of the product alone would turn 0.50 mm, shown as 0.020", into 0.51: the
    // filter would no longer admit the layers whose lineweight the cell showed.
    if (const std::optional<int> lw = standardLineweightNear(inches))
        return hundredthsAsMillimetres(*lw);
    return fixedText(inches * kMillimetresPerInch, 2);
}

std::wstring lineweightCellText(std::wstring_view value, const TvFilterEnvironment& env) {
    // Text that is not a number reads as 0, as the Host's own conversion reads it.
    const double mm = leadingNumber(value).value_or(0.0);
    if (mm < 0)
        return env.defaultLineweightWord;
    if (env.millimetres)
        return fixedText(mm, 2) + std::wstring(kMillimetreMark);
    return fixedText(mm / kMillimetresPerInch, 3) + kInchMark;
}

std::wstring buildFilterExpression(const TvFilterCellModel& grid, TvFilterConditionRows& rows,
                                   const TvFilterEnvironment& env) {
    const int conditionRows = grid.rowCount() - 1;
    for (int r = 0; r < conditionRows; ++r) {
        if (static_cast<size_t>(r) >= rows.size())
            rows.emplace_back();
        updateRow(grid, r, rows[static_cast<size_t>(r)], env);
    }
    return joinFilterRows(rows);
}

std::wstring joinFilterRows(const TvFilterConditionRows& rows) {
    std::wstring out;
    for (const TvFilterConditionRow& map : rows) {
        std::wstring row;
        for (const auto& [field, value] : map) {
            row += field;
            row += kEquals;
            row += kQuote;
            row += value;
            row += kQuote;
            row += kAnd;
        }
        // Every clause ends with a quote, so these character-set trims stop at the last
        // clause and never eat a value's own trailing " ", "A", "N", "D", "O" or "R".
        trimRightSet(row, L" AND");
        row = trimWhite(row);
        if (!row.empty()) {
            out += row;
            out += kOr;
        }
    }
    trimRightSet(out, L" OR");
    return out;
}

TvFilterConditionRows splitFilterExpression(std::wstring_view expression) {
    TvFilterConditionRows rows;
    std::wstring s = trimWhite(expression);
    size_t p = s.find(kOr);
    if (p == std::wstring::npos)
        p = s.size();
    while (p > 0) {
        const std::wstring row = trimWhite(std::wstring_view(s).substr(0, p));
        // A row keeps its place even when none of its clauses could be read.
        if (!row.empty())
            rows.push_back(splitRow(row));
        s = p + kOr.size() < s.size() ? trimWhite(std::wstring_view(s).substr(p + kOr.size()))
                                      : std::wstring();
        p = s.find(kOr);
        if (p == std::wstring::npos)
            p = s.size();
    }
    return rows;
}

void reloadFilterGrid(TvFilterCellModel& grid, const TvFilterConditionRows& rows,
                      const TvFilterEnvironment& env) {
    grid.clear();
    for (const TvFilterConditionRow& map : rows)
        fillRow(grid, grid.appendRow(), map, env);
    grid.appendRow();
}

void parseFilterExpression(std::wstring_view expression, TvFilterConditionRows& rows,
                           TvFilterCellModel& grid, const TvFilterEnvironment& env) {
    rows = splitFilterExpression(expression);
    reloadFilterGrid(grid, rows, env);
}

} // namespace tv
