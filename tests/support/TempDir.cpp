#include "TempDir.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace tvtest {

TempDir::TempDir(const std::string& prefix) {
    // mkdtemp gives a name no other process holds, also across test programs run in parallel.
    std::string pattern = (fs::temp_directory_path() / (prefix + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr)
        ADD_FAILURE() << "cannot create a temporary folder from " << pattern;
    m_path = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::remove_all(m_path, ec);
}

std::vector<std::string> TempDir::entries() const {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(m_path, ec))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string readBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    std::error_code ec;
    if (path.has_parent_path())
        fs::create_directories(path.parent_path(), ec);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    EXPECT_TRUE(out.good()) << "cannot write " << path;
}

} // namespace tvtest
