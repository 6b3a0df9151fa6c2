#include "Ezdxf.h"

#include "TempDir.h"

#include <cstdlib>

namespace tvtest {

bool hasEzdxf() {
    return std::system("/usr/bin/python3 -c 'import ezdxf' >/dev/null 2>&1") == 0;
}

int runEzdxf(const std::string& script, const std::string& dxf, const std::string& args,
             std::string* output) {
    const TempDir dir("tv-ezdxf");
    writeBytes(dir / "check.py", script);
    const std::string command = "/usr/bin/python3 '" + (dir / "check.py").string() + "' '" + dxf +
                                "' " + args + " > '" + (dir / "out.txt").string() + "' 2>&1";
    const int status = std::system(command.c_str());
    if (output)
        *output = readBytes(dir / "out.txt");
    return status;
}

} // namespace tvtest
