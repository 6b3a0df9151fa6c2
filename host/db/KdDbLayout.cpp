// Plot settings and layouts.
#include <tv/KdDbLayout.h>

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

namespace {
constexpr std::string_view kPlotMarker = "AcDbPlotSettings";
constexpr std::string_view kLayoutMarker = "AcDbLayout";
} // namespace

KdDbPlotSettings::KdDbPlotSettings(std::string_view dxfType) : KdDbObject(dxfType) {}
KdDbPlotSettings::~KdDbPlotSettings() = default;

Kdad::ErrorStatus KdDbPlotSettings::getCurrentStyleSheet(KdString& styleSheet) const {
    auto [b, e] = subclassRange(kPlotMarker);
    styleSheet = KdString(decode(tagValue(7, b, e)));
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbPlotSettings::setCurrentStyleSheet(const wchar_t* styleSheet) {
    if (!styleSheet)
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    static constexpr int kOrder[] = {1,  2,  4,   6,   40,  41,  42, 43, 44, 45, 46, 47,
                                     48, 49, 140, 141, 142, 143, 70, 72, 73, 74, 7};
    setField(kPlotMarker, kOrder, 7, encode(styleSheet));
    return Kdad::eOk;
}

KdString KdDbPlotSettings::plotSettingsName() const {
    auto [b, e] = subclassRange(kPlotMarker);
    return KdString(decode(tagValue(1, b, e)));
}

KdDbLayout::KdDbLayout() : KdDbPlotSettings("LAYOUT") {}
KdDbLayout::~KdDbLayout() = default;

KdString KdDbLayout::getLayoutName() const {
    auto [b, e] = subclassRange(kLayoutMarker);
    return KdString(decode(tagValue(1, b, e)));
}

int KdDbLayout::getTabOrder() const {
    auto [b, e] = subclassRange(kLayoutMarker);
    return static_cast<int>(tagInt(71, 0, b, e));
}

static KdDbObjectId handleAt(const KdDbObject& obj, int code, std::string_view marker) {
    auto [b, e] = obj.subclassRange(marker);
    uint64_t h = 0;
    if (!obj.database() || !tvdxf::parseHandle(obj.tagValue(code, b, e), h) || h == 0)
        return KdDbObjectId::kNull;
    return obj.database()->objectIdOf(h);
}

KdDbObjectId KdDbLayout::getBlockTableRecordId() const {
    return handleAt(*this, 330, kLayoutMarker);
}

KdDbObjectId KdDbLayout::lastActiveViewportId() const {
    return handleAt(*this, 331, kLayoutMarker);
}

bool KdDbLayout::modelType() const {
    return getTabOrder() == 0;
}
