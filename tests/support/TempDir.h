// A private folder for one test: made fresh, removed with everything in it at the end.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tvtest {

class TempDir {
public:
    /// A new folder under $TMPDIR (or the system's temporary folder) named after `prefix`.
    explicit TempDir(const std::string& prefix = "tvtest");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    /// Names of the entries directly in the folder, sorted.
    std::vector<std::string> entries() const;

private:
    std::filesystem::path m_path;
};

/// The whole content of a file; empty when it cannot be read.
std::string readBytes(const std::filesystem::path& path);
/// Writes `bytes` as the whole file, creating missing folders on the way.
void writeBytes(const std::filesystem::path& path, const std::string& bytes);

} // namespace tvtest
