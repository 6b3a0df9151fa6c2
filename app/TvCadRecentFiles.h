// The drawings the user opened last, kept in the user's settings for the File menu.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tvcad {

/// How many drawings the list keeps.
inline constexpr std::size_t kRecentDrawingsKept = 8;

/// The drawings opened or saved last, the latest first.
std::vector<std::wstring> recentDrawings();
/// Puts `path` at the front of the list (once; a path already listed moves up) and drops what
/// falls off the end. False when the settings store refuses the write.
bool rememberDrawing(const std::wstring& path);
/// Takes `path` off the list (a drawing that could not be opened from it).
bool forgetDrawing(const std::wstring& path);

} // namespace tvcad
