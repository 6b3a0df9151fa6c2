#include "TvCadUi.h"

#include "tv/KdEdEditor.h"

#include <string>

namespace tvcad {
namespace {

bool askPath(const KdString& title, const KdString& initialPath, const KdString& defaultExtension,
             KdString& path) {
    std::wstring prompt = title.str();
    if (!initialPath.isEmpty())
        prompt += L" <" + initialPath.str() + L">";
    prompt += L": ";
    wchar_t buf[4096];
    if (kdedGetString(1, prompt.c_str(), buf, 4096) != RTNORM)
        return false;
    std::wstring answer = buf;
    if (answer.empty())
        answer = initialPath.str();
    if (answer.empty())
        return false;
    path = kdUiApplyDefaultExtension(answer, defaultExtension.str());
    return true;
}

} // namespace

int TvCadUi::messageBox(const KdString& text, const KdString& caption, int buttons, int icon) {
    (void)icon;
    kdutPrintf(L"\n%s: %s\n", caption.kwszPtr(), text.kwszPtr());
    wchar_t kw[16];
    int rc = RTNONE;
    switch (buttons) {
    case MB_YESNO:
        kdedInitGet(0, L"Yes No _ Yes No");
        rc = kdedGetKword(L"[Yes/No] <Yes>: ", kw, 16);
        if (rc == RTNONE)
            return IDYES;
        return rc == RTNORM && std::wstring(kw) == L"Yes" ? IDYES : IDNO;
    case MB_YESNOCANCEL:
        kdedInitGet(0, L"Yes No Cancel _ Yes No Cancel");
        rc = kdedGetKword(L"[Yes/No/Cancel] <Yes>: ", kw, 16);
        if (rc == RTNONE)
            return IDYES;
        if (rc != RTNORM || std::wstring(kw) == L"Cancel")
            return IDCANCEL;
        return std::wstring(kw) == L"Yes" ? IDYES : IDNO;
    case MB_OKCANCEL:
        kdedInitGet(0, L"OK Cancel _ OK Cancel");
        rc = kdedGetKword(L"[OK/Cancel] <OK>: ", kw, 16);
        return rc == RTNONE || (rc == RTNORM && std::wstring(kw) == L"OK") ? IDOK : IDCANCEL;
    default:
        return IDOK;
    }
}

bool TvCadUi::getOpenFileName(const KdString& title, const KdString& initialPath, const KdString&,
                              const KdString& defaultExtension, KdString& path) {
    return askPath(title, initialPath, defaultExtension, path);
}

bool TvCadUi::getSaveFileName(const KdString& title, const KdString& initialPath, const KdString&,
                              const KdString& defaultExtension, KdString& path) {
    return askPath(title, initialPath, defaultExtension, path);
}

bool TvCadUi::chooseColor(KdCmColor&, unsigned, const KdCmColor&) {
    return false;
}

bool TvCadUi::chooseLinetype(const std::vector<KdString>&, const KdString&, KdString&) {
    return false;
}

} // namespace tvcad
