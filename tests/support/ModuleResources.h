// Makes the module's built resource library (TV_MODULE_PATH) current for a test, as the
// module's commands do.
#pragma once

#include "tv/KdRxResource.h"

#include <gtest/gtest.h>

namespace tvtest {

class ModuleResources {
public:
    ModuleResources() : m_lib(kdrxLoadResourceLibrary(TV_MODULE_PATH)), m_scope(m_lib) {}
    ~ModuleResources() { kdrxFreeResourceLibrary(m_lib); }
    ModuleResources(const ModuleResources&) = delete;
    ModuleResources& operator=(const ModuleResources&) = delete;
    bool loaded() const { return m_lib != nullptr; }

private:
    void* m_lib;
    KdRxResourceScope m_scope;
};

} // namespace tvtest
