// The real-world drawings in the shared test data. Only the corpus suites (named Corpus...,
// labelled "corpus" in ctest) read them; when the folder is missing they are reported as not
// run, and fail where CI=true, so a missing corpus never passes for a green run.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace tvtest {

/// The folder of the real-world drawings.
std::string corpusDir();
/// Path of one drawing in it.
std::string corpusFile(const std::string& name);
/// Empty when the drawing (or with no name, the folder) is there; else a message saying what
/// is missing.
std::string corpusMissing(const std::string& name = {});
/// True when the environment says CI=true: missing data is a failure there.
bool inCI();

} // namespace tvtest

/// First statement of a corpus test: skips it, or fails it under CI=true, when the drawing
/// `name` (or the corpus folder, for an empty name) is missing.
#define TV_REQUIRE_CORPUS(name)                                                                    \
    do {                                                                                           \
        const std::string tvMissing_ = tvtest::corpusMissing(name);                                \
        if (!tvMissing_.empty()) {                                                                 \
            if (tvtest::inCI())                                                                    \
                GTEST_FAIL() << tvMissing_ << " (CI=true: the corpus must be there)";              \
            GTEST_SKIP() << tvMissing_;                                                            \
        }                                                                                          \
    } while (false)
