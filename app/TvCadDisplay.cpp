// Checks the display before QApplication: an X connection through libxcb, found at run time.
#include "TvCadDisplay.h"

#include <QDir>
#include <QLibraryInfo>

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

namespace tvcad {
namespace {

std::string env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// Whether an X server answers on DISPLAY; libxcb is what Qt's xcb plug-in uses too.
bool xServerAnswers(std::string* why) {
    const std::string display = env("DISPLAY");
    if (display.empty()) {
        if (why)
            *why = "no display: DISPLAY is not set";
        return false;
    }
    void* xcb = dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!xcb) {
        if (why)
            *why = "cannot open display \"" + display + "\": libxcb.so.1 is missing";
        return false;
    }
    using Connect = void* (*)(const char*, int*);
    using HasError = int (*)(void*);
    using Disconnect = void (*)(void*);
    auto connect = reinterpret_cast<Connect>(dlsym(xcb, "xcb_connect"));
    auto hasError = reinterpret_cast<HasError>(dlsym(xcb, "xcb_connection_has_error"));
    auto disconnect = reinterpret_cast<Disconnect>(dlsym(xcb, "xcb_disconnect"));
    bool ok = false;
    if (connect && hasError && disconnect) {
        void* connection = connect(nullptr, nullptr);
        ok = connection && hasError(connection) == 0;
        if (connection)
            disconnect(connection);
    }
    if (!ok && why)
        *why = "cannot open display \"" + display + "\"";
    return ok;
}

bool waylandAvailable() {
    std::string socket = env("WAYLAND_DISPLAY");
    if (socket.empty())
        return false;
    if (socket.front() != '/')
        socket = env("XDG_RUNTIME_DIR") + "/" + socket;
    struct stat st {};
    if (stat(socket.c_str(), &st) != 0)
        return false;
    const QDir platforms(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                         QStringLiteral("/platforms"));
    return !platforms.entryList({QStringLiteral("libqwayland*.so")}).isEmpty();
}

} // namespace

bool windowSystemAvailable(std::string* why) {
    // QT_QPA_PLATFORM may list platforms to try ("wayland;xcb"), each with options after ':'.
    const std::string platforms = env("QT_QPA_PLATFORM");
    if (!platforms.empty()) {
        size_t start = 0;
        while (start <= platforms.size()) {
            const size_t end = std::min(platforms.find(';', start), platforms.size());
            std::string name = platforms.substr(start, end - start);
            name = name.substr(0, name.find(':'));
            if (name == "xcb") {
                if (xServerAnswers(why))
                    return true;
            } else if (name.rfind("wayland", 0) == 0) {
                if (waylandAvailable())
                    return true;
                if (why)
                    *why = "no Wayland display";
            } else if (!name.empty()) {
                return true; // offscreen, minimal, vnc, eglfs ...: no display to reach
            }
            start = end + 1;
        }
        return false;
    }
    if (xServerAnswers(why))
        return true;
    return waylandAvailable() && env("XDG_SESSION_TYPE") == "wayland";
}

} // namespace tvcad
