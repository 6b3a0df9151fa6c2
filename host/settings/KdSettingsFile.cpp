// The settings file: text format, parser, whole-file reading and atomic replacement.
#include "KdSettingsFile.h"

#include <tv/KdFormat.h>
#include <tv/KdUtf8.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace tvreg {

namespace {

constexpr std::string_view kHeader = "TvCadSettings 1";
constexpr std::string_view kTrailer = "End";

/// True for characters that are written as an escape: controls, DEL, surrogates and values
/// beyond Unicode (which UTF-8 cannot carry).
bool needsEscape(wchar_t c) {
    const auto v = static_cast<std::uint32_t>(c);
    return v < 0x20 || v == 0x7F || (v >= 0xD800 && v <= 0xDFFF) || v > 0x10FFFF;
}

void appendQuoted(std::string& out, std::wstring_view text) {
    out += '"';
    std::wstring run;
    auto flush = [&] {
        out += tvToUtf8(run);
        run.clear();
    };
    for (wchar_t c : text) {
        const char* simple = nullptr;
        switch (c) {
        case L'\\':
            simple = "\\\\";
            break;
        case L'"':
            simple = "\\\"";
            break;
        case L'\n':
            simple = "\\n";
            break;
        case L'\r':
            simple = "\\r";
            break;
        case L'\t':
            simple = "\\t";
            break;
        default:
            break;
        }
        if (simple == nullptr && !needsEscape(c)) {
            run += c;
            continue;
        }
        flush();
        if (simple != nullptr) {
            out += simple;
        } else {
            out += tvFormat("\\u{%X}", static_cast<unsigned>(c));
        }
    }
    flush();
    out += '"';
}

void appendKey(std::string& out, const Node& node, std::wstring& path, bool isRoot) {
    if (!isRoot || !node.values.empty()) {
        out += '[';
        out += tvToUtf8(path);
        out += "]\n";
    }
    for (const Value& v : node.values) {
        if (v.name.empty())
            out += '@';
        else
            appendQuoted(out, v.name);
        if (v.type == REG_DWORD) {
            out += tvFormat("=dword:%08x\n", static_cast<unsigned>(v.number));
        } else {
            out += "=sz:";
            appendQuoted(out, v.text);
            out += '\n';
        }
    }
    for (const auto& [folded, child] : node.children) {
        const size_t mark = path.size();
        if (!isRoot)
            path += L'\\';
        path += child->name;
        appendKey(out, *child, path, false);
        path.resize(mark);
    }
}

/// Reads a quoted string at `pos` of `line`, leaving `pos` after the closing quote.
bool readQuoted(std::string_view line, size_t& pos, std::wstring& out, std::string& error) {
    if (pos >= line.size() || line[pos] != '"') {
        error = "a quoted text was expected";
        return false;
    }
    ++pos;
    out.clear();
    size_t runStart = pos;
    auto flush = [&](size_t end) { out += tvFromUtf8(line.substr(runStart, end - runStart)); };
    while (pos < line.size()) {
        char c = line[pos];
        if (c == '"') {
            flush(pos);
            ++pos;
            return true;
        }
        if (c != '\\') {
            ++pos;
            continue;
        }
        flush(pos);
        if (pos + 1 >= line.size()) {
            error = "the text ends inside an escape";
            return false;
        }
        char e = line[pos + 1];
        pos += 2;
        switch (e) {
        case '\\':
            out += L'\\';
            break;
        case '"':
            out += L'"';
            break;
        case 'n':
            out += L'\n';
            break;
        case 'r':
            out += L'\r';
            break;
        case 't':
            out += L'\t';
            break;
        case 'u': {
            size_t close = line.find('}', pos);
            if (pos >= line.size() || line[pos] != '{' || close == std::string_view::npos ||
                close == pos + 1 || close - pos - 1 > 8) {
                error = "a \\u escape needs 1 to 8 hexadecimal digits in braces";
                return false;
            }
            std::uint32_t v = 0;
            for (size_t i = pos + 1; i < close; ++i) {
                char h = line[i];
                int d = (h >= '0' && h <= '9')   ? h - '0'
                        : (h >= 'a' && h <= 'f') ? h - 'a' + 10
                        : (h >= 'A' && h <= 'F') ? h - 'A' + 10
                                                 : -1;
                if (d < 0) {
                    error = "a \\u escape needs 1 to 8 hexadecimal digits in braces";
                    return false;
                }
                v = v * 16 + static_cast<std::uint32_t>(d);
            }
            out += static_cast<wchar_t>(v);
            pos = close + 1;
            break;
        }
        default:
            error = std::string("unknown escape \\") + e;
            return false;
        }
        runStart = pos;
    }
    error = "a quoted text is not closed";
    return false;
}

bool parseDword(std::string_view digits, DWORD& value) {
    if (digits.size() != 8)
        return false;
    value = 0;
    for (char h : digits) {
        int d = (h >= '0' && h <= '9')   ? h - '0'
                : (h >= 'a' && h <= 'f') ? h - 'a' + 10
                : (h >= 'A' && h <= 'F') ? h - 'A' + 10
                                         : -1;
        if (d < 0)
            return false;
        value = value * 16 + static_cast<DWORD>(d);
    }
    return true;
}

bool parseValueLine(std::string_view line, Node& key, std::string& error) {
    Value v;
    size_t pos = 0;
    if (line[0] == '@') {
        pos = 1;
    } else if (!readQuoted(line, pos, v.name, error)) {
        return false;
    }
    if (v.name.empty() && line[0] != '@') {
        error = "the default value is written as @";
        return false;
    }
    if (v.name.find(L'\0') != std::wstring::npos) {
        error = "a value name holds a null character";
        return false;
    }
    std::string_view rest = line.substr(pos);
    if (rest.starts_with("=sz:")) {
        pos += 4;
        v.type = REG_SZ;
        if (!readQuoted(line, pos, v.text, error))
            return false;
        if (pos != line.size()) {
            error = "unexpected text after the value";
            return false;
        }
        if (v.text.find(L'\0') != std::wstring::npos) {
            error = "a text value holds a null character";
            return false;
        }
    } else if (rest.starts_with("=dword:")) {
        v.type = REG_DWORD;
        if (!parseDword(rest.substr(7), v.number)) {
            error = "a dword value needs exactly 8 hexadecimal digits";
            return false;
        }
    } else {
        error = "expected =sz:\"text\" or =dword:8 hexadecimal digits after the value name";
        return false;
    }
    if (key.value(v.name) != nullptr) {
        error = "value \"" + tvToUtf8(v.name) + "\" is listed twice";
        return false;
    }
    key.values.push_back(std::move(v));
    return true;
}

bool parseKeyLine(std::string_view line, Node& root, std::set<std::wstring>& seen, Node*& key,
                  std::string& error) {
    if (line.size() < 2 || line.back() != ']') {
        error = "a key line must end with ]";
        return false;
    }
    std::wstring path = tvFromUtf8(line.substr(1, line.size() - 2));
    Path names;
    if (!path.empty() && splitPath(path.c_str(), names) != ERROR_SUCCESS) {
        error = "bad key path [" + tvToUtf8(path) + "]";
        return false;
    }
    std::wstring folded;
    for (const std::wstring& n : names)
        folded += foldName(n) + L'\\';
    if (!seen.insert(folded).second) {
        error = "key [" + tvToUtf8(path) + "] is listed twice";
        return false;
    }
    key = &root;
    for (const std::wstring& n : names)
        key = key->addChild(n);
    return true;
}

} // namespace

std::string formatSettings(const Node& root) {
    std::string out;
    out += kHeader;
    out += '\n';
    std::wstring path;
    appendKey(out, root, path, true);
    out += kTrailer;
    out += '\n';
    return out;
}

bool parseSettings(std::string_view text, Node& root, std::string& error) {
    if (text.empty()) {
        error = "the file is empty";
        return false;
    }
    if (tvToUtf8(tvFromUtf8(text)) != text) {
        error = "the file is not valid UTF-8";
        return false;
    }
    std::set<std::wstring> seen;
    Node* key = nullptr;
    bool ended = false;
    size_t lineNo = 0;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        std::string_view line = text.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start);
        start = end == std::string_view::npos ? text.size() : end + 1;
        ++lineNo;
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        auto fail = [&](const std::string& why) {
            error = "line " + std::to_string(lineNo) + ": " + why;
            return false;
        };
        for (char c : line) {
            if (static_cast<unsigned char>(c) < 0x20)
                return fail("a control character outside an escape");
        }
        if (lineNo == 1) {
            if (line != kHeader)
                return fail("this is not a settings file (no \"" + std::string(kHeader) +
                            "\" line)");
            continue;
        }
        if (line.empty() || line[0] == ';')
            continue;
        if (ended)
            return fail("text after the End line");
        std::string why;
        if (line == kTrailer) {
            ended = true;
        } else if (line[0] == '[') {
            if (!parseKeyLine(line, root, seen, key, why))
                return fail(why);
        } else if (line[0] == '@' || line[0] == '"') {
            if (key == nullptr)
                return fail("a value before the first key");
            if (!parseValueLine(line, *key, why))
                return fail(why);
        } else {
            return fail("expected a [key], a value or End");
        }
    }
    if (!ended) {
        error = "the file is truncated (no End line)";
        return false;
    }
    return true;
}

FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& error,
                       size_t maxBytes) {
    bytes.clear();
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        // A path through a regular file names no file either.
        if (errno == ENOENT || errno == ENOTDIR)
            return FileRead::kMissing;
        error = path + ": cannot open: " + tvErrnoText(errno);
        return FileRead::kFailed;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        error = path + ": not a regular file";
        ::close(fd);
        return FileRead::kFailed;
    }
    char buf[65536];
    for (;;) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = path + ": cannot read: " + tvErrnoText(errno);
            ::close(fd);
            return FileRead::kFailed;
        }
        if (n == 0)
            break;
        if (bytes.size() + static_cast<size_t>(n) > maxBytes) {
            error = path + ": larger than " + std::to_string(maxBytes) + " bytes";
            ::close(fd);
            return FileRead::kFailed;
        }
        bytes.append(buf, static_cast<size_t>(n));
    }
    ::close(fd);
    return FileRead::kOk;
}

namespace {

/// Creates `dir` and its missing parents with mode 0700.
} // namespace

std::string defaultSettingsFile() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    std::string base;
    if (xdg != nullptr && xdg[0] == '/') {
        base = xdg;
    } else {
        const char* home = std::getenv("HOME");
        if (home == nullptr || home[0] != '/')
            return {};
        base = std::string(home) + "/.config";
    }
    while (base.size() > 1 && base.back() == '/')
        base.pop_back();
    return base + "/tvcad/registry.ini";
}

} // namespace tvreg
