// Scripted answers for the Host's prompts and message boxes: a scope, and a fixture that fails
// the test on any prompt it did not expect.
#pragma once

#include "tv/KdScriptedUi.h"

#include <gtest/gtest.h>

namespace tvtest {

/// Scripted answers for the message boxes of a scope.
struct ScriptedUi {
    KdScriptedUi ui;
    KdUiServicesScope scope{&ui};
};

/// Installs `ui` as the Host's UI for the test; at the end every queued answer must have been
/// used and no prompt may have gone unexpected.
class ScriptedUiTest : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_FALSE(ui.hasErrors()) << ui.problems();
        EXPECT_EQ(ui.unansweredCount(), 0u) << ui.problems();
    }

    KdScriptedUi ui;
    KdUiServicesScope scope{&ui};
};

} // namespace tvtest
