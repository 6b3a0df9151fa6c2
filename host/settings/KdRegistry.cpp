// The Windows-style registry calls over the process-wide settings store.
#include <tv/KdRegistry.h>

#include "KdRegistryStore.h"

#include <cstring>

using tvreg::Node;
using tvreg::Path;
using tvreg::Store;
using tvreg::Value;

namespace {

/// The path and rights behind `key`: HKEY_CURRENT_USER is the root with every right.
LONG resolveHandle(Store& store, HKEY key, Path& path, DWORD& access) {
    if (key == HKEY_CURRENT_USER) {
        path.clear();
        access = KEY_ALL_ACCESS;
        return ERROR_SUCCESS;
    }
    KdRegKeyHandle* h = store.handle(key);
    if (h == nullptr)
        return ERROR_INVALID_HANDLE;
    path = h->path;
    access = h->access;
    return ERROR_SUCCESS;
}

/// The key that `key` is open on, when it still exists and the handle has `rights`.
LONG openedNode(Store& store, HKEY key, DWORD rights, Node*& node, Path* path = nullptr) {
    Path p;
    DWORD access = 0;
    if (LONG rc = resolveHandle(store, key, p, access); rc != ERROR_SUCCESS)
        return rc;
    if ((access & rights) != rights)
        return ERROR_ACCESS_DENIED;
    node = store.find(p);
    if (node == nullptr)
        return ERROR_KEY_DELETED;
    if (path != nullptr)
        *path = std::move(p);
    return ERROR_SUCCESS;
}

std::wstring_view valueName(const wchar_t* name) {
    return name == nullptr ? std::wstring_view() : std::wstring_view(name);
}

LONG createKey(HKEY key, const wchar_t* subKey, DWORD access, HKEY* result, DWORD* disposition) {
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    Path names;
    if (LONG rc = tvreg::splitPath(subKey, names); rc != ERROR_SUCCESS)
        return rc;
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    Path path;
    if (LONG rc = openedNode(store, key, KEY_CREATE_SUB_KEY, node, &path); rc != ERROR_SUCCESS)
        return rc;
    bool anyCreated = false;
    for (const std::wstring& name : names) {
        bool created = false;
        node = node->addChild(name, &created);
        anyCreated = anyCreated || created;
        path.push_back(node->name);
    }
    if (anyCreated)
        store.save();
    if (disposition != nullptr)
        *disposition = anyCreated ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    *result = store.newHandle(std::move(path), access);
    return ERROR_SUCCESS;
}

} // namespace

LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD /*options*/, DWORD samDesired,
                   HKEY* result) {
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    Path names;
    if (LONG rc = tvreg::splitPath(subKey, names); rc != ERROR_SUCCESS)
        return rc;
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    Path path;
    if (LONG rc = openedNode(store, key, 0, node, &path); rc != ERROR_SUCCESS)
        return rc;
    for (const std::wstring& name : names) {
        node = node->child(name);
        if (node == nullptr)
            return ERROR_FILE_NOT_FOUND;
        path.push_back(node->name);
    }
    *result = store.newHandle(std::move(path), samDesired);
    return ERROR_SUCCESS;
}

LONG RegCreateKeyW(HKEY key, const wchar_t* subKey, HKEY* result) {
    return createKey(key, subKey, KEY_ALL_ACCESS, result, nullptr);
}

LONG RegCreateKeyExW(HKEY key, const wchar_t* subKey, DWORD reserved, const wchar_t* /*keyClass*/,
                     DWORD /*options*/, DWORD samDesired, const void* /*securityAttributes*/,
                     HKEY* result, DWORD* disposition) {
    if (reserved != 0) {
        if (result != nullptr)
            *result = nullptr;
        return ERROR_INVALID_PARAMETER;
    }
    return createKey(key, subKey, samDesired, result, disposition);
}

LONG RegQueryValueExW(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type,
                      std::uint8_t* data, DWORD* dataSize) {
    if (reserved != nullptr || (data != nullptr && dataSize == nullptr))
        return ERROR_INVALID_PARAMETER;
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    if (LONG rc = openedNode(store, key, KEY_QUERY_VALUE, node); rc != ERROR_SUCCESS)
        return rc;
    const Value* v = node->value(valueName(name));
    if (v == nullptr)
        return ERROR_FILE_NOT_FOUND;
    if (type != nullptr)
        *type = v->type;
    const std::uint8_t* bytes = nullptr;
    DWORD needed = 0;
    if (v->type == REG_DWORD) {
        bytes = reinterpret_cast<const std::uint8_t*>(&v->number);
        needed = sizeof(DWORD);
    } else {
        // The text with its terminating null, which c_str() supplies.
        bytes = reinterpret_cast<const std::uint8_t*>(v->text.c_str());
        needed = static_cast<DWORD>((v->text.size() + 1) * sizeof(wchar_t));
    }
    if (dataSize == nullptr)
        return ERROR_SUCCESS;
    if (data == nullptr) {
        *dataSize = needed;
        return ERROR_SUCCESS;
    }
    if (*dataSize < needed) {
        *dataSize = needed;
        return ERROR_MORE_DATA;
    }
    std::memcpy(data, bytes, needed);
    *dataSize = needed;
    return ERROR_SUCCESS;
}

LONG RegSetValueExW(HKEY key, const wchar_t* name, DWORD reserved, DWORD type,
                    const std::uint8_t* data, DWORD size) {
    if (reserved != 0 || (data == nullptr && size != 0))
        return ERROR_INVALID_PARAMETER;
    Value v;
    v.name = valueName(name);
    v.type = type;
    if (type == REG_DWORD) {
        if (size != sizeof(DWORD))
            return ERROR_INVALID_PARAMETER;
        std::memcpy(&v.number, data, sizeof(DWORD));
    } else if (type == REG_SZ) {
        if (size % sizeof(wchar_t) != 0)
            return ERROR_INVALID_PARAMETER;
        // The data need not be aligned for wchar_t, so it is copied character by character.
        for (DWORD at = 0; at < size; at += sizeof(wchar_t)) {
            wchar_t c;
            std::memcpy(&c, data + at, sizeof c);
            if (c == L'\0')
                break;
            v.text += c;
        }
    } else {
        return ERROR_INVALID_PARAMETER;
    }
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    if (LONG rc = openedNode(store, key, KEY_SET_VALUE, node); rc != ERROR_SUCCESS)
        return rc;
    if (Value* old = node->value(v.name)) {
        // Keep the name as first written; a rewrite in another case does not rename it.
        old->type = v.type;
        old->text = std::move(v.text);
        old->number = v.number;
    } else {
        node->values.push_back(std::move(v));
    }
    store.save();
    return ERROR_SUCCESS;
}

LONG RegDeleteValueW(HKEY key, const wchar_t* name) {
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    if (LONG rc = openedNode(store, key, KEY_SET_VALUE, node); rc != ERROR_SUCCESS)
        return rc;
    if (!node->removeValue(valueName(name)))
        return ERROR_FILE_NOT_FOUND;
    store.save();
    return ERROR_SUCCESS;
}

namespace {

LONG deleteKey(HKEY key, const wchar_t* subKey, bool tree) {
    Path names;
    if (LONG rc = tvreg::splitPath(subKey, names); rc != ERROR_SUCCESS)
        return rc;
    Store& store = Store::instance();
    auto lock = store.lock();
    Node* node = nullptr;
    // Emptying the handle's own key is a change of its values, which needs the right to set
    // them; deleting a subkey does not depend on the rights of the handle.
    DWORD rights = (tree && names.empty()) ? KEY_SET_VALUE : 0;
    if (LONG rc = openedNode(store, key, rights, node); rc != ERROR_SUCCESS)
        return rc;
    if (tree && names.empty()) {
        node->children.clear();
        node->values.clear();
        store.save();
        return ERROR_SUCCESS;
    }
    if (names.empty())
        return node == &store.root() ? ERROR_ACCESS_DENIED : ERROR_INVALID_PARAMETER;
    Node* parent = node;
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        parent = parent->child(names[i]);
        if (parent == nullptr)
            return ERROR_FILE_NOT_FOUND;
    }
    auto it = parent->children.find(tvreg::foldName(names.back()));
    if (it == parent->children.end())
        return ERROR_FILE_NOT_FOUND;
    if (!tree && !it->second->children.empty())
        return ERROR_ACCESS_DENIED;
    parent->children.erase(it);
    store.save();
    return ERROR_SUCCESS;
}

} // namespace

LONG RegDeleteKeyW(HKEY key, const wchar_t* subKey) {
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    return deleteKey(key, subKey, false);
}

LONG RegDeleteTreeW(HKEY key, const wchar_t* subKey) {
    return deleteKey(key, subKey, true);
}

LONG RegCloseKey(HKEY key) {
    if (key == HKEY_CURRENT_USER)
        return ERROR_SUCCESS;
    Store& store = Store::instance();
    auto lock = store.lock();
    return store.closeHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

const wchar_t* kdrxProductKey() {
    return L"Software\\TEVRA\\TvCad\\R1";
}

void tvSettingsSetFile(const std::string& path) {
    Store& store = Store::instance();
    auto lock = store.lock();
    store.setFile(path);
}

void tvSettingsReload() {
    Store& store = Store::instance();
    auto lock = store.lock();
    store.reload();
}

std::string tvSettingsFile() {
    Store& store = Store::instance();
    auto lock = store.lock();
    return store.file();
}

std::vector<std::string> tvSettingsWarnings() {
    Store& store = Store::instance();
    auto lock = store.lock();
    store.root(); // a file not read yet has no warnings to report
    return store.warnings();
}
