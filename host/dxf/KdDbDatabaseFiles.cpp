// A drawing database made from and written as a DXF document: the new-drawing template, DXF
// files and buffers, and the atomic save. These members of KdDbDatabase live with the reader
// and the writer because a database is always born from a DXF document.
#include <tv/KdDbDatabase.h>

#include "DxfDocument.h"
#include "KdDbDatabaseImpl.h"

#include <tv/KdFiles.h>
#include <tv/KdFormat.h>
#include <tv/KdUtf8.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

KdDbDatabase::KdDbDatabase(bool buildDefaultDrawing, bool /*noDocument*/)
    : m_impl(std::make_unique<KdDbDatabaseImpl>(this)) {
    if (buildDefaultDrawing) {
        std::string error;
        [[maybe_unused]] Kdad::ErrorStatus es =
            readDxfBuffer(tvdxf::newDrawingTemplate(), &error, "<new drawing>");
        m_impl->fileName.clear();
    }
}

namespace {

Kdad::ErrorStatus readWholeFile(const char* path, std::string& text, std::string* error) {
    auto fail = [&](const std::string& why, Kdad::ErrorStatus es) {
        if (error)
            *error = std::string(path) + ": " + why;
        return es;
    };
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int err = errno;
        return fail(std::string("cannot open: ") + tvErrnoText(err),
                    err == ENOENT ? Kdad::eFileNotFound : Kdad::eFileAccessErr);
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return fail(S_ISDIR(st.st_mode) ? "is a folder, not a drawing file"
                                        : "is not a regular file",
                    Kdad::eFileAccessErr);
    }
    text.resize(static_cast<size_t>(st.st_size));
    size_t got = 0;
    while (got < text.size()) {
        const ssize_t n = ::read(fd, text.data() + got, text.size() - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            const int err = n < 0 ? errno : 0;
            ::close(fd);
            return fail(err ? std::string("read error: ") + tvErrnoText(err)
                            : std::string("the file became shorter while it was read"),
                        Kdad::eFileAccessErr);
        }
        got += static_cast<size_t>(n);
    }
    ::close(fd);
    return Kdad::eOk;
}

} // namespace

Kdad::ErrorStatus KdDbDatabase::readDxfFile(const char* path, std::string* error) {
    std::string text;
    Kdad::ErrorStatus es = readWholeFile(path, text, error);
    if (es != Kdad::eOk)
        return es;
    es = readDxfBuffer(std::move(text), error, path);
    if (es == Kdad::eOk)
        m_impl->fileName = path;
    return es;
}

Kdad::ErrorStatus KdDbDatabase::readDxfBuffer(std::string text, std::string* error,
                                              const char* name) {
    auto fresh = std::make_unique<KdDbDatabaseImpl>(this);
    fresh->fileText = std::move(text);
    std::string message;
    long long line = 0;
    if (!tvdxf::readDocument(*fresh, message, line)) {
        if (error)
            *error = std::string(name) + ":" + message.substr(message.find(' ') + 1);
        return Kdad::eInvalidDxfFile;
    }
    fresh->fileName = name;
    m_impl = std::move(fresh);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbDatabase::readDwgFile(const wchar_t* path, std::string* error) {
    if (!path)
        return Kdad::eInvalidInput;
    return readDxfFile(tvToUtf8(path).c_str(), error);
}

Kdad::ErrorStatus KdDbDatabase::writeDxf(std::string& out, KdDb::DwgVersion ver,
                                         std::string* error) {
    if (ver == KdDb::kDHL_Unknown)
        ver = version();
    std::string message;
    if (!tvdxf::writeDocument(*m_impl, ver, out, message)) {
        if (error)
            *error = message;
        return Kdad::eNotApplicable;
    }
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbDatabase::saveAs(const char* path, std::string* error, KdDb::DwgVersion ver) {
    if (ver == KdDb::kDHL_Unknown)
        ver = version();
    const std::string target(path ? path : "");
    KdAtomicFileWriter file;
    if (!file.open(target)) {
        if (error)
            *error = file.error();
        return Kdad::eFileAccessErr;
    }
    // The text goes to the temporary file in pieces, so a save needs no second copy of the
    // drawing in memory.
    std::string message;
    const bool written = tvdxf::writeDocument(
        *m_impl, ver, [&file](std::string_view piece) { return file.write(piece); }, message);
    if (!written) {
        if (error)
            *error = file.error().empty() ? target + ": " + message : file.error();
        return file.error().empty() ? Kdad::eNotApplicable : Kdad::eFileAccessErr;
    }
    if (!file.commit(/*keepBackup=*/true)) {
        if (error)
            *error = file.error();
        return Kdad::eFileAccessErr;
    }
    m_impl->fileName = target;
    m_impl->modified = false;
    return Kdad::eOk;
}
