// The main of every GoogleTest program: the process takes its locale from the environment,
// as the window Host does once Qt starts, so the suite run under another locale proves that
// no text conversion depends on it.
#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
