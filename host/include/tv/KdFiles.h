// Files the Host writes for itself and for modules: written whole or not at all.
#pragma once

#include "KdExport.h"

#include <string>
#include <string_view>

/// A file written beside its target and renamed over it only when every byte reached the disk,
/// so that the target is always either the old file or the new one. Drawings, layer-state
/// files and settings are all written through it.
///
/// The new file keeps the mode of the file it replaces (a new file gets the user's normal mode,
/// 0666 less the umask). A read-only target and a target that is a folder are refused before
/// anything is written. Temporary files of this writer that a killed program left behind
/// beside the target are removed when the next one is opened there.
class TVHOST_API KdAtomicFileWriter {
public:
    KdAtomicFileWriter() = default;
    /// Abandons an uncommitted file: the temporary file is removed, the target untouched.
    ~KdAtomicFileWriter();
    KdAtomicFileWriter(const KdAtomicFileWriter&) = delete;
    KdAtomicFileWriter& operator=(const KdAtomicFileWriter&) = delete;

    /// Creates the temporary file beside `path`; with `createFolders` the target's missing
    /// folders are made first. `newFileMode` is the mode of a file that does not exist yet
    /// (0: the user's normal mode). False with error() set when that cannot be done.
    bool open(const std::string& path, bool createFolders = false, unsigned newFileMode = 0);
    /// Appends bytes; false (and error() set) when the disk refuses them.
    bool write(std::string_view bytes);
    /// Flushes the file to disk and renames it over the target. With `keepBackup` the previous
    /// target (when there is one) stays as NAME.bak, NAME being the target without its
    /// extension. False with error() set, the target untouched, when any step fails.
    bool commit(bool keepBackup = false);
    /// "PATH: what: why" of the last failure.
    const std::string& error() const { return m_error; }

    /// NAME.bak for NAME.ext (or NAME.bak for NAME without an extension).
    static std::string backupNameOf(const std::string& path);

private:
    bool fail(const char* what, int err);
    void discard();
    std::string m_path;
    std::string m_tmp;
    std::string m_error;
    int m_fd = -1;
};

/// Writes `bytes` to `path` through KdAtomicFileWriter. On failure the previous file is
/// untouched and `error` (when given) says "PATH: what: why".
TVHOST_API bool kdWriteFileAtomically(const char* path, std::string_view bytes,
                                      std::string* error = nullptr, bool createFolders = false,
                                      unsigned newFileMode = 0);
