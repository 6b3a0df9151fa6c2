// Writing a file so that it is either the old one or the new one.
#include "tv/KdFiles.h"

#include "tv/KdFormat.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

// Temporary files are named TARGET.tmpXXXXXX (mkstemp's six characters).
constexpr std::string_view kTmpMarker = ".tmp";
constexpr size_t kTmpRandomChars = 6;
// A temporary file this old cannot belong to a save still running.
constexpr time_t kStaleSeconds = 10 * 60;

bool makeFolders(const std::string& dir) {
    if (dir.empty())
        return true;
    struct stat st {};
    if (::stat(dir.c_str(), &st) == 0)
        return S_ISDIR(st.st_mode);
    size_t slash = dir.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !makeFolders(dir.substr(0, slash)))
        return false;
    return ::mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;
}

std::string folderOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string fileNameOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Removes TARGET.tmpXXXXXX files of the same target that a killed save left behind. Only our
// own naming is touched, and only files old enough not to be another save in progress.
void removeStaleTemporaries(const std::string& dir, const std::string& target) {
    DIR* d = ::opendir(dir.c_str());
    if (!d)
        return;
    const std::string prefix = fileNameOf(target) + std::string(kTmpMarker);
    const time_t now = std::time(nullptr);
    while (dirent* e = ::readdir(d)) {
        std::string_view name = e->d_name;
        if (name.size() != prefix.size() + kTmpRandomChars || name.substr(0, prefix.size()) != prefix)
            continue;
        const std::string full = dir + "/" + std::string(name);
        struct stat st {};
        if (::lstat(full.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
            now - st.st_mtime > kStaleSeconds)
            ::unlink(full.c_str());
    }
    ::closedir(d);
}

mode_t defaultFileMode() {
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

KdAtomicFileWriter::~KdAtomicFileWriter() {
    discard();
}

void KdAtomicFileWriter::discard() {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (!m_tmp.empty())
        ::unlink(m_tmp.c_str());
    m_tmp.clear();
}

bool KdAtomicFileWriter::fail(const char* what, int err) {
    m_error = m_path + ": " + what + (err ? std::string(": ") + tvErrnoText(err) : "");
    discard();
    return false;
}

std::string KdAtomicFileWriter::backupNameOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    size_t dot = path.find_last_of('.');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash + 1))
        return path.substr(0, dot) + ".bak";
    return path + ".bak";
}

bool KdAtomicFileWriter::open(const std::string& path, bool createFolders, unsigned newFileMode) {
    discard();
    m_path = path;
    m_error.clear();
    const std::string dir = folderOf(path);
    if (createFolders && !makeFolders(dir))
        return fail("cannot create its folder", errno);
    mode_t mode = newFileMode ? static_cast<mode_t>(newFileMode) : defaultFileMode();
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode))
            return fail("is a folder, not a file", 0);
        if (::access(path.c_str(), W_OK) != 0)
            return fail("the file is read-only", errno);
        mode = st.st_mode & 07777;
    }
    removeStaleTemporaries(dir, path);
    m_tmp = path + std::string(kTmpMarker) + "XXXXXX";
    m_fd = ::mkstemp(m_tmp.data());
    if (m_fd < 0) {
        m_tmp.clear();
        return fail("cannot create a temporary file beside it", errno);
    }
    ::fchmod(m_fd, mode);
    return true;
}

bool KdAtomicFileWriter::write(std::string_view data) {
    if (m_fd < 0)
        return fail("not open for writing", 0);
    while (!data.empty()) {
        ssize_t n = ::write(m_fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return fail("cannot write", errno);
        }
        data.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

bool KdAtomicFileWriter::commit(bool keepBackup) {
    if (m_fd < 0)
        return fail("not open for writing", 0);
    if (::fsync(m_fd) != 0)
        return fail("cannot write", errno);
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0)
        return fail("cannot write", errno);
    struct stat st {};
    if (keepBackup && ::stat(m_path.c_str(), &st) == 0) {
        // A hard link keeps the target in place until the rename replaces it, so the file is
        // never missing; where links are refused the target is moved aside instead.
        const std::string bak = backupNameOf(m_path);
        ::unlink(bak.c_str());
        if (::link(m_path.c_str(), bak.c_str()) != 0 &&
            ::rename(m_path.c_str(), bak.c_str()) != 0)
            return fail("cannot keep the previous file as .bak", errno);
    }
    if (::rename(m_tmp.c_str(), m_path.c_str()) != 0)
        return fail("cannot rename the temporary file over it", errno);
    m_tmp.clear();
    // Make the rename itself durable.
    const int dirFd = ::open(folderOf(m_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

bool kdWriteFileAtomically(const char* path, std::string_view bytes, std::string* error,
                           bool createFolders, unsigned newFileMode) {
    KdAtomicFileWriter file;
    const bool ok = file.open(path ? path : "", createFolders, newFileMode) && file.write(bytes) &&
                    file.commit();
    if (!ok && error)
        *error = file.error();
    return ok;
}
