// KdScriptedUi: answering prompts from the queue of expected ones, its errors and log.
#include "tv/KdScriptedUi.h"

#include "tv/KdUtf8.h"
#include "KdUiText.h"

#include <utility>

namespace {

std::string quoted(const std::wstring& text) {
    return "'" + tvToUtf8(text) + "'";
}

std::wstring answerText(const KdUiScriptedAnswer& answer) {
    if (answer.cancel)
        return L"cancel";
    switch (answer.kind) {
    case KdUiPromptKind::kMessageBox:
        return tvFromUtf8(kdUiAnswerName(answer.button));
    case KdUiPromptKind::kOpenFile:
    case KdUiPromptKind::kSaveFile:
        return answer.path;
    case KdUiPromptKind::kColor:
        return kdui::colorAnswerText(answer.color);
    case KdUiPromptKind::kLinetype:
        return answer.linetype;
    }
    return {};
}

std::string buttonsText(int buttons) {
    switch (buttons) {
    case MB_OKCANCEL:
        return "OK/Cancel";
    case MB_YESNOCANCEL:
        return "Yes/No/Cancel";
    case MB_YESNO:
        return "Yes/No";
    default:
        return "OK";
    }
}

} // namespace

const char* kdUiPromptKindName(KdUiPromptKind kind) {
    switch (kind) {
    case KdUiPromptKind::kMessageBox:
        return "message box";
    case KdUiPromptKind::kOpenFile:
        return "open file dialog";
    case KdUiPromptKind::kSaveFile:
        return "save file dialog";
    case KdUiPromptKind::kColor:
        return "colour dialog";
    case KdUiPromptKind::kLinetype:
        return "linetype chooser";
    }
    return "prompt";
}

std::string kdUiDescribeAnswer(const KdUiScriptedAnswer& answer) {
    std::string out = kdUiPromptKindName(answer.kind);
    if (!answer.expectText.empty())
        out += " containing " + quoted(answer.expectText);
    out += " -> " + tvToUtf8(answerText(answer));
    if (answer.sourceLine > 0)
        out += ", script line " + std::to_string(answer.sourceLine);
    return out;
}

KdScriptedUi::KdScriptedUi() = default;
KdScriptedUi::~KdScriptedUi() = default;

// -- Queueing --

void KdScriptedUi::expect(KdUiScriptedAnswer answer) {
    m_queue.push_back(std::move(answer));
}

void KdScriptedUi::expectMessageBox(int button, std::wstring_view textContains) {
    KdUiScriptedAnswer a;
    a.kind = KdUiPromptKind::kMessageBox;
    a.button = button;
    a.expectText = textContains;
    expect(std::move(a));
}

namespace {
KdUiScriptedAnswer fileAnswer(KdUiPromptKind kind, std::wstring_view path,
                              std::wstring_view titleContains) {
    KdUiScriptedAnswer a;
    a.kind = kind;
    a.path = path;
    a.expectText = titleContains;
    return a;
}
} // namespace

void KdScriptedUi::expectOpenFile(std::wstring_view path, std::wstring_view titleContains) {
    expect(fileAnswer(KdUiPromptKind::kOpenFile, path, titleContains));
}

void KdScriptedUi::expectSaveFile(std::wstring_view path, std::wstring_view titleContains) {
    expect(fileAnswer(KdUiPromptKind::kSaveFile, path, titleContains));
}

void KdScriptedUi::expectColor(const KdCmColor& color, std::wstring_view initialContains) {
    KdUiScriptedAnswer a;
    a.kind = KdUiPromptKind::kColor;
    a.color = color;
    a.expectText = initialContains;
    expect(std::move(a));
}

void KdScriptedUi::expectLinetype(std::wstring_view name, std::wstring_view initialContains) {
    KdUiScriptedAnswer a;
    a.kind = KdUiPromptKind::kLinetype;
    a.linetype = name;
    a.expectText = initialContains;
    expect(std::move(a));
}

void KdScriptedUi::expectCancel(KdUiPromptKind kind, std::wstring_view textContains) {
    KdUiScriptedAnswer a;
    a.kind = kind;
    a.cancel = true;
    a.expectText = textContains;
    expect(std::move(a));
}

// -- Results --

std::string KdScriptedUi::problems() const {
    std::string out;
    for (const std::string& e : m_errors)
        out += e + "\n";
    for (const KdUiScriptedAnswer& a : m_queue)
        out += "never shown: " + kdUiDescribeAnswer(a) + "\n";
    return out;
}

void KdScriptedUi::reset() {
    m_queue.clear();
    m_errors.clear();
    m_log.clear();
}

// -- Matching --

const KdUiScriptedAnswer* KdScriptedUi::take(KdUiPromptKind kind, const std::wstring& text,
                                             const std::wstring& altText) {
    const KdUiScriptedAnswer* head = m_queue.empty() ? nullptr : &m_queue.front();
    const bool matches = head && head->kind == kind &&
                         (kdui::containsNoCase(text, head->expectText) ||
                          kdui::containsNoCase(altText, head->expectText));
    if (matches)
        return head;
    m_errors.push_back(
        std::string("unexpected ") + kdUiPromptKindName(kind) + ": " + quoted(text) +
        " (expected: " + (head ? kdUiDescribeAnswer(*head) : std::string("no more prompts")) + ")");
    record(kind, text, L"cancel", false);
    return nullptr;
}

void KdScriptedUi::refuse(const KdUiScriptedAnswer& answer, KdUiPromptKind kind,
                          const std::wstring& text, const std::string& why) {
    m_errors.push_back(std::string(kdUiPromptKindName(kind)) + " " + quoted(text) + ": " + why +
                       " (queued: " + kdUiDescribeAnswer(answer) + ")");
    record(kind, text, L"cancel", false);
    m_queue.pop_front();
}

void KdScriptedUi::record(KdUiPromptKind kind, const std::wstring& text, const std::wstring& answer,
                          bool expected) {
    m_log.push_back(KdUiPromptRecord{kind, text, answer, expected});
}

// -- The prompts --

int KdScriptedUi::messageBox(const KdString& text, const KdString& caption, int buttons, int) {
    const KdUiScriptedAnswer* a = take(KdUiPromptKind::kMessageBox, text.str(), caption.str());
    if (!a)
        return kdUiCancelAnswer(buttons);
    const int answer = a->cancel ? kdUiCancelAnswer(buttons) : a->button;
    if (!kdUiAnswerAllowed(buttons, answer)) {
        refuse(*a, KdUiPromptKind::kMessageBox, text.str(),
               std::string("cannot answer ") + kdUiAnswerName(answer) + ", its buttons are " +
                   buttonsText(buttons));
        return kdUiCancelAnswer(buttons);
    }
    record(KdUiPromptKind::kMessageBox, text.str(), tvFromUtf8(kdUiAnswerName(answer)), true);
    m_queue.pop_front();
    return answer;
}

bool KdScriptedUi::fileDialog(KdUiPromptKind kind, const KdString& title,
                              const KdString& initialPath, KdString& path) {
    const KdUiScriptedAnswer* a = take(kind, title.str(), initialPath.str());
    if (!a)
        return false;
    if (!a->cancel && a->path.empty()) {
        refuse(*a, kind, title.str(), "the queued answer has no path");
        return false;
    }
    record(kind, title.str(), a->cancel ? L"cancel" : a->path, true);
    const bool ok = !a->cancel;
    if (ok)
        path = KdString(a->path);
    m_queue.pop_front();
    return ok;
}

bool KdScriptedUi::getOpenFileName(const KdString& title, const KdString& initialPath,
                                   const KdString&, const KdString&, KdString& path) {
    return fileDialog(KdUiPromptKind::kOpenFile, title, initialPath, path);
}

bool KdScriptedUi::getSaveFileName(const KdString& title, const KdString& initialPath,
                                   const KdString&, const KdString&, KdString& path) {
    return fileDialog(KdUiPromptKind::kSaveFile, title, initialPath, path);
}

bool KdScriptedUi::chooseColor(KdCmColor& color, unsigned flags, const KdCmColor&) {
    const std::wstring initial = color.getDescription();
    const KdUiScriptedAnswer* a = take(KdUiPromptKind::kColor, initial, {});
    if (!a)
        return false;
    if (!a->cancel && !kdUiColorAllowed(a->color, flags)) {
        refuse(*a, KdUiPromptKind::kColor, initial,
               "this dialog does not offer " + tvToUtf8(a->color.getDescription()));
        return false;
    }
    record(KdUiPromptKind::kColor, initial, a->cancel ? L"cancel" : kdui::colorAnswerText(a->color),
           true);
    const bool ok = !a->cancel;
    if (ok)
        color = a->color;
    m_queue.pop_front();
    return ok;
}

bool KdScriptedUi::chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                                  KdString& chosen) {
    const KdUiScriptedAnswer* a = take(KdUiPromptKind::kLinetype, initial.str(), {});
    if (!a)
        return false;
    std::wstring name = a->linetype;
    if (!a->cancel) {
        bool found = names.empty() && !name.empty();
        for (const KdString& n : names) {
            if (tvEqualsNoCase(n.str(), name)) {
                name = n.str(); // the list's spelling
                found = true;
                break;
            }
        }
        if (!found) {
            refuse(*a, KdUiPromptKind::kLinetype, initial.str(),
                   quoted(name) + " is not in the list of " + std::to_string(names.size()) +
                       " linetypes");
            return false;
        }
    }
    record(KdUiPromptKind::kLinetype, initial.str(), a->cancel ? L"cancel" : name, true);
    const bool ok = !a->cancel;
    if (ok)
        chosen = KdString(name);
    m_queue.pop_front();
    return ok;
}
