// Writing a file so that it is either the old one or the new one.
#include "tv/KdFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

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

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

} // namespace

bool kdWriteFileAtomically(const char* pathText, std::string_view bytes, std::string* error,
                           bool createFolders) {
    const std::string path = pathText ? pathText : "";
    size_t slash = path.find_last_of('/');
    std::string dir = slash == std::string::npos ? std::string(".") : path.substr(0, slash);
    if (dir.empty())
        dir = "/";
    auto fail = [&](const char* what) {
        if (error)
            *error = path + ": " + what + ": " + std::strerror(errno);
        return false;
    };
    if (createFolders && !makeFolders(dir))
        return fail("cannot create its folder");
    std::string tmp = path + ".tmpXXXXXX";
    int fd = ::mkstemp(tmp.data());
    if (fd < 0)
        return fail("cannot create a temporary file beside it");
    if (!writeAll(fd, bytes) || ::fsync(fd) != 0) {
        int saved = errno;
        ::close(fd);
        ::unlink(tmp.c_str());
        errno = saved;
        return fail("cannot write");
    }
    if (::close(fd) != 0) {
        int saved = errno;
        ::unlink(tmp.c_str());
        errno = saved;
        return fail("cannot write");
    }
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
        int saved = errno;
        ::unlink(tmp.c_str());
        errno = saved;
        return fail("cannot rename the temporary file over it");
    }
    // Make the rename itself durable.
    int dirFd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}
