// The module's life with the Host runtime: its messages, registrations and command handlers.
#pragma once

namespace tv::module {

/// Name of the service other applications depend on to keep the module loaded.
inline constexpr const wchar_t* kLayerManagerService = L"LayerManager";
/// Name of the service that marks the module's command group as present.
inline constexpr const wchar_t* kLayerAppsService = L"TvLayerApps";
/// The command group of the module's commands.
inline constexpr const wchar_t* kCommandGroup = L"TVLAYERAPPS";

/// Handles one runtime message; answers 0, or 3 when initialisation fails.
int entryPoint(int msg, void* appId);

/// The loaded resource library, or null before initialisation and after unload.
void* resourceHandle();

/// The Host runtime's interface version.
int hostApiVersion();

/// Command routines. Each makes the resource library current for its duration and lets no
/// exception escape.
void layerDialog();
void layerStateSave();
void layerStateManager();
void layerStateCommandLine();
void layerFreeze();
/// Isolation record and un-isolation; the un-isolations answer 1 when they restored, else 0.
void layIso();
int layUniso();
int layUnisoNew();

} // namespace tv::module
