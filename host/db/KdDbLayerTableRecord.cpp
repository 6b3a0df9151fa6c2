// Layer records: properties read from and written to the record's tags, description and
// transparency in extended data, viewport overrides in the extension dictionary.
#include <tv/KdDbLayerTableRecord.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdDbDictionary.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbXrecord.h>

#include <cstdlib>

namespace {

constexpr std::string_view kMarker = "AcDbLayerTableRecord";
// Writing order of the layer's own groups.
constexpr int kLayerOrder[] = {2, 70, 62, 420, 430, 6, 290, 370, 390, 347, 348};

constexpr const wchar_t* kDescriptionApp = L"AcAecLayerStandard";
constexpr const wchar_t* kTransparencyApp = L"AcCmTransparency";

constexpr const wchar_t* kColorOverride = L"ADSK_XREC_LAYER_COLOR_OVR";
constexpr const wchar_t* kLinetypeOverride = L"ADSK_XREC_LAYER_LINETYPE_OVR";
constexpr const wchar_t* kLineweightOverride = L"ADSK_XREC_LAYER_LINEWT_OVR";
constexpr const wchar_t* kPlotStyleOverride = L"ADSK_XREC_LAYER_PLOTSTYLE_OVR";
constexpr const wchar_t* kAlphaOverride = L"ADSK_XREC_LAYER_ALPHA_OVR";

KdDbObject* objectOf(KdDbObjectId id) {
    return id.stub() ? id.stub()->object : nullptr;
}

} // namespace

KdDbLayerTableRecord::KdDbLayerTableRecord() : KdDbSymbolTableRecord("LAYER") {}
KdDbLayerTableRecord::~KdDbLayerTableRecord() = default;

int KdDbLayerTableRecord::rawColorIndex() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<int>(tagInt(62, 7, b, e));
}

void KdDbLayerTableRecord::setRawColorIndex(int index) {
    setField(kMarker, kLayerOrder, 62, std::to_string(index));
}

bool KdDbLayerTableRecord::isOff() const {
    return rawColorIndex() < 0;
}
bool KdDbLayerTableRecord::isFrozen() const {
    return (flags() & 1) != 0;
}
bool KdDbLayerTableRecord::VPDFLT() const {
    return (flags() & 2) != 0;
}
bool KdDbLayerTableRecord::isLocked() const {
    return (flags() & 4) != 0;
}
bool KdDbLayerTableRecord::isHidden() const {
    return false;
}

bool KdDbLayerTableRecord::isPlottable() const {
    auto [b, e] = subclassRange(kMarker);
    return tagInt(290, 1, b, e) != 0;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setIsOff(bool off) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    int c = rawColorIndex();
    int mag = c == 0 ? 7 : std::abs(c);
    if ((c < 0) != off || c == 0)
        setRawColorIndex(off ? -mag : mag);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setIsFrozen(bool frozen) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setFlagBit(1, frozen);
    return es;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setVPDFLT(bool frozen) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setFlagBit(2, frozen);
    return es;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setIsLocked(bool locked) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setFlagBit(4, locked);
    return es;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setIsPlottable(bool plottable) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    // Plotting is the default: the group is written only for layers that do not plot.
    if (plottable)
        removeField(kMarker, 290);
    else
        setField(kMarker, kLayerOrder, 290, "0");
    return Kdad::eOk;
}

// -- Colour --

KdCmColor KdDbLayerTableRecord::color() const {
    auto [b, e] = subclassRange(kMarker);
    KdCmColor color;
    int index = std::abs(static_cast<int>(tagInt(62, 7, b, e)));
    color.setColorIndex(static_cast<uint16_t>(index == 0 ? 7 : index));
    long long rgb = tagInt(420, -1, b, e);
    if (rgb >= 0) {
        color.setRGB(static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8),
                     static_cast<uint8_t>(rgb));
        std::string_view names = tagValue(430, b, e);
        size_t dollar = names.find('$');
        if (dollar != std::string_view::npos) {
            std::wstring book = decode(names.substr(0, dollar));
            std::wstring name = decode(names.substr(dollar + 1));
            color.setNames(name.c_str(), book.c_str());
        } else if (!names.empty()) {
            color.setNames(decode(names).c_str());
        }
    }
    return color;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setColor(const KdCmColor& color) {
    if (color.isByLayer() || color.isByBlock() || color.isNone())
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    bool off = isOff();
    int index = color.isByColor() ? kdcmNearestColorIndex(color.red(), color.green(), color.blue())
                                  : color.colorIndex();
    if (index <= 0 || index > 255)
        index = 7;
    setRawColorIndex(off ? -index : index);
    bool trueColorAllowed = !database() || database()->version() >= KdDb::kDHL_1018;
    if (color.isByColor() && trueColorAllowed) {
        setField(kMarker, kLayerOrder, 420, std::to_string(color.trueColor24()));
        if (color.hasBookName())
            setField(kMarker, kLayerOrder, 430,
                     encode(std::wstring(color.bookName()) + L"$" + color.colorName()));
        else
            removeField(kMarker, 430);
    } else {
        removeField(kMarker, 420);
        removeField(kMarker, 430);
    }
    return Kdad::eOk;
}

// -- Linetype --

KdDbObjectId KdDbLayerTableRecord::linetypeObjectId() const {
    KdDbDatabase* db = database();
    if (!db)
        return KdDbObjectId::kNull;
    auto [b, e] = subclassRange(kMarker);
    std::wstring name = decode(tvdxf::trimmed(tagValue(6, b, e)));
    auto* table = dynamic_cast<KdDbSymbolTable*>(objectOf(db->linetypeTableId()));
    KdDbObjectId id;
    if (table && !name.empty() && table->getAt(name.c_str(), id) == Kdad::eOk)
        return id;
    return db->continuousLinetype();
}

Kdad::ErrorStatus KdDbLayerTableRecord::setLinetypeObjectId(KdDbObjectId id) {
    KdDbDatabase* db = database();
    auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(objectOf(id));
    if (!rec || rec->dxfName() != "LTYPE" || (db && id.database() != db) || id.isErased())
        return Kdad::eKeyNotFound;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    setField(kMarker, kLayerOrder, 6, encode(rec->cachedName()));
    return Kdad::eOk;
}

// -- Lineweight --

KdDb::LineWeight KdDbLayerTableRecord::lineWeight() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<KdDb::LineWeight>(tagInt(370, KdDb::kLnWtByLwDefault, b, e));
}

Kdad::ErrorStatus KdDbLayerTableRecord::setLineWeight(KdDb::LineWeight weight) {
    // Layers take the fixed weights and "default"; by layer and by block mean nothing here.
    if (!KdDb::isValidLineWeight(weight) || weight == KdDb::kLnWtByLayer ||
        weight == KdDb::kLnWtByBlock)
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setField(kMarker, kLayerOrder, 370, std::to_string(static_cast<int>(weight)));
    return es;
}

// -- Plot style --

KdDbObjectId KdDbLayerTableRecord::plotStyleNameId() const {
    auto [b, e] = subclassRange(kMarker);
    uint64_t h = 0;
    if (!database() || !tvdxf::parseHandle(tagValue(390, b, e), h) || h == 0)
        return KdDbObjectId::kNull;
    return database()->objectIdOf(h);
}

KdString KdDbLayerTableRecord::plotStyleName() const {
    KdDbObjectId id = plotStyleNameId();
    auto* dict =
        database()
            ? dynamic_cast<KdDbDictionary*>(objectOf(database()->plotStyleNameDictionaryId()))
            : nullptr;
    KdString name;
    if (dict && !id.isNull() && dict->nameAt(id, name) == Kdad::eOk)
        return name;
    return KdString(L"Normal");
}

Kdad::ErrorStatus KdDbLayerTableRecord::setPlotStyleName(KdDbObjectId placeholderId) {
    auto* dict =
        database()
            ? dynamic_cast<KdDbDictionary*>(objectOf(database()->plotStyleNameDictionaryId()))
            : nullptr;
    if (!dict || !dict->has(placeholderId))
        return Kdad::eKeyNotFound;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setField(kMarker, kLayerOrder, 390, tvdxf::formatHandle(placeholderId.handle().value()));
    return es;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setPlotStyleName(const wchar_t* name) {
    if (!name || !*name || !database())
        return Kdad::eInvalidInput;
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(database()->plotStyleNameDictionaryId()));
    if (!dict)
        return Kdad::eKeyNotFound;
    KdDbObjectId id;
    if (dict->getAt(name, id) != Kdad::eOk) {
        // A new named style gets its placeholder, as the Host does for named plot styles.
        bool wasOpen = dict->isWriteEnabled();
        if (!wasOpen && KdDbAccess::openAs(dict, KdDb::kForWrite) != Kdad::eOk)
            return Kdad::eWasOpenForRead;
        auto* placeholder = new KdDbObject("ACDBPLACEHOLDER");
        Kdad::ErrorStatus es = dict->setAt(name, placeholder, id);
        if (!wasOpen)
            dict->close();
        if (es != Kdad::eOk) {
            delete placeholder;
            return es;
        }
    }
    return setPlotStyleName(id);
}

// -- Transparency and description (extended data) --

KdCmTransparency KdDbLayerTableRecord::transparency() const {
    KdResbufPtr xd(xData(kTransparencyApp));
    for (resbuf* rb = xd.get(); rb; rb = rb->rbnext)
        if (rb->restype == 1071)
            return KdCmTransparency::serializeIn(static_cast<uint32_t>(rb->resval.rlong));
    return KdCmTransparency(255);
}

Kdad::ErrorStatus KdDbLayerTableRecord::setTransparency(const KdCmTransparency& t) {
    if (!database())
        return Kdad::eNotInDatabase;
    database()->registerApp(kTransparencyApp);
    resbuf* list;
    if (t.isByAlpha() && t.alpha() == 255)
        list = kdutBuildList(1001, kTransparencyApp, RTNONE); // opaque: no data
    else
        list = kdutBuildList(1001, kTransparencyApp, 1071, static_cast<int32_t>(t.serializeOut()),
                             RTNONE);
    KdResbufPtr owner(list);
    return setXData(list);
}

KdString KdDbLayerTableRecord::description() const {
    KdResbufPtr xd(xData(kDescriptionApp));
    // The text is the second 1000 string; the first is kept empty.
    int seen = 0;
    for (resbuf* rb = xd.get(); rb; rb = rb->rbnext) {
        if (rb->restype == 1000 && ++seen == 2)
            return KdString(rb->resval.rstring);
    }
    return KdString();
}

Kdad::ErrorStatus KdDbLayerTableRecord::setDescription(const wchar_t* text) {
    if (!text)
        return Kdad::eInvalidInput;
    if (!database())
        return Kdad::eNotInDatabase;
    database()->registerApp(kDescriptionApp);
    resbuf* list = *text ? kdutBuildList(1001, kDescriptionApp, 1000, L"", 1000, text, RTNONE)
                         : kdutBuildList(1001, kDescriptionApp, RTNONE);
    KdResbufPtr owner(list);
    return setXData(list);
}

// -- Viewport overrides --

bool KdDbLayerTableRecord::overrideValue(const wchar_t* key, int valueCode, KdDbObjectId viewportId,
                                         std::string& raw) const {
    auto* xdict = dynamic_cast<KdDbDictionary*>(objectOf(extensionDictionary()));
    if (!xdict || viewportId.isNull())
        return false;
    KdDbObjectId xrecId;
    if (xdict->getAt(key, xrecId) != Kdad::eOk)
        return false;
    KdDbObject* xrec = objectOf(xrecId);
    if (!xrec)
        return false;
    auto t = xrec->tags();
    std::string vp = viewportId.handle().ascii();
    for (size_t i = 0; i + 2 < t.size(); ++i) {
        if (t[i].code != 102 || tvdxf::trimmed(t[i].value()).substr(0, 1) != "{")
            continue;
        size_t j = i + 1;
        bool match = false;
        std::string value;
        bool hasValue = false;
        for (; j < t.size() && t[j].code != 102; ++j) {
            uint64_t h = 0;
            if (t[j].code == 335 && tvdxf::parseHandle(t[j].value(), h))
                match = tvdxf::formatHandle(h) == vp;
            else if (t[j].code == valueCode) {
                value = std::string(t[j].value());
                hasValue = true;
            }
        }
        if (match && hasValue) {
            raw = value;
            return true;
        }
        i = j;
    }
    return false;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setOverrideValue(const wchar_t* key, const char* blockName,
                                                         int valueCode, KdDbObjectId viewportId,
                                                         const std::string& raw) {
    if (!database())
        return Kdad::eNotInDatabase;
    KdDbObject* vp = objectOf(viewportId);
    if (!vp || vp->dxfName() != "VIEWPORT" || viewportId.database() != database())
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    es = createExtensionDictionary();
    if (es != Kdad::eOk)
        return es;
    auto* xdict = dynamic_cast<KdDbDictionary*>(objectOf(extensionDictionary()));
    if (!xdict)
        return Kdad::eKeyNotFound;
    KdDbObjectId xrecId;
    KdDbObject* xrec = nullptr;
    bool wasOpen = xdict->isWriteEnabled();
    if (xdict->getAt(key, xrecId) == Kdad::eOk) {
        xrec = objectOf(xrecId);
    } else {
        if (!wasOpen && KdDbAccess::openAs(xdict, KdDb::kForWrite) != Kdad::eOk)
            return Kdad::eWasOpenForRead;
        auto* fresh = new KdDbXrecord();
        es = xdict->setAt(key, fresh, xrecId);
        if (!wasOpen)
            xdict->close();
        if (es != Kdad::eOk) {
            delete fresh;
            return es;
        }
        xrec = fresh;
    }
    // Rebuild the xrecord's blocks: drop the one of this viewport, add the new value.
    KdDbDatabase* db = database();
    auto t = xrec->tags();
    std::vector<KdDbTag> tags;
    std::string vpHex = viewportId.handle().ascii();
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i].code == 102 && tvdxf::trimmed(t[i].value()).substr(0, 1) == "{") {
            size_t j = i + 1;
            bool match = false;
            for (; j < t.size() && t[j].code != 102; ++j) {
                uint64_t h = 0;
                if (t[j].code == 335 && tvdxf::parseHandle(t[j].value(), h))
                    match = tvdxf::formatHandle(h) == vpHex;
            }
            if (!match)
                tags.insert(tags.end(), t.begin() + static_cast<long>(i),
                            t.begin() + static_cast<long>(std::min(j + 1, t.size())));
            i = j;
            continue;
        }
        tags.push_back(t[i]);
    }
    if (!raw.empty()) {
        auto tagOf = [&](int code, std::string_view v) {
            std::string_view s = KdDbAccess::storeString(db, v);
            return KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)};
        };
        tags.push_back(tagOf(102, std::string("{") + blockName));
        tags.push_back(tagOf(335, vpHex));
        tags.push_back(tagOf(valueCode, raw));
        tags.push_back(tagOf(102, "}"));
    }
    if (KdDbAccess::undoJournal(db).isRecording())
        KdDbAccess::undoJournal(db).recordChange(xrec);
    KdDbAccess::setTags(xrec, std::move(tags));
    return Kdad::eOk;
}

KdCmColor KdDbLayerTableRecord::color(KdDbObjectId viewportId, bool& isOverride) const {
    std::string raw;
    isOverride = overrideValue(kColorOverride, 420, viewportId, raw);
    if (!isOverride)
        return color();
    long long v = 0;
    tvdxf::parseInt(raw, v);
    KdCmColor c;
    c.setColor(static_cast<uint32_t>(v));
    return c;
}

Kdad::ErrorStatus KdDbLayerTableRecord::setColor(const KdCmColor& color, KdDbObjectId viewportId) {
    if (color.isByLayer() || color.isByBlock())
        return Kdad::eInvalidInput;
    return setOverrideValue(kColorOverride, "ADSK_LYR_COLOR_OVERRIDE", 420, viewportId,
                            std::to_string(static_cast<int32_t>(color.color())));
}

KdDbObjectId KdDbLayerTableRecord::linetypeObjectId(KdDbObjectId viewportId,
                                                    bool& isOverride) const {
    std::string raw;
    uint64_t h = 0;
    isOverride = overrideValue(kLinetypeOverride, 343, viewportId, raw) &&
                 tvdxf::parseHandle(raw, h) && database() && !database()->objectIdOf(h).isNull();
    return isOverride ? database()->objectIdOf(h) : linetypeObjectId();
}

Kdad::ErrorStatus KdDbLayerTableRecord::setLinetypeObjectId(KdDbObjectId id,
                                                            KdDbObjectId viewportId) {
    KdDbObject* rec = objectOf(id);
    if (!rec || rec->dxfName() != "LTYPE" || id.database() != database())
        return Kdad::eKeyNotFound;
    return setOverrideValue(kLinetypeOverride, "ADSK_LYR_LINETYPE_OVERRIDE", 343, viewportId,
                            id.handle().ascii());
}

KdDb::LineWeight KdDbLayerTableRecord::lineWeight(KdDbObjectId viewportId, bool& isOverride) const {
    std::string raw;
    long long v = 0;
    isOverride = overrideValue(kLineweightOverride, 91, viewportId, raw) && tvdxf::parseInt(raw, v);
    return isOverride ? static_cast<KdDb::LineWeight>(v) : lineWeight();
}

Kdad::ErrorStatus KdDbLayerTableRecord::setLineWeight(KdDb::LineWeight weight,
                                                      KdDbObjectId viewportId) {
    if (!KdDb::isValidLineWeight(weight) || weight == KdDb::kLnWtByLayer ||
        weight == KdDb::kLnWtByBlock)
        return Kdad::eInvalidInput;
    return setOverrideValue(kLineweightOverride, "ADSK_LYR_LINEWT_OVERRIDE", 91, viewportId,
                            std::to_string(static_cast<int>(weight)));
}

KdDbObjectId KdDbLayerTableRecord::plotStyleNameId(KdDbObjectId viewportId,
                                                   bool& isOverride) const {
    std::string raw;
    uint64_t h = 0;
    isOverride = overrideValue(kPlotStyleOverride, 344, viewportId, raw) &&
                 tvdxf::parseHandle(raw, h) && database() && !database()->objectIdOf(h).isNull();
    return isOverride ? database()->objectIdOf(h) : plotStyleNameId();
}

Kdad::ErrorStatus KdDbLayerTableRecord::setPlotStyleName(const wchar_t* name,
                                                         KdDbObjectId viewportId) {
    if (!name || !database())
        return Kdad::eInvalidInput;
    auto* dict = dynamic_cast<KdDbDictionary*>(objectOf(database()->plotStyleNameDictionaryId()));
    KdDbObjectId id;
    if (!dict || dict->getAt(name, id) != Kdad::eOk)
        return Kdad::eKeyNotFound;
    return setOverrideValue(kPlotStyleOverride, "ADSK_LYR_PLOTSTYLE_OVERRIDE", 344, viewportId,
                            id.handle().ascii());
}

bool KdDbLayerTableRecord::hasOverrides(KdDbObjectId viewportId) const {
    std::string raw;
    return overrideValue(kColorOverride, 420, viewportId, raw) ||
           overrideValue(kLinetypeOverride, 343, viewportId, raw) ||
           overrideValue(kLineweightOverride, 91, viewportId, raw) ||
           overrideValue(kPlotStyleOverride, 344, viewportId, raw) ||
           overrideValue(kAlphaOverride, 440, viewportId, raw);
}

Kdad::ErrorStatus KdDbLayerTableRecord::removeViewportOverrides(KdDbObjectId viewportId) {
    if (!hasOverrides(viewportId))
        return Kdad::eOk;
    const std::pair<const wchar_t*, std::pair<const char*, int>> keys[] = {
        {kColorOverride, {"ADSK_LYR_COLOR_OVERRIDE", 420}},
        {kLinetypeOverride, {"ADSK_LYR_LINETYPE_OVERRIDE", 343}},
        {kLineweightOverride, {"ADSK_LYR_LINEWT_OVERRIDE", 91}},
        {kPlotStyleOverride, {"ADSK_LYR_PLOTSTYLE_OVERRIDE", 344}},
        {kAlphaOverride, {"ADSK_LYR_ALPHA_OVERRIDE", 440}}};
    for (auto& [key, block] : keys) {
        std::string raw;
        if (overrideValue(key, block.second, viewportId, raw)) {
            Kdad::ErrorStatus es =
                setOverrideValue(key, block.first, block.second, viewportId, std::string());
            if (es != Kdad::eOk)
                return es;
        }
    }
    return Kdad::eOk;
}
