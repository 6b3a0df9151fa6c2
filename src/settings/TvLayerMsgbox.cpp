// The notice with a "do not show again" check box whose answer is remembered per user.
#include "settings/TvLayerMsgbox.h"

#include "common/TvResourceText.h"
#include "settings/TvRegKey.h"

#include "tv/KdUiServices.h"

namespace tv {
namespace {

constexpr unsigned kIdDontShowAgainQuestion = 1886;
constexpr const wchar_t* kDontShowAgainFallback = L"Do not show this message again?";
constexpr const wchar_t* kNoticeFallback =
    L"Layer changes are applied to the drawing at once. Cancel undoes them.";

// A plain function pointer: constant-initialised, so the library has no global constructor.
TvLayerMsgbox::Runner g_runner = nullptr;

} // namespace

void TvLayerMsgbox::setRunner(Runner runner) {
    g_runner = runner;
}

int TvLayerMsgbox::doModal() {
    const Runner run = g_runner ? g_runner : &TvLayerMsgbox::runAsMessageBox;
    return run(*this) == IDOK ? IDOK : IDCANCEL;
}

int TvLayerMsgbox::runAsMessageBox(TvLayerMsgbox& box) {
    const std::wstring text =
        box.message() + L"\n\n" + resourceText(kIdDontShowAgainQuestion, kDontShowAgainFallback);
    const wchar_t* caption = box.caption().empty() ? nullptr : box.caption().c_str();
    switch (kdedMessageBox(text.c_str(), MB_YESNOCANCEL, MB_ICONINFORMATION, caption)) {
    case IDYES:
        box.setDontShowAgain(1);
        return IDOK;
    case IDNO:
        box.setDontShowAgain(0);
        return IDOK;
    default:
        return IDCANCEL;
    }
}

std::wstring msgBoxSettingsKeyPath() {
    return std::wstring(kdrxProductKey()) + L"\\Settings\\UserConfig\\Config\\MsgBoxSettings";
}

std::wstring msgBoxValueName(unsigned textId) {
    return L"ID" + std::to_wstring(textId);
}

int showLayerNotice() {
    const std::wstring path = msgBoxSettingsKeyPath();
    const std::wstring valueName = msgBoxValueName(kIdLayerNotice);
    {
        TvRegKey key;
        if (key.open(HKEY_CURRENT_USER, path, KEY_READ) == ERROR_SUCCESS) {
            const std::optional<DWORD> stored = key.readDword(valueName.c_str());
            if (stored && *stored != 0)
                return static_cast<int>(*stored);
        }
    }
    TvLayerMsgbox box;
    box.setMessage(resourceText(kIdLayerNotice, kNoticeFallback));
    box.setDontShowAgain(0);
    if (box.doModal() != IDOK)
        return 0;
    TvRegKey key;
    if (key.create(HKEY_CURRENT_USER, path, KEY_ALL_ACCESS) == ERROR_SUCCESS)
        key.writeDword(valueName.c_str(), static_cast<DWORD>(box.dontShowAgain()));
    return box.dontShowAgain();
}

} // namespace tv
