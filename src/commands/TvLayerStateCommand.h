// Layer states from the command line: save, restore, delete, rename, export, import and list,
// for scripts and batch work, on the same manager object the dialogs use.
#pragma once

namespace tv {

/// The -LAYERSTATE command on the current drawing: asks for options until Enter.
/// Returns 1 when it changed the drawing's states or layers, 0 otherwise.
int layerStateCommandLine();

/// Saves a new layer state under a name asked on the command line (the save command's form
/// without its dialog). Returns 1 when a state was saved.
int layerStateSaveCommandLine();

} // namespace tv
