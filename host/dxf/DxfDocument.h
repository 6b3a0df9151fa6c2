// Reading a DXF document into a database's state and writing it back out.
#pragma once

#include <tv/KdDb.h>

#include <functional>
#include <string>
#include <string_view>

struct KdDbDatabaseImpl;

namespace tvdxf {

/// Builds `impl` (fresh, empty) from the DXF text it holds in `impl.fileText`. On failure
/// returns false with "line N: what was expected" in `error`.
bool readDocument(KdDbDatabaseImpl& impl, std::string& error, long long& errorLine);

/// Receives written text in pieces; returns false to stop the writing (an output error).
using TextSink = std::function<bool(std::string_view)>;

/// Writes the document as DXF text of `version` into `out`.
bool writeDocument(const KdDbDatabaseImpl& impl, KdDb::DwgVersion version, std::string& out,
                   std::string& error);
/// Writes the document in pieces of about a megabyte to `sink`.
bool writeDocument(const KdDbDatabaseImpl& impl, KdDb::DwgVersion version, const TextSink& sink,
                   std::string& error);

/// $ACADVER text of a version ("AC1032") and back.
const char* acadVerOf(KdDb::DwgVersion v);
KdDb::DwgVersion versionOfAcadVer(std::string_view acadVer);

/// The DXF text of a new, empty R2018 drawing.
const char* newDrawingTemplate();

} // namespace tvdxf
