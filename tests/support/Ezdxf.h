// Saved drawings checked by ezdxf, an independent reader, with the system's python3.
#pragma once

#include <string>

namespace tvtest {

/// True when the system's python3 imports ezdxf.
bool hasEzdxf();

/// Runs the Python `script` with the drawing `dxf` as sys.argv[1] and then `args` (words
/// separated by blanks); gives its status (0 when it ended well) and what it printed.
int runEzdxf(const std::string& script, const std::string& dxf, const std::string& args,
             std::string* output);

} // namespace tvtest
