// The held states: lookup by name, adding, deleting, renaming, capturing the drawing's layers
// into a state, and the comparison of a state with the drawing.
#include "layerstate/CTvLayerStateManager.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "common/TvResourceText.h"
#include "common/TvSymbolName.h"
#include "snapshot/CKdadLayerP.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

CTvLayerStateManager::CTvLayerStateManager() = default;
CTvLayerStateManager::~CTvLayerStateManager() = default;

CTvLayerState* CTvLayerStateManager::findState(std::wstring_view name) const {
    for (const auto& s : m_states) {
        if (tvEqualsNoCase(s->nameRef(), name))
            return s.get();
    }
    return nullptr;
}

const CTvLayerStateManager::LayerArray*
CTvLayerStateManager::layersOf(const CTvLayerState* state) const {
    auto it = m_layers.find(state);
    return it == m_layers.end() ? nullptr : &it->second;
}

CTvLayerStateManager::LayerArray* CTvLayerStateManager::layersOf(const CTvLayerState* state) {
    auto it = m_layers.find(state);
    return it == m_layers.end() ? nullptr : &it->second;
}

std::wstring CTvLayerStateManager::uniqueName(const std::wstring& base) const {
    if (!hasState(base))
        return base;
    for (int i = 1;; ++i) {
        std::wstring candidate = base + L"(" + std::to_wstring(i) + L")";
        if (!hasState(candidate))
            return candidate;
    }
}

CTvLayerState* CTvLayerStateManager::addState(std::unique_ptr<CTvLayerState> state,
                                              LayerArray layers) {
    if (!state)
        return nullptr;
    if (CTvLayerState* existing = findState(state->nameRef())) {
        // Replace in place: the list keeps its order and the row its index.
        state->setListIndex(existing->listIndex());
        for (auto& held : m_states) {
            if (held.get() == existing) {
                m_layers.erase(existing);
                m_stored.erase(existing);
                held = std::move(state);
                CTvLayerState* raw = held.get();
                m_layers[raw] = std::move(layers);
                computeMatch(raw);
                return raw;
            }
        }
    }
    CTvLayerState* raw = state.get();
    raw->setListIndex(static_cast<int>(m_states.size()));
    m_layers.emplace(raw, std::move(layers));
    m_states.push_back(std::move(state));
    computeMatch(raw);
    return raw;
}

void CTvLayerStateManager::clear() {
    m_layers.clear();
    m_stored.clear();
    m_states.clear();
    m_loaded = false;
}

bool CTvLayerStateManager::deleteState(std::wstring_view name) {
    CTvLayerState* state = findState(name);
    if (!state)
        return false;
    m_layers.erase(state);
    m_stored.erase(state);
    int index = 0;
    for (auto it = m_states.begin(); it != m_states.end();) {
        if (it->get() == state) {
            it = m_states.erase(it);
            continue;
        }
        (*it)->setListIndex(index++);
        ++it;
    }
    return true;
}

bool CTvLayerStateManager::renameState(std::wstring_view oldName, const std::wstring& newName) {
    CTvLayerState* state = findState(oldName);
    const std::wstring name = tv::trimBlanks(newName);
    if (!state || name.empty() || !tv::isValidSymbolName(name))
        return false;
    CTvLayerState* other = findState(name);
    if (other && other != state)
        return false;
    state->setName(name);
    return true;
}

// -- Capture --

bool CTvLayerStateManager::captureInto(CTvLayerState* state, uint32_t mask) {
    LayerArray* layers = layersOf(state);
    if (!m_db || !layers)
        return false;
    CKdadLayerP fresh;
    if (!fresh.fill(m_db))
        return false;
    // The current layer as "CLAYER" gives it for the drawing being edited.
    std::wstring current = fresh.currentLayer();
    if (kdedCurrentDatabase() == m_db) {
        bool read = false;
        const std::wstring clayer = tv::textSystemVariable(L"CLAYER", &read);
        if (read)
            current = clayer;
    }
    const bool namedPlotStyles = !m_db->plotStyleMode();
    LayerArray captured;
    captured.reserve(fresh.size());
    for (size_t i = 0; i < fresh.size(); ++i) {
        const CKdadLayerEntry& e = fresh.at(i);
        auto info = std::make_unique<CTvLayerStateInfo>();
        info->setLayerName(e.name);
        info->setLinetype(e.linetype);
        info->setLineweight(e.lineweight);
        const int index = std::abs(e.color);
        info->setColor(index);
        info->setPlotStyle(namedPlotStyles && !e.plotStyle.empty()
                               ? e.plotStyle
                               : tv::defaultPlotStyleName(index));
        if (e.rgb >= 0) {
            info->setTrueColor(tvSwapRedBlue(static_cast<uint32_t>(e.rgb)));
            info->setColorBook(e.book);
        }
        int flags = 0;
        if (e.color < 0)
            flags |= kTvLayerOff;
        if (e.flags & 1)
            flags |= kTvLayerFrozen;
        if (e.flags & 2)
            flags |= kTvLayerNewViewportFrozen;
        if (e.flags & 4)
            flags |= kTvLayerLocked;
        if (e.plottable)
            flags |= kTvLayerPlottable;
        if (!m_db->tilemode() && fresh.isFrozenInCurrentViewport(e.name))
            flags |= kTvLayerViewportFrozen;
        info->setFlags(flags);
        captured.push_back(std::move(info));
    }
    state->setMask(mask);
    state->setCurrentLayer(current);
    *layers = std::move(captured);
    m_stored.erase(state);
    markCurrent(state, *layers);
    computeMatch(state);
    return true;
}

CTvLayerState* CTvLayerStateManager::newState(const std::wstring& name,
                                              const std::wstring& description) {
    const std::wstring trimmedName = tv::trimBlanks(name);
    if (!m_db || trimmedName.empty())
        return nullptr;
    CTvLayerState* state = findState(trimmedName);
    if (!state) {
        auto fresh = std::make_unique<CTvLayerState>();
        fresh->setName(trimmedName);
        state = addState(std::move(fresh), {});
    } else {
        state->setName(trimmedName);
    }
    state->setDescription(tv::trimBlanks(description));
    state->setViewportFlag(1);
    if (!captureInto(state, kTvMaskAll))
        return nullptr;
    return state;
}

// -- Comparison with the drawing --

int CTvLayerStateManager::computeMatch(CTvLayerState* state) {
    const LayerArray* layers = layersOf(state);
    if (!state || !layers || !m_db) {
        if (state)
            state->setMatchFlag(0);
        return 0;
    }
    // The drawing as the snapshot holds it (restores change the snapshot first), else as read
    // now.
    CKdadLayerP local;
    const CKdadLayerP* drawing = m_snapshot;
    if (!drawing || drawing->database() != m_db) {
        local.fill(m_db);
        drawing = &local;
    }
    auto differ = [&]() -> bool {
        if (!tvEqualsNoCase(tv::trimBlanks(state->currentLayerRef()),
                            tv::trimBlanks(drawing->currentLayer())))
            return true;
        const uint32_t mask = state->mask();
        for (const auto& info : *layers) {
            if (!info)
                continue;
            const CKdadLayerEntry* e = drawing->find(info->layerNameRef());
            if (!e)
                return true;
            const int32_t flags = info->flags();
            if (!tvEqualsNoCase(e->linetype, info->linetypeRef()) ||
                e->lineweight != info->lineweight() ||
                (e->color < 0) != ((flags & kTvLayerOff) != 0) ||
                std::abs(e->color) != std::abs(info->color()))
                return true;
            const uint32_t drawingTrue =
                e->rgb < 0 ? kTvNoTrueColor : tvSwapRedBlue(static_cast<uint32_t>(e->rgb));
            if (drawingTrue != info->trueColor() || e->book != info->colorBookRef())
                return true;
            auto expect = [&](uint32_t bit, int32_t flag) {
                return (mask & bit) ? (flags & flag) != 0 : false;
            };
            if (((e->flags & 1) != 0) != expect(kTvMaskFrozen, kTvLayerFrozen) ||
                ((e->flags & 2) != 0) !=
                    expect(kTvMaskNewViewportFrozen, kTvLayerNewViewportFrozen) ||
                ((e->flags & 4) != 0) != expect(kTvMaskLocked, kTvLayerLocked))
                return true;
            const bool plot = (mask & kTvMaskPlot) ? (flags & kTvLayerPlottable) != 0 : true;
            if (e->plottable != plot)
                return true;
            if ((mask & kTvMaskViewportFrozen) && drawing->isFrozenInCurrentViewport(e->name) !=
                                                      ((flags & kTvLayerViewportFrozen) != 0))
                return true;
        }
        return false;
    };
    state->setMatchFlag(differ() ? 0 : 1);
    return state->matchFlag();
}
