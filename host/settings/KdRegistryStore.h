// The process-wide registry store: the key tree, its settings file and the open handles.
#pragma once

#include "KdRegistryTree.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

/// What an HKEY points to: the path of the key it was opened on and the rights it was given.
/// A handle names its key by path, so it keeps working across a reload of the file.
struct KdRegKeyHandle {
    tvreg::Path path;
    DWORD access = 0;
};

namespace tvreg {

/// The one store of the process, made on first use and never destroyed, so that settings can
/// be read and written at any time, also while other static objects are torn down. Callers
/// hold the lock returned by lock() around every other call.
class Store {
public:
    static Store& instance();

    std::unique_lock<std::mutex> lock() { return std::unique_lock<std::mutex>(m_mutex); }

    /// The root key (HKEY_CURRENT_USER), with the settings file read on first use.
    Node& root();
    /// The key at `path`, or null.
    Node* find(const Path& path);
    /// Writes the whole tree to the settings file; a failure is kept as a warning and the
    /// change stays in memory, to be written by the next save that succeeds.
    void save();

    void setFile(const std::string& path);
    void reload();
    const std::string& file();
    const std::vector<std::string>& warnings() const { return m_warnings; }

    HKEY newHandle(Path path, DWORD access);
    /// The handle behind `key` when it is one this store gave out and has not closed.
    KdRegKeyHandle* handle(HKEY key);
    bool closeHandle(HKEY key);

private:
    Store() = default;
    void load();
    void warn(std::string message);
    /// Keeps the file that the last load rejected as NAME.corrupt (or NAME.corrupt.N) before
    /// it is replaced; false when that failed and the file must not be replaced.
    bool keepRejectedFile();

    std::mutex m_mutex;
    std::unique_ptr<Node> m_root;
    bool m_loaded = false;
    bool m_fileChosen = false;
    std::string m_file;
    /// Set when the last load found a file that it could not use; the file is copied aside
    /// before the next save replaces it.
    bool m_keepOnSave = false;
    /// The rejected file's bytes, when it could be read at all.
    bool m_haveRejectedBytes = false;
    std::string m_rejectedBytes;
    std::vector<std::string> m_warnings;
    std::unordered_set<KdRegKeyHandle*> m_handles;
};

} // namespace tvreg
