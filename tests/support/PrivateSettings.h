// Points the Host's settings store at a file of its own for a scope, so that no test reads or
// writes the user's settings. Header-only, as each test program links the Host in its own way.
#pragma once

#include "TempDir.h"

#include "tv/KdRegistry.h"

#include <string>

namespace tvtest {

class PrivateSettings {
public:
    PrivateSettings() { tvSettingsSetFile(file().string()); }
    ~PrivateSettings() { tvSettingsSetFile(std::string()); }
    PrivateSettings(const PrivateSettings&) = delete;
    PrivateSettings& operator=(const PrivateSettings&) = delete;

    /// The settings file, where the store of tvcad keeps it under its configuration folder.
    std::filesystem::path file() const { return m_dir / "tvcad/registry.ini"; }
    const TempDir& dir() const { return m_dir; }

private:
    TempDir m_dir{"tvsettings"};
};

} // namespace tvtest
