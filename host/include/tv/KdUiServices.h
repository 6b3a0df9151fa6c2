// The Host's user-interface services: message boxes, file, colour and linetype dialogs.
#pragma once

#include "KdCmColor.h"
#include "KdExport.h"
#include "KdString.h"

#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class KdDbDatabase;

/// Buttons of a message box.
enum KdUiMessageBoxButtons : int {
    MB_OK = 0,
    MB_OKCANCEL = 1,
    MB_YESNOCANCEL = 3,
    MB_YESNO = 4,
};

/// Icon of a message box (0 for none).
enum KdUiMessageBoxIcon : int {
    MB_ICONERROR = 0x10,
    MB_ICONQUESTION = 0x20,
    MB_ICONWARNING = 0x30,
    MB_ICONEXCLAMATION = 0x30,
    MB_ICONINFORMATION = 0x40,
};

/// The button that closed a message box.
enum KdUiMessageBoxAnswer : int {
    IDOK = 1,
    IDCANCEL = 2,
    IDYES = 6,
    IDNO = 7,
};

/// What the colour dialog may return besides index colours 1..255.
enum KdUiColorFlags : unsigned {
    kUiColorTrueColor = 0x1, ///< true colours (RGB)
    kUiColorByLayer = 0x2,
    kUiColorByBlock = 0x4,
    kUiColorBook = 0x8, ///< true colours picked from a colour book
    kUiColorAll = 0xF,
};

/// Pages of the Host's colour dialog, for kdedSetColorDialogTrueColor; 0 shows all of them.
enum KdUiColorTabs : int {
    kUiColorTabIndex = 0x1,
    kUiColorTabTrueColor = 0x2,
    kUiColorTabColorBook = 0x4,
};

/// Caption of the Host's message boxes.
inline constexpr const wchar_t* kKdUiCaption = L"TEVRA";

/// The interactive services of the Host. Every call is modal: it returns once the user has
/// answered. A dialog closed without choosing returns false (or the cancel-like answer of a
/// message box) and leaves the output untouched.
class TVHOST_API KdUiServices {
public:
    virtual ~KdUiServices();

    /// Shows `text` with `caption`, the buttons MB_OK .. MB_YESNO and an icon (0 for none).
    /// Returns one of the answers the buttons allow: IDOK, IDCANCEL, IDYES or IDNO.
    virtual int messageBox(const KdString& text, const KdString& caption, int buttons,
                           int icon) = 0;

    /// A file-open dialog. `initialPath` is a folder or a file, `filters` a list such as
    /// "Layer states (*.las)|*.las|Drawings (*.dwg)|*.dwg", `defaultExtension` the extension
    /// added to a name typed without one ("las", ".las" or "*.las"). On OK `path` is the file.
    virtual bool getOpenFileName(const KdString& title, const KdString& initialPath,
                                 const KdString& filters, const KdString& defaultExtension,
                                 KdString& path) = 0;
    /// A file-save dialog; the arguments are those of getOpenFileName.
    virtual bool getSaveFileName(const KdString& title, const KdString& initialPath,
                                 const KdString& filters, const KdString& defaultExtension,
                                 KdString& path) = 0;

    /// The colour dialog, opened at `color`; `flags` (KdUiColorFlags) say which colours besides
    /// index colours may be chosen; `currentLayerColor` is what "by layer" stands for. On OK
    /// `color` is the chosen colour.
    virtual bool chooseColor(KdCmColor& color, unsigned flags,
                             const KdCmColor& currentLayerColor) = 0;

    /// The linetype chooser: one of `names`, opened at `initial`. On OK `chosen` is the name
    /// as spelled in `names`. An empty list lets any name be entered.
    virtual bool chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                                KdString& chosen) = 0;

    /// True when these services show windows, so that a command may open a dialog where it
    /// would otherwise ask on the command line. False for the console and scripted services.
    virtual bool hasWindow() const;
};

/// The current UI services of the Host; never null. Until kdSetUiServices installs one, every
/// prompt is answered as if the user cancelled it.
TVHOST_API KdUiServices* kdUiServices();
/// Installs the UI services (not owned; they must outlive their use). Null restores the
/// cancelling default.
TVHOST_API void kdSetUiServices(KdUiServices* services);

/// Installs UI services for the lifetime of a scope and then restores the previous ones.
class TVHOST_API KdUiServicesScope {
public:
    explicit KdUiServicesScope(KdUiServices* services) : m_previous(kdUiServices()) {
        kdSetUiServices(services);
    }
    ~KdUiServicesScope() { kdSetUiServices(m_previous); }
    KdUiServicesScope(const KdUiServicesScope&) = delete;
    KdUiServicesScope& operator=(const KdUiServicesScope&) = delete;

private:
    KdUiServices* m_previous;
};

/// UI services for a text console: prompts are written to `out` and answers read line by line
/// from `in` (UTF-8); the end of `in` cancels a prompt. The streams are not closed.
TVHOST_API std::unique_ptr<KdUiServices> kdMakeConsoleUi(FILE* in, FILE* out);

// -- Helpers shared by the implementations --

/// The answer given when a message box is closed without a choice: IDCANCEL when there is a
/// Cancel button, IDNO for Yes/No, IDOK for a box with OK alone.
TVHOST_API int kdUiCancelAnswer(int buttons);
/// True when `answer` is one of the buttons of a box with `buttons`.
TVHOST_API bool kdUiAnswerAllowed(int buttons, int answer);
/// "yes", "no", "ok", "cancel" (or "answer N" for anything else).
TVHOST_API const char* kdUiAnswerName(int answer);
/// True when the colour dialog may return `color` under `flags`.
TVHOST_API bool kdUiColorAllowed(const KdCmColor& color, unsigned flags);

/// Splits a filter list "Text|patterns|Text|patterns" into (text, patterns) pairs; a trailing
/// text without patterns gets "*".
TVHOST_API std::vector<std::pair<std::wstring, std::wstring>>
kdUiParseFileFilters(const std::wstring& filters);
/// `path` with the default extension ("las", ".las" or "*.las") appended when its file name
/// has no extension of its own.
TVHOST_API std::wstring kdUiApplyDefaultExtension(const std::wstring& path,
                                                  const std::wstring& defaultExtension);

/// Names of the drawing's linetypes in table order; "ByLayer" and "ByBlock" only when asked.
TVHOST_API std::vector<KdString> kdUiLinetypeNames(KdDbDatabase& db,
                                                   bool withByLayerByBlock = false);

// -- Editor entry points that go through the current UI services --

/// A message box with the Host's caption (or `caption` when given); returns the answer.
TVHOST_API int kdedMessageBox(const wchar_t* text, int buttons = MB_OK, int icon = 0,
                              const wchar_t* caption = nullptr);

/// The Host's colour dialog, opened at `color`. `allowMetaColor` allows by layer and by block;
/// `tabs` (KdUiColorTabs, 0 for all) allow true colours and colour-book colours. RTNORM with
/// the chosen colour in `color`, RTCAN when cancelled, RTERROR when the dialog returned a
/// colour it was not allowed to; `color` changes only with RTNORM.
TVHOST_API int kdedSetColorDialogTrueColor(KdCmColor& color, bool allowMetaColor,
                                           const KdCmColor& currentLayerColor, int tabs);
