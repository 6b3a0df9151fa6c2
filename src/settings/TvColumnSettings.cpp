// The widths and positions of the layer lists' columns, kept per user and per space.
#include "settings/TvColumnSettings.h"

#include "settings/TvColumnTable.h"
#include "settings/TvRegKey.h"
#include "settings/TvSettingsBase.h"

#include "tv/KdEdEditor.h"

#include <cstdint>
#include <limits>
#include <optional>

namespace tv {
namespace {

/// The read buffer of one value. The values hold a few digits; a longer text is not ours.
constexpr DWORD kValueBufferBytes = 520;
/// The key class the column keys are created with.
constexpr const wchar_t* kColumnKeyClass = L"REG_SZ";
constexpr int kTilemodeModelSpace = 1;

/// A decimal integer with optional blanks around it and an optional sign; nothing for any
/// other text or a number outside 32 bits. Reading such a text as 0 would hide the column.
std::optional<int32_t> parseDecimal(std::wstring_view text) {
    size_t i = 0;
    size_t end = text.size();
    while (i < end && (text[i] == L' ' || text[i] == L'\t'))
        ++i;
    while (end > i && (text[end - 1] == L' ' || text[end - 1] == L'\t'))
        --end;
    bool negative = false;
    if (i < end && (text[i] == L'-' || text[i] == L'+'))
        negative = text[i++] == L'-';
    if (i == end)
        return std::nullopt;
    int64_t value = 0;
    for (; i < end; ++i) {
        if (text[i] < L'0' || text[i] > L'9')
            return std::nullopt;
        value = value * 10 + (text[i] - L'0');
        if (value > int64_t{std::numeric_limits<int32_t>::max()} + 1)
            return std::nullopt;
    }
    value = negative ? -value : value;
    if (value > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    return static_cast<int32_t>(value);
}

std::optional<int32_t> readNumber(const TvRegKey& key, const std::wstring& name) {
    const std::optional<std::wstring> text = key.readText(name.c_str(), kValueBufferBytes);
    return text ? parseDecimal(*text) : std::nullopt;
}

/// Reads the records' values in table order; false at the first value that cannot be read,
/// with the values before it already stored in `columns`.
bool readValues(const TvRegKey& key, TvColumnSet& columns) {
    for (TvColumnRecord& r : columns) {
        const std::optional<int32_t> width = readNumber(key, r.widthValueName);
        if (!width || *width < 0)
            return false;
        r.width = *width;
        const std::optional<int32_t> index = readNumber(key, r.orderValueName);
        if (!index)
            return false;
        r.index = *index;
    }
    return true;
}

/// Writes one number as REG_SZ without its terminating null, as these values have always
/// been stored; the store ends the text there.
bool writeNumber(const TvRegKey& key, const std::wstring& name, int32_t value) {
    return key.writeText(name.c_str(), std::to_wstring(value), false) == ERROR_SUCCESS;
}

} // namespace

bool drawingIsInPaperSpace() {
    return kdedGetShortVar(L"TILEMODE", kTilemodeModelSpace) != kTilemodeModelSpace;
}

std::wstring columnSetKeyPath(std::wstring_view base, std::wstring_view dialogKey,
                              bool paperSpace) {
    std::wstring path(base);
    path += L"\\";
    path += dialogKey;
    path += paperSpace ? L"\\ViewportColumnSets" : L"\\GlobalColumnSets";
    return path;
}

TvColumnSet readColumnSet(std::wstring_view dialogKey, bool paperSpace, TvColumnReadRule rule) {
    TvColumnSet columns = defaultColumnSet(paperSpace);
    const std::wstring base = findSettingsBase();
    if (!base.empty()) {
        TvRegKey key;
        if (key.open(HKEY_CURRENT_USER, columnSetKeyPath(base, dialogKey, paperSpace), KEY_READ) ==
                ERROR_SUCCESS &&
            !readValues(key, columns) && rule == TvColumnReadRule::kAllOrDefaults)
            columns = defaultColumnSet(paperSpace);
    }
    sortColumnsByIndex(columns);
    return columns;
}

bool writeColumnSet(std::wstring_view dialogKey, bool paperSpace, const TvColumnSet& columns) {
    const std::wstring base = findSettingsBase();
    if (base.empty())
        return false;
    TvRegKey dialog;
    if (dialog.create(HKEY_CURRENT_USER, base + L"\\" + std::wstring(dialogKey), KEY_WRITE,
                      kColumnKeyClass) != ERROR_SUCCESS)
        return false;
    TvRegKey set;
    if (set.create(dialog.get(), paperSpace ? L"ViewportColumnSets" : L"GlobalColumnSets",
                   KEY_WRITE, kColumnKeyClass) != ERROR_SUCCESS)
        return false;
    for (const TvColumnRecord& r : columns) {
        if (!writeNumber(set, r.widthValueName, r.width) ||
            !writeNumber(set, r.orderValueName, r.index))
            return false;
    }
    return true;
}

} // namespace tv
