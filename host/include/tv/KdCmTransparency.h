// Transparency value of layers and entities: by layer, by block or an alpha value.
#pragma once

#include "KdExport.h"

#include <cstdint>

class TVHOST_API KdCmTransparency {
public:
    enum Method { kByLayer = 0, kByBlock = 1, kByAlpha = 2 };

    KdCmTransparency() = default;
    /// Opaque (alpha 255) to fully clear (alpha 0).
    explicit KdCmTransparency(uint8_t alpha) : m_method(kByAlpha), m_alpha(alpha) {}

    Method method() const { return m_method; }
    bool isByLayer() const { return m_method == kByLayer; }
    bool isByBlock() const { return m_method == kByBlock; }
    bool isByAlpha() const { return m_method == kByAlpha; }
    bool isSolid() const { return m_method == kByAlpha && m_alpha == 255; }
    uint8_t alpha() const { return m_alpha; }
    void setAlpha(uint8_t alpha) {
        m_method = kByAlpha;
        m_alpha = alpha;
    }
    void setMethod(Method m) { m_method = m; }
    /// Transparency in percent as the user sees it (0 opaque .. 90), rounded.
    int percent() const { return m_method == kByAlpha ? (255 - m_alpha) * 100 / 255 : 0; }

    /// The 32-bit form of DXF (0x020000TT for an alpha value, 0 by layer, 0x01000000 by block).
    uint32_t serializeOut() const;
    /// From the 32-bit DXF form; unknown forms give by layer.
    static KdCmTransparency serializeIn(uint32_t raw);

    bool operator==(const KdCmTransparency& o) const {
        return m_method == o.m_method && (m_method != kByAlpha || m_alpha == o.m_alpha);
    }

private:
    Method m_method = kByLayer;
    uint8_t m_alpha = 255;
};
