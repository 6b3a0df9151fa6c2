// The registry key tree and the process-wide store that loads and saves it.
#include "KdRegistryStore.h"
#include "tv/KdFiles.h"

#include "KdSettingsFile.h"

#include <tv/KdUtf8.h>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace tvreg {

// -- Keys and names --

std::wstring foldName(std::wstring_view name) {
    std::wstring out(name);
    for (wchar_t& c : out)
        c = tvUpper(c);
    return out;
}

const char* keyNameProblem(std::wstring_view name) {
    if (name.empty())
        return "an empty key name";
    if (name.size() > kMaxKeyNameLength)
        return "a key name longer than 255 characters";
    for (wchar_t c : name) {
        const auto v = static_cast<std::uint32_t>(c);
        if (c == L'\\')
            return "a backslash in a key name";
        if (v < 0x20 || v == 0x7F)
            return "a control character in a key name";
        if ((v >= 0xD800 && v <= 0xDFFF) || v > 0x10FFFF)
            return "a key name that is not valid Unicode";
    }
    return nullptr;
}

LONG splitPath(const wchar_t* path, Path& names) {
    names.clear();
    if (path == nullptr || path[0] == L'\0')
        return ERROR_SUCCESS;
    std::wstring_view rest(path);
    if (rest.front() == L'\\')
        return ERROR_BAD_PATHNAME;
    if (rest.back() == L'\\')
        rest.remove_suffix(1);
    while (true) {
        size_t cut = rest.find(L'\\');
        std::wstring_view name = rest.substr(0, cut);
        if (name.empty())
            return ERROR_BAD_PATHNAME;
        if (keyNameProblem(name) != nullptr)
            return ERROR_INVALID_PARAMETER;
        names.emplace_back(name);
        if (cut == std::wstring_view::npos)
            return ERROR_SUCCESS;
        rest.remove_prefix(cut + 1);
    }
}

Node* Node::child(std::wstring_view name) const {
    auto it = children.find(foldName(name));
    return it == children.end() ? nullptr : it->second.get();
}

Node* Node::addChild(std::wstring_view name, bool* created) {
    auto& slot = children[foldName(name)];
    if (created != nullptr)
        *created = slot == nullptr;
    if (slot == nullptr) {
        slot = std::make_unique<Node>();
        slot->name = std::wstring(name);
    }
    return slot.get();
}

Value* Node::value(std::wstring_view name) {
    auto it = std::find_if(values.begin(), values.end(),
                           [&](const Value& v) { return tvEqualsNoCase(v.name, name); });
    return it == values.end() ? nullptr : &*it;
}

const Value* Node::value(std::wstring_view name) const {
    return const_cast<Node*>(this)->value(name);
}

bool Node::removeValue(std::wstring_view name) {
    auto it = std::find_if(values.begin(), values.end(),
                           [&](const Value& v) { return tvEqualsNoCase(v.name, name); });
    if (it == values.end())
        return false;
    values.erase(it);
    return true;
}

// -- The store --

namespace {

// Settings are the user's own: a new settings file is readable by its owner only.
constexpr unsigned kPrivateFileMode = 0600;

/// Settings files are small; anything this large is not one of ours.
constexpr size_t kMaxFileBytes = 16u << 20;

bool exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

} // namespace

Store& Store::instance() {
    // Made once and never destroyed: no static destructor can find it gone.
    static Store* store = new Store();
    return *store;
}

Node& Store::root() {
    if (!m_loaded)
        load();
    return *m_root;
}

Node* Store::find(const Path& path) {
    Node* node = &root();
    for (const std::wstring& name : path) {
        node = node->child(name);
        if (node == nullptr)
            return nullptr;
    }
    return node;
}

const std::string& Store::file() {
    if (!m_fileChosen) {
        m_file = defaultSettingsFile();
        m_fileChosen = true;
    }
    return m_file;
}

void Store::setFile(const std::string& path) {
    m_file = path.empty() ? defaultSettingsFile() : path;
    m_fileChosen = true;
    load();
}

void Store::reload() {
    load();
}

void Store::warn(std::string message) {
    // A save that keeps failing would otherwise add the same line after every change.
    if (m_warnings.empty() || m_warnings.back() != message)
        m_warnings.push_back(std::move(message));
}

void Store::load() {
    m_root = std::make_unique<Node>();
    m_loaded = true;
    m_warnings.clear();
    m_keepOnSave = false;
    m_haveRejectedBytes = false;
    m_rejectedBytes.clear();
    const std::string& path = file();
    if (path.empty()) {
        warn("settings are not saved: neither XDG_CONFIG_HOME nor HOME names a folder");
        return;
    }
    std::string bytes;
    std::string error;
    switch (readWholeFile(path, bytes, error, kMaxFileBytes)) {
    case FileRead::kMissing:
        return;
    case FileRead::kFailed:
        m_keepOnSave = true;
        warn(error + "; using default settings");
        return;
    case FileRead::kOk:
        break;
    }
    auto parsed = std::make_unique<Node>();
    if (parseSettings(bytes, *parsed, error)) {
        m_root = std::move(parsed);
        return;
    }
    std::string message = path + ": " + error + "; using default settings";
    if (!bytes.empty())
        message += " (the file is kept as " + path + ".corrupt when settings are next saved)";
    warn(std::move(message));
    m_keepOnSave = true;
    m_haveRejectedBytes = true;
    m_rejectedBytes = std::move(bytes);
}

bool Store::keepRejectedFile() {
    const std::string& path = file();
    if (!exists(path))
        return true; // gone meanwhile: nothing left to lose
    if (m_haveRejectedBytes && m_rejectedBytes.empty())
        return true; // an empty file holds nothing worth a copy
    std::string target = path + ".corrupt";
    for (int n = 1; exists(target); ++n) {
        if (n > 99) {
            warn(path + ": too many .corrupt copies beside it; settings are not saved");
            return false;
        }
        target = path + ".corrupt." + std::to_string(n);
    }
    // A hard link keeps exactly the bytes that are about to be replaced; where links are not
    // possible, the bytes read at load time are written instead.
    if (::link(path.c_str(), target.c_str()) == 0)
        return true;
    std::string error;
    if (!m_haveRejectedBytes) {
        warn(path + ": cannot keep the unreadable file aside; settings are not saved");
        return false;
    }
    if (!kdWriteFileAtomically(target.c_str(), m_rejectedBytes, &error, true, kPrivateFileMode)) {
        warn(error + "; settings are not saved");
        return false;
    }
    return true;
}

void Store::save() {
    const std::string& path = file();
    if (path.empty())
        return;
    if (m_keepOnSave) {
        if (!keepRejectedFile())
            return;
        m_keepOnSave = false;
        m_haveRejectedBytes = false;
        m_rejectedBytes.clear();
    }
    std::string error;
    if (!kdWriteFileAtomically(path.c_str(), formatSettings(root()), &error, true,
                               kPrivateFileMode))
        warn(error + "; the change is kept for this session only");
}

HKEY Store::newHandle(Path path, DWORD access) {
    auto* h = new KdRegKeyHandle{std::move(path), access};
    m_handles.insert(h);
    return h;
}

KdRegKeyHandle* Store::handle(HKEY key) {
    return m_handles.count(key) != 0 ? key : nullptr;
}

bool Store::closeHandle(HKEY key) {
    if (m_handles.erase(key) == 0)
        return false;
    delete key;
    return true;
}

} // namespace tvreg
