// Out-of-line destructors of the layer-state value classes, and the info defaults.
#include "layerstate/CTvLayerInfo.h"
#include "layerstate/CTvLayerState.h"
#include "layerstate/CTvLayerStateInfo.h"

#include "common/TvResourceText.h"

CTvLayerState::~CTvLayerState() = default;

CTvLayerStateInfo::CTvLayerStateInfo() : m_plotStyle(tv::defaultPlotStyleName(7)) {}
CTvLayerStateInfo::~CTvLayerStateInfo() = default;

CTvLayerInfo::~CTvLayerInfo() = default;
CTvLTypeInfo::~CTvLTypeInfo() = default;
