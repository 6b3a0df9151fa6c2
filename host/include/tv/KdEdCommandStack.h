// The registered commands: groups of commands that modules add, and their lookup.
#pragma once

#include "KdRxObject.h"
#include "KdadStatus.h"

#include <string>
#include <vector>

/// How a command may run.
#define KDRX_CMD_MODAL 0x0000        ///< only when no other command is active
#define KDRX_CMD_TRANSPARENT 0x0001  ///< also inside another command, typed with a leading "'"
#define KDRX_CMD_USEPICKSET 0x0002   ///< uses the objects picked before it started
#define KDRX_CMD_REDRAW 0x0004       ///< keeps the pickfirst set and grips after it ends
#define KDRX_CMD_NOPAPERSPACE 0x0008 ///< refused in paper space
#define KDRX_CMD_NOTILEMODE 0x0010   ///< refused in model space of the layout tab
#define KDRX_CMD_UNDEFINED 0x0020    ///< hidden from the command line
#define KDRX_CMD_NOMULTIPLE 0x0040   ///< cannot be repeated with MULTIPLE

/// A command's handler.
typedef void (*KdRxFunctionPtr)();

/// Calls `fn`, a command handler or an exported function of a module, so that nothing it
/// throws reaches the Host. Returns true when it returned normally; otherwise `failure` says
/// what went wrong (the exception's text, or that it was not a standard exception).
TVHOST_API bool kdrxCallGuarded(void (*fn)(), std::string* failure);
/// The same for an exported function that answers an int; `result` is set only on success.
TVHOST_API bool kdrxCallGuarded(int (*fn)(), int& result, std::string* failure);

/// One registered command.
struct TVHOST_API KdEdCommand {
    std::wstring group;
    std::wstring globalName;
    std::wstring localName;
    int flags = KDRX_CMD_MODAL;
    KdRxFunctionPtr handler = nullptr;

    bool isTransparent() const { return (flags & KDRX_CMD_TRANSPARENT) != 0; }
};

/// The command stack kept in the registry under "KDAD_REGISTERED_COMMANDS". Names are
/// compared ignoring case. Groups are kept in the order they were first added; a lookup
/// searches the most recently added group first, so a later module can override a name.
class TVHOST_API KdEdCommandStack : public KdRxObject {
public:
    KDRX_DECLARE_MEMBERS(KdEdCommandStack)

    /// Adds a command to `group`, creating the group. Refused with eInvalidInput when the
    /// group or the global name is empty, contains a space, or the name starts with "_" or
    /// "'", or when the handler is null; with eDuplicateKey when the group already has a
    /// command whose global or local name equals one of the new command's names. An empty
    /// local name stands for the global name.
    Kdad::ErrorStatus addCommand(const wchar_t* group, const wchar_t* globalName,
                                 const wchar_t* localName, int flags, KdRxFunctionPtr handler);
    /// Removes one command of a group; eKeyNotFound when it is absent.
    Kdad::ErrorStatus removeCmd(const wchar_t* group, const wchar_t* globalName);
    /// Removes a whole group; eKeyNotFound when there is no such group.
    Kdad::ErrorStatus removeGroup(const wchar_t* group);

    /// The command with this global name, or null.
    const KdEdCommand* lookupGlobalCmd(const wchar_t* globalName) const;
    /// The command with this local name, or null.
    const KdEdCommand* lookupLocalCmd(const wchar_t* localName) const;
    /// The command a user's input names. A leading "_" asks for a global name; otherwise
    /// local names are searched first, then global ones. A leading "'" (before or after the
    /// "_") asks for a transparent call and finds only commands with KDRX_CMD_TRANSPARENT;
    /// `insideCommand` makes the call transparent without the "'".
    const KdEdCommand* lookupCmd(const wchar_t* input, bool insideCommand = false) const;

    /// Group names in the order they were added.
    std::vector<std::wstring> groups() const;
    /// Commands of one group in the order they were added.
    std::vector<const KdEdCommand*> commands(const wchar_t* group) const;

private:
    struct Group {
        std::wstring name;
        std::vector<KdEdCommand> commands;
    };
    Group* findGroup(const wchar_t* name);
    const Group* findGroup(const wchar_t* name) const;
    template <typename Match> const KdEdCommand* search(Match match) const;

    std::vector<Group> m_groups;
};

/// The command stack held in the system registry.
TVHOST_API KdEdCommandStack* kdedCommandStack();
