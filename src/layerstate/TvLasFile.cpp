// Layer state files (.las): one state written as DXF-style pairs in the system code page, and
// read back from any of the encodings a text file may have.
#include "layerstate/CTvLayerStateManager.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResourceText.h"
#include "common/TvSymbolName.h"

#include "tv/KdCStdioFile.h"
#include "tv/KdCodePage.h"
#include "tv/KdDbAds.h"
#include "tv/KdFiles.h"
#include "tv/KdFormat.h"
#include "tv/KdUiServices.h"
#include "tv/KdUtf8.h"

namespace {

void appendText(std::wstring& out, int code, const std::wstring& value) {
    out += tvFormat(L"%3d\r\n", code);
    out += value;
    out += L"\r\n";
}

void appendInt(std::wstring& out, int code, long long value) {
    out += tvFormat(L"%3d\r\n%lld\r\n", code, value);
}

/// The value of an ASCII hexadecimal digit, or -1.
int hexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

/// The text with the Host's \U+XXXX escapes (written for characters the code page lacks)
/// turned back into their characters.
std::wstring decodeEscapes(const std::wstring& s) {
    if (s.find(L'\\') == std::wstring::npos)
        return s;
    std::wstring out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == L'\\' && i + 6 < s.size() && (s[i + 1] == L'U' || s[i + 1] == L'u') &&
            s[i + 2] == L'+' && hexDigit(s[i + 3]) >= 0 && hexDigit(s[i + 4]) >= 0 &&
            hexDigit(s[i + 5]) >= 0 && hexDigit(s[i + 6]) >= 0) {
            int code = 0;
            for (size_t k = i + 3; k <= i + 6; ++k)
                code = code * 16 + hexDigit(s[k]);
            out.push_back(static_cast<wchar_t>(code));
            i += 6;
            continue;
        }
        out.push_back(s[i]);
    }
    return out;
}

/// The standard text-to-integer rule: leading blanks, a sign, digits (what follows them does
/// not count); anything else, or a number beyond long long, gives 0.
long long textToInt(const std::wstring& s) {
    size_t start = 0;
    while (start < s.size() && tvIsSpace(s[start]))
        ++start;
    long long value = 0;
    size_t used = 0;
    return tvParseInt(std::wstring_view(s).substr(start), value, &used) ? value : 0;
}

/// Lines of the text: up to each line feed, trimmed of blanks and carriage returns (and the
/// zero byte files of this format end with).
class LineReader {
public:
    explicit LineReader(const std::wstring& text) : m_text(text) {}
    bool next(std::wstring& line) {
        while (m_pos <= m_text.size()) {
            if (m_pos == m_text.size())
                return false;
            size_t end = m_text.find(L'\n', m_pos);
            const bool last = end == std::wstring::npos;
            if (last)
                end = m_text.size();
            line = trim(m_text.substr(m_pos, end - m_pos));
            m_pos = last ? m_text.size() : end + 1;
            if (last && line.empty())
                return false; // what follows the last line feed forms no line
            return true;
        }
        return false;
    }

private:
    static std::wstring trim(const std::wstring& s) {
        auto blank = [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == 0; };
        size_t b = 0;
        size_t e = s.size();
        while (b < e && blank(s[b]))
            ++b;
        while (e > b && blank(s[e - 1]))
            --e;
        return s.substr(b, e - b);
    }
    const std::wstring& m_text;
    size_t m_pos = 0;
};

} // namespace

// -- Export --

bool CTvLayerStateManager::exportText(const CTvLayerState* state, std::wstring& text) const {
    const LayerArray* layers = state ? layersOf(state) : nullptr;
    if (!layers)
        return false;
    std::wstring out;
    out.reserve(128 + layers->size() * 96);
    out += tvFormat(L"%3d\r\nLAYERSTATEDICTIONARY\r\n%3d\r\nLAYERSTATE\r\n", 0, 0);
    appendText(out, 1, state->nameRef());
    appendInt(out, 91, static_cast<int32_t>(state->mask()));
    appendText(out, 301, state->description().str());
    appendInt(out, 290, state->viewportFlag());
    appendText(out, 302, state->currentLayerRef());
    for (const auto& info : *layers) {
        if (!info)
            return false;
        appendText(out, 8, info->layerNameRef());
        appendInt(out, 90, info->flags());
        appendInt(out, 62, info->color());
        appendInt(out, 370, info->lineweight());
        appendText(out, 6, info->linetypeRef());
        appendText(out, 2, info->plotStyleRef());
        if (info->trueColor() != kTvNoTrueColor) {
            appendInt(out, 92, static_cast<int32_t>(info->trueColor()));
            if (!info->colorBookRef().empty())
                appendText(out, 300, info->colorBookRef());
        }
    }
    text = std::move(out);
    return true;
}

int CTvLayerStateManager::exportState(const std::wstring& path, const CTvLayerState* state) {
    m_lastError.clear();
    std::wstring text;
    if (!state || !layersOf(state) || !exportText(state, text)) {
        m_lastError = L"There is no such layer state to export.";
        return 0;
    }
    std::string bytes;
    if (!kdWideToMultiByte(text, kdSystemAnsiCodePage().c_str(), bytes)) {
        m_lastError = L"The layer state cannot be written in the system code page.";
        return 0;
    }
    bytes.push_back('\0'); // the terminating zero is part of the file
    std::string error;
    if (!kdWriteFileAtomically(tvToUtf8(path).c_str(), bytes, &error)) {
        m_lastError = tvFromUtf8(error);
        return 0;
    }
    return 1;
}

// -- Import --

int CTvLayerStateManager::importLas(const std::wstring& path, std::wstring* importedName) {
    m_lastError.clear();
    KdCStdioFile file;
    std::string error;
    std::wstring text;
    if (!file.open(tvToUtf8(path).c_str(), &error)) {
        m_lastError = tvFromUtf8(error);
        return 0;
    }
    if (!file.readAll(text)) {
        m_lastError = path + L": cannot read the file";
        return 0;
    }
    const int result = importLasText(text, importedName);
    if (!result)
        m_lastError = path + L": " +
                      (m_lastError.empty() ? tv::resourceText(3104, L"not a valid layer state file")
                                           : m_lastError);
    return result;
}

int CTvLayerStateManager::importLasText(const std::wstring& text, std::wstring* importedName) {
    LineReader lines(text);
    std::wstring line;
    auto expect = [&](const wchar_t* word) {
        return lines.next(line) && tvEqualsNoCase(line, word);
    };
    if (!expect(L"0") || !expect(L"LAYERSTATEDICTIONARY") || !expect(L"0") ||
        !expect(L"LAYERSTATE") || !expect(L"1"))
        return 0;
    std::wstring name;
    if (!lines.next(name) || name.empty())
        return 0;
    name = decodeEscapes(name);
    if (!tv::isValidSymbolName(name)) {
        m_lastError = L"\"" + name + L"\" is not a valid layer state name.";
        return 0;
    }
    if (importedName)
        *importedName = name;
    if (hasState(name)) {
        const std::wstring question =
            tv::resourceFormat(3120, L"A layer state named %s already exists. Replace it?", name);
        if (kdedMessageBox(question.c_str(), MB_YESNO, MB_ICONEXCLAMATION) != IDYES) {
            m_lastError = L"The layer state " + name + L" was not replaced.";
            return 0;
        }
    }
    std::wstring values[4];
    const wchar_t* const codes[4] = {L"91", L"301", L"290", L"302"};
    for (int i = 0; i < 4; ++i) {
        if (!expect(codes[i]) || !lines.next(values[i]))
            return 0;
    }
    auto state = std::make_unique<CTvLayerState>();
    state->setName(name);
    state->setMask(static_cast<uint32_t>(textToInt(values[0])));
    state->setDescription(decodeEscapes(values[1]));
    state->setViewportFlag(static_cast<int>(textToInt(values[2])));
    state->setCurrentLayer(decodeEscapes(values[3]));

    tv::CurrentDrawingScope scope(m_db);
    LayerArray layers;
    CTvLayerStateInfo* info = nullptr;
    std::wstring code;
    std::wstring value;
    bool warned = false;
    while (lines.next(code)) {
        if (!lines.next(value))
            value.clear();
        value = decodeEscapes(value);
        if (code == L"8") {
            layers.push_back(std::make_unique<CTvLayerStateInfo>());
            info = layers.back().get();
            info->setLayerName(value);
            info->setIsCurrent(tvEqualsNoCase(value, state->currentLayerRef()) ? 1 : 0);
            continue;
        }
        if (!info)
            continue; // nothing belongs to a layer before its first "8"
        if (code == L"62") {
            info->setColor(static_cast<int32_t>(textToInt(value)));
        } else if (code == L"90") {
            info->setFlags(static_cast<int32_t>(textToInt(value)));
        } else if (code == L"370") {
            info->setLineweight(static_cast<int32_t>(textToInt(value)));
        } else if (code == L"92") {
            info->setTrueColor(static_cast<uint32_t>(textToInt(value)));
        } else if (code == L"300") {
            info->setColorBook(value);
        } else if (code == L"6") {
            KdResbufPtr lt(m_db ? kddbTblSearch(L"LTYPE", value.c_str(), 0) : nullptr);
            if (m_db && !lt) {
                info->setLinetype(L"Continuous");
                if (!warned) {
                    kdedMessageBox(tv::resourceText(3112, L"A linetype of the layer state is "
                                                          L"not defined in this drawing; the "
                                                          L"layer gets Continuous.")
                                       .c_str(),
                                   MB_OK, MB_ICONEXCLAMATION);
                    warned = true;
                }
            } else {
                info->setLinetype(value);
            }
        } else if (code == L"2") {
            info->setPlotStyle(value);
        }
    }
    addState(std::move(state), std::move(layers));
    return 1;
}
