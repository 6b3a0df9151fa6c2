// The drawing database: objects by handle, tables, dictionaries, layouts, DXF load and save.
#pragma once

#include "KdDb.h"
#include "KdDbObject.h"
#include "KdExport.h"

#include <memory>
#include <string>
#include <vector>

class KdDbSymbolTable;
class KdDbLayerTable;
class KdDbLinetypeTable;
class KdDbBlockTable;
class KdDbDictionary;
class KdDbTransactionManager;
class KdDbLayerStateManager;
struct KdDbDatabaseImpl;

/// Why a DXF file could not be read: the message names the line and what was expected.
/// How many live objects of one DXF record type a drawing holds.
struct KdDbObjectCount {
    std::string type; ///< "LINE", "LAYER", "DICTIONARY" ...
    bool entity = false;
    size_t count = 0;
};

struct KdDbReadError {
    std::string message;
    long long line = 0;
};

class TVHOST_API KdDbDatabase {
public:
    /// A database with the minimal content of a new drawing (R2018), or empty when
    /// `buildDefaultDrawing` is false (ready for readDxfFile).
    explicit KdDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
    ~KdDbDatabase();
    KdDbDatabase(const KdDbDatabase&) = delete;
    KdDbDatabase& operator=(const KdDbDatabase&) = delete;

    // -- Files --

    /// Reads an ASCII DXF file (R12 to R2018). On failure the database is left as it was and
    /// `error` (when given) holds "file:line: what was expected".
    Kdad::ErrorStatus readDxfFile(const char* path, std::string* error = nullptr);
    /// Reads DXF text held in memory; `name` is used in messages.
    Kdad::ErrorStatus readDxfBuffer(std::string text, std::string* error = nullptr,
                                    const char* name = "<memory>");
    /// Reads a drawing file into this (side) database; the Host's drawings are DXF files.
    Kdad::ErrorStatus readDwgFile(const wchar_t* path, std::string* error = nullptr);
    /// Saves as DXF: into a temporary file beside `path`, flushed and renamed over it; the
    /// previous file is kept as NAME.bak. `version` kDHL_Unknown keeps the drawing's version
    /// (R12 drawings are written as R2000).
    Kdad::ErrorStatus saveAs(const char* path, std::string* error = nullptr,
                             KdDb::DwgVersion version = KdDb::kDHL_Unknown);
    /// The DXF text of the drawing, as saveAs would write it.
    Kdad::ErrorStatus writeDxf(std::string& out, KdDb::DwgVersion version = KdDb::kDHL_Unknown,
                               std::string* error = nullptr);
    /// Version the drawing was read in (kDHL_1032 for a new drawing).
    KdDb::DwgVersion originalFileVersion() const;
    /// Version written by saveAs without an explicit version.
    KdDb::DwgVersion version() const;
    /// Repairs made while reading (duplicate handles, dangling owners ...), one line each.
    const std::vector<std::string>& readWarnings() const;
    const std::string& fileName() const;
    /// Whether the drawing changed since it was read or last saved (changes later undone
    /// included). Every change to an object, the header or the current layer sets it.
    bool isModified() const;
    void setModified(bool modified);

    // -- Tables and well-known objects --

    Kdad::ErrorStatus getSymbolTable(KdDbLayerTable*& table, KdDb::OpenMode mode);
    Kdad::ErrorStatus getSymbolTable(KdDbLinetypeTable*& table, KdDb::OpenMode mode);
    Kdad::ErrorStatus getSymbolTable(KdDbBlockTable*& table, KdDb::OpenMode mode);
    Kdad::ErrorStatus getLayerTable(KdDbLayerTable*& table, KdDb::OpenMode mode) {
        return getSymbolTable(table, mode);
    }
    KdDbObjectId layerTableId() const;
    KdDbObjectId linetypeTableId() const;
    KdDbObjectId blockTableId() const;
    KdDbObjectId regAppTableId() const;
    /// The table head of DXF table `name` ("LAYER", "LTYPE", "BLOCK_RECORD", "APPID" ...).
    KdDbObjectId tableId(std::string_view name) const;
    KdDbObjectId layerZero() const;
    KdDbObjectId byLayerLinetype() const;
    KdDbObjectId byBlockLinetype() const;
    KdDbObjectId continuousLinetype() const;
    KdDbObjectId modelSpaceId() const;
    KdDbObjectId paperSpaceId() const;

    /// The current layer ($CLAYER).
    KdDbObjectId clayer() const;
    /// eInvalidInput for an id that is not a layer; eInvalidLayer-like refusal of frozen layers
    /// is the caller's.
    Kdad::ErrorStatus setClayer(KdDbObjectId layerId);
    /// $TILEMODE: true while model space is current.
    bool tilemode() const;
    Kdad::ErrorStatus setTilemode(bool modelSpace);
    /// $PSTYLEMODE: true for colour-dependent plot styles, false for named plot styles.
    bool plotStyleMode() const;
    int measurement() const;

    /// Header variable text ("$CLAYER" -> first value), empty when absent.
    KdString getHeaderVar(const char* name) const;
    /// Sets a header variable that holds one value of `code` (added when absent).
    Kdad::ErrorStatus setHeaderVar(const char* name, int code, const wchar_t* value);

    KdDbObjectId namedObjectsDictionaryId() const;
    KdDbObjectId layoutDictionaryId() const;
    KdDbObjectId plotStyleNameDictionaryId() const;
    Kdad::ErrorStatus getPlotStyleNameDictionary(KdDbDictionary*& dict, KdDb::OpenMode mode);
    /// The Host's layer state manager of this drawing.
    KdDbLayerStateManager* getLayerStateManager() const;

    /// The object of `handle`; eKeyNotFound for an unknown handle (or, with
    /// `createIfNotFound`, a new id reserved for that handle).
    Kdad::ErrorStatus getKdDbObjectId(KdDbObjectId& id, bool createIfNotFound,
                                      const KdDbHandle& handle);
    KdDbObjectId objectIdOf(uint64_t handle) const;
    /// Counts, for each id, the hard pointers (groups 340-349, 360-369, 390-399) of other
    /// objects to it.
    Kdad::ErrorStatus countHardReferences(const std::vector<KdDbObjectId>& ids,
                                          std::vector<uint32_t>& counts) const;

    /// Adds a new object (not an entity and not a table record) owned by nothing yet; the
    /// database takes ownership and gives it the next handle.
    Kdad::ErrorStatus addKdDbObject(KdDbObjectId& id, KdDbObject* obj);

    KdDbTransactionManager* transactionManager() const;
    /// The live (not erased) objects of the drawing counted by record type, in type order.
    std::vector<KdDbObjectCount> countObjects() const;

    /// Registers an application name for extended data (APPID table); true when added.
    bool registerApp(const wchar_t* appName);
    bool isAppRegistered(const wchar_t* appName) const;

    /// Text in the drawing's encoding (code page or UTF-8; \U+ escapes where needed) and back.
    std::string encode(const std::wstring& text) const;
    std::wstring decode(std::string_view raw) const;

private:
    friend struct KdDbAccess;
    KdDbObjectId adopt(KdDbObject* obj);
    void invalidateIndexes();
    std::unique_ptr<KdDbDatabaseImpl> m_impl;
};

/// Frees memory the Host returned (strings from kdedGetVar and similar).
TVHOST_API void kdad_free(void* p);
