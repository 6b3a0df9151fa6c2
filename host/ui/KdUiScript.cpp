// Reading the text form of scripted UI answers into a KdScriptedUi queue.
#include "tv/KdScriptedUi.h"

#include "tv/KdUtf8.h"
#include "KdUiText.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace {

struct Word {
    std::string text;
    bool quoted = false;
};

/// Splits a line into blank-separated words; double quotes group a word, and inside them \"
/// and \\ stand for the character itself. Returns an error text, empty on success.
std::string splitWords(std::string_view line, std::vector<Word>& words) {
    size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t') {
            ++i;
            continue;
        }
        Word w;
        if (line[i] == '"') {
            w.quoted = true;
            ++i;
            bool closed = false;
            while (i < line.size()) {
                const char c = line[i++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && i < line.size() && (line[i] == '"' || line[i] == '\\'))
                    w.text += line[i++];
                else
                    w.text += c;
            }
            if (!closed)
                return "a quoted text is not closed";
            if (i < line.size() && line[i] != ' ' && line[i] != '\t')
                return "a quoted text must be followed by a blank";
        } else {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t') {
                if (line[i] == '"')
                    return "a quote in the middle of a word";
                w.text += line[i++];
            }
        }
        words.push_back(std::move(w));
    }
    return {};
}

std::optional<KdUiPromptKind> kindOf(const std::string& word) {
    const std::string w = kdui::lowerAscii(word);
    if (w == "msgbox" || w == "messagebox")
        return KdUiPromptKind::kMessageBox;
    if (w == "open")
        return KdUiPromptKind::kOpenFile;
    if (w == "save")
        return KdUiPromptKind::kSaveFile;
    if (w == "color" || w == "colour")
        return KdUiPromptKind::kColor;
    if (w == "linetype")
        return KdUiPromptKind::kLinetype;
    return std::nullopt;
}

/// Reads one line's words into `a`; returns an error text, empty on success.
std::string parseAnswer(const std::vector<Word>& words, KdUiScriptedAnswer& a) {
    const std::string verb = kdui::lowerAscii(words[0].text);
    size_t next = 1;
    if (verb == "cancel") {
        if (words.size() < 2)
            return "'cancel' needs the prompt it cancels (msgbox, open, save, color, linetype)";
        const auto kind = kindOf(words[1].text);
        if (!kind)
            return "cannot cancel '" + words[1].text + "': not a kind of prompt";
        a.kind = *kind;
        a.cancel = true;
        next = 2;
    } else {
        const auto kind = kindOf(words[0].text);
        if (!kind)
            return "unknown prompt '" + words[0].text +
                   "' (use msgbox, open, save, color, linetype or cancel)";
        a.kind = *kind;
        if (words.size() < 2)
            return "'" + words[0].text + "' needs an answer";
        switch (a.kind) {
        case KdUiPromptKind::kMessageBox: {
            const std::string b = kdui::lowerAscii(words[1].text);
            if (b == "yes")
                a.button = IDYES;
            else if (b == "no")
                a.button = IDNO;
            else if (b == "ok")
                a.button = IDOK;
            else if (b == "cancel")
                a.button = IDCANCEL;
            else
                return "'" + words[1].text + "' is no message box answer (yes, no, ok, cancel)";
            next = 2;
            break;
        }
        case KdUiPromptKind::kOpenFile:
        case KdUiPromptKind::kSaveFile:
            if (words[1].text.empty())
                return "the file path is empty";
            a.path = tvFromUtf8(words[1].text);
            next = 2;
            break;
        case KdUiPromptKind::kLinetype:
            if (words[1].text.empty())
                return "the linetype name is empty";
            a.linetype = tvFromUtf8(words[1].text);
            next = 2;
            break;
        case KdUiPromptKind::kColor: {
            // The colour takes all words up to an optional quoted text at the end.
            size_t end = words.size();
            if (end > 2 && words.back().quoted)
                --end;
            std::string colour;
            for (size_t i = 1; i < end; ++i)
                colour += (i > 1 ? " " : "") + words[i].text;
            if (!kdui::parseColorText(colour, a.color))
                return "'" + colour +
                       "' is no colour (use 0..256, bylayer, byblock, red..white or rgb R G B)";
            next = end;
            break;
        }
        }
    }
    if (next < words.size()) {
        a.expectText = tvFromUtf8(words[next].text);
        ++next;
    }
    if (next < words.size())
        return "unexpected '" + words[next].text + "' after the answer";
    return {};
}

} // namespace

bool KdScriptedUi::loadScript(std::string_view text, std::string* error, const char* name) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    std::vector<KdUiScriptedAnswer> answers;
    int lineNo = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t nl = text.find('\n', pos);
        const size_t end = nl == std::string_view::npos ? text.size() : nl;
        const std::string line = kdui::trim(text.substr(pos, end - pos));
        pos = end + 1;
        ++lineNo;
        if (line.empty() || line.front() == '#')
            continue;
        std::vector<Word> words;
        std::string problem = splitWords(line, words);
        KdUiScriptedAnswer a;
        if (problem.empty())
            problem = parseAnswer(words, a);
        if (!problem.empty()) {
            if (error)
                *error = std::string(name ? name : "<script>") + ":" + std::to_string(lineNo) +
                         ": " + problem;
            return false;
        }
        a.sourceLine = lineNo;
        answers.push_back(std::move(a));
    }
    for (KdUiScriptedAnswer& a : answers)
        expect(std::move(a));
    return true;
}

bool KdScriptedUi::loadScriptFile(const char* path, std::string* error) {
    struct Closer {
        void operator()(FILE* f) const { std::fclose(f); }
    };
    std::unique_ptr<FILE, Closer> file(path ? std::fopen(path, "rb") : nullptr);
    if (!file) {
        if (error)
            *error = std::string("cannot read the script file '") + (path ? path : "") + "'";
        return false;
    }
    std::string text;
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
        text.append(buffer, n);
    if (std::ferror(file.get())) {
        if (error)
            *error = std::string("cannot read the script file '") + path + "'";
        return false;
    }
    return loadScript(text, error, path);
}
