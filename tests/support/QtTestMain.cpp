// The main of the test programs of windows: a QApplication on the offscreen platform (no screen
// needed, no windows flashing on a desktop), the locale from the environment as Qt sets it, and
// a configuration folder of the program's own, as in every test program.
#include "ScopedEnv.h"
#include "TempDir.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const tvtest::TempDir config("tvconfig");
    const tvtest::ScopedEnv configHome("XDG_CONFIG_HOME", config.path().c_str());
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
