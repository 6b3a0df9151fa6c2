#include "commands/TvLayerStateCommand.h"

#include "common/TvResbuf.h"
#include "common/TvResourceText.h"
#include "common/TvSymbolName.h"
#include "layerstate/CTvLayerStateManager.h"

#include "tv/KdConfigData.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <filesystem>

namespace tv {
namespace {

void say(const std::wstring& text) {
    kdutPrintf(L"%s", text.c_str());
}

/// Asks for text; false on cancel. Enter gives an empty answer.
bool askText(const std::wstring& prompt, std::wstring& answer) {
    wchar_t buf[2048];
    if (kdedGetString(1, prompt.c_str(), buf, 2048) != RTNORM)
        return false;
    answer = trimBlanks(buf);
    return true;
}

/// Asks Yes or No; `fallback` on Enter. False on cancel.
bool askYesNo(const std::wstring& question, bool fallback, bool& yes) {
    wchar_t kw[8];
    kdedInitGet(0, L"Yes No _ Yes No");
    const int rc = kdedGetKword(
        (question + (fallback ? L" [Yes/No] <Yes>: " : L" [Yes/No] <No>: ")).c_str(), kw, 8);
    if (rc == RTNONE) {
        yes = fallback;
        return true;
    }
    if (rc != RTNORM)
        return false;
    yes = std::wstring(kw) == L"Yes";
    return true;
}

struct MaskKeyword {
    const wchar_t* keyword;
    uint32_t bit;
};

const MaskKeyword kMaskKeywords[] = {
    {L"On", kTvMaskOn},
    {L"Frozen", kTvMaskFrozen},
    {L"Locked", kTvMaskLocked},
    {L"Plot", kTvMaskPlot},
    {L"Color", kTvMaskColor},
    {L"Ltype", kTvMaskLinetype},
    {L"Lweight", kTvMaskLineweight},
    {L"Pstyle", kTvMaskPlotStyle},
    {L"Newvpfrozen", kTvMaskNewViewportFrozen},
    {L"Vpfrozen", kTvMaskViewportFrozen},
    {L"All", kTvMaskAll},
};

/// The session of one command: the manager on the current drawing.
class LayerStateSession {
public:
    bool open() {
        m_db = kdedCurrentDatabase();
        if (!m_db) {
            say(L"No drawing is open.\n");
            return false;
        }
        m_manager.setDatabase(m_db);
        m_manager.setModelSpace(kdedGetShortVar(L"TILEMODE", 1) == 1);
        bool read = false;
        const std::wstring clayer = textSystemVariable(L"CLAYER", &read);
        if (read) {
            m_manager.setCurrentLayerName(clayer);
        }
        int16_t option = 0;
        if (KdConfigDataManager* config = getConfigDataManager())
            config->getValue(L"LAYSTATEOPTIONS", option);
        m_manager.setTurnOffNotFound(option != 0);
        if (!m_manager.load()) {
            say(L"The drawing's layer states cannot be read.\n");
            return false;
        }
        return true;
    }

    /// Writes the states back to the drawing after a change.
    bool store() {
        m_changed = true;
        if (m_manager.save())
            return true;
        say(L"The layer states could not be saved in the drawing.\n");
        return false;
    }

    bool changed() const { return m_changed; }

    /// Asks for a name that the save rules accept; false on cancel or Enter.
    bool askNewName(std::wstring& name) {
        for (;;) {
            if (!askText(L"Enter new layer state name: ", name) || name.empty())
                return false;
            const wchar_t refused = layerStateNameRefusal(name);
            if (refused == 0 && isValidSymbolName(name))
                return true;
            say(resourceText(3128, L"The name ") + name +
                resourceText(3129, L" contains a "
                                   L"character that "
                                   L"is not allowed.") +
                L"\n" + name + resourceText(3126, L" is not a valid layer state name.") + L"\n");
        }
    }

    /// Asks for the name of a held state; null on cancel or Enter.
    CTvLayerState* askState(const wchar_t* prompt) {
        std::wstring name;
        for (;;) {
            if (!askText(prompt, name) || name.empty())
                return nullptr;
            if (CTvLayerState* s = m_manager.findState(name))
                return s;
            say(L"Layer state \"" + name + L"\" not found.\n");
        }
    }

    void list() {
        if (m_manager.stateCount() == 0) {
            say(L"The drawing has no layer states.\n");
            return;
        }
        say(L"\nLayer state\tDescription\tLayers\tSame as drawing\n");
        for (const auto& s : m_manager.states()) {
            const auto* layers = m_manager.layersOf(s.get());
            say(s->nameRef() + L"\t" + s->description().str() + L"\t" +
                std::to_wstring(layers ? layers->size() : 0) + L"\t" +
                (s->matchFlag() ? L"Yes" : L"No") + L"\n");
        }
    }

    void save() {
        std::wstring name;
        if (!askNewName(name))
            return;
        if (m_manager.hasState(name)) {
            bool replace = false;
            const std::wstring q = resourceFormat(
                3120, L"A layer state named %s already exists. Do you want to replace it?", name);
            if (!askYesNo(q, false, replace) || !replace)
                return;
        }
        std::wstring description;
        if (!askText(L"Enter a description <none>: ", description))
            return;
        if (!m_manager.newState(name, description)) {
            say(L"The layers could not be read.\n");
            return;
        }
        if (store())
            say(L"Layer state \"" + name + L"\" saved.\n");
    }

    void restore() {
        CTvLayerState* state = askState(L"Enter name of layer state to restore: ");
        if (!state)
            return;
        std::wstring keywords;
        std::wstring global;
        for (const MaskKeyword& k : kMaskKeywords) {
            keywords += std::wstring(k.keyword) + L" ";
            global += std::wstring(k.keyword) + L" ";
        }
        const std::wstring list = keywords + L"_ " + global;
        uint32_t mask = 0;
        for (;;) {
            kdedInitGet(0, list.c_str());
            wchar_t kw[32];
            const std::wstring prompt =
                mask == 0 ? L"Properties to restore [On/Frozen/Locked/Plot/Color/Ltype/Lweight/"
                            L"Pstyle/Newvpfrozen/Vpfrozen/All] <the state's own>: "
                          : L"More properties to restore, or Enter to restore: ";
            const int rc = kdedGetKword(prompt.c_str(), kw, 32);
            if (rc == RTNONE)
                break;
            if (rc != RTNORM)
                return; // cancelled: nothing restored
            for (const MaskKeyword& k : kMaskKeywords) {
                if (std::wstring(kw) == k.keyword)
                    mask |= k.bit;
            }
        }
        m_manager.setRestoreBoxes(mask == 0 ? state->mask() : mask);
        if (!m_manager.restore(state)) {
            say(L"The layer state could not be restored.\n");
            return;
        }
        store();
        say(L"Layer state \"" + state->nameRef() + L"\" restored.\n");
    }

    void remove() {
        CTvLayerState* state = askState(L"Enter name of layer state to delete: ");
        if (!state)
            return;
        const std::wstring name = state->nameRef();
        m_manager.deleteState(name);
        if (store())
            say(L"Layer state \"" + name + L"\" deleted.\n");
    }

    void rename() {
        CTvLayerState* state = askState(L"Enter name of layer state to rename: ");
        if (!state)
            return;
        const std::wstring old = state->nameRef();
        std::wstring name;
        for (;;) {
            if (!askNewName(name))
                return;
            if (m_manager.renameState(old, name))
                break;
            say(L"A layer state named \"" + name + L"\" already exists.\n");
        }
        if (store())
            say(L"Layer state \"" + old + L"\" renamed to \"" + name + L"\".\n");
    }

    void exportState() {
        CTvLayerState* state = askState(L"Enter name of layer state to export: ");
        if (!state)
            return;
        const std::wstring proposed = state->nameRef() + L".las";
        std::wstring path;
        if (!askText(L"Export to file <" + proposed + L">: ", path))
            return;
        if (path.empty())
            path = proposed;
        if (m_manager.exportState(path, state))
            say(L"Layer state \"" + state->nameRef() + L"\" exported to " + path + L".\n");
        else
            say(L"Cannot export: " + m_manager.lastError() + L"\n");
    }

    void import() {
        std::wstring path;
        if (!askText(L"Enter file to import (.las or a drawing): ", path) || path.empty())
            return;
        std::wstring ext = tvFromUtf8(std::filesystem::path(tvToUtf8(path)).extension().string());
        for (wchar_t& c : ext)
            c = tvUpper(c);
        if (ext == L".LAS") {
            std::wstring name;
            if (!m_manager.importLas(path, &name)) {
                say(L"Cannot import: " + m_manager.lastError() + L"\n");
                return;
            }
            if (store())
                say(L"Layer state \"" + name + L"\" imported.\n");
            return;
        }
        if (ext != L".DWG" && ext != L".DXF") {
            say(L"Layer states are imported from .las files and drawings (.dwg, .dxf).\n");
            return;
        }
        bool ok = false;
        const std::vector<std::wstring> available =
            CTvLayerStateManager::statesOfDrawing(path, &ok);
        if (!ok) {
            say(L"Cannot read the drawing " + path + L".\n");
            return;
        }
        if (available.empty()) {
            say(resourceText(3139, L"The selected drawing has no layer states.") + L"\n");
            return;
        }
        std::wstring names;
        for (const std::wstring& n : available)
            names += (names.empty() ? L"" : L", ") + n;
        say(L"Layer states in the drawing: " + names + L"\n");
        std::wstring chosen;
        if (!askText(L"Enter names of layer states to import <*>: ", chosen))
            return;
        std::vector<std::wstring> selection;
        if (chosen.empty()) {
            selection.push_back(L"*");
        } else {
            size_t start = 0;
            while (start <= chosen.size()) {
                size_t comma = chosen.find(L',', start);
                if (comma == std::wstring::npos)
                    comma = chosen.size();
                const std::wstring one = trimBlanks(chosen.substr(start, comma - start));
                if (!one.empty())
                    selection.push_back(one);
                start = comma + 1;
            }
        }
        const size_t before = m_manager.stateCount();
        if (!m_manager.importFromDrawing(path, selection)) {
            say(L"Cannot import: " + m_manager.lastError() + L"\n");
            return;
        }
        if (store())
            say(L"Imported from " + path + L"; the drawing now has " +
                std::to_wstring(m_manager.stateCount()) + L" layer states (" +
                std::to_wstring(m_manager.stateCount() - before) + L" new).\n");
    }

    CTvLayerStateManager& manager() { return m_manager; }

private:
    KdDbDatabase* m_db = nullptr;
    CTvLayerStateManager m_manager;
    bool m_changed = false;
};

} // namespace

int layerStateCommandLine() {
    LayerStateSession session;
    if (!session.open())
        return 0;
    for (;;) {
        kdedInitGet(0, L"? Save Restore Delete Rename Export Import _ "
                       L"? Save Restore Delete Rename Export Import");
        wchar_t kw[32];
        if (kdedGetKword(L"\nEnter an option [?/Save/Restore/Delete/Rename/Export/Import]: ", kw,
                         32) != RTNORM)
            break;
        const std::wstring option = kw;
        if (option == L"?")
            session.list();
        else if (option == L"Save")
            session.save();
        else if (option == L"Restore")
            session.restore();
        else if (option == L"Delete")
            session.remove();
        else if (option == L"Rename")
            session.rename();
        else if (option == L"Export")
            session.exportState();
        else if (option == L"Import")
            session.import();
    }
    return session.changed() ? 1 : 0;
}

int layerStateSaveCommandLine() {
    LayerStateSession session;
    if (!session.open())
        return 0;
    session.save();
    return session.changed() ? 1 : 0;
}

} // namespace tv
