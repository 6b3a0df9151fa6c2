// tvcad's layer isolation commands and its commands for choosing the space to work in.
#pragma once

#include <string>

class KdDbDatabase;

namespace tvcad {

/// LAYISO: asks for objects until Enter, has the layer manager record the isolation
/// ("LayIso"), then turns off every layer but the picked objects' layers, all in one undo
/// step. False when it could not run (no drawing, no module).
bool layerIsolateCommand(KdDbDatabase* db);
/// LAYUNISO: undoes the isolation through the layer manager ("LayUnisoNew" inside a
/// transaction, else "LayUniso").
bool layerUnisolateCommand(KdDbDatabase* db);
/// U: takes back the last command (back to the undo mark put before it).
bool undoCommand(KdDbDatabase* db);
/// -PURGE: erases unused layers whose names match a wild-card list (never layer 0, the
/// current layer, Defpoints or external-reference layers).
bool purgeCommand(KdDbDatabase* db);
/// LAYOUT: makes a layout current by name ("Model" for model space).
bool layoutCommand(KdDbDatabase* db);
/// A system variable typed as a command: shows its value and asks for a new one. False when
/// `name` is not a system variable.
bool systemVariableCommand(const std::wstring& name, bool* failed);

} // namespace tvcad
