// Fixture of the window tests: private settings, the Qt UI services installed, and a check that
// every dialog a test expected opened and closed in time.
#pragma once

#include "SettingsTest.h"

#include "tv/qt/KdQtDialogDriver.h"
#include "tv/qt/KdQtUiServices.h"

#include <QApplication>

namespace tvtest {

using Driver = KdQtDialogDriver;

class QtUiTest : public SettingsTest {
protected:
    void SetUp() override {
        SettingsTest::SetUp();
        Driver::takeFailures();
    }
    void TearDown() override {
        EXPECT_EQ(Driver::takeFailures().toStdString(), "");
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        SettingsTest::TearDown();
    }

    KdQtUiServices ui;
    KdUiServicesScope scope{&ui};
};

} // namespace tvtest
