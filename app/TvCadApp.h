// tvcad, the Host application: one drawing, the command line, the loaded modules.
#pragma once

#include "TvCadUi.h"

#include <memory>
#include <string>
#include <vector>

class KdDbDatabase;
class KdEdInputSource;

namespace tvcad {

/// The Host's session: it owns the open drawing, reads commands from an input source, runs
/// the Host's own commands and those the modules registered, and prints to the command line
/// (the editor's output). One instance per process: the editor and the runtime are global.
class TvCadApp {
public:
    /// `moduleDirs`: folders searched for a module named without a folder.
    explicit TvCadApp(std::vector<std::string> moduleDirs = {});
    /// Closes the drawing without saving, tells the modules the Host quits and unloads them.
    ~TvCadApp();
    TvCadApp(const TvCadApp&) = delete;
    TvCadApp& operator=(const TvCadApp&) = delete;

    /// Opens a DXF drawing in place of the current one; false (current drawing kept) with the
    /// reason in `error` when it cannot be read.
    bool openDrawing(const std::string& path, std::string* error);
    /// Starts a new, unnamed drawing in place of the current one.
    void newDrawing();
    /// Loads a module through the dynamic linker (a bare file name is searched in the module
    /// folders); false with the reason in `error`.
    bool loadModule(const std::string& name, std::string* error);

    /// Reads commands from `input` until QUIT or the end of input. Returns the exit status:
    /// 0, or 1 when a command failed (an unknown command, a file that could not be opened or
    /// saved, a module that did not load).
    int run(KdEdInputSource& input);
    /// Runs one command line as typed at the "Command:" prompt; false when it failed.
    bool runCommand(const std::wstring& typed);

    /// Whether the answers read are shown after their prompts (on for scripts, off when a
    /// terminal already shows what the user types).
    void setEcho(bool echo);

    KdDbDatabase* database() const { return m_db.get(); }
    bool quitRequested() const { return m_quit; }

private:
    bool cmdNew();
    bool cmdOpen();
    bool cmdSave();
    bool cmdSaveAs();
    bool cmdQuit();
    bool cmdLoadModule();
    bool cmdUnloadModule();
    bool cmdHelp();
    bool cmdLayIso();
    bool cmdLayUniso();
    bool cmdUndo();
    bool cmdLayout();
    bool cmdPurge();

    bool saveTo(const std::string& path);
    /// When the drawing has unsaved changes, asks whether to save them first (in a message box
    /// when the UI services show windows); false when the user cancels (or saving fails), so
    /// that the caller keeps the drawing.
    bool settleChanges();
    void replaceDrawing(std::unique_ptr<KdDbDatabase> db);
    std::string resolveModule(const std::string& name) const;
    std::wstring drawingName() const;

    TvCadUi m_ui;
    std::vector<std::string> m_moduleDirs;
    std::unique_ptr<KdDbDatabase> m_db;
    bool m_quit = false;
    bool m_echo = true;
};

} // namespace tvcad
