// System variables of the editor: read and written through result buffers.
#include "KdEdSession.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <string>

namespace {

enum class Var {
    kClayer,
    kTilemode,
    kCvport,
    kCmdecho,
    kErrno,
    kLwunits,
    kMeasurement,
    kShowLayerUsage,
    kLayerFilterAlert,
    kRegenmode,
    kDwgname
};

struct VarDef {
    const wchar_t* name;
    Var var;
    bool text;    ///< RTSTR value, else RTSHORT
    bool drawing; ///< needs a current drawing
    bool readOnly;
    int min;
    int max;
};

constexpr VarDef kVars[] = {
    {L"CLAYER", Var::kClayer, true, true, false, 0, 0},
    {L"TILEMODE", Var::kTilemode, false, true, false, 0, 1},
    {L"CVPORT", Var::kCvport, false, true, false, 1, 32767},
    {L"CMDECHO", Var::kCmdecho, false, false, false, 0, 1},
    {L"ERRNO", Var::kErrno, false, false, false, 0, 32767},
    {L"LWUNITS", Var::kLwunits, false, true, false, 0, 1},
    {L"MEASUREMENT", Var::kMeasurement, false, true, false, 0, 1},
    {L"SHOWLAYERUSAGE", Var::kShowLayerUsage, false, false, false, 0, 1},
    {L"LAYERFILTERALERT", Var::kLayerFilterAlert, false, false, false, 0, 3},
    {L"REGENMODE", Var::kRegenmode, false, true, false, 0, 1},
    {L"DWGNAME", Var::kDwgname, true, true, true, 0, 0},
};

const VarDef* findVar(const wchar_t* name) {
    if (!name)
        return nullptr;
    for (const VarDef& d : kVars)
        if (tvEqualsNoCase(d.name, name))
            return &d;
    return nullptr;
}

/// Text for a caller who frees it with kdad_free (std::free).
wchar_t* mallocText(const std::wstring& text) {
    auto* p = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
    if (p)
        std::wmemcpy(p, text.c_str(), text.size() + 1);
    return p;
}

std::wstring layerName(KdDbObjectId id) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
    return layer ? layer->name().str() : std::wstring();
}

bool getText(const VarDef& d, KdDbDatabase* db, std::wstring& out) {
    switch (d.var) {
    case Var::kClayer:
        out = layerName(db->clayer());
        return true;
    case Var::kDwgname: {
        const std::string& file = db->fileName();
        out = file.empty() ? L"Drawing1.dxf"
                           : tvFromUtf8(std::filesystem::path(file).filename().string());
        return true;
    }
    default:
        return false;
    }
}

int getShort(const VarDef& d, KdDbDatabase* db) {
    kded::Session& s = kded::session();
    kded::DrawingState* st = kded::drawingState(db);
    switch (d.var) {
    case Var::kTilemode:
        return db->tilemode() ? 1 : 0;
    case Var::kCvport:
        return st->cvport;
    case Var::kCmdecho:
        return s.cmdecho;
    case Var::kErrno:
        return s.errnoValue;
    case Var::kLwunits:
        return st->lwunits;
    case Var::kMeasurement:
        return db->measurement();
    case Var::kShowLayerUsage:
        return s.showLayerUsage;
    case Var::kLayerFilterAlert:
        return s.layerFilterAlert;
    case Var::kRegenmode:
        return st->regenmode;
    default:
        return 0;
    }
}

/// Whether paper space of `db` has a viewport with number `n`.
bool hasViewportNumber(KdDbDatabase* db, int n) {
    kded::DrawingState* st = kded::drawingState(db);
    const int saved = st->cvport;
    st->cvport = n;
    const bool found = !kdedGetCurViewportObjectId().isNull();
    st->cvport = saved;
    return found;
}

int setClayer(KdDbDatabase* db, const wchar_t* name) {
    if (!name || !*name)
        return RTERROR;
    KdDbLayerTable* table = nullptr;
    if (db->getSymbolTable(table, KdDb::kForRead) != Kdad::eOk)
        return RTERROR;
    KdDbObjectId id;
    const Kdad::ErrorStatus es = table->getAt(name, id);
    table->close();
    if (es != Kdad::eOk)
        return RTERROR;
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
        if (!layer || layer->isFrozen())
            return RTERROR;
    }
    return db->setClayer(id) == Kdad::eOk ? RTNORM : RTERROR;
}

int setShort(const VarDef& d, KdDbDatabase* db, int v) {
    if (v < d.min || v > d.max)
        return RTERROR;
    kded::Session& s = kded::session();
    kded::DrawingState* st = kded::drawingState(db);
    switch (d.var) {
    case Var::kTilemode:
        return db->setTilemode(v == 1) == Kdad::eOk ? RTNORM : RTERROR;
    case Var::kCvport:
        // Model space has no sheet (1); in paper space a number must be a viewport's.
        if (db->tilemode() ? v < 2 : (v != 1 && !hasViewportNumber(db, v)))
            return RTERROR;
        st->cvport = v;
        return RTNORM;
    case Var::kCmdecho:
        s.cmdecho = v;
        return RTNORM;
    case Var::kErrno:
        s.errnoValue = v;
        return RTNORM;
    case Var::kLwunits:
        st->lwunits = v;
        return RTNORM;
    case Var::kMeasurement:
        return db->setHeaderVar("$MEASUREMENT", 70, std::to_wstring(v).c_str()) == Kdad::eOk
                   ? RTNORM
                   : RTERROR;
    case Var::kShowLayerUsage:
        s.showLayerUsage = v;
        return RTNORM;
    case Var::kLayerFilterAlert:
        s.layerFilterAlert = v;
        return RTNORM;
    case Var::kRegenmode:
        st->regenmode = v;
        return RTNORM;
    default:
        return RTERROR;
    }
}

} // namespace

int kdedGetVar(const wchar_t* name, resbuf* result) {
    const VarDef* d = findVar(name);
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!d || !result || (d->drawing && !db))
        return RTERROR;
    if (d->text) {
        std::wstring text;
        if (!getText(*d, db, text))
            return RTERROR;
        wchar_t* copy = mallocText(text);
        if (!copy)
            return RTERROR;
        result->restype = RTSTR;
        result->resval.rstring = copy;
        return RTNORM;
    }
    result->restype = RTSHORT;
    result->resval.rint = static_cast<short>(getShort(*d, db));
    return RTNORM;
}

int kdedSetVar(const wchar_t* name, const resbuf* value) {
    const VarDef* d = findVar(name);
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!d || !value || d->readOnly || (d->drawing && !db))
        return RTERROR;
    if (d->text) {
        if (value->restype != RTSTR || d->var != Var::kClayer)
            return RTERROR;
        return setClayer(db, value->resval.rstring);
    }
    int v = 0;
    if (value->restype == RTSHORT)
        v = value->resval.rint;
    else if (value->restype == RTLONG)
        v = value->resval.rlong;
    else
        return RTERROR;
    return setShort(*d, db, v);
}

int kdedGetShortVar(const wchar_t* name, int fallback) {
    resbuf rb{};
    if (kdedGetVar(name, &rb) != RTNORM)
        return fallback;
    if (rb.restype != RTSHORT) {
        if (rb.restype == RTSTR)
            std::free(rb.resval.rstring);
        return fallback;
    }
    return rb.resval.rint;
}

int kdedSetShortVar(const wchar_t* name, int value) {
    resbuf rb{};
    rb.restype = RTSHORT;
    rb.resval.rint = static_cast<short>(value);
    if (value < -32768 || value > 32767)
        return RTERROR;
    return kdedSetVar(name, &rb);
}
