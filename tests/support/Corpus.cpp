#include "Corpus.h"

#include <cstdlib>
#include <filesystem>

namespace tvtest {

std::string corpusDir() {
    return TV_TESTDATA_DIR;
}

std::string corpusFile(const std::string& name) {
    return corpusDir() + "/" + name;
}

std::string corpusMissing(const std::string& name) {
    std::error_code ec;
    if (!std::filesystem::is_directory(corpusDir(), ec))
        return "the real-world drawings folder " + corpusDir() + " is missing";
    if (!name.empty() && !std::filesystem::is_regular_file(corpusFile(name), ec))
        return "the real-world drawing " + corpusFile(name) + " is missing";
    return {};
}

bool inCI() {
    const char* ci = std::getenv("CI");
    return ci != nullptr && std::string(ci) == "true";
}

} // namespace tvtest
