// Small rows of the layer-state selection dialogs: a layer, and a linetype.
#pragma once

#include "tv/KdString.h"

#include <cstdint>

/// One layer row of the layer selection dialogs: two texts.
class CTvLayerInfo {
public:
    CTvLayerInfo() = default;
    virtual ~CTvLayerInfo();

    KdString name() const { return m_name; }
    void setName(const KdString& name) { m_name = name; }
    KdString text() const { return m_text; }
    void setText(const KdString& text) { m_text = text; }

private:
    KdString m_name;
    KdString m_text;
};

/// One linetype: a number, its name and its description.
class CTvLTypeInfo {
public:
    CTvLTypeInfo() = default;
    virtual ~CTvLTypeInfo();

    int32_t number() const { return m_number; }
    void setNumber(int32_t number) { m_number = number; }
    KdString name() const { return m_name; }
    void setName(const KdString& name) { m_name = name; }
    KdString description() const { return m_description; }
    void setDescription(const KdString& text) { m_description = text; }

private:
    int32_t m_number = -1;
    KdString m_name;
    KdString m_description;
};
