// LAYFRZ: freezes the layer of each picked object, in the whole drawing or in the current
// paper-space viewport, with an Undo that takes back every freeze since the last one.
#pragma once

#include "tv/KdResbuf.h"

#include <string>

namespace tv {

/// Which layer a pick inside block references means.
enum class LayFrzNesting : int { kEntity = 1, kBlock = 2, kNone = 3 };

/// The command's settings, kept while the module is loaded.
struct LayFrzSettings {
    LayFrzNesting nesting = LayFrzNesting::kNone;
    /// "Freeze" or "Vpfreeze" (case ignored): how a pick in a paper-space viewport freezes.
    std::wstring viewportMode = L"Vpfreeze";
};

/// The module-wide settings of LAYFRZ.
LayFrzSettings& layFrzSettings();

/// The layer a pick means: the picked object's layer, or its block reference's, with the name
/// of the external reference it lies in put in front ("XREF|layer") unless the name already
/// holds a "|". `containers` are the block references holding the object, innermost first
/// (null when it is not nested). Block names are looked up in the working drawing.
std::wstring layerOfPick(const kd_name entity, const resbuf* containers, LayFrzNesting nesting);

/// What freezing one layer came to.
enum class LayFrzResult { kFrozen, kRefused, kFailed, kCancelled };

/// Freezes one layer as LAYFRZ does: never the current layer (refused with a message); in
/// the current paper-space viewport with mode "Vpfreeze", else everywhere through the Host's
/// "-LAYER" command with "CMDECHO" kept.
LayFrzResult freezeLayerOfPick(const std::wstring& layer, const LayFrzSettings& settings);

/// The LAYFRZ command, run on the current drawing with the module's resources current.
void layerFreezeCommand();

} // namespace tv
