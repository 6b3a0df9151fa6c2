// The text form of the settings file, and reading and atomic writing of whole files.
#pragma once

#include "KdRegistryTree.h"

#include <string>
#include <string_view>

namespace tvreg {

/// The settings file's text: a header line, one "[path]" line per key followed by its values
/// (`@` or a quoted name, "=", then sz:"text" or dword:8 hex digits), and an "End" line that
/// tells a complete file from a truncated one. UTF-8; quoted text escapes backslash, quote,
/// control characters and values that are not Unicode characters.
std::string formatSettings(const Node& root);

/// Reads settings text into `root` (which must be empty). On failure returns false, leaves
/// `root` partly filled and says why in `error` ("line 12: ...").
bool parseSettings(std::string_view text, Node& root, std::string& error);

enum class FileRead { kOk, kMissing, kFailed };

/// Reads the whole file; a missing file is kMissing, anything else that goes wrong (a folder,
/// no permission, larger than `maxBytes`) is kFailed with `error` set.
FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& error,
                       size_t maxBytes);

/// $XDG_CONFIG_HOME/tvcad/registry.ini, or ~/.config/tvcad/registry.ini when the variable is
/// unset or not an absolute path; empty when neither is known.
std::string defaultSettingsFile();

} // namespace tvreg
