// UI services that answer from a queue of expected prompts, for tests and scripted runs.
#pragma once

#include "KdUiServices.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

/// The kinds of prompt the UI services show.
enum class KdUiPromptKind { kMessageBox, kOpenFile, kSaveFile, kColor, kLinetype };

/// "message box", "open file dialog", "save file dialog", "colour dialog", "linetype chooser".
TVHOST_API const char* kdUiPromptKindName(KdUiPromptKind kind);

/// One queued answer: the prompt it expects and what it answers.
struct TVHOST_API KdUiScriptedAnswer {
    KdUiPromptKind kind = KdUiPromptKind::kMessageBox;
    /// When not empty, the prompt's text must contain this (case ignored): a message box's
    /// text or caption, a file dialog's title or initial path, the colour dialog's initial
    /// colour description ("Index 30"), the linetype chooser's initial name.
    std::wstring expectText;
    bool cancel = false;   ///< close the prompt without choosing
    int button = IDOK;     ///< message box: IDOK, IDCANCEL, IDYES or IDNO
    std::wstring path;     ///< file dialogs
    KdCmColor color;       ///< colour dialog
    std::wstring linetype; ///< linetype chooser
    int sourceLine = 0;    ///< line of the script it came from (0: queued in code)
};

/// One prompt as it was shown and answered.
struct TVHOST_API KdUiPromptRecord {
    KdUiPromptKind kind = KdUiPromptKind::kMessageBox;
    std::wstring text;    ///< message text, dialog title, initial colour or linetype
    std::wstring answer;  ///< "yes", "no", "ok", "cancel", a path, a colour, a linetype name
    bool expected = true; ///< false when the prompt did not match the queue
};

/// Answers prompts from a queue, in order. A prompt that does not match the head of the queue
/// (queue empty, other kind, text not contained) is an error: it is recorded, the prompt gets
/// a cancel-like answer and the queue is left as it was. So is a queued answer that the prompt
/// cannot take (a button the box does not have, a colour or linetype it does not offer).
class TVHOST_API KdScriptedUi : public KdUiServices {
public:
    KdScriptedUi();
    ~KdScriptedUi() override;

    // -- Queueing in code --
    void expect(KdUiScriptedAnswer answer);
    void expectMessageBox(int button, std::wstring_view textContains = {});
    void expectOpenFile(std::wstring_view path, std::wstring_view titleContains = {});
    void expectSaveFile(std::wstring_view path, std::wstring_view titleContains = {});
    void expectColor(const KdCmColor& color, std::wstring_view initialContains = {});
    void expectLinetype(std::wstring_view name, std::wstring_view initialContains = {});
    void expectCancel(KdUiPromptKind kind, std::wstring_view textContains = {});

    // -- Queueing from script text --
    /// Queues the answers of a script, one per line (UTF-8):
    ///   msgbox yes|no|ok|cancel ["text"]      open "path" ["title"]    save "path" ["title"]
    ///   color N | color bylayer | color byblock | color rgb R G B ["initial"]
    ///   linetype NAME ["initial"]              cancel msgbox|open|save|color|linetype ["text"]
    /// Words may be quoted with double quotes (\" and \\ inside); '#' starts a comment line.
    /// On a malformed line nothing is queued, false is returned and `error` holds
    /// "name:line: what is wrong".
    bool loadScript(std::string_view text, std::string* error = nullptr,
                    const char* name = "<script>");
    /// Reads a script file; a file that cannot be read is an error naming the file.
    bool loadScriptFile(const char* path, std::string* error = nullptr);

    // -- Results --
    const std::vector<std::string>& errors() const { return m_errors; }
    bool hasErrors() const { return !m_errors.empty(); }
    size_t unansweredCount() const { return m_queue.size(); }
    /// Every prompt shown, in order.
    const std::vector<KdUiPromptRecord>& log() const { return m_log; }
    /// Errors and queued answers never used, one line each; empty when all went as scripted.
    std::string problems() const;
    /// Forgets queue, errors and log.
    void reset();
    /// Whether these services claim to show windows (hasWindow), so that tests reach the
    /// window forms of commands with scripted answers; false by default.
    void setHasWindow(bool hasWindow) { m_hasWindow = hasWindow; }

    // -- KdUiServices --
    int messageBox(const KdString& text, const KdString& caption, int buttons, int icon) override;
    bool getOpenFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool getSaveFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool chooseColor(KdCmColor& color, unsigned flags, const KdCmColor& currentLayerColor) override;
    bool chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                        KdString& chosen) override;
    bool hasWindow() const override { return m_hasWindow; }

private:
    /// The head of the queue when it matches the prompt, else null (and an error recorded).
    const KdUiScriptedAnswer* take(KdUiPromptKind kind, const std::wstring& text,
                                   const std::wstring& altText);
    void refuse(const KdUiScriptedAnswer& answer, KdUiPromptKind kind, const std::wstring& text,
                const std::string& why);
    void record(KdUiPromptKind kind, const std::wstring& text, const std::wstring& answer,
                bool expected);
    bool fileDialog(KdUiPromptKind kind, const KdString& title, const KdString& initialPath,
                    KdString& path);

    std::deque<KdUiScriptedAnswer> m_queue;
    std::vector<std::string> m_errors;
    std::vector<KdUiPromptRecord> m_log;
    bool m_hasWindow = false;
};

/// Describes a queued answer for messages: "message box 'Replace' answered yes (line 3)".
TVHOST_API std::string kdUiDescribeAnswer(const KdUiScriptedAnswer& answer);
