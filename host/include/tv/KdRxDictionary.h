// A runtime dictionary of named objects, and the system registry built from it.
#pragma once

#include "KdRxObject.h"

#include <string>
#include <vector>

/// Maps names (case-sensitive) to runtime objects and owns them: destroying the dictionary
/// deletes what it still holds. Entries keep the order in which they were first added.
class TVHOST_API KdRxDictionary : public KdRxObject {
public:
    KDRX_DECLARE_MEMBERS(KdRxDictionary)

    KdRxDictionary() = default;
    ~KdRxDictionary() override;

    /// The object stored under `key`, or null.
    KdRxObject* at(const wchar_t* key) const;
    /// Stores `obj` under `key` and returns the object it replaces (now owned by the caller),
    /// or null. A replaced entry keeps its place in the order. A null key stores nothing.
    KdRxObject* atPut(const wchar_t* key, KdRxObject* obj);
    /// Takes the entry out and returns its object (now owned by the caller), or null.
    KdRxObject* remove(const wchar_t* key);
    bool has(const wchar_t* key) const { return indexOf(key) >= 0; }
    int numEntries() const { return static_cast<int>(m_entries.size()); }

    /// Entries by position, in insertion order.
    const wchar_t* keyAt(int index) const;
    KdRxObject* objectAt(int index) const;

private:
    int indexOf(const wchar_t* key) const;

    struct Entry {
        std::wstring key;
        KdRxObject* obj;
    };
    std::vector<Entry> m_entries;
};

/// The runtime's system registry, made on first use and kept for the life of the process. It
/// holds "DynamicLinker" (KdRxDynamicLinker), "KDAD_REGISTERED_COMMANDS" (KdEdCommandStack)
/// and "ServiceDictionary" (a KdRxDictionary of KdRxService objects).
TVHOST_API KdRxDictionary* kdrxSysRegistry();

// Names of the standard registry entries.
#define KDRX_DYNAMIC_LINKER L"DynamicLinker"
#define KDRX_COMMAND_STACK L"KDAD_REGISTERED_COMMANDS"
#define KDRX_SERVICE_DICTIONARY L"ServiceDictionary"

/// The version of this runtime's module interface: major in the high 16 bits, minor low.
TVHOST_API int kdrxGetApiVersion();
