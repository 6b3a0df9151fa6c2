// The layer isolation record: the layer settings before an isolation, kept as a layer state,
// and the layout and viewport it happened in, kept as extended data on the layer-states
// dictionary; and the two ways back that restore them and remove the record.
#pragma once

namespace tv {

/// The layer state that holds the settings from before the isolation.
inline constexpr const wchar_t* kLayIsoStateName = L"_LAYISO_STATE";
/// The application of the extended data that names the layout and viewport.
inline constexpr const wchar_t* kLayerToolsApp = L"AcLayerTools";

/// Records the working drawing's layer settings and the space they are isolated in. The
/// state is saved first and always; the layout and viewport only when the layout is known.
void recordLayerIsolation();

/// Restores the recorded settings through the module's layer snapshot and removes the record:
/// 1 when the record's extended data was there (even without its state), else 0.
int unisolateLayers();

/// Restores visibility and locking of the recorded settings through the Host's layer state
/// manager inside the caller's transaction, and removes the record: 1 when restored; 0 without
/// a transaction, a state or its extended data.
int unisolateLayersInTransaction();

} // namespace tv
