// KdConsoleUi: prompts written as text and answered line by line.
#include "KdConsoleUi.h"

#include "tv/KdUtf8.h"
#include "KdUiText.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

std::unique_ptr<KdUiServices> kdMakeConsoleUi(FILE* in, FILE* out) {
    return std::make_unique<KdConsoleUi>(in, out);
}

namespace {

const char* iconWord(int icon) {
    switch (icon) {
    case MB_ICONERROR:
        return "Error: ";
    case MB_ICONWARNING:
        return "Warning: ";
    case MB_ICONINFORMATION:
        return "Note: ";
    default:
        return "";
    }
}

bool isFolder(const std::wstring& path) {
    if (path.empty())
        return false;
    if (path.back() == L'/' || path.back() == L'\\')
        return true;
    std::error_code ec;
    return fs::is_directory(fs::path(tvToUtf8(path)), ec);
}

bool isFile(const std::wstring& path) {
    std::error_code ec;
    const fs::path p(tvToUtf8(path));
    return fs::exists(p, ec) && !fs::is_directory(p, ec);
}

} // namespace

void KdConsoleUi::say(const std::string& text) {
    std::fputs(text.c_str(), m_out);
    std::fflush(m_out);
}

bool KdConsoleUi::ask(const std::string& prompt, std::string& line) {
    say(prompt);
    line.clear();
    bool any = false;
    int c = 0;
    while ((c = std::fgetc(m_in)) != EOF) {
        any = true;
        if (c == '\n')
            break;
        line += static_cast<char>(c);
    }
    if (!any) {
        say("\n");
        return false;
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return true;
}

int KdConsoleUi::messageBox(const KdString& text, const KdString& caption, int buttons, int icon) {
    say("\n[" + caption.utf8() + "] " + iconWord(icon) + text.utf8() + "\n");
    if (!kdUiAnswerAllowed(buttons, IDYES) && !kdUiAnswerAllowed(buttons, IDCANCEL)) {
        std::string line;
        ask("Press Enter to continue: ", line);
        return IDOK;
    }
    std::string choices;
    if (kdUiAnswerAllowed(buttons, IDYES))
        choices = "[Y]es / [N]o";
    else
        choices = "[O]K";
    if (kdUiAnswerAllowed(buttons, IDCANCEL))
        choices += " / [C]ancel";
    std::string line;
    while (ask(choices + ": ", line)) {
        const std::string word = kdui::lowerAscii(kdui::trim(line));
        int answer = 0;
        if (word == "y" || word == "yes")
            answer = IDYES;
        else if (word == "n" || word == "no")
            answer = IDNO;
        else if (word == "o" || word == "ok")
            answer = IDOK;
        else if (word == "c" || word == "cancel")
            answer = IDCANCEL;
        if (answer != 0 && kdUiAnswerAllowed(buttons, answer))
            return answer;
        say("Please answer " + choices + ".\n");
    }
    return kdUiCancelAnswer(buttons);
}

bool KdConsoleUi::fileDialog(bool save, const KdString& title, const KdString& initialPath,
                             const KdString& filters, const KdString& defaultExtension,
                             KdString& path) {
    say("\n" + title.utf8() + "\n");
    for (const auto& [text, patterns] : kdUiParseFileFilters(filters.str()))
        say("  " + tvToUtf8(text) + "\n");
    const std::wstring initial = initialPath.str();
    const bool initialIsFolder = isFolder(initial);
    std::wstring folder = initialIsFolder ? initial : std::wstring();
    if (!folder.empty() && folder.back() != L'/' && folder.back() != L'\\')
        folder += L'/';
    const std::string shown = initialIsFolder || initial.empty() ? std::string(" (Enter cancels)")
                                                                 : " [" + tvToUtf8(initial) + "]";
    std::string line;
    while (ask("File name" + shown + ": ", line)) {
        std::wstring name = tvFromUtf8(kdui::trim(line));
        if (name.empty()) {
            if (initialIsFolder || initial.empty())
                return false;
            name = initial;
        } else if (name.front() != L'/' && !folder.empty()) {
            name = folder + name; // relative to the folder the dialog opened in
        }
        name = kdUiApplyDefaultExtension(name, defaultExtension.str());
        if (!save && !isFile(name)) {
            say("No such file: " + tvToUtf8(name) + "\n");
            continue;
        }
        if (save && isFolder(name)) {
            say(tvToUtf8(name) + " is a folder.\n");
            continue;
        }
        if (save && isFile(name)) {
            std::string yn;
            bool replace = false;
            while (ask(tvToUtf8(name) + " already exists. Replace it? [Y]es / [N]o: ", yn)) {
                const std::string w = kdui::lowerAscii(kdui::trim(yn));
                if (w == "y" || w == "yes" || w == "n" || w == "no") {
                    replace = w[0] == 'y';
                    break;
                }
            }
            if (std::feof(m_in))
                return false;
            if (!replace)
                continue;
        }
        path = KdString(name);
        return true;
    }
    return false;
}

bool KdConsoleUi::getOpenFileName(const KdString& title, const KdString& initialPath,
                                  const KdString& filters, const KdString& defaultExtension,
                                  KdString& path) {
    return fileDialog(false, title, initialPath, filters, defaultExtension, path);
}

bool KdConsoleUi::getSaveFileName(const KdString& title, const KdString& initialPath,
                                  const KdString& filters, const KdString& defaultExtension,
                                  KdString& path) {
    return fileDialog(true, title, initialPath, filters, defaultExtension, path);
}

bool KdConsoleUi::chooseColor(KdCmColor& color, unsigned flags, const KdCmColor&) {
    std::string forms = "1..255, red..white";
    if (flags & kUiColorByLayer)
        forms += ", bylayer";
    if (flags & kUiColorByBlock)
        forms += ", byblock";
    if (flags & kUiColorTrueColor)
        forms += ", r,g,b";
    std::string line;
    while (ask("\nColour (" + forms + ") [" + tvToUtf8(color.getDescription()) + "]: ", line)) {
        const std::string text = kdui::trim(line);
        if (text.empty())
            return true; // OK without a change
        KdCmColor chosen;
        if (!kdui::parseColorText(text, chosen)) {
            say("'" + text + "' is not a colour.\n");
            continue;
        }
        if (!kdUiColorAllowed(chosen, flags)) {
            say(tvToUtf8(chosen.getDescription()) + " cannot be chosen here.\n");
            continue;
        }
        color = chosen;
        return true;
    }
    return false;
}

bool KdConsoleUi::chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                                 KdString& chosen) {
    if (!names.empty()) {
        std::string list;
        for (const KdString& n : names)
            list += (list.empty() ? "" : ", ") + n.utf8();
        say("\nLinetypes: " + list + "\n");
    }
    std::string line;
    while (ask("Linetype [" + initial.utf8() + "]: ", line)) {
        std::wstring name = tvFromUtf8(kdui::trim(line));
        if (name.empty())
            name = initial.str();
        if (name.empty())
            return false;
        if (names.empty()) {
            chosen = KdString(name);
            return true;
        }
        for (const KdString& n : names) {
            if (tvEqualsNoCase(n.str(), name)) {
                chosen = n;
                return true;
            }
        }
        say("No linetype '" + tvToUtf8(name) + "'.\n");
    }
    return false;
}
