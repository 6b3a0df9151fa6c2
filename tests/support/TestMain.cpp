// The main of every GoogleTest program: the process takes its locale from the environment,
// as the window Host does once Qt starts, so the suite run under another locale proves that
// no text conversion depends on it. Its settings go to a configuration folder of its own, so
// that no test reads or writes the user's.
#include "ScopedEnv.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    testing::InitGoogleTest(&argc, argv);
    const tvtest::TempDir config("tvconfig");
    const tvtest::ScopedEnv configHome("XDG_CONFIG_HOME", config.path().c_str());
    return RUN_ALL_TESTS();
}
