// tvcad's command loop driven by scripts: the Host commands, -LAYER at the command line, the
// module's commands, and what happens to the user's file when saving fails or is declined.
#include "TvCadApp.h"

#include "DrawingTestSupport.h"
#include "TempDir.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdEdCommandStack.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdUtf8.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

using tvtest::readBytes;

std::wstring wide(const fs::path& p) {
    return p.wstring();
}

class TvCad : public ::testing::Test {
protected:
    void SetUp() override {
        drawing = dir / "office.dxf";
        fs::copy_file(fs::path(TV_SOURCE_DIR) / "samples" / "office.dxf", drawing);
        app = std::make_unique<tvcad::TvCadApp>(std::vector<std::string>{TV_MODULE_DIR});
        std::string error;
        ASSERT_TRUE(app->openDrawing(drawing.string(), &error)) << error;
        kdedCaptureOutput();
    }
    void TearDown() override {
        app.reset();
        kdedTakeCapturedOutput();
        kdedSetOutputStream(nullptr);
    }

    /// Runs the script through the command loop; the output is left in `out`.
    int run(const std::wstring& script) {
        KdEdScriptInput input(script);
        const int status = app->run(input);
        out = kdedTakeCapturedOutput();
        return status;
    }

    static std::unique_ptr<KdDbDatabase> load(const fs::path& p) {
        auto db = std::make_unique<KdDbDatabase>(false);
        std::string error;
        EXPECT_EQ(db->readDxfFile(p.string().c_str(), &error), Kdad::eOk) << error;
        return db;
    }

    static KdDbObjectPointer<KdDbLayerTableRecord> layer(KdDbDatabase& db, const wchar_t* name) {
        return KdDbObjectPointer<KdDbLayerTableRecord>(tvtest::findLayer(db, name), KdDb::kForRead);
    }

    const tvtest::TempDir tmp{"tvcad-test"};
    const fs::path dir = tmp.path();
    fs::path drawing;
    std::unique_ptr<tvcad::TvCadApp> app;
    std::wstring out;
};

TEST_F(TvCad, ScriptedLayerChangesAreSavedUnderTheNewName) {
    const fs::path copy = dir / "copy.dxf";
    const std::string before = readBytes(drawing);
    const int status = run(L"-LAYER\nFreeze\nA-FURN-0004,P-PIPE-0008\nThaw\nS-FLOR-OTLN-0019\n"
                           L"Make\nDEMO-NEW\n_Set\nE-FLOR-0001\n\n"
                           L"SAVEAS\n" +
                           wide(copy) + L"\nQUIT\n");
    EXPECT_EQ(status, 0) << tvToUtf8(out);
    EXPECT_NE(out.find(L"Saved " + wide(copy)), std::wstring::npos) << tvToUtf8(out);
    EXPECT_TRUE(readBytes(drawing) == before) << "the opened file must stay as it was";

    auto db = load(copy);
    ASSERT_TRUE(layer(*db, L"A-FURN-0004"));
    EXPECT_TRUE(layer(*db, L"A-FURN-0004")->isFrozen());
    EXPECT_TRUE(layer(*db, L"P-PIPE-0008")->isFrozen());
    EXPECT_FALSE(layer(*db, L"S-FLOR-OTLN-0019")->isFrozen());
    EXPECT_TRUE(layer(*db, L"DEMO-NEW"));
    EXPECT_EQ(db->getHeaderVar("$CLAYER").str(), L"E-FLOR-0001");
    // SAVEAS made the copy the drawing's file, so a later SAVE goes there.
    EXPECT_EQ(app->database()->fileName(), copy.string());
}

TEST_F(TvCad, UnknownCommandsAndCommentsAndPrefixes) {
    EXPECT_EQ(run(L"; a comment line\n_.-layer\n?\nE-FLOR*\n\n"), 0) << tvToUtf8(out);
    EXPECT_NE(out.find(L"E-FLOR-0001"), std::wstring::npos);
    EXPECT_EQ(run(L"NOSUCHCOMMAND\n"), 1);
    EXPECT_NE(out.find(L"Unknown command \"NOSUCHCOMMAND\""), std::wstring::npos);
}

TEST_F(TvCad, QuitAsksAboutUnsavedChanges) {
    const std::string before = readBytes(drawing);
    // Cancel keeps tvcad running; the next command still runs.
    EXPECT_EQ(run(L"-LAYER\nOFF\nP-PIPE-0008\n\nQUIT\nCancel\n-LAYER\nON\nP-PIPE-0008\n\n"
                  L"QUIT\nNo\n"),
              0);
    EXPECT_TRUE(app->quitRequested());
    EXPECT_NE(out.find(L"Save changes to office.dxf? [Yes/No/Cancel] <Yes>: "), std::wstring::npos)
        << tvToUtf8(out);
    EXPECT_NE(out.find(L"Enter name list of layer(s) to turn On"), std::wstring::npos)
        << "the command after a cancelled QUIT ran";
    EXPECT_TRUE(readBytes(drawing) == before) << "No must leave the file alone";

    // Enter at the question saves, keeping the previous file as .bak.
    EXPECT_EQ(run(L"-LAYER\nOFF\nP-PIPE-0008\n\nQUIT\n\n"), 0);
    EXPECT_TRUE(readBytes(dir / "office.bak") == before) << "the previous file is kept as .bak";
    EXPECT_TRUE(layer(*load(drawing), L"P-PIPE-0008")->isOff());
}

TEST_F(TvCad, EndOfInputWithUnsavedChangesSaysSoAndWritesNothing) {
    const std::string before = readBytes(drawing);
    EXPECT_EQ(run(L"-LAYER\nLOck\n0\n"), 0);
    EXPECT_NE(out.find(L"changes to office.dxf were not saved"), std::wstring::npos)
        << tvToUtf8(out);
    EXPECT_TRUE(readBytes(drawing) == before) << "the file changed";
    // A drawing without changes ends silently.
    app->openDrawing(drawing.string(), nullptr);
    EXPECT_EQ(run(L""), 0);
    EXPECT_EQ(out.find(L"not saved"), std::wstring::npos);
}

TEST_F(TvCad, CancelInsideLayerCommandEndsItAndNotTheSession) {
    EXPECT_EQ(run(L"-LAYER\nFreeze\n*cancel*\n-LAYER\n?\n0\n\n"), 0);
    EXPECT_NE(out.find(L"*Cancel*"), std::wstring::npos);
    EXPECT_FALSE(app->database()->isModified());
    EXPECT_NE(out.find(L"Current layer: 0"), std::wstring::npos) << tvToUtf8(out);
}

TEST_F(TvCad, OpenRefusesABadDrawingAndKeepsTheCurrentOne) {
    const fs::path bad = dir / "bad.dxf";
    std::ofstream(bad) << "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n";
    EXPECT_EQ(run(L"-LAYER\nMake\nKEEP-ME\n\nOPEN\n" + wide(bad) + L"\nYes\n"), 1);
    EXPECT_NE(out.find(L"Cannot open the drawing: " + wide(bad)), std::wstring::npos)
        << tvToUtf8(out);
    EXPECT_TRUE(tvtest::findLayer(*app->database(), L"KEEP-ME").isValid());
    // The changes were saved before the attempt, as the user answered Yes.
    EXPECT_TRUE(tvtest::findLayer(*load(drawing), L"KEEP-ME").isValid());

    EXPECT_EQ(run(L"OPEN\n" + wide(dir / "missing.dxf") + L"\n"), 1);
    EXPECT_TRUE(tvtest::findLayer(*app->database(), L"KEEP-ME").isValid());
}

TEST_F(TvCad, SaveFailureKeepsTheDrawingAndTheFile) {
    const std::string before = readBytes(drawing);
    const fs::path nowhere = dir / "no-such-folder" / "x.dxf";
    EXPECT_EQ(run(L"-LAYER\nMake\nUNSAVED\n\nSAVEAS\n" + wide(nowhere) + L"\n"), 1);
    EXPECT_NE(out.find(L"Cannot save the drawing"), std::wstring::npos) << tvToUtf8(out);
    EXPECT_FALSE(fs::exists(nowhere));
    EXPECT_EQ(app->database()->fileName(), drawing.string());
    EXPECT_TRUE(app->database()->isModified());
    EXPECT_TRUE(readBytes(drawing) == before) << "the file changed";
    // SAVEAS with Enter saves under the current name.
    EXPECT_EQ(run(L"SAVEAS\n\n"), 0);
    EXPECT_FALSE(app->database()->isModified());
    EXPECT_TRUE(tvtest::findLayer(*load(drawing), L"UNSAVED").isValid());
}

TEST_F(TvCad, ANewDrawingAsksForANameOnSave) {
    app->newDrawing();
    const fs::path target = dir / "new.dxf";
    EXPECT_EQ(run(L"-LAYER\nMake\nFIRST\n\nSAVE\n" + wide(target) + L"\n"), 0) << tvToUtf8(out);
    EXPECT_NE(out.find(L"Save drawing as: "), std::wstring::npos);
    EXPECT_TRUE(tvtest::findLayer(*load(target), L"FIRST").isValid());
}

TEST_F(TvCad, ModuleCommandsComeAndGoWithTheModule) {
    ASSERT_EQ(run(L"LOADMODULE\nTvLayerManager.krx\nHELP\n"), 0) << tvToUtf8(out);
    EXPECT_NE(out.find(L"LAYERSTATE LAYERSTATESAVE LAYFRZ LAYER"), std::wstring::npos)
        << tvToUtf8(out);
    // The module's commands run by global and local name; their handlers end quietly.
    EXPECT_EQ(run(L"_LAYER\nLAYFRZ\n"), 0) << tvToUtf8(out);
    EXPECT_EQ(run(L"UNLOADMODULE\nTvLayerManager.krx\nLAYER\n"), 1);
    EXPECT_NE(out.find(L"Unknown command \"LAYER\""), std::wstring::npos) << tvToUtf8(out);
    EXPECT_EQ(run(L"LOADMODULE\nno-such-module.krx\n"), 1);
    EXPECT_NE(out.find(L"Cannot load the module"), std::wstring::npos);
}

} // namespace
