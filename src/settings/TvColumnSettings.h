// The widths and positions of the layer lists' columns, kept per user and per space.
#pragma once

#include "settings/TvColumnRecord.h"

#include <string>
#include <string_view>

namespace tv {

/// Keys below the settings base of the dialogs whose layer lists keep column sets.
inline constexpr std::wstring_view kManagerColumnsKey = L"TvLayerPropManagerDlg";
inline constexpr std::wstring_view kFilterPreviewColumnsKey = L"TvLayerFilterPropDlg";

/// How a column set that cannot be read completely is taken.
enum class TvColumnReadRule {
    /// Any value that cannot be read gives the whole default set (the layer manager).
    kAllOrDefaults,
    /// Values up to the first one that cannot be read are kept, the defaults for the rest
    /// (the filter dialog's preview list).
    kUpToFirstFailure,
};

/// Whether the current drawing is in paper space ("TILEMODE" 0); model space when there is
/// no current drawing.
bool drawingIsInPaperSpace();

/// "<base>\<dialogKey>\ViewportColumnSets" in paper space, "...\GlobalColumnSets" in model
/// space.
std::wstring columnSetKeyPath(std::wstring_view base, std::wstring_view dialogKey, bool paperSpace);

/// The column set of a dialog's list, 12 records in model space and 13 in paper space, sorted
/// by position. Each record's width and position are read as decimal text from its two
/// values; a value that is missing, not text, longer than the read buffer or not a decimal
/// number (a negative width included) cannot be read, and `rule` says what follows. Without
/// a settings base, or when the key is missing, the defaults.
TvColumnSet readColumnSet(std::wstring_view dialogKey, bool paperSpace,
                          TvColumnReadRule rule = TvColumnReadRule::kAllOrDefaults);

/// Stores each record's width and position as decimal text under its value names, creating
/// the keys when needed. Stops at the first write that fails (what was written stays). False
/// when nothing could be stored completely: no settings base, a key that cannot be created,
/// a failed write.
bool writeColumnSet(std::wstring_view dialogKey, bool paperSpace, const TvColumnSet& columns);

} // namespace tv
