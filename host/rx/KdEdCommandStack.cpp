// The command stack: command groups, their commands and the lookup of typed names.
#include "tv/KdEdCommandStack.h"

#include "tv/KdUtf8.h"

#include <exception>

#include <algorithm>

KDRX_DEFINE_MEMBERS(KdEdCommandStack, KdRxObject)

namespace {
bool validName(const std::wstring& name) {
    if (name.empty() || name[0] == L'_' || name[0] == L'\'')
        return false;
    return name.find_first_of(L" \t\r\n") == std::wstring::npos;
}

// Either name of `cmd` equals `name`.
bool namesClash(const KdEdCommand& cmd, const std::wstring& name) {
    return tvEqualsNoCase(cmd.globalName, name) || tvEqualsNoCase(cmd.localName, name);
}
} // namespace

KdEdCommandStack::Group* KdEdCommandStack::findGroup(const wchar_t* name) {
    for (Group& g : m_groups) {
        if (name && tvEqualsNoCase(g.name, name))
            return &g;
    }
    return nullptr;
}

const KdEdCommandStack::Group* KdEdCommandStack::findGroup(const wchar_t* name) const {
    return const_cast<KdEdCommandStack*>(this)->findGroup(name);
}

Kdad::ErrorStatus KdEdCommandStack::addCommand(const wchar_t* group, const wchar_t* globalName,
                                               const wchar_t* localName, int flags,
                                               KdRxFunctionPtr handler) {
    if (!group || !globalName || !handler)
        return Kdad::eInvalidInput;
    std::wstring groupName = group;
    std::wstring global = globalName;
    std::wstring local = localName && *localName ? localName : globalName;
    if (groupName.empty() || groupName.find(L' ') != std::wstring::npos || !validName(global) ||
        !validName(local))
        return Kdad::eInvalidInput;

    Group* g = findGroup(group);
    if (g) {
        for (const KdEdCommand& cmd : g->commands) {
            if (namesClash(cmd, global) || namesClash(cmd, local))
                return Kdad::eDuplicateKey;
        }
    } else {
        m_groups.push_back({groupName, {}});
        g = &m_groups.back();
    }
    g->commands.push_back({g->name, global, local, flags, handler});
    return Kdad::eOk;
}

Kdad::ErrorStatus KdEdCommandStack::removeCmd(const wchar_t* group, const wchar_t* globalName) {
    Group* g = findGroup(group);
    if (!g || !globalName)
        return Kdad::eKeyNotFound;
    auto it = std::find_if(g->commands.begin(), g->commands.end(), [&](const KdEdCommand& c) {
        return tvEqualsNoCase(c.globalName, globalName);
    });
    if (it == g->commands.end())
        return Kdad::eKeyNotFound;
    g->commands.erase(it);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdEdCommandStack::removeGroup(const wchar_t* group) {
    Group* g = findGroup(group);
    if (!g)
        return Kdad::eKeyNotFound;
    m_groups.erase(m_groups.begin() + (g - m_groups.data()));
    return Kdad::eOk;
}

template <typename Match> const KdEdCommand* KdEdCommandStack::search(Match match) const {
    for (auto g = m_groups.rbegin(); g != m_groups.rend(); ++g) {
        for (const KdEdCommand& cmd : g->commands) {
            if (match(cmd))
                return &cmd;
        }
    }
    return nullptr;
}

const KdEdCommand* KdEdCommandStack::lookupGlobalCmd(const wchar_t* globalName) const {
    if (!globalName || !*globalName)
        return nullptr;
    return search([&](const KdEdCommand& c) { return tvEqualsNoCase(c.globalName, globalName); });
}

const KdEdCommand* KdEdCommandStack::lookupLocalCmd(const wchar_t* localName) const {
    if (!localName || !*localName)
        return nullptr;
    return search([&](const KdEdCommand& c) { return tvEqualsNoCase(c.localName, localName); });
}

const KdEdCommand* KdEdCommandStack::lookupCmd(const wchar_t* input, bool insideCommand) const {
    if (!input)
        return nullptr;
    bool global = false;
    bool quoted = false;
    // The prefixes "_" and "'" may come in either order, each at most once.
    for (int i = 0; i < 2; ++i) {
        if (*input == L'_' && !global) {
            global = true;
            ++input;
        } else if (*input == L'\'' && !quoted) {
            quoted = true;
            ++input;
        }
    }
    const bool transparent = quoted || insideCommand;
    const KdEdCommand* cmd = global ? lookupGlobalCmd(input) : lookupLocalCmd(input);
    if (!cmd && !global)
        cmd = lookupGlobalCmd(input);
    if (cmd && transparent && !cmd->isTransparent())
        return nullptr;
    return cmd;
}

std::vector<std::wstring> KdEdCommandStack::groups() const {
    std::vector<std::wstring> names;
    for (const Group& g : m_groups)
        names.push_back(g.name);
    return names;
}

std::vector<const KdEdCommand*> KdEdCommandStack::commands(const wchar_t* group) const {
    std::vector<const KdEdCommand*> result;
    if (const Group* g = findGroup(group)) {
        for (const KdEdCommand& cmd : g->commands)
            result.push_back(&cmd);
    }
    return result;
}

namespace {

template <typename Call> bool callGuarded(Call call, std::string* failure) {
    try {
        call();
        return true;
    } catch (const std::exception& e) {
        if (failure)
            *failure = e.what();
    } catch (...) {
        if (failure)
            *failure = "an exception that is not a standard one";
    }
    return false;
}

} // namespace

bool kdrxCallGuarded(void (*fn)(), std::string* failure) {
    if (!fn) {
        if (failure)
            *failure = "no function";
        return false;
    }
    return callGuarded([fn] { fn(); }, failure);
}

bool kdrxCallGuarded(int (*fn)(), int& result, std::string* failure) {
    if (!fn) {
        if (failure)
            *failure = "no function";
        return false;
    }
    int answer = 0;
    if (!callGuarded([fn, &answer] { answer = fn(); }, failure))
        return false;
    result = answer;
    return true;
}
