// tvcad: the Host application, as a window or on the console.
//   tvcad [--script FILE | --console] [--module PATH]... [--no-module] [DRAWING.dxf]
#include "TvCadApp.h"
#ifdef TV_WITH_WINDOW
#include "TvCadDisplay.h"
#include "TvCadWindowMain.h"
#endif

#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdProfile.h"

#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

const char kUsage[] =
    "usage: tvcad [--script FILE | --console] [--module PATH]... [--no-module] [DRAWING.dxf]\n"
    "  Opens the drawing (a new one without) in a window, loads the layer manager module and\n"
    "  works from the window's command line, menus and toolbars.\n"
    "  --script FILE  run the commands of FILE on the console instead, until QUIT or its end\n"
    "  --console      run the commands typed on standard input on the console instead (also\n"
    "                 what happens when no display can be opened)\n"
    "  --module PATH  load this module instead of TvLayerManager.krx (may be repeated)\n"
    "  --no-module    load no module\n";

/// Folders where modules are looked for: beside the program, and the build tree's modules
/// folder next to the program's folder.
std::vector<std::string> moduleFolders() {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec)
        return {};
    const fs::path dir = exe.parent_path();
    return {(dir / "modules").string(), (dir.parent_path() / "modules").string(), dir.string(),
            (dir.parent_path() / "lib" / "tvcad").string()};
}

} // namespace

int main(int argc, char** argv) {
    // The locale comes from the environment, as in the window version once Qt starts; the Host's
    // text conversions do not depend on it.
    std::setlocale(LC_ALL, "");
    std::string script;
    std::string drawing;
    std::vector<std::string> modules;
    bool defaultModule = true;
    bool console = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if ((arg == "--script" || arg == "--module") && i + 1 < argc) {
            (arg == "--script" ? script : modules.emplace_back()) = argv[++i];
        } else if (arg == "--console") {
            console = true;
        } else if (arg == "--no-module") {
            defaultModule = false;
        } else if (arg == "-h" || arg == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (!arg.empty() && arg[0] != '-' && drawing.empty()) {
            drawing = arg;
        } else {
            std::fprintf(stderr, "tvcad: unexpected argument \"%s\"\n%s", arg.c_str(), kUsage);
            return 2;
        }
    }
    if (defaultModule && modules.empty())
        modules.push_back("TvLayerManager.krx");

#ifdef TV_WITH_WINDOW
    if (script.empty() && !console) {
        std::string why;
        if (tvcad::windowSystemAvailable(&why))
            return tvcad::runWindow(argc, argv, drawing, modules, moduleFolders());
        std::fprintf(stderr, "tvcad: %s; working on the console (--console does so at once).\n",
                     why.c_str());
    }
#else
    (void)console; // built without its window: the console is all there is
#endif

    KdEdScriptInput scriptInput;
    KdEdFileInput stdinInput(stdin);
    KdEdInputSource* input = &stdinInput;
    if (!script.empty()) {
        std::string error;
        if (!scriptInput.loadFile(script.c_str(), &error)) {
            std::fprintf(stderr, "tvcad: %s\n", error.c_str());
            return 2;
        }
        input = &scriptInput;
    }

    kdedSetOutputStream(stdout);
    // Dialogs keep their settings in the user's current profile; a first run makes one.
    kdEnsureCurrentProfile();
    tvcad::TvCadApp app(moduleFolders());
    app.setEcho(!script.empty() || !isatty(STDIN_FILENO));
    if (!drawing.empty()) {
        std::string error;
        if (!app.openDrawing(drawing, &error)) {
            std::fprintf(stderr, "tvcad: cannot open the drawing: %s\n", error.c_str());
            return 2;
        }
        std::printf("Opened %s.\n", drawing.c_str());
    }
    for (const std::string& module : modules) {
        std::string error;
        if (!app.loadModule(module, &error)) {
            std::fprintf(stderr, "tvcad: cannot load %s: %s\n", module.c_str(), error.c_str());
            return 2;
        }
    }
    return app.run(*input);
}
