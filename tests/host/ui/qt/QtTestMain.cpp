// Test main of the Host's windows: a QApplication on the offscreen platform, then GoogleTest.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    // No screen is needed; a test run from a desktop does not flash windows either.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
