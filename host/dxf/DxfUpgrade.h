// Turns an R12 drawing's tags into R2000 DXF text, so that the database always holds the
// structure of R2000 and later (handles, owners, subclass markers, block records, objects).
#pragma once

#include <tv/KdDbTag.h>

#include <string>
#include <vector>

namespace tvdxf {

/// Writes the R2000 form of the R12 document `tags` into `out`; false with `error` set when the
/// document is not a well-formed R12 drawing.
bool upgradeR12(const std::vector<KdDbTag>& tags, std::string& out, std::string& error);

} // namespace tvdxf
