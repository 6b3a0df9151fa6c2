// Named services that modules register and depend on.
#pragma once

#include "KdRxObject.h"

#include <string>

/// A service registered by name in the registry's "ServiceDictionary". Applications that use
/// a service add a dependency on it; the dynamic linker tells the loaded modules when the
/// first dependency is added and when the last one goes, so that the module providing the
/// service can stay loaded meanwhile.
class TVHOST_API KdRxService : public KdRxObject {
public:
    KDRX_DECLARE_MEMBERS(KdRxService)

    explicit KdRxService(const wchar_t* name) : m_name(name ? name : L"") {}

    const wchar_t* name() const { return m_name.c_str(); }
    /// Counts a dependency; the first one sends the dependency message (10) for this service
    /// to every loaded module, and each module decides whether the service is its own.
    void addDependency();
    /// Drops a dependency; when the last one goes, sends the no-dependency message (11) to
    /// every loaded module. Without dependencies it does nothing.
    void removeDependency();
    int dependencyCount() const { return m_dependencies; }

private:
    std::wstring m_name;
    int m_dependencies = 0;
};

/// Registers the service `name` and returns it; a registered name returns the existing
/// service. Null or empty names give null.
TVHOST_API KdRxService* kdrxRegisterService(const wchar_t* name);
/// True when a service of that name (exact case) is registered.
TVHOST_API bool kdrxServiceIsRegistered(const wchar_t* name);
/// The registered service of that name, or null.
TVHOST_API KdRxService* kdrxLookupService(const wchar_t* name);
/// Removes and deletes the service; false when it was not registered.
TVHOST_API bool kdrxUnregisterService(const wchar_t* name);
