// Symbol table records: names under the Host's naming rule, dependency flags, linetypes.
#include <tv/KdDbSymbolTableRecord.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <tv/KdDbSymbolTable.h>

namespace {

constexpr int kRecordOrder[] = {2, 70};

class KdDbRecordState : public KdDbObjectState {};

} // namespace

KdDbSymbolTableRecord::KdDbSymbolTableRecord(std::string_view dxfType) : KdDbObject(dxfType) {}
KdDbSymbolTableRecord::~KdDbSymbolTableRecord() = default;

std::string_view KdDbSymbolTableRecord::subclassMarker() const {
    // Records of tables the Host does not model keep their marker in their tags.
    return {};
}

void KdDbSymbolTableRecord::loadName() {
    m_name = decode(tvdxf::trimmed(tagValue(2)));
}

Kdad::ErrorStatus KdDbSymbolTableRecord::getName(KdString& name) const {
    name = KdString(m_name);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbSymbolTableRecord::getName(const wchar_t*& name) const {
    name = m_name.c_str();
    return Kdad::eOk;
}

KdString KdDbSymbolTableRecord::name() const {
    return KdString(m_name);
}

bool KdDbSymbolTableRecord::isValidName(const std::wstring& name) {
    if (name.empty() || name.size() >= 256 || name.front() == L' ')
        return false;
    for (wchar_t c : name) {
        switch (c) {
        case L'<':
        case L'>':
        case L'/':
        case L'\\':
        case L'"':
        case L':':
        case L';':
        case L'?':
        case L'*':
        case L'|':
        case L'=':
        case L',':
        case L'`':
            return false;
        default:
            if (c < 0x20)
                return false;
        }
    }
    return true;
}

Kdad::ErrorStatus KdDbSymbolTableRecord::setName(const wchar_t* newName) {
    if (!newName)
        return Kdad::eInvalidInput;
    std::wstring name(newName);
    if (!isValidName(name))
        return Kdad::eInvalidSymbolTableName;
    if (name == m_name)
        return Kdad::eOk;
    KdDbSymbolTable* table = nullptr;
    if (database()) {
        table =
            dynamic_cast<KdDbSymbolTable*>(ownerId().stub() ? ownerId().stub()->object : nullptr);
        if (isDependent())
            return Kdad::eIllegalReplacement;
        if (dxfName() == "LAYER" && m_name == L"0")
            return Kdad::eIllegalReplacement;
        KdDbObjectId other;
        if (table && table->getAt(name.c_str(), other) == Kdad::eOk && other != objectId())
            return Kdad::eDuplicateRecordName;
    }
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    std::wstring old = m_name;
    setField(subclassMarker(), kRecordOrder, 2, encode(name));
    m_name = name;
    if (table)
        KdDbAccess::nameChanged(table, old, name, objectId());
    return Kdad::eOk;
}

int KdDbSymbolTableRecord::flags() const {
    auto [b, e] = subclassRange(subclassMarker());
    return static_cast<int>(tagInt(70, 0, b, e));
}

void KdDbSymbolTableRecord::setFlagBit(int bit, bool on) {
    int f = flags();
    int nf = on ? (f | bit) : (f & ~bit);
    if (nf != f || !hasTag(70))
        setField(subclassMarker(), kRecordOrder, 70, std::to_string(nf));
}

bool KdDbSymbolTableRecord::isDependent() const {
    return (flags() & 16) != 0;
}
bool KdDbSymbolTableRecord::isResolved() const {
    return (flags() & 32) != 0;
}

void KdDbSymbolTableRecord::restoreState(const KdDbObjectState& state) {
    KdDbObject::restoreState(state);
    loadName();
}

// -- Linetypes and applications --

KdDbLinetypeTableRecord::KdDbLinetypeTableRecord() : KdDbSymbolTableRecord("LTYPE") {}
KdDbLinetypeTableRecord::~KdDbLinetypeTableRecord() = default;

KdString KdDbLinetypeTableRecord::comments() const {
    auto [b, e] = subclassRange(subclassMarker());
    return KdString(decode(tagValue(3, b, e)));
}

Kdad::ErrorStatus KdDbLinetypeTableRecord::setComments(const wchar_t* text) {
    if (!text)
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    static constexpr int kOrder[] = {2, 70, 3, 72, 73, 40};
    setField(subclassMarker(), kOrder, 3, encode(text));
    return Kdad::eOk;
}

int KdDbLinetypeTableRecord::numDashes() const {
    auto [b, e] = subclassRange(subclassMarker());
    return static_cast<int>(tagInt(73, 0, b, e));
}

double KdDbLinetypeTableRecord::patternLength() const {
    auto [b, e] = subclassRange(subclassMarker());
    double d = 0;
    tvdxf::parseDouble(tagValue(40, b, e), d);
    return d;
}

KdDbRegAppTableRecord::KdDbRegAppTableRecord() : KdDbSymbolTableRecord("APPID") {}
KdDbRegAppTableRecord::~KdDbRegAppTableRecord() = default;
