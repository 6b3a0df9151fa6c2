// Running Host commands with string answers: the command table of the editor.
#include "KdEdSession.h"

#include "tv/KdEdEditor.h"
#include "tv/KdFormat.h"

#include <cstdarg>
#include <cstdint>

namespace {

/// The command name without the prefixes "." (built-in command) and "_" (global name).
std::wstring bareCommandName(std::wstring name) {
    while (!name.empty() && (name[0] == L'.' || name[0] == L'_'))
        name.erase(0, 1);
    return kded::upper(name);
}

std::wstring realText(double v) {
    return tvFormat(L"%.16g", v);
}

} // namespace

int kdedCommandS(const std::vector<std::wstring>& answers) {
    if (answers.empty())
        return RTERROR;
    const std::wstring name = bareCommandName(answers[0]);
    const std::vector<std::wstring> rest(answers.begin() + 1, answers.end());
    if (name == L"-LAYER")
        return kded::runLayerCommand(rest) ? RTNORM : RTERROR;
    kded::print(L"Unknown command \"" + answers[0] + L"\".\n");
    return RTERROR;
}

int kdedHostCommand(const wchar_t* name) {
    if (!name)
        return RTERROR;
    if (bareCommandName(name) == L"-LAYER")
        return kded::runLayerCommandInteractive();
    return RTERROR;
}

int kdedCommand(int code, ...) {
    std::vector<std::wstring> answers;
    bool bad = false;
    va_list args;
    va_start(args, code);
    for (int c = code; c != RTNONE && c != 0; c = va_arg(args, int)) {
        switch (c) {
        case RTSTR: {
            const wchar_t* s = va_arg(args, const wchar_t*);
            answers.emplace_back(s ? s : L"");
            break;
        }
        case RTSHORT:
            answers.push_back(std::to_wstring(va_arg(args, int)));
            break;
        case RTLONG:
            answers.push_back(std::to_wstring(va_arg(args, int32_t)));
            break;
        case RTREAL:
            answers.push_back(realText(va_arg(args, double)));
            break;
        default:
            bad = true; // the value's size is unknown: stop reading here
            break;
        }
        if (bad)
            break;
    }
    va_end(args);
    if (bad)
        return RTERROR;
    return kdedCommandS(answers);
}
