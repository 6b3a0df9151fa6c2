// The command loop of tvcad and the Host's own commands.
#include "TvCadApp.h"

#include "TvCadLayerTools.h"


#include "tv/KdDbDatabase.h"
#include "tv/KdEdCommandStack.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdEdUndoController.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdUiServices.h"
#include "tv/KdUtf8.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace tvcad {
namespace {

namespace fs = std::filesystem;

void say(const std::wstring& text) {
    kdutPrintf(L"%s", text.c_str());
}

/// The command name without its prefixes: "." (the Host's own command) and "_" (global name).
std::wstring bareName(const std::wstring& typed) {
    size_t i = 0;
    while (i < typed.size() && (typed[i] == L'.' || typed[i] == L'_'))
        ++i;
    std::wstring name = typed.substr(i);
    for (wchar_t& c : name)
        c = tvUpper(c);
    return name;
}

/// Asks for text; false on cancel.
bool askText(const std::wstring& prompt, std::wstring& answer) {
    wchar_t buf[4096];
    if (kdedGetString(1, prompt.c_str(), buf, 4096) != RTNORM)
        return false;
    answer = buf;
    return true;
}

struct HostCommand {
    const wchar_t* name;
    bool (TvCadApp::*run)();
};

} // namespace

TvCadApp::TvCadApp(std::vector<std::string> moduleDirs) : m_moduleDirs(std::move(moduleDirs)) {
    newDrawing();
}

TvCadApp::~TvCadApp() {
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    if (linker) {
        linker->quitAll();
        std::vector<std::string> modules = linker->loadedModules();
        for (auto it = modules.rbegin(); it != modules.rend(); ++it)
            linker->unloadModule(it->c_str());
    }
    replaceDrawing(nullptr);
    if (kdUiServices() == &m_ui)
        kdSetUiServices(nullptr);
}

void TvCadApp::replaceDrawing(std::unique_ptr<KdDbDatabase> db) {
    if (m_db)
        kdedDatabaseClosed(m_db.get());
    m_db = std::move(db);
    kdedSetCurrentDatabase(m_db.get());
}

void TvCadApp::newDrawing() {
    replaceDrawing(std::make_unique<KdDbDatabase>());
}

bool TvCadApp::openDrawing(const std::string& path, std::string* error) {
    auto db = std::make_unique<KdDbDatabase>(false);
    if (db->readDxfFile(path.c_str(), error) != Kdad::eOk)
        return false;
    for (const std::string& warning : db->readWarnings())
        say(L"Repaired: " + tvFromUtf8(warning) + L"\n");
    replaceDrawing(std::move(db));
    return true;
}

std::string TvCadApp::resolveModule(const std::string& name) const {
    if (name.find('/') != std::string::npos)
        return name;
    for (const std::string& dir : m_moduleDirs) {
        std::error_code ec;
        fs::path candidate = fs::path(dir) / name;
        if (fs::is_regular_file(candidate, ec))
            return candidate.string();
    }
    return name;
}

bool TvCadApp::loadModule(const std::string& name, std::string* error) {
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    const std::string path = resolveModule(name);
    if (linker && linker->loadModule(path.c_str(), false))
        return true;
    if (error)
        *error = linker ? linker->lastError() : "the Host has no dynamic linker";
    return false;
}

void TvCadApp::setEcho(bool echo) {
    m_echo = echo;
    kdedSetEchoAnswers(echo);
}

std::wstring TvCadApp::drawingName() const {
    if (!m_db || m_db->fileName().empty())
        return L"Drawing1.dxf";
    return tvFromUtf8(fs::path(m_db->fileName()).filename().string());
}

// -- The command loop --

int TvCadApp::run(KdEdInputSource& input) {
    KdEdInputSource* previous = kdedInputSource();
    kdedSetInputSource(&input);
    bool failed = false;
    m_quit = false;
    while (!m_quit) {
        say(L"\nCommand: ");
        KdEdInputEvent ev = input.next();
        if (ev.kind == KdEdInputEvent::kEnd) {
            if (m_echo)
                say(L"\n");
            if (m_db && m_db->isModified())
                say(L"Input ended; the changes to " + drawingName() + L" were not saved.\n");
            break;
        }
        if (ev.kind == KdEdInputEvent::kCancel) {
            say(L"*Cancel*\n");
            continue;
        }
        if (ev.kind != KdEdInputEvent::kText) {
            if (m_echo)
                say(L"\n");
            continue;
        }
        if (m_echo)
            say(ev.text + L"\n");
        if (ev.text[0] == L';')
            continue; // a comment line of a script
        if (!runCommand(ev.text))
            failed = true;
    }
    kdedSetInputSource(previous);
    return failed ? 1 : 0;
}

bool TvCadApp::runCommand(const std::wstring& typed) {
    static const HostCommand kHostCommands[] = {
        {L"NEW", &TvCadApp::cmdNew},
        {L"OPEN", &TvCadApp::cmdOpen},
        {L"SAVE", &TvCadApp::cmdSave},
        {L"SAVEAS", &TvCadApp::cmdSaveAs},
        {L"QUIT", &TvCadApp::cmdQuit},
        {L"LOADMODULE", &TvCadApp::cmdLoadModule},
        {L"UNLOADMODULE", &TvCadApp::cmdUnloadModule},
        {L"HELP", &TvCadApp::cmdHelp},
        {L"LAYISO", &TvCadApp::cmdLayIso},
        {L"LAYUNISO", &TvCadApp::cmdLayUniso},
        {L"U", &TvCadApp::cmdUndo},
        {L"LAYOUT", &TvCadApp::cmdLayout},
        {L"-PURGE", &TvCadApp::cmdPurge},
    };
    const std::wstring name = bareName(typed);
    // Each command but U is one step that U takes back.
    if (m_db && name != L"U") {
        if (KdEdUndoController* undo = curDocUndoController())
            undo->putUndoMark();
    }
    for (const HostCommand& c : kHostCommands) {
        if (name == c.name)
            return (this->*c.run)();
    }
    if (name == L"-LAYER") {
        if (!m_db) {
            say(L"No drawing is open.\n");
            return false;
        }
        kdedHostCommand(typed.c_str());
        return true;
    }
    KdEdCommandStack* stack = kdedCommandStack();
    const KdEdCommand* cmd = stack ? stack->lookupCmd(typed.c_str()) : nullptr;
    if (!cmd || !cmd->handler) {
        bool failed = false;
        if (m_db && systemVariableCommand(name, &failed))
            return !failed;
        say(L"Unknown command \"" + typed + L"\".  Type HELP for a list of commands.\n");
        return false;
    }
    kdedSetCurrentDatabase(m_db.get());
    std::string failure;
    if (!kdrxCallGuarded(cmd->handler, &failure)) {
        say(L"\nThe command " + cmd->globalName + L" failed: " + tvFromUtf8(failure) + L"\n");
        return false;
    }
    return true;
}

// -- Host commands --

bool TvCadApp::settleChanges() {
    if (!m_db || !m_db->isModified())
        return true;
    if (kdUiServices()->hasWindow()) {
        const std::wstring question = L"Save changes to " + drawingName() + L"?";
        const int answer = kdedMessageBox(question.c_str(), MB_YESNOCANCEL, MB_ICONQUESTION);
        if (answer == IDCANCEL)
            return false;
        if (answer == IDNO)
            return true;
        if (!m_db->fileName().empty())
            return saveTo(m_db->fileName());
        KdString path;
        const KdString title(L"Save Drawing As");
        const KdString filters(L"Drawings (*.dxf)|*.dxf");
        if (!kdUiServices()->getSaveFileName(title, KdString(), filters, KdString(L"dxf"), path))
            return false;
        return saveTo(tvToUtf8(path.str()));
    }
    wchar_t answer[16];
    kdedInitGet(0, L"Yes No Cancel _ Yes No Cancel");
    const int rc = kdedGetKword(
        (L"Save changes to " + drawingName() + L"? [Yes/No/Cancel] <Yes>: ").c_str(), answer, 16);
    if (rc == RTCAN || (rc == RTNORM && std::wstring(answer) == L"Cancel"))
        return false;
    if (rc == RTNORM && std::wstring(answer) == L"No")
        return true;
    if (m_db->fileName().empty())
        return cmdSaveAs();
    return saveTo(m_db->fileName());
}

bool TvCadApp::cmdNew() {
    if (!settleChanges())
        return true;
    newDrawing();
    say(L"Started " + drawingName() + L".\n");
    return true;
}

bool TvCadApp::cmdOpen() {
    std::wstring path;
    if (!askText(L"Enter name of drawing to open: ", path) || path.empty())
        return true; // nothing asked for, nothing failed
    if (!settleChanges())
        return true;
    std::string error;
    if (!openDrawing(tvToUtf8(path), &error)) {
        const std::wstring message = L"Cannot open the drawing: " + tvFromUtf8(error);
        say(message + L"\n");
        if (kdUiServices()->hasWindow())
            kdedMessageBox(message.c_str(), MB_OK, MB_ICONERROR);
        return false;
    }
    say(L"Opened " + drawingName() + L".\n");
    return true;
}

bool TvCadApp::saveTo(const std::string& path) {
    std::string error;
    if (m_db->saveAs(path.c_str(), &error) != Kdad::eOk) {
        say(L"Cannot save the drawing: " + tvFromUtf8(error) + L"\n");
        return false;
    }
    say(L"Saved " + tvFromUtf8(path) + L".\n");
    return true;
}

bool TvCadApp::cmdSave() {
    if (!m_db) {
        say(L"No drawing is open.\n");
        return false;
    }
    if (m_db->fileName().empty())
        return cmdSaveAs();
    return saveTo(m_db->fileName());
}

bool TvCadApp::cmdSaveAs() {
    if (!m_db) {
        say(L"No drawing is open.\n");
        return false;
    }
    const std::wstring current = tvFromUtf8(m_db->fileName());
    std::wstring path;
    const std::wstring prompt =
        current.empty() ? L"Save drawing as: " : L"Save drawing as <" + current + L">: ";
    if (!askText(prompt, path))
        return true;
    if (path.empty()) {
        if (current.empty())
            return true;
        path = current;
    }
    return saveTo(tvToUtf8(path));
}

bool TvCadApp::cmdQuit() {
    if (!settleChanges())
        return true;
    m_quit = true;
    return true;
}

bool TvCadApp::cmdLoadModule() {
    std::wstring name;
    if (!askText(L"Module to load: ", name) || name.empty())
        return true;
    std::string error;
    if (!loadModule(tvToUtf8(name), &error)) {
        say(L"Cannot load the module: " + tvFromUtf8(error) + L"\n");
        return false;
    }
    say(L"Loaded " + name + L".\n");
    return true;
}

bool TvCadApp::cmdUnloadModule() {
    std::wstring name;
    if (!askText(L"Module to unload: ", name) || name.empty())
        return true;
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    if (!linker || !linker->unloadModule(tvToUtf8(name).c_str())) {
        say(L"Cannot unload the module: " +
            tvFromUtf8(linker ? linker->lastError() : std::string("no dynamic linker")) + L"\n");
        return false;
    }
    say(L"Unloaded " + name + L".\n");
    return true;
}

bool TvCadApp::cmdLayIso() {
    return layerIsolateCommand(m_db.get());
}

bool TvCadApp::cmdLayUniso() {
    return layerUnisolateCommand(m_db.get());
}

bool TvCadApp::cmdUndo() {
    return undoCommand(m_db.get());
}

bool TvCadApp::cmdPurge() {
    return purgeCommand(m_db.get());
}

bool TvCadApp::cmdLayout() {
    return layoutCommand(m_db.get());
}

bool TvCadApp::cmdHelp() {
    say(L"Host commands: NEW OPEN SAVE SAVEAS QUIT -LAYER LAYISO LAYUNISO U LAYOUT -PURGE "
        L"LOADMODULE UNLOADMODULE HELP, and system variables by name\n");
    KdEdCommandStack* stack = kdedCommandStack();
    if (!stack)
        return true;
    for (const std::wstring& group : stack->groups()) {
        std::wstring line = L"From " + group + L":";
        for (const KdEdCommand* c : stack->commands(group.c_str())) {
            if (!(c->flags & KDRX_CMD_UNDEFINED))
                line += L" " + c->globalName;
        }
        say(line + L"\n");
    }
    return true;
}

} // namespace tvcad
