// Generator of large, realistic ASCII DXF drawings for benchmarks and interoperability checks.
#pragma once

#include <cstdint>
#include <string>

namespace tvtools {

/// File versions the generator can write.
enum class DxfVersion { R2000, R2018 };

/// What to generate. The same options always give the same bytes.
struct DxfGeneratorOptions {
    int layers = 200;    ///< layers besides "0"
    int entities = 5000; ///< model-space entities (block definitions and layouts come extra)
    DxfVersion version = DxfVersion::R2018;
    std::uint64_t seed = 1;
    bool crlf = false; ///< end lines in CR LF as Windows writers do
};

/// Bumped whenever the output for given options changes, so cached drawings get regenerated.
inline constexpr int kDxfGeneratorRevision = 1;

/// "R2000" / "R2018".
const char* dxfVersionName(DxfVersion version);
/// Parses "R2000" / "R2018" (case-insensitive); false when unknown.
bool parseDxfVersion(const std::string& text, DxfVersion* version);

/// The whole drawing as DXF text.
std::string generateDxf(const DxfGeneratorOptions& options);

/// Writes the drawing to `path` (through a temporary file renamed at the end, so an interrupted
/// run never leaves a truncated drawing behind). Returns false and sets `error` on failure.
bool writeDxf(const DxfGeneratorOptions& options, const std::string& path, std::string* error);

/// Name of the drawing for `options` inside a cache folder; it carries every option and the
/// generator revision.
std::string cachedDxfName(const DxfGeneratorOptions& options);

/// Path of the drawing for `options` in `folder`, generated first when it is not there yet.
/// Returns false and sets `error` when the folder or the file cannot be written.
bool ensureCachedDxf(const DxfGeneratorOptions& options, const std::string& folder,
                     std::string* path, std::string* error);

} // namespace tvtools
