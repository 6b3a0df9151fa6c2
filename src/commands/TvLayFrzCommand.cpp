// LAYFRZ: the prompts, the layer a pick means and the two ways of freezing it.
#include "commands/TvLayFrzCommand.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "common/TvResourceText.h"
#include "common/TvSymbolName.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"

namespace tv {
namespace {

// Texts by resource id; the built-in text stands in when the resource library lacks one.
constexpr unsigned kIdMainKeywords = 6124;
constexpr unsigned kIdMainPrompt = 6125;
constexpr unsigned kIdNothingToUndo = 6126;
constexpr unsigned kIdInvalidKeyword = 1196;
constexpr unsigned kIdExpectsPoint = 1197;
constexpr unsigned kIdViewportPrompt = 1198;
constexpr unsigned kIdViewportKeywords = 1199;
constexpr unsigned kIdSettingsPrompt = 1201;
constexpr unsigned kIdSettingsKeywords = 1202;
constexpr unsigned kIdNestingPromptNone = 1204;
constexpr unsigned kIdCurrentLayer = 1205;
constexpr unsigned kIdFrozen = 1206;
constexpr unsigned kIdFrozenInViewport = 1207;
constexpr unsigned kIdNestingPromptBlock = 1208;
constexpr unsigned kIdNestingPromptEntity = 1209;
constexpr unsigned kIdNestingKeywords = 1210;
constexpr unsigned kIdFreezeModeName = 1890;
constexpr unsigned kIdVpfreezeModeName = 1891;

constexpr const wchar_t* kNothingToUndoText = L"\nEverything has been undone.";
constexpr const wchar_t* kInvalidKeywordText = L"\nInvalid option keyword.";
constexpr const wchar_t* kExpectsPointText = L"Expects a point or Settings";
constexpr const wchar_t* kViewportPromptText =
    L"\nIn paper space viewport use [Freeze/Vpfreeze] <%s>:";

// Layer names are held in buffers of 500 characters, block names in buffers of 255.
constexpr size_t kLayerNameLimit = 499;
constexpr size_t kBlockNameLimit = 254;
constexpr size_t kKeywordLimit = 512;
constexpr int kExternalReferenceFlag = 4;
constexpr int kErrnoNothingPicked = 7;

void print(const std::wstring& text) {
    kdutPrintf(L"%s", text.c_str());
}

/// How a prompt ended: with a choice (the settings prompt asks again), with Enter (back to
/// the main prompt) or cancelled (the command ends).
enum class PromptEnd { kChosen, kDone, kCancelled };

/// Asks for a keyword of `keywordsId` with `prompt`: RTNORM with `word`, RTNONE on Enter,
/// RTCAN on cancel.
int askKeyword(unsigned keywordsId, const std::wstring& prompt, std::wstring& word) {
    for (;;) {
        kdedInitGet(RSG_OTHER, resourceText(keywordsId).c_str());
        wchar_t answer[kKeywordLimit] = {};
        const int rc = kdedGetKword(prompt.c_str(), answer, static_cast<int>(kKeywordLimit));
        if (rc == RTNORM || rc == RTKWORD) {
            word = answer;
            if (rc == RTKWORD && kdedGetInput(answer, static_cast<int>(kKeywordLimit)) == RTNORM)
                word = answer;
            return RTNORM;
        }
        if (rc == RTNONE || rc == RTCAN)
            return rc;
    }
}

PromptEnd viewportModePrompt(LayFrzSettings& settings) {
    for (;;) {
        const bool freeze = sameNameIgnoringCase(settings.viewportMode, L"Freeze");
        const std::wstring modeName = freeze ? resourceText(kIdFreezeModeName, L"Freeze")
                                             : resourceText(kIdVpfreezeModeName, L"Vpfreeze");
        std::wstring word;
        const int rc =
            askKeyword(kIdViewportKeywords,
                       resourceFormat(kIdViewportPrompt, kViewportPromptText, modeName), word);
        if (rc == RTCAN)
            return PromptEnd::kCancelled;
        if (rc == RTNONE)
            return PromptEnd::kDone;
        if (sameNameIgnoringCase(word, L"Freeze") || sameNameIgnoringCase(word, L"Vpfreeze")) {
            settings.viewportMode = sameNameIgnoringCase(word, L"Freeze") ? L"Freeze" : L"Vpfreeze";
            return PromptEnd::kChosen;
        }
        print(resourceText(kIdInvalidKeyword, kInvalidKeywordText));
    }
}

PromptEnd nestingPrompt(LayFrzSettings& settings) {
    for (;;) {
        const unsigned promptId =
            settings.nesting == LayFrzNesting::kEntity  ? kIdNestingPromptEntity
            : settings.nesting == LayFrzNesting::kBlock ? kIdNestingPromptBlock
                                                        : kIdNestingPromptNone;
        std::wstring word;
        const int rc = askKeyword(kIdNestingKeywords, resourceText(promptId), word);
        if (rc == RTCAN)
            return PromptEnd::kCancelled;
        if (rc == RTNONE)
            return PromptEnd::kDone;
        if (sameNameIgnoringCase(word, L"Entity"))
            settings.nesting = LayFrzNesting::kEntity;
        else if (sameNameIgnoringCase(word, L"Block"))
            settings.nesting = LayFrzNesting::kBlock;
        else if (sameNameIgnoringCase(word, L"No"))
            settings.nesting = LayFrzNesting::kNone;
        else {
            print(resourceText(kIdInvalidKeyword, kInvalidKeywordText));
            continue;
        }
        return PromptEnd::kChosen;
    }
}

PromptEnd settingsPrompt(LayFrzSettings& settings) {
    for (;;) {
        std::wstring word;
        const int rc = askKeyword(kIdSettingsKeywords, resourceText(kIdSettingsPrompt), word);
        if (rc == RTCAN)
            return PromptEnd::kCancelled;
        if (rc == RTNONE)
            return PromptEnd::kDone;
        PromptEnd end = PromptEnd::kChosen;
        if (sameNameIgnoringCase(word, L"Viewports"))
            end = viewportModePrompt(settings);
        else if (sameNameIgnoringCase(word, L"Block"))
            end = nestingPrompt(settings);
        else
            print(resourceText(kIdInvalidKeyword, kInvalidKeywordText));
        if (end != PromptEnd::kChosen)
            return end;
    }
}

/// A block reference's block: its name and whether the working drawing has it, as an
/// external reference or not.
struct ContainerBlock {
    std::wstring name;
    bool inTable = false;
    bool externalReference = false;
};

ContainerBlock blockOf(const resbuf* reference) {
    ContainerBlock block;
    if (!reference || reference->restype != -1)
        return block;
    KdResbufPtr insert(kddbEntGet(reference->resval.rlname));
    block.name = groupText(insert.get(), 2, kBlockNameLimit);
    if (block.name.empty())
        return block;
    KdResbufPtr entry(kddbTblSearch(L"BLOCK", block.name.c_str(), 0));
    if (!entry)
        return block;
    block.inTable = true;
    const resbuf* flags = findGroup(entry.get(), 70);
    block.externalReference = flags && (flags->resval.rint & kExternalReferenceFlag);
    return block;
}

/// The first reference beyond the direct container whose block is an external reference.
std::wstring outerExternalReference(const resbuf* containers) {
    for (const resbuf* rb = containers ? containers->rbnext : nullptr; rb; rb = rb->rbnext) {
        const ContainerBlock block = blockOf(rb);
        if (block.inTable && block.externalReference)
            return block.name;
    }
    return {};
}

std::wstring layerOfEntity(const kd_name entity) {
    KdResbufPtr list(kddbEntGet(entity));
    return groupText(list.get(), 8, kLayerNameLimit);
}

LayFrzResult freezeInViewport(const std::wstring& layer) {
    KdDbObjectPointer<KdDbViewport> viewport(kdedGetCurViewportObjectId(), KdDb::kForWrite);
    if (!viewport)
        return LayFrzResult::kFailed;
    KdResbufPtr entry(kddbTblSearch(L"LAYER", layer.c_str(), 0));
    const resbuf* name = findGroup(entry.get(), -1);
    KdDbObjectId layerId;
    if (!name || kddbGetObjectId(layerId, name->resval.rlname) != RTNORM)
        return LayFrzResult::kFailed;
    const Kdad::ErrorStatus es = viewport->freezeLayersInViewport({layerId});
    kdedRedraw(nullptr, 1);
    if (es != Kdad::eOk)
        return LayFrzResult::kFailed;
    print(resourceFormat(kIdFrozenInViewport, L"", layer));
    return LayFrzResult::kFrozen;
}

LayFrzResult freezeEverywhere(const std::wstring& layer) {
    const int echo = kdedGetShortVar(L"CMDECHO", 1);
    kdedSetShortVar(L"CMDECHO", 0);
    const int rc =
        kdedCommand(RTSTR, L"_-LAYER", RTSTR, L"_Freeze", RTSTR, layer.c_str(), RTSTR, L"", RTNONE);
    if (rc == RTNORM)
        print(resourceFormat(kIdFrozen, L"", layer));
    kdedSetShortVar(L"CMDECHO", echo);
    if (rc == RTNORM)
        return LayFrzResult::kFrozen;
    return rc == RTCAN ? LayFrzResult::kCancelled : LayFrzResult::kFailed;
}

} // namespace

LayFrzSettings& layFrzSettings() {
    static LayFrzSettings settings;
    return settings;
}

std::wstring layerOfPick(const kd_name entity, const resbuf* containers, LayFrzNesting nesting) {
    std::wstring layer = layerOfEntity(entity);
    if (!containers)
        return layer;
    const ContainerBlock direct = blockOf(containers);
    std::wstring prefix;
    if (direct.inTable && direct.externalReference) {
        prefix = direct.name;
    } else {
        if (nesting != LayFrzNesting::kEntity) {
            KdResbufPtr reference(kddbEntGet(containers->resval.rlname));
            layer = groupText(reference.get(), 8, kLayerNameLimit);
        }
        if (!direct.inTable)
            prefix = outerExternalReference(containers);
    }
    if (!prefix.empty() && !layer.empty() && layer.find(L'|') == std::wstring::npos)
        layer = (prefix + L"|" + layer).substr(0, kLayerNameLimit);
    return layer;
}

LayFrzResult freezeLayerOfPick(const std::wstring& layer, const LayFrzSettings& settings) {
    if (sameNameIgnoringCase(layer, textSystemVariable(L"CLAYER"))) {
        print(resourceFormat(kIdCurrentLayer, L"", layer));
        return LayFrzResult::kRefused;
    }
    const bool modelSpace = kdedGetShortVar(L"TILEMODE", 1) != 0;
    const bool onSheet = kdedGetShortVar(L"CVPORT", 1) == 1;
    if (modelSpace || onSheet || !sameNameIgnoringCase(settings.viewportMode, L"Vpfreeze"))
        return freezeEverywhere(layer);
    return freezeInViewport(layer);
}

void layerFreezeCommand() {
    CurrentDrawingScope drawing(kdedCurrentDatabase());
    KdEdUndoController* undo = curDocUndoController();
    if (undo)
        undo->putUndoMark();
    bool frozenSinceMark = false;
    LayFrzSettings& settings = layFrzSettings();
    for (;;) {
        kdedInitGet(RSG_OTHER, resourceText(kIdMainKeywords).c_str());
        kd_name entity = {0, 0};
        double point[3] = {0, 0, 0};
        double xform[4][3] = {};
        resbuf* containers = nullptr;
        const int rc =
            kdedNEntSelP(resourceText(kIdMainPrompt).c_str(), entity, point, 0, xform, &containers);
        if (rc == RTNORM) {
            std::wstring layer;
            {
                KdResbufPtr chain(containers);
                layer = layerOfPick(entity, chain.get(), settings.nesting);
            }
            const LayFrzResult result = freezeLayerOfPick(layer, settings);
            if (result == LayFrzResult::kFrozen)
                frozenSinceMark = true;
            else if (result == LayFrzResult::kCancelled)
                return;
            continue;
        }
        kdutRelRb(containers);
        if (rc == RTKWORD) {
            wchar_t answer[kKeywordLimit] = {};
            if (kdedGetInput(answer, static_cast<int>(kKeywordLimit)) != RTNORM)
                answer[0] = L'\0';
            const std::wstring word = answer;
            if (sameNameIgnoringCase(word, L"eXit")) {
                kdedRetVoid();
                return;
            }
            if (sameNameIgnoringCase(word, L"Undo")) {
                if (!frozenSinceMark) {
                    print(resourceText(kIdNothingToUndo, kNothingToUndoText));
                    continue;
                }
                if (undo) {
                    undo->undoInCommand(-1, 1);
                    undo->putUndoMark();
                    applyCurDwgLayerTableChanges();
                }
                frozenSinceMark = false;
                continue;
            }
            if (sameNameIgnoringCase(word, L"Settings")) {
                if (settingsPrompt(settings) == PromptEnd::kCancelled)
                    return;
                continue;
            }
            print(resourceText(kIdExpectsPoint, kExpectsPointText));
            continue;
        }
        if (rc == RTCAN)
            return;
        if (kdedGetShortVar(L"ERRNO", 0) == kErrnoNothingPicked)
            continue;
        return;
    }
}

} // namespace tv
