// Files the Host writes for itself and for modules.
#pragma once

#include "KdExport.h"

#include <string>
#include <string_view>

/// Writes `bytes` to a temporary file in the target's folder, flushes it to disk and renames it
/// over `path`, so that the file is either the old one or the new one. With `createFolders` the
/// target's missing folders are made first. On failure the temporary file is removed, the
/// previous file is untouched and `error` (when given) says "PATH: what: why".
TVHOST_API bool kdWriteFileAtomically(const char* path, std::string_view bytes,
                                      std::string* error = nullptr, bool createFolders = false);
