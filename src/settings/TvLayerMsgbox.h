// The notice with a "do not show again" check box whose answer is remembered per user.
#pragma once

#include <string>

namespace tv {

/// Text id of the module's one notice; also the id its answer is remembered under.
inline constexpr unsigned kIdLayerNotice = 1874;

/// A modal notice with a check box that asks not to show it again. It holds what the window
/// shows and what the user answered; showing it goes through a runner, which is the Host's
/// message box until the module's dialog library installs its own window.
class TvLayerMsgbox {
public:
    static constexpr unsigned kIdTemplate = 1871;
    static constexpr unsigned kIdMessageControl = 1872;
    static constexpr unsigned kIdCheckBoxControl = 1873;

    /// Shows the notice modally and returns IDOK or IDCANCEL; on IDOK the check-box state is
    /// what the user left ticked (1) or cleared (0).
    using Runner = int (*)(TvLayerMsgbox& box);

    /// The window title; empty keeps the Host's caption.
    const std::wstring& caption() const { return m_caption; }
    void setCaption(std::wstring caption) { m_caption = std::move(caption); }
    const std::wstring& message() const { return m_message; }
    void setMessage(std::wstring message) { m_message = std::move(message); }
    /// The check box: 1 when ticked, else 0.
    int dontShowAgain() const { return m_dontShowAgain; }
    void setDontShowAgain(int checked) { m_dontShowAgain = checked ? 1 : 0; }

    /// Shows the notice through the installed runner: IDOK or IDCANCEL.
    int doModal();

    /// Installs the window that shows the notice; null restores the message-box runner.
    static void setRunner(Runner runner);

    /// The message-box runner: the notice and the question of string 1886 in a Yes/No/Cancel
    /// box. Yes is OK with the box ticked, No is OK with it cleared, Cancel is Cancel.
    static int runAsMessageBox(TvLayerMsgbox& box);

private:
    std::wstring m_caption;
    std::wstring m_message;
    int m_dontShowAgain = 0;
};

/// The registry key of remembered notice answers, below HKEY_CURRENT_USER.
std::wstring msgBoxSettingsKeyPath();
/// The value name of a notice's answer: "ID" and the text id ("ID1874").
std::wstring msgBoxValueName(unsigned textId);

/// Shows notice 1874 unless the user asked not to see it again. Returns the remembered value
/// when it is stored and not 0 (no window then); otherwise shows the notice and returns the
/// check-box state after OK, which is remembered, or 0 after Cancel, which stores nothing.
/// Registry failures are silent: an unreadable answer shows the notice, an unwritable one is
/// not remembered.
int showLayerNotice();

} // namespace tv
