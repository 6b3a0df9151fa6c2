// tvcad's window on the offscreen platform: the command line runs commands and prompts as the
// console does, the layer control changes layers in single undo steps, the menus run their
// commands, and the window guards the user's drawing (malformed files, unsaved changes).
#include "DxfGenerator.h"
#include "TvCadApp.h"
#include "TvCadCommandLine.h"
#include "TvCadCommandRunner.h"
#include "TvCadDisplay.h"
#include "TvCadDrawingArea.h"
#include "TvCadLayerControl.h"
#include "TvCadLayerModel.h"
#include "TvCadMainWindow.h"
#include "TvCadTextWindow.h"
#include "TvCadWindowOutput.h"
#include "SettingsTest.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdProfile.h"
#include "tv/KdUtf8.h"
#include "tv/qt/KdQtDialogDriver.h"
#include "tv/qt/KdQtHost.h"
#include "tv/qt/KdQtUiServices.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>

namespace {

using Driver = KdQtDialogDriver;
using tvcad::TvCadLayerToggle;
namespace fs = std::filesystem;

constexpr const char* kLayer = "C_PIPE_0005";       // on, thawed, unlocked in the drawing
constexpr const char* kFrozen = "L_ROOF_PATT_0004"; // frozen in the drawing

class Window : public SettingsTest {
protected:
    void SetUp() override {
        SettingsTest::SetUp();
        Driver::takeFailures();
        drawing = fs::path(m_dir) / "plan.dxf";
        tvtools::DxfGeneratorOptions options;
        options.layers = 12;
        options.entities = 50;
        std::string error;
        ASSERT_TRUE(tvtools::writeDxf(options, drawing.string(), &error)) << error;

        kdedSetOutputStream(output.stream());
        app = std::make_unique<tvcad::TvCadApp>(std::vector<std::string>{TV_MODULE_DIR});
        app->setEcho(true);
        ASSERT_TRUE(app->openDrawing(drawing.string(), &error)) << error;
        ASSERT_TRUE(app->loadModule("TvLayerManager.krx", &error)) << error;
        window = std::make_unique<tvcad::TvCadMainWindow>(*app);
        kdQtSetMainWindow(window.get());
        output.setSink([this](const QString& t) { window->commandLine().appendOutput(t); });
        window->show();
        window->start();
        answering = QObject::connect(
            &window->runner(), &tvcad::TvCadCommandRunner::waitingForInput, &context,
            [this] { answerPrompt(); }, Qt::QueuedConnection);
    }
    void TearDown() override {
        output.setSink({});
        kdQtSetMainWindow(nullptr);
        window.reset();
        app.reset();
        kdedSetOutputStream(nullptr);
        EXPECT_EQ(Driver::takeFailures().toStdString(), "");
        EXPECT_TRUE(answers.empty()) << answers.size() << " answers were not asked for";
        SettingsTest::TearDown();
    }

    /// Types `lines` on the command line: the first now, each further one when a prompt of the
    /// command waits for it. Returns when the command has ended.
    void type(const QStringList& lines) {
        ASSERT_FALSE(lines.isEmpty());
        answers.assign(lines.begin() + 1, lines.end());
        QLineEdit* field = window->commandLine().field();
        Driver::type(field, lines.first());
        Driver::key(field, Qt::Key_Return);
    }
    /// A prompt waits: the next queued line is typed; a prompt nobody expected is cancelled,
    /// and the test fails.
    void answerPrompt() {
        if (!window->runner().busy() || !window->runner().input().waiting())
            return;
        QLineEdit* field = window->commandLine().field();
        if (answers.empty()) {
            ADD_FAILURE() << "unexpected prompt: " << window->commandLine().prompt().toStdString();
            Driver::key(field, Qt::Key_Escape);
            return;
        }
        const QString line = answers.front();
        answers.pop_front();
        Driver::type(field, line);
        Driver::key(field, Qt::Key_Return);
    }

    /// Prompts are left to the test's own steps from now on.
    void stopAnswering() { QObject::disconnect(answering); }

    static void wait(int ms) {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < ms)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    QString transcript() {
        window->commandLine().flush();
        return window->textWindow().text() + QLatin1Char('\n') + window->commandLine().prompt();
    }

    KdDbObjectPointer<KdDbLayerTableRecord> layer(const char* name) {
        KdDbLayerTable* table = nullptr;
        KdDbObjectId id;
        if (app->database()->getSymbolTable(table, KdDb::kForRead) == Kdad::eOk) {
            table->getAt(tvFromUtf8(name).c_str(), id);
            table->close();
        }
        return KdDbObjectPointer<KdDbLayerTableRecord>(id, KdDb::kForRead);
    }

    QString currentLayer() {
        return QString::fromStdWString(app->database()->getHeaderVar("$CLAYER").str());
    }

    /// Opens the layer control's list and clicks `part` of the row of `name`.
    void clickInList(const char* name, tvcad::TvCadLayerControl::Part part) {
        tvcad::TvCadLayerControl& control = window->layerControl();
        control.showPopup();
        QAbstractItemView* list = control.view();
        const int row = window->layerModel().rowOf(QString::fromLatin1(name));
        ASSERT_GE(row, 0) << name;
        // The list ignores a release that comes too soon after it opened (the opening click's).
        if (part == tvcad::TvCadLayerControl::Part::kName)
            wait(QApplication::doubleClickInterval() + 50);
        const QRect rect = list->visualRect(window->layerModel().index(row));
        const QRect target = tvcad::TvCadLayerControl::partRect(rect, part);
        Driver::clickAt(list->viewport(), target.center());
    }

    fs::path drawing;
    tvcad::TvCadWindowOutput output;
    KdQtUiServices ui;
    KdUiServicesScope uiScope{&ui};
    std::unique_ptr<tvcad::TvCadApp> app;
    std::unique_ptr<tvcad::TvCadMainWindow> window;
    std::deque<QString> answers;
    QObject context;
    QMetaObject::Connection answering;
};

TEST_F(Window, TheCommandLineRunsACommandAndItsPromptsAsTheConsoleDoes) {
    // The console's transcript of the same command, on the same drawing.
    kdedCaptureOutput();
    KdEdScriptInput script(L"-LAYER\nLOck\n" + tvFromUtf8(kLayer) + L"\n\n");
    app->run(script);
    const QString console = QString::fromStdWString(kdedTakeCapturedOutput());
    kdedSetOutputStream(output.stream());
    ASSERT_TRUE(layer(kLayer)->isLocked());
    type({QStringLiteral("U")});
    ASSERT_FALSE(layer(kLayer)->isLocked());

    type(
        {QStringLiteral("-LAYER"), QStringLiteral("LOck"), QString::fromLatin1(kLayer), QString()});
    EXPECT_TRUE(layer(kLayer)->isLocked());
    const QString shown = transcript();
    const qsizetype from = shown.lastIndexOf(QStringLiteral("Command: -LAYER"));
    ASSERT_GE(from, 0) << shown.toStdString();
    const QString window =
        shown.mid(from, shown.indexOf(QStringLiteral("Command:"), from + 1) - from);
    EXPECT_TRUE(console.contains(window)) << "window:\n"
                                          << window.toStdString() << "\nconsole:\n"
                                          << console.toStdString();
    EXPECT_EQ(this->window->commandLine().prompt(), QStringLiteral("Command: "));
}

TEST_F(Window, EnterRepeatsTheLastCommandAndEscapeCancelsAPrompt) {
    type({QStringLiteral("CMDECHO"), QStringLiteral("*cancel*")});
    EXPECT_TRUE(transcript().contains(QStringLiteral("*Cancel*")));
    // Escape on the field does what *cancel* does.
    answers.clear();
    QTimer::singleShot(0, window.get(),
                       [this] { Driver::key(window->commandLine().field(), Qt::Key_Escape); });
    stopAnswering();
    Driver::key(window->commandLine().field(), Qt::Key_Return); // Enter: CMDECHO again
    EXPECT_EQ(kdedGetShortVar(L"CMDECHO", -1), 1);
    EXPECT_EQ(transcript().count(QStringLiteral("Command: CMDECHO")), 2);
    // Escape at the "Command:" prompt says so and changes nothing.
    Driver::key(window->commandLine().field(), Qt::Key_Escape);
    EXPECT_TRUE(transcript().endsWith(QStringLiteral("*Cancel*\n\nCommand: ")))
        << transcript().right(60).toStdString();
}

TEST_F(Window, TheArrowKeysGoThroughTheLinesEntered) {
    type({QStringLiteral("CMDECHO"), QStringLiteral("0")});
    type({QStringLiteral("HELP")});
    QLineEdit* field = window->commandLine().field();
    Driver::key(field, Qt::Key_Up);
    EXPECT_EQ(field->text(), QStringLiteral("HELP"));
    Driver::key(field, Qt::Key_Up);
    EXPECT_EQ(field->text(), QStringLiteral("0"));
    Driver::key(field, Qt::Key_Down);
    Driver::key(field, Qt::Key_Down);
    EXPECT_EQ(field->text(), QString());
}

TEST_F(Window, KeysTypedOnTheDrawingGoToTheCommandLine) {
    window->drawingArea().setFocus();
    Driver::type(&window->drawingArea(), QStringLiteral("HEL"));
    EXPECT_EQ(window->commandLine().field()->text(), QStringLiteral("HEL"));
    // The space bar at the "Command:" prompt enters the command, as Enter does.
    Driver::type(&window->drawingArea(), QStringLiteral("P "));
    EXPECT_TRUE(transcript().contains(QStringLiteral("Command: HELP\nHost commands:")))
        << transcript().toStdString();
}

TEST_F(Window, TheTitleNamesTheDrawingAndShowsUnsavedChanges) {
    EXPECT_EQ(window->windowTitle(), QStringLiteral("plan.dxf[*] - TEVRA"));
    EXPECT_FALSE(window->isWindowModified());
    type({QStringLiteral("-LAYER"), QStringLiteral("OFF"), QString::fromLatin1(kLayer), QString()});
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(window->drawingArea()
                    .describe()
                    .join(QLatin1Char('\n'))
                    .contains(QStringLiteral("13 layers")));
}

TEST_F(Window, TheLayerControlsIconsFlipAPropertyInOneUndoStepEach) {
    clickInList(kLayer, tvcad::TvCadLayerControl::Part::kFrozen);
    EXPECT_TRUE(layer(kLayer)->isFrozen());
    EXPECT_TRUE(window->layerControl().view()->isVisible()) << "the list stays open";
    clickInList(kLayer, tvcad::TvCadLayerControl::Part::kLocked);
    clickInList(kLayer, tvcad::TvCadLayerControl::Part::kOn);
    window->layerControl().hidePopup();
    EXPECT_TRUE(layer(kLayer)->isLocked());
    EXPECT_TRUE(layer(kLayer)->isOff());
    const int row = window->layerModel().rowOf(QString::fromLatin1(kLayer));
    EXPECT_TRUE(window->layerModel().rows()[size_t(row)].off) << "the list shows the change";

    type({QStringLiteral("U")});
    EXPECT_FALSE(layer(kLayer)->isOff());
    EXPECT_TRUE(layer(kLayer)->isLocked());
    type({QStringLiteral("U")});
    EXPECT_FALSE(layer(kLayer)->isLocked());
    EXPECT_TRUE(layer(kLayer)->isFrozen());
    type({QStringLiteral("U")});
    EXPECT_FALSE(layer(kLayer)->isFrozen());
}

TEST_F(Window, ChoosingALayerMakesItCurrentAndAFrozenOneIsRefused) {
    clickInList(kLayer, tvcad::TvCadLayerControl::Part::kName);
    EXPECT_EQ(currentLayer(), QString::fromLatin1(kLayer));
    EXPECT_FALSE(window->layerControl().view()->isVisible());
    EXPECT_EQ(window->layerControl().currentText(), QString::fromLatin1(kLayer));

    QString message;
    Driver::whenShown([&message](QDialog* box) {
        message = qobject_cast<QMessageBox*>(box)->text();
        box->accept();
    });
    clickInList(kFrozen, tvcad::TvCadLayerControl::Part::kName);
    EXPECT_EQ(currentLayer(), QString::fromLatin1(kLayer));
    EXPECT_TRUE(message.contains(QStringLiteral("frozen"))) << message.toStdString();
    EXPECT_EQ(window->layerControl().currentText(), QString::fromLatin1(kLayer));

    // The current layer cannot be frozen from its icon either.
    Driver::whenShown([](QDialog* box) { box->accept(); });
    clickInList(kLayer, tvcad::TvCadLayerControl::Part::kFrozen);
    window->layerControl().hidePopup();
    EXPECT_FALSE(layer(kLayer)->isFrozen());
}

TEST_F(Window, TheKeyboardBrowsesTheLayerControlAndEnterChooses) {
    tvcad::TvCadLayerControl& control = window->layerControl();
    control.setFocus();
    Driver::type(&control, QString::fromLatin1(kLayer));
    EXPECT_EQ(control.currentText(), QString::fromLatin1(kLayer));
    EXPECT_EQ(currentLayer(), QStringLiteral("0")) << "browsing changes nothing";
    Driver::key(&control, Qt::Key_Return);
    EXPECT_EQ(currentLayer(), QString::fromLatin1(kLayer));
    // Escape goes back to the current layer.
    Driver::key(&control, Qt::Key_Down);
    EXPECT_NE(control.currentText(), QString::fromLatin1(kLayer));
    Driver::key(&control, Qt::Key_Escape);
    EXPECT_EQ(control.currentText(), QString::fromLatin1(kLayer));
    EXPECT_EQ(currentLayer(), QString::fromLatin1(kLayer));
    // The choice is one undo step.
    type({QStringLiteral("U")});
    EXPECT_EQ(currentLayer(), QStringLiteral("0"));
}

TEST_F(Window, ADialogsLayerChangesShowWhileItsCommandStillRuns) {
    // As a dialog does on OK: the layer record changed, then tvSetLayerTableChanges.
    {
        KdDbLayerTable* table = nullptr;
        KdDbLayerTableRecord* record = nullptr;
        ASSERT_EQ(app->database()->getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
        ASSERT_EQ(table->getAt(tvFromUtf8(kLayer).c_str(), record, KdDb::kForWrite), Kdad::eOk);
        record->setIsLocked(true);
        record->close();
        table->close();
    }
    const int row = window->layerModel().rowOf(QString::fromLatin1(kLayer));
    wait(300);
    EXPECT_FALSE(window->layerModel().rows()[size_t(row)].locked) << "nothing said yet";
    tvSetLayerTableChanges();
    wait(300);
    EXPECT_TRUE(window->layerModel().rows()[size_t(row)].locked);
}

TEST_F(Window, SaveAsFromTheMenuWritesTheChosenFile) {
    type({QStringLiteral("-LAYER"), QStringLiteral("Freeze"), QString::fromLatin1(kLayer),
          QString()});
    const fs::path copy = fs::path(m_dir) / "copy.dxf";
    Driver::whenShown([&copy](QDialog* d) {
        // With the focus in the field, as when a user types, the name typed replaces the
        // file the dialog proposed.
        auto* name = Driver::find<QLineEdit>(d, QStringLiteral("fileNameEdit"));
        QApplication::setActiveWindow(d);
        name->setFocus();
        name->setText(QString::fromStdString(copy.string()));
        Driver::key(name, Qt::Key_Return);
    });
    window->findChild<QAction*>(QStringLiteral("actionSAVEAS"))->trigger();
    ASSERT_TRUE(fs::exists(copy));
    KdDbDatabase saved(false);
    ASSERT_EQ(saved.readDxfFile(copy.string().c_str()), Kdad::eOk);
    EXPECT_EQ(app->database()->fileName(), copy.string());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("copy.dxf[*] - TEVRA"));
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_TRUE(transcript().contains(QStringLiteral("Command: SAVEAS")));
    // The file is now the first recent drawing.
    EXPECT_EQ(KdProfile::getProfileString(L"Recent Drawings", L"File1").str(),
              fs::absolute(copy).wstring());
}

TEST_F(Window, AMenuCommandEndsTheCommandWaitingFirst) {
    // -LAYER waits at its first prompt when Undo is chosen from the menu.
    stopAnswering();
    QTimer::singleShot(0, window.get(), [this] {
        window->findChild<QAction*>(QStringLiteral("actionU"))->trigger();
    });
    Driver::type(window->commandLine().field(), QStringLiteral("-LAYER"));
    Driver::key(window->commandLine().field(), Qt::Key_Return);
    EXPECT_FALSE(window->runner().busy());
    const QString shown = transcript();
    EXPECT_TRUE(shown.contains(QStringLiteral("Command: U\n"))) << shown.toStdString();
    EXPECT_LT(shown.indexOf(QStringLiteral("Command: -LAYER")),
              shown.indexOf(QStringLiteral("Command: U\n")));
}

TEST_F(Window, AMalformedDrawingIsReportedAndTheOpenOneKept) {
    const fs::path bad = fs::path(m_dir) / "broken.dxf";
    std::ofstream(bad) << "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1015\n  0\nBOGUS\n";
    QString message;
    Driver::whenShown([&message](QDialog* box) {
        message = qobject_cast<QMessageBox*>(box)->text();
        box->accept();
    });
    type({QStringLiteral("OPEN"), QString::fromStdString(bad.string())});
    EXPECT_TRUE(message.startsWith(QStringLiteral("Cannot open the drawing: ")))
        << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("broken.dxf"))) << message.toStdString();
    EXPECT_EQ(app->database()->fileName(), drawing.string());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("plan.dxf[*] - TEVRA"));
}

TEST_F(Window, ClosingWithUnsavedChangesAsks) {
    type({QStringLiteral("-LAYER"), QStringLiteral("OFF"), QString::fromLatin1(kLayer), QString()});
    QString question;
    Driver::whenShown([&question](QDialog* box) {
        question = qobject_cast<QMessageBox*>(box)->text();
        Driver::click(Driver::find(box, QStringLiteral("cancelButton")));
    });
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(question, QStringLiteral("Save changes to plan.dxf?"));

    // Yes saves, then the window closes.
    Driver::whenShown(
        [](QDialog* box) { Driver::click(Driver::find(box, QStringLiteral("yesButton"))); });
    EXPECT_TRUE(window->close());
    KdDbDatabase saved(false);
    ASSERT_EQ(saved.readDxfFile(drawing.string().c_str()), Kdad::eOk);
    KdDbLayerTable* table = nullptr;
    KdDbLayerTableRecord* record = nullptr;
    ASSERT_EQ(saved.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    ASSERT_EQ(table->getAt(tvFromUtf8(kLayer).c_str(), record, KdDb::kForRead), Kdad::eOk);
    EXPECT_TRUE(record->isOff());
    record->close();
    table->close();
}

TEST_F(Window, ThePlacementOfTheMainWindowComesBack) {
    window->move(30, 40);
    window->resize(700, 500);
    const QRect placed(window->pos(), window->size());
    ASSERT_TRUE(window->close()); // nothing changed: no question
    auto again = std::make_unique<tvcad::TvCadMainWindow>(*app);
    EXPECT_EQ(QRect(again->pos(), again->size()), placed);
}

TEST(WindowSystem, WithoutADisplayThereIsNoWindowAndTheReasonIsGiven) {
    struct Env {
        const char* name;
        std::optional<std::string> kept;
        explicit Env(const char* n) : name(n) {
            if (const char* v = std::getenv(n))
                kept = v;
        }
        ~Env() {
            if (kept)
                setenv(name, kept->c_str(), 1);
            else
                unsetenv(name);
        }
    };
    Env platform("QT_QPA_PLATFORM"), display("DISPLAY"), wayland("WAYLAND_DISPLAY");
    std::string why;
    unsetenv("QT_QPA_PLATFORM");
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    EXPECT_FALSE(tvcad::windowSystemAvailable(&why));
    EXPECT_EQ(why, "no display: DISPLAY is not set");
    // A display nobody serves.
    setenv("DISPLAY", ":9731", 1);
    EXPECT_FALSE(tvcad::windowSystemAvailable(&why));
    EXPECT_EQ(why, "cannot open display \":9731\"");
    // A platform that needs no display.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    EXPECT_TRUE(tvcad::windowSystemAvailable(&why));
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    EXPECT_FALSE(tvcad::windowSystemAvailable(&why));
}

} // namespace
