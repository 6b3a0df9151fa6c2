// The lineweights the layer dialogs offer and their texts in millimetres or inches.
#include "pickers/TvLineweightText.h"

#include "common/TvResourceText.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdFormat.h"
#include "tv/KdResbuf.h"
#include "tv/KdadStatus.h"

namespace tv {
namespace {

constexpr unsigned kIdDefaultWord = 1895;
constexpr const wchar_t* kDefaultWordFallback = L"Default";
constexpr int kLwunitsMillimetres = 1;

// Hundredths of a millimetre per millimetre and per inch. The division is done in single
// precision, as the lists have always shown it.
constexpr float kPerMillimetre = 100.0f;
constexpr float kPerInch = 2540.0f;

/// The value of a number variable of the Host, or false when it cannot be read.
bool readShortVar(const wchar_t* name, int* value) {
    resbuf rb{};
    if (kdedGetVar(name, &rb) != RTNORM)
        return false;
    if (rb.restype == RTSTR) {
        kdad_free(rb.resval.rstring); // not a number variable after all
        return false;
    }
    if (rb.restype != RTSHORT)
        return false;
    *value = rb.resval.rint;
    return true;
}

std::wstring formatValue(const wchar_t* pattern, float value) {
    return tvFormat(pattern, static_cast<double>(value));
}

std::wstring defaultWord() {
    return resourceText(kIdDefaultWord, kDefaultWordFallback);
}

} // namespace

int lineweightListIndex(int lineweight) {
    int found = 0;
    for (int i = 0; i < kLineweightCount; ++i)
        if (kLineweightList[i] == lineweight)
            found = i;
    return found;
}

bool lineweightUnitsAreMillimetres(bool whenUnreadable) {
    int units = 0;
    if (!readShortVar(L"LWUNITS", &units))
        return whenUnreadable;
    return units == kLwunitsMillimetres;
}

std::wstring lineweightListText(int lineweight) {
    switch (lineweight) {
    case kLineweightDefault:
        return defaultWord();
    case kLineweightByBlock:
        return L"Block";
    case kLineweightByLayer:
        return L"Layer";
    default:
        break;
    }
    const float value = static_cast<float>(lineweight);
    if (lineweightUnitsAreMillimetres())
        return formatValue(L"%1.2f mm", value / kPerMillimetre);
    return formatValue(L"%1.3f \"", value / kPerInch);
}

std::wstring lineweightDialogText(int lineweight, bool millimetres) {
    if (lineweight < 1)
        return defaultWord();
    const float value = static_cast<float>(lineweight);
    if (millimetres)
        return formatValue(L"%.2f mm", value / kPerMillimetre);
    return formatValue(L"%.3f\"", value / kPerInch);
}

} // namespace tv
