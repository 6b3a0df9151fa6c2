// KdCStdioFile: reading a text file whole, finding its encoding and decoding it.
#include "tv/KdCStdioFile.h"

#include "tv/KdCodePage.h"
#include "tv/KdFormat.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

constexpr wchar_t kReplacement = 0xFFFD;
constexpr uint32_t kLastCodePoint = 0x10FFFF;

struct Mark {
    std::string_view bytes;
    KdCStdioFile::Encoding encoding;
};

// In the order they are checked; FF FE comes first, so FF FE 00 00 is UTF-16.
constexpr Mark kMarks[] = {
    {std::string_view("\xFF\xFE", 2), KdCStdioFile::kUtf16LE},
    {std::string_view("\xFE\xFF", 2), KdCStdioFile::kUtf16BE},
    {std::string_view("\xEF\xBB\xBF", 3), KdCStdioFile::kUtf8},
    {std::string_view("\0\0\xFE\xFF", 4), KdCStdioFile::kUtf32BE},
    {std::string_view("\0\0\xFF\xFE", 4), KdCStdioFile::kUtf32LE},
};

unsigned char byteAt(std::string_view s, size_t i) {
    return static_cast<unsigned char>(s[i]);
}

bool isSurrogate(uint32_t v) {
    return v >= 0xD800 && v <= 0xDFFF;
}
bool isHighSurrogate(uint32_t v) {
    return v >= 0xD800 && v <= 0xDBFF;
}
bool isLowSurrogate(uint32_t v) {
    return v >= 0xDC00 && v <= 0xDFFF;
}

// How many bytes follow a UTF-8 lead byte; -1 for a byte that cannot begin a character.
int utf8Followers(unsigned char lead) {
    if (lead < 0x80)
        return 0;
    if ((lead & 0xF0) == 0xF0)
        return 3;
    if ((lead & 0xF0) == 0xE0)
        return 2;
    if ((lead & 0xC0) == 0xC0)
        return 1;
    return -1;
}

void decodeUtf8(std::string_view s, std::wstring& out) {
    // The smallest value that needs 1, 2 or 3 following bytes: anything less is overlong.
    static constexpr uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    size_t i = 0;
    while (i < s.size()) {
        const unsigned char lead = byteAt(s, i++);
        const int more = utf8Followers(lead);
        if (more <= 0) {
            out.push_back(more == 0 ? static_cast<wchar_t>(lead) : kReplacement);
            continue;
        }
        uint32_t value = lead & (0x3Fu >> more);
        int taken = 0;
        // Only continuation bytes are taken, so a byte that cuts the sequence short is read
        // again on its own.
        while (taken < more && i < s.size() && (byteAt(s, i) & 0xC0) == 0x80) {
            value = value << 6 | (byteAt(s, i++) & 0x3Fu);
            ++taken;
        }
        const bool valid = taken == more && lead < 0xF8 && value >= kSmallest[more] &&
                           value <= kLastCodePoint && !isSurrogate(value);
        out.push_back(valid ? static_cast<wchar_t>(value) : kReplacement);
    }
}

void decodeUtf16(std::string_view s, bool bigEndian, std::wstring& out) {
    auto unitAt = [&](size_t i) -> uint32_t {
        const uint32_t first = byteAt(s, i);
        const uint32_t second = byteAt(s, i + 1);
        return bigEndian ? first << 8 | second : second << 8 | first;
    };
    size_t i = 0;
    while (i + 1 < s.size()) {
        const uint32_t unit = unitAt(i);
        i += 2;
        if (isHighSurrogate(unit) && i + 1 < s.size() && isLowSurrogate(unitAt(i))) {
            out.push_back(
                static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (unitAt(i) - 0xDC00)));
            i += 2;
        } else {
            out.push_back(isSurrogate(unit) ? kReplacement : static_cast<wchar_t>(unit));
        }
    }
    if (i < s.size())
        out.push_back(kReplacement); // an odd byte at the end
}

void decodeUtf32(std::string_view s, bool bigEndian, std::wstring& out) {
    size_t i = 0;
    for (; i + 3 < s.size(); i += 4) {
        uint32_t value = 0;
        for (size_t k = 0; k < 4; ++k) {
            const uint32_t b = byteAt(s, bigEndian ? i + k : i + 3 - k);
            value = value << 8 | b;
        }
        const bool valid = value <= kLastCodePoint && !isSurrogate(value);
        out.push_back(valid ? static_cast<wchar_t>(value) : kReplacement);
    }
    if (i < s.size())
        out.push_back(kReplacement); // one to three bytes left at the end
}

// A carriage return right before a line feed is dropped; any other stays.
void joinCrLf(std::wstring& text) {
    size_t w = 0;
    for (size_t r = 0; r < text.size(); ++r) {
        if (text[r] == L'\r' && r + 1 < text.size() && text[r + 1] == L'\n')
            continue;
        text[w++] = text[r];
    }
    text.resize(w);
}

std::string failure(const char* path, const char* what, int error) {
    return std::string(path) + ": " + what + ": " + tvErrnoText(error);
}

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

bool readWholeFile(const char* path, std::string& bytes, std::string& error) {
    const FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        error = failure(path, "cannot open", errno);
        return false;
    }
    struct stat st {};
    if (::fstat(file.get(), &st) != 0) {
        error = failure(path, "cannot open", errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        error = failure(path, "cannot open", EISDIR);
        return false;
    }
    if (S_ISREG(st.st_mode))
        bytes.reserve(static_cast<size_t>(st.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(file.get(), buffer, sizeof buffer);
        if (n == 0)
            return true;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            error = failure(path, "cannot read", errno);
            return false;
        }
        bytes.append(buffer, static_cast<size_t>(n));
    }
}

} // namespace

KdCStdioFile::KdCStdioFile() = default;

KdCStdioFile::~KdCStdioFile() = default;

bool KdCStdioFile::open(const char* path, std::string* error) {
    close();
    const char* name = path != nullptr ? path : "";
    std::string bytes;
    std::string message;
    if (!readWholeFile(name, bytes, message)) {
        if (error != nullptr)
            *error = message;
        return false;
    }
    if (!openBytes(std::move(bytes))) {
        if (error != nullptr) {
            const std::string codePage = m_codePage.empty() ? kdSystemAnsiCodePage() : m_codePage;
            *error = std::string(name) + ": cannot read: code page " + codePage +
                     " cannot be converted on this system";
        }
        return false;
    }
    return true;
}

bool KdCStdioFile::openBytes(std::string bytes) {
    close();
    std::string_view body(bytes);
    for (const Mark& mark : kMarks) {
        if (body.substr(0, mark.bytes.size()) == mark.bytes) {
            m_encoding = mark.encoding;
            body.remove_prefix(mark.bytes.size());
            break;
        }
    }
    if (!decode(body)) {
        close();
        return false;
    }
    joinCrLf(m_text);
    // The layer-state export ends its files with a zero byte after the last line feed.
    while (!m_text.empty() && m_text.back() == L'\0')
        m_text.pop_back();
    m_open = true;
    return true;
}

void KdCStdioFile::close() {
    m_text = std::wstring();
    m_pos = 0;
    m_encoding = kMultiByte;
    m_open = false;
}

bool KdCStdioFile::setCodePage(const std::string& codePage) {
    if (!codePage.empty() && !kdIsKnownCodePage(codePage.c_str()))
        return false;
    m_codePage = codePage;
    return true;
}

bool KdCStdioFile::decode(std::string_view bytes) {
    m_text.clear();
    switch (m_encoding) {
    case kMultiByte: {
        const std::string codePage = m_codePage.empty() ? kdSystemAnsiCodePage() : m_codePage;
        return kdMultiByteToWide(bytes, codePage.c_str(), m_text);
    }
    case kUtf8:
        decodeUtf8(bytes, m_text);
        return true;
    case kUtf16LE:
    case kUtf16BE:
        decodeUtf16(bytes, m_encoding == kUtf16BE, m_text);
        return true;
    case kUtf32LE:
    case kUtf32BE:
        decodeUtf32(bytes, m_encoding == kUtf32BE, m_text);
        return true;
    }
    return false;
}

bool KdCStdioFile::readString(std::wstring& line) {
    line.clear();
    if (!m_open || m_pos >= m_text.size())
        return false;
    const size_t end = m_text.find(L'\n', m_pos);
    if (end == std::wstring::npos) {
        line.assign(m_text, m_pos);
        m_pos = m_text.size();
    } else {
        line.assign(m_text, m_pos, end - m_pos);
        m_pos = end + 1;
    }
    return true;
}

bool KdCStdioFile::readAll(std::wstring& text) {
    text.clear();
    if (!m_open)
        return false;
    text.assign(m_text, m_pos);
    m_pos = m_text.size();
    return true;
}
