// The current UI services of the Host, their cancelling default, shared helpers and the
// editor entry points that go through them.
#include "tv/KdUiServices.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdFormat.h"
#include "tv/KdUtf8.h"
#include "KdUiText.h"

#include <algorithm>
#include <limits>

KdUiServices::~KdUiServices() = default;

bool KdUiServices::hasWindow() const {
    return false;
}

namespace {

/// Used while no UI is installed: every prompt is closed as if the user cancelled it.
class KdCancellingUi final : public KdUiServices {
public:
    int messageBox(const KdString&, const KdString&, int buttons, int) override {
        return kdUiCancelAnswer(buttons);
    }
    bool getOpenFileName(const KdString&, const KdString&, const KdString&, const KdString&,
                         KdString&) override {
        return false;
    }
    bool getSaveFileName(const KdString&, const KdString&, const KdString&, const KdString&,
                         KdString&) override {
        return false;
    }
    bool chooseColor(KdCmColor&, unsigned, const KdCmColor&) override { return false; }
    bool chooseLinetype(const std::vector<KdString>&, const KdString&, KdString&) override {
        return false;
    }
};

KdUiServices*& installedServices() {
    static KdUiServices* installed = nullptr;
    return installed;
}

KdUiServices& cancellingServices() {
    static KdCancellingUi ui;
    return ui;
}

const char* const kColorNames[] = {"red", "yellow", "green", "cyan", "blue", "magenta", "white"};

} // namespace

KdUiServices* kdUiServices() {
    KdUiServices* installed = installedServices();
    return installed ? installed : &cancellingServices();
}

void kdSetUiServices(KdUiServices* services) {
    installedServices() = services;
}

// -- Helpers --

int kdUiCancelAnswer(int buttons) {
    switch (buttons) {
    case MB_OKCANCEL:
    case MB_YESNOCANCEL:
        return IDCANCEL;
    case MB_YESNO:
        return IDNO;
    default:
        return IDOK;
    }
}

bool kdUiAnswerAllowed(int buttons, int answer) {
    switch (buttons) {
    case MB_OKCANCEL:
        return answer == IDOK || answer == IDCANCEL;
    case MB_YESNOCANCEL:
        return answer == IDYES || answer == IDNO || answer == IDCANCEL;
    case MB_YESNO:
        return answer == IDYES || answer == IDNO;
    default:
        return answer == IDOK;
    }
}

const char* kdUiAnswerName(int answer) {
    switch (answer) {
    case IDOK:
        return "ok";
    case IDCANCEL:
        return "cancel";
    case IDYES:
        return "yes";
    case IDNO:
        return "no";
    default:
        return "unknown answer";
    }
}

bool kdUiColorAllowed(const KdCmColor& color, unsigned flags) {
    if (color.isByACI())
        return color.colorIndex() >= 1 && color.colorIndex() <= 255;
    if (color.isByLayer())
        return (flags & kUiColorByLayer) != 0;
    if (color.isByBlock())
        return (flags & kUiColorByBlock) != 0;
    if (color.isColorBookColor())
        return (flags & kUiColorBook) != 0;
    if (color.isByColor())
        return (flags & kUiColorTrueColor) != 0;
    return false;
}

std::vector<std::pair<std::wstring, std::wstring>>
kdUiParseFileFilters(const std::wstring& filters) {
    std::vector<std::wstring> parts;
    size_t start = 0;
    while (start <= filters.size()) {
        const size_t bar = filters.find(L'|', start);
        const size_t end = bar == std::wstring::npos ? filters.size() : bar;
        parts.push_back(filters.substr(start, end - start));
        if (bar == std::wstring::npos)
            break;
        start = bar + 1;
    }
    // A list written with a closing bar ("A|*.a|") leaves one empty part behind.
    while (!parts.empty() && parts.back().empty())
        parts.pop_back();
    std::vector<std::pair<std::wstring, std::wstring>> out;
    for (size_t i = 0; i < parts.size(); i += 2)
        out.emplace_back(parts[i], i + 1 < parts.size() ? parts[i + 1] : L"*");
    return out;
}

std::wstring kdUiApplyDefaultExtension(const std::wstring& path,
                                       const std::wstring& defaultExtension) {
    std::wstring ext = defaultExtension;
    while (!ext.empty() && (ext.front() == L'*' || ext.front() == L'.'))
        ext.erase(0, 1);
    if (ext.empty() || path.empty())
        return path;
    const size_t slash = path.find_last_of(L"/\\");
    const size_t nameStart = slash == std::wstring::npos ? 0 : slash + 1;
    if (nameStart == path.size())
        return path; // a folder
    const size_t dot = path.rfind(L'.');
    // A leading dot (".profile") does not start an extension.
    if (dot != std::wstring::npos && dot > nameStart && dot + 1 < path.size())
        return path;
    std::wstring out = path;
    if (out.back() != L'.')
        out += L'.';
    return out + ext;
}

std::vector<KdString> kdUiLinetypeNames(KdDbDatabase& db, bool withByLayerByBlock) {
    std::vector<KdString> names;
    KdDbLinetypeTable* table = nullptr;
    if (db.getSymbolTable(table, KdDb::kForRead) != Kdad::eOk || !table)
        return names;
    for (auto it = table->iterator(); !it->done(); it->step()) {
        KdDbSymbolTableRecord* rec = nullptr;
        if (it->getRecord(rec, KdDb::kForRead) != Kdad::eOk || !rec)
            continue;
        KdString name;
        rec->getName(name);
        rec->close();
        const bool meta =
            tvEqualsNoCase(name.str(), L"ByLayer") || tvEqualsNoCase(name.str(), L"ByBlock");
        if (withByLayerByBlock || !meta)
            names.push_back(name);
    }
    table->close();
    return names;
}

// -- Editor entry points --

int kdedMessageBox(const wchar_t* text, int buttons, int icon, const wchar_t* caption) {
    const KdString title(caption && *caption ? caption : kKdUiCaption);
    const int answer = kdUiServices()->messageBox(KdString(text), title, buttons, icon);
    return kdUiAnswerAllowed(buttons, answer) ? answer : kdUiCancelAnswer(buttons);
}

int kdedSetColorDialogTrueColor(KdCmColor& color, bool allowMetaColor,
                                const KdCmColor& currentLayerColor, int tabs) {
    if (tabs == 0)
        tabs = kUiColorTabIndex | kUiColorTabTrueColor | kUiColorTabColorBook;
    unsigned flags = 0;
    if (allowMetaColor)
        flags |= kUiColorByLayer | kUiColorByBlock;
    if (tabs & kUiColorTabTrueColor)
        flags |= kUiColorTrueColor;
    if (tabs & kUiColorTabColorBook)
        flags |= kUiColorBook;
    KdCmColor chosen = color;
    if (!kdUiServices()->chooseColor(chosen, flags, currentLayerColor))
        return RTCAN;
    if (!kdUiColorAllowed(chosen, flags))
        return RTERROR;
    color = chosen;
    return RTNORM;
}

// -- Text helpers --

namespace kdui {

bool containsNoCase(std::wstring_view text, std::wstring_view part) {
    if (part.empty())
        return true;
    if (part.size() > text.size())
        return false;
    for (size_t i = 0; i + part.size() <= text.size(); ++i) {
        if (tvEqualsNoCase(text.substr(i, part.size()), part))
            return true;
    }
    return false;
}

std::string trim(std::string_view text) {
    const char* blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    const size_t last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

std::string lowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = tvAsciiLower(c);
    return out;
}

bool parseInt(std::string_view text, long& value) {
    long long v = 0;
    if (!tvParseInt(text, v))
        return false;
    if constexpr (sizeof(long) < sizeof(long long))
        if (v < std::numeric_limits<long>::min() || v > std::numeric_limits<long>::max())
            return false;
    value = static_cast<long>(v);
    return true;
}

std::wstring colorAnswerText(const KdCmColor& color) {
    if (color.isByLayer())
        return L"bylayer";
    if (color.isByBlock())
        return L"byblock";
    if (color.isByColor()) {
        return L"rgb " + std::to_wstring(color.red()) + L' ' + std::to_wstring(color.green()) +
               L' ' + std::to_wstring(color.blue());
    }
    return std::to_wstring(color.colorIndex());
}

namespace {

/// Splits "r,g,b" or "r g b" into three numbers 0..255.
bool parseRgb(std::string_view text, KdCmColor& color) {
    std::string s(text);
    for (char& c : s) {
        if (c == ',')
            c = ' ';
    }
    long values[3] = {};
    size_t pos = 0;
    for (long& v : values) {
        pos = s.find_first_not_of(' ', pos);
        if (pos == std::string::npos)
            return false;
        const size_t end = std::min(s.find(' ', pos), s.size());
        if (!parseInt(std::string_view(s).substr(pos, end - pos), v) || v < 0 || v > 255)
            return false;
        pos = end;
    }
    if (s.find_first_not_of(' ', pos) != std::string::npos)
        return false;
    return color.setRGB(static_cast<uint8_t>(values[0]), static_cast<uint8_t>(values[1]),
                        static_cast<uint8_t>(values[2])) == Kdad::eOk;
}

} // namespace

bool parseColorText(std::string_view text, KdCmColor& color) {
    const std::string word = lowerAscii(trim(text));
    if (word.empty())
        return false;
    KdCmColor result;
    long index = 0;
    if (word == "bylayer") {
        result.setColorIndex(KdCmEntityColor::kACIbyLayer);
    } else if (word == "byblock") {
        result.setColorIndex(KdCmEntityColor::kACIbyBlock);
    } else if (word.rfind("rgb", 0) == 0 && word.size() > 3 &&
               !(word[3] >= 'a' && word[3] <= 'z')) {
        std::string rest = word.substr(3);
        if (!rest.empty() && rest.front() == ':')
            rest.erase(0, 1);
        if (!parseRgb(rest, result))
            return false;
    } else if (word.find(',') != std::string::npos) {
        if (!parseRgb(word, result))
            return false;
    } else if (parseInt(word, index)) {
        if (index < 0 || index > 256)
            return false;
        result.setColorIndex(static_cast<uint16_t>(index));
    } else {
        int found = 0;
        for (int i = 0; i < 7; ++i) {
            if (word == kColorNames[i])
                found = i + 1;
        }
        if (found == 0)
            return false;
        result.setColorIndex(static_cast<uint16_t>(found));
    }
    color = result;
    return true;
}

} // namespace kdui
