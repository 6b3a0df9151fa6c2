// Input sources of the editor: script text, script files and open streams.
#include "tv/KdEdInput.h"

#include "tv/KdDbHandle.h"
#include "tv/KdFormat.h"
#include "tv/KdUtf8.h"

#include <fstream>
#include <sstream>

namespace {

std::wstring trim(const std::wstring& s) {
    size_t b = 0;
    size_t e = s.size();
    while (b < e && tvIsSpace(s[b]))
        ++b;
    while (e > b && tvIsSpace(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

std::vector<std::wstring> words(const std::wstring& s) {
    std::vector<std::wstring> out;
    for (size_t i = 0; i < s.size();) {
        if (tvIsSpace(s[i])) {
            ++i;
            continue;
        }
        const size_t start = i;
        while (i < s.size() && !tvIsSpace(s[i]))
            ++i;
        out.push_back(s.substr(start, i - start));
    }
    return out;
}

bool parseHandle(const std::wstring& text, uint64_t& value) {
    std::string narrow;
    for (wchar_t c : text) {
        if (c > 0x7f)
            return false;
        narrow.push_back(static_cast<char>(c));
    }
    return KdDbHandle::parse(narrow, value) && value != 0;
}

/// "x,y" or "x,y,z"; false for anything else.
bool parsePoint(const std::wstring& text, double point[3]) {
    std::vector<std::wstring> parts;
    size_t start = 0;
    for (;;) {
        size_t comma = text.find(L',', start);
        parts.push_back(text.substr(start, comma == std::wstring::npos ? comma : comma - start));
        if (comma == std::wstring::npos)
            break;
        start = comma + 1;
    }
    if (parts.size() < 2 || parts.size() > 3)
        return false;
    double v[3] = {0.0, 0.0, 0.0};
    for (size_t i = 0; i < parts.size(); ++i) {
        if (!tvParseReal(parts[i], v[i]))
            return false;
    }
    for (int i = 0; i < 3; ++i)
        point[i] = v[i];
    return true;
}

void splitLines(const std::wstring& text, std::vector<std::wstring>& lines) {
    size_t start = 0;
    while (start <= text.size()) {
        size_t nl = text.find(L'\n', start);
        std::wstring line = text.substr(start, nl == std::wstring::npos ? nl : nl - start);
        if (!line.empty() && line.back() == L'\r')
            line.pop_back();
        if (nl == std::wstring::npos) {
            if (!line.empty())
                lines.push_back(line);
            break;
        }
        lines.push_back(line);
        start = nl + 1;
    }
}

} // namespace

KdEdInputSource::~KdEdInputSource() = default;

KdEdInputEvent KdEdInputSource::next() {
    std::wstring line;
    if (!nextLine(line))
        return KdEdInputEvent{};
    return parseLine(line);
}

KdEdInputEvent KdEdInputSource::parseLine(const std::wstring& line) {
    KdEdInputEvent ev;
    const std::wstring text = trim(line);
    if (text.empty()) {
        ev.kind = KdEdInputEvent::kEnter;
        return ev;
    }
    if (tvEqualsNoCase(text, L"*cancel*")) {
        ev.kind = KdEdInputEvent::kCancel;
        return ev;
    }
    ev.kind = KdEdInputEvent::kText;
    ev.text = text;
    std::vector<std::wstring> w = words(text);
    if (w.size() < 2 || !tvEqualsNoCase(w[0], L"pick"))
        return ev;
    // A pick line; a malformed one is a pick that hits nothing.
    ev.kind = KdEdInputEvent::kPick;
    ev.text.clear();
    if (tvEqualsNoCase(w[1], L"none") && w.size() == 2) {
        ev.miss = true;
        return ev;
    }
    if (w.size() == 2 && w[1].find(L',') != std::wstring::npos) {
        ev.hasPoint = parsePoint(w[1], ev.point);
        ev.miss = !ev.hasPoint;
        return ev;
    }
    if (!parseHandle(w[1], ev.handle) ||
        (w.size() > 2 && (!tvEqualsNoCase(w[2], L"via") || w.size() == 3))) {
        ev.handle = 0;
        ev.miss = true;
        return ev;
    }
    for (size_t i = 3; i < w.size(); ++i) {
        uint64_t h = 0;
        if (!parseHandle(w[i], h)) {
            ev.handle = 0;
            ev.via.clear();
            ev.miss = true;
            return ev;
        }
        ev.via.push_back(h);
    }
    return ev;
}

KdEdScriptInput::KdEdScriptInput(std::wstring script) {
    append(script);
}

void KdEdScriptInput::append(const std::wstring& text) {
    splitLines(text, m_lines);
}

bool KdEdScriptInput::loadFile(const char* path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error)
            *error = std::string("cannot open script ") + (path ? path : "(null)");
        return false;
    }
    std::ostringstream buf;
    buf << in.rdbuf();
    if (in.bad()) {
        if (error)
            *error = std::string("cannot read script ") + path;
        return false;
    }
    std::string bytes = buf.str();
    if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        bytes.erase(0, 3);
    append(tvFromUtf8(bytes));
    return true;
}

bool KdEdScriptInput::nextLine(std::wstring& line) {
    if (m_pos >= m_lines.size())
        return false;
    line = m_lines[m_pos++];
    return true;
}

bool KdEdFileInput::nextLine(std::wstring& line) {
    if (!m_stream)
        return false;
    std::string bytes;
    int c = 0;
    bool any = false;
    while ((c = std::fgetc(m_stream)) != EOF) {
        any = true;
        if (c == '\n')
            break;
        bytes.push_back(static_cast<char>(c));
    }
    if (!any)
        return false;
    if (!bytes.empty() && bytes.back() == '\r')
        bytes.pop_back();
    line = tvFromUtf8(bytes);
    return true;
}
