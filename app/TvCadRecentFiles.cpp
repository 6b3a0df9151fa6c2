// The recent drawings as profile entries "File1".."File8" of the section "Recent Drawings".
#include "TvCadRecentFiles.h"

#include "tv/KdProfile.h"

#include <algorithm>

namespace tvcad {
namespace {

const wchar_t kSection[] = L"Recent Drawings";

std::wstring entry(std::size_t i) {
    return L"File" + std::to_wstring(i + 1);
}

bool store(const std::vector<std::wstring>& paths) {
    bool ok = true;
    for (std::size_t i = 0; i < kRecentDrawingsKept; ++i) {
        const wchar_t* value = i < paths.size() ? paths[i].c_str() : nullptr;
        ok = KdProfile::writeProfileString(kSection, entry(i).c_str(), value) && ok;
    }
    return ok;
}

} // namespace

std::vector<std::wstring> recentDrawings() {
    std::vector<std::wstring> paths;
    for (std::size_t i = 0; i < kRecentDrawingsKept; ++i) {
        std::wstring path = KdProfile::getProfileString(kSection, entry(i).c_str()).str();
        if (!path.empty() && std::find(paths.begin(), paths.end(), path) == paths.end())
            paths.push_back(std::move(path));
    }
    return paths;
}

bool rememberDrawing(const std::wstring& path) {
    if (path.empty())
        return false;
    std::vector<std::wstring> paths = recentDrawings();
    if (!paths.empty() && paths.front() == path)
        return true;
    paths.erase(std::remove(paths.begin(), paths.end(), path), paths.end());
    paths.insert(paths.begin(), path);
    if (paths.size() > kRecentDrawingsKept)
        paths.resize(kRecentDrawingsKept);
    return store(paths);
}

bool forgetDrawing(const std::wstring& path) {
    std::vector<std::wstring> paths = recentDrawings();
    const auto end = std::remove(paths.begin(), paths.end(), path);
    if (end == paths.end())
        return true;
    paths.erase(end, paths.end());
    return store(paths);
}

} // namespace tvcad
