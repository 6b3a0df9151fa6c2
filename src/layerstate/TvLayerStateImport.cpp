// Importing layer states from another drawing: the drawing is read into a side database and
// the chosen states are copied into the manager.
#include "layerstate/CTvLayerStateManager.h"

#include "common/TvResourceText.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdUiServices.h"
#include "tv/KdUtf8.h"

namespace {

/// Reads the drawing into `side`; false with the reason in `error`.
bool readSide(KdDbDatabase& side, const std::wstring& path, std::wstring& error) {
    std::string why;
    if (side.readDwgFile(path.c_str(), &why) != Kdad::eOk) {
        error = tvFromUtf8(why);
        return false;
    }
    return true;
}

bool hasStatesDictionary(KdDbDatabase& side) {
    KdDbLayerStateManager* lsm = side.getLayerStateManager();
    return lsm && !lsm->layerStatesDictionaryId(false).isNull();
}

bool selected(const std::vector<std::wstring>& names, const std::wstring& name) {
    for (const std::wstring& n : names) {
        if (n == L"*" || tvEqualsNoCase(n, name))
            return true;
    }
    return false;
}

} // namespace

std::vector<std::wstring> CTvLayerStateManager::statesOfDrawing(const std::wstring& path,
                                                                bool* ok) {
    std::vector<std::wstring> out;
    KdDbDatabase side(false, true);
    std::wstring error;
    const bool read = !path.empty() && readSide(side, path, error);
    if (ok)
        *ok = read;
    if (!read || !hasStatesDictionary(side))
        return out;
    CTvLayerStateManager reader;
    reader.setDatabase(&side);
    reader.loadFrom(&side, false);
    for (const auto& s : reader.states())
        out.push_back(s->nameRef());
    return out;
}

int CTvLayerStateManager::importFromDrawing(const std::wstring& path,
                                            const std::vector<std::wstring>& names) {
    m_lastError.clear();
    if (path.empty())
        return 0;
    KdDbDatabase side(false, true);
    if (!readSide(side, path, m_lastError))
        return 0;
    if (!hasStatesDictionary(side)) {
        const std::wstring text =
            tv::resourceText(3139, L"The selected drawing has no layer states.");
        kdedMessageBox(text.c_str(), MB_OK, MB_ICONINFORMATION);
        m_lastError = path + L": " + text;
        return 0;
    }
    CTvLayerStateManager reader;
    reader.setDatabase(&side);
    reader.loadFrom(&side, false);
    for (const auto& state : reader.states()) {
        if (!selected(names, state->nameRef()))
            continue;
        auto copy = std::make_unique<CTvLayerState>(*state);
        copy->setMatchFlag(0);
        LayerArray layers;
        if (const LayerArray* from = reader.layersOf(state.get())) {
            layers.reserve(from->size());
            for (const auto& info : *from) {
                if (info)
                    layers.push_back(std::make_unique<CTvLayerStateInfo>(*info));
            }
        }
        addState(std::move(copy), std::move(layers));
    }
    m_importedFromDrawing = true;
    return 1;
}
