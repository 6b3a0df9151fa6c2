// Runtime classes, dictionaries, the system registry and the service table.
#include "tv/KdEdCommandStack.h"
#include "tv/KdRxDictionary.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdRxService.h"

#include <cwchar>

bool KdRxClass::isDerivedFrom(const KdRxClass* other) const {
    for (const KdRxClass* c = this; c; c = c->m_parent) {
        if (c == other)
            return true;
    }
    return false;
}

KdRxObject::~KdRxObject() = default;

const KdRxClass* KdRxObject::desc() {
    static const KdRxClass s_class(L"KdRxObject", nullptr);
    return &s_class;
}

// -- KdRxDictionary --

KDRX_DEFINE_MEMBERS(KdRxDictionary, KdRxObject)

KdRxDictionary::~KdRxDictionary() {
    // Later entries may refer to earlier ones (the linker to the services), so go backwards.
    for (auto it = m_entries.rbegin(); it != m_entries.rend(); ++it)
        delete it->obj;
}

int KdRxDictionary::indexOf(const wchar_t* key) const {
    if (!key)
        return -1;
    for (size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].key == key)
            return static_cast<int>(i);
    }
    return -1;
}

KdRxObject* KdRxDictionary::at(const wchar_t* key) const {
    int i = indexOf(key);
    return i < 0 ? nullptr : m_entries[i].obj;
}

KdRxObject* KdRxDictionary::atPut(const wchar_t* key, KdRxObject* obj) {
    if (!key)
        return nullptr;
    int i = indexOf(key);
    if (i >= 0) {
        KdRxObject* old = m_entries[i].obj;
        m_entries[i].obj = obj;
        return old == obj ? nullptr : old;
    }
    m_entries.push_back({key, obj});
    return nullptr;
}

KdRxObject* KdRxDictionary::remove(const wchar_t* key) {
    int i = indexOf(key);
    if (i < 0)
        return nullptr;
    KdRxObject* obj = m_entries[i].obj;
    m_entries.erase(m_entries.begin() + i);
    return obj;
}

const wchar_t* KdRxDictionary::keyAt(int index) const {
    if (index < 0 || index >= numEntries())
        return nullptr;
    return m_entries[index].key.c_str();
}

KdRxObject* KdRxDictionary::objectAt(int index) const {
    if (index < 0 || index >= numEntries())
        return nullptr;
    return m_entries[index].obj;
}

// -- The system registry --

KdRxDictionary* kdrxSysRegistry() {
    // Never destroyed: modules may still be loaded while the process exits, and their static
    // destructors must not find the registry gone.
    static KdRxDictionary* s_registry = [] {
        auto* reg = new KdRxDictionary;
        reg->atPut(KDRX_SERVICE_DICTIONARY, new KdRxDictionary);
        reg->atPut(KDRX_COMMAND_STACK, new KdEdCommandStack);
        reg->atPut(KDRX_DYNAMIC_LINKER, new KdRxDynamicLinker);
        return reg;
    }();
    return s_registry;
}

int kdrxGetApiVersion() {
    return 0x00010000;
}

KdRxDynamicLinker* kdrxDynamicLinker() {
    return KdRxDynamicLinker::cast(kdrxSysRegistry()->at(KDRX_DYNAMIC_LINKER));
}

KdEdCommandStack* kdedCommandStack() {
    return KdEdCommandStack::cast(kdrxSysRegistry()->at(KDRX_COMMAND_STACK));
}

// -- Services --

KDRX_DEFINE_MEMBERS(KdRxService, KdRxObject)

namespace {
KdRxDictionary* serviceDictionary() {
    return KdRxDictionary::cast(kdrxSysRegistry()->at(KDRX_SERVICE_DICTIONARY));
}
} // namespace

void KdRxService::addDependency() {
    if (++m_dependencies != 1)
        return;
    if (KdRxDynamicLinker* linker = kdrxDynamicLinker())
        linker->notifyDependency(this, true);
}

void KdRxService::removeDependency() {
    if (m_dependencies == 0)
        return;
    if (--m_dependencies == 0) {
        if (KdRxDynamicLinker* linker = kdrxDynamicLinker())
            linker->notifyDependency(this, false);
    }
}

KdRxService* kdrxLookupService(const wchar_t* name) {
    KdRxDictionary* services = serviceDictionary();
    return services ? KdRxService::cast(services->at(name)) : nullptr;
}

KdRxService* kdrxRegisterService(const wchar_t* name) {
    if (!name || !*name)
        return nullptr;
    KdRxDictionary* services = serviceDictionary();
    if (!services)
        return nullptr;
    if (KdRxObject* existing = services->at(name))
        return KdRxService::cast(existing);
    auto* service = new KdRxService(name);
    services->atPut(name, service);
    return service;
}

bool kdrxServiceIsRegistered(const wchar_t* name) {
    KdRxDictionary* services = serviceDictionary();
    return services && name && services->has(name);
}

bool kdrxUnregisterService(const wchar_t* name) {
    KdRxDictionary* services = serviceDictionary();
    if (!services || !services->has(name))
        return false;
    delete services->remove(name);
    return true;
}
