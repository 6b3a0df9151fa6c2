// Symbol table records: the shared base (name, dependency flags) and the linetype record.
#pragma once

#include "KdDbObject.h"

class TVHOST_API KdDbSymbolTableRecord : public KdDbObject {
public:
    explicit KdDbSymbolTableRecord(std::string_view dxfType);
    ~KdDbSymbolTableRecord() override;

    Kdad::ErrorStatus getName(KdString& name) const;
    Kdad::ErrorStatus getName(const wchar_t*& name) const; ///< valid until the next change
    KdString name() const;
    /// Renames the record: eInvalidSymbolTableName for a name that breaks the naming rules,
    /// eDuplicateRecordName for a name another record of the table has (case ignored),
    /// eIllegalReplacement for a record whose name is fixed ("0", dependent records).
    Kdad::ErrorStatus setName(const wchar_t* name);
    /// True for records that come from an external reference ("XREF|NAME", flag 16).
    bool isDependent() const;
    bool isResolved() const;

    /// The Host's naming rule for table records: not empty, shorter than 256 characters, no
    /// leading blank and none of < > / \ " : ; ? * | = , `
    static bool isValidName(const std::wstring& name);

    /// The marker of the record's own subclass ("AcDbLayerTableRecord").
    virtual std::string_view subclassMarker() const;
    const std::wstring& cachedName() const { return m_name; }

protected:
    /// Reads the name from the record's tags again (after they were replaced).
    void loadName();
    void restoreState(const KdDbObjectState& state) override;
    int flags() const;
    void setFlagBit(int bit, bool on);

private:
    friend struct KdDbAccess;
    std::wstring m_name;
};

class TVHOST_API KdDbLinetypeTableRecord : public KdDbSymbolTableRecord {
public:
    KdDbLinetypeTableRecord();
    ~KdDbLinetypeTableRecord() override;
    std::string_view subclassMarker() const override { return "AcDbLinetypeTableRecord"; }
    /// The descriptive text (group 3).
    KdString comments() const;
    Kdad::ErrorStatus setComments(const wchar_t* text);
    /// Number of dash elements (group 73) and the pattern length (group 40).
    int numDashes() const;
    double patternLength() const;
};

class TVHOST_API KdDbRegAppTableRecord : public KdDbSymbolTableRecord {
public:
    KdDbRegAppTableRecord();
    ~KdDbRegAppTableRecord() override;
    std::string_view subclassMarker() const override { return "AcDbRegAppTableRecord"; }
};
